// Exception classes and the assertion report.
#include "kiv_exception.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kiv_string.hpp"

#include "foundation/kiv_fdio.hpp"
#include "util/kiv_bounded.hpp"

KivClExceptionABase::~KivClExceptionABase() = default;

const char* KivClExceptionABase::getCause() const { return cause_; }

KivClException::~KivClException() = default;

bool KivClException::isKivException() const { return true; }

KivClExceptionFatal::~KivClExceptionFatal() = default;

namespace {

// The report is built in a fixed buffer so that it cannot fail when the heap
// is exhausted or broken; texts that would not fit are cut.
constexpr size_t REPORT_CAPACITY = 8192;

class Report {
public:
    Report& operator<<(const char* text) {
        kivAppendBounded(text_, length_, REPORT_CAPACITY, text);
        return *this;
    }
    Report& operator<<(unsigned long number) {
        char digits[24];
        kivULtoa(number, digits);
        return *this << digits;
    }
    Report& operator<<(long number) {
        char digits[24];
        kivLtoa(number, digits);
        return *this << digits;
    }
    // Ends the report with its closing lines, which are never cut, and
    // writes it in one piece.
    void writeClosedTo(int fd) {
        std::memcpy(text_ + length_, CLOSING, sizeof CLOSING);
        kivWriteAll(fd, text_, length_ + sizeof CLOSING - 1);
    }

private:
    // The blank line after the report and the newline written after it.
    static constexpr char CLOSING[] = "\n\n\n";
    char text_[REPORT_CAPACITY + sizeof CLOSING] = {};
    size_t length_ = 0;
};

[[noreturn]] void reportAndAbort(const char* expression, const char* module, unsigned int line,
                                 const char* function, const char* message, bool withMessage) {
    Report report;
    report << "\n*** INTERNAL ERROR OCCURED ***\n";
    if (withMessage && message != nullptr) {
        report << "*** " << message << " ***\n";
        if (function != nullptr) report << "***         FUNCTION: " << function << "\n";
    }
    report << "*** ASSERTION FAILED: " << expression;
    report << "\n***             LINE: " << static_cast<unsigned long>(line);
    report << "\n***           MODULE: " << module;
    report << "\n***       PROCESS ID: " << static_cast<long>(::getpid());
    std::fflush(stderr);
    report.writeClosedTo(STDERR_FILENO);
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
