// The block loops of long conversions give what the plain paths give: bytes
// one at a time for single-byte tables, an exact target for UCS-2 to UTF-8.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kiv_converter.hpp"

namespace {

struct Out { std::string bytes; size_t consumed; uint32_t errorId; };

Out convert(const KivClConverterABase& converter, const std::string& in, size_t targetSize) {
    std::vector<char> target(targetSize + 1, '\x55');
    const char* source = in.data();
    const unsigned int n = converter.convertBytes(target.data(), static_cast<unsigned int>(targetSize), &source,
                                                  static_cast<unsigned int>(in.size()));
    EXPECT_EQ(target[targetSize], '\x55') << "wrote past the target";
    return {std::string(target.data(), n), static_cast<size_t>(source - in.data()), converter.getError().errorId};
}

constexpr uint32_t OK = KIV_ERRID_NO_ERROR, TOO_BIG = KIV_ERRID_CPCONVERTER_TOO_BIG;

}  // namespace

// Printable text with one odd byte every step bytes: a step of 17 moves it
// through every position of a sixteen-byte block, 1000 leaves whole blocks
// printable, 3 puts several in each block.
TEST(ConverterFastPath, SingleByteBlocksMatchByteByByte) {
    struct Row { unsigned int ccsid; size_t length, step; char odd; size_t targetSize, consumed; uint32_t errorId; };
    const Row rows[] = {
        {850, 511, 17, '\xE9', 1022, 511, OK},      {850, 512, 17, '\x1A', 1024, 512, OK},
        {1252, 529, 17, '\x7F', 1058, 529, OK},     {437, 1000, 17, '\x1C', 2000, 1000, OK},
        {1252, 4096, 1000, '\x80', 8192, 4096, OK}, {850, 600, 3, '\n', 1200, 600, OK},
        {37, 600, 17, '\x15', 1200, 600, OK},       {850, 600, 17, '\xE9', 1198, 599, TOO_BIG},
        {1252, 600, 17, '\xE9', 1195, 597, TOO_BIG},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.ccsid << " length " << row.length << " step " << row.step);
        const KivClCodePage2UnicodeConverter converter{KivClCCSID(row.ccsid)};
        std::string input;
        for (size_t i = 0; i < row.length; ++i) input += i % row.step == 0 ? row.odd : static_cast<char>(0x20 + i % 95);
        std::string expected;
        for (size_t i = 0; i < row.consumed; ++i) expected += convert(converter, input.substr(i, 1), 2).bytes;
        const Out whole = convert(converter, input, row.targetSize);
        EXPECT_TRUE(whole.bytes == expected && whole.consumed == row.consumed && whole.errorId == row.errorId);
    }
}

// Every byte value at every position of a 64-byte block, and a tail that
// does not fill one: whole-table lookups agree with single bytes.
TEST(ConverterFastPath, EveryByteOfLongInputsMatchesByteByByte) {
    std::string input;
    for (size_t i = 0; i < 64 * 256 + 37; ++i) input += static_cast<char>((i * 7 + i / 256) % 256);
    for (const unsigned int ccsid : {37u, 273u, 437u, 850u, 1252u}) {
        SCOPED_TRACE(ccsid);
        const KivClCodePage2UnicodeConverter converter{KivClCCSID(ccsid)};
        std::string single[256];
        for (unsigned int byte = 0; byte < 256; ++byte) single[byte] = convert(converter, std::string(1, char(byte)), 2).bytes;
        std::string expected;
        for (const char byte : input) expected += single[static_cast<unsigned char>(byte)];
        const Out whole = convert(converter, input, 2 * input.size());
        EXPECT_TRUE(whole.bytes == expected && whole.consumed == input.size() && whole.errorId == OK);
    }
}

// A unit that is not one byte long at each of the first eight positions, with
// and without a trailing odd byte; a target one byte short stops with TOO_BIG.
TEST(ConverterFastPath, Ucs2ToUtf8RoundsMatchAnExactTarget) {
    const std::vector<std::vector<uint16_t>> specials = {{0xE9},   {0x20AC}, {0xD83D, 0xDE00}, {0xDC00},
                                                         {0xFFFE}, {0xD800}, {0xFDD0}};
    const KivClUnicode2CodePageConverter encoder{KivClCCSID(1208)};
    for (const auto& special : specials) {
        for (size_t round = 0; round < 16; ++round) {
            const size_t at = round / 2, oddBytes = round % 2;
            SCOPED_TRACE(testing::Message() << std::hex << special[0] << " at " << at << " odd " << oddBytes);
            std::vector<uint16_t> units(at, 'a');
            units.insert(units.end(), special.begin(), special.end());
            units.insert(units.end(), 9, 'z');
            const std::string input =
                std::string(reinterpret_cast<const char*>(units.data()), 2 * units.size()) + std::string(oddBytes, 'x');
            const Out ample = convert(encoder, input, 3 * input.size());
            EXPECT_EQ(ample.consumed, 2 * units.size());
            EXPECT_EQ(ample.errorId, oddBytes != 0 ? KIV_ERRID_CPCONVERTER_INCOMPLETE : OK);
            const Out exact = convert(encoder, input, ample.bytes.size());
            EXPECT_TRUE(exact.bytes == ample.bytes && exact.errorId == ample.errorId);
            const Out tight = convert(encoder, input, ample.bytes.size() - 1);
            EXPECT_TRUE(tight.errorId == TOO_BIG && tight.bytes == ample.bytes.substr(0, tight.bytes.size()));
        }
    }
}
