// Trace variables and the filter they set, the instance and the plain functions.
#include <gtest/gtest.h>

#include <sstream>

#include <dlfcn.h>
#include <unistd.h>

#include "trace_test_helpers.hpp"

using kivtest::ReadRecord;
using kivtest::ScopedEnv;

namespace {

class TraceEnvironmentTest : public ::testing::Test {
protected:
    ~TraceEnvironmentTest() override { kivTraceDeleteInstance(); }
    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_{"KIVTENV", dir_};
};

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

TEST(TraceFilter, RecordingAndFormattingTestsAndDetailNames) {
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
    filter.setDetail(nullptr);  // detail texts: the variables table below
    EXPECT_EQ(filter.getDetail(), KIV_TRACE_DETAIL_OFF);
    EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(3), "HIGH");
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(4), nullptr);
    EXPECT_EQ(KivClTraceFilter::getDetailAsCString(-1), nullptr);
}

TEST_F(TraceEnvironmentTest, VariablesOnlyTurnFlagsOnAndSetTheFilterAndSize) {
    constexpr KivEnTraceDetail LOW = KIV_TRACE_DETAIL_LOW, HIGH = KIV_TRACE_DETAIL_HIGH;
    // seven: component 7 enabled; size: the whole buffer.
    struct Row { const char* suffix; const char* value; uint32_t flags; bool seven; KivEnTraceDetail detail; int size; }
    rows[] = {
        {"COMPRESS", "NO", 3, true, LOW, 65535},   {"AUTOSAVE", "off", 3, true, LOW, 65535},
        {"AUTOCLEAR", "TRUE", 7, true, LOW, 65535}, {"AUTOFLUSH", "On", 11, true, LOW, 65535},
        {"AUTOFLUSH", "2", 3, true, LOW, 65535},    {"COMPSET", "", 3, true, LOW, 65535},
        {"COMPSET", "*,-7", 3, false, LOW, 65535},  {"DETAIL", "nonsense", 3, true, KIV_TRACE_DETAIL_OFF, 65535},
        {"DETAIL", "HIGH", 3, true, HIGH, 65535},  {"DETAIL", "highest", 3, true, HIGH, 65535},
        {"DETAIL", "MEDIUM", 3, true, KIV_TRACE_DETAIL_MED, 65535}, {"DETAIL", "low", 3, true, LOW, 65535},
        {"DETAIL", "LO", 3, true, KIV_TRACE_DETAIL_OFF, 65535},
        {"BUFSIZE", "0", 3, true, LOW, 4096},       {"BUFSIZE", "100000", 3, true, LOW, 16777216},
        {"BUFSIZE", "-5", 3, true, LOW, 4096},      {"BUFSIZE", "not a number", 3, true, LOW, 4096},
        {"BUFSIZE", "5", 3, true, LOW, 5120},       {"BUFSIZE", "16383", 3, true, LOW, 16776192},
        {"BUFSIZE", "99999999999999999999", 3, true, LOW, 16777216},
    };
    for (const Row& row : rows) {
        kivtest::TraceKeyEnv vars("KIVTFLAGS", dir_);
        vars.set(row.suffix, row.value);
        KivClTraceEnvironment environment("KIVTFLAGS", nullptr, true);
        const KivClTraceSettings& settings = environment.getSettings();
        EXPECT_EQ(std::make_tuple(settings.getFlags(), settings.getFilter().isComponentIdEnabled(7),
                                  settings.getFilter().getDetail(), environment.getBufferSize() + 24),
                  std::make_tuple(row.flags, row.seven, row.detail, static_cast<uint32_t>(row.size)))
            << row.suffix << "=" << row.value;
    }
    vars_.set("FORMAT", std::string(600, 'f').c_str());
    KivClTraceEnvironment environment("KIVTENV", nullptr, false);
    EXPECT_EQ(std::string(environment.getFormatString()), std::string(512, 'f'));
}

