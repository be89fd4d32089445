// Trace variables, the instance and the plain functions, and the guarantee
// that no record is lost.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

#include "kiv_traceformat.hpp"
#include "trace_test_helpers.hpp"

using kivtest::ScopedEnv;

namespace {

struct ReadRecord {
    _KivStTraceRecordHeader header;
    KivEnTraceDataType type;
    std::string message, function, data;
};

std::vector<ReadRecord> readRecords(KivClTraceEnvironment& environment) {
    std::ifstream in(environment.getTraceFileName().getAsCString(), std::ios::binary);
    std::vector<ReadRecord> records;
    for (KivClTraceFileEntry entry(environment); entry.read(in);) {
        records.push_back({entry.getHeader(), entry.getType(), entry.getMessage(), entry.getFunctionName(),
                           std::string(entry.getDataLength(), '\0')});
        in.read(&records.back().data[0], static_cast<std::streamsize>(records.back().data.size()));
    }
    return records;
}

class TraceEnvironmentTest : public ::testing::Test {
protected:
    ~TraceEnvironmentTest() override { kivTraceDeleteInstance(); }
    std::vector<ReadRecord> instanceRecords() {
        kivTraceFlush();
        return readRecords(KivClTraceInstance::cv_pclSingletonInstance->getEnvironment());
    }
    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_{"KIVTENV", dir_};
};

}  // namespace

TEST_F(TraceEnvironmentTest, BufferSizeValues) {
    struct Row { const char* value; uint32_t size; } rows[] = {
        {nullptr, 65535}, {"0", 4096}, {"100000", 16777216}, {"not a number", 4096}, {"-5", 4096}, {"5", 5120},
        {"16383", 16776192}, {"99999999999999999999", 16777216}};
    for (const Row& row : rows) {
        ScopedEnv size("KIVTENV_TRACE_BUFSIZE", row.value);
        KivClTraceEnvironment environment("KIVTENV", nullptr, false);
        EXPECT_EQ(environment.getBufferSize(), row.size - 24) << (row.value ? row.value : "unset");
    }
}

TEST_F(TraceEnvironmentTest, VariablesOnlyTurnFlagsOnAndSetTheFilter) {
    struct Row { const char* suffix; const char* value; uint32_t flags; bool seven; KivEnTraceDetail detail; } rows[] = {
        // seven: component 7 enabled
        {"COMPRESS", "NO", 3, true, KIV_TRACE_DETAIL_LOW},  {"AUTOSAVE", "off", 3, true, KIV_TRACE_DETAIL_LOW},
        {"AUTOCLEAR", "TRUE", 7, true, KIV_TRACE_DETAIL_LOW}, {"AUTOFLUSH", "On", 11, true, KIV_TRACE_DETAIL_LOW},
        {"AUTOFLUSH", "2", 3, true, KIV_TRACE_DETAIL_LOW},  {"COMPSET", "", 3, true, KIV_TRACE_DETAIL_LOW},
        {"COMPSET", "*,-7", 3, false, KIV_TRACE_DETAIL_LOW}, {"DETAIL", "nonsense", 3, true, KIV_TRACE_DETAIL_OFF},
    };
    for (const Row& row : rows) {
        kivtest::TraceKeyEnv vars("KIVTFLAGS", dir_);
        vars.set(row.suffix, row.value);
        KivClTraceEnvironment environment("KIVTFLAGS", nullptr, true);
        const KivClTraceSettings& settings = environment.getSettings();
        EXPECT_EQ(std::make_tuple(settings.getFlags(), settings.getFilter().isComponentIdEnabled(7),
                                  settings.getFilter().getDetail()), std::make_tuple(row.flags, row.seven, row.detail))
            << row.suffix << "=" << row.value;
    }
    vars_.set("FORMAT", std::string(600, 'f').c_str());
    KivClTraceEnvironment environment("KIVTENV", nullptr, false);
    EXPECT_EQ(std::string(environment.getFormatString()), std::string(512, 'f'));
}

