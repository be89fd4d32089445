// Trace records: compression vectors, bit packing and building records.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

#include <unistd.h>

#include "kiv_timing.hpp"
#include "trace_test_helpers.hpp"

namespace {

const char kAlphabet[] = " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The encoder's bytes; it must touch nothing past the count it reports.
std::vector<unsigned char> compress(const std::string& text, uint32_t limit = 255) {
    std::vector<unsigned char> out(limit + 1, 0xAA);
    const uint32_t size = KivClTraceEntry::compressCString(out.data(), text.c_str(), limit);
    EXPECT_EQ(std::count(out.begin() + size, out.end(), 0xAA), static_cast<long>(out.size() - size));
    out.resize(size);
    return out;
}

std::string decompress(const std::vector<unsigned char>& packed) {
    char text[KivClTraceEntry::MAX_DECOMPRESSED_LENGTH + 1];
    const uint32_t count = KivClTraceEntry::deCompressCString(text, packed.data(),
                                                              static_cast<uint32_t>(packed.size()));
    EXPECT_EQ(text[count], '\0');
    return std::string(text, count);
}

// Reference decoder: any bytes read code by code with deCompressReadBits.
std::string readCodeByCode(std::vector<unsigned char> packed) {
    const uint32_t bits = static_cast<uint32_t>(8 * packed.size());
    packed.push_back(0);  // room for the reader's look-ahead byte
    std::string text;
    for (uint32_t bit = 0, code; bits - bit >= 6; bit += code < 63 ? 6 : 14) {
        code = KivClTraceEntry::deCompressReadBits(packed.data(), bit, 6);
        if (code == 63 && bits - bit < 14) break;  // fill bits, not an escape
        text += code < 63 ? kAlphabet[code]
                          : static_cast<char>(KivClTraceEntry::deCompressReadBits(packed.data(), bit + 6, 8));
    }
    return text;
}

// The text bytes of a record, after its 20-byte header.
std::string textsOf(const KivClTraceEntry& entry) {
    return std::string(reinterpret_cast<const char*>(entry.getHeaderAndText()) + 20,
                       entry.getHeaderAndTextLength() - 20);
}

}  // namespace

TEST(TraceCompression, Vectors) {
    const std::string letters(400, 'q'), digits(200, '7');
    // packed empty: only the size is checked.
    struct Row { std::string text; std::vector<unsigned char> packed; size_t size; std::string decoded; } rows[] = {
        {"AB", {0x2C, 0xCF}, 2, "AB"}, {"a1", {0x97, 0xF3, 0x1F}, 3, "a1"}, {"", {}, 0, ""},
        {"\xFF", {0xFF, 0xFF}, 2, "\xFF"}, {"zzzz", {0xFB, 0xEF, 0xBE}, 3, "zzzz"},  // code 62 four times: no fill
        {letters, {}, 255, letters.substr(0, 339)},  // 2034 bits and 6 fill bits
        {digits, {}, 254, digits.substr(0, 145)},    // 14 bits per escaped digit
    };
    for (const Row& row : rows) {
        const std::vector<unsigned char> packed = compress(row.text);
        EXPECT_EQ(packed.size(), row.size) << row.text.substr(0, 8);
        if (!row.packed.empty()) { EXPECT_EQ(packed, row.packed); }
        EXPECT_EQ(decompress(packed), row.decoded);
    }
    unsigned char bits[3] = {0xFF, 0xFF, 0x5A};
    KivClTraceEntry::compressWriteBits(bits, 0, 0x05, 3);  // aligned: assigns the byte
    KivClTraceEntry::compressWriteBits(bits, 3, 0x3F, 6);  // crosses into byte 1
    EXPECT_EQ((std::vector<int>{bits[0], bits[1], bits[2]}), (std::vector<int>{0xBF, 0x80, 0x5A}));
}

// Random texts and limits: the code is what writing it code by code with
// compressWriteBits gives, stops where the limit says and comes back as the
// text's prefix; random bytes, not only the encoder's, decode as reading
// code by code with deCompressReadBits decodes them. Every other text has
// long runs of alphabet characters.
// Runs of alphabet characters of every length up to past two rounds of 64,
// alone or followed by an escaped byte or its end fill, must come back
// unchanged: the decoder takes whole groups of four codes and hands the
// rest to the character loop wherever the run ends.
TEST(TraceCompression, AlphabetRunsOfEveryLength) {
    for (size_t length = 0; length <= 140; ++length) {
        std::string run(length, ' ');
        for (size_t i = 0; i < length; ++i) run[i] = kAlphabet[(7 * i + length) % 63];
        for (const std::string& text : {run, run + "\x01" + "tail", run + "9"}) {
            ASSERT_EQ(decompress(compress(text)), text) << length;
        }
    }
}

