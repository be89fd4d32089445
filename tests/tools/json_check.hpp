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
        if (!check.value()) return false;
        check.blanks();
        return check.at_ == text.size();
    }

private:
    explicit JsonCheck(const std::string& text) : s_(text) {}

    // The next character, or NUL at the end (NUL is no valid character anywhere).
    char peek() const { return at_ < s_.size() ? s_[at_] : '\0'; }
    bool isOneOf(const char* set) const { return peek() != '\0' && std::strchr(set, peek()) != nullptr; }
    void blanks() {
        while (isOneOf(" \t\n\r")) ++at_;
    }
    // Skips blanks, then takes c if it comes next.
    bool take(char c) {
        blanks();
        return skip(peek() == c ? 1 : 0);
    }
    // Moves on by count characters; false when count is 0.
    bool skip(size_t count) {
        at_ += count;
        return count > 0;
    }
    bool digits() {
        const size_t start = at_;
        while (isOneOf("0123456789")) ++at_;
        return at_ > start;
    }
    bool word(const char* w) { return s_.compare(at_, std::strlen(w), w) == 0 && skip(std::strlen(w)); }

    bool value() {
        blanks();
        switch (peek()) {
        case '{': return list('}', true);
        case '[': return list(']', false);
        case '"': return string();
        case 't': return word("true");
        case 'f': return word("false");
        case 'n': return word("null");
        default: return number();
        }
    }
    // An array, or an object whose members are "name": value.
    bool list(char close, bool object) {
        ++at_;
        if (take(close)) return true;
        do {
            if (object) {
                blanks();
                if (peek() != '"' || !string() || !take(':')) return false;
            }
            if (!value()) return false;
        } while (take(','));
        return take(close);
    }
    bool string() {
        for (++at_; at_ < s_.size(); ++at_) {
            const unsigned char c = static_cast<unsigned char>(s_[at_]);
            if (c == '"') return skip(1);
            if (c < 0x20) return false;
            if (c != '\\') continue;
            ++at_;
            const std::string hex = peek() == 'u' ? s_.substr(at_ + 1, 4) : "0000";  // \u takes four hex digits
            if (hex.size() != 4 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
            if (!isOneOf("\"\\/bfnrtu")) return false;
        }
        return false;
    }
    bool number() {
        if (peek() == '-') ++at_;
        if (!(peek() == '0' ? skip(1) : digits())) return false;
        if (peek() == '.' && !(skip(1) && digits())) return false;
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
