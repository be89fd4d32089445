#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "kiv_file.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

const KivClExeFile& shell() {
    static const KivClExeFile sh(KivClFilename("/bin/sh"));
    return sh;
}

// A synchronous /bin/sh -c script launcher.
struct ShellRun {
    explicit ShellRun(const char* script) : process(shell()) {
        process.addArgument("-c");
        process.addArgument(script);
    }
    KivClNewSyncProcess process;
};

// Restores SIGCHLD's disposition, which an asynchronous launch changes for
// the whole process (waitpid in the test helpers needs the default).
class ScopedChildSignal {
public:
    ScopedChildSignal() { ::sigaction(SIGCHLD, nullptr, &saved_); }
    ~ScopedChildSignal() { ::sigaction(SIGCHLD, &saved_, nullptr); }

private:
    struct sigaction saved_;
};

// Waits until pid no longer exists (it is reaped automatically while
// SIGCHLD is ignored). False after about ten seconds.
bool waitUntilGone(pid_t pid) {
    for (int i = 0; i < 1000; ++i) {
        if (::kill(pid, 0) != 0 && errno == ESRCH) return true;
        ::usleep(10000);
    }
    return false;
}

// The id of a process that has just ended and been reaped.
unsigned int endedProcessId() {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(0);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return static_cast<unsigned int>(pid);
}

}  // namespace

TEST(SyncProcess, ExitCodesAndFailures) {
    for (int code : {0, 3, 254}) {
        ShellRun run(("exit " + std::to_string(code)).c_str());
        EXPECT_TRUE(run.process.launch()) << code;
        EXPECT_EQ(run.process.getResult(), code);
        EXPECT_EQ(run.process.getError().errorId, 0u);
    }
    // 255 is what a failed execve produces: reported as a launch failure.
    ShellRun all("exit 255");
    EXPECT_FALSE(all.process.launch());
    EXPECT_EQ(all.process.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_LAUNCH);

    {
        // Without the search switch the missing name is kept as it is.
        const kivtest::ScopedEnv noSearch("KIV_NEWPROCESS_USEPATH", nullptr);
        const KivClExeFile missing(KivClFilename("/no/such/program"));
        KivClNewSyncProcess none(missing);
        EXPECT_FALSE(none.launch());
        EXPECT_EQ(none.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_LAUNCH);
        EXPECT_EQ(none.getError().errorClass, KIV_ERRCLASS_UNKNOWN_PROCESS);
    }

    // A failing fork leaves its errno as the result. Root ignores the process
    // limit, so the child drops to an ordinary user first.
    const kivtest::ChildResult limited = kivtest::runInChild([] {
        const struct rlimit none = {0, 0};
        if (::setgid(65534) != 0 || ::setuid(65534) != 0 || ::setrlimit(RLIMIT_NPROC, &none) != 0) return 10;
        ShellRun run("exit 0");
        if (run.process.launch()) return 1;
        const _KivStError& error = run.process.getError();
        if (error.errorId != KIV_ERRID_PROCESS_COULD_NOT_LAUNCH || error.errorClass != KIV_ERRCLASS_UNKNOWN_PROCESS)
            return 2;
        return run.process.getResult() == EAGAIN ? 0 : 3;
    });
    EXPECT_TRUE(limited.exited && limited.exitCode == 0) << limited.exitCode;

    // Ended by a signal: 128 + signal, as a shell reports it.
    ShellRun killed("kill -9 $$");
    EXPECT_TRUE(killed.process.launch());
    EXPECT_EQ(killed.process.getResult(), 128 + SIGKILL);
}

