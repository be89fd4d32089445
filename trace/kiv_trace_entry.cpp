// Trace records and the 6-bit text compression.
#include "kiv_traceentry.hpp"

#include <cstddef>
#include <cstring>
#include <utility>

#include "kiv_timing.hpp"
#include "kiv_trace.hpp"
#include "trace/kiv_trace_stream.hpp"
#include "util/kiv_cpu.hpp"

namespace {

constexpr uint8_t TYPE_MASK = 0x1F;
constexpr uint8_t COMPRESSED_BIT = 0x20;
constexpr uint8_t DETAIL_SHIFT = 6;
constexpr uint32_t ESCAPE_CODE = 63;
constexpr uint32_t CODE_BITS = 6;
constexpr uint32_t ESCAPED_BITS = CODE_BITS + 8;

}  // namespace

// The compression alphabet: a character's code is its position.
extern constexpr char gs_szCompressCharSet[] =
    " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static_assert(sizeof(gs_szCompressCharSet) == 64, "the alphabet has 63 characters");

// Inverse of the alphabet, indexed by byte value: the code, or -1.
extern const int32_t gs_aiCompressIdxTable[256] = {
#define KIV_NO -1
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0x00
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0x10
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    0,      KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, 2,      KIV_NO,  // 0x20  ' ' '&'
    7,      8,      3,      KIV_NO, 1,      KIV_NO, KIV_NO, KIV_NO,  //       ( ) * ,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0x30 digits
    KIV_NO, KIV_NO, 4,      KIV_NO, 9,      KIV_NO, 10,     KIV_NO,  //       : < >
    KIV_NO, 11,     12,     13,     14,     15,     16,     17,      // 0x40 A..G
    18,     19,     20,     21,     22,     23,     24,     25,      //      H..O
    26,     27,     28,     29,     30,     31,     32,     33,      // 0x50 P..W
    34,     35,     36,     KIV_NO, KIV_NO, KIV_NO, KIV_NO, 5,       //      X Y Z _
    KIV_NO, 37,     38,     39,     40,     41,     42,     43,      // 0x60 a..g
    44,     45,     46,     47,     48,     49,     50,     51,      //      h..o
    52,     53,     54,     55,     56,     57,     58,     59,      // 0x70 p..w
    60,     61,     62,     KIV_NO, KIV_NO, KIV_NO, 6,      KIV_NO,  //      x y z ~
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0x80
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0xA0
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0xC0
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,  // 0xE0
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
    KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO, KIV_NO,
#undef KIV_NO
};

