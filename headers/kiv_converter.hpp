// Code page converters and their conversion methods.
//
// Every conversion goes to or from UCS-2 in host byte order (CCSID 13488);
// a conversion between two code pages runs through UCS-2 in two steps. At
// construction a converter picks, once, one conversion method for its CCSID:
// a built-in algorithm (UTF-8, UCS-2 copy or byte swap, ISO 8859-1), a
// built-in table (49 single-byte, 11 double-byte, 2 reverse), an ICU
// converter, or as the last resort the platform's iconv. Each convertBytes
// call hands a _KivStConverter record to that method.
//
// Failure policy: conversions return the number of bytes written and leave
// the outcome in getError(): {0, 0} on success, else CPCONVERTER_UNSUPPORTED
// (no method), CPCONVERTER_INVALID_SEQ, CPCONVERTER_TOO_BIG (target full),
// CPCONVERTER_INCOMPLETE (a partial sequence at the end stays unconsumed),
// CPCONVERTER_BAD_DESCR or a mapped ICU error. Nothing throws except an ICU
// status the library does not know (see kiv_icu_interface.hpp).
//
// Size the target with getMaximumSizeForSize(source bytes) (or ...ForLength
// for a count of characters). No method writes past the target size it is
// given: where the given size is smaller than the announced maximum, the
// conversion stops early with CPCONVERTER_TOO_BIG.
//
// Example:
//   KivClCodePage2UTF8Converter conv(KivClCCSID(437));
//   char out[16];
//   unsigned n = conv.convertBytes(out, conv.getMaximumSizeForSize(3), "ABC", 3);
//   // n == 3, out starts with "ABC", conv.getError().errorId == 0
//   KivClCodePage2UnicodeConverter ebcdic(KivClCCSID(37));
//   ebcdic.convertBytes(out, 2, "\xC1", 1);   // writes the unit 0x0041
//
// Warning: convertBytes overwrites the target buffer from its start.
#ifndef KIV_CONVERTER_HPP
#define KIV_CONVERTER_HPP

#include <iconv.h>

#include <cstdint>

#include "kiv_ccsid.hpp"
#include "kiv_error.hpp"

// A converter between two CCSIDs with the conversion method chosen for them
// and the outcome of its last conversion.
class KivClConverterABase {
public:
    // The state handed to a conversion method for one call.
    struct _KivStConverter {
        const KivClConverterABase* converter;  // error, CCSIDs, iconv handle, table
        char* target;                          // where to write
        unsigned int targetSize;               // bytes available at target
        const char** source;                   // in/out: advanced past what was consumed
        unsigned int sourceSize;               // bytes available at *source
    };
    typedef unsigned int (*KivPfnConversionMethod)(_KivStConverter& state);

    KivClConverterABase(const KivClConverterABase&) = delete;
    KivClConverterABase& operator=(const KivClConverterABase&) = delete;
    virtual ~KivClConverterABase();

    virtual const KivClCCSID& getTargetCCSID() const;
    // A method other than the error method was found.
    virtual bool isSupported() const;
    // The iconv method, or no method at all (that would need iconv).
    virtual bool requiresExternalICONVRoutine() const;
    // One of the two ICU methods.
    virtual bool requiresExternalICUData() const;
    // Target bytes needed for n source characters.
    virtual unsigned int getMaximumSizeForLength(unsigned int length) const = 0;
    // Target bytes needed for n source bytes.
    virtual unsigned int getMaximumSizeForSize(unsigned int size) const = 0;
    // Converts and returns the bytes written; the error tells how it ended.
    virtual unsigned int convertBytes(char* target, unsigned int targetSize, const char* source,
                                      unsigned int sourceSize) const;
    // The same, advancing *source past what was consumed.
    virtual unsigned int convertBytes(char* target, unsigned int targetSize, const char** source,
                                      unsigned int sourceSize) const;

    // The outcome of the last conversion (or of method selection).
    const _KivStError& getError() const { return error_; }
    const KivClCCSID& getSourceCCSID() const { return source_; }
    iconv_t getIconvHandle() const { return iconv_; }
    // The table of a table method or the ICU converter of an ICU method.
    const void* getTable() const { return table_; }
    KivPfnConversionMethod getMethod() const { return method_; }
    // Used by the conversion methods to record how a call ended.
    void setError(uint32_t errorId, KivEnErrorClass errorClass) const;
    void setError(const _KivStError& error) const { error_ = error; }

