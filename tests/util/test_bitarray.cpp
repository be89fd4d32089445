// Bit array: storage, single-bit access, copies, comparison and the stream form.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "kiv_bitarray.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string streamForm(const KivClBitArray& bits) {
    std::ostringstream out;
    bits.write(out);
    return out.str();
}

std::string bytesOf(const KivClBitArray& bits) {
    return std::string(reinterpret_cast<const char*>(bits.getBytes()), bits.getByteCount());
}

unsigned int largestRequest = 0;
void* recordingAllocator(unsigned int size) {
    largestRequest = std::max(largestRequest, size);
    return KivClMemoryManager::systemAllocator(size);
}

}  // namespace

TEST(BitArray, StorageSingleBitsSetAllCopiesAndCompare) {
    for (uint32_t count : {0u, 7u, 8u, 15u, 16u, 1000u}) {
        EXPECT_EQ(bytesOf(KivClBitArray(count)), std::string(count / 8 + 1, '\0')) << count << " bits";
    }
    KivClBitArray bits(12);
    for (uint32_t index : {0u, 9u, 11u}) EXPECT_TRUE(bits.setBit(index));
    // Indexes at or past the count are refused and change nothing.
    for (uint32_t index : {12u, 15u, UINT32_MAX}) {
        EXPECT_FALSE(bits.setBit(index) || bits.clearBit(index) || bits.testBit(index)) << index;
    }
    EXPECT_EQ(bytesOf(bits), std::string("\x01\x0A", 2));
    EXPECT_TRUE(bits.testBit(9) && !bits.testBit(1) && bits.countSetBits() == 3);
    EXPECT_TRUE(bits.clearBit(9) && bits.setBit(0, false));
    EXPECT_EQ(bytesOf(bits), std::string("\x00\x08", 2));
    // setAll leaves the spare bits past the count clear.
    KivClBitArray odd(13), whole(16);
    odd.setAll(true);
    whole.setAll(true);
    EXPECT_EQ(bytesOf(odd) + bytesOf(whole), std::string("\xFF\x1F\xFF\xFF\x00", 5));
    EXPECT_EQ(whole.countSetBits(), 16u);
    whole.setAll(false);
    EXPECT_EQ(bytesOf(whole), std::string(3, '\0'));

    KivClBitArray original(20);
    original.setBit(19);
    KivClBitArray copy(original), target(3);
    EXPECT_TRUE(copy == original);
    copy.setBit(4);
    EXPECT_TRUE(!original.testBit(4) && copy != original);
    target = original;
    EXPECT_EQ(streamForm(target), streamForm(original));
    // Comparison covers this array's storage bytes only; an other array with
    // less storage never compares equal.
    KivClBitArray wide(24);
    wide.setBit(16);
    EXPECT_TRUE(KivClBitArray(8) == KivClBitArray(9) && KivClBitArray(8) == wide);
    EXPECT_FALSE(KivClBitArray(16) == KivClBitArray(8));
    wide.setBit(1);
    EXPECT_FALSE(KivClBitArray(8) == wide);
}

TEST(BitArray, StreamFormAndShortOrCorruptStreams) {
    KivClBitArray bits(258);
    bits.setBit(0);
    bits.setBit(257);
    const std::string form = streamForm(bits);
    EXPECT_EQ(form, std::string("\x02\x01\x00\x00\x01", 5) + std::string(31, '\0') + "\x02");
    // A read whose count differs takes the array to the size in the stream,
    // and several arrays follow one another in one stream.
    std::stringstream stream(form + form);
    KivClBitArray smaller(5), larger(10000);
    smaller.read(stream);
    larger.read(stream);
    EXPECT_TRUE(!stream.fail() && streamForm(smaller) == form && streamForm(larger) == form);
    // Spare bits set in a stream round-trip as storage but are not array bits.
    const std::string spare("\x03\x00\x00\x00\xFF", 5);
    std::istringstream in(spare);
    smaller.read(in);
    ASSERT_FALSE(in.fail());
    EXPECT_TRUE(smaller.countSetBits() == 3 && !smaller.testBit(3));
    EXPECT_EQ(streamForm(smaller), spare);

    // A short or corrupt stream leaves the array unchanged.
    KivClBitArray target(10);
    target.setBit(7);
    const std::string before = bytesOf(target), small = streamForm(KivClBitArray(64));
    // The last stream claims 4 Gi bits with a few bytes behind them: reading it
    // must fail without allocating the half gigabyte it claims.
    const std::string streams[] = {"", small.substr(0, 3), small.substr(0, 4), small.substr(0, small.size() - 1),
                                   std::string("\xFF\xFF\xFF\xFF", 4) + std::string(100, 'x')};
    // No reallocator: reads must get by with fresh blocks.
    const kivtest::ScopedAllocatorHooks hooks(recordingAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    for (const std::string& stream : streams) {
        std::istringstream corrupt(stream);
        target.read(corrupt);
        EXPECT_TRUE(corrupt.fail() && target.getBitCount() == 10 && bytesOf(target) == before) << stream.size();
    }
    EXPECT_TRUE(largestRequest > 0 && largestRequest <= 64u * 1024u) << largestRequest;
    // An array of over 64 KiB (125,001 storage bytes) reads whole.
    KivClBitArray big(1000000);
    big.setBit(0);
    big.setBit(999999);
    std::istringstream whole(streamForm(big));
    target.read(whole);
    EXPECT_TRUE(!whole.fail() && streamForm(target) == streamForm(big));
}
