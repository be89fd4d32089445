// Console user interface for command-line tools: one object that validates
// the tool's whole command line against its usage string, handles the
// switches every tool understands, answers questions about single switches,
// and writes every message, labelled value, prompt, usage and help text in
// one house layout.
//
// Built-in switches of every tool: "-h", "-H" or "-?" (usage and help, exit
// 201), "-copyright" (copyright display, exit 201) and "-quiet" (output and
// error streams of the UI go to /dev/null). "-copyright" and "-quiet" are
// recognised only while the catalog can deliver messages (a catalog file is
// open or a string table answers).
//
// Failure policy: command-line errors never return to the tool. Each writes
// its report to standard error (usage and help go to standard output) and
// ends the process through exit():
//   201  after the usage display that follows unknown, forbidden or repeated
//        entries or a missing switch, after the help and the copyright display
//   202  a required switch is missing and no usage string is set
//   203  a switch that needs a value has none
//   204  a numeric switch has a value that is not a number
// A bell (code 7) goes to the UI's output stream before any non-zero exit.
// Output operations ignore stream errors; prompts never end the process.
//
// Texts: every label, header, prompt word and error text is library message
// N fetched from the UI's catalog as message base + N, so a translated
// catalog changes all of them. Operations that take a message number from
// the caller (titles, usage, help, switch names, labels, headers, prompt
// questions) use that number of the catalog as it is, without the base.
//
// Example (process name "tool", library texts):
//   int main(int argc, char** argv) {
//       KivClConsoleUI ui(argc, argv);
//       ui.init("Demo", nullptr, "1.0", "Nov 23 2026");
//       //  -> "\ntool - Demo\n" on standard output
//       ui.handleUsageHelp("(-n <count>) [-v]", "-n <count>  how many");
//       //  "tool -x" -> "Unknown command line argument: -x", usage, exit 201
//       long n = 0;
//       ui.reqArgNumval("n", n);        // "tool -n 12" -> n == 12
//       ui.format("Count", n);
//       //  -> "  Count...............................: 12"
//   }
//
// Call init first: every operation but construction, getUsage and
// processExit needs the settings it creates.
//
// Warning: init, handleUsageHelp, the reqArg... and hasArg... queries,
// fatal, processExit and the displays with an exit flag may end the process;
// objects of the caller are then not destroyed.
#ifndef KIV_CONSOLEUI_HPP
#define KIV_CONSOLEUI_HPP

#include <iosfwd>

#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_filename.hpp"
#include "kiv_msgcat.hpp"

// Name of the environment variable that, when enabled ("ON", "YES", "TRUE"
// or "1"), makes formatted string values appear in double quotes and
// character values in apostrophes.
constexpr const char* KIV_CONSOLEUI_QUOTE_STRINGS = "KIV_CONSOLEUI_QUOTE_STRINGS";

class KivClConsoleUIParams;

// The console UI of one tool: its command line, catalog, settings and output.
class KivClConsoleUI {
public:
    // A fixed underlying type keeps any stored value defined; values other
    // than these three write no label.
    enum KivEnFormatStyle : int {
        KivEnFormatStyleLeft = 0,    // label, then fill characters
        KivEnFormatStyleRight = 1,   // blanks, then the label
        KivEnFormatStyleCenter = 2   // label centred with blanks
    };

    // Exit codes of command-line errors.
    static constexpr unsigned long EXIT_USAGE = 201;
    static constexpr unsigned long EXIT_MISSING_SWITCH = 202;
    static constexpr unsigned long EXIT_MISSING_VALUE = 203;
    static constexpr unsigned long EXIT_VALUE_NOT_NUMERIC = 204;

    // Width of the dashed bar, and the longest prompt answer.
    static constexpr unsigned BAR_WIDTH = 74;
    static constexpr unsigned MAX_ANSWER = 80;

    // Keeps argc and argv (not copied: they must outlive the UI) and uses
    // the library's default catalog with message base 0; init gives that
    // catalog the library message table.
    KivClConsoleUI(int argc, const char** argv);
    KivClConsoleUI(int argc, char** argv);
    // Uses the tool's catalog file (extension replaced by ".cat"); the
    // library's messages are found in it from messageBase on. A catalog that
    // cannot be opened and has no string table writes failure texts.
    KivClConsoleUI(int argc, const char** argv, const KivClFilename& catalogName,
                   unsigned long messageBase);
    virtual ~KivClConsoleUI();

    KivClConsoleUI(const KivClConsoleUI&) = delete;
    KivClConsoleUI& operator=(const KivClConsoleUI&) = delete;

    // The UI's catalog: the tool's catalog file, or the default catalog.
    virtual KivClMessageCatalog& getMessageCatalog();

