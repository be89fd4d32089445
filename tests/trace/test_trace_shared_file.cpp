// Trace files in shared places: a symbolic link planted at the default name
// in the temporary directory is never followed, and no record is lost or
// split, also when processes share one file.
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

// The data writer w gives its record r: up to longest bytes, every one telling both.
std::string payload(int writer, int record, int longest) {
    std::string data(static_cast<size_t>((record * 37 + writer * 17) % longest), '\0');
    for (size_t j = 0; j < data.size(); ++j) data[j] = static_cast<char>(writer * 31 + record + static_cast<int>(j));
    return data;
}

}  // namespace

// Processes tracing under one key through the smallest ring (4096 bytes, so
// the ring wraps hundreds of times) into one file, handing the rest over at
// exit: no record is lost, split or reordered; data longer than the ring's
// data area is clipped and every 50th record has none.
TEST(TraceFileSharing, NoRecordLostOrSplitByWritersSharingAFile) {
    struct Row { int writers, records, longest; const char* autoflush; const char* compress; } rows[] = {
        {1, 3000, 5000, "0", "1"}, {6, 1500, 311, "0", "0"}, {6, 1500, 311, "0", "1"}, {6, 1500, 311, "1", "0"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.writers) + " writers, autoflush " + row.autoflush + ", compress " + row.compress);
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
