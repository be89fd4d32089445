// Trace formatter: exact output of known traces, options, filters, streams
// and the fatal exceptions for damaged or hostile files.
#include <gtest/gtest.h>

#include <climits>
#include <locale>
#include <sstream>
#include <stdexcept>

#include <unistd.h>

#include "kiv_msgcat.hpp"
#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

using kivtest::bytesOf;
using kivtest::RawRecord;

namespace {

using Options = void (*)(KivClTraceFormatter&);

class TraceFormatTest : public ::testing::Test {
protected:
    TraceFormatTest() { vars_.set("DETAIL", "HIGH"); }

    // Writes the records, less cut bytes at the end (more: no file), as the
    // trace file and formats it with format and options into out_.
    std::string formatRecords(const std::vector<RawRecord>& records, const char* format, Options options = nullptr,
                              size_t cut = 0) {
        std::string bytes;
        for (const RawRecord& r : records) bytes += kivtest::makeRecord(r);
        cut > bytes.size() ? (void)unlink(vars_.file.c_str())
                           : kivtest::writeFile(vars_.file, bytes.substr(0, bytes.size() - cut));
        KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
        KivClTraceFormatter formatter(environment);
        if (options) options(formatter);
        formatter.setFormatString(format);
        out_.str("");
        formatter.format(out_);
        entries_ = formatter.getEntryCount();
        return out_.str();
    }

    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_{"KIVTFMT", dir_};
    uint32_t entries_ = 0;
    std::ostringstream out_;  // what the last format() printed, also after an exception
};

// Groups digits by three with a comma, whatever the machine's locales.
struct Thousands : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

std::string repeat(const std::string& text, size_t times) {
    std::string out;
    for (size_t i = 0; i < times; ++i) out += text;
    return out;
}

const std::string kLine1 = "00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP";
const std::string kLine2 = "00000010: 51 52 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | QR______________";

}  // namespace

TEST_F(TraceFormatTest, DefaultFormatExactOutput) {
    // RawRecord: type, message, function, data, detail, component, timestamp, process, thread.
    EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "main", bytesOf<int32_t>(1), 0, 0, 5, 100, 1},
                             {KIV_TRACE_TYPE_CSTRING, "text", "main", "hi", 3, 255, 8, 100, 1},
                             {KIV_TRACE_TYPE_DATA_NULL, "nul", "main", "", 2, 3, 9, 100, 1},
                             {KIV_TRACE_TYPE_DATA_CLIPPED, "cut", "main", "ABCDEFGHIJKLMNOP", 1, 3, 10, 100, 1}},
                            nullptr),
              "main\n   P: 100, T: 5, D: OFF, C: 0\n   Data:  (FE: \n)"
              "main\n   P: 100, T: 8, D: HIGH, C: 255\n   Data: text (cpsz: \"hi\"\n)"
              "main\n   P: 100, T: 9, D: MED, C: 3\n   Data: nul (DA: *** Illegal NULL pointer ***\n)"
              "main\n   P: 100, T: 10, D: LOW, C: 3\n   Data: cut (DA (16 Bytes) *** Clipped ***: \n" + kLine1 +
                  "\n\n)");
}

