// Trace formatter: exact output of known traces, options, filters and the
// fatal exceptions for damaged files.
#include <gtest/gtest.h>

#include <locale>
#include <set>
#include <sstream>

#include "kiv_msgcat.hpp"
#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

using kivtest::bytesOf;
using kivtest::RawRecord;

namespace {

class TraceFormatTest : public ::testing::Test {
protected:
    TraceFormatTest() : vars_("KIVTFMT", dir_) {}

    // Writes the records (less cut bytes at the end) as the trace file and
    // formats it with format and the options set by options.
    std::string formatRecords(const std::vector<RawRecord>& records, const char* format, size_t cut = 0,
                              void (*options)(KivClTraceFormatter&) = nullptr) {
        std::string bytes;
        for (const RawRecord& r : records) bytes += kivtest::makeRecord(r);
        kivtest::writeFile(vars_.file, bytes.substr(0, bytes.size() - cut));
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
    kivtest::TraceKeyEnv vars_;
    uint32_t entries_ = 0;
    std::ostringstream out_;  // what the last format() printed, also after an exception
};

const std::string kLine1 = "00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP";
const std::string kLine2 = "00000010: 51 52 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | QR______________";

}  // namespace

TEST_F(TraceFormatTest, DefaultFormatExactOutput) {
    vars_.set("DETAIL", "HIGH");
    const std::string out = formatRecords(
        {{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "main", bytesOf<int32_t>(1), 0, 0, 5, 100, 1},
         {KIV_TRACE_TYPE_INT32, "count", "main", bytesOf<int32_t>(-7), 1, 3, 6, 100, 1},
         {KIV_TRACE_TYPE_DATA, "blob", "main", "ABCDEFGHIJKLMNOPQR", 2, 3, 7, 100, 1},
         {KIV_TRACE_TYPE_CSTRING, "text", "main", "hi", 3, 255, 8, 100, 1},
         {KIV_TRACE_TYPE_DATA_NULL, "nul", "main", "", 1, 3, 9, 100, 1},
         {KIV_TRACE_TYPE_DATA_CLIPPED, "cut", "main", "ABCDEFGHIJKLMNOP", 1, 3, 10, 100, 1},
         {KIV_TRACE_TYPE_NO_DATA, "none", "main", "", 1, 3, 11, 100, 1}},
        nullptr);
    EXPECT_EQ(out, "main\n   P: 100, T: 5, D: OFF, C: 0\n   Data:  (FE: \n)"
                   "main\n   P: 100, T: 6, D: LOW, C: 3\n   Data: count (i32: -7\n)"
                   "main\n   P: 100, T: 7, D: MED, C: 3\n   Data: blob (DA (18 Bytes): \n" +
                       kLine1 + "\n" + kLine2 + "\n)" +
                       "main\n   P: 100, T: 8, D: HIGH, C: 255\n   Data: text (cpsz: \"hi\"\n)"
                       "main\n   P: 100, T: 9, D: LOW, C: 3\n   Data: nul (DA: *** Illegal NULL pointer ***\n)"
                       "main\n   P: 100, T: 10, D: LOW, C: 3\n   Data: cut (DA (16 Bytes) *** Clipped ***: \n" +
                       kLine1 + "\n\n)" + "main\n   P: 100, T: 11, D: LOW, C: 3\n   Data: none (ND: \n)");
}

TEST_F(TraceFormatTest, ScalarRenderings) {
    struct Row { uint32_t type; std::string data; const char* text; } rows[] = {
        {KIV_TRACE_TYPE_BOOL, std::string(1, '\2'), "TRUE"}, {KIV_TRACE_TYPE_INT8, "\xFF", "0xFFFFFFFF/-1"},
        {KIV_TRACE_TYPE_INT8, "A", "0x41/65/'A'"},          {KIV_TRACE_TYPE_UINT8, "\xC8", "0xC8/200"},
        {KIV_TRACE_TYPE_INT16, bytesOf<int16_t>(-300), "-300"},
        {KIV_TRACE_TYPE_UINT32, bytesOf<uint32_t>(4000000000u), "4000000000"},
        {KIV_TRACE_TYPE_INT64, bytesOf<int64_t>(-5000000000LL), "-5000000000"},
        {KIV_TRACE_TYPE_FLOAT, bytesOf<float>(1.5f), "1.5"}, {KIV_TRACE_TYPE_DOUBLE, bytesOf<double>(-0.25), "-0.25"},
        {KIV_TRACE_TYPE_LONG_DOUBLE, bytesOf<long double>(1e100L), "1e+100"},
        {KIV_TRACE_TYPE_ADDRESS, bytesOf<uint64_t>(0x1234abcdULL), "0x1234abcd"},
        {KIV_TRACE_TYPE_ADDRESS, bytesOf<uint32_t>(0xbeefu), "0xbeef"}, {KIV_TRACE_TYPE_CSTRING, "", "\"\""},
    };
    for (const Row& row : rows) EXPECT_EQ(formatRecords({{row.type, "", "", row.data}}, "%d"), row.text) << row.type;
    EXPECT_STREQ(KivClTraceFormatter::getTypeAsShortCString(21), "ld");
    EXPECT_STREQ(KivClTraceFormatter::getTypeAsLongCString(21), "long double");
}

TEST_F(TraceFormatTest, FormatVariablesAndEscapes) {
    const RawRecord r{KIV_TRACE_TYPE_INT8, "msg", "fn", "x", 3, 9, 300, 100, 200};
    vars_.set("DETAIL", "HIGH");
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

namespace {

// Groups digits by three with a comma, whatever the machine's locales.
struct Thousands : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace

// Numbers come out in plain decimal on an ordinary stream, and with the
// stream's own base and digit grouping when the caller has set them.
TEST_F(TraceFormatTest, NumbersFollowTheStreamSettings) {
    const RawRecord r{KIV_TRACE_TYPE_DATA, "m", "f", std::string(18, 'x'), 1, 255, 4000000000u, 123456, 0};
    struct Row {
        void (*configure)(std::ostream&);
        const char* text;
    } rows[] = {
        {[](std::ostream&) {}, "4000000000|255|123456|0|DA (18 Bytes)"},
        {[](std::ostream& out) { out << std::hex; }, "ee6b2800|ff|1e240|0|DA (12 Bytes)"},
        {[](std::ostream& out) { out.imbue(std::locale(std::locale::classic(), new Thousands)); },
         "4,000,000,000|255|123,456|0|DA (18 Bytes)"},
    };
    for (const Row& row : rows) {
        out_.flags(std::ios::dec);
        out_.imbue(std::locale::classic());
        row.configure(out_);
        EXPECT_EQ(formatRecords({r}, "%s|%c|%p|%t|%x"), row.text);
    }
}

// Text goes straight into an ordinary stream's buffer; a tied or
// unit-buffered stream gets the same text through its own checks, and a
// stream that has failed gets nothing.
TEST_F(TraceFormatTest, EveryKindOfStreamGetsTheSameText) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_DATA, "blob", "main", "ABCDEFGHIJKLMNOPQR", 2, 3, 7, 100, 1},
        {KIV_TRACE_TYPE_CSTRING, "text", "main", "hi", 3, 255, 8, 100, 1}};
    vars_.set("DETAIL", "HIGH");
    const std::string plain = formatRecords(records, nullptr);
    ASSERT_FALSE(plain.empty());
    std::ostringstream other;
    struct Row {
        const char* what;
        void (*configure)(std::ostringstream&, std::ostream&);
        bool written;
    } rows[] = {
        {"tied", [](std::ostringstream& out, std::ostream& tie) { out.tie(&tie); }, true},
        {"unit-buffered", [](std::ostringstream& out, std::ostream&) { out << std::unitbuf; }, true},
        {"failed", [](std::ostringstream& out, std::ostream&) { out.setstate(std::ios::failbit); }, false},
    };
    for (const Row& row : rows) {
        out_.clear();
        out_.tie(nullptr);
        out_ << std::nounitbuf;
        row.configure(out_, other);
        EXPECT_EQ(formatRecords(records, nullptr), row.written ? plain : "") << row.what;
    }
    out_.clear();
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
    struct Row { void (*options)(KivClTraceFormatter&); const char* text; } rows[] = {
        {[](KivClTraceFormatter& f) { f.nest = true, f.everyFunctionName = false, f.setDisplayIndentation(".."); },
         "main:  Nesting level: 1\n..: v 5\n..inner:  Nesting level: 2\n....: w 6\n....:  Nesting level: 1\n"
         "..main: x 7\n..:  Nesting level: 0\n"},
        {nullptr, "main:  \nmain: v 5\ninner:  \ninner: w 6\ninner:  \nmain: x 7\nmain:  \n"},
        {[](KivClTraceFormatter& f) { f.functionHeaders = false, f.setDisplayIndentation(".."); },
         "main: v 5\ninner: w 6\nmain: x 7\n"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(formatRecords(records, "%f: %m %d\\n", 0, row.options), row.text);
        EXPECT_EQ(entries_, 7u);
    }
    // A negative nesting level prints no indentation; hex adds the value's bytes.
    EXPECT_EQ(formatRecords({{KIV_TRACE_TYPE_FUNCTION_EXIT, "", "f", bytesOf<int32_t>(-1), 0},
                             {KIV_TRACE_TYPE_INT16, "", "f", bytesOf<int16_t>(0x0102)}},
                            "%d\\n", 0, [](KivClTraceFormatter& f) { f.hex = true, f.setDisplayIndentation("  "); }),
              "\n258\nHEX: 02 01 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ..______________\n");
}

TEST_F(TraceFormatTest, BinaryNotationOfIntegralData) {
    const auto bin = [](KivClTraceFormatter& f) { f.bin = true; };
    const auto both = [](KivClTraceFormatter& f) { f.bin = true, f.hex = true, f.setDisplayIndentation(">"); };
    const std::string pad = " ________ ________ ________  ________ ________ ________ ________ | ";
    struct Row { RawRecord record; void (*options)(KivClTraceFormatter&); std::string text; } rows[] = {
        {{KIV_TRACE_TYPE_UINT8, "", "", "A"}, bin, "0x41/65/'A'\nBIN: 01000001" + pad + "A_______"},
        {{KIV_TRACE_TYPE_BOOL, "", "", std::string(1, '\0')}, bin, "FALSE\nBIN: 00000000" + pad + "._______"},
        {{KIV_TRACE_TYPE_INT16, "", "", bytesOf<int16_t>(-2)}, bin,
         "-2\nBIN: 11111110 11111111 ________ ________  ________ ________ ________ ________ | ..______"},
        {{KIV_TRACE_TYPE_UINT64, "", "", bytesOf<uint64_t>(0x8000000000000001ULL)}, bin,
         "9223372036854775809\nBIN: 00000001 00000000 00000000 00000000  00000000 00000000 00000000 10000000"
         " | ........"},
        // Floating-point values and texts have no binary line.
        {{KIV_TRACE_TYPE_DOUBLE, "", "", bytesOf<double>(0.5)}, bin, "0.5"},
        {{KIV_TRACE_TYPE_CSTRING, "", "", "ab"}, bin, "\"ab\""},
        // Inside a function the lines are indented; the hex line comes first.
        {{KIV_TRACE_TYPE_INT8, "", "", "\x7F"}, both,
         "0x7F/127\n>HEX: 7F __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ._______________\n>BIN: 01111111" + pad +
             "._______"},
    };
    for (const Row& row : rows) {
        const RawRecord entry{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "", bytesOf<int32_t>(1), 0};
        EXPECT_EQ(formatRecords({entry, row.record}, "%d", 0, row.options), row.text) << row.text;
    }
}

TEST_F(TraceFormatTest, ExplicitTraceFileName) {
    const std::string other = dir_.file("other.trc");
    kivtest::writeFile(other, kivtest::makeRecord({KIV_TRACE_TYPE_NO_DATA, "elsewhere", "", ""}));
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    environment.setTraceFileName(other.c_str());
    EXPECT_EQ(environment.getTraceFileName().getAsCString(), other);
    KivClTraceFormatter formatter(environment);
    formatter.setFormatString("%m");
    std::ostringstream out;
    formatter.format(out);
    EXPECT_EQ(out.str(), "elsewhere");
    EXPECT_FALSE(kivtest::fileExists(vars_.file));  // the variable's file was never created
}

TEST_F(TraceFormatTest, FormatterFilterAndBuiltInTexts) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_NO_DATA, "a", "", "", 1, 1, 0, 100, 1},
        {KIV_TRACE_TYPE_INT32, "b", "", bytesOf<int32_t>(1), 1, 2, 0, 200, 1},
        {KIV_TRACE_TYPE_INT32, "c", "", bytesOf<int32_t>(1), 3, 1, 0, 100, 2},
        {KIV_TRACE_TYPE_NO_DATA, "d", "", "", 1, 2, 0, 100, 2},
    };
    EXPECT_EQ(formatRecords(records, "%m"), "abd");  // the settings' filter: LOW, all components
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFilter own;
    own.setProcessId("100");
    own.setDetail("HIGH");
    own.disableComponentId(2);
    KivClTraceFormatter formatter(environment, &own);
    formatter.setFormatString("%m");
    for (const char* threadAndText : {"0ac", "2c", "3"}) {
        own.setThreadId(std::string(1, threadAndText[0]).c_str());
        std::ostringstream out;
        formatter.format(out);
        EXPECT_EQ(out.str(), threadAndText + 1);
        EXPECT_EQ(formatter.getEntryCount(), 4u);
    }
    EXPECT_EQ(formatter.getMessage(193), nullptr);  // only the formatter's own texts are built in
}

