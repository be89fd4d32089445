// Ini files: the loader, the in-memory model, typed queries and cursors.
//
// KivClIniFile is a file (".ini" by default) whose content is read into a
// list of sections, each a list of options (name, value, comment), both kept
// in file order. The loader is line-oriented and forgiving: comment lines and
// everything before the first section header are skipped, values may hold
// quoted characters ('x', '\t'), quoted strings ("a;b\n"), environment
// references $(VAR) and a trailing comment after an unquoted ";", and lines
// that begin with white space may continue the previous option. Each syntax
// error goes to an optional handler with the line number; the handler decides
// whether loading goes on.
//
// Names of sections and options are compared ignoring case. Deleting an
// entry does not unlink it: a deleted section keeps its place with an empty
// name and no options, a deleted option keeps its place with an empty name,
// value and comment. Cursors visit such entries; their empty name marks them.
// An option line with nothing before its "=" loads an option with an empty
// name, which therefore reads as deleted too.
//
// Storage bounds. A section name holds at most 80 characters; longer names
// are cut. An option keeps its name, value and comment in one area of 1,028
// characters, each text followed by its terminator:
//   - the name holds at most 1,022 characters;
//   - the value is cut so that name, value and their two terminators fit in
//     the first 1,024 characters of the area;
//   - the comment is cut so that it ends, with its terminator, within the
//     area.
// A single line can never exceed these bounds (a line holds at most 1,023
// characters); only environment values and continuation lines can. When the
// loader has to cut anything of a line it keeps the option with what fits and
// reports INIFILE_INVAL_OPTION for that line, so the handler learns that the
// value was shortened and may stop loading. The model's own changes
// (addOption, setNewValue) cut in the same way and succeed.
//
// Failure policy: a file that cannot be opened makes load() return false
// without a report; syntax errors go to the handler (or are skipped without
// one); queries return false for a missing section or option and leave the
// out-parameters as they were; changes return false when their target is
// missing. Nothing throws except the memory manager on exhausted memory.
//
//   // app.ini:  [Server]  /  port = 8080  ; the port
//   KivClIniFile ini(KivClFilename("app"));          // names app.ini
//   ini.load(false);                                 // true
//   long port = 0;
//   ini.getSection("server") && ini.getOption("PORT", port);   // true, port == 8080
//   const char* host = "localhost";
//   ini.getOption("host", host);                     // false: host stays "localhost"
//
// Warning: load() adds to what the object holds; it does not replace it.
// Writing is KivClIniFileSave (kiv_inifilesave.hpp).
#ifndef KIV_INIFILE_HPP
#define KIV_INIFILE_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kiv_cursor.hpp"
#include "kiv_error.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"

class KivClIniFile;
class KivClIniFileSectionCursor;
class KivClIniFileOptionCursor;

// Receives every loader report: the error {id, USER_DATA_ERROR}, the number
// of the offending line (comment lines counted) and the caller's data.
// Returns true to go on loading, false to stop. The handler must not change
// the ini file or select a section in it while loading goes on: the loader
// adds options to the selected section.
typedef bool (*KivPfuIniFileErrorHandler)(const _KivStError& error, unsigned int line,
                                          void* userData);

// One name=value line with its comment. Created and destroyed by the ini file
// through the memory manager; callers reach options through cursors.
class KivClIniFileOption {
public:
    static constexpr size_t STORAGE_SIZE = 1028;
    // Name, value and both terminators end within this many characters.
    static constexpr size_t NAME_VALUE_LIMIT = 1024;
    static constexpr size_t NAME_LIMIT = NAME_VALUE_LIMIT - 2;

    // An option with empty name, value and comment (it reads as deleted until
    // compose() gives it texts).
    KivClIniFileOption();
    KivClIniFileOption(const KivClIniFileOption&) = delete;
    KivClIniFileOption& operator=(const KivClIniFileOption&) = delete;

    const char* getName() const { return storage_; }
    const char* getValue() const { return value_ != nullptr ? value_ : ""; }
    const char* getComment() const { return comment_; }
    const KivClIniFileOption* getNext() const { return next_; }
    bool isDeleted() const { return storage_[0] == '\0'; }

