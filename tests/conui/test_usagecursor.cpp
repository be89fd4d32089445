// Walking usage strings: items, depths, tags, matching and value-taking
// switches.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kiv_usage.hpp"

namespace {

// The trace controller's usage string, as the library's message table holds it.
const char TRACE_USAGE[] =
    "(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n[-display]\n"
    "[(-format <string>)] [(-findent <string>)]\n[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
    "[(-fdetail <detail>)] [(-fcompids <compids>)]\n[(-fpid <pid>)] [(-ftid <tid>)]\n[-verbose]";

// A copy of a text in a heap block of exactly its size, so that the address
// sanitizer reports any read past the terminator.
class ExactText {
public:
    explicit ExactText(const std::string& text) : size_(text.size()), data_(new char[text.size() + 1]) {
        std::memcpy(data_.get(), text.c_str(), text.size() + 1);
    }
    const char* get() const { return data_.get(); }
    size_t size() const { return size_; }

private:
    size_t size_;
    std::unique_ptr<char[]> data_;
};

// What the cursor reported on one item.
struct Item {
    size_t offset;
    long groupDepth;
    long optionalDepth;
    bool tagged;
    bool isSwitch;
    bool reqArg;
    bool reqArgEllipsis;
};

std::vector<Item> walk(const char* usage) {
    std::vector<Item> items;
    KivClUsageCursor cursor(usage);
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        EXPECT_TRUE(cursor.isValid());
        items.push_back({static_cast<size_t>(cursor.getPosition() - usage), cursor.getGroupDepth(),
                         cursor.getOptionalDepth(), cursor.isTagged(), cursor.isSwitch(), cursor.reqArg(),
                         cursor.reqArgEllipsis()});
    }
    EXPECT_FALSE(cursor.isValid());
    return items;
}

std::vector<size_t> offsets(const std::vector<Item>& items) {
    std::vector<size_t> result;
    for (const Item& item : items) result.push_back(item.offset);
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
        long groupDepth;
        long optionalDepth;
        bool takesValue;
    };
    const Expected expected[] = {
        {"-key", 1, 0, true},       {"<key>", 1, 0, false},     {"-instance", 1, 1, true},
        {"<instance>", 1, 1, false}, {"-file", 1, 1, true},      {"<filename>", 1, 1, false},
        {"-display", 0, 1, false},  {"-format", 1, 1, true},    {"<string>", 1, 1, false},
        {"-findent", 1, 1, true},   {"<string>", 1, 1, false},  {"-fnest", 0, 1, false},
        {"-fnofhd", 0, 1, false},   {"-fssfhd", 0, 1, false},   {"-fhex", 0, 1, false},
        {"-fbin", 0, 1, false},     {"-fdetail", 1, 1, true},   {"<detail>", 1, 1, false},
        {"-fcompids", 1, 1, true},  {"<compids>", 1, 1, false}, {"-fpid", 1, 1, true},
        {"<pid>", 1, 1, false},     {"-ftid", 1, 1, true},      {"<tid>", 1, 1, false},
        {"-verbose", 0, 1, false},
    };
    ExactText usage(TRACE_USAGE);
    const std::string text(TRACE_USAGE);
    KivClUsageCursor cursor(usage.get());
    size_t count = 0;
    size_t searchFrom = 0;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext(), ++count) {
        ASSERT_LT(count, sizeof(expected) / sizeof(expected[0])) << "more items than expected";
        const Expected& want = expected[count];
        SCOPED_TRACE(want.text);
        const size_t offset = text.find(want.text, searchFrom);
        EXPECT_EQ(static_cast<size_t>(cursor.getPosition() - usage.get()), offset);
        searchFrom = offset + 1;
        EXPECT_TRUE(cursor.matches(want.text));
        EXPECT_EQ(cursor.getGroupDepth(), want.groupDepth);
        EXPECT_EQ(cursor.getOptionalDepth(), want.optionalDepth);
        EXPECT_FALSE(cursor.isTagged());
        EXPECT_FALSE(cursor.reqArgEllipsis());
        EXPECT_EQ(cursor.reqArg(), want.takesValue);
        const bool isSwitch = want.text[0] == '-';
        EXPECT_EQ(cursor.isSwitch(), isSwitch);
        if (isSwitch) {
            const std::string name(want.text + 1);
            EXPECT_TRUE(cursor.matchesSwitch(name.c_str()));
            EXPECT_TRUE(cursor.matchesSwitch(want.text));
            EXPECT_FALSE(cursor.matchesSwitch(name.substr(0, name.size() - 1).c_str()));
            std::string upper(name);
            for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            EXPECT_FALSE(cursor.matchesSwitch(upper.c_str()));
            EXPECT_FALSE(cursor.matches(name.c_str()));
        }
    }
    EXPECT_EQ(count, 25u);
    EXPECT_FALSE(cursor.isValid());
    EXPECT_EQ(cursor.getPosition(), usage.get() + usage.size());
    EXPECT_EQ(cursor.getGroupDepth(), 0);
    EXPECT_EQ(cursor.getOptionalDepth(), 0);
}

