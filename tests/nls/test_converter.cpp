// Converters and conversion methods: edge cases of each algorithm, method
// selection, sizes, the two-step conversion and the ICU error map.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "kiv_converter.hpp"
#include "kiv_exception.hpp"
#include "kiv_icu_interface.hpp"

namespace {

std::string units(std::initializer_list<uint16_t> list) {
    std::string bytes;
    for (uint16_t u : list) bytes.append(reinterpret_cast<const char*>(&u), 2);
    return bytes;
}

struct Result {
    std::string out;
    size_t consumed;
    uint32_t errorId;
};

Result run(const KivClConverterABase& converter, const std::string& in, unsigned int targetSize) {
    std::vector<char> target(targetSize + 1, '\x55');
    const char* source = in.data();
    const unsigned int n = converter.convertBytes(target.data(), targetSize, &source,
                                                  static_cast<unsigned int>(in.size()));
    EXPECT_LE(n, targetSize);
    EXPECT_EQ(target[targetSize], '\x55') << "wrote past the target";
    return {std::string(target.data(), n), static_cast<size_t>(source - in.data()), converter.getError().errorId};
}

constexpr uint32_t OK = KIV_ERRID_NO_ERROR;
constexpr uint32_t INCOMPLETE = KIV_ERRID_CPCONVERTER_INCOMPLETE;
constexpr uint32_t TOO_BIG = KIV_ERRID_CPCONVERTER_TOO_BIG;
constexpr uint32_t UNSUPPORTED = KIV_ERRID_CPCONVERTER_UNSUPPORTED;

// Edge cases of every conversion method, one converter per column value;
// each row is one call into a target of the given size.
TEST(Conversions, EdgeCasesOfEveryMethod) {
    const KivClCodePage2UnicodeConverter fromUtf8{KivClCCSID(1208)}, little{KivClCCSID(65501)},
        big{KivClCCSID(65500)}, ebcdic{KivClCCSID(37)}, dbcsEbcdic{KivClCCSID(930)}, dbcsAscii{KivClCCSID(301)},
        gbk{KivClCCSID(936)}, eucjp{KivClCCSID(9146)};  // 936 is served by ICU as 1386
    const KivClUnicode2CodePageConverter toUtf8{KivClCCSID(1208)}, to500{KivClCCSID(500)}, to819{KivClCCSID(819)},
        toGbk{KivClCCSID(1386)};
    const KivClCodePage2UTF8Converter pc{KivClCCSID(437)};
    const KivClCodePage2CodePageConverter utf8To850{KivClCCSID(1208), KivClCCSID(850)},
        same{KivClCCSID(37), KivClCCSID(37)}, hostUcs2{KivClCCSID(65501), KivClCCSID(13488)},
        swap{KivClCCSID(65500), KivClCCSID(13488)}, fromUcs2{KivClCCSID(13488), KivClCCSID(819)};
    const std::pair<const KivClConverterABase&, KivClConverterABase::KivPfnConversionMethod> methods[] = {
        {fromUtf8, kivConvertByAlgorithmUTF8toUCS2}, {toUtf8, kivConvertByAlgorithmUCS2toUTF8},
        {little, kivConvertByCopying}, {big, kivConvertByEndianSwap}, {ebcdic, kivConvertByTablesSBCS_EBCDICtoUCS2},
        {dbcsEbcdic, kivConvertByTablesDBCS_EBCDICtoUCS2}, {dbcsAscii, kivConvertByTablesDBCS_ASCIItoUCS2},
        {to500, kivConvertByTablesUCS2toSBCS}, {to819, kivConvertByAlgorithmUCS2to819},
        {gbk, kivConvertByAlgorithmIcuToUnicode}, {toGbk, kivConvertByAlgorithmIcuFromUnicode},
        {eucjp, kivConvertByUsingIconv},
    };
    for (const auto& [converter, method] : methods) EXPECT_EQ(converter.getMethod(), method);
    EXPECT_TRUE(gbk.requiresExternalICUData() && eucjp.requiresExternalICONVRoutine());
    EXPECT_EQ(pc.getTargetCCSID().getCCSID(), 1208u);

    const struct {
        const char* what;
        const KivClConverterABase& converter;
        std::string in;
        unsigned int targetSize;
        Result expected;
    } rows[] = {
        {"empty", fromUtf8, "", 8, {"", 0, OK}},
        {"euro", fromUtf8, "\xE2\x82\xAC", 8, {units({0x20AC}), 3, OK}},
        {"supplementary", fromUtf8, "\xF0\x9F\x98\x80", 8, {units({0xD83D, 0xDE00}), 4, OK}},
        {"cut at the end", fromUtf8, "A\xE2\x82", 8, {units({0x41}), 1, INCOMPLETE}},
        {"overlong accepted", fromUtf8, "\xC0\x81", 8, {units({0x01}), 2, OK}},
        {"encoded surrogate kept", fromUtf8, "\xED\xA0\x80", 8, {units({0xD800}), 3, OK}},
        {"beyond U+10FFFF", fromUtf8, "\xF4\x90\x80\x80", 8, {units({0xFFFD}), 4, OK}},
        {"ascii run", fromUtf8, "abcdefghijk", 22,
         {units({'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k'}), 11, OK}},
        {"full target loses the character", fromUtf8, "AB", 2, {units({0x41}), 2, TOO_BIG}},
        {"pair needs four bytes", fromUtf8, "\xF0\x9F\x98\x80", 2, {"", 4, TOO_BIG}},
        {"odd target", fromUtf8, "AB", 3, {units({0x41}), 2, TOO_BIG}},
        {"pair", toUtf8, units({0xD83D, 0xDE00}), 8, {"\xF0\x9F\x98\x80", 4, OK}},
        {"lone low surrogate", toUtf8, units({0xDC00}), 8, {"\xEF\xBF\xBF", 2, OK}},
        {"non-character", toUtf8, units({0xFDD0}), 8, {"\xEF\xBF\xBF", 2, OK}},
        {"U+FFFE", toUtf8, units({0xFFFE}), 8, {"\xEF\xBF\xBF", 2, OK}},
        {"high surrogate last", toUtf8, units({0x41, 0xD800}), 8, {"A\xEF\xBF\xBF", 4, OK}},
        {"high surrogate then other", toUtf8, units({0xD800, 0x42}), 8, {"\xEF\xBF\xBF" "B", 4, OK}},
        {"two and three bytes", toUtf8, units({0xE9, 0x20AC}), 8, {"\xC3\xA9\xE2\x82\xAC", 4, OK}},
        {"ascii run", toUtf8, units({'a', 'b', 'c', 'd', 'e'}), 8, {"abcde", 10, OK}},
        {"odd byte count", toUtf8, units({0x41}) + "x", 8, {"A", 2, INCOMPLETE}},
        {"single byte", toUtf8, "x", 8, {"", 0, INCOMPLETE}},
        {"no room: unit skipped", toUtf8, units({0x41, 0x20AC}), 3, {"A", 4, TOO_BIG}},
        {"copy", little, "abcd", 8, {"abcd", 4, OK}},
        {"five bytes into ten", little, "abcde", 10, {"abcd", 4, INCOMPLETE}},
        {"target smaller", little, "abcdef", 4, {"abcd", 4, OK}},
        {"swap", big, "abcd", 8, {"badc", 4, OK}},
        {"odd", big, "abc", 8, {"ba", 2, INCOMPLETE}},
        {"target too small", ebcdic, "\xC1\xC2", 3, {units({0x41}), 1, TOO_BIG}},
        {"shift out and in", dbcsEbcdic, "\xC1\x0E\x41\x41\x0F\xC2", 12, {units({0x41, 0x03B1, 0x42}), 6, OK}},
        {"ends after shift out", dbcsEbcdic, "\xC1\x0E", 12, {units({0x41}), 2, INCOMPLETE}},
        {"ends inside a pair", dbcsEbcdic, "\x0E\x41\x41\x42", 12, {units({0x03B1}), 3, INCOMPLETE}},
        {"NEL becomes LF", dbcsEbcdic, "\x15", 2, {units({0x0A}), 1, OK}},
        {"target too small", dbcsEbcdic, "\xC1\xC2\xC3", 4, {units({0x41, 0x42}), 2, TOO_BIG}},
        {"pair and single", dbcsAscii, "\x88\x9F" "A", 8, {units({0x4E9C, 0x41}), 3, OK}},
        {"lead byte last", dbcsAscii, "A\x88", 8, {units({0x41}), 1, INCOMPLETE}},
        {"lead byte cut by target", dbcsAscii, "AB\x88\x9F", 6, {units({0x41, 0x42}), 2, TOO_BIG}},
        {"odd", to500, units({0x41}) + "x", 2, {"\xC1", 2, INCOMPLETE}},
        {"high byte lost", to819, units({0x0141}), 1, {"\x41", 2, OK}},
        {"target too small", to819, units({0x41, 0x42}), 1, {"A", 2, TOO_BIG}},
        {"two characters", gbk, "\xD6\xD0" "A", 8, {units({0x4E2D, 0x41}), 3, OK}},
        {"target too small", gbk, "\xD6\xD0\xD6\xD0", 2, {units({0x4E2D}), 2, TOO_BIG}},
        {"one character", toGbk, units({0x4E2D}), 4, {"\xD6\xD0", 2, OK}},
        {"kanji", eucjp, "\xB0\xA1", 4, {units({0x4E9C}), 2, OK}},
        {"incomplete", eucjp, "A\xB0", 4, {units({0x41}), 1, INCOMPLETE}},
        {"too big", eucjp, "AB", 2, {units({0x41}), 1, TOO_BIG}},
        {"invalid", eucjp, "\xB0\x01", 4, {"", 0, KIV_ERRID_CPCONVERTER_INVALID_SEQ}},
        // Two steps: incomplete UTF-8 at the end stays for the next call
        // while the second step still runs.
        {"ABC", pc, "ABC", 9, {"ABC", 3, OK}},
        {"box drawing", pc, "\xC9", 9, {"\xE2\x95\x94", 1, OK}},
        {"second step too small", pc, "\xC9\xC9", 4, {"\xE2\x95\x94", 2, TOO_BIG}},
        {"cut euro", utf8To850, "A\xE2\x82", 8, {"A", 1, OK}},
        {"copy bounded by target", same, "abcdef", 4, {"abcd", 4, OK}},
        {"65501 equals 13488", hostUcs2, "abcd", 8, {"abcd", 4, OK}},
        {"byte pairs swapped", swap, "abcd", 8, {"badc", 4, OK}},
        {"odd unit count", fromUcs2, units({0x41}) + "x", 8, {"A", 2, INCOMPLETE}},
    };
    for (const auto& row : rows) {
        const Result r = run(row.converter, row.in, row.targetSize);
        EXPECT_EQ(std::tie(r.out, r.consumed, r.errorId),
                  std::tie(row.expected.out, row.expected.consumed, row.expected.errorId)) << row.what;
    }
    // Odd target address: the ICU method goes through an aligned buffer.
    std::vector<char> target(9, 0);
    EXPECT_EQ(gbk.convertBytes(target.data() + 1, 4, "\xD6\xD0", 2), 2u);
    EXPECT_EQ(std::string(target.data() + 1, 2), units({0x4E2D}));
}

// Unsupported code pages write nothing until re-targeting replaces the method.
TEST(Conversions, UnsupportedCodePages) {
    KivClCodePage2UnicodeConverter unknown(KivClCCSID(4352));
    const KivClCodePage2CodePageConverter broken(KivClCCSID(37), KivClCCSID(4352));  // the first step works
    const std::pair<const KivClConverterABase&, size_t> rows[] = {{unknown, 0}, {broken, 1}};
    for (const auto& [c, consumed] : rows) {
        EXPECT_TRUE(!c.isSupported() && c.requiresExternalICONVRoutine());
        const Result r = run(c, "\xC1", 8);
        EXPECT_EQ(std::tie(r.out, r.consumed, r.errorId), std::make_tuple(std::string(), consumed, UNSUPPORTED));
    }
    EXPECT_EQ(unknown.getError().errorClass, KIV_ERRCLASS_INCONSISTENT_SITUATION);
    EXPECT_TRUE(KivClCodePage2CodePageConverter(KivClCCSID(37), KivClCCSID(1386)).requiresExternalICUData());
    unknown.initNewCodePage2Unicode(KivClCCSID(37));
    const Result r = run(unknown, "\xC1", 2);
    EXPECT_TRUE(unknown.isSupported());
    EXPECT_EQ(std::tie(r.out, r.consumed, r.errorId), std::make_tuple(units({0x41}), size_t{1}, OK));
}

// Targets with room for the worst case skip the per-character room checks;
// a target of exactly the output's size must give the same bytes, and one
// byte less must stop with TOO_BIG after a prefix of them.
TEST(Utf8Algorithms, AmpleAndExactTargetsAgree) {
    const std::string ascii(40, 'a');
    const std::string texts[] = {
        ascii,
        ascii + "\xC3\xA9" + ascii + "\xE2\x82\xAC" + ascii.substr(0, 7),
        "a\xC3\xA9" "bc\xE2\x82\xAC" "d\xF0\x9F\x98\x80" "efghijklmnop\xC3\xA9\xC3\xA9",
        "\xED\xA0\x80xyz\xF4\x90\x80\x80" + ascii.substr(0, 9) + "\xFD\x80\x80\x80\x80\x80",
        "ab\xC3\x41" "cd\xC1\x01" "ef\xE0\x01\x01" "gh\xEF\xFF\xFF" + ascii.substr(0, 12),  // odd trailing bytes
    };
    const KivClCodePage2UnicodeConverter decoder{KivClCCSID(1208)};
    const KivClUnicode2CodePageConverter encoder{KivClCCSID(1208)};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        for (const KivClConverterABase* converter : {static_cast<const KivClConverterABase*>(&decoder),
                                                     static_cast<const KivClConverterABase*>(&encoder)}) {
            const std::string input = converter == &decoder ? text : run(decoder, text, 4 * text.size()).out;
            const Result ample = run(*converter, input, static_cast<unsigned int>(4 * input.size()));
            ASSERT_TRUE(ample.errorId == OK && ample.consumed == input.size());
            const unsigned int exact = static_cast<unsigned int>(ample.out.size());
            const Result fitted = run(*converter, input, exact), tight = run(*converter, input, exact - 1);
            EXPECT_EQ(std::tie(fitted.out, fitted.errorId), std::tie(ample.out, OK));
            EXPECT_EQ(std::make_pair(tight.out, tight.errorId),
                      std::make_pair(ample.out.substr(0, tight.out.size()), TOO_BIG));
            EXPECT_GE(tight.out.size() + 4, exact - 1);
        }
    }
}

