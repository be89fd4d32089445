// Hex and binary dump lines, address texts, the dump functions and the
// 16-bit endian conversions.
#include "kiv_dump.hpp"

#include <cstdint>
#include <cstring>
#include <iostream>

KivClStringRepresentationABase::~KivClStringRepresentationABase() = default;

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Appends text to a fixed line buffer, never past capacity characters.
void appendLine(char* line, unsigned& length, unsigned capacity, const char* text, unsigned count) {
    unsigned room = capacity - length;
    if (count > room) count = room;
    std::memcpy(line + length, text, count);
    length += count;
    line[length] = '\0';
}

void appendAddress(char* line, unsigned& length, unsigned capacity, unsigned long address) {
    char text[10];
    uint32_t value = static_cast<uint32_t>(address);
    for (int i = 7; i >= 0; --i) {
        text[i] = kHexDigits[value & 0xF];
        value >>= 4;
    }
    text[8] = ':';
    text[9] = ' ';
    appendLine(line, length, capacity, text, sizeof text);
}

// "00" to "FF": the two upper-case hexadecimal digits of every byte value.
struct HexPairs {
    char text[2 * 256];
    constexpr HexPairs() : text() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            text[2 * byte] = kHexDigits[byte >> 4];
            text[2 * byte + 1] = kHexDigits[byte & 0xF];
        }
    }
};
constexpr HexPairs HEX_PAIRS;

// How every byte value shows in the character part: itself when printable
// (0x20..0x7E), "." otherwise.
struct ShownCharacters {
    char text[256];
    constexpr ShownCharacters() : text() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            text[byte] = byte >= 0x20 && byte <= 0x7E ? static_cast<char>(byte) : '.';
        }
    }
};
constexpr ShownCharacters SHOWN;

void renderHex(unsigned char byte, char* out) { std::memcpy(out, HEX_PAIRS.text + 2 * byte, 2); }

void renderBin(unsigned char byte, char* out) {
    for (int bit = 0; bit < 8; ++bit) out[bit] = (byte & (0x80 >> bit)) ? '1' : '0';
}

// The columns area both line kinds share: kColumns cells of kDigits digits
// and a blank, an extra blank after the middle cell, "| ", then one
// character per column. An area with no data ("_" in every digit and
// character place) is built at compile time; the bytes there are drawn over
// it, and the area is appended once, which cuts it at capacity exactly as
// appending it piece by piece would.
template <unsigned kColumns, unsigned kDigits>
struct EmptyColumns {
    static constexpr unsigned CELL = kDigits + 1;
    static constexpr unsigned CHARACTERS = kColumns * CELL + 1 + 2;  // the extra blank and "| "
    static constexpr unsigned SIZE = CHARACTERS + kColumns;
    // Where the digits of column c start.
    static constexpr unsigned cellAt(unsigned column) { return column * CELL + (column >= kColumns / 2 ? 1 : 0); }
    char text[SIZE];
    constexpr EmptyColumns() : text() {
        for (char& c : text) c = ' ';
        for (unsigned column = 0; column < kColumns; ++column) {
            for (unsigned digit = 0; digit < kDigits; ++digit) text[cellAt(column) + digit] = '_';
            text[CHARACTERS + column] = '_';
        }
        text[CHARACTERS - 2] = '|';
    }
};

template <unsigned kColumns, unsigned kDigits, void (*kRender)(unsigned char, char*)>
void appendColumns(char* line, unsigned& length, unsigned capacity, const void* data, unsigned long count) {
    using Empty = EmptyColumns<kColumns, kDigits>;
    static constexpr Empty EMPTY;
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    const unsigned used = (data == nullptr) ? 0 : static_cast<unsigned>(count < kColumns ? count : kColumns);
    // Drawn in the line itself when the whole area fits, else in a local
    // copy that is then appended up to the capacity.
    char local[Empty::SIZE];
    const bool fits = Empty::SIZE <= capacity - length;
    char* area = fits ? line + length : local;
    std::memcpy(area, EMPTY.text, Empty::SIZE);
    for (unsigned column = 0; column < used; ++column) {
        kRender(bytes[column], area + Empty::cellAt(column));
        area[Empty::CHARACTERS + column] = SHOWN.text[bytes[column]];
    }
    if (!fits) {
        appendLine(line, length, capacity, local, Empty::SIZE);
        return;
    }
    length += Empty::SIZE;
    line[length] = '\0';
}

template <class Line>
void dumpLines(std::ostream& out, const void* data, unsigned long byteCount) {
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    if (bytes == nullptr) return;
    for (unsigned long offset = 0; offset < byteCount; offset += Line::BYTES_PER_LINE) {
        unsigned long rest = byteCount - offset;
        unsigned long lineBytes = Line::BYTES_PER_LINE;
        Line line(offset, bytes + offset, rest < lineBytes ? rest : lineBytes);
        out << line.getAsCString() << '\n';
    }
}

}  // namespace

