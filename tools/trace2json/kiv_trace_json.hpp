// Writes a trace file as Chrome trace-event JSON, the format that Perfetto's
// UI and chrome://tracing open, so that the calls of every thread appear on
// a timeline.
//
// One event per record, in file order, one per line:
//   function entry  {"name":"main","cat":"component 1","ph":"B","ts":..,"pid":..,"tid":..,
//                    "args":{"level":1,"detail":"OFF"}}
//   function exit   the same with "ph":"E", when its thread has an open entry;
//                   an exit without one (a trace that starts inside a call)
//                   becomes an instant event, so every begin has its end
//   anything else   an instant event ("ph":"i","s":"t") named by its message
//                   (or its function, or its type when both are empty), with
//                   "function", "message", "type" (long name), "detail" and
//                   "data" as arguments
// Data: integers and floating-point numbers as JSON numbers (infinities and
// NaN as strings), bool as true/false, C strings as strings, addresses as
// "0x..." strings, raw bytes and wide strings as a string of hexadecimal
// digit pairs with "bytes" (and "clipped":true for clipped data), a missing
// pointer as null. Timestamps are the records' microseconds; a wrap of their
// 32 bits is undone by counting it, so time keeps growing. Process and
// thread ids are written as recorded.
//
// Failure policy: write() returns the error identifier of the formatter's
// kind (TRACEFORMAT_COULD_NOT_OPEN, _UNEXPECTED_EOF, _FILE_CORRUPTED) or 0;
// on an error the output ends inside the document. Damaged files are judged
// as the formatter judges them.
//
//   KivClTraceJsonWriter writer(environment, std::cout);
//   if (writer.write() == 0) writer.getEventCount();  // one event per record
#ifndef KIV_TRACE_JSON_HPP
#define KIV_TRACE_JSON_HPP

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <utility>

#include "kiv_trace.hpp"

class KivClTraceJsonWriter {
public:
    // Neither is copied: both must outlive the writer.
    KivClTraceJsonWriter(KivClTraceEnvironment& environment, std::ostream& output);

    // Reads the environment's trace file and writes the whole document.
    // Returns 0 or the error identifier described above.
    uint32_t write();
    uint32_t getEventCount() const { return eventCount_; }

    // Writes text (length bytes) as a JSON string, quotes included.
    static void writeString(std::ostream& out, const char* text, uint32_t length);

private:
    // One record as one event. False at the clean end of the file, or with
    // error set when the record is damaged.
    bool writeEvent(std::istream& input, bool first, uint32_t& error);
    uint32_t writeData(std::istream& input, const _KivStTraceRecordHeader& header, uint32_t type);
    uint32_t writeBytesAsHex(std::istream& input, uint32_t length);
    uint32_t writeBytesAsString(std::istream& input, uint32_t length);
    void writeScalar(uint32_t type, const unsigned char* bytes);
    uint64_t unwrapTimeStamp(uint32_t timeStamp);

    KivClTraceEnvironment& environment_;
    std::ostream& out_;
    uint32_t eventCount_ = 0;
    uint64_t lastTime_ = 0;
    // Open function entries per (process id, thread id).
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> openEntries_;
};

#endif  // KIV_TRACE_JSON_HPP
