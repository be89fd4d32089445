// Argument cursors: moving over a command line and classifying its entries
// against a usage string.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_argv.hpp"

namespace {

const char TRACE_USAGE[] =
    "(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n[-display]\n"
    "[(-format <string>)] [(-findent <string>)]\n[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
    "[(-fdetail <detail>)] [(-fcompids <compids>)]\n[(-fpid <pid>)] [(-ftid <tid>)]\n[-verbose]";

// An argc/argv pair as main receives it: entry 0 is the program, the array
// ends with a null pointer.
class CommandLine {
public:
    CommandLine(std::initializer_list<std::string> arguments) : CommandLine(std::vector<std::string>(arguments)) {}
    explicit CommandLine(const std::vector<std::string>& arguments) : texts_(arguments) {
        texts_.insert(texts_.begin(), "/usr/bin/prog");
        for (const std::string& text : texts_) pointers_.push_back(text.c_str());
        pointers_.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(texts_.size()); }
    const char** argv() { return pointers_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<const char*> pointers_;
};

std::vector<std::string> visitForward(KivClArgvCursor& cursor) {
    std::vector<std::string> seen;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) seen.push_back(cursor.getAsCString());
    return seen;
}

std::vector<std::string> visitBackward(KivClArgvCursor& cursor) {
    std::vector<std::string> seen;
    for (bool valid = cursor.setToLast(); valid; valid = cursor.setToPrevious()) seen.push_back(cursor.getAsCString());
    return seen;
}

}  // namespace

TEST(ArgvCursor, TraceControllerCommandLineIsClassified) {
    CommandLine line{"-key", "ABC", "-fpid", "7", "extra"};
    KivClArgvCheckCursor cursor(line.argc(), line.argv(), TRACE_USAGE);
    struct Expected {
        const char* entry;
        bool isSwitch, legal, bound, reqArg, hasArg, free;
    };
    const Expected expected[] = {
        {"-key", true, true, false, true, true, false},    {"ABC", false, true, true, false, false, false},
        {"-fpid", true, true, false, true, true, false},   {"7", false, true, true, false, false, false},
        {"extra", false, false, false, false, false, true},
    };
    int index = 0;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext(), ++index) {
        ASSERT_LT(index, 5);
        const Expected& want = expected[index];
        SCOPED_TRACE(want.entry);
        EXPECT_STREQ(cursor.getAsCString(), want.entry);
        EXPECT_EQ(cursor.getIndex(), index + 1);
        EXPECT_EQ(cursor.isSwitch(), want.isSwitch);
        EXPECT_EQ(cursor.isLegal(), want.legal);
        EXPECT_EQ(cursor.isBound(), want.bound);
        EXPECT_EQ(cursor.reqArg(), want.reqArg);
        EXPECT_EQ(cursor.hasArg(), want.hasArg);
        EXPECT_EQ(cursor.isFree(), want.free);
        EXPECT_FALSE(cursor.isTagged());
    }
    EXPECT_EQ(index, 5);

    // Every switch of that usage is legal; a switch not in it, a capitalised
    // or abbreviated one, is not. Switches without a group take no value.
    CommandLine switches{"-display", "-verbose", "-fhex", "-KEY", "-ke", "-keys", "-init", "-"};
    KivClArgvCheckCursor check(switches.argc(), switches.argv(), TRACE_USAGE);
    const bool legal[] = {true, true, true, false, false, false, false, false};
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(i == 0 ? check.setToFirst() : check.setToNext());
        SCOPED_TRACE(check.getAsCString());
        EXPECT_EQ(check.isLegal(), legal[i]);
        EXPECT_FALSE(check.reqArg());
        EXPECT_FALSE(check.isBound());
    }
    EXPECT_STREQ(check.getUsage(), TRACE_USAGE);
}

