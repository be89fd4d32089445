// The converter framework: method selection, size functions and the two-step
// code page to code page conversion.
#include "kiv_converter.hpp"

#include <cerrno>
#include <cstring>

#include "kiv_icu_interface.hpp"
#include "kiv_memmgr.hpp"

namespace {

const iconv_t kNoIconv = reinterpret_cast<iconv_t>(-1);

constexpr unsigned int kBufferSlack = 32769;
constexpr unsigned int kMaxTwoStepSource = 0x70000000u / 4;

const char kBigEndianId[] = "\xFE\xFF";
const char kLittleEndianId[] = "\xFF\xFE";

// Code pages whose tables or ICU converter serve under another number.
unsigned int lookupNumberForCodePage2Unicode(unsigned int ccsid) {
    switch (ccsid) {
        case 5026: return 930;
        case 5035: return 939;
        case 938: return 948;
        case 936: return 1386;
        case 5488:
        case 18030: return KivClCCSID::CCSID_GB18030;
        case 954: return 33722;
        default: return ccsid;
    }
}

unsigned int lookupNumberForUnicode2CodePage(unsigned int ccsid) {
    return ccsid == 5488 || ccsid == 18030 ? KivClCCSID::CCSID_GB18030 : ccsid;
}

bool startsWithMark(const char* text, const char* mark) {
    return text != nullptr && text[0] == mark[0] && text[1] == mark[1];
}

}  // namespace

// ---------------------------------------------------------------------------
// KivClConverterABase

KivClConverterABase::KivClConverterABase(const KivClCCSID& source, const KivClCCSID& target)
    : error_{KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN},
      source_(source),
      target_(target),
      iconv_(kNoIconv),
      table_(nullptr),
      method_(kivConvertError) {}

KivClConverterABase::~KivClConverterABase() { deinit(); }

void KivClConverterABase::setError(uint32_t errorId, KivEnErrorClass errorClass) const {
    error_.errorId = errorId;
    error_.errorClass = errorClass;
}

bool KivClConverterABase::usesIcuMethod() const {
    return method_ == kivConvertByAlgorithmIcuToUnicode || method_ == kivConvertByAlgorithmIcuFromUnicode;
}

void KivClConverterABase::deinit() {
    if (iconv_ != kNoIconv) {
        iconv_close(iconv_);
        iconv_ = kNoIconv;
    }
    if (usesIcuMethod() && table_ != nullptr) kivDeleteICUConverter(table_);
    table_ = nullptr;
    method_ = kivConvertError;
}

void KivClConverterABase::setConverterError() { method_ = kivConvertError; }

const KivClCCSID& KivClConverterABase::getTargetCCSID() const { return target_; }

bool KivClConverterABase::isSupported() const { return method_ != kivConvertError; }

bool KivClConverterABase::requiresExternalICONVRoutine() const {
    return method_ == kivConvertByUsingIconv || method_ == kivConvertError;
}

bool KivClConverterABase::requiresExternalICUData() const { return usesIcuMethod(); }

unsigned int KivClConverterABase::convertBytes(char* target, unsigned int targetSize, const char* source,
                                               unsigned int sourceSize) const {
    const char* position = source;
    return convertBytes(target, targetSize, &position, sourceSize);
}

unsigned int KivClConverterABase::convertBytes(char* target, unsigned int targetSize, const char** source,
                                               unsigned int sourceSize) const {
    setError(KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN);
    _KivStConverter state = {this, target, targetSize, source, sourceSize};
    return method_(state);
}

bool KivClConverterABase::openIconv() {
    // glibc reads an unknown name such as "???" as the locale's codeset, so
    // only registered code pages go to iconv.
    if (!source_.isValid() || !target_.isValid()) return false;
    iconv_ = iconv_open(target_.getName(), source_.getName());
    if (iconv_ == kNoIconv) return false;
    method_ = kivConvertByUsingIconv;
    return true;
}

void KivClConverterABase::initCodePage2Unicode() {
    const unsigned int ccsid = source_.getCCSID();
    // UCS-2 in host byte order is already what the target holds.
    if (source_.isUCS2HostEndian()) {
        method_ = kivConvertByCopying;
        return;
    }
    switch (ccsid) {
        case KivClCCSID::CCSID_UCS2_BIG_ENDIAN:
            method_ = kivConvertByEndianSwap;
            return;
        case KivClCCSID::CCSID_UTF8:
            method_ = kivConvertByAlgorithmUTF8toUCS2;
            return;
        default:
            break;
    }
    const unsigned int number = lookupNumberForCodePage2Unicode(ccsid);
    if (const uint16_t* sbcs = kivGetSBCStoUCS2Table(number)) {
        method_ = source_.isEBCDIC() ? kivConvertByTablesSBCS_EBCDICtoUCS2 : kivConvertByTablesSBCS_ASCIItoUCS2;
        table_ = const_cast<uint16_t*>(sbcs);
        return;
    }
    bool isEBCDIC = false;
    if (const _KivStDBCSTable* dbcs = kivGetDBCStoUCS2Table(number, isEBCDIC)) {
        method_ = isEBCDIC ? kivConvertByTablesDBCS_EBCDICtoUCS2 : kivConvertByTablesDBCS_ASCIItoUCS2;
        table_ = const_cast<_KivStDBCSTable*>(dbcs);
        return;
    }
    if (UConverter* icu = kivGetICUConverter(number, error_)) {
        method_ = kivConvertByAlgorithmIcuToUnicode;
        table_ = icu;
        return;
    }
    openIconv();
}

