// The CCSID registry and KivClCCSID.
#include "kiv_ccsid.hpp"

#include <langinfo.h>
#include <locale.h>

#include <cstdlib>
#include <cstring>

#include <unicode/ucnv.h>

#include "kiv_string.hpp"

namespace {

constexpr uint32_t A = KivClCCSID::PROPERTY_ASCII;
constexpr uint32_t E = KivClCCSID::PROPERTY_EBCDIC;
constexpr uint32_t D = KivClCCSID::PROPERTY_DBCS;
constexpr uint32_t S = KivClCCSID::PROPERTY_SBCS;
constexpr uint32_t U = KivClCCSID::PROPERTY_UCS2;

// Sorted by CCSID; row 0 is the sentinel for unknown CCSIDs. Rows 954, 5050,
// 9146 and 13242 carry glibc's iconv name of the Japanese EUC codeset 33722.
const _KivStCCSIDEntry kRegistry[] = {
    {0, "???", 0u},
    {37, "37", E | S},
    {256, "256", E},
    {259, "259", 0u},
    {273, "273", E | S},
    {274, "274", E | S},
    {275, "275", E},
    {277, "277", E | S},
    {278, "278", E | S},
    {280, "280", E | S},
    {284, "284", E | S},
    {285, "285", E | S},
    {286, "286", E},
    {290, "290", E | S},
    {293, "293", E},
    {297, "297", E | S},
    {300, "300", E},
    {301, "301", A | D},
    {367, "367", A},
    {420, "420", E | S},
    {421, "421", E},
    {423, "423", E | S},
    {424, "424", E | S},
    {437, "437", A | S},
    {500, "500", E | S},
    {737, "737", A | S},
    {803, "803", E},
    {806, "806", S},
    {813, "ISO8859-7", S},
    {819, "ISO8859-1", A | S},
    {833, "833", E | S},
    {834, "834", E},
    {835, "835", E},
    {836, "836", E | S},
    {837, "837", E},
    {838, "838", S},
    {839, "839", E},
    {848, "848", A | S},
    {850, "850", A | S},
    {851, "851", A},
    {852, "852", A | S},
    {853, "853", A},
    {855, "855", A | S},
    {856, "856", A},
    {857, "857", A | S},
    {858, "858", A | S},
    {860, "860", A | S},
    {861, "861", A | S},
    {862, "862", A | S},
    {863, "863", A | S},
    {864, "864", A | S},
    {865, "865", A | S},
    {866, "866", A | S},
    {867, "867", A | S},
    {868, "868", A},
    {869, "869", A | S},
    {870, "870", E | S},
    {871, "871", E | S},
    {872, "872", A | S},
    {874, "874", A | S},
    {875, "875", E | S},
    {878, "878", A | S},
    {880, "880", E},
    {891, "891", A | S},
    {895, "895", A | S},
    {896, "896", A},
    {897, "897", A},
    {901, "901", A | S},
    {902, "902", A | S},
    {903, "903", A},
    {904, "904", A},
    {905, "905", E},
    {912, "ISO8859-2", A | S},
    {915, "ISO8859-5", A | S},
    {916, "ISO8859-8", A | S},
    {918, "918", E},
    {920, "ISO8859-9", A | S},
    {921, "921", A | S},
    {922, "922", A | S},
    {923, "ISO8859-15", A | S},
    {924, "924", E | S},
    {926, "926", A},
    {927, "927", A | D},
    {928, "928", A},
    {929, "929", A},
    {930, "930", E | D},
    {931, "931", E},
    {932, "932", A | D},
    {933, "933", E | D},
    {934, "934", A | D},
    {935, "935", E | D},
    {936, "936", A | D},
    {937, "937", E | D},
    {938, "938", A | D},
    {939, "939", E | D},
    {941, "941", A | D},
    {942, "942", A | D},
    {943, "943", A | D},
    {944, "944", A},
    {946, "946", A},
    {947, "947", A},
    {948, "948", A | D},
    {949, "949", A | D},
    {950, "950", A | D},
    {951, "951", A},
    {952, "952", A},
    {954, "EUC-JP", A | D},
    {955, "955", A},
    {960, "960", A},
    {961, "961", A},
    {963, "963", A},
    {964, "964", A | D},
    {970, "970", A | D},
    {971, "971", A},
    {1004, "1004", A},
    {1006, "1006", A},
    {1008, "1008", A},
    {1009, "1009", A},
    {1010, "1010", A},
    {1011, "1011", A},
    {1012, "1012", A},
    {1013, "1013", A},
    {1014, "1014", A},
    {1015, "1015", A},
    {1016, "1016", A},
    {1017, "1017", A},
    {1018, "1018", A},
    {1019, "1019", A},
    {1025, "1025", E | S},
    {1026, "1026", E | S},
    {1027, "1027", E | S},
    {1040, "1040", A | S},
    {1041, "1041", A | S},
    {1042, "1042", A | S},
    {1043, "1043", A | S},
    {1046, "1046", A | S},
    {1047, "1047", E},
    {1051, "1051", A | S},
    {1088, "1088", A | S},
    {1089, "ISO8859-6", A | S},
    {1097, "1097", E},
    {1098, "1098", A},
    {1112, "1112", E | S},
    {1114, "1114", A | S},
    {1115, "1115", A | S},
    {1122, "1122", E | S},
    {1123, "1123", E | S},
    {1124, "1124", A | S},
    {1125, "1125", A | S},
    {1129, "1129", A | S},
    {1130, "1130", E | S},
    {1131, "1131", A | S},
    {1137, "1137", A | S},
    {1140, "1140", A | S},
    {1141, "1141", A | S},
    {1142, "1142", E | S},
    {1143, "1143", A | S},
    {1144, "1144", A | S},
    {1145, "1145", E | S},
    {1146, "1146", A | S},
    {1147, "1147", A | S},
    {1148, "1148", A | S},
    {1149, "1149", A | S},
    {1153, "1153", E | S},
    {1154, "1154", E | S},
    {1155, "1155", E | S},
    {1156, "1156", E | S},
    {1157, "1157", E | S},
    {1158, "1158", E | S},
    {1159, "1159", E | S},
    {1160, "1160", E | S},
    {1161, "1161", A | S},
    {1163, "1163", A | S},
    {1164, "1164", E | S},
    {1200, "ISO10646-1", U},
    {1208, "UTF-8", A},
    {1250, "1250", A | S},
    {1251, "1251", A | S},
    {1252, "1252", A | S},
    {1253, "1253", A | S},
    {1254, "1254", A | S},
    {1255, "1255", A | S},
    {1256, "1256", A | S},
    {1257, "1257", A | S},
    {1258, "1258", A | S},
    {1275, "1275", A | S},
    {1276, "1276", A},
    {1277, "1277", A},
    {1280, "1280", A | S},
    {1281, "1281", A | S},
    {1282, "1282", A | S},
    {1283, "1283", A | S},
    {1350, "1350", A},
    {1351, "1351", A | D},
    {1363, "1363", A | D},
    {1364, "1364", E | D},
    {1380, "1380", A},
    {1381, "1381", A | D},
    {1382, "1382", A},
    {1383, "1383", A | D},
    {1386, "1386", A | D},
    {1388, "1388", E | D},
    {1390, "1390", A | D},
    {1392, "GB-18030", A | D},
    {1394, "1394", A | D},
    {1399, "1399", A | D},
    {4133, "037", E},
    {4352, "256", 0u},
    {4369, "273", E},
    {4370, "274", E},
    {4371, "275", E},
    {4372, "276", E},
    {4373, "277", E},
    {4374, "278", E},
    {4376, "280", E},
    {4378, "282", E},
    {4380, "284", E},
    {4381, "285", E},
    {4386, "290", E},
    {4393, "297", E},
    {4396, "300", E},
    {4516, "420", E},
    {4519, "423", E},
    {4520, "424", E},
    {4533, "437", A},
    {4596, "500", E},
    {4909, "4909", A | S},
    {4929, "833", E},
    {4930, "4930", E | D},
    {4932, "836", E},
    {4933, "4933", E | D},
    {4934, "838", E},
    {4946, "850", A},
    {4947, "851", A},
    {4948, "4948", A},
    {4949, "853", A},
    {4951, "4951", A},
    {4952, "4952", A},
    {4953, "4953", A},
    {4960, "4960", A},
    {4964, "868", A},
    {4965, "869", A},
    {4966, "870", E},
    {4967, "871", E},
    {4970, "874", A},
    {4971, "4971", E | S},
    {4976, "880", E},
    {4993, "897", A},
    {5014, "918", E},
    {5026, "930", E | D},
    {5028, "932", A},
    {5029, "933", E},
    {5031, "935", E},
    {5033, "937", E},
    {5035, "939", E | D},
    {5039, "5039", A | D},
    {5048, "5048", A},
    {5049, "5049", A},
    {5050, "EUC-JP", A},
    {5067, "5067", A},
    {5123, "5123", E | D},
    {5142, "5142", A},
    {5210, "5210", A | S},
    {5346, "5346", A | S},
    {5347, "5347", A | S},
    {5348, "5348", A | S},
    {5349, "5349", A | S},
    {5350, "5350", A | S},
    {5351, "5351", A | S},
    {5352, "5352", A | S},
    {5353, "5353", A | S},
    {5354, "5354", A | S},
    {5478, "5478", A},
    {5488, "GB-18030", A | D},
    {8229, "037", E},
    {8448, "256", E},
    {8476, "284", E},
    {8482, "8482", E | D},
    {8489, "297", E},
    {8612, "8612", E},
    {8629, "437", A},
    {8692, "500", E},
    {9027, "9027", E | D},
    {9030, "9030", E},
    {9044, "9044", A},
    {9047, "855", A},
    {9048, "9048", A | S},
    {9049, "9049", A},
    {9056, "9056", A},
    {9060, "868", A},
    {9061, "9061", A},
    {9066, "9066", A},
    {9089, "897", A},
    {9122, "930", E},
    {9145, "9145", A},
    {9146, "EUC-JP", A},
    {9238, "9238", A},
    {12325, "037", E},
    {12544, "256", E},
    {12712, "12712", E},
    {12725, "437", A},
    {12788, "500", E},
    {13121, "13121", E | S},
    {13152, "864", A},
    {13218, "930", E},
    {13219, "931", E},
    {13242, "EUC-JP", E},
    {13488, "UCS-2", U},
    {16421, "037", E},
    {16684, "16684", E | D},
    {16821, "437", A},
    {16884, "500", E},
    {17248, "17248", A | S},
    {17584, "UCS-2", U},
    {18030, "GB-18030", A | D},
    {20517, "037", E},
    {20917, "437", A},
    {20980, "500", E},
    {21427, "21427", A | D},
    {24613, "037", E},
    {24877, "301", A},
    {25013, "437", A},
    {25076, "500", E},
    {25426, "850", A},
    {25427, "851", A},
    {25428, "852", A},
    {25429, "853", A},
    {25431, "855", A},
    {25432, "856", A},
    {25433, "857", A},
    {25436, "860", A},
    {25437, "861", A},
    {25438, "862", A},
    {25439, "863", A},
    {25440, "864", A},
    {25441, "865", A},
    {25444, "868", A},
    {25445, "869", A},
    {25450, "874", A},
    {25467, "891", A},
    {25473, "897", A},
    {25479, "903", A},
    {25480, "904", A},
    {25502, "926", A},
    {25503, "927", A},
    {25504, "928", A},
    {25505, "929", A},
    {25508, "932", A},
    {25510, "934", A},
    {25512, "936", A},
    {25514, "938", A},
    {25518, "942", A},
    {25520, "944", A},
    {25522, "946", A},
    {25524, "948", A},
    {25616, "1040", A},
    {25617, "1041", A},
    {25618, "1042", A},
    {25619, "1043", A},
    {28709, "037", E},
    {29109, "437", A},
    {29172, "500", E},
    {29522, "850", A},
    {29523, "851", A},
    {29524, "852", A},
    {29525, "853", A},
    {29527, "855", A},
    {29528, "856", A},
    {29529, "857", A},
    {29532, "860", A},
    {29533, "861", A},
    {29534, "862", A},
    {29535, "863", A},
    {29536, "864", A},
    {29537, "865", A},
    {29540, "868", A},
    {29541, "869", A},
    {29546, "874", A},
    {29614, "942", A},
    {29616, "944", A},
    {29618, "946", A},
    {29620, "948", A},
    {29712, "1040", A},
    {29713, "1041", A},
    {29714, "1042", A},
    {29715, "1043", A},
    {32805, "037", E},
    {33058, "290", E},
    {33205, "437", A},
    {33268, "500", E},
    {33618, "850", A},
    {33619, "851", A},
    {33620, "852", A},
    {33621, "853", A},
    {33623, "855", A},
    {33624, "856", A},
    {33632, "864", A},
    {33636, "868", A},
    {33637, "869", A},
    {33665, "897", A},
    {33698, "930", E},
    {33699, "931", E},
    {33700, "932", A},
    {33722, "33722", A | D},
    {37301, "437", A},
    {37364, "500", E},
    {37719, "855", A},
    {37728, "864", A},
    {37732, "868", A},
    {37761, "897", A},
    {37796, "932", A},
    {41397, "437", A},
    {41460, "500", E},
    {41824, "864", A},
    {41828, "868", A},
    {45493, "437", A},
    {45556, "500", E},
    {45920, "864", A},
    {49589, "437", A},
    {49652, "500", E},
    {53748, "500", E},
    {61696, "500", E},
    {61697, "850", A},
    {61698, "850", A},
    {61699, "ISO8859-7", A},
    {61700, "367", A},
    {61712, "500", E},
    {61955, "UCS-2", U},
    {65500, "UCS-2B", U},
    {65501, "UCS-2L", U},
};

static_assert(sizeof(kRegistry) / sizeof(kRegistry[0]) == KivClCCSID::REGISTRY_SIZE,
              "the registry has 430 rows");

const _KivStCCSIDEntry* const kSentinel = &kRegistry[0];

int compareEntries(const void* key, const void* row) {
    const uint32_t a = static_cast<const _KivStCCSIDEntry*>(key)->ccsid;
    const uint32_t b = static_cast<const _KivStCCSIDEntry*>(row)->ccsid;
    return a < b ? -1 : (a > b ? 1 : 0);
}

bool startsWith(const char* text, unsigned char first, unsigned char second) {
    return text != nullptr && static_cast<unsigned char>(text[0]) == first &&
           static_cast<unsigned char>(text[1]) == second;
}

}  // namespace

