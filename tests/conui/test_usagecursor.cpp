// Walking usage strings: items, depths, tags, matching and value-taking
// switches.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "kiv_usage.hpp"

namespace {

// Walks a copy of text in a heap block of exactly its size (the address
// sanitizer reports reads past it) and joins what describe says of each item
// and its offset. The walk must end on the terminator.
template <typename Describe>
std::string walk(const std::string& text, Describe describe) {
    std::unique_ptr<char[]> usage(new char[text.size() + 1]);
    std::memcpy(usage.get(), text.c_str(), text.size() + 1);
    KivClUsageCursor cursor(usage.get());
    std::string items;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        items += (items.empty() ? "" : ", ") + describe(cursor, cursor.getPosition() - usage.get());
    }
    EXPECT_EQ(cursor.getPosition(), usage.get() + text.size()) << "walk must end on the terminator";
    return items;
}

// Every item as "text groupDepth optionalDepth", followed by " !" when
// tagged and " v" (" v..." for a list) when it takes a value.
std::string describe(const std::string& text) {
    return walk(text, [](const KivClUsageCursor& c, long) {
        const char* at = c.getPosition();
        return std::string(at, std::strcspn(at, " )]\n")) + " " + std::to_string(c.getGroupDepth()) + " " +
               std::to_string(c.getOptionalDepth()) + (c.isTagged() ? " !" : "") +
               (c.reqArgEllipsis() ? " v..." : c.reqArg() ? " v" : "");
    });
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

TEST(UsageCursor, ItemsStartWhereTheGrammarSays) {
    const struct { const char* usage; const char* items; } cases[] = {
        // No items, the empty string included.
        {"", ""}, {"prog", ""}, {"prog\n", ""}, {"[]()", ""}, {"prog, | = {} _\t", ""}, {"prog[x-1]", ""},
        // Not the program name, nor a word joined by "|" without a blank.
        {"prog -a <file>", "5, 8"}, {"prog [-a|word]", "6"}, {"prog [-a | word]", "6, 11"},
        {"prog [-a |word]", "6, 10"}, {"prog ,,,x", "8"}, {"prog\tfile", ""},
        // A line end without a blank hides the next line's first word.
        {"prog [-a]\nfile", "6"}, {"prog [-a] \nfile", "6, 11"},
        // Words of letters, digits and dots; "_" ends one; "-5" is a word.
        {"prog name2.x_tail other", "5, 18"}, {"prog[-5]", ""}, {"prog [-5] -b", "7, 10"},
        // Two hyphen-joined names are two switches.
        {"prog [-a-b] [-c]", "6, 8, 13"},
        // Quoted text, also empty, forms no items; an open quote ends the walk.
        {"prog \"-a <x> (\" -b", "16"}, {"prog \"\" -a", "8"}, {"prog -a \"-b <c> -d", "5"}, {"prog \"", ""},
        // Blanks after "<" belong to the item, up to any ">".
        {"prog <file name> -x", "5, 17"}, {"prog <a b -c d", "5, 10"},
        // A lone dot hides the next character; an ellipsis is its last dot.
        {"prog x .y -z", "5, 10"}, {"prog x .", "5"}, {"prog .-a -b", "7, 9"},
        {"prog <a>...", "5, 10"}, {"prog <a> ....", "5, 12"}, {"prog (-a ..)", "6, 10"},
        // No item starts on "/", and every walk ends.
        {"/", ""}, {"//", ""}, {"prog /", ""}, {"prog / -a", "7"}, {"prog [/a | /b] -c", "7, 12, 15"},
        {"-a/b/ /", "0"},
    };
    const auto offset = [](const KivClUsageCursor&, long at) { return std::to_string(at); };
    for (const auto& c : cases) EXPECT_EQ(walk(c.usage, offset), c.items) << c.usage;
}

TEST(UsageCursor, SwitchesAndMatchingNeedTheWholeNameAndABoundary) {
    const struct { const char* text; bool isSwitch; } indicators[] = {
        {"-a", true}, {"-", true}, {"--", true}, {"-.", true}, {"-<", true},
        {"-5", false}, {"-0x", false}, {"a-", false}, {"/a", false}, {"", false}, {nullptr, false}};
    for (const auto& i : indicators) {
        EXPECT_EQ(KivClUsageCursor::isSwitchIndicator(i.text), i.isSwitch) << (i.text ? i.text : "null");
    }
    EXPECT_FALSE(cursorAt("prog [-5] -b", 7).isSwitch());
    EXPECT_TRUE(cursorAt("prog [-5] -b", 10).isSwitch());

    // Per item: the names matchesSwitch accepts, then the texts matches
    // accepts, of the candidates "fhex", "-fhex", "fhe", ... A placeholder
    // matches in full or without its ">"; of joined names the first item
    // answers to its own name and the joined one, the second only to its own.
    const char* usage = "prog [-fhex] (-n <count>) [-a-b]";
    const char* candidates[] = {"fhex", "-fhex", "fhe", "fhexx", "FHEX", "--fhex", "-fhe", "-fhexx", "", nullptr,
                                "<count>", "<count", "<coun", "count", "a", "-a", "a-b", "-a-b", "a-", "b"};
    const struct { size_t offset; const char* switches; const char* texts; } rows[] = {
        {6, "fhex -fhex", "-fhex"}, {17, "", "<count> <count"}, {27, "a -a a-b -a-b", "-a -a-b"}, {29, "b", ""},
    };
    for (const auto& row : rows) {
        const KivClUsageCursor item = cursorAt(usage, row.offset);
        std::string switches, texts;
        for (const char* name : candidates) {
            if (item.matchesSwitch(name)) switches += (switches.empty() ? "" : " ") + std::string(name);
            if (item.matches(name)) texts += (texts.empty() ? "" : " ") + std::string(name);
        }
        EXPECT_EQ(switches, row.switches) << row.offset;
        EXPECT_EQ(texts, row.texts) << row.offset;
    }
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
    // Names may hold "_" and "." although the item ends before them; the
    // hyphen alone is a switch with the empty name.
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 6).matchesSwitch("a_b"));
    EXPECT_TRUE(cursorAt("prog [-a_b] [-v.2]", 13).matchesSwitch("v.2"));
    const KivClUsageCursor hyphen = cursorAt("prog [-] x", 6);
    EXPECT_TRUE(hyphen.matchesSwitch("-") && hyphen.matchesSwitch("") && hyphen.matches("-"));
}

