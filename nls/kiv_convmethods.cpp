// The conversion methods: plain functions that a converter selects once and
// calls for every conversion.
#include <cerrno>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include "kiv_converter.hpp"
#include "kiv_icu_interface.hpp"
#include "kiv_memmgr.hpp"
#include "util/kiv_cpu.hpp"

namespace {

typedef KivClConverterABase::_KivStConverter State;

// Host-order UCS-2 units at any alignment.
inline void putUnit(char* at, uint16_t unit) { memcpy(at, &unit, sizeof unit); }
inline uint16_t getUnit(const char* at) {
    uint16_t unit;
    memcpy(&unit, at, sizeof unit);
    return unit;
}

inline void fail(const State& state, uint32_t errorId, KivEnErrorClass errorClass) {
    state.converter->setError(errorId, errorClass);
}
inline void incomplete(const State& state) {
    fail(state, KIV_ERRID_CPCONVERTER_INCOMPLETE, KIV_ERRCLASS_USER_DATA_ERROR);
}
inline void tooBig(const State& state) { fail(state, KIV_ERRID_CPCONVERTER_TOO_BIG, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS); }

constexpr uint16_t kNextLine = 0x0085;
constexpr uint16_t kLineFeed = 0x000A;
constexpr unsigned char kShiftOut = 0x0E;
constexpr unsigned char kShiftIn = 0x0F;
constexpr uint32_t kReplacementCharacter = 0xFFFD;
constexpr uint32_t kNonCharacter = 0xFFFF;

// Trailing bytes by UTF-8 lead byte, and the offsets that remove the marker
// bits after accumulation.
const uint8_t kTrailingBytes[256] = {
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5};
const uint32_t kOffsets[6] = {0x00000000u, 0x00003080u, 0x000E2080u, 0x03C82080u, 0xFA082080u, 0x82082080u};

// Decodes the n + 1 bytes of one sequence whose lead byte has n trailing
// bytes: accumulate six bits a byte, then remove the marker bits.
inline uint32_t decodeUtf8(const unsigned char* at, unsigned int trailing) {
    uint32_t value = 0;
    switch (trailing) {
        case 5: value = (value + *at++) << 6; [[fallthrough]];
        case 4: value = (value + *at++) << 6; [[fallthrough]];
        case 3: value = (value + *at++) << 6; [[fallthrough]];
        case 2: value = (value + *at++) << 6; [[fallthrough]];
        case 1: value = (value + *at++) << 6; [[fallthrough]];
        default: value += *at;
    }
    return value - kOffsets[trailing];
}

// How many source bytes a one-unit-per-byte method may take without writing
// past the target; sets CPCONVERTER_TOO_BIG when that is fewer than given.
inline unsigned int bytesThatFit(const State& state, unsigned int unitsPerByte) {
    const unsigned int room = state.targetSize / (2 * unitsPerByte);
    if (state.sourceSize <= room) return state.sourceSize;
    tooBig(state);
    return room;
}

// Whole UCS-2 units of the source that fit a one-byte-per-unit target; sets
// CPCONVERTER_INCOMPLETE for an odd byte count and CPCONVERTER_TOO_BIG when
// the target is too small.
inline unsigned int unitsThatFit(const State& state) {
    if ((state.sourceSize & 1u) != 0) incomplete(state);
    const unsigned int units = state.sourceSize / 2;
    if (units <= state.targetSize) return units;
    tooBig(state);
    return state.targetSize;
}

unsigned int copyUnits(State& state, bool swap) {
    unsigned int count = state.sourceSize < state.targetSize ? state.sourceSize : state.targetSize;
    if ((count & 1u) != 0) {
        incomplete(state);
        --count;
    }
    const char* source = *state.source;
    if (swap) {
        for (unsigned int i = 0; i < count; i += 2) {
            state.target[i] = source[i + 1];
            state.target[i + 1] = source[i];
        }
    } else if (count > 0) {
        memmove(state.target, source, count);
    }
    *state.source += count;
    return count;
}

// From this many bytes on, a single-byte conversion first builds a host-order
// copy of its table with the line-end mapping applied, so that each byte
// costs one lookup and one store; shorter inputs use the table as it is.
constexpr unsigned int kLocalTableMinimum = 512;

// Writes the units of the bytes from in to end through a host-order table,
// eight bytes a round.
void widenThroughTable(const uint16_t* local, const unsigned char* in, const unsigned char* end, char* to) {
    for (; end - in >= 8; in += 8, to += 16) {
        putUnit(to, local[in[0]]);
        putUnit(to + 2, local[in[1]]);
        putUnit(to + 4, local[in[2]]);
        putUnit(to + 6, local[in[3]]);
        putUnit(to + 8, local[in[4]]);
        putUnit(to + 10, local[in[5]]);
        putUnit(to + 12, local[in[6]]);
        putUnit(to + 14, local[in[7]]);
    }
    for (; in != end; ++in, to += 2) putUnit(to, local[*in]);
}

// The printable ASCII characters, which most single-byte tables map to
// themselves; IBM's PC code pages move some control characters, so these
// are left to the table.
constexpr unsigned char kFirstPrintable = 0x20;
constexpr unsigned char kLastPrintable = 0x7E;

#if defined(__SSE2__)
// The table maps every printable ASCII character to itself.
bool keepsPrintable(const uint16_t* local) {
    for (unsigned int byte = kFirstPrintable; byte <= kLastPrintable; ++byte) {
        if (local[byte] != byte) return false;
    }
    return true;
}

// For a table that maps the printable ASCII characters to themselves: widens
// sixteen bytes at a time with zero high bytes (x86 is little-endian), then
// writes the table value over the unit of every other byte of the block.
// Returns the bytes done, a multiple of sixteen; the rest is the caller's.
size_t widenPrintableBlocks(const uint16_t* local, const unsigned char* in, size_t count, char* to) {
    const __m128i zero = _mm_setzero_si128();
    // Bytes compare as signed here, so 0x80 to 0xFF fall below the first printable.
    const __m128i belowPrintable = _mm_set1_epi8(static_cast<char>(kFirstPrintable));
    const __m128i lastPrintable = _mm_set1_epi8(static_cast<char>(kLastPrintable));
    size_t done = 0;
    for (; count - done >= 16; done += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
        char* const block = to + 2 * done;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(block), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(block + 16), _mm_unpackhi_epi8(bytes, zero));
        const __m128i others =
            _mm_or_si128(_mm_cmplt_epi8(bytes, belowPrintable), _mm_cmpgt_epi8(bytes, lastPrintable));
        for (unsigned int mask = static_cast<unsigned int>(_mm_movemask_epi8(others)); mask != 0; mask &= mask - 1) {
            const size_t k = static_cast<size_t>(__builtin_ctz(mask));
            putUnit(block + 2 * k, local[in[done + k]]);
        }
    }
    return done;
}
#endif

