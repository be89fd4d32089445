// Languages and territories: en, en_US, de-ch, x-all.
//
// KivClLanguage parses a language name such as "de-CH" into two small enumerations
// that index two fixed, sorted tables (143 languages, 242 territories) and
// writes them back as short codes (en-us) or long codes (en-usa). Row 0 of
// each table is "Unspecified"; 143 and 242 mark an invalid language or
// territory.
//
// Failure policy: nothing is reported. Unknown codes give 143 or 242, every
// lookup answers "??" (or -1 for the identification number) for them, and an
// invalid object prints as "??".
//
// The extract operations write into a caller buffer that must hold
// EXTRACT_BUFFER_SIZE bytes; they overwrite its previous content.
//
// Example:
//   KivClLanguage l("en_US");
//   char buf[KivClLanguage::EXTRACT_BUFFER_SIZE];
//   l.extractISOLongCode(buf);   // "en-usa"
//   std::cout << l;              // en-us
//   KivClLanguage("de").extractShortCode(buf);   // "de-**"
//   KivClLanguage("eng_US").getLanguage();       // 143 (invalid)
#ifndef KIV_LANGUAGE_HPP
#define KIV_LANGUAGE_HPP

#include <cstdint>
#include <iosfwd>

// A language and a territory, parsed from a code and written back as codes.
class KivClLanguage {
public:
    enum KivEnLanguage : uint32_t { LANGUAGE_UNSPECIFIED = 0, LANGUAGE_INVALID = 143 };
    enum KivEnTerritory : uint32_t { TERRITORY_UNSPECIFIED = 0, TERRITORY_INVALID = 242 };

    // Enough for the longest extract: two-letter language, the combining
    // string, three-letter territory and the NUL.
    static constexpr unsigned int EXTRACT_BUFFER_SIZE = 8;

    // Text put between the two codes by the extract operations; its first
    // character is the separator written by operator<< and looked for by init.
    static const char* const cv_cpszCombiningCharString;

    // Invalid, then init(text).
    explicit KivClLanguage(const char* text);
    // The inverse of asNumber(): language in the upper 16 bits, territory in
    // the lower 16 bits.
    explicit KivClLanguage(unsigned int number);

    // Language in the upper 16 bits, territory in the lower 16 bits.
    unsigned int asNumber() const;
    KivEnLanguage getLanguage() const { return language_; }
    KivEnTerritory getTerritory() const { return territory_; }

    // Parses text: "x-all" and "x-unspecified" (any case) give 0 and 0;
    // otherwise the text after the first "-" (or, when there is none, the
    // first "_") must be a whole short territory code, and the first two
    // characters are the language when the third ends the string or is a
    // separator. A null text gives an invalid language with territory 0.
    void init(const char* text);

    // language-code "-" territory-short-code, always all three ("en-**").
    void extractShortCode(char* out) const;
    // language-code "-" territory-long-code ("en-usa").
    void extractLongCode(char* out) const;
    // The language code alone when the territory is unspecified or invalid,
    // else as extractShortCode / extractLongCode.
    void extractISOShortCode(char* out) const;
    void extractISOLongCode(char* out) const;

    // Table lookups; "??" for an invalid language or territory.
    static const char* getLanguageCode(KivEnLanguage language);
    static const char* getLanguageName(KivEnLanguage language);
    static const char* getTerritoryCodeShort(KivEnTerritory territory);
    static const char* getTerritoryCodeLong(KivEnTerritory territory);
    static const char* getTerritoryName(KivEnTerritory territory);
    // -1 for an out-of-range territory.
    static int32_t getTerritoryIdNumber(KivEnTerritory territory);
    static unsigned int getNumberOfLanguagesSupported() { return LANGUAGE_INVALID; }
    static unsigned int getNumberOfTerritoriesSupported() { return TERRITORY_INVALID; }

private:
    void extract(char* out, const char* territoryCode, bool isoForm) const;

    KivEnLanguage language_;
    KivEnTerritory territory_;
};

// Writes the language code and, for a specified territory, "-" and its short
// code; "??" for an invalid object.
std::ostream& operator<<(std::ostream& stream, const KivClLanguage& language);

// Row index of a language code (whole string, any case), or 143.
KivClLanguage::KivEnLanguage langCode2Enum(const char* code);
// Enumeration value of a short territory code (whole string, any case), or 242.
KivClLanguage::KivEnTerritory territoryCodeShort2Enum(const char* code);

// The bsearch comparators of the two tables: whole codes, ignoring case.
extern "C" int kivCompareLanguageInfoEntries(const void* key, const void* row);
extern "C" int kivCompareTerritoryInfoEntries(const void* key, const void* row);

#endif  // KIV_LANGUAGE_HPP
