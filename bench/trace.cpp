// Recording trace records beside the least any recorder must do: copying the
// same bytes into a ring. The ratio is the cost of filtering, building and
// compressing a record. With tracing off, kivTraceIsEnabled() should cost
// about one load.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "kiv_trace.hpp"

namespace {

// Tracing into a 16 MiB ring whose hand-overs go nowhere (a device is
// refused as trace file), so the file system stays out of the figures.
void startTracing(const char* compress) {
    setenv("KIVBENCH_TRACE_ACTIVE", "1", 1);
    setenv("KIVBENCH_TRACE_BUFSIZE", "16384", 1);
    setenv("KIVBENCH_TRACE_FILE", "/dev/null", 1);
    kivTraceCreateInstance("KIVBENCH", nullptr);
    KivClTraceInstance_getInstance()->getEnvironment().getSettings().setFlag(
        KivClTraceSettings::FLAG_COMPRESSION, compress != nullptr);
}

}  // namespace

static void Trace_kivTraceDump(benchmark::State& state) {
    startTracing(state.range(0) ? "on" : nullptr);
    int32_t value = 0;
    for (auto _ : state) {
        if (kivTraceIsEnabled()) {
            kivTraceDump(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_INT32, "Worker::step", "value", &value, 4);
        }
        ++value;
    }
    kivTraceDeleteInstance();
}

static void Trace_ringCopy(benchmark::State& state) {
    // Header, the two texts and the data: what one record above stores.
    const size_t recordSize = 20 + 5 + 12 + 4;
    std::vector<char> ring(16u << 20);
    const char record[64] = "record bytes";
    size_t position = 0;
    for (auto _ : state) {
        if (position + recordSize > ring.size()) position = 0;
        memcpy(ring.data() + position, record, recordSize);
        position += recordSize;
        benchmark::ClobberMemory();
    }
}

static void Trace_isEnabledOff(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(kivTraceIsEnabled());
}

BENCHMARK(Trace_kivTraceDump)->Arg(0)->Arg(1);
BENCHMARK(Trace_ringCopy);
BENCHMARK(Trace_isEnabledOff);