    // Rewrites the whole storage from name, value followed by valueTail (may
    // be null) and comment. The sources may lie within this option's storage.
    // Returns false when anything had to be cut.
    bool compose(const char* name, const char* value, const char* valueTail, const char* comment);
    // Replaces the value and keeps the comment (moved behind the new value,
    // cut to the room left). Returns false when anything had to be cut.
    bool replaceValue(const char* value);
    // Appends more to the value and replaces the comment; false when cut.
    bool appendValue(const char* more, const char* comment);
    // Empties name, value and comment: the option counts as deleted.
    void clear();

private:
    friend class KivClIniFile;
    friend class KivClIniFileSection;
    friend class KivClIniFileOptionCursor;

    KivClIniFileOption* next_;
    char storage_[STORAGE_SIZE];
    char* value_;
    char* comment_;
};

// A named list of options. Created and destroyed by the ini file.
class KivClIniFileSection {
public:
    static constexpr size_t NAME_LIMIT = 80;

    // An empty section; the name is cut to 80 characters.
    explicit KivClIniFileSection(const char* name);
    // Frees every option of the section.
    ~KivClIniFileSection();
    KivClIniFileSection(const KivClIniFileSection&) = delete;
    KivClIniFileSection& operator=(const KivClIniFileSection&) = delete;

    const char* getName() const { return name_; }
    const KivClIniFileSection* getNext() const { return next_; }
    const KivClIniFileOption* getFirstOption() const { return firstOption_; }
    bool isDeleted() const { return name_[0] == '\0'; }

    // First option whose name equals name ignoring case, or null.
    KivClIniFileOption* findOption(const char* name) const;
    // Appends option at the end of the list (after tail when the caller
    // knows the last option, else after a walk to the end).
    void appendOption(KivClIniFileOption* option, KivClIniFileOption* tail);
    // Frees every option and empties the name: the section counts as deleted.
    void clear();

private:
    friend class KivClIniFile;
    friend class KivClIniFileSectionCursor;
    friend class KivClIniFileOptionCursor;

    void freeOptions();

    KivClIniFileSection* next_;
    KivClIniFileOption* firstOption_;
    char name_[NAME_LIMIT + 1];
};

// An ini file: its name, the loaded model and the selected section.
class KivClIniFile : public KivClFile {
public:
    // Names the file; ".ini" is added when the name has no extension.
    // Nothing is read yet.
    explicit KivClIniFile(const KivClFilenameABase& name);
    // Frees every section with its options.
    ~KivClIniFile() override;
    KivClIniFile(const KivClIniFile&) = delete;
    KivClIniFile& operator=(const KivClIniFile&) = delete;

    // "|ON|TRUE|YES|1|OK|": a boolean value is true when it occurs in this
    // text, ignoring case.
    const char* getStringAllTrueTokens() const { return "|ON|TRUE|YES|1|OK|"; }
    // The texts the writer uses for true and false.
    const char* getStringTrue() const { return "ON"; }
    const char* getStringFalse() const { return "OFF"; }

    // Loading. Loading adds to what the object holds already.
    //
    // Resets the line number, reads the named file with lines ending in
    // "\n" and a new section for every header. False without any report
    // when the file cannot be opened, else as the stream loader.
    bool load(bool continuationLines);
    // Loads length characters of buffer as a file whose lines end with
    // delimiter. The line number goes on from the previous load.
    bool loadFromBuffer(const char* buffer, unsigned int length, char delimiter,
                        bool newSectionForEveryHeader, bool continuationLines);
    // The common engine: reads input to its end. True when it was read to
    // the end (with or without reported errors), false when the handler
    // asked to stop or the input was not read to its end: a line longer
    // than 1,023 characters ends loading, its first 1,023 characters being
    // the last line loaded, and the loader (and so load(bool) and
    // loadFromBuffer) returns false. Without newSectionForEveryHeader, a header naming an
    // existing section (ignoring case) adds to that section again.
    bool load(std::istream& input, char delimiter, bool newSectionForEveryHeader,
              bool continuationLines);
    // Installs the loader's error handler; null removes it.
    void setErrorHandler(KivPfuIniFileErrorHandler handler, void* userData);
    // Reports errorId for the current line to the handler and returns its
    // answer; without a handler returns true (bad lines are skipped).
    bool error(unsigned long errorId);
    // Lines read by the loader so far, comment lines included.
    unsigned int getLineNumber() const { return lineNumber_; }