namespace {

// The block helpers below spell out one step per character (fold
// expressions over the index pack), so that each block compiles into
// straight-line code without relying on the optimizer to unroll a loop.

// Packs the 6-bit codes of the characters at text into the low bits of
// codes, the first character's code highest. False when any of them is not
// in the alphabet; codes is then meaningless.
template <size_t... I>
bool packCodes(const unsigned char* text, uint64_t& codes, std::index_sequence<I...>) {
    // One code after the other, so that only the accumulator and the
    // running test stay live. A byte outside the alphabet has the code -1,
    // which spoils the accumulator but also makes the test fail.
    uint64_t packed = 0;
    int32_t any = 0;
    int32_t code;
    ((code = gs_aiCompressIdxTable[text[I]], any |= code,
      packed = (packed << CODE_BITS) | static_cast<uint32_t>(code)),
     ...);
    codes = packed;
    return any >= 0;
}

// The count bytes at in, the first one highest.
template <size_t... I>
uint64_t loadBytes(const unsigned char* in, std::index_sequence<I...>) {
    return ((static_cast<uint64_t>(in[I]) << (8 * (sizeof...(I) - 1 - I))) | ...);
}

// The six bytes at in, the first one highest; the two bytes after them must
// be readable too, so that a little-endian host can take all eight at once.
uint64_t loadSixOfEight(const unsigned char* in) {
#if defined(__GNUC__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    uint64_t word;
    memcpy(&word, in, sizeof(word));
    return __builtin_bswap64(word) >> 16;
#else
    return loadBytes(in, std::make_index_sequence<6>());
#endif
}

// Stores the low count bytes of value at out, the highest first.
template <size_t... I>
void storeBytes(uint64_t value, unsigned char* out, std::index_sequence<I...>) {
#if defined(__GNUC__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Byte-swapped, the bytes lie in memory order at the start of the word.
    const uint64_t bigEndian = __builtin_bswap64(value << (64 - 8 * sizeof...(I)));
    memcpy(out, &bigEndian, sizeof...(I));
#else
    ((out[I] = static_cast<unsigned char>(value >> (8 * (sizeof...(I) - 1 - I)))), ...);
#endif
}

// The characters of every pair of 6-bit codes, indexed by the 12 bits of
// the pair (an escape code stands for nothing here and is never looked up).
struct CharacterPairs {
    char text[2 * 4096];
    constexpr CharacterPairs() : text() {
        for (uint32_t pair = 0; pair < 4096; ++pair) {
            text[2 * pair] = gs_szCompressCharSet[(pair >> CODE_BITS) % ESCAPE_CODE];
            text[2 * pair + 1] = gs_szCompressCharSet[(pair & 0x3F) % ESCAPE_CODE];
        }
    }
};
constexpr CharacterPairs CHARACTER_PAIRS;

// Writes the characters of the 6-bit codes in the low bits of codes (the
// first code highest), two codes per index of the pack, to destination.
// False, with destination unchanged, when any of them is the escape code.
template <size_t... P>
bool unpackCodes(uint64_t codes, char* destination, std::index_sequence<P...>) {
    constexpr size_t pairs = sizeof...(P);
    constexpr uint64_t fieldMask = (uint64_t{1} << (2 * pairs * CODE_BITS)) - 1;
    // One bit at the bottom and one at the top of every 6-bit field.
    constexpr uint64_t lows = fieldMask / 0x3F;
    constexpr uint64_t highs = lows << (CODE_BITS - 1);
    // An escape code is a field of all ones: a zero field of the complement,
    // which the borrow test below finds.
    const uint64_t inverse = ~codes & fieldMask;
    if (((inverse - lows) & ~inverse & highs) != 0) return false;
    (memcpy(destination + 2 * P,
            CHARACTER_PAIRS.text + 2 * ((codes >> (2 * CODE_BITS * (pairs - 1 - P))) & 0xFFF), 2),
     ...);
    return true;
}

#if defined(KIV_AVX512_PATHS)
// The code of every ASCII character (0xFF for those outside the alphabet),
// and where the packed bytes of a block come from: the three low bytes of
// each 32-bit lane, highest first.
struct PackingTables {
    unsigned char code[128];
    unsigned char order[64];
    constexpr PackingTables() : code(), order() {
        for (unsigned char& entry : code) entry = 0xFF;
        for (uint32_t k = 0; k < ESCAPE_CODE; ++k) code[static_cast<unsigned char>(gs_szCompressCharSet[k])] = k;
        for (unsigned int quad = 0; quad < 16; ++quad) {
            order[3 * quad] = static_cast<unsigned char>(4 * quad + 2);
            order[3 * quad + 1] = static_cast<unsigned char>(4 * quad + 1);
            order[3 * quad + 2] = static_cast<unsigned char>(4 * quad);
        }
    }
};
constexpr PackingTables PACKING;

// On processors with AVX-512 VBMI: packs the alphabet characters that start
// the count characters at text, four at a time (three whole bytes), at most
// groups times, 64 characters a round: the codes are looked up with one byte
// permute, pairs and then quadruples of codes are joined by multiply-adds,
// and a last permute puts the three bytes of each quadruple in order.
// Returns the characters packed, a multiple of four.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) size_t packAlphabetRun(const unsigned char* text,
                                                                              size_t count, size_t groups,
                                                                              unsigned char* out) {
    const __m512i codesLow = _mm512_loadu_si512(PACKING.code);
    const __m512i codesHigh = _mm512_loadu_si512(PACKING.code + 64);
    const __m512i byteOrder = _mm512_loadu_si512(PACKING.order);
    size_t done = 0;
    while (groups > 0 && done < count) {
        const size_t left = count - done;
        const __mmask64 loaded = left >= 64 ? ~__mmask64{0} : (__mmask64{1} << left) - 1;
        const __m512i bytes = _mm512_maskz_loadu_epi8(loaded, text + done);
        const __m512i codes = _mm512_permutex2var_epi8(codesLow, bytes, codesHigh);
        const __mmask64 stop = _mm512_cmpeq_epi8_mask(codes, _mm512_set1_epi8(static_cast<char>(0xFF))) |
                               _mm512_movepi8_mask(bytes) | ~loaded;
        const size_t run = stop == 0 ? 64 : static_cast<size_t>(__builtin_ctzll(stop));
        const size_t quads = run / 4 < groups ? run / 4 : groups;
        if (quads == 0) break;
        // c0 * 64 + c1 in 16-bit lanes, then (c0c1) * 4096 + c2c3 in 32-bit lanes.
        const __m512i pairs = _mm512_maddubs_epi16(codes, _mm512_set1_epi32(0x01400140));
        const __m512i quadruples = _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
        const __mmask64 stored = (__mmask64{1} << (3 * quads)) - 1;
        const __m512i packed = _mm512_maskz_permutexvar_epi8(stored, byteOrder, quadruples);
        _mm512_mask_storeu_epi8(out + 3 * (done / 4), stored, packed);
        done += 4 * quads;
        groups -= quads;
        if (quads < 16) break;
    }
    return done;
}

