// Umbrella header: includes every public header of the library, so that a
// client needs one include line. Installed, the headers live in include/kiv
// and both include folders are exported, so <kiv.hpp> and <kiv/kiv.hpp> (and
// any single family, such as <kiv/kiv_inifile.hpp>) work alike. Link with
// kiv::kiv (find_package(kiv)) or `pkg-config --libs kiv`.
//
// Failure policy of the library as a whole: ordinary failures return false
// and leave a _KivStError in the object or an out-parameter (kiv_error.hpp);
// work that should go on hands its errors to a handler the caller installs
// (ini loader, memory pool); failures a caller cannot be expected to check
// throw KivClException, and KivClExceptionFatal where the process cannot
// sensibly go on (kiv_exception.hpp). Allocation never returns null.
// Command-line errors of a console tool end the process with exit codes 201
// to 204 (kiv_consoleui.hpp).
//
//   #include <kiv/kiv.hpp>
//   int main(int argc, char** argv) {
//       KivClConsoleUI ui(argc, argv);
//       ui.init("Hello", nullptr, "1.0", __DATE__);  // "\nhello - Hello\n" (program "hello")
//       ui.handleUsageHelp("[-v]", "-v  be verbose");  // "hello -x": message, usage, exit 201
//       return ui.hasArgSwitch("v") ? 1 : 0;
//   }
#ifndef KIV_HPP
#define KIV_HPP

#include "kiv_argv.hpp"
#include "kiv_bitarray.hpp"
#include "kiv_ccsid.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_converter.hpp"
#include "kiv_cursor.hpp"
#include "kiv_directory.hpp"
#include "kiv_dll.hpp"
#include "kiv_dump.hpp"
#include "kiv_envvar.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"
#include "kiv_icu_interface.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifilesave.hpp"
#include "kiv_language.hpp"
#include "kiv_match.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgcatproxy.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_persistency.hpp"
#include "kiv_process.hpp"
#include "kiv_random.hpp"
#include "kiv_resourcekey.hpp"
#include "kiv_string.hpp"
#include "kiv_timing.hpp"
#include "kiv_trace.hpp"
#include "kiv_tracebuffer.hpp"
#include "kiv_traceentry.hpp"
#include "kiv_tracefilter.hpp"
#include "kiv_traceformat.hpp"
#include "kiv_usage.hpp"

#endif  // KIV_HPP
