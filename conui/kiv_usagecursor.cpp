// Walking a usage string item by item.
#include "kiv_usage.hpp"

#include <cctype>
#include <cstring>

namespace {

// The characters that may follow a matched item: brackets, angle brackets,
// parentheses, braces, "-", "|" and the blank.
constexpr char BOUNDARY_CHARACTERS[] = "[]<>(){}-| ";
constexpr size_t BOUNDARY_COUNT = sizeof(BOUNDARY_CHARACTERS) - 1;

bool isBoundary(char c) {
    return c == '\0' || std::memchr(BOUNDARY_CHARACTERS, c, BOUNDARY_COUNT) != nullptr;
}

bool isAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

// Characters that continue a name once the cursor is on an item.
bool isNameCharacter(char c) { return isAlnum(c) || c == '.'; }

// Compares text with the usage characters from usageText on; on success
// usageText is left on the first usage character after the compared part.
// Stops at the first difference, so it never passes the usage terminator.
bool consumePrefix(const char*& usageText, const char* text) {
    for (; *text != '\0'; ++text, ++usageText) {
        if (*usageText != *text) return false;
    }
    return true;
}

}  // namespace

KivClUsageCursor::KivClUsageCursor(const char* usage)
    : usage_(usage != nullptr ? usage : EMPTY_USAGE), position_(usage_) {}

KivClUsageCursor::~KivClUsageCursor() = default;

bool KivClUsageCursor::isValid() const { return *position_ != '\0'; }

bool KivClUsageCursor::setToFirst() {
    position_ = usage_;
    return locateNext();
}

bool KivClUsageCursor::setToNext() {
    skipCurrent();
    return locateNext();
}

bool KivClUsageCursor::isSwitch() const { return isSwitchIndicator(position_); }

bool KivClUsageCursor::isSwitchIndicator(const char* text) {
    return text != nullptr && text[0] == '-' && !std::isdigit(static_cast<unsigned char>(text[1]));
}

bool KivClUsageCursor::isArgEllipsis() const { return *position_ == '.'; }

bool KivClUsageCursor::reqArg() const {
    if (groupDepth_ == 0) return false;
    KivClUsageCursor next(*this);
    return next.setToNext() && !next.isSwitch() && next.groupDepth_ == groupDepth_;
}

bool KivClUsageCursor::reqArgEllipsis() const {
    if (groupDepth_ == 0) return false;
    KivClUsageCursor next(*this);
    while (next.setToNext()) {
        if (next.groupDepth_ != groupDepth_ || next.isSwitch()) return false;
        if (next.isArgEllipsis()) return true;
    }
    return false;
}

bool KivClUsageCursor::matches(const char* text) const {
    if (text == nullptr || *text == '\0' || !isValid()) return false;
    const char* rest = position_;
    return consumePrefix(rest, text) && isBoundary(*rest);
}

bool KivClUsageCursor::matchesSwitch(const char* name) const {
    if (name == nullptr || !isSwitch()) return false;
    if (isSwitchIndicator(name)) ++name;
    const char* rest = position_ + 1;
    return consumePrefix(rest, name) && isBoundary(*rest);
}

bool KivClUsageCursor::isToBeDisplayed(char c) { return c != '"' && c != '(' && c != ')'; }

bool KivClUsageCursor::locateNext() {
    if (*position_ == '\0') return false;
    bool blankSeen = false;
    for (;;) {
        Step step = examineCurrent(blankSeen);
        if (step != Step::Continue) return step == Step::Found;
        ++position_;
        if (*position_ == '\0') return false;
    }
}

void KivClUsageCursor::skipCurrent() {
    if (isSwitch() || *position_ == '<') ++position_;
    while (isNameCharacter(*position_) || (inPlaceholder_ && *position_ == ' ')) ++position_;
}

// One character of the walk: updates the state it stands for and says
// whether an item starts here. The cursor stands on a character other than
// the terminator, and is left on one that the caller may step over.
KivClUsageCursor::Step KivClUsageCursor::examineCurrent(bool& blankSeen) {
    switch (*position_) {
        case '[': ++optionalDepth_; break;
        case ']': --optionalDepth_; break;
        case '(': ++groupDepth_; break;
        case ')': --groupDepth_; break;
        case '>': inPlaceholder_ = false; break;
        case '<': inPlaceholder_ = true; return Step::Found;
        case '-': return isSwitch() ? Step::Found : Step::Continue;
        case '.': return passDots();
        case '"': return passQuotedText();
        case '!': tagged_ = true; break;
        case '\n': tagged_ = false; break;
        case ' ': blankSeen = true; break;
        default:
            if (blankSeen && isAlnum(*position_)) return Step::Found;
            break;
    }
    return Step::Continue;
}

// On a dot: a run of two or more dots is an ellipsis, found on its last dot.
// A lone dot is passed over together with the character after it.
KivClUsageCursor::Step KivClUsageCursor::passDots() {
    ++position_;
    if (*position_ == '.') {
        while (position_[1] == '.') ++position_;
        return Step::Found;
    }
    return *position_ == '\0' ? Step::End : Step::Continue;
}

// On an opening double quote: moves to the closing one, which the walk then
// steps over. Without a closing quote the walk ends on the terminator.
KivClUsageCursor::Step KivClUsageCursor::passQuotedText() {
    do {
        ++position_;
    } while (*position_ != '\0' && *position_ != '"');
    return *position_ == '\0' ? Step::End : Step::Continue;
}
