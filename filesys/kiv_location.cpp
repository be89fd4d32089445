// Directory locations: text that always ends in its separator.
#include "kiv_filename.hpp"

#include <algorithm>
#include <cstring>

#include "util/kiv_bounded.hpp"

KivClLocation::KivClLocation() : KivClPathProperty(), length_(0) {
    buffer_[0] = '\0';
    KivClPathProperty::init(buffer_);
}

KivClLocation::KivClLocation(const char* path, bool normalize) : KivClPathProperty() {
    kivCopyBounded(buffer_, path, MAX_LENGTH);
    init(normalize);
}

KivClLocation::KivClLocation(const char* text, unsigned long length, bool normalize)
    : KivClPathProperty() {
    kivCopyBounded(buffer_, text, std::min<unsigned long>(length, MAX_LENGTH));
    init(normalize);
}

KivClLocation::KivClLocation(const KivClFilenameABase& name, bool normalize)
    : KivClPathProperty() {
    kivCopyBounded(buffer_, name.getAsCString(),
                   static_cast<size_t>(name.getFilePart() - name.getAsCString()));
    init(normalize);
}

KivClLocation::KivClLocation(const KivClLocation& other) : KivClPathProperty() {
    *this = other;
}

KivClLocation& KivClLocation::operator=(const KivClLocation& other) {
    if (this != &other) {
        std::memcpy(buffer_, other.buffer_, other.length_ + 1);
        length_ = other.length_;
        rebaseOnto(buffer_, other);
    }
    return *this;
}

KivClLocation& KivClLocation::operator=(const char* path) {
    // path may be a part of this location's own buffer.
    kivCopyBounded(buffer_, path, MAX_LENGTH);
    init(false);
    return *this;
}

void KivClLocation::init(bool normalize) {
    KivClPathProperty::init(buffer_);
    length_ = static_cast<uint32_t>(appendSeparator(buffer_, std::strlen(buffer_), MAX_LENGTH));
    if (normalize) {
        normalizePath(buffer_ + (pathStart_ - buffer_));
        style_ = getStyle(pathStart_);
    }
}

bool KivClLocation::isRoot() const {
    if (!isAbsolute()) {
        return false;
    }
    if (hasServerPrefix()) {
        return std::strlen(pathStart_) == 1;
    }
    return length_ == (hasDrive() ? 3u : 1u);
}
