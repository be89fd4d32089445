// Walking usage strings: items, depths, tags, matching and value-taking
// switches.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kiv_msgtable.hpp"
#include "kiv_usage.hpp"

namespace {

using Offsets = std::vector<size_t>;

// A copy in a heap block of exactly its size, so that the address sanitizer
// reports any read past the terminator.
std::unique_ptr<char[]> exactCopy(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy;
}

// What the cursor reported on one item.
struct Item {
    size_t offset;
    long groupDepth, optionalDepth;
    bool tagged, reqArg, reqArgEllipsis;
};

std::vector<Item> walk(const std::string& text) {
    std::unique_ptr<char[]> usage = exactCopy(text);
    std::vector<Item> items;
    KivClUsageCursor cursor(usage.get());
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        const size_t offset = static_cast<size_t>(cursor.getPosition() - usage.get());
        items.push_back({offset, cursor.getGroupDepth(), cursor.getOptionalDepth(), cursor.isTagged(),
                         cursor.reqArg(), cursor.reqArgEllipsis()});
    }
    EXPECT_FALSE(cursor.isValid());
    EXPECT_EQ(cursor.getPosition(), usage.get() + text.size()) << "walk must end on the terminator";
    return items;
}

Offsets offsets(const std::string& usage) {
    Offsets result;
    for (const Item& item : walk(usage)) result.push_back(item.offset);
    return result;
}

// A cursor standing on the item that starts at offset.
KivClUsageCursor cursorAt(const char* usage, size_t offset) {
    KivClUsageCursor cursor(usage);
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        if (static_cast<size_t>(cursor.getPosition() - usage) == offset) return cursor;
    }
    ADD_FAILURE() << "no item at offset " << offset << " of \"" << usage << "\"";
    return cursor;
}

}  // namespace

TEST(UsageCursor, TraceControllerUsageYieldsItsTwentyFiveItems) {
    struct Expected {
        const char* text;
        long groupDepth, optionalDepth;
        bool takesValue;
    };
    const Expected expected[] = {
        {"-key", 1, 0, true},        {"<key>", 1, 0, false},     {"-instance", 1, 1, true},
        {"<instance>", 1, 1, false}, {"-file", 1, 1, true},      {"<filename>", 1, 1, false},
        {"-display", 0, 1, false},   {"-format", 1, 1, true},    {"<string>", 1, 1, false},
        {"-findent", 1, 1, true},    {"<string>", 1, 1, false},  {"-fnest", 0, 1, false},
        {"-fnofhd", 0, 1, false},    {"-fssfhd", 0, 1, false},   {"-fhex", 0, 1, false},
        {"-fbin", 0, 1, false},      {"-fdetail", 1, 1, true},   {"<detail>", 1, 1, false},
        {"-fcompids", 1, 1, true},   {"<compids>", 1, 1, false}, {"-fpid", 1, 1, true},
        {"<pid>", 1, 1, false},      {"-ftid", 1, 1, true},      {"<tid>", 1, 1, false},
        {"-verbose", 0, 1, false},
    };
    const char* usage = kivLibraryMessageTable[151];
    KivClUsageCursor cursor(usage);
    size_t count = 0;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext(), ++count) {
        ASSERT_LT(count, 25u) << "more items than expected";
        const Expected& want = expected[count];
        SCOPED_TRACE(want.text);
        EXPECT_TRUE(cursor.matches(want.text));
        EXPECT_EQ(cursor.getGroupDepth(), want.groupDepth);
        EXPECT_EQ(cursor.getOptionalDepth(), want.optionalDepth);
        EXPECT_FALSE(cursor.isTagged());
        EXPECT_FALSE(cursor.reqArgEllipsis());
        EXPECT_EQ(cursor.reqArg(), want.takesValue);
        EXPECT_EQ(cursor.isSwitch(), want.text[0] == '-');
        if (!cursor.isSwitch()) continue;
        // The name with or without "-", but not a prefix of it.
        const std::string name(want.text + 1);
        EXPECT_TRUE(cursor.matchesSwitch(name.c_str()));
        EXPECT_TRUE(cursor.matchesSwitch(want.text));
        EXPECT_FALSE(cursor.matchesSwitch(name.substr(0, name.size() - 1).c_str()));
    }
    EXPECT_EQ(count, 25u);
    EXPECT_EQ(cursor.getPosition(), usage + std::strlen(usage));
}

