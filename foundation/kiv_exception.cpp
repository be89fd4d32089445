// Exception classes and the assertion report.
#include "kiv_exception.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "foundation/kiv_fdio.hpp"

KivClExceptionABase::~KivClExceptionABase() = default;

const char* KivClExceptionABase::getCause() const { return cause_; }

KivClException::~KivClException() = default;

bool KivClException::isKivException() const { return true; }

KivClExceptionFatal::~KivClExceptionFatal() = default;

namespace {

[[noreturn]] void reportAndAbort(const char* expression, const char* module, unsigned int line,
                                 const char* function, const char* message, bool withMessage) {
    const long pid = static_cast<long>(::getpid());
    std::string report = "\n*** INTERNAL ERROR OCCURED ***\n";
    if (withMessage && message != nullptr) {
        report += "*** ";
        report += message;
        report += " ***\n";
        if (function != nullptr) {
            report += "***         FUNCTION: ";
            report += function;
            report += "\n";
        }
    }
    report += "*** ASSERTION FAILED: ";
    report += expression ? expression : "";
    report += "\n***             LINE: ";
    report += std::to_string(line);
    report += "\n***           MODULE: ";
    report += module ? module : "";
    report += "\n***       PROCESS ID: ";
    report += std::to_string(pid);
    report += "\n\n";
    // The trailing newline goes out in the same write as the report.
    report += "\n";
    std::fflush(stderr);
    kivWriteAll(STDERR_FILENO, report.data(), report.size());
    std::abort();
}

}  // namespace

extern "C" void kiv__assert(const char* expression, const char* module, unsigned int line) {
    reportAndAbort(expression, module, line, nullptr, nullptr, false);
}

extern "C" void kiv__assert_msg(const char* expression, const char* module, unsigned int line,
                                const char* function, const char* message) {
    reportAndAbort(expression, module, line, function, message, true);
}
