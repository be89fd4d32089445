// Error records, error classes, severities, actions and error identifiers.
//
// Every failure the library reports is described by an error identifier and
// an error class (_KivStError); failures that reach a user also carry a
// severity and a recommended action (_KivStUserError). The printable names of
// all values are messages of the library message table; the mapping functions
// below return their message numbers (0 for a value without a name).
//
// Failure policy: these are plain values and lookups; nothing fails. An
// unknown value maps to message 0, which is no message.
//
//   _KivStError error{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM};
//   kivErrorGetIdAsMessageId(error.errorId);        // 67: "FILE_COULD_NOT_COPY"
//   kivErrorGetClassAsMessageId(error.errorClass);  // 121: "IO_PROBLEM"
//   KivClMessage(catalog, 67).getText();            // that name from a catalog
//                                                   // (translated in a translated one)
#ifndef KIV_ERROR_HPP
#define KIV_ERROR_HPP

#include <cstdint>

enum KivEnErrorClass : uint32_t {
    KIV_ERRCLASS_UNKNOWN = 0,
    KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED = 1,
    KIV_ERRCLASS_FUNCTION_NOT_ENABLED = 2,
    KIV_ERRCLASS_USER_ERROR = 100,
    KIV_ERRCLASS_USER_DATA_ERROR = 101,
    KIV_ERRCLASS_OUT_OF_MEMORY = 200,
    KIV_ERRCLASS_RESOURCE_EXHAUSTED = 201,
    KIV_ERRCLASS_INVALID_DATA = 202,
    KIV_ERRCLASS_DATA_OUT_OF_BOUNDS = 203,
    KIV_ERRCLASS_INVALID_POINTER = 204,
    KIV_ERRCLASS_UNKNOWN_PROCESS = 205,
    KIV_ERRCLASS_RESOURCE_MISSING = 206,
    KIV_ERRCLASS_LOGIC = 300,
    KIV_ERRCLASS_INCONSISTENT_SITUATION = 301,
    KIV_ERRCLASS_COMMUNICATION_PROBLEM = 400,
    KIV_ERRCLASS_IO_PROBLEM = 500,
    KIV_ERRCLASS_IO_WRITE_PROBLEM = 501,
    KIV_ERRCLASS_IO_READ_PROBLEM = 502,
    KIV_ERRCLASS_IO_PERMISSION_DENIED = 503,
    KIV_ERRCLASS_IO_NOT_EXISTENT = 504,
    KIV_ERRCLASS_IO_ALREADY_IN_USE = 505,
    KIV_ERRCLASS_IO_STILL_IN_USE = 506,
    KIV_ERRCLASS_IO_INVALID_NAME = 507,
    KIV_ERRCLASS_HARDWARE_PROBLEM = 900,
    KIV_ERRCLASS_HARDWARE_SETUP = 901,
    KIV_ERRCLASS_HARDWARE_PERFORMANCE = 902,
    KIV_ERRCLASS_HARDWARE_NOT_SUPPORTED = 903
};

enum KivEnErrorSeverity : uint32_t {
    KIV_SEVERITY_NONE = 0,
    KIV_SEVERITY_INFO = 1,
    KIV_SEVERITY_WARNING = 2,
    KIV_SEVERITY_NORMAL = 5,
    KIV_SEVERITY_FATAL = 6,
    KIV_SEVERITY_INTERNAL = 7,
    KIV_SEVERITY_CRITICAL = 8,
    KIV_SEVERITY_PANIC = 10
};

enum KivEnErrorAction : uint32_t {
    KIV_ACTION_IGNORE = 0,
    KIV_ACTION_INFORM = 1,
    KIV_ACTION_WARN = 2,
    KIV_ACTION_RETRY = 3,
    KIV_ACTION_RETRYDELAY = 4,
    KIV_ACTION_USER = 5,
    KIV_ACTION_TERMINATE = 6,
    KIV_ACTION_ABORT = 8,
    KIV_ACTION_PANIC = 10
};

// Error identifiers. The console UI owns the 200s; every other subsystem owns
// a block of 100 starting at 1,000,000 + n*100 and numbers from 1.
enum : uint32_t {
    KIV_ERRID_NO_ERROR = 0,

    KIV_ERRID_CONUI_USAGE = 201,
    KIV_ERRID_CONUI_ARG_MISSING = 202,
    KIV_ERRID_CONUI_ARG_EXPECTING_VALUE = 203,
    KIV_ERRID_CONUI_ARG_VALUE_TYPE_MISMATCH = 204,
    KIV_ERRID_CONUI_MSGCAT_CORRUPTED = 205,

    KIV_ERRID_INIFILE_INVAL_SECTION = 1000001,
    KIV_ERRID_INIFILE_INVAL_OPTION = 1000002,
    KIV_ERRID_INIFILE_INVAL_WHITESPACE = 1000003,

    KIV_ERRID_DIRECTORY_EXPANSION_FAILED = 1000101,
    KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE = 1000102,
    KIV_ERRID_DIRECTORY_COULD_NOT_CREATE = 1000103,
    KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE = 1000104,
    KIV_ERRID_DIRECTORY_COULD_NOT_DETACH = 1000105,