TEST_F(TraceFormatTest, ScalarRenderingsAndLongTypeNames) {
    struct Row { uint32_t type; std::string data; const char* text; } rows[] = {
        {KIV_TRACE_TYPE_BOOL, std::string(1, '\2'), "bool: TRUE"}, {KIV_TRACE_TYPE_FLOAT, bytesOf(1.5f), "float: 1.5"},
        {KIV_TRACE_TYPE_INT8, "\xFF", "signed integer (8 bits): 0xFFFFFFFF/-1"},
        {KIV_TRACE_TYPE_INT8, "A", "signed integer (8 bits): 0x41/65/'A'"},
        {KIV_TRACE_TYPE_UINT8, "\xC8", "unsigned integer (8 bits): 0xC8/200"},
        {KIV_TRACE_TYPE_INT16, bytesOf<int16_t>(-300), "signed integer (16 bits): -300"},
        {KIV_TRACE_TYPE_UINT16, bytesOf<uint16_t>(65535), "unsigned integer (16 bits): 65535"},
        {KIV_TRACE_TYPE_UINT32, bytesOf<uint32_t>(4000000000u), "unsigned integer (32 bits): 4000000000"},
        {KIV_TRACE_TYPE_INT64, bytesOf<int64_t>(-5000000000LL), "signed integer (64 bits): -5000000000"},
        {KIV_TRACE_TYPE_UINT64, bytesOf<uint64_t>(~0ULL), "unsigned integer (64 bits): 18446744073709551615"},
        {KIV_TRACE_TYPE_DOUBLE, bytesOf<double>(-0.25), "double: -0.25"},
        {KIV_TRACE_TYPE_LONG_DOUBLE, bytesOf<long double>(1e100L), "long double: 1e+100"},
        {KIV_TRACE_TYPE_ADDRESS, bytesOf<uint64_t>(0x1234abcdULL), "Address: 0x1234abcd"},
        {KIV_TRACE_TYPE_ADDRESS, bytesOf<uint32_t>(0xbeefu), "Address: 0xbeef"},
        {KIV_TRACE_TYPE_CSTRING, "", "C string: \"\""}, {KIV_TRACE_TYPE_UNICODE, "", "Unicode: "},
    };
    for (const Row& row : rows) EXPECT_EQ(formatRecords({{row.type, "", "", row.data}}, "%X: %d"), row.text);
}

TEST_F(TraceFormatTest, FormatVariablesAndEscapes) {
    const RawRecord r{KIV_TRACE_TYPE_INT8, "msg", "fn", "x", 3, 9, 300, 100, 200};
    struct Row { const char* format; const char* text; } rows[] = {
        {"%%|%q|\\t|\\\\|\\x|%X|%l|%c|%p|%t|%s", "%|%|\t|\\|x|signed integer (8 bits)|HIGH|9|100|200|300"},
        {"a%", "a%"}, {"a\\", "a"}, {"%m %m", "msg msg"}, {"", ""},
        {"%d/%d", "0x78/120/'x'/"},  // only the first %d prints the data
    };
    for (const Row& row : rows) {
        // A second record checks that each format leaves the input at the next record.
        EXPECT_EQ(formatRecords({r, r}, row.format), std::string(row.text) + row.text) << row.format;
    }
}

// Texts of every length from 0 to 255 and C string data up to 300 bytes
// reach the output whole and in order, however they are copied.
TEST_F(TraceFormatTest, PiecesOfEveryLength) {
    std::vector<RawRecord> records;
    std::string expected;
    for (size_t length = 0; length <= 300; ++length) {
        std::string text(length, ' ');
        for (size_t i = 0; i < length; ++i) text[i] = static_cast<char>('!' + (i * 7 + length) % 90);
        const std::string message = text.substr(0, std::min<size_t>(length, 255));
        records.push_back({KIV_TRACE_TYPE_CSTRING, message, "", text});
        expected += message + "|\"" + text + "\"\n";
    }
    EXPECT_EQ(formatRecords(records, "%m|%d\\n"), expected);
}

// Numbers follow the stream's base and digit grouping; a tied or
// unit-buffered stream gets the same text, a failed stream nothing.
TEST_F(TraceFormatTest, EveryKindOfStream) {
    formatRecords({{KIV_TRACE_TYPE_DATA, "m", "f", "ABCDEFGHIJKLMNOPQR", 1, 255, 4000000000u, 123456, 0}}, "");
    const std::string dump = "\n" + kLine1 + "\n" + kLine2, plain = "4000000000|255|123456|0|DA (18 Bytes)|" + dump;
    std::ostringstream other;
    struct Row { void (*configure)(std::ostream&, std::ostream&); std::string text; } rows[] = {
        {[](std::ostream&, std::ostream&) {}, plain},
        {[](std::ostream& out, std::ostream&) { out << std::hex; }, "ee6b2800|ff|1e240|0|DA (12 Bytes)|" + dump},
        {[](std::ostream& out, std::ostream&) { out.imbue(std::locale(std::locale::classic(), new Thousands)); },
         "4,000,000,000|255|123,456|0|DA (18 Bytes)|" + dump},
        {[](std::ostream& out, std::ostream& tied) { out.tie(&tied); }, plain},
        {[](std::ostream& out, std::ostream&) { out << std::unitbuf; }, plain},
        {[](std::ostream& out, std::ostream&) { out.setstate(std::ios::failbit); }, ""},
    };
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFormatter formatter(environment);
    formatter.setFormatString("%s|%c|%p|%t|%x|%d");
    for (const Row& row : rows) {
        std::ostringstream out;
        row.configure(out, other);
        formatter.format(out);
        EXPECT_EQ(out.str(), row.text);
    }
}

