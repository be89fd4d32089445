// Console UI command-line handling, displays and prompts, run as small tools
// in child processes whose whole output and exit code are compared; prompts
// read their standard input from a pipe and write the answer on standard
// error.
#include <gtest/gtest.h>

#include <iostream>
#include <string>
#include <vector>

#include "consoleui_tool.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using conuitest::block;
using conuitest::expectRuns;
using UI = KivClConsoleUI;
using Body = std::function<void(UI&)>;

const std::string BUILT_IN = "\nUsage: ktrc [-h|-H|-?|-copyright] [-quiet]\n            ";
const std::string USAGE_DISPLAY = BUILT_IN + "-key <key> [-display]\n            [-fhex] [-fpid <pid>]\n";
const std::string USAGE_EXIT = USAGE_DISPLAY + "\n\a";
const std::string SPECIFY_HELP = "      (Specify '-h' for help)\n";

std::string fatalBlock(const std::string& line) { return block("A fatal error occurred", line); }
std::string errorBlock(const std::string& line) { return block("An error occurred", line); }
std::string missing(const std::string& name) { return fatalBlock("Missing command line switch: " + name); }

// A tool without a title, without usage or with a usage of two lines, that
// does more after checking its command line.
std::function<int(UI&)> bare(const Body& then) {
    return [then](UI& ui) {
        ui.init(nullptr, nullptr, nullptr, nullptr);
        then(ui);
        return 0;
    };
}
std::function<int(UI&)> tool(const Body& then = [](UI&) {}) {
    return [then](UI& ui) {
        ui.init(0UL, 0UL, nullptr, nullptr);  // no message 0: no title
        ui.handleUsageHelp("(-key <key>) [-display]\n[-fhex] [(-fpid <pid>)]", nullptr);
        then(ui);
        return 0;
    };
}

TEST(ConsoleUICommandLine, UsageHelpAndEveryFailureEndTheToolWithItsCode) {
    const char* text = nullptr;
    long number = 0;
    short small = 0;
    const std::string repeatedFhex = errorBlock("Illegal repetition of command line argument: -fhex");
    auto tagged = [](bool disable) {
        return bare([disable](UI& ui) {
            if (disable) ui.disableTaggedLines(); else ui.hideTaggedLines();
            ui.handleUsageHelp("[-a]\n! [-secret]\n[-b]", nullptr);
            ui.displayUsage(false);
        });
    };
    const std::string taggedUsage = BUILT_IN + "[-a]\n            [-b]\n";
    expectRuns({
        {"help switch, usage and help by message", {"-?"}, bare([](UI& ui) { ui.handleUsageHelp(153UL, 19UL); }),
         BUILT_IN + "key\n\nHelp: === Press any key to continue ===\n\a", "", 201},
        {"valid command line, usage and help by message", {"-key", "A", "-fpid", "-7"},
         bare([](UI& ui) { ui.handleUsageHelp(151UL, 152UL); }), "", "", 0},
        {"repetition reported once", {"-key", "A", "-key", "B"}, tool(), USAGE_EXIT,
         errorBlock("Illegal repetition of command line argument: -key"), 201},
        {"three times: two reports, then one", {"-fhex", "-fhex", "-fhex"}, tool(), USAGE_EXIT,
         repeatedFhex + repeatedFhex + repeatedFhex, 201},
        {"unknown switch and free argument", {"-key", "A", "-KEY", "extra"}, tool(), USAGE_EXIT,
         errorBlock("Unknown command line argument: -KEY") + errorBlock("Unknown command line argument: extra"), 201},
        {"hidden tagged line still accepted", {"-secret"}, tagged(false), taggedUsage, "", 0},
        {"disabled tagged line rejected", {"-secret", "-b"}, tagged(true), taggedUsage + "\n\a",
         errorBlock("Command line argument not allowed: -secret"), 201},
        {"missing switch with usage", {"-display"}, tool([](UI& ui) { ui.reqArgSwitch("key"); }), USAGE_EXIT,
         missing("key") + SPECIFY_HELP, 201},
        {"missing switch by message", {}, tool([](UI& ui) { ui.reqArgSwitch(153UL); }), USAGE_EXIT,
         missing("key") + SPECIFY_HELP, 201},
        {"missing switch without usage", {}, bare([](UI& ui) { ui.reqArgSwitch('k'); }), "\a", missing("-k"), 202},
        {"missing text by letter", {}, bare([&](UI& ui) { ui.reqArgString('k', text); }), "\a", missing("-k"), 202},
        {"missing short by message", {}, bare([&](UI& ui) { ui.reqArgNumval(153UL, small); }), "\a", missing("key"),
         202},
        {"text value missing at the end", {"-key"}, tool([&](UI& ui) { ui.hasArgString("key", text); }), "\a",
         fatalBlock("No value specified for command line switch: key"), 203},
        {"text value is a switch", {"-key", "-display"}, tool([&](UI& ui) { ui.hasArgString("-key", text); }), "\a",
         fatalBlock("No value specified for command line switch: -key"), 203},
        {"numeric value missing", {"-n"}, bare([&](UI& ui) { ui.hasArgNumval('n', number); }), "\a",
         fatalBlock("No numeric value specified for command line switch: n"), 203},
        {"numeric value with plus sign", {"-n", "+5"}, bare([&](UI& ui) { ui.reqArgNumval("n", number); }), "\a",
         fatalBlock("Non-numeric value specified for numeric command line switch: n"), 204},
        {"process exit rings only for non-zero codes", {}, bare([](UI& ui) { ui.processExit(0); }), "", "", 0},
    });
}

