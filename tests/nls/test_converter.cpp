// Converters and conversion methods: edge cases of each algorithm, method
// selection, sizes, the two-step conversion and the ICU error map.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
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

struct Case {
    const char* what;
    std::string in;
    unsigned int targetSize;
    std::string out;
    size_t consumed;
    uint32_t errorId;
};

void check(const KivClConverterABase& converter, const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Result r = run(converter, c.in, c.targetSize);
        EXPECT_EQ(r.out, c.out);
        EXPECT_EQ(r.consumed, c.consumed);
        EXPECT_EQ(r.errorId, c.errorId);
    }
}

TEST(Utf8ToUcs2, Sequences) {
    KivClCodePage2UnicodeConverter c(KivClCCSID(1208));
    ASSERT_EQ(c.getMethod(), &kivConvertByAlgorithmUTF8toUCS2);
    check(c, {
        {"empty", "", 8, "", 0, OK},
        {"euro", "\xE2\x82\xAC", 8, units({0x20AC}), 3, OK},
        {"supplementary", "\xF0\x9F\x98\x80", 8, units({0xD83D, 0xDE00}), 4, OK},
        {"cut at the end", "A\xE2\x82", 8, units({0x41}), 1, INCOMPLETE},
        {"overlong accepted", "\xC0\x81", 8, units({0x01}), 2, OK},
        {"encoded surrogate kept", "\xED\xA0\x80", 8, units({0xD800}), 3, OK},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80", 8, units({0xFFFD}), 4, OK},
        {"ascii run", "abcdefghijk", 22, units({'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k'}), 11, OK},
        {"full target loses the character", "AB", 2, units({0x41}), 2, TOO_BIG},
        {"pair needs four bytes", "\xF0\x9F\x98\x80", 2, "", 4, TOO_BIG},
        {"odd target", "AB", 3, units({0x41}), 2, TOO_BIG},
    });
}

TEST(Ucs2ToUtf8, Units) {
    KivClUnicode2CodePageConverter c(KivClCCSID(1208));
    ASSERT_EQ(c.getMethod(), &kivConvertByAlgorithmUCS2toUTF8);
    check(c, {
        {"pair", units({0xD83D, 0xDE00}), 8, "\xF0\x9F\x98\x80", 4, OK},
        {"lone low surrogate", units({0xDC00}), 8, "\xEF\xBF\xBF", 2, OK},
        {"non-character", units({0xFDD0}), 8, "\xEF\xBF\xBF", 2, OK},
        {"U+FFFE", units({0xFFFE}), 8, "\xEF\xBF\xBF", 2, OK},
        {"high surrogate last", units({0x41, 0xD800}), 8, "A\xEF\xBF\xBF", 4, OK},
        {"high surrogate then other", units({0xD800, 0x42}), 8, "\xEF\xBF\xBF" "B", 4, OK},
        {"two and three bytes", units({0xE9, 0x20AC}), 8, "\xC3\xA9\xE2\x82\xAC", 4, OK},
        {"ascii run", units({'a', 'b', 'c', 'd', 'e'}), 8, "abcde", 10, OK},
        {"odd byte count", units({0x41}) + "x", 8, "A", 2, INCOMPLETE},
        {"single byte", "x", 8, "", 0, INCOMPLETE},
        {"no room: unit skipped", units({0x41, 0x20AC}), 3, "A", 4, TOO_BIG},
    });
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
            ASSERT_EQ(ample.errorId, OK);
            ASSERT_EQ(ample.consumed, input.size());
            const unsigned int exact = static_cast<unsigned int>(ample.out.size());
            const Result fitted = run(*converter, input, exact);
            EXPECT_EQ(fitted.out, ample.out);
            EXPECT_EQ(fitted.errorId, OK);
            const Result tight = run(*converter, input, exact - 1);
            EXPECT_EQ(tight.errorId, TOO_BIG);
            EXPECT_EQ(tight.out, ample.out.substr(0, tight.out.size()));
            EXPECT_GE(tight.out.size() + 4, exact - 1);
        }
    }
}

