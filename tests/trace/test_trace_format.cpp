// Trace formatter: exact output of known traces, options, filters and the
// fatal exceptions for damaged files.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

using kivtest::bytesOf;
using kivtest::makeRecord;
using kivtest::RawRecord;
using kivtest::TempDir;
using kivtest::TraceKeyEnv;

namespace {

class TraceFormatTest : public ::testing::Test {
protected:
    TraceFormatTest() : vars_("KIVTFMT", dir_) {}

    // Writes the records as the trace file and formats it.
    std::string formatRecords(const std::vector<RawRecord>& records, const char* format = nullptr,
                              const std::string& tail = "") {
        writeTrace(records, tail);
        KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
        KivClTraceFormatter formatter(environment);
        configure(formatter);
        formatter.setFormatString(format);
        std::ostringstream out;
        formatter.format(out);
        return out.str();
    }
    void writeTrace(const std::vector<RawRecord>& records, const std::string& tail = "") {
        std::string bytes;
        for (const RawRecord& r : records) bytes += makeRecord(r);
        kivtest::writeFile(vars_.file, bytes + tail);
    }
    virtual void configure(KivClTraceFormatter&) {}

    TempDir dir_;
    TraceKeyEnv vars_;
};

const char kLine1[] = "00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP";
const char kLine2[] = "00000010: 51 52 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | QR______________";

}  // namespace

TEST_F(TraceFormatTest, DefaultFormatExactOutput) {
    RawRecord entry{KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "main", bytesOf<int32_t>(1), 0, 0, 5, 100, 1};
    RawRecord count{KIV_TRACE_TYPE_INT32, "count", "main", bytesOf<int32_t>(-7), 1, 3, 6, 100, 1};
    RawRecord blob{KIV_TRACE_TYPE_DATA, "blob", "main", "ABCDEFGHIJKLMNOPQR", 2, 3, 7, 100, 1};
    RawRecord text{KIV_TRACE_TYPE_CSTRING, "text", "main", "hi", 3, 255, 8, 100, 1};
    RawRecord null{KIV_TRACE_TYPE_DATA_NULL, "nul", "main", "", 1, 3, 9, 100, 1};
    RawRecord clipped{KIV_TRACE_TYPE_DATA_CLIPPED, "cut", "main", "ABCDEFGHIJKLMNOP", 1, 3, 10, 100, 1};
    RawRecord nodata{KIV_TRACE_TYPE_NO_DATA, "none", "main", "", 1, 3, 11, 100, 1};
    vars_.set("DETAIL", "HIGH");
    const std::string out = formatRecords({entry, count, blob, text, null, clipped, nodata});
    EXPECT_EQ(out,
              "main\n   P: 100, T: 5, D: OFF, C: 0\n   Data:  (FE: \n)"
              "main\n   P: 100, T: 6, D: LOW, C: 3\n   Data: count (i32: -7\n)"
              "main\n   P: 100, T: 7, D: MED, C: 3\n   Data: blob (DA (18 Bytes): \n" +
                  std::string(kLine1) + "\n" + kLine2 + "\n)" +
                  "main\n   P: 100, T: 8, D: HIGH, C: 255\n   Data: text (cpsz: \"hi\"\n)"
                  "main\n   P: 100, T: 9, D: LOW, C: 3\n   Data: nul (DA: *** Illegal NULL pointer ***\n)"
                  "main\n   P: 100, T: 10, D: LOW, C: 3\n   Data: cut (DA (16 Bytes) *** Clipped ***: \n" +
                  kLine1 + "\n\n)"
                  "main\n   P: 100, T: 11, D: LOW, C: 3\n   Data: none (ND: \n)");
}

