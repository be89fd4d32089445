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
        if (!check.value(0)) return false;
        check.blanks();
        return check.at_ == text.size();
    }

private:
    explicit JsonCheck(const std::string& text) : s_(text) {}

    bool more() const { return at_ < s_.size(); }
    void blanks() {
        while (more() && std::strchr(" \t\n\r", s_[at_]) != nullptr && s_[at_] != '\0') ++at_;
    }
    bool take(char c) {
        blanks();
        if (!more() || s_[at_] != c) return false;
        ++at_;
        return true;
    }
    bool digits() {
        const size_t start = at_;
        while (more() && s_[at_] >= '0' && s_[at_] <= '9') ++at_;
        return at_ > start;
    }
    bool word(const char* w) {
        if (s_.compare(at_, std::strlen(w), w) != 0) return false;
        at_ += std::strlen(w);
        return true;
    }

    bool value(int depth) {
        blanks();
        if (depth > 64 || !more()) return false;
        switch (s_[at_]) {
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
            if (object && !(blanks(), more() && s_[at_] == '"' && string() && take(':'))) return false;
            if (!value(depth + 1)) return false;
        } while (take(','));
        return take(close);
    }
    bool string() {
        for (++at_; more(); ++at_) {
            const unsigned char c = static_cast<unsigned char>(s_[at_]);
            if (c == '"') return ++at_, true;
            if (c < 0x20) return false;
            if (c != '\\') continue;
            if (++at_ >= s_.size()) return false;
            if (s_[at_] == 'u') {
                const std::string hex = s_.substr(at_ + 1, 4);
                if (hex.size() != 4 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
                at_ += 4;
            } else if (std::strchr("\"\\/bfnrt", s_[at_]) == nullptr || s_[at_] == '\0') {
                return false;
            }
        }
        return false;
    }
    bool number() {
        if (more() && s_[at_] == '-') ++at_;
        if (more() && s_[at_] == '0') {
            ++at_;
        } else if (!digits()) {
            return false;
        }
        if (more() && s_[at_] == '.' && (++at_, !digits())) return false;
        if (more() && (s_[at_] == 'e' || s_[at_] == 'E')) {
            ++at_;
            if (more() && (s_[at_] == '+' || s_[at_] == '-')) ++at_;
            return digits();
        }
        return true;
    }

    const std::string& s_;
    size_t at_ = 0;
};

}  // namespace kivtest

#endif  // KIV_JSON_CHECK_HPP
