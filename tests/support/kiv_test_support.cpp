#include "kiv_test_support.hpp"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#ifdef KIV_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace kivtest {

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/kivtest.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

// Removes the tree without a shell, so that a test that empties PATH still
// cleans up; links are removed, never followed.
TempDir::~TempDir() {
    const auto removeEntry = [](const char* path, const struct stat*, int, FTW*) { return ::remove(path); };
    if (::nftw(path_.c_str(), removeEntry, 16, FTW_DEPTH | FTW_PHYS) != 0) std::perror("remove temporary directory");
}

// Out of line, as all code here: an inline copy would also be instrumented in every test and
// make the coverage counts of this file differ between test programs.
std::string TempDir::file(const std::string& name) const { return path_ + "/" + name; }

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

CaptureFd::~CaptureFd() { text(); }

std::string CaptureFd::text() {
    if (stopped_) return text_;
    stopped_ = true;
    std::fflush(nullptr);
    ::dup2(saved_, fd_);
    ::close(saved_);
    text_ = readFile(file_);
    ::unlink(file_.c_str());
    return text_;
}

ChildResult runInChild(const std::function<int()>& body) {
    TempDir dir;
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
        ::dup2(::open("/dev/null", O_RDONLY), 0);
        ::dup2(::open(dir.file("out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        ::dup2(::open(dir.file("err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        const int code = body();
        std::fflush(nullptr);
#ifdef KIV_COVERAGE
        __gcov_dump();  // _exit skips the coverage runtime's exit handler
#endif
        ::_exit(code);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
    }
    ChildResult result;
    result.exited = WIFEXITED(status);
    result.exitCode = result.exited ? WEXITSTATUS(status) : -1;
    result.signaled = WIFSIGNALED(status);
    result.signal = result.signaled ? WTERMSIG(status) : 0;
    result.out = readFile(dir.file("out"));
    result.err = readFile(dir.file("err"));
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
    value != nullptr ? ::setenv(name, value, 1) : ::unsetenv(name);
}

ScopedEnv::~ScopedEnv() { hadValue_ ? ::setenv(name_.c_str(), old_.c_str(), 1) : ::unsetenv(name_.c_str()); }

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
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