KivClCCSID::KivEnCCSID KivClCCSID::s_enConsoleCCSID = 0;

KivClCCSID::KivClCCSID(const char* name) : ccsid_(CCSID_NONE), entry_(nullptr) {
    if (name == nullptr) name = "";
    if (*name >= '0' && *name <= '9') {
        ccsid_ = static_cast<KivEnCCSID>(atoi(name));
        determineProperties();
        return;
    }
    for (const _KivStCCSIDEntry& row : kRegistry) {
        if (strcmpi(row.name, name) == 0) {
            ccsid_ = row.ccsid;
            entry_ = &row;
            return;
        }
    }
    const char* digits = name;
    while (*digits != '\0' && (*digits < '0' || *digits > '9')) ++digits;
    ccsid_ = static_cast<KivEnCCSID>(atoi(digits));
    entry_ = kSentinel;
}

void KivClCCSID::determineProperties() const {
    if (entry_ != nullptr) return;
    const _KivStCCSIDEntry key = {ccsid_, nullptr, 0};
    const void* found = bsearch(&key, kRegistry, REGISTRY_SIZE, sizeof(kRegistry[0]), compareEntries);
    entry_ = found != nullptr ? static_cast<const _KivStCCSIDEntry*>(found) : kSentinel;
}

const _KivStCCSIDEntry* KivClCCSID::getEntry() const {
    determineProperties();
    return entry_;
}

