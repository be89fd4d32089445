// The records of the ini model: options with their bounded storage, and
// sections owning their options.
#include <cstring>
#include <new>

#include "kiv_inifile.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"
#include "util/kiv_bounded.hpp"

KivClIniFileOption::KivClIniFileOption() : next_(nullptr), value_(nullptr), comment_(nullptr) {
    clear();
}

bool KivClIniFileOption::compose(const char* name, const char* value, const char* valueTail,
                                 const char* comment) {
    // Built aside first: the sources may be texts within this storage.
    char composed[STORAGE_SIZE];
    size_t pos = 0;
    bool whole = kivAppendBounded(composed, pos, NAME_LIMIT, name);
    composed[pos++] = '\0';
    const size_t valueStart = pos;
    whole = kivAppendBounded(composed, pos, NAME_VALUE_LIMIT - 1, value) && whole;
    whole = kivAppendBounded(composed, pos, NAME_VALUE_LIMIT - 1, valueTail) && whole;
    composed[pos++] = '\0';
    const size_t commentStart = pos;
    whole = kivAppendBounded(composed, pos, STORAGE_SIZE - 1, comment) && whole;
    composed[pos] = '\0';

    std::memcpy(storage_, composed, pos + 1);
    value_ = storage_ + valueStart;
    comment_ = storage_ + commentStart;
    return whole;
}

bool KivClIniFileOption::replaceValue(const char* value) {
    return compose(storage_, value, nullptr, comment_);
}

bool KivClIniFileOption::appendValue(const char* more, const char* comment) {
    return compose(storage_, getValue(), more, comment);
}

void KivClIniFileOption::clear() {
    // What compose("", "", nullptr, "") leaves, without composing: every
    // new option starts here, and the loader composes it right after.
    storage_[0] = storage_[1] = storage_[2] = '\0';
    value_ = storage_ + 1;
    comment_ = storage_ + 2;
}

KivClIniFileSection::KivClIniFileSection(const char* name) : next_(nullptr), firstOption_(nullptr) {
    kivStrCopyUntil(name_, name != nullptr ? name : "", '\0', sizeof(name_));
}

KivClIniFileSection::~KivClIniFileSection() {
    freeOptions();
}

KivClIniFileOption* KivClIniFileSection::findOption(const char* name) const {
    for (KivClIniFileOption* option = firstOption_; option != nullptr; option = option->next_) {
        if (strcmpi(option->getName(), name) == 0) {
            return option;
        }
    }
    return nullptr;
}

void KivClIniFileSection::appendOption(KivClIniFileOption* option, KivClIniFileOption* tail) {
    if (firstOption_ == nullptr) {
        firstOption_ = option;
        return;
    }
    if (tail == nullptr) {
        tail = firstOption_;
    }
    while (tail->next_ != nullptr) {
        tail = tail->next_;
    }
    tail->next_ = option;
}

void KivClIniFileSection::clear() {
    freeOptions();
    name_[0] = '\0';
}

void KivClIniFileSection::freeOptions() {
    KivClIniFileOption* option = firstOption_;
    firstOption_ = nullptr;
    while (option != nullptr) {
        KivClIniFileOption* next = option->next_;
        option->~KivClIniFileOption();
        kivFree(option);
        option = next;
    }
}
