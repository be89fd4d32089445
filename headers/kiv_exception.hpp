// Exception classes and the assertion report.
//
// KivClExceptionABase is the abstract root; KivClException carries a full
// _KivStUserError with the module text ("file:line") and line that raised it;
// KivClExceptionFatal tells the handler that the process cannot sensibly go
// on. The exceptions never own their texts: cause and module must outlive
// them (string literals in practice).
//
// Failure policy: throwing is the report. KivClException is thrown for
// failures a caller cannot be expected to check for, KivClExceptionFatal
// (derived from it, so one handler can take both) where the process cannot
// sensibly go on: exhausted memory, an unusable trace file. kiv__assert
// never returns: it writes its report to standard error and aborts.
//
//   try {
//       formatter.format(std::cout);
//   } catch (const KivClException& x) {
//       x.getError().errorId;   // e.g. KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF
//       x.getModule();          // source file and line, such as "kiv_trace_format:644"
//       x.getCause();           // free text, "" when none
//   }
#ifndef KIV_EXCEPTION_HPP
#define KIV_EXCEPTION_HPP

#include "kiv_error.hpp"

// The root of the library's exceptions: a cause text, not owned.
class KivClExceptionABase {
public:
    explicit KivClExceptionABase(const char* cause) : cause_(cause ? cause : "") {}
    KivClExceptionABase(const KivClExceptionABase&) = default;
    KivClExceptionABase& operator=(const KivClExceptionABase&) = default;
    virtual ~KivClExceptionABase();

    // True when the object is a KivClException and so carries the fields below.
    virtual bool isKivException() const = 0;
    // Free text explaining the failure; never null ("" when none was given).
    virtual const char* getCause() const;

private:
    const char* cause_;
};

// An exception with the user error record and the place that raised it.
class KivClException : public KivClExceptionABase {
public:
    // Keeps the pointers to module and cause (not copied) and the record.
    KivClException(const _KivStUserError& error, const char* module, unsigned long line,
                   const char* cause = nullptr)
        : KivClExceptionABase(cause), module_(module ? module : ""),
          line_(static_cast<uint32_t>(line)), error_(error) {}
    KivClException(const KivClException&) = default;
    KivClException& operator=(const KivClException&) = default;
    ~KivClException() override;

    bool isKivException() const override;

    // Where the exception was raised: source file name, ":" and line.
    const char* getModule() const { return module_; }
    unsigned long getLine() const { return line_; }
    const _KivStUserError& getError() const { return error_; }

private:
    const char* module_;
    uint32_t line_;
    _KivStUserError error_;
};

// An exception after which the process cannot sensibly go on.
class KivClExceptionFatal : public KivClException {
public:
    using KivClException::KivClException;
    KivClExceptionFatal(const KivClExceptionFatal&) = default;
    KivClExceptionFatal& operator=(const KivClExceptionFatal&) = default;
    ~KivClExceptionFatal() override;
};

extern "C" {

// Write the internal-error report for a failed assertion to standard error
// in one write and end the process with abort().
[[noreturn]] void kiv__assert(const char* expression, const char* module, unsigned int line);

// As kiv__assert, with a message line (when message is not null) and a
// function line (when message and function are both not null).
[[noreturn]] void kiv__assert_msg(const char* expression, const char* module, unsigned int line,
                                  const char* function, const char* message);

}  // extern "C"

#endif  // KIV_EXCEPTION_HPP