TEST_F(TraceFormatTest, NestingIndentationFunctionNamesAndHex) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "main", bytesOf<int32_t>(1), 0},
        {KIV_TRACE_TYPE_UINT16, "v", "main", bytesOf<uint16_t>(5)},
        {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "inner", bytesOf<int32_t>(2), 0},
        {KIV_TRACE_TYPE_UINT16, "w", "inner", bytesOf<uint16_t>(6)},
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", "inner", bytesOf<int32_t>(1), 0},
        {KIV_TRACE_TYPE_UINT16, "x", "main", bytesOf<uint16_t>(7)},
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", "main", bytesOf<int32_t>(0), 0},
    };
    struct Row { Options options; const char* text; } rows[] = {
        {[](KivClTraceFormatter& f) { f.nest = true, f.everyFunctionName = false, f.setDisplayIndentation(".."); },
         "main:  Nesting level: 1\n..: v 5\n..inner:  Nesting level: 2\n....: w 6\n....:  Nesting level: 1\n"
         "..main: x 7\n..:  Nesting level: 0\n"},
        {[](KivClTraceFormatter& f) { f.functionHeaders = false, f.setDisplayIndentation(".."); },
         "main: v 5\ninner: w 6\nmain: x 7\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(formatRecords(records, "%f: %m %d\\n", row.options), row.text);
        EXPECT_EQ(entries_, 7u);
    }
    // Whatever level a file claims, the indentation stays bounded; a negative one prints none.
    for (const auto& [level, indents] : std::vector<std::pair<int32_t, size_t>>{
             {3, 3}, {256, 256}, {257, 256}, {INT32_MAX, 256}, {-1, 0}, {INT32_MIN, 0}}) {
        std::string expected = "\n";
        for (size_t i = 0; i < indents; ++i) expected += "ab";
        EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "f", bytesOf<int32_t>(level)}}, "%d%n|",
                                [](KivClTraceFormatter& f) { f.setDisplayIndentation("ab"); }),
                  expected + "|") << level;
    }
}

TEST_F(TraceFormatTest, BinaryNotationOfIntegralData) {
    // Inside a function the lines are indented; the hex line comes first.
    EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "", bytesOf<int32_t>(1), 0},
                             {KIV_TRACE_TYPE_INT8, "", "", "\x7F"},
                             {KIV_TRACE_TYPE_UINT64, "", "", bytesOf<uint64_t>(0x8000000000000001ULL)},
                             {KIV_TRACE_TYPE_CSTRING, "", "", "ab"}},  // texts have no binary line
                            "%d|",
                            [](KivClTraceFormatter& f) { f.bin = true, f.hex = true, f.setDisplayIndentation(">"); }),
              "|0x7F/127\n>HEX: 7F __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ._______________\n"
              ">BIN: 01111111 ________ ________ ________  ________ ________ ________ ________ | ._______|"
              "9223372036854775809\n>HEX: 01 00 00 00 00 00 00 80  __ __ __ __ __ __ __ __ | ........________\n"
              ">BIN: 00000001 00000000 00000000 00000000  00000000 00000000 00000000 10000000 | ........|\"ab\"|");
}

// Without a filter of its own the formatter applies the settings' filter:
// LOW, every component, any process and thread.
TEST_F(TraceFormatTest, SettingsFilterAndBuiltInTexts) {
    vars_.set("DETAIL", nullptr);
    EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_NO_DATA, "a", "", "", 1, 1, 0, 100, 1},
                             {KIV_TRACE_TYPE_INT32, "b", "", bytesOf<int32_t>(1), 2, 2, 0, 200, 1},
                             {KIV_TRACE_TYPE_NO_DATA, "c", "", "", 1, 255, 0, 300, 2}},
                            "%m"), "ac");
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    EXPECT_EQ(KivClTraceFormatter(environment).getMessage(193), nullptr);  // only its own texts are built in
    EXPECT_EQ(formatRecords({}, nullptr), "");  // an empty file
    EXPECT_EQ(entries_, 0u);
}

