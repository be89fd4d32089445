// The built-in tables against independent references (ICU, and glibc's iconv
// where ICU has no converter), and every method against random input.
//
// Differences from the references that the tests allow, and why:
// - EBCDIC code pages: the references map byte 0x15 (or whatever byte the
//   code page gives NEL) to U+0085; the EBCDIC table methods write U+000A.
// - Single-byte halves of mixed EBCDIC converters (833, 836, 1027, 13121):
//   the references treat 0x0E and 0x0F as shift bytes and decode them to
//   nothing; as single-byte code pages they are the controls U+000E, U+000F.
// - Bytes a reference cannot decode at all (glibc reports an invalid
//   sequence) are U+FFFD in the tables.
// - 924 has no reference on this machine (its table comes from the npm
//   codepage package's 20924); it is checked against ICU's 1047, from which
//   that table differs in eleven positions: the Latin-9 letters and euro
//   (0x6A, 0x9D, 0x9F, 0xB7, 0xB8, 0xBB, 0xBE), the places of cent, not and
//   Y-acute (0x4A, 0xB0, 0xBA), and 0xB9, which it leaves unmapped.
#include <gtest/gtest.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kiv_converter.hpp"

namespace {

constexpr uint16_t kNoUnit = 0xFFFD;

// Decodes one byte string to exactly one UCS-2 unit, or kNoUnit.
class Reference {
public:
    // ICU by CCSID (name null) or by converter name; or glibc iconv by name.
    static Reference icu(unsigned int ccsid) { return Reference(ccsid, nullptr, false); }
    static Reference icuNamed(const char* name) { return Reference(0, name, false); }
    static Reference glibc(const char* name) { return Reference(0, name, true); }

    Reference(Reference&& other) noexcept : icu_(other.icu_), iconv_(other.iconv_) {
        other.icu_ = nullptr;
        other.iconv_ = reinterpret_cast<iconv_t>(-1);
    }
    Reference(const Reference&) = delete;
    ~Reference() {
        if (icu_ != nullptr) ucnv_close(icu_);
        if (iconv_ != reinterpret_cast<iconv_t>(-1)) iconv_close(iconv_);
    }
    bool ok() const { return icu_ != nullptr || iconv_ != reinterpret_cast<iconv_t>(-1); }

