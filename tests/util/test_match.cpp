// Skip-table search, wildcard matching and regular-expression search.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kiv_match.hpp"

namespace {

// The wildcard rules written as the plain recursion, without any pruning:
// the reference the bounded engine must agree with.
bool sameRef(char p, char t, bool caseSensitive) {
    if (caseSensitive) return p == t;
    return std::toupper(static_cast<unsigned char>(p)) == std::toupper(static_cast<unsigned char>(t));
}

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
        if (*t == '\0') return false;
        if (*p != '?' && !sameRef(*p, *t, caseSensitive)) return false;
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

// Offset of the first occurrence by std::search, or -1.
long referenceFind(const std::string& text, const std::string& pattern, bool ignoreCase) {
    auto equal = [ignoreCase](char a, char b) {
        return ignoreCase ? std::toupper(static_cast<unsigned char>(a)) ==
                                std::toupper(static_cast<unsigned char>(b))
                          : a == b;
    };
    auto at = std::search(text.begin(), text.end(), pattern.begin(), pattern.end(), equal);
    if (at == text.end() && !pattern.empty()) return -1;
    return at - text.begin();
}

long searchOffset(const KivClStringSearch& search, const std::string& text) {
    const char* found = search.getPattern(text.data(), text.size());
    return found == nullptr ? -1 : found - text.data();
}

}  // namespace