TEST_F(TraceFormatTest, DamagedFilesEndWithTheRightException) {
    const RawRecord ok{KIV_TRACE_TYPE_NO_DATA, "ok", "", ""};
    // bad record, bytes cut from the end of the file, format, text printed, line and error.
    enum { EOF_, CORRUPT, BOUNDS, OPEN };
    struct Row { RawRecord bad; size_t cut; const char* format; const char* printed; unsigned long line; int error; }
    rows[] = {
        {{7, "a", "", "12345"}, 0, "%m:%d|", "ok:|a:", 364, CORRUPT},           // address of 5 bytes
        {{3, "b", "", "x"}, 0, "%m:%d|", "ok:|b:", 433, CORRUPT},               // no-data record with data
        {{4, "c", "", "0123456789"}, 6, "%m:%d|", "ok:|c:\n", 277, EOF_},       // cut inside hex data
        {{22, "d", "", ""}, 0, "%m:%d|", "ok:|d:", 541, CORRUPT},               // type above 21
        {{0, "d", "", ""}, 0, "%m:%d|", "ok:|d:", 541, CORRUPT},
        {{31, "d", "", ""}, 0, "%m(%x)|", "ok(ND)|d(", 149, BOUNDS},            // type above 21 named
        {{8, "e", "", "abc"}, 2, "%m:%d|", "ok:|e:\"", 323, EOF_},              // cut inside a string
        {{15, "f", "", "1234"}, 2, "%m:%d|", "ok:|f:", 342, EOF_},              // cut inside a scalar
        {{7, "g", "", "12345678"}, 1, "%m:%d|", "ok:|g:", 247, EOF_},           // cut inside an address
        {{3, "message", "", ""}, 3, "%m:%d|", "ok:|", 644, EOF_},               // cut inside the texts
        {{3, "", "", ""}, 8, "%m:%d|", "ok:|", 644, EOF_},                      // cut inside the header
        {{1, "h", "", "123"}, 0, "%m:%d|", "ok:|h:", 398, CORRUPT},
        {{2, "h", "", "12345"}, 0, "%m:%d|", "ok:|h:", 416, CORRUPT},
        {{15, "i", "", std::string(128, 'x')}, 0, "%m:%d|", "ok:|i:", 377, CORRUPT},
        {{4, "j", "", "0123456789"}, 1, "%m|", "ok|j|", 186, EOF_},             // cut inside skipped data
        {{4, "k", "", std::string(10000, 'z')}, 1, "%m|", "ok|k|", 186, EOF_},
        {{3, "", "", ""}, SIZE_MAX, "%m", "", 837, OPEN},                          // no file
    };
    const std::pair<uint32_t, KivEnErrorClass> errors[] = {
        {KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS},
        {KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN, KIV_ERRCLASS_IO_PERMISSION_DENIED}};
    for (const Row& row : rows) {
        const std::string module = "kiv_trace_format:" + std::to_string(row.line);
        try {
            formatRecords({ok, row.bad}, row.format, nullptr, row.cut);
            ADD_FAILURE() << module << ": no exception";
        } catch (const KivClExceptionFatal& e) {
            const _KivStUserError& error = e.getError();
            EXPECT_EQ(std::make_tuple(std::string(e.getModule()), e.getLine(), error.errorId, error.errorClass,
                                      error.severity, error.action),
                      std::make_tuple(module, row.line, errors[row.error].first, errors[row.error].second,
                                      KIV_SEVERITY_FATAL, KIV_ACTION_TERMINATE));
        }
        EXPECT_EQ(out_.str(), row.printed) << module;
    }
}

TEST_F(TraceFormatTest, TextsFromAnAttachedCatalog) {
    std::vector<const char*> table(194, "");
    table[0] = "[KIV_MSGTAB_SIGNATURE] 193";
    table[189] = "Octets";
    table[190] = " (coupé)";
    table[192] = "Niveau ";
    table[193] = "[KIV_MSGTAB_SIGNATURE]";
    KivClMessageCatalog catalog(KivClFilename(dir_.file("missing.cat").c_str()));
    catalog.useStringTable(table.data(), 193);
    static const KivClMessageCatalog* attached = &catalog;
    EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_DATA_CLIPPED, "", "", "ab"}, {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "",
                             bytesOf<int32_t>(3), 0}}, "%x:%d|",
                            [](KivClTraceFormatter& f) { f.nest = true, f.attachKivMessageCatalog(*attached); }),
              "DA (2 Octets) (coupé):\n00000000: 61 62 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ab______________|"
              "FE:Niveau 3|");
}