TEST(UsageCursor, EmptyAndItemlessStringsHaveNoItems) {
    for (const char* usage : {"", "prog", "prog\n", "[]()", "prog, | = {} _\t", "prog \"-a <b>\"", "prog[x-1]"}) {
        SCOPED_TRACE(usage);
        ExactText text(usage);
        KivClUsageCursor cursor(text.get());
        EXPECT_FALSE(cursor.setToFirst());
        EXPECT_FALSE(cursor.isValid());
        EXPECT_FALSE(cursor.setToNext());
        EXPECT_FALSE(cursor.isSwitch());
        EXPECT_FALSE(cursor.matches("-a"));
        EXPECT_FALSE(cursor.matchesSwitch("a"));
        EXPECT_FALSE(cursor.reqArg());
        EXPECT_EQ(cursor.getPosition(), text.get() + text.size());
    }
    KivClUsageCursor nullUsage(nullptr);
    EXPECT_FALSE(nullUsage.isValid());
    EXPECT_FALSE(nullUsage.setToFirst());
    EXPECT_FALSE(nullUsage.setToNext());

    KivClUsageCursor fresh("prog -a");
    EXPECT_EQ(fresh.getGroupDepth(), 0);
    EXPECT_EQ(fresh.getOptionalDepth(), 0);
    EXPECT_FALSE(fresh.isTagged());
    EXPECT_FALSE(fresh.isInPlaceholder());
}

TEST(UsageCursor, WordRuleAndProgramName) {
    // The program name is no item; the switch and the placeholder are.
    EXPECT_EQ(offsets(walk("prog -a <file>")), (std::vector<size_t>{5, 8}));
    // A word joined to a switch by "|" alone is no item; with a blank it is.
    EXPECT_EQ(offsets(walk("prog [-a|word]")), (std::vector<size_t>{6}));
    EXPECT_EQ(offsets(walk("prog [-a | word]")), (std::vector<size_t>{6, 11}));
    EXPECT_EQ(offsets(walk("prog [-a |word]")), (std::vector<size_t>{6, 10}));
    // A word starts after any number of characters once a blank was passed.
    EXPECT_EQ(offsets(walk("prog ,,,x")), (std::vector<size_t>{8}));
    // The first word of a line is no item when the line before ends without
    // a blank, and is one when it ends with a blank.
    EXPECT_EQ(offsets(walk("prog [-a]\nfile")), (std::vector<size_t>{6}));
    EXPECT_EQ(offsets(walk("prog [-a] \nfile")), (std::vector<size_t>{6, 11}));
    // A tab is no blank.
    EXPECT_EQ(offsets(walk("prog\tfile")), (std::vector<size_t>{}));
    // Words span letters, digits and dots; "_" ends one without a new item.
    const char* usage = "prog name2.x_tail other";
    EXPECT_EQ(offsets(walk(usage)), (std::vector<size_t>{5, 18}));
    KivClUsageCursor word = cursorAt(usage, 5);
    EXPECT_FALSE(word.isSwitch());
    EXPECT_FALSE(word.matches("name2.x"));
    EXPECT_TRUE(cursorAt(usage, 18).matches("other"));
}

TEST(UsageCursor, NegativeNumbersAreNoSwitches) {
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("-5"));
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("-0x"));
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("a-"));
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("/a"));
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator(""));
    EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator(nullptr));
    EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-a"));
    EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-"));
    EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("--"));
    EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-."));

    // The "-" of "-5" is an ordinary character: without a blank before the
    // digits nothing is found; with one the digits are a plain word.
    EXPECT_TRUE(walk("prog[-5]").empty());
    std::vector<Item> items = walk("prog [-5] -b");
    ASSERT_EQ(offsets(items), (std::vector<size_t>{7, 10}));
    EXPECT_FALSE(items[0].isSwitch);
    EXPECT_TRUE(items[1].isSwitch);
    KivClUsageCursor number = cursorAt("prog [-5] -b", 7);
    EXPECT_FALSE(number.matches("-5"));
    EXPECT_TRUE(number.matches("5"));
}

