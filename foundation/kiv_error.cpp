// Error value to message number mappings and the library identification.
#include "kiv_error.hpp"

#include <cstddef>

extern "C" unsigned long kivErrorGetIdAsMessageId(unsigned long errorId) {
    switch (errorId) {
        case KIV_ERRID_NO_ERROR: return 47;
        case KIV_ERRID_CONUI_USAGE: return 48;
        case KIV_ERRID_CONUI_ARG_MISSING: return 49;
        case KIV_ERRID_CONUI_ARG_EXPECTING_VALUE: return 50;
        case KIV_ERRID_CONUI_ARG_VALUE_TYPE_MISMATCH: return 51;
        case KIV_ERRID_CONUI_MSGCAT_CORRUPTED: return 52;
        case KIV_ERRID_INIFILE_INVAL_SECTION: return 53;
        case KIV_ERRID_INIFILE_INVAL_OPTION: return 54;
        case KIV_ERRID_INIFILE_INVAL_WHITESPACE: return 55;
        case KIV_ERRID_DIRECTORY_EXPANSION_FAILED: return 56;
        case KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE: return 57;
        case KIV_ERRID_DIRECTORY_COULD_NOT_CREATE: return 58;
        case KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE: return 59;
        case KIV_ERRID_DIRECTORY_COULD_NOT_DETACH: return 60;
        case KIV_ERRID_PROCESS_COULD_NOT_KILL: return 61;
        case KIV_ERRID_PROCESS_COULD_NOT_LAUNCH: return 62;
        case KIV_ERRID_THREAD_COULD_NOT_KILL: return 63;
        case KIV_ERRID_THREAD_COULD_NOT_LAUNCH: return 64;
        case KIV_ERRID_THREAD_COULD_NOT_SUSPEND: return 65;
        case KIV_ERRID_THREAD_COULD_NOT_RESUME: return 66;
        case KIV_ERRID_FILE_COULD_NOT_COPY: return 67;
        case KIV_ERRID_FILE_COULD_NOT_REMOVE: return 68;
        case KIV_ERRID_FILE_COULD_NOT_COPY_SELF: return 69;
        case KIV_ERRID_FILE_COULD_NOT_RENAME: return 70;
        case KIV_ERRID_DIRWALK_COULD_NOT_INIT: return 71;
        case KIV_ERRID_DIRWALK_NO_CONTINUATION: return 72;
        case KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN: return 73;
        case KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF: return 74;
        case KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED: return 75;
        case KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW: return 76;
        case KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG: return 77;
        case KIV_ERRID_CPCONVERTER_UNSUPPORTED: return 78;
        case KIV_ERRID_CPCONVERTER_INVALID_SEQ: return 79;
        case KIV_ERRID_CPCONVERTER_TOO_BIG: return 80;
        case KIV_ERRID_CPCONVERTER_INCOMPLETE: return 81;
        case KIV_ERRID_CPCONVERTER_BAD_DESCR: return 82;
        case KIV_ERRID_CPCONVERTER_NO_TMP_BUFFER: return 83;
        case KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY: return 84;
        case KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY: return 85;
        case KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC: return 86;
        case KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT: return 87;
        default: break;
    }
    // The ICU block numbers its 18 members consecutively, as do their names.
    if (errorId >= KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR && errorId <= KIV_ERRID_ICU_ERROR_LIMIT) {
        return 88 + (errorId - KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR);
    }
    return 0;
}

