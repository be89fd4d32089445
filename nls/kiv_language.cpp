// The language and territory tables and KivClLanguage.
#include "kiv_language.hpp"

#include <cstdlib>
#include <cstring>
#include <ostream>

#include "kiv_string.hpp"

namespace {

struct LanguageInfo {
    const char* code;
    const char* name;
};

struct TerritoryInfo {
    const char* codeShort;
    const char* codeLong;
    int32_t idNumber;
    const char* name;
    uint32_t value;
};

// Sorted by code ignoring case ("**" sorts first); the index is the value.
const LanguageInfo kLanguages[] = {
    {"**", "Unspecified"},
    {"aa", "Afar"},
    {"ab", "Abkhazian"},
    {"af", "Afrikaans"},
    {"am", "Amharic"},
    {"ar", "Arabic"},
    {"as", "Assamese"},
    {"ay", "Aymara"},
    {"az", "Azerbaijani"},
    {"ba", "Bashkir"},
    {"be", "Byelorussian"},
    {"bg", "Bulgarian"},
    {"bh", "Bihari"},
    {"bi", "Bislama"},
    {"bn", "Bengali;Bangla"},
    {"bo", "Tibetan"},
    {"br", "Breton"},
    {"ca", "Catalan"},
    {"co", "Corsican"},
    {"cs", "Czech"},
    {"cy", "Welsh"},
    {"da", "Danish"},
    {"de", "German"},
    {"dz", "Bhutani"},
    {"el", "Greek"},
    {"en", "English"},
    {"eo", "Esperanto"},
    {"es", "Spanish"},
    {"et", "Estonian"},
    {"eu", "Basque"},
    {"fa", "Persian (Farsi)"},
    {"fi", "Finnish"},
    {"fj", "Fiji"},
    {"fo", "Faroese"},
    {"fr", "French"},
    {"fy", "Frisian"},
    {"ga", "Irish"},
    {"gd", "Scots Gaelic"},
    {"gl", "Galician"},
    {"gn", "Guarani"},
    {"gu", "Gujarati"},
    {"ha", "Hausa"},
    {"he", "Hebrew"},
    {"hi", "Hindi"},
    {"hr", "Croatian"},
    {"hu", "Hungarian"},
    {"hy", "Armenian"},
    {"ia", "Interlingua"},
    {"id", "Indonesian"},
    {"ie", "Interlingue"},
    {"ik", "Inupiak"},
    {"is", "Icelandic"},
    {"it", "Italian"},
    {"iu", "Inuktitut"},
    {"iw", "Hebrew"},
    {"ja", "Japanese"},
    {"jv", "Javanese"},
    {"ka", "Georgian"},
    {"kk", "Kazakh"},
    {"kl", "Greenlandic"},
    {"km", "Cambodian"},
    {"kn", "Kannada"},
    {"ko", "Korean"},
    {"ks", "Kashmiri"},
    {"ku", "Kurdish"},
    {"ky", "Kirghiz"},
    {"la", "Latin"},
    {"ln", "Lingala"},
    {"lo", "Laothian"},
    {"lt", "Lithuanian"},
    {"lv", "Latvian;lettish"},
    {"mg", "Malagasy"},
    {"mi", "Maori"},
    {"mk", "Macedonian"},
    {"ml", "Malayalam"},
    {"mn", "Mongolian"},
    {"mo", "Moldavian"},
    {"mr", "Marathi"},
    {"ms", "Malay"},
    {"mt", "Maltese"},
    {"my", "Burmese"},
    {"na", "Nauru"},
    {"nb", "Norwegian (Bokmal)"},
    {"ne", "Nepali"},
    {"nl", "Dutch"},
    {"nn", "Norwegian (Nynorsk)"},
    {"no", "Norwegian"},
    {"oc", "Occitan"},
    {"om", "Afan (Oromo)"},
    {"or", "Oriya"},
    {"pa", "Punjabi"},
    {"pl", "Polish"},
    {"ps", "Pashto;Pushto"},
    {"pt", "Portuguese"},
    {"qu", "Quechua"},
    {"rm", "Rhaeto-Romance"},
    {"rn", "Kurundi"},
    {"ro", "Romanian"},
    {"ru", "Russian"},
    {"rw", "Kinyarwanda"},
    {"sa", "Sanskrit"},
    {"sd", "Sindhi"},
    {"sg", "Sangho"},
    {"sh", "Serbo-Croatian"},
    {"si", "Singhalese"},
    {"sk", "Slovak"},
    {"sl", "Slovenian"},
    {"sm", "Samoan"},
    {"sn", "Shona"},
    {"so", "Somali"},
    {"sq", "Albanian"},
    {"sr", "Serbian"},
    {"ss", "Siswati"},
    {"st", "Sesotho"},
    {"su", "Sundanese"},
    {"sv", "Swedish"},
    {"sw", "Swahili"},
    {"ta", "Tamil"},
    {"te", "Telugu"},
    {"tg", "Tajik"},
    {"th", "Thai"},
    {"ti", "Tigrinya"},
    {"tk", "Turkmen"},
    {"tl", "Tagalog"},
    {"tn", "Setswana"},
    {"to", "Tonga"},
    {"tr", "Turkish"},
    {"ts", "Tsonga"},
    {"tt", "Tatar"},
    {"tw", "Twi"},
    {"ug", "Uigur"},
    {"uk", "Ukrainian"},
    {"ur", "Urdu"},
    {"uz", "Uzbek"},
    {"vi", "Vietnamese"},
    {"vo", "Volapuk"},
    {"wo", "Wolof"},
    {"xh", "Xhosa"},
    {"yi", "Yiddish"},
    {"yo", "Yoruba"},
    {"za", "Zhuang"},
    {"zh", "Chinese"},
    {"zu", "Zulu"},
};

// Sorted by short code ignoring case; the last column is the row index.
const TerritoryInfo kTerritories[] = {
    {"**", "***", 0, "Unspecified", 0},
    {"aa", "ara", 0, "Arabic", 1},
    {"ad", "and", 20, "Andorra", 2},
    {"ae", "are", 784, "United Arab Emirates", 3},
    {"af", "afg", 4, "Afghanistan", 4},
    {"ag", "atg", 28, "Antigua and Barbuda", 5},
    {"ai", "aia", 660, "Anguilla", 6},
    {"al", "alb", 8, "Albania", 7},
    {"am", "arm", 51, "Armenia", 8},
    {"an", "ant", 530, "Netherlands Antilles", 9},
    {"ao", "ago", 24, "Angola", 10},
    {"aq", "ata", 10, "Antarctica", 11},
    {"ar", "arg", 32, "Argentina", 12},
    {"as", "asm", 16, "American Samoa", 13},
    {"at", "aut", 40, "Austria", 14},
    {"au", "aus", 36, "Australia", 15},
    {"aw", "abw", 533, "Aruba", 16},
    {"az", "aze", 31, "Azerbaijan", 17},
    {"ba", "bih", 70, "Bosnia and Herzegovina", 18},
    {"bb", "brb", 52, "Barbados", 19},
    {"bd", "bgd", 50, "Bangladesh", 20},
    {"be", "bel", 56, "Belgium", 21},
    {"bf", "bfa", 854, "Burkina Faso", 22},
    {"bg", "bgr", 100, "Bulgaria", 23},
    {"bh", "bhr", 48, "Bahrain", 24},
    {"bi", "bdi", 108, "Burundi", 25},
    {"bj", "ben", 204, "Benin", 26},
    {"bm", "bmu", 60, "Bermuda", 27},
    {"bn", "brn", 96, "Brunei", 28},
    {"bo", "bol", 68, "Bolivia", 29},
    {"br", "bra", 76, "Brazil", 30},
    {"bs", "bhs", 44, "The Bahamas", 31},
    {"bt", "btn", 64, "Bhutan", 32},
    {"bv", "bvt", 74, "Bouvet Island", 33},
    {"bw", "bwa", 72, "Botswana", 34},
    {"by", "blr", 112, "Belarus", 35},
    {"bz", "blz", 84, "Belize", 36},
    {"ca", "can", 124, "Canada", 37},
    {"cc", "cck", 166, "Cocos Keeling Islands", 38},
    {"cf", "caf", 140, "Central African Republic", 39},
    {"cg", "cog", 178, "Congo", 40},
    {"ch", "che", 756, "Switzerland", 41},
    {"ci", "civ", 384, "Cote d'_Ivoire", 42},
    {"ck", "cok", 184, "Cook Islands", 43},
    {"cl", "chl", 152, "Chile", 44},
    {"cm", "cmr", 120, "Cameroon", 45},
    {"cn", "chn", 156, "China", 46},
    {"co", "col", 170, "Colombia", 47},
    {"cr", "cri", 188, "Costa Rica", 48},
    {"cu", "cub", 192, "Cuba", 49},
    {"cv", "cpv", 132, "Cape Verde", 50},
    {"cx", "cxr", 162, "Christmas Island", 51},
    {"cy", "cyp", 196, "Cyprus", 52},
    {"cz", "cze", 203, "Czech Republic", 53},
    {"de", "deu", 276, "Germany", 54},
    {"dj", "dji", 262, "Djibouti", 55},
    {"dk", "dnk", 208, "Denmark", 56},
    {"dm", "dma", 212, "Dominica", 57},
    {"do", "dom", 214, "Dominican Republic", 58},
    {"dz", "dza", 12, "Algeria", 59},
    {"ec", "ecu", 218, "Ecuador", 60},
    {"ee", "est", 233, "Estonia", 61},
    {"eg", "egy", 818, "Egypt", 62},
    {"eh", "esh", 732, "Western Sahara", 63},
    {"er", "eri", 232, "Eritrea", 64},
    {"es", "esp", 724, "Spain", 65},
    {"et", "eth", 231, "Ethiopia", 66},
    {"fi", "fin", 246, "Finland", 67},
    {"fj", "fji", 242, "Fiji", 68},
    {"fk", "flk", 238, "Falkland Islands Islas Malvinas", 69},
    {"fm", "fsm", 583, "Micronesia Federated States of", 70},
    {"fo", "fro", 234, "Faroe Islands", 71},
    {"fr", "fra", 250, "France", 72},
    {"fx", "fxx", 249, "France Metropolitan", 73},
    {"ga", "gab", 266, "Gabon", 74},
    {"gb", "gbr", 826, "United Kingdom", 75},
    {"gd", "grd", 308, "Grenada", 76},
    {"ge", "geo", 268, "Georgia", 77},
    {"gf", "guf", 254, "French Guiana", 78},
    {"gh", "gha", 288, "Ghana", 79},
    {"gi", "gib", 292, "Gibraltar", 80},
    {"gl", "grl", 304, "Greenland", 81},
    {"gm", "gmb", 270, "The Gambia", 82},
    {"gn", "gin", 324, "Guinea", 83},
    {"gp", "glp", 312, "Guadeloupe", 84},
    {"gq", "gnq", 226, "Equatorial Guinea", 85},
    {"gr", "grc", 300, "Greece", 86},
    {"gs", "sgs", 23, "South Georgia", 87},
    {"gt", "gtm", 320, "Guatemala", 88},
    {"gu", "gum", 316, "Guam", 89},
    {"gw", "gnb", 624, "Guinea-Bissau", 90},
    {"gy", "guy", 328, "Guyana", 91},
    {"hk", "hkg", 344, "Hong Kong", 92},
    {"hm", "hmd", 334, "Heard Island and McDonald Islands", 93},
    {"hn", "hnd", 340, "Honduras", 94},
    {"hr", "hrv", 191, "Croatia", 95},
    {"ht", "hti", 332, "Haiti", 96},
    {"hu", "hun", 348, "Hungary", 97},
    {"id", "idn", 360, "Indonesia", 98},
    {"ie", "irl", 372, "Ireland", 99},
    {"il", "isr", 376, "Israel", 100},
    {"in", "ind", 356, "India", 101},
    {"io", "iot", 86, "British Indian Ocean Territory", 102},
    {"iq", "irq", 368, "Iraq", 103},
    {"ir", "irn", 364, "Iran", 104},
    {"is", "isl", 352, "Iceland", 105},
    {"it", "ita", 380, "Italy", 106},
    {"jm", "jam", 388, "Jamaica", 107},
    {"jo", "jor", 400, "Jordan", 108},
    {"jp", "jpn", 392, "Japan", 109},
    {"ke", "ken", 404, "Kenya", 110},
    {"kg", "kgz", 417, "Kyrgyzstan", 111},
    {"kh", "khm", 116, "Cambodia", 112},
    {"ki", "kir", 296, "Kiribati", 113},
    {"km", "com", 174, "Comoros", 114},
    {"kn", "kna", 659, "Saint Kitts and Nevis", 115},
    {"kp", "prk", 408, "Korea North", 116},
    {"kr", "kor", 410, "Korea South", 117},
    {"kw", "kwt", 414, "Kuwait", 118},
    {"ky", "cym", 136, "Cayman Islands", 119},
    {"kz", "kaz", 398, "Kazakstan", 120},
    {"la", "lao", 418, "Laos", 121},
    {"lb", "lbn", 422, "Lebanon", 122},
    {"lc", "lca", 662, "Saint Lucia", 123},
    {"li", "lie", 438, "Liechtenstein", 124},
    {"lk", "lka", 144, "Sri Lanka", 125},
    {"lr", "lbr", 430, "Liberia", 126},
    {"ls", "lso", 426, "Lesotho", 127},
    {"lt", "ltu", 440, "Lithuania", 128},
    {"lu", "lux", 442, "Luxembourg", 129},
    {"lv", "lva", 428, "Latvia", 130},
    {"ly", "lby", 434, "Libya", 131},
    {"ma", "mar", 504, "Morocco", 132},
    {"mc", "mco", 492, "Monaco", 133},
    {"md", "mda", 498, "Moldova", 134},
    {"mg", "mdg", 450, "Madagascar", 135},
    {"mh", "mhl", 584, "Marshall Islands", 136},
    {"mk", "mkd", 807, "Macedonia", 137},
    {"ml", "mli", 466, "Mali", 138},
    {"mm", "mmr", 104, "Burma", 139},
    {"mn", "mng", 496, "Mongolia", 140},
    {"mo", "mac", 446, "Macau", 141},
    {"mp", "mnp", 580, "Northern Mariana Islands", 142},
    {"mq", "mtq", 474, "Martinique", 143},
    {"mr", "mrt", 478, "Mauritania", 144},
    {"ms", "msr", 500, "Montserrat", 145},
    {"mt", "mlt", 470, "Malta", 146},
    {"mu", "mus", 480, "Mauritius", 147},
    {"mv", "mdv", 462, "Maldives", 148},
    {"mw", "mwi", 454, "Malawi", 149},
    {"mx", "mex", 484, "Mexico", 150},
    {"my", "mys", 458, "Malaysia", 151},
    {"mz", "moz", 508, "Mozambique", 152},
    {"na", "nam", 516, "Namibia", 153},
    {"nc", "ncl", 540, "New Caledonia", 154},
    {"ne", "ner", 562, "Niger", 155},
    {"nf", "nfk", 574, "Norfolk Island", 156},
    {"ng", "nga", 566, "Nigeria", 157},
    {"ni", "nic", 558, "Nicaragua", 158},
    {"nl", "nld", 528, "Netherlands", 159},
    {"no", "nor", 578, "Norway", 160},
    {"np", "npl", 524, "Nepal", 161},
    {"nr", "nru", 520, "Nauru", 162},
    {"nu", "niu", 570, "Niue", 163},
    {"nz", "nzl", 554, "New Zealand", 164},
    {"om", "omn", 512, "Oman", 165},
    {"pa", "pan", 591, "Panama", 166},
    {"pe", "per", 604, "Peru", 167},
    {"pf", "pyf", 258, "French Polynesia", 168},
    {"pg", "png", 598, "Papua New Guinea", 169},
    {"ph", "phl", 608, "Philippines", 170},
    {"pk", "pak", 586, "Pakistan", 171},
    {"pl", "pol", 616, "Poland", 172},
    {"pm", "spm", 666, "Saint Pierre and Miquelon", 173},
    {"pn", "pcn", 612, "Pitcairn Islands", 174},
    {"pr", "pri", 630, "Puerto Rico", 175},
    {"pt", "prt", 620, "Portugal", 176},
    {"pw", "plw", 585, "Palau", 177},
    {"py", "pry", 600, "Paraguay", 178},
    {"qa", "qat", 634, "Qatar", 179},
    {"re", "reu", 638, "Reunion", 180},
    {"ro", "rom", 642, "Romania", 181},
    {"ru", "rus", 643, "Russia", 182},
    {"rw", "rwa", 646, "Rwanda", 183},
    {"sa", "sau", 682, "Saudi Arabia", 184},
    {"sb", "slb", 90, "Solomon Islands", 185},
    {"sc", "syc", 690, "Seychelles", 186},
    {"sd", "sdn", 736, "Sudan", 187},
    {"se", "swe", 752, "Sweden", 188},
    {"sg", "sgp", 702, "Singapore", 189},
    {"sh", "shn", 654, "Saint Helena", 190},
    {"si", "svn", 705, "Slovenia", 191},
    {"sj", "sjm", 744, "Svalbard", 192},
    {"sk", "svk", 703, "Slovakia", 193},
    {"sl", "sle", 694, "Sierra Leone", 194},
    {"sm", "smr", 674, "San Marino", 195},
    {"sn", "sen", 686, "Senegal", 196},
    {"so", "som", 706, "Somalia", 197},
    {"sp", "ser", 0, "Serbia", 198},
    {"sr", "sur", 740, "Suriname", 199},
    {"st", "stp", 678, "Sao Tome and Principe", 200},
    {"sv", "slv", 222, "El Salvador", 201},
    {"sy", "syr", 760, "Syria", 202},
    {"sz", "swz", 748, "Swaziland", 203},
    {"tc", "tca", 796, "Turks and Caicos Islands", 204},
    {"td", "tcd", 148, "Chad", 205},
    {"tf", "atf", 260, "French Southern and Antarctic Lands", 206},
    {"tg", "tgo", 768, "Togo", 207},
    {"th", "tha", 764, "Thailand", 208},
    {"tj", "tjk", 762, "Tajikistan", 209},
    {"tk", "tkl", 772, "Tokelau", 210},
    {"tm", "tkm", 795, "Turkmenistan", 211},
    {"tn", "tun", 788, "Tunisia", 212},
    {"to", "ton", 776, "Tonga", 213},
    {"tp", "tmp", 626, "East Timor", 214},
    {"tr", "tur", 792, "Turkey", 215},
    {"tt", "tto", 780, "Trinidad and Tobago", 216},
    {"tv", "tuv", 798, "Tuvalu", 217},
    {"tw", "twn", 158, "Taiwan", 218},
    {"tz", "tza", 834, "Tanzania", 219},
    {"ua", "ukr", 804, "Ukraine", 220},
    {"ug", "uga", 800, "Uganda", 221},
    {"um", "umi", 581, "United States Minor Outlying Islands", 222},
    {"us", "usa", 840, "United States", 223},
    {"uy", "ury", 858, "Uruguay", 224},
    {"uz", "uzb", 860, "Uzbekistan", 225},
    {"va", "vat", 336, "Holy See Vatican City", 226},
    {"vc", "vct", 670, "Saint Vincent and the Grenadines", 227},
    {"ve", "ven", 862, "Venezuela", 228},
    {"vg", "vgb", 92, "British Virgin Islands", 229},
    {"vi", "vir", 850, "Virgin Islands", 230},
    {"vn", "vnm", 704, "Vietnam", 231},
    {"vu", "vut", 548, "Vanuatu", 232},
    {"wf", "wlf", 876, "Wallis and Futuna", 233},
    {"ws", "wsm", 882, "Western Samoa", 234},
    {"ye", "yem", 887, "Yemen", 235},
    {"yt", "myt", 175, "Mayotte", 236},
    {"yu", "yug", 891, "Yugoslavia", 237},
    {"za", "zaf", 710, "South Africa", 238},
    {"zm", "zwb", 894, "Zambia", 239},
    {"zr", "zar", 180, "Zaire", 240},
    {"zw", "zwe", 716, "Zimbabwe", 241},
};

static_assert(sizeof(kLanguages) / sizeof(kLanguages[0]) == KivClLanguage::LANGUAGE_INVALID,
              "143 languages");
static_assert(sizeof(kTerritories) / sizeof(kTerritories[0]) == KivClLanguage::TERRITORY_INVALID,
              "242 territories");

const char* const kInvalidName = "??";

}  // namespace