TEST(ArgvCursor, EmptyCommandLines) {
    CommandLine none{};
    KivClArgvCursor cursor(none.argc(), none.argv());
    EXPECT_FALSE(cursor.isValid());
    EXPECT_FALSE(cursor.setToFirst());
    EXPECT_FALSE(cursor.setToLast());
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_FALSE(cursor.positionTo("a"));
    EXPECT_STREQ(cursor.getArgv0(), "/usr/bin/prog");
    EXPECT_EQ(cursor.getAsCString(), nullptr);
    EXPECT_FALSE(cursor.isSwitch());
    EXPECT_FALSE(cursor.matches("a"));

    KivClArgvFreeCursor free(none.argc(), none.argv(), "prog <file> ...");
    EXPECT_FALSE(free.setToFirst());
    EXPECT_FALSE(free.isValid());
    EXPECT_FALSE(free.setToLast());
    EXPECT_FALSE(free.isFree());
    EXPECT_FALSE(free.isLegal());
    EXPECT_FALSE(free.isTagged());
    EXPECT_FALSE(free.hasArg());

    // No array at all, or a negative count: an empty command line.
    KivClArgvCheckCursor nothing(3, nullptr, nullptr);
    EXPECT_EQ(nothing.getArgCount(), 0);
    EXPECT_FALSE(nothing.setToFirst());
    EXPECT_FALSE(nothing.setToLast());
    EXPECT_EQ(nothing.getArgv0(), nullptr);
    EXPECT_FALSE(nothing.isLegal());
    KivClArgvCursor negative(-4, none.argv());
    EXPECT_FALSE(negative.setToFirst());
    EXPECT_FALSE(negative.setToLast());
    EXPECT_FALSE(negative.setToPrevious());

    // The empty usage string admits nothing; a null one counts as empty.
    CommandLine some{"-a", "b"};
    for (const char* usage : {"", static_cast<const char*>(nullptr)}) {
        KivClArgvCheckCursor check(some.argc(), some.argv(), usage);
        ASSERT_TRUE(check.setToFirst());
        EXPECT_FALSE(check.isLegal());
        EXPECT_FALSE(check.reqArg());
        EXPECT_TRUE(check.hasArg());
        ASSERT_TRUE(check.setToNext());
        EXPECT_FALSE(check.isLegal());
        EXPECT_TRUE(check.isFree());
    }
}

