// Trace file to Chrome trace-event JSON.
#include "kiv_trace_json.hpp"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "kiv_error.hpp"
#include "kiv_tracefilter.hpp"

namespace {

// Longest data of a scalar record, as the formatter accepts it.
constexpr uint32_t MAX_SCALAR_LENGTH = 127;
// Bytes read at a time from long data.
constexpr uint32_t CHUNK = 4096;
constexpr uint64_t WRAP = uint64_t{1} << 32;

bool readExactly(std::istream& input, void* destination, uint32_t length) {
    input.read(static_cast<char*>(destination), length);
    return input.gcount() == static_cast<std::streamsize>(length);
}

// A floating-point value as a JSON number; infinities and NaN have none.
template <typename T>
void writeFloating(std::ostream& out, T value, const char* format) {
    if (!std::isfinite(value)) {
        out << '"' << (std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf") << '"';
        return;
    }
    char text[64];
    std::snprintf(text, sizeof(text), format, value);
    out << text;
}

// Inner part of a JSON string: quote, backslash and control bytes escaped,
// bytes from 0x7F on as \u00XX so that the document stays valid UTF-8
// whatever the record held.
void writeStringBody(std::ostream& out, const char* text, uint32_t length) {
    for (uint32_t i = 0; i < length; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out << '\\' << static_cast<char>(c);
        } else if (c >= 0x20 && c < 0x7F) {
            out << static_cast<char>(c);
        } else {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04X", static_cast<unsigned>(c));
            out << escape;
        }
    }
}

}  // namespace

KivClTraceJsonWriter::KivClTraceJsonWriter(KivClTraceEnvironment& environment, std::ostream& output)
    : environment_(environment), out_(output) {}

uint32_t KivClTraceJsonWriter::write() {
    std::ifstream input(environment_.getTraceFileName().getAsCString(), std::ios::binary);
    if (!input.is_open()) return KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN;
    eventCount_ = 0;
    lastTime_ = 0;
    openEntries_.clear();
    out_ << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
    uint32_t error = 0;
    while (writeEvent(input, eventCount_ == 0, error)) ++eventCount_;
    if (error != 0) return error;
    out_ << "\n]}\n";
    out_.flush();
    return 0;
}

bool KivClTraceJsonWriter::writeEvent(std::istream& input, bool first, uint32_t& error) {
    KivClTraceFileEntry entry(environment_);
    if (!entry.read(input)) return false;  // clean end of the file
    const _KivStTraceRecordHeader header = entry.getHeader();
    const uint32_t type = entry.getType();
    if (input.eof()) {
        error = KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF;  // cut inside the header or the texts
    } else if (type == KIV_TRACE_TYPE_NONE || type >= KIV_TRACE_TYPE_COUNT) {
        error = KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED;
    }
    if (error != 0) return false;

    uint32_t& open = openEntries_[{header.processId, header.threadId}];
    const char* phase = "i";
    if (type == KIV_TRACE_TYPE_FUNCTION_ENTRY) {
        phase = "B";
        ++open;
    } else if (type == KIV_TRACE_TYPE_FUNCTION_EXIT && open > 0) {
        phase = "E";
        --open;
    }
    const bool instant = *phase == 'i';
    const char* name = entry.getMessage();
    uint32_t nameLength = entry.getMessageLength();
    if (!instant || nameLength == 0) name = entry.getFunctionName(), nameLength = entry.getFunctionNameLength();
    if (nameLength == 0) name = kivGetFormatDescription(type).longName, nameLength = std::strlen(name);

    out_ << (first ? "\n" : ",\n") << "{\"name\":";
    writeString(out_, name, nameLength);
    out_ << ",\"cat\":\"component " << static_cast<unsigned>(header.componentId) << "\",\"ph\":\"" << phase
         << '"' << (instant ? ",\"s\":\"t\"" : "") << ",\"ts\":" << unwrapTimeStamp(header.timeStamp)
         << ",\"pid\":" << header.processId << ",\"tid\":" << header.threadId << ",\"args\":{";
    if (instant) {
        out_ << "\"function\":";
        writeString(out_, entry.getFunctionName(), entry.getFunctionNameLength());
        out_ << ",\"message\":";
        writeString(out_, entry.getMessage(), entry.getMessageLength());
        out_ << ",\"type\":\"" << kivGetFormatDescription(type).longName << "\",";
    }
    const char* detail = KivClTraceFilter::getDetailAsCString(entry.getDetail());
    out_ << "\"detail\":\"" << (detail ? detail : "") << '"';
    error = writeData(input, header, type);
    if (error != 0) return false;
    out_ << "}}";
    return true;
}

