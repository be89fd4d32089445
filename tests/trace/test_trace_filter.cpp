// Trace filter: component set texts, detail texts, the pass tests.
#include <gtest/gtest.h>

#include "kiv_trace.hpp"

namespace {

// The enabled ids 0 to 255 as ranges, such as "0.3,5".
std::string enabledIds(const KivClTraceFilter& filter) {
    std::string ranges;
    for (unsigned id = 0; id <= 255; ++id) {
        if (!filter.isComponentIdEnabled(id)) continue;
        unsigned last = id;
        while (last < 255 && filter.isComponentIdEnabled(last + 1)) ++last;
        ranges += (ranges.empty() ? "" : ",") + std::to_string(id) + (last > id ? "." + std::to_string(last) : "");
        id = last;
    }
    return ranges;
}

}  // namespace

TEST(TraceFilter, ComponentSetTextsListExactlyTheirIds) {
    struct Row { const char* text; const char* ids; } rows[] = {
        {"", "0.255"},  // changes nothing
        {"5", "5"}, {"5.3", ""}, {"0.9", ""}, {"300", ""}, {"-4", ""}, {"*,-4", "1.3,5.255"}, {"1.5,-3", "1.2,4.5"},
        {"3,10.12", "3,10.12"}, {"+3, x7y ,9", "3,7,9"}, {"250.300", "250.255"}, {"65538", "2"},  // cut to 16 bits
        {"99999999999999999999", ""}, {",,,", ""},
    };
    for (const Row& row : rows) {
        KivClTraceSettings settings;
        settings.initComponentIds(row.text);
        EXPECT_EQ(enabledIds(settings.getFilter()), row.ids) << row.text;
        EXPECT_EQ(settings.getFilter().usesCompIdFilter(), *row.text != '\0') << row.text;
    }
}

TEST(TraceFilter, DetailTexts) {  // texts from the variables: the trace environment tests
    KivClTraceFilter filter;
    filter.setDetail(nullptr);
    EXPECT_EQ(filter.getDetail(), KIV_TRACE_DETAIL_OFF);
    EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(3), "HIGH");
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(4), nullptr);
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(-1), nullptr);
}

TEST(TraceFilter, RecordingAndFormattingTests) {
    KivClTraceFilter filter;  // LOW, every component, any process and thread
    filter.setComponentIdSet(9, 0, false);
    filter.disableComponentId(0);  // id 0 passes whatever its bit says
    filter.setProcessId("100");
    filter.setThreadId("not a number");
    struct Row { KivEnTraceDetail detail; unsigned component; uint32_t pid; bool recorded, formatted; } rows[] = {
        {KIV_TRACE_DETAIL_LOW, 1, 100, true, true},       {KIV_TRACE_DETAIL_MED, 1, 100, false, false},
        {KIV_TRACE_DETAIL_LOW, 9, 100, false, false},     {KIV_TRACE_DETAIL_LOW, 0, 100, true, true},
        {KIV_TRACE_DETAIL_LOW, 256 + 9, 100, false, false},  // tested by its low 8 bits
        {KIV_TRACE_DETAIL_LOW, 1, 101, true, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(filter.passes(row.detail, row.component), row.recorded) << row.component;
        EXPECT_EQ(filter.passes(row.detail, row.component, row.pid, 5), row.formatted) << row.pid;
    }
    filter.setThreadId("77");
    EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 100, 78));
    EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 100, 77));
}
