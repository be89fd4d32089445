// Trace filter: component set texts, detail texts, the pass tests.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "kiv_trace.hpp"

namespace {

std::set<unsigned> enabledIds(const KivClTraceFilter& filter) {
    std::set<unsigned> ids;
    for (unsigned id = 0; id <= 255; ++id) {
        if (filter.isComponentIdEnabled(id)) ids.insert(id);
    }
    return ids;
}

std::set<unsigned> allBut(std::set<unsigned> removed) {
    std::set<unsigned> ids;
    for (unsigned id = 1; id <= 255; ++id) {
        if (removed.count(id) == 0) ids.insert(id);
    }
    return ids;
}

}  // namespace

TEST(TraceFilter, ComponentSetTextsAfterClearingAll) {
    struct Row {
        const char* text;
        std::set<unsigned> ids;
    } rows[] = {
        {"5", {5}},
        {"5.3", {}},
        {"0.9", {}},
        {"300", {}},
        {"250.300", {250, 251, 252, 253, 254, 255}},
        {"-4", {}},
        {"*,-4", allBut({4})},
        {"*,-7", allBut({7})},
        {"1.5,-3", {1, 2, 4, 5}},
        {"3,10.12", {3, 10, 11, 12}},
        {"+3, x7y ,9", {3, 7, 9}},
        {"2,-2", {}},
        {"65538", {2}},  // cut to 16 bits
        {"99999999999999999999", {}},  // long digit runs stay bounded
        {"1.", {1}},
        {",,,", {}},
    };
    for (const Row& row : rows) {
        KivClTraceFilter filter;
        filter.disableAllComponentIds();
        filter.enableComponentIds(row.text);
        EXPECT_EQ(enabledIds(filter), row.ids) << row.text;
    }
}

TEST(TraceFilter, SettingsComponentIdsEmptyTextKeepsAll) {
    KivClTraceSettings settings;
    settings.initComponentIds("");
    settings.initComponentIds(nullptr);
    EXPECT_FALSE(settings.getFilter().usesCompIdFilter());
    EXPECT_EQ(enabledIds(settings.getFilter()).size(), 256u);
    settings.initComponentIds("3,10.12");
    EXPECT_EQ(enabledIds(settings.getFilter()), (std::set<unsigned>{3, 10, 11, 12}));
    EXPECT_TRUE(settings.getFilter().usesCompIdFilter());
}

TEST(TraceFilter, DetailTexts) {
    struct Row {
        const char* text;
        KivEnTraceDetail detail;
    } rows[] = {
        {"HIGH", KIV_TRACE_DETAIL_HIGH}, {"highest", KIV_TRACE_DETAIL_HIGH},
        {"Med", KIV_TRACE_DETAIL_MED},   {"MEDIUM", KIV_TRACE_DETAIL_MED},
        {"low", KIV_TRACE_DETAIL_LOW},   {"LO", KIV_TRACE_DETAIL_OFF},
        {"x", KIV_TRACE_DETAIL_OFF},     {"", KIV_TRACE_DETAIL_OFF},
        {"OFF", KIV_TRACE_DETAIL_OFF},   {nullptr, KIV_TRACE_DETAIL_OFF},
    };
    for (const Row& row : rows) {
        KivClTraceFilter filter;
        filter.setDetail(row.text);
        EXPECT_EQ(filter.getDetail(), row.detail) << (row.text ? row.text : "null");
    }
    EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(0), "OFF");
    EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(3), "HIGH");
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(4), nullptr);
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(-1), nullptr);
}

TEST(TraceFilter, PassTests) {
    KivClTraceFilter filter;  // LOW, all components, any process and thread
    filter.disableComponentId(9);
    filter.disableComponentId(0);  // id 0 passes whatever its bit says
    filter.setProcessId("100");
    filter.setThreadId("not a number");
    struct Row {
        KivEnTraceDetail detail;
        unsigned component;
        uint32_t pid;
        uint32_t tid;
        bool recorded;
        bool formatted;
    } rows[] = {
        {KIV_TRACE_DETAIL_OFF, 1, 100, 5, true, true},
        {KIV_TRACE_DETAIL_LOW, 1, 100, 5, true, true},
        {KIV_TRACE_DETAIL_MED, 1, 100, 5, false, false},
        {KIV_TRACE_DETAIL_LOW, 9, 100, 5, false, false},
        {KIV_TRACE_DETAIL_LOW, 0, 100, 5, true, true},
        {KIV_TRACE_DETAIL_LOW, 256 + 9, 100, 5, false, false},  // low 8 bits: 9
        {KIV_TRACE_DETAIL_LOW, 256, 100, 5, true, true},        // low 8 bits: 0
        {KIV_TRACE_DETAIL_LOW, 1, 101, 5, true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.detail << "/" << row.component << "/" << row.pid);
        EXPECT_EQ(filter.passes(row.detail, row.component), row.recorded);
        EXPECT_EQ(filter.passes(row.detail, row.component, row.pid, row.tid), row.formatted);
    }
    filter.setThreadId("77");
    EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 100, 78));
    EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 100, 77));
}

TEST(TraceFilter, RangesAndSingleIds) {
    KivClTraceFilter filter;
    EXPECT_FALSE(filter.usesCompIdFilter());
    filter.setComponentIdSet(0, 10, false);  // first 0: nothing
    EXPECT_FALSE(filter.usesCompIdFilter());
    filter.setComponentIdSet(200, 999, false);
    EXPECT_EQ(enabledIds(filter).size(), 256u - 56u);
    filter.setComponentIdSet(255, 0, true);
    EXPECT_TRUE(filter.isComponentIdEnabled(255));
    EXPECT_FALSE(filter.isComponentIdEnabled(254));
    filter.enableAllComponentIds();
    filter.disableComponentId(0);
    EXPECT_FALSE(filter.usesCompIdFilter());  // only ids 1..255 count
}
