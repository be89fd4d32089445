// Console UI: setup, settings, built-in switches, command-line validation and
// argument queries.
#include "kiv_consoleui.hpp"
#include "conui/kiv_consoleui_messages.hpp"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <new>

#include "kiv_argv.hpp"
#include "kiv_envvar.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_string.hpp"
#include "kiv_usage.hpp"

namespace {

// The text that stands for "no usage string"; recognised by its address and
// never released.
const char NO_USAGE[] = "";

// A copy of text in a block from the memory manager.
char* copyText(const char* text) {
    const size_t size = std::strlen(text) + 1;
    char* copy = static_cast<char*>(kivMalloc(size));
    std::memcpy(copy, text, size);
    return copy;
}

// Destroys settings made by init and returns their block.
void releaseParams(KivClConsoleUIParams* params) {
    if (params == nullptr) return;
    params->~KivClConsoleUIParams();
    kivFree(params);
}

// A switch name made of one character (with a leading hyphen when asked).
struct CharName {
    CharName(char c, bool hyphen) {
        char* p = text;
        if (hyphen) *p++ = '-';
        *p++ = c;
        *p = '\0';
    }
    char text[3];
};

}  // namespace

// ---- KivClConsoleUIParams ----

KivClConsoleUIParams::KivClConsoleUIParams(const char* argv0)
    : usage_(NO_USAGE),
      quoteStrings_(KivClEnvironmentVariableABase(KIV_CONSOLEUI_QUOTE_STRINGS).hasValueEnabled()),
      outputStream_(&std::cout),
      errorStream_(&std::cerr) {
    const char* name = argv0 != nullptr ? argv0 : "";
    const char* slash = std::strrchr(name, '/');
    if (slash != nullptr) name = slash + 1;
    kivStrCopyUntil(processName_, name, '.', sizeof processName_);
    processNameLength_ = static_cast<unsigned>(std::strlen(processName_));
}

KivClConsoleUIParams::~KivClConsoleUIParams() {
    releaseTexts();
    if (quietStream_ != nullptr) {
        quietStream_->~basic_ostream();
        kivFree(quietStream_);
    }
}

void KivClConsoleUIParams::releaseTexts() {
    if (usage_ != NO_USAGE) kivFree(const_cast<char*>(usage_));
    usage_ = NO_USAGE;
    kivFree(help_);
    help_ = nullptr;
}

void KivClConsoleUIParams::setQuietMode() {
    if (quietStream_ == nullptr) {
        void* block = kivMalloc(sizeof(std::ofstream));
        quietStream_ = new (block) std::ofstream("/dev/null", std::ios::out);
    }
    outputStream_ = quietStream_;
    errorStream_ = quietStream_;
    quiet_ = true;
}

void KivClConsoleUIParams::setOutputStream(std::ostream& os) {
    if (!quiet_) outputStream_ = &os;
}

void KivClConsoleUIParams::forceOutputStream(std::ostream& os) {
    outputStream_ = &os;
    errorStream_ = &std::cerr;
    quiet_ = false;
}

void KivClConsoleUIParams::flushOutputStream() {
    outputStream_->flush();
    errorStream_->flush();
}

// ---- KivClConsoleUI: construction ----

KivClConsoleUI::KivClConsoleUI(int argc, const char** argv)
    : messageBase_(0), argc_(argc), argv_(argv) {}

KivClConsoleUI::KivClConsoleUI(int argc, char** argv)
    : KivClConsoleUI(argc, const_cast<const char**>(argv)) {}

KivClConsoleUI::KivClConsoleUI(int argc, const char** argv, const KivClFilename& catalogName,
                               unsigned long messageBase)
    : catalog_(catalogName), messageBase_(messageBase), argc_(argc), argv_(argv) {}

KivClConsoleUI::~KivClConsoleUI() {
    argv_ = nullptr;
    releaseParams(params_);
    params_ = nullptr;
}

KivClMessageCatalog& KivClConsoleUI::getMessageCatalog() { return catalog_; }

KivClMessage KivClConsoleUI::libraryText(unsigned long n) const {
    return KivClMessage(catalog_, messageBase_ + n);
}