TEST(UsageCursor, ItemsStartWhereTheGrammarSays) {
    const struct {
        const char* usage;
        Offsets items;
    } cases[] = {
        // Strings without items, the empty one included.
        {"", {}}, {"prog", {}}, {"prog\n", {}}, {"[]()", {}}, {"prog, | = {} _\t", {}}, {"prog[x-1]", {}},
        // The program name is no item; a word joined to a switch by "|" alone
        // is none either, with a blank on either side of the "|" it is one.
        {"prog -a <file>", {5, 8}}, {"prog [-a|word]", {6}}, {"prog [-a | word]", {6, 11}},
        {"prog [-a |word]", {6, 10}}, {"prog ,,,x", {8}}, {"prog\tfile", {}},
        // A line ending without a blank hides the next line's first word.
        {"prog [-a]\nfile", {6}}, {"prog [-a] \nfile", {6, 11}},
        // Words span letters, digits and dots; "_" ends one. "-" before a
        // digit is ordinary, so the digits after a blank are a word.
        {"prog name2.x_tail other", {5, 18}}, {"prog[-5]", {}}, {"prog [-5] -b", {7, 10}},
        // Two hyphen-joined names are two switches.
        {"prog [-a-b] [-c]", {6, 8, 13}},
        // Quoted text never forms items; an empty pair is allowed; an
        // unclosed quote ends the walk.
        {"prog \"-a <x> (\" -b", {16}}, {"prog \"\" -a", {8}}, {"prog -a \"-b <c> -d", {5}}, {"prog \"", {}},
        // Blanks after "<" belong to the item, up to ">" if there is one.
        {"prog <file name> -x", {5, 17}}, {"prog <a b -c d", {5, 10}},
        // A lone dot is passed over with the character after it; an ellipsis
        // stands on its last dot.
        {"prog x .y -z", {5, 10}}, {"prog x .", {5}}, {"prog .-a -b", {7, 9}},
        {"prog <a>...", {5, 10}}, {"prog <a> ....", {5, 12}}, {"prog (-a ..)", {6, 10}},
        // "/" is an ordinary character: no item starts on it, every walk ends.
        {"/", {}}, {"//", {}}, {"prog /", {}}, {"prog / -a", {7}}, {"prog [/a | /b] -c", {7, 12, 15}},
        {"-a/b/ /", {0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.usage);
        EXPECT_EQ(offsets(c.usage), c.items);
    }
}

TEST(UsageCursor, SwitchIndicator) {
    for (const char* text : {"-a", "-", "--", "-.", "-<"}) {
        EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator(text)) << text;
    }
    for (const char* text : {"-5", "-0x", "a-", "/a", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator(text)) << (text ? text : "null");
    }
    EXPECT_FALSE(cursorAt("prog [-5] -b", 7).isSwitch());
}

TEST(UsageCursor, MatchingNeedsTheWholeNameAndABoundary) {
    const char* usage = "prog [-fhex] (-n <count>) [-a-b]";
    KivClUsageCursor fhex = cursorAt(usage, 6);
    for (const char* name : {"fhex", "-fhex"}) EXPECT_TRUE(fhex.matchesSwitch(name)) << name;
    for (const char* name : {"fhe", "fhexx", "FHEX", "--fhex", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(fhex.matchesSwitch(name)) << (name ? name : "null");
    }
    EXPECT_TRUE(fhex.matches("-fhex"));
    for (const char* text : {"fhex", "-fhe", "-fhexx", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(fhex.matches(text)) << (text ? text : "null");
    }
    // A placeholder matches in full, or without its ">" (itself a boundary).
    KivClUsageCursor count = cursorAt(usage, 17);
    EXPECT_TRUE(count.matches("<count>"));
    EXPECT_TRUE(count.matches("<count"));
    EXPECT_FALSE(count.matches("<coun"));
    EXPECT_FALSE(count.matchesSwitch("count"));
    // Joined names: the first item answers to its own name and the joined
    // one, the second only to its own.
    KivClUsageCursor first = cursorAt(usage, 27);
    for (const char* name : {"a", "-a", "a-b", "-a-b"}) EXPECT_TRUE(first.matchesSwitch(name)) << name;
    for (const char* name : {"a-", "b"}) EXPECT_FALSE(first.matchesSwitch(name)) << name;
    KivClUsageCursor second = cursorAt(usage, 29);
    EXPECT_TRUE(second.matchesSwitch("b"));
    EXPECT_FALSE(second.matchesSwitch("a-b"));

    // Exactly the eleven boundary characters, and the end, close a name; a
    // line end does not.
    EXPECT_TRUE(cursorAt("prog -ab", 5).matchesSwitch("ab"));
    for (char next : std::string("[]<>(){}-| ,=_.\n\t!\"/@")) {
        const std::string text = std::string("prog -ab") + next + "x";
        const bool boundary = std::strchr("[]<>(){}-| ", next) != nullptr;
        EXPECT_EQ(cursorAt(text.c_str(), 5).matchesSwitch("ab"), boundary) << text;
        EXPECT_EQ(cursorAt(text.c_str(), 5).matches("-ab"), boundary) << text;
    }
    EXPECT_TRUE(cursorAt("prog -a\n[-b]", 9).matchesSwitch("b"));
    // Names may hold "_" and "." although the item ends before them.
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 6).matchesSwitch("a_b"));
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 13).matchesSwitch("v.2"));
    // The hyphen alone is a switch with the empty name.
    KivClUsageCursor hyphen = cursorAt("prog [-] x", 6);
    EXPECT_TRUE(hyphen.matchesSwitch("-"));
    EXPECT_TRUE(hyphen.matchesSwitch(""));
    EXPECT_TRUE(hyphen.matches("-"));
}

