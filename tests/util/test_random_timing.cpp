// IBAA random numbers, sleeping, the wall-clock timer, timestamps and thread ids.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <ctime>
#include <set>
#include <vector>

#include <sys/time.h>
#include <unistd.h>

#include "kiv_random.hpp"
#include "kiv_test_support.hpp"
#include "kiv_timing.hpp"

namespace {

// IBAA as published (Jenkins' macro style), kept apart from the library's
// code so that both have to agree.
struct ReferenceIbaa {
    uint32_t m[256], r[256], aa = 0, bb = 0;
    int left = 0;

    static uint32_t ind(uint32_t x) { return x & 255u; }
    static uint32_t barrel(uint32_t a) { return (a << 19) ^ (a >> 13); }

    explicit ReferenceIbaa(uint32_t seed) {
        uint32_t s = seed | 1u;
        for (uint32_t& word : m) {
            uint32_t q = s / 127773u;
            s = 16807u * (s - 127773u * q) - 2836u * q;
            word = s;
        }
        run();
    }
    void run() {
        uint32_t a = aa, b = bb, x, y;
        for (uint32_t i = 0; i < 256; ++i) {
            x = m[i];
            a = barrel(a) + m[ind(i + 128)];
            m[i] = y = m[ind(x)] + a + b;
            r[i] = b = m[ind(y >> 8)] + x;
        }
        aa = a;
        bb = b;
        left = 256;
    }
    uint32_t next() {
        if (left == 0) run();
        return r[--left];
    }
};

std::vector<uint32_t> draw(const KivClRandomNumberGenerator& generator, size_t count) {
    std::vector<uint32_t> numbers;
    for (size_t i = 0; i < count; ++i) numbers.push_back(generator.getRandomNumber());
    return numbers;
}

double now() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return static_cast<double>(tv.tv_sec) + tv.tv_usec / 1e6;
}

void ignoreAlarm(int) {}

// Arms SIGALRM without SA_RESTART so that it interrupts the sleep calls.
void armInterruptingAlarm(unsigned seconds) {
    struct sigaction action {};
    action.sa_handler = ignoreAlarm;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    sigaction(SIGALRM, &action, nullptr);
    alarm(seconds);
}

}  // namespace

TEST(Random, MatchesPublishedAlgorithmAcrossRounds) {
    for (uint32_t seed : {0u, 1u, 42u, 127773u, 0x80000000u, 0xFFFFFFFFu}) {
        ReferenceIbaa reference(seed);
        KivClRandomNumberGenerator generator(seed);
        for (int i = 0; i < 1000; ++i) {
            ASSERT_EQ(generator.getRandomNumber(), reference.next()) << "seed " << seed << " draw " << i;
        }
    }
}

TEST(Random, SeedsAndReseeding) {
    KivClRandomNumberGenerator first(7), second(7);
    const std::vector<uint32_t> sequence = draw(first, 600);
    EXPECT_EQ(draw(second, 600), sequence);
    EXPECT_GT(std::set<uint32_t>(sequence.begin(), sequence.end()).size(), 590u);

    // The lowest bit is forced on: seeds 2 and 3 agree, 2 and 4 do not.
    KivClRandomNumberGenerator two(2), three(3), four(4);
    const std::vector<uint32_t> fromTwo = draw(two, 300);
    EXPECT_EQ(draw(three, 300), fromTwo);
    EXPECT_NE(draw(four, 300), fromTwo);

    // init() restarts completely, whatever was drawn before.
    first.init(7);
    EXPECT_EQ(draw(first, 600), sequence);

    // ibaa() makes a fresh round current: the next result is the first of
    // the following round, as if the rest of this one had been drawn.
    KivClRandomNumberGenerator skipping(9), full(9);
    draw(skipping, 10);
    skipping.ibaa();
    draw(full, 256);
    EXPECT_EQ(skipping.getRandomNumber(), full.getRandomNumber());

    // Unseeded generators still produce varied numbers.
    KivClRandomNumberGenerator clockSeeded;
    const std::vector<uint32_t> varied = draw(clockSeeded, 100);
    EXPECT_GT(std::set<uint32_t>(varied.begin(), varied.end()).size(), 95u);
}