// Where each 64-bit lane of a decoding round takes its bytes from: two
// groups of three packed bytes (four codes each), each group's first byte
// highest in its low 24 bits, the second group from bit 32 on.
struct UnpackingTables {
    unsigned char gather[64];
    constexpr UnpackingTables() : gather() {
        for (unsigned int lane = 0; lane < 8; ++lane) {
            const unsigned char first = static_cast<unsigned char>(6 * lane);
            const unsigned char order[8] = {2, 1, 0, 0, 5, 4, 3, 3};
            for (unsigned int k = 0; k < 8; ++k) gather[8 * lane + k] = static_cast<unsigned char>(first + order[k]);
        }
    }
};
constexpr UnpackingTables UNPACKING;

// On processors with AVX-512 VBMI: decodes the whole groups of three bytes
// (four codes) at source, at most groups of them, that come before the
// first escape code (or fill), 16 groups (64 characters) a round: a byte
// permute lays out the groups in 64-bit lanes, a multishift takes out the
// 6-bit codes in order, and a permute over the alphabet gives the
// characters. Returns the groups decoded.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) size_t unpackAlphabetRun(const unsigned char* source,
                                                                                size_t groups, char* destination) {
    const __m512i alphabet = _mm512_loadu_si512(gs_szCompressCharSet);
    const __m512i gather = _mm512_loadu_si512(UNPACKING.gather);
    // Bit offsets of the codes in each lane: 18, 12, 6, 0, then 50, 44, 38, 32.
    const __m512i offsets = _mm512_set1_epi64(0x20262C3200060C12);
    const __m512i codeMask = _mm512_set1_epi8(0x3F);
    const __m512i escape = _mm512_set1_epi8(static_cast<char>(ESCAPE_CODE));
    // The zero-masking forms with every lane selected are the plain
    // instructions; GCC 12 takes the plain intrinsics' undefined merge
    // source for an uninitialized read.
    const __mmask64 all = ~__mmask64{0};
    size_t done = 0;
    while (done < groups) {
        const size_t take = groups - done < 16 ? groups - done : 16;
        const __mmask64 loaded = (__mmask64{1} << (3 * take)) - 1;
        const __mmask64 valid = take == 16 ? all : (__mmask64{1} << (4 * take)) - 1;
        const __m512i bytes = _mm512_maskz_loadu_epi8(loaded, source + 3 * done);
        const __m512i lanes = _mm512_maskz_permutexvar_epi8(all, gather, bytes);
        const __m512i codes = _mm512_and_si512(_mm512_maskz_multishift_epi64_epi8(all, offsets, lanes), codeMask);
        const __mmask64 stop = _mm512_cmpeq_epi8_mask(codes, escape) | ~valid;
        const size_t decoded = (stop == 0 ? 64 : static_cast<size_t>(__builtin_ctzll(stop))) / 4;
        if (decoded == 0) break;
        const __mmask64 stored = decoded == 16 ? all : (__mmask64{1} << (4 * decoded)) - 1;
        _mm512_mask_storeu_epi8(destination + 4 * done, stored, _mm512_maskz_permutexvar_epi8(all, codes, alphabet));
        done += decoded;
        if (decoded < 16) break;
    }
    return done;
}
#endif

