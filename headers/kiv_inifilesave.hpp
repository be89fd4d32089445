// Writing an ini file: KivClIniFileSave is an ini file (the whole model of
// kiv_inifile.hpp) that can also write itself out in the layout its loader
// reads back.
//
// Layout, exactly: the file begins with an empty line and every section
// header is preceded by one ("\n[name]\n"); an option line reads name, TAB,
// "=", blank, value, and with a comment TAB, ";", blank, comment, then LF.
// A text value is written as it stands unless the loader would read it
// differently: a value holding a ";", a control character, a single or
// double quote or "$(", or beginning or ending with a blank, is written
// between double quotes, each character escaped by saveChar() and a double
// quote as a backslash and a double quote. A text option with an empty
// value is not written at all. Booleans are written as "ON" or "OFF",
// numbers in decimal, characters between single quotes.
//
// The writer never writes a file that loads back as a different model. It
// refuses, returning false and writing nothing:
//   - a section name holding "]" or a line break;
//   - an option name that is empty, begins with "[" or ";", or holds "=",
//     a blank, a tab or any other white space;
//   - a comment holding a line break or beginning with white space;
//   - the zero character as a character option;
//   - any line longer than 1,023 characters once escaped;
//   - for save(), any model whose text would not load back equal (compared
//     are the sections and options that are written, with names, values and
//     comments).
// save() and save(stream) check the whole model before they open or touch
// the output, so a refused save leaves an existing file as it was.
//
//   KivClIniFileSave ini(KivClFilename("/etc/app"));   // names /etc/app.ini
//   ini.addSection("Main");
//   ini.addOption("Main", "motto", "Don't panic");
//   ini.save();    // true; file: "\n[Main]\nmotto\t= \"Don't panic\"\n"
//   ini.addOption("Main", "a b", "x");
//   ini.save();    // false: "a b" cannot be an option name; file unchanged
//
// Warning: the first save() (or single-entry call on an unopened file
// stream) empties an existing file before writing.
//
// Failures are reported through the returned value (the stream's good state
// after the write, or false for a refused entry); nothing throws except the
// memory manager on exhausted memory.
#ifndef KIV_INIFILESAVE_HPP
#define KIV_INIFILESAVE_HPP

#include <fstream>
#include <ostream>
#include <string>

#include "kiv_inifile.hpp"

// An ini file that can also write itself (whole or entry by entry).
class KivClIniFileSave : public KivClIniFile {
public:
    // Names the file as KivClIniFile does; nothing is opened yet.
    explicit KivClIniFileSave(const KivClFilenameABase& name);
    // Flushes and closes the output file, then the model is destroyed.
    ~KivClIniFileSave() override;

    // Opens the named file unless this object has opened it already (also
    // when a single-entry call opened it on another stream): created if
    // missing, emptied if present. Then writes the whole model to it, so a
    // second call appends a second copy after the first one. True when
    // every write succeeded.
    bool save();
    // Writes the whole model to output: deleted sections and options and
    // options with empty values are left out. Returns the stream's good
    // state after a final flush; false without writing for a refused model.
    bool save(std::ostream& output);

    // Single entries. Each first opens output on the ini file's name when
    // output is a file stream that is not open yet and this object has not
    // opened its file; then writes the entry and returns the good state.
    // A null or empty comment ends the line without a comment. A refused
    // entry (see above) returns false and writes nothing.
    bool saveSection(std::ostream& output, const char* name, const char* comment);
    bool saveOption(std::ostream& output, const char* name, const char* value, const char* comment);
    bool saveOptionBool(std::ostream& output, const char* name, bool value, const char* comment);
    bool saveOption(std::ostream& output, const char* name, int value, const char* comment);
    bool saveOption(std::ostream& output, const char* name, unsigned int value, const char* comment);
    bool saveOption(std::ostream& output, const char* name, long value, const char* comment);
    bool saveOption(std::ostream& output, const char* name, unsigned long value, const char* comment);
    bool saveOption(std::ostream& output, const char* name, char value, const char* comment);

    // Writes the left-hand side of an option line: name, TAB, "=", blank;
    // false and nothing written for a refused name.
    bool saveOption(std::ostream& output, const char* name);
    // Ends a line: TAB, ";", blank, comment, LF; or LF alone. False and
    // nothing written for a refused comment.
    bool saveComment(std::ostream& output, const char* comment) const;
    // Writes one character of a quoted value: \a \b \f \n \r \t \v and "\\"
    // for their characters, "\x" and two lowercase hexadecimal digits for any
    // other control character, anything else as it is.
    bool saveChar(std::ostream& output, char ch) const;

private:
    // Writes the whole model into text and checks that it loads back equal.
    bool render(std::string& text);
    // Writes text to output (opening it when needed) unless a line of it is
    // too long for the loader; returns the good state after a flush.
    bool emit(std::ostream& output, const std::string& text);
    // Opens output on the file name when that is needed (see above).
    void openIfNeeded(std::ostream& output);
    // Writes text between double quotes, every character through saveChar
    // and a double quote after a backslash, except that a hexadecimal digit
    // right after a "\x" escape is written as a "\x" escape too: the loader
    // reads every hexadecimal digit after "\x" as part of the number, so
    // "\x01" followed by "a" would come back as the single character 0x1a.
    void saveQuoted(std::ostream& output, const char* text) const;
    // Writes ch as "\x" and two lowercase hexadecimal digits.
    void saveHexEscape(std::ostream& output, char ch) const;
    template <typename Number>
    bool saveNumber(std::ostream& output, const char* name, Number value, const char* comment);

    std::ofstream output_;
    bool opened_;
};

#endif  // KIV_INIFILESAVE_HPP