extern "C" int kivCompareLanguageInfoEntries(const void* key, const void* row) {
    return strcmpi(static_cast<const LanguageInfo*>(key)->code, static_cast<const LanguageInfo*>(row)->code);
}

extern "C" int kivCompareTerritoryInfoEntries(const void* key, const void* row) {
    return strcmpi(static_cast<const TerritoryInfo*>(key)->codeShort,
                   static_cast<const TerritoryInfo*>(row)->codeShort);
}

KivClLanguage::KivEnLanguage langCode2Enum(const char* code) {
    if (code == nullptr) return KivClLanguage::LANGUAGE_INVALID;
    const LanguageInfo key = {code, nullptr};
    const void* found = bsearch(&key, kLanguages, KivClLanguage::LANGUAGE_INVALID, sizeof(LanguageInfo),
                                kivCompareLanguageInfoEntries);
    if (found == nullptr) return KivClLanguage::LANGUAGE_INVALID;
    return static_cast<KivClLanguage::KivEnLanguage>(static_cast<const LanguageInfo*>(found) - kLanguages);
}

KivClLanguage::KivEnTerritory territoryCodeShort2Enum(const char* code) {
    if (code == nullptr) return KivClLanguage::TERRITORY_INVALID;
    const TerritoryInfo key = {code, nullptr, 0, nullptr, 0};
    const void* found = bsearch(&key, kTerritories, KivClLanguage::TERRITORY_INVALID, sizeof(TerritoryInfo),
                                kivCompareTerritoryInfoEntries);
    if (found == nullptr) return KivClLanguage::TERRITORY_INVALID;
    return static_cast<KivClLanguage::KivEnTerritory>(static_cast<const TerritoryInfo*>(found)->value);
}

