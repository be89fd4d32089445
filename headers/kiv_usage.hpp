// Usage strings: the one text in which a console tool declares its command
// line, both for checking arguments and for showing them to the user.
//
// KivClUsageCursor walks a usage string item by item. It stops on four kinds
// of item and passes over everything else:
//   switch       a "-" not followed by a decimal digit ("-key")
//   placeholder  a "<" ("<file name>": blanks inside the brackets belong to it)
//   word         a letter or digit after at least one blank since the end of
//                the previous item, so a leading program name is no item
//   ellipsis     the last dot of a run of two or more dots ("...")
// Structure characters update the cursor's state on the way: "(" and ")" the
// group depth (a switch and the placeholders or words after it inside one
// group form an option whose switch takes a value), "[" and "]" the optional
// depth, "!" tags the rest of its line, text between double quotes is passed
// over as a whole, and a missing closing quote ends the walk. A "/" is an
// ordinary character here: it is no switch indicator on this platform, and
// treating it as an item start would stop the walk on it for good.
//
// The cursor never reads past the terminating NUL and every walk ends: each
// move passes at least one character or ends on the terminator. Malformed
// strings (unbalanced brackets, a missing ">" or quote) are not reported;
// they only give other depths or end the walk early. The string is not owned
// and must outlive the cursor; a null string counts as the empty one.
//
//   KivClUsageCursor items("tool (-key <key>) [-v] [<file> ...]");
//   items.setToFirst();   // true: on "-key" (isSwitch(), reqArg(): takes a value)
//   items.setToNext();    // on "<key>", the placeholder of -key
//   items.setToNext();    // on "-v" (isSwitch(), no value)
//   items.setToNext();    // on "<file>"
//   items.setToNext();    // on the last dot of "..." (isArgEllipsis())
//   items.setToNext();    // false: the walk is over
#ifndef KIV_USAGE_HPP
#define KIV_USAGE_HPP

#include "kiv_cursor.hpp"

// Walks the items of a usage string; the string must outlive the cursor.
class KivClUsageCursor : public KivClUniDirCursorABase {
public:
    // The usage string a null usage stands for.
    static constexpr const char* EMPTY_USAGE = "";

    // A new cursor stands at the start of usage, on no item, with both depths
    // 0 and no flag set; call setToFirst to reach the first item.
    explicit KivClUsageCursor(const char* usage);
    KivClUsageCursor(const KivClUsageCursor&) = default;
    KivClUsageCursor& operator=(const KivClUsageCursor&) = default;
    ~KivClUsageCursor() override;

    // True while the cursor stands on a character other than the terminator.
    bool isValid() const override;
    // Goes back to the start of the string and locates the first item;
    // returns whether there is one. Depths and flags are not reset: they
    // only ever accumulate over the life of a cursor.
    bool setToFirst() override;
    // Passes over the current item and locates the next; returns whether
    // there is one.
    bool setToNext() override;

    // The current item is a switch.
    bool isSwitch() const;
    // text[0] is "-" and text[1] is not a decimal digit ("-5" is a number).
    // False for a null text.
    static bool isSwitchIndicator(const char* text);
    // The cursor stands on the last dot of an ellipsis.
    bool isArgEllipsis() const;
    // The switch under the cursor takes a value: inside a group, the next
    // item is no switch and lies in the same group. The question is meant for
    // switches; on other items it answers the same test.
    bool reqArg() const;
    // The switch under the cursor takes a list of values: inside its group,
    // an ellipsis follows before any switch and before any item at another
    // group depth.
    bool reqArgEllipsis() const;

    // The item under the cursor, written in full ("-key", "<key>"), equals
    // text, case-sensitively, and is followed by the terminator or one of
    // the boundary characters "[]<>(){}-| ". An empty or null text never
    // matches.
    bool matches(const char* text) const;
    // The current item is a switch named name (given with or without its
    // "-"), followed by a boundary as for matches. No abbreviation, no case
    // folding; "-" is a boundary, so "-a-b" also matches the name "a".
    bool matchesSwitch(const char* name) const;

    // False for the characters a usage display drops: the double quote, "("
    // and ")".
    static bool isToBeDisplayed(char c);

    // The state accumulated by the walk so far.
    const char* getUsage() const { return usage_; }
    const char* getPosition() const { return position_; }
    long getGroupDepth() const { return groupDepth_; }
    long getOptionalDepth() const { return optionalDepth_; }
    // A "!" was passed on the current line.
    bool isTagged() const { return tagged_; }
    bool isInPlaceholder() const { return inPlaceholder_; }

protected:
    // From the current character on, updates the state and stops on the next
    // item start; returns false (standing on the terminator) when none is
    // left.
    bool locateNext();
    // Steps over the item the cursor stands on.
    void skipCurrent();

private:
    // What examining one character of the walk decided.
    enum class Step { Continue, Found, End };
    Step examineCurrent(bool& blankSeen);
    Step passQuotedText();
    Step passDots();

    const char* usage_;
    const char* position_;
    long optionalDepth_ = 0;
    long groupDepth_ = 0;
    bool tagged_ = false;
    bool inPlaceholder_ = false;
};

#endif  // KIV_USAGE_HPP