void KivClConverterABase::initUnicode2CodePage() {
    const unsigned int ccsid = target_.getCCSID();
    if (target_.isUCS2HostEndian()) {
        method_ = kivConvertByCopying;
        return;
    }
    switch (ccsid) {
        case KivClCCSID::CCSID_ISO8859_1:
            method_ = kivConvertByAlgorithmUCS2to819;
            return;
        case 500:
        case 850:
            method_ = kivConvertByTablesUCS2toSBCS;
            table_ = const_cast<uint8_t*>(kivGetUCS2toSBCSTable(ccsid));
            return;
        case KivClCCSID::CCSID_UTF8:
            method_ = kivConvertByAlgorithmUCS2toUTF8;
            return;
        case KivClCCSID::CCSID_UCS2_BIG_ENDIAN:
            method_ = kivConvertByEndianSwap;
            return;
        default:
            break;
    }
    if (UConverter* icu = kivGetICUConverter(lookupNumberForUnicode2CodePage(ccsid), error_)) {
        method_ = kivConvertByAlgorithmIcuFromUnicode;
        table_ = icu;
        return;
    }
    openIconv();
}

const char* KivClConverterABase::getUCS2BigEndianId() { return kBigEndianId; }
const char* KivClConverterABase::getUCS2LittleEndianId() { return kLittleEndianId; }
const char* KivClConverterABase::getUCS2HostEndianId() {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return kBigEndianId;
#else
    return kLittleEndianId;
#endif
}
bool KivClConverterABase::isUCS2BigEndianId(const char* text) { return startsWithMark(text, kBigEndianId); }
bool KivClConverterABase::isUCS2LittleEndianId(const char* text) { return startsWithMark(text, kLittleEndianId); }

// ---------------------------------------------------------------------------
// KivClCodePage2UnicodeConverter

KivClCodePage2UnicodeConverter::KivClCodePage2UnicodeConverter(const KivClCCSID& source)
    : KivClConverterABase(source, KivClCCSID(KivClCCSID::CCSID_UCS2)) {
    initCodePage2Unicode();
}

KivClCodePage2UnicodeConverter::~KivClCodePage2UnicodeConverter() = default;

void KivClCodePage2UnicodeConverter::initNewCodePage2Unicode(const KivClCCSID& source) {
    deinit();
    replaceSourceCCSID(source);
    initCodePage2Unicode();
}

unsigned int KivClCodePage2UnicodeConverter::getMaximumSizeForLength(unsigned int length) const {
    return getSourceCCSID().getCCSID() == KivClCCSID::CCSID_GB18030 ? 4 * length : 2 * length;
}

unsigned int KivClCodePage2UnicodeConverter::getMaximumSizeForSize(unsigned int size) const {
    if (getSourceCCSID().getCCSID() == KivClCCSID::CCSID_GB18030) return 2 * size;
    if (getSourceCCSID().isUCS2()) return size;
    return 2 * size;
}

// ---------------------------------------------------------------------------
// KivClUnicode2CodePageConverter

KivClUnicode2CodePageConverter::KivClUnicode2CodePageConverter(const KivClCCSID& target)
    : KivClConverterABase(KivClCCSID(KivClCCSID::CCSID_UCS2), target) {
    initUnicode2CodePage();
}

KivClUnicode2CodePageConverter::~KivClUnicode2CodePageConverter() = default;

unsigned int KivClUnicode2CodePageConverter::getMaximumSizeForLength(unsigned int length) const {
    const unsigned int ccsid = getTargetCCSID().getCCSID();
    if (ccsid == KivClCCSID::CCSID_UTF8) return 5 * length;
    if (ccsid == KivClCCSID::CCSID_GB18030) return 4 * length;
    return 2 * length;
}

unsigned int KivClUnicode2CodePageConverter::getMaximumSizeForSize(unsigned int size) const {
    const KivClCCSID& target = getTargetCCSID();
    if (target.getCCSID() == KivClCCSID::CCSID_UTF8) return (size / 2) * 3;
    if (target.getCCSID() == KivClCCSID::CCSID_GB18030 || target.isUCS2()) return size;
    if (!target.isDBCS()) return size / 2;
    return size & ~1u;
}

// ---------------------------------------------------------------------------
// KivClCodePage2CodePageConverter