    // The units the bytes decode to from the initial state; empty on failure.
    std::u16string decode(const std::string& bytes) {
        std::u16string out;
        if (icu_ != nullptr) {
            UChar units[8];
            UErrorCode status = U_ZERO_ERROR;
            ucnv_reset(icu_);
            const int32_t n = ucnv_toUChars(icu_, units, 8, bytes.data(), static_cast<int32_t>(bytes.size()), &status);
            if (U_SUCCESS(status)) out.assign(reinterpret_cast<const char16_t*>(units), n);
            return out;
        }
        iconv(iconv_, nullptr, nullptr, nullptr, nullptr);
        char buffer[16];
        char* in = const_cast<char*>(bytes.data());
        size_t inLeft = bytes.size(), outLeft = sizeof buffer;
        char* to = buffer;
        if (iconv(iconv_, &in, &inLeft, &to, &outLeft) == static_cast<size_t>(-1)) return out;
        for (char* p = buffer; p + 1 < to; p += 2) {
            out.push_back(static_cast<char16_t>(static_cast<unsigned char>(p[0]) |
                                                (static_cast<unsigned char>(p[1]) << 8)));
        }
        return out;
    }

private:
    Reference(unsigned int ccsid, const char* name, bool glibc) {
        if (glibc) {
            iconv_ = iconv_open("UTF-16LE", name);
            return;
        }
        UErrorCode status = U_ZERO_ERROR;
        icu_ = name ? ucnv_open(name, &status) : ucnv_openCCSID(static_cast<int32_t>(ccsid), UCNV_IBM, &status);
        if (U_FAILURE(status)) icu_ = nullptr;
        if (icu_ != nullptr) ucnv_setFallback(icu_, true);
    }
    UConverter* icu_ = nullptr;
    iconv_t iconv_ = reinterpret_cast<iconv_t>(-1);
};

// Converts with a library converter; returns the units written.
std::u16string convert(const KivClConverterABase& converter, const std::string& bytes) {
    char16_t out[8];
    const unsigned int n = converter.convertBytes(reinterpret_cast<char*>(out), sizeof out, bytes.data(),
                                                  static_cast<unsigned int>(bytes.size()));
    return std::u16string(out, n / 2);
}

struct SingleByteCase {
    unsigned int ccsid;
    Reference (*reference)();
};

TEST(Conformance, EverySingleByteTableByteByByte) {
    const unsigned int direct[] = {37,  273, 277, 278,  280,  284,  285,  290,  297,  420,  424,
                                   437, 500, 737, 819,  838,  850,  852,  870,  871,  875,  1025,
                                   1026, 1112, 1122, 1123, 1142, 1145, 1155, 1250, 1252};
    std::map<unsigned int, Reference> references;
    for (unsigned int ccsid : direct) references.emplace(ccsid, Reference::icu(ccsid));
    const struct {
        unsigned int ccsid;
        const char* name;
        bool glibc;
    } derived[] = {
        {274, "IBM274", true},                {423, "IBM423", true},
        {833, "ibm-933_P110-1995", false},    {836, "ibm-935_P110-1999", false},
        {891, "IBM891", true},                {1027, "ibm-939_P120-1999", false},
        {1041, "ibm-942_P12A-1999", false},   {1046, "IBM1046", true},
        {1088, "ibm-949_P110-1999", false},   {1114, "ibm-950_P110-1999", false},
        {1163, "IBM1163", true},              {13121, "ibm-1364_P110-2007", false},
    };
    for (const auto& d : derived) {
        references.emplace(d.ccsid, d.glibc ? Reference::glibc(d.name) : Reference::icuNamed(d.name));
    }
    references.emplace(924, Reference::icu(1047));
    const std::map<unsigned int, uint16_t> latin9 = {{0x4A, 0x00DD}, {0x6A, 0x0160}, {0x9D, 0x017E}, {0x9F, 0x20AC},
                                                     {0xB0, 0x00A2}, {0xB7, 0x0152}, {0xB8, 0x0153}, {0xB9, 0xFFFD},
                                                     {0xBA, 0x00AC}, {0xBB, 0x0161}, {0xBE, 0x017D}};

    for (auto& [ccsid, reference] : references) {
        SCOPED_TRACE(ccsid);
        ASSERT_TRUE(reference.ok());
        ASSERT_NE(kivGetSBCStoUCS2Table(ccsid), nullptr);
        KivClCodePage2UnicodeConverter converter{KivClCCSID(ccsid)};
        const bool ebcdic = KivClCCSID(ccsid).isEBCDIC();
        ASSERT_EQ(converter.getMethod(), ebcdic ? &kivConvertByTablesSBCS_EBCDICtoUCS2
                                                : &kivConvertByTablesSBCS_ASCIItoUCS2);
        for (unsigned int b = 0; b < 256; ++b) {
            const std::string byte(1, static_cast<char>(b));
            std::u16string expected = reference.decode(byte);
            if (expected.empty() && (b == 0x0E || b == 0x0F)) expected = std::u16string(1, static_cast<char16_t>(b));
            if (expected.size() != 1) expected = std::u16string(1, kNoUnit);
            if (ccsid == 924 && latin9.count(b)) expected[0] = latin9.at(b);
            if (ebcdic && expected[0] == 0x85) expected[0] = 0x0A;
            EXPECT_EQ(convert(converter, byte), expected) << "byte " << b;
        }
    }
}

TEST(Conformance, DoubleByteTablesOnEveryMappedPair) {
    const struct {
        unsigned int ccsid;
        const char* name;
        bool glibc;
        bool ebcdic;
    } cases[] = {{301, "ibm-942_P12A-1999", false, false},  {930, "ibm-930_P120-1999", false, true},
                 {939, "ibm-939_P120-1999", false, true},   {941, "ibm-943_P130-1999", false, false},
                 {1394, "SHIFT_JISX0213", true, false},     {4930, "ibm-1364_P110-2007", false, true},
                 {4933, "ibm-1388_P103-2001", false, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ccsid);
        Reference reference = c.glibc ? Reference::glibc(c.name) : Reference::icuNamed(c.name);
        ASSERT_TRUE(reference.ok());
        KivClCodePage2UnicodeConverter converter{KivClCCSID(c.ccsid)};
        ASSERT_EQ(converter.getMethod(), c.ebcdic ? &kivConvertByTablesDBCS_EBCDICtoUCS2
                                                  : &kivConvertByTablesDBCS_ASCIItoUCS2);
        unsigned int checked = 0;
        for (unsigned int pair = 0; pair < 0x10000; ++pair) {
            // Shift bytes in the lead position make no double-byte character.
            if (c.ebcdic && ((pair >> 8) == 0x0E || (pair >> 8) == 0x0F)) continue;
            std::string bytes = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
            if (c.ebcdic) bytes = "\x0E" + bytes + "\x0F";
            const std::u16string expected = reference.decode(bytes);
            if (expected.size() != 1 || expected[0] == 0xFFFD || expected[0] == 0x1A) continue;
            if (expected[0] >= 0xD800 && expected[0] <= 0xDFFF) continue;
            ++checked;
            EXPECT_EQ(convert(converter, bytes), expected) << std::hex << "pair " << pair;
        }
        EXPECT_GE(checked, 2000u);
    }
}

TEST(Conformance, ReverseTablesOnEveryMappedUnit) {
    for (unsigned int ccsid : {500u, 850u}) {
        SCOPED_TRACE(ccsid);
        UErrorCode status = U_ZERO_ERROR;
        UConverter* icu = ucnv_openCCSID(static_cast<int32_t>(ccsid), UCNV_IBM, &status);
        ASSERT_TRUE(U_SUCCESS(status));
        ucnv_setFallback(icu, true);
        ucnv_setFromUCallBack(icu, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        KivClUnicode2CodePageConverter converter{KivClCCSID(ccsid)};
        const char substitution = ccsid == 500 ? '\x3F' : '\x7F';
        unsigned int mapped = 0;
        for (unsigned int u = 0; u < 0x10000; ++u) {
            if (u >= 0xD800 && u <= 0xDFFF) continue;
            const UChar unit = static_cast<UChar>(u);
            char expected[4];
            status = U_ZERO_ERROR;
            ucnv_resetFromUnicode(icu);
            const int32_t n = ucnv_fromUChars(icu, expected, sizeof expected, &unit, 1, &status);
            char actual = 0;
            ASSERT_EQ(converter.convertBytes(&actual, 1, reinterpret_cast<const char*>(&unit), 2), 1u);
            if (U_SUCCESS(status) && n == 1) {
                ++mapped;
                EXPECT_EQ(actual, expected[0]) << std::hex << "U+" << u;
            } else {
                EXPECT_EQ(actual, substitution) << std::hex << "U+" << u;
            }
        }
        EXPECT_GE(mapped, 256u);
        ucnv_close(icu);
    }
}

// Random bytes through every method, into a heap target of exactly the
// announced maximum size (and smaller ones): nothing may be written past it.
TEST(Conformance, RandomInputStaysInsideTheTarget) {
    std::vector<std::unique_ptr<KivClConverterABase>> converters;
    for (unsigned int ccsid : {1208u, 13488u, 65500u, 37u, 437u, 930u, 301u, 936u, 1392u, 9146u, 4352u}) {
        converters.emplace_back(new KivClCodePage2UnicodeConverter(KivClCCSID(ccsid)));
    }
    for (unsigned int ccsid : {819u, 500u, 850u, 1208u, 1386u, 1392u, 65500u, 61699u}) {
        converters.emplace_back(new KivClUnicode2CodePageConverter(KivClCCSID(ccsid)));
    }
    converters.emplace_back(new KivClCodePage2UTF8Converter(KivClCCSID(930)));
    converters.emplace_back(new KivClCodePage2CodePageConverter(KivClCCSID(1208), KivClCCSID(37)));
    converters.emplace_back(new KivClCodePage2CodePageConverter(KivClCCSID(9146), KivClCCSID(1386)));

    std::map<KivClConverterABase::KivPfnConversionMethod, int> methodsSeen;
    std::mt19937 random(20261123);
    for (const auto& converter : converters) {
        ++methodsSeen[converter->getMethod()];
        for (unsigned int size : {0u, 1u, 2u, 3u, 7u, 16u, 255u, 1000u}) {
            std::string input(size, '\0');
            for (char& ch : input) ch = static_cast<char>(random() & 0xFF);
            const unsigned int maximum = converter->getMaximumSizeForSize(size);
            for (unsigned int targetSize : {maximum, maximum / 2, 1u}) {
                if (targetSize > maximum) continue;
                std::unique_ptr<char[]> target(new char[targetSize == 0 ? 1 : targetSize]);
                const char* source = input.data();
                const unsigned int written = converter->convertBytes(target.get(), targetSize, &source, size);
                EXPECT_LE(written, targetSize) << converter->getSourceCCSID().getCCSID() << " " << size;
                EXPECT_LE(static_cast<size_t>(source - input.data()), size);
            }
        }
    }
    const KivClConverterABase::KivPfnConversionMethod all[] = {
        kivConvertError, kivConvertByCopying, kivConvertByEndianSwap, kivConvertByTablesSBCS_ASCIItoUCS2,
        kivConvertByTablesSBCS_EBCDICtoUCS2, kivConvertByTablesDBCS_ASCIItoUCS2, kivConvertByTablesDBCS_EBCDICtoUCS2,
        kivConvertByTablesUCS2toSBCS, kivConvertByAlgorithmUCS2to819, kivConvertByAlgorithmUTF8toUCS2,
        kivConvertByAlgorithmUCS2toUTF8, kivConvertByUsingIconv, kivConvertByAlgorithmIcuToUnicode,
        kivConvertByAlgorithmIcuFromUnicode};
    for (auto method : all) EXPECT_GT(methodsSeen[method], 0);
}

}  // namespace