TEST(Ucs2Copies, CopyAndSwap) {
    KivClCodePage2UnicodeConverter little(KivClCCSID(65501));
    KivClCodePage2UnicodeConverter big(KivClCCSID(65500));
    EXPECT_EQ(little.getMethod(), &kivConvertByCopying);
    EXPECT_EQ(big.getMethod(), &kivConvertByEndianSwap);
    check(little, {
        {"copy", "abcd", 8, "abcd", 4, OK},
        {"five bytes into ten", "abcde", 10, "abcd", 4, INCOMPLETE},
        {"target smaller", "abcdef", 4, "abcd", 4, OK},
    });
    check(big, {
        {"swap", "abcd", 8, "badc", 4, OK},
        {"odd", "abc", 8, "ba", 2, INCOMPLETE},
    });
}

TEST(SingleByteTables, AsciiAndEbcdic) {
    KivClCodePage2UnicodeConverter ebcdic(KivClCCSID(37));
    KivClCodePage2UnicodeConverter pc(KivClCCSID(437));
    EXPECT_EQ(ebcdic.getMethod(), &kivConvertByTablesSBCS_EBCDICtoUCS2);
    EXPECT_EQ(pc.getMethod(), &kivConvertByTablesSBCS_ASCIItoUCS2);
    check(ebcdic, {
        {"NEL becomes LF", "\x15", 2, units({0x0A}), 1, OK},
        {"letter", "\xC1", 2, units({0x41}), 1, OK},
        {"target too small", "\xC1\xC2", 3, units({0x41}), 1, TOO_BIG},
    });
    check(pc, {{"box drawing", "\xC9\x41", 4, units({0x2554, 0x41}), 2, OK}});
}

// Long inputs take a faster loop; it must give what converting the same
// bytes one at a time gives, stop where the target ends and say so.
TEST(SingleByteTables, LongInputsMatchByteByByte) {
    std::string every;
    for (int round = 0; round < 24; ++round) {
        for (int b = 0; b < 256; ++b) every += static_cast<char>((b * 7 + round) & 0xFF);
    }
    struct Row {
        unsigned int ccsid;
        size_t length;
        unsigned int targetSize;  // 0: room for the whole input
        size_t consumed;
        uint32_t errorId;
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
        EXPECT_EQ(whole.out, expected);
        EXPECT_EQ(whole.consumed, row.consumed);
        EXPECT_EQ(whole.errorId, row.errorId);
    }
}

TEST(DoubleByteTables, EbcdicShiftStates) {
    KivClCodePage2UnicodeConverter c(KivClCCSID(930));
    ASSERT_EQ(c.getMethod(), &kivConvertByTablesDBCS_EBCDICtoUCS2);
    check(c, {
        {"shift out and in", "\xC1\x0E\x41\x41\x0F\xC2", 12, units({0x41, 0x03B1, 0x42}), 6, OK},
        {"ends after shift out", "\xC1\x0E", 12, units({0x41}), 2, INCOMPLETE},
        {"ends inside a pair", "\x0E\x41\x41\x42", 12, units({0x03B1}), 3, INCOMPLETE},
        {"NEL becomes LF", "\x15", 2, units({0x0A}), 1, OK},
        {"target too small", "\xC1\xC2\xC3", 4, units({0x41, 0x42}), 2, TOO_BIG},
    });
}

TEST(DoubleByteTables, AsciiLeadBytes) {
    KivClCodePage2UnicodeConverter c(KivClCCSID(301));
    ASSERT_EQ(c.getMethod(), &kivConvertByTablesDBCS_ASCIItoUCS2);
    check(c, {
        {"pair and single", "\x88\x9F" "A", 8, units({0x4E9C, 0x41}), 3, OK},
        {"lead byte last", "A\x88", 8, units({0x41}), 1, INCOMPLETE},
        {"lead byte cut by target", "AB\x88\x9F", 4, units({0x41, 0x42}), 2, TOO_BIG},
    });
}