    // The command line the UI checks, handed to the argument cursors.
    int getArgCount() const { return argc_; }
    const char** getArgValues() const { return argv_; }
    unsigned long getMessageBase() const { return messageBase_; }

    // ---- Setup ----

    // Creates the settings, gives a default catalog the library table, then
    // handles "-quiet" and "-copyright" and shows the title line. Calling it
    // again starts over with fresh settings. May end the process (copyright).
    void init(const char* title, const char* subtitle, const char* level, const char* date);
    // Title 0 means no title and no subtitle; a subtitle 0 means none; a
    // number the catalog lacks also gives none.
    void init(unsigned long titleId, unsigned long subtitleId, const char* level,
              const char* date);
    void handleBuiltInSwitches(const char* title, const char* subtitle, const char* level,
                               const char* date);

    // Replaces the usage and help copies (the previous ones are released).
    // A null usage means no usage string; a null help means no help text.
    void setUsage(const char* usage, const char* help);
    // The usage copy, or the empty text when none is set.
    const char* getUsage() const;
    // setUsage, the help switches, then the whole command line against the
    // usage string; any finding ends the process with 201.
    void handleUsageHelp(const char* usage, const char* help);
    void handleUsageHelp(unsigned long usageId, unsigned long helpId);
    // "-h", "-H" or "-?" on the command line: usage and help, exit 201.
    void handleHelp() const;
    // Usage and help displays drop tagged lines (after "!"); disabling also
    // reports tagged switches on the command line as not allowed.
    void hideTaggedLines();
    void disableTaggedLines();

    const char* getProcessName() const;
    bool mustBeQuiet() const;
    // Ignored in quiet mode.
    void setOutputStream(std::ostream& os);
    std::ostream& getOutputStream() const;
    void setFormatWidth(unsigned width);
    void setFormatStyle(KivEnFormatStyle style);
    void setFormatFillChar(char fill);

    // ---- Argument queries: the first occurrence of a switch counts ----
    // A char names a one-character switch, a text names a switch with or
    // without its "-", a number is a catalog message whose text is the name.

    bool hasArgSwitch(char name) const;
    bool hasArgSwitch(const char* name) const;
    bool hasArgSwitch(unsigned long nameId) const;
    void reqArgSwitch(char name) const;
    void reqArgSwitch(const char* name) const;
    void reqArgSwitch(unsigned long nameId) const;

    // The entry after the switch; exit 203 when it is missing or a switch.
    bool hasArgString(char name, const char*& value) const;
    bool hasArgString(const char* name, const char*& value) const;
    bool hasArgString(unsigned long nameId, const char*& value) const;
    void reqArgString(char name, const char*& value) const;
    void reqArgString(const char* name, const char*& value) const;
    void reqArgString(unsigned long nameId, const char*& value) const;

    // The entry after the switch, one leading apostrophe skipped, read as a
    // decimal number up to its first non-digit ("12ab" gives 12, "-x" 0;
    // values beyond the range of long are clamped to it). Exit 203 when no
    // entry follows, 204 when it does not begin with a digit or "-". The int
    // and short forms keep the low bits of the long value.
    bool hasArgNumval(char name, long& value) const;
    bool hasArgNumval(const char* name, long& value) const;
    bool hasArgNumval(unsigned long nameId, long& value) const;
    bool hasArgNumval(char name, int& value) const;
    bool hasArgNumval(const char* name, int& value) const;
    bool hasArgNumval(unsigned long nameId, int& value) const;
    bool hasArgNumval(char name, short& value) const;
    bool hasArgNumval(const char* name, short& value) const;
    bool hasArgNumval(unsigned long nameId, short& value) const;
    void reqArgNumval(char name, long& value) const;
    void reqArgNumval(const char* name, long& value) const;
    void reqArgNumval(unsigned long nameId, long& value) const;
    void reqArgNumval(char name, int& value) const;
    void reqArgNumval(const char* name, int& value) const;
    void reqArgNumval(unsigned long nameId, int& value) const;
    void reqArgNumval(char name, short& value) const;
    void reqArgNumval(const char* name, short& value) const;
    void reqArgNumval(unsigned long nameId, short& value) const;

    // Reports a missing switch and ends the process: 202 without a usage
    // string, else the usage display and 201. The char form names the
    // switch with its hyphen, the text form as given.
    [[noreturn]] void fatalMissingArg(const char* name) const;
    [[noreturn]] void fatalMissingArg(char name) const;
    // Bell when code is not 0, then exit(code).
    [[noreturn]] void processExit(unsigned long code) const;

    // ---- Output primitives ----