// Quiet mode silences the UI's streams but not the direct ones; copyright
// shows the title and both levels and ends the tool, quiet or not.
TEST(ConsoleUIDisplays, QuietCopyrightMessageBlocksAndHelp) {
    std::string notice;
    for (const std::string line : {"kiv - portable operating-system services library",
                                   "Copyright (c) 2026 the kiv authors.", "All rights reserved.", "",
                                   "This library is distributed in the hope that it will be",
                                   "useful, but WITHOUT ANY WARRANTY; without even the implied",
                                   "warranty of MERCHANTABILITY or FITNESS FOR A PARTICULAR", "PURPOSE."})
        notice += "  " + line + std::string(60 - line.size(), ' ') + "\n";
    const std::string dashes = "  " + std::string(72, '-') + "\n";
    const std::string copyright = "\n  Copyright\n" + dashes + notice + "  \n  Level\n" + dashes +
                                  "  Plim Level..........................: KIVLibR5-24\n" +
                                  "  Compile date........................: " + kivLibraryGetTod() + "\n" +
                                  "\n  Level\n" + dashes + "  Plim Level..........................: 2.1\n" +
                                  "  Compile date........................: \n\a";
    auto titled = [](UI& ui) {
        ui.init("Title", "S", "2.1", nullptr);
        ui.handleUsageHelp("[-x]", nullptr);
        return 0;
    };
    auto quiet = tool([](UI& ui) {
        if (!ui.mustBeQuiet()) return;
        ui.info("Note", "a"), ui.warning("w"), ui.error("e"), ui.format("Label", 1L), ui.progressStep("busy");
        ui.reqArgSwitch("display");
    });
    const KivClException x({KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM, KIV_SEVERITY_NORMAL,
                            KIV_ACTION_RETRY}, "kiv_file:120", 120, "disk full");
    auto blocks = bare([&x](UI& ui) {
        ui.info("Title", "a", "b"), ui.info("Only"), ui.warning("a", "b"), ui.error("a", nullptr, "c");
        ui.exception(x, "a"), ui.fatal(7, "a", "b", "c", "d", "e");
    });
    auto displays = [](UI& ui) {
        ui.init(150UL, 0UL, nullptr, nullptr);  // "Trace Controller"
        ui.displayTitle(nullptr, nullptr), ui.displayTitle(nullptr, "only sub");
        ui.displayUsage(false), ui.displayHelp(false), ui.displayUsageHelp("(-a <x>)", "line", false);
        return 0;
    };
    expectRuns({
        {"quiet", {"-quiet", "-key", "A"}, quiet, USAGE_DISPLAY + "\n", missing("display") + SPECIFY_HELP, 201},
        {"copyright", {"-copyright", "-unknown"}, titled, "\nktrc - Title   S\n" + copyright, "", 201},
        {"copyright and quiet", {"-quiet", "-copyright"}, titled, copyright, "", 201},
        {"message blocks", {}, blocks,
         block("Title", "a: b") + "\n" + conuitest::bar() + "ktrc: Only\n" +
             "  Error ID............................: FILE_COULD_NOT_COPY\n"
             "  Error ID............................: 1000401\n  Error Class.........................: IO_PROBLEM\n"
             "  Error Severity......................: NORMAL\n  Recommended Action..................: RETRY\n"
             "  Cause for exception.................: disk full\n"
             "  Exception occured in module.........: kiv_file:120\n  Exception occured in line...........: 120\n\a",
         block("Warning", "a: b") + errorBlock("a: c") + block("An exception occurred", "a") +
             fatalBlock("a: b: c: d: e"), 7},
        {"title, help and empty usage", {}, displays,
         "\nktrc - Trace Controller\n   only sub\n" + BUILT_IN + "\n    Sorry, no additional help available\n" +
             BUILT_IN + "-a <x>\n\nHelp: line\n",
         "", 0},
    });
}

// A tool catalog that holds its own message 1 and, from number 100 on, a
// translation of the library texts a tool needs.
TEST(ConsoleUICatalog, TranslatedLibraryTextsFollowTheMessageBase) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("tool.msg"), "$set 1\n1 TOOL\n103 JA\n108 ab\n109 copyright\n110 still\n"
                                             "114 Fehler\n117 Aufruf\n123 Unbekanntes Argument\n");
    const kivtest::ChildResult made = kivtest::runShell("gencat " + dir.file("tool.cat") + " " + dir.file("tool.msg"));
    ASSERT_EQ(made.exitCode, 0) << made.err;
    auto translated =
        bare([](UI& ui) { ui.setFormatWidth(1), ui.formatBool("L", true), ui.handleUsageHelp("[-x]", nullptr); });
    expectRuns({{"translated", {"-y"}, translated,
                 "  L: JA\n\nAufruf: ktrc [-a|-b|-copyright] [-still]\n             [-x]\n\n\a",
                 block("Fehler", "Unbekanntes Argument: -y"), 201}},
               dir.file("tool.msg").c_str(), 100);
}

