// Trace files in shared places: a symbolic link planted at the default name
// in the temporary directory is never followed, and processes tracing under
// one key into one file never split each other's records.
#include <gtest/gtest.h>

#include <map>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "trace_test_helpers.hpp"

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
        EXPECT_EQ(kivtest::fileExists(target) ? kivtest::readFile(target) : "absent", target == victim ? "keep" : "absent");
    }
}

namespace {

// The bytes writer w puts in the data of its record r: every byte tells both.
std::string payload(int writer, int record) {
    std::string data(static_cast<size_t>((record * 53 + writer * 17) % 311), '\0');
    for (size_t j = 0; j < data.size(); ++j) data[j] = static_cast<char>(writer * 31 + record + static_cast<int>(j));
    return data;
}

}  // namespace

TEST(TraceFileSharing, ConcurrentWritersKeepRecordsWholeAndInOrder) {
    constexpr int kWriters = 6, kRecords = 1500;
    for (const char* autoflushAndCompress : {"00", "01", "10"}) {
        SCOPED_TRACE(std::string("autoflush and compress ") + autoflushAndCompress);
        kivtest::TempDir dir;
        kivtest::TraceKeyEnv vars("KIVTSHARE", dir);
        vars.set("ACTIVE", "1");
        vars.set("BUFSIZE", "0");  // the smallest ring, 4096 bytes: a hand-over every 20 records
        vars.set("AUTOFLUSH", std::string(1, autoflushAndCompress[0]).c_str());
        vars.set("COMPRESS", std::string(1, autoflushAndCompress[1]).c_str());

        int gate[2];  // the writers wait on a pipe so that they all record at once
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
                    const std::string data = payload(w, r), message = "w" + std::to_string(w) + " r" + std::to_string(r);
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
        int next[kWriters] = {};
        for (const kivtest::ReadRecord& r : kivtest::readRecords(reader)) {
            const auto found = writerOfPid.find(r.header.processId);
            ASSERT_NE(found, writerOfPid.end()) << "a record with a foreign process id";
            const int w = found->second, n = next[w]++;
            ASSERT_EQ(r.message + "/" + std::to_string(r.header.componentId) + "/" + r.data,
                      "w" + std::to_string(w) + " r" + std::to_string(n) + "/" + std::to_string(w) + "/" + payload(w, n));
        }
        EXPECT_EQ(std::vector<int>(next, next + kWriters), std::vector<int>(kWriters, kRecords));
    }
}