TEST(TraceCompression, RandomInputs) {
    std::mt19937 random(90210);
    for (int round = 0; round < 3000; ++round) {
        std::string text(random() % 420, ' ');
        const unsigned escapes = round % 2 != 0 ? 3 : 80;  // one character in this many is escaped
        for (char& c : text) {
            c = random() % escapes != 0 ? kAlphabet[random() % 63] : static_cast<char>(1 + random() % 255);
        }
        const uint32_t limit = 1 + random() % 255;
        std::vector<unsigned char> expected(limit + 1);
        uint32_t bits = 0, fit = 0;  // an escaped character takes 14 bits, the others 6
        for (; fit < text.size() && bits <= 8 * limit - 8; ++fit) {
            const char* code = strchr(kAlphabet, text[fit]);
            if (code != nullptr) {
                KivClTraceEntry::compressWriteBits(expected.data(), bits, static_cast<uint32_t>(code - kAlphabet), 6);
                bits += 6;
                continue;
            }
            if (bits + 14 > 8 * limit) break;
            KivClTraceEntry::compressWriteBits(expected.data(), bits, 63, 6);
            KivClTraceEntry::compressWriteBits(expected.data(), bits + 6, static_cast<unsigned char>(text[fit]), 8);
            bits += 14;
        }
        if (bits % 8 != 0) KivClTraceEntry::compressWriteBits(expected.data(), bits, 0xFF, 8 - bits % 8);
        expected.resize((bits + 7) / 8);
        const std::vector<unsigned char> packed = compress(text, limit);
        ASSERT_EQ(packed, expected) << round;
        ASSERT_EQ(decompress(packed), text.substr(0, fit)) << round;
        std::vector<unsigned char> bytes(random() % 256);
        for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(round % 3 ? random() : random() | 0xFC);
        ASSERT_EQ(decompress(bytes), readCodeByCode(bytes)) << round;
    }
}

// The cache must give compressCString's bytes whether it answers from a slot
// or compresses, for texts it keeps and texts too long to keep, and must
// notice when the characters at a known address change.
TEST(TraceTextCache, SameBytesAsCompressing) {
    KivClTraceTextCache cache;
    auto viaCache = [&cache](const char* text) {
        std::vector<unsigned char> out(256, 0xAA);
        const uint32_t size = cache.compress(out.data(), text);
        EXPECT_EQ(std::count(out.begin() + size, out.end(), 0xAA), static_cast<long>(out.size() - size));
        out.resize(size);
        return out;
    };
    const std::string fixed[] = {"", "A", "Server::acceptClient", "connection accepted from peer!",
                                 std::string(96, 'k'), std::string(96, '7'), std::string(97, 'k'),
                                 std::string(95, 'k') + "\xE9", std::string(400, '7')};
    for (const std::string& text : fixed) {
        for (int pass = 0; pass < 3; ++pass) ASSERT_EQ(viaCache(text.c_str()), compress(text)) << text << pass;
    }
    EXPECT_EQ(cache.compress(nullptr, nullptr), 0u);

    // New characters at a known address: longer, shorter, same length.
    char reused[128] = "first text";
    ASSERT_EQ(viaCache(reused), compress(reused));
    for (const char* next : {"first text!", "first", "First", "first:text", ""}) {
        strcpy(reused, next);
        ASSERT_EQ(viaCache(reused), compress(next)) << next;
    }

    // One character changed at every place of texts of every kept length.
    for (size_t length = 1; length <= KivClTraceTextCache::MAX_CACHED_LENGTH; ++length) {
        std::string text(length, 'k');
        strcpy(reused, text.c_str());
        ASSERT_EQ(viaCache(reused), compress(text));
        for (size_t at = 0; at < length; ++at) {
            reused[at] = 'Q';
            ASSERT_EQ(viaCache(reused), compress(reused)) << length << " " << at;
            reused[at] = 'k';
        }
    }

    // Many texts competing for the slots, in random order.
    std::mt19937 random(4711);
    std::vector<std::string> texts(200);
    for (std::string& text : texts) {
        text.resize(random() % 120);
        for (char& c : text) c = random() % 7 ? kAlphabet[random() % 63] : static_cast<char>(1 + random() % 255);
    }
    for (int call = 0; call < 20000; ++call) {
        std::string& text = texts[random() % texts.size()];
        if (call % 97 == 0 && !text.empty()) text[random() % text.size()] = kAlphabet[random() % 63];
        ASSERT_EQ(viaCache(text.c_str()), compress(text)) << call;
    }
}

