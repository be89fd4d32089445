// Trace files in shared places: a symbolic link planted at the default name
// in the temporary directory is never followed, and processes tracing under
// one key into one file never split each other's records, nor does the ring
// hand over part of a record that fits it.
#include <gtest/gtest.h>

#include <fstream>
#include <cstring>
#include <map>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kiv_tracebuffer.hpp"
#include "kiv_traceentry.hpp"
#include "trace_test_helpers.hpp"

using kivtest::ScopedEnv;

namespace {

// Records some calls under key and exits; the exit flushes the rest.
[[noreturn]] void traceAndExit(const char* key, int records) {
    kivTraceCreateInstance(key, nullptr);
    for (int i = 0; i < records && kivTraceIsEnabled(); ++i) {
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_INT32, "planted", "record", &i, sizeof i);
    }
    if (kivTraceIsEnabled()) kivTraceFlush();
    std::exit(0);
}

bool isSymbolicLink(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

// The bytes writer w puts in the data of its record r: every byte tells both.
std::string payload(int writer, int record) {
    const size_t length = static_cast<size_t>((record * 53 + writer * 17) % 311);
    std::string data(length, '\0');
    for (size_t j = 0; j < length; ++j) data[j] = static_cast<char>(writer * 31 + record + static_cast<int>(j));
    return data;
}

// Every hand-over of a ring, as one run of bytes.
int collectHandOver(const _KivStTraceBufferCallBackInfo& info) {
    auto& handOvers = *static_cast<std::vector<std::string>*>(info.userData);
    std::string bytes(info.firstPart, info.firstLength);
    if (info.secondPart != nullptr) bytes.append(info.secondPart, info.secondLength);
    handOvers.push_back(bytes);
    return 0;
}

// The count of whole records in bytes, or -1 when the last one is cut.
int wholeRecords(const std::string& bytes) {
    int count = 0;
    size_t at = 0;
    while (at + sizeof(_KivStTraceRecordHeader) <= bytes.size()) {
        _KivStTraceRecordHeader header;
        std::memcpy(&header, bytes.data() + at, sizeof header);
        at += sizeof header + header.length1 + header.length2 + header.dataLength;
        ++count;
    }
    return at == bytes.size() ? count : -1;
}

}  // namespace

TEST(TraceRingHandOver, RecordsSmallerThanTheRingAreNeverSplit) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTWHOLE", dir);
    const KivClTraceEnvironment environment("KIVTWHOLE", nullptr, true);
    KivClResourceKeySemaphore key("KIVTWHOLE", nullptr);
    std::vector<char> memory(24 + 150, '\0');  // a 150-byte ring
    KivClTraceBufferManager ring(key, memory.data(), static_cast<uint32_t>(memory.size()));
    std::vector<std::string> handOvers;
    ring.setOverflowCallBack(collectHandOver, &handOvers);
    const std::string data(140, 'd');
    size_t written = 0;
    for (unsigned i = 0; i < 200; ++i) {
        // 22 to 141 bytes a record, so that records keep reaching the end of
        // the ring at every offset, some exactly on its last byte.
        const unsigned length = (i * 37) % 120;
        const KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_DATA, "f", "m",
                                    data.data(), length);
        ring.write(entry);
        written += entry.getHeaderAndTextLength() + length;
    }
    ring.flush();
    std::string all;
    for (size_t i = 0; i < handOvers.size(); ++i) {
        all += handOvers[i];
        EXPECT_GE(wholeRecords(handOvers[i]), 0) << "hand-over " << i << " cuts a record";
    }
    EXPECT_GT(handOvers.size(), 100u);
    EXPECT_EQ(all.size(), written);
    EXPECT_EQ(wholeRecords(all), 200);
}

