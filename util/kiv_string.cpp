// Number-to-text conversions and case-insensitive string helpers.
#include "kiv_string.hpp"

#include <cctype>
#include <cstdint>
#include <cstring>

#include "util/kiv_bounded.hpp"

namespace {

int upper(char c) { return std::toupper(static_cast<unsigned char>(c)); }
int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }

// Magnitude of a signed value as unsigned 64-bit; correct for the most
// negative value too.
unsigned long long magnitude(long long value) {
    return value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                     : static_cast<unsigned long long>(value);
}

}  // namespace

int x64toa(unsigned long long value, char* buffer, bool negative) {
    char* out = buffer;
    if (negative) *out++ = '-';
    char* firstDigit = out;
    do {
        *out++ = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    *out = '\0';
    for (char* left = firstDigit, *right = out - 1; left < right; ++left, --right) {
        const char swap = *left;
        *left = *right;
        *right = swap;
    }
    return static_cast<int>(out - buffer);
}

int kivItoa(int value, char* buffer) { return x64toa(magnitude(value), buffer, value < 0); }
int kivLtoa(long value, char* buffer) { return x64toa(magnitude(value), buffer, value < 0); }
int kivULtoa(unsigned long value, char* buffer) { return x64toa(value, buffer, false); }
int kivI64toa(long long value, char* buffer) { return x64toa(magnitude(value), buffer, value < 0); }
int kivW64toa(unsigned long long value, char* buffer) { return x64toa(value, buffer, false); }

const char* kivStrFind(const char* haystack, const char* needle, bool ignoreCase) {
    if (!ignoreCase) return std::strstr(haystack, needle);
    if (*needle == '\0') return haystack;
    for (const char* start = haystack; *start != '\0'; ++start) {
        const char* h = start;
        const char* n = needle;
        while (*h != '\0' && *n != '\0' && lower(*h) == lower(*n)) {
            ++h;
            ++n;
        }
        if (*n == '\0') return start;
        if (*h == '\0') return nullptr;  // the rest of haystack is shorter than needle
    }
    return nullptr;
}

unsigned long kivStrCount(const char* text, char ch) {
    unsigned long count = 0;
    for (; *text != '\0'; ++text) {
        if (*text == ch) ++count;
    }
    return count;
}

unsigned long kivStrCopyUntil(char* destination, const char* source, char stop) {
    return kivStrCopyUntil(destination, source, stop, SIZE_MAX);
}

unsigned long kivStrCopyUntil(char* destination, const char* source, char stop, size_t capacity) {
    if (capacity == 0) return 0;
    // The end, the stop character and the capacity are found by the C
    // library's scanning functions, which never read past capacity - 1
    // characters; the copy then moves the span at once.
    size_t copied = strnlen(source, capacity - 1);
    if (stop != '\0') {
        const void* at = std::memchr(source, stop, copied);
        if (at != nullptr) copied = static_cast<size_t>(static_cast<const char*>(at) - source);
    }
    std::memmove(destination, source, copied);
    destination[copied] = '\0';
    return copied;
}

char* strupr(char* text) {
    for (char* p = text; *p != '\0'; ++p) *p = static_cast<char>(upper(*p));
    return text;
}

char* strlwr(char* text) {
    for (char* p = text; *p != '\0'; ++p) *p = static_cast<char>(lower(*p));
    return text;
}

int strcmpi(const char* a, const char* b) {
    for (;; ++a, ++b) {
        const int diff = upper(*a) - upper(*b);
        if (diff != 0 || *a == '\0') return diff;
    }
}

int strncmpi(const char* a, const char* b, size_t n) {
    int diff = 0;
    for (size_t i = 0; i < n; ++i) {
        diff = lower(a[i]) - lower(b[i]);
        if (diff != 0 || a[i] == '\0') break;
    }
    return diff;
}

int memicmp(const void* a, const void* b, size_t n) {
    const unsigned char* pa = static_cast<const unsigned char*>(a);
    const unsigned char* pb = static_cast<const unsigned char*>(b);
    for (size_t i = 0; i < n; ++i) {
        if (pa[i] == pb[i]) continue;
        const int diff = std::tolower(pa[i]) - std::tolower(pb[i]);
        if (diff != 0) return diff;
    }
    return 0;
}

size_t kivCopyBounded(char* destination, const char* source, size_t limit) {
    const size_t count = source != nullptr ? strnlen(source, limit) : 0;
    if (count > 0) std::memmove(destination, source, count);
    destination[count] = '\0';
    return count;
}

bool kivAppendBounded(char* destination, size_t& used, size_t limit, const char* source) {
    const size_t count = kivCopyBounded(destination + used, source, limit - used);
    used += count;
    return source == nullptr || source[count] == '\0';
}