TEST(ArgvCursor, MovingStaysWithinOneStepOfTheEnds) {
    CommandLine line{"a", "b", "c"};
    KivClArgvCursor cursor(line.argc(), line.argv());
    EXPECT_EQ(cursor.getIndex(), 1);  // stands on entry 1 from the start
    EXPECT_TRUE(cursor.isValid());
    EXPECT_EQ(visitForward(cursor), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(visitBackward(cursor), (std::vector<std::string>{"c", "b", "a"}));
    // Off the end and back in.
    ASSERT_TRUE(cursor.setToLast());
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_EQ(cursor.getIndex(), 4);
    EXPECT_TRUE(cursor.setToPrevious());
    EXPECT_STREQ(cursor.getAsCString(), "c");
    // Entry 0 is never visited.
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_EQ(cursor.getIndex(), 0);
    EXPECT_EQ(cursor.getAsCString(), nullptr);
    EXPECT_TRUE(cursor.setToNext());
    EXPECT_STREQ(cursor.getAsCString(), "a");

    // Copies and assignments are independent values.
    KivClArgvCursor copy(cursor);
    ASSERT_TRUE(copy.setToNext());
    EXPECT_STREQ(copy.getAsCString(), "b");
    EXPECT_STREQ(cursor.getAsCString(), "a");
    cursor = copy;
    EXPECT_STREQ(cursor.getAsCString(), "b");

    // The moves are virtual: through the base they reach the cursor.
    KivClBiDirCursorABase& base = cursor;
    EXPECT_TRUE(base.setToFirst());
    EXPECT_STREQ(cursor.getAsCString(), "a");
}

TEST(ArgvCursor, SwitchNamesArePositionedExactly) {
    CommandLine line{"file", "-key", "K", "-KEY", "-ke", "-key", "--x", "-", "-5"};
    KivClArgvCursor cursor(line.argc(), line.argv());
    ASSERT_TRUE(cursor.positionTo("key"));
    EXPECT_EQ(cursor.getIndex(), 2);
    ASSERT_TRUE(cursor.positionTo("-key"));
    EXPECT_EQ(cursor.getIndex(), 2);  // only the first occurrence is found
    ASSERT_TRUE(cursor.positionTo("KEY"));
    EXPECT_EQ(cursor.getIndex(), 4);
    ASSERT_TRUE(cursor.positionTo("ke"));
    EXPECT_EQ(cursor.getIndex(), 5);
    // A name that is only a prefix of an entry, or a value, is not found.
    EXPECT_FALSE(cursor.positionTo("k"));
    EXPECT_FALSE(cursor.isValid());
    EXPECT_FALSE(cursor.positionTo("file"));
    EXPECT_FALSE(cursor.positionTo("K"));
    EXPECT_FALSE(cursor.positionTo("5"));
    EXPECT_FALSE(cursor.positionTo(nullptr));
    // A double hyphen names a switch whose name begins with "-".
    ASSERT_TRUE(cursor.positionTo("--x"));
    EXPECT_EQ(cursor.getIndex(), 7);
    EXPECT_FALSE(cursor.matches("x"));
    EXPECT_FALSE(cursor.matches("-x"));  // read as the name x
    // The hyphen alone is the switch with the empty name.
    ASSERT_TRUE(cursor.positionTo("-"));
    EXPECT_EQ(cursor.getIndex(), 8);
    EXPECT_TRUE(cursor.matches(""));
    EXPECT_TRUE(cursor.isSwitch());
    // "-5" is a value.
    ASSERT_TRUE(cursor.setToLast());
    EXPECT_FALSE(cursor.isSwitch());
    EXPECT_FALSE(cursor.matches("5"));
    EXPECT_FALSE(cursor.matches("-5"));
}

TEST(ArgvCursor, ValuesNegativeNumbersAndFreeEntries) {
    const char* usage = "prog (-n <number>) [-v] [(-list <item> ...)] <file>";
    CommandLine line{"-n", "-5", "-v", "one", "two", "-list", "x", "y", "-n"};
    KivClArgvCheckCursor cursor(line.argc(), line.argv(), usage);
    ASSERT_TRUE(cursor.positionTo("n"));
    EXPECT_TRUE(cursor.reqArg());
    EXPECT_TRUE(cursor.hasArg());
    ASSERT_TRUE(cursor.setToNext());  // -5: the value, not a switch
    EXPECT_FALSE(cursor.isSwitch());
    EXPECT_TRUE(cursor.isBound());
    EXPECT_TRUE(cursor.isLegal());
    EXPECT_FALSE(cursor.isFree());
    ASSERT_TRUE(cursor.setToNext());  // -v, followed by a free entry
    EXPECT_FALSE(cursor.reqArg());
    EXPECT_TRUE(cursor.hasArg());
    ASSERT_TRUE(cursor.setToNext());  // one: after a switch that takes nothing
    EXPECT_FALSE(cursor.isBound());
    EXPECT_TRUE(cursor.isFree());
    EXPECT_TRUE(cursor.isLegal());  // <file> outside every group admits it
    ASSERT_TRUE(cursor.setToNext());  // two
    EXPECT_TRUE(cursor.isFree());
    ASSERT_TRUE(cursor.setToNext());  // -list takes a value
    EXPECT_TRUE(cursor.reqArg());
    ASSERT_TRUE(cursor.setToNext());  // x: its value
    EXPECT_TRUE(cursor.isBound());
    ASSERT_TRUE(cursor.setToNext());  // y: only the entry right after counts
    EXPECT_FALSE(cursor.isBound());
    EXPECT_TRUE(cursor.isFree());
    ASSERT_TRUE(cursor.setToNext());  // -n as the last entry has no value
    EXPECT_TRUE(cursor.reqArg());
    EXPECT_FALSE(cursor.hasArg());
    EXPECT_FALSE(cursor.setToNext());

    // A switch followed by a switch has no value; the first entry is never
    // bound.
    CommandLine pair{"x", "-n", "-v"};
    KivClArgvCheckCursor second(pair.argc(), pair.argv(), usage);
    ASSERT_TRUE(second.setToFirst());
    EXPECT_FALSE(second.isBound());
    EXPECT_TRUE(second.isFree());
    ASSERT_TRUE(second.setToNext());
    EXPECT_FALSE(second.hasArg());
    EXPECT_TRUE(second.isLegal());

    // Free entries are illegal when every placeholder lies inside a group,
    // and legal when a word outside the groups admits them.
    CommandLine loose{"stray"};
    KivClArgvCheckCursor grouped(loose.argc(), loose.argv(), "prog (-n <number>) [-v]");
    ASSERT_TRUE(grouped.setToFirst());
    EXPECT_FALSE(grouped.isLegal());
    KivClArgvCheckCursor worded(loose.argc(), loose.argv(), "prog [-v] files");
    ASSERT_TRUE(worded.setToFirst());
    EXPECT_TRUE(worded.isLegal());
    KivClArgvCheckCursor dotted(loose.argc(), loose.argv(), "prog [-v] ...");
    ASSERT_TRUE(dotted.setToFirst());
    EXPECT_TRUE(dotted.isLegal());
}

TEST(ArgvCursor, JoinedNamesTagsAndOverlongEntries) {
    const char* usage = "prog [-a-b] (-lvl <n>)\n! [-debug] (-trace <level>) word \n[-c]";
    CommandLine line{"-a-b", "-a", "-b", "-a-", "-debug", "-trace", "3", "-c", "word", "level"};
    KivClArgvCheckCursor cursor(line.argc(), line.argv(), usage);
    struct Expected {
        bool legal, tagged;
    };
    const Expected expected[] = {{true, false}, {true, false}, {true, false}, {false, false}, {true, true},
                                 {true, true},  {true, false}, {true, false}, {true, true},   {true, false}};
    int index = 0;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext(), ++index) {
        SCOPED_TRACE(cursor.getAsCString());
        ASSERT_LT(index, 10);
        EXPECT_EQ(cursor.isLegal(), expected[index].legal);
        EXPECT_EQ(cursor.isTagged(), expected[index].tagged);
    }
    EXPECT_EQ(index, 10);

    // Over-long entries are compared in full, never cut.
    const std::string longName(100000, 'x');
    const std::string longSwitch = "-" + longName;
    const std::string usageWithLong = "prog [-" + longName + "] (-v <value>)";
    CommandLine longLine{longSwitch, "-" + longName + "y", "-v", longName};
    KivClArgvCheckCursor longCursor(longLine.argc(), longLine.argv(), usageWithLong.c_str());
    ASSERT_TRUE(longCursor.setToFirst());
    EXPECT_TRUE(longCursor.matches(longName.c_str()));
    EXPECT_TRUE(longCursor.matches(longSwitch.c_str()));
    EXPECT_TRUE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToNext());
    EXPECT_FALSE(longCursor.matches(longName.c_str()));
    EXPECT_FALSE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToNext());
    ASSERT_TRUE(longCursor.setToNext());
    EXPECT_TRUE(longCursor.isBound());
    EXPECT_TRUE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.positionTo(longName.c_str()));
    EXPECT_EQ(longCursor.getIndex(), 1);
}