// Formats taken apart once (up to 64 steps) or read for every record, and
// output gathered across its 4 KB buffer (300 records, a 5000-character
// literal).
TEST_F(TraceFormatTest, FormatStepsAndGatheredOutput) {
    const RawRecord record{KIV_TRACE_TYPE_NO_DATA, "message of 20 chars!", "f", "", 1, 3};
    struct Row { std::string format; size_t records; std::string perRecord; } rows[] = {
        {repeat("%c\\t", 16), 2, repeat("3\t", 16)},
        {repeat("%c\\t", 40), 2, repeat("3\t", 40)},
        {"%m%n%q\\", 300, "message of 20 chars!\n%"},
        {std::string(5000, 'x') + "%c%", 2, std::string(5000, 'x') + "3%"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(formatRecords(std::vector<RawRecord>(row.records, record), row.format.c_str()),
                  repeat(row.perRecord, row.records)) << row.format.substr(0, 12);
    }
}

TEST(TraceFileRead, StraightFromTheBufferOrThroughATiedStream) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTFAST", dir);
    KivClTraceEnvironment environment("KIVTFAST", nullptr, true);
    const std::string bytes = kivtest::makeRecord({KIV_TRACE_TYPE_NO_DATA, "hello", "main", ""});
    struct Row { size_t cut; bool read, eof; std::string message; } rows[] = {
        {0, true, false, "hello"}, {7, true, true, "he"}, {bytes.size(), false, true, ""}};
    for (const Row& row : rows) {
        for (bool tied : {false, true}) {
            std::istringstream in(bytes.substr(0, bytes.size() - row.cut));
            std::ostringstream other;
            if (tied) in.tie(&other);
            KivClTraceFileEntry entry(environment);
            EXPECT_EQ(entry.read(in), row.read) << row.cut << tied;
            EXPECT_EQ(in.eof(), row.eof) << row.cut << tied;
            EXPECT_EQ(entry.getMessage(), row.message) << row.cut << tied;
        }
    }
    // Input that has failed already, or whose buffer throws.
    struct Throwing : std::streambuf {
        int_type underflow() override { throw std::runtime_error("device gone"); }
    } throwing;
    std::istringstream failed(bytes);
    failed.setstate(std::ios::failbit);
    std::istream broken(&throwing);
    KivClTraceFileEntry entry(environment);
    EXPECT_FALSE(entry.read(failed));
    EXPECT_FALSE(entry.read(broken));
    EXPECT_TRUE(broken.bad());
}

// An output buffer that takes 8 characters only, and the per-record calls a
// client makes on the stream of the last format() call.
TEST(TraceFormatOutput, FullOutputBufferAndPerRecordCalls) {
    struct EightChars : std::streambuf {
        char bytes[8];
        EightChars() { setp(bytes, bytes + sizeof bytes); }
    } eight;
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTFAST", dir);
    const std::string record = kivtest::makeRecord({KIV_TRACE_TYPE_NO_DATA, "hello world", "main", ""});
    kivtest::writeFile(vars.file, record + record);
    KivClTraceEnvironment environment("KIVTFAST", nullptr, true);
    KivClTraceFormatter formatter(environment);
    formatter.setFormatString("%m|");
    std::ostream cut(&eight);
    formatter.format(cut);
    EXPECT_TRUE(cut.bad());
    EXPECT_EQ(std::string(eight.bytes, sizeof eight.bytes), "hello wo");

    std::ostringstream out;
    formatter.format(out);
    std::istringstream one(record);
    char lastFunction[KivClTraceFormatter::FUNCTION_NAME_BUFFER] = "";
    EXPECT_TRUE(formatter.formatEntry(one, "<%m>", lastFunction));
    formatter.displayBuffer("end", 3);
    EXPECT_EQ(out.str(), "hello world|hello world|<hello world>end");
}
