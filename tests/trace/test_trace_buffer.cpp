// Trace ring buffer: the write cases, hand-over parts, flush and the
// autosave handler's file handling; trace files in shared places: a symbolic
// link planted at the default name in the temporary directory is never
// followed, and no record is lost or split, also when processes share one file.
#include <gtest/gtest.h>

#include <map>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "trace_test_helpers.hpp"

namespace {

// Every hand-over as "first|second" ("-" for no second part) and as bytes.
struct HandOvers { std::vector<std::string> shown, bytes; };

int collect(const _KivStTraceBufferCallBackInfo& info) {
    HandOvers& seen = *static_cast<HandOvers*>(info.userData);
    const std::string first(info.firstPart, info.firstLength);
    const std::string second = info.secondPart ? std::string(info.secondPart, info.secondLength) : "";
    seen.shown.push_back(first + "|" + (info.secondPart ? second : "-"));
    seen.bytes.push_back(first + second);
    return 0;
}

// The count of whole records in bytes, or -1 when the last one is cut.
int wholeRecords(const std::string& bytes) {
    int count = 0;
    size_t at = 0;
    for (_KivStTraceRecordHeader h; at + sizeof h <= bytes.size(); ++count) {
        std::memcpy(&h, bytes.data() + at, sizeof h);
        at += sizeof h + h.length1 + h.length2 + h.dataLength;
    }
    return at == bytes.size() ? count : -1;
}

// The data writer w gives its record r: up to longest bytes, every one telling both.
std::string payload(int writer, int record, int longest) {
    std::string data(static_cast<size_t>((record * 37 + writer * 17) % longest), '\0');
    for (size_t j = 0; j < data.size(); ++j) data[j] = static_cast<char>(writer * 31 + record + static_cast<int>(j));
    return data;
}

class TraceRing : public ::testing::Test {
protected:
    TraceRing() { ring_.setOverflowCallBack(collect, &seen_); }
    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_{"KIVTRING", dir_};
    KivClResourceKeySemaphore key_{"TEST", nullptr};
    std::vector<char> memory_ = std::vector<char>(40, '\0');
    KivClTraceBufferManager ring_{key_, memory_.data(), 40};  // a 16-byte ring
    HandOvers seen_;
};

}  // namespace

TEST_F(TraceRing, WriteCasesAndHandOverParts) {
    const _KivStTraceBufferHeader& h = *ring_.getHeader();
    EXPECT_EQ(std::string(h.signature, 4) + std::to_string(h.capacity) + "/" + std::to_string(h.first) +
                  "/" + std::to_string(h.last) + "/" + std::to_string(h.saved) + "/" + std::to_string(h.write),
              "KIVT16/24/39/24/24");
    // Each step writes its bytes; "!" hands over what is new.
    for (const char* step : {"abcdefghij", "!", "klmnop" /* ends on the last byte */, "qrs", "!",
                             "tuvwxyzABCDEFGHIJ" /* wraps */, "!", "!" /* nothing new */,
                             "0123456789abcdefghijklmnopqrstuvwxyzABCD" /* wraps twice */, "!"}) {
        *step == '!' ? ring_.overflow() : ring_.write(step, static_cast<uint32_t>(strlen(step)));
    }
    EXPECT_EQ(seen_.shown, std::vector<std::string>({"abcdefghij|-", "klmnop|-", "|qrs", "tuvwxyzABCDEF|-", "|GHIJ",
                                                     "|-", "0123456789ab|-", "|cdefghijklmnopqr", "|stuvwxyzABCD"}));
}

TEST_F(TraceRing, FlushOnlyAfterARecordAndNoCallbackOverwrites) {
    KivClTraceEnvironment environment("KIVTRING", nullptr, false);
    ring_.flush();
    EXPECT_TRUE(seen_.shown.empty());
    ring_.write(KivClTraceEntry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_UINT8, "", "", "x", 1));
    EXPECT_TRUE(ring_.isDirty());
    ring_.flush();
    ring_.flush();
    EXPECT_FALSE(ring_.isDirty());
    EXPECT_EQ(seen_.bytes[0].size() + seen_.bytes.at(1).size(), 21u);  // 21 bytes wrap the 16-byte ring once

    ring_.setOverflowCallBack(nullptr, nullptr);
    ring_.write("0123456789abcdefXY", 18);
    ring_.overflow();
    EXPECT_EQ(seen_.bytes.size(), 2u);  // the two hand-overs of the record and no more
    // The record left the write position at ring byte 5: the 18 bytes wrap over it.
    EXPECT_EQ(std::string(memory_.data() + 24, 16), "bcdefXY23456789a");
}

