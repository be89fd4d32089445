// Argument cursors: moving over a command line and classifying its entries
// against a usage string.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "consoleui_tool.hpp"
#include "kiv_argv.hpp"
#include "kiv_msgtable.hpp"

namespace {

using Entries = std::vector<std::string>;

const char* const TRACE_USAGE = kivLibraryMessageTable[151];

// An argc/argv pair as main receives it: entry 0 is the program, the array
// ends with a null pointer.
struct CommandLine : conuitest::Argv {
    CommandLine(std::initializer_list<std::string> arguments) : Argv(arguments, "/usr/bin/prog") {}
};

// The entries a cursor visits, forwards or backwards.
Entries visit(KivClArgvCursor& cursor, bool forwards) {
    Entries seen;
    for (bool valid = forwards ? cursor.setToFirst() : cursor.setToLast(); valid;
         valid = forwards ? cursor.setToNext() : cursor.setToPrevious()) {
        seen.push_back(cursor.getAsCString());
    }
    return seen;
}

// Every entry as the check cursor sees it: the entry, then in brackets s
// (switch), L (legal), b (bound), r (requires a value), h (has a value), f
// (free), t (tagged), for example "-key[sLrh] ABC[Lb] extra[f]".
std::string verdicts(CommandLine& line, const char* usage) {
    KivClArgvCheckCursor c(line.argc(), line.argv(), usage);
    std::string seen;
    for (bool valid = c.setToFirst(); valid; valid = c.setToNext()) {
        seen += std::string(seen.empty() ? "" : " ") + c.getAsCString() + "[" + (c.isSwitch() ? "s" : "") +
                (c.isLegal() ? "L" : "") + (c.isBound() ? "b" : "") + (c.reqArg() ? "r" : "") + (c.hasArg() ? "h" : "") +
                (c.isFree() ? "f" : "") + (c.isTagged() ? "t" : "") + "]";
    }
    return seen;
}

}  // namespace

TEST(ArgvCursor, TraceControllerCommandLineIsClassified) {
    CommandLine line{"-key", "ABC", "-fpid", "7", "extra"};
    EXPECT_EQ(verdicts(line, TRACE_USAGE), "-key[sLrh] ABC[Lb] -fpid[sLrh] 7[Lb] extra[f]");
    // Switches without a group take nothing; capitalised, abbreviated,
    // lengthened or unknown switches are illegal.
    CommandLine switches{"-display", "-fhex", "-KEY", "-ke", "-keys", "-init", "-"};
    EXPECT_EQ(verdicts(switches, TRACE_USAGE), "-display[sL] -fhex[sL] -KEY[s] -ke[s] -keys[s] -init[s] -[s]");
}

TEST(ArgvCursor, EmptyCommandLinesAndUsages) {
    CommandLine none{};
    KivClArgvFreeCursor cursor(none.argc(), none.argv(), "prog <file> ...");
    EXPECT_FALSE(cursor.isValid() || cursor.setToFirst() || cursor.setToLast() || cursor.positionTo("a"));
    EXPECT_STREQ(cursor.getArgv0(), "/usr/bin/prog");
    EXPECT_EQ(cursor.getAsCString(), nullptr);
    // No question at an invalid position is answered with yes.
    EXPECT_FALSE(cursor.isSwitch() || cursor.isFree() || cursor.isLegal() || cursor.hasArg());

    // No array at all, or a negative count: an empty command line.
    KivClArgvCheckCursor nothing(3, nullptr, nullptr);
    EXPECT_EQ(nothing.getArgCount(), 0);
    EXPECT_FALSE(nothing.setToFirst());
    EXPECT_EQ(nothing.getArgv0(), nullptr);
    KivClArgvCursor negative(-4, none.argv());
    EXPECT_FALSE(negative.setToLast());

    // The empty usage string admits nothing; a null one counts as empty.
    CommandLine some{"-a", "b"};
    for (const char* usage : {"", static_cast<const char*>(nullptr)}) EXPECT_EQ(verdicts(some, usage), "-a[sh] b[f]");
    EXPECT_STREQ(KivClArgvCheckCursor(some.argc(), some.argv(), nullptr).getUsage(), "");
}

TEST(ArgvCursor, MovingStepsByOneBeyondEitherEnd) {
    CommandLine line{"a", "b", "c"};
    KivClArgvCursor cursor(line.argc(), line.argv());
    EXPECT_EQ(cursor.getIndex(), 1);
    EXPECT_STREQ(cursor.getAsCString(), "a");
    EXPECT_EQ(visit(cursor, true), (Entries{"a", "b", "c"}));
    EXPECT_EQ(visit(cursor, false), (Entries{"c", "b", "a"}));
    // Two steps off the end need two steps back in.
    ASSERT_TRUE(cursor.setToLast());
    EXPECT_FALSE(cursor.setToNext() || cursor.setToNext());
    EXPECT_EQ(cursor.getIndex(), 5);
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_TRUE(cursor.setToPrevious());
    EXPECT_STREQ(cursor.getAsCString(), "c");
    // Entry 0 is never visited.
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_FALSE(cursor.setToPrevious() || cursor.setToPrevious());
    EXPECT_EQ(cursor.getIndex(), -1);
    EXPECT_EQ(cursor.getAsCString(), nullptr);
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_TRUE(cursor.setToNext());
    EXPECT_STREQ(cursor.getAsCString(), "a");
}