TEST(Ucs2ToSingleByte, ReverseTablesAnd819) {
    KivClUnicode2CodePageConverter to500(KivClCCSID(500));
    KivClUnicode2CodePageConverter to850(KivClCCSID(850));
    KivClUnicode2CodePageConverter to819(KivClCCSID(819));
    EXPECT_EQ(to500.getMethod(), &kivConvertByTablesUCS2toSBCS);
    EXPECT_EQ(to819.getMethod(), &kivConvertByAlgorithmUCS2to819);
    check(to500, {
        {"letters", units({0x41, 0x61}), 2, "\xC1\x81", 4, OK},
        {"unmapped", units({0x4E00}), 2, "\x3F", 2, OK},
        {"odd", units({0x41}) + "x", 2, "\xC1", 2, INCOMPLETE},
    });
    check(to850, {{"mapped and unmapped", units({0xE9, 0x4E00}), 2, "\x82\x7F", 4, OK}});
    check(to819, {
        {"high byte lost", units({0x0141}), 1, "\x41", 2, OK},
        {"target too small", units({0x41, 0x42}), 1, "A", 2, TOO_BIG},
    });
}

TEST(ConverterSelection, IcuIconvAndUnsupported) {
    KivClCodePage2UnicodeConverter gbk(KivClCCSID(936));  // served by ICU as 1386
    EXPECT_EQ(gbk.getMethod(), &kivConvertByAlgorithmIcuToUnicode);
    EXPECT_TRUE(gbk.requiresExternalICUData());
    check(gbk, {
        {"two characters", "\xD6\xD0" "A", 8, units({0x4E2D, 0x41}), 3, OK},
        {"target too small", "\xD6\xD0\xD6\xD0", 2, units({0x4E2D}), 2, TOO_BIG},
    });
    // Odd target address: the method goes through an aligned buffer.
    std::vector<char> target(9, 0);
    EXPECT_EQ(gbk.convertBytes(target.data() + 1, 4, "\xD6\xD0", 2), 2u);
    EXPECT_EQ(std::string(target.data() + 1, 2), units({0x4E2D}));

    KivClUnicode2CodePageConverter toGbk(KivClCCSID(1386));
    EXPECT_EQ(toGbk.getMethod(), &kivConvertByAlgorithmIcuFromUnicode);
    check(toGbk, {{"one character", units({0x4E2D}), 4, "\xD6\xD0", 2, OK}});

    // No table and no ICU converter for 9146; glibc knows its name EUC-JP.
    KivClCodePage2UnicodeConverter eucjp(KivClCCSID(9146));
    EXPECT_EQ(eucjp.getMethod(), &kivConvertByUsingIconv);
    EXPECT_TRUE(eucjp.requiresExternalICONVRoutine());
    check(eucjp, {
        {"kanji", "\xB0\xA1", 4, units({0x4E9C}), 2, OK},
        {"incomplete", "A\xB0", 4, units({0x41}), 1, INCOMPLETE},
        {"too big", "AB", 2, units({0x41}), 1, TOO_BIG},
        {"invalid", "\xB0\x01", 4, "", 0, KIV_ERRID_CPCONVERTER_INVALID_SEQ},
    });

    KivClCodePage2UnicodeConverter unknown(KivClCCSID(4352));
    EXPECT_FALSE(unknown.isSupported());
    EXPECT_TRUE(unknown.requiresExternalICONVRoutine());
    check(unknown, {{"nothing written", "abc", 8, "", 0, UNSUPPORTED}});
    EXPECT_EQ(unknown.getError().errorClass, KIV_ERRCLASS_INCONSISTENT_SITUATION);

    // Re-targeting replaces the method.
    unknown.initNewCodePage2Unicode(KivClCCSID(37));
    EXPECT_TRUE(unknown.isSupported());
    check(unknown, {{"now EBCDIC", "\xC1", 2, units({0x41}), 1, OK}});
}