TEST(UsageCursor, DepthsTagsAndValueTakingSwitches) {
    const char* const tags = "prog [-a]\n! [-b] [-c]\n[-d]";
    const struct {
        const char* usage;
        size_t item;
        long groupDepth, optionalDepth;
        bool tagged, reqArg, reqArgEllipsis;
    } cases[] = {
        // Switch, placeholder and ellipsis in one group: a list; outside the
        // group the dots make none.
        {"prog (-list <item> ...)", 0, 1, 0, false, true, true},
        {"prog (-list <item>) ...", 0, 1, 0, false, true, false},
        // Of two switches in one group only the second takes the value.
        {"prog (-a -b <x> ...)", 0, 1, 0, false, false, false},
        {"prog (-a -b <x> ...)", 1, 1, 0, false, true, true},
        // Nothing is taken across a group's end, outside any group, at the
        // end of a group or string, or from a nested group.
        {"prog (-a) <x>", 0, 1, 0, false, false, false}, {"prog -b <y>", 0, 0, 0, false, false, false},
        {"prog (<x> -a)", 1, 1, 0, false, false, false}, {"prog (-a", 0, 1, 0, false, false, false},
        {"prog (-a (<x> ...))", 0, 1, 0, false, false, false},
        // A word counts like a placeholder; the dots may be the value; a
        // switch before the dots ends the list.
        {"prog (-mode fast)", 0, 1, 0, false, true, false}, {"prog (-a ..)", 0, 1, 0, false, true, true},
        {"prog (-o <file>) (-level high)", 2, 1, 0, false, true, false},
        {"prog (-a <x> -b ...)", 0, 1, 0, false, true, false},
        // Asked on another item, the same test applies.
        {"prog (-a <x> <y>)", 1, 1, 0, false, true, false},
        {"prog (-a <x> <y>)", 2, 1, 0, false, false, false},
        {"prog (-list <item> ...)", 1, 1, 0, false, true, true},
        {"prog (-list <item> ...)", 2, 1, 0, false, false, false},
        // A tag lasts from its "!" to the line end; a quoted "!" is text.
        {tags, 0, 0, 1, false, false, false}, {tags, 1, 0, 1, true, false, false},
        {tags, 2, 0, 1, true, false, false}, {tags, 3, 0, 1, false, false, false},
        {"prog [-a] ![-b]", 0, 0, 1, false, false, false}, {"prog [-a] ![-b]", 1, 0, 1, true, false, false},
        {"prog \"!\" [-a]", 0, 0, 1, false, false, false},
        // Unbalanced brackets only change the depths.
        {"prog [(-a <x>", 0, 1, 1, false, true, false}, {"prog ))]] -a", 0, -2, -2, false, false, false},
        {"prog .[-a] [-b]", 0, 0, 0, false, false, false}, {"prog .[-a] [-b]", 1, 0, 0, false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.usage) + " item " + std::to_string(c.item));
        std::vector<Item> items = walk(c.usage);
        ASSERT_LT(c.item, items.size());
        EXPECT_EQ(items[c.item].groupDepth, c.groupDepth);
        EXPECT_EQ(items[c.item].optionalDepth, c.optionalDepth);
        EXPECT_EQ(items[c.item].tagged, c.tagged);
        EXPECT_EQ(items[c.item].reqArg, c.reqArg);
        EXPECT_EQ(items[c.item].reqArgEllipsis, c.reqArgEllipsis);
    }
    // The ellipsis item stands on the last dot.
    KivClUsageCursor ellipsis = cursorAt("prog (-list <item> ...)", 21);
    EXPECT_TRUE(ellipsis.isArgEllipsis());
    EXPECT_EQ(ellipsis.getPosition()[1], ')');
    EXPECT_FALSE(cursorAt("prog (-list <item> ...)", 12).isArgEllipsis());
    // Depths accumulate over the life of a cursor, even across setToFirst.
    KivClUsageCursor cursor("prog ([-a]");
    ASSERT_TRUE(cursor.setToFirst());
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_EQ(cursor.getGroupDepth(), 2);
    EXPECT_EQ(cursor.getOptionalDepth(), 2);
}