    // Selection and name-based queries.
    //
    // Selects the first section named name: true, or false and selects none.
    bool getSection(const char* name) const;
    // Each query looks for the first option named name in the selected
    // section. True when it exists (the conversions never fail: text that
    // is no number converts as the C library converts it); false, leaving
    // the out-parameters unchanged, when it or the selected section is
    // missing. The comment is "" when the option has none.
    bool getOption(const char* name, const char*& value) const;
    bool getOption(const char* name, const char*& value, const char*& comment) const;
    // atol
    bool getOption(const char* name, long& value) const;
    bool getOption(const char* name, long& value, const char*& comment) const;
    // strtoul, base 10
    bool getOption(const char* name, unsigned long& value) const;
    bool getOption(const char* name, unsigned long& value, const char*& comment) const;
    // atoi
    bool getOption(const char* name, int& value) const;
    bool getOption(const char* name, int& value, const char*& comment) const;
    // strtoul, base 10, kept to unsigned int
    bool getOption(const char* name, unsigned int& value) const;
    bool getOption(const char* name, unsigned int& value, const char*& comment) const;
    // A value beginning with "'" is read as a quoted character; otherwise
    // its first character ('\0' for an empty value).
    bool getOption(const char* name, char& value) const;
    bool getOption(const char* name, char& value, const char*& comment) const;
    // True when the value occurs, ignoring case, anywhere within
    // getStringAllTrueTokens() (so also "" and parts such as "rue").
    bool getOptionBool(const char* name, bool& value) const;
    bool getOptionBool(const char* name, bool& value, const char*& comment) const;

    // Changes. Cursors given here must walk this ini file, else the change
    // is refused (false).
    //
    // Appends an empty section (even when one of that name exists) and
    // selects it. Always true.
    bool addSection(const char* name);
    // Appends an option with an empty comment to the first section named
    // section (or the cursor's section). False when there is no such
    // section, the cursor is not valid, the name is null or the section
    // already has an option of that name. An empty name is accepted while
    // the section has no deleted option; the new option reads as deleted.
    bool addOption(const char* section, const char* name, const char* value);
    bool addOption(const KivClIniFileSectionCursor& cursor, const char* name, const char* value);
    // Replaces an option's value and keeps its comment. False when the
    // section, the option or a valid cursor is missing.
    bool setNewValue(const char* section, const char* name, const char* value);
    bool setNewValue(const KivClIniFileSectionCursor& cursor, const char* name, const char* value);
    bool setNewValue(const KivClIniFileOptionCursor& cursor, const char* value);
    // Deletes a section: empties its name and frees its options. Option
    // cursors walking that section must not be used afterwards.
    bool deleteSection(const char* name);
    bool deleteSection(const KivClIniFileSectionCursor& cursor);
    // Deletes an option: its name, value and comment become empty.
    bool deleteOption(const char* section, const char* name);
    bool deleteOption(const KivClIniFileSectionCursor& cursor, const char* name);
    bool deleteOption(const KivClIniFileOptionCursor& cursor);

    const KivClIniFileSection* getFirstSection() const { return firstSection_; }
    // The selected section, or null.
    const KivClIniFileSection* getSelectedSection() const { return currentSection_; }

private:
    friend class KivClIniFileSectionCursor;
    friend class KivClIniFileOptionCursor;
    class Loader;

    KivClIniFileSection* findSection(const char* name) const;
    KivClIniFileSection* appendSection(const char* name);
    KivClIniFileOption* findSelectedOption(const char* name) const;
    KivClIniFileSection* sectionOf(const KivClIniFileSectionCursor& cursor) const;
    KivClIniFileOption* optionOf(const KivClIniFileOptionCursor& cursor) const;
    bool addOptionTo(KivClIniFileSection* section, const char* name, const char* value);
    // A new, empty option from the memory manager; the caller links it.
    static KivClIniFileOption* createOption();
    void freeSections();

