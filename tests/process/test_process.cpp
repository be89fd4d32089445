#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <tuple>

#include "kiv_file.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

const KivClExeFile kShell(KivClFilename("/bin/sh"));

// A "/bin/sh -c script" launcher, synchronous by default.
template <typename Launcher = KivClNewSyncProcess>
struct ShellRun : Launcher {
    explicit ShellRun(const std::string& script) : Launcher(kShell) {
        this->addArgument("-c");
        this->addArgument(script.c_str());
    }
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
        {"exit 0", true, 0}, {"exit 254", true, 254}, {"exit 255", false, 0},
        {"kill -9 $$", true, 128 + SIGKILL},
    };
    for (const auto& c : cases) {
        ShellRun<> run(c.script);
        const bool ok = run.launch();
        EXPECT_EQ(std::make_tuple(ok, run.getResult(), run.getError().errorId),
                  std::make_tuple(c.ok, c.result, c.ok ? 0u : KIV_ERRID_PROCESS_COULD_NOT_LAUNCH)) << c.script;
    }
    const kivtest::ScopedEnv noSearch("KIV_NEWPROCESS_USEPATH", nullptr);
    const KivClExeFile missing(KivClFilename("/no/such/program"));
    KivClNewSyncProcess none(missing);  // the launcher keeps a reference to the file
    EXPECT_TRUE(!none.launch() && none.getError().errorClass == KIV_ERRCLASS_UNKNOWN_PROCESS);

    // A failing fork leaves its errno as the result (root ignores the limit).
    const kivtest::ChildResult limited = kivtest::runInChild([] {
        const struct rlimit zero = {0, 0};
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 10;
        ShellRun<> run("exit 0");
        if (::setrlimit(RLIMIT_NPROC, &zero) != 0 || run.launch()) return 1;
        return run.getError().errorClass == KIV_ERRCLASS_UNKNOWN_PROCESS && run.getResult() == EAGAIN ? 0 : 2;
    });
    EXPECT_TRUE(limited.exited && limited.exitCode == 0) << limited.exitCode;
}

// Later launches pass the same arguments, plus any added since; they grow
// under an allocator without reallocator.
TEST(SyncProcess, PassesArgumentsInOrderAndGrowsWithoutAReallocator) {
    kivtest::TempDir dir;
    const std::string out = dir.file("args"), word(3000, 'w');
    kivtest::ScopedAllocatorHooks hooks(userAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    ShellRun<> p("printf '[%s]' \"$0\" \"$@\" > '" + out + "'");
    p.addArgument(-5L);
    p.addArgument(4294967295UL);
    for (const char* text : {"zero", static_cast<const char*>(nullptr), "two words", ""}) p.addArgument(text);
    ASSERT_TRUE(p.launch());
    p.addArgument(word.c_str());
    ASSERT_TRUE(p.launch() && p.launch());
    EXPECT_EQ(kivtest::readFile(out), "[-5][4294967295][zero][two words][][" + word + "]");  // null ignored
    EXPECT_EQ(p.getArgumentCount(), 9u);  // program, -c, script and six
}

// In a child, as ignoring SIGCHLD is process-wide. cp copies its status, whose
// SigIgn mask must be clear; the second launch forks with SIGCHLD ignored.
TEST(AsyncProcess, ReturnsAtOnceAndLeavesNoZombie) {
    kivtest::TempDir dir;
    const std::string out = dir.file("status");
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        const KivClExeFile copier(KivClFilename("/bin/cp")), missing(KivClFilename("/no/such/program"));
        KivClNewAsyncProcess async(copier), none(missing);
        async.addArgument("/proc/self/status");
        async.addArgument(out.c_str());
        for (int launch = 0; launch < 2; ++launch) {
            if (!async.launch() || async.getError().errorId != 0 || !waitUntilGone(async.getResult())) return 1;
        }
        // A program that cannot be started is not reported asynchronously.
        if (!none.launch() || !waitUntilGone(none.getResult())) return 3;
        // A synchronous launch still gets its exit code, and a background
        // child that ends meanwhile is not left behind as a zombie.
        ShellRun<KivClNewAsyncProcess> background("sleep 0.1");
        ShellRun<> after("sleep 0.4; exit 7");
        if (!background.launch() || !after.launch()) return 4;
        if (after.getResult() != 7 || !waitUntilGone(background.getResult())) return 5;
        const std::string status = kivtest::readFile(out);
        return (std::stoull(status.substr(status.find("SigIgn:") + 7), nullptr, 16) >> (SIGCHLD - 1)) & 1 ? 6 : 0;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
}

TEST(Process, IdsAndKill) {
    EXPECT_EQ(KivClProcess().getProcessId(), static_cast<unsigned int>(::getpid()));
    const pid_t child = ::fork();
    if (child == 0) for (;;) ::pause();
    KivClProcess victim(static_cast<unsigned int>(child));
    EXPECT_TRUE(victim.kill());
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(!victim.kill() && victim.getError().errorClass == KIV_ERRCLASS_INVALID_DATA);  // reaped

    // Ids that kill() would read as a process group are refused; checked in
    // a child leading a group of its own, so a fault hits only that group.
    const kivtest::ChildResult result = kivtest::runInChild([] {
        ::setpgid(0, 0);
        KivClProcess group(0), negative(0x80000000u);
        const bool refused = !group.kill() && !negative.kill();
        return refused && group.getError().errorId == KIV_ERRID_PROCESS_COULD_NOT_KILL ? 0 : 1;
    });
    EXPECT_TRUE(result.exited && result.exitCode == 0);
}
