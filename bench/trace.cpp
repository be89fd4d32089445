// Trace recording and formatting beside spdlog, the logger a user would pick
// instead, and beside the least any ring recorder must do (names are
// <Case>_<implementation> for bench/compare):
//  - TraceRecord: one enabled record through kivTraceDump (compression on,
//    a 30-character message, a 20-character function name, 16 data bytes,
//    a 64 KB ring autosaved to a file on tmpfs) beside a synchronous spdlog
//    logger with a null sink formatting the same fields, and beside the two
//    memcpy of header and payload into a ring (memcpyFloor), and beside
//    what the record's rules cost before any of kiv's own work: reading
//    the monotonic clock, the two copies, and at every wrap opening,
//    appending the ring to and closing a file on the same tmpfs
//    (clockFileFloor);
//  - TraceDisabled: kivTraceIsEnabled() with tracing off beside spdlog's
//    should_log at a level that is off;
//  - TraceFormat: a 1,000,000-record trace file formatted to a null stream
//    with the default format, beside spdlog formatting the same events
//    (default pattern) to a stream that discards them.
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <spdlog/fmt/bin_to_hex.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "kiv_trace.hpp"
#include "kiv_traceformat.hpp"

namespace {

const char MESSAGE[] = "connection accepted from peer!";  // 30 characters
const char FUNCTION[] = "Server::acceptClient";           // 20 characters
const unsigned char DATA[16] = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE,
                                0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF};
static_assert(sizeof(MESSAGE) == 31 && sizeof(FUNCTION) == 21, "field lengths");

constexpr long kFormatRecords = 1000000;

// Trace files live on tmpfs when the machine has one, so that autosave
// costs what writing to the page cache costs and no disk latency.
std::string scratchDirectory() {
    static const std::string directory = [] {
        std::string base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
        std::string pattern = base + "/kivbench.XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        const char* made = mkdtemp(buffer.data());
        return std::string(made != nullptr ? made : base.c_str());
    }();
    return directory;
}

std::string recordFile() { return scratchDirectory() + "/record.trc"; }
std::string formatPath() { return scratchDirectory() + "/format.trc"; }

// Removes the scratch files and directory when the program ends.
struct ScratchCleaner {
    ~ScratchCleaner() {
        unlink(recordFile().c_str());
        unlink(formatPath().c_str());
        rmdir(scratchDirectory().c_str());
    }
} scratchCleaner;

// Starts the process's trace instance on key with a 64 KB ring, compression
// and autosave on (their defaults) into file.
void startTracing(const char* key, const std::string& file) {
    const std::string prefix = key;
    setenv((prefix + "_TRACE_ACTIVE").c_str(), "1", 1);
    setenv((prefix + "_TRACE_BUFSIZE").c_str(), "64", 1);
    setenv((prefix + "_TRACE_FILE").c_str(), file.c_str(), 1);
    unlink(file.c_str());
    kivTraceCreateInstance(key, nullptr);
}

void TraceRecord_kiv(benchmark::State& state) {
    const std::string file = recordFile();
    startTracing("KIVBENCH", file);
    uint32_t count = 0;
    for (auto _ : state) {
        if (kivTraceIsEnabled()) {
            kivTraceDump(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_DATA, FUNCTION, MESSAGE, DATA,
                         sizeof DATA);
        }
        // Keeps the autosaved file from filling tmpfs; the cost of this
        // rare truncation is counted against the library.
        if ((++count & 0xFFFFF) == 0) benchmark::DoNotOptimize(truncate(file.c_str(), 0));
    }
    kivTraceDeleteInstance();
    unlink(file.c_str());
}

void TraceRecord_spdlog(benchmark::State& state) {
    auto sink = std::make_shared<spdlog::sinks::null_sink_st>();
    spdlog::logger logger("bench", sink);
    logger.set_level(spdlog::level::debug);
    for (auto _ : state) {
        logger.debug("{}: {} {}", FUNCTION, MESSAGE, spdlog::to_hex(DATA, DATA + sizeof DATA));
    }
}

// The two copies any record needs: header and texts as compressed by the
// library (20 + 23 + 15 bytes), then the payload, into a 64 KB ring.
void TraceRecord_memcpyFloor(benchmark::State& state) {
    constexpr size_t kHeader = 20 + 23 + 15;
    std::vector<char> ring(65535 - 24);
    char header[kHeader] = "header and compressed texts";
    size_t position = 0;
    for (auto _ : state) {
        if (position + kHeader + sizeof DATA > ring.size()) position = 0;
        memcpy(ring.data() + position, header, kHeader);
        position += kHeader;
        memcpy(ring.data() + position, DATA, sizeof DATA);
        position += sizeof DATA;
        benchmark::ClobberMemory();
    }
}