#if defined(KIV_AVX512_PATHS)
// Where the bytes of the first and of the second 32 units come from in a
// two-register permute of the low bytes and the high bytes (index 64 + k is
// byte k of the second register).
struct Interleave {
    unsigned char firstUnits[64];
    unsigned char secondUnits[64];
    constexpr Interleave() : firstUnits(), secondUnits() {
        for (unsigned int k = 0; k < 32; ++k) {
            firstUnits[2 * k] = static_cast<unsigned char>(k);
            firstUnits[2 * k + 1] = static_cast<unsigned char>(64 + k);
            secondUnits[2 * k] = static_cast<unsigned char>(32 + k);
            secondUnits[2 * k + 1] = static_cast<unsigned char>(96 + k);
        }
    }
};
constexpr Interleave INTERLEAVE;

// Processors with AVX-512 VBMI look up 64 bytes at once: the low and the high
// bytes of the 256 table units sit in four registers each, two two-register
// byte permutes cover one half of the table, and the sign bit of each source
// byte picks the half. Two more permutes interleave low and high bytes into
// units. Returns the bytes done, a multiple of 64; the rest is the caller's.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) size_t widenByByteShuffles(const uint16_t* local,
                                                                                   const unsigned char* in,
                                                                                   size_t count, char* to) {
    alignas(64) unsigned char lowBytes[256], highBytes[256];
    for (unsigned int byte = 0; byte < 256; ++byte) {
        lowBytes[byte] = static_cast<unsigned char>(local[byte] & 0xFFu);
        highBytes[byte] = static_cast<unsigned char>(local[byte] >> 8);
    }
    const __m512i low0 = _mm512_load_si512(lowBytes), low1 = _mm512_load_si512(lowBytes + 64);
    const __m512i low2 = _mm512_load_si512(lowBytes + 128), low3 = _mm512_load_si512(lowBytes + 192);
    const __m512i high0 = _mm512_load_si512(highBytes), high1 = _mm512_load_si512(highBytes + 64);
    const __m512i high2 = _mm512_load_si512(highBytes + 128), high3 = _mm512_load_si512(highBytes + 192);
    const __m512i first = _mm512_loadu_si512(INTERLEAVE.firstUnits);
    const __m512i second = _mm512_loadu_si512(INTERLEAVE.secondUnits);
    size_t done = 0;
    for (; count - done >= 64; done += 64) {
        const __m512i bytes = _mm512_loadu_si512(in + done);
        const __mmask64 upperHalf = _mm512_movepi8_mask(bytes);
        const __m512i low = _mm512_mask_blend_epi8(upperHalf, _mm512_permutex2var_epi8(low0, bytes, low1),
                                                   _mm512_permutex2var_epi8(low2, bytes, low3));
        const __m512i high = _mm512_mask_blend_epi8(upperHalf, _mm512_permutex2var_epi8(high0, bytes, high1),
                                                    _mm512_permutex2var_epi8(high2, bytes, high3));
        _mm512_storeu_si512(to + 2 * done, _mm512_permutex2var_epi8(low, first, high));
        _mm512_storeu_si512(to + 2 * done + 64, _mm512_permutex2var_epi8(low, second, high));
    }
    return done;
}
#endif