// A string table counts when it answers message 1; a file catalog is only
// open when it does.
bool KivClConsoleUI::canDeliverMessages() const {
    return catalog_.isOpen() || KivClMessage(catalog_, 1).isLoaded();
}

void KivClConsoleUI::prepareCatalog() {
    if (catalog_.isDefaultCatalog() && !catalog_.isOpen()) {
        catalog_.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    }
}

// Before init there are no settings; the standard streams stand in so that
// an early exit can still ring the bell.
std::ostream& KivClConsoleUI::out() const {
    return params_ != nullptr ? *params_->outputStream_ : std::cout;
}

std::ostream& KivClConsoleUI::err() const {
    return params_ != nullptr ? *params_->errorStream_ : std::cerr;
}

// ---- Setup ----

void KivClConsoleUI::init(const char* title, const char* subtitle, const char* level,
                          const char* date) {
    void* block = kivMalloc(sizeof(KivClConsoleUIParams));
    KivClConsoleUIParams* fresh =
        new (block) KivClConsoleUIParams(argc_ > 0 && argv_ != nullptr ? argv_[0] : nullptr);
    releaseParams(params_);
    params_ = fresh;
    prepareCatalog();
    handleBuiltInSwitches(title, subtitle, level, date);
}

void KivClConsoleUI::init(unsigned long titleId, unsigned long subtitleId, const char* level,
                          const char* date) {
    prepareCatalog();
    if (!KivClMessageCatalog::isValidMessageId(titleId)) {
        init(static_cast<const char*>(nullptr), nullptr, level, date);
        return;
    }
    const KivClMessage title(catalog_, titleId);
    const KivClMessage subtitle(catalog_, subtitleId);
    const bool hasSubtitle = KivClMessageCatalog::isValidMessageId(subtitleId) && subtitle.isLoaded();
    init(title.isLoaded() ? title.getText() : nullptr, hasSubtitle ? subtitle.getText() : nullptr,
         level, date);
}

void KivClConsoleUI::handleBuiltInSwitches(const char* title, const char* subtitle,
                                           const char* level, const char* date) {
    bool copyright = false;
    if (canDeliverMessages()) {
        KivClArgvCursor cursor(*this);
        if (cursor.positionTo(libraryText(MSG_QUIET_SWITCH).getText())) params_->setQuietMode();
        copyright = cursor.positionTo(libraryText(MSG_COPYRIGHT_SWITCH).getText());
    }
    displayTitle(title, subtitle);
    if (copyright) displayCopyright(level, date);
}

void KivClConsoleUI::setUsage(const char* usage, const char* help) {
    params_->releaseTexts();
    if (usage != nullptr) params_->usage_ = copyText(usage);
    if (help != nullptr) params_->help_ = copyText(help);
}

const char* KivClConsoleUI::getUsage() const {
    return params_ != nullptr ? params_->usage_ : NO_USAGE;
}

void KivClConsoleUI::handleHelp() const {
    const KivClMessage helpChars = libraryText(MSG_HELP_CHARS);
    KivClArgvCursor cursor(*this);
    for (const char* c = helpChars.getText(); *c != '\0'; ++c) {
        if (cursor.positionTo(CharName(*c, true).text)) {
            displayUsage(false);
            displayHelp(true);
        }
    }
}

void KivClConsoleUI::handleUsageHelp(const char* usage, const char* help) {
    setUsage(usage, help);
    handleHelp();
    if (params_->usage_ == NO_USAGE) return;

    const KivClMessage quiet = libraryText(MSG_QUIET_SWITCH);
    const KivClMessage unknown = libraryText(MSG_UNKNOWN_ARG);
    const KivClMessage notAllowed = libraryText(MSG_ARG_NOT_ALLOWED);
    const KivClMessage repeated = libraryText(MSG_ARG_REPEATED);
    unsigned long errors = 0;
    KivClArgvCheckCursor entry(*this);
    for (bool valid = entry.setToFirst(); valid; valid = entry.setToNext()) {
        const char* text = entry.getAsCString();
        if (!entry.isLegal() && !entry.matches(quiet.getText())) {
            error(std::cerr, unknown.getText(), text);
            ++errors;
            continue;
        }
        if (params_->disableTaggedLines_ && entry.isTagged()) {
            error(std::cerr, notAllowed.getText(), text);
            ++errors;
        }
        if (!entry.isSwitch()) continue;
        KivClArgvCursor later(entry);
        while (later.setToNext()) {
            if (later.isSwitch() && std::strcmp(later.getAsCString(), text) == 0) {
                error(std::cerr, repeated.getText(), text);
                ++errors;
            }
        }
    }
    if (errors != 0) displayUsage(true);
}