TEST(SyncProcess, PassesArgumentsInOrder) {
    kivtest::TempDir dir;
    const std::string out = dir.file("args");
    ShellRun run(("printf '[%s]' \"$0\" \"$@\" > '" + out + "'").c_str());
    KivClNewSyncProcess& p = run.process;
    p.addArgument("zero");
    p.addArgument(-5L);
    p.addArgument(4294967295UL);
    p.addArgument(-2147483647 - 1);
    p.addArgument(static_cast<const char*>(nullptr));  // ignored
    p.addArgument("two words");
    p.addArgument("");
    EXPECT_EQ(p.getArgumentCount(), 9u);  // program, -c, script and six
    ASSERT_TRUE(p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[zero][-5][4294967295][-2147483648][two words][]");

    // A second launch passes the same arguments, plus any added since.
    p.addArgument("later");
    ASSERT_TRUE(p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[zero][-5][4294967295][-2147483648][two words][][later]");
    EXPECT_EQ(p.getArgumentCount(), 10u);
}

TEST(AsyncProcess, ReturnsAtOnceAndLeavesNoZombie) {
    kivtest::TempDir dir;
    const std::string out = dir.file("status");
    {
        ScopedChildSignal restore;
        // The program must not inherit an ignored SIGCHLD: cp copies its own
        // status, whose SigIgn mask is checked below (a shell would reset it).
        const KivClExeFile copier(KivClFilename("/bin/cp"));
        KivClNewAsyncProcess async(copier);
        async.addArgument("/proc/self/status");
        async.addArgument(out.c_str());
        // The second launch forks while SIGCHLD is already ignored here.
        for (int launch = 0; launch < 2; ++launch) {
            ::unlink(out.c_str());
            ASSERT_TRUE(async.launch());
            const pid_t pid = async.getResult();
            EXPECT_GT(pid, 0);
            EXPECT_EQ(async.getError().errorId, 0u);
            EXPECT_TRUE(waitUntilGone(pid));  // reaped by the kernel, no zombie
        }

        // A program that cannot be started is not reported asynchronously.
        const KivClExeFile missing(KivClFilename("/no/such/program"));
        KivClNewAsyncProcess none(missing);
        EXPECT_TRUE(none.launch());
        EXPECT_GT(none.getResult(), 0);
        EXPECT_TRUE(waitUntilGone(none.getResult()));

        // A synchronous launch still gets its exit code while SIGCHLD is ignored.
        ShellRun after("exit 7");
        EXPECT_TRUE(after.process.launch());
        EXPECT_EQ(after.process.getResult(), 7);
    }
    const std::string status = kivtest::readFile(out);
    const size_t line = status.find("SigIgn:");
    ASSERT_NE(line, std::string::npos) << status;
    const unsigned long long ignored = std::strtoull(status.c_str() + line + 7, nullptr, 16);
    EXPECT_EQ(ignored & (1ULL << (SIGCHLD - 1)), 0u) << status;
}

TEST(Process, IdsAndKill) {
    EXPECT_EQ(KivClProcessProperty().getProcessId(), static_cast<unsigned int>(::getpid()));
    EXPECT_EQ(KivClProcessProperty(4711).getProcessId(), 4711u);
    EXPECT_EQ(KivClProcess().getProcessId(), static_cast<unsigned int>(::getpid()));

    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    KivClProcess victim(static_cast<unsigned int>(child));
    EXPECT_TRUE(victim.kill());
    EXPECT_EQ(victim.getError().errorId, 0u);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);

    KivClProcess gone(endedProcessId());
    EXPECT_FALSE(gone.kill());
    EXPECT_EQ(gone.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_KILL);
    EXPECT_EQ(gone.getError().errorClass, KIV_ERRCLASS_INVALID_DATA);

    // Ids that kill() would read as a process group are refused. Checked in a
    // child with a process group of its own, so a fault hits only that group.
    const kivtest::ChildResult result = kivtest::runInChild([] {
        ::setpgid(0, 0);
        KivClProcess group(0);
        KivClProcess negative(0x80000000u);
        const bool refused = !group.kill() && !negative.kill();
        return refused && group.getError().errorId == KIV_ERRID_PROCESS_COULD_NOT_KILL ? 0 : 1;
    });
    EXPECT_TRUE(result.exited && result.exitCode == 0);
}