extern "C" unsigned long kivErrorGetClassAsMessageId(KivEnErrorClass errorClass) {
    switch (errorClass) {
        case KIV_ERRCLASS_UNKNOWN: return 106;
        case KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED: return 107;
        case KIV_ERRCLASS_FUNCTION_NOT_ENABLED: return 108;
        case KIV_ERRCLASS_USER_ERROR: return 109;
        case KIV_ERRCLASS_USER_DATA_ERROR: return 110;
        case KIV_ERRCLASS_OUT_OF_MEMORY: return 111;
        case KIV_ERRCLASS_RESOURCE_EXHAUSTED: return 112;
        case KIV_ERRCLASS_INVALID_DATA: return 113;
        case KIV_ERRCLASS_DATA_OUT_OF_BOUNDS: return 114;
        case KIV_ERRCLASS_INVALID_POINTER: return 115;
        case KIV_ERRCLASS_UNKNOWN_PROCESS: return 116;
        case KIV_ERRCLASS_RESOURCE_MISSING: return 117;
        case KIV_ERRCLASS_LOGIC: return 118;
        case KIV_ERRCLASS_INCONSISTENT_SITUATION: return 119;
        case KIV_ERRCLASS_COMMUNICATION_PROBLEM: return 120;
        case KIV_ERRCLASS_IO_PROBLEM: return 121;
        case KIV_ERRCLASS_IO_WRITE_PROBLEM: return 122;
        case KIV_ERRCLASS_IO_READ_PROBLEM: return 123;
        case KIV_ERRCLASS_IO_PERMISSION_DENIED: return 124;
        case KIV_ERRCLASS_IO_NOT_EXISTENT: return 125;
        case KIV_ERRCLASS_IO_ALREADY_IN_USE: return 126;
        case KIV_ERRCLASS_IO_STILL_IN_USE: return 127;
        case KIV_ERRCLASS_IO_INVALID_NAME: return 128;
        case KIV_ERRCLASS_HARDWARE_PROBLEM: return 129;
        case KIV_ERRCLASS_HARDWARE_SETUP: return 130;
        case KIV_ERRCLASS_HARDWARE_PERFORMANCE: return 131;
        case KIV_ERRCLASS_HARDWARE_NOT_SUPPORTED: return 132;
    }
    return 0;
}

extern "C" unsigned long kivErrorGetSeverityAsMessageId(KivEnErrorSeverity severity) {
    switch (severity) {
        case KIV_SEVERITY_NONE: return 133;
        case KIV_SEVERITY_INFO: return 134;
        case KIV_SEVERITY_WARNING: return 135;
        case KIV_SEVERITY_NORMAL: return 136;
        case KIV_SEVERITY_FATAL: return 137;
        case KIV_SEVERITY_INTERNAL: return 138;
        case KIV_SEVERITY_CRITICAL: return 139;
        case KIV_SEVERITY_PANIC: return 140;
    }
    return 0;
}

extern "C" unsigned long kivErrorGetActionAsMessageId(KivEnErrorAction action) {
    switch (action) {
        case KIV_ACTION_IGNORE: return 141;
        case KIV_ACTION_INFORM: return 142;
        case KIV_ACTION_WARN: return 143;
        case KIV_ACTION_RETRY: return 144;
        // The message table lists USER before RETRYDELAY.
        case KIV_ACTION_RETRYDELAY: return 146;
        case KIV_ACTION_USER: return 145;
        case KIV_ACTION_TERMINATE: return 147;
        case KIV_ACTION_ABORT: return 148;
        case KIV_ACTION_PANIC: return 149;
    }
    return 0;
}

extern "C" const char* kivLibraryGetLevel() { return "KIVLibR5-24"; }

extern "C" const char* kivLibraryGetTod() {
    // __DATE__ is "Mmm dd yyyy" with a blank-padded day; the library's form
    // uses single blanks, so a padded day loses its pad.
    static const char* const tod = [] {
        static char text[sizeof(__DATE__)];
        const char* date = __DATE__;
        size_t out = 0;
        for (size_t in = 0; date[in] != '\0'; ++in) {
            if (date[in] == ' ' && out > 0 && text[out - 1] == ' ') continue;
            text[out++] = date[in];
        }
        text[out] = '\0';
        return text;
    }();
    return tod;
}

extern "C" bool kivLibraryIsShipCode() { return true; }
