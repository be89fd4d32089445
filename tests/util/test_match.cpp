// Skip-table search, wildcard matching and regular-expression search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <random>
#include <string>

#include "kiv_match.hpp"

namespace {

bool sameRef(char p, char t, bool caseSensitive) {
    return caseSensitive ? p == t
                         : std::toupper(static_cast<unsigned char>(p)) ==
                               std::toupper(static_cast<unsigned char>(t));
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

std::string randomText(std::mt19937& rng, const std::string& alphabet, size_t maxLength) {
    std::uniform_int_distribution<size_t> lengthPick(0, maxLength);
    std::uniform_int_distribution<size_t> charPick(0, alphabet.size() - 1);
    std::string text(lengthPick(rng), ' ');
    for (char& c : text) c = alphabet[charPick(rng)];
    return text;
}

}  // namespace

TEST(Wildcard, CasesAndRuns) {
    const struct { const char* pattern; const char* text; bool caseSensitive; bool matches; } cases[] = {
        {"*.ini", "a.ini", true, true},       {"*.ini", ".ini", true, true},
        {"a?c", "ac", true, false},           {"**", "", true, true},
        {"*?", "", true, false},              {"", "", true, true},
        {"", "a", true, false},               {"ab", "abc", true, false},
        {"*a*b*c*", "xxaxxbxxcxx", true, true}, {"*a*b*c*", "xxcxxbxxaxx", true, false},
        {"a*?*?b", "axyb", true, true},       {"a*?*?b", "axb", true, false},
        {"*.tar.gz", "a.tar.b.tar.gz", true, true}, {"*??*??", "abc", true, false},
        {"README", "readme", true, false},    {"*.INI", "config.ini", false, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(kivMatchesWildcardPattern(c.pattern, c.text, c.caseSensitive), c.matches)
            << "'" << c.pattern << "' on '" << c.text << "' caseSensitive " << c.caseSensitive;
    }
    EXPECT_FALSE(kivMatchesWildcardPattern(nullptr, "", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*", nullptr, true));

    const char* text = "readme";
    EXPECT_EQ(KivClStringMatchWildcards("README", true).getPattern(text), text);
    EXPECT_EQ(KivClStringMatchWildcards("README", false).getPattern(text), nullptr);
}

TEST(Wildcard, AgreesWithPlainRecursion) {
    std::mt19937 rng(12345);
    int matches = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string pattern = randomText(rng, "ab*?Ab", 8);
        const std::string text = randomText(rng, "abAB", 10);
        for (bool caseSensitive : {true, false}) {
            const bool expected = wildcardRef(pattern.c_str(), text.c_str(), caseSensitive);
            ASSERT_EQ(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), caseSensitive), expected)
                << "pattern '" << pattern << "' text '" << text << "' caseSensitive " << caseSensitive;
            matches += expected;
        }
    }
    // Both outcomes must be frequent for the comparison to mean anything.
    EXPECT_GT(matches, 1000);
    EXPECT_LT(matches, 39000);
}

TEST(Wildcard, PathologicalPatternsStayBounded) {
    std::string pattern;
    for (int i = 0; i < 200000; ++i) pattern += "*a";
    const std::string text(200000, 'a');
    const std::string thirtyPairs = pattern.substr(pattern.size() - 60);
    EXPECT_TRUE(kivMatchesWildcardPattern(thirtyPairs.c_str(), text.c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(thirtyPairs.c_str(), (text + "b").c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern((thirtyPairs + "b").c_str(), text.c_str(), true));
    // The whole pattern, far too long for a recursion, must not exhaust the stack.
    EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str() + 1, true));
}

TEST(StringSearch, BoundariesAndIgnoreCase) {
    EXPECT_EQ(KivClStringSearch("XAY", false).getPattern("AAY"), nullptr);
    const char* text = "the pattern sits at the end";
    EXPECT_EQ(KivClStringSearch("end", false).getPattern(text), text + std::strlen(text) - 3);
    EXPECT_EQ(KivClStringSearch("", false).getPattern(text, 0), text);
    EXPECT_EQ(KivClStringSearch("longer than text", false).getPattern("short"), nullptr);
    EXPECT_EQ(KivClStringSearch("x", false).getPattern(nullptr), nullptr);
    EXPECT_EQ(KivClStringSearch(nullptr, true).getPattern("text"), nullptr);

    // The length form searches exactly that many bytes, NUL bytes included.
    const char bytes[] = "abc\0abcXYZ";
    KivClStringSearch xyz("XYZ", false);
    EXPECT_EQ(xyz.getPattern(bytes, sizeof bytes - 1), bytes + 7);
    EXPECT_EQ(xyz.getPattern(bytes, 9), nullptr);
    EXPECT_EQ(xyz.getPattern(bytes), nullptr);

    // With ignoreCase the matcher searches with its own upper-cased copy.
    char pattern[] = "case TEXT";
    KivClStringSearch insensitive(pattern, true);
    pattern[0] = 'X';
    const char* mixed = "Some Mixed CASE text";
    EXPECT_EQ(insensitive.getPattern(mixed), mixed + 11);
    EXPECT_STREQ(insensitive.getPatternText(), "CASE TEXT");
}

TEST(StringSearch, AgreesWithStdSearch) {
    std::mt19937 rng(777);
    int found = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string alphabet = i % 2 ? "abc" : "abAB\xe9\x01";
        const std::string text = randomText(rng, alphabet, 40);
        std::string pattern = randomText(rng, alphabet, 6);
        // Often the pattern is the text's own end, so that the match sits at the very end.
        if (i % 4 == 0) pattern = text.substr(text.size() - std::min(text.size(), pattern.size()));
        for (bool ignoreCase : {false, true}) {
            const auto reference = std::search(text.begin(), text.end(), pattern.begin(), pattern.end(),
                                               [&](char a, char b) { return sameRef(a, b, !ignoreCase); });
            const long expected = reference == text.end() && !pattern.empty() ? -1 : reference - text.begin();
            const KivClStringSearch search(pattern.c_str(), ignoreCase);
            const char* at = search.getPattern(text.data(), text.size());
            ASSERT_EQ(at == nullptr ? -1 : at - text.data(), expected)
                << "pattern '" << pattern << "' text '" << text << "' ignoreCase " << ignoreCase;
            found += expected >= 0;
        }
    }
    EXPECT_GT(found, 2000);
    EXPECT_LT(found, 39000);
}

