// Trace formatter: turns a trace file into readable text, one record at a
// time, under a format string of % variables.
//
// With hex set, every scalar value (types bool to long double) is followed by
// a line "HEX: " and its bytes as a hex dump line; with bin set, every
// integral value (bool and the 8- to 64-bit integers) by a line "BIN: " and
// its bytes in binary digits, in memory order (host order, so the low byte
// comes first here), as a binary dump line. Both may be set: HEX comes first.
//
// Format variables: %f function name, %m message, %d data, %x / %X short /
// long type name, %l detail, %s timestamp, %t thread id, %p process id, %c
// component id, %n line break plus indentation, %% a percent sign; "\n",
// "\t" and "\\" in the format are a line break, a tab and a backslash. "%"
// before any other character prints "%" and drops the character. Only the
// first %d of a format prints the data; later ones print nothing.
//
// The records printed are those that pass the filter (detail, component id,
// process id and thread id); the filter, the format, the indentation text
// and the option flags are set by the client before format().
//
// format() takes the format string apart once per file and reuses one record
// object for all records. On an ordinary stream (good, not tied, not
// unit-buffered, no field width) it gathers the text in a 4 KB buffer that
// goes to the stream buffer whenever it fills up, before any output that
// uses the stream's own formatting, and when format() returns or throws; any
// other stream gets every piece through its own checks and settings.
//
// Failure policy: a trace file that cannot be opened, ends inside a record
// or holds impossible values ends formatting with a KivClExceptionFatal
// (TRACEFORMAT_COULD_NOT_OPEN, _UNEXPECTED_EOF, _FILE_CORRUPTED) whose module
// text names the place, e.g. "kiv_trace_format:644"; everything printed
// before stays printed and the file is closed.
//
//   KivClTraceEnvironment environment("APP", nullptr, true);   // names the file
//   KivClTraceFormatter formatter(environment);
//   formatter.setFormatString("%f: %m %d%n");
//   formatter.everyFunctionName = false;
//   formatter.format(std::cout);
//   // main: count 42
//   // : total 7        (same function: name not repeated)
#ifndef KIV_TRACEFORMAT_HPP
#define KIV_TRACEFORMAT_HPP

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>

#include "kiv_trace.hpp"

class KivClMessageCatalog;
class KivClMessage;

// The formatter's private helpers are not exported, so that the calls
// between them are direct and can be inlined rather than going through the
// procedure linkage table.
#if defined(__GNUC__)
#define KIV_TRACEFORMAT_LOCAL __attribute__((visibility("hidden")))
#else
#define KIV_TRACEFORMAT_LOCAL
#endif

// Reads a trace file and prints the records that pass its filter.
class KivClTraceFormatter {
public:
    // Message ids of the formatter's texts in the library message table.
    static constexpr unsigned long MSG_BYTES = 189;
    static constexpr unsigned long MSG_CLIPPED = 190;
    static constexpr unsigned long MSG_NULL_POINTER = 191;
    static constexpr unsigned long MSG_NESTING_LEVEL = 192;
    // Size of the last-function-name buffer.
    static constexpr uint32_t FUNCTION_NAME_BUFFER = 512;
    // Most indentation texts printed after one line break. The nesting level
    // comes from the file, so a damaged or hostile one could otherwise ask
    // for billions of them per line; deeper levels are indented as this one.
    static constexpr int32_t MAX_INDENT_LEVELS = 256;

    // Module texts of the fatal exceptions, "kiv_trace_format:<line>".
    static constexpr const char* MODULE_BAD_TYPE = "kiv_trace_format:149";
    static constexpr const char* MODULE_SKIP_EOF = "kiv_trace_format:186";
    static constexpr const char* MODULE_ADDRESS_EOF = "kiv_trace_format:247";
    static constexpr const char* MODULE_HEXDUMP_EOF = "kiv_trace_format:277";
    static constexpr const char* MODULE_CSTRING_EOF = "kiv_trace_format:323";
    static constexpr const char* MODULE_DATA_EOF = "kiv_trace_format:342";
    static constexpr const char* MODULE_ADDRESS_LENGTH = "kiv_trace_format:364";
    static constexpr const char* MODULE_SCALAR_LENGTH = "kiv_trace_format:377";
    static constexpr const char* MODULE_ENTRY_LENGTH = "kiv_trace_format:398";
    static constexpr const char* MODULE_EXIT_LENGTH = "kiv_trace_format:416";
    static constexpr const char* MODULE_NO_DATA_LENGTH = "kiv_trace_format:433";
    static constexpr const char* MODULE_UNKNOWN_TYPE = "kiv_trace_format:541";
    static constexpr const char* MODULE_FORMAT_EOF = "kiv_trace_format:644";
    static constexpr const char* MODULE_OPEN = "kiv_trace_format:837";

    // Reads environment's trace file with environment's format string. A
    // null filter means the filter of environment's settings. Neither is
    // copied: both must outlive the formatter.
    explicit KivClTraceFormatter(KivClTraceEnvironment& environment,
                                 const KivClTraceFilter* filter = nullptr);
    ~KivClTraceFormatter();
    KivClTraceFormatter(const KivClTraceFormatter&) = delete;
    KivClTraceFormatter& operator=(const KivClTraceFormatter&) = delete;

