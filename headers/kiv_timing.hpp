// Sleeping, wall-clock timing, trace timestamps and the thread identity.
//
// Sleep arguments are unsigned 32-bit and the conversions between units wrap
// at 32 bits (kivSleepHours(1 << 28) sleeps 0 seconds). A sleep may end early
// when a signal arrives; the return values say so as the system calls do.
//
// Failure policy: nothing here throws or allocates; the sleep functions pass
// on what sleep() and select() return.
//
//   KivClTiming watch(true);         // running
//   kivSleepMilliSeconds(20);        // 0
//   watch.stop();                    // about 0.020 (seconds)
//   watch.getTotal();                // the same, until the next init()
//   KivClThreadProperty().getId();   // the caller's kernel thread id
#ifndef KIV_TIMING_HPP
#define KIV_TIMING_HPP

#include <cstdint>

// Sleep hours x 60 minutes, minutes x 60 seconds, or seconds with the
// system's sleep(); each returns sleep()'s result (the seconds left when
// interrupted, else 0).
unsigned int kivSleepHours(uint32_t hours);
unsigned int kivSleepMinutes(uint32_t minutes);
unsigned int kivSleepSeconds(uint32_t seconds);

// Wait milliseconds x 1000 microseconds, or microseconds, with select() on
// no descriptors; each returns select()'s result (0, or -1 when interrupted).
int kivSleepMilliSeconds(uint32_t milliseconds);
int kivSleepMicroSeconds(uint32_t microseconds);

// Timestamp for trace records: the low 32 bits of the monotonic clock in
// microseconds. It wraps about every 71 minutes; within one run of a few
// minutes, records of all processes on the machine order by it. Where the
// kernel keeps that clock on the processor's time-stamp counter, each thread
// reads the clock every few milliseconds and carries it forward with the
// counter in between (within a microsecond or so of the clock, never going
// back within the thread).
uint32_t kivGetTimeStamp();

// A wall-clock stopwatch. init() zeroes it; start() and stop() measure one
// interval, and the intervals add up in the total until the next init().
class KivClTiming {
public:
    explicit KivClTiming(bool startNow = false) { init(startNow); }

    // Zeroes all times; starts measuring at once when startNow is true.
    void init(bool startNow);
    void start();
    // Ends the interval begun by start() and returns its length in seconds;
    // 0 when not running.
    double stop();
    bool isRunning() const { return running_; }

    // Length of the last finished interval, and of all since init(), in seconds.
    double getLastInterval() const { return lastInterval_; }
    double getTotal() const { return total_; }

    // Seconds since the epoch from gettimeofday, microseconds included.
    double wallClockTime() const;

private:
    double startTime_;
    double stopTime_;
    double lastInterval_;
    double total_;
    bool running_;
};

// The identity of a thread. A default-constructed object holds the calling
// thread's kernel thread id (gettid), which equals the process id in the
// main thread; KivClThreadProperty(0) is the "no thread" value.
class KivClThreadProperty {
public:
    KivClThreadProperty();
    explicit KivClThreadProperty(unsigned long id) : id_(id) {}

    unsigned long getId() const { return id_; }
    bool operator==(const KivClThreadProperty& other) const { return id_ == other.id_; }
    bool operator!=(const KivClThreadProperty& other) const { return id_ != other.id_; }

private:
    unsigned long id_;
};

#endif  // KIV_TIMING_HPP
