// Runs a small console-UI tool in a child process: a command line, text for
// its standard input and the tool's body; collects both output streams and
// the exit code. The child runs in the C locale with no catalog search path
// and quoting switched off, so only the library's built-in texts appear.
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
constexpr unsigned long MSG_TRACE_USAGE = 151;
constexpr unsigned long MSG_TRACE_HELP = 152;

inline std::string bar() { return std::string(KivClConsoleUI::BAR_WIDTH, '-') + "\n"; }

// A message block header of the tool ("\n", bar, "ktrc: <text>:") with the
// first message line "    " + "  " + line.
inline std::string block(const std::string& header, const std::string& line) {
    return "\n" + bar() + "ktrc: " + header + ":\n      " + line + "\n";
}

// An argc/argv pair whose entry 0 is PROGRAM.
class Argv {
public:
    explicit Argv(const std::vector<std::string>& arguments, const char* program = PROGRAM)
        : texts_(arguments) {
        texts_.insert(texts_.begin(), program);
        for (const std::string& text : texts_) pointers_.push_back(text.c_str());
        pointers_.push_back(nullptr);
    }
    int argc() const { return static_cast<int>(texts_.size()); }
    const char** argv() { return pointers_.data(); }

private:
    std::vector<std::string> texts_;
    std::vector<const char*> pointers_;
};

inline void useNeutralEnvironment() {
    ::setenv("LC_ALL", "C", 1);
    ::unsetenv("NLSPATH");
    ::unsetenv(KIV_CONSOLEUI_QUOTE_STRINGS);
}

// Feeds input to the child's standard input through a pipe (input stays
// well below the pipe's capacity).
inline void feedStandardInput(const std::string& input) {
    int fds[2];
    if (::pipe(fds) != 0) std::abort();
    if (::write(fds[1], input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
        std::abort();
    }
    ::close(fds[1]);
    ::dup2(fds[0], 0);
    ::close(fds[0]);
}

// One run of a tool and what it must write and return.
struct ToolRun {
    std::string what;
    std::vector<std::string> arguments;
    std::function<int(KivClConsoleUI&)> body;
    std::string out;
    std::string err;
    int exitCode;
    std::string input = {};
};

inline void expectRuns(const std::vector<ToolRun>& runs) {
    for (const ToolRun& run : runs) {
        SCOPED_TRACE(run.what);
        const kivtest::ChildResult result = kivtest::runInChild([&run] {
            useNeutralEnvironment();
            feedStandardInput(run.input);
            Argv args(run.arguments);
            KivClConsoleUI ui(args.argc(), args.argv());
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
