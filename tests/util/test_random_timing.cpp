// IBAA random numbers, sleeping, the wall-clock timer, timestamps and thread ids.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <ctime>
#include <set>
#include <thread>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

#include "kiv_random.hpp"
#include "kiv_test_support.hpp"
#include "kiv_timing.hpp"

namespace {

std::vector<uint32_t> draw(const KivClRandomNumberGenerator& generator, size_t count) {
    std::vector<uint32_t> numbers;
    for (size_t i = 0; i < count; ++i) numbers.push_back(generator.getRandomNumber());
    return numbers;
}

double now() { return KivClTiming().wallClockTime(); }

}  // namespace

TEST(Random, KnownAnswersAndSeeds) {
    // Results 0, 1, 2, 255, 256, 257 and 999 of IBAA seeded through the
    // minimal-standard generator, computed apart from the library.
    const size_t positions[] = {0, 1, 2, 255, 256, 257, 999};
    const struct { uint32_t seed; uint32_t results[7]; } rows[] = {
        {0u, {0x09A3B192u, 0x2083FB10u, 0x86B6B128u, 0x5443CC12u, 0xBC33571Bu, 0x969F9E55u, 0xCA4A8443u}},
        {42u, {0xD07F89E7u, 0xDC906EB6u, 0x73C3FE37u, 0x3977801Du, 0x513EE8C4u, 0x939624BFu, 0xB935ECE5u}},
        {127773u, {0xCF4C3359u, 0xA0F5C7B0u, 0x9EB18B60u, 0x5450C5E0u, 0x86C0C8B3u, 0xCE6BC7A6u, 0xF0541028u}},
    };
    for (const auto& row : rows) {
        const std::vector<uint32_t> drawn = draw(KivClRandomNumberGenerator(row.seed), 1000);
        for (size_t i = 0; i < 7; ++i) EXPECT_EQ(drawn[positions[i]], row.results[i]) << row.seed << " #" << positions[i];
    }
    // init() restarts completely, whatever was drawn before.
    KivClRandomNumberGenerator first(7);
    const std::vector<uint32_t> sequence = draw(first, 600);
    first.init(7);
    EXPECT_EQ(draw(first, 600), sequence);
    // ibaa() makes the next round current, as if the rest of this one had been drawn.
    KivClRandomNumberGenerator skipping(9);
    draw(skipping, 10);
    skipping.ibaa();
    EXPECT_EQ(skipping.getRandomNumber(), 0x437553ECu);
    const std::vector<uint32_t> clockSeeded = draw(KivClRandomNumberGenerator(), 100);
    EXPECT_GT(std::set<uint32_t>(clockSeeded.begin(), clockSeeded.end()).size(), 95u);

    // Scaled: raw / 4294967295 * max, truncated, for the first three results of seed 0.
    const struct { uint32_t max; uint32_t results[3]; } scaled[] = {
        {0, {0, 0, 0}}, {9, {0, 1, 4}}, {1000, {37, 127, 526}}, {0x7FFFFFFFu, {80861384, 272760199, 1130059923}},
        {0xFFFFFFFFu, {0x09A3B192u, 0x2083FB10u, 0x86B6B128u}},
    };
    for (const auto& row : scaled) {
        const KivClRandomNumberGenerator generator(0);
        for (uint32_t expected : row.results) EXPECT_EQ(generator.getRandomNumber(row.max), expected) << row.max;
    }
}