TEST(UsageCursor, DepthsTagsAndValueTakingSwitches) {
    const struct { const char* usage; const char* items; } cases[] = {
        // Switch, placeholder and ellipsis in one group: a list; not outside.
        {"prog (-list <item> ...)", "-list 1 0 v..., <item> 1 0 v..., . 1 0"},
        {"prog (-list <item>) ...", "-list 1 0 v, <item> 1 0, . 0 0"},
        // Of two switches in one group only the second takes the value.
        {"prog (-a -b <x> ...)", "-a 1 0, -b 1 0 v..., <x> 1 0 v..., . 1 0"},
        // No value across a group's end, outside groups, at an end, nested.
        {"prog (-a) <x>", "-a 1 0, <x> 0 0"},
        {"prog -b <y>", "-b 0 0, <y> 0 0"},
        {"prog (<x> -a)", "<x> 1 0, -a 1 0"},
        {"prog (-a", "-a 1 0"},
        {"prog (-a (<x> ...))", "-a 1 0, <x> 2 0 v..., . 2 0"},
        // A word is a value, also after a closed placeholder; so are the
        // dots; a switch before the dots ends the list.
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
    const KivClUsageCursor ellipsis = cursorAt("prog (-list <item> ...)", 21);
    EXPECT_TRUE(ellipsis.isArgEllipsis() && ellipsis.getPosition()[1] == ')');
    EXPECT_FALSE(cursorAt("prog (-list <item> ...)", 12).isArgEllipsis());
    // Depths accumulate over the life of a cursor, even across setToFirst.
    KivClUsageCursor cursor("prog ([-a]");
    ASSERT_TRUE(cursor.setToFirst() && cursor.setToFirst());
    EXPECT_EQ(std::make_pair(cursor.getGroupDepth(), cursor.getOptionalDepth()), std::make_pair(2L, 2L));
    // A null string is the empty one; a new cursor stands on the start, on no
    // item, with a clear state.
    KivClUsageCursor nullUsage(nullptr);
    EXPECT_FALSE(nullUsage.isValid() || nullUsage.setToFirst() || nullUsage.setToNext() || nullUsage.matches("-a"));
    const KivClUsageCursor fresh("(-a");
    EXPECT_TRUE(fresh.isValid());
    EXPECT_FALSE(fresh.getGroupDepth() || fresh.getOptionalDepth() || fresh.isTagged() || fresh.isInPlaceholder());
}