bool KivClCCSID::isValid() const {
    return ccsid_ != CCSID_NONE && getEntry() != kSentinel;
}

const char* KivClCCSID::getName() const { return getEntry()->name; }

bool KivClCCSID::hasProperty(uint32_t bit) const { return (getEntry()->properties & bit) != 0; }

bool KivClCCSID::isUCS2LittleEndian() const {
    switch (ccsid_) {
        case CCSID_UCS2_LITTLE_ENDIAN:
        case CCSID_UCS2:
        case 17584:
        case CCSID_UCS2_ISO10646:
        case 61955:
            return true;
        default:
            return false;
    }
}

bool KivClCCSID::operator==(KivEnCCSID other) const {
    if (ccsid_ == other) return true;
    const auto hostForm = [](KivEnCCSID c) { return c == CCSID_UCS2_LITTLE_ENDIAN ? CCSID_UCS2 : c; };
    return hostForm(ccsid_) == hostForm(other);
}

KivClCCSID::KivEnCCSID KivClCCSID::getCCSIDForUCS2EndianId(const char* id) {
    if (startsWith(id, 0xFE, 0xFF)) return CCSID_UCS2_BIG_ENDIAN;
    if (startsWith(id, 0xFF, 0xFE)) return CCSID_UCS2_LITTLE_ENDIAN;
    return CCSID_NONE;
}