// Long inputs take a faster loop; it must give what converting the same
// bytes one at a time gives, stop where the target ends and say so.
TEST(SingleByteTables, LongInputsMatchByteByByte) {
    std::string every;
    for (int round = 0; round < 24; ++round) {
        for (int b = 0; b < 256; ++b) every += static_cast<char>((b * 7 + round) & 0xFF);
    }
    // A target size of 0 gives room for the whole input.
    const struct Row {
        unsigned int ccsid; size_t length; unsigned int targetSize; size_t consumed; uint32_t errorId;
    } rows[] = {
        {37, 511, 0, 511, OK},     {37, 512, 0, 512, OK},       {37, 515, 0, 515, OK},
        {850, 4099, 0, 4099, OK},  {1252, 6144, 0, 6144, OK},   {37, 4096, 2051, 1025, TOO_BIG},
        {850, 4096, 1030, 515, TOO_BIG},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.ccsid << " length " << row.length << " target " << row.targetSize);
        const KivClCodePage2UnicodeConverter converter{KivClCCSID(row.ccsid)};
        const std::string input = every.substr(0, row.length);
        std::string expected;
        for (size_t i = 0; i < row.consumed; ++i) expected += run(converter, input.substr(i, 1), 2).out;
        const unsigned int targetSize = row.targetSize != 0 ? row.targetSize : static_cast<unsigned int>(2 * row.length);
        const Result whole = run(converter, input, targetSize);
        EXPECT_EQ(std::tie(whole.out, whole.consumed, whole.errorId), std::tie(expected, row.consumed, row.errorId));
    }
}

