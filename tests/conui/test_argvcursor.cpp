// Argument cursors: moving over a command line and classifying its entries
// against a usage string.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kiv_argv.hpp"
#include "kiv_msgtable.hpp"

namespace {

using Entries = std::vector<std::string>;

const char* const TRACE_USAGE = kivLibraryMessageTable[151];

// An argc/argv pair as main receives it: entry 0 is the program, the array
// ends with a null pointer.
class CommandLine {
public:
    CommandLine(std::initializer_list<std::string> arguments) : CommandLine(Entries(arguments)) {}
    explicit CommandLine(const Entries& arguments) : texts_(arguments) {
        texts_.insert(texts_.begin(), "/usr/bin/prog");
        for (const std::string& text : texts_) pointers_.push_back(text.c_str());
        pointers_.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(texts_.size()); }
    const char** argv() { return pointers_.data(); }

private:
    Entries texts_;
    std::vector<const char*> pointers_;
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

// What the check cursor says about one entry.
struct Verdict {
    const char* entry;
    bool isSwitch, legal, bound, reqArg, hasArg, free, tagged;
};

void expectVerdicts(CommandLine& line, const char* usage, const std::vector<Verdict>& expected) {
    KivClArgvCheckCursor cursor(line.argc(), line.argv(), usage);
    size_t index = 0;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext(), ++index) {
        ASSERT_LT(index, expected.size());
        const Verdict& want = expected[index];
        SCOPED_TRACE(std::string(usage) + " / entry " + std::to_string(index + 1));
        EXPECT_STREQ(cursor.getAsCString(), want.entry);
        EXPECT_EQ(cursor.isSwitch(), want.isSwitch);
        EXPECT_EQ(cursor.isLegal(), want.legal);
        EXPECT_EQ(cursor.isBound(), want.bound);
        EXPECT_EQ(cursor.reqArg(), want.reqArg);
        EXPECT_EQ(cursor.hasArg(), want.hasArg);
        EXPECT_EQ(cursor.isFree(), want.free);
        EXPECT_EQ(cursor.isTagged(), want.tagged);
    }
    EXPECT_EQ(index, expected.size());
}

}  // namespace

TEST(ArgvCursor, TraceControllerCommandLineIsClassified) {
    CommandLine line{"-key", "ABC", "-fpid", "7", "extra"};
    expectVerdicts(line, TRACE_USAGE,
                   {{"-key", true, true, false, true, true, false, false},
                    {"ABC", false, true, true, false, false, false, false},
                    {"-fpid", true, true, false, true, true, false, false},
                    {"7", false, true, true, false, false, false, false},
                    {"extra", false, false, false, false, false, true, false}});
    // Switches without a group take nothing; capitalised, abbreviated,
    // lengthened or unknown switches are illegal.
    CommandLine switches{"-display", "-fhex", "-KEY", "-ke", "-keys", "-init", "-"};
    KivClArgvCheckCursor check(switches.argc(), switches.argv(), TRACE_USAGE);
    for (bool valid = check.setToFirst(); valid; valid = check.setToNext()) {
        EXPECT_EQ(check.isLegal(), check.getIndex() <= 2) << check.getAsCString();
        EXPECT_FALSE(check.reqArg()) << check.getAsCString();
    }
}

