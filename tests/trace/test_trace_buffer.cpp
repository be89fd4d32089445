// Trace ring buffer: the write cases, hand-over parts, flush and the
// autosave handler's file handling.
#include <gtest/gtest.h>

#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include "kiv_trace.hpp"
#include "trace_test_helpers.hpp"

namespace {

// Every hand-over as "first|second" ("-" for no second part), and all bytes.
struct Collector { std::vector<std::string> handovers; std::string all; };

int collect(const _KivStTraceBufferCallBackInfo& info) {
    Collector& c = *static_cast<Collector*>(info.userData);
    const std::string first(info.firstPart, info.firstLength);
    const std::string second = info.secondPart ? std::string(info.secondPart, info.secondLength) : "";
    c.handovers.push_back(first + "|" + (info.secondPart ? second : "-"));
    c.all += first + second;
    return 0;
}

class TraceRing : public ::testing::Test {
protected:
    TraceRing() : memory_(40, '\0'), ring_(key_, memory_.data(), 40) {  // a 16-byte ring
        ring_.setOverflowCallBack(collect, &seen_);
    }
    KivClResourceKeySemaphore key_{"TEST", nullptr};
    std::vector<char> memory_;
    KivClTraceBufferManager ring_;
    Collector seen_;
};

}  // namespace

TEST_F(TraceRing, WriteCasesAndHandOverParts) {
    const _KivStTraceBufferHeader& h = *ring_.getHeader();
    EXPECT_EQ(std::string(h.signature, 4) + std::to_string(h.capacity) + "/" + std::to_string(h.first) +
                  "/" + std::to_string(h.last) + "/" + std::to_string(h.saved) + "/" + std::to_string(h.write),
              "KIVT16/24/39/24/24");
    // bytes null: overflow(); handover: the last hand-over afterwards.
    struct Step { const char* bytes; const char* handover; } steps[] = {
        {"abcdefghij", ""},          {nullptr, "abcdefghij|-"},
        {"klmnop", "klmnop|-"},      // ends exactly on the last byte
        {"qrs", "klmnop|-"},         {nullptr, "|qrs"},  // empty first part
        {"tuvwxyzABCDEFGHIJ", "tuvwxyzABCDEF|-"},       // wraps
        {nullptr, "|GHIJ"},          {nullptr, "|-"},    // nothing new
    };
    for (const Step& step : steps) {
        if (step.bytes) {
            ring_.write(step.bytes, static_cast<uint32_t>(strlen(step.bytes)));
        } else {
            ring_.overflow();
        }
        EXPECT_EQ(seen_.handovers.empty() ? "" : seen_.handovers.back(), step.handover);
    }
}

TEST_F(TraceRing, RandomWritesReachTheCallbackWholeAndInOrder) {
    std::mt19937 random(99);
    std::string written;
    for (int i = 0; i < 500; ++i) {
        std::string bytes(random() % 40, ' ');  // up to more than twice the ring
        for (char& c : bytes) c = static_cast<char>('a' + random() % 26);
        ring_.write(bytes.data(), static_cast<uint32_t>(bytes.size()));
        written += bytes;
        if (random() % 3 == 0) ring_.overflow();
    }
    ring_.overflow();
    EXPECT_EQ(seen_.all, written);
}

TEST_F(TraceRing, FlushOnlyAfterARecordAndNoCallbackOverwrites) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTRING", dir);
    KivClTraceEnvironment environment("KIVTRING", nullptr, false);
    ring_.flush();
    EXPECT_TRUE(seen_.handovers.empty());
    ring_.write(KivClTraceEntry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_UINT8, "", "", "x", 1));
    EXPECT_TRUE(ring_.isDirty());
    ring_.flush();
    ring_.flush();
    EXPECT_FALSE(ring_.isDirty());
    EXPECT_EQ(seen_.handovers.size(), 2u);  // 21 bytes wrap the 16-byte ring once
    EXPECT_EQ(seen_.all.size(), 21u);

    ring_.setOverflowCallBack(nullptr, nullptr);
    ring_.write("0123456789abcdefXY", 18);
    ring_.overflow();
    EXPECT_EQ(seen_.handovers.size(), 2u);
    // The record left the write position at ring byte 5: the 18 bytes wrap over it.
    EXPECT_EQ(std::string(memory_.data() + 24, 16), "bcdefXY23456789a");
}

class TraceAutosave : public ::testing::Test {
protected:
    TraceAutosave() : vars_("KIVTSAVE", dir_) {}
    int save(const KivClTraceEnvironment& environment, const std::string& first, const std::string& second = "") {
        const _KivStTraceBufferCallBackInfo info{
            const_cast<KivClTraceEnvironment*>(&environment), first.data(), static_cast<uint32_t>(first.size()),
            second.empty() ? nullptr : second.data(), static_cast<uint32_t>(second.size())};
        return kivTraceBufferOverflowHandler(info);
    }
    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_;
};

TEST_F(TraceAutosave, AppendsWithModeBeforeUmaskAndVerboseLines) {
    vars_.set("VERBOSE", "on");
    kivtest::CaptureFd out(1);
    KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
    const std::string settings = out.text();
    const mode_t old = umask(022);
    kivtest::CaptureFd first(1);
    EXPECT_EQ(save(environment, "abc", "de"), 0);
    EXPECT_EQ(first.text(), "[KIV: TRACE: writing file: " + vars_.file + "]\n"
                            "[KIV: TRACE: bytes written: 5 file status: 0]\n");
    umask(old);
    kivtest::CaptureFd second(1);
    EXPECT_EQ(save(environment, "", "fg"), 0);
    EXPECT_EQ(second.text(), "[KIV: TRACE: writing file: " + vars_.file + "]\n"
                             "[KIV: TRACE: file exists with size: 5]\n"
                             "[KIV: TRACE: bytes written: 2 file status: 0]\n");
    EXPECT_EQ(kivtest::readFile(vars_.file), "abcdefg");
    struct stat status {};
    ASSERT_EQ(stat(vars_.file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(TraceAutosave, RefusesMissingDirectoryLinksAndFifos) {
    vars_.set("VERBOSE", "1");
    const std::string missing = dir_.file("no/dir/t.trc"), victim = dir_.file("victim"),
                      link = dir_.file("link.trc"), fifo = dir_.file("fifo.trc");
    kivtest::writeFile(victim, "keep");
    ASSERT_EQ(symlink(victim.c_str(), link.c_str()), 0);
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    struct Row { std::string path; int error; } rows[] = {
        {missing, ENOENT}, {link, ELOOP}, {fifo, ENXIO}};  // a FIFO never blocks
    for (const Row& row : rows) {
        kivtest::ScopedEnv file("KIVTSAVE_TRACE_FILE", row.path.c_str());
        kivtest::CaptureFd out(1);
        KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
        EXPECT_EQ(save(environment, "data"), -1) << row.path;
        const std::string line = "[KIV: TRACE: could not open: " + row.path + " (errno: " +
                                 std::to_string(row.error) + ")]\n";
        EXPECT_NE(out.text().find(line), std::string::npos) << line;
    }
    EXPECT_EQ(kivtest::readFile(victim), "keep");
}
