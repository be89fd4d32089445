// The library's own texts as a built-in string table: console UI labels,
// prompts and errors, the printable names of every error identifier, class,
// severity and action, and the texts of the trace controller and formatter.
// A translated catalog file holds the same texts under the same numbers.
#include "kiv_msgtable.hpp"

const char* const kivLibraryMessageTable[KIV_MSGTABLE_LIBRARY_ENTRIES] = {
    // Signature line and the opening block marker.
    /*   0 */ "[KIV_MSGTAB_SIGNATURE] 221",
    /*   1 */ "[KIV-LIBRARY]",

    // A text showing the percent escape and all ten variables.
    /*   2 */ "Percent:%% Arg1:%1 Arg2:%2 Arg3:%3 Arg4:%4 Arg5:%5 Arg6:%6 Arg7:%7 "
              "Arg8:%8 Arg9:%9 Arg10:%10",

    // Console UI: answers, limits, help characters, built-in switch names, the
    // default marker.
    /*   3 */ "YES",
    /*   4 */ "NO",
    /*   5 */ "Y/N",
    /*   6 */ "min.",
    /*   7 */ "max.",
    /*   8 */ "hH?",
    /*   9 */ "copyright",
    /*  10 */ "quiet",
    /*  11 */ "default",

    // Console UI: message headers and usage/help titles.
    /*  12 */ "An exception occurred",
    /*  13 */ "A fatal error occurred",
    /*  14 */ "An error occurred",
    /*  15 */ "Warning",
    /*  16 */ "Informational message",
    /*  17 */ "Usage",
    /*  18 */ "Help",

    // Console UI: prompts and command line errors.
    /*  19 */ "=== Press any key to continue ===",
    /*  20 */ "=== Press <ENTER> to continue ===",
    /*  21 */ "(Specify '-h' for help)",
    /*  22 */ "Sorry, no additional help available",
    /*  23 */ "Unknown command line argument",
    /*  24 */ "Command line argument not allowed",
    /*  25 */ "Illegal repetition of command line argument",
    /*  26 */ "Missing command line switch",
    /*  27 */ "No value specified for command line switch",
    /*  28 */ "No numeric value specified for command line switch",
    /*  29 */ "Non-numeric value specified for numeric command line switch",
    /*  30 */ "Invalid value specified",
    /*  31 */ "Please enter a numeric value",
    /*  32 */ "Please enter a value within limits",
    /*  33 */ "Please use",

    // Console UI: title labels.
    /*  34 */ "Copyright",
    /*  35 */ "Level",
    /*  36 */ "Plim Level",
    /*  37 */ "Plim Level date",
    /*  38 */ "Compile date",

    // Console UI: labels of the fields of an error record and an exception.
    /*  39 */ "Error ID",
    /*  40 */ "Error Class",
    /*  41 */ "Error Severity",
    /*  42 */ "Recommended Action",
    /*  43 */ "Cause for exception",
    /*  44 */ "Exception occured in module",
    /*  45 */ "Exception occured in function",
    /*  46 */ "Exception occured in line",

    // Printable names of the error identifiers.
    /*  47 */ "NO_ERROR",
    /*  48 */ "CONUI_USAGE",
    /*  49 */ "CONUI_ARG_MISSING",
    /*  50 */ "CONUI_ARG_EXPECTING_VALUE",
    /*  51 */ "CONUI_ARG_VALUE_TYPE_MISMATCH",
    /*  52 */ "CONUI_MSGCAT_CORRUPTED",
    /*  53 */ "INIFILE_INVAL_SECTION",
    /*  54 */ "INIFILE_INVAL_OPTION",
    /*  55 */ "INIFILE_INVAL_WHITESPACE",
    /*  56 */ "DIRECTORY_EXPANSION_FAILED",
    /*  57 */ "DIRECTORY_COULD_NOT_CHANGE",
    /*  58 */ "DIRECTORY_COULD_NOT_CREATE",
    /*  59 */ "DIRECTORY_COULD_NOT_REMOVE",
    /*  60 */ "DIRECTORY_COULD_NOT_DETACH",
    /*  61 */ "PROCESS_COULD_NOT_KILL",
    /*  62 */ "PROCESS_COULD_NOT_LAUNCH",
    /*  63 */ "THREAD_COULD_NOT_KILL",
    /*  64 */ "THREAD_COULD_NOT_LAUNCH",
    /*  65 */ "THREAD_COULD_NOT_SUSPEND",
    /*  66 */ "THREAD_COULD_NOT_RESUME",
    /*  67 */ "FILE_COULD_NOT_COPY",
    /*  68 */ "FILE_COULD_NOT_REMOVE",
    /*  69 */ "FILE_COULD_NOT_COPY_SELF",
    /*  70 */ "FILE_COULD_NOT_RENAME",
    /*  71 */ "DIRWALK_COULD_NOT_INIT",
    /*  72 */ "DIRWALK_NO_CONTINUATION",
    /*  73 */ "TRACEFORMAT_COULD_NOT_OPEN",
    /*  74 */ "TRACEFORMAT_UNEXPECTED_EOF",
    /*  75 */ "TRACEFORMAT_FILE_CORRUPTED",
    /*  76 */ "MEMORYPOOL_COULD_NOT_GROW",
    /*  77 */ "MEMORYPOOL_CHUNK_TOO_BIG",
    /*  78 */ "CPCONVERTER_UNSUPPORTED",
    /*  79 */ "CPCONVERTER_INVALID_SEQ",
    /*  80 */ "CPCONVERTER_TOO_BIG",
    /*  81 */ "CPCONVERTER_INCOMPLETE",
    /*  82 */ "CPCONVERTER_BAD_DESCR",
    /*  83 */ "CPCONVERTER_NO_TMP_BUFFER",
    /*  84 */ "MEMMGR_USER_OUT_OF_MEMORY",
    /*  85 */ "MEMMGR_RUNTIME_OUT_OF_MEMORY",
    /*  86 */ "MEMMGR_NO_USER_REALLOC_FUNC",
    /*  87 */ "MEMMGR_ZERO_SIZE_OBJECT",
    /*  88 */ "ICU_UNEXPECTED_ICU_ERROR",
    /*  89 */ "ICU_ILLEGAL_ARGUMENT_ERROR",
    /*  90 */ "ICU_MISSING_RESOURCE_ERROR",
    /*  91 */ "ICU_INVALID_FORMAT_ERROR",
    /*  92 */ "ICU_FILE_ACCESS_ERROR",
    /*  93 */ "ICU_INTERNAL_PROGRAM_ERROR",
    /*  94 */ "ICU_MESSAGE_PARSE_ERROR",
    /*  95 */ "ICU_MEMORY_ALLOCATION_ERROR",
    /*  96 */ "ICU_INDEX_OUTOFBOUNDS_ERROR",
    /*  97 */ "ICU_PARSE_ERROR",
    /*  98 */ "ICU_INVALID_TABLE_FORMAT",
    /*  99 */ "ICU_INVALID_TABLE_FILE",
    /* 100 */ "ICU_UNSUPPORTED_ERROR",
    /* 101 */ "ICU_RESOURCE_TYPE_MISMATCH",
    /* 102 */ "ICU_ILLEGAL_ESCAPE_SEQUENCE",
    /* 103 */ "ICU_UNSUPPORTED_ESCAPE_SEQ",
    /* 104 */ "ICU_NO_SPACE_AVAILABLE",
    /* 105 */ "ICU_ERROR_LIMIT",

    // Printable names of the error classes.
    /* 106 */ "UNKNOWN",
    /* 107 */ "FUNCTION_NOT_SUPPORTED",
    /* 108 */ "FUNCTION_NOT_ENABLED",
    /* 109 */ "USER_ERROR",
    /* 110 */ "USER_DATA_ERROR",
    /* 111 */ "OUT_OF_MEMORY",
    /* 112 */ "RESOURCE_EXHAUSTED",
    /* 113 */ "INVALID_DATA",
    /* 114 */ "DATA_OUT_OF_BOUNDS",
    /* 115 */ "INVALID_POINTER",
    /* 116 */ "UNKNOWN_PROCESS",
    /* 117 */ "RESOURCE_MISSING",
    /* 118 */ "LOGIC",
    /* 119 */ "INCONSISTENT_SITUATION",
    /* 120 */ "COMMUNICATION_PROBLEM",
    /* 121 */ "IO_PROBLEM",
    /* 122 */ "IO_WRITE_PROBLEM",
    /* 123 */ "IO_READ_PROBLEM",
    /* 124 */ "IO_PERMISSION_DENIED",
    /* 125 */ "IO_NOT_EXISTENT",
    /* 126 */ "IO_ALREADY_IN_USE",
    /* 127 */ "IO_STILL_IN_USE",
    /* 128 */ "IO_INVALID_NAME",
    /* 129 */ "HARDWARE_PROBLEM",
    /* 130 */ "HARDWARE_SETUP",
    /* 131 */ "HARDWARE_PERFORMANCE",
    /* 132 */ "HARDWARE_NOT_SUPPORTED",

    // Printable names of the severities.
    /* 133 */ "NONE",
    /* 134 */ "INFO",
    /* 135 */ "WARNING",
    /* 136 */ "NORMAL",
    /* 137 */ "FATAL",
    /* 138 */ "INTERNAL",
    /* 139 */ "CRITICAL",
    /* 140 */ "PANIC",

    // Printable names of the actions (RETRYDELAY and USER follow the order of
    // the table, not of their values).
    /* 141 */ "IGNORE",
    /* 142 */ "INFORM",
    /* 143 */ "WARN",
    /* 144 */ "RETRY",
    /* 145 */ "USER",
    /* 146 */ "RETRYDELAY",
    /* 147 */ "TERMINATE",
    /* 148 */ "ABORT",
    /* 149 */ "PANIC",

    // Trace controller: title, usage string, help text, option keywords, status
    // labels.
    /* 150 */ "Trace Controller",
    /* 151 */ "(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n"
              "[-display]\n"
              "[(-format <string>)] [(-findent <string>)]\n"
              "[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
              "[(-fdetail <detail>)] [(-fcompids <compids>)]\n"
              "[(-fpid <pid>)] [(-ftid <tid>)]\n"
              "[-verbose]",
    /* 152 */ "-key <key>               Specify a key for the trace facility\n"
              "[-instance <instance>]   Specify an optional instance key\n"
              "[-file <filename>]       Specify a filename for the trace file\n"
              "                            (Default: <key>_TRACE_FILE)\n"
              "[-verbose]               Verbose display mode\n"
              "[-display]               Display the current trace\n"
              "[-format <string>]       Use the specified format <string>\n"
              "                            (Default: <key>_TRACE_FORMAT)\n"
              "[-findent <string>]      Format with <string> for indentation\n"
              "[-fnest]                 Format with function nesting\n"
              "[-fnofhd]                Format without function headers\n"
              "[-fssfhd]                Format and skip subsequent function headers\n"
              "[-fhex]                  Format integral data in hex notation, too\n"
              "[-fbin]                  Format integral data in binary notation, too\n"
              "[-fdetail <detail>]      Format only entries with the specified\n"
              "                            detail level (Default: <key>_TRACE_DETAIL)\n"
              "[-fcompids <compids>]    Format only entries with the specified\n"
              "                            component ids\n"
              "[-fpid <pid>]            Format only entries with the specified\n"
              "                            process id\n"
              "[-ftid <tid>]            Format only entries with the specified\n"
              "                            thread id\n"
              "@\n"
              "Trace environment variables:\n"
              "============================\n"
              "   <key>_TRACE_ACTIVE=yes     enables trace\n"
              "   <key>_TRACE_AUTOSAVE=yes   enables trace autosave feature\n"
              "   <key>_TRACE_AUTOCLEAR=yes  automatically clears the trace buffer and file\n"
              "   <key>_TRACE_BUFSIZE=xxx    sets trace buffer to 'xxx' KB of memory\n"
              "   <key>_TRACE_COMPRESS=yes   enables the compression of trace data\n"
              "   <key>_TRACE_DETAIL=xxx     sets the trace detail level to 'xxx'\n"
              "   <key>_TRACE_FILE=xxx       names the trace file as 'xxx'\n"
              "   <key>_TRACE_FORMAT=xxx     sets the trace format string to 'xxx'\n"
              "   <key>_TRACE_COMPSET=xxx    sets the component ids for the trace\n"
              "@\n"
              "Trace format variables:\n"
              "=======================\n"
              "   %%x   display the type of the trace entry with a short name\n"
              "   %%X   display the type of the trace entry with a long name\n"
              "   %%l   display the detail level of the trace entry\n"
              "   %%s   display the timestamp of the trace entry\n"
              "   %%c   display the component id of the trace entry\n"
              "   %%p   display the process id of the trace entry\n"
              "   %%t   display the thread id of the trace entry\n"
              "   %%f   display the function name of the trace entry\n"
              "   %%m   display the message string of the trace entry\n"
              "   %%d   display the dump data of the trace entry\n"
              "   %%\\   display the backslash character\n"
              "   %%n   display the newline character\n"
              "   %%t   display the tab character",
    /* 153 */ "key",
    /* 154 */ "instance",
    /* 155 */ "file",
    /* 156 */ "verbose",
    /* 157 */ "init",
    /* 158 */ "dump",
    /* 159 */ "display",
    /* 160 */ "reset",
    /* 161 */ "fdetail",
    /* 162 */ "format",
    /* 163 */ "fnofhd",
    /* 164 */ "fssfhd",
    /* 165 */ "fhex",
    /* 166 */ "fbin",
    /* 167 */ "fnest",
    /* 168 */ "findent",
    /* 169 */ "fdetail",
    /* 170 */ "fcompids",
    /* 171 */ "fpid",
    /* 172 */ "ftid",
    /* 173 */ "Key/Instance",
    /* 174 */ "Trace Status",
    /* 175 */ "Trace Filter",
    /* 176 */ "Trace active",
    /* 177 */ "Trace enabled",
    /* 178 */ "Trace uses shared memory",
    /* 179 */ "Trace buffer size",
    /* 180 */ "Trace file",
    /* 181 */ "Detail level",
    /* 182 */ "Filter process id",
    /* 183 */ "Filter thread id",
    /* 184 */ "Component Set",
    /* 185 */ "Compression rate",
    /* 186 */ "Number of entries",
    /* 187 */ "Include component(s)",
    /* 188 */ "Exclude component(s)",

    // Trace formatter: unit of dump sizes, clipping mark, null-pointer mark,
    // nesting label.
    /* 189 */ "Bytes",
    /* 190 */ " *** Clipped ***",
    /* 191 */ "*** Illegal NULL pointer ***",
    /* 192 */ "Nesting level: ",

    // Trace controller messages and trace file errors.
    /* 193 */ "Specified trace file not found",
    /* 194 */ "Invalid instance",
    /* 195 */ "Trace file could not be identified; specified key may be invalid",
    /* 196 */ "Could not initialize trace",
    /* 197 */ "Could not open trace file for read access",
    /* 198 */ "Trace file corrupted: unexpected end-of-file",
    /* 199 */ "Trace file corrupted: invalid data found",

    // Reserved places.
    /* 200 */ "?",
    /* 201 */ "?",
    /* 202 */ "?",
    /* 203 */ "?",
    /* 204 */ "?",
    /* 205 */ "?",
    /* 206 */ "?",
    /* 207 */ "?",
    /* 208 */ "?",
    /* 209 */ "?",
    /* 210 */ "?",
    /* 211 */ "?",
    /* 212 */ "?",
    /* 213 */ "?",
    /* 214 */ "?",
    /* 215 */ "?",
    /* 216 */ "?",
    /* 217 */ "?",
    /* 218 */ "?",
    /* 219 */ "?",

    // Closing block marker and closing signature.
    /* 220 */ "[KIV-LIBRARY]",
    /* 221 */ "[KIV_MSGTAB_SIGNATURE]",
};
