// A fixed-size array of bits that can write itself to and read itself from a
// binary stream.
//
// An array of n bits owns n / 8 + 1 bytes of storage (so a multiple of 8 bits
// has one spare byte), allocated through the memory manager and zero-filled.
// Bit i lives in byte i / 8 under the mask 1 << (i % 8): the lowest bit of the
// first byte is bit 0.
//
// Stream form: the bit count as 4 bytes in the host's (little-endian) order,
// then the n / 8 + 1 storage bytes. read() takes the array to the size it
// finds in the stream, so that reading gives back exactly what was written.
//
// Failure policy: an index at or beyond the bit count is refused (false,
// nothing changed); a short stream sets the stream's failbit; storage comes
// from the memory manager, which throws KivClExceptionFatal when memory is
// exhausted.
//
//   KivClBitArray bits(12);     // 2 storage bytes, all bits 0
//   bits.setBit(3);             // true
//   bits.setBit(12);            // false: beyond the count
//   bits.testBit(3);            // true
//   bits.countSetBits();        // 1
//
// Warning: assignment and read() replace the array's bits and size.
#ifndef KIV_BITARRAY_HPP
#define KIV_BITARRAY_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_persistency.hpp"

// A fixed number of bits, all 0 at first, with a binary stream form.
class KivClBitArray : public KivClPersistencyABase {
public:
    // An array of bitCount bits, all 0.
    explicit KivClBitArray(uint32_t bitCount);
    KivClBitArray(const KivClBitArray& other);
    // Frees this array's storage and takes the other's bit count and a copy of
    // its bytes.
    KivClBitArray& operator=(const KivClBitArray& other);
    ~KivClBitArray() override;

    // Equal when this array's storage bytes (bit count / 8 + 1 of them) equal
    // the first as many bytes of other's storage. The bit counts themselves
    // are not compared, so the relation is not symmetric when the storage
    // sizes differ; an other with less storage than this is never equal.
    bool operator==(const KivClBitArray& other) const;
    bool operator!=(const KivClBitArray& other) const { return !(*this == other); }

    // Writes the stream form described above.
    void write(std::ostream& out) const override;
    // Reads a stream form written by write(), resizing the array to the count
    // found. On a short stream the failbit is set and the array is unchanged.
    // Storage grows with the bytes actually read, so a corrupt count cannot
    // make it allocate far beyond the stream's real length.
    void read(std::istream& in) override;

    uint32_t getBitCount() const { return bitCount_; }
    // Number of storage bytes: bit count / 8 + 1.
    size_t getByteCount() const { return byteCountFor(bitCount_); }
    const unsigned char* getBytes() const { return bytes_; }

    // Single-bit access. An index at or beyond the bit count is refused:
    // setBit and clearBit return false and change nothing, testBit is false.
    bool setBit(uint32_t index, bool value = true);
    bool clearBit(uint32_t index) { return setBit(index, false); }
    bool testBit(uint32_t index) const;
    // Sets every bit to value (the spare bits past the count stay 0).
    void setAll(bool value);
    // Number of set bits among the first bit count bits.
    uint32_t countSetBits() const;

    static size_t byteCountFor(uint32_t bitCount) { return static_cast<size_t>(bitCount) / 8 + 1; }

private:
    uint32_t bitCount_;
    unsigned char* bytes_;
};

#endif  // KIV_BITARRAY_HPP
