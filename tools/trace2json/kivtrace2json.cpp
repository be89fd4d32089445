// kivtrace2json: writes the trace file of a key as Chrome trace-event JSON on
// standard output.
//
//   kivtrace2json -key KivDemo > demo.json     then open demo.json in
//                                              https://ui.perfetto.dev
#include <iostream>

#include "kiv_consoleui.hpp"
#include "kiv_trace_json.hpp"
#include "kiv_tracetool.hpp"

namespace {

const char* const USAGE = "(-key <key>) [(-instance <instance>)] [(-file <filename>)]";
const char* const HELP =
    "-key <key>               Key of the trace facility, as the traced program uses it\n"
    "[-instance <instance>]   Optional instance key\n"
    "[-file <filename>]       Trace file to convert (Default: <key>_TRACE_FILE)\n"
    "@\n"
    "The JSON goes to standard output; Perfetto's UI and chrome://tracing open it.";

}  // namespace

int main(int argc, char** argv) {
    KivClConsoleUI ui(argc, argv);
    // No title: standard output carries nothing but the JSON document.
    ui.init(nullptr, nullptr, kivLibraryGetLevel(), __DATE__);
    ui.handleUsageHelp(USAGE, HELP);
    const char* key = nullptr;
    const char* instance = nullptr;
    const char* file = nullptr;
    ui.reqArgString("key", key);
    ui.hasArgString("instance", instance);
    ui.hasArgString("file", file);
    KivClTraceToolSession session(ui, key, instance, file);
    session.requireTraceFile();
    KivClTraceJsonWriter writer(session.environment(), ui.getOutputStream());
    const uint32_t error = writer.write();
    if (error != 0) session.failTraceFile(error);
    return KIV_TRACETOOL_EXIT_OK;
}