using Ask = std::function<std::string(const UI&)>;

std::string invalid(const std::string& why) { return errorBlock("Invalid value specified: " + why); }

conuitest::ToolRun run(const std::string& input, const Ask& ask, const std::string& out, const std::string& answer) {
    auto body = [ask](UI& ui) {
        ui.init(nullptr, nullptr, nullptr, nullptr);
        std::cerr << ask(ui);
        return 0;
    };
    return {input, {}, body, out, answer, 0, input};
}

// Numbers asked for as "Count", or as message 6 ("min.").
Ask numval(long minimum, long maximum, long fallback, bool byMessage = false) {
    return [=](const UI& ui) {
        return std::to_string(byMessage ? ui.promptNumval(6UL, minimum, maximum, fallback)
                                        : ui.promptNumval("Count", minimum, maximum, fallback));
    };
}
std::string numPrompt(long minimum, long maximum, long fallback, const char* question = "Count") {
    return bar() + " " + question + " (min.: " + std::to_string(minimum) + ", max.: " + std::to_string(maximum) +
           "):\n (default: " + std::to_string(fallback) + "): ";
}

Ask yesNo(bool fallback) {
    return [=](const UI& ui) { return std::string(ui.promptYesNo("Go on", fallback) ? "yes" : "no"); };
}

Ask text(const char* fallback) {
    return [fallback](const UI& ui) { return std::string(ui.promptString("Name", fallback)); };
}

TEST(ConsoleUIPrompt, NumbersYesNoStringsAndKeys) {
    const std::string p = numPrompt(1, 10, 5), p50 = numPrompt(1, 10, 50);
    const std::string number = invalid("Please enter a numeric value");
    const std::string limits = invalid("Please enter a value within limits");
    const std::string qNo = bar() + " Go on (Y/N):\n (default: N): ";
    const std::string qYes = bar() + " Go on (Y/N):\n (default: Y): ";
    const std::string withDefault = bar() + " Name:\n (default: anon): ", plain = bar() + " Name:\n ";
    auto twice = [](const UI& ui) {
        const std::string first = ui.promptString("Name", nullptr);
        return first + "|" + ui.promptString("Name", nullptr);
    };
    auto afterKey = [](const UI& ui) {
        ui.promptForKey();
        return std::string(ui.promptString("Name", nullptr));
    };
    auto hinted = [](const UI& ui) {
        ui.prompt("Q", "h", "d");
        return std::string(ui.promptString(19UL, "d"));  // message 19 as the question
    };
    conuitest::expectRuns({
        // Numbers take the default and ask again until valid; at the end of
        // the input the default counts, brought within the limits.
        run("", numval(1, 10, 5), p, "5"),
        run("0\n7\n", numval(1, 10, 5), p + limits + p, "7"),
        run("abc\n+4\n3\n", numval(1, 10, 5), p + number + p + number + p, "3"),
        run("7xyz\n", numval(1, 10, 5), p, "7"),
        run("-3\n", numval(-5, 5, 0, true), numPrompt(-5, 5, 0, "min."), "-3"),
        run("99\n", numval(1, 10, 50), p50 + limits + p50, "10"),
        run("", numval(1, 10, -50), numPrompt(1, 10, -50), "1"),
        // Yes and no look at the first letter only.
        run("\n", yesNo(false), qNo, "no"),
        run("Yes please\n", yesNo(false), qNo, "yes"),
        run("maybe\nn\n", yesNo(true), qYes + invalid("Please use: Y/N") + qYes, "no"),
        run("", yesNo(true), qYes, "yes"),
        run("y\n", [](const UI& ui) { return std::string(ui.promptYesNo(19UL, false) ? "yes" : "no"); },
            bar() + " === Press any key to continue === (Y/N):\n (default: N): ", "yes"),  // message 19 asks
        // Strings and keys read one line each, at most 80 characters.
        run("\n", text("anon"), withDefault, "anon"),
        run("", text("anon"), withDefault, "anon"),
        run("\n", text(nullptr), plain, ""),
        run("  \n", text("anon"), withDefault, "  "),
        run("bob", text("anon"), withDefault, "bob"),
        run(std::string(100, 'x') + "\nnext\n", twice, plain + plain, std::string(80, 'x') + "|next"),
        run("anything\nbob\n", afterKey, " === Press <ENTER> to continue ===\n" + plain, "bob"),
        run("\n", hinted,
            bar() + " Q (h):\n (default: d): " + bar() + " === Press any key to continue ===:\n (default: d): ", "d"),
    });
}

}  // namespace
