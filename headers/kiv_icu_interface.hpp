// ICU converters and the mapping of ICU status codes to library errors.
//
// kivGetICUConverter opens the ICU converter that serves a CCSID, with
// fallback mappings switched on; KivClIcuInterface maps the 22 ICU status
// codes the library knows to error id, class, severity and action.
//
// Failure policy: kivGetICUConverter returns null and leaves the mapped ICU
// status in its error argument. A status outside the 22 known ones (warnings
// included) makes getKivEntryForIcuError, and so every mapping function,
// throw a KivClException "Unexpected ICU error" (ICU_UNEXPECTED_ICU_ERROR,
// severity INTERNAL, action ABORT, module "kiv_icu_interface:252");
// handleIcuErrorCode throws the mapped error of any failure status
// (module "kiv_icu_interface:325").
//
// Example:
//   _KivStError error = {0, KIV_ERRCLASS_UNKNOWN};
//   UConverter* cnv = kivGetICUConverter(37, error);   // ibm-37, error {0, 0}
//   kivDeleteICUConverter(cnv);
//   KivClIcuInterface::mapIcuError(error, U_BUFFER_OVERFLOW_ERROR);
//   // error == {CPCONVERTER_TOO_BIG, USER_DATA_ERROR}
//   KivClIcuInterface::handleIcuErrorCode(U_ZERO_ERROR);  // does nothing
#ifndef KIV_ICU_INTERFACE_HPP
#define KIV_ICU_INTERFACE_HPP

#include <unicode/ucnv.h>
#include <unicode/utypes.h>

#include "kiv_error.hpp"

// One row of the ICU status map.
struct _KivStIcuErrorEntry {
    UErrorCode icuError;
    uint32_t errorId;
    KivEnErrorClass errorClass;
    KivEnErrorAction action;
    KivEnErrorSeverity severity;
};

// Maps ICU status codes to the library's errors and raises the exceptions
// for statuses a conversion cannot go on from.
class KivClIcuInterface {
public:
    // Module texts of the two exceptions this family raises.
    static const char* const MODULE_UNEXPECTED_ERROR;  // "kiv_icu_interface:252"
    static const char* const MODULE_FAILURE_STATUS;    // "kiv_icu_interface:325"
    static constexpr unsigned long LINE_UNEXPECTED_ERROR = 252;
    static constexpr unsigned long LINE_FAILURE_STATUS = 325;
    static constexpr unsigned int NUMBER_OF_MAPPED_ERRORS = 22;

    // The map row for status; throws for a status without a row.
    static const _KivStIcuErrorEntry& getKivEntryForIcuError(UErrorCode status);
    static uint32_t getKivErrorIdForIcuError(UErrorCode status);
    static KivEnErrorClass getKivErrorClassForIcuError(UErrorCode status);
    static KivEnErrorAction getKivErrorActionForIcuError(UErrorCode status);
    static KivEnErrorSeverity getKivErrorSeverityForIcuError(UErrorCode status);
    // Overwrites id and class (and severity and action) of error.
    static void mapIcuError(_KivStError& error, UErrorCode status);
    static void mapIcuError(_KivStUserError& error, UErrorCode status);
    // Nothing for status <= 0; throws the mapped user error for a failure.
    static void handleIcuErrorCode(UErrorCode status);
};

// Opens the ICU converter for a CCSID: 932 and 942 use ICU's 942 in its
// variant with substitution and private-use mappings ("ibm-942_VSUB_VPUA"),
// 943 the same variant of 943 ("ibm-943_VSUB_VPUA"), 1392 "gb18030", 65502
// the name KIV_ICU_NAME_65502, any other ucnv_openCCSID with IBM numbering.
// Returns null with the mapped status in error on failure. The caller owns
// the converter and releases it with kivDeleteICUConverter.
UConverter* kivGetICUConverter(unsigned int ccsid, _KivStError& error);
void kivDeleteICUConverter(const void* converter);

// The ICU 72 alias table holds no converter for CCSID 65502, so the name
// asked for is ICU's naming pattern for it; opening it fails and the
// converter goes on to iconv.
#define KIV_ICU_NAME_65502 "ibm-65502"

#endif  // KIV_ICU_INTERFACE_HPP
