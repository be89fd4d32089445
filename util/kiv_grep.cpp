// Regular-expression search on POSIX regcomp/regexec.
#include <cstring>

#include "kiv_match.hpp"

KivClGrep::KivClGrep(const char* pattern, bool ignoreCase)
    : KivClStringMatchABase(pattern, ignoreCase), compileResult_(REG_BADPAT), compiled_(false) {
    init(pattern, REG_EXTENDED | (ignoreCase ? REG_ICASE : 0));
}

KivClGrep::KivClGrep(int flags, const char* pattern)
    : KivClStringMatchABase(pattern, (flags & REG_ICASE) != 0), compileResult_(REG_BADPAT),
      compiled_(false) {
    init(pattern, flags);
}

KivClGrep::~KivClGrep() {
    if (compiled_) regfree(&regex_);
}

int KivClGrep::init(const char* pattern, int flags) {
    if (compiled_) {
        regfree(&regex_);
        compiled_ = false;
    }
    pattern_ = pattern;
    ignoreCase_ = (flags & REG_ICASE) != 0;
    if (pattern == nullptr) {
        compileResult_ = REG_BADPAT;
        return compileResult_;
    }
    compileResult_ = regcomp(&regex_, pattern, flags);
    compiled_ = compileResult_ == 0;
    return compileResult_;
}

const char* KivClGrep::getPattern(const char* text) const { return getPattern(text, 0); }

const char* KivClGrep::getPattern(const char* text, int eflags) const {
    if (!compiled_ || text == nullptr) return nullptr;
    const bool returnText = (eflags & RETURN_TEXT) != 0;
    eflags &= ~RETURN_TEXT;
    // The whole match starts at the text unless regexec says otherwise (it
    // fills nothing for an expression compiled with REG_NOSUB). REG_STARTEND
    // reads the range to search from the first entry.
    regmatch_t matches[2];
    matches[0].rm_so = 0;
    matches[0].rm_eo = (eflags & REG_STARTEND) ? static_cast<regoff_t>(std::strlen(text)) : 0;
    matches[1] = matches[0];
    if (regexec(&regex_, text, 2, matches, eflags) != 0) return nullptr;
    if (returnText || matches[0].rm_so < 0) return text;
    return text + matches[0].rm_so;
}