constexpr auto TWO = std::make_index_sequence<2>();
constexpr auto THREE = std::make_index_sequence<3>();
constexpr auto FOUR = std::make_index_sequence<4>();
constexpr auto SIX = std::make_index_sequence<6>();
constexpr auto EIGHT = std::make_index_sequence<8>();

}  // namespace

KivClTraceEntry::KivClTraceEntry(const KivClTraceEnvironment& environment)
    : environment_(&environment), area_{}, headerAndTextLength_(HEADER_SIZE), data_(nullptr) {}

KivClTraceEntry::KivClTraceEntry(const KivClTraceEnvironment& environment,
                                 KivEnTraceDetail detail, unsigned short componentId,
                                 KivEnTraceDataType type, const char* functionName,
                                 const char* message, const void* data, unsigned int length)
    : KivClTraceEntry(nullptr, environment, detail, componentId, type, functionName, message, data,
                      length) {}

KivClTraceEntry::KivClTraceEntry(KivClTraceTextCache* cache, const KivClTraceEnvironment& environment,
                                 KivEnTraceDetail detail, unsigned short componentId,
                                 KivEnTraceDataType type, const char* functionName,
                                 const char* message, const void* data, unsigned int length)
    : environment_(&environment), headerAndTextLength_(HEADER_SIZE), data_(data) {
    if (data == nullptr) {
        length = 0;
        type = KIV_TRACE_TYPE_DATA_NULL;
    }
    if (length > environment.getBufferSize()) {
        length = environment.getBufferSize();
        type = KIV_TRACE_TYPE_DATA_CLIPPED;
    }
    // The header goes straight into the area field by field (flags and
    // lengths as bytes, the four 32-bit words in one piece), so that nothing
    // is stored twice or read back before the record is copied.
    uint32_t flags = (static_cast<uint32_t>(type) & TYPE_MASK) |
                     ((static_cast<uint32_t>(detail) & 3u) << DETAIL_SHIFT);
    const uint32_t words[4] = {kivGetTimeStamp(), environment.getProcessId(),
                               static_cast<uint32_t>(KivClThreadProperty().getId()), length};
    static_assert(offsetof(_KivStTraceRecordHeader, timeStamp) == 4 &&
                      offsetof(_KivStTraceRecordHeader, dataLength) == 16,
                  "the four words follow the four bytes");
    memcpy(area_ + offsetof(_KivStTraceRecordHeader, timeStamp), words, sizeof(words));

    const char* text1 = message ? message : "";
    const char* text2 = functionName ? functionName : "";
    unsigned char* texts = area_ + HEADER_SIZE;
    uint32_t length1;
    uint32_t length2;
    if (environment.getSettings().isCompressionOn()) {
        flags |= COMPRESSED_BIT;
        auto pack = [cache](unsigned char* destination, const char* text) {
            return cache != nullptr ? cache->compress(destination, text)
                                    : compressCString(destination, text, MAX_TEXT_LENGTH);
        };
        length1 = pack(texts, text1);
        length2 = pack(texts + length1, text2);
    } else {
        length1 = static_cast<uint32_t>(strnlen(text1, MAX_TEXT_LENGTH));
        memcpy(texts, text1, length1);
        length2 = static_cast<uint32_t>(strnlen(text2, MAX_TEXT_LENGTH));
        memcpy(texts + length1, text2, length2);
    }
    area_[offsetof(_KivStTraceRecordHeader, flags)] = static_cast<unsigned char>(flags);
    area_[offsetof(_KivStTraceRecordHeader, componentId)] = static_cast<unsigned char>(componentId & 0xFFu);
    area_[offsetof(_KivStTraceRecordHeader, length1)] = static_cast<unsigned char>(length1);
    area_[offsetof(_KivStTraceRecordHeader, length2)] = static_cast<unsigned char>(length2);
    headerAndTextLength_ = HEADER_SIZE + length1 + length2;
}

