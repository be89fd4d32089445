// Console UI command-line handling and displays, run as small tools in
// child processes whose whole output and exit code are compared.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "consoleui_tool.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using conuitest::block;
using conuitest::expectRuns;

// The usage display of a tool "ktrc" with the trace controller's usage
// string: every usage line starts in column 13.
const std::string TRACE_USAGE_DISPLAY = R"(
Usage: ktrc [-h|-H|-?|-copyright] [-quiet]
            -key <key> [-instance <instance>] [-file <filename>]
            [-display]
            [-format <string>] [-findent <string>]
            [-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]
            [-fdetail <detail>] [-fcompids <compids>]
            [-fpid <pid>] [-ftid <tid>]
            [-verbose]
)";

const std::string TRACE_HELP_DISPLAY = R"(
Help: -key <key>               Specify a key for the trace facility
      [-instance <instance>]   Specify an optional instance key
      [-file <filename>]       Specify a filename for the trace file
                                  (Default: <key>_TRACE_FILE)
      [-verbose]               Verbose display mode
      [-display]               Display the current trace
      [-format <string>]       Use the specified format <string>
                                  (Default: <key>_TRACE_FORMAT)
      [-findent <string>]      Format with <string> for indentation
      [-fnest]                 Format with function nesting
      [-fnofhd]                Format without function headers
      [-fssfhd]                Format and skip subsequent function headers
      [-fhex]                  Format integral data in hex notation, too
      [-fbin]                  Format integral data in binary notation, too
      [-fdetail <detail>]      Format only entries with the specified
                                  detail level (Default: <key>_TRACE_DETAIL)
      [-fcompids <compids>]    Format only entries with the specified
                                  component ids
      [-fpid <pid>]            Format only entries with the specified
                                  process id
      [-ftid <tid>]            Format only entries with the specified
                                  thread id
      

      Trace environment variables:
      ============================
         <key>_TRACE_ACTIVE=yes     enables trace
         <key>_TRACE_AUTOSAVE=yes   enables trace autosave feature
         <key>_TRACE_AUTOCLEAR=yes  automatically clears the trace buffer and file
         <key>_TRACE_BUFSIZE=xxx    sets trace buffer to 'xxx' KB of memory
         <key>_TRACE_COMPRESS=yes   enables the compression of trace data
         <key>_TRACE_DETAIL=xxx     sets the trace detail level to 'xxx'
         <key>_TRACE_FILE=xxx       names the trace file as 'xxx'
         <key>_TRACE_FORMAT=xxx     sets the trace format string to 'xxx'
         <key>_TRACE_COMPSET=xxx    sets the component ids for the trace
      

      Trace format variables:
      =======================
         %x   display the type of the trace entry with a short name
         %X   display the type of the trace entry with a long name
         %l   display the detail level of the trace entry
         %s   display the timestamp of the trace entry
         %c   display the component id of the trace entry
         %p   display the process id of the trace entry
         %t   display the thread id of the trace entry
         %f   display the function name of the trace entry
         %m   display the message string of the trace entry
         %d   display the dump data of the trace entry
         %\   display the backslash character
         %n   display the newline character
         %t   display the tab character
)";

// init without a title, then the trace controller's usage and help.
int traceTool(KivClConsoleUI& ui) {
    ui.init(nullptr, nullptr, nullptr, nullptr);
    ui.handleUsageHelp(conuitest::MSG_TRACE_USAGE, conuitest::MSG_TRACE_HELP);
    return 0;
}

std::string fatalBlock(const std::string& line) { return block("A fatal error occurred", line); }
std::string errorBlock(const std::string& line) { return block("An error occurred", line); }

