// IBAA random numbers, sleeping, the wall-clock timer, timestamps and thread ids.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <ctime>
#include <set>
#include <vector>

#include <unistd.h>

#include "kiv_random.hpp"
#include "kiv_test_support.hpp"
#include "kiv_timing.hpp"

namespace {

// The first count results of IBAA as published (Jenkins' barrel/ind form),
// written apart from the library's code.
std::vector<uint32_t> referenceIbaa(uint32_t seed, size_t count) {
    uint32_t m[256], r[256], a = 0, b = 0, s = seed | 1u;
    for (uint32_t& word : m) {
        const uint32_t q = s / 127773u;
        word = s = 16807u * (s - 127773u * q) - 2836u * q;
    }
    std::vector<uint32_t> results;
    while (results.size() < count) {
        for (uint32_t i = 0; i < 256; ++i) {
            const uint32_t x = m[i];
            a = ((a << 19) ^ (a >> 13)) + m[(i + 128) & 255u];
            const uint32_t y = m[i] = m[x & 255u] + a + b;
            r[i] = b = m[(y >> 8) & 255u] + x;
        }
        for (int i = 255; i >= 0 && results.size() < count; --i) results.push_back(r[i]);
    }
    return results;
}

std::vector<uint32_t> draw(const KivClRandomNumberGenerator& generator, size_t count) {
    std::vector<uint32_t> numbers;
    for (size_t i = 0; i < count; ++i) numbers.push_back(generator.getRandomNumber());
    return numbers;
}

double now() { return KivClTiming().wallClockTime(); }

}  // namespace

TEST(Random, PublishedAlgorithmAndSeeds) {
    for (uint32_t seed : {0u, 42u, 127773u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(draw(KivClRandomNumberGenerator(seed), 1000), referenceIbaa(seed, 1000)) << seed;
    }
    KivClRandomNumberGenerator first(7), second(7);
    const std::vector<uint32_t> sequence = draw(first, 600);
    EXPECT_EQ(draw(second, 600), sequence);
    // The lowest bit is forced on: seeds 2 and 3 agree, 2 and 4 do not.
    EXPECT_EQ(draw(KivClRandomNumberGenerator(2), 300), draw(KivClRandomNumberGenerator(3), 300));
    EXPECT_NE(draw(KivClRandomNumberGenerator(2), 300), draw(KivClRandomNumberGenerator(4), 300));
    // init() restarts completely, whatever was drawn before.
    first.init(7);
    EXPECT_EQ(draw(first, 600), sequence);
    // ibaa() makes the next round current, as if the rest of this one had been drawn.
    KivClRandomNumberGenerator skipping(9);
    draw(skipping, 10);
    skipping.ibaa();
    EXPECT_EQ(skipping.getRandomNumber(), referenceIbaa(9, 257)[256]);

    const std::vector<uint32_t> clockSeeded = draw(KivClRandomNumberGenerator(), 100);
    EXPECT_GT(std::set<uint32_t>(clockSeeded.begin(), clockSeeded.end()).size(), 95u);
}

TEST(Random, ScaledNumbers) {
    KivClRandomNumberGenerator zero(11);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(zero.getRandomNumber(0), 0u);

    // raw / 4294967295 * max, truncated: the exact quotient, except that one
    // within rounding distance of a whole number may come out one less.
    for (uint32_t max : {1u, 9u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        KivClRandomNumberGenerator scaled(13);
        for (uint32_t raw : referenceIbaa(13, 2000)) {
            const uint32_t value = scaled.getRandomNumber(max);
            const uint64_t product = static_cast<uint64_t>(raw) * max, exact = product / 0xFFFFFFFFull;
            const bool nearWhole = product % 0xFFFFFFFFull < 256;
            ASSERT_LE(value, max);
            ASSERT_TRUE(value == exact || (nearWhole && value + 1 == exact)) << max << " " << raw;
        }
    }
}

TEST(Sleep, DurationsWrappingAndInterruption) {
    const double start = now();
    EXPECT_EQ(kivSleepMilliSeconds(1500), 0);
    EXPECT_GE(now() - start, 1.5);
    // The unit conversions wrap at 32 bits: 2^28 hours and 2^30 minutes are
    // 0 seconds, 4294968 ms are 704 microseconds.
    EXPECT_EQ(kivSleepHours(1u << 28), 0u);
    EXPECT_EQ(kivSleepMinutes(1u << 30), 0u);
    EXPECT_EQ(kivSleepMilliSeconds(4294968u), 0);
    EXPECT_EQ(kivSleepMicroSeconds(0), 0);
    EXPECT_EQ(kivSleepSeconds(0), 0u);
    EXPECT_LT(now() - start, 6.0);

    // A signal ends a sleep early: sleep() reports the seconds left, select() -1.
    const kivtest::ChildResult child = kivtest::runInChild([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // no SA_RESTART, so the signal interrupts the sleep
        sigaction(SIGALRM, &action, nullptr);
        alarm(1);
        const unsigned left = kivSleepSeconds(30);
        alarm(1);
        return left > 0 && left < 30 && kivSleepMilliSeconds(30000) == -1 ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0);
}

TEST(Timing, IntervalsTimeStampAndThreadProperty) {
    KivClTiming timing;
    EXPECT_EQ(timing.stop(), 0.0);  // not running
    EXPECT_NEAR(timing.wallClockTime(), static_cast<double>(std::time(nullptr)), 2.0);
    // Intervals include the microseconds and add up in the total.
    double sum = 0.0;
    for (int i = 0; i < 2; ++i) {
        timing.start();
        kivSleepMicroSeconds(2000);
        const double interval = timing.stop();
        EXPECT_GE(interval, 0.0019);
        EXPECT_EQ(timing.getLastInterval(), interval);
        sum += interval;
    }
    EXPECT_DOUBLE_EQ(timing.getTotal(), sum);
    timing.init(true);
    EXPECT_EQ(timing.getTotal(), 0.0);
    EXPECT_EQ(timing.getLastInterval(), 0.0);
    EXPECT_TRUE(timing.isRunning());
    timing.init(false);
    EXPECT_FALSE(timing.isRunning());

    // Timestamps are monotonic microseconds: a 2 ms sleep advances them by
    // at least 2000 (modulo the 32-bit wrap).
    const uint32_t before = kivGetTimeStamp();
    kivSleepMicroSeconds(2000);
    EXPECT_GE(static_cast<uint32_t>(kivGetTimeStamp() - before), 2000u);
    // The main thread's kernel id is the process id.
    EXPECT_EQ(KivClThreadProperty().getId(), static_cast<unsigned long>(getpid()));
    // A forked child does not keep its parent's id.
    const kivtest::ChildResult child = kivtest::runInChild(
        [] { return KivClThreadProperty().getId() == static_cast<unsigned long>(getpid()) ? 0 : 1; });
    EXPECT_TRUE(child.exited && child.exitCode == 0);
    const KivClThreadProperty given(4711);
    EXPECT_EQ(given.getId(), 4711ul);
    EXPECT_TRUE(KivClThreadProperty() != given);
    EXPECT_TRUE(KivClThreadProperty(0) == KivClThreadProperty(0));
}
