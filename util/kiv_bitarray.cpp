// Fixed-size bit array with a binary stream form.
#include "kiv_bitarray.hpp"

#include <algorithm>
#include <cstring>
#include <memory>

#include "foundation/kiv_memgrow.hpp"
#include "kiv_memmgr.hpp"

namespace {

// The stream form starts with the bit count in host byte order (the host is
// little-endian); this memcpy of the 32-bit count is the one place a
// big-endian port would change.
constexpr size_t COUNT_BYTES = sizeof(uint32_t);
// Storage read from a stream grows by at most this much before the bytes
// have actually arrived, so a corrupt count cannot make a huge allocation.
constexpr size_t READ_CHUNK = 64 * 1024;

unsigned char* allocateZeroed(size_t bytes) { return static_cast<unsigned char*>(kivCalloc(bytes, 1)); }

using OwnedBytes = std::unique_ptr<unsigned char, void (*)(void*)>;

// Reads exactly total bytes into fresh storage that doubles as the bytes
// arrive. Null (with failbit set) when the stream ends early.
OwnedBytes readStorage(std::istream& in, size_t total) {
    OwnedBytes buffer(nullptr, kivFree);
    for (size_t have = 0; have < total;) {
        const size_t capacity = std::min(total, std::max(READ_CHUNK, have * 2));
        void* grown = kivGrowBlock(buffer.get(), have, capacity);
        buffer.release();
        buffer.reset(static_cast<unsigned char*>(grown));
        const size_t want = capacity - have;
        in.read(reinterpret_cast<char*>(buffer.get() + have), static_cast<std::streamsize>(want));
        if (static_cast<size_t>(in.gcount()) != want) {
            in.setstate(std::ios::failbit);
            return OwnedBytes(nullptr, kivFree);
        }
        have = capacity;
    }
    return buffer;
}

}  // namespace

KivClBitArray::KivClBitArray(uint32_t bitCount)
    : bitCount_(bitCount), bytes_(allocateZeroed(byteCountFor(bitCount))) {}

KivClBitArray::KivClBitArray(const KivClBitArray& other)
    : KivClPersistencyABase(other), bitCount_(other.bitCount_),
      bytes_(static_cast<unsigned char*>(kivMalloc(other.getByteCount()))) {
    std::memcpy(bytes_, other.bytes_, other.getByteCount());
}

KivClBitArray& KivClBitArray::operator=(const KivClBitArray& other) {
    if (this == &other) return *this;
    // Copy first, so that a failed allocation leaves this array intact.
    unsigned char* copy = static_cast<unsigned char*>(kivMalloc(other.getByteCount()));
    std::memcpy(copy, other.bytes_, other.getByteCount());
    kivFree(bytes_);
    bytes_ = copy;
    bitCount_ = other.bitCount_;
    return *this;
}

KivClBitArray::~KivClBitArray() { kivFree(bytes_); }

// Compares as many storage bytes as this array holds. An other array with
// less storage cannot hold them all, so it is never equal.
bool KivClBitArray::operator==(const KivClBitArray& other) const {
    return getByteCount() <= other.getByteCount() &&
           std::memcmp(bytes_, other.bytes_, getByteCount()) == 0;
}

void KivClBitArray::write(std::ostream& out) const {
    char count[COUNT_BYTES];
    std::memcpy(count, &bitCount_, COUNT_BYTES);
    out.write(count, COUNT_BYTES);
    out.write(reinterpret_cast<const char*>(bytes_), static_cast<std::streamsize>(getByteCount()));
}

void KivClBitArray::read(std::istream& in) {
    char countBytes[COUNT_BYTES];
    in.read(countBytes, COUNT_BYTES);
    if (static_cast<size_t>(in.gcount()) != COUNT_BYTES) {
        in.setstate(std::ios::failbit);
        return;
    }
    uint32_t count = 0;
    std::memcpy(&count, countBytes, COUNT_BYTES);
    OwnedBytes storage = readStorage(in, byteCountFor(count));
    if (!storage) return;
    kivFree(bytes_);
    bytes_ = storage.release();
    bitCount_ = count;
}

bool KivClBitArray::setBit(uint32_t index, bool value) {
    if (index >= bitCount_) return false;
    const unsigned char mask = static_cast<unsigned char>(1u << (index % 8));
    if (value) {
        bytes_[index / 8] |= mask;
    } else {
        bytes_[index / 8] &= static_cast<unsigned char>(~mask);
    }
    return true;
}

bool KivClBitArray::testBit(uint32_t index) const {
    return index < bitCount_ && (bytes_[index / 8] & (1u << (index % 8))) != 0;
}

void KivClBitArray::setAll(bool value) {
    std::memset(bytes_, 0, getByteCount());
    if (!value) return;
    std::memset(bytes_, 0xFF, bitCount_ / 8);
    const uint32_t rest = bitCount_ % 8;
    bytes_[bitCount_ / 8] = static_cast<unsigned char>((1u << rest) - 1);
}

uint32_t KivClBitArray::countSetBits() const {
    uint32_t count = 0;
    for (size_t i = 0; i < bitCount_ / 8; ++i) count += static_cast<uint32_t>(__builtin_popcount(bytes_[i]));
    // Spare bits past the count (a stream may have set them) are not bits of the array.
    const unsigned lastMask = (1u << (bitCount_ % 8)) - 1;
    return count + static_cast<uint32_t>(__builtin_popcount(bytes_[bitCount_ / 8] & lastMask));
}