    KIV_ERRID_PROCESS_COULD_NOT_KILL = 1000201,
    KIV_ERRID_PROCESS_COULD_NOT_LAUNCH = 1000202,

    KIV_ERRID_THREAD_COULD_NOT_KILL = 1000301,
    KIV_ERRID_THREAD_COULD_NOT_LAUNCH = 1000302,
    KIV_ERRID_THREAD_COULD_NOT_SUSPEND = 1000303,
    KIV_ERRID_THREAD_COULD_NOT_RESUME = 1000304,

    KIV_ERRID_FILE_COULD_NOT_COPY = 1000401,
    KIV_ERRID_FILE_COULD_NOT_REMOVE = 1000402,
    KIV_ERRID_FILE_COULD_NOT_COPY_SELF = 1000403,
    KIV_ERRID_FILE_COULD_NOT_RENAME = 1000404,

    KIV_ERRID_DIRWALK_COULD_NOT_INIT = 1000601,
    KIV_ERRID_DIRWALK_NO_CONTINUATION = 1000602,

    KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN = 1000701,
    KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF = 1000702,
    KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED = 1000703,

    KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW = 1000801,
    KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG = 1000802,

    KIV_ERRID_CPCONVERTER_UNSUPPORTED = 1000901,
    KIV_ERRID_CPCONVERTER_INVALID_SEQ = 1000902,
    KIV_ERRID_CPCONVERTER_TOO_BIG = 1000903,
    KIV_ERRID_CPCONVERTER_INCOMPLETE = 1000904,
    KIV_ERRID_CPCONVERTER_BAD_DESCR = 1000905,
    KIV_ERRID_CPCONVERTER_NO_TMP_BUFFER = 1000906,

    KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY = 1001001,
    KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY = 1001002,
    KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC = 1001003,
    KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT = 1001004,

    KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR = 1001101,
    KIV_ERRID_ICU_ILLEGAL_ARGUMENT_ERROR = 1001102,
    KIV_ERRID_ICU_MISSING_RESOURCE_ERROR = 1001103,
    KIV_ERRID_ICU_INVALID_FORMAT_ERROR = 1001104,
    KIV_ERRID_ICU_FILE_ACCESS_ERROR = 1001105,
    KIV_ERRID_ICU_INTERNAL_PROGRAM_ERROR = 1001106,
    KIV_ERRID_ICU_MESSAGE_PARSE_ERROR = 1001107,
    KIV_ERRID_ICU_MEMORY_ALLOCATION_ERROR = 1001108,
    KIV_ERRID_ICU_INDEX_OUTOFBOUNDS_ERROR = 1001109,
    KIV_ERRID_ICU_PARSE_ERROR = 1001110,
    KIV_ERRID_ICU_INVALID_TABLE_FORMAT = 1001111,
    KIV_ERRID_ICU_INVALID_TABLE_FILE = 1001112,
    KIV_ERRID_ICU_UNSUPPORTED_ERROR = 1001113,
    KIV_ERRID_ICU_RESOURCE_TYPE_MISMATCH = 1001114,
    KIV_ERRID_ICU_ILLEGAL_ESCAPE_SEQUENCE = 1001115,
    KIV_ERRID_ICU_UNSUPPORTED_ESCAPE_SEQ = 1001116,
    KIV_ERRID_ICU_NO_SPACE_AVAILABLE = 1001117,
    KIV_ERRID_ICU_ERROR_LIMIT = 1001118
};

// {error id, error class}; {0, 0} reports success.
// {error id, error class}: what an object keeps of its last failure;
// {0, 0} means success.
struct _KivStError {
    uint32_t errorId;
    KivEnErrorClass errorClass;
};

// {error id, error class, severity, action}: what an exception carries.
struct _KivStUserError {
    uint32_t errorId;
    KivEnErrorClass errorClass;
    KivEnErrorSeverity severity;
    KivEnErrorAction action;
};

static_assert(sizeof(_KivStError) == 8, "_KivStError must stay 8 bytes");
static_assert(sizeof(_KivStUserError) == 16, "_KivStUserError must stay 16 bytes");

extern "C" {

// Message number of the printable name of an error identifier, class,
// severity or action in the library message table; 0 for any value that has
// no name.
unsigned long kivErrorGetIdAsMessageId(unsigned long errorId);
unsigned long kivErrorGetClassAsMessageId(KivEnErrorClass errorClass);
unsigned long kivErrorGetSeverityAsMessageId(KivEnErrorSeverity severity);
unsigned long kivErrorGetActionAsMessageId(KivEnErrorAction action);

// Library level (release and build), e.g. "KIVLibR5-24".
const char* kivLibraryGetLevel();
// Compile date of the library in the form "Apr 29 2010".
const char* kivLibraryGetTod();
// True: this is a shipped build, not a development build.
bool kivLibraryIsShipCode();

}  // extern "C"

#endif  // KIV_ERROR_HPP
