// Trace fast paths against their general paths: formats taken apart once or
// read for every record, output gathered across its buffer size, and record
// bytes read straight from a stream buffer or through read().
#include <gtest/gtest.h>

#include <sstream>

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
