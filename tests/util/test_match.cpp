// Number texts, string helpers, skip-table search, wildcard matching and
// regular-expression search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kiv_match.hpp"
#include "kiv_string.hpp"

namespace {

bool sameRef(char p, char t, bool caseSensitive) {
    return caseSensitive ? p == t
                         : std::toupper(static_cast<unsigned char>(p)) == std::toupper(static_cast<unsigned char>(t));
}

// The wildcard rules as the plain, unpruned recursion: the bounded engine must agree with it.
bool wildcardRef(const char* p, const char* t, bool caseSensitive) {
    for (; *p != '\0'; ++p, ++t) {
        if (*p == '*') {
            for (; *p == '*' || *p == '?'; ++p) {
                if (*p == '?' && *t++ == '\0') return false;
            }
            if (*p == '\0') return true;
            for (; *t != '\0'; ++t) {
                if (sameRef(*p, *t, caseSensitive) && wildcardRef(p + 1, t + 1, caseSensitive)) return true;
            }
            return false;
        }
        if (*t == '\0' || (*p != '?' && !sameRef(*p, *t, caseSensitive))) return false;
    }
    return *t == '\0';
}

std::string randomText(std::mt19937& rng, const std::string& alphabet, size_t minLength, size_t maxLength) {
    std::string text(std::uniform_int_distribution<size_t>(minLength, maxLength)(rng), ' ');
    for (char& c : text) c = alphabet[std::uniform_int_distribution<size_t>(0, alphabet.size() - 1)(rng)];
    return text;
}

// Checks KivClStringSearch against std::search; returns where the pattern is (-1: nowhere).
long expectAsStdSearch(const std::string& text, const std::string& pattern, bool ignoreCase) {
    const auto reference = std::search(text.begin(), text.end(), pattern.begin(), pattern.end(),
                                       [&](char a, char b) { return sameRef(a, b, !ignoreCase); });
    const long expected = reference == text.end() && !pattern.empty() ? -1 : reference - text.begin();
    const char* at = KivClStringSearch(pattern.c_str(), ignoreCase).getPattern(text.data(), text.size());
    EXPECT_EQ(at == nullptr ? -1 : at - text.data(), expected)
        << "pattern '" << pattern << "' text '" << text << "' ignoreCase " << ignoreCase;
    return expected;
}

}  // namespace

TEST(Wildcard, CasesRandomRunsAndPathologicalPatterns) {
    // Short patterns over a, b, * and ? are compared with the plain recursion below.
    const struct { const char* pattern; const char* text; bool caseSensitive; bool matches; } cases[] = {
        {"*.ini", "a.ini", true, true},         {"*.ini", ".ini", true, true},   {"a?c", "ac", true, false},
        {"*a*b*c*", "xxaxxbxxcxx", true, true}, {"*a*b*c*", "xxcxxbxxaxx", true, false},
        {"*.tar.gz", "a.tar.b.tar.gz", true, true}, {"*??*??", "abc", true, false},
        {"README", "readme", true, false},      {"*.INI", "config.ini", false, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kivMatchesWildcardPattern(c.pattern, c.text, c.caseSensitive), c.matches)
            << "'" << c.pattern << "' on '" << c.text << "' caseSensitive " << c.caseSensitive;
    }
    EXPECT_FALSE(kivMatchesWildcardPattern(nullptr, "", true) || kivMatchesWildcardPattern("*", nullptr, true));
    const char* text = "readme";
    EXPECT_EQ(KivClStringMatchWildcards("README", true).getPattern(text), text);
    EXPECT_EQ(KivClStringMatchWildcards("README", false).getPattern(text), nullptr);

    // Both outcomes must be frequent for the comparison to mean anything.
    std::mt19937 rng(12345);
    int matches = 0;
    for (int i = 0; i < 40000; ++i) {
        const std::string pattern = randomText(rng, "ab*?Ab", 0, 8), subject = randomText(rng, "abAB", 0, 10);
        const bool expected = wildcardRef(pattern.c_str(), subject.c_str(), i % 2 == 0);
        ASSERT_EQ(kivMatchesWildcardPattern(pattern.c_str(), subject.c_str(), i % 2 == 0), expected)
            << "pattern '" << pattern << "' text '" << subject << "' caseSensitive " << (i % 2 == 0);
        matches += expected;
    }
    EXPECT_TRUE(matches > 1000 && matches < 39000) << matches;

    // Patterns that would take exponential time or deep recursion stay bounded.
    std::string pattern;
    for (int i = 0; i < 200000; ++i) pattern += "*a";
    const std::string as(200000, 'a');
    const std::string thirtyPairs = pattern.substr(pattern.size() - 60);
    EXPECT_FALSE(kivMatchesWildcardPattern(thirtyPairs.c_str(), (as + "b").c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern((thirtyPairs + "b").c_str(), as.c_str(), true));
    // The whole pattern, far too long for a recursion, must not exhaust the stack.
    EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), as.c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(pattern.c_str(), as.c_str() + 1, true));
}

