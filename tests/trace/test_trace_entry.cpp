// Trace records: compression vectors, bit packing, building records and
// reading them back.
#include <gtest/gtest.h>

#include <random>

#include <unistd.h>

#include "kiv_trace.hpp"
#include "trace_test_helpers.hpp"

namespace {

std::vector<unsigned char> compress(const std::string& text, uint32_t limit = 255) {
    std::vector<unsigned char> out(limit + 1, 0xAA);
    out.resize(KivClTraceEntry::compressCString(out.data(), text.c_str(), limit));
    return out;
}

std::string decompress(const std::vector<unsigned char>& packed) {
    char text[KivClTraceEntry::MAX_DECOMPRESSED_LENGTH + 1];
    return std::string(text, KivClTraceEntry::deCompressCString(
                                 text, packed.data(), static_cast<uint32_t>(packed.size())));
}

const char kAlphabet[] = " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

}  // namespace

TEST(TraceCompression, Vectors) {
    const std::string letters(400, 'q'), digits(200, '7');
    // packed empty: only the size is checked.
    struct Row { std::string text; std::vector<unsigned char> packed; size_t size; std::string decoded; } rows[] = {
        {"AB", {0x2C, 0xCF}, 2, "AB"},
        {"a1", {0x97, 0xF3, 0x1F}, 3, "a1"},
        {"", {}, 0, ""},
        {"\xFF", {0xFF, 0xFF}, 2, "\xFF"},
        {"zzzz", {0xFB, 0xEF, 0xBE}, 3, "zzzz"},  // code 62 four times: no fill
        {letters, {}, 255, letters.substr(0, 339)},  // 2034 bits and 6 fill bits
        {digits, {}, 254, digits.substr(0, 145)},    // 14 bits per escaped digit
    };
    for (const Row& row : rows) {
        const std::vector<unsigned char> packed = compress(row.text);
        EXPECT_EQ(packed.size(), row.size) << row.text.substr(0, 8);
        if (!row.packed.empty()) {
            EXPECT_EQ(packed, row.packed);
        }
        EXPECT_EQ(decompress(packed), row.decoded);
    }
}

TEST(TraceCompression, RandomTextsRoundTrip) {
    std::mt19937 random(4711);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 420, ' ');
        size_t bits = 0;
        for (char& c : text) {
            c = random() % 2 ? kAlphabet[random() % 63] : static_cast<char>(1 + random() % 255);
            bits += strchr(kAlphabet, c) != nullptr ? 6 : 14;
        }
        const uint32_t limit = 1 + random() % 255;
        const std::vector<unsigned char> packed = compress(text, limit);
        ASSERT_LE(packed.size(), limit);
        const std::string decoded = decompress(packed);
        // A prefix always, the whole text when it fits the limit.
        ASSERT_EQ(decoded, text.substr(0, bits <= 8 * limit - 8 ? text.size() : decoded.size())) << round;
    }
}

// The encoder must give, byte for byte, what writing each code with
// compressWriteBits gives, and touch nothing past the bytes it reports.
TEST(TraceCompression, MatchesCodeByCodePacking) {
    std::mt19937 random(90210);
    for (int round = 0; round < 3000; ++round) {
        std::string text(random() % 420, ' ');
        for (char& c : text) {
            c = random() % 3 ? kAlphabet[random() % 63] : static_cast<char>(1 + random() % 255);
        }
        const uint32_t limit = 1 + random() % 255;
        std::vector<unsigned char> expected(limit + 2, 0);
        uint32_t bit = 0;
        for (const char c : text) {
            const char* at = strchr(kAlphabet, c);
            if (at != nullptr) {
                KivClTraceEntry::compressWriteBits(expected.data(), bit, static_cast<uint32_t>(at - kAlphabet), 6);
                bit += 6;
            } else {
                if (bit + 14 > 8 * limit) break;
                KivClTraceEntry::compressWriteBits(expected.data(), bit, 63, 6);
                KivClTraceEntry::compressWriteBits(expected.data(), bit + 6, static_cast<unsigned char>(c), 8);
                bit += 14;
            }
            if (bit > 8 * limit - 8) break;
        }
        if (bit % 8 != 0) {
            KivClTraceEntry::compressWriteBits(expected.data(), bit, (1u << (8 - bit % 8)) - 1, 8 - bit % 8);
            bit += 8 - bit % 8;
        }
        expected.resize(bit / 8);

        std::vector<unsigned char> out(limit + 1, 0xAA);
        const uint32_t size = KivClTraceEntry::compressCString(out.data(), text.c_str(), limit);
        ASSERT_EQ(std::vector<unsigned char>(out.begin(), out.begin() + size), expected) << round;
        for (size_t i = size; i < out.size(); ++i) ASSERT_EQ(out[i], 0xAA) << round << " byte " << i;
    }
}