template <bool kEbcdic>
unsigned int convertSingleByte(State& state) {
    const uint16_t* table = static_cast<const uint16_t*>(state.converter->getTable());
    const unsigned int count = bytesThatFit(state, 1);
    const unsigned char* source = reinterpret_cast<const unsigned char*>(*state.source);
    char* target = state.target;
    if (count >= kLocalTableMinimum) {
        uint16_t local[256];
        for (unsigned int byte = 0; byte < 256; ++byte) {
            const uint16_t unit = kivUcs2FromTable(table[byte]);
            local[byte] = kEbcdic && unit == kNextLine ? kLineFeed : unit;
        }
        size_t done = 0;
#if defined(KIV_AVX512_PATHS)
        if (kivHasAvx512Vbmi()) done = widenByByteShuffles(local, source, count, target);
#endif
#if defined(__SSE2__)
        if (done == 0 && keepsPrintable(local)) done = widenPrintableBlocks(local, source, count, target);
#endif
        widenThroughTable(local, source + done, source + count, target + 2 * done);
        *state.source += count;
        return 2 * count;
    }
    for (unsigned int i = 0; i < count; ++i) {
        uint16_t unit = kivUcs2FromTable(table[source[i]]);
        if (kEbcdic) unit = unit == kNextLine ? kLineFeed : unit;
        putUnit(target + 2 * i, unit);
    }
    *state.source += count;
    return 2 * count;
}

// Page number of a lead byte; the substitution page for any other byte.
inline const uint16_t* pageOf(const _KivStDBCSTable* table, unsigned char byte) {
    const unsigned int index = table->pageIndex[byte];
    return table->pages + 256u * (index != 0 ? index - 1 : KIV_DBCS_SUBSTITUTION_PAGE);
}

// Ends a double-byte walk whose pair was cut by the end of the usable source:
// the real end of the input makes it incomplete, a clamp for the target size
// makes it too big.
inline void pairCut(const State& state, unsigned int usable) {
    if (usable < state.sourceSize) {
        tooBig(state);
    } else {
        incomplete(state);
    }
}

unsigned int convertAsciiDoubleByte(State& state) {
    const _KivStDBCSTable* table = static_cast<const _KivStDBCSTable*>(state.converter->getTable());
    const uint16_t* singleBytes = table->pages + 256u * KIV_DBCS_SINGLE_BYTE_PAGE;
    const unsigned int usable = bytesThatFit(state, 1);
    const unsigned char* source = reinterpret_cast<const unsigned char*>(*state.source);
    unsigned int in = 0;
    unsigned int out = 0;
    while (in < usable) {
        const unsigned char byte = source[in];
        uint16_t unit;
        if (table->leadByteFlags[byte] != 0) {
            if (in + 1 >= usable) {
                pairCut(state, usable);
                break;
            }
            unit = pageOf(table, byte)[source[in + 1]];
            in += 2;
        } else {
            unit = singleBytes[byte];
            ++in;
        }
        putUnit(state.target + out, kivUcs2FromTable(unit));
        out += 2;
    }
    *state.source += in;
    return out;
}

unsigned int convertEbcdicDoubleByte(State& state) {
    const _KivStDBCSTable* table = static_cast<const _KivStDBCSTable*>(state.converter->getTable());
    const uint16_t* singleBytes = table->pages + 256u * KIV_DBCS_SINGLE_BYTE_PAGE;
    const unsigned int usable = bytesThatFit(state, 1);
    const unsigned char* source = reinterpret_cast<const unsigned char*>(*state.source);
    bool doubleByte = false;
    bool cut = false;
    unsigned int in = 0;
    unsigned int out = 0;
    while (in < usable) {
        const unsigned char byte = source[in];
        uint16_t unit;
        if (!doubleByte) {
            if (byte == kShiftOut) {
                doubleByte = true;
                ++in;
                continue;
            }
            unit = singleBytes[byte];
            ++in;
        } else {
            if (byte == kShiftIn) {
                doubleByte = false;
                ++in;
                continue;
            }
            if (in + 1 >= usable) {
                pairCut(state, usable);
                cut = true;
                break;
            }
            unit = pageOf(table, byte)[source[in + 1]];
            in += 2;
        }
        unit = kivUcs2FromTable(unit);
        putUnit(state.target + out, unit == kNextLine ? kLineFeed : unit);
        out += 2;
    }
    if (doubleByte && !cut && usable == state.sourceSize) incomplete(state);
    *state.source += in;
    return out;
}

// Runs an ICU conversion into a 2-byte aligned target, through a temporary
// buffer when the caller's target is not aligned.
template <typename Convert>
unsigned int withAlignedTarget(State& state, Convert convert) {
    if ((reinterpret_cast<uintptr_t>(state.target) & 1u) == 0) return convert(state.target);
    char* aligned = static_cast<char*>(kivMalloc(static_cast<size_t>(state.targetSize) + 2u));
    const unsigned int written = convert(aligned);
    memcpy(state.target, aligned, written);
    kivFree(aligned);
    return written;
}