KivClTraceEntry::~KivClTraceEntry() = default;

_KivStTraceRecordHeader KivClTraceEntry::getHeader() const {
    _KivStTraceRecordHeader header;
    memcpy(&header, area_, HEADER_SIZE);
    return header;
}

KivEnTraceDataType KivClTraceEntry::getType() const {
    return static_cast<KivEnTraceDataType>(area_[0] & TYPE_MASK);
}

void KivClTraceEntry::setType(KivEnTraceDataType type) {
    area_[0] = static_cast<unsigned char>((area_[0] & ~TYPE_MASK) |
                                          (static_cast<uint32_t>(type) & TYPE_MASK));
}

KivEnTraceDetail KivClTraceEntry::getDetail() const {
    return static_cast<KivEnTraceDetail>(area_[0] >> DETAIL_SHIFT);
}

void KivClTraceEntry::setDetail(KivEnTraceDetail detail) {
    area_[0] = static_cast<unsigned char>((area_[0] & (TYPE_MASK | COMPRESSED_BIT)) |
                                          ((static_cast<uint32_t>(detail) & 3u) << DETAIL_SHIFT));
}

bool KivClTraceEntry::isCompressed() const { return (area_[0] & COMPRESSED_BIT) != 0; }

void KivClTraceEntry::compressWriteBits(unsigned char* buffer, uint32_t bitPosition,
                                        uint32_t value, uint32_t bitCount) {
    const uint32_t index = bitPosition / 8;
    const uint32_t offset = bitPosition % 8;
    // The value moved to the top of an 8-bit window.
    const uint32_t top = (value << (8 - bitCount)) & 0xFFu;
    if (offset == 0) {
        buffer[index] = static_cast<unsigned char>(top);
        return;
    }
    buffer[index] = static_cast<unsigned char>(buffer[index] + (top >> offset));
    if (offset + bitCount > 8) buffer[index + 1] = static_cast<unsigned char>((top << (8 - offset)) & 0xFFu);
}

uint32_t KivClTraceEntry::deCompressReadBits(const unsigned char* buffer, uint32_t bitPosition,
                                             uint32_t bitCount) {
    const uint32_t index = bitPosition / 8;
    const uint32_t offset = bitPosition % 8;
    uint32_t window = static_cast<uint32_t>(buffer[index]) << 8;
    if (offset + bitCount > 8) window |= buffer[index + 1];
    return ((window << offset) & 0xFFFFu) >> (16 - bitCount);
}

