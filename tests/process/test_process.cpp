#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "kiv_file.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

// A "/bin/sh -c script" launcher, synchronous by default.
template <typename Launcher = KivClNewSyncProcess>
struct ShellRun {
    explicit ShellRun(const std::string& script) : process(shell()) {
        process.addArgument("-c");
        process.addArgument(script.c_str());
    }
    static const KivClExeFile& shell() {
        static const KivClExeFile sh(KivClFilename("/bin/sh"));
        return sh;
    }
    Launcher process;
};

// True once pid is gone for good: neither running nor a zombie.
bool waitUntilGone(pid_t pid) {
    for (int i = 0; i < 500 && ::kill(pid, 0) == 0; ++i) ::usleep(10000);
    return ::kill(pid, 0) != 0 && errno == ESRCH;
}

// A user heap that is the system heap in disguise, without a reallocator.
void* userAllocator(unsigned int size) { return KivClMemoryManager::systemAllocator(size); }

}  // namespace

TEST(SyncProcess, ExitCodesAndFailures) {
    // 255 is what a failed execve produces: a launch failure. A child ended
    // by a signal gives 128 + signal, never a clean 0.
    const struct { const char* script; bool ok; int result; } cases[] = {
        {"exit 0", true, 0},   {"exit 3", true, 3}, {"exit 254", true, 254},
        {"exit 255", false, 0}, {"kill -9 $$", true, 128 + SIGKILL},
    };
    for (const auto& c : cases) {
        ShellRun<> run(c.script);
        EXPECT_EQ(run.process.launch(), c.ok) << c.script;
        EXPECT_EQ(run.process.getResult(), c.result) << c.script;
        EXPECT_EQ(run.process.getError().errorId, c.ok ? 0u : KIV_ERRID_PROCESS_COULD_NOT_LAUNCH);
    }
    const kivtest::ScopedEnv noSearch("KIV_NEWPROCESS_USEPATH", nullptr);
    const KivClExeFile missing(KivClFilename("/no/such/program"));
    KivClNewSyncProcess none(missing);  // the launcher keeps a reference to the file
    EXPECT_FALSE(none.launch());
    EXPECT_EQ(none.getError().errorClass, KIV_ERRCLASS_UNKNOWN_PROCESS);

    // A failing fork leaves its errno as the result (root ignores the limit).
    const kivtest::ChildResult limited = kivtest::runInChild([] {
        const struct rlimit zero = {0, 0};
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 10;
        ShellRun<> run("exit 0");
        if (::setrlimit(RLIMIT_NPROC, &zero) != 0 || run.process.launch()) return 1;
        const _KivStError error = run.process.getError();
        if (error.errorId != KIV_ERRID_PROCESS_COULD_NOT_LAUNCH || error.errorClass != KIV_ERRCLASS_UNKNOWN_PROCESS) return 2;
        return run.process.getResult() == EAGAIN ? 0 : 4;
    });
    EXPECT_TRUE(limited.exited && limited.exitCode == 0) << limited.exitCode;
}

TEST(SyncProcess, PassesArgumentsInOrderAndGrowsWithoutAReallocator) {
    kivtest::TempDir dir;
    const std::string out = dir.file("args"), word(3000, 'w');
    // The arguments grow under an allocator without reallocator.
    kivtest::ScopedAllocatorHooks hooks(userAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    ShellRun<> run("printf '[%s]' \"$0\" \"$@\" > '" + out + "'");
    KivClNewSyncProcess& p = run.process;
    p.addArgument("zero");
    p.addArgument(-5L);
    p.addArgument(4294967295UL);
    p.addArgument(-2147483647 - 1);
    p.addArgument(static_cast<const char*>(nullptr));  // ignored
    p.addArgument("two words");
    p.addArgument("");
    ASSERT_TRUE(p.launch());
    // Later launches pass the same arguments, plus any added since.
    p.addArgument(word.c_str());
    ASSERT_TRUE(p.launch() && p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[zero][-5][4294967295][-2147483648][two words][][" + word + "]");
    EXPECT_EQ(p.getArgumentCount(), 10u);  // program, -c, script and seven
}

TEST(AsyncProcess, ReturnsAtOnceAndLeavesNoZombie) {
    kivtest::TempDir dir;
    const std::string out = dir.file("status");
    // In a child: ignoring SIGCHLD is process-wide and stays in force.
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        // cp copies its own status, whose SigIgn mask is checked below. The
        // second launch forks while SIGCHLD is already ignored.
        const KivClExeFile copier(KivClFilename("/bin/cp"));
        KivClNewAsyncProcess async(copier);
        async.addArgument("/proc/self/status");
        async.addArgument(out.c_str());
        for (int launch = 0; launch < 2; ++launch) {
            if (!async.launch() || async.getResult() <= 0 || async.getError().errorId != 0) return 1;
            if (!waitUntilGone(async.getResult())) return 2;
        }
        // A program that cannot be started is not reported asynchronously.
        const KivClExeFile missing(KivClFilename("/no/such/program"));
        KivClNewAsyncProcess none(missing);
        if (!none.launch() || none.getResult() <= 0 || !waitUntilGone(none.getResult())) return 3;
        // A synchronous launch still gets its exit code, and a background
        // child that ends meanwhile is not left behind as a zombie.
        ShellRun<KivClNewAsyncProcess> background("sleep 0.1");
        ShellRun<> after("sleep 0.4; exit 7");
        if (!background.process.launch() || !after.process.launch()) return 4;
        return after.process.getResult() == 7 && waitUntilGone(background.process.getResult()) ? 0 : 5;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
    const std::string status = kivtest::readFile(out);
    const size_t line = status.find("SigIgn:");
    ASSERT_NE(line, std::string::npos) << status;
    EXPECT_EQ(std::stoull(status.substr(line + 7), nullptr, 16) & (1ULL << (SIGCHLD - 1)), 0u) << status;
}

TEST(Process, IdsAndKill) {
    EXPECT_EQ(KivClProcess().getProcessId(), static_cast<unsigned int>(::getpid()));

    const pid_t child = ::fork();
    if (child == 0) {
        ::pause();
        ::_exit(0);
    }
    KivClProcess victim(static_cast<unsigned int>(child));
    EXPECT_TRUE(victim.kill());
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    // Now reaped, the id names no process.
    EXPECT_FALSE(victim.kill());
    EXPECT_EQ(victim.getError().errorClass, KIV_ERRCLASS_INVALID_DATA);

    // Ids that kill() would read as a process group are refused; checked in
    // a child leading a group of its own, so a fault hits only that group.
    const kivtest::ChildResult result = kivtest::runInChild([] {
        ::setpgid(0, 0);
        KivClProcess group(0), negative(0x80000000u);
        return !group.kill() && !negative.kill() && group.getError().errorId == KIV_ERRID_PROCESS_COULD_NOT_KILL ? 0 : 1;
    });
    EXPECT_TRUE(result.exited && result.exitCode == 0);
}
