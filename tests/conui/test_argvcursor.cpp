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

using CommandLine = conuitest::Argv;  // entry 0 is the program

// The entry the cursor stands on after each step ("-" where it is invalid):
// "=" stays, "F" first, "L" last, "N" next, "P" previous. The moves are
// called through the base class, so a free cursor's own moves must override.
std::string moves(KivClArgvCursor& cursor, const std::string& steps) {
    std::string seen;
    for (char step : steps) {
        if (step == 'F') cursor.setToFirst();
        if (step == 'L') cursor.setToLast();
        if (step == 'N') cursor.setToNext();
        if (step == 'P') cursor.setToPrevious();
        seen += std::string(seen.empty() ? "" : " ") + (cursor.isValid() ? cursor.getAsCString() : "-");
    }
    return seen;
}

// Every entry as the check cursor sees it: the entry, then in brackets s
// (switch), L (legal), b (bound), r (requires a value), h (has a value), f
// (free), t (tagged), for example "-key[sLrh] ABC[Lb] extra[f]".
std::string verdicts(const Entries& arguments, const char* usage) {
    CommandLine line(arguments);
    KivClArgvCheckCursor c(line.argc(), line.argv(), usage);
    std::string seen;
    for (bool valid = c.setToFirst(); valid; valid = c.setToNext()) {
        seen += std::string(seen.empty() ? "" : " ") + c.getAsCString() + "[" + (c.isSwitch() ? "s" : "") +
                (c.isLegal() ? "L" : "") + (c.isBound() ? "b" : "") + (c.reqArg() ? "r" : "") +
                (c.hasArg() ? "h" : "") + (c.isFree() ? "f" : "") + (c.isTagged() ? "t" : "") + "]";
    }
    return seen;
}

}  // namespace

TEST(ArgvCursor, EntriesAreClassifiedAgainstTheUsage) {
    const char* values = "prog (-n <number>) [-v] [(-list <item> ...)] <file>";
    const char* joined = "prog [-a-b] (-lvl <n>)\n! [-debug] (-trace <level>) word \n[-c]";
    const struct { const char* usage; Entries line; const char* verdicts; } rows[] = {
        {TRACE_USAGE, {"-key", "ABC", "-fpid", "7", "extra"}, "-key[sLrh] ABC[Lb] -fpid[sLrh] 7[Lb] extra[f]"},
        // Switches outside groups take nothing; inexact names are illegal.
        {TRACE_USAGE, {"-display", "-fhex", "-KEY", "-ke", "-keys", "-init", "-"},
         "-display[sL] -fhex[sL] -KEY[s] -ke[s] -keys[s] -init[s] -[s]"},
        // Negative numbers are values; a switch is none; entry 1 is never bound.
        {values, {"-n", "-5", "-v", "one", "-list", "x", "y", "-n"},
         "-n[sLrh] -5[Lb] -v[sLh] one[Lf] -list[sLrh] x[Lb] y[Lf] -n[sLr]"},
        {values, {"x", "-n", "-v"}, "x[Lf] -n[sLr] -v[sL]"},
        // A word after a closed placeholder is a value too; of a switch
        // declared twice, the first declaration counts.
        {"prog (-o <file>) (-level high) [-o] [-level]", {"-level", "high", "-o", "f"},
         "-level[sLrh] high[Lb] -o[sLrh] f[Lb]"},
        {"prog [-level] (-level high) <x> ...", {"-level", "high", "-o", "f"}, "-level[sLh] high[Lf] -o[sh] f[Lf]"},
        // Free entries need a non-switch item outside every group; the empty
        // usage admits nothing, and a null one is empty.
        {"prog (-n <number>) [-v]", {"stray"}, "stray[f]"}, {"prog [-v] files", {"stray"}, "stray[Lf]"},
        {"prog [-v] ...", {"stray"}, "stray[Lf]"}, {"", {"-a", "b"}, "-a[sh] b[f]"},
        {nullptr, {"-a", "b"}, "-a[sh] b[f]"},
        {joined, {"-a-b", "-a", "-b", "-a-", "-debug", "-trace", "3", "-c", "word", "level", ""},
         "-a-b[sL] -a[sL] -b[sL] -a-[s] -debug[sLt] -trace[sLrht] 3[Lb] -c[sLh] word[Lft] level[Lf] [Lf]"},
    };
    for (const auto& row : rows) EXPECT_EQ(verdicts(row.line, row.usage), row.verdicts) << row.usage;
}

