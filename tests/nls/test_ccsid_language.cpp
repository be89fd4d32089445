// CCSID registry and language/territory registry.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "kiv_ccsid.hpp"
#include "kiv_language.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr uint32_t A = 1, E = 2, D = 4, S = 8, U = 64;

uint32_t propertiesOf(const KivClCCSID& c) {
    return (c.isASCII() ? A : 0) | (c.isEBCDIC() ? E : 0) | (c.isDBCS() ? D : 0) | (c.isSBCS() ? S : 0) |
           (c.isUCS2() ? U : 0);
}

TEST(CCSID, ConstructionByNumberAndName) {
    // A null name constructs from the number.
    const struct Row {
        const char* name; uint32_t number, expectedCcsid; bool valid; const char* expectedName; uint32_t properties;
    } rows[] = {
        {"819", 0, 819, true, "ISO8859-1", A | S},
        {"ISO8859-1", 0, 819, true, "ISO8859-1", A | S},
        {"iso8859-7", 0, 813, true, "ISO8859-7", S},
        {"UCS-2", 0, 13488, true, "UCS-2", U},
        {"utf-8", 0, 1208, true, "UTF-8", A},
        {"GB-18030", 0, 1392, true, "GB-18030", A | D},
        {"EUC-JP", 0, 954, true, "EUC-JP", A | D},
        {"CP1252", 0, 1252, false, "???", 0},
        {"nodigits", 0, 0, false, "???", 0},
        {"", 0, 0, false, "???", 0},
        {nullptr, 1252, 1252, true, "1252", A | S},
        {nullptr, 1234, 1234, false, "???", 0},
        {nullptr, 0, 0, false, "???", 0},
        {nullptr, 37, 37, true, "37", E | S},
        {nullptr, 4133, 4133, true, "037", E},
        {nullptr, 25426, 25426, true, "850", A},
        {nullptr, 29712, 29712, true, "1040", A},
        {nullptr, 33700, 33700, true, "932", A},
        {nullptr, 61700, 61700, true, "367", A},
        {nullptr, 259, 259, true, "259", 0},
        {nullptr, 4352, 4352, true, "256", 0},
        {nullptr, 9146, 9146, true, "EUC-JP", A},
        {nullptr, 65500, 65500, true, "UCS-2B", U},
        {nullptr, 65501, 65501, true, "UCS-2L", U},
        {nullptr, 930, 930, true, "930", E | D},
        {nullptr, 806, 806, true, "806", S},
    };
    for (const Row& row : rows) {
        const KivClCCSID c = row.name ? KivClCCSID(row.name) : KivClCCSID(row.number);
        EXPECT_EQ(std::make_tuple(c.getCCSID(), c.isValid(), std::string(c.getName()), propertiesOf(c)),
                  std::make_tuple(row.expectedCcsid, row.valid, std::string(row.expectedName), row.properties))
            << (row.name ? row.name : std::to_string(row.number));
    }
}

// The registry holds 430 rows in nine property groups.
TEST(CCSID, RegistryHasEveryRowInItsGroup) {
    std::map<uint32_t, int> groups;
    int rows = 0;
    for (uint32_t n = 1; n <= 70000; ++n) {
        const KivClCCSID c(n);
        if (!c.isValid()) continue;
        ++rows;
        ++groups[propertiesOf(c)];
    }
    EXPECT_EQ(rows, 429);  // plus the sentinel row 0
    const std::map<uint32_t, int> expected = {{0, 2},       {A, 170},     {E, 80}, {A | D, 29}, {E | D, 15},
                                              {S, 3},       {A | S, 84},  {E | S, 40}, {U, 6}};
    EXPECT_EQ(groups, expected);
}

