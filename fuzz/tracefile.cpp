// Formats arbitrary bytes as a trace file: every input must end in printed
// records or one of the formatter's fatal exceptions, never out of bounds.
// The first byte also selects the options and whether the bytes are read as
// a component set, detail level and process and thread id text.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <unistd.h>

#include "kiv_traceformat.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A memory file system where there is one: the file is rewritten per input.
    static const std::string path = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    "/kiv_fuzz_trace." + std::to_string(getpid());
    static const struct Cleanup {
        Cleanup() { setenv("KIVFUZZ_TRACE_FILE", path.c_str(), 1); }
        ~Cleanup() { unlink(path.c_str()); }
    } cleanup;
    if (size == 0) return 0;
    const uint8_t options = data[0];
    if (options & 0x80) {
        const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
        KivClTraceFilter filter;
        filter.enableComponentIds(text.c_str());
        filter.setDetail(text.c_str());
        const int detail = filter.getDetail();
        if (detail < KIV_TRACE_DETAIL_OFF || detail > KIV_TRACE_DETAIL_HIGH) abort();
        filter.setProcessId(text.c_str());
        filter.setThreadId(text.c_str());
        return 0;
    }
    if (FILE* file = fopen(path.c_str(), "wb")) {
        fwrite(data + 1, 1, size - 1, file);
        fclose(file);
    }
    // One environment for every input: it only names the file.
    static KivClTraceEnvironment environment("KIVFUZZ", nullptr, true);
    static const KivClTraceFilter everything = [] {
        KivClTraceFilter filter;
        filter.setDetail("HIGH");
        return filter;
    }();
    KivClTraceFormatter formatter(environment, &everything);
    formatter.nest = options & 1;
    formatter.hex = options & 2;
    formatter.everyFunctionName = options & 4;
    formatter.setDisplayIndentation(options & 8 ? "  " : nullptr);
    std::ostringstream out;
    try {
        formatter.format(out);
    } catch (const KivClExceptionFatal&) {
    }
    return 0;
}
