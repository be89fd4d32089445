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

struct PromptRun {
    const char* input;
    std::function<std::string(const KivClConsoleUI&)> ask;
    std::string out;
    std::string answer;
};

void expectPrompts(const PromptRun* begin, const PromptRun* end) {
    for (const PromptRun* run = begin; run != end; ++run) {
        SCOPED_TRACE(run->input);
        const kivtest::ChildResult result = conuitest::runTool(
            {},
            [run](KivClConsoleUI& ui) {
                ui.init(nullptr, nullptr, nullptr, nullptr);
                std::cerr << run->ask(ui);
                return 0;
            },
            run->input);
        ASSERT_TRUE(result.exited);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.out, run->out);
        EXPECT_EQ(result.err, run->answer);
    }
}

std::function<std::string(const KivClConsoleUI&)> numval(long minimum, long maximum, long fallback) {
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
    const PromptRun runs[] = {
        {"\n", numval(1, 10, 5), p, "5"},
        {"", numval(1, 10, 5), p, "5"},
        {"0\n7\n", numval(1, 10, 5), p + limits + p, "7"},
        {"abc\n+4\n3\n", numval(1, 10, 5), p + number + p + number + p, "3"},
        {"7xyz\n", numval(1, 10, 5), p, "7"},
        {"-3\n", numval(-5, 5, 0), numPrompt(-5, 5, 0), "-3"},
        {"99\n", numval(1, 10, 50), numPrompt(1, 10, 50) + limits + numPrompt(1, 10, 50), "10"},
        {"", numval(1, 10, -50), numPrompt(1, 10, -50), "1"},
    };
    expectPrompts(std::begin(runs), std::end(runs));
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
    const PromptRun runs[] = {
        {"\n", yesNo(false), qNo, "no"},
        {"y\n", yesNo(false), qNo, "yes"},
        {"Yes please\n", yesNo(false), qNo, "yes"},
        {"maybe\nn\n", yesNo(true), qYes + use + qYes, "no"},
        {"", yesNo(true), qYes, "yes"},
        {"x\n", yesNo(false), qNo + use + qNo, "no"},
    };
    expectPrompts(std::begin(runs), std::end(runs));
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
    const PromptRun runs[] = {
        {"\n", text("anon"), withDefault, "anon"},
        {"", text("anon"), withDefault, "anon"},
        {"\n", text(nullptr), plain, ""},
        {"  \n", text("anon"), withDefault, "  "},
        {"bob", text("anon"), withDefault, "bob"},
        {longLine.c_str(), twice, plain + plain, std::string(80, 'x') + "|next"},
        {"anything\nbob\n", afterKey, " === Press <ENTER> to continue ===\n" + plain, "bob"},
        {"\n", hinted,
         bar() + " Q (h):\n (default: d): " + bar() + " === Press any key to continue ===:\n (default: d): ",
         "d"},
    };
    expectPrompts(std::begin(runs), std::end(runs));
}

}  // namespace
