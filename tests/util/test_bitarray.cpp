// Bit array: storage, single-bit access, copies and the stream form.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

#include "kiv_bitarray.hpp"
#include "kiv_memmgr.hpp"

namespace {

std::string streamForm(const KivClBitArray& bits) {
    std::ostringstream out;
    bits.write(out);
    return out.str();
}

std::string bytesOf(const KivClBitArray& bits) {
    return std::string(reinterpret_cast<const char*>(bits.getBytes()), bits.getByteCount());
}

// Largest single request seen by the allocator hooks while installed.
unsigned int largestRequest = 0;
void* recordingAllocator(unsigned int size) {
    if (size > largestRequest) largestRequest = size;
    return std::malloc(size == 0 ? 1 : size);
}
void* recordingReallocator(void* pointer, unsigned int size) {
    if (size > largestRequest) largestRequest = size;
    return std::realloc(pointer, size == 0 ? 1 : size);
}

}  // namespace

TEST(BitArray, StorageSizeAndZeroFill) {
    const struct {
        uint32_t bits;
        size_t bytes;
    } cases[] = {{0, 1}, {1, 1}, {7, 1}, {8, 2}, {9, 2}, {15, 2}, {16, 3}, {1000, 126}};
    for (const auto& c : cases) {
        KivClBitArray bits(c.bits);
        EXPECT_EQ(bits.getBitCount(), c.bits);
        ASSERT_EQ(bits.getByteCount(), c.bytes) << c.bits << " bits";
        EXPECT_EQ(bytesOf(bits), std::string(c.bytes, '\0'));
        EXPECT_EQ(streamForm(bits).size(), 4 + c.bytes);
        EXPECT_EQ(bits.countSetBits(), 0u);
    }
}

TEST(BitArray, SingleBitsAndBitOrder) {
    KivClBitArray bits(12);
    EXPECT_TRUE(bits.setBit(0));
    EXPECT_TRUE(bits.setBit(9));
    EXPECT_TRUE(bits.setBit(11));
    EXPECT_EQ(bits.getBytes()[0], 0x01);
    EXPECT_EQ(bits.getBytes()[1], 0x0A);
    EXPECT_TRUE(bits.testBit(0));
    EXPECT_FALSE(bits.testBit(1));
    EXPECT_TRUE(bits.testBit(9));
    EXPECT_EQ(bits.countSetBits(), 3u);
    EXPECT_TRUE(bits.clearBit(9));
    EXPECT_FALSE(bits.testBit(9));
    EXPECT_TRUE(bits.setBit(0, false));
    EXPECT_EQ(bits.getBytes()[0], 0x00);
    EXPECT_EQ(bits.getBytes()[1], 0x08);

    // Indexes at or past the count are refused and change nothing.
    const std::string before = bytesOf(bits);
    EXPECT_FALSE(bits.setBit(12));
    EXPECT_FALSE(bits.setBit(15));
    EXPECT_FALSE(bits.setBit(UINT32_MAX));
    EXPECT_FALSE(bits.clearBit(12));
    EXPECT_FALSE(bits.testBit(12));
    EXPECT_FALSE(bits.testBit(UINT32_MAX));
    EXPECT_EQ(bytesOf(bits), before);

    KivClBitArray empty(0);
    EXPECT_FALSE(empty.setBit(0));
    EXPECT_FALSE(empty.testBit(0));
}

TEST(BitArray, SetAllKeepsSpareBitsClear) {
    KivClBitArray bits(13);
    bits.setAll(true);
    EXPECT_EQ(bits.getBytes()[0], 0xFF);
    EXPECT_EQ(bits.getBytes()[1], 0x1F);
    EXPECT_EQ(bits.countSetBits(), 13u);
    bits.setAll(false);
    EXPECT_EQ(bits.countSetBits(), 0u);
    EXPECT_EQ(bytesOf(bits), std::string(2, '\0'));

    KivClBitArray whole(16);
    whole.setAll(true);
    EXPECT_EQ(bytesOf(whole), std::string("\xFF\xFF\x00", 3));
    EXPECT_EQ(whole.countSetBits(), 16u);
}