KivClCCSID::KivEnCCSID KivClCCSID::getCCSIDForCodesetName(const char* codeset) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(codeset, &status);
    if (U_FAILURE(status) || converter == nullptr) return CCSID_UTF8;
    const int32_t ccsid = ucnv_getCCSID(converter, &status);
    ucnv_close(converter);
    // ICU reports a converter without an IBM number as -1 (or 0).
    if (U_FAILURE(status) || ccsid <= 0) return CCSID_UTF8;
    return static_cast<KivEnCCSID>(ccsid);
}

KivClCCSID::KivEnCCSID KivClCCSID::getConsoleCCSID() {
    if (s_enConsoleCCSID == CCSID_NONE) {
        // The codeset of the locale that the environment selects (LC_ALL,
        // LC_CTYPE, LANG), read without touching the process locale. ICU's own
        // default name is not used: ICU builds that assume UTF-8 always give it.
        KivEnCCSID ccsid = CCSID_UTF8;
        const locale_t locale = newlocale(LC_CTYPE_MASK, "", static_cast<locale_t>(0));
        if (locale != static_cast<locale_t>(0)) {
            const char* codeset = nl_langinfo_l(CODESET, locale);
            if (codeset != nullptr && *codeset != '\0') ccsid = getCCSIDForCodesetName(codeset);
            freelocale(locale);
        }
        s_enConsoleCCSID = ccsid;
    }
    return s_enConsoleCCSID;
}
