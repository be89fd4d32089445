// The ini file model: the section list, selection, typed queries and changes.
#include <cstdlib>
#include <new>

#include "kiv_inifile.hpp"
#include "kiv_inifile_convert.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

namespace kivini {

void convertValue(const char* text, long& value) {
    value = std::atol(text);
}

void convertValue(const char* text, unsigned long& value) {
    value = std::strtoul(text, nullptr, 10);
}

void convertValue(const char* text, int& value) {
    value = std::atoi(text);
}

void convertValue(const char* text, unsigned int& value) {
    value = static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
}

void convertValue(const char* text, char& value) {
    if (text[0] == '\'') {
        value = kivIniFileGetQuotedCharacter(text);
    } else {
        value = text[0];
    }
}

bool isTrueValue(const char* trueTokens, const char* text) {
    return kivStrFind(trueTokens, text, true) != nullptr;
}

}  // namespace kivini

namespace {

KivClIniFileOption* optionIn(const KivClIniFileSection* section, const char* name) {
    return (section != nullptr && name != nullptr) ? section->findOption(name) : nullptr;
}

// Every change: find the entry, refuse when there is none, else change it.
template <typename Entry, typename Change>
bool changeFound(Entry* entry, Change change) {
    if (entry == nullptr) {
        return false;
    }
    change(*entry);
    return true;
}

// The typed queries: look the value text up, then convert it.
template <typename Type>
bool typedQuery(const KivClIniFile& ini, const char* name, Type& value) {
    const char* text = nullptr;
    if (!ini.getOption(name, text)) {
        return false;
    }
    kivini::convertValue(text, value);
    return true;
}

template <typename Type>
bool typedQuery(const KivClIniFile& ini, const char* name, Type& value, const char*& comment) {
    const char* text = nullptr;
    if (!ini.getOption(name, text, comment)) {
        return false;
    }
    kivini::convertValue(text, value);
    return true;
}

}  // namespace

KivClIniFile::KivClIniFile(const KivClFilenameABase& name)
    : KivClFile(name, "ini"),
      firstSection_(nullptr),
      lastSection_(nullptr),
      lineNumber_(0),
      currentSection_(nullptr),
      errorHandler_(nullptr),
      handlerData_(nullptr) {}

KivClIniFile::~KivClIniFile() {
    freeSections();
}

void KivClIniFile::freeSections() {
    KivClIniFileSection* section = firstSection_;
    firstSection_ = nullptr;
    lastSection_ = nullptr;
    currentSection_ = nullptr;
    while (section != nullptr) {
        KivClIniFileSection* next = section->next_;
        section->~KivClIniFileSection();
        kivFree(section);
        section = next;
    }
}

KivClIniFileOption* KivClIniFile::createOption() {
    return new (kivMalloc(sizeof(KivClIniFileOption))) KivClIniFileOption();
}

KivClIniFileSection* KivClIniFile::appendSection(const char* name) {
    KivClIniFileSection* section =
        new (kivMalloc(sizeof(KivClIniFileSection))) KivClIniFileSection(name);
    if (lastSection_ == nullptr) {
        firstSection_ = section;
    } else {
        lastSection_->next_ = section;
    }
    lastSection_ = section;
    return section;
}

KivClIniFileSection* KivClIniFile::findSection(const char* name) const {
    if (name == nullptr) {
        return nullptr;
    }
    for (KivClIniFileSection* section = firstSection_; section != nullptr; section = section->next_) {
        if (strcmpi(section->name_, name) == 0) {
            return section;
        }
    }
    return nullptr;
}

KivClIniFileOption* KivClIniFile::findSelectedOption(const char* name) const {
    return optionIn(currentSection_, name);
}

KivClIniFileSection* KivClIniFile::sectionOf(const KivClIniFileSectionCursor& cursor) const {
    return &cursor.iniFile_ == this ? cursor.current_ : nullptr;
}

KivClIniFileOption* KivClIniFile::optionOf(const KivClIniFileOptionCursor& cursor) const {
    return &cursor.iniFile_ == this ? cursor.current_ : nullptr;
}

bool KivClIniFile::getSection(const char* name) const {
    currentSection_ = findSection(name);
    return currentSection_ != nullptr;
}

bool KivClIniFile::getOption(const char* name, const char*& value) const {
    const KivClIniFileOption* option = findSelectedOption(name);
    if (option == nullptr) {
        return false;
    }
    value = option->getValue();
    return true;
}

bool KivClIniFile::getOption(const char* name, const char*& value, const char*& comment) const {
    const KivClIniFileOption* option = findSelectedOption(name);
    if (option == nullptr) {
        return false;
    }
    value = option->getValue();
    comment = option->getComment();
    return true;
}

