// Argument cursors: walking a program's command line (the argc/argv pair of
// main) and classifying its entries against a usage string (kiv_usage.hpp).
//
// Entry 0, the program path, is never visited; a cursor is valid while
// 0 < index < argc. An entry is a switch when it begins with "-" and its
// second character is not a decimal digit: "-5" is a value, "-" alone is a
// switch with the empty name, "--x" a switch named "-x".
//
// KivClArgvCursor moves over the entries and finds switches by name.
// KivClArgvCheckCursor answers the questions command-line validation asks
// about the entry under it. KivClArgvFreeCursor stops only on free entries:
// those that are neither switches nor the value of the switch before them.
//
// The cursors are plain values that own nothing: the argument array and the
// usage string must outlive them. Each move changes the index by one even
// beyond either end (a cursor two steps past the end needs two steps back);
// the index saturates at the limits of int instead of overflowing. A null
// argv counts as an empty command line, a negative argc as 0, a null usage
// string as the empty one. Questions asked at an invalid position answer
// false (or null).
//
//   const char* argv[] = {"tool", "-key", "abc", "-v", "f1", "f2", nullptr};
//   KivClArgvCursor all(6, argv);
//   all.positionTo("key");    // true: on "-key", index 1
//   KivClArgvFreeCursor files(6, argv, "(-key <key>) [-v] [<file> ...]");
//   files.getAsCString();     // "f1" ("abc" is bound to -key)
//   files.setToNext();        // true: on "f2"
//   files.setToNext();        // false
#ifndef KIV_ARGV_HPP
#define KIV_ARGV_HPP

#include "kiv_cursor.hpp"

class KivClConsoleUI;

// Moves over the entries of a command line and finds switches by name.
class KivClArgvCursor : public KivClBiDirCursorABase {
public:
    // Stands on entry 1.
    KivClArgvCursor(int argc, const char** argv);
    // The command line the console UI holds (it must outlive the cursor).
    explicit KivClArgvCursor(const KivClConsoleUI& ui);
    KivClArgvCursor(const KivClArgvCursor&) = default;
    KivClArgvCursor& operator=(const KivClArgvCursor&) = default;
    ~KivClArgvCursor() override;

    bool isValid() const override;
    // Index 1; returns whether that entry exists (argc > 1).
    bool setToFirst() override;
    // One entry on; returns isValid() afterwards.
    bool setToNext() override;
    // Index argc - 1; returns isValid() afterwards.
    virtual bool setToLast();
    // One entry back; returns isValid() afterwards.
    virtual bool setToPrevious();

    // Entry 0, or null for an empty command line.
    const char* getArgv0() const;
    // The current entry, or null when the cursor is invalid.
    const char* getAsCString() const;
    int getIndex() const { return index_; }
    int getArgCount() const { return argc_; }

    // The current entry is a switch.
    bool isSwitch() const;
    // The current entry is a switch whose name (the entry without its "-")
    // equals name exactly; name may be given with or without its "-".
    bool matches(const char* name) const;
    // Moves to the first entry that matches name; false (and past the end)
    // when none does. Every entry is examined, also by a free-argument
    // cursor, which then stands on the switch found.
    bool positionTo(const char* name);

protected:
    // The entry at index, or null outside the array.
    const char* entryAt(int index) const;

private:
    int argc_;
    int index_ = 1;
    const char** argv_;
};

// An argument cursor that judges the entry under it against a usage string.
class KivClArgvCheckCursor : public KivClArgvCursor {
public:
    KivClArgvCheckCursor(int argc, const char** argv, const char* usage);
    // The console UI's command line and its current usage string; a later
    // setUsage of the UI leaves this cursor on the released copy.
    explicit KivClArgvCheckCursor(const KivClConsoleUI& ui);
    KivClArgvCheckCursor(const KivClArgvCheckCursor&) = default;
    KivClArgvCheckCursor& operator=(const KivClArgvCheckCursor&) = default;
    ~KivClArgvCheckCursor() override;

    // The usage string admits the entry: a switch declared in it, the value
    // of the switch before it, or any other entry when the usage string has
    // a placeholder, word or ellipsis outside every group.
    bool isLegal() const;
    // The entry is no switch and is the value of the switch right before it
    // (a switch whose usage item takes a value).
    bool isBound() const;
    // The entry is a switch whose first matching usage item takes a value.
    bool reqArg() const;
    // The entry is a switch and the next entry exists and is no switch.
    bool hasArg() const;
    // The whole entry, "-" included, matches a usage item on a tagged line.
    bool isTagged() const;
    // Neither a switch nor bound.
    bool isFree() const;

    const char* getUsage() const { return usage_; }

private:
    const char* usage_;
};

// A check cursor that stops only on free entries (file names and the like).
class KivClArgvFreeCursor : public KivClArgvCheckCursor {
public:
    // Takes what the check cursor takes and stands on the first free entry,
    // or is invalid when there is none.
    KivClArgvFreeCursor(int argc, const char** argv, const char* usage);
    KivClArgvFreeCursor(const KivClArgvFreeCursor&) = default;
    KivClArgvFreeCursor& operator=(const KivClArgvFreeCursor&) = default;
    ~KivClArgvFreeCursor() override;

    // Each move goes on in its direction until the cursor stands on a free
    // entry or leaves the command line; each returns isValid() afterwards.
    bool setToFirst() override;
    bool setToNext() override;
    bool setToLast() override;
    bool setToPrevious() override;

private:
    bool nextFree();
    bool previousFree();
};

#endif  // KIV_ARGV_HPP