TEST(UsageCursor, HyphenJoinedNamesGiveTwoSwitches) {
    const char* usage = "prog [-a-b] [-c]";
    ASSERT_EQ(offsets(walk(usage)), (std::vector<size_t>{6, 8, 13}));
    KivClUsageCursor first = cursorAt(usage, 6);
    EXPECT_TRUE(first.isSwitch());
    EXPECT_TRUE(first.matchesSwitch("a"));
    EXPECT_TRUE(first.matchesSwitch("-a"));
    EXPECT_TRUE(first.matchesSwitch("a-b"));
    EXPECT_TRUE(first.matchesSwitch("-a-b"));
    EXPECT_FALSE(first.matchesSwitch("a-"));
    EXPECT_FALSE(first.matchesSwitch("b"));
    EXPECT_TRUE(first.matches("-a"));
    EXPECT_TRUE(first.matches("-a-b"));
    KivClUsageCursor second = cursorAt(usage, 8);
    EXPECT_TRUE(second.matchesSwitch("b"));
    EXPECT_FALSE(second.matchesSwitch("a"));
    EXPECT_FALSE(second.matchesSwitch("a-b"));
}

TEST(UsageCursor, MatchingNeedsTheWholeNameAndABoundary) {
    const char* usage = "prog [-fhex] (-n <count>)";
    KivClUsageCursor fhex = cursorAt(usage, 6);
    EXPECT_TRUE(fhex.matchesSwitch("fhex"));
    EXPECT_TRUE(fhex.matchesSwitch("-fhex"));
    EXPECT_FALSE(fhex.matchesSwitch("fhe"));
    EXPECT_FALSE(fhex.matchesSwitch("fhexx"));
    EXPECT_FALSE(fhex.matchesSwitch("FHEX"));
    EXPECT_FALSE(fhex.matchesSwitch("--fhex"));
    EXPECT_FALSE(fhex.matchesSwitch(""));
    EXPECT_FALSE(fhex.matchesSwitch(nullptr));
    EXPECT_TRUE(fhex.matches("-fhex"));
    EXPECT_FALSE(fhex.matches("fhex"));
    EXPECT_FALSE(fhex.matches("-fhe"));
    EXPECT_FALSE(fhex.matches(""));
    EXPECT_FALSE(fhex.matches(nullptr));
    // A text running past the end of the usage string does not match.
    EXPECT_FALSE(cursorAt("prog -abc", 5).matches("-abcdef"));

    KivClUsageCursor count = cursorAt(usage, 17);
    EXPECT_TRUE(count.matches("<count>"));
    EXPECT_TRUE(count.matches("<count"));  // followed by ">", which is a boundary
    EXPECT_FALSE(count.matches("<coun"));
    EXPECT_FALSE(count.matchesSwitch("count"));
    EXPECT_FALSE(count.matchesSwitch("<count>"));

    // Each of the eleven boundary characters (and the end) closes a name;
    // anything else, a line end included, does not.
    for (char boundary : std::string("[]<>(){}-| ")) {
        std::string text = std::string("prog -ab") + boundary + "x";
        SCOPED_TRACE(text);
        EXPECT_TRUE(cursorAt(text.c_str(), 5).matchesSwitch("ab"));
    }
    EXPECT_TRUE(cursorAt("prog -ab", 5).matchesSwitch("ab"));
    for (char other : std::string(",=_.\n\t!\"/@")) {
        std::string text = std::string("prog -ab") + other + "x";
        SCOPED_TRACE(text);
        EXPECT_FALSE(cursorAt(text.c_str(), 5).matchesSwitch("ab"));
        EXPECT_FALSE(cursorAt(text.c_str(), 5).matches("-ab"));
    }
    // So a switch written last on its line matches no name.
    const char* lineEnd = "prog -a\n[-b]";
    EXPECT_FALSE(cursorAt(lineEnd, 5).matchesSwitch("a"));
    EXPECT_TRUE(cursorAt(lineEnd, 9).matchesSwitch("b"));
    // Switch names may hold "_" and "." even though the item ends before them.
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 6).matchesSwitch("a_b"));
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 13).matchesSwitch("v.2"));
    // The hyphen alone is a switch with the empty name.
    KivClUsageCursor hyphen = cursorAt("prog [-] x", 6);
    EXPECT_TRUE(hyphen.isSwitch());
    EXPECT_TRUE(hyphen.matchesSwitch("-"));
    EXPECT_TRUE(hyphen.matchesSwitch(""));
    EXPECT_TRUE(hyphen.matches("-"));
}