    // Takes the texts 189 to 192 from catalog from now on (not owned).
    void attachKivMessageCatalog(const KivClMessageCatalog& catalog);
    // Text id from the attached catalog, else the built-in copy; null for
    // other ids without a catalog.
    const char* getMessage(unsigned long id);

    // The texts are not copied: the caller keeps them alive. Null restores
    // the environment's format / no indentation. The indentation text is
    // printed once per nesting level, at most MAX_INDENT_LEVELS times.
    void setFormatString(const char* text);
    void setDisplayIndentation(const char* text) { indentation_ = text; }
    // Another filter (not copied); null restores the settings' filter.
    void setFilter(const KivClTraceFilter* filter);
    const KivClTraceFilter& getFilter() const { return *filter_; }
    const char* getFormatString() const { return formatString_; }

    // Formats the whole trace file to output. Throws KivClExceptionFatal as
    // described above.
    void format(std::ostream& output);
    // Records read by the last format() call.
    uint32_t getEntryCount() const { return entryCount_; }
    int32_t getNestingLevel() const { return nestingLevel_; }

    // One record from input: false at the end of the file. lastFunctionName
    // holds FUNCTION_NAME_BUFFER bytes.
    bool formatEntry(std::istream& input, const char* formatString, char* lastFunctionName);
    void formatData(std::istream& input, KivEnTraceDataType type, uint32_t length);
    void formatCString(std::istream& input, uint32_t length);
    void formatHexDump(std::istream& input, uint32_t length);
    void formatAdrs(std::istream& input, uint32_t length);
    void displayBuffer(const char* text, uint32_t length);
    void displayIndent();
    void skipEntry(std::istream& input, uint32_t length);
    static const char* getTypeAsShortCString(uint32_t type);
    static const char* getTypeAsLongCString(uint32_t type);

    // Options, set before format().
    bool nest = false;               // print "Nesting level: " for function records
    bool functionHeaders = true;     // false: skip function entry and exit records
    bool everyFunctionName = true;   // false: %f only on change and on entries
    bool hex = false;                // add "HEX: " lines after scalar values
    bool bin = false;                // add "BIN: " lines after integral values

private:
    // Size of the text gathered for the output stream before it is written.
    static constexpr uint32_t TEXT_BUFFER = 4096;

    // Most steps of a format that format() takes apart once for all records.
    static constexpr uint32_t MAX_FORMAT_STEPS = 64;

    // One step of a format: literal text (variable '\0'), or the letter
    // after a "%" (any letter, "%" included) or "n" for a "\n" escape.
    struct FormatStep {
        const char* text;
        uint32_t length;
        char variable;
    };
    // The step at p, with p moved past it; false at the end of the format.
    KIV_TRACEFORMAT_LOCAL static bool nextFormatStep(const char*& p, FormatStep& step);
    // Fills steps (MAX_FORMAT_STEPS of them) with the steps of the format;
    // returns their count, or MAX_FORMAT_STEPS + 1 when they do not fit.
    KIV_TRACEFORMAT_LOCAL static uint32_t prepareFormat(const char* formatString,
                                                        FormatStep* steps);
    // One record from input into entry, which is reused from record to
    // record, printed by the prepared steps, or when steps is null by the
    // format string read step by step.
    KIV_TRACEFORMAT_LOCAL bool formatRecord(std::istream& input, KivClTraceFileEntry& entry,
                                            const char* formatString, const FormatStep* steps,
                                            uint32_t stepCount, char* lastFunctionName);
    // Output of text, as the stream's write() and << would give it. While
    // gathering, pieces collect in text_ and reach the stream when it is
    // full, before any formatted output and when format() ends.
    KIV_TRACEFORMAT_LOCAL void put(const char* text, size_t count);
    KIV_TRACEFORMAT_LOCAL void put(const char* text);  // null sets badbit, as << does
    KIV_TRACEFORMAT_LOCAL void put(char c);
    // The output stream, with the gathered text written to it first.
    KIV_TRACEFORMAT_LOCAL std::ostream& stream();
    KIV_TRACEFORMAT_LOCAL void flushText();
    // value in decimal: digits made here on a plainly printing stream, the
    // stream's own formatting otherwise.
    KIV_TRACEFORMAT_LOCAL void printNumber(uint32_t value);
    KIV_TRACEFORMAT_LOCAL void printLineBreak();
    // Skips the data when no %d printed it; returns true.
    KIV_TRACEFORMAT_LOCAL bool finishEntry(std::istream& input, uint32_t dataLength,
                                           bool dataPrinted);
    KIV_TRACEFORMAT_LOCAL void printTypeName(const KivClTraceFileEntry& entry, const char* name);
    KIV_TRACEFORMAT_LOCAL void formatScalar(KivEnTraceDataType type, const unsigned char* bytes,
                                            uint32_t length);

    KivClTraceEnvironment& environment_;
    const KivClTraceFilter* filter_;
    const KivClMessageCatalog* catalog_;
    KivClMessage* message_;
    std::ostream* output_;
    uint32_t entryCount_;
    int32_t nestingLevel_;
    const char* formatString_;
    const char* indentation_;
    bool gathering_ = false;     // text goes to text_ first (format() on a plain stream)
    bool plainNumbers_ = false;  // numbers may be printed without the stream's formatting
    uint32_t textLength_ = 0;
    char text_[TEXT_BUFFER];
};

#undef KIV_TRACEFORMAT_LOCAL

#endif  // KIV_TRACEFORMAT_HPP