bool KivClIniFile::getOption(const char* name, long& value) const {
    return typedQuery(*this, name, value);
}

bool KivClIniFile::getOption(const char* name, long& value, const char*& comment) const {
    return typedQuery(*this, name, value, comment);
}

bool KivClIniFile::getOption(const char* name, unsigned long& value) const {
    return typedQuery(*this, name, value);
}

bool KivClIniFile::getOption(const char* name, unsigned long& value, const char*& comment) const {
    return typedQuery(*this, name, value, comment);
}

bool KivClIniFile::getOption(const char* name, int& value) const {
    return typedQuery(*this, name, value);
}

bool KivClIniFile::getOption(const char* name, int& value, const char*& comment) const {
    return typedQuery(*this, name, value, comment);
}

bool KivClIniFile::getOption(const char* name, unsigned int& value) const {
    return typedQuery(*this, name, value);
}

bool KivClIniFile::getOption(const char* name, unsigned int& value, const char*& comment) const {
    return typedQuery(*this, name, value, comment);
}

bool KivClIniFile::getOption(const char* name, char& value) const {
    return typedQuery(*this, name, value);
}

bool KivClIniFile::getOption(const char* name, char& value, const char*& comment) const {
    return typedQuery(*this, name, value, comment);
}

bool KivClIniFile::getOptionBool(const char* name, bool& value) const {
    const char* text = nullptr;
    if (!getOption(name, text)) {
        return false;
    }
    value = kivini::isTrueValue(getStringAllTrueTokens(), text);
    return true;
}

bool KivClIniFile::getOptionBool(const char* name, bool& value, const char*& comment) const {
    const char* text = nullptr;
    if (!getOption(name, text, comment)) {
        return false;
    }
    value = kivini::isTrueValue(getStringAllTrueTokens(), text);
    return true;
}

bool KivClIniFile::addSection(const char* name) {
    currentSection_ = appendSection(name);
    return true;
}

bool KivClIniFile::addOptionTo(KivClIniFileSection* section, const char* name, const char* value) {
    if (section == nullptr || name == nullptr) {
        return false;
    }
    // Compared as it will be stored, so that a cut name cannot duplicate one.
    char storedName[KivClIniFileOption::NAME_LIMIT + 1];
    kivStrCopyUntil(storedName, name, '\0', sizeof(storedName));
    if (section->findOption(storedName) != nullptr) {
        return false;
    }
    KivClIniFileOption* option = createOption();
    option->compose(storedName, value, nullptr, "");
    section->appendOption(option, nullptr);
    return true;
}

bool KivClIniFile::addOption(const char* section, const char* name, const char* value) {
    return addOptionTo(findSection(section), name, value);
}

bool KivClIniFile::addOption(const KivClIniFileSectionCursor& cursor, const char* name,
                             const char* value) {
    return addOptionTo(sectionOf(cursor), name, value);
}

bool KivClIniFile::setNewValue(const char* section, const char* name, const char* value) {
    return changeFound(optionIn(findSection(section), name), [value](KivClIniFileOption& option) {
        option.replaceValue(value);
    });
}

bool KivClIniFile::setNewValue(const KivClIniFileSectionCursor& cursor, const char* name,
                               const char* value) {
    return changeFound(optionIn(sectionOf(cursor), name), [value](KivClIniFileOption& option) {
        option.replaceValue(value);
    });
}

bool KivClIniFile::setNewValue(const KivClIniFileOptionCursor& cursor, const char* value) {
    return changeFound(optionOf(cursor), [value](KivClIniFileOption& option) { option.replaceValue(value); });
}

bool KivClIniFile::deleteSection(const char* name) {
    return changeFound(findSection(name), [](KivClIniFileSection& section) { section.clear(); });
}

bool KivClIniFile::deleteSection(const KivClIniFileSectionCursor& cursor) {
    return changeFound(sectionOf(cursor), [](KivClIniFileSection& section) { section.clear(); });
}

bool KivClIniFile::deleteOption(const char* section, const char* name) {
    return changeFound(optionIn(findSection(section), name),
                       [](KivClIniFileOption& option) { option.clear(); });
}

bool KivClIniFile::deleteOption(const KivClIniFileSectionCursor& cursor, const char* name) {
    return changeFound(optionIn(sectionOf(cursor), name), [](KivClIniFileOption& option) { option.clear(); });
}

bool KivClIniFile::deleteOption(const KivClIniFileOptionCursor& cursor) {
    return changeFound(optionOf(cursor), [](KivClIniFileOption& option) { option.clear(); });
}
