// Helpers shared by the trace test suites.
#ifndef KIV_TRACE_TEST_HELPERS_HPP
#define KIV_TRACE_TEST_HELPERS_HPP

#include <cfloat>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "kiv_test_support.hpp"
#include "kiv_trace.hpp"
#include "kiv_traceentry.hpp"

namespace kivtest {

// The trace variables of one key: _FILE names trace.trc in dir, the others
// start unset. Everything is restored when the object goes away.
struct TraceKeyEnv {
    TraceKeyEnv(const std::string& name, const TempDir& dir) : key(name), file(dir.file("trace.trc")) {
        for (const char* suffix : {"ACTIVE", "DETAIL", "AUTOSAVE", "AUTOFLUSH", "AUTOCLEAR", "COMPRESS", "COMPSET",
                                   "BUFSIZE", "FORMAT", "VERBOSE"}) {
            set(suffix, nullptr);
        }
        set("FILE", file.c_str());
    }
    // Sets <key>_TRACE_<suffix>; null unsets it.
    void set(const char* suffix, const char* value) {
        vars.push_back(std::make_unique<ScopedEnv>((key + "_TRACE_" + suffix).c_str(), value));
    }
    const std::string key, file;
    std::vector<std::unique_ptr<ScopedEnv>> vars;
};

// An uncompressed record written by hand, for files no writer would produce.
struct RawRecord {
    uint32_t type;
    std::string message, function, data;
    uint32_t detail = 1, componentId = 0, timeStamp = 0, processId = 0, threadId = 0;
};

inline std::string makeRecord(const RawRecord& r) {
    const _KivStTraceRecordHeader header{static_cast<uint8_t>((r.type & 0x1F) | (r.detail << 6)),
                                         static_cast<uint8_t>(r.componentId), static_cast<uint8_t>(r.message.size()),
                                         static_cast<uint8_t>(r.function.size()), r.timeStamp, r.processId,
                                         r.threadId, static_cast<uint32_t>(r.data.size())};
    return std::string(reinterpret_cast<const char*>(&header), sizeof(header)) + r.message + r.function + r.data;
}

// The bytes of a value in host order; of an x87 long double only its 10
// significant bytes, the padding after them zero, so files are fully defined.
template <typename T>
std::string bytesOf(T value) {
    std::string bytes(sizeof(value), '\0');
    std::memcpy(&bytes[0], &value, std::is_same<T, long double>::value && LDBL_MANT_DIG == 64 ? 10 : sizeof(value));
    return bytes;
}

// A record read back from a trace file.
struct ReadRecord {
    _KivStTraceRecordHeader header;
    KivEnTraceDataType type;
    std::string message, function, data;
};

inline std::vector<ReadRecord> readRecords(KivClTraceEnvironment& environment) {
    std::ifstream in(environment.getTraceFileName().getAsCString(), std::ios::binary);
    std::vector<ReadRecord> records;
    for (KivClTraceFileEntry entry(environment); entry.read(in);) {
        records.push_back({entry.getHeader(), entry.getType(), entry.getMessage(), entry.getFunctionName(),
                           std::string(entry.getDataLength(), '\0')});
        in.read(&records.back().data[0], static_cast<std::streamsize>(records.back().data.size()));
    }
    return records;
}

}  // namespace kivtest

#endif  // KIV_TRACE_TEST_HELPERS_HPP
