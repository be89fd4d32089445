// Style and server-prefix analysis of a name text.
#include "kiv_filename.hpp"

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