KivClCodePage2CodePageConverter::KivClCodePage2CodePageConverter(const KivClCCSID& source,
                                                                 const KivClCCSID& target)
    : KivClCodePage2UnicodeConverter(source), unicode2CodePage_(target), buffer_(nullptr), bufferSize_(0) {}

KivClCodePage2CodePageConverter::~KivClCodePage2CodePageConverter() {
    kivFree(buffer_);
    buffer_ = nullptr;
}

const KivClCCSID& KivClCodePage2CodePageConverter::getTargetCCSID() const {
    return unicode2CodePage_.getTargetCCSID();
}

bool KivClCodePage2CodePageConverter::isSupported() const {
    return KivClCodePage2UnicodeConverter::isSupported() && unicode2CodePage_.isSupported();
}

bool KivClCodePage2CodePageConverter::requiresExternalICONVRoutine() const {
    return KivClCodePage2UnicodeConverter::requiresExternalICONVRoutine() ||
           unicode2CodePage_.requiresExternalICONVRoutine();
}

bool KivClCodePage2CodePageConverter::requiresExternalICUData() const {
    return KivClCodePage2UnicodeConverter::requiresExternalICUData() || unicode2CodePage_.requiresExternalICUData();
}

bool KivClCodePage2CodePageConverter::hasSourceEqualTarget() const {
    return getSourceCCSID() == getTargetCCSID();
}

unsigned int KivClCodePage2CodePageConverter::getMaximumSizeForLength(unsigned int length) const {
    return unicode2CodePage_.getMaximumSizeForLength(length);
}

unsigned int KivClCodePage2CodePageConverter::getMaximumSizeForSize(unsigned int size) const {
    if (hasSourceEqualTarget()) return size;
    const unsigned int ucs2 = KivClCodePage2UnicodeConverter::getMaximumSizeForSize(size);
    const unsigned int target = unicode2CodePage_.getMaximumSizeForSize(ucs2);
    if (getSourceCCSID().getCCSID() == KivClCCSID::CCSID_GB18030) return ucs2;
    if (getSourceCCSID().isUCS2()) return target;
    const unsigned int byLength = unicode2CodePage_.getMaximumSizeForLength(size);
    return target < byLength ? target : byLength;
}

unsigned int KivClCodePage2CodePageConverter::convertBytes(char* target, unsigned int targetSize,
                                                           const char* source, unsigned int sourceSize) const {
    const char* position = source;
    return convertBytes(target, targetSize, &position, sourceSize);
}

unsigned int KivClCodePage2CodePageConverter::convertBytes(char* target, unsigned int targetSize,
                                                           const char** source, unsigned int sourceSize) const {
    if (hasSourceEqualTarget()) {
        const unsigned int count = targetSize < sourceSize ? targetSize : sourceSize;
        if (count > 0) memmove(target, *source, count);
        *source += count;
        return count;
    }
    if (getSourceCCSID().isUCS2HostEndian()) {
        const unsigned int written = unicode2CodePage_.convertBytes(target, targetSize, source, sourceSize);
        setError(unicode2CodePage_.getError());
        return written;
    }
    if (getTargetCCSID().isUCS2HostEndian()) {
        return KivClCodePage2UnicodeConverter::convertBytes(target, targetSize, source, sourceSize);
    }
    // One call takes at most kMaxTwoStepSource bytes so that the buffer size
    // stays within 32 bits; the rest stays unconsumed for the next call.
    if (sourceSize > kMaxTwoStepSource) sourceSize = kMaxTwoStepSource;
    const unsigned int needed = KivClCodePage2UnicodeConverter::getMaximumSizeForSize(sourceSize);
    if (bufferSize_ < needed + 1) {
        kivFree(buffer_);
        buffer_ = nullptr;
        bufferSize_ = 0;
        // The slack lets the buffer serve a run of slightly larger inputs.
        buffer_ = static_cast<char*>(kivMalloc(static_cast<size_t>(needed) + kBufferSlack));
        bufferSize_ = needed + kBufferSlack;
    }
    const unsigned int ucs2Bytes =
        KivClCodePage2UnicodeConverter::convertBytes(buffer_, needed, source, sourceSize);
    const uint32_t firstError = getError().errorId;
    if (firstError != KIV_ERRID_NO_ERROR && firstError != KIV_ERRID_CPCONVERTER_INCOMPLETE) return 0;
    const unsigned int written = unicode2CodePage_.convertBytes(target, targetSize, buffer_, ucs2Bytes);
    setError(unicode2CodePage_.getError());
    return written;
}

// ---------------------------------------------------------------------------
// KivClCodePage2UTF8Converter

KivClCodePage2UTF8Converter::KivClCodePage2UTF8Converter(const KivClCCSID& source)
    : KivClCodePage2CodePageConverter(source, KivClCCSID(KivClCCSID::CCSID_UTF8)) {}

KivClCodePage2UTF8Converter::~KivClCodePage2UTF8Converter() = default;