void KivClConsoleUI::handleUsageHelp(unsigned long usageId, unsigned long helpId) {
    const KivClMessage usage(catalog_, usageId);
    const KivClMessage help(catalog_, helpId);
    handleUsageHelp(usage.getText(),
                    KivClMessageCatalog::isValidMessageId(helpId) ? help.getText() : nullptr);
}

void KivClConsoleUI::hideTaggedLines() { params_->hideTaggedLines_ = true; }
void KivClConsoleUI::disableTaggedLines() { params_->disableTaggedLines_ = true; }

const char* KivClConsoleUI::getProcessName() const { return params_->processName_; }
bool KivClConsoleUI::mustBeQuiet() const { return params_->quiet_; }
void KivClConsoleUI::setOutputStream(std::ostream& os) { params_->setOutputStream(os); }
std::ostream& KivClConsoleUI::getOutputStream() const { return out(); }
void KivClConsoleUI::setFormatWidth(unsigned width) { params_->formatWidth_ = width; }
void KivClConsoleUI::setFormatStyle(KivEnFormatStyle style) { params_->formatStyle_ = style; }
void KivClConsoleUI::setFormatFillChar(char fill) { params_->fillChar_ = fill; }

// ---- Argument queries ----

const char* KivClConsoleUI::argumentAfter(const char* name, bool* found) const {
    KivClArgvCursor cursor(*this);
    *found = cursor.positionTo(name);
    if (!*found) return nullptr;
    cursor.setToNext();
    return cursor.getAsCString();
}

bool KivClConsoleUI::hasArgSwitch(const char* name) const {
    KivClArgvCursor cursor(*this);
    return cursor.positionTo(name);
}

bool KivClConsoleUI::hasArgSwitch(char name) const { return hasArgSwitch(CharName(name, false).text); }

bool KivClConsoleUI::hasArgSwitch(unsigned long nameId) const {
    return hasArgSwitch(KivClMessage(catalog_, nameId).getText());
}

