// Console UI prompts: standard input fed through a pipe to a child tool,
// whole standard output compared, answers reported on standard error.
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <string>

#include "consoleui_tool.hpp"
#include "kiv_consoleui.hpp"

namespace {

using conuitest::bar;
using conuitest::block;

std::string invalid(const std::string& why) { return block("An error occurred", "Invalid value specified: " + why); }

using Ask = std::function<std::string(const KivClConsoleUI&)>;

// A tool that asks once (or as ask says) and writes the answer on standard
// error; input is its standard input.
conuitest::ToolRun run(const char* input, const Ask& ask, const std::string& out, const std::string& answer) {
    auto body = [ask](KivClConsoleUI& ui) {
        ui.init(nullptr, nullptr, nullptr, nullptr);
        std::cerr << ask(ui);
        return 0;
    };
    return {input, {}, body, out, answer, 0, input};
}

Ask numval(long minimum, long maximum, long fallback) {
    return [=](const KivClConsoleUI& ui) {
        return std::to_string(ui.promptNumval("Count", minimum, maximum, fallback));
    };
}

std::string numPrompt(long minimum, long maximum, long fallback) {
    return bar() + " Count (min.: " + std::to_string(minimum) + ", max.: " + std::to_string(maximum) +
           "):\n (default: " + std::to_string(fallback) + "): ";
}

TEST(ConsoleUIPrompt, NumbersTakeDefaultsAndAskAgainUntilValid) {
    const std::string p = numPrompt(1, 10, 5);
    const std::string number = invalid("Please enter a numeric value");
    const std::string limits = invalid("Please enter a value within limits");
    conuitest::expectRuns({
        run("\n", numval(1, 10, 5), p, "5"),
        run("", numval(1, 10, 5), p, "5"),
        run("0\n7\n", numval(1, 10, 5), p + limits + p, "7"),
        run("abc\n+4\n3\n", numval(1, 10, 5), p + number + p + number + p, "3"),
        run("7xyz\n", numval(1, 10, 5), p, "7"),
        run("-3\n", numval(-5, 5, 0), numPrompt(-5, 5, 0), "-3"),
        run("99\n", numval(1, 10, 50), numPrompt(1, 10, 50) + limits + numPrompt(1, 10, 50), "10"),
        run("", numval(1, 10, -50), numPrompt(1, 10, -50), "1"),
    });
}

TEST(ConsoleUIPrompt, YesNoLooksAtTheFirstLetterOnly) {
    auto yesNo = [](bool fallback) {
        return [fallback](const KivClConsoleUI& ui) {
            return std::string(ui.promptYesNo("Go on", fallback) ? "yes" : "no");
        };
    };
    const std::string qNo = bar() + " Go on (Y/N):\n (default: N): ";
    const std::string qYes = bar() + " Go on (Y/N):\n (default: Y): ";
    const std::string use = invalid("Please use: Y/N");
    conuitest::expectRuns({
        run("\n", yesNo(false), qNo, "no"),
        run("y\n", yesNo(false), qNo, "yes"),
        run("Yes please\n", yesNo(false), qNo, "yes"),
        run("maybe\nn\n", yesNo(true), qYes + use + qYes, "no"),
        run("", yesNo(true), qYes, "yes"),
        run("x\n", yesNo(false), qNo + use + qNo, "no"),
    });
}

TEST(ConsoleUIPrompt, StringsAndKeysReadOneLineEach) {
    auto text = [](const char* fallback) {
        return [fallback](const KivClConsoleUI& ui) { return std::string(ui.promptString("Name", fallback)); };
    };
    auto twice = [](const KivClConsoleUI& ui) {
        std::string first = ui.promptString("Name", nullptr);
        return first + "|" + ui.promptString("Name", nullptr);
    };
    auto afterKey = [](const KivClConsoleUI& ui) {
        ui.promptForKey();
        return std::string(ui.promptString("Name", nullptr));
    };
    auto hinted = [](const KivClConsoleUI& ui) {
        ui.prompt("Q", "h", "d");
        return std::string(ui.promptString(19UL, "d"));  // message 19 as question
    };
    const std::string withDefault = bar() + " Name:\n (default: anon): ";
    const std::string plain = bar() + " Name:\n ";
    const std::string longLine = std::string(100, 'x') + "\nnext\n";
    conuitest::expectRuns({
        run("\n", text("anon"), withDefault, "anon"),
        run("", text("anon"), withDefault, "anon"),
        run("\n", text(nullptr), plain, ""),
        run("  \n", text("anon"), withDefault, "  "),
        run("bob", text("anon"), withDefault, "bob"),
        run(longLine.c_str(), twice, plain + plain, std::string(80, 'x') + "|next"),
        run("anything\nbob\n", afterKey, " === Press <ENTER> to continue ===\n" + plain, "bob"),
        run("\n", hinted,
         bar() + " Q (h):\n (default: d): " + bar() + " === Press any key to continue ===:\n (default: d): ",
         "d"),
    });
}

}  // namespace
