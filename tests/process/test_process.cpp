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

// A synchronous "/bin/sh -c script" launcher.
struct ShellRun {
    explicit ShellRun(const std::string& script) : process(shell()) {
        process.addArgument("-c");
        process.addArgument(script.c_str());
    }
    static const KivClExeFile& shell() {
        static const KivClExeFile sh(KivClFilename("/bin/sh"));
        return sh;
    }
    KivClNewSyncProcess process;
};

// True once pid is gone for good: neither running nor a zombie.
bool waitUntilGone(pid_t pid) {
    for (int i = 0; i < 500; ++i) {
        if (::kill(pid, 0) != 0 && errno == ESRCH) return true;
        ::usleep(10000);
    }
    return false;
}

// Drops root rights in a child, so that limits and modes apply to it.
bool dropRoot() { return ::geteuid() != 0 || (::setgid(65534) == 0 && ::setuid(65534) == 0); }

}  // namespace

TEST(SyncProcess, ExitCodesAndFailures) {
    for (int code : {0, 3, 254}) {
        ShellRun run("exit " + std::to_string(code));
        EXPECT_TRUE(run.process.launch()) << code;
        EXPECT_EQ(run.process.getResult(), code);
        EXPECT_EQ(run.process.getError().errorId, 0u);
    }
    // 255 is what a failed execve produces: reported as a launch failure.
    ShellRun all("exit 255");
    EXPECT_FALSE(all.process.launch());
    EXPECT_EQ(all.process.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_LAUNCH);
    // Ended by a signal: 128 + signal, never a clean 0.
    ShellRun killed("kill -9 $$");
    EXPECT_TRUE(killed.process.launch());
    EXPECT_EQ(killed.process.getResult(), 128 + SIGKILL);

    const kivtest::ScopedEnv noSearch("KIV_NEWPROCESS_USEPATH", nullptr);
    const KivClExeFile missing(KivClFilename("/no/such/program"));
    KivClNewSyncProcess none(missing);
    EXPECT_FALSE(none.launch());
    EXPECT_EQ(none.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_LAUNCH);
    EXPECT_EQ(none.getError().errorClass, KIV_ERRCLASS_UNKNOWN_PROCESS);

    // A failing fork leaves its errno as the result.
    const kivtest::ChildResult limited = kivtest::runInChild([] {
        const struct rlimit zero = {0, 0};
        if (!dropRoot() || ::setrlimit(RLIMIT_NPROC, &zero) != 0) return 10;
        ShellRun run("exit 0");
        const _KivStError& error = run.process.getError();
        if (run.process.launch() || error.errorId != KIV_ERRID_PROCESS_COULD_NOT_LAUNCH) return 1;
        if (error.errorClass != KIV_ERRCLASS_UNKNOWN_PROCESS) return 2;
        return run.process.getResult() == EAGAIN ? 0 : 3;
    });
    EXPECT_TRUE(limited.exited && limited.exitCode == 0) << limited.exitCode;
}

TEST(SyncProcess, PassesArgumentsInOrder) {
    kivtest::TempDir dir;
    const std::string out = dir.file("args");
    ShellRun run("printf '[%s]' \"$0\" \"$@\" > '" + out + "'");
    KivClNewSyncProcess& p = run.process;
    p.addArgument("zero");
    p.addArgument(-5L);
    p.addArgument(4294967295UL);
    p.addArgument(-2147483647 - 1);
    p.addArgument(static_cast<const char*>(nullptr));
    p.addArgument("two words");
    p.addArgument("");
    EXPECT_EQ(p.getArgumentCount(), 9u);  // program, -c, script and six
    ASSERT_TRUE(p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[zero][-5][4294967295][-2147483648][two words][]");

    // A second launch passes the same arguments, plus any added since.
    p.addArgument("later");
    ASSERT_TRUE(p.launch());
    ASSERT_TRUE(p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[zero][-5][4294967295][-2147483648][two words][][later]");
    EXPECT_EQ(p.getArgumentCount(), 10u);
}

TEST(AsyncProcess, ReturnsAtOnceAndLeavesNoZombie) {
    kivtest::TempDir dir;
    const std::string out = dir.file("status");
    // Runs in a child: ignoring SIGCHLD is process-wide and stays in force.
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        // cp copies its own status, whose ignored-signal mask is checked below.
        const KivClExeFile copier(KivClFilename("/bin/cp"));
        KivClNewAsyncProcess async(copier);
        async.addArgument("/proc/self/status");
        async.addArgument(out.c_str());
        // The second launch forks while SIGCHLD is already ignored.
        for (int launch = 0; launch < 2; ++launch) {
            ::unlink(out.c_str());
            if (!async.launch() || async.getResult() <= 0 || async.getError().errorId != 0) return 1;
            if (!waitUntilGone(async.getResult())) return 2;
        }
        // A program that cannot be started is not reported asynchronously.
        const KivClExeFile missing(KivClFilename("/no/such/program"));
        KivClNewAsyncProcess none(missing);
        if (!none.launch() || none.getResult() <= 0 || !waitUntilGone(none.getResult())) return 3;

        // A synchronous launch still gets its exit code, and a background
        // child that ends meanwhile is not left behind as a zombie.
        KivClNewAsyncProcess background(ShellRun::shell());
        background.addArgument("-c");
        background.addArgument("sleep 0.1");
        ShellRun after("sleep 0.4; exit 7");
        if (!background.launch() || !after.process.launch()) return 4;
        if (after.process.getResult() != 7) return 5;
        return waitUntilGone(background.getResult()) ? 0 : 6;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
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

    // Now reaped, the id names no process.
    KivClProcess gone(static_cast<unsigned int>(child));
    EXPECT_FALSE(gone.kill());
    EXPECT_EQ(gone.getError().errorId, KIV_ERRID_PROCESS_COULD_NOT_KILL);
    EXPECT_EQ(gone.getError().errorClass, KIV_ERRCLASS_INVALID_DATA);

    // Ids that kill() would read as a process group are refused; checked in
    // a child leading a group of its own, so a fault hits only that group.
    const kivtest::ChildResult result = kivtest::runInChild([] {
        ::setpgid(0, 0);
        KivClProcess group(0);
        KivClProcess negative(0x80000000u);
        const bool refused = !group.kill() && !negative.kill();
        return refused && group.getError().errorId == KIV_ERRID_PROCESS_COULD_NOT_KILL ? 0 : 1;
    });
    EXPECT_TRUE(result.exited && result.exitCode == 0);
}