TEST(UsageCursor, NewCursorsCopiesAndDisplayFilter) {
    // A null string is the empty one; a new cursor stands on the start, on
    // no item, with a clear state.
    KivClUsageCursor nullUsage(nullptr);
    EXPECT_FALSE(nullUsage.isValid());
    EXPECT_FALSE(nullUsage.setToFirst());
    EXPECT_FALSE(nullUsage.setToNext());
    EXPECT_FALSE(nullUsage.matches("-a"));
    KivClUsageCursor fresh("(-a");
    EXPECT_TRUE(fresh.isValid());
    EXPECT_EQ(fresh.getGroupDepth(), 0);
    EXPECT_EQ(fresh.getOptionalDepth(), 0);
    EXPECT_FALSE(fresh.isTagged());
    EXPECT_FALSE(fresh.isInPlaceholder());

    KivClUsageCursor cursor("prog -a -b -c");
    ASSERT_TRUE(cursor.setToFirst());
    KivClUsageCursor copy(cursor);
    ASSERT_TRUE(copy.setToNext());
    EXPECT_TRUE(copy.matches("-b"));
    EXPECT_TRUE(cursor.matches("-a"));
    cursor = copy;
    ASSERT_TRUE(cursor.setToNext());
    EXPECT_TRUE(cursor.matches("-c"));
    EXPECT_TRUE(copy.matches("-b"));
    // Calls through the base class reach the usage cursor.
    KivClUniDirCursorABase& base = copy;
    EXPECT_TRUE(base.setToFirst());
    EXPECT_TRUE(copy.matches("-a"));

    for (int c = -128; c < 128; ++c) {
        const char ch = static_cast<char>(c);
        EXPECT_EQ(KivClUsageCursor::isToBeDisplayed(ch), ch != '"' && ch != '(' && ch != ')') << c;
    }
}

TEST(UsageCursor, RandomStringsAlwaysEndAndStayInBounds) {
    const std::string alphabet = "-<>()[]\"!. \n/a1|,x9_@\t";
    std::mt19937 rng(20261123);
    std::uniform_int_distribution<size_t> lengthPick(0, 48);
    std::uniform_int_distribution<size_t> charPick(0, alphabet.size() - 1);
    for (int round = 0; round < 3000; ++round) {
        std::string text(lengthPick(rng), ' ');
        for (char& c : text) c = alphabet[charPick(rng)];
        std::unique_ptr<char[]> usage = exactCopy(text);
        SCOPED_TRACE(text);
        KivClUsageCursor cursor(usage.get());
        const char* previous = nullptr;
        for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
            const char* at = cursor.getPosition();
            ASSERT_TRUE(previous == nullptr || at > previous);
            ASSERT_LT(at, usage.get() + text.size());
            previous = at;
            // Items start on a switch, "<", a letter or digit, or the last
            // dot of a run.
            const bool ellipsis = *at == '.' && at > usage.get() && at[-1] == '.' && at[1] != '.';
            EXPECT_TRUE(cursor.isSwitch() || *at == '<' || std::isalnum(static_cast<unsigned char>(*at)) ||
                        ellipsis);
            EXPECT_TRUE(!cursor.reqArgEllipsis() || cursor.reqArg());
            EXPECT_EQ(cursor.matches("-a"), cursor.isSwitch() && cursor.matchesSwitch("a"));
        }
        EXPECT_EQ(cursor.getPosition(), usage.get() + text.size());
    }
}
