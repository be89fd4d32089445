// Trace fast paths against their general paths: formats taken apart once or
// read for every record, output gathered across its buffer size, and record
// bytes read straight from a stream buffer or through read().
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

namespace {

std::string repeat(const std::string& text, size_t times) {
    std::string out;
    for (size_t i = 0; i < times; ++i) out += text;
    return out;
}

}  // namespace

TEST(TraceFastPath, FormatStepsAndGatheredOutput) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTFAST", dir);
    const kivtest::RawRecord record{KIV_TRACE_TYPE_NO_DATA, "message of 20 chars!", "f", "", 1, 3};
    // 32 and 80 steps lie either side of the prepared-steps limit (64); 300
    // records and a 5000-character literal overflow the gathered text.
    struct Row { std::string format; size_t records; std::string perRecord; } rows[] = {
        {repeat("%c\\t", 16), 2, repeat("3\t", 16)},
        {repeat("%c\\t", 40), 2, repeat("3\t", 40)},
        {"%m%n%q\\", 300, "message of 20 chars!\n%"},
        {std::string(5000, 'x') + "%c%", 2, std::string(5000, 'x') + "3%"},
    };
    for (const Row& row : rows) {
        kivtest::writeFile(vars.file, repeat(kivtest::makeRecord(record), row.records));
        KivClTraceEnvironment environment("KIVTFAST", nullptr, true);
        KivClTraceFormatter formatter(environment);
        formatter.setFormatString(row.format.c_str());
        std::ostringstream out;
        formatter.format(out);
        EXPECT_EQ(out.str(), repeat(row.perRecord, row.records)) << row.format.substr(0, 12);
    }
}

TEST(TraceFastPath, RecordReadWithAndWithoutTiedStream) {
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
}

// Streams that fail: an output buffer that takes 8 characters only, input
// that is already failed or whose buffer throws, and the per-record calls a
// client makes on the stream of the last format() call.
TEST(TraceFastPath, FailingStreamsAndPerRecordCalls) {
    struct EightChars : std::streambuf {
        char bytes[8];
        EightChars() { setp(bytes, bytes + sizeof bytes); }
    } eight;
    struct Throwing : std::streambuf {
        int_type underflow() override { throw std::runtime_error("device gone"); }
    } throwing;
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

    KivClTraceFileEntry entry(environment);
    std::istringstream failed(record);
    failed.setstate(std::ios::failbit);
    std::istream broken(&throwing);
    EXPECT_FALSE(entry.read(failed));
    EXPECT_FALSE(entry.read(broken));
    EXPECT_TRUE(broken.bad());
}