TEST(SleepAndTiming, DurationsInterruptionIntervalsTimeStampAndThreadIds) {
    const double start = now();
    EXPECT_EQ(kivSleepMilliSeconds(40), 0);
    EXPECT_GE(now() - start, 0.04);
    // The unit conversions wrap at 32 bits: 2^28 hours and 2^30 minutes are
    // 0 seconds, 4294968 ms are 704 microseconds.
    EXPECT_TRUE(kivSleepHours(1u << 28) == 0 && kivSleepMinutes(1u << 30) == 0 && kivSleepMilliSeconds(4294968u) == 0 &&
                kivSleepMicroSeconds(0) == 0 && kivSleepSeconds(0) == 0);
    EXPECT_LT(now() - start, 1.0);

    // A signal ends a sleep early: sleep() reports the seconds left, select() -1.
    const kivtest::ChildResult child = kivtest::runInChild([] {
        struct sigaction action {};
        action.sa_handler = [](int) {};  // no SA_RESTART, so the signal interrupts the sleep
        sigaction(SIGALRM, &action, nullptr);
        const itimerval shortly{{0, 0}, {0, 30000}};
        const double begin = now();
        setitimer(ITIMER_REAL, &shortly, nullptr);
        const unsigned left = kivSleepSeconds(30);
        setitimer(ITIMER_REAL, &shortly, nullptr);
        const int selected = kivSleepMilliSeconds(30000);
        return left > 0 && left <= 30 && selected == -1 && now() - begin < 2.0 ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0);

    KivClTiming timing;
    EXPECT_EQ(timing.stop(), 0.0);  // not running
    EXPECT_NEAR(timing.wallClockTime(), static_cast<double>(std::time(nullptr)), 2.0);
    // Intervals include the microseconds and add up in the total.
    double sum = 0.0;
    for (int i = 0; i < 2; ++i) {
        timing.start();
        kivSleepMicroSeconds(2000);
        const double interval = timing.stop();
        EXPECT_TRUE(interval >= 0.0019 && timing.getLastInterval() == interval) << interval;
        sum += interval;
    }
    EXPECT_DOUBLE_EQ(timing.getTotal(), sum);
    timing.init(true);
    EXPECT_TRUE(timing.getTotal() == 0.0 && timing.getLastInterval() == 0.0 && timing.isRunning());
    timing.init(false);
    EXPECT_FALSE(timing.isRunning());

    // Timestamps are microseconds: a 2 ms sleep advances them by 2000 (modulo the 32-bit wrap).
    const uint32_t before = kivGetTimeStamp();
    kivSleepMicroSeconds(2000);
    EXPECT_GE(static_cast<uint32_t>(kivGetTimeStamp() - before), 2000u);
    // The main thread's kernel id is the process id.
    EXPECT_EQ(KivClThreadProperty().getId(), static_cast<unsigned long>(getpid()));
    // A forked child does not keep its parent's id.
    const kivtest::ChildResult forked = kivtest::runInChild(
        [] { return KivClThreadProperty().getId() == static_cast<unsigned long>(getpid()) ? 0 : 1; });
    EXPECT_TRUE(forked.exited && forked.exitCode == 0);
    EXPECT_TRUE(KivClThreadProperty() != KivClThreadProperty(4711));
    EXPECT_TRUE(KivClThreadProperty(0) == KivClThreadProperty(0));
}

// Timestamps lie between two readings of the monotonic clock taken around
// them (within a few microseconds of carrying the clock forward), never go
// back within a thread, and keep doing so after pauses shorter and longer
// than the span one clock reading is carried forward, in several threads at
// once.
TEST(TimeStamp, FollowsTheMonotonicClockInEveryThread) {
    auto clockMicros = [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<uint32_t>(static_cast<uint64_t>(now.tv_sec) * 1000000u + now.tv_nsec / 1000);
    };
    auto follow = [&clockMicros](int rounds) {
        const uint32_t pauses[] = {0, 50, 500, 2500, 5500, 11000};
        int failures = 0;
        uint32_t last = kivGetTimeStamp();
        for (int round = 0; round < rounds; ++round) {
            for (int tight = 0; tight < 1000; ++tight) {
                const uint32_t stamp = kivGetTimeStamp();
                failures += static_cast<int32_t>(stamp - last) < 0;
                last = stamp;
            }
            const uint32_t before = clockMicros();
            const uint32_t stamp = kivGetTimeStamp();
            const uint32_t after = clockMicros();
            failures += static_cast<int32_t>(stamp - before) < -5 || static_cast<int32_t>(after - stamp) < -5;
            failures += static_cast<int32_t>(stamp - last) < 0;
            last = stamp;
            kivSleepMicroSeconds(pauses[round % 6]);
        }
        return failures;
    };
    int other = -1;
    std::thread second([&] { other = follow(60); });
    EXPECT_EQ(follow(60), 0);
    second.join();
    EXPECT_EQ(other, 0);
}