TEST(TraceFileSafety, LinkPlantedAtTheDefaultNameIsNotFollowed) {
    kivtest::TempDir dir;
    ScopedEnv tmp("TMP", dir.path().c_str());
    kivtest::TraceKeyEnv vars("KIVTLINK", dir);
    vars.set("FILE", nullptr);  // the predictable name in the temporary directory
    vars.set("ACTIVE", "1");
    const std::string defaultName = dir.file("KIVTLINKtrace.trc");
    const std::string victim = dir.file("victim"), absent = dir.file("absent");
    struct Row {
        const char* what;
        std::string target;
        bool targetExists;
    } rows[] = {
        {"link to an existing file", victim, true},
        {"link to a file not yet there", absent, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        unlink(defaultName.c_str());
        if (row.targetExists) kivtest::writeFile(row.target, "keep");
        ASSERT_EQ(symlink(row.target.c_str(), defaultName.c_str()), 0);
        const kivtest::ChildResult child = kivtest::runInChild([] {
            traceAndExit("KIVTLINK", 5000);  // wraps the default ring several times
            return 1;
        });
        ASSERT_TRUE(child.exited && child.exitCode == 0) << child.err;
        EXPECT_TRUE(isSymbolicLink(defaultName));
        if (row.targetExists) {
            EXPECT_EQ(kivtest::readFile(row.target), "keep");
        } else {
            EXPECT_NE(access(row.target.c_str(), F_OK), 0) << "the link's target was created";
        }
    }
}

TEST(TraceFileSharing, ConcurrentWritersKeepRecordsWholeAndInOrder) {
    constexpr int kWriters = 6;
    constexpr int kRecords = 1500;
    struct Row {
        const char* autoflush;
        const char* compress;
    } rows[] = {{"0", "0"}, {"0", "1"}, {"1", "0"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string("autoflush ") + row.autoflush + ", compress " + row.compress);
        kivtest::TempDir dir;
        kivtest::TraceKeyEnv vars("KIVTSHARE", dir);
        vars.set("ACTIVE", "1");
        vars.set("BUFSIZE", "0");  // the smallest ring, 4096 bytes: a hand-over every 20 records
        vars.set("AUTOFLUSH", row.autoflush);
        vars.set("COMPRESS", row.compress);

        // The writers wait on a pipe so that they all record at once.
        int gate[2];
        ASSERT_EQ(pipe(gate), 0);
        std::map<uint32_t, int> writerOfPid;
        for (int w = 0; w < kWriters; ++w) {
            const pid_t pid = fork();
            ASSERT_GE(pid, 0);
            if (pid == 0) {
                close(gate[1]);
                char byte;
                while (read(gate[0], &byte, 1) > 0) {
                }
                kivTraceCreateInstance("KIVTSHARE", nullptr);
                for (int r = 0; r < kRecords; ++r) {
                    const std::string data = payload(w, r);
                    const std::string message = "w" + std::to_string(w) + " r" + std::to_string(r);
                    kivTraceDump(KIV_TRACE_DETAIL_LOW, static_cast<unsigned short>(w), KIV_TRACE_TYPE_DATA,
                                 "writer", message.c_str(), data.data(), static_cast<unsigned>(data.size()));
                }
                std::exit(0);
            }
            writerOfPid[static_cast<uint32_t>(pid)] = w;
        }
        close(gate[0]);
        close(gate[1]);
        for (int w = 0; w < kWriters; ++w) {
            int status = 0;
            ASSERT_GT(wait(&status), 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        }

        KivClTraceEnvironment reader("KIVTSHARE", nullptr, true);
        std::ifstream in(vars.file, std::ios::binary);
        KivClTraceFileEntry entry(reader);
        int next[kWriters] = {};
        int total = 0;
        while (entry.read(in)) {
            const auto found = writerOfPid.find(entry.getHeader().processId);
            ASSERT_NE(found, writerOfPid.end()) << "record " << total << " has a foreign process id";
            const int w = found->second;
            const std::string expected = "w" + std::to_string(w) + " r" + std::to_string(next[w]);
            ASSERT_EQ(std::string(entry.getMessage(), entry.getMessageLength()), expected) << "record " << total;
            ASSERT_EQ(entry.getHeader().componentId, w);
            std::string data(entry.getDataLength(), '\0');
            in.read(&data[0], static_cast<std::streamsize>(data.size()));
            ASSERT_EQ(data, payload(w, next[w])) << expected;
            ++next[w];
            ++total;
        }
        EXPECT_TRUE(in.eof());
        EXPECT_EQ(total, kWriters * kRecords);
        for (int w = 0; w < kWriters; ++w) EXPECT_EQ(next[w], kRecords) << "writer " << w;
    }
}
