// Dumps and string representations: raw memory rendered as fixed-layout text
// lines (16-byte hexadecimal lines, 8-byte binary lines, pointer values), the
// dump functions that print whole areas line by line, and in-place 16-bit
// endian conversions.
//
// Nothing here allocates or fails. The line objects hold their text in a
// fixed array inside the object; a line takes at most 16 (hex) or 8 (binary)
// bytes, further bytes are ignored, and every append is bounded by the array.
// Addresses print as their low 32 bits (8 hexadecimal digits), which is what
// the offsets of a dump need and keeps the line within its 80 characters.
// A byte counts as printable when it lies in 0x20..0x7E, whatever the locale.
//
//   KivClStrepHexDump line(16, "ABCDEFGHIJKLMNOP", 16);
//   line.getAsCString();
//   // "00000010: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP"
//   KivClStrepBinDump bits("A", 1);
//   bits.getAsCString();
//   // "01000001 ________ ________ ________  ________ ... | A_______"
//   kivDumpHex(std::cout, bytes, 20);   // two lines: offsets 00000000, 00000010
#ifndef KIV_DUMP_HPP
#define KIV_DUMP_HPP

#include <ostream>

// Base of the objects that hold a text rendering of some value.
class KivClStringRepresentationABase {
public:
    virtual ~KivClStringRepresentationABase();
    virtual const char* getAsCString() const = 0;

protected:
    KivClStringRepresentationABase() = default;
    KivClStringRepresentationABase(const KivClStringRepresentationABase&) = default;
    KivClStringRepresentationABase& operator=(const KivClStringRepresentationABase&) = default;
};

// What the dump lines share: the text in a fixed array of Capacity
// characters and its optional address part.
template <unsigned Capacity>
class KivClStrepDumpLineABase : public KivClStringRepresentationABase {
public:
    static constexpr unsigned CAPACITY = Capacity;

    // Appends the address part ("0000001F: "); addData then appends the
    // columns and characters.
    void addAddress(unsigned long address);
    const char* getAsCString() const override { return text_; }

protected:
    KivClStrepDumpLineABase() { text_[0] = '\0'; }

    char text_[Capacity + 1];
    unsigned length_ = 0;
};

// The library holds the two line sizes it uses.
extern template class KivClStrepDumpLineABase<80>;
extern template class KivClStrepDumpLineABase<95>;

// One hexadecimal dump line of up to 16 bytes: an optional address, 16
// columns of two upper-case digits and a blank ("__ " past the data, one
// more blank after column 8, "| " after column 16), then the bytes as
// characters ("." for unprintable ones, "_" past the data).
class KivClStrepHexDump : public KivClStrepDumpLineABase<80> {
public:
    static constexpr unsigned BYTES_PER_LINE = 16;

    KivClStrepHexDump(unsigned long address, const void* data, unsigned long count);
    KivClStrepHexDump(const void* data, unsigned long count);

    void addData(const void* data, unsigned long count);
};

// One binary dump line of up to 8 bytes: the same scheme with 8 columns of
// eight binary digits, most significant first ("________ " past the data),
// one more blank after column 4 and "| " after column 8.
class KivClStrepBinDump : public KivClStrepDumpLineABase<95> {
public:
    static constexpr unsigned BYTES_PER_LINE = 8;

    KivClStrepBinDump(unsigned long address, const void* data, unsigned long count);
    KivClStrepBinDump(const void* data, unsigned long count);

    void addData(const void* data, unsigned long count);
};

// A pointer value as a standard stream prints it: "0x" and lower-case
// hexadecimal digits, or "0" for the null pointer.
class KivClStrepAddress : public KivClStringRepresentationABase {
public:
    explicit KivClStrepAddress(const void* pointer);
    const char* getAsCString() const override { return text_; }

private:
    char text_[2 + 2 * sizeof(void*) + 1];
};

// The kinds a debug dump may be asked for.
enum KivEnDumpKind { KIV_DUMP_HEX = 0, KIV_DUMP_BIN = 1 };

// Dump functions: complete lines, each followed by a line break, with the
// byte offset of the line as its address. Counts are in elements of the
// data's type; the bytes are dumped in memory order. A count of 0 prints
// nothing. The forms without a stream write to standard output. kivDump is
// the same as kivDumpHex.
extern "C" {
void kivDump(const unsigned char* data, unsigned long count);
void kivDumpHex(const unsigned char* data, unsigned long count);
void kivDumpBin(const unsigned char* data, unsigned long count);
// Debug variants: they do nothing, so that debug dumps can stay in code.
void kivDebugDump(const char* label, const unsigned char* data, unsigned long count);
void kivDebugDumpHex(const char* label, const unsigned char* data, unsigned long count);
void kivDebugDumpBin(const char* label, const unsigned char* data, unsigned long count);
}
void kivDebugImpDump(KivEnDumpKind kind, const char* label, const unsigned char* data, unsigned long count);

void kivDump(std::ostream& out, const unsigned char* data, unsigned long count);
void kivDump(std::ostream& out, const unsigned short* data, unsigned long count);
void kivDump(std::ostream& out, const unsigned int* data, unsigned long count);
void kivDump(std::ostream& out, const unsigned long long* data, unsigned long count);
void kivDump(const unsigned short* data, unsigned long count);
void kivDump(const unsigned int* data, unsigned long count);
void kivDump(const unsigned long long* data, unsigned long count);

void kivDumpHex(std::ostream& out, const unsigned char* data, unsigned long count);
void kivDumpHex(std::ostream& out, const unsigned short* data, unsigned long count);
void kivDumpHex(std::ostream& out, const unsigned int* data, unsigned long count);
void kivDumpHex(std::ostream& out, const unsigned long long* data, unsigned long count);
void kivDumpHex(const unsigned short* data, unsigned long count);
void kivDumpHex(const unsigned int* data, unsigned long count);
void kivDumpHex(const unsigned long long* data, unsigned long count);

void kivDumpBin(std::ostream& out, const unsigned char* data, unsigned long count);
void kivDumpBin(std::ostream& out, const unsigned short* data, unsigned long count);
void kivDumpBin(std::ostream& out, const unsigned int* data, unsigned long count);
void kivDumpBin(std::ostream& out, const unsigned long long* data, unsigned long count);
void kivDumpBin(const unsigned short* data, unsigned long count);
void kivDumpBin(const unsigned int* data, unsigned long count);
void kivDumpBin(const unsigned long long* data, unsigned long count);

// 16-bit endian conversions in place over count bytes. The swapping ones
// exchange the two bytes of every whole 16-bit unit (an odd last byte stays)
// and return the buffer; the host is little-endian, so the host/little pairs
// leave the buffer as it is and return it.
// @warning the swapping conversions overwrite the caller's buffer.
unsigned short* kivEndianConvertW16Swap(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16LittleToBig(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16BigToLittle(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16HostToBig(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16BigToHost(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16HostToLittle(unsigned short* buffer, unsigned count);
unsigned short* kivEndianConvertW16LittleToHost(unsigned short* buffer, unsigned count);

#endif  // KIV_DUMP_HPP
