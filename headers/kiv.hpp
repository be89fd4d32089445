// Umbrella header: includes every public header of the library.
#ifndef KIV_HPP
#define KIV_HPP

#include "kiv_argv.hpp"
#include "kiv_bitarray.hpp"
#include "kiv_cursor.hpp"
#include "kiv_dump.hpp"
#include "kiv_envvar.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifilesave.hpp"
#include "kiv_match.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"
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
