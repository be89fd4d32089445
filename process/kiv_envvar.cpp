// Environment variable classes.
#include "kiv_envvar.hpp"

#include <cstdlib>
#include <cstring>

#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

KivClEnvironmentVariableABase::KivClEnvironmentVariableABase(const char* name) { initName(name); }

bool KivClEnvironmentVariableABase::initName(const char* name) {
    name_[0] = '\0';
    if (name == nullptr) return false;
    const size_t length = std::strlen(name);
    if (length > MAX_NAME_LENGTH || std::strchr(name, '=') != nullptr) return false;
    std::memcpy(name_, name, length + 1);
    return true;
}

const char* KivClEnvironmentVariableABase::getValue() const {
    return hasValidName() ? std::getenv(name_) : nullptr;
}

bool KivClEnvironmentVariableABase::hasValue() const { return getValue() != nullptr; }

bool KivClEnvironmentVariableABase::hasValueEnabled() const {
    const char* value = getValue();
    if (value == nullptr) return false;
    static const char* const enabled[] = {"ON", "YES", "TRUE", "1"};
    for (const char* word : enabled) {
        if (strcmpi(value, word) == 0) return true;
    }
    return false;
}

KivClEnvironmentVariable::KivClEnvironmentVariable(const char* name, const char* value)
    : KivClEnvironmentVariableABase(name) {
    setNewValue(value);
}

bool KivClEnvironmentVariable::setNewValue(const char* value) {
    if (!hasValidName()) return false;
    if (value == nullptr) return resetValue() == 0;
    return ::setenv(getName(), value, 1) == 0;
}

bool KivClEnvironmentVariable::appendValue(const char* suffix) {
    const char* current = getValue();
    if (current == nullptr) current = "";
    if (suffix == nullptr) suffix = "";
    const size_t currentLength = std::strlen(current);
    const size_t suffixLength = std::strlen(suffix);
    char* combined = static_cast<char*>(kivMalloc(currentLength + suffixLength + 1));
    std::memcpy(combined, current, currentLength);
    std::memcpy(combined + currentLength, suffix, suffixLength + 1);
    const bool done = setNewValue(combined);
    kivFree(combined);
    return done;
}

int KivClEnvironmentVariable::resetValue() {
    if (!hasValidName()) return -1;
    return ::unsetenv(getName());
}

KivClEnvironmentVariableQueryOnly::KivClEnvironmentVariableQueryOnly()
    : KivClEnvironmentVariableABase("?") {}

KivClEnvironmentVariableQueryOnly::KivClEnvironmentVariableQueryOnly(
    const KivClEnvironmentVariableABase& other)
    : KivClEnvironmentVariableABase(other.getName()) {}
