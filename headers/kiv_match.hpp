// Finding a pattern in a text: a fixed-string search with a skip table, a
// shell-style wildcard match and a POSIX regular-expression search, all behind
// KivClStringMatchABase so that a caller can hold whichever kind it needs.
//
// getPattern(text) returns where the pattern occurs in text (for the wildcard
// matcher: text itself when the whole text matches), or null. A null pattern
// or a null text never matches. Matchers do not own the pattern they are given (except for
// the upper-cased copy a case-insensitive KivClStringSearch keeps), so the
// pattern must outlive the matcher.
//
// Case-insensitive comparisons use the runtime's toupper of the current locale.
//
// Failure policy: nothing throws. A regular expression that does not
// compile is kept as a matcher that never matches; getCompileResult() tells
// regcomp's error code.
//
//   KivClStringSearch("needle", true).getPattern("hay NEEDLE stack");  // "NEEDLE stack"
//   KivClStringMatchWildcards("*.ini", false).getPattern("app.ini");    // "app.ini"
//   KivClStringMatchWildcards("*.ini", false).getPattern("app.txt");    // null
//   KivClGrep("[0-9]+ items", false).getPattern("got 42 items");        // "42 items"
//   KivClGrep("(", false).getCompileResult();                           // REG_EPAREN
#ifndef KIV_MATCH_HPP
#define KIV_MATCH_HPP

#include <cstddef>
#include <cstdint>
#include <regex.h>

// A pattern and whether case is ignored; getPattern finds it in a text.
class KivClStringMatchABase {
public:
    KivClStringMatchABase(const char* pattern, bool ignoreCase)
        : pattern_(pattern), ignoreCase_(ignoreCase) {}
    virtual ~KivClStringMatchABase();

    // Where the pattern occurs in text, or null.
    virtual const char* getPattern(const char* text) const = 0;

    const char* getPatternText() const { return pattern_; }
    bool isIgnoringCase() const { return ignoreCase_; }

protected:
    KivClStringMatchABase(const KivClStringMatchABase&) = default;
    KivClStringMatchABase& operator=(const KivClStringMatchABase&) = default;

    const char* pattern_;
    bool ignoreCase_;
};

// Fixed-string search with a bad-character skip table, comparing from the end
// of the pattern. The empty pattern matches at the start of any text. With
// ignoreCase the matcher keeps its own upper-cased copy of the pattern. A
// pattern of 4 GiB or more cannot be described by the 32-bit skip table and
// never matches.
class KivClStringSearch : public KivClStringMatchABase {
public:
    KivClStringSearch(const char* pattern, bool ignoreCase);
    ~KivClStringSearch() override;
    KivClStringSearch(const KivClStringSearch&) = delete;
    KivClStringSearch& operator=(const KivClStringSearch&) = delete;

    // First occurrence of the pattern in the NUL-terminated text, or null.
    const char* getPattern(const char* text) const override;
    // First occurrence of the pattern within the first length bytes of text
    // (which may contain NUL bytes), or null.
    const char* getPattern(const char* text, unsigned long length) const;

    uint32_t getPatternLength() const { return patternLength_; }

private:
    char* upperCopy_;  // owned upper-cased pattern, or null
    bool usable_;      // false for a pattern too long for the skip table
    uint32_t patternLength_;
    uint32_t skip_[256];
};

// Shell-style wildcard match of the whole text: "?" is any one character,
// "*" any run of characters. Case is ignored when ignoreCase is true.
class KivClStringMatchWildcards : public KivClStringMatchABase {
public:
    KivClStringMatchWildcards(const char* pattern, bool ignoreCase)
        : KivClStringMatchABase(pattern, ignoreCase) {}
    KivClStringMatchWildcards(const KivClStringMatchWildcards&) = default;
    KivClStringMatchWildcards& operator=(const KivClStringMatchWildcards&) = default;
    ~KivClStringMatchWildcards() override;

    // text when it matches the whole pattern, else null.
    const char* getPattern(const char* text) const override;
};

// Regular-expression search on the platform's POSIX regex. A failed
// compilation is kept (getCompileResult() != 0) and makes every search
// return null.
class KivClGrep : public KivClStringMatchABase {
public:
    // Execution flag of getPattern(text, eflags): on success return the text
    // itself instead of the start of the match. It is taken out of the flags
    // before they reach regexec.
    static constexpr int RETURN_TEXT = 8;

    // Compiles with REG_EXTENDED, plus REG_ICASE when ignoreCase is true.
    KivClGrep(const char* pattern, bool ignoreCase);
    // Compiles with the caller's regcomp flags; ignoring case is whether
    // REG_ICASE is among them.
    KivClGrep(int flags, const char* pattern);
    ~KivClGrep() override;
    KivClGrep(const KivClGrep&) = delete;
    KivClGrep& operator=(const KivClGrep&) = delete;

    // (Re)compiles pattern with the regcomp flags, replacing any earlier
    // expression, and returns and keeps regcomp's result (0 = success).
    int init(const char* pattern, int flags);
    int getCompileResult() const { return compileResult_; }

    // Start of the first match in text, or null.
    const char* getPattern(const char* text) const override;
    // The same with regexec execution flags; with RETURN_TEXT among them the
    // text itself is returned on success.
    const char* getPattern(const char* text, int eflags) const;

private:
    int compileResult_;
    bool compiled_;  // regex_ holds a compiled expression to free
    regex_t regex_;
};

// Whether the whole text matches the wildcard pattern ("?" one character,
// "*" any run, everything else itself; compared after toupper when
// caseSensitive is false). An empty pattern matches only an empty text; null
// arguments never match. Runs in time bounded by pattern length times text
// length, with no recursion, whatever the number of "*".
bool kivMatchesWildcardPattern(const char* pattern, const char* text, bool caseSensitive);

#endif  // KIV_MATCH_HPP