void KivClConsoleUI::reqArgSwitch(const char* name) const {
    if (!hasArgSwitch(name)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgSwitch(char name) const {
    if (!hasArgSwitch(name)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgSwitch(unsigned long nameId) const {
    const KivClMessage name(catalog_, nameId);
    reqArgSwitch(name.getText());
}

bool KivClConsoleUI::hasArgString(const char* name, const char*& value) const {
    bool found = false;
    const char* next = argumentAfter(name, &found);
    if (!found) return false;
    if (next == nullptr || KivClUsageCursor::isSwitchIndicator(next)) {
        privateFatal(EXIT_MISSING_VALUE, libraryText(MSG_NO_VALUE).getText(), name);
    }
    value = next;
    return true;
}

bool KivClConsoleUI::hasArgString(char name, const char*& value) const {
    return hasArgString(CharName(name, false).text, value);
}

bool KivClConsoleUI::hasArgString(unsigned long nameId, const char*& value) const {
    const KivClMessage name(catalog_, nameId);
    return hasArgString(name.getText(), value);
}

void KivClConsoleUI::reqArgString(const char* name, const char*& value) const {
    if (!hasArgString(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgString(char name, const char*& value) const {
    if (!hasArgString(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgString(unsigned long nameId, const char*& value) const {
    const KivClMessage name(catalog_, nameId);
    reqArgString(name.getText(), value);
}

bool KivClConsoleUI::numvalOf(const char* name, long& value) const {
    bool found = false;
    const char* next = argumentAfter(name, &found);
    if (!found) return false;
    if (next == nullptr) {
        privateFatal(EXIT_MISSING_VALUE, libraryText(MSG_NO_NUMERIC_VALUE).getText(), name);
    }
    if (*next == '\'') ++next;
    if (!std::isdigit(static_cast<unsigned char>(*next)) && *next != '-') {
        privateFatal(EXIT_VALUE_NOT_NUMERIC, libraryText(MSG_NOT_NUMERIC).getText(), name);
    }
    value = std::strtol(next, nullptr, 10);
    return true;
}

// The narrower forms keep the low bits of the long value, as a plain
// conversion does.
namespace {

template <typename T>
bool narrowed(bool found, long wide, T& value) {
    if (found) value = static_cast<T>(wide);
    return found;
}

}  // namespace

bool KivClConsoleUI::hasArgNumval(const char* name, long& value) const { return numvalOf(name, value); }

bool KivClConsoleUI::hasArgNumval(char name, long& value) const {
    return numvalOf(CharName(name, false).text, value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, long& value) const {
    const KivClMessage name(catalog_, nameId);
    return numvalOf(name.getText(), value);
}

bool KivClConsoleUI::hasArgNumval(const char* name, int& value) const {
    long wide = 0;
    const bool found = hasArgNumval(name, wide);
    return narrowed(found, wide, value);
}

bool KivClConsoleUI::hasArgNumval(char name, int& value) const {
    long wide = 0;
    const bool found = hasArgNumval(name, wide);
    return narrowed(found, wide, value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, int& value) const {
    long wide = 0;
    const bool found = hasArgNumval(nameId, wide);
    return narrowed(found, wide, value);
}

bool KivClConsoleUI::hasArgNumval(const char* name, short& value) const {
    long wide = 0;
    const bool found = hasArgNumval(name, wide);
    return narrowed(found, wide, value);
}

bool KivClConsoleUI::hasArgNumval(char name, short& value) const {
    long wide = 0;
    const bool found = hasArgNumval(name, wide);
    return narrowed(found, wide, value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, short& value) const {
    long wide = 0;
    const bool found = hasArgNumval(nameId, wide);
    return narrowed(found, wide, value);
}

void KivClConsoleUI::reqArgNumval(const char* name, long& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, long& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, long& value) const {
    const KivClMessage name(catalog_, nameId);
    reqArgNumval(name.getText(), value);
}

void KivClConsoleUI::reqArgNumval(const char* name, int& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, int& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, int& value) const {
    const KivClMessage name(catalog_, nameId);
    reqArgNumval(name.getText(), value);
}

void KivClConsoleUI::reqArgNumval(const char* name, short& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, short& value) const {
    if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, short& value) const {
    const KivClMessage name(catalog_, nameId);
    reqArgNumval(name.getText(), value);
}

// ---- Ending the process ----

void KivClConsoleUI::privateFatal(unsigned long code, const char* text, const char* name) const {
    header(std::cerr, libraryText(MSG_FATAL_HEADER).getText(), true);
    msg(std::cerr, text, name);
    processExit(code);
}

void KivClConsoleUI::fatalMissingArg(const char* name) const {
    const KivClMessage missing = libraryText(MSG_MISSING_SWITCH);
    if (params_->usage_ == NO_USAGE) privateFatal(EXIT_MISSING_SWITCH, missing.getText(), name);
    header(std::cerr, libraryText(MSG_FATAL_HEADER).getText(), true);
    msg(std::cerr, missing.getText(), name);
    indent(std::cerr);
    msg(std::cerr, libraryText(MSG_SPECIFY_HELP).getText());
    displayUsage(true);
    processExit(EXIT_USAGE);
}

void KivClConsoleUI::fatalMissingArg(char name) const { fatalMissingArg(CharName(name, true).text); }

void KivClConsoleUI::processExit(unsigned long code) const {
    if (code != 0) beep();
    if (params_ != nullptr) params_->flushOutputStream();
    std::cout.flush();
    std::cerr.flush();
    std::exit(static_cast<int>(code));
}
