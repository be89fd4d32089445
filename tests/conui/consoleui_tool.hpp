// Runs small console-UI tools in child processes, in the C locale with no
// catalog search path and quoting off, and compares both output streams and
// the exit code.
#ifndef CONSOLEUI_TOOL_HPP
#define CONSOLEUI_TOOL_HPP

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "kiv_consoleui.hpp"
#include "kiv_test_support.hpp"

namespace conuitest {

// The tool's program path; its process name "ktrc" has four characters.
constexpr const char* PROGRAM = "/opt/bin/ktrc.bin";

inline std::string bar() { return std::string(KivClConsoleUI::BAR_WIDTH, '-') + "\n"; }

// A message block of the tool ("\n", bar, "ktrc: <header>:") with the first
// message line "    " + "  " + line.
inline std::string block(const std::string& header, const std::string& line) {
    return "\n" + bar() + "ktrc: " + header + ":\n      " + line + "\n";
}

// An argc/argv pair whose entry 0 is the program.
struct Argv {
    explicit Argv(const std::vector<std::string>& arguments, const char* program = PROGRAM) : texts(arguments) {
        texts.insert(texts.begin(), program);
        for (const std::string& text : texts) pointers.push_back(text.c_str());
        pointers.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(texts.size()); }
    const char** argv() { return pointers.data(); }
    std::vector<std::string> texts;
    std::vector<const char*> pointers;
};

// One run of a tool and what it must write and return; input goes to its
// standard input through a pipe (well below the pipe's capacity).
struct ToolRun {
    std::string what;
    std::vector<std::string> arguments;
    std::function<int(KivClConsoleUI&)> body;
    std::string out;
    std::string err;
    int exitCode;
    std::string input = {};
};

// Runs each tool with the library's texts, or with those of catalog from
// message base on.
inline void expectRuns(const std::vector<ToolRun>& runs, const char* catalog = nullptr, unsigned long base = 0) {
    for (const ToolRun& run : runs) {
        SCOPED_TRACE(run.what);
        const kivtest::ChildResult result = kivtest::runInChild([&] {
            ::setenv("LC_ALL", "C", 1);
            ::unsetenv("NLSPATH");
            ::unsetenv(KIV_CONSOLEUI_QUOTE_STRINGS);
            int fds[2];
            if (::pipe(fds) != 0 || ::write(fds[1], run.input.data(), run.input.size()) < 0) std::abort();
            ::close(fds[1]);
            ::dup2(fds[0], 0);
            Argv args(run.arguments);
            KivClConsoleUI ui = catalog == nullptr
                                    ? KivClConsoleUI(args.argc(), args.argv())
                                    : KivClConsoleUI(args.argc(), args.argv(), KivClFilename(catalog), base);
            return run.body(ui);
        });
        ASSERT_TRUE(result.exited);
        EXPECT_EQ(result.exitCode, run.exitCode);
        EXPECT_EQ(result.out, run.out);
        EXPECT_EQ(result.err, run.err);
    }
}

}  // namespace conuitest

#endif  // CONSOLEUI_TOOL_HPP