TEST(CCSID, EqualityAndEndianness) {
    const struct Row { uint32_t a, b; bool equal; } rows[] = {
        {65501, 13488, true}, {13488, 65501, true}, {65500, 13488, false},
        {1200, 13488, false}, {37, 37, true},       {37, 500, false}};
    for (const Row& row : rows) {
        EXPECT_EQ(KivClCCSID(row.a) == row.b, row.equal) << row.a << " " << row.b;
        EXPECT_EQ(KivClCCSID(row.a) != KivClCCSID(row.b), !row.equal) << row.a << " " << row.b;
    }
    for (uint32_t host : {65501u, 13488u, 17584u, 1200u, 61955u}) {
        const KivClCCSID c(host);
        EXPECT_TRUE(c.isUCS2LittleEndian() && c.isUCS2HostEndian() && !c.isUCS2BigEndian()) << host;
    }
    EXPECT_TRUE(KivClCCSID(65500).isUCS2BigEndian() && !KivClCCSID(65500).isUCS2HostEndian());
    // Byte order marks.
    const auto mark = [](const char* text) { return KivClCCSID::getCCSIDForUCS2EndianId(text); };
    EXPECT_EQ(std::vector<uint32_t>({mark("\xFE\xFF" "abc"), mark("\xFF\xFE"), mark("\xFF"), mark("ab"),
                                     mark(nullptr)}),
              std::vector<uint32_t>({65500, 65501, 0, 0, 0}));
}

TEST(CCSID, ConsoleCodesetThroughIcu) {
    EXPECT_EQ(KivClCCSID::getCCSIDForCodesetName("ISO-8859-1"), 819u);
    EXPECT_EQ(KivClCCSID::getCCSIDForCodesetName("ANSI_X3.4-1968"), 367u);
    EXPECT_EQ(KivClCCSID::getCCSIDForCodesetName("no-such-codeset"), 1208u);
    EXPECT_EQ(KivClCCSID::getCCSIDForCodesetName(""), 1208u);
    // UTF-7 has no IBM CCSID in ICU's alias data: falls back as well.
    EXPECT_EQ(KivClCCSID::getCCSIDForCodesetName("UTF-7"), 1208u);
    const struct Row { const char* locale; uint32_t expected; } rows[] = {
        {"C", 367}, {"C.UTF-8", 1208}, {"xx_NOWHERE.BOGUS", 1208}};
    for (const Row& row : rows) {
        const kivtest::ChildResult child = kivtest::runInChild([&row] {
            kivtest::ScopedEnv all("LC_ALL", row.locale);
            const KivClCCSID::KivEnCCSID first = KivClCCSID::getConsoleCCSID();
            kivtest::ScopedEnv other("LC_ALL", "C");  // cached: unchanged
            return first == row.expected && KivClCCSID::getSystemCCSID() == row.expected ? 0 : 1;
        });
        EXPECT_EQ(child.exitCode, 0) << row.locale;
    }
}

