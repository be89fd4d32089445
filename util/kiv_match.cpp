// Fixed-string skip-table search and wildcard matching.
#include "kiv_match.hpp"

#include <cctype>
#include <cstring>

#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

namespace {

unsigned char upperByte(unsigned char c) { return static_cast<unsigned char>(std::toupper(c)); }

bool sameChar(char patternChar, char textChar, bool caseSensitive) {
    if (caseSensitive) return patternChar == textChar;
    return upperByte(static_cast<unsigned char>(patternChar)) ==
           upperByte(static_cast<unsigned char>(textChar));
}

// First position at or after text where the character equals literal, or
// null when the text ends first.
const char* findLiteral(const char* text, char literal, bool caseSensitive) {
    for (; *text != '\0'; ++text) {
        if (sameChar(literal, *text, caseSensitive)) return text;
    }
    return nullptr;
}

constexpr size_t NOT_FOUND = static_cast<size_t>(-1);

// One skip-table search of needle (m > 0 bytes, already folded) in the n
// bytes of subject, where m <= n.
struct SkipSearch {
    const unsigned char* subject;
    size_t n;
    const unsigned char* needle;
    size_t m;
    const uint32_t* skip;

    // Instantiated once per folding, so that the exact search pays nothing
    // for case handling. Returns the window start or NOT_FOUND.
    template <typename Fold>
    size_t run(Fold fold) const {
        size_t windowEnd = m - 1;  // text index aligned with the pattern's last character
        while (windowEnd < n) {
            size_t matched = 0;  // characters matched from the end of the window
            unsigned char c = fold(subject[windowEnd]);
            while (c == needle[m - 1 - matched]) {
                if (++matched == m) return windowEnd + 1 - m;
                c = fold(subject[windowEnd - matched]);
            }
            // Move the window's end skip[c] past the mismatch, and at least one step.
            const size_t skipped = windowEnd - matched + skip[c];
            windowEnd = skipped > windowEnd ? skipped : windowEnd + 1;
        }
        return NOT_FOUND;
    }
};

// Texts at least this long are searched by pairs of characters (below);
// shorter ones by the single-character skip table, which needs no set-up.
constexpr size_t PAIR_SEARCH_MIN_TEXT = 256;

// The skip search keyed on the last two characters of the window instead of
// the last one: on texts over a small alphabet a single character occurs in
// nearly every pattern and allows only short moves, while most pairs do not
// occur and let the window move by m - 1. Pairs are hashed into 256 one-byte
// shifts; a collision only makes a shift shorter, never unsafe. Returns the
// first occurrence, as the single-character search does.
struct PairSearch {
    const unsigned char* subject;
    size_t n;
    const unsigned char* needle;
    size_t m;  // 2 <= m <= n

    static unsigned hashPair(unsigned char first, unsigned char second) {
        return (second - (first << 3)) & 0xFFu;
    }

    template <typename Fold>
    size_t run(Fold fold) const {
        // shift[h]: how far the window end may move when the text pair
        // ending there hashes to h; 0 for the pattern's own last pair.
        unsigned char shift[256];
        const size_t last = m - 1;
        const unsigned char longest = static_cast<unsigned char>(last < 255 ? last : 255);
        std::memset(shift, longest, sizeof shift);
        for (size_t i = 1; i < last; ++i) {
            const size_t distance = last - i;
            shift[hashPair(needle[i - 1], needle[i])] =
                static_cast<unsigned char>(distance < 255 ? distance : 255);
        }
        const unsigned lastHash = hashPair(needle[last - 1], needle[last]);
        // After a failed comparison the window moves to the previous pair
        // of the pattern with the same hash, or by m - 1 without one.
        const size_t afterMismatch = shift[lastHash];
        shift[lastHash] = 0;

        size_t windowEnd = last;
        while (windowEnd < n) {
            const unsigned step =
                shift[hashPair(fold(subject[windowEnd - 1]), fold(subject[windowEnd]))];
            if (step != 0) {
                windowEnd += step;
                continue;
            }
            const size_t start = windowEnd - last;
            size_t matched = 0;
            while (matched < m && fold(subject[start + matched]) == needle[matched]) ++matched;
            if (matched == m) return start;
            windowEnd += afterMismatch;
        }
        return NOT_FOUND;
    }
};

unsigned char sameByte(unsigned char c) { return c; }

}  // namespace

KivClStringMatchABase::~KivClStringMatchABase() = default;

// ---------------------------------------------------------------------------
// KivClStringSearch

