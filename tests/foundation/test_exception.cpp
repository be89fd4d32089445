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

std::string expectedReport(const std::string& messageLines, const std::string& expression,
                           const std::string& line, const std::string& module, long pid) {
    return "\n*** INTERNAL ERROR OCCURED ***\n" + messageLines + "*** ASSERTION FAILED: " +
           expression + "\n***             LINE: " + line + "\n***           MODULE: " + module +
           "\n***       PROCESS ID: " + std::to_string(pid) + "\n\n\n";
}

// Runs an assertion in a child that first reports its pid on stdout.
kivtest::ChildResult assertInChild(const std::function<void()>& assertion) {
    return kivtest::runInChild([&assertion] {
        const std::string pid = std::to_string(static_cast<long>(::getpid()));
        if (::write(1, pid.data(), pid.size()) < 0) return 99;
        assertion();
        return 0;
    });
}

}  // namespace

TEST(Exceptions, FieldsCopiesAndNullCause) {
    const KivClException withCause(kSample, "kiv_trace_format:644", 644, "bad record");
    EXPECT_STREQ(withCause.getCause(), "bad record");
    EXPECT_STREQ(withCause.getModule(), "kiv_trace_format:644");
    EXPECT_EQ(withCause.getLine(), 644u);
    EXPECT_EQ(withCause.getError().errorId, kSample.errorId);
    EXPECT_EQ(withCause.getError().errorClass, kSample.errorClass);
    EXPECT_EQ(withCause.getError().severity, kSample.severity);
    EXPECT_EQ(withCause.getError().action, kSample.action);

    const KivClException copy(withCause);
    EXPECT_EQ(copy.getCause(), withCause.getCause());
    EXPECT_EQ(copy.getModule(), withCause.getModule());
    EXPECT_EQ(copy.getLine(), 644u);

    const KivClExceptionFatal noCause(kSample, "m:1", 1, nullptr);
    ASSERT_NE(noCause.getCause(), nullptr);
    EXPECT_STREQ(noCause.getCause(), "");
    const KivClException defaulted(kSample, "m:2", 2);
    EXPECT_STREQ(defaulted.getCause(), "");
}

TEST(Exceptions, FatalIsCaughtAsEveryBase) {
    bool caughtAsException = false;
    try {
        throw KivClExceptionFatal(kSample, "m:3", 3, "fatal");
    } catch (const KivClException& e) {
        caughtAsException = e.isKivException() && e.getLine() == 3;
    }
    EXPECT_TRUE(caughtAsException);

    bool caughtAsBase = false;
    try {
        throw KivClExceptionFatal(kSample, "m:4", 4, "fatal");
    } catch (const KivClExceptionABase& e) {
        caughtAsBase = e.isKivException() && std::string(e.getCause()) == "fatal" &&
                       dynamic_cast<const KivClExceptionFatal*>(&e) != nullptr;
    }
    EXPECT_TRUE(caughtAsBase);

    bool plainNotFatal = false;
    try {
        throw KivClException(kSample, "m:5", 5);
    } catch (const KivClExceptionFatal&) {
        plainNotFatal = false;
    } catch (const KivClException&) {
        plainNotFatal = true;
    }
    EXPECT_TRUE(plainNotFatal);
}

TEST(Assertions, ReportIsExactAndProcessAborts) {
    const kivtest::ChildResult plain =
        assertInChild([] { kiv__assert("x > 0", "kiv_sample.cpp", 4294967295u); });
    ASSERT_TRUE(plain.signaled);
    EXPECT_EQ(plain.signal, SIGABRT);
    const long pid = std::stol(plain.out);
    EXPECT_EQ(plain.err, expectedReport("", "x > 0", "4294967295", "kiv_sample.cpp", pid));

    const kivtest::ChildResult full = assertInChild(
        [] { kiv__assert_msg("ptr != 0", "mod.cpp", 12, "doWork", "no buffer"); });
    ASSERT_TRUE(full.signaled);
    EXPECT_EQ(full.signal, SIGABRT);
    EXPECT_EQ(full.err, expectedReport("*** no buffer ***\n***         FUNCTION: doWork\n",
                                       "ptr != 0", "12", "mod.cpp", std::stol(full.out)));
}

TEST(Assertions, MessageAndFunctionLinesDependOnTheMessage) {
    const kivtest::ChildResult noFunction =
        assertInChild([] { kiv__assert_msg("a", "m", 0, nullptr, "only message"); });
    ASSERT_TRUE(noFunction.signaled);
    EXPECT_EQ(noFunction.err,
              expectedReport("*** only message ***\n", "a", "0", "m", std::stol(noFunction.out)));

    const kivtest::ChildResult noMessage =
        assertInChild([] { kiv__assert_msg("b", "m", 7, "lonelyFunction", nullptr); });
    ASSERT_TRUE(noMessage.signaled);
    EXPECT_EQ(noMessage.err, expectedReport("", "b", "7", "m", std::stol(noMessage.out)));
    EXPECT_EQ(noMessage.err.find("FUNCTION"), std::string::npos);
}

TEST(Assertions, ReportNeedsNoHeapAndCutsOverlongTexts) {
    const kivtest::ChildResult noHeap = assertInChild([] {
        gRefuseNew = true;
        kiv__assert_msg("p", "m.cpp", 3, "f", "heap gone");
    });
    ASSERT_TRUE(noHeap.signaled);
    EXPECT_EQ(noHeap.err, expectedReport("*** heap gone ***\n***         FUNCTION: f\n", "p", "3",
                                         "m.cpp", std::stol(noHeap.out)));

    static const std::string longExpression(20000, 'x');
    const kivtest::ChildResult cut =
        assertInChild([] { kiv__assert(longExpression.c_str(), "m.cpp", 3); });
    ASSERT_TRUE(cut.signaled);
    EXPECT_LT(cut.err.size(), 10000u);
    EXPECT_EQ(cut.err.substr(cut.err.size() - 3), "\n\n\n");
    EXPECT_NE(cut.err.find("*** ASSERTION FAILED: xxxx"), std::string::npos);
}