TEST(ConsoleUICommandLine, UsageHelpAndEveryFailureEndTheToolWithItsCode) {
    const std::string usageExit = TRACE_USAGE_DISPLAY + "\n\a";
    auto traceThen = [](std::function<void(KivClConsoleUI&)> query) {
        return [query](KivClConsoleUI& ui) {
            traceTool(ui);
            query(ui);
            return 0;
        };
    };
    auto bare = [](std::function<void(KivClConsoleUI&)> query) {
        return [query](KivClConsoleUI& ui) {
            ui.init(nullptr, nullptr, nullptr, nullptr);
            query(ui);
            return 0;
        };
    };
    const char* text = nullptr;
    long number = 0;
    expectRuns({
        {"help switch", {"-key", "k", "-?"}, traceTool,
         TRACE_USAGE_DISPLAY + TRACE_HELP_DISPLAY + "\a", "", 201},
        {"valid command line", {"-key", "A", "-fpid", "-7"}, traceTool, "", "", 0},
        {"repetition reported once", {"-key", "A", "-key", "B"}, traceTool, usageExit,
         errorBlock("Illegal repetition of command line argument: -key"), 201},
        {"three times: two reports, then one", {"-fhex", "-fhex", "-fhex"}, traceTool, usageExit,
         errorBlock("Illegal repetition of command line argument: -fhex") +
             errorBlock("Illegal repetition of command line argument: -fhex") +
             errorBlock("Illegal repetition of command line argument: -fhex"),
         201},
        {"unknown switch and free argument", {"-key", "A", "-KEY", "extra"}, traceTool, usageExit,
         errorBlock("Unknown command line argument: -KEY") +
             errorBlock("Unknown command line argument: extra"),
         201},
        {"missing switch with usage", {"-display"},
         traceThen([](KivClConsoleUI& ui) { ui.reqArgSwitch("key"); }), usageExit,
         fatalBlock("Missing command line switch: key") + "      (Specify '-h' for help)\n", 201},
        {"missing switch without usage", {}, bare([](KivClConsoleUI& ui) { ui.reqArgSwitch('k'); }),
         "\a", fatalBlock("Missing command line switch: -k"), 202},
        {"text value missing at the end", {"-key"},
         traceThen([&text](KivClConsoleUI& ui) { ui.hasArgString("key", text); }), "\a",
         fatalBlock("No value specified for command line switch: key"), 203},
        {"text value is a switch", {"-key", "-display"},
         traceThen([&text](KivClConsoleUI& ui) { ui.hasArgString("-key", text); }), "\a",
         fatalBlock("No value specified for command line switch: -key"), 203},
        {"numeric value missing", {"-n"},
         bare([&number](KivClConsoleUI& ui) { ui.hasArgNumval('n', number); }), "\a",
         fatalBlock("No numeric value specified for command line switch: n"), 203},
        {"numeric value of letters", {"-n", "abc"},
         bare([&number](KivClConsoleUI& ui) { ui.reqArgNumval("n", number); }), "\a",
         fatalBlock("Non-numeric value specified for numeric command line switch: n"), 204},
        {"numeric value with plus sign", {"-n", "+5"},
         bare([&number](KivClConsoleUI& ui) { ui.hasArgNumval("n", number); }), "\a",
         fatalBlock("Non-numeric value specified for numeric command line switch: n"), 204},
        {"process exit rings only for non-zero codes", {},
         bare([](KivClConsoleUI& ui) { ui.processExit(0); }), "", "", 0},
    });
}

TEST(ConsoleUICommandLine, TaggedLinesAreHiddenOrForbidden) {
    auto tool = [](bool disable) {
        return [disable](KivClConsoleUI& ui) {
            ui.init(nullptr, nullptr, nullptr, nullptr);
            if (disable) ui.disableTaggedLines(); else ui.hideTaggedLines();
            ui.handleUsageHelp("[-a]\n! [-secret]\n[-b]", nullptr);
            ui.displayUsage(false);
            return 0;
        };
    };
    const std::string usage = "\nUsage: ktrc [-h|-H|-?|-copyright] [-quiet]\n"
                              "            [-a]\n"
                              "            [-b]\n";
    expectRuns({
        {"hidden tagged line still accepted", {"-secret"}, tool(false), usage, "", 0},
        {"disabled tagged line rejected", {"-secret", "-b"}, tool(true), usage + "\n\a",
         errorBlock("Command line argument not allowed: -secret"), 201},
    });
}

TEST(ConsoleUIBuiltInSwitches, QuietSilencesTheUIStreamsButNotTheDirectOnes) {
    expectRuns({{"quiet", {"-quiet", "-key", "A"},
                 [](KivClConsoleUI& ui) {
                     ui.init("Title", "Sub", nullptr, nullptr);
                     ui.handleUsageHelp(conuitest::MSG_TRACE_USAGE, 0);
                     EXPECT_TRUE(ui.mustBeQuiet());
                     ui.info("Note", "a");
                     ui.warning("w");
                     ui.error("e");
                     ui.format("Label", 1L);
                     ui.progressStep("busy");
                     ui.reqArgSwitch("display");
                     return 0;
                 },
                 TRACE_USAGE_DISPLAY + "\n",
                 fatalBlock("Missing command line switch: display") +
                     "      (Specify '-h' for help)\n",
                 201}});
}