TEST(Random, ScaledNumbers) {
    KivClRandomNumberGenerator zero(11);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(zero.getRandomNumber(0), 0u);

    // Scaling follows the raw result: raw / 4294967295 * max, truncated.
    for (uint32_t max : {1u, 9u, 1000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        KivClRandomNumberGenerator scaled(13), raw(13);
        for (int i = 0; i < 2000; ++i) {
            const uint32_t value = scaled.getRandomNumber(max);
            const uint64_t exact = static_cast<uint64_t>(raw.getRandomNumber()) * max / 0xFFFFFFFFull;
            ASSERT_LE(value, max);
            ASSERT_LE(exact - value + 1, 2u) << "max " << max;  // value is exact or exact - 1
        }
    }

    // Over many draws every value of a small range turns up.
    KivClRandomNumberGenerator dice(17);
    std::set<uint32_t> seen;
    for (int i = 0; i < 5000; ++i) seen.insert(dice.getRandomNumber(9));
    for (uint32_t value = 0; value < 9; ++value) EXPECT_EQ(seen.count(value), 1u) << value;
    EXPECT_LE(*seen.rbegin(), 9u);
}

TEST(Sleep, DurationsAndWrapping) {
    double start = now();
    EXPECT_EQ(kivSleepMilliSeconds(1500), 0);
    double elapsed = now() - start;
    EXPECT_GE(elapsed, 1.5);
    EXPECT_LT(elapsed, 10.0);

    start = now();
    EXPECT_EQ(kivSleepMicroSeconds(250000), 0);
    EXPECT_GE(now() - start, 0.25);

    start = now();
    EXPECT_EQ(kivSleepSeconds(1), 0u);
    EXPECT_GE(now() - start, 1.0);

    // The unit conversions wrap at 32 bits: 2^28 hours and 2^30 minutes are
    // 0 seconds, 4294968 ms are 704 microseconds.
    start = now();
    EXPECT_EQ(kivSleepHours(1u << 28), 0u);
    EXPECT_EQ(kivSleepMinutes(1u << 30), 0u);
    EXPECT_EQ(kivSleepMilliSeconds(4294968u), 0);
    EXPECT_EQ(kivSleepMicroSeconds(0), 0);
    EXPECT_EQ(kivSleepSeconds(0), 0u);
    EXPECT_EQ(kivSleepHours(0), 0u);
    EXPECT_LT(now() - start, 5.0);
}

TEST(Sleep, InterruptedBySignal) {
    const kivtest::ChildResult seconds = kivtest::runInChild([] {
        armInterruptingAlarm(1);
        const unsigned left = kivSleepSeconds(30);
        return left > 0 && left < 30 ? 0 : 1;
    });
    EXPECT_TRUE(seconds.exited);
    EXPECT_EQ(seconds.exitCode, 0);

    const kivtest::ChildResult micro = kivtest::runInChild([] {
        armInterruptingAlarm(1);
        return kivSleepMilliSeconds(30000) == -1 ? 0 : 1;
    });
    EXPECT_TRUE(micro.exited);
    EXPECT_EQ(micro.exitCode, 0);
}

TEST(Timing, WallClockAndIntervals) {
    KivClTiming timing;
    EXPECT_FALSE(timing.isRunning());
    EXPECT_EQ(timing.getTotal(), 0.0);
    EXPECT_EQ(timing.getLastInterval(), 0.0);
    EXPECT_EQ(timing.stop(), 0.0);

    const double wall = timing.wallClockTime();
    EXPECT_NEAR(wall, static_cast<double>(std::time(nullptr)), 2.0);
    // Microseconds are included: a 2 ms wait shows in the difference.
    kivSleepMicroSeconds(2000);
    const double later = timing.wallClockTime();
    EXPECT_GE(later - wall, 0.0019);
    EXPECT_LT(later - wall, 5.0);

    timing.start();
    EXPECT_TRUE(timing.isRunning());
    kivSleepMicroSeconds(20000);
    const double first = timing.stop();
    EXPECT_GE(first, 0.02);
    EXPECT_LT(first, 5.0);
    EXPECT_FALSE(timing.isRunning());
    EXPECT_EQ(timing.getLastInterval(), first);

    timing.start();
    kivSleepMicroSeconds(10000);
    const double second = timing.stop();
    EXPECT_GE(second, 0.01);
    EXPECT_DOUBLE_EQ(timing.getTotal(), first + second);

    timing.init(false);
    EXPECT_EQ(timing.getTotal(), 0.0);
    EXPECT_FALSE(timing.isRunning());
    timing.init(true);
    EXPECT_TRUE(timing.isRunning());
    KivClTiming started(true);
    EXPECT_TRUE(started.isRunning());
    EXPECT_GE(started.stop(), 0.0);
}

TEST(Timing, TimeStampAndThreadProperty) {
    EXPECT_EQ(kivGetTimeStamp(), 0u);
    KivClThreadProperty current;
    EXPECT_EQ(current.getId(), 0ul);
    KivClThreadProperty given(4711);
    EXPECT_EQ(given.getId(), 4711ul);
    EXPECT_TRUE(current != given);
    EXPECT_TRUE(current == KivClThreadProperty(0));
}
