// Trace ring buffer: the three write cases, hand-over parts, flush and the
// autosave handler's file handling.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "kiv_trace.hpp"
#include "trace_test_helpers.hpp"

using kivtest::TempDir;
using kivtest::TraceKeyEnv;

namespace {

// What the callback saw: one entry per hand-over, "first|second".
struct Collector {
    std::vector<std::string> handovers;
    std::string all;
};

int collect(const _KivStTraceBufferCallBackInfo& info) {
    Collector& c = *static_cast<Collector*>(info.userData);
    const std::string first(info.firstPart, info.firstLength);
    const std::string second = info.secondPart ? std::string(info.secondPart, info.secondLength) : "-";
    c.handovers.push_back(first + "|" + second);
    c.all += first + (info.secondPart ? second : "");
    return 0;
}

class TraceRing : public ::testing::Test {
protected:
    // A 16-byte ring.
    TraceRing() : memory_(40, '\0'), ring_(key_, memory_.data(), 40) {
        ring_.setOverflowCallBack(collect, &seen_);
    }
    KivClResourceKeySemaphore key_{"TEST", nullptr};
    std::vector<char> memory_;
    KivClTraceBufferManager ring_;
    Collector seen_;
};

}  // namespace

TEST_F(TraceRing, HeaderOffsets) {
    const _KivStTraceBufferHeader* header = ring_.getHeader();
    EXPECT_EQ(std::string(header->signature, 4), "KIVT");
    EXPECT_EQ(header->capacity, 16u);
    EXPECT_EQ(header->first, 24u);
    EXPECT_EQ(header->last, 39u);
    EXPECT_EQ(header->saved, 24u);
    EXPECT_EQ(header->write, 24u);
}

TEST_F(TraceRing, WriteCasesAndHandOverParts) {
    struct Step {
        const char* bytes;  // written; null: overflow() instead
        std::vector<std::string> handovers;  // all hand-overs so far
    } steps[] = {
        {"abcdefghij", {}},                                      // less than the space
        {nullptr, {"abcdefghij|-"}},
        {"klmnop", {"abcdefghij|-", "klmnop|-"}},                // ends on the last byte
        {"qrs", {"abcdefghij|-", "klmnop|-"}},
        {nullptr, {"abcdefghij|-", "klmnop|-", "|qrs"}},         // empty first part
        {"tuvwxyzABCDEFGHIJ", {"abcdefghij|-", "klmnop|-", "|qrs", "tuvwxyzABCDEF|-"}},  // wraps
        {nullptr, {"abcdefghij|-", "klmnop|-", "|qrs", "tuvwxyzABCDEF|-", "|GHIJ"}},
    };
    for (const Step& step : steps) {
        if (step.bytes) {
            ring_.write(step.bytes, static_cast<uint32_t>(strlen(step.bytes)));
        } else {
            ring_.overflow();
        }
        EXPECT_EQ(seen_.handovers, step.handovers) << (step.bytes ? step.bytes : "overflow");
    }
    EXPECT_EQ(ring_.getHeader()->write, 24u + 4u);
    ring_.overflow();  // nothing new: both parts empty
    EXPECT_EQ(seen_.handovers.back(), "|-");
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

TEST_F(TraceRing, FlushOnlyWhenARecordWasWritten) {
    TempDir dir;
    TraceKeyEnv vars("KIVTRING", dir);
    KivClTraceEnvironment environment("KIVTRING", nullptr, false);
    ring_.flush();
    EXPECT_TRUE(seen_.handovers.empty());
    const KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_UINT8, "",
                                "", "x", 1);
    ring_.write(entry);
    EXPECT_TRUE(ring_.isDirty());
    ring_.flush();
    EXPECT_FALSE(ring_.isDirty());
    ASSERT_EQ(seen_.handovers.size(), 2u);  // the 21 bytes wrap the 16-byte ring once
    EXPECT_EQ(seen_.all.size(), 21u);
    EXPECT_EQ(seen_.all.back(), 'x');
    ring_.flush();
    EXPECT_EQ(seen_.handovers.size(), 2u);
}

TEST_F(TraceRing, WithoutCallbackOldBytesAreOverwritten) {
    ring_.setOverflowCallBack(nullptr, nullptr);
    ring_.write("0123456789abcdefXY", 18);
    ring_.overflow();
    EXPECT_TRUE(seen_.handovers.empty());
    EXPECT_EQ(std::string(memory_.data() + 24, 16), "XY23456789abcdef");
    EXPECT_EQ(ring_.getHeader()->saved, 24u);
}