TEST(CodePageToCodePage, TwoStepsAndShortcuts) {
    KivClCodePage2UTF8Converter pc(KivClCCSID(437));
    EXPECT_EQ(pc.getMaximumSizeForSize(3), 9u);
    EXPECT_EQ(pc.getTargetCCSID().getCCSID(), 1208u);
    check(pc, {
        {"ABC", "ABC", 9, "ABC", 3, OK},
        {"box drawing", "\xC9", 9, "\xE2\x95\x94", 1, OK},
        {"second step too small", "\xC9\xC9", 4, "\xE2\x95\x94", 2, TOO_BIG},
    });
    // Incomplete UTF-8 at the end: the rest stays for the next call, the
    // second step still runs.
    KivClCodePage2CodePageConverter utf8To850(KivClCCSID(1208), KivClCCSID(850));
    check(utf8To850, {{"cut euro", "A\xE2\x82", 8, "A", 1, OK}});

    KivClCodePage2CodePageConverter same(KivClCCSID(37), KivClCCSID(37));
    check(same, {{"copy bounded by target", "abcdef", 4, "abcd", 4, OK}});
    EXPECT_EQ(same.getMaximumSizeForSize(6), 6u);
    KivClCodePage2CodePageConverter hostUcs2(KivClCCSID(65501), KivClCCSID(13488));
    check(hostUcs2, {{"65501 equals 13488", "abcd", 8, "abcd", 4, OK}});
    KivClCodePage2CodePageConverter swap(KivClCCSID(65500), KivClCCSID(13488));
    check(swap, {{"byte pairs swapped", "abcd", 8, "badc", 4, OK}});
    KivClCodePage2CodePageConverter fromUcs2(KivClCCSID(13488), KivClCCSID(819));
    check(fromUcs2, {{"odd unit count", units({0x41}) + "x", 8, "A", 2, INCOMPLETE}});

    KivClCodePage2CodePageConverter broken(KivClCCSID(37), KivClCCSID(4352));
    EXPECT_FALSE(broken.isSupported());
    EXPECT_TRUE(broken.requiresExternalICONVRoutine());
    check(broken, {{"second half unsupported", "\xC1", 8, "", 1, UNSUPPORTED}});
    KivClCodePage2CodePageConverter viaIcu(KivClCCSID(37), KivClCCSID(1386));
    EXPECT_TRUE(viaIcu.requiresExternalICUData());
}

TEST(ConverterSizes, Table) {
    struct Row {
        uint32_t source, target;
        unsigned int n, forLength, forSize;
    } rows[] = {
        {37, 13488, 10, 20, 20},       {1392, 13488, 10, 40, 20},   {65500, 13488, 10, 20, 10},
        {13488, 1208, 10, 50, 15},     {13488, 1392, 10, 40, 10},   {13488, 65500, 10, 20, 10},
        {13488, 37, 10, 20, 5},        {13488, 930, 11, 22, 10},    {437, 1208, 3, 15, 9},
        {1392, 1208, 3, 15, 6},        {13488, 1208, 4, 20, 6},      {37, 930, 4, 8, 8},
        {37, 37, 7, 14, 7},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.source) + " to " + std::to_string(row.target));
        if (row.source == 13488 && row.target != 1208) {
            KivClUnicode2CodePageConverter c{KivClCCSID(row.target)};
            EXPECT_EQ(c.getMaximumSizeForLength(row.n), row.forLength);
            EXPECT_EQ(c.getMaximumSizeForSize(row.n), row.forSize);
        } else if (row.target == 13488) {
            KivClCodePage2UnicodeConverter c{KivClCCSID(row.source)};
            EXPECT_EQ(c.getMaximumSizeForLength(row.n), row.forLength);
            EXPECT_EQ(c.getMaximumSizeForSize(row.n), row.forSize);
        } else {
            KivClCodePage2CodePageConverter c{KivClCCSID(row.source), KivClCCSID(row.target)};
            EXPECT_EQ(c.getMaximumSizeForLength(row.n), row.forLength);
            EXPECT_EQ(c.getMaximumSizeForSize(row.n), row.forSize);
        }
    }
}

