// Helpers shared by the trace test suites.
#ifndef KIV_TRACE_TEST_HELPERS_HPP
#define KIV_TRACE_TEST_HELPERS_HPP

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kiv_test_support.hpp"
#include "kiv_traceentry.hpp"

namespace kivtest {

// The trace variables of one key for one test: _FILE names trace.trc in the
// given directory, every other variable starts unset.
class TraceKeyEnv {
public:
    TraceKeyEnv(const std::string& key, const TempDir& dir) : key_(key), file(dir.file("trace.trc")) {
        static const char* const suffixes[] = {"ACTIVE",   "DETAIL",  "AUTOSAVE", "AUTOFLUSH",
                                               "AUTOCLEAR", "COMPRESS", "COMPSET", "BUFSIZE",
                                               "FORMAT",   "VERBOSE"};
        for (const char* suffix : suffixes) set(suffix, nullptr);
        set("FILE", file.c_str());
    }
    // Sets <key>_TRACE_<suffix>; a null value unsets it.
    void set(const char* suffix, const char* value) {
        const std::string name = key_ + "_TRACE_" + suffix;
        vars_.push_back(std::make_unique<ScopedEnv>(name.c_str(), value));
    }

private:
    std::string key_;
    std::vector<std::unique_ptr<ScopedEnv>> vars_;

public:
    const std::string file;
};

// One uncompressed record written by hand, for files a writer would never
// produce.
struct RawRecord {
    uint32_t type;
    std::string message;
    std::string function;
    std::string data;
    uint32_t detail = 1;
    uint32_t componentId = 0;
    uint32_t timeStamp = 0;
    uint32_t processId = 0;
    uint32_t threadId = 0;
};

inline std::string makeRecord(const RawRecord& r) {
    _KivStTraceRecordHeader header{};
    header.flags = static_cast<uint8_t>((r.type & 0x1F) | (r.detail << 6));
    header.componentId = static_cast<uint8_t>(r.componentId);
    header.length1 = static_cast<uint8_t>(r.message.size());
    header.length2 = static_cast<uint8_t>(r.function.size());
    header.timeStamp = r.timeStamp;
    header.processId = r.processId;
    header.threadId = r.threadId;
    header.dataLength = static_cast<uint32_t>(r.data.size());
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof(header));
    return bytes + r.message + r.function + r.data;
}

// The bytes of a value in host order.
template <typename T>
std::string bytesOf(T value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

}  // namespace kivtest

#endif  // KIV_TRACE_TEST_HELPERS_HPP