TEST(TraceBuffer, SignedBufferIsTakenOverAndTinyBufferIgnoresWrites) {
    KivClResourceKeySemaphore key("TEST", nullptr);
    std::vector<char> memory(64, '\0');
    {
        KivClTraceBufferManager first(key, memory.data(), 64);
        first.write("abc", 3);
    }
    KivClTraceBufferManager again(key, memory.data(), 64);
    EXPECT_EQ(again.getHeader()->write, 27u);
    EXPECT_EQ(again.getHeader()->capacity, 40u);

    std::vector<char> tiny(24, '\0');
    KivClTraceBufferManager none(key, tiny.data(), 24);
    EXPECT_EQ(none.getHeader()->capacity, 0u);
    none.write("abc", 3);
    EXPECT_EQ(none.getHeader()->write, 24u);
}

class TraceAutosave : public ::testing::Test {
protected:
    TraceAutosave() : vars_("KIVTSAVE", dir_) {}
    int save(KivClTraceEnvironment& environment, const std::string& first,
             const std::string& second = "") {
        const _KivStTraceBufferCallBackInfo info{&environment, first.data(),
                                                 static_cast<uint32_t>(first.size()),
                                                 second.empty() ? nullptr : second.data(),
                                                 static_cast<uint32_t>(second.size())};
        return kivTraceBufferOverflowHandler(info);
    }
    TempDir dir_;
    TraceKeyEnv vars_;
};

TEST_F(TraceAutosave, AppendsWithModeBeforeUmask) {
    KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
    const mode_t old = umask(022);
    EXPECT_EQ(save(environment, "abc", "de"), 0);
    umask(old);
    EXPECT_EQ(save(environment, "", "fg"), 0);
    EXPECT_EQ(kivtest::readFile(vars_.file), "abcdefg");
    struct stat status {};
    ASSERT_EQ(stat(vars_.file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0644u);
}

TEST_F(TraceAutosave, VerboseLines) {
    vars_.set("VERBOSE", "on");
    kivtest::CaptureFd settingsOut(1);
    KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
    settingsOut.text();
    {
        kivtest::CaptureFd out(1);
        save(environment, "12345");
        EXPECT_EQ(out.text(), "[KIV: TRACE: writing file: " + vars_.file + "]\n"
                              "[KIV: TRACE: bytes written: 5 file status: 0]\n");
    }
    {
        kivtest::CaptureFd out(1);
        save(environment, "678", "9");
        EXPECT_EQ(out.text(), "[KIV: TRACE: writing file: " + vars_.file + "]\n"
                              "[KIV: TRACE: file exists with size: 5]\n"
                              "[KIV: TRACE: bytes written: 4 file status: 0]\n");
    }
}

TEST_F(TraceAutosave, RefusesMissingDirectoryLinksAndFifos) {
    vars_.set("VERBOSE", "1");
    const std::string missing = dir_.file("no/such/dir/t.trc");
    const std::string victim = dir_.file("victim");
    kivtest::writeFile(victim, "keep");
    const std::string link = dir_.file("link.trc");
    ASSERT_EQ(symlink(victim.c_str(), link.c_str()), 0);
    const std::string fifo = dir_.file("fifo.trc");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    struct Row {
        std::string path;
        std::string line;
    } rows[] = {
        {missing, "[KIV: TRACE: could not open: " + missing + " (errno: 2)]\n"},
        {link, "[KIV: TRACE: could not open: " + link + " (errno: 40)]\n"},  // ELOOP
        {fifo, "[KIV: TRACE: could not open: " + fifo + " (errno: 6)]\n"},  // ENXIO: no reader, never blocks
    };
    for (const Row& row : rows) {
        kivtest::ScopedEnv file("KIVTSAVE_TRACE_FILE", row.path.c_str());
        kivtest::CaptureFd out(1);
        KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
        const int result = save(environment, "data");
        const std::string text = out.text();
        EXPECT_EQ(result, -1) << row.path;
        EXPECT_NE(text.find(row.line), std::string::npos) << text;
    }
    EXPECT_EQ(kivtest::readFile(victim), "keep");
}