// The decoder must read any bytes, not only the encoder's, exactly as
// reading each code with deCompressReadBits does.
TEST(TraceCompression, DecoderMatchesCodeByCodeReading) {
    std::mt19937 random(1302);
    for (int round = 0; round < 3000; ++round) {
        std::vector<unsigned char> packed(random() % 256);
        for (unsigned char& byte : packed) byte = static_cast<unsigned char>(round % 3 ? random() : random() | 0xFC);
        packed.push_back(0);  // room for the reader's look-ahead byte
        const uint32_t size = static_cast<uint32_t>(packed.size() - 1);
        std::string expected;
        for (uint32_t bit = 0; 8 * size - bit >= 6;) {
            const uint32_t code = KivClTraceEntry::deCompressReadBits(packed.data(), bit, 6);
            bit += 6;
            if (code < 63) {
                expected += kAlphabet[code];
                continue;
            }
            if (8 * size - bit < 8) break;
            expected += static_cast<char>(KivClTraceEntry::deCompressReadBits(packed.data(), bit, 8));
            bit += 8;
        }
        char text[KivClTraceEntry::MAX_DECOMPRESSED_LENGTH + 1];
        const uint32_t count = KivClTraceEntry::deCompressCString(text, packed.data(), size);
        ASSERT_EQ(std::string(text, count), expected) << round;
        ASSERT_EQ(text[count], '\0');
    }
}

TEST(TraceCompression, BitPackingAcrossBytes) {
    unsigned char buffer[3] = {0xFF, 0xFF, 0x5A};
    KivClTraceEntry::compressWriteBits(buffer, 0, 0x05, 3);  // aligned: assigns the byte
    EXPECT_EQ(buffer[0], 0xA0);
    KivClTraceEntry::compressWriteBits(buffer, 3, 0x3F, 6);  // crosses into byte 1
    EXPECT_EQ((std::vector<int>{buffer[0], buffer[1], buffer[2]}), (std::vector<int>{0xBF, 0x80, 0x5A}));
    EXPECT_EQ(KivClTraceEntry::deCompressReadBits(buffer, 3, 6), 0x3Fu);
    EXPECT_EQ(KivClTraceEntry::deCompressReadBits(buffer, 16, 8), 0x5Au);
}

class TraceEntryTest : public ::testing::Test {
protected:
    TraceEntryTest() : vars_("KIVTENTRY", dir_) { vars_.set("BUFSIZE", "0"); }
    kivtest::TempDir dir_;
    kivtest::TraceKeyEnv vars_;
};

TEST_F(TraceEntryTest, NullAndOversizedDataAndHeaderFields) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    ASSERT_EQ(environment.getBufferSize(), 4072u);
    const std::string big(5000, 'x');
    struct Row {
        const void* data;
        unsigned length;
        KivEnTraceDataType type, storedType;
        unsigned storedLength;
    } rows[] = {
        {big.data(), 4072, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA, 4072},
        {big.data(), 4073, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {big.data(), 5000, KIV_TRACE_TYPE_INT32, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {nullptr, 5000, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_NULL, 0},
    };
    for (const Row& row : rows) {
        KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_MED, 0x1234, row.type, "fn", "msg",
                              row.data, row.length);
        EXPECT_EQ(entry.getType(), row.storedType) << row.length;
        EXPECT_EQ(entry.getDataLength(), row.storedLength) << row.length;
        const _KivStTraceRecordHeader header = entry.getHeader();
        EXPECT_EQ(header.componentId, 0x34);
        EXPECT_EQ(header.processId, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(header.threadId, static_cast<uint32_t>(gettid()));
        entry.setType(KIV_TRACE_TYPE_BOOL);  // keeps detail and compression
        EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_MED);
        entry.setDetail(KIV_TRACE_DETAIL_HIGH);
        EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_BOOL);
        EXPECT_TRUE(entry.isCompressed());
    }
}

TEST_F(TraceEntryTest, TextsCompressedOrCutMessageFirst) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    const KivClTraceEntry packed(environment, KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA,
                                 "AB", "a1", nullptr, 0);
    const unsigned char expected[] = {0x97, 0xF3, 0x1F, 0x2C, 0xCF};
    ASSERT_EQ(packed.getHeaderAndTextLength(), 20u + sizeof(expected));
    EXPECT_EQ(memcmp(packed.getHeaderAndText() + 20, expected, sizeof(expected)), 0);
    EXPECT_EQ(packed.getHeader().length1, 3);

    environment.getSettings().setFlag(KivClTraceSettings::FLAG_COMPRESSION, false);
    const KivClTraceEntry plain(environment, KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA,
                                "func", std::string(300, 'm').c_str(), nullptr, 0);
    EXPECT_FALSE(plain.isCompressed());
    EXPECT_EQ(plain.getHeader().length1, 255);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(plain.getHeaderAndText()) + 274, 5), "mfunc");
}