TEST_F(TraceRing, RecordsSmallerThanTheRingAreNeverSplit) {
    const KivClTraceEnvironment environment("KIVTRING", nullptr, true);
    std::vector<char> memory(24 + 150, '\0');  // a 150-byte ring
    KivClTraceBufferManager ring(key_, memory.data(), static_cast<uint32_t>(memory.size()));
    ring.setOverflowCallBack(collect, &seen_);
    const std::string data(140, 'd');
    for (unsigned i = 0; i < 200; ++i) {
        // 22 to 141 bytes a record, so that records keep reaching the end of
        // the ring at every offset, some exactly on its last byte.
        ring.write(KivClTraceEntry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_DATA, "f", "m", data.data(),
                                   (i * 37) % 120));
    }
    ring.flush();
    EXPECT_GT(seen_.bytes.size(), 100u);
    std::string all;
    for (const std::string& bytes : seen_.bytes) {
        EXPECT_GE(wholeRecords(bytes), 0) << "the hand-over after byte " << all.size() << " cuts a record";
        all += bytes;
    }
    EXPECT_EQ(wholeRecords(all), 200);
}

TEST(TraceAutosave, AppendsWithModeBeforeUmaskAndRefusesLinksAndFifos) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTSAVE", dir);
    vars.set("VERBOSE", "on");
    const std::string victim = dir.file("victim"), link = dir.file("link.trc"), fifo = dir.file("fifo.trc");
    kivtest::writeFile(victim, "keep");
    ASSERT_EQ(symlink(victim.c_str(), link.c_str()) + mkfifo(fifo.c_str(), 0600), 0);
    const auto save = [](KivClTraceEnvironment& environment, const char* first, const char* second) {
        return kivTraceBufferOverflowHandler({&environment, first, static_cast<uint32_t>(strlen(first)), second,
                                              static_cast<uint32_t>(second ? strlen(second) : 0)});
    };
    kivtest::CaptureFd out(1);
    KivClTraceEnvironment environment("KIVTSAVE", nullptr, false);
    const mode_t old = umask(022);
    EXPECT_EQ(save(environment, "abc", "de"), 0);
    umask(old);
    EXPECT_EQ(save(environment, "", "fg"), 0);
    const std::string writing = "[KIV: TRACE: writing file: " + vars.file + "]\n";
    std::string expected = writing + "[KIV: TRACE: bytes written: 5 file status: 0]\n" + writing +
                           "[KIV: TRACE: file exists with size: 5]\n[KIV: TRACE: bytes written: 2 file status: 0]\n";
    for (const auto& [path, error] : std::vector<std::pair<std::string, int>>{
             {dir.file("no/dir/t.trc"), ENOENT}, {link, ELOOP}, {fifo, ENXIO}}) {  // a FIFO never blocks
        environment.setTraceFileName(path.c_str());
        EXPECT_EQ(save(environment, "data", nullptr), -1) << path;
        expected += "[KIV: TRACE: could not open: " + path + " (errno: " + std::to_string(error) + ")]\n";
    }
    const std::string text = out.text(), settingsEnd = "sharedMemory: 0]\n";
    EXPECT_EQ(text.substr(text.find(settingsEnd) + settingsEnd.size()), expected);
    EXPECT_EQ(kivtest::readFile(vars.file) + kivtest::readFile(victim), "abcdefgkeep");
    struct stat status {};
    EXPECT_EQ(stat(vars.file.c_str(), &status) == 0 ? status.st_mode & 0777 : 0, 0644u);
}

