// File names: analysis of the parts, comparisons, extraction and changes.
#include "kiv_filename.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "kiv_match.hpp"
#include "kiv_string.hpp"
#include "util/kiv_bounded.hpp"

namespace {

// Writes the characters [begin, end) to out, terminated.
void copyRange(char* out, const char* begin, const char* end) {
    size_t count = static_cast<size_t>(end - begin);
    std::memcpy(out, begin, count);
    out[count] = '\0';
}

bool isReservedIn83(unsigned char c) {
    return !std::isalnum(c) && std::strchr("<>:;.\"|/*", c) != nullptr;
}

}  // namespace

// ---------------------------------------------------------------------------
// KivClFilenameABase

KivClFilenameABase::KivClFilenameABase() : KivClPathProperty() {
    init(nullptr);
}

KivClFilenameABase::KivClFilenameABase(const char* name) : KivClPathProperty() {
    init(name);
}

KivClFilenameABase::KivClFilenameABase(const char* text, unsigned long length)
    : KivClPathProperty() {
    kivCopyBounded(buffer_, text, std::min<unsigned long>(length, MAX_LENGTH));
    KivClPathProperty::init(buffer_);
    determineParts();
}

KivClFilenameABase::KivClFilenameABase(const char* path, const char* baseName,
                                       const char* extension)
    : KivClPathProperty() {
    init(path, baseName, extension);
}

KivClFilenameABase::KivClFilenameABase(const KivClFilenameABase& other)
    : KivClPathProperty() {
    rebaseFrom(other);
}

KivClFilenameABase& KivClFilenameABase::operator=(const KivClFilenameABase& other) {
    if (this != &other) {
        rebaseFrom(other);
    }
    return *this;
}

void KivClFilenameABase::rebaseFrom(const KivClFilenameABase& other) {
    std::memcpy(buffer_, other.buffer_, other.length_ + 1);
    length_ = other.length_;
    rebaseOnto(buffer_, other);
    baseName_ = buffer_ + (other.baseName_ - other.buffer_);
    extension_ = buffer_ + (other.extension_ - other.buffer_);
}

void KivClFilenameABase::init(const char* name) {
    kivCopyBounded(buffer_, name, MAX_LENGTH);
    KivClPathProperty::init(buffer_);
    determineParts();
}

void KivClFilenameABase::init(const char* path, const char* baseName,
                              const char* extension) {
    // The arguments may point into this name: copy them before clearing it.
    char pathCopy[BUFFER_SIZE];
    char baseCopy[BUFFER_SIZE];
    char extensionCopy[BUFFER_SIZE];
    kivCopyBounded(pathCopy, path, MAX_LENGTH);
    kivCopyBounded(baseCopy, baseName, MAX_LENGTH);
    kivCopyBounded(extensionCopy, extension, MAX_LENGTH);
    std::memset(buffer_, 0, sizeof buffer_);
    size_t length = kivCopyBounded(buffer_, pathCopy, MAX_LENGTH);
    // The style is decided by the path alone.
    KivClPathProperty::init(buffer_);
    length = appendSeparator(buffer_, length, MAX_LENGTH);
    length += kivCopyBounded(buffer_ + length, baseCopy, MAX_LENGTH - length);
    if (extension != nullptr) {
        if (extensionCopy[0] != '.' && length < MAX_LENGTH) {
            buffer_[length++] = '.';
            buffer_[length] = '\0';
        }
        kivCopyBounded(buffer_ + length, extensionCopy, MAX_LENGTH - length);
    }
    determineParts();
}

void KivClFilenameABase::determineParts() {
    length_ = static_cast<uint32_t>(std::strlen(buffer_));
    char* pathProper = writableAt(pathStart_);
    char* separator = std::strrchr(pathProper, '/');
    if (separator == nullptr) {
        separator = std::strrchr(pathProper, '\\');
    }
    baseName_ = separator != nullptr ? separator + 1 : pathProper;
    determineExtension();
}

void KivClFilenameABase::determineExtension() {
    char* dot = std::strrchr(baseName_, '.');
    extension_ = dot != nullptr ? dot : buffer_ + length_;
}

unsigned long KivClFilenameABase::getBaseNameLength() const {
    return static_cast<unsigned long>(extension_ - baseName_);
}

bool KivClFilenameABase::matchesPath(const KivClFilenameABase& other) const {
    size_t count = static_cast<size_t>(baseName_ - pathStart_);
    if (style_ == KivEnPathStyleUnix) {
        return std::strncmp(pathStart_, other.pathStart_, count) == 0;
    }
    return strncmpi(pathStart_, other.pathStart_, count) == 0;
}

bool KivClFilenameABase::matchesBase(const KivClFilenameABase& other) const {
    // The longer of the two lengths is compared, so the shorter base name is
    // compared together with what follows it (its extension): "a" of "a.b"
    // matches "a.b" of "a.b.c". Both texts are terminated, so the comparison
    // stops at the end of the shorter name.
    const unsigned long count = std::max(getBaseNameLength(), other.getBaseNameLength());
    if (style_ == KivEnPathStyleUnix) {
        return std::strncmp(baseName_, other.baseName_, count) == 0;
    }
    return strncmpi(baseName_, other.baseName_, count) == 0;
}

