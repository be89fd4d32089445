// Trace environment variables, the instance and the plain-function interface,
// and the end-to-end guarantee that no record is lost.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "kiv_trace.hpp"
#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

using kivtest::ScopedEnv;
using kivtest::TempDir;
using kivtest::TraceKeyEnv;

namespace {

// One record read back from a trace file, with its data.
struct ReadRecord {
    _KivStTraceRecordHeader header;
    KivEnTraceDataType type;
    KivEnTraceDetail detail;
    std::string message;
    std::string function;
    std::string data;
};

std::vector<ReadRecord> readRecords(KivClTraceEnvironment& environment) {
    std::ifstream in(environment.getTraceFileName().getAsCString(), std::ios::binary);
    std::vector<ReadRecord> records;
    KivClTraceFileEntry entry(environment);
    while (entry.read(in)) {
        ReadRecord r{entry.getHeader(), entry.getType(), entry.getDetail(), entry.getMessage(),
                     entry.getFunctionName(), std::string(entry.getDataLength(), '\0')};
        in.read(&r.data[0], static_cast<std::streamsize>(r.data.size()));
        EXPECT_EQ(in.gcount(), static_cast<std::streamsize>(r.data.size()));
        records.push_back(r);
    }
    return records;
}

class TraceEnvironmentTest : public ::testing::Test {
protected:
    TraceEnvironmentTest() : vars_("KIVTENV", dir_) {}
    ~TraceEnvironmentTest() override { kivTraceDeleteInstance(); }
    TempDir dir_;
    TraceKeyEnv vars_;
};

}  // namespace

TEST_F(TraceEnvironmentTest, BufferSizeValues) {
    struct Row {
        const char* value;
        uint32_t size;
    } rows[] = {
        {nullptr, 65535},   {"0", 4096},       {"100000", 16777216}, {"not a number", 4096},
        {"-5", 4096},       {"4", 4096},       {"5", 5120},          {"16383", 16776192},
        {"16384", 16777216}, {"99999999999999999999", 16777216},
    };
    for (const Row& row : rows) {
        ScopedEnv size("KIVTENV_TRACE_BUFSIZE", row.value);
        KivClTraceEnvironment environment("KIVTENV", nullptr, false);
        EXPECT_EQ(environment.getTotalBufferSize(), row.size) << (row.value ? row.value : "unset");
        EXPECT_EQ(environment.getBufferSize(), row.size - 24);
    }
}

TEST_F(TraceEnvironmentTest, MixedCaseKeyAndDefaultFile) {
    ScopedEnv tmp("TMP", dir_.path().c_str());
    TraceKeyEnv upper("MYAPP", dir_);
    upper.set("FILE", nullptr);
    upper.set("DETAIL", "HIGH");
    ScopedEnv mixed("myApp_TRACE_DETAIL", "MED");
    KivClTraceEnvironment environment("myApp", nullptr, false);
    EXPECT_STREQ(environment.getTraceFileName().getAsCString(), dir_.file("myApptrace.trc").c_str());
    EXPECT_EQ(environment.getSettings().getFilter().getDetail(), KIV_TRACE_DETAIL_HIGH);
    EXPECT_STREQ(environment.getSemaphore().getName(), "---:myApp:KIVTRACEINSTANCE0");
}

TEST_F(TraceEnvironmentTest, SwitchesOnlyTurnFlagsOn) {
    struct Row {
        const char* suffix;
        const char* value;
        uint32_t flags;
    } rows[] = {
        {"COMPRESS", "NO", 3},  {"AUTOSAVE", "off", 3},  {"COMPRESS", "yes", 3},
        {"AUTOCLEAR", "TRUE", 3 | 4}, {"AUTOFLUSH", "On", 3 | 8}, {"AUTOFLUSH", "2", 3},
    };
    for (const Row& row : rows) {
        TraceKeyEnv vars("KIVTFLAGS", dir_);
        vars.set(row.suffix, row.value);
        KivClTraceEnvironment environment("KIVTFLAGS", nullptr, true);
        EXPECT_EQ(environment.getSettings().getFlags(), row.flags) << row.suffix << "=" << row.value;
        EXPECT_EQ(environment.getSettings().getSignature(), 0x4B49u);
    }
}