TEST(TraceFileSafety, LinkPlantedAtTheDefaultNameIsNotFollowed) {
    kivtest::TempDir dir;
    kivtest::ScopedEnv tmp("TMP", dir.path().c_str());
    kivtest::TraceKeyEnv vars("KIVTLINK", dir);
    vars.set("FILE", nullptr);  // the predictable name in the temporary directory
    vars.set("ACTIVE", "1");
    const std::string defaultName = dir.file("KIVTLINKtrace.trc"), victim = dir.file("victim");
    kivtest::writeFile(victim, "keep");
    for (const std::string& target : {victim, dir.file("absent")}) {
        SCOPED_TRACE(target);
        unlink(defaultName.c_str());
        ASSERT_EQ(symlink(target.c_str(), defaultName.c_str()), 0);
        const kivtest::ChildResult child = kivtest::runInChild([] {
            kivTraceCreateInstance("KIVTLINK", nullptr);
            for (int i = 0; i < 5000; ++i) {  // wraps the default ring several times
                kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_INT32, "planted", "record", &i, sizeof i);
            }
            std::exit(0);  // the exit flushes the rest
            return 1;
        });
        ASSERT_TRUE(child.exited && child.exitCode == 0) << child.err;
        struct stat status {};
        EXPECT_TRUE(lstat(defaultName.c_str(), &status) == 0 && S_ISLNK(status.st_mode));
        EXPECT_EQ(kivtest::fileExists(target) ? kivtest::readFile(target) : "absent",
                  target == victim ? "keep" : "absent");
    }
}

// Processes tracing under one key through the smallest ring (4096 bytes, so
// the ring wraps hundreds of times) into one file, handing the rest over at
// exit: no record is lost, split or reordered; data longer than the ring's
// data area is clipped and every 50th record has none.
TEST(TraceFileSharing, NoRecordLostOrSplitByWritersSharingAFile) {
    struct Row { int writers, records, longest; const char* autoflush; const char* compress; } rows[] = {
        {1, 3000, 5000, "0", "1"}, {6, 1500, 311, "0", "0"}, {6, 1500, 311, "0", "1"}, {6, 1500, 311, "1", "0"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.writers) + " writers, autoflush " + row.autoflush + ", compress " +
                     row.compress);
        kivtest::TempDir dir;
        kivtest::TraceKeyEnv vars("KIVTSHARE", dir);
        vars.set("ACTIVE", "1");
        vars.set("BUFSIZE", "0");
        vars.set("AUTOFLUSH", row.autoflush);
        vars.set("COMPRESS", row.compress);

        int gate[2];  // the writers wait on a pipe so that they all record at once
        ASSERT_EQ(pipe(gate), 0);
        std::map<uint32_t, int> writerOfPid;
        for (int w = 0; w < row.writers; ++w) {
            const pid_t pid = fork();
            ASSERT_GE(pid, 0);
            if (pid == 0) {
                close(gate[1]);
                char byte;
                while (read(gate[0], &byte, 1) > 0) {
                }
                kivTraceCreateInstance("KIVTSHARE", nullptr);
                for (int r = 0; r < row.records; ++r) {
                    const std::string data = payload(w, r, row.longest);
                    kivTraceDump(KIV_TRACE_DETAIL_LOW, static_cast<unsigned short>(w), KIV_TRACE_TYPE_DATA, "writer",
                                 ("w" + std::to_string(w) + " r" + std::to_string(r)).c_str(),
                                 r % 50 == 0 ? nullptr : data.data(), static_cast<unsigned>(data.size()));
                }
                std::exit(0);  // a normal exit: the static destructor hands over the rest
            }
            writerOfPid[static_cast<uint32_t>(pid)] = w;
        }
        close(gate[0]);
        close(gate[1]);
        for (int w = 0; w < row.writers; ++w) {
            int status = 0;
            ASSERT_GT(wait(&status), 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        }

        KivClTraceEnvironment reader("KIVTSHARE", nullptr, true);
        std::vector<int> next(static_cast<size_t>(row.writers));
        for (const kivtest::ReadRecord& r : kivtest::readRecords(reader)) {
            const auto found = writerOfPid.find(r.header.processId);
            ASSERT_NE(found, writerOfPid.end()) << "a record with a foreign process id";
            const int w = found->second, n = next[static_cast<size_t>(w)]++;
            const std::string data = n % 50 == 0 ? "" : payload(w, n, row.longest).substr(0, 4072);
            const int type = n % 50 == 0 ? KIV_TRACE_TYPE_DATA_NULL
                             : data.size() < payload(w, n, row.longest).size() ? KIV_TRACE_TYPE_DATA_CLIPPED
                                                                                : KIV_TRACE_TYPE_DATA;
            ASSERT_EQ(r.message + "/" + r.function + "/" + std::to_string(r.header.componentId) + "/" +
                          std::to_string(r.type) + "/" + r.data,
                      "w" + std::to_string(w) + " r" + std::to_string(n) + "/writer/" + std::to_string(w) + "/" +
                          std::to_string(type) + "/" + data);
        }
        EXPECT_EQ(next, std::vector<int>(static_cast<size_t>(row.writers), row.records));
    }
}
