// What the trace tools (kivtracectl, kivtrace2json) share: their exit codes,
// attaching to the trace environment of a key, and the reports for keys,
// instances and trace files they cannot use.
//
// Failure policy: every failure ends the process through the console UI's
// fatal report (the library message on standard error, a bell on the output
// stream) with one of the exit codes below; nothing is thrown to main.
//
//   KivClTraceToolSession session(ui, "App", nullptr, nullptr);
//   session.environment().getTraceFileName();  // $TMP/Apptrace.trc or APP_TRACE_FILE
//   session.requireTraceFile();                // exit 2 when the file is missing
#ifndef KIV_TRACETOOL_HPP
#define KIV_TRACETOOL_HPP

#include <cstdint>

#include "kiv_consoleui.hpp"
#include "kiv_trace.hpp"

// Exit codes of the trace tools; the console UI's own codes 201 to 204 come
// on top for command-line errors.
enum KivEnTraceToolExit : int {
    KIV_TRACETOOL_EXIT_OK = 0,
    KIV_TRACETOOL_EXIT_INIT_FAILED = 1,       // unusable key, trace file not writable
    KIV_TRACETOOL_EXIT_FILE_NOT_FOUND = 2,    // the trace file does not exist
    KIV_TRACETOOL_EXIT_FILE_CORRUPTED = 3,    // cut inside a record or impossible values
    KIV_TRACETOOL_EXIT_FILE_UNREADABLE = 4,   // exists but cannot be read
    KIV_TRACETOOL_EXIT_INVALID_INSTANCE = 5   // instance name that is no resource key part
};

// Library messages the tools report with.
constexpr unsigned long KIV_TRACETOOL_MSG_FILE_NOT_FOUND = 193;
constexpr unsigned long KIV_TRACETOOL_MSG_INVALID_INSTANCE = 194;
constexpr unsigned long KIV_TRACETOOL_MSG_KEY_UNKNOWN = 195;
constexpr unsigned long KIV_TRACETOOL_MSG_INIT_FAILED = 196;
constexpr unsigned long KIV_TRACETOOL_MSG_COULD_NOT_OPEN = 197;
constexpr unsigned long KIV_TRACETOOL_MSG_UNEXPECTED_EOF = 198;
constexpr unsigned long KIV_TRACETOOL_MSG_CORRUPTED = 199;

// Longest instance name accepted; with the longest key it keeps the
// resource key name far below its 255 characters.
constexpr uint32_t KIV_TRACETOOL_MAX_INSTANCE_LENGTH = 64;

// The trace environment of one key, as a tool sees it.
class KivClTraceToolSession {
public:
    // Checks key and instance, then attaches to the key's environment with
    // KivClTraceInstance::createControllerInstance, which never removes the
    // trace file. A file name, when given, replaces the one the variables
    // name. Ends the process with 196 / exit 1 for an empty key, one longer
    // than 24 characters or one holding "=" (no variable can be named after
    // it), and with 194 / exit 5 for an instance that is empty, longer than
    // 64 characters or holds characters other than letters, digits, "_",
    // "-" and "@" (it would name another resource key).
    KivClTraceToolSession(KivClConsoleUI& ui, const char* key, const char* instance,
                          const char* file);
    KivClTraceToolSession(const KivClTraceToolSession&) = delete;
    KivClTraceToolSession& operator=(const KivClTraceToolSession&) = delete;

    KivClTraceInstance& instance() { return *instance_; }
    KivClTraceEnvironment& environment() { return instance_->getEnvironment(); }
    const char* getKey() const { return key_; }
    // The instance as given, or the library's default instance name.
    const char* getInstanceName() const { return instanceName_; }
    // True when -file or <KEY>_TRACE_FILE named the trace file.
    bool isTraceFileNamed() const { return fileNamed_; }

    // Returns when the trace file is a regular file. Otherwise ends the
    // process with exit 2 and 193 when the file was named, 195 when only
    // the key's default name was tried (the key is probably wrong), or with
    // exit 4 and 197 when the name is something other than a file.
    void requireTraceFile() const;
    // Ends the process for a trace file error of the formatter's kind
    // (TRACEFORMAT_COULD_NOT_OPEN: 197 / exit 4, _UNEXPECTED_EOF: 198 /
    // exit 3, _FILE_CORRUPTED and anything else: 199 / exit 3).
    [[noreturn]] void failTraceFile(uint32_t errorId) const;
    // Ends the process with 196 / exit 1, naming what could not be done.
    [[noreturn]] void failInit(const char* what) const;

private:
    [[noreturn]] void fail(KivEnTraceToolExit code, unsigned long messageId, const char* what) const;

    KivClConsoleUI& ui_;
    const char* key_;
    const char* instanceName_;
    bool fileNamed_;
    KivClTraceInstance* instance_;
};

#endif  // KIV_TRACETOOL_HPP
