// Round trips arbitrary texts through the 6-bit trace text compression, and
// through a whole compressed record read back as a trace file would be; the
// recording path's text cache must agree with the encoder.
// Input: one byte giving the compression limit (0..255), then the text. The
// packed text must fit its limit, unpack to a prefix of the text (the whole
// text when it fits with a byte to spare), and arbitrary packed bytes must
// unpack within the documented room. Every buffer is a heap block of exactly
// its documented size, so the address sanitizer catches any access past it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "kiv_trace.hpp"
#include "kiv_traceentry.hpp"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

bool isPrefix(const char* part, size_t length, const std::string& whole) {
    return length <= whole.size() && std::memcmp(part, whole.data(), length) == 0;
}

// Bits the text takes packed: 6 for a character of the alphabet, 14 for any
// other byte (escape code and the byte).
size_t packedBits(const std::string& text) {
    static const char alphabet[] =
        " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    size_t bits = 0;
    for (char c : text) bits += std::strchr(alphabet, c) != nullptr ? 6 : 14;
    return bits;
}

void roundTrip(const std::string& text, uint32_t limit) {
    std::unique_ptr<unsigned char[]> packed(new unsigned char[limit == 0 ? 1 : limit]);
    const uint32_t used = KivClTraceEntry::compressCString(packed.get(), text.c_str(), limit);
    check(used <= limit);
    std::unique_ptr<char[]> unpacked(new char[used * 8 / 6 + 1]);
    const uint32_t length = KivClTraceEntry::deCompressCString(unpacked.get(), packed.get(), used);
    check(length == std::strlen(unpacked.get()) && isPrefix(unpacked.get(), length, text));
    if ((packedBits(text) + 7) / 8 < limit) check(length == text.size());
}

void unpackAnything(const uint8_t* data, size_t size) {
    const uint32_t bytes = static_cast<uint32_t>(size < 255 ? size : 255);
    std::unique_ptr<unsigned char[]> source(new unsigned char[bytes == 0 ? 1 : bytes]);
    if (bytes != 0) std::memcpy(source.get(), data, bytes);
    std::unique_ptr<char[]> out(new char[bytes * 8 / 6 + 1]);
    const uint32_t length = KivClTraceEntry::deCompressCString(out.get(), source.get(), bytes);
    check(length <= bytes * 8 / 6 && out[length] == '\0');  // an escaped NUL may come earlier
}

// The recording cache must give the encoder's bytes for the text at a fresh
// address and at one reused address whose characters change every call.
void cacheAgrees(const std::string& text) {
    static KivClTraceTextCache cache;
    static char reused[1024];
    const uint32_t limit = KivClTraceEntry::MAX_TEXT_LENGTH;
    unsigned char expected[limit], got[limit];
    const uint32_t used = KivClTraceEntry::compressCString(expected, text.c_str(), limit);
    check(cache.compress(got, text.c_str()) == used && std::memcmp(got, expected, used) == 0);
    const size_t kept = text.size() < sizeof(reused) ? text.size() : sizeof(reused) - 1;
    std::memcpy(reused, text.data(), kept);
    reused[kept] = '\0';
    const uint32_t reusedUsed = KivClTraceEntry::compressCString(expected, reused, limit);
    for (int pass = 0; pass < 2; ++pass) {
        check(cache.compress(got, reused) == reusedUsed && std::memcmp(got, expected, reusedUsed) == 0);
    }
}

// A record with text as message and function name, read back from a stream.
void recordRoundTrip(const KivClTraceEnvironment& environment, const std::string& text) {
    const std::string data = text.substr(0, 16);
    const KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_LOW, 7, KIV_TRACE_TYPE_DATA, text.c_str(),
                                text.c_str(), data.data(), static_cast<unsigned int>(data.size()));
    check(entry.getHeaderAndTextLength() <= KivClTraceEntry::AREA_SIZE);
    std::stringstream file;
    file.write(reinterpret_cast<const char*>(entry.getHeaderAndText()), entry.getHeaderAndTextLength());
    file.write(data.data(), static_cast<std::streamsize>(data.size()));
    static KivClTraceEnvironment reader("KIVFUZZC", nullptr, true);
    KivClTraceFileEntry back(reader);
    check(back.read(file));
    check(back.getMessageLength() <= KivClTraceEntry::MAX_DECOMPRESSED_LENGTH);
    check(isPrefix(back.getMessage(), back.getMessageLength(), text));
    check(isPrefix(back.getFunctionName(), back.getFunctionNameLength(), text));
    check(back.getDataLength() == data.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool once = (setenv("KIVFUZZC_TRACE_COMPRESS", "1", 1), true);
    (void)once;
    static const KivClTraceEnvironment environment("KIVFUZZC", nullptr, true);
    if (size == 0) return 0;
    const char* start = reinterpret_cast<const char*>(data + 1);
    const std::string text(start, strnlen(start, size - 1));
    roundTrip(text, data[0]);
    roundTrip(text, KivClTraceEntry::MAX_TEXT_LENGTH);
    unpackAnything(data + 1, size - 1);
    cacheAgrees(text);
    recordRoundTrip(environment, text);
    return 0;
}