// The clock and the autosave alone, the same record size as the library's
// (header, compressed texts, data) and the same 64 KB ring.
void TraceRecord_clockFileFloor(benchmark::State& state) {
    constexpr size_t kHeader = 20 + 23 + 15;
    const std::string file = scratchDirectory() + "/floor.trc";
    unlink(file.c_str());
    std::vector<char> ring(65535 - 24);
    char header[kHeader] = "header and compressed texts";
    size_t position = 0;
    uint32_t count = 0;
    for (auto _ : state) {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        const uint32_t stamp = static_cast<uint32_t>(now.tv_sec * 1000000 + now.tv_nsec / 1000);
        memcpy(header, &stamp, sizeof stamp);
        if (position + kHeader + sizeof DATA > ring.size()) {
            const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0666);
            if (fd >= 0) {
                benchmark::DoNotOptimize(write(fd, ring.data(), position));
                close(fd);
            }
            position = 0;
        }
        memcpy(ring.data() + position, header, kHeader);
        position += kHeader;
        memcpy(ring.data() + position, DATA, sizeof DATA);
        position += sizeof DATA;
        benchmark::ClobberMemory();
        if ((++count & 0xFFFFF) == 0) benchmark::DoNotOptimize(truncate(file.c_str(), 0));
    }
    unlink(file.c_str());
}

void TraceDisabled_kiv(benchmark::State& state) {
    kivTraceDeleteInstance();
    for (auto _ : state) benchmark::DoNotOptimize(kivTraceIsEnabled());
}

void TraceDisabled_spdlog(benchmark::State& state) {
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_st>());
    logger.set_level(spdlog::level::info);
    for (auto _ : state) benchmark::DoNotOptimize(logger.should_log(spdlog::level::debug));
}

// Discards everything written to it, one call per buffer-full.
class NullBuffer : public std::streambuf {
protected:
    int overflow(int c) override { return c == traits_type::eof() ? 0 : c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// Records kFormatRecords records like TraceRecord's into a file, once.
std::string formatFile() {
    static const std::string file = [] {
        const std::string path = formatPath();
        startTracing("KIVFORMAT", path);
        for (long i = 0; i < kFormatRecords; ++i) {
            kivTraceDump(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_DATA, FUNCTION, MESSAGE, DATA,
                         sizeof DATA);
        }
        kivTraceDeleteInstance();
        return path;
    }();
    return file;
}

void TraceFormat_kiv(benchmark::State& state) {
    const std::string file = formatFile();
    setenv("KIVFORMAT_TRACE_FILE", file.c_str(), 1);
    unsetenv("KIVFORMAT_TRACE_FORMAT");
    KivClTraceEnvironment environment("KIVFORMAT", nullptr, true);
    NullBuffer discard;
    std::ostream output(&discard);
    for (auto _ : state) {
        KivClTraceFormatter formatter(environment);
        formatter.format(output);
        if (formatter.getEntryCount() != kFormatRecords) state.SkipWithError("records lost");
    }
    state.SetItemsProcessed(state.iterations() * kFormatRecords);
}

void TraceFormat_spdlog(benchmark::State& state) {
    NullBuffer discard;
    std::ostream output(&discard);
    spdlog::logger logger("bench", std::make_shared<spdlog::sinks::ostream_sink_st>(output));
    logger.set_level(spdlog::level::debug);
    const int pid = static_cast<int>(getpid());
    for (auto _ : state) {
        for (long i = 0; i < kFormatRecords; ++i) {
            logger.debug("{}\n   P: {}, T: {}, D: {}, C: {}\n   Data: {} ({}: {}\n)", FUNCTION, pid,
                         0, 1, 3, MESSAGE, "DATA", spdlog::to_hex(DATA, DATA + sizeof DATA));
        }
    }
    state.SetItemsProcessed(state.iterations() * kFormatRecords);
}

}  // namespace

BENCHMARK(TraceRecord_kiv);
BENCHMARK(TraceRecord_spdlog);
BENCHMARK(TraceRecord_memcpyFloor);
BENCHMARK(TraceRecord_clockFileFloor);
BENCHMARK(TraceDisabled_kiv);
BENCHMARK(TraceDisabled_spdlog);
BENCHMARK(TraceFormat_kiv)->Unit(benchmark::kMillisecond);
BENCHMARK(TraceFormat_spdlog)->Unit(benchmark::kMillisecond);