uint32_t KivClTraceEntry::compressCString(unsigned char* destination, const char* text,
                                          uint32_t limit) {
    if (limit == 0 || text == nullptr) return 0;
    const uint32_t limitBits = 8 * limit;
    // No character takes fewer than 6 bits, so the loop below never gets
    // further than this many characters into the text.
    const size_t length = strnlen(text, limitBits / CODE_BITS + 1);
    const unsigned char* c = reinterpret_cast<const unsigned char*>(text);
    const unsigned char* const end = c + length;
    // The codes are gathered most significant bit first in an accumulator and
    // stored a whole byte at a time, which gives the bytes compressWriteBits
    // would produce code by code at a fraction of the work.
    uint32_t bit = 0;
    uint64_t pending = 0;  // bits not yet stored, in the low pendingBits bits
    uint32_t pendingBits = 0;
    unsigned char* out = destination;
#if defined(KIV_AVX512_PATHS)
    // A leading run of alphabet characters goes four at a time while a byte
    // of the limit stays free behind it, as the blocks below do.
    if (length >= 8 && kivHasAvx512Vbmi()) {
        const size_t packed = packAlphabetRun(c, length, (limitBits - 8) / (4 * CODE_BITS), out);
        c += packed;
        out += packed / 4 * 3;
        bit += static_cast<uint32_t>(packed) * CODE_BITS;
    }
#endif
    // Takes a block of alphabet characters at once when it leaves a byte of
    // the limit free: eight characters make six whole bytes, four make three.
    auto takeBlock = [&](auto characters, auto bytes) {
        constexpr uint32_t count = decltype(characters)::size();
        uint64_t codes;
        if (end - c < static_cast<ptrdiff_t>(count) || bit + count * CODE_BITS > limitBits - 8 ||
            !packCodes(c, codes, characters)) {
            return false;
        }
        pending = (pending << (count * CODE_BITS)) | codes;
        storeBytes(pending >> pendingBits, out, bytes);
        out += decltype(bytes)::size();
        c += count;
        bit += count * CODE_BITS;
        return true;
    };
    while (c < end) {
        if (takeBlock(EIGHT, SIX) || takeBlock(FOUR, THREE)) continue;
        const int32_t code = gs_aiCompressIdxTable[*c];
        if (code >= 0) {
            pending = (pending << CODE_BITS) | static_cast<uint32_t>(code);
            pendingBits += CODE_BITS;
            bit += CODE_BITS;
        } else {
            if (bit + ESCAPED_BITS > limitBits) break;
            pending = (pending << ESCAPED_BITS) | (ESCAPE_CODE << 8) | *c;
            pendingBits += ESCAPED_BITS;
            bit += ESCAPED_BITS;
        }
        ++c;
        while (pendingBits >= 8) {
            pendingBits -= 8;
            *out++ = static_cast<unsigned char>(pending >> pendingBits);
        }
        if (bit > limitBits - 8) break;
    }
    if (pendingBits != 0) {
        const uint32_t fill = 8 - pendingBits;
        *out = static_cast<unsigned char>((pending << fill) | ((1u << fill) - 1));
        bit += fill;
    }
    return bit / 8;
}

KivClTraceTextCache::KivClTraceTextCache() {
    for (Slot& slot : slots_) {
        slot.text = nullptr;
        slot.length = slot.packedLength = 0;
    }
}

uint32_t KivClTraceTextCache::compress(unsigned char* destination, const char* text) {
    constexpr uint32_t limit = KivClTraceEntry::MAX_TEXT_LENGTH;
    if (text == nullptr) return 0;
    const size_t length = strnlen(text, MAX_CACHED_LENGTH + 1);
    if (length > MAX_CACHED_LENGTH) return KivClTraceEntry::compressCString(destination, text, limit);
    // The top bits of a multiplicative hash of the address pick the slot.
    static_assert((SLOT_COUNT & (SLOT_COUNT - 1)) == 0, "the slot count is a power of two");
    const uint64_t hash = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(text)) * 0x9E3779B97F4A7C15u;
    Slot& slot = slots_[hash >> (64 - __builtin_ctz(SLOT_COUNT))];
    if (slot.text == text && slot.length == length && memcmp(slot.characters, text, length) == 0) {
        memcpy(destination, slot.packed, slot.packedLength);
        return slot.packedLength;
    }
    // The whole text up to its NUL is within the compressor's reach here, so
    // its bytes depend on these characters only.
    const uint32_t packedLength = KivClTraceEntry::compressCString(destination, text, limit);
    slot.text = text;
    slot.length = static_cast<uint32_t>(length);
    slot.packedLength = packedLength;
    memcpy(slot.characters, text, length);
    memcpy(slot.packed, destination, packedLength);
    return packedLength;
}

