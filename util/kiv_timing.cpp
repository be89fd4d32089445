// Sleeping, wall-clock timing, trace timestamps and thread ids.
#include "kiv_timing.hpp"

#include <pthread.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <ctime>

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

uint32_t kivGetTimeStamp() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64_t micros = static_cast<uint64_t>(now.tv_sec) * 1000000u +
                            static_cast<uint64_t>(now.tv_nsec) / 1000u;
    return static_cast<uint32_t>(micros);
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
