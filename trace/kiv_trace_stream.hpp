// Reading trace file bytes from a stream, shared by the record reader and
// the formatter.
#ifndef KIV_TRACE_STREAM_HPP
#define KIV_TRACE_STREAM_HPP

#include <ios>
#include <istream>

// Reads up to count bytes into destination as input.read() does and returns
// how many arrived: a stream that is not good reads nothing and gets
// failbit, a short read sets eofbit and failbit. A plain stream (tied to no
// output stream, no exceptions enabled) is read straight from its buffer,
// which spares the per-call sentry of read(); an exception of the buffer
// then sets badbit, as read() would. gcount() is left as it was.
inline std::streamsize kivTraceReadBytes(std::istream& input, void* destination,
                                         std::streamsize count) {
    char* to = static_cast<char*>(destination);
    if (input.tie() != nullptr || input.exceptions() != std::ios::goodbit) {
        input.read(to, count);
        return input.gcount();
    }
    if (!input.good()) {
        input.setstate(std::ios::failbit);
        return 0;
    }
    std::streamsize got = 0;
    try {
        got = input.rdbuf()->sgetn(to, count);
    } catch (...) {
        input.setstate(std::ios::badbit);
        return 0;
    }
    if (got < count) input.setstate(std::ios::eofbit | std::ios::failbit);
    return got;
}

#endif  // KIV_TRACE_STREAM_HPP