// Records an ICU status; warnings count as success.
void recordIcuStatus(const State& state, UErrorCode status) {
    _KivStError error = state.converter->getError();
    KivClIcuInterface::mapIcuError(error, status < U_ZERO_ERROR ? U_ZERO_ERROR : status);
    state.converter->setError(error);
}

}  // namespace

unsigned int kivConvertError(KivClConverterABase::_KivStConverter& state) {
    fail(state, KIV_ERRID_CPCONVERTER_UNSUPPORTED, KIV_ERRCLASS_INCONSISTENT_SITUATION);
    return 0;
}

unsigned int kivConvertByCopying(KivClConverterABase::_KivStConverter& state) { return copyUnits(state, false); }

unsigned int kivConvertByEndianSwap(KivClConverterABase::_KivStConverter& state) { return copyUnits(state, true); }

unsigned int kivConvertByTablesSBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& state) {
    return convertSingleByte<false>(state);
}

unsigned int kivConvertByTablesSBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& state) {
    return convertSingleByte<true>(state);
}

unsigned int kivConvertByTablesDBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& state) {
    return convertAsciiDoubleByte(state);
}

unsigned int kivConvertByTablesDBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& state) {
    return convertEbcdicDoubleByte(state);
}

unsigned int kivConvertByTablesUCS2toSBCS(KivClConverterABase::_KivStConverter& state) {
    const uint8_t* pages = static_cast<const uint8_t*>(state.converter->getTable());
    const unsigned int units = unitsThatFit(state);
    const char* source = *state.source;
    unsigned char* target = reinterpret_cast<unsigned char*>(state.target);
    for (unsigned int i = 0; i < units; ++i) {
        const uint16_t unit = getUnit(source + 2 * i);
        target[i] = pages[256u * pages[unit >> 8] + (unit & 0xFFu)];
    }
    *state.source += 2 * units;
    return units;
}

unsigned int kivConvertByAlgorithmUCS2to819(KivClConverterABase::_KivStConverter& state) {
    const unsigned int units = unitsThatFit(state);
    const char* source = *state.source;
    for (unsigned int i = 0; i < units; ++i) {
        state.target[i] = static_cast<char>(getUnit(source + 2 * i) & 0xFFu);
    }
    *state.source += 2 * units;
    return units;
}

namespace {

#if defined(KIV_AVX512_PATHS)
// GCC 12's AVX-512 shift and widening intrinsics merge into a deliberately
// undefined vector, which its uninitialized-use warnings report.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

// The bytes whose bits under mask equal value.
__attribute__((target("avx512f,avx512bw"), always_inline)) inline uint64_t highBitsAre(__m512i bytes, int mask,
                                                                                      int value) {
    return _mm512_cmpeq_epi8_mask(_mm512_and_si512(bytes, _mm512_set1_epi8(static_cast<char>(mask))),
                                  _mm512_set1_epi8(static_cast<char>(value)));
}

// Decodes the characters that start in the first 32 of the 64 bytes at in,
// when every one of them is ASCII or a two- or three-byte sequence with
// exactly its trailing bytes: each position's value is computed as if it
// started a character of its kind, and the starts are compressed together.
// Writes at most 64 bytes at to and sets written to the bytes that count;
// returns the source bytes taken, or 0, taking nothing, for any other block.
__attribute__((target("avx512f,avx512bw,avx512vbmi2"), always_inline)) inline unsigned int decodeUtf8Block(
    const unsigned char* in, char* to, unsigned int& written) {
    constexpr uint64_t kStarts = 0xFFFFFFFFull;  // where the characters taken may start
    constexpr uint64_t kReach = 0x3FFFFFFFFull;  // and the bytes they may reach
    const __m512i bytes = _mm512_loadu_si512(in);
    const uint64_t trailing = highBitsAre(bytes, 0xC0, 0x80);
    const uint64_t two = kStarts & highBitsAre(bytes, 0xE0, 0xC0);
    const uint64_t three = kStarts & highBitsAre(bytes, 0xF0, 0xE0);
    const uint64_t longer = kStarts & _mm512_cmpge_epu8_mask(bytes, _mm512_set1_epi8(static_cast<char>(0xF0)));
    const uint64_t expected = (two << 1) | (three << 1) | (three << 2);
    if (longer != 0 || (trailing & kReach) != expected) return 0;

    const __m512i first = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in)));
    const __m512i second = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 1)));
    const __m512i third = _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 2)));
    const __m512i six = _mm512_set1_epi16(0x3F);
    const __m512i middle = _mm512_and_si512(second, six);
    const __m512i ofTwo =
        _mm512_or_si512(_mm512_slli_epi16(_mm512_and_si512(first, _mm512_set1_epi16(0x1F)), 6), middle);
    // A 16-bit shift by 12 keeps the lead byte's four value bits only.
    const __m512i ofThree = _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi16(first, 12), _mm512_slli_epi16(middle, 6)),
                                            _mm512_and_si512(third, six));
    __m512i units = _mm512_mask_blend_epi16(static_cast<__mmask32>(two), first, ofTwo);
    units = _mm512_mask_blend_epi16(static_cast<__mmask32>(three), units, ofThree);
    const __mmask32 starts = static_cast<__mmask32>(~trailing & kStarts);
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi16(starts, units));
    written = 2u * static_cast<unsigned int>(__builtin_popcount(starts));
    return 32u + static_cast<unsigned int>(__builtin_popcountll(expected >> 32));
}