TEST_F(TraceEnvironmentTest, ComponentSetFormatAndDetail) {
    struct Row {
        const char* compset;
        bool seven;
        bool eight;
    } rows[] = {{nullptr, true, true}, {"", true, true}, {"*,-7", false, true}, {"8", false, true}};
    for (const Row& row : rows) {
        ScopedEnv set("KIVTENV_TRACE_COMPSET", row.compset);
        KivClTraceEnvironment environment("KIVTENV", nullptr, false);
        const KivClTraceFilter& filter = environment.getSettings().getFilter();
        EXPECT_EQ(filter.isComponentIdEnabled(7), row.seven) << (row.compset ? row.compset : "unset");
        EXPECT_EQ(filter.isComponentIdEnabled(8), row.eight);
        EXPECT_EQ(filter.getDetail(), KIV_TRACE_DETAIL_LOW);
        EXPECT_STREQ(environment.getFormatString(), KivClTraceEnvironment::DEFAULT_FORMAT);
    }
    const std::string longFormat(600, 'f');
    vars_.set("FORMAT", longFormat.c_str());
    vars_.set("DETAIL", "nonsense");
    KivClTraceEnvironment environment("KIVTENV", nullptr, false);
    EXPECT_EQ(std::string(environment.getFormatString()), longFormat.substr(0, 512));
    EXPECT_EQ(environment.getSettings().getFilter().getDetail(), KIV_TRACE_DETAIL_OFF);
}

TEST_F(TraceEnvironmentTest, VerboseSettingsDump) {
    vars_.set("VERBOSE", "TRUE");
    vars_.set("ACTIVE", "1");
    vars_.set("BUFSIZE", "8");
    kivtest::CaptureFd out(1);
    KivClTraceEnvironment environment("KivTEnv", "inst", false);
    EXPECT_EQ(out.text(),
              "[KIV: TRACE: key: KivTEnv]\n"
              "[KIV: TRACE: active: 1]\n"
              "[KIV: TRACE: resource key: ---:KivTEnv:inst]\n"
              "[KIV: TRACE: compression: 1]\n"
              "[KIV: TRACE: autosave: 1]\n"
              "[KIV: TRACE: autoflush: 0]\n"
              "[KIV: TRACE: autoclear: 0]\n"
              "[KIV: TRACE: detail: 1]\n"
              "[KIV: TRACE: buffersize: 8192]\n"
              "[KIV: TRACE: process id: " + std::to_string(getpid()) + "]\n"
              "[KIV: TRACE: format: " + KivClTraceEnvironment::DEFAULT_FORMAT + "]\n"
              "[KIV: TRACE: file: " + vars_.file + "]\n"
              "[KIV: TRACE: sharedMemory: 0]\n");
}

TEST_F(TraceEnvironmentTest, LongKeyIsCutAndAutoclearRemovesTheFile) {
    const std::string longKey = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";  // 26 characters
    TraceKeyEnv cut("ABCDEFGHIJKLMNOPQRSTUVWX", dir_);
    cut.set("AUTOCLEAR", "1");
    kivtest::writeFile(cut.file, "old");
    {
        KivClTraceEnvironment controller(longKey.c_str(), nullptr, true);
        EXPECT_STREQ(controller.getKey(), "ABCDEFGHIJKLMNOPQRSTUVWX");
        EXPECT_TRUE(kivtest::fileExists(cut.file));  // a controller keeps the file
    }
    KivClTraceEnvironment environment(longKey.c_str(), nullptr, false);
    EXPECT_FALSE(kivtest::fileExists(cut.file));
}

TEST_F(TraceEnvironmentTest, InstanceLifecycle) {
    KivClTraceInstance* instance = kivTraceCreateInstance("KIVTENV", nullptr);
    ASSERT_NE(instance, nullptr);
    EXPECT_FALSE(kivTraceIsEnabled());  // ACTIVE unset
    EXPECT_EQ(KivClTraceInstance_getInstance(), nullptr);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "ignored", nullptr, 0);
    EXPECT_EQ(kivTraceCreateInstance("OTHER", "x"), instance);
    EXPECT_EQ(KivClTraceInstance::createControllerInstance("OTHER", nullptr), instance);
    EXPECT_FALSE(instance->enable());
    instance->activate();
    EXPECT_TRUE(instance->enable());
    EXPECT_TRUE(kivTraceIsEnabled());
    EXPECT_EQ(KivClTraceInstance_getInstance(), instance);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "kept", nullptr, 0);
    instance->disable();  // flushes
    EXPECT_FALSE(kivTraceIsEnabled());
    const std::vector<ReadRecord> records = readRecords(instance->getEnvironment());
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, "kept");
    kivTraceDeleteInstance();
    EXPECT_EQ(KivClTraceInstance::cv_pclSingletonInstance, nullptr);
    kivTraceFlush();  // no instance: nothing happens
}