TEST_F(TraceFormatTest, ScalarRenderings) {
    struct Row {
        RawRecord record;
        const char* text;
    } rows[] = {
        {{KIV_TRACE_TYPE_BOOL, "", "", std::string(1, '\2')}, "TRUE"},
        {{KIV_TRACE_TYPE_BOOL, "", "", std::string(1, '\0')}, "FALSE"},
        {{KIV_TRACE_TYPE_INT8, "", "", "\xFF"}, "0xFFFFFFFF/-1"},
        {{KIV_TRACE_TYPE_INT8, "", "", "A"}, "0x41/65/'A'"},
        {{KIV_TRACE_TYPE_UINT8, "", "", "\xC8"}, "0xC8/200"},
        {{KIV_TRACE_TYPE_UINT8, "", "", " "}, "0x20/32/' '"},
        {{KIV_TRACE_TYPE_INT16, "", "", bytesOf<int16_t>(-300)}, "-300"},
        {{KIV_TRACE_TYPE_UINT16, "", "", bytesOf<uint16_t>(65000)}, "65000"},
        {{KIV_TRACE_TYPE_INT32, "", "", bytesOf<int32_t>(-2147483647 - 1)}, "-2147483648"},
        {{KIV_TRACE_TYPE_UINT32, "", "", bytesOf<uint32_t>(4000000000u)}, "4000000000"},
        {{KIV_TRACE_TYPE_INT64, "", "", bytesOf<int64_t>(-5000000000LL)}, "-5000000000"},
        {{KIV_TRACE_TYPE_UINT64, "", "", bytesOf<uint64_t>(18000000000000000000ULL)}, "18000000000000000000"},
        {{KIV_TRACE_TYPE_FLOAT, "", "", bytesOf<float>(1.5f)}, "1.5"},
        {{KIV_TRACE_TYPE_DOUBLE, "", "", bytesOf<double>(-0.25)}, "-0.25"},
        {{KIV_TRACE_TYPE_LONG_DOUBLE, "", "", bytesOf<long double>(1e100L)}, "1e+100"},
        {{KIV_TRACE_TYPE_ADDRESS, "", "", bytesOf<uint64_t>(0x1234abcdULL)}, "0x1234abcd"},
        {{KIV_TRACE_TYPE_ADDRESS, "", "", bytesOf<uint32_t>(0xbeefu)}, "0xbeef"},
        {{KIV_TRACE_TYPE_UNICODE, "", "", ""}, ""},
        {{KIV_TRACE_TYPE_CSTRING, "", "", ""}, "\"\""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(formatRecords({row.record}, "%d"), row.text) << row.record.type;
    }
}

TEST_F(TraceFormatTest, FormatVariablesAndEscapes) {
    const RawRecord r{KIV_TRACE_TYPE_INT8, "msg", "fn", "x", 3, 9, 300, 100, 200};
    vars_.set("DETAIL", "HIGH");
    struct Row {
        const char* format;
        const char* text;
    } rows[] = {
        {"%%|%q|\\t|\\\\|\\x|%X|%l|%c|%p|%t|%s", "%|%|\t|\\|x|signed integer (8 bits)|HIGH|9|100|200|300"},
        {"a%", "a%"},
        {"a\\", "a"},
        {"%m %m", "msg msg"},
        {"%d/%d", "0x78/120/'x'/"},  // only the first %d prints the data
        {"", ""},
    };
    for (const Row& row : rows) {
        // A second record checks that each format leaves the input at the next record.
        EXPECT_EQ(formatRecords({r, r}, row.format), std::string(row.text) + row.text) << row.format;
    }
}

TEST_F(TraceFormatTest, NestingIndentationAndFunctionNames) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "main", bytesOf<int32_t>(1), 0},
        {KIV_TRACE_TYPE_UINT16, "v", "main", bytesOf<uint16_t>(5)},
        {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "inner", bytesOf<int32_t>(2), 0},
        {KIV_TRACE_TYPE_UINT16, "w", "inner", bytesOf<uint16_t>(6)},
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", "inner", bytesOf<int32_t>(1), 0},
        {KIV_TRACE_TYPE_UINT16, "x", "main", bytesOf<uint16_t>(7)},
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", "main", bytesOf<int32_t>(0), 0},
    };
    struct Row {
        bool nest, functionHeaders, everyFunctionName;
        const char* indentation;
        const char* text;
    } rows[] = {
        {true, true, false, "..",
         "main:  Nesting level: 1\n..: v 5\n..inner:  Nesting level: 2\n....: w 6\n....:  Nesting level: 1\n"
         "..main: x 7\n..:  Nesting level: 0\n"},
        {false, true, true, nullptr,
         "main:  \nmain: v 5\ninner:  \ninner: w 6\ninner:  \nmain: x 7\nmain:  \n"},
        {false, false, true, "..", "main: v 5\ninner: w 6\nmain: x 7\n"},
        {false, false, false, "..", "main: v 5\ninner: w 6\nmain: x 7\n"},
    };
    for (const Row& row : rows) {
        writeTrace(records);
        KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
        KivClTraceFormatter formatter(environment);
        formatter.nest = row.nest;
        formatter.functionHeaders = row.functionHeaders;
        formatter.everyFunctionName = row.everyFunctionName;
        formatter.setDisplayIndentation(row.indentation);
        formatter.setFormatString("%f: %m %d\\n");
        std::ostringstream out;
        formatter.format(out);
        EXPECT_EQ(out.str(), row.text);
        EXPECT_EQ(formatter.getEntryCount(), 7u);
    }
}