// Long texts are searched by character pairs: every pattern length around
// the one-byte shift limit, matches at the first and last possible place,
// repeated near-matches and absent patterns must give std::search's answer.
TEST(StringSearch, LongTextsAgreeWithStdSearch) {
    struct Row {
        const char* alphabet;
        size_t textLength;
        size_t patternLength;
    };
    const Row rows[] = {
        {"ab", 256, 2},      {"ab", 257, 3},        {"acgt", 1000, 20},  {"acgt", 4096, 255},
        {"acgt", 4096, 256}, {"acgt", 4096, 257},   {"aA", 600, 40},     {"xyzXYZ\x01\xff", 3000, 9},
        {"a", 1000, 300},    {"ab\xe9\xc9", 2000, 12},
    };
    std::mt19937 rng(4242);
    for (const Row& row : rows) {
        const std::string alphabet = row.alphabet;
        std::uniform_int_distribution<size_t> charPick(0, alphabet.size() - 1);
        std::string text(row.textLength, ' ');
        for (char& c : text) c = alphabet[charPick(rng)];
        text[row.textLength / 3] = '\0';  // the length form searches across NUL bytes
        std::uniform_int_distribution<size_t> startPick(0, row.textLength - row.patternLength);
        for (int trial = 0; trial < 40; ++trial) {
            size_t start = trial == 0 ? 0 : trial == 1 ? row.textLength - row.patternLength : startPick(rng);
            std::string pattern = text.substr(start, row.patternLength);
            std::replace(pattern.begin(), pattern.end(), '\0', alphabet[0]);
            if (trial % 5 == 4) pattern[pattern.size() / 2] = '#';  // absent
            for (bool ignoreCase : {false, true}) {
                const auto reference =
                    std::search(text.begin(), text.end(), pattern.begin(), pattern.end(),
                                [&](char a, char b) { return sameRef(a, b, !ignoreCase); });
                const long expected = reference == text.end() ? -1 : reference - text.begin();
                const KivClStringSearch search(pattern.c_str(), ignoreCase);
                const char* at = search.getPattern(text.data(), text.size());
                ASSERT_EQ(at == nullptr ? -1 : at - text.data(), expected)
                    << "alphabet '" << row.alphabet << "' length " << row.textLength << " pattern "
                    << row.patternLength << " trial " << trial << " ignoreCase " << ignoreCase;
            }
        }
    }
}

TEST(Grep, SearchesFlagsAndFailedCompilation) {
    const char* text = "error 42 at line 7";
    KivClGrep digits("[0-9]+", false);
    ASSERT_EQ(digits.getCompileResult(), 0);
    EXPECT_EQ(digits.getPattern(text), text + 6);
    EXPECT_EQ(digits.getPattern(text, KivClGrep::RETURN_TEXT), text);
    EXPECT_EQ(digits.getPattern("none", KivClGrep::RETURN_TEXT), nullptr);
    EXPECT_EQ(digits.getPattern(nullptr), nullptr);
    EXPECT_EQ(KivClGrep("^error", false).getPattern(text, REG_NOTBOL), nullptr);
    EXPECT_EQ(KivClGrep("^error", false).getPattern(text, REG_STARTEND), text);
    EXPECT_EQ(KivClGrep("ERROR", true).getPattern(text), text);
    EXPECT_EQ(KivClGrep("ERROR", false).getPattern(text), nullptr);

    // The caller's flags: basic syntax here, and REG_ICASE sets the ignore-case flag.
    KivClGrep basic(REG_ICASE, "a\\{2\\}");
    EXPECT_TRUE(basic.isIgnoringCase());
    const char* aa = "xAAy";
    EXPECT_EQ(basic.getPattern(aa), aa + 1);
    KivClGrep nosub(REG_EXTENDED | REG_NOSUB, "y$");
    EXPECT_EQ(nosub.getPattern(aa), aa);
    EXPECT_FALSE(nosub.isIgnoringCase());

    // A failed compilation is kept and makes every search return null.
    KivClGrep grep("(unclosed", false);
    EXPECT_NE(grep.getCompileResult(), 0);
    EXPECT_EQ(grep.getPattern("(unclosed"), nullptr);
    EXPECT_EQ(grep.getPattern("(unclosed", KivClGrep::RETURN_TEXT), nullptr);
    // A later successful init replaces the failure, and a failed one the success.
    EXPECT_EQ(grep.init("rr", REG_EXTENDED), 0);
    EXPECT_EQ(grep.getPattern(text), text + 1);
    EXPECT_NE(grep.init("a{1", REG_EXTENDED), 0);
    EXPECT_EQ(grep.getPattern("a{1"), nullptr);
    EXPECT_NE(KivClGrep(nullptr, false).getCompileResult(), 0);
    EXPECT_EQ(KivClGrep(nullptr, false).getPattern("x"), nullptr);
}