TEST_F(TraceEnvironmentTest, RecordingFiltersAndFunctionRecords) {
    vars_.set("ACTIVE", "yes");
    vars_.set("DETAIL", "OFF");
    vars_.set("COMPSET", "1.9,-5");
    kivTraceCreateInstance("KIVTENV", nullptr);
    ASSERT_TRUE(kivTraceIsEnabled());
    const int32_t value = 42;
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", "", nullptr, 0);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_INT32, "outer", "dropped: LOW", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 5, KIV_TRACE_TYPE_INT32, "outer", "dropped: 5", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 0, KIV_TRACE_TYPE_INT32, "outer", "kept: 0", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 9, KIV_TRACE_TYPE_INT32, "outer", "kept: 9", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_MED, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    kivTraceFlush();
    const std::vector<ReadRecord> records = readRecords(KivClTraceInstance_getInstance()->getEnvironment());
    struct Expected {
        KivEnTraceDataType type;
        const char* message;
        int32_t level;  // function records only
    } expected[] = {
        {KIV_TRACE_TYPE_FUNCTION_ENTRY, "", 1},
        {KIV_TRACE_TYPE_INT32, "kept: 0", 0},
        {KIV_TRACE_TYPE_INT32, "kept: 9", 0},
        {KIV_TRACE_TYPE_FUNCTION_EXIT, "", -1},  // the MED exit moved the level but was dropped
    };
    ASSERT_EQ(records.size(), 4u);
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].type, expected[i].type) << i;
        EXPECT_EQ(records[i].message, expected[i].message) << i;
        EXPECT_EQ(records[i].detail, KIV_TRACE_DETAIL_OFF) << i;
        if (records[i].type != KIV_TRACE_TYPE_INT32) {
            EXPECT_EQ(records[i].data, kivtest::bytesOf(expected[i].level)) << i;
        }
    }
}

TEST_F(TraceEnvironmentTest, UserCallbackReceivesNonFunctionRecords) {
    vars_.set("ACTIVE", "1");
    KivClTraceInstance* instance = kivTraceCreateInstance("KIVTENV", nullptr);
    EXPECT_TRUE(instance->usesKivBackEnd());
    std::vector<std::string> seen;
    instance->registerUserCallback(
        [](void* user, KivEnTraceDetail detail, unsigned short id, KivEnTraceDataType type,
           const char* function, const char* message, const void*, unsigned int length) {
            std::ostringstream line;
            line << detail << ' ' << id << ' ' << type << ' ' << function << ' ' << message << ' ' << length;
            static_cast<std::vector<std::string>*>(user)->push_back(line.str());
        },
        &seen);
    EXPECT_FALSE(instance->usesKivBackEnd());
    kivTraceDump(KIV_TRACE_DETAIL_HIGH, 300, KIV_TRACE_TYPE_CSTRING, "fn", "msg", "abc", 3);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 4, KIV_TRACE_TYPE_FUNCTION_ENTRY, "fn", "ignored", nullptr, 9);
    EXPECT_EQ(seen, (std::vector<std::string>{"3 300 8 fn msg 3", "0 4 1 fn  4"}));
    kivTraceFlush();
    EXPECT_FALSE(kivtest::fileExists(vars_.file));
}

TEST_F(TraceEnvironmentTest, AutoflushWritesEachRecordAtOnce) {
    vars_.set("ACTIVE", "1");
    vars_.set("AUTOFLUSH", "1");
    kivTraceCreateInstance("KIVTENV", nullptr);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "one", "", 0);
    const std::string once = kivtest::readFile(vars_.file);
    EXPECT_FALSE(once.empty());
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "two", "", 0);
    EXPECT_GT(kivtest::readFile(vars_.file).size(), once.size());
}