// Encodes 16 units as UTF-8 when none is a surrogate or a non-character:
// each unit's one to three bytes are built in a 32-bit lane and the bytes
// that count are compressed together. Writes at most 64 bytes at to and
// returns the bytes that count, or 0 for any other block.
__attribute__((target("avx512f,avx512bw,avx512vbmi2"), always_inline)) inline unsigned int encodeUtf8Block(
    const char* in, unsigned char* to) {
    const __m512i unit = _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(in)));
    const __mmask16 special =
        _mm512_cmplt_epu32_mask(_mm512_sub_epi32(unit, _mm512_set1_epi32(0xD800)), _mm512_set1_epi32(0x800)) |
        _mm512_cmplt_epu32_mask(_mm512_sub_epi32(unit, _mm512_set1_epi32(0xFDD0)), _mm512_set1_epi32(0x20)) |
        _mm512_cmpge_epu32_mask(unit, _mm512_set1_epi32(0xFFFE));
    if (special != 0) return 0;
    const __mmask16 one = _mm512_cmplt_epu32_mask(unit, _mm512_set1_epi32(0x80));
    const __mmask16 two = _mm512_cmplt_epu32_mask(unit, _mm512_set1_epi32(0x800)) & static_cast<__mmask16>(~one);
    const __m512i six = _mm512_set1_epi32(0x3F);
    const __m512i mark = _mm512_set1_epi32(0x80);
    const __m512i last = _mm512_or_si512(_mm512_and_si512(unit, six), mark);
    const __m512i middle = _mm512_or_si512(_mm512_and_si512(_mm512_srli_epi32(unit, 6), six), mark);
    const __m512i ofThree =
        _mm512_or_si512(_mm512_or_si512(_mm512_set1_epi32(0xE0), _mm512_srli_epi32(unit, 12)),
                        _mm512_or_si512(_mm512_slli_epi32(middle, 8), _mm512_slli_epi32(last, 16)));
    const __m512i ofTwo = _mm512_or_si512(_mm512_or_si512(_mm512_set1_epi32(0xC0), _mm512_srli_epi32(unit, 6)),
                                          _mm512_slli_epi32(last, 8));
    __m512i bytes = _mm512_mask_blend_epi32(two, ofThree, ofTwo);
    bytes = _mm512_mask_blend_epi32(one, bytes, unit);
    __m512i kept = _mm512_mask_blend_epi32(two, _mm512_set1_epi32(0xFFFFFF), _mm512_set1_epi32(0xFFFF));
    kept = _mm512_mask_blend_epi32(one, kept, _mm512_set1_epi32(0xFF));
    const __mmask64 keep = _mm512_test_epi8_mask(kept, kept);
    _mm512_storeu_si512(to, _mm512_maskz_compress_epi8(keep, bytes));
    return static_cast<unsigned int>(__builtin_popcountll(keep));
}

// Block after block while 64 source bytes are left and the blocks qualify;
// moves in and to past what was done. A loop of its own keeps the vector
// constants in registers.
__attribute__((target("avx512f,avx512bw,avx512vbmi2"))) void decodeUtf8Blocks(const unsigned char*& in,
                                                                             const unsigned char* end, char*& to) {
    unsigned int written = 0;
    for (unsigned int taken; end - in >= 64 && (taken = decodeUtf8Block(in, to, written)) != 0; in += taken) {
        to += written;
    }
}