TEST(StringSearch, BoundariesIgnoreCaseAndAgreementWithStdSearch) {
    EXPECT_EQ(KivClStringSearch("x", false).getPattern(nullptr), KivClStringSearch(nullptr, true).getPattern("text"));
    // The length form searches exactly that many bytes, NUL bytes included.
    const char bytes[] = "abc\0abcXYZ";
    KivClStringSearch xyz("XYZ", false);
    EXPECT_EQ(xyz.getPattern(bytes, sizeof bytes - 1), bytes + 7);
    EXPECT_TRUE(xyz.getPattern(bytes, 9) == nullptr && xyz.getPattern(bytes) == nullptr);
    // With ignoreCase the matcher searches with its own upper-cased copy.
    char pattern[] = "case TEXT";
    KivClStringSearch insensitive(pattern, true);
    pattern[0] = 'X';
    const char* mixed = "Some Mixed CASE text";
    EXPECT_TRUE(insensitive.getPattern(mixed) == mixed + 11);
    EXPECT_STREQ(insensitive.getPatternText(), "CASE TEXT");

    // Short texts by the single-character skip table, long ones (from 256) by character pairs;
    // patterns at the start, the end or a random place of the text, random ones, near-matches.
    const struct { const char* alphabet; size_t minText, maxText, pattern; int trials; } rows[] = {
        {"abc", 0, 40, 6, 10000}, {"abAB\xe9\x01", 0, 40, 6, 10000},
        {"ab", 256, 256, 2, 40},  {"ab", 257, 257, 3, 40},       {"acgt", 1000, 1000, 20, 40},
        {"acgt", 4096, 4096, 255, 40}, {"acgt", 4096, 4096, 256, 40}, {"acgt", 4096, 4096, 257, 40},
        {"aA", 600, 600, 40, 40}, {"xyzXYZ\x01\xff", 3000, 3000, 9, 40}, {"a", 1000, 1000, 300, 40},
        {"ab\xe9\xc9", 2000, 2000, 12, 40},
    };
    std::mt19937 rng(777);
    int found = 0;
    for (const auto& row : rows) {
        for (int trial = 0; trial < row.trials && !HasFailure(); ++trial) {
            std::string text = randomText(rng, row.alphabet, row.minText, row.maxText);
            if (row.minText > 0) text[text.size() / 3] = '\0';  // the length form searches across NUL bytes
            const size_t length = std::min(text.size(), row.pattern);
            size_t start = std::uniform_int_distribution<size_t>(0, text.size() - length)(rng);
            if (trial % 4 < 2) start = trial % 4 == 0 ? 0 : text.size() - length;
            std::string pattern = trial % 4 == 3 ? randomText(rng, row.alphabet, 0, row.pattern)
                                                 : text.substr(start, length);
            std::replace(pattern.begin(), pattern.end(), '\0', row.alphabet[0]);
            if (trial % 5 == 4 && !pattern.empty()) pattern[pattern.size() / 2] = '#';  // absent
            for (bool ignoreCase : {false, true}) found += expectAsStdSearch(text, pattern, ignoreCase) >= 0;
        }
    }
    EXPECT_TRUE(found > 2000 && found < 39000) << found;
}

TEST(Grep, SearchesFlagsAndFailedCompilation) {
    const char* text = "error 42 at line 7";
    // pattern, ignoreCase, search flags, offset of the result in text or -1
    const struct { const char* pattern; bool ignoreCase; int flags; long at; } rows[] = {
        {"[0-9]+", false, 0, 6},           {"[0-9]+", false, KivClGrep::RETURN_TEXT, 0},
        {"^error", false, REG_NOTBOL, -1}, {"^error", false, REG_STARTEND, 0},
        {"ERROR", true, 0, 0},             {"ERROR", false, 0, -1},
        {"zzz", false, KivClGrep::RETURN_TEXT, -1},
    };
    for (const auto& row : rows) {
        const char* found = KivClGrep(row.pattern, row.ignoreCase).getPattern(text, row.flags);
        EXPECT_EQ(found == nullptr ? -1 : found - text, row.at) << row.pattern << " flags " << row.flags;
    }
    EXPECT_EQ(KivClGrep("x", false).getPattern(nullptr), nullptr);
    // The caller's flags: basic syntax here, and REG_ICASE sets the ignore-case flag.
    const char* aa = "xAAy";
    KivClGrep basic(REG_ICASE, "a\\{2\\}"), nosub(REG_EXTENDED | REG_NOSUB, "y$");
    EXPECT_TRUE(basic.isIgnoringCase() && basic.getPattern(aa) == aa + 1);
    EXPECT_TRUE(!nosub.isIgnoringCase() && nosub.getPattern(aa) == aa);

    // A failed compilation makes every search return null; init replaces the outcome.
    KivClGrep grep("(unclosed", false);
    EXPECT_TRUE(grep.getCompileResult() != 0 && grep.getPattern("(unclosed", KivClGrep::RETURN_TEXT) == nullptr);
    EXPECT_TRUE(grep.init("rr", REG_EXTENDED) == 0 && grep.getPattern(text) == text + 1);
    EXPECT_TRUE(grep.init("a{1", REG_EXTENDED) != 0 && grep.getPattern("a{1") == nullptr);
    const KivClGrep none(nullptr, false);
    EXPECT_TRUE(none.getCompileResult() != 0 && none.getPattern("x") == nullptr);
}

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
    expect(kivLtoa(-2147483647L - 1, buffer), "-2147483648");
    expect(kivULtoa(4294967295UL, buffer), "4294967295");
    expect(kivI64toa(LLONG_MIN, buffer), "-9223372036854775808");
    expect(kivW64toa(ULLONG_MAX, buffer), "18446744073709551615");
    expect(x64toa(1000, buffer, true), "-1000");
}