    KivClIniFileSection* firstSection_;
    KivClIniFileSection* lastSection_;
    uint32_t lineNumber_;
    mutable KivClIniFileSection* currentSection_;
    KivPfuIniFileErrorHandler errorHandler_;
    void* handlerData_;
};

// Walks the sections of an ini file in list order, deleted ones included.
// The ini file must outlive the cursor.
class KivClIniFileSectionCursor : public KivClUniDirCursorABase {
public:
    // Not valid, before the first section.
    explicit KivClIniFileSectionCursor(const KivClIniFile& iniFile);
    ~KivClIniFileSectionCursor() override;

    bool isValid() const override { return current_ != nullptr; }
    // The first section as it was when the cursor was made.
    bool setToFirst() override;
    bool setToNext() override;
    // Stays when the current section has that name, else stands on the
    // first section of that name (true) or becomes not valid (false).
    virtual bool setTo(const char* name);

    // The current section's name equals name, ignoring case.
    bool matches(const char* name) const;
    // The current section's name; "" when the cursor is not valid.
    const char* getSection() const;
    const KivClIniFile& getIniFile() const { return iniFile_; }

private:
    friend class KivClIniFile;
    friend class KivClIniFileOptionCursor;

    const KivClIniFile& iniFile_;
    KivClIniFileSection* first_;
    KivClIniFileSection* current_;
};

// Walks the options of one section in list order, deleted ones included.
class KivClIniFileOptionCursor : public KivClUniDirCursorABase {
public:
    // Walks the ini file's selected section (nothing when none is selected).
    explicit KivClIniFileOptionCursor(const KivClIniFile& iniFile);
    // Walks the section cursor's current section.
    explicit KivClIniFileOptionCursor(const KivClIniFileSectionCursor& sectionCursor);
    // Walks the given section of the ini file.
    KivClIniFileOptionCursor(const KivClIniFile& iniFile, const KivClIniFileSection* section);
    ~KivClIniFileOptionCursor() override;

    bool isValid() const override { return current_ != nullptr; }
    // The section's first option as it was when the cursor was made.
    bool setToFirst() override;
    bool setToNext() override;
    virtual bool setTo(const char* name);

    // The current option's name equals name, ignoring case.
    bool matches(const char* name) const;
    // Name, value text and comment text of the current option; "" when the
    // cursor is not valid.
    const char* getOption() const;
    const char* getValue() const;
    const char* getComment() const;
    // Convert the value as the name-based queries do and return its text.
    // When the cursor is not valid the out-parameter is left unchanged.
    const char* getValue(int& value) const;
    const char* getValue(unsigned int& value) const;
    const char* getValue(long& value) const;
    const char* getValue(unsigned long& value) const;
    const char* getValue(char& value) const;
    const char* getValueBool(bool& value) const;

    const KivClIniFile& getIniFile() const { return iniFile_; }

private:
    friend class KivClIniFile;

    const KivClIniFile& iniFile_;
    KivClIniFileSection* section_;
    KivClIniFileOption* first_;
    KivClIniFileOption* current_;
};

// Value parsing helpers, shared by the loader and the character queries.
//
// Reads a quoted character at text, which points at the opening "'": the
// next character, or the escape sequence after a backslash, is the result;
// the one character after it takes the place of the closing "'" and is
// skipped unexamined. Advances text past what was consumed, never past the
// terminator. Returns '\0' when the text ends before a character is found.
char kivIniFileGetQuotedCharacter(const char*& text);
// Reads the escape sequence at text, which points just after a backslash,
// and advances text past it: \a \b \f \n \r \t \v, \x and hexadecimal digits
// (strtol base 16), a decimal digit and what follows (strtol base 8), both
// kept to their low 8 bits, or any other character as itself ("x" too when
// no hexadecimal digit follows it). Returns '\0' without moving when text
// is at its terminator.
char kivIniFileGetEscCharacter(const char*& text);
// Copies the quoted string at source (pointing at the opening double quote)
// to destination, resolving escapes, up to the closing double quote (skipped)
// or the end of the text. Escapes that yield '\0' are dropped. Terminates
// destination and leaves it at the terminator. destination must have room
// for as many characters as remain in source.
void kivIniFileQuotedStrCopy(char*& destination, const char*& source);

#endif  // KIV_INIFILE_HPP
