// Trace records: compression vectors, bit packing, record building and
// reading records back.
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "kiv_trace.hpp"
#include "trace_test_helpers.hpp"

using kivtest::TempDir;
using kivtest::TraceKeyEnv;

namespace {

std::vector<unsigned char> compress(const std::string& text, uint32_t limit = 255) {
    std::vector<unsigned char> out(limit + 1, 0xAA);
    out.resize(KivClTraceEntry::compressCString(out.data(), text.c_str(), limit));
    return out;
}

std::string decompress(const std::vector<unsigned char>& packed) {
    char text[KivClTraceEntry::MAX_DECOMPRESSED_LENGTH + 1];
    const uint32_t count = KivClTraceEntry::deCompressCString(text, packed.data(),
                                                              static_cast<uint32_t>(packed.size()));
    EXPECT_EQ(count, strlen(text));
    return std::string(text, count);
}

const char kAlphabet[] = " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

}  // namespace

TEST(TraceCompression, Vectors) {
    const std::string letters400(400, 'q');
    const std::string digits(200, '7');
    struct Row {
        std::string text;
        std::vector<unsigned char> packed;  // empty: only the size is checked
        size_t size;
        std::string decoded;
    } rows[] = {
        {"AB", {0x2C, 0xCF}, 2, "AB"},
        {"a1", {0x97, 0xF3, 0x1F}, 3, "a1"},
        {"", {}, 0, ""},
        {"\xFF", {0xFF, 0xFF}, 2, "\xFF"},
        {" ", {0x03}, 1, " "},  // code 0 and two fill bits
        {"zzzz", {0xFB, 0xEF, 0xBE}, 3, "zzzz"},  // code 62 four times: 24 bits, no fill
        // 339 letters fill 2034 bits, plus 6 fill bits: 255 bytes.
        {letters400, {}, 255, letters400.substr(0, 339)},
        // Escaped characters take 14 bits: 145 of them fit before the limit.
        {digits, {}, 254, digits.substr(0, 145)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 10));
        const std::vector<unsigned char> packed = compress(row.text);
        EXPECT_EQ(packed.size(), row.size);
        if (!row.packed.empty()) {
            EXPECT_EQ(packed, row.packed);
        }
        EXPECT_EQ(decompress(packed), row.decoded);
    }
}

TEST(TraceCompression, EveryAlphabetCharacterHasItsPosition) {
    for (uint32_t code = 0; code < 63; ++code) {
        const char text[2] = {kAlphabet[code], '\0'};
        const std::vector<unsigned char> packed = compress(text);
        ASSERT_EQ(packed.size(), 1u);
        EXPECT_EQ(KivClTraceEntry::deCompressReadBits(packed.data(), 0, 6), code) << text;
    }
}

TEST(TraceCompression, RandomTextsRoundTrip) {
    std::mt19937 random(4711);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 420, ' ');
        size_t bits = 0;
        for (char& c : text) {
            // Half the characters from the alphabet, the rest any non-NUL byte.
            c = random() % 2 ? kAlphabet[random() % 63] : static_cast<char>(1 + random() % 255);
            bits += strchr(kAlphabet, c) != nullptr ? 6 : 14;
        }
        const uint32_t limit = 1 + random() % 255;
        const std::vector<unsigned char> packed = compress(text, limit);
        ASSERT_LE(packed.size(), limit);
        const std::string decoded = decompress(packed);
        ASSERT_EQ(decoded, text.substr(0, decoded.size())) << "round " << round;
        if (bits <= 8 * limit - 8) {
            ASSERT_EQ(decoded, text) << "round " << round;
        }
    }
}

TEST(TraceCompression, BitPackingAcrossBytes) {
    unsigned char buffer[3] = {0xFF, 0xFF, 0x5A};
    // An aligned write assigns the whole byte; a write that crosses into the
    // next byte assigns it; the byte after stays untouched.
    KivClTraceEntry::compressWriteBits(buffer, 0, 0x05, 3);  // 101
    EXPECT_EQ(buffer[0], 0xA0);
    KivClTraceEntry::compressWriteBits(buffer, 3, 0x3F, 6);  // 111111 over bytes 0 and 1
    EXPECT_EQ(buffer[0], 0xBF);
    EXPECT_EQ(buffer[1], 0x80);
    EXPECT_EQ(buffer[2], 0x5A);
    EXPECT_EQ(KivClTraceEntry::deCompressReadBits(buffer, 3, 6), 0x3Fu);
    EXPECT_EQ(KivClTraceEntry::deCompressReadBits(buffer, 0, 3), 5u);
    EXPECT_EQ(KivClTraceEntry::deCompressReadBits(buffer, 16, 8), 0x5Au);
}

class TraceEntryTest : public ::testing::Test {
protected:
    TraceEntryTest() : vars_("KIVTENTRY", dir_) { vars_.set("BUFSIZE", "0"); }
    TempDir dir_;
    TraceKeyEnv vars_;
};

TEST_F(TraceEntryTest, BuildsHeaderTextsAndDataRules) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    ASSERT_EQ(environment.getBufferSize(), 4072u);
    const std::string big(5000, 'x');
    struct Row {
        const void* data;
        unsigned length;
        KivEnTraceDataType type;
        KivEnTraceDataType storedType;
        unsigned storedLength;
    } rows[] = {
        {big.data(), 4072, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA, 4072},
        {big.data(), 4073, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {big.data(), 5000, KIV_TRACE_TYPE_INT32, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {nullptr, 5000, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_NULL, 0},
        {nullptr, 4, KIV_TRACE_TYPE_INT32, KIV_TRACE_TYPE_DATA_NULL, 0},
        {big.data(), 0, KIV_TRACE_TYPE_NO_DATA, KIV_TRACE_TYPE_NO_DATA, 0},
    };
    for (const Row& row : rows) {
        const KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_MED, 0x1234, row.type, "fn",
                                    "msg", row.data, row.length);
        EXPECT_EQ(entry.getType(), row.storedType) << row.length;
        EXPECT_EQ(entry.getDataLength(), row.storedLength) << row.length;
        EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_MED);
        const _KivStTraceRecordHeader header = entry.getHeader();
        EXPECT_EQ(header.componentId, 0x34);
        EXPECT_EQ(header.processId, static_cast<uint32_t>(getpid()));
        EXPECT_EQ(header.threadId, static_cast<uint32_t>(gettid()));
    }
}

