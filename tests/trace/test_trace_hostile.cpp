// Trace files made to hurt the formatter: whatever a file claims, the output
// stays bounded.
#include <gtest/gtest.h>

#include <climits>
#include <sstream>

#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

TEST(TraceFormatHostile, NestingLevelFromTheFileBoundsTheIndentation) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTHOST", dir);
    vars.set("DETAIL", "HIGH");
    struct Row {
        int32_t level;
        size_t indents;
    } rows[] = {
        {3, 3}, {255, 255}, {256, 256}, {257, 256}, {INT32_MAX, 256}, {-5, 0}, {INT32_MIN, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.level);
        kivtest::writeFile(vars.file, kivtest::makeRecord({KIV_TRACE_TYPE_FUNCTION_ENTRY, "", "f",
                                                           kivtest::bytesOf<int32_t>(row.level)}));
        KivClTraceEnvironment environment("KIVTHOST", nullptr, true);
        KivClTraceFormatter formatter(environment);
        formatter.setFormatString("%d%n|");  // the data sets the level
        formatter.setDisplayIndentation("ab");
        std::ostringstream out;
        formatter.format(out);
        std::string expected = "\n";
        for (size_t i = 0; i < row.indents; ++i) expected += "ab";
        EXPECT_EQ(out.str(), expected + "|");
    }
}