// The same for 16 units a block while 32 units are left, so that the 64
// bytes written for a block stay inside a target of three bytes a unit.
__attribute__((target("avx512f,avx512bw,avx512vbmi2"))) void encodeUtf8Blocks(const char*& in, const char* end,
                                                                             unsigned char*& to) {
    for (unsigned int written; end - in >= 64 && (written = encodeUtf8Block(in, to)) != 0; in += 32) to += written;
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#endif

// kRoomKnown: the caller made sure that the target holds two bytes for
// every source byte, the most any sequence needs, so no unit is checked
// for room.
template <bool kRoomKnown>
unsigned int utf8ToUcs2(State& state) {
    const unsigned char* in = reinterpret_cast<const unsigned char*>(*state.source);
    const unsigned char* const end = in + state.sourceSize;
    const unsigned int capacity = state.targetSize & ~1u;
    unsigned int out = 0;
    unsigned int asciiRun = 0;  // ASCII bytes just converted one by one
#if defined(KIV_AVX512_PATHS)
    const unsigned char* oneByOneUntil = in;  // past a block the vector step refused
    [[maybe_unused]] const bool blocks = kivHasAvx512Vbmi2();
#endif
    while (in < end) {
        if (kRoomKnown) {
            // ASCII and whole two- and three-byte sequences that decode to
            // one unit need, with room known, no checks: one tight loop
            // takes them up to anything else, which the rules below handle.
            char* to = state.target + out;
            while (in != end) {
#if defined(KIV_AVX512_PATHS)
                if (blocks && in >= oneByOneUntil && end - in >= 64) {
                    decodeUtf8Blocks(in, end, to);
                    if (end - in >= 64) oneByOneUntil = in + 32;
                }
#endif
                const uint32_t lead = *in;
                if (lead < 0x80) {
                    // Rare per character: taken once per eight bytes inside a run.
                    if (__builtin_expect(asciiRun >= 8, 0) && end - in >= 8) {
                        uint64_t word;
                        memcpy(&word, in, sizeof word);
                        if ((word & 0x8080808080808080ull) == 0) {
                            for (unsigned int k = 0; k < 8; ++k) putUnit(to + 2 * k, in[k]);
                            in += 8;
                            to += 16;
                            continue;
                        }
                        asciiRun = 0;
                    }
                    ++asciiRun;
                    putUnit(to, static_cast<uint16_t>(lead));
                    to += 2;
                    ++in;
                    continue;
                }
                asciiRun = 0;
                // Lead bytes 0xC0 to 0xDF have one trailing byte, 0xE0 to
                // 0xEF two; the arithmetic is decodeUtf8's.
                uint32_t value;
                if (lead - 0xC0u < 0x20u && end - in >= 2) {
                    value = (lead << 6) + in[1] - kOffsets[1];
                    if (value > 0xFFFFu) break;
                    in += 2;
                } else if (lead - 0xE0u < 0x10u && end - in >= 3) {
                    value = (lead << 12) + (static_cast<uint32_t>(in[1]) << 6) + in[2] - kOffsets[2];
                    if (value > 0xFFFFu) break;
                    in += 3;
                } else {
                    break;
                }
                putUnit(to, static_cast<uint16_t>(value));
                to += 2;
            }
            out = static_cast<unsigned int>(to - state.target);
            if (in == end) break;
        }
        if (*in < 0x80) {
            // Runs of ASCII go eight bytes at a time once eight single ones
            // suggest a run (in mixed text a failing attempt costs more than
            // it saves), single ASCII bytes directly.
            if (asciiRun >= 8 && end - in >= 8 && (kRoomKnown || capacity - out >= 16)) {
                uint64_t word;
                memcpy(&word, in, sizeof word);
                if ((word & 0x8080808080808080ull) == 0) {
                    for (unsigned int i = 0; i < 8; ++i) putUnit(state.target + out + 2 * i, in[i]);
                    in += 8;
                    out += 16;
                    continue;
                }
                asciiRun = 0;
            }
            ++asciiRun;
            if (!kRoomKnown && capacity - out < 2) {
                ++in;
                tooBig(state);
                break;
            }
            putUnit(state.target + out, *in++);
            out += 2;
            continue;
        }
        asciiRun = 0;
        const unsigned int trailing = kTrailingBytes[*in];
        if (static_cast<size_t>(end - in) <= trailing) {
            incomplete(state);
            break;
        }
        // The two- and three-byte forms, by far the most frequent, are
        // decoded inline with the same arithmetic as decodeUtf8.
        const uint32_t value = trailing == 1   ? (static_cast<uint32_t>(in[0]) << 6) + in[1] - kOffsets[1]
                               : trailing == 2 ? (static_cast<uint32_t>(in[0]) << 12) +
                                                     (static_cast<uint32_t>(in[1]) << 6) + in[2] - kOffsets[2]
                                               : decodeUtf8(in, trailing);
        in += trailing + 1;
        if (!kRoomKnown && capacity - out < 2) {
            tooBig(state);
            break;
        }
        if (value <= 0xFFFFu) {
            putUnit(state.target + out, static_cast<uint16_t>(value));
            out += 2;
        } else if (value > 0x10FFFFu) {
            putUnit(state.target + out, static_cast<uint16_t>(kReplacementCharacter));
            out += 2;
        } else {
            if (!kRoomKnown && capacity - out < 4) {
                tooBig(state);
                break;
            }
            putUnit(state.target + out, static_cast<uint16_t>(0xD800u + ((value - 0x10000u) >> 10)));
            putUnit(state.target + out + 2, static_cast<uint16_t>(0xDC00u + ((value - 0x10000u) & 0x3FFu)));
            out += 4;
        }
    }
    *state.source = reinterpret_cast<const char*>(in);
    return out;
}

}  // namespace

unsigned int kivConvertByAlgorithmUTF8toUCS2(KivClConverterABase::_KivStConverter& state) {
    if (state.sourceSize == 0) return 0;
    const bool roomKnown = state.targetSize / 2 >= state.sourceSize;
    return roomKnown ? utf8ToUcs2<true>(state) : utf8ToUcs2<false>(state);
}