TEST(StringFindCountAndCopy, CaseRulesBoundariesAndCapacity) {
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
    EXPECT_EQ(kivStrFind(mutableText, "WORLD", true), mutableText + 6);
    EXPECT_TRUE(kivStrCount("", 'a') == 0 && kivStrCount("banana", 'a') == 3 && kivStrCount("banana", 'z') == 0);
    // Capacity 0 stands for the form without one. The bounded form never
    // writes past capacity: the buffer has exactly that size.
    const struct { const char* source; char stop; size_t capacity; unsigned long copied; const char* text; } copies[] = {
        {";rest", ';', 0, 0, ""},     {"key=value", '=', 0, 3, "key"}, {"no stop", '=', 0, 7, "no stop"},
        {"abcdefgh", '=', 5, 4, "abcd"}, {"ab=cd", '=', 5, 2, "ab"},   {"abc", '=', 1, 0, ""},
    };
    for (const auto& row : copies) {
        std::vector<char> out(row.capacity == 0 ? 16 : row.capacity, 'X');
        EXPECT_EQ(row.capacity == 0 ? kivStrCopyUntil(out.data(), row.source, row.stop)
                                    : kivStrCopyUntil(out.data(), row.source, row.stop, row.capacity),
                  row.copied) << row.source;
        EXPECT_STREQ(out.data(), row.text);
    }
    char small[5], untouched = 'X';
    EXPECT_TRUE(kivStrCopyUntil(&untouched, "abc", '=', 0) == 0 && untouched == 'X');
    // A source without a terminator is read no further than capacity - 1 characters
    // (the sanitizer build checks the reads); a copy within one buffer moves the text whole.
    std::unique_ptr<char[]> unterminated(new char[4]{'a', 'b', 'c', 'd'});
    EXPECT_TRUE(kivStrCopyUntil(small, unterminated.get(), '=', sizeof small) == 4 && std::string(small) == "abcd");
    char shifted[] = "xxkey=value";
    EXPECT_EQ(kivStrCopyUntil(shifted + 1, shifted + 2, '\0', sizeof shifted - 1), 9u);
    EXPECT_STREQ(shifted, "xkey=value");
}

TEST(CaseHelpers, ConversionInPlaceAndCompareFoldingAndLimits) {
    char text[] = "Mixed_Case 123 [x]";
    EXPECT_TRUE(strupr(text) == text && std::string(text) == "MIXED_CASE 123 [X]");
    EXPECT_TRUE(strlwr(text) == text && std::string(text) == "mixed_case 123 [x]");
    // strcmpi folds up ('_' > 'A'), strncmpi and memicmp fold down ('_' < 'a'); NULs stop strncmpi only.
    using Compare = int (*)(const char*, const char*, size_t);
    const Compare n = [](const char* a, const char* b, size_t count) { return strncmpi(a, b, count); };
    const Compare mem = [](const char* a, const char* b, size_t count) { return memicmp(a, b, count); };
    const Compare whole = [](const char* a, const char* b, size_t) { return strcmpi(a, b); };
    const struct { Compare compare; const char *a, *b; size_t count; int expected; } rows[] = {
        {whole, "Hello", "hELLO", 0, 0},   {whole, "", "", 0, 0},          {whole, "_", "a", 0, 95 - 65},
        {whole, "abc", "ABD", 0, 'C' - 'D'}, {whole, "abcd", "ABC", 0, 'D'}, {whole, "", "a", 0, -'A'},
        {n, "_", "a", 1, 95 - 97},         {mem, "_", "a", 1, 95 - 97},    {n, "HIGHER", "HIGH", 4, 0},
        {n, "HIGHER", "HIGH", 5, 'e'},     {n, "abc", "xyz", 0, 0},        {n, "aBc", "AbC", 100, 0},
        {n, "ab", "abc", 3, -'c'},         {n, "Abc", "aBd", 3, 'c' - 'd'}, {mem, "AbC", "aBc", 3, 0},
        {mem, "a\0b", "A\0B", 3, 0},       {mem, "a\0b", "A\0c", 3, 'b' - 'c'}, {mem, "xyz", "abc", 0, 0},
    };
    for (const auto& row : rows) EXPECT_EQ(row.compare(row.a, row.b, row.count), row.expected) << row.a << " / " << row.b;
}