TEST(ArgvCursor, FreeCursorVisitsOnlyFreeEntries) {
    const char* usage = "prog (-key <key>) [-v] <file> ...";
    CommandLine onlySwitches{"-key", "K", "-v", "-key", "L"};
    KivClArgvFreeCursor none(onlySwitches.argc(), onlySwitches.argv(), usage);
    EXPECT_FALSE(none.setToFirst());
    EXPECT_FALSE(none.setToLast());
    EXPECT_TRUE(visitForward(none).empty());

    CommandLine mixed{"a", "-key", "K", "b", "-v", "c", "-key"};
    KivClArgvFreeCursor cursor(mixed.argc(), mixed.argv(), usage);
    EXPECT_EQ(visitForward(cursor), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(visitBackward(cursor), (std::vector<std::string>{"c", "b", "a"}));
    // Through the base classes the free moves are used.
    KivClArgvCursor& asArgv = cursor;
    EXPECT_EQ(visitBackward(asArgv), (std::vector<std::string>{"c", "b", "a"}));
    KivClUniDirCursorABase& forward = cursor;
    ASSERT_TRUE(forward.setToFirst());
    ASSERT_TRUE(forward.setToNext());
    EXPECT_STREQ(cursor.getAsCString(), "b");
    // A copy keeps the usage and the position.
    KivClArgvFreeCursor copy(cursor);
    ASSERT_TRUE(copy.setToNext());
    EXPECT_STREQ(copy.getAsCString(), "c");
    EXPECT_STREQ(cursor.getAsCString(), "b");
    EXPECT_FALSE(copy.setToNext());
    EXPECT_TRUE(copy.setToPrevious());
    EXPECT_STREQ(copy.getAsCString(), "c");
}

TEST(ArgvCursor, RandomCommandLinesAgreeWithTheChecks) {
    const std::vector<std::string> usages = {TRACE_USAGE, "prog (-a <x>) [-b] <file> ...", "prog [(-a -b <y>)]", ""};
    const std::vector<std::string> pool = {"-a", "-b", "-key", "x", "-5", "-", "--", "", "K", "-fpid", "7"};
    std::mt19937 rng(4711);
    std::uniform_int_distribution<size_t> lengthPick(0, 8);
    std::uniform_int_distribution<size_t> entryPick(0, pool.size() - 1);
    for (int round = 0; round < 400; ++round) {
        std::vector<std::string> entries(lengthPick(rng));
        for (std::string& entry : entries) entry = pool[entryPick(rng)];
        CommandLine line(entries);
        for (const std::string& usage : usages) {
            KivClArgvCheckCursor check(line.argc(), line.argv(), usage.c_str());
            std::vector<std::string> free;
            for (bool valid = check.setToFirst(); valid; valid = check.setToNext()) {
                if (check.isFree()) free.push_back(check.getAsCString());
                // Free and bound exclude each other, switches are neither.
                EXPECT_FALSE(check.isFree() && check.isBound());
                EXPECT_FALSE(check.isSwitch() && (check.isFree() || check.isBound()));
                EXPECT_TRUE(!check.isBound() || check.isLegal());
                EXPECT_TRUE(!check.reqArg() || check.isLegal());
            }
            KivClArgvFreeCursor cursor(line.argc(), line.argv(), usage.c_str());
            EXPECT_EQ(visitForward(cursor), free);
            std::vector<std::string> reversed(free.rbegin(), free.rend());
            EXPECT_EQ(visitBackward(cursor), reversed);
        }
    }
}
