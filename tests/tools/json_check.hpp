// A strict JSON check for the tool tests: true only when the whole text is
// one JSON value of the RFC 8259 grammar, blanks around it allowed.
#ifndef KIV_JSON_CHECK_HPP
#define KIV_JSON_CHECK_HPP

#include <cstring>
#include <string>

namespace kivtest {

class JsonCheck {
public:
    static bool isValid(const std::string& text) {
        JsonCheck check(text);
        return check.value(0) && (check.blanks(), check.at_ == text.size());
    }

private:
    explicit JsonCheck(const std::string& text) : s_(text) {}

    // The next character, or NUL at the end (NUL is no valid character anywhere).
    char peek() const { return at_ < s_.size() ? s_[at_] : '\0'; }
    bool isOneOf(const char* set) const { return peek() != '\0' && std::strchr(set, peek()) != nullptr; }
    void blanks() {
        while (isOneOf(" \t\n\r")) ++at_;
    }
    bool take(char c) {
        blanks();
        return peek() == c && (++at_, true);
    }
    bool digits() {
        const size_t start = at_;
        while (isOneOf("0123456789")) ++at_;
        return at_ > start;
    }
    bool word(const char* w) {
        const size_t length = std::strlen(w);
        return s_.compare(at_, length, w) == 0 && (at_ += length, true);
    }

    bool value(int depth) {
        blanks();
        switch (depth > 64 ? '\0' : peek()) {
        case '\0': return false;
        case '{': return list('}', depth, true);
        case '[': return list(']', depth, false);
        case '"': return string();
        case 't': return word("true");
        case 'f': return word("false");
        case 'n': return word("null");
        default: return number();
        }
    }
    // An array, or an object whose members are "name": value.
    bool list(char close, int depth, bool object) {
        ++at_;
        if (take(close)) return true;
        do {
            if (object && !(blanks(), peek() == '"' && string() && take(':'))) return false;
            if (!value(depth + 1)) return false;
        } while (take(','));
        return take(close);
    }
    bool string() {
        for (++at_; at_ < s_.size(); ++at_) {
            const unsigned char c = static_cast<unsigned char>(s_[at_]);
            if (c == '"') return ++at_, true;
            if (c < 0x20) return false;
            if (c != '\\') continue;
            ++at_;
            if (peek() == 'u') {
                const std::string hex = s_.substr(at_ + 1, 4);
                if (hex.size() != 4 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
                at_ += 4;
            } else if (!isOneOf("\"\\/bfnrt")) {
                return false;
            }
        }
        return false;
    }
    bool number() {
        if (peek() == '-') ++at_;
        if (!(peek() == '0' ? (++at_, true) : digits())) return false;
        if (peek() == '.' && (++at_, !digits())) return false;
        if (!isOneOf("eE")) return true;
        ++at_;
        if (isOneOf("+-")) ++at_;
        return digits();
    }

    const std::string& s_;
    size_t at_ = 0;
};

}  // namespace kivtest

#endif  // KIV_JSON_CHECK_HPP