TEST_F(TraceEnvironmentTest, KeyCaseAndLengthDefaultFileAutoclearAndVerboseDump) {
    ScopedEnv tmp("TMP", dir_.path().c_str());
    kivtest::TraceKeyEnv upper("MYAPP", dir_);
    upper.set("FILE", nullptr);
    upper.set("DETAIL", "HIGH");
    ScopedEnv mixed("myApp_TRACE_DETAIL", "MED");
    KivClTraceEnvironment environment("myApp", nullptr, false);
    EXPECT_STREQ(environment.getTraceFileName().getAsCString(), dir_.file("myApptrace.trc").c_str());
    EXPECT_EQ(environment.getSettings().getFilter().getDetail(), KIV_TRACE_DETAIL_HIGH);
    EXPECT_STREQ(environment.getSemaphore().getName(), "---:myApp:KIVTRACEINSTANCE0");

    kivtest::TraceKeyEnv cut("ABCDEFGHIJKLMNOPQRSTUVWX", dir_);  // the first 24 characters
    cut.set("AUTOCLEAR", "1");
    kivtest::writeFile(cut.file, "old");
    {
        KivClTraceEnvironment controller("ABCDEFGHIJKLMNOPQRSTUVWXYZ", nullptr, true);
        EXPECT_STREQ(controller.getKey(), "ABCDEFGHIJKLMNOPQRSTUVWX");
        EXPECT_TRUE(kivtest::fileExists(cut.file));  // a controller keeps the file
    }
    KivClTraceEnvironment traced("ABCDEFGHIJKLMNOPQRSTUVWXYZ", nullptr, false);
    EXPECT_FALSE(kivtest::fileExists(cut.file));

    vars_.set("VERBOSE", "TRUE");
    vars_.set("ACTIVE", "1");
    vars_.set("BUFSIZE", "8");
    kivtest::CaptureFd out(1);
    KivClTraceEnvironment verbose("KivTEnv", "inst", false);
    EXPECT_EQ(out.text(), "[KIV: TRACE: key: KivTEnv]\n[KIV: TRACE: active: 1]\n"
                          "[KIV: TRACE: resource key: ---:KivTEnv:inst]\n[KIV: TRACE: compression: 1]\n"
                          "[KIV: TRACE: autosave: 1]\n[KIV: TRACE: autoflush: 0]\n[KIV: TRACE: autoclear: 0]\n"
                          "[KIV: TRACE: detail: 1]\n[KIV: TRACE: buffersize: 8192]\n"
                          "[KIV: TRACE: process id: " + std::to_string(getpid()) + "]\n"
                          "[KIV: TRACE: format: " + KivClTraceEnvironment::DEFAULT_FORMAT + "]\n"
                          "[KIV: TRACE: file: " + vars_.file + "]\n[KIV: TRACE: sharedMemory: 0]\n");
}

