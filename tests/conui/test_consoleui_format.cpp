// Console UI formatting written to a string stream: label fields, value
// lines, error records, free text, headers, progress, process names, the
// argument queries and the argument cursors built on a console UI.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "consoleui_tool.hpp"
#include "kiv_argv.hpp"
#include "kiv_consoleui.hpp"

namespace {

using UI = KivClConsoleUI;
using Write = std::function<void(UI&)>;

// A console UI on a test command line whose output stream is a string.
class Tool {
public:
    explicit Tool(const std::vector<std::string>& arguments = {}, bool quote = false,
                  const char* program = conuitest::PROGRAM)
        : locale_("LC_ALL", "C"), nlspath_("NLSPATH", nullptr),
          quote_(KIV_CONSOLEUI_QUOTE_STRINGS, quote ? "yes" : nullptr), args_(arguments, program),
          ui_(args_.argc(), args_.argv()) {
        ui_.init(nullptr, nullptr, nullptr, nullptr);
        ui_.setOutputStream(out_);
    }
    UI& ui() { return ui_; }
    std::string text() const { return out_.str(); }

private:
    kivtest::ScopedEnv locale_, nlspath_, quote_;
    conuitest::Argv args_;
    UI ui_;
    std::ostringstream out_;
};

Write label(unsigned width, UI::KivEnFormatStyle style, char fill, const char* text) {
    return [=](UI& ui) {
        ui.setFormatWidth(width);
        ui.setFormatStyle(style);
        ui.setFormatFillChar(fill);
        ui.format(text);
    };
}

// Free text as display shows it.
Write show(const char* text, unsigned indentation, bool usage = false, bool hideTagged = false) {
    return [=](UI& ui) {
        if (hideTagged) ui.hideTaggedLines();
        ui.display(ui.getOutputStream(), text, indentation, usage);
    };
}

// Every write on its own console UI with the format width 3; quoted rows run
// with quoting switched on. Labels by message number: message 3 is "YES".
TEST(ConsoleUIFormat, EveryWriteByteForByte) {
    const UI::KivEnFormatStyle left = UI::KivEnFormatStyleLeft, centre = UI::KivEnFormatStyleCenter;
    const std::string centred = "  " + std::string(13, ' ') + "Hello World" + std::string(12, ' ');
    const std::string dashes(74, '-'), formatBar = "  " + dashes.substr(2) + "\n";
    const _KivStError empty{0, KIV_ERRCLASS_UNKNOWN}, copy{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM};
    const _KivStUserError emptyUser{0, KIV_ERRCLASS_UNKNOWN, KIV_SEVERITY_NONE, KIV_ACTION_IGNORE};
    const _KivStUserError retry{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_UNKNOWN, KIV_SEVERITY_NONE,
                                KIV_ACTION_RETRY};
    const KivClException zero(emptyUser, "m:1", 1);
    const std::string id0 = "  Error ID: NO_ERROR\n  Error ID: 0\n  Error Class: UNKNOWN\n";
    const struct { const char* what; bool quote; Write write; std::string expected; } rows[] = {
        {"left, filled", false, label(5, left, '*', "ab"), "  ab***: "},
        {"right", false, label(10, UI::KivEnFormatStyleRight, '.', "Name"), "        Name: "},
        {"centre, even", false, label(36, centre, '.', "Hello World"), centred + ": "},
        {"centre, odd", false, label(37, centre, '.', "Hello World"), centred + " : "},
        {"left, too long", false, label(36, left, '.', "A label of forty characters, no dots!!!!"),
         "  A label of forty characters, no dots!!!!: "},
        {"centre, too long", false, label(4, centre, '.', "toolong"), "  toolong: "},
        {"unknown style", false, label(8, static_cast<UI::KivEnFormatStyle>(7), '.', "gone"), "  : "},
        {"text", false, [](UI& ui) { ui.format("L", "abc"); }, "  L..: abc\n"},
        {"text, quoted", true, [](UI& ui) { ui.format(3UL, "abc"); }, "  YES: \"abc\"\n"},
        {"char", false, [](UI& ui) { ui.format("L", 'x'); }, "  L..: x\n"},
        {"char, quoted", true, [](UI& ui) { ui.format(3UL, 'x'); }, "  YES: 'x'\n"},
        {"data, quoted", true, [](UI& ui) { ui.format("L", "a\0b", 3); }, std::string("  L..: \"a\0b\"\n", 13)},
        {"data", false, [](UI& ui) { ui.format(3UL, "ab", 1); }, "  YES: a\n"},
        {"short", true, [](UI& ui) { ui.format(3UL, static_cast<short>(-3)); }, "  YES: -3\n"},
        {"unsigned short", false, [](UI& ui) { ui.format(3UL, std::uint16_t{65535}); }, "  YES: 65535\n"},
        {"int", false, [](UI& ui) { ui.format(3UL, -7); }, "  YES: -7\n"},
        {"unsigned", false, [](UI& ui) { ui.format(3UL, 4000000000U); }, "  YES: 4000000000\n"},
        {"long", false, [](UI& ui) { ui.format(3UL, -9000000000L); }, "  YES: -9000000000\n"},
        {"float", false, [](UI& ui) { ui.format(3UL, 0.25f); }, "  YES: 0.25\n"},
        {"double", false, [](UI& ui) { ui.format(3UL, 2.5); }, "  YES: 2.5\n"},
        {"yes, never quoted", true, [](UI& ui) { ui.formatBool("L", true); }, "  L..: YES\n"},
        {"no", false, [](UI& ui) { ui.formatBool(3UL, false); }, "  YES: NO\n"},
        {"label alone", false, [](UI& ui) { ui.format(3UL); }, "  YES: "},
        // Error records show the fields that are not zero, or all when verbose.
        {"empty record", false, [&](UI& ui) { ui.format(empty, false); }, ""},
        {"empty record, verbose", false, [&](UI& ui) { ui.format(empty, true); }, id0},
        {"record", false, [&](UI& ui) { ui.format(copy, false); },
         "  Error ID: FILE_COULD_NOT_COPY\n  Error Class: IO_PROBLEM\n"},
        {"user record", false, [&](UI& ui) { ui.format(retry, false); },
         "  Error ID: FILE_COULD_NOT_COPY\n  Recommended Action: RETRY\n"},
        {"user record, verbose", false, [&](UI& ui) { ui.format(emptyUser, true); },
         id0 + "  Error Severity: NONE\n  Recommended Action: IGNORE\n"},
        {"exception with identifier 0", false, [&](UI& ui) { ui.format(zero, false); }, "  Error ID: NO_ERROR\n"},
        // Free text: "@" at a line start is an empty line, "!" is dropped or
        // hides the rest of its line; usage drops brackets and quotes.
        {"display", false, show("first\n@second", 6), "first\n      \nsecond\n"},
        {"display, inner @", false, show("x@y", 2), "x@y\n"},
        {"display, empty", false, show("", 4), "\n"},
        {"display, final line end", false, show("ends\n", 3), "ends\n   "},
        {"display, tag mark", false, show("a!b", 0), "ab\n"},
        {"display, usage", false, show("(-k <k>) \"lit\"", 0, true), "-k <k> lit\n"},
        {"display, no usage", false, show("(-k <k>) \"lit\"", 0), "(-k <k>) \"lit\"\n"},
        {"display, hidden last line", false, show("a\n!b", 2, false, true), "a\n  "},
        {"display, hidden line", false, show("a\n! b\nc", 3, false, true), "a\n   c\n"},
        {"display, shown line", false, show("a\n! b\nc", 3), "a\n    b\n   c\n"},
        {"headers", false, [](UI& ui) { ui.header("Title", false), ui.header(16UL, true); },
         "\n" + dashes + "\nktrc: Title\n\n" + dashes + "\nktrc: Informational message:\n    "},
        {"format header, bar, line, indentation, bell", false,
         [](UI& ui) {
             ui.formatHeader("Section"), ui.horizontalBar(), ui.newline();
             ui.indent(ui.getOutputStream(), 3, '#'), ui.beep();
         },
         "\n  Section\n" + formatBar + dashes + "\n\n\n###\a"},
        {"dumps", false, [](UI& ui) { ui.dump("Data", "ABCDEFGHIJKLMNOP\x7f\n\0z", 20), ui.dump(189UL, "", 0); },
         "\n  Data\n" + formatBar +
             "  00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP\n"
             "  00000010: 7F 0A 00 7A __ __ __ __  __ __ __ __ __ __ __ __ | ...z____________\n"
             "\n  Bytes\n" + formatBar},
        {"progress", false,
         [](UI& ui) {
             ui.progressStart();
             for (int i = 0; i < 5; ++i) ui.progressStep(i == 4 ? nullptr : "t");
             ui.progressStop();
         },
         "\r | t \r / t \r - t \r \\ t \r | \r" + std::string(80, ' ') + "\r"},
    };
    for (const auto& row : rows) {
        Tool tool({}, row.quote);
        tool.ui().setFormatWidth(3);
        row.write(tool.ui());
        EXPECT_EQ(tool.text(), row.expected) << row.what;
    }
}

TEST(ConsoleUISetup, ProcessNameIsTheFileNameCutAtItsFirstDot) {
    const struct { const char* program; const char* name; } rows[] = {
        {"/usr/bin/tool.x.y", "tool"}, {"plain", "plain"}, {"dir/", ""}, {"./.hidden", ""},
        {"/p/abcdefghijklmnopqrstuvwxyz0123.exe", "abcdefghijklmnopqrstuvwxy"},
    };
    for (const auto& row : rows) {
        EXPECT_STREQ(Tool({}, false, row.program).ui().getProcessName(), row.name) << row.program;
    }
}

// Every form of numeric query for the switch "k" by letter, "key" by name
// and "key" as message 153: first has, then req.
template <typename T>
std::string numbers(const UI& ui) {
    T v[6] = {};
    ui.hasArgNumval('k', v[0]), ui.hasArgNumval("key", v[1]), ui.hasArgNumval(153UL, v[2]);
    ui.reqArgNumval('k', v[3]), ui.reqArgNumval("key", v[4]), ui.reqArgNumval(153UL, v[5]);
    std::string seen;
    for (T value : v) seen += std::to_string(value) + " ";
    return seen;
}

// The first occurrence counts, a leading quote is dropped, a number ends at
// the first character that is no digit, and narrower numbers keep the low
// bits.
TEST(ConsoleUIQueries, ValuesOfSwitchesThatArePresent) {
    Tool tool({"-k", "'70000", "-key", "70000", "-b", "-12ab", "-x", "-k", "9"});
    const UI& ui = tool.ui();
    const std::string all = "70000 70000 70000 70000 70000 70000 ";
    EXPECT_EQ(numbers<long>(ui) + numbers<int>(ui), all + all);
    EXPECT_EQ(numbers<short>(ui), "4464 4464 4464 4464 4464 4464 ");
    long number = 0;
    EXPECT_TRUE(ui.hasArgNumval('b', number) && number == -12);
    const char* t[4] = {"", "", "", ""};
    ui.hasArgString(153UL, t[0]), ui.hasArgString('k', t[1]), ui.reqArgString("b", t[2]), ui.reqArgString(153UL, t[3]);
    EXPECT_EQ(std::vector<std::string>(t, t + 4), (std::vector<std::string>{"70000", "'70000", "-12ab", "70000"}));
    EXPECT_TRUE(ui.hasArgSwitch("-x") && ui.hasArgSwitch(153UL) && ui.hasArgSwitch('k'));
    EXPECT_FALSE(ui.hasArgNumval('z', number) || ui.hasArgString("K", t[0]));
    EXPECT_EQ(number, -12);  // unchanged by the absent switches
    // Argument cursors take the command line and the usage of the UI.
    EXPECT_STREQ(KivClArgvCheckCursor(ui).getUsage(), "");
    tool.ui().setUsage("(-key <k>)", nullptr);
    KivClArgvCursor entries(ui);
    KivClArgvCheckCursor check(ui);
    EXPECT_TRUE(entries.setToLast() && std::string(entries.getAsCString()) == "9");
    EXPECT_TRUE(check.positionTo("key") && check.setToNext() && check.isBound());
    EXPECT_TRUE(check.setToFirst() && !check.isLegal());
}

}  // namespace