TEST(ConverterStatics, MarksAndUtf8Decoding) {
    EXPECT_STREQ(KivClConverterABase::getUCS2BigEndianId(), "\xFE\xFF");
    EXPECT_STREQ(KivClConverterABase::getUCS2LittleEndianId(), "\xFF\xFE");
    EXPECT_STREQ(KivClConverterABase::getUCS2HostEndianId(), "\xFF\xFE");
    EXPECT_TRUE(KivClConverterABase::isUCS2BigEndianId("\xFE\xFFxy"));
    EXPECT_FALSE(KivClConverterABase::isUCS2BigEndianId("\xFF\xFE"));
    EXPECT_TRUE(KivClConverterABase::isUCS2LittleEndianId("\xFF\xFE"));
    EXPECT_FALSE(KivClConverterABase::isUCS2LittleEndianId(nullptr));
    EXPECT_EQ(KivClConverterABase::convertUtf8CharToUtf32("A"), 0x41u);
    EXPECT_EQ(KivClConverterABase::convertUtf8CharToUtf32("\xE2\x82\xAC"), 0x20ACu);
    EXPECT_EQ(KivClConverterABase::convertUtf8CharToUtf32("\xF0\x9F\x98\x80"), 0x1F600u);
}

TEST(IcuInterface, ErrorMap) {
    struct Row {
        UErrorCode status;
        uint32_t id;
        KivEnErrorClass errorClass;
        KivEnErrorAction action;
        KivEnErrorSeverity severity;
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
    for (const Row& row : rows) {
        SCOPED_TRACE(row.status);
        EXPECT_EQ(KivClIcuInterface::getKivErrorIdForIcuError(row.status), row.id);
        EXPECT_EQ(KivClIcuInterface::getKivErrorClassForIcuError(row.status), row.errorClass);
        EXPECT_EQ(KivClIcuInterface::getKivErrorActionForIcuError(row.status), row.action);
        EXPECT_EQ(KivClIcuInterface::getKivErrorSeverityForIcuError(row.status), row.severity);
        _KivStUserError user = {9, KIV_ERRCLASS_LOGIC, KIV_SEVERITY_PANIC, KIV_ACTION_PANIC};
        KivClIcuInterface::mapIcuError(user, row.status);
        EXPECT_EQ(user.errorId, row.id);
        EXPECT_EQ(user.severity, row.severity);
        EXPECT_EQ(user.action, row.action);
    }
    // All 21 failure statuses up to U_NO_SPACE_AVAILABLE have a row.
    for (int s = 0; s <= U_NO_SPACE_AVAILABLE; ++s) {
        EXPECT_NO_THROW(KivClIcuInterface::getKivEntryForIcuError(static_cast<UErrorCode>(s))) << s;
    }
}

TEST(IcuInterface, Exceptions) {
    for (UErrorCode unknown : {U_USING_DEFAULT_WARNING, U_NO_WRITE_PERMISSION, U_BAD_VARIABLE_DEFINITION}) {
        try {
            KivClIcuInterface::getKivErrorIdForIcuError(unknown);
            ADD_FAILURE() << "no exception for " << unknown;
        } catch (const KivClException& e) {
            EXPECT_STREQ(e.getCause(), "Unexpected ICU error");
            EXPECT_STREQ(e.getModule(), "kiv_icu_interface:252");
            EXPECT_EQ(e.getError().errorId, KIV_ERRID_ICU_UNEXPECTED_ICU_ERROR);
            EXPECT_EQ(e.getError().severity, KIV_SEVERITY_INTERNAL);
            EXPECT_EQ(e.getError().action, KIV_ACTION_ABORT);
        }
    }
    EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_ZERO_ERROR));
    EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_USING_DEFAULT_WARNING));
    try {
        KivClIcuInterface::handleIcuErrorCode(U_BUFFER_OVERFLOW_ERROR);
        ADD_FAILURE() << "no exception";
    } catch (const KivClException& e) {
        EXPECT_STREQ(e.getModule(), "kiv_icu_interface:325");
        EXPECT_STREQ(e.getCause(), "");
        EXPECT_EQ(e.getError().errorId, KIV_ERRID_CPCONVERTER_TOO_BIG);
        EXPECT_EQ(e.getError().severity, KIV_SEVERITY_NORMAL);
    }
}

TEST(IcuInterface, OpeningConverters) {
    struct Row {
        unsigned int ccsid;
        const char* name;  // null: the open fails
    } rows[] = {{932, "ibm-942_P12A-1999"}, {942, "ibm-942_P12A-1999"}, {943, "ibm-943_P15A-2003"},
                {1392, "gb18030"},          {37, "ibm-37_P100-1995"},  {65502, nullptr},
                {4352, nullptr}, {99, nullptr}};
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