TEST_F(TraceEnvironmentTest, NoRecordLostThroughASmallRingAtExit) {
    vars_.set("ACTIVE", "1");
    vars_.set("DETAIL", "HIGH");
    vars_.set("BUFSIZE", "0");  // 4096 bytes: the ring wraps hundreds of times
    vars_.set("AUTOCLEAR", "1");
    constexpr int kRecords = 3000;
    auto dataLength = [](int i) { return static_cast<unsigned>((i * 37) % 5000); };
    auto dataByte = [](int i, unsigned j) { return static_cast<char>((i + static_cast<int>(j)) & 0xFF); };
    const kivtest::ChildResult child = kivtest::runInChild([&]() {
        kivTraceCreateInstance("KIVTENV", nullptr);
        std::vector<char> data(5000);
        for (int i = 0; i < kRecords; ++i) {
            for (unsigned j = 0; j < dataLength(i); ++j) data[j] = dataByte(i, j);
            const std::string message = "rec " + std::to_string(i);
            const void* pointer = i % 50 == 0 ? nullptr : data.data();
            kivTraceDump(KIV_TRACE_DETAIL_MED, static_cast<unsigned short>(i % 256),
                         KIV_TRACE_TYPE_DATA, "writer", message.c_str(), pointer, dataLength(i));
        }
        std::exit(0);  // a normal exit: the static destructor flushes the rest
        return 1;
    });
    ASSERT_TRUE(child.exited && child.exitCode == 0) << child.err;

    KivClTraceEnvironment reader("KIVTENV", nullptr, true);
    const std::vector<ReadRecord> records = readRecords(reader);
    ASSERT_EQ(records.size(), static_cast<size_t>(kRecords));
    for (int i = 0; i < kRecords; ++i) {
        const ReadRecord& r = records[static_cast<size_t>(i)];
        ASSERT_EQ(r.message, "rec " + std::to_string(i));
        ASSERT_EQ(r.function, "writer");
        ASSERT_EQ(r.header.componentId, i % 256);
        if (i % 50 == 0) {
            ASSERT_EQ(r.type, KIV_TRACE_TYPE_DATA_NULL) << i;
            ASSERT_TRUE(r.data.empty());
            continue;
        }
        const unsigned expected = dataLength(i) > 4072 ? 4072 : dataLength(i);
        ASSERT_EQ(r.type, dataLength(i) > 4072 ? KIV_TRACE_TYPE_DATA_CLIPPED : KIV_TRACE_TYPE_DATA) << i;
        ASSERT_EQ(r.data.size(), expected) << i;
        for (unsigned j = 0; j < expected; ++j) ASSERT_EQ(r.data[j], dataByte(i, j)) << i << "/" << j;
    }

    KivClTraceFormatter formatter(reader);
    formatter.setFormatString("%m%n");
    std::ostringstream out;
    formatter.format(out);
    EXPECT_EQ(formatter.getEntryCount(), static_cast<uint32_t>(kRecords));
    std::string expectedText;
    for (int i = 0; i < kRecords; ++i) expectedText += "rec " + std::to_string(i) + "\n";
    EXPECT_EQ(out.str(), expectedText);
}

TEST_F(TraceEnvironmentTest, RecordsCarryThreadIdsAndOrderedTimestamps) {
    vars_.set("ACTIVE", "1");
    kivTraceCreateInstance("KIVTENV", nullptr);
    auto record = [](const char* message) {
        for (int i = 0; i < 20; ++i) {
            kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "t", message, "", 0);
        }
    };
    record("main");
    std::thread other(record, "other");  // the threads take turns: no concurrent calls
    other.join();
    kivTraceFlush();
    const std::vector<ReadRecord> records = readRecords(KivClTraceInstance_getInstance()->getEnvironment());
    ASSERT_EQ(records.size(), 40u);
    EXPECT_EQ(records.front().header.threadId, static_cast<uint32_t>(gettid()));
    EXPECT_NE(records.back().header.threadId, records.front().header.threadId);
    for (size_t i = 1; i < records.size(); ++i) {
        if (records[i].message != records[i - 1].message) continue;
        EXPECT_EQ(records[i].header.threadId, records[i - 1].header.threadId);
        EXPECT_GE(static_cast<int32_t>(records[i].header.timeStamp - records[i - 1].header.timeStamp), 0);
    }
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
