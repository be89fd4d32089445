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
        for (unsigned int byte = 0; byte < 256; ++byte) {
            single[byte] = convert(converter, std::string(1, static_cast<char>(byte)), 2).bytes;
        }
        std::string expected;
        for (const char byte : input) expected += single[static_cast<unsigned char>(byte)];
        const Out whole = convert(converter, input, 2 * input.size());
        EXPECT_TRUE(whole.bytes == expected && whole.consumed == input.size() && whole.errorId == OK);
    }
}

// Long texts pieced together from a palette, converted once with room for
// the longest result (the block paths) and once with a target too small to
// promise that room (one character at a time) must agree. The palettes mix
// what the block paths take with, now and then, what they must leave to the
// character rules: four-byte and malformed sequences, surrogates and
// non-characters. Sequences cut short or whole also sit where a block's
// characters end.
TEST(ConverterFastPath, LongUtfTextsMatchCharacterByCharacter) {
    const std::vector<std::string> utf8Pieces = {
        "a", " ", "\xC3\xA9", "\xE2\x82\xAC", "\xDF\xBF", "\xEF\xBF\xBD", "\xC0\x80", "\xED\xA0\x80",
        "\xF0\x9F\x98\x80", "\x80", "\xC3", "\xE2\x82", "\xF8\x88\x80\x80\x80", "\xFF"};
    const std::vector<std::vector<uint16_t>> ucs2Pieces = {
        {'a'}, {' '}, {0xE9}, {0x20AC}, {0x7F}, {0x80}, {0x7FF}, {0x800}, {0xD7FF}, {0xE000}, {0xFFFD},
        {0xD83D, 0xDE00}, {0xDC00}, {0xD800}, {0xFDD0}, {0xFDEF}, {0xFFFE}, {0xFFFF}};
    // A three-byte start leaves the smaller target room for the rest.
    const std::string start = "\xE2\x82\xAC";
    std::vector<std::string> texts;
    for (const char* piece : {"\xC3", "\xE2\x82", "\xC3\xA9", "\xE2\x82\xAC"}) {
        for (size_t at = 27; at < 33; ++at) {
            texts.push_back(start + std::string(at - 3, 'a') + piece + std::string(64, 'a'));
        }
    }
    std::vector<std::vector<uint16_t>> unitTexts;
    uint32_t seed = 12345;
    const auto next = [&seed](uint32_t below) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % below;
    };
    // Pieces from the first `clean` entries, and one in `rarity` from all.
    const std::vector<std::pair<uint32_t, uint32_t>> mixes = {{4, 1000}, {6, 60}, {6, 5}, {2, 20}};
    for (const auto& [clean, rarity] : mixes) {
        for (int round = 0; round < 40; ++round) {
            const uint32_t pieces = 40 + next(300);
            std::string utf8 = start;
            std::vector<uint16_t> units = {'a'};
            for (uint32_t i = 0; i < pieces; ++i) {
                const bool rare = next(rarity) == 0;
                utf8 += utf8Pieces[next(rare ? utf8Pieces.size() : clean)];
                const auto& unit = ucs2Pieces[next(rare ? ucs2Pieces.size() : clean)];
                units.insert(units.end(), unit.begin(), unit.end());
            }
            texts.push_back(utf8);
            unitTexts.push_back(units);
        }
    }
    const KivClCodePage2UnicodeConverter decoder{KivClCCSID(1208)};
    for (size_t i = 0; i < texts.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "UTF-8 text " << i);
        const Out blocks = convert(decoder, texts[i], 2 * texts[i].size());
        const Out single = convert(decoder, texts[i], 2 * texts[i].size() - 2);
        EXPECT_TRUE(blocks.bytes == single.bytes && blocks.consumed == single.consumed &&
                    blocks.errorId == single.errorId);
    }
    const KivClUnicode2CodePageConverter encoder{KivClCCSID(1208)};
    for (size_t i = 0; i < unitTexts.size(); ++i) {
        SCOPED_TRACE(testing::Message() << "UCS-2 text " << i);
        const std::string ucs2(reinterpret_cast<const char*>(unitTexts[i].data()), 2 * unitTexts[i].size());
        const Out blocks = convert(encoder, ucs2, 3 * unitTexts[i].size());
        const Out single = convert(encoder, ucs2, 3 * unitTexts[i].size() - 1);
        EXPECT_TRUE(blocks.bytes == single.bytes && blocks.consumed == ucs2.size() && blocks.errorId == OK &&
                    single.errorId == OK);
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
