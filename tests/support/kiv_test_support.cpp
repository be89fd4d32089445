#include "kiv_test_support.hpp"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kivtest {

namespace {

std::string tmpBase() {
    const char* base = std::getenv("TMPDIR");
    return (base != nullptr && *base != '\0') ? base : "/tmp";
}

}  // namespace

TempDir::TempDir() {
    std::string pattern = tmpBase() + "/kivtest.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

// Removes the tree without a shell, so that a test that empties PATH still
// cleans up; links are removed, never followed.
TempDir::~TempDir() {
    const auto removeEntry = [](const char* path, const struct stat*, int, FTW*) { return ::remove(path); };
    if (::nftw(path_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS) != 0) std::perror("remove temporary directory");
}

ScopedAllocatorHooks::ScopedAllocatorHooks()
    : allocator_(KivClMemoryManager::cv_pfuAllocatorCallback),
      reallocator_(KivClMemoryManager::cv_pfuReallocatorCallback),
      deallocator_(KivClMemoryManager::cv_pfuDeallocatorCallback) {}

ScopedAllocatorHooks::ScopedAllocatorHooks(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                                           KivPfuDeallocator deallocator)
    : ScopedAllocatorHooks() {
    if (!kivSetNewMemoryManager(allocator, reallocator, deallocator)) {
        throw std::invalid_argument("allocator hooks refused");
    }
}

// Assigned directly: installing through the library would turn a missing
// reallocator into the system one.
ScopedAllocatorHooks::~ScopedAllocatorHooks() {
    KivClMemoryManager::cv_pfuAllocatorCallback = allocator_;
    KivClMemoryManager::cv_pfuReallocatorCallback = reallocator_;
    KivClMemoryManager::cv_pfuDeallocatorCallback = deallocator_;
}

std::string TempDir::file(const std::string& name) const { return path_ + "/" + name; }

CaptureFd::CaptureFd(int fd) : fd_(fd) {
    std::fflush(nullptr);
    char pattern[] = "/tmp/kivcapture.XXXXXX";
    const int tmp = ::mkstemp(pattern);
    if (tmp < 0) throw std::runtime_error("mkstemp failed");
    file_ = pattern;
    saved_ = ::dup(fd_);
    ::dup2(tmp, fd_);
    ::close(tmp);
}

CaptureFd::~CaptureFd() { stop(); }

void CaptureFd::stop() {
    if (stopped_) return;
    stopped_ = true;
    std::fflush(nullptr);
    ::dup2(saved_, fd_);
    ::close(saved_);
    text_ = readFile(file_);
    ::unlink(file_.c_str());
}

std::string CaptureFd::text() {
    stop();
    return text_;
}

#ifdef KIV_COVERAGE
extern "C" void __gcov_dump();
#endif

// A child ended with _exit skips the coverage runtime's exit handler, so a
// coverage build writes the child's counts first.
static void flushCoverage() {
#ifdef KIV_COVERAGE
    __gcov_dump();
#endif
}

ChildResult runInChild(const std::function<int()>& body) {
    TempDir dir;
    const std::string outPath = dir.file("out");
    const std::string errPath = dir.file("err");
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
        const int in = ::open("/dev/null", O_RDONLY);
        const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ::dup2(in, 0);
        ::dup2(out, 1);
        ::dup2(err, 2);
        const int code = body();
        std::fflush(nullptr);
        flushCoverage();
        ::_exit(code);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
    }
    ChildResult result;
    result.exited = WIFEXITED(status);
    if (result.exited) result.exitCode = WEXITSTATUS(status);
    result.signaled = WIFSIGNALED(status);
    if (result.signaled) result.signal = WTERMSIG(status);
    result.out = readFile(outPath);
    result.err = readFile(errPath);
    return result;
}

ChildResult runShell(const std::string& command) {
    return runInChild([&command] {
        ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
        return 127;
    });
}

ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
    const char* old = std::getenv(name);
    hadValue_ = old != nullptr;
    if (hadValue_) old_ = old;
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
}

ScopedEnv::~ScopedEnv() {
    if (hadValue_) {
        ::setenv(name_.c_str(), old_.c_str(), 1);
    } else {
        ::unsetenv(name_.c_str());
    }
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out) throw std::runtime_error("cannot write " + path);
}

bool fileExists(const std::string& path) {
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace kivtest