const char* const KivClLanguage::cv_cpszCombiningCharString = "-";

KivClLanguage::KivClLanguage(const char* text) : language_(LANGUAGE_INVALID), territory_(TERRITORY_INVALID) {
    init(text);
}

KivClLanguage::KivClLanguage(unsigned int number)
    : language_(static_cast<KivEnLanguage>(number >> 16)),
      territory_(static_cast<KivEnTerritory>(number & 0xFFFFu)) {}

unsigned int KivClLanguage::asNumber() const {
    return (static_cast<unsigned int>(language_) << 16) | (static_cast<unsigned int>(territory_) & 0xFFFFu);
}

void KivClLanguage::init(const char* text) {
    if (text == nullptr) text = "";
    if (strcmpi(text, "x-all") == 0 || strcmpi(text, "x-unspecified") == 0) {
        language_ = LANGUAGE_UNSPECIFIED;
        territory_ = TERRITORY_UNSPECIFIED;
        return;
    }
    const char combining = cv_cpszCombiningCharString[0];
    const char* separator = strchr(text, combining);
    if (separator == nullptr) separator = strchr(text, '_');
    territory_ = separator != nullptr ? territoryCodeShort2Enum(separator + 1) : TERRITORY_UNSPECIFIED;

    language_ = LANGUAGE_INVALID;
    if (text[0] != '\0' && text[1] != '\0' && (text[2] == '\0' || text[2] == combining || text[2] == '_')) {
        const char code[3] = {text[0], text[1], '\0'};
        language_ = langCode2Enum(code);
    }
}

