// Child processes started with fork and execve, and process ids.
#include "kiv_process.hpp"

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>

#include "kiv_file.hpp"
#include "foundation/kiv_memgrow.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

extern char** environ;

namespace {

// Exit code of a child whose execve failed.
const int kExecFailedExitCode = 255;

// Waits for the one child pid, retrying after interruptions.
pid_t waitForChild(pid_t pid, int& status) {
    pid_t ended;
    do {
        ended = ::waitpid(pid, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended;
}

void setChildSignal(void (*handler)(int), struct sigaction* previous) {
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGCHLD, &action, previous);
}

// While SIGCHLD is ignored the kernel discards exit statuses, so a waiting
// launch switches it to the default for as long as it waits. Returns whether
// it did; previous then holds the disposition to put back.
bool stopIgnoringChildren(struct sigaction& previous) {
    ::sigaction(SIGCHLD, nullptr, &previous);
    const bool ignored = previous.sa_handler == SIG_IGN || (previous.sa_flags & SA_NOCLDWAIT) != 0;
    if (ignored) setChildSignal(SIG_DFL, nullptr);
    return ignored;
}

// Puts the ignoring disposition back. Children that ended in between were
// not reaped by the kernel: reap them here, as nobody else can wait for them.
void resumeIgnoringChildren(const struct sigaction& previous) {
    ::sigaction(SIGCHLD, &previous, nullptr);
    int status = 0;
    while (::waitpid(-1, &status, WNOHANG) > 0) {
    }
}

}  // namespace

KivClNewProcessABase::KivClNewProcessABase(const KivClExeFile& executable)
    : error_{KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN},
      executable_(&executable),
      arguments_(nullptr),
      argumentsLength_(0),
      argumentsEnd_(0),
      argumentsCapacity_(0),
      count_(0),
      result_(0) {
    addArgument(executable.getAsCString());
}

KivClNewProcessABase::~KivClNewProcessABase() { kivFree(arguments_); }

void KivClNewProcessABase::appendBytes(const char* text, size_t length) {
    if (argumentsLength_ + length > argumentsCapacity_) {
        size_t capacity = argumentsCapacity_ == 0 ? 256 : argumentsCapacity_;
        while (capacity < argumentsLength_ + length) capacity *= 2;
        arguments_ = static_cast<char*>(kivGrowBlock(arguments_, argumentsLength_, capacity));
        argumentsCapacity_ = capacity;
    }
    std::memcpy(arguments_ + argumentsLength_, text, length);
    argumentsLength_ += length;
}

void KivClNewProcessABase::addArgument(const char* text) {
    if (text == nullptr) return;
    argumentsLength_ = argumentsEnd_;
    appendBytes(text, std::strlen(text) + 1);
    argumentsEnd_ = argumentsLength_;
    ++count_;
}

void KivClNewProcessABase::addArgument(long value) {
    char digits[24];
    kivLtoa(value, digits);
    addArgument(digits);
}

void KivClNewProcessABase::addArgument(unsigned long value) {
    char digits[24];
    kivULtoa(value, digits);
    addArgument(digits);
}

void KivClNewProcessABase::prepareLaunch() {
    error_ = {KIV_ERRID_PROCESS_COULD_NOT_LAUNCH, KIV_ERRCLASS_UNKNOWN_PROCESS};
    // One end mark, however often the launcher is started.
    argumentsLength_ = argumentsEnd_;
    appendBytes("", 1);
}

char** KivClNewProcessABase::buildArgumentVector() const {
    char** vector = static_cast<char**>(kivMalloc((count_ + 1) * sizeof(char*)));
    char* text = arguments_;
    for (uint32_t i = 0; i < count_; ++i) {
        vector[i] = text;
        text += std::strlen(text) + 1;
    }
    vector[count_] = nullptr;
    return vector;
}

long KivClNewProcessABase::forkAndExec() {
    prepareLaunch();
    // The vector is built before fork so that the child does not allocate.
    char** vector = buildArgumentVector();
    // Pending output of ours goes out before the child's, and only once.
    std::cout.flush();
    std::cerr.flush();
    std::clog.flush();
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    const int forkErrno = errno;
    if (pid == 0) {
        // The program must not inherit an ignored SIGCHLD from us.
        std::signal(SIGCHLD, SIG_DFL);
        ::execve(executable_->getAsCString(), vector, environ);
        // _exit, not exit: the parent's static objects and stream buffers
        // belong to the parent and must not be flushed a second time.
        ::_exit(kExecFailedExitCode);
    }
    kivFree(vector);
    if (pid < 0) {
        result_ = forkErrno;
        if (forkErrno == ENOMEM) error_.errorClass = KIV_ERRCLASS_OUT_OF_MEMORY;
        return -1;
    }
    return pid;
}

KivClNewSyncProcess::KivClNewSyncProcess(const KivClExeFile& executable) : KivClNewProcessABase(executable) {}

bool KivClNewSyncProcess::launch() {
    // An earlier asynchronous launch may have set SIGCHLD to be ignored.
    struct sigaction previous;
    const bool wasIgnoring = stopIgnoringChildren(previous);
    const long pid = forkAndExec();
    int status = 0;
    const pid_t ended = pid > 0 ? waitForChild(static_cast<pid_t>(pid), status) : -1;
    if (wasIgnoring) resumeIgnoringChildren(previous);
    if (ended < 0) return false;
    if (WIFEXITED(status)) {
        if (WEXITSTATUS(status) == kExecFailedExitCode) return false;
        result_ = WEXITSTATUS(status);
    } else {
        result_ = 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
    }
    error_ = {KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN};
    return true;
}

KivClNewAsyncProcess::KivClNewAsyncProcess(const KivClExeFile& executable) : KivClNewProcessABase(executable) {}

bool KivClNewAsyncProcess::launch() {
    const long pid = forkAndExec();
    if (pid < 0) return false;
    // Children are reaped by the kernel from now on and never become zombies.
    setChildSignal(SIG_IGN, nullptr);
    int status = 0;
    ::waitpid(static_cast<pid_t>(pid), &status, WNOHANG);
    result_ = static_cast<int32_t>(pid);
    error_ = {KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN};
    return true;
}

KivClProcessProperty::KivClProcessProperty() : processId_(static_cast<uint32_t>(::getpid())) {}

KivClProcess::KivClProcess() : error_{KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN} {}

KivClProcess::KivClProcess(unsigned int processId)
    : KivClProcessProperty(processId), error_{KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN} {}

bool KivClProcess::kill() {
    error_ = {KIV_ERRID_PROCESS_COULD_NOT_KILL, KIV_ERRCLASS_INVALID_DATA};
    // 0 and ids beyond INT_MAX (negative as pid_t) would address process
    // groups or every process rather than one process.
    if (processId_ == 0 || processId_ > static_cast<uint32_t>(INT_MAX)) return false;
    if (::kill(static_cast<pid_t>(processId_), SIGTERM) != 0) return false;
    error_ = {KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN};
    return true;
}
