// Console UI formatting written to a string stream: label fields, value
// lines, error records, free text, headers, progress, process names, and the
// argument cursors built on a console UI.
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "consoleui_tool.hpp"
#include "kiv_argv.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_msgtable.hpp"

namespace {

using conuitest::Argv;
using kivtest::ScopedEnv;

// A console UI on a test command line whose output stream is a string.
class Tool {
public:
    explicit Tool(const std::vector<std::string>& arguments = {}, bool quote = false,
                  const char* program = conuitest::PROGRAM)
        : locale_("LC_ALL", "C"), nlspath_("NLSPATH", nullptr),
          quote_(KIV_CONSOLEUI_QUOTE_STRINGS, quote ? "yes" : nullptr),
          args_(arguments, program), ui_(args_.argc(), args_.argv()) {
        ui_.init(nullptr, nullptr, nullptr, nullptr);
        ui_.setOutputStream(out_);
    }
    KivClConsoleUI& ui() { return ui_; }
    // What was written since the last call.
    std::string text() {
        std::string written = out_.str();
        out_.str("");
        return written;
    }

private:
    ScopedEnv locale_, nlspath_, quote_;
    Argv args_;
    KivClConsoleUI ui_;
    std::ostringstream out_;
};

TEST(ConsoleUIFormat, LabelFieldInEveryStyle) {
    using UI = KivClConsoleUI;
    const std::string blanks13(13, ' ');
    struct Row { unsigned width; UI::KivEnFormatStyle style; char fill; const char* label; std::string expected; }
        rows[] = {
        {36, UI::KivEnFormatStyleLeft, '.', "Error ID", "  Error ID............................: "},
        {5, UI::KivEnFormatStyleLeft, '*', "ab", "  ab***: "},
        {10, UI::KivEnFormatStyleRight, '.', "Name", "        Name: "},
        {36, UI::KivEnFormatStyleCenter, '.', "Hello World", "  " + blanks13 + "Hello World" + blanks13.substr(1) + ": "},
        {37, UI::KivEnFormatStyleCenter, '.', "Hello World", "  " + blanks13 + "Hello World" + blanks13 + ": "},
        {36, UI::KivEnFormatStyleLeft, '.', "A label of forty characters, no dots!!!!",
         "  A label of forty characters, no dots!!!!: "},
        {4, UI::KivEnFormatStyleCenter, '.', "toolong", "  toolong: "},
        {8, static_cast<UI::KivEnFormatStyle>(7), '.', "gone", "  : "},
    };
    Tool tool;
    for (const Row& row : rows) {
        tool.ui().setFormatWidth(row.width);
        tool.ui().setFormatStyle(row.style);
        tool.ui().setFormatFillChar(row.fill);
        tool.ui().format(row.label);
        EXPECT_EQ(tool.text(), row.expected) << row.label << " width " << row.width;
    }
}

TEST(ConsoleUIFormat, ValueLinesWithAndWithoutQuoting) {
    using Write = std::function<void(KivClConsoleUI&)>;
    struct Row { bool quote; Write write; std::string value; } rows[] = {
        {false, [](KivClConsoleUI& ui) { ui.format("L", "abc"); }, "abc"},
        {true, [](KivClConsoleUI& ui) { ui.format("L", "abc"); }, "\"abc\""},
        {false, [](KivClConsoleUI& ui) { ui.format("L", 'x'); }, "x"},
        {true, [](KivClConsoleUI& ui) { ui.format("L", 'x'); }, "'x'"},
        {true, [](KivClConsoleUI& ui) { ui.format("L", "a\0b", 3); }, std::string("\"a\0b\"", 5)},
        {true, [](KivClConsoleUI& ui) { ui.format("L", static_cast<short>(-3)); }, "-3"},
        {false, [](KivClConsoleUI& ui) { ui.format("L", static_cast<unsigned short>(65535)); }, "65535"},
        {false, [](KivClConsoleUI& ui) { ui.format("L", 18446744073709551615ul); }, "18446744073709551615"},
        {false, [](KivClConsoleUI& ui) { ui.format("L", 2.5); }, "2.5"},
        {true, [](KivClConsoleUI& ui) { ui.formatBool("L", true); }, "YES"},
        {false, [](KivClConsoleUI& ui) { ui.formatBool("L", false); }, "NO"},
    };
    for (const Row& row : rows) {
        Tool tool({}, row.quote);
        tool.ui().setFormatWidth(3);
        row.write(tool.ui());
        EXPECT_EQ(tool.text(), "  L..: " + row.value + "\n") << row.value;
    }
    Tool tool;
    tool.ui().setFormatWidth(9);
    tool.ui().format(40UL, 5);
    EXPECT_EQ(tool.text(), "  Error Class: 5\n");
}

TEST(ConsoleUIFormat, ErrorRecordsShowNonZeroFieldsOrAllWhenVerbose) {
    const std::string id0 = "  Error ID............................: NO_ERROR\n";
    const std::string idNumber0 = "  Error ID............................: 0\n";
    const std::string copyId = "  Error ID............................: FILE_COULD_NOT_COPY\n";
    const std::string unknownClass = "  Error Class.........................: UNKNOWN\n";
    const _KivStError empty{0, KIV_ERRCLASS_UNKNOWN};
    const _KivStError copy{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM};
    const _KivStUserError emptyUser{0, KIV_ERRCLASS_UNKNOWN, KIV_SEVERITY_NONE, KIV_ACTION_IGNORE};
    const _KivStUserError retry{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_UNKNOWN, KIV_SEVERITY_NONE,
                                KIV_ACTION_RETRY};
    const KivClException zero(emptyUser, "m:1", 1);
    struct Row { const char* what; std::function<void(KivClConsoleUI&)> write; std::string expected; } rows[] = {
        {"empty record", [&](KivClConsoleUI& ui) { ui.format(empty, false); }, ""},
        {"empty record, verbose", [&](KivClConsoleUI& ui) { ui.format(empty, true); }, id0 + idNumber0 + unknownClass},
        {"record", [&](KivClConsoleUI& ui) { ui.format(copy, false); },
         copyId + "  Error Class.........................: IO_PROBLEM\n"},
        {"user record", [&](KivClConsoleUI& ui) { ui.format(retry, false); },
         copyId + "  Recommended Action..................: RETRY\n"},
        {"user record, verbose", [&](KivClConsoleUI& ui) { ui.format(emptyUser, true); },
         id0 + idNumber0 + unknownClass + "  Error Severity......................: NONE\n" +
             "  Recommended Action..................: IGNORE\n"},
        {"exception with identifier 0", [&](KivClConsoleUI& ui) { ui.format(zero, false); }, id0},
    };
    for (const Row& row : rows) {
        Tool tool;
        row.write(tool.ui());
        EXPECT_EQ(tool.text(), row.expected) << row.what;
    }
}

TEST(ConsoleUIFormat, DisplayIndentsAndDropsWhatItMust) {
    struct Row { const char* text; unsigned indent; bool usage; bool hideTagged; std::string expected; } rows[] = {
        {"first\n@second", 6, false, false, "first\n      \nsecond\n"},
        {"x@y", 2, false, false, "x@y\n"},
        {"", 4, false, false, "\n"},
        {"ends\n", 3, false, false, "ends\n   "},
        {"a!b", 0, false, false, "ab\n"},
        {"(-k <k>) \"lit\"", 0, true, false, "-k <k> lit\n"},
        {"(-k <k>) \"lit\"", 0, false, false, "(-k <k>) \"lit\"\n"},
        {"a\n!b", 2, false, true, "a\n  "},
        {"a\n! b\nc", 3, false, true, "a\n   c\n"},
        {"a\n! b\nc", 3, false, false, "a\n    b\n   c\n"},
    };
    for (const Row& row : rows) {
        Tool tool;
        if (row.hideTagged) tool.ui().hideTaggedLines();
        std::ostringstream os;
        tool.ui().display(os, row.text, row.indent, row.usage);
        EXPECT_EQ(os.str(), row.expected) << row.text;
    }
}

TEST(ConsoleUIFormat, HeadersBarsAndProgress) {
    Tool tool;
    KivClConsoleUI& ui = tool.ui();
    const std::string dashes(74, '-');
    ui.header("Title", false);
    ui.header(16UL, true);
    EXPECT_EQ(tool.text(), "\n" + dashes + "\nktrc: Title\n\n" + dashes + "\nktrc: Informational message:\n    ");
    ui.formatHeader("Section");
    ui.horizontalBar();
    ui.newline();
    ui.indent(ui.getOutputStream(), 3, '#');
    ui.beep();
    EXPECT_EQ(tool.text(), "\n  Section\n  " + dashes.substr(2) + "\n" + dashes + "\n\n\n###\a");

    ui.dump("Data", "ABCDEFGHIJKLMNOP\x7f\n\0z", 20);
    ui.dump(189UL, "", 0);
    EXPECT_EQ(tool.text(), "\n  Data\n  " + dashes.substr(2) + "\n" +
                               "  00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP\n"
                               "  00000010: 7F 0A 00 7A __ __ __ __  __ __ __ __ __ __ __ __ | ...z____________\n"
                               "\n  Bytes\n  " + dashes.substr(2) + "\n");

    ui.progressStart();
    for (int i = 0; i < 5; ++i) ui.progressStep(i == 4 ? nullptr : "t");
    ui.progressStop();
    EXPECT_EQ(tool.text(), "\r | t \r / t \r - t \r \\ t \r | \r" + std::string(80, ' ') + "\r");
}

TEST(ConsoleUISetup, ProcessNameIsTheFileNameCutAtItsFirstDot) {
    struct Row { const char* program; const char* name; } rows[] = {
        {"/usr/bin/tool.x.y", "tool"},
        {"plain", "plain"},
        {"dir/", ""},
        {"./.hidden", ""},
        {"/p/abcdefghijklmnopqrstuvwxyz0123.exe", "abcdefghijklmnopqrstuvwxy"},
    };
    for (const Row& row : rows) {
        Tool tool({}, false, row.program);
        EXPECT_STREQ(tool.ui().getProcessName(), row.name) << row.program;
    }
}

TEST(ConsoleUIQueries, ValuesOfSwitchesThatArePresent) {
    Tool tool({"-a", "'-12", "-b", "12ab", "-c", "-x", "-s", "70000", "-t", "-5", "-a", "9", "-key"});
    const KivClConsoleUI& ui = tool.ui();
    long a = 0, b = 0, c = 1;
    int i = 0;
    short s = 0;
    const char* t = nullptr;
    EXPECT_TRUE(ui.hasArgNumval("a", a) && ui.hasArgNumval('b', b) && ui.hasArgNumval("-c", c));
    EXPECT_TRUE(ui.hasArgNumval('s', s) && ui.hasArgNumval("s", i) && ui.hasArgString('t', t));
    EXPECT_EQ(a, -12);  // the first occurrence counts
    EXPECT_EQ(b, 12);
    EXPECT_EQ(c, 0);
    EXPECT_EQ(s, static_cast<short>(70000 - 65536));
    EXPECT_EQ(i, 70000);
    EXPECT_STREQ(t, "-5");
    EXPECT_TRUE(ui.hasArgSwitch("-x"));
    EXPECT_TRUE(ui.hasArgSwitch(153UL));  // message 153 is "key"
    EXPECT_FALSE(ui.hasArgNumval('z', a) || ui.hasArgString("A", t));
    EXPECT_EQ(a, -12);
}

TEST(ConsoleUIQueries, ArgumentCursorsTakeTheCommandLineAndUsageOfTheUI) {
    Tool tool({"-key", "ABC", "extra"});
    tool.ui().setUsage(kivLibraryMessageTable[151], nullptr);
    KivClArgvCursor all(tool.ui());
    std::vector<std::string> seen;
    for (bool valid = all.setToFirst(); valid; valid = all.setToNext()) seen.emplace_back(all.getAsCString());
    EXPECT_EQ(seen, (std::vector<std::string>{"-key", "ABC", "extra"}));
    KivClArgvCheckCursor check(tool.ui());
    ASSERT_TRUE(check.setToFirst() && check.setToNext());
    EXPECT_TRUE(check.isBound());
    ASSERT_TRUE(check.setToNext());
    EXPECT_FALSE(check.isLegal());

    Tool noUsage({"extra"});
    KivClArgvCheckCursor empty(noUsage.ui());
    ASSERT_TRUE(empty.setToFirst());
    EXPECT_STREQ(empty.getUsage(), "");
    EXPECT_FALSE(empty.isLegal());
}

}  // namespace