TEST(Language, ParsingAndExtraction) {
    // Language 143 is invalid; territory by short code, "" = 0, "??" = 242 (invalid).
    const struct Row {
        const char* spec; uint32_t language;
        const char *territory, *shortCode, *longCode, *isoShort, *isoLong, *printed;
    } rows[] = {
        {"en_US", 25, "us", "en-us", "en-usa", "en-us", "en-usa", "en-us"},
        {"en-us", 25, "us", "en-us", "en-usa", "en-us", "en-usa", "en-us"},
        {"de", 22, "", "de-**", "de-***", "de", "de", "de"},
        {"eng_US", 143, "us", "?\?-us", "?\?-usa", "?\?-us", "?\?-usa", "??"},
        {"X-ALL", 0, "", "**-**", "**-***", "**", "**", "**"},
        {"x-unspecified", 0, "", "**-**", "**-***", "**", "**", "**"},
        {"en_US.UTF-8", 25, "??", "en-??", "en-??", "en", "en", "??"},
        {"fr-ca_x", 34, "??", "fr-??", "fr-??", "fr", "fr", "??"},
        {"zm_zm", 143, "zm", "?\?-zm", "?\?-zwb", "?\?-zm", "?\?-zwb", "??"},
        {"zu_ZM", 142, "zm", "zu-zm", "zu-zwb", "zu-zm", "zu-zwb", "zu-zm"},
        {"", 143, "", "?\?-**", "?\?-***", "??", "??", "??"},
        {"e", 143, "", "?\?-**", "?\?-***", "??", "??", "??"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.spec);
        const KivClLanguage l(row.spec);
        EXPECT_EQ(l.getLanguage(), row.language);
        const std::string territory = row.territory;
        const uint32_t expectedTerritory =
            territory.empty() ? 0u : territory == "??" ? 242u : static_cast<uint32_t>(territoryCodeShort2Enum(row.territory));
        EXPECT_EQ(l.getTerritory(), expectedTerritory);
        char codes[4][KivClLanguage::EXTRACT_BUFFER_SIZE];
        l.extractShortCode(codes[0]);
        l.extractLongCode(codes[1]);
        l.extractISOShortCode(codes[2]);
        l.extractISOLongCode(codes[3]);
        std::ostringstream printed;
        printed << l;
        EXPECT_EQ(std::vector<std::string>({codes[0], codes[1], codes[2], codes[3], printed.str()}),
                  std::vector<std::string>({row.shortCode, row.longCode, row.isoShort, row.isoLong, row.printed}));
        EXPECT_EQ(KivClLanguage(l.asNumber()).asNumber(), l.asNumber());
    }
}

TEST(Language, TableLookups) {
    EXPECT_EQ(KivClLanguage::getNumberOfLanguagesSupported(), 143u);
    EXPECT_EQ(KivClLanguage::getNumberOfTerritoriesSupported(), 242u);
    const auto lang = [](uint32_t v) { return static_cast<KivClLanguage::KivEnLanguage>(v); };
    const auto terr = [](uint32_t v) { return static_cast<KivClLanguage::KivEnTerritory>(v); };
    EXPECT_STREQ(KivClLanguage::getLanguageCode(lang(0)), "**");
    EXPECT_STREQ(KivClLanguage::getLanguageName(lang(0)), "Unspecified");
    EXPECT_STREQ(KivClLanguage::getLanguageName(lang(14)), "Bengali;Bangla");
    EXPECT_STREQ(KivClLanguage::getLanguageName(lang(142)), "Zulu");
    EXPECT_STREQ(KivClLanguage::getLanguageName(lang(143)), "??");
    EXPECT_STREQ(KivClLanguage::getLanguageCode(lang(70000)), "??");
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(terr(242)), -1);
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(terr(0)), 0);
    const KivClLanguage::KivEnTerritory us = territoryCodeShort2Enum("US");
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(us), 840);
    EXPECT_STREQ(KivClLanguage::getTerritoryName(us), "United States");
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeLong(territoryCodeShort2Enum("sp")), "ser");
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(territoryCodeShort2Enum("sp")), 0);
    EXPECT_STREQ(KivClLanguage::getTerritoryName(territoryCodeShort2Enum("aa")), "Arabic");
    EXPECT_EQ(territoryCodeShort2Enum("zw"), 241u);
    EXPECT_EQ(territoryCodeShort2Enum("xx"), 242u);
    EXPECT_EQ(territoryCodeShort2Enum(nullptr), 242u);
    EXPECT_EQ(langCode2Enum("ZU"), 142u);
    EXPECT_EQ(langCode2Enum("**"), 0u);
    EXPECT_EQ(langCode2Enum("eng"), 143u);
    // Every code finds its own row.
    for (uint32_t i = 0; i < 143; ++i) EXPECT_EQ(langCode2Enum(KivClLanguage::getLanguageCode(lang(i))), i);
    for (uint32_t i = 0; i < 242; ++i) {
        EXPECT_EQ(territoryCodeShort2Enum(KivClLanguage::getTerritoryCodeShort(terr(i))), i);
    }
}

}  // namespace