TEST(BitArray, CopyAssignAndCompare) {
    KivClBitArray original(20);
    original.setBit(3);
    original.setBit(19);
    KivClBitArray copy(original);
    EXPECT_TRUE(copy == original);
    copy.setBit(4);
    EXPECT_FALSE(original.testBit(4));
    EXPECT_TRUE(copy != original);

    KivClBitArray target(3);
    target = original;
    EXPECT_EQ(target.getBitCount(), 20u);
    EXPECT_EQ(bytesOf(target), bytesOf(original));
    EXPECT_TRUE(target == original);
    KivClBitArray& alias = target;
    target = alias;
    EXPECT_TRUE(target == original);

    KivClBitArray smaller(8);
    smaller = KivClBitArray(0);
    EXPECT_EQ(smaller.getByteCount(), 1u);

    // Comparison looks at storage: different storage sizes never compare
    // equal, and arrays sharing a storage size compare by their bytes.
    EXPECT_FALSE(KivClBitArray(0) == KivClBitArray(8));
    EXPECT_FALSE(KivClBitArray(16) == KivClBitArray(8));
    EXPECT_TRUE(KivClBitArray(8) == KivClBitArray(9));
}

TEST(BitArray, StreamFormRoundTrip) {
    KivClBitArray bits(258);
    bits.setBit(0);
    bits.setBit(257);
    const std::string form = streamForm(bits);
    ASSERT_EQ(form.size(), 4u + 33u);
    EXPECT_EQ(form.substr(0, 4), std::string("\x02\x01\x00\x00", 4));
    EXPECT_EQ(static_cast<unsigned char>(form[4]), 0x01);
    EXPECT_EQ(static_cast<unsigned char>(form[4 + 32]), 0x02);

    // Reading takes the array to the size found in the stream.
    KivClBitArray smaller(5);
    std::istringstream in(form);
    smaller.read(in);
    EXPECT_FALSE(in.fail());
    EXPECT_EQ(smaller.getBitCount(), 258u);
    EXPECT_TRUE(smaller == bits);
    EXPECT_TRUE(smaller.testBit(257));

    KivClBitArray larger(10000);
    std::istringstream again(form);
    larger.read(again);
    EXPECT_EQ(larger.getByteCount(), 33u);
    EXPECT_TRUE(larger == bits);

    // Several arrays follow one another in a stream.
    KivClBitArray first(3), second(17);
    first.setBit(2);
    second.setBit(16);
    std::stringstream both;
    first.write(both);
    second.write(both);
    KivClBitArray readFirst(0), readSecond(0);
    readFirst.read(both);
    readSecond.read(both);
    EXPECT_TRUE(readFirst == first);
    EXPECT_TRUE(readSecond == second);
    EXPECT_EQ(readSecond.getBitCount(), 17u);
    EXPECT_FALSE(both.fail());
}

TEST(BitArray, ShortOrCorruptStreamLeavesArrayUnchanged) {
    KivClBitArray bits(10);
    bits.setBit(7);
    const std::string before = bytesOf(bits);
    const std::string form = streamForm(KivClBitArray(64));
    for (size_t cut : {size_t{0}, size_t{3}, size_t{4}, form.size() - 1}) {
        std::istringstream in(form.substr(0, cut));
        bits.read(in);
        EXPECT_TRUE(in.fail()) << "cut at " << cut;
        EXPECT_EQ(bits.getBitCount(), 10u);
        EXPECT_EQ(bytesOf(bits), before);
    }

    // A stored count of 4 Gi bits with a few bytes behind it must fail
    // without allocating the half gigabyte it claims.
    KivClMemoryManager::setNewMemoryManager(recordingAllocator, recordingReallocator, std::free);
    largestRequest = 0;
    std::istringstream corrupt(std::string("\xFF\xFF\xFF\xFF", 4) + std::string(100, 'x'));
    bits.read(corrupt);
    const unsigned int seen = largestRequest;
    KivClMemoryManager::setNewMemoryManager(KivClMemoryManager::systemAllocator,
                                            KivClMemoryManager::systemReallocator,
                                            KivClMemoryManager::systemDeallocator);
    EXPECT_TRUE(corrupt.fail());
    EXPECT_GT(seen, 0u);
    EXPECT_LE(seen, 64u * 1024u);
    EXPECT_EQ(bits.getBitCount(), 10u);
    EXPECT_EQ(bytesOf(bits), before);
}

TEST(BitArray, StreamSpareBitsAreNotArrayBits) {
    // A hand-made stream with bits set past the count: they round-trip as
    // storage but are not bits of the array.
    std::istringstream in(std::string("\x03\x00\x00\x00\xFF", 5));
    KivClBitArray bits(0);
    bits.read(in);
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(bits.getBitCount(), 3u);
    EXPECT_EQ(bits.countSetBits(), 3u);
    EXPECT_TRUE(bits.testBit(2));
    EXPECT_FALSE(bits.testBit(3));
    EXPECT_EQ(streamForm(bits), std::string("\x03\x00\x00\x00\xFF", 5));

    KivClPersistencyABase& persistent = bits;
    std::ostringstream out;
    persistent.write(out);
    EXPECT_EQ(out.str().size(), 5u);
}
