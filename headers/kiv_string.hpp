// Number-to-text conversions and case-insensitive string helpers.
//
// All work on NUL-terminated byte strings with the runtime's toupper and
// tolower of the current locale; none allocates or fails. Note the folding:
// strcmpi compares upper-cased characters, strncmpi and memicmp lower-cased
// ones, so the six characters between 'Z' and 'a' order differently.
//
//   char number[21];
//   kivLtoa(-1234, number);                        // 5, number == "-1234"
//   strcmpi("Hello", "HELLO");                     // 0
//   kivStrFind("Hello World", "WORLD", true);      // points at "World"
//   char key[8];
//   kivStrCopyUntil(key, "key=value", '=', sizeof key);  // 3, key == "key"
//
// Warning: the conversions, the copies and strupr/strlwr overwrite the
// caller's buffer.
#ifndef KIV_STRING_HPP
#define KIV_STRING_HPP

#include <cstddef>

// Decimal conversions. Each writes the digits and a NUL into buffer (which
// must hold at least 21 characters) and returns the number of characters
// written, sign included, NUL not counted.
int kivItoa(int value, char* buffer);
int kivLtoa(long value, char* buffer);
int kivULtoa(unsigned long value, char* buffer);
int kivI64toa(long long value, char* buffer);
int kivW64toa(unsigned long long value, char* buffer);
// Shared worker: writes "-" when negative, then the digits of value.
int x64toa(unsigned long long value, char* buffer, bool negative);

// First occurrence of needle in haystack, or null. With ignoreCase false this
// is strstr; with it true characters are compared after tolower. An empty
// needle yields haystack.
const char* kivStrFind(const char* haystack, const char* needle, bool ignoreCase);
inline char* kivStrFind(char* haystack, const char* needle, bool ignoreCase) {
    return const_cast<char*>(kivStrFind(static_cast<const char*>(haystack), needle, ignoreCase));
}

// How often ch occurs in text.
unsigned long kivStrCount(const char* text, char ch);

// Copies source into destination up to its end or the first stop character
// (not copied), terminates destination and returns the number copied.
unsigned long kivStrCopyUntil(char* destination, const char* source, char stop);
// The same, writing at most capacity - 1 characters and the terminator
// (nothing at all when capacity is 0).
unsigned long kivStrCopyUntil(char* destination, const char* source, char stop, size_t capacity);

// In-place case conversion; return text.
char* strupr(char* text);
char* strlwr(char* text);

// Case-insensitive comparisons (see the folding note above).
int strcmpi(const char* a, const char* b);
int strncmpi(const char* a, const char* b, size_t n);
int memicmp(const void* a, const void* b, size_t n);

#endif  // KIV_STRING_HPP