bool KivClFilenameABase::matchesExtension(const char* ext) const {
    const char* wanted = ext != nullptr ? ext : "";
    const char* stored = extension_;
    if (*stored != '\0' && wanted[0] != '.') {
        ++stored;
    }
    if (style_ == KivEnPathStyleUnix) {
        return std::strcmp(stored, wanted) == 0;
    }
    return strcmpi(stored, wanted) == 0;
}

bool KivClFilenameABase::matchesWildcardPattern(const char* pattern) const {
    return kivMatchesWildcardPattern(pattern, baseName_, style_ == KivEnPathStyleUnix);
}

void KivClFilenameABase::extractPath(char* out, bool withSeparator) const {
    if (out == nullptr) {
        return;
    }
    if (!hasPath()) {
        out[0] = '\0';
        return;
    }
    // baseName follows a separator whenever the name has a path.
    const char* end = withSeparator ? baseName_ : baseName_ - 1;
    copyRange(out, buffer_, end);
}

void KivClFilenameABase::extractBaseName(char* out) const {
    if (out != nullptr) {
        copyRange(out, baseName_, extension_);
    }
}

void KivClFilenameABase::extractServer(char* out) const {
    if (out == nullptr) {
        return;
    }
    if (buffer_[0] == '\\' && buffer_[1] == '\\') {
        copyRange(out, buffer_, pathStart_);
    } else {
        out[0] = '\0';
    }
}

bool KivClFilenameABase::isStyleFAT_8_3() const {
    if (style_ == KivEnPathStyleUnix) {
        return false;
    }
    if (std::strlen(extension_) > 4 || getBaseNameLength() > 8) {
        return false;
    }
    const char* scan = pathStart_;
    if (hasDrive()) {
        if (!std::isalpha(static_cast<unsigned char>(scan[0]))) {
            return false;
        }
        scan += 2;
    }
    unsigned componentLength = 0;
    for (; scan < extension_; ++scan) {
        unsigned char c = static_cast<unsigned char>(*scan);
        if (componentLength > 8 || isReservedIn83(c)) {
            return false;
        }
        componentLength = c == '\\' ? 0 : componentLength + 1;
    }
    return true;
}

void KivClFilenameABase::appendText(const char* text) {
    length_ += static_cast<uint32_t>(kivCopyBounded(buffer_ + length_, text, MAX_LENGTH - length_));
}

void KivClFilenameABase::replaceFilePart(const char* filePart) {
    size_t offset = static_cast<size_t>(baseName_ - buffer_);
    kivCopyBounded(baseName_, filePart, MAX_LENGTH - offset);
    length_ = static_cast<uint32_t>(std::strlen(buffer_));
    determineExtension();
}

// ---------------------------------------------------------------------------
// KivClFilename

KivClFilename::KivClFilename(const KivClLocation& location, const char* baseName,
                             const char* extension)
    : KivClFilenameABase(location.getAsCString(), baseName, extension) {}

KivClFilename& KivClFilename::operator=(const KivClFilenameABase& other) {
    KivClFilenameABase::operator=(other);
    return *this;
}

void KivClFilename::setNew(const KivClLocation& location, const char* name) {
    init(location.getAsCString(), name, nullptr);
}

void KivClFilename::setNewName(const char* name) {
    KivClLocation directory(*this, false);
    KivClFilename renamed(directory, name, nullptr);
    *this = renamed;
}

void KivClFilename::setNewBaseName(const char* baseName) {
    char oldExtension[BUFFER_SIZE];
    kivCopyBounded(oldExtension, extension_, MAX_LENGTH);
    setNewName(baseName);
    setNewExtension(oldExtension);
}

void KivClFilename::setNewExtension(const char* ext) {
    // ext may point into this name; take a copy before writing.
    char wanted[BUFFER_SIZE];
    kivCopyBounded(wanted, ext != nullptr && ext[0] == '.' ? ext + 1 : ext, MAX_LENGTH);
    size_t offset = static_cast<size_t>(extension_ - buffer_);
    bool removing = ext == nullptr || ext[0] == '\0';
    if (removing || offset >= MAX_LENGTH) {
        *extension_ = '\0';
        length_ = static_cast<uint32_t>(offset);
        return;
    }
    extension_[0] = '.';
    kivCopyBounded(extension_ + 1, wanted, MAX_LENGTH - offset - 1);
    length_ = static_cast<uint32_t>(std::strlen(buffer_));
}

void KivClFilename::setNewPath(const char* path) {
    // path may point into this name; both texts are copied before joining.
    char filePart[BUFFER_SIZE];
    char newPath[BUFFER_SIZE];
    kivCopyBounded(filePart, baseName_, MAX_LENGTH);
    kivCopyBounded(newPath, path, MAX_LENGTH);
    init(newPath, filePart, nullptr);
}

void KivClFilename::setNewPath(const KivClLocation& location) {
    setNewPath(location.getAsCString());
}

void KivClFilename::removePath() {
    if (!hasPath()) {
        return;
    }
    size_t fileLength = std::strlen(baseName_);
    std::memmove(buffer_, baseName_, fileLength + 1);
    name_ = buffer_;
    pathStart_ = buffer_;
    baseName_ = buffer_;
    length_ = static_cast<uint32_t>(fileLength);
    determineExtension();
}