TEST_F(TraceFormatTest, NegativeNestingPrintsNoIndentationAndHexLines) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", "f", bytesOf<int32_t>(-1), 0},
        {KIV_TRACE_TYPE_INT16, "", "f", bytesOf<int16_t>(0x0102)},
        {KIV_TRACE_TYPE_DATA, "", "f", "AB"},
    };
    writeTrace(records);
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFormatter formatter(environment);
    formatter.setDisplayIndentation("  ");
    formatter.hex = true;
    formatter.setFormatString("%d\\n");
    std::ostringstream out;
    formatter.format(out);
    EXPECT_EQ(out.str(),
              "\n258\nHEX: 02 01 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ..______________\n"
              "\n00000000: 41 42 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | AB______________\n");
    EXPECT_EQ(formatter.getNestingLevel(), -1);
}

TEST_F(TraceFormatTest, FormatterFilterAndBuiltInTexts) {
    const std::vector<RawRecord> records = {
        {KIV_TRACE_TYPE_NO_DATA, "a", "", "", 1, 1, 0, 100, 1},
        {KIV_TRACE_TYPE_INT32, "b", "", bytesOf<int32_t>(1), 1, 2, 0, 200, 1},
        {KIV_TRACE_TYPE_INT32, "c", "", bytesOf<int32_t>(1), 3, 1, 0, 100, 2},
        {KIV_TRACE_TYPE_NO_DATA, "d", "", "", 1, 2, 0, 100, 2},
    };
    writeTrace(records);
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFilter own;
    own.setProcessId("100");
    own.setDetail("HIGH");
    own.disableComponentId(2);
    KivClTraceFormatter formatter(environment, &own);
    formatter.setFormatString("%m");
    struct Row {
        const char* threadId;
        const char* text;
    } rows[] = {{"0", "ac"}, {"2", "c"}, {"3", ""}};
    for (const Row& row : rows) {
        own.setThreadId(row.threadId);
        std::ostringstream out;
        formatter.format(out);
        EXPECT_EQ(out.str(), row.text) << row.threadId;
        EXPECT_EQ(formatter.getEntryCount(), 4u);
    }
    formatter.setFilter(nullptr);  // the settings' filter: LOW, every component
    std::ostringstream out;
    formatter.format(out);
    EXPECT_EQ(out.str(), "abd");

    EXPECT_STREQ(formatter.getMessage(189), "Bytes");
    EXPECT_STREQ(formatter.getMessage(190), " *** Clipped ***");
    EXPECT_STREQ(formatter.getMessage(191), "*** Illegal NULL pointer ***");
    EXPECT_STREQ(formatter.getMessage(192), "Nesting level: ");
    EXPECT_EQ(formatter.getMessage(193), nullptr);
}

