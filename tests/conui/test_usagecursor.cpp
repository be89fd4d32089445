// Walking usage strings: items, depths, tags, matching and value-taking
// switches.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
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

// The offsets of the items of a walk, which must end on the terminator.
Offsets offsets(const std::string& text) {
    std::unique_ptr<char[]> usage = exactCopy(text);
    Offsets result;
    KivClUsageCursor cursor(usage.get());
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        result.push_back(static_cast<size_t>(cursor.getPosition() - usage.get()));
    }
    EXPECT_FALSE(cursor.isValid());
    EXPECT_EQ(cursor.getPosition(), usage.get() + text.size()) << "walk must end on the terminator";
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

// Every item of a walk as "text groupDepth optionalDepth", followed by " !"
// when tagged and " v" (" v..." for a list) when it takes a value.
std::string describe(const std::string& text) {
    std::unique_ptr<char[]> usage = exactCopy(text);
    KivClUsageCursor cursor(usage.get());
    std::string items;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        const char* at = cursor.getPosition();
        items += (items.empty() ? "" : ", ") + std::string(at, std::strcspn(at, " )]\n")) + " " +
                 std::to_string(cursor.getGroupDepth()) + " " + std::to_string(cursor.getOptionalDepth()) +
                 (cursor.isTagged() ? " !" : "") + (cursor.reqArgEllipsis() ? " v..." : cursor.reqArg() ? " v" : "");
    }
    return items;
}

}  // namespace

TEST(UsageCursor, TraceControllerUsageYieldsItsTwentyFiveItems) {
    const char* usage = kivLibraryMessageTable[151];
    EXPECT_EQ(describe(usage),
              "-key 1 0 v, <key> 1 0, -instance 1 1 v, <instance> 1 1, -file 1 1 v, <filename> 1 1, -display 0 1, "
              "-format 1 1 v, <string> 1 1, -findent 1 1 v, <string> 1 1, -fnest 0 1, -fnofhd 0 1, -fssfhd 0 1, "
              "-fhex 0 1, -fbin 0 1, -fdetail 1 1 v, <detail> 1 1, -fcompids 1 1 v, <compids> 1 1, -fpid 1 1 v, "
              "<pid> 1 1, -ftid 1 1 v, <tid> 1 1, -verbose 0 1");
}

TEST(UsageCursor, ItemsStartWhereTheGrammarSays) {
    const struct { const char* usage; Offsets items; } cases[] = {
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
    EXPECT_TRUE(cursorAt("prog [-5] -b", 10).isSwitch());
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
    EXPECT_TRUE(count.matches("<count>") && count.matches("<count"));
    EXPECT_FALSE(count.matches("<coun") || count.matchesSwitch("count"));
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
    EXPECT_TRUE(hyphen.matchesSwitch("-") && hyphen.matchesSwitch("") && hyphen.matches("-"));
}

TEST(UsageCursor, DepthsTagsAndValueTakingSwitches) {
    const struct { const char* usage; const char* items; } cases[] = {
        // Switch, placeholder and ellipsis in one group: a list; outside the
        // group the dots make none.
        {"prog (-list <item> ...)", "-list 1 0 v..., <item> 1 0 v..., . 1 0"},
        {"prog (-list <item>) ...", "-list 1 0 v, <item> 1 0, . 0 0"},
        // Of two switches in one group only the second takes the value.
        {"prog (-a -b <x> ...)", "-a 1 0, -b 1 0 v..., <x> 1 0 v..., . 1 0"},
        // Nothing is taken across a group's end, outside any group, at the
        // end of a group or string, or from a nested group.
        {"prog (-a) <x>", "-a 1 0, <x> 0 0"},
        {"prog -b <y>", "-b 0 0, <y> 0 0"},
        {"prog (<x> -a)", "<x> 1 0, -a 1 0"},
        {"prog (-a", "-a 1 0"},
        {"prog (-a (<x> ...))", "-a 1 0, <x> 2 0 v..., . 2 0"},
        // A word counts like a placeholder, also after a closed placeholder;
        // the dots may be the value; a switch before the dots ends the list.
        {"prog (-mode fast)", "-mode 1 0 v, fast 1 0"},
        {"prog (-o <file>) (-level high)", "-o 1 0 v, <file> 1 0, -level 1 0 v, high 1 0"},
        {"prog (-a ..)", "-a 1 0 v..., . 1 0"},
        {"prog (-a <x> -b ...)", "-a 1 0 v, <x> 1 0, -b 1 0 v..., . 1 0"},
        // Asked on another item, the same test applies.
        {"prog (-a <x> <y>)", "-a 1 0 v, <x> 1 0 v, <y> 1 0"},
        // A tag lasts from its "!" to the line end; a quoted "!" is text.
        {"prog [-a]\n! [-b] [-c]\n[-d]", "-a 0 1, -b 0 1 !, -c 0 1 !, -d 0 1"},
        {"prog [-a] ![-b]", "-a 0 1, -b 0 1 !"},
        {"prog \"!\" [-a]", "-a 0 1"},
        // Unbalanced brackets only change the depths.
        {"prog [(-a <x>", "-a 1 1 v, <x> 1 1"},
        {"prog ))]] -a", "-a -2 -2"},
        {"prog .[-a] [-b]", "-a 0 0, -b 0 0"},
    };
    for (const auto& c : cases) EXPECT_EQ(describe(c.usage), c.items) << c.usage;
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

TEST(UsageCursor, NewCursorsAndDisplayFilter) {
    // A null string is the empty one; a new cursor stands on the start, on
    // no item, with a clear state.
    KivClUsageCursor nullUsage(nullptr);
    EXPECT_FALSE(nullUsage.isValid() || nullUsage.setToFirst() || nullUsage.setToNext() || nullUsage.matches("-a"));
    KivClUsageCursor fresh("(-a");
    EXPECT_TRUE(fresh.isValid());
    EXPECT_EQ(fresh.getGroupDepth(), 0);
    EXPECT_EQ(fresh.getOptionalDepth(), 0);
    EXPECT_FALSE(fresh.isTagged() || fresh.isInPlaceholder());

    for (int c = -128; c < 128; ++c) {
        const char ch = static_cast<char>(c);
        EXPECT_EQ(KivClUsageCursor::isToBeDisplayed(ch), ch != '"' && ch != '(' && ch != ')') << c;
    }
}