    // A line end on the output stream, flushed.
    void newline() const;
    // The dashed bar and an empty line.
    void horizontalBar() const;
    void beep() const;
    // As many blanks as the process name has characters.
    void indent(std::ostream& os) const;
    void indent(std::ostream& os, unsigned count, char c) const;
    // Free text with hanging indentation: indent blanks after every line
    // end of text, "@" at the start of a line written as a line end, "!"
    // never written (and its line dropped when tagged lines are hidden or
    // disabled), and in usage mode double quotes and parentheses dropped.
    // Ends with a line end unless text does.
    void display(std::ostream& os, const char* text, unsigned indent, bool usage) const;

    // ---- Headers ----

    // Empty line, bar, "name: text", then ":" and the open next line
    // (colon true) or a line end.
    void header(std::ostream& os, const char* text, bool colon) const;
    void header(std::ostream& os, unsigned long msgId, bool colon) const;
    void header(const char* text, bool colon) const;
    void header(unsigned long msgId, bool colon) const;
    // Empty line, "  text", "  " and 72 dashes.
    void formatHeader(const char* text) const;
    void formatHeader(unsigned long msgId) const;

    // ---- Label-and-value lines on the output stream ----

    // The label field alone: "  ", the label padded to the format width in
    // the format style, ": ". A longer label is written whole.
    void format(const char* label) const;
    void format(unsigned long labelId) const;
    void format(const char* label, const char* value) const;
    void format(unsigned long labelId, const char* value) const;
    // Exactly length bytes of data, zero bytes included.
    void format(const char* label, const char* data, unsigned length) const;
    void format(unsigned long labelId, const char* data, unsigned length) const;
    void format(const char* label, char value) const;
    void format(unsigned long labelId, char value) const;
    void format(const char* label, short value) const;
    void format(unsigned long labelId, short value) const;
    void format(const char* label, unsigned short value) const;
    void format(unsigned long labelId, unsigned short value) const;
    void format(const char* label, int value) const;
    void format(unsigned long labelId, int value) const;
    void format(const char* label, unsigned int value) const;
    void format(unsigned long labelId, unsigned int value) const;
    void format(const char* label, long value) const;
    void format(unsigned long labelId, long value) const;
    void format(const char* label, unsigned long value) const;
    void format(unsigned long labelId, unsigned long value) const;
    void format(const char* label, float value) const;
    void format(unsigned long labelId, float value) const;
    void format(const char* label, double value) const;
    void format(unsigned long labelId, double value) const;
    // "YES" or "NO" from the catalog.
    void formatBool(const char* label, bool value) const;
    void formatBool(unsigned long labelId, bool value) const;
    // A format header, then hex dump lines of 16 bytes with their offsets.
    void dump(const char* label, const char* data, unsigned length) const;
    void dump(unsigned long labelId, const char* data, unsigned length) const;

    // ---- Error records ----

    void formatErrId(unsigned long errorId, bool verbose) const;
    void format(KivEnErrorClass errorClass) const;
    void format(KivEnErrorSeverity severity) const;
    void format(KivEnErrorAction action) const;
    void format(const _KivStError& error, bool verbose) const;
    void format(const _KivStUserError& error, bool verbose) const;
    void format(const KivClException& exception, bool verbose) const;

    // ---- Message blocks; null texts are skipped ----

    // "  a: b: c: d: e" and a line end.
    void msg(std::ostream& os, const char* a, const char* b = nullptr, const char* c = nullptr,
             const char* d = nullptr, const char* e = nullptr) const;
    // ": text" when text is not null.
    void msgSubseq(std::ostream& os, const char* text) const;
    void info(const char* title, const char* a = nullptr, const char* b = nullptr,
              const char* c = nullptr, const char* d = nullptr) const;
    void warning(const char* a, const char* b = nullptr, const char* c = nullptr,
                 const char* d = nullptr, const char* e = nullptr) const;
    void error(const char* a, const char* b = nullptr, const char* c = nullptr,
               const char* d = nullptr, const char* e = nullptr) const;
    void error(std::ostream& os, const char* a, const char* b = nullptr,
               const char* c = nullptr) const;
    [[noreturn]] void fatal(unsigned long exitCode, const char* a, const char* b = nullptr,
                            const char* c = nullptr, const char* d = nullptr,
                            const char* e = nullptr) const;
    // Block on the error stream, then the exception's fields on the output
    // stream.
    void exception(const KivClException& x, const char* a = nullptr, const char* b = nullptr,
                   const char* c = nullptr, const char* d = nullptr,
                   const char* e = nullptr) const;

    // ---- Prompts on standard output, answers from standard input ----
    //
    // An answer is one input line. A line longer than 80 characters gives
    // its first 80; the rest of that line is dropped. An answer is taken as
    // typed: blanks make it non-empty. An empty answer takes the default.
    // At the end of standard input (or on a read error) every answer is
    // empty, so each prompt returns its default at once; promptNumval then
    // returns the default moved into [minimum, maximum] (the nearer limit
    // when the default lies outside), so no prompt waits or repeats forever.
    // Invalid numeric and yes/no answers are reported and asked again.