uint32_t KivClTraceEntry::deCompressCString(char* destination, const unsigned char* source,
                                            uint32_t sourceBytes) {
    // Source bytes are taken into an accumulator as the codes need them,
    // which reads the same bits as deCompressReadBits at each position.
    uint32_t remaining = 8 * sourceBytes;  // bits not yet decoded
    uint64_t pending = 0;                  // loaded bits not yet decoded, in the low pendingBits bits
    uint32_t pendingBits = 0;
    const unsigned char* in = source;
    uint32_t count = 0;
#if defined(KIV_AVX512_PATHS)
    // A leading run of whole groups without an escape goes 64 characters at
    // a time; the loop below goes on from the byte after it.
    if (sourceBytes >= 6 && kivHasAvx512Vbmi()) {
        const size_t groups = unpackAlphabetRun(source, sourceBytes / 3, destination);
        in += 3 * groups;
        count += static_cast<uint32_t>(4 * groups);
        remaining -= static_cast<uint32_t>(24 * groups);
    }
#endif
    while (remaining >= CODE_BITS) {
        // Six (or three) more bytes complete eight (or four) codes; without
        // an escape among them they are that many characters at once.
        if (remaining - pendingBits >= 48) {
            const uint64_t bytes = remaining - pendingBits >= 64 ? loadSixOfEight(in) : loadBytes(in, SIX);
            const uint64_t window = (pending << 48) | bytes;
            if (unpackCodes(window >> pendingBits, destination + count, FOUR)) {  // four pairs
                count += 8;
                pending = window;
                in += 6;
                remaining -= 48;
                continue;
            }
        }
        if (remaining - pendingBits >= 24) {
            const uint64_t window = (pending << 24) | loadBytes(in, THREE);
            if (unpackCodes(window >> pendingBits, destination + count, TWO)) {  // two pairs
                count += 4;
                pending = window;
                in += 3;
                remaining -= 24;
                continue;
            }
        }
        if (pendingBits < CODE_BITS) {
            pending = (pending << 8) | *in++;
            pendingBits += 8;
        }
        pendingBits -= CODE_BITS;
        const uint32_t code = static_cast<uint32_t>(pending >> pendingBits) & 0x3Fu;
        remaining -= CODE_BITS;
        if (code < ESCAPE_CODE) {
            destination[count++] = gs_szCompressCharSet[code];
            continue;
        }
        if (remaining < 8) break;  // a fill of one-bits, not an escape
        pending = (pending << 8) | *in++;
        destination[count++] = static_cast<char>(pending >> pendingBits);
        remaining -= 8;
    }
    destination[count] = '\0';
    return count;
}

KivClTraceFileEntry::KivClTraceFileEntry(KivClTraceEnvironment& environment)
    : KivClTraceEntry(environment), readEnvironment_(&environment), functionName_{},
      functionNameLength_(0), message_{}, messageLength_(0) {}

uint32_t KivClTraceFileEntry::decodeText(char* destination, const unsigned char* source,
                                         uint32_t length) {
    if (!isCompressed()) {
        memcpy(destination, source, length);
        destination[length] = '\0';
        return length;
    }
    const uint32_t count = deCompressCString(destination, source, length);
    readEnvironment_->recordCompressionRate(count, length);
    return count;
}

bool KivClTraceFileEntry::read(std::istream& stream) {
    const std::streamsize got = kivTraceReadBytes(stream, area_, HEADER_SIZE);
    if (got == 0) {
        memset(area_, 0, sizeof(area_));
        headerAndTextLength_ = HEADER_SIZE;
        message_[0] = functionName_[0] = '\0';
        messageLength_ = functionNameLength_ = 0;
        return false;
    }
    if (got < static_cast<std::streamsize>(HEADER_SIZE)) {
        memset(area_ + got, 0, HEADER_SIZE - static_cast<size_t>(got));
    }
    const _KivStTraceRecordHeader header = getHeader();
    const uint32_t textLength = header.length1 + header.length2;
    headerAndTextLength_ = HEADER_SIZE + textLength;
    unsigned char* texts = area_ + HEADER_SIZE;
    memset(texts, 0, textLength);
    if (stream) kivTraceReadBytes(stream, texts, textLength);
    messageLength_ = decodeText(message_, texts, header.length1);
    functionNameLength_ = decodeText(functionName_, texts + header.length1, header.length2);
    return true;
}