TEST(ConsoleUIBuiltInSwitches, CopyrightShowsTitleLevelsAndEndsEvenWhenQuiet) {
    std::string notice;
    for (const char* line : {"kiv - portable operating-system services library",
                             "Copyright (c) 2026 the kiv authors.", "All rights reserved.", "",
                             "This library is distributed in the hope that it will be",
                             "useful, but WITHOUT ANY WARRANTY; without even the implied",
                             "warranty of MERCHANTABILITY or FITNESS FOR A PARTICULAR", "PURPOSE."}) {
        notice += "  " + std::string(line) + std::string(60 - std::string(line).size(), ' ') + "\n";
    }
    const std::string dashes = "  " + std::string(72, '-') + "\n";
    const std::string levels = "\n  Level\n" + dashes +
                               "  Plim Level..........................: KIVLibR5-24\n" +
                               "  Compile date........................: " + kivLibraryGetTod() + "\n";
    const std::string toolLevel = "\n  Level\n" + dashes +
                                  "  Plim Level..........................: 2.1\n" +
                                  "  Compile date........................: Nov 23 2026\n";
    const std::string copyright = "\n  Copyright\n" + dashes + notice + "  " + levels + toolLevel + "\a";
    auto tool = [](KivClConsoleUI& ui) {
        ui.init("Title", "Sub", "2.1", "Nov 23 2026");
        ui.handleUsageHelp("[-x]", nullptr);
        return 0;
    };
    expectRuns({
        {"copyright", {"-copyright", "-unknown"}, tool, "\nktrc - Title   Sub\n" + copyright, "", 201},
        {"copyright and quiet", {"-quiet", "-copyright"}, tool, copyright, "", 201},
    });
}

TEST(ConsoleUIOutput, MessageBlocksOfEveryKind) {
    const KivClException x({KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM,
                            KIV_SEVERITY_NORMAL, KIV_ACTION_RETRY},
                           "kiv_file:120", 120, "disk full");
    const std::string exceptionFields =
        "  Error ID............................: FILE_COULD_NOT_COPY\n"
        "  Error ID............................: 1000401\n"
        "  Error Class.........................: IO_PROBLEM\n"
        "  Error Severity......................: NORMAL\n"
        "  Recommended Action..................: RETRY\n"
        "  Cause for exception.................: disk full\n"
        "  Exception occured in module.........: kiv_file:120\n"
        "  Exception occured in line...........: 120\n";
    expectRuns({{"blocks", {},
                 [&x](KivClConsoleUI& ui) -> int {
                     ui.init(nullptr, nullptr, nullptr, nullptr);
                     ui.info("Title", "a", "b");
                     ui.info("Only");
                     ui.warning("a", "b");
                     ui.error("a", nullptr, "c");
                     ui.exception(x, "a");
                     ui.fatal(7, "a", "b", "c", "d", "e");
                 },
                 block("Title", "a: b") + "\n" + bar() + "ktrc: Only\n" + exceptionFields + "\a",
                 block("Warning", "a: b") + block("An error occurred", "a: c") +
                     block("An exception occurred", "a") +
                     block("A fatal error occurred", "a: b: c: d: e"),
                 7}});
}

// A tool catalog that holds its own message 1 and, from number 100 on, a
// translation of the library texts the checks below need.
TEST(ConsoleUICatalog, TranslatedLibraryTextsFollowTheMessageBase) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("tool.msg"),
                       "$set 1\n1 TOOL\n103 JA\n108 ab\n109 copyright\n110 still\n"
                       "114 Fehler\n117 Aufruf\n123 Unbekanntes Argument\n");
    const kivtest::ChildResult made =
        kivtest::runShell("gencat " + dir.file("tool.cat") + " " + dir.file("tool.msg"));
    ASSERT_EQ(made.exitCode, 0) << made.err;
    const kivtest::ChildResult result = kivtest::runInChild([&dir] {
        conuitest::useNeutralEnvironment();
        conuitest::Argv args({"-y"});
        KivClConsoleUI ui(args.argc(), args.argv(), KivClFilename(dir.file("tool.msg").c_str()), 100);
        ui.init(nullptr, nullptr, nullptr, nullptr);
        ui.setFormatWidth(1);
        ui.formatBool("L", true);
        ui.handleUsageHelp("[-x]", nullptr);
        return 0;
    });
    ASSERT_TRUE(result.exited);
    EXPECT_EQ(result.exitCode, 201);
    EXPECT_EQ(result.out, "  L: JA\n\nAufruf: ktrc [-a|-b|-copyright] [-still]\n             [-x]\n\n\a");
    EXPECT_EQ(result.err, block("Fehler", "Unbekanntes Argument: -y"));
}

TEST(ConsoleUIDisplays, HelpTitleAndEmptyUsage) {
    expectRuns({{"displays", {},
                 [](KivClConsoleUI& ui) {
                     ui.init(150UL, 0UL, nullptr, nullptr);  // "Trace Controller"
                     ui.displayTitle(nullptr, nullptr);
                     ui.displayTitle(nullptr, "only sub");
                     ui.displayUsage(false);
                     ui.displayHelp(false);
                     ui.displayUsageHelp("(-a <x>)", "line\n@\nnext", false);
                     return 0;
                 },
                 "\nktrc - Trace Controller\n"
                 "   only sub\n"
                 "\nUsage: ktrc [-h|-H|-?|-copyright] [-quiet]\n            \n"
                 "    Sorry, no additional help available\n"
                 "\nUsage: ktrc [-h|-H|-?|-copyright] [-quiet]\n            -a <x>\n"
                 "\nHelp: line\n      \n\n      next\n",
                 "", 0}});
}

}  // namespace
