// CCSIDs: code page numbers and the registry that describes them.
//
// A KivClCCSID holds a coded character set identifier (37, 819, 1208, 13488,
// ...) and a reference into a fixed, sorted registry of 430 known CCSIDs that
// gives each one a name (its number, the number of the code page whose
// characters it uses, or a codeset name such as "ISO8859-1") and its
// properties: ASCII or EBCDIC based, single- or double-byte, UCS-2. The
// converters pick their conversion method from these properties, and hand the
// name to iconv when nothing built in serves.
//
// Failure policy: nothing is reported. An unknown number or name yields an
// object whose isValid() is false, whose name is "???" and whose property
// queries are all false.
//
// Example:
//   KivClCCSID a(819);            // a.isASCII() == true, a.getName() == "ISO8859-1"
//   KivClCCSID b("iso8859-7");    // b.getCCSID() == 813 (first row with that name)
//   KivClCCSID c("CP1252");       // c.getCCSID() == 1252, c.isValid() == false
//   KivClCCSID(65501) == 13488;   // true: little-endian UCS-2 is host UCS-2
//   KivClCCSID::getCCSIDForUCS2EndianId("\xFE\xFF"); // 65500
#ifndef KIV_CCSID_HPP
#define KIV_CCSID_HPP

#include <cstdint>

// One registry row: the CCSID, its name and its property bits.
struct _KivStCCSIDEntry {
    uint32_t ccsid;
    const char* name;
    uint32_t properties;
};

// A CCSID with its (lazily found) registry row.
class KivClCCSID {
public:
    typedef uint32_t KivEnCCSID;

    // Property bits of a registry row.
    enum : uint32_t {
        PROPERTY_ASCII = 1,
        PROPERTY_EBCDIC = 2,
        PROPERTY_DBCS = 4,
        PROPERTY_SBCS = 8,
        PROPERTY_UCS2 = 64
    };

    // CCSIDs the library treats specially.
    enum : uint32_t {
        CCSID_NONE = 0,
        CCSID_ISO8859_1 = 819,
        CCSID_UCS2_ISO10646 = 1200,
        CCSID_UTF8 = 1208,
        CCSID_GB18030 = 1392,
        CCSID_UCS2 = 13488,
        CCSID_UCS2_BIG_ENDIAN = 65500,
        CCSID_UCS2_LITTLE_ENDIAN = 65501
    };

    // Number of registry rows, the sentinel row 0 for unknown CCSIDs included.
    static constexpr unsigned int REGISTRY_SIZE = 430;

    // The registry row is looked up only when a property is first asked for.
    KivClCCSID(KivEnCCSID ccsid = CCSID_NONE) : ccsid_(ccsid), entry_(nullptr) {}

    // A name that begins with a digit is read as a number ("819"); otherwise
    // the first row whose name equals it ignoring case wins ("utf-8" gives
    // 1208); otherwise the digits after the first non-digits give the number
    // ("CP1252" gives 1252) and the object stays invalid. A null name is
    // treated as an empty one and gives CCSID 0.
    explicit KivClCCSID(const char* name);

    KivEnCCSID getCCSID() const { return ccsid_; }

    // Binds the object to its registry row (the sentinel row for unknown
    // numbers) if that was not done yet. Every query below calls it.
    void determineProperties() const;

    // The number is not 0 and has a registry row.
    bool isValid() const;
    const char* getName() const;
    bool isASCII() const { return hasProperty(PROPERTY_ASCII); }
    bool isEBCDIC() const { return hasProperty(PROPERTY_EBCDIC); }
    bool isSBCS() const { return hasProperty(PROPERTY_SBCS); }
    bool isDBCS() const { return hasProperty(PROPERTY_DBCS); }
    bool isUCS2() const { return hasProperty(PROPERTY_UCS2); }

    // 65500 only.
    bool isUCS2BigEndian() const { return ccsid_ == CCSID_UCS2_BIG_ENDIAN; }
    // 65501, 13488, 17584, 1200 and 61955 (this host is little-endian).
    bool isUCS2LittleEndian() const;
    bool isUCS2HostEndian() const { return isUCS2LittleEndian(); }

    // Equal numbers, or equal after mapping 65501 to 13488.
    bool operator==(KivEnCCSID other) const;
    bool operator!=(KivEnCCSID other) const { return !(*this == other); }
    bool operator==(const KivClCCSID& other) const { return *this == other.ccsid_; }
    bool operator!=(const KivClCCSID& other) const { return !(*this == other.ccsid_); }

    // 65500 when id begins with the big-endian byte-order mark FE FF, 65501
    // when it begins with the little-endian mark FF FE, else 0. A null id
    // gives 0.
    static KivEnCCSID getCCSIDForUCS2EndianId(const char* id);

    // The CCSID of the codeset of the locale the environment selects (LC_ALL,
    // LC_CTYPE, LANG), mapped through ICU's alias data; found once per process
    // and cached. 1208 when the locale or its codeset is unusable.
    static KivEnCCSID getConsoleCCSID();
    // The same value as getConsoleCCSID().
    static KivEnCCSID getSystemCCSID() { return getConsoleCCSID(); }
    // The CCSID that ICU's alias data gives a codeset name ("ISO-8859-1"
    // gives 819); 1208 when ICU cannot open a converter for the name or knows
    // no IBM CCSID for it (-1 or 0). This is how the console CCSID is found.
    static KivEnCCSID getCCSIDForCodesetName(const char* codeset);

    // The registry row bound to this object (after determineProperties()).
    const _KivStCCSIDEntry* getEntry() const;

private:
    bool hasProperty(uint32_t bit) const;

    KivEnCCSID ccsid_;
    mutable const _KivStCCSIDEntry* entry_;
    static KivEnCCSID s_enConsoleCCSID;
};

#endif  // KIV_CCSID_HPP
