// Child processes and process ids.
//
// A launcher is built for one executable (a KivClExeFile whose name has
// already been completed from the search path where needed), collects the
// arguments and starts the program with fork and execve, either waiting for
// its exit code (KivClNewSyncProcess) or returning its process id at once
// (KivClNewAsyncProcess). KivClProcessProperty holds a process id, by default
// the caller's own; KivClProcess names a process and can terminate it.
//
// Failures return false and leave the error of the last operation in the
// object ({0, 0} after a success); nothing here throws except the memory
// manager when memory is exhausted.
//
//   KivClExeFile shell(KivClFilename("sh"));   // found along PATH: "/usr/bin/sh"
//   KivClNewSyncProcess run(shell);
//   run.addArgument("-c");
//   run.addArgument("exit 3");
//   run.launch();          // true
//   run.getResult();       // 3, the exit code
//   KivClProcess(0).kill();   // false: 0 names no single process; nothing sent
#ifndef KIV_PROCESS_HPP
#define KIV_PROCESS_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_error.hpp"

class KivClExeFile;

// A program to start, with the arguments collected for it.
class KivClNewProcessABase {
public:
    // The executable is not copied: it must outlive every launch. Its full
    // name becomes the first argument (the child's argv[0]).
    explicit KivClNewProcessABase(const KivClExeFile& executable);
    virtual ~KivClNewProcessABase();
    KivClNewProcessABase(const KivClNewProcessABase&) = delete;
    KivClNewProcessABase& operator=(const KivClNewProcessABase&) = delete;

    // Starts the program with the arguments collected so far. True on
    // success; getResult() then holds the exit code (synchronous) or the
    // child's process id (asynchronous).
    virtual bool launch() = 0;

    // Appends one argument; a null text is ignored.
    void addArgument(const char* text);
    // Appends the decimal text of value ("-5" for -5).
    void addArgument(long value);
    void addArgument(unsigned long value);
    void addArgument(int value) { addArgument(static_cast<long>(value)); }
    void addArgument(unsigned int value) { addArgument(static_cast<unsigned long>(value)); }

    // Presets the error to PROCESS_COULD_NOT_LAUNCH / UNKNOWN_PROCESS and
    // ends the argument buffer with one more NUL byte. launch() calls it.
    // The end mark is dropped again by the next addArgument(), so arguments
    // added after a launch are passed like all others.
    void prepareLaunch();

    // Error of the last launch; {0, 0} after a successful one.
    const _KivStError& getError() const { return error_; }
    // Exit code, child process id, or the errno of a failed fork.
    int32_t getResult() const { return result_; }
    // Number of arguments, the program name included.
    uint32_t getArgumentCount() const { return count_; }
    const KivClExeFile& getExecutable() const { return *executable_; }

protected:
    // Flushes the standard streams, builds the argument vector and forks.
    // In the child: restores SIGCHLD to its default and runs the program
    // (never returns; a failed execve ends the child with exit code 255).
    // In the parent: returns the child's id, or -1 after recording the fork
    // failure in the error and the result.
    long forkAndExec();

    _KivStError error_;
    const KivClExeFile* executable_;
    char* arguments_;      // the arguments, each followed by a NUL byte
    size_t argumentsLength_;
    size_t argumentsEnd_;  // end of the last argument, before any end mark
    size_t argumentsCapacity_;
    uint32_t count_;
    int32_t result_;

private:
    void appendBytes(const char* text, size_t length);
    char** buildArgumentVector() const;
};

// Starts the program and waits for it. A child that exits with 255 (what a
// failed execve produces) is reported as PROCESS_COULD_NOT_LAUNCH; a child
// ended by a signal yields the result 128 + signal number, as a shell does.
// The launch waits for its own child only (other children are left alone)
// and works even after an asynchronous launch has set SIGCHLD to be ignored:
// SIGCHLD is then at its default while the launch waits, and children that
// ended meanwhile are reaped when it is ignored again, so none stays a zombie.
class KivClNewSyncProcess : public KivClNewProcessABase {
public:
    explicit KivClNewSyncProcess(const KivClExeFile& executable);
    bool launch() override;
};

// Starts the program and returns at once with its process id. The parent
// ignores SIGCHLD from then on (process-wide, for good), so children are
// reaped automatically and never become zombies. A later failure of execve
// in the child is not reported.
class KivClNewAsyncProcess : public KivClNewProcessABase {
public:
    explicit KivClNewAsyncProcess(const KivClExeFile& executable);
    bool launch() override;
};

// A process id, the caller's own by default.
class KivClProcessProperty {
public:
    // The caller's own process id.
    KivClProcessProperty();
    explicit KivClProcessProperty(unsigned int processId) : processId_(processId) {}

    unsigned int getProcessId() const { return processId_; }

protected:
    uint32_t processId_;
};

// A process that can be sent SIGTERM.
class KivClProcess : public KivClProcessProperty {
public:
    // The caller's own process, error zero.
    KivClProcess();
    explicit KivClProcess(unsigned int processId);

    // Sends SIGTERM. On failure the error is PROCESS_COULD_NOT_KILL /
    // INVALID_DATA. Ids that do not name one process (0, and values that
    // are not positive process ids, which kill() would take as a process
    // group or as "every process") are refused without sending anything.
    bool kill();

    const _KivStError& getError() const { return error_; }

private:
    _KivStError error_;
};

#endif  // KIV_PROCESS_HPP