TEST(UsageCursor, ValueTakingSwitchesAndLists) {
    // Switch, placeholder and ellipsis in one group: a switch taking a list.
    const char* list = "prog (-list <item> ...)";
    std::vector<Item> items = walk(list);
    ASSERT_EQ(offsets(items), (std::vector<size_t>{6, 12, 21}));
    EXPECT_TRUE(items[0].reqArg);
    EXPECT_TRUE(items[0].reqArgEllipsis);
    KivClUsageCursor ellipsis = cursorAt(list, 21);
    EXPECT_TRUE(ellipsis.isArgEllipsis());
    EXPECT_EQ(*ellipsis.getPosition(), '.');
    EXPECT_EQ(ellipsis.getPosition()[1], ')');
    EXPECT_FALSE(ellipsis.isSwitch());
    EXPECT_FALSE(ellipsis.reqArg());

    // The ellipsis outside the group does not make a list.
    items = walk("prog (-list <item>) ...");
    ASSERT_EQ(items.size(), 3u);
    EXPECT_TRUE(items[0].reqArg);
    EXPECT_FALSE(items[0].reqArgEllipsis);
    EXPECT_EQ(items[2].groupDepth, 0);

    // Of two switches in one group only the second takes the value.
    items = walk("prog (-a -b <x> ...)");
    ASSERT_EQ(items.size(), 4u);
    EXPECT_FALSE(items[0].reqArg);
    EXPECT_FALSE(items[0].reqArgEllipsis);
    EXPECT_TRUE(items[1].reqArg);
    EXPECT_TRUE(items[1].reqArgEllipsis);

    // A switch closed in its own group takes nothing from outside it; nor
    // does a switch outside every group.
    items = walk("prog (-a) <x> -b <y>");
    ASSERT_EQ(items.size(), 4u);
    EXPECT_FALSE(items[0].reqArg);
    EXPECT_FALSE(items[2].reqArg);
    // A switch last in its group, and a switch at the end of the string.
    EXPECT_FALSE(walk("prog (<x> -a)")[1].reqArg);
    EXPECT_FALSE(walk("prog (-a")[0].reqArg);
    // A nested group is another group depth.
    items = walk("prog (-a (<x>))");
    EXPECT_FALSE(items[0].reqArg);
    // A word value counts like a placeholder.
    EXPECT_TRUE(walk("prog (-mode fast)")[0].reqArg);
    // A run of dots as the value itself.
    items = walk("prog (-a ..)");
    ASSERT_EQ(offsets(items), (std::vector<size_t>{6, 10}));
    EXPECT_TRUE(items[0].reqArgEllipsis);
    // A list that meets a switch before its dots is no list.
    EXPECT_FALSE(walk("prog (-a <x> -b ...)")[0].reqArgEllipsis);
}

TEST(UsageCursor, QuotesPlaceholdersAndDots) {
    // Quoted text never forms items; an empty pair is allowed.
    EXPECT_EQ(offsets(walk("prog \"-a <x> (\" -b")), (std::vector<size_t>{16}));
    EXPECT_EQ(walk("prog \"-a <x> (\" -b")[0].groupDepth, 0);
    EXPECT_EQ(offsets(walk("prog \"\" -a")), (std::vector<size_t>{8}));
    // An unclosed quote ends the walk at that quote.
    std::vector<Item> items = walk("prog -a \"-b <c> -d");
    EXPECT_EQ(offsets(items), (std::vector<size_t>{5}));
    EXPECT_TRUE(walk("prog \"").empty());
    // A placeholder with a blank inside is one item.
    const char* spaced = "prog <file name> -x";
    EXPECT_EQ(offsets(walk(spaced)), (std::vector<size_t>{5, 17}));
    EXPECT_TRUE(cursorAt(spaced, 5).matches("<file name>"));
    // A missing ">" keeps blanks inside the item up to the next other character.
    KivClUsageCursor open("prog <a b -c");
    ASSERT_TRUE(open.setToFirst());
    EXPECT_TRUE(open.isInPlaceholder());
    ASSERT_TRUE(open.setToNext());
    EXPECT_TRUE(open.matches("-c"));
    EXPECT_TRUE(open.isInPlaceholder());
    EXPECT_FALSE(open.setToNext());
    // A lone dot is passed over together with the character after it.
    EXPECT_EQ(offsets(walk("prog x .y -z")), (std::vector<size_t>{5, 10}));
    items = walk("prog .[-a] [-b]");
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].optionalDepth, 0);
    EXPECT_EQ(items[1].optionalDepth, 0);
    EXPECT_TRUE(walk("prog x .").size() == 1);
    // Ellipsis right after a placeholder.
    EXPECT_EQ(offsets(walk("prog <a>...")), (std::vector<size_t>{5, 10}));
}

