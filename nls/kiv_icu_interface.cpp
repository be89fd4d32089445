// Opening ICU converters and mapping ICU status codes to library errors.
#include "kiv_icu_interface.hpp"

#include "kiv_exception.hpp"

namespace {

const _KivStIcuErrorEntry kIcuErrorMap[] = {
    {U_ZERO_ERROR, KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_IGNORE, KIV_SEVERITY_NONE},
    {U_ILLEGAL_ARGUMENT_ERROR, KIV_ERRID_ICU_ILLEGAL_ARGUMENT_ERROR, KIV_ERRCLASS_USER_ERROR,
     KIV_ACTION_INFORM, KIV_SEVERITY_INTERNAL},
    {U_MISSING_RESOURCE_ERROR, KIV_ERRID_ICU_MISSING_RESOURCE_ERROR, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_INVALID_FORMAT_ERROR, KIV_ERRID_ICU_INVALID_FORMAT_ERROR, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_FILE_ACCESS_ERROR, KIV_ERRID_ICU_FILE_ACCESS_ERROR, KIV_ERRCLASS_IO_PROBLEM, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_INTERNAL_PROGRAM_ERROR, KIV_ERRID_ICU_INTERNAL_PROGRAM_ERROR, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_ABORT,
     KIV_SEVERITY_INTERNAL},
    {U_MESSAGE_PARSE_ERROR, KIV_ERRID_ICU_MESSAGE_PARSE_ERROR, KIV_ERRCLASS_USER_DATA_ERROR, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_MEMORY_ALLOCATION_ERROR, KIV_ERRID_ICU_MEMORY_ALLOCATION_ERROR, KIV_ERRCLASS_OUT_OF_MEMORY,
     KIV_ACTION_INFORM, KIV_SEVERITY_FATAL},
    {U_INDEX_OUTOFBOUNDS_ERROR, KIV_ERRID_ICU_INDEX_OUTOFBOUNDS_ERROR, KIV_ERRCLASS_USER_DATA_ERROR,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_PARSE_ERROR, KIV_ERRID_ICU_PARSE_ERROR, KIV_ERRCLASS_USER_DATA_ERROR, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_INVALID_CHAR_FOUND, KIV_ERRID_CPCONVERTER_INVALID_SEQ, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_TRUNCATED_CHAR_FOUND, KIV_ERRID_CPCONVERTER_INCOMPLETE, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_ILLEGAL_CHAR_FOUND, KIV_ERRID_CPCONVERTER_INVALID_SEQ, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_INVALID_TABLE_FORMAT, KIV_ERRID_ICU_INVALID_TABLE_FORMAT, KIV_ERRCLASS_USER_DATA_ERROR,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_INVALID_TABLE_FILE, KIV_ERRID_ICU_INVALID_TABLE_FILE, KIV_ERRCLASS_IO_PROBLEM, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_BUFFER_OVERFLOW_ERROR, KIV_ERRID_CPCONVERTER_TOO_BIG, KIV_ERRCLASS_USER_DATA_ERROR, KIV_ACTION_INFORM,
     KIV_SEVERITY_NORMAL},
    {U_UNSUPPORTED_ERROR, KIV_ERRID_ICU_UNSUPPORTED_ERROR, KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_RESOURCE_TYPE_MISMATCH, KIV_ERRID_ICU_RESOURCE_TYPE_MISMATCH, KIV_ERRCLASS_USER_DATA_ERROR,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_ILLEGAL_ESCAPE_SEQUENCE, KIV_ERRID_ICU_ILLEGAL_ESCAPE_SEQUENCE, KIV_ERRCLASS_INVALID_DATA,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_UNSUPPORTED_ESCAPE_SEQUENCE, KIV_ERRID_ICU_UNSUPPORTED_ESCAPE_SEQ, KIV_ERRCLASS_INVALID_DATA,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_NO_SPACE_AVAILABLE, KIV_ERRID_ICU_NO_SPACE_AVAILABLE, KIV_ERRCLASS_RESOURCE_EXHAUSTED,
     KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
    {U_ERROR_LIMIT, KIV_ERRID_ICU_ERROR_LIMIT, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_IGNORE, KIV_SEVERITY_NONE},
};

static_assert(sizeof(kIcuErrorMap) / sizeof(kIcuErrorMap[0]) == KivClIcuInterface::NUMBER_OF_MAPPED_ERRORS,
              "the ICU status map has 22 rows");

const char* const kUnexpectedIcuErrorText = "Unexpected ICU error";

// ICU's converters for 942 and 943 in the variant with substitution and
// private-use-area mappings, as named in ICU's alias table.
const char* const kIcuName942 = "ibm-942_VSUB_VPUA";
const char* const kIcuName943 = "ibm-943_VSUB_VPUA";
const char* const kIcuNameGB18030 = "gb18030";

}  // namespace

const char* const KivClIcuInterface::MODULE_UNEXPECTED_ERROR = "kiv_icu_interface:252";
const char* const KivClIcuInterface::MODULE_FAILURE_STATUS = "kiv_icu_interface:325";

const _KivStIcuErrorEntry& KivClIcuInterface::getKivEntryForIcuError(UErrorCode status) {
    for (const _KivStIcuErrorEntry& row : kIcuErrorMap) {
        if (row.icuError == status) return row;
    }
    const _KivStUserError error = {KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR, KIV_ERRCLASS_UNKNOWN,
                                   KIV_SEVERITY_INTERNAL, KIV_ACTION_ABORT};
    throw KivClException(error, MODULE_UNEXPECTED_ERROR, LINE_UNEXPECTED_ERROR, kUnexpectedIcuErrorText);
}

uint32_t KivClIcuInterface::getKivErrorIdForIcuError(UErrorCode status) {
    return getKivEntryForIcuError(status).errorId;
}

KivEnErrorClass KivClIcuInterface::getKivErrorClassForIcuError(UErrorCode status) {
    return getKivEntryForIcuError(status).errorClass;
}

KivEnErrorAction KivClIcuInterface::getKivErrorActionForIcuError(UErrorCode status) {
    return getKivEntryForIcuError(status).action;
}

KivEnErrorSeverity KivClIcuInterface::getKivErrorSeverityForIcuError(UErrorCode status) {
    return getKivEntryForIcuError(status).severity;
}

void KivClIcuInterface::mapIcuError(_KivStError& error, UErrorCode status) {
    const _KivStIcuErrorEntry& row = getKivEntryForIcuError(status);
    error.errorId = row.errorId;
    error.errorClass = row.errorClass;
}

void KivClIcuInterface::mapIcuError(_KivStUserError& error, UErrorCode status) {
    const _KivStIcuErrorEntry& row = getKivEntryForIcuError(status);
    error.errorId = row.errorId;
    error.errorClass = row.errorClass;
    error.severity = row.severity;
    error.action = row.action;
}

void KivClIcuInterface::handleIcuErrorCode(UErrorCode status) {
    if (status <= U_ZERO_ERROR) return;
    _KivStUserError error = {0, KIV_ERRCLASS_UNKNOWN, KIV_SEVERITY_NONE, KIV_ACTION_IGNORE};
    mapIcuError(error, status);
    throw KivClException(error, MODULE_FAILURE_STATUS, LINE_FAILURE_STATUS, "");
}

UConverter* kivGetICUConverter(unsigned int ccsid, _KivStError& error) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = nullptr;
    switch (ccsid) {
        case 932:
        case 942: converter = ucnv_open(kIcuName942, &status); break;
        case 943: converter = ucnv_open(kIcuName943, &status); break;
        case 1392: converter = ucnv_open(kIcuNameGB18030, &status); break;
        case 65502: converter = ucnv_open(KIV_ICU_NAME_65502, &status); break;
        default: converter = ucnv_openCCSID(static_cast<int32_t>(ccsid), UCNV_IBM, &status); break;
    }
    if (U_FAILURE(status)) {
        KivClIcuInterface::mapIcuError(error, status);
        if (converter != nullptr) ucnv_close(converter);
        return nullptr;
    }
    ucnv_setFallback(converter, true);
    return converter;
}

void kivDeleteICUConverter(const void* converter) {
    ucnv_close(static_cast<UConverter*>(const_cast<void*>(converter)));
}
