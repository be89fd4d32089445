// Code page conversion beside ICU's ucnv and glibc's iconv, in one run (names
// are <Case>_<implementation> for bench/compare): a single-byte EBCDIC table,
// UTF-8 to UCS-2 on ASCII-heavy and on mixed text, and UCS-2 to UTF-8.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_converter.hpp"

namespace {

std::string asciiText(size_t length) {
    std::mt19937 rng(7);
    std::uniform_int_distribution<int> pick(0x20, 0x7E);
    std::string text(length, ' ');
    for (char& c : text) c = static_cast<char>(pick(rng));
    return text;
}

// Every fourth character is a two- or three-byte sequence.
std::string mixedUtf8(size_t characters) {
    std::string text;
    for (size_t i = 0; i < characters; ++i) text += i % 8 == 3 ? "\xC3\xA9" : i % 8 == 7 ? "\xE2\x82\xAC" : "a";
    return text;
}

std::string ebcdicText(size_t length) {
    std::mt19937 rng(11);
    std::string text(length, ' ');
    for (char& c : text) c = static_cast<char>(0xC1 + rng() % 9);
    return text;
}

void runKiv(benchmark::State& state, const KivClConverterABase& converter, const std::string& input) {
    std::vector<char> target(converter.getMaximumSizeForSize(static_cast<unsigned int>(input.size())));
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.convertBytes(target.data(), static_cast<unsigned int>(target.size()),
                                                        input.data(), static_cast<unsigned int>(input.size())));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void runIcuToUnicode(benchmark::State& state, const char* name, const std::string& input) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    std::vector<UChar> target(input.size() + 1);
    for (auto _ : state) {
        status = U_ZERO_ERROR;
        benchmark::DoNotOptimize(ucnv_toUChars(converter, target.data(), static_cast<int32_t>(target.size()),
                                               input.data(), static_cast<int32_t>(input.size()), &status));
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

void runIconv(benchmark::State& state, const char* to, const char* from, const std::string& input) {
    iconv_t cd = iconv_open(to, from);
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

constexpr size_t kLength = 64 * 1024;

void Ebcdic37ToUcs2_kiv(benchmark::State& state) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(37)};
    runKiv(state, converter, ebcdicText(kLength));
}
void Ebcdic37ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "ibm-37", ebcdicText(kLength)); }
void Ebcdic37ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UTF-16LE", "IBM037", ebcdicText(kLength)); }

void AsciiUtf8ToUcs2_kiv(benchmark::State& state) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(1208)};
    runKiv(state, converter, asciiText(kLength));
}
void AsciiUtf8ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "UTF-8", asciiText(kLength)); }
void AsciiUtf8ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UTF-16LE", "UTF-8", asciiText(kLength)); }

void MixedUtf8ToUcs2_kiv(benchmark::State& state) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(1208)};
    runKiv(state, converter, mixedUtf8(kLength));
}
void MixedUtf8ToUcs2_icu(benchmark::State& state) { runIcuToUnicode(state, "UTF-8", mixedUtf8(kLength)); }
void MixedUtf8ToUcs2_iconv(benchmark::State& state) { runIconv(state, "UTF-16LE", "UTF-8", mixedUtf8(kLength)); }

std::string ucs2Of(const std::string& utf8) {
    KivClCodePage2UnicodeConverter converter{KivClCCSID(1208)};
    std::string out(utf8.size() * 2, '\0');
    out.resize(converter.convertBytes(&out[0], static_cast<unsigned int>(out.size()), utf8.data(),
                                      static_cast<unsigned int>(utf8.size())));
    return out;
}

void Ucs2ToUtf8_kiv(benchmark::State& state) {
    KivClUnicode2CodePageConverter converter{KivClCCSID(1208)};
    runKiv(state, converter, ucs2Of(mixedUtf8(kLength)));
}
void Ucs2ToUtf8_icu(benchmark::State& state) {
    const std::string input = ucs2Of(mixedUtf8(kLength));
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF-8", &status);
    std::vector<char> target(input.size() * 2);
    for (auto _ : state) {
        status = U_ZERO_ERROR;
        benchmark::DoNotOptimize(ucnv_fromUChars(converter, target.data(), static_cast<int32_t>(target.size()),
                                                 reinterpret_cast<const UChar*>(input.data()),
                                                 static_cast<int32_t>(input.size() / 2), &status));
    }
    ucnv_close(converter);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}
void Ucs2ToUtf8_iconv(benchmark::State& state) { runIconv(state, "UTF-8", "UTF-16LE", ucs2Of(mixedUtf8(kLength))); }

}  // namespace

BENCHMARK(Ebcdic37ToUcs2_kiv);
BENCHMARK(Ebcdic37ToUcs2_icu);
BENCHMARK(Ebcdic37ToUcs2_iconv);
BENCHMARK(AsciiUtf8ToUcs2_kiv);
BENCHMARK(AsciiUtf8ToUcs2_icu);
BENCHMARK(AsciiUtf8ToUcs2_iconv);
BENCHMARK(MixedUtf8ToUcs2_kiv);
BENCHMARK(MixedUtf8ToUcs2_icu);
BENCHMARK(MixedUtf8ToUcs2_iconv);
BENCHMARK(Ucs2ToUtf8_kiv);
BENCHMARK(Ucs2ToUtf8_icu);
BENCHMARK(Ucs2ToUtf8_iconv);
