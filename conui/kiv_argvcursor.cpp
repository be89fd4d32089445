// Argument cursors over a program's command line.
#include "kiv_argv.hpp"

#include <climits>
#include <cstring>

#include "kiv_consoleui.hpp"
#include "kiv_usage.hpp"

namespace {

// The first item of usage for which wanted holds: the returned cursor is
// valid only when one was found. Every usage question is one such walk.
template <typename Predicate>
KivClUsageCursor findItem(const char* usage, Predicate wanted) {
    KivClUsageCursor item(usage);
    for (bool found = item.setToFirst(); found; found = item.setToNext()) {
        if (wanted(item)) break;
    }
    return item;
}

// The first switch item of usage named like the switch entry.
KivClUsageCursor findSwitchItem(const char* usage, const char* entry) {
    return findItem(usage, [entry](const KivClUsageCursor& item) {
        return item.isSwitch() && item.matchesSwitch(entry);
    });
}

// The usage string has an item outside every group that is no switch, and
// so admits free arguments.
bool admitsFreeArguments(const char* usage) {
    return findItem(usage, [](const KivClUsageCursor& item) {
               return !item.isSwitch() && item.getGroupDepth() == 0;
           }).isValid();
}

}  // namespace

// ---- KivClArgvCursor ----

KivClArgvCursor::KivClArgvCursor(int argc, const char** argv)
    : argc_(argv != nullptr && argc > 0 ? argc : 0), argv_(argv) {}

KivClArgvCursor::KivClArgvCursor(const KivClConsoleUI& ui)
    : KivClArgvCursor(ui.getArgCount(), ui.getArgValues()) {}

KivClArgvCursor::~KivClArgvCursor() = default;

bool KivClArgvCursor::isValid() const { return index_ > 0 && index_ < argc_; }

bool KivClArgvCursor::setToFirst() {
    index_ = 1;
    return isValid();
}

bool KivClArgvCursor::setToNext() {
    if (index_ < INT_MAX) ++index_;
    return isValid();
}

bool KivClArgvCursor::setToLast() {
    index_ = argc_ - 1;
    return isValid();
}

bool KivClArgvCursor::setToPrevious() {
    if (index_ > INT_MIN) --index_;
    return isValid();
}

const char* KivClArgvCursor::getArgv0() const { return entryAt(0); }

const char* KivClArgvCursor::getAsCString() const { return isValid() ? entryAt(index_) : nullptr; }

bool KivClArgvCursor::isSwitch() const { return KivClUsageCursor::isSwitchIndicator(getAsCString()); }

bool KivClArgvCursor::matches(const char* name) const {
    if (name == nullptr || !isSwitch()) return false;
    if (KivClUsageCursor::isSwitchIndicator(name)) ++name;
    return std::strcmp(getAsCString() + 1, name) == 0;
}

// Walks every entry with this class's own moves, so that a free-argument
// cursor, whose moves skip switches, finds switches too.
bool KivClArgvCursor::positionTo(const char* name) {
    for (bool valid = KivClArgvCursor::setToFirst(); valid; valid = KivClArgvCursor::setToNext()) {
        if (matches(name)) return true;
    }
    return false;
}

const char* KivClArgvCursor::entryAt(int index) const {
    return index >= 0 && index < argc_ ? argv_[index] : nullptr;
}

// ---- KivClArgvCheckCursor ----

KivClArgvCheckCursor::KivClArgvCheckCursor(int argc, const char** argv, const char* usage)
    : KivClArgvCursor(argc, argv), usage_(usage != nullptr ? usage : KivClUsageCursor::EMPTY_USAGE) {}

KivClArgvCheckCursor::KivClArgvCheckCursor(const KivClConsoleUI& ui)
    : KivClArgvCheckCursor(ui.getArgCount(), ui.getArgValues(), ui.getUsage()) {}

KivClArgvCheckCursor::~KivClArgvCheckCursor() = default;

bool KivClArgvCheckCursor::isLegal() const {
    if (!isValid()) return false;
    if (isSwitch()) return findSwitchItem(usage_, getAsCString()).isValid();
    return isBound() || admitsFreeArguments(usage_);
}

bool KivClArgvCheckCursor::isBound() const {
    if (!isValid() || isSwitch()) return false;
    KivClArgvCheckCursor previous(*this);
    return previous.setToPrevious() && previous.reqArg();
}

bool KivClArgvCheckCursor::reqArg() const {
    if (!isSwitch()) return false;
    KivClUsageCursor item = findSwitchItem(usage_, getAsCString());
    return item.isValid() && item.reqArg();
}

// Only asked on a valid switch entry, so the index is below argc and the
// next index cannot overflow.
bool KivClArgvCheckCursor::hasArg() const {
    if (!isSwitch()) return false;
    const char* next = entryAt(getIndex() + 1);
    return next != nullptr && !KivClUsageCursor::isSwitchIndicator(next);
}

bool KivClArgvCheckCursor::isTagged() const {
    const char* entry = getAsCString();
    if (entry == nullptr) return false;
    return findItem(usage_, [entry](const KivClUsageCursor& item) {
               return item.isTagged() && item.matches(entry);
           }).isValid();
}

bool KivClArgvCheckCursor::isFree() const { return isValid() && !isSwitch() && !isBound(); }

// ---- KivClArgvFreeCursor ----

KivClArgvFreeCursor::KivClArgvFreeCursor(int argc, const char** argv, const char* usage)
    : KivClArgvCheckCursor(argc, argv, usage) {
    nextFree();
}

KivClArgvFreeCursor::~KivClArgvFreeCursor() = default;

bool KivClArgvFreeCursor::setToFirst() {
    KivClArgvCursor::setToFirst();
    return nextFree();
}

bool KivClArgvFreeCursor::setToNext() {
    KivClArgvCursor::setToNext();
    return nextFree();
}

bool KivClArgvFreeCursor::setToLast() {
    KivClArgvCursor::setToLast();
    return previousFree();
}

bool KivClArgvFreeCursor::setToPrevious() {
    KivClArgvCursor::setToPrevious();
    return previousFree();
}

// From the current entry on, forwards to the first free one.
bool KivClArgvFreeCursor::nextFree() {
    while (isValid() && !isFree()) KivClArgvCursor::setToNext();
    return isValid();
}

// From the current entry on, backwards to the first free one.
bool KivClArgvFreeCursor::previousFree() {
    while (isValid() && !isFree()) KivClArgvCursor::setToPrevious();
    return isValid();
}