namespace {

// Writes a unit below the surrogates as one to three bytes and moves to past
// them; answers false, writing nothing, for any other unit.
inline bool encodeBelowSurrogates(uint32_t unit, unsigned char*& to) {
    if (unit < 0x80u) {
        *to++ = static_cast<unsigned char>(unit);
    } else if (unit < 0x800u) {
        to[0] = static_cast<unsigned char>(0xC0u | (unit >> 6));
        to[1] = static_cast<unsigned char>(0x80u | (unit & 0x3Fu));
        to += 2;
    } else if (__builtin_expect(unit < 0xD800u, 1)) {
        to[0] = static_cast<unsigned char>(0xE0u | (unit >> 12));
        to[1] = static_cast<unsigned char>(0x80u | ((unit >> 6) & 0x3Fu));
        to[2] = static_cast<unsigned char>(0x80u | (unit & 0x3Fu));
        to += 3;
    } else {
        return false;
    }
    return true;
}

// kRoomKnown: the caller made sure that the target holds three bytes for
// every source unit, the most any unit needs (a surrogate pair gives four
// bytes for two units), so no unit is checked for room.
template <bool kRoomKnown>
unsigned int ucs2ToUtf8(State& state) {
    const char* source = *state.source;
    const unsigned int units = state.sourceSize / 2;
    unsigned char* target = reinterpret_cast<unsigned char*>(state.target);
    const unsigned int capacity = state.targetSize;
    unsigned int i = 0;
    unsigned int out = 0;
    unsigned int asciiRun = 0;  // ASCII units just converted one by one
    while (i < units) {
        if (kRoomKnown) {
            // Units below the surrogates have fixed lengths and, with room
            // known, need no checks: tight loops take them up to the next
            // surrogate or non-character, which the rules below handle. Four
            // units a round share one test for the end of the source.
            const char* in = source + 2 * i;
            const char* const end = source + 2 * units;
            unsigned char* to = target + out;
#if defined(KIV_AVX512_PATHS)
            if (kivHasAvx512Vbmi2()) encodeUtf8Blocks(in, end, to);
#endif
            while (end - in >= 8) {
                if (!encodeBelowSurrogates(getUnit(in), to)) break;
                if (!encodeBelowSurrogates(getUnit(in + 2), to)) {
                    in += 2;
                    break;
                }
                if (!encodeBelowSurrogates(getUnit(in + 4), to)) {
                    in += 4;
                    break;
                }
                if (!encodeBelowSurrogates(getUnit(in + 6), to)) {
                    in += 6;
                    break;
                }
                in += 8;
            }
            for (; in != end && encodeBelowSurrogates(getUnit(in), to); in += 2) {
            }
            i = static_cast<unsigned int>((in - source) / 2);
            out = static_cast<unsigned int>(to - target);
            if (i >= units) break;
        }
        // Runs of ASCII go four units at a time, once four single ones
        // suggest a run: in mixed text a failing attempt would cost more
        // than it saves.
        while (asciiRun >= 4 && units - i >= 4 && (kRoomKnown || capacity - out >= 4)) {
            const uint16_t a = getUnit(source + 2 * i), b = getUnit(source + 2 * i + 2);
            const uint16_t c = getUnit(source + 2 * i + 4), d = getUnit(source + 2 * i + 6);
            if (((a | b | c | d) & 0xFF80u) != 0) {
                asciiRun = 0;
                break;
            }
            target[out] = static_cast<unsigned char>(a);
            target[out + 1] = static_cast<unsigned char>(b);
            target[out + 2] = static_cast<unsigned char>(c);
            target[out + 3] = static_cast<unsigned char>(d);
            i += 4;
            out += 4;
        }
        if (i >= units) break;
        const uint32_t unit = getUnit(source + 2 * i);
        if (unit < 0x80u) {
            ++i;
            if (!kRoomKnown && out >= capacity) {
                tooBig(state);
                break;
            }
            target[out++] = static_cast<unsigned char>(unit);
            ++asciiRun;
            continue;
        }
        asciiRun = 0;
        // Units below the surrogates need no checks and have fixed lengths.
        if (unit < 0xD800u && (kRoomKnown || capacity - out >= 3)) {
            if (unit < 0x800u) {
                target[out] = static_cast<unsigned char>(0xC0u | (unit >> 6));
                target[out + 1] = static_cast<unsigned char>(0x80u | (unit & 0x3Fu));
                out += 2;
            } else {
                target[out] = static_cast<unsigned char>(0xE0u | (unit >> 12));
                target[out + 1] = static_cast<unsigned char>(0x80u | ((unit >> 6) & 0x3Fu));
                target[out + 2] = static_cast<unsigned char>(0x80u | (unit & 0x3Fu));
                out += 3;
            }
            ++i;
            continue;
        }
        unsigned int consumed = 1;
        uint32_t codePoint = unit;
        if (unit >= 0xD800u && unit <= 0xDBFFu) {
            codePoint = kNonCharacter;
            if (i + 1 < units) {
                const uint32_t low = getUnit(source + 2 * i + 2);
                if (low >= 0xDC00u && low <= 0xDFFFu) {
                    codePoint = (unit << 10) + low - 0x35FDC00u;
                    consumed = 2;
                }
            }
        } else if ((unit >= 0xDC00u && unit <= 0xDFFFu) || (unit >= 0xFDD0u && unit <= 0xFDEFu) ||
                   unit >= 0xFFFEu) {
            codePoint = kNonCharacter;
        }
        const unsigned int length = codePoint < 0x80u ? 1 : codePoint < 0x800u ? 2 : codePoint < 0x10000u ? 3 : 4;
        if (!kRoomKnown && capacity - out < length) {
            tooBig(state);
            i += consumed;
            break;
        }
        switch (length) {
            case 1:
                target[out] = static_cast<unsigned char>(codePoint);
                break;
            case 2:
                target[out] = static_cast<unsigned char>(0xC0u | (codePoint >> 6));
                target[out + 1] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
                break;
            case 3:
                target[out] = static_cast<unsigned char>(0xE0u | (codePoint >> 12));
                target[out + 1] = static_cast<unsigned char>(0x80u | ((codePoint >> 6) & 0x3Fu));
                target[out + 2] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
                break;
            default:
                target[out] = static_cast<unsigned char>(0xF0u | (codePoint >> 18));
                target[out + 1] = static_cast<unsigned char>(0x80u | ((codePoint >> 12) & 0x3Fu));
                target[out + 2] = static_cast<unsigned char>(0x80u | ((codePoint >> 6) & 0x3Fu));
                target[out + 3] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
                break;
        }
        out += length;
        i += consumed;
    }
    *state.source += 2 * i;
    return out;
}

}  // namespace

