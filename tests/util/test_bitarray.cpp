// Bit array: storage, single-bit access, copies, comparison and the stream form.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "kiv_bitarray.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string streamForm(const KivClPersistencyABase& object) {
    std::ostringstream out;
    object.write(out);
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

TEST(BitArray, StorageSingleBitsAndSetAll) {
    for (uint32_t count : {0u, 7u, 8u, 15u, 16u, 1000u}) {
        KivClBitArray bits(count);
        ASSERT_EQ(bits.getByteCount(), count / 8 + 1) << count << " bits";
        EXPECT_EQ(bytesOf(bits), std::string(count / 8 + 1, '\0'));
        EXPECT_EQ(streamForm(bits).size(), 4 + count / 8 + 1);
    }

    KivClBitArray bits(12);
    for (uint32_t index : {0u, 9u, 11u}) EXPECT_TRUE(bits.setBit(index));
    EXPECT_EQ(bytesOf(bits), std::string("\x01\x0A", 2));
    EXPECT_TRUE(bits.testBit(9) && !bits.testBit(1));
    EXPECT_EQ(bits.countSetBits(), 3u);
    EXPECT_TRUE(bits.clearBit(9));
    EXPECT_TRUE(bits.setBit(0, false));
    EXPECT_EQ(bytesOf(bits), std::string("\x00\x08", 2));
    // Indexes at or past the count are refused and change nothing.
    for (uint32_t index : {12u, 15u, UINT32_MAX}) {
        EXPECT_FALSE(bits.setBit(index));
        EXPECT_FALSE(bits.clearBit(index));
        EXPECT_FALSE(bits.testBit(index));
    }
    EXPECT_EQ(bytesOf(bits), std::string("\x00\x08", 2));
    EXPECT_FALSE(KivClBitArray(0).testBit(0));

    // setAll leaves the spare bits past the count clear.
    KivClBitArray odd(13), whole(16);
    odd.setAll(true);
    whole.setAll(true);
    EXPECT_EQ(bytesOf(odd), std::string("\xFF\x1F", 2));
    EXPECT_EQ(bytesOf(whole), std::string("\xFF\xFF\x00", 3));
    EXPECT_EQ(whole.countSetBits(), 16u);
    whole.setAll(false);
    EXPECT_EQ(whole.countSetBits(), 0u);
}

TEST(BitArray, CopyAssignAndCompare) {
    KivClBitArray original(20);
    original.setBit(19);
    KivClBitArray copy(original);
    EXPECT_TRUE(copy == original);
    copy.setBit(4);
    EXPECT_FALSE(original.testBit(4));
    EXPECT_TRUE(copy != original);
    KivClBitArray target(3);
    target = original;
    KivClBitArray& alias = target;
    target = alias;
    EXPECT_EQ(streamForm(target), streamForm(original));

    // Comparison covers this array's storage bytes only; an other array with
    // less storage never compares equal.
    KivClBitArray wide(24);
    wide.setBit(16);
    EXPECT_TRUE(KivClBitArray(8) == KivClBitArray(9));
    EXPECT_TRUE(KivClBitArray(8) == wide);
    EXPECT_FALSE(KivClBitArray(16) == KivClBitArray(8));
    wide.setBit(1);
    EXPECT_FALSE(KivClBitArray(8) == wide);
}

TEST(BitArray, StreamForm) {
    KivClBitArray bits(258);
    bits.setBit(0);
    bits.setBit(257);
    const std::string form = streamForm(bits);
    ASSERT_EQ(form.size(), 4u + 33u);
    EXPECT_EQ(form.substr(0, 5), std::string("\x02\x01\x00\x00\x01", 5));
    EXPECT_EQ(form[4 + 32], '\x02');

    // A read whose count differs takes the array to the size in the stream,
    // and several arrays follow one another in one stream.
    std::stringstream stream(form + form);
    KivClBitArray smaller(5), larger(10000);
    smaller.read(stream);
    larger.read(stream);
    EXPECT_FALSE(stream.fail());
    EXPECT_EQ(streamForm(smaller), form);
    EXPECT_EQ(streamForm(larger), form);

    // Spare bits set in a stream round-trip as storage but are not array bits.
    const std::string spare("\x03\x00\x00\x00\xFF", 5);
    std::istringstream in(spare);
    KivClPersistencyABase& persistent = smaller;
    persistent.read(in);
    ASSERT_FALSE(in.fail());
    EXPECT_EQ(smaller.countSetBits(), 3u);
    EXPECT_FALSE(smaller.testBit(3));
    EXPECT_EQ(streamForm(smaller), spare);
}

TEST(BitArray, ShortOrCorruptStreamLeavesArrayUnchanged) {
    KivClBitArray bits(10);
    bits.setBit(7);
    const std::string before = bytesOf(bits), form = streamForm(KivClBitArray(64));
    // The last stream claims 4 Gi bits with a few bytes behind them: reading it
    // must fail without allocating the half gigabyte it claims.
    const std::string streams[] = {"", form.substr(0, 3), form.substr(0, 4), form.substr(0, form.size() - 1),
                                   std::string("\xFF\xFF\xFF\xFF", 4) + std::string(100, 'x')};
    // No reallocator: reads must get by with fresh blocks.
    const kivtest::ScopedAllocatorHooks hooks(recordingAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    for (const std::string& stream : streams) {
        std::istringstream in(stream);
        bits.read(in);
        EXPECT_TRUE(in.fail()) << stream.size() << " bytes";
        EXPECT_EQ(bits.getBitCount(), 10u);
        EXPECT_EQ(bytesOf(bits), before);
    }
    EXPECT_TRUE(largestRequest > 0 && largestRequest <= 64u * 1024u) << largestRequest;
    // An array of over 64 KiB (125,001 storage bytes) reads whole.
    KivClBitArray big(1000000);
    big.setBit(0);
    big.setBit(999999);
    std::istringstream in(streamForm(big));
    bits.read(in);
    EXPECT_FALSE(in.fail());
    EXPECT_EQ(streamForm(bits), streamForm(big));
}