template <unsigned Capacity>
void KivClStrepDumpLineABase<Capacity>::addAddress(unsigned long address) {
    appendAddress(text_, length_, Capacity, address);
}

template class KivClStrepDumpLineABase<80>;
template class KivClStrepDumpLineABase<95>;

KivClStrepHexDump::KivClStrepHexDump(unsigned long address, const void* data, unsigned long count) {
    addAddress(address);
    addData(data, count);
}

KivClStrepHexDump::KivClStrepHexDump(const void* data, unsigned long count) { addData(data, count); }

void KivClStrepHexDump::addData(const void* data, unsigned long count) {
    appendColumns<BYTES_PER_LINE, 2, renderHex>(text_, length_, CAPACITY, data, count);
}

KivClStrepBinDump::KivClStrepBinDump(unsigned long address, const void* data, unsigned long count) {
    addAddress(address);
    addData(data, count);
}

KivClStrepBinDump::KivClStrepBinDump(const void* data, unsigned long count) { addData(data, count); }

void KivClStrepBinDump::addData(const void* data, unsigned long count) {
    appendColumns<BYTES_PER_LINE, 8, renderBin>(text_, length_, CAPACITY, data, count);
}

KivClStrepAddress::KivClStrepAddress(const void* pointer) {
    uintptr_t value = reinterpret_cast<uintptr_t>(pointer);
    if (value == 0) {
        text_[0] = '0';
        text_[1] = '\0';
        return;
    }
    char digits[2 * sizeof(void*)];
    unsigned count = 0;
    for (; value != 0; value >>= 4) digits[count++] = "0123456789abcdef"[value & 0xF];
    unsigned length = 0;
    text_[length++] = '0';
    text_[length++] = 'x';
    while (count > 0) text_[length++] = digits[--count];
    text_[length] = '\0';
}

// Dump functions: every element type comes down to its bytes.
#define KIV_DUMP_FAMILY(name, Line)                                                                      \
    void name(std::ostream& out, const unsigned char* data, unsigned long count) {                      \
        dumpLines<Line>(out, data, count);                                                               \
    }                                                                                                    \
    void name(std::ostream& out, const unsigned short* data, unsigned long count) {                     \
        dumpLines<Line>(out, data, count * sizeof *data);                                                \
    }                                                                                                    \
    void name(std::ostream& out, const unsigned int* data, unsigned long count) {                       \
        dumpLines<Line>(out, data, count * sizeof *data);                                                \
    }                                                                                                    \
    void name(std::ostream& out, const unsigned long long* data, unsigned long count) {                 \
        dumpLines<Line>(out, data, count * sizeof *data);                                                \
    }                                                                                                    \
    extern "C" void name(const unsigned char* data, unsigned long count) { name(std::cout, data, count); } \
    void name(const unsigned short* data, unsigned long count) { name(std::cout, data, count); }        \
    void name(const unsigned int* data, unsigned long count) { name(std::cout, data, count); }          \
    void name(const unsigned long long* data, unsigned long count) { name(std::cout, data, count); }

KIV_DUMP_FAMILY(kivDump, KivClStrepHexDump)
KIV_DUMP_FAMILY(kivDumpHex, KivClStrepHexDump)
KIV_DUMP_FAMILY(kivDumpBin, KivClStrepBinDump)
#undef KIV_DUMP_FAMILY

extern "C" void kivDebugDump(const char*, const unsigned char*, unsigned long) {}
extern "C" void kivDebugDumpHex(const char*, const unsigned char*, unsigned long) {}
extern "C" void kivDebugDumpBin(const char*, const unsigned char*, unsigned long) {}
void kivDebugImpDump(KivEnDumpKind, const char*, const unsigned char*, unsigned long) {}

// The host is little-endian: this is the one place that knows it.
unsigned short* kivEndianConvertW16Swap(unsigned short* buffer, unsigned count) {
    unsigned char* bytes = reinterpret_cast<unsigned char*>(buffer);
    for (unsigned unit = count / 2; unit > 0; --unit) {
        unsigned char* pair = bytes + 2 * (unit - 1);
        unsigned char first = pair[0];
        pair[0] = pair[1];
        pair[1] = first;
    }
    return buffer;
}

unsigned short* kivEndianConvertW16LittleToBig(unsigned short* buffer, unsigned count) {
    return kivEndianConvertW16Swap(buffer, count);
}
unsigned short* kivEndianConvertW16BigToLittle(unsigned short* buffer, unsigned count) {
    return kivEndianConvertW16Swap(buffer, count);
}
unsigned short* kivEndianConvertW16HostToBig(unsigned short* buffer, unsigned count) {
    return kivEndianConvertW16Swap(buffer, count);
}
unsigned short* kivEndianConvertW16BigToHost(unsigned short* buffer, unsigned count) {
    return kivEndianConvertW16Swap(buffer, count);
}
unsigned short* kivEndianConvertW16HostToLittle(unsigned short* buffer, unsigned) { return buffer; }
unsigned short* kivEndianConvertW16LittleToHost(unsigned short* buffer, unsigned) { return buffer; }