TEST(ConverterSizes, Table) {
    const struct Row { uint32_t source, target; unsigned int n, forLength, forSize; } rows[] = {
        {37, 13488, 10, 20, 20},       {1392, 13488, 10, 40, 20},   {65500, 13488, 10, 20, 10},
        {13488, 1208, 10, 50, 15},     {13488, 1392, 10, 40, 10},   {13488, 65500, 10, 20, 10},
        {13488, 37, 10, 20, 5},        {13488, 930, 11, 22, 10},    {437, 1208, 3, 15, 9},
        {1392, 1208, 3, 15, 6},        {13488, 1208, 4, 20, 6},      {37, 930, 4, 8, 8},
        {37, 37, 7, 14, 7},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.source) + " to " + std::to_string(row.target));
        std::unique_ptr<KivClConverterABase> c;
        if (row.source == 13488 && row.target != 1208) {
            c.reset(new KivClUnicode2CodePageConverter(KivClCCSID(row.target)));
        } else if (row.target == 13488) {
            c.reset(new KivClCodePage2UnicodeConverter(KivClCCSID(row.source)));
        } else {
            c.reset(new KivClCodePage2CodePageConverter(KivClCCSID(row.source), KivClCCSID(row.target)));
        }
        EXPECT_EQ(std::make_pair(c->getMaximumSizeForLength(row.n), c->getMaximumSizeForSize(row.n)),
                  std::make_pair(row.forLength, row.forSize));
    }
}