TEST_F(TraceFormatTest, DamagedFilesEndWithTheRightException) {
    const RawRecord ok{KIV_TRACE_TYPE_NO_DATA, "ok", "", ""};
    const std::string eightBytes = "12345678";
    struct Row {
        const char* name;
        RawRecord bad;
        size_t cut;  // bytes removed from the end of the file
        const char* format;
        const char* printed;
        const char* module;
        uint32_t errorId;
        KivEnErrorClass errorClass;
    } rows[] = {
        {"address of 5 bytes", {7, "a", "", "12345"}, 0, "%m:%d|", "ok:|a:", "kiv_trace_format:364",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"no data with data", {3, "b", "", "x"}, 0, "%m:%d|", "ok:|b:", "kiv_trace_format:433",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"cut in hex data", {4, "c", "", "0123456789"}, 6, "%m:%d|", "ok:|c:\n", "kiv_trace_format:277",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"type 22 as data", {22, "d", "", ""}, 0, "%m:%d|", "ok:|d:", "kiv_trace_format:541",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"type 0", {0, "d", "", ""}, 0, "%m:%d|", "ok:|d:", "kiv_trace_format:541",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"type 31 named", {31, "d", "", ""}, 0, "%m(%x)|", "ok(ND)|d(", "kiv_trace_format:149",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS},
        {"cut in string", {8, "e", "", "abc"}, 2, "%m:%d|", "ok:|e:\"", "kiv_trace_format:323",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"cut in scalar", {15, "f", "", "1234"}, 2, "%m:%d|", "ok:|f:", "kiv_trace_format:342",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"cut in address", {7, "g", "", eightBytes}, 1, "%m:%d|", "ok:|g:", "kiv_trace_format:247",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"cut in texts", {3, "message", "", ""}, 3, "%m:%d|", "ok:|", "kiv_trace_format:644",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"cut in header", {3, "", "", ""}, 8, "%m:%d|", "ok:|", "kiv_trace_format:644",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"entry of 3 bytes", {1, "h", "", "123"}, 0, "%m:%d|", "ok:|h:", "kiv_trace_format:398",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"exit of 5 bytes", {2, "h", "", "12345"}, 0, "%m:%d|", "ok:|h:", "kiv_trace_format:416",
         KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"scalar of 128 bytes", {15, "i", "", std::string(128, 'x')}, 0, "%m:%d|", "ok:|i:",
         "kiv_trace_format:377", KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA},
        {"cut in skipped data", {4, "j", "", "0123456789"}, 1, "%m|", "ok|j|", "kiv_trace_format:186",
         KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
        {"cut in long skipped data", {4, "k", "", std::string(10000, 'z')}, 1, "%m|", "ok|k|",
         "kiv_trace_format:186", KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string bytes = makeRecord(ok) + makeRecord(row.bad);
        bytes.resize(bytes.size() - row.cut);
        kivtest::writeFile(vars_.file, bytes);
        KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
        KivClTraceFormatter formatter(environment);
        formatter.setFormatString(row.format);
        std::ostringstream out;
        try {
            formatter.format(out);
            ADD_FAILURE() << "no exception";
        } catch (const KivClExceptionFatal& e) {
            EXPECT_STREQ(e.getModule(), row.module);
            EXPECT_EQ(e.getError().errorId, row.errorId);
            EXPECT_EQ(e.getError().errorClass, row.errorClass);
            EXPECT_EQ(e.getError().severity, KIV_SEVERITY_FATAL);
            EXPECT_EQ(e.getError().action, KIV_ACTION_TERMINATE);
            EXPECT_STREQ(e.getCause(), "");
        }
        EXPECT_EQ(out.str(), row.printed);
    }
}

TEST_F(TraceFormatTest, MissingFileCannotBeOpenedAndEmptyFilePrintsNothing) {
    KivClTraceEnvironment environment("KIVTFMT", nullptr, true);
    KivClTraceFormatter formatter(environment);
    std::ostringstream out;
    try {
        formatter.format(out);
        ADD_FAILURE() << "no exception";
    } catch (const KivClExceptionFatal& e) {
        EXPECT_STREQ(e.getModule(), "kiv_trace_format:837");
        EXPECT_EQ(e.getLine(), 837u);
        EXPECT_EQ(e.getError().errorId, KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN);
        EXPECT_EQ(e.getError().errorClass, KIV_ERRCLASS_IO_PERMISSION_DENIED);
    }
    kivtest::writeFile(vars_.file, "");
    formatter.format(out);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(formatter.getEntryCount(), 0u);
}

TEST_F(TraceFormatTest, RecordsOfTheWriterFormatWithTheirFields) {
    vars_.set("ACTIVE", "1");
    vars_.set("FORMAT", "%f|%m|%x|%d|%p|%t%n");
    kivTraceCreateInstance("KIVTFMT", nullptr);
    const double value = 0.5;
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_DOUBLE, "Compute::run(int)",
                 "result 1/2 = half", &value, sizeof(value));
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_CSTRING, "f", "name", "kiv", 3);
    KivClTraceEnvironment& environment = KivClTraceInstance_getInstance()->getEnvironment();
    kivTraceFlush();
    KivClTraceFormatter formatter(environment);
    std::ostringstream out;
    formatter.format(out);
    const std::string ids = "|" + std::to_string(getpid()) + "|" + std::to_string(gettid()) + "\n";
    EXPECT_EQ(out.str(), "Compute::run(int)|result 1/2 = half|d|0.5" + ids + "f|name|cpsz|\"kiv\"" + ids);
    EXPECT_GT(environment.getCompressionRate(), 0.7);
    EXPECT_LT(environment.getCompressionRate(), 1.0);
    kivTraceDeleteInstance();
}