TEST_F(TraceEnvironmentTest, MixedCaseKeyDefaultFileAndVerboseDump) {
    ScopedEnv tmp("TMP", dir_.path().c_str());
    kivtest::TraceKeyEnv upper("MYAPP", dir_);
    upper.set("FILE", nullptr);
    upper.set("DETAIL", "HIGH");
    ScopedEnv mixed("myApp_TRACE_DETAIL", "MED");
    KivClTraceEnvironment environment("myApp", nullptr, false);
    EXPECT_STREQ(environment.getTraceFileName().getAsCString(), dir_.file("myApptrace.trc").c_str());
    EXPECT_EQ(environment.getSettings().getFilter().getDetail(), KIV_TRACE_DETAIL_HIGH);
    EXPECT_STREQ(environment.getSemaphore().getName(), "---:myApp:KIVTRACEINSTANCE0");

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

TEST_F(TraceEnvironmentTest, LongKeyIsCutAndAutoclearRemovesTheFile) {
    kivtest::TraceKeyEnv cut("ABCDEFGHIJKLMNOPQRSTUVWX", dir_);  // the first 24 characters
    cut.set("AUTOCLEAR", "1");
    kivtest::writeFile(cut.file, "old");
    {
        KivClTraceEnvironment controller("ABCDEFGHIJKLMNOPQRSTUVWXYZ", nullptr, true);
        EXPECT_STREQ(controller.getKey(), "ABCDEFGHIJKLMNOPQRSTUVWX");
        EXPECT_TRUE(kivtest::fileExists(cut.file));  // a controller keeps the file
    }
    KivClTraceEnvironment environment("ABCDEFGHIJKLMNOPQRSTUVWXYZ", nullptr, false);
    EXPECT_FALSE(kivtest::fileExists(cut.file));
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
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "f", "kept", nullptr, 0);
    const std::vector<ReadRecord> records = instanceRecords();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].message, "kept");

    std::string seen;  // the user callback gets every non-function record, function records as level data
    instance->registerUserCallback(
        [](void* user, KivEnTraceDetail detail, unsigned short id, KivEnTraceDataType type, const char*,
           const char* message, const void*, unsigned int length) {
            *static_cast<std::string*>(user) += std::to_string(detail) + "/" + std::to_string(id) + "/" +
                                                std::to_string(type) + "/" + message + std::to_string(length) + " ";
        },
        &seen);
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
    kivTraceCreateInstance("KIVTENV", nullptr);
    const int32_t value = 42;
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", "", nullptr, 0);
    EXPECT_FALSE(kivtest::readFile(vars_.file).empty());  // autoflush: on file at once
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_INT32, "outer", "dropped: LOW", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 5, KIV_TRACE_TYPE_INT32, "outer", "dropped: 5", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_OFF, 0, KIV_TRACE_TYPE_INT32, "outer", "kept: 0", &value, 4);
    kivTraceDump(KIV_TRACE_DETAIL_MED, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    kivTraceDump(KIV_TRACE_DETAIL_LOW, 2, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
    std::vector<std::string> seen;  // type/detail/message/data; the dropped MED exit moved the level
    for (const ReadRecord& r : instanceRecords()) {
        seen.push_back(std::to_string(r.type) + "/" + std::to_string(r.header.flags >> 6) + "/" + r.message + "/" +
                       r.data);
    }
    EXPECT_EQ(seen, std::vector<std::string>({"1/0//" + kivtest::bytesOf<int32_t>(1), "15/0/kept: 0/" +
                                              kivtest::bytesOf<int32_t>(42), "2/0//" + kivtest::bytesOf<int32_t>(-1)}));
}

TEST_F(TraceEnvironmentTest, NoRecordLostThroughASmallRingAtExit) {
    vars_.set("ACTIVE", "1");
    vars_.set("DETAIL", "HIGH");
    vars_.set("BUFSIZE", "0");  // 4096 bytes: the ring wraps hundreds of times
    constexpr int kRecords = 3000;
    auto length = [](int i) { return static_cast<unsigned>((i * 37) % 5000); };  // some clipped
    auto bytes = [&](int i) {
        std::string data(std::min(length(i), 4072u), '\0');
        for (unsigned j = 0; j < data.size(); ++j) data[j] = static_cast<char>((i + static_cast<int>(j)) & 0xFF);
        return data;
    };
    const kivtest::ChildResult child = kivtest::runInChild([&]() {
        kivTraceCreateInstance("KIVTENV", nullptr);
        for (int i = 0; i < kRecords; ++i) {
            const std::string data = bytes(i) + std::string(length(i) - std::min(length(i), 4072u), 'c');
            kivTraceDump(KIV_TRACE_DETAIL_MED, static_cast<unsigned short>(i), KIV_TRACE_TYPE_DATA, "writer",
                         ("rec " + std::to_string(i)).c_str(), i % 50 == 0 ? nullptr : data.data(), length(i));
        }
        std::exit(0);  // a normal exit: the static destructor flushes the rest
        return 1;
    });
    ASSERT_TRUE(child.exited && child.exitCode == 0) << child.err;

    KivClTraceEnvironment reader("KIVTENV", nullptr, true);
    const std::vector<ReadRecord> records = readRecords(reader);
    ASSERT_EQ(records.size(), static_cast<size_t>(kRecords));
    std::string expectedText;
    size_t packed = 0, unpacked = 0;
    for (int i = 0; i < kRecords; ++i) {
        const ReadRecord& r = records[static_cast<size_t>(i)];
        ASSERT_EQ(r.message + "/" + r.function + "/" + std::to_string(r.header.componentId),
                  "rec " + std::to_string(i) + "/writer/" + std::to_string(i % 256));
        ASSERT_EQ(r.type, i % 50 == 0 ? KIV_TRACE_TYPE_DATA_NULL
                          : length(i) > 4072 ? KIV_TRACE_TYPE_DATA_CLIPPED : KIV_TRACE_TYPE_DATA) << i;
        ASSERT_EQ(r.data, i % 50 == 0 ? "" : bytes(i)) << i;
        expectedText += "rec " + std::to_string(i) + "\n";
        // "rec " takes 6 bits a letter, each digit 14; "writer" packs into 5 bytes.
        const size_t digits = std::to_string(i).size();
        packed += (24 + 14 * digits + 7) / 8 + 5;
        unpacked += 4 + digits + 6;
    }
    KivClTraceFormatter formatter(reader);
    formatter.setFormatString("%m%n");
    std::ostringstream out;
    formatter.format(out);
    EXPECT_EQ(formatter.getEntryCount(), static_cast<uint32_t>(kRecords));
    EXPECT_EQ(out.str(), expectedText);
    EXPECT_DOUBLE_EQ(reader.getCompressionRate(), static_cast<double>(packed) / unpacked);
}

TEST_F(TraceEnvironmentTest, RecordsCarryThreadIdsAndOrderedTimestamps) {
    vars_.set("ACTIVE", "1");
    kivTraceCreateInstance("KIVTENV", nullptr);
    auto record = [] {
        for (int i = 0; i < 20; ++i) kivTraceDump(KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_NO_DATA, "t", "", "", 0);
    };
    record();
    std::thread(record).join();  // the threads take turns: no concurrent calls
    const std::vector<ReadRecord> records = instanceRecords();
    ASSERT_EQ(records.size(), 40u);
    for (size_t i = 1; i < records.size(); ++i) {
        const uint32_t thread = i < 20 ? static_cast<uint32_t>(gettid()) : records[20].header.threadId;
        EXPECT_EQ(records[i].header.threadId, thread) << i;
        EXPECT_GE(static_cast<int32_t>(records[i].header.timeStamp - records[i - 1].header.timeStamp), 0) << i;
    }
    EXPECT_NE(records[20].header.threadId, records[0].header.threadId);
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
