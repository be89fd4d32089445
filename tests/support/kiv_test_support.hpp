// Helpers shared by the test suites: temporary directories, capture of a
// standard stream, running a function in a child process, file contents.
#ifndef KIV_TEST_SUPPORT_HPP
#define KIV_TEST_SUPPORT_HPP

#include <functional>
#include <string>

#include "kiv_memmgr.hpp"

namespace kivtest {

// Base of the helpers below, which own a resource and so are never copied.
struct NoCopy {
    NoCopy() = default;
    NoCopy(const NoCopy&) = delete;
    NoCopy& operator=(const NoCopy&) = delete;
};

// A fresh directory under $TMPDIR (or /tmp), removed with its contents when
// the object goes away.
class TempDir : NoCopy {
public:
    TempDir();
    ~TempDir();
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const;  // path() + "/" + name

private:
    std::string path_;
};

// Captures everything written to a file descriptor (1 or 2) between
// construction and text(); restores the descriptor afterwards.
class CaptureFd : NoCopy {
public:
    explicit CaptureFd(int fd);
    ~CaptureFd();
    // Stops capturing (on the first call) and returns what was written.
    std::string text();

private:
    int fd_;
    int saved_;
    std::string file_;
    bool stopped_ = false;
    std::string text_;
};

// What a child process did.
struct ChildResult {
    bool exited = false;    // ended through exit()/return
    int exitCode = -1;      // valid when exited
    bool signaled = false;  // ended by a signal
    int signal = 0;         // valid when signaled
    std::string out;        // its standard output
    std::string err;        // its standard error
};

// Runs body in a forked child whose stdout and stderr are collected; the
// child exits with body's return value. Standard input is /dev/null.
ChildResult runInChild(const std::function<int()>& body);

// Runs a shell command line and collects its result the same way.
ChildResult runShell(const std::string& command);

// Sets (or, with a null value, unsets) an environment variable for one
// scope and restores its previous state afterwards.
class ScopedEnv : NoCopy {
public:
    ScopedEnv(const char* name, const char* value);
    ~ScopedEnv();

private:
    std::string name_;
    std::string old_;
    bool hadValue_ = false;
};

// Saves the allocator hooks, optionally installs others, and puts the saved
// three back exactly when the scope ends, also after a failed assertion.
class ScopedAllocatorHooks : NoCopy {
public:
    ScopedAllocatorHooks();
    ScopedAllocatorHooks(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                         KivPfuDeallocator deallocator);
    ~ScopedAllocatorHooks();

private:
    KivPfuAllocator allocator_;
    KivPfuReallocator reallocator_;
    KivPfuDeallocator deallocator_;
};

std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);
bool fileExists(const std::string& path);

}  // namespace kivtest

#endif  // KIV_TEST_SUPPORT_HPP