TEST(Wildcard, DocumentedCases) {
    EXPECT_TRUE(kivMatchesWildcardPattern("*.ini", "a.ini", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("*.ini", ".ini", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*.ini", "a.inix", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("a?c", "ac", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("a?c", "abc", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("**", "", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*?", "", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("*?", "x", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("", "", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("", "a", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("a", "", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("abc", "ab", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("ab", "abc", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("*", "anything at all", true));
    EXPECT_FALSE(kivMatchesWildcardPattern(nullptr, "", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*", nullptr, true));
}

TEST(Wildcard, SeveralStarAndQuestionRuns) {
    EXPECT_TRUE(kivMatchesWildcardPattern("*a*b*c*", "xxaxxbxxcxx", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*a*b*c*", "xxcxxbxxaxx", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("a*?*?b", "axyb", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("a*?*?b", "axb", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("?*?", "ab", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("?*?", "a", true));
    // The literal after "*" occurs early and late: the late one must win.
    EXPECT_TRUE(kivMatchesWildcardPattern("*.tar.gz", "a.tar.b.tar.gz", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*.tar.gz", "a.tar.gz.b", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("*ab*ab", "abababab", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("*??*??", "abcd", true));
    EXPECT_FALSE(kivMatchesWildcardPattern("*??*??", "abc", true));
}

TEST(Wildcard, CaseRules) {
    EXPECT_FALSE(kivMatchesWildcardPattern("README", "readme", true));
    EXPECT_TRUE(kivMatchesWildcardPattern("README", "readme", false));
    EXPECT_TRUE(kivMatchesWildcardPattern("*.INI", "config.ini", false));
    EXPECT_FALSE(kivMatchesWildcardPattern("*.INI", "config.ini", true));

    KivClStringMatchWildcards insensitive("README", true);
    const char* text = "readme";
    EXPECT_EQ(insensitive.getPattern(text), text);
    KivClStringMatchWildcards exact("README", false);
    EXPECT_EQ(exact.getPattern(text), nullptr);
    EXPECT_EQ(exact.getPattern("README"), std::string("README"));
    EXPECT_EQ(exact.getPattern(nullptr), nullptr);
    const KivClStringMatchABase& base = insensitive;
    EXPECT_EQ(base.getPattern("ReadMe"), std::string("ReadMe"));
    EXPECT_TRUE(base.isIgnoringCase());
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
    // The generator must exercise both outcomes for the comparison to mean anything.
    EXPECT_GT(matches, 1000);
    EXPECT_LT(matches, 39000);
}

TEST(Wildcard, PathologicalPatternsStayCorrect) {
    std::string pattern;
    for (int i = 0; i < 30; ++i) pattern += "*a";
    const std::string text(5000, 'a');
    EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(pattern.c_str(), (text + "b").c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern((pattern + "b").c_str(), text.c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(pattern.c_str(), std::string(29, 'a').c_str(), true));
    EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), std::string(30, 'a').c_str(), true));
    // A very long pattern must not exhaust the stack.
    std::string longPattern;
    for (int i = 0; i < 200000; ++i) longPattern += "*a";
    EXPECT_TRUE(kivMatchesWildcardPattern(longPattern.c_str(), std::string(200000, 'a').c_str(), true));
    EXPECT_FALSE(kivMatchesWildcardPattern(longPattern.c_str(), std::string(199999, 'a').c_str(), true));
}

TEST(StringSearch, DocumentedCases) {
    KivClStringSearch xay("XAY", false);
    EXPECT_EQ(xay.getPattern("AAY"), nullptr);
    const char* text = "the pattern sits at the end";
    KivClStringSearch end("end", false);
    EXPECT_EQ(end.getPattern(text), text + std::strlen(text) - 3);
    KivClStringSearch empty("", false);
    EXPECT_EQ(empty.getPattern(text), text);
    EXPECT_EQ(empty.getPattern(""), std::string(""));
    KivClStringSearch longer("longer than text", false);
    EXPECT_EQ(longer.getPattern("short"), nullptr);
    KivClStringSearch whole("exact", false);
    const char* exact = "exact";
    EXPECT_EQ(whole.getPattern(exact), exact);
    EXPECT_EQ(whole.getPattern("exac"), nullptr);
    EXPECT_EQ(whole.getPattern(nullptr), nullptr);
    EXPECT_EQ(whole.getPatternLength(), 5u);
    for (bool ignoreCase : {false, true}) {
        KivClStringSearch nullPattern(nullptr, ignoreCase);
        EXPECT_EQ(nullPattern.getPattern("text"), nullptr);
        EXPECT_EQ(KivClStringMatchWildcards(nullptr, ignoreCase).getPattern(""), nullptr);
    }
}

TEST(StringSearch, LengthAndIgnoreCase) {
    const char text[] = "abc\0abcXYZ";
    KivClStringSearch xyz("XYZ", false);
    EXPECT_EQ(xyz.getPattern(text, sizeof text - 1), text + 7);
    EXPECT_EQ(xyz.getPattern(text, 9), nullptr);
    EXPECT_EQ(xyz.getPattern(text), nullptr);

    const char* mixed = "Some Mixed CASE text";
    char pattern[] = "case TEXT";
    KivClStringSearch insensitive(pattern, true);
    // The matcher keeps its own upper-cased copy: changing the caller's
    // pattern afterwards does not affect it.
    pattern[0] = 'X';
    EXPECT_EQ(insensitive.getPattern(mixed), mixed + 11);
    EXPECT_STREQ(insensitive.getPatternText(), "CASE TEXT");
    KivClStringSearch exact("case TEXT", false);
    EXPECT_EQ(exact.getPattern(mixed), nullptr);
}

TEST(StringSearch, AgreesWithStdSearch) {
    std::mt19937 rng(777);
    int found = 0;
    for (int i = 0; i < 20000; ++i) {
        const std::string alphabet = i % 2 ? "abc" : "abAB\xe9\x01";
        const std::string text = randomText(rng, alphabet, 40);
        std::string pattern = randomText(rng, alphabet, 6);
        if (i % 5 == 0 && !text.empty()) {
            // Cut the pattern from the text, often from its very end.
            std::uniform_int_distribution<size_t> pick(0, text.size() - 1);
            const size_t start = i % 3 ? text.size() - std::min<size_t>(text.size(), 4) : pick(rng);
            pattern = text.substr(start, 1 + pick(rng) % 5);
        }
        for (bool ignoreCase : {false, true}) {
            KivClStringSearch search(pattern.c_str(), ignoreCase);
            const long expected = referenceFind(text, pattern, ignoreCase);
            ASSERT_EQ(searchOffset(search, text), expected)
                << "pattern '" << pattern << "' text '" << text << "' ignoreCase " << ignoreCase;
            found += expected >= 0;
        }
    }
    EXPECT_GT(found, 2000);
    EXPECT_LT(found, 39000);
}

TEST(Grep, SearchesAndFlags) {
    const char* text = "error 42 at line 7";
    KivClGrep digits("[0-9]+", false);
    ASSERT_EQ(digits.getCompileResult(), 0);
    EXPECT_EQ(digits.getPattern(text), text + 6);
    EXPECT_EQ(digits.getPattern("no digits"), nullptr);
    EXPECT_EQ(digits.getPattern(text, KivClGrep::RETURN_TEXT), text);
    EXPECT_EQ(digits.getPattern("none", KivClGrep::RETURN_TEXT), nullptr);
    EXPECT_EQ(digits.getPattern(nullptr), nullptr);

    KivClGrep anchored("^line", false);
    const char* lineText = "line 7";
    EXPECT_EQ(anchored.getPattern(lineText), lineText);
    EXPECT_EQ(anchored.getPattern(lineText, REG_NOTBOL), nullptr);
    EXPECT_EQ(anchored.getPattern(lineText, REG_STARTEND), lineText);

    KivClGrep caseless("ERROR", true);
    EXPECT_TRUE(caseless.isIgnoringCase());
    EXPECT_EQ(caseless.getPattern(text), text);
    KivClGrep exact("ERROR", false);
    EXPECT_EQ(exact.getPattern(text), nullptr);

    KivClGrep basic(REG_ICASE, "a\\{2\\}");
    EXPECT_TRUE(basic.isIgnoringCase());
    const char* aa = "xAAy";
    EXPECT_EQ(basic.getPattern(aa), aa + 1);
    KivClGrep nosub(REG_EXTENDED | REG_NOSUB, "y$");
    EXPECT_EQ(nosub.getPattern(aa), aa);
    EXPECT_FALSE(nosub.isIgnoringCase());
}

TEST(Grep, FailedCompilation) {
    KivClGrep broken("(unclosed", false);
    EXPECT_NE(broken.getCompileResult(), 0);
    EXPECT_EQ(broken.getPattern("(unclosed"), nullptr);
    EXPECT_EQ(broken.getPattern("(unclosed", KivClGrep::RETURN_TEXT), nullptr);

    // A later successful init replaces the failure, and a failed one the success.
    EXPECT_EQ(broken.init("clos", REG_EXTENDED), 0);
    const char* text = "(unclosed";
    EXPECT_EQ(broken.getPattern(text), text + 3);
    EXPECT_NE(broken.init("a{1", REG_EXTENDED), 0);
    EXPECT_EQ(broken.getPattern("a{1"), nullptr);

    KivClGrep null(nullptr, false);
    EXPECT_NE(null.getCompileResult(), 0);
    EXPECT_EQ(null.getPattern("x"), nullptr);
}