TEST(TraceEntry, ClippingTypesHeaderAndTexts) {
    kivtest::TempDir dir;
    kivtest::TraceKeyEnv vars("KIVTENTRY", dir);
    vars.set("BUFSIZE", "0");
    KivClTraceEnvironment environment("KIVTENTRY", nullptr, false);
    ASSERT_EQ(environment.getBufferSize(), 4072u);
    const std::string big(5000, 'x');
    struct Row { const void* data; unsigned length; KivEnTraceDataType type, stored; unsigned storedLength; } rows[] = {
        {big.data(), 4072, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA, 4072},
        {big.data(), 4073, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {big.data(), 5000, KIV_TRACE_TYPE_INT32, KIV_TRACE_TYPE_DATA_CLIPPED, 4072},
        {nullptr, 5000, KIV_TRACE_TYPE_DATA, KIV_TRACE_TYPE_DATA_NULL, 0},
    };
    for (const Row& row : rows) {
        const KivClTraceEntry entry(environment, KIV_TRACE_DETAIL_MED, 1, row.type, "fn", "msg", row.data, row.length);
        EXPECT_EQ(std::make_pair(entry.getType(), entry.getDataLength()), std::make_pair(row.stored, row.storedLength));
    }
    // Texts compressed: message first, then the function name.
    const uint32_t before = kivGetTimeStamp();
    KivClTraceEntry packed(environment, KIV_TRACE_DETAIL_MED, 0x1234, KIV_TRACE_TYPE_NO_DATA, "AB", "a1", nullptr, 0);
    const _KivStTraceRecordHeader header = packed.getHeader();
    EXPECT_LE(header.timeStamp - before, kivGetTimeStamp() - before);
    std::thread([&environment] {  // each thread its own id
        EXPECT_EQ(KivClTraceEntry(environment, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "", "", nullptr, 0)
                      .getHeader().threadId, static_cast<uint32_t>(gettid()));
    }).join();
    EXPECT_EQ(std::vector<uint32_t>({header.componentId, header.length1, header.length2, header.processId,
                                     header.threadId}),
              std::vector<uint32_t>({0x34, 3, 2, static_cast<uint32_t>(getpid()), static_cast<uint32_t>(gettid())}));
    EXPECT_EQ(textsOf(packed), "\x97\xF3\x1F\x2C\xCF");
    packed.setType(KIV_TRACE_TYPE_BOOL);  // keeps detail and compression
    EXPECT_EQ(packed.getDetail(), KIV_TRACE_DETAIL_MED);
    packed.setDetail(KIV_TRACE_DETAIL_HIGH);  // keeps type and compression
    EXPECT_EQ(std::make_tuple(packed.getType(), packed.isCompressed()), std::make_tuple(KIV_TRACE_TYPE_BOOL, true));
    // Through a cache, again and again: the same texts.
    KivClTraceTextCache cache;
    for (int pass = 0; pass < 3; ++pass) {
        const KivClTraceEntry cached(&cache, environment, KIV_TRACE_DETAIL_MED, 0x1234, KIV_TRACE_TYPE_NO_DATA,
                                     "AB", "a1", nullptr, 0);
        EXPECT_TRUE(cached.isCompressed());
        EXPECT_EQ(textsOf(cached), textsOf(packed));
        EXPECT_EQ(cached.getHeader().length1, 3u);
    }
    // Plain texts are cut at 255 bytes each.
    environment.getSettings().setFlag(KivClTraceSettings::FLAG_COMPRESSION, false);
    const KivClTraceEntry plain(environment, KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA, "func",
                                std::string(300, 'm').c_str(), nullptr, 0);
    EXPECT_FALSE(plain.isCompressed());
    EXPECT_EQ(textsOf(plain), std::string(255, 'm') + "func");
}
