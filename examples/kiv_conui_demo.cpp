// A small tool on the console UI: its command line is checked against the
// usage string below ("-h" shows usage and help), a missing count is asked
// for when "-ask" is given, and the result is written as labelled values.
//
//   kiv_conui_demo -name Ada -n 2 one two
//   kiv_conui_demo -ask          (asks "How many greetings" on the terminal)
//   kiv_conui_demo -h            (usage and help, exit code 201)
#include "kiv.hpp"

namespace {

const char* const USAGE = "[(-n <count>)] [(-name <text>)] [-ask] [<word> ...]";
const char* const HELP =
    "-n <count>      how many greetings to write (1 to 9)\n"
    "-name <text>    whom to greet (default: world)\n"
    "-ask            ask for the count when -n is not given\n"
    "<word> ...      further words, listed in the summary";

}  // namespace

int main(int argc, char** argv) {
    KivClConsoleUI ui(argc, argv);
    ui.init("Console UI demo", nullptr, "1.0", __DATE__);
    ui.handleUsageHelp(USAGE, HELP);

    long count = 1;
    if (!ui.hasArgNumval("n", count) && ui.hasArgSwitch("ask")) {
        count = ui.promptNumval("How many greetings", 1, 9, 3);
    }
    const char* name = "world";
    ui.hasArgString("name", name);

    ui.formatHeader("Summary");
    ui.format("Name", name);
    ui.format("Count", count);
    KivClArgvFreeCursor words(ui.getArgCount(), ui.getArgValues(), ui.getUsage());
    for (bool valid = words.setToFirst(); valid; valid = words.setToNext()) {
        ui.format("Word", words.getAsCString());
    }
    for (long i = 0; i < count; ++i) ui.info("Greeting", "Hello", name);
    return 0;
}
