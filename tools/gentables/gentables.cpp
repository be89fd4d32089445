// gentables: writes the built-in code page tables of the library (nls/tables/)
// from published mapping data: ICU's converters, glibc's iconv converters and,
// optionally, the Windows-numbered IBM tables of the npm "codepage" package.
//
// Usage: gentables OUTPUT_DIR [CODEPAGE_DUMP_DIR]
//   OUTPUT_DIR          where kiv_sbcs_tables.cpp, kiv_dbcs_tables.cpp and
//                       kiv_reverse_tables.cpp are written (nls/tables)
//   CODEPAGE_DUMP_DIR   a directory of <number>.txt files, each 256
//                       hexadecimal code points (see dump_codepage.js); used
//                       as a second source where one is listed
//
// Every table is taken from its first source; each further source listed for
// it is compared byte by byte and the differences are written into the
// generated file's comments. The program prints a summary on stdout and
// exits with 1 when a first source cannot be opened.
#include <iconv.h>
#include <unicode/ucnv.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr uint16_t kUnmapped = 0xFFFD;
constexpr uint16_t kSubstitute = 0x001A;

enum class Kind { IcuCcsid, IcuName, Iconv, Dump };

struct Source {
    Kind kind;
    std::string name;  // ICU name, iconv name, dump number, or CCSID for IcuCcsid
    bool ebcdicMixed;  // an EBCDIC mixed converter: single bytes start in shift-in state
};

struct SbcsSpec {
    unsigned int ccsid;
    std::vector<Source> sources;
};

struct DbcsSpec {
    unsigned int ccsid;
    bool ebcdic;
    std::vector<Source> sources;
};

std::string describe(const Source& s) {
    switch (s.kind) {
        case Kind::IcuCcsid: return "ICU ucnv_openCCSID(" + s.name + ", UCNV_IBM)";
        case Kind::IcuName: return "ICU converter " + s.name + (s.ebcdicMixed ? " (single-byte state)" : "");
        case Kind::Iconv: return "glibc iconv " + s.name + (s.ebcdicMixed ? " (single-byte state)" : "");
        case Kind::Dump: return "npm codepage table " + s.name;
    }
    return "";
}