// Callers that reach the enabled test by name, not through the header's
// inline form, get the same answer from the library's exported copy.
TEST_F(TraceEnvironmentTest, InstanceLifecycleAndUserCallback) {
    const auto enabledByName = reinterpret_cast<bool (*)()>(dlsym(RTLD_DEFAULT, "kivTraceIsEnabled"));
    ASSERT_NE(enabledByName, nullptr);
    KivClTraceInstance* instance = kivTraceCreateInstance("KIVTENV", nullptr);
    EXPECT_FALSE(enabledByName());  // ACTIVE unset
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "ignored", nullptr, 0);
    EXPECT_EQ(kivTraceCreateInstance("OTHER", "x"), instance);
    EXPECT_EQ(KivClTraceInstance::createControllerInstance("OTHER", nullptr), instance);
    EXPECT_FALSE(instance->enable());
    instance->activate();
    EXPECT_TRUE(instance->enable());
    EXPECT_TRUE(enabledByName());
    EXPECT_EQ(KivClTraceInstance_getInstance(), instance);

    std::string seen;  // the user callback gets every non-function record, function records as level data
    instance->registerUserCallback([](void* user, KivEnTraceDetail detail, unsigned short id, KivEnTraceDataType type,
                                      const char*, const char* message, const void*, unsigned int length) {
        *static_cast<std::string*>(user) += std::to_string(detail) + "/" + std::to_string(id) + "/" +
                                            std::to_string(type) + "/" + message + std::to_string(length) + " ";
    }, &seen);
    EXPECT_FALSE(instance->usesKivBackEnd());
    kivTraceDump(KIV_TRACE_DETAIL_HIGH, 300, KIV_TRACE_TYPE_CSTRING, "fn", "msg", "abc", 3);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 4, KIV_TRACE_TYPE_FUNCTION_ENTRY, "fn", "ignored", nullptr, 9);
    EXPECT_EQ(seen, "3/300/8/msg3 0/4/1/4 ");
    instance->disable();
    EXPECT_FALSE(kivTraceIsEnabled());
    instance->enable();
    kivTraceDeleteInstance();
    EXPECT_EQ(KivClTraceInstance::cv_pclSingletonInstance, nullptr);
    EXPECT_FALSE(enabledByName());
}

TEST_F(TraceEnvironmentTest, RecordingFiltersFunctionRecordsAndAutoflush) {
    vars_.set("ACTIVE", "yes");
    vars_.set("DETAIL", "OFF");
    vars_.set("COMPSET", "1.9,-5");
    vars_.set("AUTOFLUSH", "1");
    KivClTraceInstance* instance = kivTraceCreateInstance("KIVTENV", nullptr);
    const int32_t value = 42;
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", "", nullptr, 0);
    EXPECT_FALSE(kivtest::readFile(vars_.file).empty());  // autoflush: on file at once
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_INT32, "outer", "dropped: LOW", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 5, KIV_TRACE_TYPE_INT32, "outer", "dropped: 5", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 0, KIV_TRACE_TYPE_INT32, "outer", "kept: 0", &value, 4);
    char reused[16] = "again: 0";  // one address, new characters: recorded as they are now
    for (const char* text : {"again: 0", "again: 1", "again"}) {
        strcpy(reused, text);
        kivTraceDump(KIV_TRACE_DETAIL_OFF, 0, KIV_TRACE_TYPE_INT32, "outer", reused, &value, 4);
    }
    kivTraceDump(KIV_TRACE_DETAIL_MED, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    kivTraceFlush();
    std::vector<std::string> seen;  // type/detail/message/data; the dropped MED exit moved the level
    for (const ReadRecord& r : kivtest::readRecords(instance->getEnvironment())) {
        seen.push_back(std::to_string(r.type) + "/" + std::to_string(r.header.flags >> 6) + "/" + r.message + "/" +
                       r.data);
    }
    EXPECT_EQ(seen, std::vector<std::string>({"1/0//" + kivtest::bytesOf<int32_t>(1),
                                              "15/0/kept: 0/" + kivtest::bytesOf<int32_t>(42),
                                              "15/0/again: 0/" + kivtest::bytesOf<int32_t>(42),
                                              "15/0/again: 1/" + kivtest::bytesOf<int32_t>(42),
                                              "15/0/again/" + kivtest::bytesOf<int32_t>(42),
                                              "2/0//" + kivtest::bytesOf<int32_t>(-1)}));
}

TEST(TraceDebugPrint, FileNameAndLine) {
    std::ostringstream out;
    kiv_tprint(out, "/src/deep/kiv_thing.cpp", 42) << "x";
    EXPECT_EQ(out.str(), "[kiv_thing.cpp:42] x");
    kivtest::CaptureFd captured(1);
    kiv_tprintf("a/b.cpp", 7, "value %d", 5);
    kiv_tprintf("c.cpp", 8, "done\n");
    EXPECT_EQ(captured.text(), "[a/b.cpp:7] value 5\n[c.cpp:8] done\n");
}
