#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <new>
#include <string>

#include "kiv_exception.hpp"
#include "kiv_test_support.hpp"

namespace {
// Set in a child to make every allocation through operator new fail.
bool gRefuseNew = false;
}  // namespace

void* operator new(std::size_t size) {
    void* block = gRefuseNew ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

const _KivStUserError kSample{KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_IO_READ_PROBLEM,
                              KIV_SEVERITY_FATAL, KIV_ACTION_TERMINATE};

}  // namespace

TEST(Exceptions, NullCauseIsEmptyAndFatalIsCaughtAsEveryBase) {
    EXPECT_STREQ(KivClExceptionFatal(kSample, "m:1", 1, nullptr).getCause(), "");
    EXPECT_STREQ(KivClException(kSample, "m:2", 2).getCause(), "");
    try {
        throw KivClExceptionFatal(kSample, "m:3", 3, "fatal");
    } catch (const KivClExceptionABase& e) {
        EXPECT_TRUE(e.isKivException());
        EXPECT_NE(dynamic_cast<const KivClException*>(&e), nullptr);
        EXPECT_NE(dynamic_cast<const KivClExceptionFatal*>(&e), nullptr);
    }
}

TEST(Assertions, ReportIsExactNeedsNoHeapAndTheProcessAborts) {
    const struct {
        const char* what;
        void (*assertion)();
        std::string report;  // with PID for the process id
    } rows[] = {
        {"plain", [] { kiv__assert("x > 0", "kiv_sample.cpp", 4294967295u); },
         "*** ASSERTION FAILED: x > 0\n***             LINE: 4294967295\n***           MODULE: kiv_sample.cpp\n"},
        {"message and function", [] { kiv__assert_msg("ptr != 0", "mod.cpp", 12, "doWork", "no buffer"); },
         "*** no buffer ***\n***         FUNCTION: doWork\n"
         "*** ASSERTION FAILED: ptr != 0\n***             LINE: 12\n***           MODULE: mod.cpp\n"},
        {"message only", [] { kiv__assert_msg("a", "m", 0, nullptr, "only message"); },
         "*** only message ***\n*** ASSERTION FAILED: a\n***             LINE: 0\n***           MODULE: m\n"},
        {"no message, no function line", [] { kiv__assert_msg("b", "m", 7, "lonelyFunction", nullptr); },
         "*** ASSERTION FAILED: b\n***             LINE: 7\n***           MODULE: m\n"},
        {"no heap", [] { gRefuseNew = true, kiv__assert_msg("p", "m.cpp", 3, "f", "heap gone"); },
         "*** heap gone ***\n***         FUNCTION: f\n"
         "*** ASSERTION FAILED: p\n***             LINE: 3\n***           MODULE: m.cpp\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const kivtest::ChildResult child = kivtest::runInChild([&row] {
            const std::string pid = std::to_string(static_cast<long>(::getpid()));
            if (::write(1, pid.data(), pid.size()) < 0) return 99;
            row.assertion();
            return 0;
        });
        ASSERT_TRUE(child.signaled && child.signal == SIGABRT) << child.signal;
        EXPECT_EQ(child.err, "\n*** INTERNAL ERROR OCCURED ***\n" + row.report + "***       PROCESS ID: " +
                                 child.out + "\n\n\n");
    }
    // An over-long expression is cut, and the report still ends.
    static const std::string longExpression(20000, 'x');
    const kivtest::ChildResult cut = kivtest::runInChild([] {
        kiv__assert(longExpression.c_str(), "m.cpp", 3);
        return 0;
    });
    ASSERT_TRUE(cut.signaled);
    EXPECT_LT(cut.err.size(), 10000u);
    EXPECT_EQ(cut.err.substr(cut.err.size() - 3), "\n\n\n");
    EXPECT_NE(cut.err.find("*** ASSERTION FAILED: xxxx"), std::string::npos);
}