    // Closes the iconv handle and the ICU converter, if any, and falls back
    // to the error method.
    void deinit();
    // Makes every later conversion fail with CPCONVERTER_UNSUPPORTED.
    void setConverterError();

    // UCS-2 byte-order marks as NUL-terminated two-byte strings.
    static const char* getUCS2BigEndianId();
    static const char* getUCS2LittleEndianId();
    static const char* getUCS2HostEndianId();
    static bool isUCS2BigEndianId(const char* text);
    static bool isUCS2LittleEndianId(const char* text);
    // Decodes the one complete UTF-8 sequence at utf8 without validating
    // its continuation bytes.
    static uint32_t convertUtf8CharToUtf32(const char* utf8);

protected:
    KivClConverterABase(const KivClCCSID& source, const KivClCCSID& target);
    // Method selection for code page to UCS-2 (by the source CCSID) and for
    // UCS-2 to code page (by the target CCSID).
    void initCodePage2Unicode();
    void initUnicode2CodePage();
    void replaceSourceCCSID(const KivClCCSID& source) { source_ = source; }

private:
    bool usesIcuMethod() const;
    bool openIconv();

    mutable _KivStError error_;
    KivClCCSID source_;
    KivClCCSID target_;
    iconv_t iconv_;
    void* table_;
    KivPfnConversionMethod method_;
};

// Source code page to UCS-2 in host byte order.
class KivClCodePage2UnicodeConverter : public KivClConverterABase {
public:
    explicit KivClCodePage2UnicodeConverter(const KivClCCSID& source);
    ~KivClCodePage2UnicodeConverter() override;

    // Re-targets the converter to a new source code page.
    void initNewCodePage2Unicode(const KivClCCSID& source);

    unsigned int getMaximumSizeForLength(unsigned int length) const override;
    unsigned int getMaximumSizeForSize(unsigned int size) const override;
};

// UCS-2 in host byte order to a target code page.
class KivClUnicode2CodePageConverter : public KivClConverterABase {
public:
    explicit KivClUnicode2CodePageConverter(const KivClCCSID& target);
    ~KivClUnicode2CodePageConverter() override;

    unsigned int getMaximumSizeForLength(unsigned int length) const override;
    unsigned int getMaximumSizeForSize(unsigned int size) const override;
};

// One code page to another through UCS-2. A temporary buffer holds the UCS-2
// form between the two steps; it only grows and is freed by the destructor.
class KivClCodePage2CodePageConverter : public KivClCodePage2UnicodeConverter {
public:
    KivClCodePage2CodePageConverter(const KivClCCSID& source, const KivClCCSID& target);
    ~KivClCodePage2CodePageConverter() override;

    const KivClCCSID& getTargetCCSID() const override;
    bool isSupported() const override;
    bool requiresExternalICONVRoutine() const override;
    bool requiresExternalICUData() const override;
    unsigned int getMaximumSizeForLength(unsigned int length) const override;
    unsigned int getMaximumSizeForSize(unsigned int size) const override;
    unsigned int convertBytes(char* target, unsigned int targetSize, const char* source,
                              unsigned int sourceSize) const override;
    unsigned int convertBytes(char* target, unsigned int targetSize, const char** source,
                              unsigned int sourceSize) const override;

    // The UCS-2 to target half.
    const KivClUnicode2CodePageConverter& getUnicode2CodePageConverter() const { return unicode2CodePage_; }

private:
    bool hasSourceEqualTarget() const;

    KivClUnicode2CodePageConverter unicode2CodePage_;
    mutable char* buffer_;
    mutable unsigned int bufferSize_;
};

// One code page to UTF-8 (1208).
class KivClCodePage2UTF8Converter : public KivClCodePage2CodePageConverter {
public:
    explicit KivClCodePage2UTF8Converter(const KivClCCSID& source);
    ~KivClCodePage2UTF8Converter() override;
};

// ---------------------------------------------------------------------------
// Conversion methods. Each reads from *state.source, writes to state.target,
// advances *state.source past what it consumed, records failures in the
// converter's error and returns the bytes written. UCS-2 is in host byte
// order unless the name says otherwise.