TEST(ArgvCursor, SwitchNamesArePositionedExactly) {
    CommandLine line{"file", "-key", "K", "-KEY", "-ke", "-key", "--x", "-", "-5"};
    KivClArgvCursor cursor(line.argc(), line.argv());
    // The first occurrence, by its exact name with or without "-".
    const struct { const char* name; int index; } found[] = {
        {"key", 2}, {"-key", 2}, {"KEY", 4}, {"ke", 5}, {"--x", 7}, {"-", 8}, {"", 8}};
    for (const auto& f : found) {
        ASSERT_TRUE(cursor.positionTo(f.name)) << f.name;
        EXPECT_EQ(cursor.getIndex(), f.index) << f.name;
    }
    // Prefixes, values and a switch read as another name are not found.
    const char* const missing[] = {"k", "file", "K", "5", "-5", "x", "-x", "keyy", nullptr};
    for (const char* name : missing) {
        EXPECT_FALSE(cursor.positionTo(name)) << (name ? name : "null");
        EXPECT_FALSE(cursor.isValid());
    }
}

TEST(ArgvCursor, ValuesNegativeNumbersAndFreeEntries) {
    const char* usage = "prog (-n <number>) [-v] [(-list <item> ...)] <file>";
    CommandLine line{"-n", "-5", "-v", "one", "-list", "x", "y", "-n"};
    EXPECT_EQ(verdicts(line, usage), "-n[sLrh] -5[Lb] -v[sLh] one[Lf] -list[sLrh] x[Lb] y[Lf] -n[sLr]");
    // A switch followed by a switch has no value; the first entry is never
    // bound.
    CommandLine pair{"x", "-n", "-v"};
    EXPECT_EQ(verdicts(pair, usage), "x[Lf] -n[sLr] -v[sL]");

    // A word after a closed placeholder is a value too; of a switch
    // declared twice, the first declaration counts.
    CommandLine level{"-level", "high", "-o", "f"};
    EXPECT_EQ(verdicts(level, "prog (-o <file>) (-level high) [-o] [-level]"), "-level[sLrh] high[Lb] -o[sLrh] f[Lb]");
    EXPECT_EQ(verdicts(level, "prog [-level] (-level high) <x> ..."), "-level[sLh] high[Lf] -o[sh] f[Lf]");

    // Free entries need a non-switch item outside every group.
    CommandLine loose{"stray"};
    EXPECT_EQ(verdicts(loose, "prog (-n <number>) [-v]"), "stray[f]");
    EXPECT_EQ(verdicts(loose, "prog [-v] files"), "stray[Lf]");
    EXPECT_EQ(verdicts(loose, "prog [-v] ..."), "stray[Lf]");
}

TEST(ArgvCursor, JoinedNamesTagsAndOverlongEntries) {
    const char* usage = "prog [-a-b] (-lvl <n>)\n! [-debug] (-trace <level>) word \n[-c]";
    CommandLine line{"-a-b", "-a", "-b", "-a-", "-debug", "-trace", "3", "-c", "word", "level", ""};
    EXPECT_EQ(verdicts(line, usage),
              "-a-b[sL] -a[sL] -b[sL] -a-[s] -debug[sLt] -trace[sLrht] 3[Lb] -c[sLh] word[Lft] level[Lf] [Lf]");

    // Over-long entries are compared in full, never cut.
    const std::string longName(100000, 'x');
    const std::string longUsage = "prog [-" + longName + "] (-v <value>)";
    CommandLine longLine{"-" + longName, "-" + longName + "y", "-v", longName};
    KivClArgvCheckCursor longCursor(longLine.argc(), longLine.argv(), longUsage.c_str());
    ASSERT_TRUE(longCursor.positionTo(longName.c_str()));
    EXPECT_EQ(longCursor.getIndex(), 1);
    EXPECT_TRUE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToNext());
    EXPECT_FALSE(longCursor.matches(longName.c_str()) || longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToLast());
    EXPECT_TRUE(longCursor.isBound() && longCursor.isLegal());
}

TEST(ArgvCursor, FreeCursorVisitsOnlyFreeEntries) {
    const char* usage = "prog (-key <key>) [-v] <file> ...";
    CommandLine onlySwitches{"-key", "K", "-v", "-key", "L"};
    KivClArgvFreeCursor none(onlySwitches.argc(), onlySwitches.argv(), usage);
    EXPECT_FALSE(none.isValid());  // a new cursor is invalid without free entries
    EXPECT_FALSE(none.setToFirst() || none.setToLast());

    // visit moves the cursor through a base-class reference, so these also
    // show that the free moves override the base ones.
    CommandLine mixed{"a", "-key", "K", "b", "-v", "c", "-key"};
    CommandLine switchFirst{"-v", "-key", "K", "a"};
    KivClArgvFreeCursor fresh(switchFirst.argc(), switchFirst.argv(), usage);
    EXPECT_STREQ(fresh.getAsCString(), "a");  // a new cursor stands on the first free entry
    // positionTo finds switches as the check cursor does.
    EXPECT_TRUE(fresh.positionTo("key"));
    EXPECT_EQ(fresh.getIndex(), 2);
    EXPECT_TRUE(fresh.positionTo("-v"));
    EXPECT_EQ(fresh.getIndex(), 1);
    KivClArgvFreeCursor cursor(mixed.argc(), mixed.argv(), usage);
    EXPECT_EQ(visit(cursor, true), (Entries{"a", "b", "c"}));
    EXPECT_EQ(visit(cursor, false), (Entries{"c", "b", "a"}));
}