    // Leaves the answer in the settings' answer buffer (replacing the last).
    void prompt(const char* text, const char* hint, const char* defaultAnswer) const;
    // The answer, valid until the next prompt. defaultAnswer holds at most
    // 81 characters; a longer one is cut.
    const char* promptString(const char* text, const char* defaultAnswer) const;
    const char* promptString(unsigned long textId, const char* defaultAnswer) const;
    long promptNumval(const char* text, long minimum, long maximum, long defaultValue) const;
    long promptNumval(unsigned long textId, long minimum, long maximum,
                      long defaultValue) const;
    // The first letter of the answer, in upper case, against the first
    // letters of the catalog's "YES" and "NO".
    bool promptYesNo(const char* text, bool defaultYes) const;
    bool promptYesNo(unsigned long textId, bool defaultYes) const;
    // Waits for one input line and drops it whole.
    void promptForKey() const;

    // Spinner "|/-\" on the output stream, in place.
    void progressStart() const;
    void progressStep(const char* text) const;
    void progressStop() const;

    // ---- Usage, help, title and copyright ----

    // Usage line with the built-in switches, then the usage string; exit
    // 201 when exit is set.
    void displayUsage(bool exit) const;
    void displayHelp(bool exit) const;
    void displayUsageHelp(const char* usage, const char* help, bool exit);
    // On the output stream: "\nname - title   subtitle\n"; nothing when both
    // are null.
    void displayTitle(const char* title, const char* subtitle) const;
    // Leaves quiet mode, shows the library's copyright, level and compile
    // date (and the tool's level and date when level is given), exit 201.
    [[noreturn]] void displayCopyright(const char* level, const char* date);

private:
    // Library message N of the catalog (base + N).
    KivClMessage libraryText(unsigned long n) const;
    // The catalog has a file open or answers from a string table.
    bool canDeliverMessages() const;
    // A default catalog gets the library table (once it is needed).
    void prepareCatalog();
    [[noreturn]] void privateFatal(unsigned long code, const char* text,
                                   const char* name) const;
    // The entry after the first occurrence of name, or null when name does
    // not occur; *found tells whether it occurs.
    const char* argumentAfter(const char* name, bool* found) const;
    bool numvalOf(const char* name, long& value) const;
    // Reads one answer line of at most capacity - 1 characters into buffer
    // and drops the rest of a longer line; false when nothing could be read
    // (end of input or a read error), buffer then empty.
    bool readAnswer(char* buffer, unsigned capacity) const;
    // prompt, telling whether standard input could still be read.
    bool ask(const char* text, const char* hint, const char* defaultAnswer) const;
    std::ostream& out() const;
    std::ostream& err() const;

    KivClMessageCatalog catalog_;
    unsigned long messageBase_;
    int argc_;
    const char** argv_;
    KivClConsoleUIParams* params_ = nullptr;
};

// The settings of one console UI, created by init. The process name is the
// part of argv[0] after its last "/", at most 25 characters, cut at its
// first ".".
class KivClConsoleUIParams {
public:
    static constexpr unsigned PROCESS_NAME_MAX = 25;
    static constexpr unsigned ANSWER_SIZE = 82;

    explicit KivClConsoleUIParams(const char* argv0);
    ~KivClConsoleUIParams();
    KivClConsoleUIParams(const KivClConsoleUIParams&) = delete;
    KivClConsoleUIParams& operator=(const KivClConsoleUIParams&) = delete;

    // Both streams go to /dev/null until forceOutputStream.
    void setQuietMode();
    // Ignored in quiet mode.
    void setOutputStream(std::ostream& os);
    // os becomes the output stream, standard error the error stream; quiet
    // mode ends.
    void forceOutputStream(std::ostream& os);
    void flushOutputStream();

    const char* getProcessName() const { return processName_; }
    unsigned getProcessNameLength() const { return processNameLength_; }
    bool isQuiet() const { return quiet_; }

private:
    friend class KivClConsoleUI;

    void releaseTexts();

    const char* usage_;
    char* help_ = nullptr;
    char answer_[ANSWER_SIZE] = {};
    char processName_[PROCESS_NAME_MAX + 1] = {};
    unsigned processNameLength_ = 0;
    unsigned progressCounter_ = 0;
    bool quiet_ = false;
    bool hideTaggedLines_ = false;
    bool disableTaggedLines_ = false;
    bool quoteStrings_;
    unsigned formatWidth_ = 36;
    KivClConsoleUI::KivEnFormatStyle formatStyle_ = KivClConsoleUI::KivEnFormatStyleLeft;
    char fillChar_ = '.';
    std::ostream* outputStream_;
    std::ostream* errorStream_;
    std::ostream* quietStream_ = nullptr;
};

#endif  // KIV_CONSOLEUI_HPP