// Sets CPCONVERTER_UNSUPPORTED and writes nothing.
unsigned int kivConvertError(KivClConverterABase::_KivStConverter& state);
// UCS-2 copied (min of both sizes, even); an odd count sets CPCONVERTER_INCOMPLETE.
unsigned int kivConvertByCopying(KivClConverterABase::_KivStConverter& state);
// As copying, swapping the two bytes of every unit.
unsigned int kivConvertByEndianSwap(KivClConverterABase::_KivStConverter& state);
// Single-byte code page to UCS-2, one table value per byte; the EBCDIC
// variant turns U+0085 (NEL) into U+000A.
unsigned int kivConvertByTablesSBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& state);
unsigned int kivConvertByTablesSBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& state);
// Mixed single/double-byte to UCS-2: lead-byte driven (ASCII) or shift-out /
// shift-in driven (EBCDIC, shift state starts single-byte at every call).
unsigned int kivConvertByTablesDBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& state);
unsigned int kivConvertByTablesDBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& state);
// UCS-2 to a single-byte code page through a two-level reverse table.
unsigned int kivConvertByTablesUCS2toSBCS(KivClConverterABase::_KivStConverter& state);
// UCS-2 to ISO 8859-1: the low byte of each unit.
unsigned int kivConvertByAlgorithmUCS2to819(KivClConverterABase::_KivStConverter& state);
// UTF-8 to UCS-2 (non-validating; code points above U+FFFF become surrogate pairs).
unsigned int kivConvertByAlgorithmUTF8toUCS2(KivClConverterABase::_KivStConverter& state);
// UCS-2 to UTF-8 (pairs become 4-byte sequences, non-characters U+FFFF).
unsigned int kivConvertByAlgorithmUCS2toUTF8(KivClConverterABase::_KivStConverter& state);
// The platform's iconv with the converter's descriptor.
unsigned int kivConvertByUsingIconv(KivClConverterABase::_KivStConverter& state);
// ICU's ucnv_toUnicode / ucnv_fromUnicode with the converter's ICU converter.
unsigned int kivConvertByAlgorithmIcuToUnicode(KivClConverterABase::_KivStConverter& state);
unsigned int kivConvertByAlgorithmIcuFromUnicode(KivClConverterABase::_KivStConverter& state);

// ---------------------------------------------------------------------------
// Built-in tables. Table values are UCS-2 stored in big-endian byte order, as
// published; kivUcs2FromTable turns one into a host-order value.

// A single-byte code page: one UCS-2 value per byte.
struct _KivStSBCSTable {
    uint32_t ccsid;
    uint16_t values[256];  // big-endian UCS-2, indexed by the source byte
};

// A mixed single/double-byte code page: pages of UCS-2 values by lead byte.
struct _KivStDBCSTable {
    uint32_t ccsid;
    uint8_t isEBCDIC;               // shift-out / shift-in driven
    uint8_t pageIndex[256];         // page number + 1 per lead byte; 0 for any other byte
    uint32_t numberOfPages;
    const uint16_t* pages;          // pages of 256 big-endian UCS-2 values, by second byte
    const uint8_t* leadByteFlags;   // non-zero for a lead byte
};

// Page 0 of every double-byte table maps every second byte to U+FFFD (used
// for a pair whose first byte is not a lead byte); page 1 holds the
// single-byte characters.
enum : uint32_t { KIV_DBCS_SUBSTITUTION_PAGE = 0, KIV_DBCS_SINGLE_BYTE_PAGE = 1 };

inline uint16_t kivUcs2FromTable(uint16_t stored) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return stored;
#else
    return static_cast<uint16_t>((stored >> 8) | (stored << 8));
#endif
}

// The 256 values of a single-byte code page, or null when there is no table.
const uint16_t* kivGetSBCStoUCS2Table(unsigned int ccsid);
// The double-byte table of a CCSID (isEBCDIC set from it), or null.
const _KivStDBCSTable* kivGetDBCStoUCS2Table(unsigned int ccsid, bool& isEBCDIC);
// The 256-byte pages of the reverse table of 500 or 850, or null.
const uint8_t* kivGetUCS2toSBCSTable(unsigned int ccsid);

#endif  // KIV_CONVERTER_HPP