uint32_t KivClTraceJsonWriter::writeData(std::istream& input, const _KivStTraceRecordHeader& header,
                                         uint32_t type) {
    const uint32_t length = header.dataLength;
    switch (type) {
    case KIV_TRACE_TYPE_DATA:
    case KIV_TRACE_TYPE_DATA_CLIPPED:
    case KIV_TRACE_TYPE_UNICODE:
        out_ << ",\"bytes\":" << length << (type == KIV_TRACE_TYPE_DATA_CLIPPED ? ",\"clipped\":true" : "")
             << ",\"data\":";
        return writeBytesAsHex(input, length);
    case KIV_TRACE_TYPE_CSTRING: out_ << ",\"data\":"; return writeBytesAsString(input, length);
    default: break;
    }
    if (length > MAX_SCALAR_LENGTH) return KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED;
    unsigned char bytes[MAX_SCALAR_LENGTH + 1] = {};
    if (!readExactly(input, bytes, length)) return KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF;
    switch (type) {
    case KIV_TRACE_TYPE_FUNCTION_ENTRY:
    case KIV_TRACE_TYPE_FUNCTION_EXIT: {
        if (length != 4) return KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED;
        int32_t level;
        std::memcpy(&level, bytes, sizeof(level));
        out_ << ",\"level\":" << level;
        return 0;
    }
    case KIV_TRACE_TYPE_NO_DATA: return length == 0 ? 0u : static_cast<uint32_t>(KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED);
    case KIV_TRACE_TYPE_DATA_NULL: out_ << ",\"data\":null"; return 0;
    case KIV_TRACE_TYPE_ADDRESS: {
        if (length != 4 && length != 8) return KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED;
        uint64_t address = 0;
        if (length == 4) {
            uint32_t narrow;
            std::memcpy(&narrow, bytes, sizeof(narrow));
            address = narrow;
        } else {
            std::memcpy(&address, bytes, sizeof(address));
        }
        char text[24];
        std::snprintf(text, sizeof(text), "\"0x%llx\"", static_cast<unsigned long long>(address));
        out_ << ",\"data\":" << text;
        return 0;
    }
    default: break;
    }
    out_ << ",\"data\":";
    writeScalar(type, bytes);
    return 0;
}

// Values are taken in host byte order from the zero-padded bytes, as the
// formatter takes them.
void KivClTraceJsonWriter::writeScalar(uint32_t type, const unsigned char* bytes) {
    auto value = [bytes](auto zero) {
        decltype(zero) v = zero;
        std::memcpy(&v, bytes, sizeof(v));
        return v;
    };
    switch (type) {
    case KIV_TRACE_TYPE_BOOL: out_ << (bytes[0] != 0 ? "true" : "false"); break;
    case KIV_TRACE_TYPE_INT8: out_ << static_cast<int>(value(int8_t{0})); break;
    case KIV_TRACE_TYPE_UINT8: out_ << static_cast<unsigned>(bytes[0]); break;
    case KIV_TRACE_TYPE_INT16: out_ << value(int16_t{0}); break;
    case KIV_TRACE_TYPE_UINT16: out_ << value(uint16_t{0}); break;
    case KIV_TRACE_TYPE_INT32: out_ << value(int32_t{0}); break;
    case KIV_TRACE_TYPE_UINT32: out_ << value(uint32_t{0}); break;
    case KIV_TRACE_TYPE_INT64: out_ << value(int64_t{0}); break;
    case KIV_TRACE_TYPE_UINT64: out_ << value(uint64_t{0}); break;
    case KIV_TRACE_TYPE_FLOAT: writeFloating(out_, static_cast<double>(value(0.0f)), "%.9g"); break;
    case KIV_TRACE_TYPE_DOUBLE: writeFloating(out_, value(0.0), "%.17g"); break;
    default: writeFloating(out_, value(0.0L), "%.21Lg"); break;  // long double
    }
}

uint32_t KivClTraceJsonWriter::writeBytesAsHex(std::istream& input, uint32_t length) {
    static const char digits[] = "0123456789ABCDEF";
    unsigned char chunk[CHUNK];
    char hex[2 * CHUNK];
    out_ << '"';
    while (length > 0) {
        const uint32_t count = length < CHUNK ? length : CHUNK;
        if (!readExactly(input, chunk, count)) return KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF;
        for (uint32_t i = 0; i < count; ++i) {
            hex[2 * i] = digits[chunk[i] >> 4];
            hex[2 * i + 1] = digits[chunk[i] & 0x0F];
        }
        out_.write(hex, 2 * count);
        length -= count;
    }
    out_ << '"';
    return 0;
}

uint32_t KivClTraceJsonWriter::writeBytesAsString(std::istream& input, uint32_t length) {
    char chunk[CHUNK];
    out_ << '"';
    while (length > 0) {
        const uint32_t count = length < CHUNK ? length : CHUNK;
        if (!readExactly(input, chunk, count)) return KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF;
        writeStringBody(out_, chunk, count);
        length -= count;
    }
    out_ << '"';
    return 0;
}

void KivClTraceJsonWriter::writeString(std::ostream& out, const char* text, uint32_t length) {
    out << '"';
    writeStringBody(out, text, length);
    out << '"';
}

uint64_t KivClTraceJsonWriter::unwrapTimeStamp(uint32_t timeStamp) {
    const uint64_t epoch = lastTime_ & ~(WRAP - 1);
    uint64_t time = epoch + timeStamp;
    // Half the 32-bit range apart means the counter wrapped in between.
    if (time + WRAP / 2 < lastTime_) {
        time += WRAP;
    } else if (time > lastTime_ + WRAP / 2 && epoch >= WRAP) {
        time -= WRAP;
    }
    if (time > lastTime_) lastTime_ = time;
    return time;
}
