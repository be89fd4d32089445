// The trace controller behind kivtracectl: attaches to the trace environment
// of a key without touching its trace file, shows the trace status and
// filter, formats the trace file, and on request creates, dumps or empties
// it.
//
// Command line (usage and help are library messages 151 and 152):
//   kivtracectl -key App -display             format App's trace file
//   kivtracectl -key App                      status display only
//   kivtracectl -key App -display -verbose    format, then the status
//   kivtracectl -key App -display -reset      format, then empty the file
// Three switches stay out of the usage display: -init creates an empty trace
// file where none exists, -dump prints the file's raw bytes as hex dump
// lines, -reset empties the file. They run in the order -init, -display,
// -dump, -reset; the status follows them with -verbose, or alone when none is
// given.
//
// The records shown pass a filter of the controller's own: a copy of the
// key's recording filter (<KEY>_TRACE_DETAIL and _COMPSET) in which -fdetail,
// -fcompids (the listed ids only), -fpid and -ftid replace their parts. The
// recording filter itself is never changed.
//
// Failure policy: see kiv_tracetool.hpp for the exit codes; run() returns 0
// or ends the process.
#ifndef KIV_TRACE_CONTROLLER_HPP
#define KIV_TRACE_CONTROLLER_HPP

#include <string>

#include "kiv_consoleui.hpp"
#include "kiv_traceformat.hpp"
#include "kiv_tracetool.hpp"

class KivClTraceController {
public:
    // Message numbers of the controller's texts in the library table.
    static constexpr unsigned long MSG_TITLE = 150;
    static constexpr unsigned long MSG_USAGE = 151;
    static constexpr unsigned long MSG_HELP = 152;
    static constexpr unsigned long MSG_KEY = 153, MSG_INSTANCE = 154, MSG_FILE = 155, MSG_VERBOSE = 156,
                                   MSG_INIT = 157, MSG_DUMP = 158, MSG_DISPLAY = 159, MSG_RESET = 160,
                                   MSG_FORMAT = 162, MSG_FNOFHD = 163, MSG_FSSFHD = 164, MSG_FHEX = 165,
                                   MSG_FBIN = 166, MSG_FNEST = 167, MSG_FINDENT = 168, MSG_FDETAIL = 169,
                                   MSG_FCOMPIDS = 170, MSG_FPID = 171, MSG_FTID = 172;
    static constexpr unsigned long MSG_KEY_INSTANCE = 173, MSG_STATUS = 174, MSG_FILTER = 175,
                                   MSG_ACTIVE = 176, MSG_ENABLED = 177, MSG_SHARED = 178,
                                   MSG_BUFFER_SIZE = 179, MSG_TRACE_FILE = 180, MSG_DETAIL = 181,
                                   MSG_FILTER_PID = 182, MSG_FILTER_TID = 183, MSG_COMPONENT_SET = 184,
                                   MSG_COMPRESSION = 185, MSG_ENTRIES = 186, MSG_INCLUDE = 187,
                                   MSG_EXCLUDE = 188;
    // The hidden switches: a tagged first line put before the usage string,
    // which the usage display drops whole.
    static constexpr const char* HIDDEN_SWITCHES = "![-init] [-dump] [-reset]\n";

    explicit KivClTraceController(KivClConsoleUI& ui) : ui_(ui) {}
    KivClTraceController(const KivClTraceController&) = delete;
    KivClTraceController& operator=(const KivClTraceController&) = delete;

    // Checks the command line, does what it asks and returns the exit code.
    int run();

    // The ids 1..255 whose bit is set (enabled) or cleared (!enabled), in the
    // component set syntax: "1.3,7,200.255"; "" when there are none.
    static std::string componentRanges(const KivClTraceFilter& filter, bool enabled);

private:
    std::string text(unsigned long id) const;
    void applyFilterOptions(KivClTraceFilter& filter) const;
    void applyFormatOptions(KivClTraceFormatter& formatter) const;
    void display(KivClTraceToolSession& session, KivClTraceFormatter& formatter) const;
    void createFile(KivClTraceToolSession& session) const;
    void dumpFile(KivClTraceToolSession& session) const;
    void resetFile(KivClTraceToolSession& session) const;
    void showStatus(KivClTraceToolSession& session, const KivClTraceFormatter& formatter) const;

    KivClConsoleUI& ui_;
};

#endif  // KIV_TRACE_CONTROLLER_HPP