TEST(UsageCursor, TagsAndDepthsFollowTheStructure) {
    std::vector<Item> items = walk("prog [-a]\n! [-b] [-c]\n[-d]");
    ASSERT_EQ(items.size(), 4u);
    EXPECT_FALSE(items[0].tagged);
    EXPECT_TRUE(items[1].tagged);
    EXPECT_TRUE(items[2].tagged);
    EXPECT_FALSE(items[3].tagged);
    // A tag in the middle of a line tags only what follows it.
    items = walk("prog [-a] ![-b]");
    EXPECT_FALSE(items[0].tagged);
    EXPECT_TRUE(items[1].tagged);
    // A "!" inside quotes tags nothing.
    EXPECT_FALSE(walk("prog \"!\" [-a]")[0].tagged);

    // Unbalanced brackets only change the depths.
    items = walk("prog [(-a <x>");
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items[0].groupDepth, 1);
    EXPECT_EQ(items[0].optionalDepth, 1);
    EXPECT_TRUE(items[0].reqArg);
    items = walk("prog ))]] -a");
    ASSERT_EQ(items.size(), 1u);
    EXPECT_EQ(items[0].groupDepth, -2);
    EXPECT_EQ(items[0].optionalDepth, -2);
    // Depths accumulate over the life of a cursor, even across setToFirst.
    KivClUsageCursor cursor("prog ([-a]");
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_EQ(cursor.getGroupDepth(), 1);
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_EQ(cursor.getGroupDepth(), 2);
    EXPECT_EQ(cursor.getOptionalDepth(), 2);
}

TEST(UsageCursor, SlashIsAnOrdinaryCharacter) {
    // Every walk over slashes ends; no item starts on a "/".
    for (const char* usage : {"/", "//", "prog /", "prog / -a", "prog [/a | /b] -c", "prog /x/y/", "-a/b/ /"}) {
        SCOPED_TRACE(usage);
        ExactText text(usage);
        std::vector<Item> items = walk(text.get());
        EXPECT_LE(items.size(), text.size());
        for (const Item& item : items) EXPECT_NE(text.get()[item.offset], '/');
    }
    EXPECT_TRUE(walk("/").empty());
    EXPECT_EQ(offsets(walk("prog / -a")), (std::vector<size_t>{7}));
    // A name after a slash and a blank is a plain word.
    std::vector<Item> items = walk("prog [/a | /b] -c");
    EXPECT_EQ(offsets(items), (std::vector<size_t>{7, 12, 15}));
    EXPECT_FALSE(items[0].isSwitch);
    EXPECT_FALSE(items[1].isSwitch);
}

TEST(UsageCursor, CopiesMoveIndependentlyAndDisplayFilter) {
    KivClUsageCursor cursor("prog -a -b -c");
    ASSERT_TRUE(cursor.setToFirst());
    KivClUsageCursor copy(cursor);
    ASSERT_TRUE(copy.setToNext());
    EXPECT_TRUE(copy.matches("-b"));
    EXPECT_TRUE(cursor.matches("-a"));
    cursor = copy;
    EXPECT_TRUE(cursor.matches("-b"));
    ASSERT_TRUE(cursor.setToNext());
    EXPECT_TRUE(cursor.matches("-c"));
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.setToNext());  // stays at the end
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
        ExactText usage(text);
        SCOPED_TRACE(text);
        KivClUsageCursor cursor(usage.get());
        const char* previous = nullptr;
        size_t count = 0;
        for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
            ASSERT_LE(++count, usage.size());
            const char* at = cursor.getPosition();
            ASSERT_GE(at, usage.get());
            ASSERT_LT(at, usage.get() + usage.size());
            if (previous != nullptr) {
                ASSERT_GT(at, previous);
            }
            previous = at;
            // Every item starts on a switch, "<", a letter or digit, or the
            // last dot of a run of dots.
            const bool ellipsis = *at == '.' && at > usage.get() && at[-1] == '.' && at[1] != '.';
            EXPECT_TRUE(cursor.isSwitch() || *at == '<' || std::isalnum(static_cast<unsigned char>(*at)) ||
                        ellipsis);
            // A list-taking switch always takes a value.
            EXPECT_TRUE(!cursor.reqArgEllipsis() || cursor.reqArg());
            EXPECT_TRUE(!cursor.reqArg() || cursor.isSwitch());
            cursor.matches("-a");
            cursor.matchesSwitch("a1");
        }
        EXPECT_FALSE(cursor.isValid());
        EXPECT_EQ(cursor.getPosition(), usage.get() + usage.size());
    }
}