KivClStringSearch::KivClStringSearch(const char* pattern, bool ignoreCase)
    : KivClStringMatchABase(pattern, ignoreCase), upperCopy_(nullptr), usable_(true),
      patternLength_(0) {
    const size_t length = pattern_ ? std::strlen(pattern_) : 0;
    usable_ = length < UINT32_MAX;
    patternLength_ = usable_ ? static_cast<uint32_t>(length) : 0;
    if (ignoreCase_ && pattern_ != nullptr && usable_) {
        upperCopy_ = static_cast<char*>(kivMalloc(length + 1));
        std::memcpy(upperCopy_, pattern_, length + 1);
        strupr(upperCopy_);
        pattern_ = upperCopy_;
    }
    const uint32_t m = patternLength_;
    for (uint32_t& entry : skip_) entry = m;
    // Later positions overwrite earlier ones, so the last occurrence wins. A
    // case-insensitive search already holds its pattern upper-cased.
    for (uint32_t position = 0; position + 1 < m; ++position) {
        skip_[static_cast<unsigned char>(pattern_[position])] = m - 1 - position;
    }
}

KivClStringSearch::~KivClStringSearch() { kivFree(upperCopy_); }

const char* KivClStringSearch::getPattern(const char* text) const {
    if (text == nullptr) return nullptr;
    return getPattern(text, std::strlen(text));
}

const char* KivClStringSearch::getPattern(const char* text, unsigned long length) const {
    if (text == nullptr || !usable_ || pattern_ == nullptr) return nullptr;
    if (patternLength_ == 0) return text;
    if (patternLength_ > length) return nullptr;
    const auto* subject = reinterpret_cast<const unsigned char*>(text);
    const auto* needle = reinterpret_cast<const unsigned char*>(pattern_);
    size_t found = NOT_FOUND;
    if (length < PAIR_SEARCH_MIN_TEXT || patternLength_ < 2) {
        const SkipSearch search{subject, length, needle, patternLength_, skip_};
        found = ignoreCase_ ? search.run(upperByte) : search.run(sameByte);
    } else {
        const PairSearch search{subject, length, needle, patternLength_};
        found = ignoreCase_ ? search.run(upperByte) : search.run(sameByte);
    }
    return found == NOT_FOUND ? nullptr : text + found;
}

// ---------------------------------------------------------------------------
// Wildcards

KivClStringMatchWildcards::~KivClStringMatchWildcards() = default;

const char* KivClStringMatchWildcards::getPattern(const char* text) const {
    return kivMatchesWildcardPattern(pattern_, text, !ignoreCase_) ? text : nullptr;
}

// The match follows the recursive definition: at a "*" the following "*" and
// "?" are skipped ("?" consuming one text character each), then every text
// position holding the next pattern character is tried as the place where
// the rest of the pattern continues. Once a later "*" has been reached, its
// own scan covers every continuation that a later start of an earlier "*"
// could reach (a later start only leaves a suffix of the same text to it),
// so only the most recent "*" ever needs another start. Keeping just that
// one resume point gives the recursive result in O(pattern x text) time and
// constant stack, where the plain recursion is exponential in the number of
// "*" on text that almost matches.
bool kivMatchesWildcardPattern(const char* pattern, const char* text, bool caseSensitive) {
    if (pattern == nullptr || text == nullptr) return false;
    const char* p = pattern;
    const char* t = text;
    const char* resumePattern = nullptr;  // pattern after the literal that follows the last "*"
    const char* resumeText = nullptr;     // next text position the last "*" may try
    char literal = '\0';                  // the character that follows the last "*"
    for (;;) {
        if (*p == '*') {
            for (; *p == '*' || *p == '?'; ++p) {
                if (*p == '?' && *t++ == '\0') return false;
            }
            if (*p == '\0') return true;
            literal = *p;
            resumePattern = p + 1;
            resumeText = t;
        } else if (*p != '\0' && *t != '\0' && (*p == '?' || sameChar(*p, *t, caseSensitive))) {
            ++p;
            ++t;
            continue;
        } else if (*p == '\0' && *t == '\0') {
            return true;
        } else if (resumePattern == nullptr) {
            return false;
        }
        // Start (or restart) the last "*": the rest continues after the next
        // text position holding its literal.
        const char* found = findLiteral(resumeText, literal, caseSensitive);
        if (found == nullptr) return false;
        p = resumePattern;
        t = found + 1;
        resumeText = found + 1;
    }
}
