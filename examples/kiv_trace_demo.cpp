// A traced program: it records its work through the plain-function trace
// interface (function entries and exits, messages and typed data from two
// threads) under the key "KivDemo", so that kivtracectl and kivtrace2json
// have a trace to show.
//
//   export KIVDEMO_TRACE_ACTIVE=1 KIVDEMO_TRACE_DETAIL=HIGH KIVDEMO_TRACE_FILE=/tmp/demo.trc
//   kiv_trace_demo 40
//   kivtracectl -key KivDemo -display
//
// The argument is the number of rounds (default 40, at most 100000); each
// round writes nine records. Component ids: 1 main, 2 rounds, 3 raw data,
// 4 the worker thread. Details: LOW, MED and HIGH, so -fdetail has something
// to filter.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "kiv.hpp"

namespace {

const char* const KEY = "KivDemo";
constexpr long DEFAULT_ROUNDS = 40;
constexpr long MAX_ROUNDS = 100000;
constexpr unsigned short COMP_MAIN = 1, COMP_ROUND = 2, COMP_DATA = 3, COMP_WORKER = 4;

// Records one value of type T when tracing is on.
template <typename T>
void traceValue(KivEnTraceDetail detail, unsigned short component, KivEnTraceDataType type,
                const char* function, const char* message, const T& value) {
    if (kivTraceIsEnabled()) kivTraceDump(detail, component, type, function, message, &value, sizeof(value));
}

// Function entry and exit records around one scope.
class TracedScope {
public:
    TracedScope(unsigned short component, const char* function) : component_(component), function_(function) {
        dump(KIV_TRACE_TYPE_FUNCTION_ENTRY);
    }
    ~TracedScope() { dump(KIV_TRACE_TYPE_FUNCTION_EXIT); }
    TracedScope(const TracedScope&) = delete;
    TracedScope& operator=(const TracedScope&) = delete;

private:
    void dump(KivEnTraceDataType type) const {
        if (kivTraceIsEnabled()) kivTraceDump(KIV_TRACE_DETAIL_LOW, component_, type, function_, "", nullptr, 0);
    }
    unsigned short component_;
    const char* function_;
};

// One round of made-up work: a few numbers derived from the round.
int64_t measure(long round) {
    TracedScope scope(COMP_ROUND, "measure");
    const int32_t number = static_cast<int32_t>(round);
    const uint8_t letter = static_cast<uint8_t>('A' + (round - 1) % 26);
    const int16_t delta = static_cast<int16_t>(-3 * (round % 1000));
    const int64_t square = static_cast<int64_t>(round) * round * 1000000007LL;
    const double ratio = static_cast<double>(round) / 8.0;
    const bool even = round % 2 == 0;
    // 20 bytes of raw data (rounds stay below 1000000, so the number fits 6 places).
    char block[32];
    std::snprintf(block, sizeof(block), "round %-6ld block..", round);
    traceValue(KIV_TRACE_DETAIL_LOW, COMP_ROUND, KIV_TRACE_TYPE_INT32, "measure", "round", number);
    traceValue(KIV_TRACE_DETAIL_MED, COMP_ROUND, KIV_TRACE_TYPE_UINT8, "measure", "letter", letter);
    traceValue(KIV_TRACE_DETAIL_MED, COMP_ROUND, KIV_TRACE_TYPE_INT16, "measure", "delta", delta);
    traceValue(KIV_TRACE_DETAIL_HIGH, COMP_ROUND, KIV_TRACE_TYPE_INT64, "measure", "square", square);
    traceValue(KIV_TRACE_DETAIL_HIGH, COMP_ROUND, KIV_TRACE_TYPE_DOUBLE, "measure", "ratio", ratio);
    traceValue(KIV_TRACE_DETAIL_HIGH, COMP_ROUND, KIV_TRACE_TYPE_BOOL, "measure", "even", even);
    if (kivTraceIsEnabled()) {
        kivTraceDump(KIV_TRACE_DETAIL_MED, COMP_DATA, KIV_TRACE_TYPE_DATA, "measure", "block", block, 20);
    }
    return square + delta;
}

// Runs on a thread of its own while main waits, so the records of both
// threads never interleave (the trace facility takes no locks).
void summarize(long rounds, int64_t total) {
    TracedScope scope(COMP_WORKER, "summarize");
    const uint32_t done = static_cast<uint32_t>(rounds);
    const float average = static_cast<float>(rounds + 1) / 2.0f;
    traceValue(KIV_TRACE_DETAIL_LOW, COMP_WORKER, KIV_TRACE_TYPE_UINT32, "summarize", "rounds done", done);
    traceValue(KIV_TRACE_DETAIL_MED, COMP_WORKER, KIV_TRACE_TYPE_FLOAT, "summarize", "average", average);
    std::printf("%ld rounds, total %lld\n", rounds, static_cast<long long>(total));
}

long roundsFrom(int argc, char** argv) {
    if (argc < 2) return DEFAULT_ROUNDS;
    const long rounds = std::strtol(argv[1], nullptr, 10);
    if (rounds < 1) return 1;
    return rounds > MAX_ROUNDS ? MAX_ROUNDS : rounds;
}

}  // namespace

int main(int argc, char** argv) {
    kivTraceCreateInstance(KEY, nullptr);
    {
        TracedScope scope(COMP_MAIN, "main");
        const long rounds = roundsFrom(argc, argv);
        if (kivTraceIsEnabled()) {
            kivTraceDump(KIV_TRACE_DETAIL_LOW, COMP_MAIN, KIV_TRACE_TYPE_NO_DATA, "main", "trace demo starting",
                         "", 0);  // a null pointer would be recorded as missing data
            const char* greeting = "hello, trace";
            kivTraceDump(KIV_TRACE_DETAIL_LOW, COMP_MAIN, KIV_TRACE_TYPE_CSTRING, "main", "greeting", greeting, 12);
        }
        int64_t total = 0;
        for (long round = 1; round <= rounds; ++round) total += measure(round);
        std::thread worker(summarize, rounds, total);
        worker.join();
    }
    // Deleting the instance writes what is still in the ring to the trace file.
    kivTraceDeleteInstance();
    return 0;
}
