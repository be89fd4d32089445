// Section and option cursors of the ini file model.
#include "kiv_inifile.hpp"
#include "kiv_inifile_convert.hpp"
#include "kiv_string.hpp"

namespace {

// The name search of both cursors: the current entry first, then every
// entry from the first; without a match the cursor is left not valid.
template <typename Cursor>
bool searchByName(Cursor& cursor, const char* name) {
    if (cursor.matches(name)) {
        return true;
    }
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) {
        if (cursor.matches(name)) {
            return true;
        }
    }
    return false;
}

}  // namespace

KivClIniFileSectionCursor::KivClIniFileSectionCursor(const KivClIniFile& iniFile)
    : iniFile_(iniFile), first_(iniFile.firstSection_), current_(nullptr) {}

KivClIniFileSectionCursor::~KivClIniFileSectionCursor() = default;

bool KivClIniFileSectionCursor::setToFirst() {
    current_ = first_;
    return isValid();
}

bool KivClIniFileSectionCursor::setToNext() {
    if (current_ != nullptr) {
        current_ = current_->next_;
    }
    return isValid();
}

bool KivClIniFileSectionCursor::setTo(const char* name) {
    return searchByName(*this, name);
}

bool KivClIniFileSectionCursor::matches(const char* name) const {
    return current_ != nullptr && name != nullptr && strcmpi(current_->name_, name) == 0;
}

const char* KivClIniFileSectionCursor::getSection() const {
    return current_ != nullptr ? current_->name_ : "";
}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(const KivClIniFile& iniFile)
    : KivClIniFileOptionCursor(iniFile, iniFile.currentSection_) {}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(const KivClIniFileSectionCursor& sectionCursor)
    : KivClIniFileOptionCursor(sectionCursor.iniFile_, sectionCursor.current_) {}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(const KivClIniFile& iniFile,
                                                   const KivClIniFileSection* section)
    : iniFile_(iniFile),
      section_(const_cast<KivClIniFileSection*>(section)),
      first_(section != nullptr ? section->firstOption_ : nullptr),
      current_(nullptr) {}

KivClIniFileOptionCursor::~KivClIniFileOptionCursor() = default;

bool KivClIniFileOptionCursor::setToFirst() {
    current_ = first_;
    return isValid();
}

bool KivClIniFileOptionCursor::setToNext() {
    if (current_ != nullptr) {
        current_ = current_->next_;
    }
    return isValid();
}

bool KivClIniFileOptionCursor::setTo(const char* name) {
    return searchByName(*this, name);
}

bool KivClIniFileOptionCursor::matches(const char* name) const {
    return current_ != nullptr && name != nullptr && strcmpi(current_->getName(), name) == 0;
}

const char* KivClIniFileOptionCursor::getOption() const {
    return current_ != nullptr ? current_->getName() : "";
}

const char* KivClIniFileOptionCursor::getValue() const {
    return current_ != nullptr ? current_->getValue() : "";
}

const char* KivClIniFileOptionCursor::getComment() const {
    return current_ != nullptr ? current_->getComment() : "";
}

namespace {

template <typename Type>
const char* convertCurrent(const KivClIniFileOption* option, Type& value) {
    if (option == nullptr) {
        return "";
    }
    kivini::convertValue(option->getValue(), value);
    return option->getValue();
}

}  // namespace

const char* KivClIniFileOptionCursor::getValue(int& value) const {
    return convertCurrent(current_, value);
}

const char* KivClIniFileOptionCursor::getValue(unsigned int& value) const {
    return convertCurrent(current_, value);
}

const char* KivClIniFileOptionCursor::getValue(long& value) const {
    return convertCurrent(current_, value);
}

const char* KivClIniFileOptionCursor::getValue(unsigned long& value) const {
    return convertCurrent(current_, value);
}

const char* KivClIniFileOptionCursor::getValue(char& value) const {
    return convertCurrent(current_, value);
}

const char* KivClIniFileOptionCursor::getValueBool(bool& value) const {
    if (current_ == nullptr) {
        return "";
    }
    value = kivini::isTrueValue(iniFile_.getStringAllTrueTokens(), current_->getValue());
    return current_->getValue();
}