void KivClLanguage::extract(char* out, const char* territoryCode, bool isoForm) const {
    const char* language = getLanguageCode(language_);
    const bool languageOnly =
        isoForm && (territory_ == TERRITORY_UNSPECIFIED || territory_ == TERRITORY_INVALID);
    // Every piece is at most three characters, so the result fits EXTRACT_BUFFER_SIZE.
    size_t used = kivStrCopyUntil(out, language, '\0', EXTRACT_BUFFER_SIZE);
    if (languageOnly) return;
    used += kivStrCopyUntil(out + used, cv_cpszCombiningCharString, '\0', EXTRACT_BUFFER_SIZE - used);
    kivStrCopyUntil(out + used, territoryCode, '\0', EXTRACT_BUFFER_SIZE - used);
}

void KivClLanguage::extractShortCode(char* out) const { extract(out, getTerritoryCodeShort(territory_), false); }
void KivClLanguage::extractLongCode(char* out) const { extract(out, getTerritoryCodeLong(territory_), false); }
void KivClLanguage::extractISOShortCode(char* out) const { extract(out, getTerritoryCodeShort(territory_), true); }
void KivClLanguage::extractISOLongCode(char* out) const { extract(out, getTerritoryCodeLong(territory_), true); }

const char* KivClLanguage::getLanguageCode(KivEnLanguage language) {
    return language < LANGUAGE_INVALID ? kLanguages[language].code : kInvalidName;
}