unsigned int kivConvertByAlgorithmUCS2toUTF8(KivClConverterABase::_KivStConverter& state) {
    if ((state.sourceSize & 1u) != 0) incomplete(state);
    if (state.sourceSize < 2) return 0;
    const bool roomKnown = state.targetSize / 3 >= state.sourceSize / 2;
    return roomKnown ? ucs2ToUtf8<true>(state) : ucs2ToUtf8<false>(state);
}

unsigned int kivConvertByUsingIconv(KivClConverterABase::_KivStConverter& state) {
    char* const start = state.target;
    char* in = const_cast<char*>(*state.source);
    size_t inLeft = state.sourceSize;
    size_t outLeft = state.targetSize;
    errno = 0;
    const size_t result = iconv(state.converter->getIconvHandle(), &in, &inLeft, &state.target, &outLeft);
    *state.source = in;
    state.sourceSize = static_cast<unsigned int>(inLeft);
    state.targetSize = static_cast<unsigned int>(outLeft);
    const unsigned int written = static_cast<unsigned int>(state.target - start);
    if (result != static_cast<size_t>(-1) && inLeft == 0) return written;
    switch (errno) {
        case EILSEQ: fail(state, KIV_ERRID_CPCONVERTER_INVALID_SEQ, KIV_ERRCLASS_USER_DATA_ERROR); break;
        case E2BIG: tooBig(state); break;
        case EINVAL: incomplete(state); break;
        case EBADF: fail(state, KIV_ERRID_CPCONVERTER_BAD_DESCR, KIV_ERRCLASS_INVALID_DATA); break;
        default: break;
    }
    return written;
}

unsigned int kivConvertByAlgorithmIcuToUnicode(KivClConverterABase::_KivStConverter& state) {
    UConverter* converter = static_cast<UConverter*>(const_cast<void*>(state.converter->getTable()));
    // A converter carries no state from one call to the next.
    ucnv_resetToUnicode(converter);
    return withAlignedTarget(state, [&state, converter](char* aligned) {
        UChar* target = reinterpret_cast<UChar*>(aligned);
        UChar* const start = target;
        const char* source = *state.source;
        UErrorCode status = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, start + state.targetSize / 2, &source, source + state.sourceSize,
                       nullptr, true, &status);
        *state.source = source;
        recordIcuStatus(state, status);
        return static_cast<unsigned int>(target - start) * 2;
    });
}

unsigned int kivConvertByAlgorithmIcuFromUnicode(KivClConverterABase::_KivStConverter& state) {
    UConverter* converter = static_cast<UConverter*>(const_cast<void*>(state.converter->getTable()));
    ucnv_resetFromUnicode(converter);
    const unsigned int units = state.sourceSize / 2;
    const char* const original = *state.source;
    char* copy = nullptr;
    const UChar* source = reinterpret_cast<const UChar*>(original);
    if ((reinterpret_cast<uintptr_t>(original) & 1u) != 0) {
        copy = static_cast<char*>(kivMalloc(2u * static_cast<size_t>(units) + 2u));
        memcpy(copy, original, 2u * units);
        source = reinterpret_cast<const UChar*>(copy);
    }
    const UChar* const sourceStart = source;
    char* target = state.target;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(converter, &target, state.target + state.targetSize, &source, sourceStart + units, nullptr,
                     true, &status);
    *state.source = original + 2 * (source - sourceStart);
    kivFree(copy);
    recordIcuStatus(state, status);
    if ((state.sourceSize & 1u) != 0 && state.converter->getError().errorId == KIV_ERRID_NO_ERROR) {
        incomplete(state);
    }
    return static_cast<unsigned int>(target - state.target);
}

uint32_t KivClConverterABase::convertUtf8CharToUtf32(const char* utf8) {
    const unsigned char* at = reinterpret_cast<const unsigned char*>(utf8);
    return decodeUtf8(at, kTrailingBytes[*at]);
}
