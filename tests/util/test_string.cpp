#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <string>

#include "kiv_string.hpp"

TEST(NumberToText, SignedAndUnsignedLimits) {
    char buffer[32];
    // Each call is checked right after it ran, since all share the buffer.
    const auto expect = [&buffer](int length, const char* text) {
        EXPECT_EQ(length, static_cast<int>(std::strlen(text))) << text;
        EXPECT_STREQ(buffer, text);
    };
    expect(kivItoa(0, buffer), "0");
    expect(kivItoa(-1, buffer), "-1");
    expect(kivItoa(INT_MIN, buffer), "-2147483648");
    expect(kivItoa(INT_MAX, buffer), "2147483647");
    expect(kivLtoa(-2147483647L - 1, buffer), "-2147483648");
    expect(kivULtoa(4294967295UL, buffer), "4294967295");
    expect(kivI64toa(LLONG_MIN, buffer), "-9223372036854775808");
    expect(kivI64toa(LLONG_MAX, buffer), "9223372036854775807");
    expect(kivW64toa(ULLONG_MAX, buffer), "18446744073709551615");
    expect(x64toa(1000, buffer, true), "-1000");
    // Every power of ten keeps its digits in order.
    unsigned long long value = 1;
    for (int digits = 1; digits <= 20; ++digits, value *= 10) {
        ASSERT_EQ(kivW64toa(value, buffer), digits);
        ASSERT_EQ(std::string(buffer), std::to_string(value));
    }
}

TEST(StringFind, CaseRulesAndEmptyInput) {
    // {haystack, needle, ignoreCase, offset of the match or -1}
    const struct { const char *text, *needle; bool ignoreCase; long at; } rows[] = {
        {"aab", "AB", true, 1},   {"aab", "AB", false, -1},  {"aab", "ab", false, 1}, {"aab", "", true, 0},
        {"aab", "", false, 0},    {"", "", true, 0},         {"", "a", true, -1},
        {"ab", "abc", true, -1},  // needle longer than haystack
        {"xxxxxEnD", "end", true, 5},  // match at the very end
        {"aaaab", "AAB", true, 2},
    };
    for (const auto& row : rows) {
        const char* found = kivStrFind(row.text, row.needle, row.ignoreCase);
        EXPECT_EQ(found == nullptr ? -1 : found - row.text, row.at) << row.text << " / " << row.needle;
    }
    char mutableText[] = "Hello World";
    char* found = kivStrFind(mutableText, "WORLD", true);
    ASSERT_NE(found, nullptr);
    *found = 'w';
    EXPECT_STREQ(mutableText, "Hello world");
}

TEST(StringCountAndCopy, BoundariesAndCapacity) {
    EXPECT_EQ(kivStrCount("", 'a'), 0u);
    EXPECT_EQ(kivStrCount("banana", 'a'), 3u);
    EXPECT_EQ(kivStrCount("banana", 'z'), 0u);

    char out[16];
    std::memset(out, 'X', sizeof out);
    EXPECT_EQ(kivStrCopyUntil(out, ";rest", ';'), 0u);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(kivStrCopyUntil(out, "key=value", '='), 3u);
    EXPECT_STREQ(out, "key");
    EXPECT_EQ(kivStrCopyUntil(out, "no stop", '='), 7u);
    EXPECT_STREQ(out, "no stop");

    // The bounded form never writes past capacity.
    char small[5];
    std::memset(small, 'X', sizeof small);
    EXPECT_EQ(kivStrCopyUntil(small, "abcdefgh", '=', sizeof small), 4u);
    EXPECT_STREQ(small, "abcd");
    EXPECT_EQ(kivStrCopyUntil(small, "ab=cd", '=', sizeof small), 2u);
    EXPECT_STREQ(small, "ab");
    char untouched = 'X';
    EXPECT_EQ(kivStrCopyUntil(&untouched, "abc", '=', 0), 0u);
    EXPECT_EQ(untouched, 'X');
    EXPECT_EQ(kivStrCopyUntil(small, "abc", '=', 1), 0u);
    EXPECT_STREQ(small, "");

    // A source without a terminator is read no further than capacity - 1
    // characters (the sanitizer build checks the reads), and a copy within
    // one buffer moves the text as a whole.
    std::unique_ptr<char[]> unterminated(new char[4]{'a', 'b', 'c', 'd'});
    EXPECT_EQ(kivStrCopyUntil(small, unterminated.get(), '=', sizeof small), 4u);
    EXPECT_STREQ(small, "abcd");
    char shifted[] = "xxkey=value";
    EXPECT_EQ(kivStrCopyUntil(shifted + 1, shifted + 2, '\0', sizeof shifted - 1), 9u);
    EXPECT_STREQ(shifted, "xkey=value");
}

TEST(CaseConversion, InPlaceAndReturnsText) {
    char text[] = "Mixed_Case 123 [x]";
    EXPECT_EQ(strupr(text), text);
    EXPECT_STREQ(text, "MIXED_CASE 123 [X]");
    EXPECT_EQ(strlwr(text), text);
    EXPECT_STREQ(text, "mixed_case 123 [x]");
    char empty[] = "";
    EXPECT_STREQ(strupr(empty), "");
}

TEST(CaseInsensitiveCompare, FoldingDirectionAndLimits) {
    // strcmpi folds up: '_' (95) against 'A' (65) is positive, while strncmpi
    // and memicmp fold down: '_' against 'a' (97) is negative. NULs stop
    // strncmpi but not memicmp.
    using Compare = int (*)(const char*, const char*, size_t);
    const Compare n = [](const char* a, const char* b, size_t count) { return strncmpi(a, b, count); };
    const Compare mem = [](const char* a, const char* b, size_t count) { return memicmp(a, b, count); };
    const Compare whole = [](const char* a, const char* b, size_t) { return strcmpi(a, b); };
    const struct { Compare compare; const char *a, *b; size_t count; int expected; } rows[] = {
        {whole, "Hello", "hELLO", 0, 0},   {whole, "", "", 0, 0},          {whole, "_", "a", 0, 95 - 65},
        {n, "_", "a", 1, 95 - 97},         {mem, "_", "a", 1, 95 - 97},    {n, "HIGHER", "HIGH", 4, 0},
        {n, "abc", "xyz", 0, 0},           {n, "aBc", "AbC", 100, 0},      {n, "ab", "abc", 3, -'c'},
        {n, "Abc", "aBd", 3, 'c' - 'd'},   {mem, "AbC", "aBc", 3, 0},      {mem, "a\0b", "A\0B", 3, 0},
        {mem, "a\0b", "A\0c", 3, 'b' - 'c'}, {mem, "xyz", "abc", 0, 0},
    };
    for (const auto& row : rows) EXPECT_EQ(row.compare(row.a, row.b, row.count), row.expected) << row.a << " / " << row.b;
    EXPECT_LT(strcmpi("abc", "ABD"), 0);
    EXPECT_GT(strcmpi("abcd", "ABC"), 0);
    EXPECT_LT(strcmpi("", "a"), 0);
    EXPECT_NE(strncmpi("HIGHER", "HIGH", 5), 0);
}
