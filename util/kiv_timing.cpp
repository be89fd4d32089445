// Sleeping, wall-clock timing, trace timestamps and thread ids.
#include "kiv_timing.hpp"

#include <fcntl.h>
#include <pthread.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#if defined(__x86_64__)
#include <cpuid.h>
#include <x86intrin.h>
#endif

unsigned int kivSleepHours(uint32_t hours) { return kivSleepMinutes(hours * 60u); }

unsigned int kivSleepMinutes(uint32_t minutes) { return kivSleepSeconds(minutes * 60u); }

unsigned int kivSleepSeconds(uint32_t seconds) { return sleep(seconds); }

int kivSleepMilliSeconds(uint32_t milliseconds) { return kivSleepMicroSeconds(milliseconds * 1000u); }

int kivSleepMicroSeconds(uint32_t microseconds) {
    timeval timeout{};
    timeout.tv_sec = static_cast<time_t>(microseconds / 1000000u);
    timeout.tv_usec = static_cast<suseconds_t>(microseconds % 1000000u);
    return select(0, nullptr, nullptr, nullptr, &timeout);
}

namespace {

uint64_t monotonicNanos() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

#if defined(__x86_64__)
// Reading the monotonic clock costs tens of nanoseconds, more than the rest
// of a trace record's header together; the processor's time-stamp counter
// costs a fraction of that. Where the kernel itself keeps its clock on that
// counter (so it runs at a constant rate and agrees between processors), a
// thread reads the clock only every few milliseconds and carries it forward
// with the counter in between, at the rate the last two clock readings
// showed. Each thread keeps its own anchor, so nothing is shared or locked.
struct CounterClock {
    uint64_t anchorTicks;   // counter at the anchor
    uint64_t anchorNanos;   // monotonic clock at the anchor
    uint64_t nanosPerTick;  // 32.32 fixed point; 0 until two anchors are far enough apart
    uint64_t reachTicks;    // ticks after the anchor that are carried forward
    uint64_t lastNanos;     // the latest time handed out
};
__attribute__((tls_model("initial-exec"))) thread_local CounterClock tlsCounterClock = {};

// A new anchor is taken this often, and the first rate is measured over at
// least the shorter time.
constexpr uint64_t ANCHOR_NANOS = 10000000;
constexpr uint64_t FIRST_RATE_NANOS = 2000000;
// Most counter ticks a clock reading may take to become an anchor (a few
// microseconds at the rates counters run at).
constexpr uint64_t MAX_ANCHOR_SPREAD_TICKS = 20000;

// True when the processor's counter runs at a constant rate in every power
// state and the kernel's clock source is that counter.
bool counterIsClockSource() {
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (__get_cpuid(0x80000007u, &eax, &ebx, &ecx, &edx) == 0 || (edx & (1u << 8)) == 0) return false;
    const int fd = open("/sys/devices/system/clocksource/clocksource0/current_clocksource", O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    char name[8] = {};
    const ssize_t got = read(fd, name, sizeof(name));
    close(fd);
    return got == 4 && memcmp(name, "tsc\n", 4) == 0;
}

// Reads the clock, measures the counter's rate against the previous anchor
// when it lies far enough back, and makes this reading the new anchor.
__attribute__((noinline)) uint64_t anchorCounterClock(CounterClock& clock) {
    const uint64_t before = __rdtsc();
    const uint64_t nanos = monotonicNanos();
    const uint64_t spread = __rdtsc() - before;
    // A reading that took long (the thread was preempted in between) does
    // not say which tick the clock belongs to: the old anchor stays.
    if (spread > MAX_ANCHOR_SPREAD_TICKS) return nanos;
    const uint64_t ticks = before + spread / 2;
    const bool measured = clock.anchorNanos != 0 && ticks > clock.anchorTicks && nanos > clock.anchorNanos;
    if (!measured || nanos - clock.anchorNanos >= FIRST_RATE_NANOS) {
        if (measured) {
            const unsigned __int128 scaled = static_cast<unsigned __int128>(nanos - clock.anchorNanos) << 32;
            clock.nanosPerTick = static_cast<uint64_t>(scaled / (ticks - clock.anchorTicks));
            if (clock.nanosPerTick != 0) {
                // Carried forward for ANCHOR_NANOS, never so far that the
                // product of ticks and rate leaves 64 bits.
                const uint64_t reach = (ANCHOR_NANOS << 32) / clock.nanosPerTick;
                const uint64_t limit = UINT64_MAX / clock.nanosPerTick;
                clock.reachTicks = reach < limit ? reach : limit;
            }
        }
        clock.anchorTicks = ticks;
        clock.anchorNanos = nanos;
    }
    return nanos;
}
#endif

}  // namespace

uint32_t kivGetTimeStamp() {
#if defined(__x86_64__)
    // Decided at the first call, so that loading the library reads no file.
    static const bool counterClock = counterIsClockSource();
    if (counterClock) {
        CounterClock& clock = tlsCounterClock;
        const uint64_t elapsed = __rdtsc() - clock.anchorTicks;  // huge when the counter went back
        uint64_t nanos = clock.nanosPerTick != 0 && elapsed < clock.reachTicks
                             ? clock.anchorNanos + ((elapsed * clock.nanosPerTick) >> 32)
                             : anchorCounterClock(clock);
        // A new anchor may lie a little behind what the old rate carried
        // forward to: the thread's times never go back.
        if (nanos < clock.lastNanos) nanos = clock.lastNanos;
        clock.lastNanos = nanos;
        return static_cast<uint32_t>(nanos / 1000u);
    }
#endif
    return static_cast<uint32_t>(monotonicNanos() / 1000u);
}

namespace {

// gettid() is a system call; every traced record asks for the id, so each
// thread keeps it. A forked child's thread has a new id: the fork handler
// clears the copy it inherited. The initial-exec model reaches the copy
// without a call into the dynamic linker on every record.
__attribute__((tls_model("initial-exec"))) thread_local unsigned long tlsThreadId = 0;

void forgetThreadId() { tlsThreadId = 0; }

[[maybe_unused]] const int gs_iForkHandlerInstalled = pthread_atfork(nullptr, nullptr, forgetThreadId);

}  // namespace

KivClThreadProperty::KivClThreadProperty() {
    if (tlsThreadId == 0) tlsThreadId = static_cast<unsigned long>(gettid());
    id_ = tlsThreadId;
}

void KivClTiming::init(bool startNow) {
    startTime_ = 0.0;
    stopTime_ = 0.0;
    lastInterval_ = 0.0;
    total_ = 0.0;
    running_ = false;
    if (startNow) start();
}

void KivClTiming::start() {
    startTime_ = wallClockTime();
    running_ = true;
}

double KivClTiming::stop() {
    if (!running_) return 0.0;
    stopTime_ = wallClockTime();
    running_ = false;
    lastInterval_ = stopTime_ - startTime_;
    total_ += lastInterval_;
    return lastInterval_;
}

double KivClTiming::wallClockTime() const {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 0.000001;
}
