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
    const char* text = "aab";
    EXPECT_EQ(kivStrFind(text, "AB", true), text + 1);
    EXPECT_EQ(kivStrFind(text, "AB", false), nullptr);
    EXPECT_EQ(kivStrFind(text, "ab", false), text + 1);
    EXPECT_EQ(kivStrFind(text, "", true), text);
    EXPECT_EQ(kivStrFind(text, "", false), text);
    const char* empty = "";
    EXPECT_EQ(kivStrFind(empty, "", true), empty);
    EXPECT_EQ(kivStrFind("", "a", true), nullptr);
    EXPECT_EQ(kivStrFind("ab", "abc", true), nullptr);  // needle longer than haystack
    const char* tail = "xxxxxEnD";
    EXPECT_EQ(kivStrFind(tail, "end", true), tail + 5);  // match at the very end
    const char* overlap = "aaaab";
    EXPECT_EQ(kivStrFind(overlap, "AAB", true), overlap + 2);
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
    EXPECT_EQ(strcmpi("Hello", "hELLO"), 0);
    EXPECT_EQ(strcmpi("", ""), 0);
    EXPECT_LT(strcmpi("abc", "ABD"), 0);
    EXPECT_GT(strcmpi("abcd", "ABC"), 0);
    EXPECT_LT(strcmpi("", "a"), 0);
    // strcmpi folds up: '_' (95) against 'A' (65) is positive ...
    EXPECT_EQ(strcmpi("_", "a"), 95 - 65);
    // ... while strncmpi and memicmp fold down: '_' against 'a' (97) is negative.
    EXPECT_EQ(strncmpi("_", "a", 1), 95 - 97);
    EXPECT_EQ(memicmp("_", "a", 1), 95 - 97);

    EXPECT_EQ(strncmpi("HIGHER", "HIGH", 4), 0);
    EXPECT_NE(strncmpi("HIGHER", "HIGH", 5), 0);
    EXPECT_EQ(strncmpi("abc", "xyz", 0), 0);
    EXPECT_EQ(strncmpi("aBc", "AbC", 100), 0);  // stops after the NUL of a
    EXPECT_EQ(strncmpi("ab", "abc", 3), -'c');
    EXPECT_EQ(strncmpi("Abc", "aBd", 3), 'c' - 'd');

    EXPECT_EQ(memicmp("AbC", "aBc", 3), 0);
    EXPECT_EQ(memicmp("a\0b", "A\0B", 3), 0);  // NULs do not stop memicmp
    EXPECT_EQ(memicmp("a\0b", "A\0c", 3), 'b' - 'c');
    EXPECT_EQ(memicmp("xyz", "abc", 0), 0);
}