// Decodes byte strings with one source; every call starts from the initial state.
class Decoder {
public:
    Decoder(const Source& source, const std::string& dumpDir) : source_(source) {
        if (source.kind == Kind::IcuCcsid || source.kind == Kind::IcuName) {
            UErrorCode status = U_ZERO_ERROR;
            icu_ = source.kind == Kind::IcuCcsid ? ucnv_openCCSID(atoi(source.name.c_str()), UCNV_IBM, &status)
                                                 : ucnv_open(source.name.c_str(), &status);
            if (U_FAILURE(status)) icu_ = nullptr;
            if (icu_ != nullptr) ucnv_setFallback(icu_, true);
        } else if (source.kind == Kind::Iconv) {
            iconv_ = iconv_open("UTF-16LE", source.name.c_str());
        } else {
            std::ifstream in(dumpDir + "/" + source.name + ".txt");
            unsigned int value;
            while (in >> std::hex >> value) dump_.push_back(static_cast<uint16_t>(value));
            // The package's EBCDIC tables give U+009F for both 0x00 and 0x01;
            // in every EBCDIC code page (and in its own 1047) they are NUL and SOH.
            if (dump_.size() == 256 && dump_[0] == 0x9F && dump_[1] == 0x9F) {
                dump_[0] = 0x0000;
                dump_[1] = 0x0001;
                corrected_ = true;
            }
        }
    }
    ~Decoder() {
        if (icu_ != nullptr) ucnv_close(icu_);
        if (iconv_ != reinterpret_cast<iconv_t>(-1)) iconv_close(iconv_);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    // True when the source's data needed the NUL/SOH correction above.
    bool corrected() const { return corrected_; }

    bool ok() const { return icu_ != nullptr || iconv_ != reinterpret_cast<iconv_t>(-1) || dump_.size() == 256; }

    // The one UCS-2 unit the bytes decode to, or kUnmapped.
    uint16_t decode(const std::string& bytes) {
        std::u16string units;
        if (icu_ != nullptr) {
            UChar out[8];
            UErrorCode status = U_ZERO_ERROR;
            ucnv_reset(icu_);
            const int32_t n = ucnv_toUChars(icu_, out, 8, bytes.data(), static_cast<int32_t>(bytes.size()), &status);
            if (U_FAILURE(status)) return kUnmapped;
            units.assign(reinterpret_cast<const char16_t*>(out), n);
        } else if (iconv_ != reinterpret_cast<iconv_t>(-1)) {
            iconv(iconv_, nullptr, nullptr, nullptr, nullptr);
            char out[16];
            char* in = const_cast<char*>(bytes.data());
            size_t inLeft = bytes.size();
            char* to = out;
            size_t outLeft = sizeof out;
            if (iconv(iconv_, &in, &inLeft, &to, &outLeft) == static_cast<size_t>(-1) || inLeft != 0) return kUnmapped;
            for (char* p = out; p + 1 < to; p += 2) {
                units.push_back(static_cast<char16_t>(static_cast<unsigned char>(p[0]) |
                                                      (static_cast<unsigned char>(p[1]) << 8)));
            }
        } else {
            if (bytes.size() != 1) return kUnmapped;
            return dump_[static_cast<unsigned char>(bytes[0])];
        }
        if (units.size() != 1 || (units[0] >= 0xD800 && units[0] <= 0xDFFF)) {
            // Shift bytes of a mixed EBCDIC converter decode to nothing; as
            // single-byte characters they are the controls of the same value.
            if (units.empty() && bytes.size() == 1 && (bytes[0] == 0x0E || bytes[0] == 0x0F)) return bytes[0];
            return kUnmapped;
        }
        return units[0];
    }

    // The single-byte character of byte b.
    uint16_t single(unsigned char b) { return decode(std::string(1, static_cast<char>(b))); }

    // The double-byte character of lead and trail.
    uint16_t pair(unsigned char lead, unsigned char trail) {
        std::string bytes;
        if (source_.ebcdicMixed) bytes += '\x0E';
        bytes += static_cast<char>(lead);
        bytes += static_cast<char>(trail);
        if (source_.ebcdicMixed) bytes += '\x0F';
        const uint16_t unit = decode(bytes);
        // A pair that only yields the substitution character is unmapped.
        return unit == kSubstitute ? kUnmapped : unit;
    }

private:
    Source source_;
    UConverter* icu_ = nullptr;
    iconv_t iconv_ = reinterpret_cast<iconv_t>(-1);
    std::vector<uint16_t> dump_;
    bool corrected_ = false;
};

Source icuCcsid(unsigned int ccsid) { return {Kind::IcuCcsid, std::to_string(ccsid), false}; }
Source icuName(const char* name) { return {Kind::IcuName, name, false}; }
Source icuEbcdic(const char* name) { return {Kind::IcuName, name, true}; }
Source glibc(const char* name) { return {Kind::Iconv, name, false}; }
Source glibcEbcdic(const char* name) { return {Kind::Iconv, name, true}; }
Source dump(const char* number) { return {Kind::Dump, number, false}; }

std::vector<SbcsSpec> sbcsSpecs() {
    std::vector<SbcsSpec> specs;
    const unsigned int direct[] = {37,  273, 277, 278,  280,  284,  285,  290,  297,  420,  424,
                                   437, 500, 737, 819,  838,  850,  852,  870,  871,  875,  1025,
                                   1026, 1112, 1122, 1123, 1142, 1145, 1155, 1250, 1252};
    for (unsigned int ccsid : direct) specs.push_back({ccsid, {icuCcsid(ccsid)}});
    specs.push_back({274, {glibc("IBM274")}});
    specs.push_back({423, {glibc("IBM423"), dump("20423")}});
    specs.push_back({833, {icuEbcdic("ibm-933_P110-1995"), dump("20833")}});
    specs.push_back({836, {icuEbcdic("ibm-935_P110-1999")}});
    specs.push_back({891, {glibc("IBM891")}});
    specs.push_back({924, {dump("20924")}});
    specs.push_back({1027, {icuEbcdic("ibm-939_P120-1999"), icuEbcdic("ibm-5035")}});
    specs.push_back({1041, {icuName("ibm-942_P12A-1999"), icuName("ibm-943_P130-1999")}});
    specs.push_back({1046, {glibc("IBM1046")}});
    specs.push_back({1088, {icuName("ibm-949_P110-1999")}});
    specs.push_back({1114, {icuName("ibm-950_P110-1999")}});
    specs.push_back({1163, {glibc("IBM1163")}});
    specs.push_back({13121, {icuEbcdic("ibm-1364_P110-2007")}});
    return specs;
}

std::vector<DbcsSpec> dbcsSpecs() {
    return {
        {301, false, {icuName("ibm-942_P12A-1999"), glibc("IBM932")}},
        {930, true, {icuEbcdic("ibm-930_P120-1999"), glibcEbcdic("IBM930")}},
        {939, true, {icuEbcdic("ibm-939_P120-1999"), glibcEbcdic("IBM939")}},
        {941, false, {icuName("ibm-943_P130-1999"), glibc("IBM943")}},
        {1394, false, {glibc("SHIFT_JISX0213")}},
        {4930, true, {icuEbcdic("ibm-1364_P110-2007"), glibcEbcdic("IBM1364")}},
        {4933, true, {icuEbcdic("ibm-1388_P103-2001"), glibcEbcdic("IBM1388")}},
    };
}

// CCSIDs that have a table but no published source on this machine.
const char* const kMissingSbcs = "895, 1040, 1043, 1115, 9048";
const char* const kMissingDbcs = "927, 948, 1351, 5039";

std::string hex4(unsigned int v) {
    char text[8];
    snprintf(text, sizeof text, "0x%04X", v);
    return text;
}

std::string header(const std::string& command, const std::string& what) {
    return "// GENERATED FILE - do not edit.\n"
           "// Written by tools/gentables/gentables (see tools/gentables/README.md) with the command\n"
           "//   " + command + "\n"
           "// " + what + "\n"
           "// Values are UCS-2 stored in big-endian byte order: KIV_BE16 swaps a code\n"
           "// point into that form on a little-endian host.\n"
           "#include \"nls/tables/kiv_cptables_data.hpp\"\n\n";
}

std::string valueList(const std::vector<uint16_t>& values, const char* indent) {
    std::ostringstream out;
    for (size_t i = 0; i < values.size(); ++i) {
        if (i % 8 == 0) out << indent;
        out << "KIV_BE16(" << hex4(values[i]) << ")" << (i + 1 < values.size() ? "," : "");
        out << (i % 8 == 7 || i + 1 == values.size() ? "\n" : " ");
    }
    return out.str();
}

// Compares a table against a further source and returns a comment line.
template <typename Get>
std::string compare(const std::string& label, size_t count, Get get, Decoder& other, const Source& source) {
    if (!other.ok()) return "//   " + label + ": second source " + describe(source) + " not available\n";
    size_t differences = 0;
    std::string first;
    for (size_t i = 0; i < count; ++i) {
        uint16_t mine = 0, theirs = 0;
        if (!get(i, other, mine, theirs)) continue;
        const bool bothUnmapped = (mine == kSubstitute || mine == kUnmapped) && (theirs == kSubstitute || theirs == kUnmapped);
        if (mine != theirs && !bothUnmapped) {
            if (differences < 12) first += " " + hex4(static_cast<unsigned int>(i)) + ":" + hex4(mine) + "/" + hex4(theirs);
            ++differences;
        }
    }
    return "//   " + label + ": checked against " + describe(source) + ": " + std::to_string(differences) +
           " differences" + (differences ? " (position:ours/theirs" + first + (differences > 12 ? " ...)" : ")") : "") +
           "\n";
}

bool writeSbcs(const std::string& dir, const std::string& dumpDir, const std::string& command) {
    std::vector<SbcsSpec> specs = sbcsSpecs();
    std::map<unsigned int, std::vector<uint16_t>> tables;
    std::string notes;
    bool ok = true;
    for (const SbcsSpec& spec : specs) {
        Decoder first(spec.sources[0], dumpDir);
        if (!first.ok()) {
            fprintf(stderr, "gentables: cannot open %s for %u\n", describe(spec.sources[0]).c_str(), spec.ccsid);
            ok = false;
            continue;
        }
        std::vector<uint16_t>& values = tables[spec.ccsid];
        for (unsigned int b = 0; b < 256; ++b) values.push_back(first.single(static_cast<unsigned char>(b)));
        notes += "// " + std::to_string(spec.ccsid) + ": " + describe(spec.sources[0]) +
                 (first.corrected() ? " (0x00 and 0x01 given as U+009F there; taken as U+0000, U+0001)" : "") + "\n";
        for (size_t s = 1; s < spec.sources.size(); ++s) {
            Decoder other(spec.sources[s], dumpDir);
            notes += compare(std::to_string(spec.ccsid), 256,
                             [&](size_t i, Decoder& d, uint16_t& mine, uint16_t& theirs) {
                                 mine = values[i];
                                 theirs = d.single(static_cast<unsigned char>(i));
                                 return true;
                             },
                             other, spec.sources[s]);
        }
    }
    std::ofstream out(dir + "/kiv_sbcs_tables.cpp");
    out << header(command, "Single-byte code pages to UCS-2, one table per CCSID, sorted by CCSID.");
    out << "// Sources (first source used; further sources compared):\n" << notes;
    out << "// No published source on this machine, so no table: " << kMissingSbcs << ".\n\n";
    out << "const _KivStSBCSTable kivSBCSTables[] = {\n";
    for (const auto& entry : tables) {
        out << "    {" << entry.first << ",\n     {\n" << valueList(entry.second, "      ") << "     }},\n";
    }
    out << "};\n\nconst unsigned int kivSBCSTableCount = " << tables.size() << ";\n";
    printf("single-byte tables: %zu\n", tables.size());
    return ok;
}

bool writeDbcs(const std::string& dir, const std::string& dumpDir, const std::string& command) {
    std::ostringstream body, entries;
    std::string notes;
    std::vector<std::vector<uint8_t>> flagTables;
    std::vector<int> flagOf;
    bool ok = true;
    unsigned int count = 0;
    for (const DbcsSpec& spec : dbcsSpecs()) {
        Decoder first(spec.sources[0], dumpDir);
        if (!first.ok()) {
            fprintf(stderr, "gentables: cannot open %s for %u\n", describe(spec.sources[0]).c_str(), spec.ccsid);
            ok = false;
            continue;
        }
        // Page 0: substitution; page 1: single bytes; then one page per lead byte.
        std::vector<uint16_t> pages(256, kUnmapped);
        std::vector<uint8_t> flags(256, 0), index(256, 0);
        for (unsigned int b = 0; b < 256; ++b) {
            std::vector<uint16_t> page(256, kUnmapped);
            bool any = false;
            const bool shift = spec.ebcdic && (b == 0x0E || b == 0x0F);
            for (unsigned int t = 0; t < 256 && !shift; ++t) {
                page[t] = first.pair(static_cast<unsigned char>(b), static_cast<unsigned char>(t));
                any = any || page[t] != kUnmapped;
            }
            // In an ASCII mixed code page a byte that decodes alone is not a lead byte.
            const uint16_t alone = first.single(static_cast<unsigned char>(b));
            if (any && !spec.ebcdic && alone != kUnmapped && alone != kSubstitute) any = false;
            if (!any) continue;
            flags[b] = 1;
            index[b] = 0;  // set below, after the single-byte page
            pages.insert(pages.end(), page.begin(), page.end());
        }
        std::vector<uint16_t> singles(256);
        for (unsigned int b = 0; b < 256; ++b) singles[b] = flags[b] ? kUnmapped : first.single(static_cast<unsigned char>(b));
        pages.insert(pages.begin() + 256, singles.begin(), singles.end());
        unsigned int next = 2;
        for (unsigned int b = 0; b < 256; ++b) {
            if (flags[b]) index[b] = static_cast<uint8_t>(++next);
        }
        if (next > 255) {
            fprintf(stderr, "gentables: too many lead bytes for %u\n", spec.ccsid);
            ok = false;
            continue;
        }
        int flagId = -1;
        for (size_t f = 0; f < flagTables.size(); ++f) {
            if (flagTables[f] == flags) flagId = static_cast<int>(f);
        }
        if (flagId < 0) {
            flagTables.push_back(flags);
            flagId = static_cast<int>(flagTables.size() - 1);
        }
        const unsigned int pageCount = static_cast<unsigned int>(pages.size() / 256);
        notes += "// " + std::to_string(spec.ccsid) + ": " + describe(spec.sources[0]) + ", " +
                 std::to_string(pageCount - 2) + " lead bytes\n";
        for (size_t s = 1; s < spec.sources.size(); ++s) {
            Decoder other(spec.sources[s], dumpDir);
            notes += compare(std::to_string(spec.ccsid) + " (pairs, position = lead * 256 + trail)", 65536,
                             [&](size_t i, Decoder& d, uint16_t& mine, uint16_t& theirs) {
                                 const unsigned int lead = static_cast<unsigned int>(i >> 8);
                                 if (!flags[lead]) return false;
                                 mine = pages[256 * (index[lead] - 1) + (i & 0xFF)];
                                 if (mine == kUnmapped) return false;
                                 theirs = d.pair(static_cast<unsigned char>(lead), static_cast<unsigned char>(i & 0xFF));
                                 return true;
                             },
                             other, spec.sources[s]);
        }
        body << "const uint16_t kPages" << spec.ccsid << "[" << pages.size() << "] = {\n"
             << valueList(pages, "    ") << "};\n\n";
        entries << "    {" << spec.ccsid << ", " << (spec.ebcdic ? 1 : 0) << ",\n     {";
        for (unsigned int b = 0; b < 256; ++b) {
            entries << static_cast<unsigned int>(index[b]) << (b < 255 ? "," : "");
            if (b % 32 == 31 && b < 255) entries << "\n      ";
        }
        entries << "},\n     " << pageCount << ", kPages" << spec.ccsid << ", kLeadBytes" << flagId << "},\n";
        ++count;
    }
    std::ofstream out(dir + "/kiv_dbcs_tables.cpp");
    out << header(command, "Mixed single/double-byte code pages to UCS-2, sorted by CCSID.");
    out << "// Page 0 maps everything to U+FFFD, page 1 holds the single-byte\n"
           "// characters, pages 2 and up one lead byte each (page index = page + 1).\n";
    out << "// Sources (first source used; further sources compared on every pair the table maps):\n" << notes;
    out << "// No published source on this machine, so no table: " << kMissingDbcs << ".\n\n";
    out << "namespace {\n\n";
    for (size_t f = 0; f < flagTables.size(); ++f) {
        out << "const uint8_t kLeadBytes" << f << "[256] = {";
        for (unsigned int b = 0; b < 256; ++b) {
            if (b % 32 == 0) out << "\n    ";
            out << static_cast<unsigned int>(flagTables[f][b]) << (b < 255 ? "," : "");
        }
        out << "};\n\n";
    }
    out << body.str() << "}  // namespace\n\nconst _KivStDBCSTable kivDBCSTables[] = {\n"
        << entries.str() << "};\n\nconst unsigned int kivDBCSTableCount = " << count << ";\n";
    printf("double-byte tables: %u\n", count);
    return ok;
}

bool writeReverse(const std::string& dir, const std::string& command) {
    std::ofstream out(dir + "/kiv_reverse_tables.cpp");
    out << header(command, "UCS-2 to single-byte code pages 500 and 850: an index page by high byte,\n"
                           "// a substitution page, then one page per high byte that maps anything.");
    bool ok = true;
    const struct {
        unsigned int ccsid;
        uint8_t substitution;
    } targets[] = {{500, 0x3F}, {850, 0x7F}};
    for (const auto& t : targets) {
        UErrorCode status = U_ZERO_ERROR;
        UConverter* converter = ucnv_openCCSID(static_cast<int32_t>(t.ccsid), UCNV_IBM, &status);
        if (U_FAILURE(status)) {
            fprintf(stderr, "gentables: cannot open ICU %u\n", t.ccsid);
            ok = false;
            continue;
        }
        ucnv_setFallback(converter, true);
        std::vector<uint8_t> index(256, 1), pages(256, t.substitution);
        for (unsigned int high = 0; high < 256; ++high) {
            std::vector<uint8_t> page(256, t.substitution);
            bool any = false;
            for (unsigned int low = 0; low < 256; ++low) {
                const UChar unit = static_cast<UChar>(high << 8 | low);
                if (unit >= 0xD800 && unit <= 0xDFFF) continue;
                char bytes[8];
                status = U_ZERO_ERROR;
                ucnv_resetFromUnicode(converter);
                const int32_t n = ucnv_fromUChars(converter, bytes, sizeof bytes, &unit, 1, &status);
                if (U_SUCCESS(status) && n == 1) page[low] = static_cast<uint8_t>(bytes[0]);
                any = any || page[low] != t.substitution;
            }
            if (!any) continue;
            index[high] = static_cast<uint8_t>(pages.size() / 256 + 1);
            pages.insert(pages.end(), page.begin(), page.end());
        }
        ucnv_close(converter);
        pages.insert(pages.begin(), index.begin(), index.end());
        out << "// " << t.ccsid << ": ICU ucnv_openCCSID(" << t.ccsid
            << ", UCNV_IBM) with fallbacks, substitution byte " << hex4(t.substitution) << "\n";
        out << "const uint8_t kivReverseTable" << t.ccsid << "[" << pages.size() << "] = {";
        for (size_t i = 0; i < pages.size(); ++i) {
            if (i % 16 == 0) out << "\n    ";
            out << static_cast<unsigned int>(pages[i]) << (i + 1 < pages.size() ? "," : "");
        }
        out << "};\n\n";
    }
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        fprintf(stderr, "usage: gentables OUTPUT_DIR [CODEPAGE_DUMP_DIR]\n");
        return 2;
    }
    const std::string dir = argv[1];
    const std::string dumpDir = argc == 3 ? argv[2] : "";
    const std::string command = "gentables nls/tables" + std::string(argc == 3 ? " CODEPAGE_DUMP_DIR" : "");
    bool ok = writeSbcs(dir, dumpDir, command);
    ok = writeDbcs(dir, dumpDir, command) && ok;
    ok = writeReverse(dir, command) && ok;
    return ok ? 0 : 1;
}
