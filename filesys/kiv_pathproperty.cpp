// Style and server-prefix analysis of a name text.
#include "kiv_filename.hpp"

#include <unistd.h>

#include <cctype>
#include <cstring>

namespace {

const char kEmptyText[] = "";

bool isDoubleBackslash(const char* text) {
    return text[0] == '\\' && text[1] == '\\';
}

}  // namespace

KivClPathProperty::KivClPathProperty()
    : name_(kEmptyText), pathStart_(kEmptyText), style_(KivEnPathStyleUnix) {}

KivClPathProperty::KivClPathProperty(const char* name) : KivClPathProperty() {
    init(name);
}

void KivClPathProperty::init(const char* name) {
    name_ = name != nullptr ? name : kEmptyText;
    determinePath();
    // The path proper decides; a bare \\server\share, whose path proper is
    // empty, is therefore Unix style.
    style_ = getStyle(pathStart_);
}

void KivClPathProperty::determinePath() {
    pathStart_ = name_;
    // "\\" + server (at least one character) + "\" + share: the share name
    // runs up to the next backslash or the end of the text.
    if (!isDoubleBackslash(name_) || name_[2] == '\0') {
        return;
    }
    const char* afterServer = std::strchr(name_ + 3, '\\');
    if (afterServer == nullptr) {
        return;
    }
    const char* afterShare = std::strchr(afterServer + 1, '\\');
    pathStart_ = afterShare != nullptr ? afterShare : afterServer + std::strlen(afterServer);
}

KivEnPathStyle KivClPathProperty::getStyle(const char* text) const {
    if (text == nullptr) {
        return KivEnPathStyleUnix;
    }
    if (std::isalpha(static_cast<unsigned char>(text[0])) && text[1] == ':') {
        return KivEnPathStyleDOS;
    }
    return std::strchr(text, '\\') != nullptr ? KivEnPathStyleDOS : KivEnPathStyleUnix;
}

char KivClPathProperty::getPathSep(const char* text) const {
    return getStyle(text) == KivEnPathStyleUnix ? '/' : '\\';
}

bool KivClPathProperty::hasDrive() const {
    return pathStart_[0] != '\0' && pathStart_[1] == ':';
}

bool KivClPathProperty::isAbsolute() const {
    if (hasServerPrefix()) {
        return true;
    }
    if (style_ == KivEnPathStyleUnix) {
        return pathStart_[0] == '/';
    }
    return hasDrive() && pathStart_[2] == '\\';
}

bool KivClPathProperty::isNormalized() const {
    return std::strchr(pathStart_, '\\') == nullptr;
}

void KivClPathProperty::normalizePath(char* text) {
    if (text == nullptr) {
        return;
    }
    for (char* p = std::strchr(text, '\\'); p != nullptr; p = std::strchr(p + 1, '\\')) {
        *p = '/';
    }
}

bool KivClPathProperty::isExistent() const {
    return ::access(name_, F_OK) == 0;
}

void KivClPathProperty::rebaseOnto(const char* text, const KivClPathProperty& other) {
    name_ = text;
    pathStart_ = text + (other.pathStart_ - other.name_);
    style_ = other.style_;
}

size_t KivClPathProperty::appendSeparator(char* text, size_t length, size_t limit) const {
    const char separator = getSeparator();
    // A text that already fills its buffer keeps its last character rather
    // than losing it to the separator.
    if (length > 0 && length < limit && text[length - 1] != separator) {
        text[length++] = separator;
        text[length] = '\0';
    }
    return length;
}