TEST_F(TraceFormatTest, DamagedFilesEndWithTheRightException) {
    const RawRecord ok{KIV_TRACE_TYPE_NO_DATA, "ok", "", ""};
    const std::set<unsigned long> eofLines = {186, 247, 277, 323, 342, 644};
    // cut: bytes removed from the end of the file.
    struct Row { RawRecord bad; size_t cut; const char* format; const char* printed; unsigned long line; } rows[] = {
        {{7, "a", "", "12345"}, 0, "%m:%d|", "ok:|a:", 364},           // address of 5 bytes
        {{3, "b", "", "x"}, 0, "%m:%d|", "ok:|b:", 433},               // no-data record with data
        {{4, "c", "", "0123456789"}, 6, "%m:%d|", "ok:|c:\n", 277},    // cut inside hex data
        {{22, "d", "", ""}, 0, "%m:%d|", "ok:|d:", 541},               // type above 21
        {{0, "d", "", ""}, 0, "%m:%d|", "ok:|d:", 541},
        {{31, "d", "", ""}, 0, "%m(%x)|", "ok(ND)|d(", 149},           // type above 21 named
        {{8, "e", "", "abc"}, 2, "%m:%d|", "ok:|e:\"", 323},           // cut inside a string
        {{15, "f", "", "1234"}, 2, "%m:%d|", "ok:|f:", 342},           // cut inside a scalar
        {{7, "g", "", "12345678"}, 1, "%m:%d|", "ok:|g:", 247},        // cut inside an address
        {{3, "message", "", ""}, 3, "%m:%d|", "ok:|", 644},            // cut inside the texts
        {{3, "", "", ""}, 8, "%m:%d|", "ok:|", 644},                   // cut inside the header
        {{1, "h", "", "123"}, 0, "%m:%d|", "ok:|h:", 398},
        {{2, "h", "", "12345"}, 0, "%m:%d|", "ok:|h:", 416},
        {{15, "i", "", std::string(128, 'x')}, 0, "%m:%d|", "ok:|i:", 377},
        {{4, "j", "", "0123456789"}, 1, "%m|", "ok|j|", 186},          // cut inside skipped data
        {{4, "k", "", std::string(10000, 'z')}, 1, "%m|", "ok|k|", 186},
    };
    for (const Row& row : rows) {
        const std::string module = "kiv_trace_format:" + std::to_string(row.line);
        try {
            formatRecords({ok, row.bad}, row.format, row.cut);
            ADD_FAILURE() << module << ": no exception";
        } catch (const KivClExceptionFatal& e) {
            EXPECT_EQ(e.getModule(), module);
            EXPECT_EQ(e.getLine(), row.line);
            const bool eof = eofLines.count(row.line) != 0;
            EXPECT_EQ(e.getError().errorId, eof ? KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF
                                                : KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED) << module;
            EXPECT_EQ(e.getError().errorClass, eof ? KIV_ERRCLASS_IO_READ_PROBLEM
                                               : row.line == 149 ? KIV_ERRCLASS_DATA_OUT_OF_BOUNDS
                                                                 : KIV_ERRCLASS_INVALID_DATA) << module;
            EXPECT_EQ(e.getError().severity, KIV_SEVERITY_FATAL);
            EXPECT_EQ(e.getError().action, KIV_ACTION_TERMINATE);
        }
        EXPECT_EQ(out_.str(), row.printed) << module;
    }
}

TEST_F(TraceFormatTest, MissingFileAndEmptyFile) {
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFormatter formatter(environment);
    std::ostringstream out;
    try {
        formatter.format(out);
        ADD_FAILURE() << "no exception";
    } catch (const KivClExceptionFatal& e) {
        EXPECT_STREQ(e.getModule(), "kiv_trace_format:837");
        EXPECT_EQ(e.getError().errorId, KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN);
        EXPECT_EQ(e.getError().errorClass, KIV_ERRCLASS_IO_PERMISSION_DENIED);
    }
    EXPECT_EQ(formatRecords({}, nullptr), "");
    EXPECT_EQ(entries_, 0u);
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
                             bytesOf<int32_t>(3), 0}}, "%x:%d|", 0,
                            [](KivClTraceFormatter& f) { f.nest = true, f.attachKivMessageCatalog(*attached); }),
              "DA (2 Octets) (coupé):\n00000000: 61 62 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ab______________|"
              "FE:Niveau 3|");
}