TEST(ConverterStatics, MarksAndUtf8Decoding) {
    using C = KivClConverterABase;
    EXPECT_EQ(std::string(C::getUCS2BigEndianId()) + "|" + C::getUCS2LittleEndianId() + "|" +
                  C::getUCS2HostEndianId(), "\xFE\xFF|\xFF\xFE|\xFF\xFE");
    EXPECT_TRUE(C::isUCS2BigEndianId("\xFE\xFFxy") && !C::isUCS2BigEndianId("\xFF\xFE"));
    EXPECT_TRUE(C::isUCS2LittleEndianId("\xFF\xFE") && !C::isUCS2LittleEndianId(nullptr));
    EXPECT_EQ(std::vector<uint32_t>({C::convertUtf8CharToUtf32("A"), C::convertUtf8CharToUtf32("\xE2\x82\xAC"),
                                     C::convertUtf8CharToUtf32("\xF0\x9F\x98\x80")}),
              std::vector<uint32_t>({0x41, 0x20AC, 0x1F600}));
}

TEST(IcuInterface, ErrorMapAndExceptions) {
    const struct Row {
        UErrorCode status; uint32_t id;
        KivEnErrorClass errorClass; KivEnErrorAction action; KivEnErrorSeverity severity;
    } rows[] = {
        {U_ZERO_ERROR, 0, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_IGNORE, KIV_SEVERITY_NONE},
        {U_ILLEGAL_ARGUMENT_ERROR, KIV_ERRID_ICU_ILLEGAL_ARGUMENT_ERROR, KIV_ERRCLASS_USER_ERROR, KIV_ACTION_INFORM,
         KIV_SEVERITY_INTERNAL},
        {U_FILE_ACCESS_ERROR, KIV_ERRID_ICU_FILE_ACCESS_ERROR, KIV_ERRCLASS_IO_PROBLEM, KIV_ACTION_INFORM,
         KIV_SEVERITY_NORMAL},
        {U_INTERNAL_PROGRAM_ERROR, KIV_ERRID_ICU_INTERNAL_PROGRAM_ERROR, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_ABORT,
         KIV_SEVERITY_INTERNAL},
        {U_MEMORY_ALLOCATION_ERROR, KIV_ERRID_ICU_MEMORY_ALLOCATION_ERROR, KIV_ERRCLASS_OUT_OF_MEMORY,
         KIV_ACTION_INFORM, KIV_SEVERITY_FATAL},
        {U_INVALID_CHAR_FOUND, KIV_ERRID_CPCONVERTER_INVALID_SEQ, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_INFORM,
         KIV_SEVERITY_NORMAL},
        {U_TRUNCATED_CHAR_FOUND, KIV_ERRID_CPCONVERTER_INCOMPLETE, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_INFORM,
         KIV_SEVERITY_NORMAL},
        {U_BUFFER_OVERFLOW_ERROR, KIV_ERRID_CPCONVERTER_TOO_BIG, KIV_ERRCLASS_USER_DATA_ERROR, KIV_ACTION_INFORM,
         KIV_SEVERITY_NORMAL},
        {U_UNSUPPORTED_ERROR, KIV_ERRID_ICU_UNSUPPORTED_ERROR, KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED,
         KIV_ACTION_INFORM, KIV_SEVERITY_NORMAL},
        {U_NO_SPACE_AVAILABLE, KIV_ERRID_ICU_NO_SPACE_AVAILABLE, KIV_ERRCLASS_RESOURCE_EXHAUSTED, KIV_ACTION_INFORM,
         KIV_SEVERITY_NORMAL},
        {U_ERROR_LIMIT, KIV_ERRID_ICU_ERROR_LIMIT, KIV_ERRCLASS_UNKNOWN, KIV_ACTION_IGNORE, KIV_SEVERITY_NONE},
    };
    using I = KivClIcuInterface;
    for (const Row& row : rows) {
        const auto expected = std::make_tuple(row.id, row.errorClass, row.action, row.severity);
        EXPECT_EQ(std::make_tuple(I::getKivErrorIdForIcuError(row.status), I::getKivErrorClassForIcuError(row.status),
                                  I::getKivErrorActionForIcuError(row.status),
                                  I::getKivErrorSeverityForIcuError(row.status)), expected) << row.status;
        _KivStUserError user = {9, KIV_ERRCLASS_LOGIC, KIV_SEVERITY_PANIC, KIV_ACTION_PANIC};
        I::mapIcuError(user, row.status);
        EXPECT_EQ(std::make_tuple(user.errorId, user.errorClass, user.action, user.severity), expected) << row.status;
    }
    // All 21 failure statuses up to U_NO_SPACE_AVAILABLE have a row.
    for (int s = 0; s <= U_NO_SPACE_AVAILABLE; ++s) EXPECT_NO_THROW(I::getKivEntryForIcuError(UErrorCode(s))) << s;

    // Cause, module, error id, severity and action of what call throws.
    const auto thrown = [](const std::function<void()>& call) {
        try {
            call();
        } catch (const KivClException& e) {
            const _KivStUserError& error = e.getError();
            return std::make_tuple(std::string(e.getCause()), std::string(e.getModule()), error.errorId,
                                   error.severity, error.action);
        }
        return std::make_tuple(std::string("no exception"), std::string(), 0u, KIV_SEVERITY_NONE, KIV_ACTION_IGNORE);
    };
    for (UErrorCode unknown : {U_USING_DEFAULT_WARNING, U_NO_WRITE_PERMISSION, U_BAD_VARIABLE_DEFINITION}) {
        EXPECT_EQ(thrown([unknown] { KivClIcuInterface::getKivErrorIdForIcuError(unknown); }),
                  std::make_tuple(std::string("Unexpected ICU error"), std::string("kiv_icu_interface:252"),
                                  KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR, KIV_SEVERITY_INTERNAL, KIV_ACTION_ABORT))
            << unknown;
    }
    EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_ZERO_ERROR));
    EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_USING_DEFAULT_WARNING));
    EXPECT_EQ(thrown([] { KivClIcuInterface::handleIcuErrorCode(U_BUFFER_OVERFLOW_ERROR); }),
              std::make_tuple(std::string(), std::string("kiv_icu_interface:325"), KIV_ERRID_CPCONVERTER_TOO_BIG,
                              KIV_SEVERITY_NORMAL, KIV_ACTION_INFORM));
}

TEST(IcuInterface, OpeningConverters) {
    // A null name: the open fails.
    const struct Row { unsigned int ccsid; const char* name; } rows[] = {
        {932, "ibm-942_P12A-1999"}, {942, "ibm-942_P12A-1999"}, {943, "ibm-943_P15A-2003"}, {1392, "gb18030"},
        {37, "ibm-37_P100-1995"},   {65502, nullptr},           {4352, nullptr},            {99, nullptr}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.ccsid);
        _KivStError error = {0, KIV_ERRCLASS_UNKNOWN};
        UConverter* converter = kivGetICUConverter(row.ccsid, error);
        if (row.name == nullptr) {
            EXPECT_EQ(converter, nullptr);
            EXPECT_NE(error.errorId, 0u);
            continue;
        }
        ASSERT_NE(converter, nullptr);
        UErrorCode status = U_ZERO_ERROR;
        EXPECT_STREQ(ucnv_getName(converter, &status), row.name);
        EXPECT_TRUE(ucnv_usesFallback(converter));
        EXPECT_EQ(error.errorId, 0u);
        kivDeleteICUConverter(converter);
    }
}

}  // namespace
