// Code page conversion beside ICU's ucnv and glibc's iconv, in one run (names
// are <Case>_<implementation> for bench/compare). Each case converts 1 MB:
// EBCDIC 37, PC 850 and Windows 1252 through the built-in tables, UTF-8 (a
// quarter of the characters two or three bytes long) to UCS-2, and UCS-2 of
// the same text back to UTF-8.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_converter.hpp"

namespace {

constexpr size_t kLength = 1 << 20;

// Printable ASCII with every eighth byte a Latin-1 letter (0xC0 to 0xFF),
// which 850 and 1252 both define.
std::string pcText() {
    std::mt19937 rng(7);
    std::string text(kLength, ' ');
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i % 8 == 5 ? 0xC0 + rng() % 64 : 0x20 + rng() % 95);
    }
    return text;
}

// EBCDIC letters, digits and the space.
std::string ebcdicText() {
    static const unsigned char alphabet[] = {0x40, 0x81, 0x85, 0x89, 0x91, 0x95, 0x99, 0xA2, 0xA9,
                                             0xC1, 0xC5, 0xC9, 0xD1, 0xD5, 0xD9, 0xE2, 0xE9, 0xF0,
                                             0xF5, 0xF9};
    std::mt19937 rng(11);
    std::string text(kLength, ' ');
    for (char& c : text) c = static_cast<char>(alphabet[rng() % sizeof alphabet]);
    return text;
}

// Every fourth character is a two- or three-byte sequence.
std::string mixedUtf8() {
    std::string text;
    for (size_t i = 0; text.size() < kLength; ++i) {
        text += i % 8 == 3 ? "\xC3\xA9" : i % 8 == 7 ? "\xE2\x82\xAC" : "a";
    }
    return text;
}

std::string ucs2Of(const std::string& utf8) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(1208)};
    std::string out(utf8.size() * 2, '\0');
    out.resize(converter.convertBytes(&out[0], static_cast<unsigned int>(out.size()), utf8.data(),
                                      static_cast<unsigned int>(utf8.size())));
    return out;
}

void runKiv(benchmark::State& state, const KivClConverterABase& converter, const std::string& input) {
    std::vector<char> target(converter.getMaximumSizeForSize(static_cast<unsigned int>(input.size())));
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.convertBytes(target.data(), static_cast<unsigned int>(target.size()),
                                                        input.data(), static_cast<unsigned int>(input.size())));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void runToUnicode(benchmark::State& state, unsigned short ccsid, const std::string& input) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(ccsid)};
    runKiv(state, converter, input);
}

void runIcuToUnicode(benchmark::State& state, const char* name, const std::string& input) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status)) return state.SkipWithError("ICU converter missing");
    std::vector<UChar> target(input.size() + 1);
    for (auto _ : state) {
        status = U_ZERO_ERROR;
        ucnv_reset(converter);
        UChar* out = target.data();
        const char* in = input.data();
        ucnv_toUnicode(converter, &out, target.data() + target.size(), &in, input.data() + input.size(),
                       nullptr, true, &status);
        benchmark::DoNotOptimize(out);
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void runIconv(benchmark::State& state, const char* to, const char* from, const std::string& input) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return state.SkipWithError("iconv converter missing");
    std::vector<char> target(input.size() * 4 + 4);
    for (auto _ : state) {
        char* in = const_cast<char*>(input.data());
        size_t inLeft = input.size(), outLeft = target.size();
        char* out = target.data();
        benchmark::DoNotOptimize(iconv(cd, &in, &inLeft, &out, &outLeft));
    }
    iconv_close(cd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void Convert37ToUcs2_kiv(benchmark::State& state) { runToUnicode(state, 37, ebcdicText()); }
void Convert37ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "ibm-37", ebcdicText()); }
void Convert37ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UCS-2LE", "IBM037", ebcdicText()); }

void Convert850ToUcs2_kiv(benchmark::State& state) { runToUnicode(state, 850, pcText()); }
void Convert850ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "ibm-850", pcText()); }
void Convert850ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UCS-2LE", "IBM850", pcText()); }

void Convert1252ToUcs2_kiv(benchmark::State& state) { runToUnicode(state, 1252, pcText()); }
void Convert1252ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "windows-1252", pcText()); }
void Convert1252ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UCS-2LE", "CP1252", pcText()); }

void ConvertUtf8ToUcs2_kiv(benchmark::State& state) { runToUnicode(state, 1208, mixedUtf8()); }
void ConvertUtf8ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "UTF-8", mixedUtf8()); }
void ConvertUtf8ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UCS-2LE", "UTF-8", mixedUtf8()); }

void ConvertUcs2ToUtf8_kiv(benchmark::State& state) {
    KivClUnicode2CodePageConverter converter{KivClCCSID(1208)};
    runKiv(state, converter, ucs2Of(mixedUtf8()));
}
void ConvertUcs2ToUtf8_icu(benchmark::State& state) {
    const std::string input = ucs2Of(mixedUtf8());
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF-8", &status);
    std::vector<char> target(input.size() * 2);
    const UChar* source = reinterpret_cast<const UChar*>(input.data());
    for (auto _ : state) {
        status = U_ZERO_ERROR;
        ucnv_reset(converter);
        char* out = target.data();
        const UChar* in = source;
        ucnv_fromUnicode(converter, &out, target.data() + target.size(), &in, source + input.size() / 2,
                         nullptr, true, &status);
        benchmark::DoNotOptimize(out);
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}
void ConvertUcs2ToUtf8_iconv(benchmark::State& state) {
    runIconv(state, "UTF-8", "UCS-2LE", ucs2Of(mixedUtf8()));
}

}  // namespace

BENCHMARK(Convert37ToUcs2_kiv);
BENCHMARK(Convert37ToUcs2_icu);
BENCHMARK(Convert37ToUcs2_iconv);
BENCHMARK(Convert850ToUcs2_kiv);
BENCHMARK(Convert850ToUcs2_icu);
BENCHMARK(Convert850ToUcs2_iconv);
BENCHMARK(Convert1252ToUcs2_kiv);
BENCHMARK(Convert1252ToUcs2_icu);
BENCHMARK(Convert1252ToUcs2_iconv);
BENCHMARK(ConvertUtf8ToUcs2_kiv);
BENCHMARK(ConvertUtf8ToUcs2_icu);
BENCHMARK(ConvertUtf8ToUcs2_iconv);
BENCHMARK(ConvertUcs2ToUtf8_kiv);
BENCHMARK(ConvertUcs2ToUtf8_icu);
BENCHMARK(ConvertUcs2ToUtf8_iconv);