TEST(ArgvCursor, EmptyCommandLinesAndMoves) {
    CommandLine none({});
    KivClArgvFreeCursor cursor(none.argc(), none.argv(), "prog <file> ...");
    EXPECT_EQ(moves(cursor, "=FL"), "- - -");
    EXPECT_STREQ(cursor.getArgv0(), conuitest::PROGRAM);
    EXPECT_TRUE(!cursor.positionTo("a") && cursor.getAsCString() == nullptr);
    EXPECT_FALSE(cursor.isSwitch() || cursor.isFree() || cursor.isLegal() || cursor.hasArg());  // invalid entry
    // No array at all, or a negative count: an empty command line.
    KivClArgvCheckCursor nothing(3, nullptr, nullptr);
    EXPECT_TRUE(nothing.getArgCount() == 0 && nothing.getArgv0() == nullptr);
    KivClArgvCursor negative(-4, none.argv());
    EXPECT_EQ(moves(nothing, "F"), "-");
    EXPECT_EQ(moves(negative, "L"), "-");
    EXPECT_STREQ(KivClArgvCheckCursor(none.argc(), none.argv(), nullptr).getUsage(), "");
    // Steps go one beyond either end, and need as many steps back; entry 0
    // is never visited.
    CommandLine line({"a", "b", "c"});
    KivClArgvCursor abc(line.argc(), line.argv());
    EXPECT_EQ(abc.getIndex(), 1);
    EXPECT_EQ(moves(abc, "=NNNLPPPLNNPPFPPNN"), "a b c - c b a - c - - - c a - - - a");
}

TEST(ArgvCursor, SwitchNamesArePositionedExactly) {
    CommandLine line({"file", "-key", "K", "-KEY", "-ke", "-key", "--x", "-", "-5"});
    KivClArgvCursor cursor(line.argc(), line.argv());
    // The first occurrence, by its exact name with or without "-".
    const struct { const char* name; int index; } found[] = {
        {"key", 2}, {"-key", 2}, {"KEY", 4}, {"ke", 5}, {"--x", 7}, {"-", 8}, {"", 8}};
    for (const auto& f : found) {
        EXPECT_TRUE(cursor.positionTo(f.name) && cursor.getIndex() == f.index) << f.name;
    }
    // Prefixes, values and a switch read as another name are not found.
    for (const char* name : {"k", "file", "K", "5", "-5", "x", "-x", "keyy", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(cursor.positionTo(name) || cursor.isValid()) << (name ? name : "null");
    }
    // Over-long entries are compared in full, never cut.
    const std::string name(100000, 'x'), usage = "prog [-" + name + "] (-v <value>)";
    EXPECT_EQ(verdicts({"-" + name, "-" + name + "y", "-v", name}, usage.c_str()),
              "-" + name + "[sL] -" + name + "y[s] -v[sLrh] " + name + "[Lb]");
    CommandLine longLine({"-" + name + "y", "-" + name});
    KivClArgvCursor longCursor(longLine.argc(), longLine.argv());
    EXPECT_TRUE(longCursor.positionTo(name.c_str()) && longCursor.getIndex() == 2);
}

TEST(ArgvCursor, FreeCursorVisitsOnlyFreeEntries) {
    const char* usage = "prog (-key <key>) [-v] <file> ...";
    CommandLine onlySwitches({"-key", "K", "-v", "-key", "L"});
    KivClArgvFreeCursor none(onlySwitches.argc(), onlySwitches.argv(), usage);
    EXPECT_EQ(moves(none, "=FL"), "- - -");  // a new cursor is invalid without free entries
    // A new cursor stands on the first free entry; positionTo finds switches
    // as the check cursor does.
    CommandLine switchFirst({"-v", "-key", "K", "a"});
    KivClArgvFreeCursor fresh(switchFirst.argc(), switchFirst.argv(), usage);
    EXPECT_EQ(moves(fresh, "="), "a");
    EXPECT_TRUE(fresh.positionTo("key") && fresh.getIndex() == 2);
    EXPECT_TRUE(fresh.positionTo("-v") && fresh.getIndex() == 1);
    CommandLine mixed({"a", "-key", "K", "b", "-v", "c", "-key"});
    KivClArgvFreeCursor cursor(mixed.argc(), mixed.argv(), usage);
    EXPECT_EQ(moves(cursor, "FNNNLPPP"), "a b c - c b a -");
}