TEST(ArgvCursor, EmptyCommandLinesAndUsages) {
    CommandLine none{};
    KivClArgvFreeCursor cursor(none.argc(), none.argv(), "prog <file> ...");
    EXPECT_FALSE(cursor.isValid());
    EXPECT_FALSE(cursor.setToFirst());
    EXPECT_FALSE(cursor.setToLast());
    EXPECT_FALSE(cursor.positionTo("a"));
    EXPECT_STREQ(cursor.getArgv0(), "/usr/bin/prog");
    EXPECT_EQ(cursor.getAsCString(), nullptr);
    // No question at an invalid position is answered with yes.
    EXPECT_FALSE(cursor.isSwitch());
    EXPECT_FALSE(cursor.isFree());
    EXPECT_FALSE(cursor.isLegal());
    EXPECT_FALSE(cursor.hasArg());

    // No array at all, or a negative count: an empty command line.
    KivClArgvCheckCursor nothing(3, nullptr, nullptr);
    EXPECT_EQ(nothing.getArgCount(), 0);
    EXPECT_FALSE(nothing.setToFirst());
    EXPECT_EQ(nothing.getArgv0(), nullptr);
    KivClArgvCursor negative(-4, none.argv());
    EXPECT_FALSE(negative.setToLast());

    // The empty usage string admits nothing; a null one counts as empty.
    CommandLine some{"-a", "b"};
    for (const char* usage : {"", static_cast<const char*>(nullptr)}) {
        KivClArgvCheckCursor check(some.argc(), some.argv(), usage);
        EXPECT_STREQ(check.getUsage(), "");
        ASSERT_TRUE(check.setToFirst());
        EXPECT_FALSE(check.isLegal());
        EXPECT_FALSE(check.reqArg());
        EXPECT_TRUE(check.hasArg());
        ASSERT_TRUE(check.setToNext());
        EXPECT_FALSE(check.isLegal());
        EXPECT_TRUE(check.isFree());
    }
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
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_EQ(cursor.getIndex(), 5);
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_TRUE(cursor.setToPrevious());
    EXPECT_STREQ(cursor.getAsCString(), "c");
    // Entry 0 is never visited.
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_FALSE(cursor.setToPrevious());
    EXPECT_FALSE(cursor.setToPrevious());
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
    const struct {
        const char* name;
        int index;
    } found[] = {{"key", 2}, {"-key", 2}, {"KEY", 4}, {"ke", 5}, {"--x", 7}, {"-", 8}, {"", 8}};
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
    expectVerdicts(line, usage,
                   {{"-n", true, true, false, true, true, false, false},
                    {"-5", false, true, true, false, false, false, false},
                    {"-v", true, true, false, false, true, false, false},
                    {"one", false, true, false, false, false, true, false},
                    {"-list", true, true, false, true, true, false, false},
                    {"x", false, true, true, false, false, false, false},
                    {"y", false, true, false, false, false, true, false},
                    {"-n", true, true, false, true, false, false, false}});
    // A switch followed by a switch has no value; the first entry is never
    // bound.
    CommandLine pair{"x", "-n", "-v"};
    expectVerdicts(pair, usage,
                   {{"x", false, true, false, false, false, true, false},
                    {"-n", true, true, false, true, false, false, false},
                    {"-v", true, true, false, false, false, false, false}});

    // A word after a closed placeholder is a value too; of a switch
    // declared twice, the first declaration counts.
    CommandLine level{"-level", "high", "-o", "f"};
    expectVerdicts(level, "prog (-o <file>) (-level high) [-o] [-level]",
                   {{"-level", true, true, false, true, true, false, false},
                    {"high", false, true, true, false, false, false, false},
                    {"-o", true, true, false, true, true, false, false},
                    {"f", false, true, true, false, false, false, false}});
    expectVerdicts(level, "prog [-level] (-level high) <x> ...",
                   {{"-level", true, true, false, false, true, false, false},
                    {"high", false, true, false, false, false, true, false},
                    {"-o", true, false, false, false, true, false, false},
                    {"f", false, true, false, false, false, true, false}});

    // Free entries need a non-switch item outside every group.
    CommandLine loose{"stray"};
    const struct {
        const char* usage;
        bool legal;
    } admits[] = {{"prog (-n <number>) [-v]", false}, {"prog [-v] files", true}, {"prog [-v] ...", true}};
    for (const auto& a : admits) {
        KivClArgvCheckCursor check(loose.argc(), loose.argv(), a.usage);
        ASSERT_TRUE(check.setToFirst());
        EXPECT_EQ(check.isLegal(), a.legal) << a.usage;
    }
}

TEST(ArgvCursor, JoinedNamesTagsAndOverlongEntries) {
    const char* usage = "prog [-a-b] (-lvl <n>)\n! [-debug] (-trace <level>) word \n[-c]";
    CommandLine line{"-a-b", "-a", "-b", "-a-", "-debug", "-trace", "3", "-c", "word", "level", ""};
    const bool legal[] = {true, true, true, false, true, true, true, true, true, true, true};
    const bool tagged[] = {false, false, false, false, true, true, false, false, true, false, false};
    KivClArgvCheckCursor cursor(line.argc(), line.argv(), usage);
    int index = 0;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext(), ++index) {
        SCOPED_TRACE(cursor.getAsCString());
        ASSERT_LT(index, 11);
        EXPECT_EQ(cursor.isLegal(), legal[index]);
        EXPECT_EQ(cursor.isTagged(), tagged[index]);
    }
    EXPECT_EQ(index, 11);

    // Over-long entries are compared in full, never cut.
    const std::string longName(100000, 'x');
    const std::string longUsage = "prog [-" + longName + "] (-v <value>)";
    CommandLine longLine{"-" + longName, "-" + longName + "y", "-v", longName};
    KivClArgvCheckCursor longCursor(longLine.argc(), longLine.argv(), longUsage.c_str());
    ASSERT_TRUE(longCursor.positionTo(longName.c_str()));
    EXPECT_EQ(longCursor.getIndex(), 1);
    EXPECT_TRUE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToNext());
    EXPECT_FALSE(longCursor.matches(longName.c_str()));
    EXPECT_FALSE(longCursor.isLegal());
    ASSERT_TRUE(longCursor.setToLast());
    EXPECT_TRUE(longCursor.isBound());
    EXPECT_TRUE(longCursor.isLegal());
}

TEST(ArgvCursor, FreeCursorVisitsOnlyFreeEntries) {
    const char* usage = "prog (-key <key>) [-v] <file> ...";
    CommandLine onlySwitches{"-key", "K", "-v", "-key", "L"};
    KivClArgvFreeCursor none(onlySwitches.argc(), onlySwitches.argv(), usage);
    EXPECT_FALSE(none.isValid());  // a new cursor is invalid without free entries
    EXPECT_FALSE(none.setToFirst());
    EXPECT_FALSE(none.setToLast());

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
    // Copies and assignments keep the usage and the position, and move on
    // their own.
    ASSERT_TRUE(cursor.setToFirst());
    ASSERT_TRUE(cursor.setToNext());
    KivClArgvFreeCursor copy(cursor);
    ASSERT_TRUE(copy.setToNext());
    EXPECT_STREQ(copy.getAsCString(), "c");
    EXPECT_STREQ(cursor.getAsCString(), "b");
    cursor = copy;
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_TRUE(cursor.setToPrevious());
    EXPECT_STREQ(cursor.getAsCString(), "c");
}