TEST_F(TraceEntryTest, TextsCompressedOrCutMessageFirst) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    const KivClTraceEntry packed(environment, KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA,
                                 "AB", "a1", nullptr, 0);
    EXPECT_TRUE(packed.isCompressed());
    const unsigned char expected[] = {0x97, 0xF3, 0x1F, 0x2C, 0xCF};
    ASSERT_EQ(packed.getHeaderAndTextLength(), 20u + sizeof(expected));
    EXPECT_EQ(memcmp(packed.getHeaderAndText() + 20, expected, sizeof(expected)), 0);
    EXPECT_EQ(packed.getHeader().length1, 3);
    EXPECT_EQ(packed.getHeader().length2, 2);

    environment.getSettings().setFlag(KivClTraceSettings::FLAG_COMPRESSION, false);
    const std::string longText(300, 'm');
    const KivClTraceEntry plain(environment, KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA,
                                "func", longText.c_str(), nullptr, 0);
    EXPECT_FALSE(plain.isCompressed());
    EXPECT_EQ(plain.getHeader().length1, 255);
    EXPECT_EQ(plain.getHeaderAndTextLength(), 20u + 255u + 4u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(plain.getHeaderAndText()) + 275, 4), "func");
}

TEST_F(TraceEntryTest, TypeAndDetailAccessorsKeepTheOtherBits) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_HIGH, 0, KIV_TRACE_TYPE_UINT64, "", "",
                          "12345678", 8);
    entry.setType(KIV_TRACE_TYPE_BOOL);
    EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_HIGH);
    EXPECT_TRUE(entry.isCompressed());
    entry.setDetail(KIV_TRACE_DETAIL_LOW);
    EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_BOOL);
    EXPECT_TRUE(entry.isCompressed());
    const KivClTraceEntry empty(environment);
    EXPECT_EQ(empty.getHeaderAndTextLength(), 20u);
    EXPECT_EQ(empty.getType(), KIV_TRACE_TYPE_NONE);
    EXPECT_EQ(empty.getData(), nullptr);
}

TEST_F(TraceEntryTest, FileEntryReadsRecordsBackAndCountsCompression) {
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    const KivClTraceEntry first(environment, KIV_TRACE_DETAIL_LOW, 7, KIV_TRACE_TYPE_INT32,
                                "main", "count 1", "\x01\x00\x00\x00", 4);
    std::string bytes(reinterpret_cast<const char*>(first.getHeaderAndText()),
                      first.getHeaderAndTextLength());
    bytes += std::string("\x01\x00\x00\x00", 4);
    bytes += kivtest::makeRecord({KIV_TRACE_TYPE_NO_DATA, "plain", "f", ""});

    std::istringstream in(bytes);
    KivClTraceFileEntry entry(environment);
    ASSERT_TRUE(entry.read(in));
    EXPECT_STREQ(entry.getMessage(), "count 1");
    EXPECT_STREQ(entry.getFunctionName(), "main");
    EXPECT_EQ(entry.getDataLength(), 4u);
    EXPECT_GT(environment.getCompressionRate(), 0.0);
    EXPECT_LT(environment.getCompressionRate(), 1.0);
    in.ignore(4);
    ASSERT_TRUE(entry.read(in));
    EXPECT_FALSE(entry.isCompressed());
    EXPECT_STREQ(entry.getMessage(), "plain");
    EXPECT_EQ(entry.getMessageLength(), 5u);
    EXPECT_STREQ(entry.getFunctionName(), "f");
    EXPECT_FALSE(entry.read(in));  // clean end
    EXPECT_EQ(entry.getHeaderAndTextLength(), 20u);

    std::istringstream cut(bytes.substr(0, 10));  // inside the header
    EXPECT_TRUE(entry.read(cut));
    EXPECT_TRUE(cut.eof());
}

TEST(TraceFormatDescription, TableRowsAndOutOfRange) {
    EXPECT_STREQ(kivGetFormatDescription(0).shortName, "");
    EXPECT_STREQ(kivGetFormatDescription(8).longName, "C string");
    EXPECT_STREQ(kivGetFormatDescription(21).shortName, "ld");
    EXPECT_STREQ(kivGetFormatDescription(21).longName, "long double");
    for (uint32_t type = 0; type < KIV_TRACE_TYPE_COUNT; ++type) {
        EXPECT_EQ(kivGetFormatDescription(type).type, type);
    }
    try {
        kivGetFormatDescription(22);
        FAIL() << "type 22 accepted";
    } catch (const KivClExceptionFatal& e) {
        EXPECT_STREQ(e.getModule(), "kiv_trace_format:149");
        EXPECT_EQ(e.getLine(), 149u);
        EXPECT_EQ(e.getError().errorId, KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED);
        EXPECT_EQ(e.getError().errorClass, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS);
        EXPECT_EQ(e.getError().severity, KIV_SEVERITY_FATAL);
        EXPECT_EQ(e.getError().action, KIV_ACTION_TERMINATE);
    }
}
