// A strict little JSON reader for the tool tests: the whole text must be one
// JSON value (RFC 8259 grammar, no extensions), else parsing fails.
#ifndef KIV_JSON_CHECK_HPP
#define KIV_JSON_CHECK_HPP

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace kivtest {

struct JsonValue {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    bool boolean = false;
    double number = 0;
    std::string text;                                        // String
    std::vector<JsonValue> items;                            // Array
    std::vector<std::pair<std::string, JsonValue>> members;  // Object, in order

    // The member called name, or null.
    const JsonValue* get(const std::string& name) const {
        for (const auto& member : members) {
            if (member.first == name) return &member.second;
        }
        return nullptr;
    }
};

class JsonReader {
public:
    // True when text is exactly one JSON value with optional blanks around.
    static bool parse(const std::string& text, JsonValue& value) {
        JsonReader reader(text);
        return reader.value(value) && (reader.blanks(), reader.pos_ == text.size());
    }

private:
    explicit JsonReader(const std::string& text) : s_(text) {}

    void blanks() {
        while (pos_ < s_.size() && (s_[pos_] == ' ' || s_[pos_] == '\t' || s_[pos_] == '\n' || s_[pos_] == '\r')) ++pos_;
    }
    bool take(char c) {
        blanks();
        if (pos_ >= s_.size() || s_[pos_] != c) return false;
        ++pos_;
        return true;
    }
    bool word(const char* w) {
        const std::string text(w);
        if (s_.compare(pos_, text.size(), text) != 0) return false;
        pos_ += text.size();
        return true;
    }
    bool digits() {
        const size_t start = pos_;
        while (pos_ < s_.size() && s_[pos_] >= '0' && s_[pos_] <= '9') ++pos_;
        return pos_ > start;
    }

    bool value(JsonValue& v) {
        if (++depth_ > 64) return false;
        blanks();
        if (pos_ >= s_.size()) return false;
        bool ok = false;
        const char c = s_[pos_];
        if (c == '{') {
            ok = object(v);
        } else if (c == '[') {
            ok = array(v);
        } else if (c == '"') {
            v.kind = JsonValue::String;
            ok = string(v.text);
        } else if (c == 't' || c == 'f') {
            v.kind = JsonValue::Bool;
            v.boolean = c == 't';
            ok = word(c == 't' ? "true" : "false");
        } else if (c == 'n') {
            ok = word("null");
        } else {
            ok = number(v);
        }
        --depth_;
        return ok;
    }

    bool number(JsonValue& v) {
        const size_t start = pos_;
        if (s_[pos_] == '-') ++pos_;
        if (pos_ < s_.size() && s_[pos_] == '0') {
            ++pos_;
        } else if (!digits()) {
            return false;
        }
        if (pos_ < s_.size() && s_[pos_] == '.' && (++pos_, !digits())) return false;
        if (pos_ < s_.size() && (s_[pos_] == 'e' || s_[pos_] == 'E')) {
            ++pos_;
            if (pos_ < s_.size() && (s_[pos_] == '+' || s_[pos_] == '-')) ++pos_;
            if (!digits()) return false;
        }
        v.kind = JsonValue::Number;
        v.number = std::strtod(s_.substr(start, pos_ - start).c_str(), nullptr);
        return true;
    }

    bool string(std::string& out) {
        ++pos_;  // the opening quote
        while (pos_ < s_.size()) {
            const unsigned char c = static_cast<unsigned char>(s_[pos_++]);
            if (c == '"') return true;
            if (c < 0x20) return false;
            if (c != '\\') {
                out += static_cast<char>(c);
                continue;
            }
            if (pos_ >= s_.size()) return false;
            const char e = s_[pos_++];
            const std::string simple = "\"\\/bfnrt", meaning = "\"\\/\b\f\n\r\t";
            const size_t k = simple.find(e);
            if (k != std::string::npos) {
                out += meaning[k];
            } else if (e == 'u' && pos_ + 4 <= s_.size()) {
                const std::string hex = s_.substr(pos_, 4);
                if (hex.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
                const unsigned long code = std::strtoul(hex.c_str(), nullptr, 16);
                out += code < 0x100 ? static_cast<char>(code) : '?';
                pos_ += 4;
            } else {
                return false;
            }
        }
        return false;
    }

    bool array(JsonValue& v) {
        v.kind = JsonValue::Array;
        ++pos_;
        if (take(']')) return true;
        do {
            v.items.emplace_back();
            if (!value(v.items.back())) return false;
        } while (take(','));
        return take(']');
    }

    bool object(JsonValue& v) {
        v.kind = JsonValue::Object;
        ++pos_;
        if (take('}')) return true;
        do {
            blanks();
            std::string name;
            if (pos_ >= s_.size() || s_[pos_] != '"' || !string(name) || !take(':')) return false;
            v.members.emplace_back(name, JsonValue());
            if (!value(v.members.back().second)) return false;
        } while (take(','));
        return take('}');
    }

    const std::string& s_;
    size_t pos_ = 0;
    int depth_ = 0;
};

}  // namespace kivtest

#endif  // KIV_JSON_CHECK_HPP