const char* KivClLanguage::getLanguageName(KivEnLanguage language) {
    return language < LANGUAGE_INVALID ? kLanguages[language].name : kInvalidName;
}

const char* KivClLanguage::getTerritoryCodeShort(KivEnTerritory territory) {
    return territory < TERRITORY_INVALID ? kTerritories[territory].codeShort : kInvalidName;
}

const char* KivClLanguage::getTerritoryCodeLong(KivEnTerritory territory) {
    return territory < TERRITORY_INVALID ? kTerritories[territory].codeLong : kInvalidName;
}

const char* KivClLanguage::getTerritoryName(KivEnTerritory territory) {
    return territory < TERRITORY_INVALID ? kTerritories[territory].name : kInvalidName;
}

int32_t KivClLanguage::getTerritoryIdNumber(KivEnTerritory territory) {
    return territory < TERRITORY_INVALID ? kTerritories[territory].idNumber : -1;
}

std::ostream& operator<<(std::ostream& stream, const KivClLanguage& language) {
    const KivClLanguage::KivEnLanguage l = language.getLanguage();
    const KivClLanguage::KivEnTerritory t = language.getTerritory();
    if (l >= KivClLanguage::LANGUAGE_INVALID || t >= KivClLanguage::TERRITORY_INVALID) {
        return stream << kInvalidName;
    }
    stream << KivClLanguage::getLanguageCode(l);
    if (t != KivClLanguage::TERRITORY_UNSPECIFIED) {
        stream << KivClLanguage::cv_cpszCombiningCharString[0] << KivClLanguage::getTerritoryCodeShort(t);
    }
    return stream;
}
