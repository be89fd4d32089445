// Resource key names reduced to a portable character set.
#include "kiv_resourcekey.hpp"

#include <cstring>

namespace {

const char kNameCharacters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-@";
const unsigned kNameCharacterCount = sizeof kNameCharacters - 1;

char reduce(unsigned char ch) {
    if (ch == '/') return ':';
    if (ch != '\0' && std::memchr(kNameCharacters, ch, kNameCharacterCount) != nullptr) return static_cast<char>(ch);
    return kNameCharacters[ch % kNameCharacterCount];
}

}  // namespace

KivClResourceKeyABase::KivClResourceKeyABase(const char* kindPrefix, const char* key, const char* instance)
    : length_(0), keyPart_(name_) {
    name_[0] = '\0';
    add(kindPrefix);
    uint32_t prefixEnd = length_;
    add(key);
    keyPart_ = name_ + (prefixEnd < length_ ? prefixEnd + 1 : length_);
    if (instance != nullptr) add(instance);
}

KivClResourceKeyABase::KivClResourceKeyABase(const KivClResourceKeyABase& other) : length_(0), keyPart_(name_) {
    *this = other;
}

KivClResourceKeyABase::~KivClResourceKeyABase() = default;

KivClResourceKeyABase& KivClResourceKeyABase::operator=(const KivClResourceKeyABase& other) {
    if (this != &other) {
        length_ = other.length_;
        std::memcpy(name_, other.name_, sizeof name_);
        keyPart_ = name_ + (other.keyPart_ - other.name_);
    }
    return *this;
}

void KivClResourceKeyABase::add(const char* part) {
    if (length_ > 0 && length_ < NAME_CAPACITY) name_[length_++] = ':';
    for (const char* p = part; p != nullptr && *p != '\0' && length_ < NAME_CAPACITY; ++p) {
        name_[length_++] = reduce(static_cast<unsigned char>(*p));
    }
    name_[length_] = '\0';
}

bool KivClResourceKeyABase::matches(const char* text) const {
    return text != nullptr && std::strncmp(text, name_, length_) == 0;
}

KivClResourceKeySemaphore::KivClResourceKeySemaphore(const char* key, const char* instance)
    : KivClResourceKeyABase("???", key, instance) {}
