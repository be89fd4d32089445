// Pattern matching beside the usual alternatives, in one run (names are
// <Case>_<implementation> for bench/compare):
//  - StringSearch: the skip-table search of a 20-character pattern in 1 MB
//    of text beside memmem and std::boyer_moore_horspool_searcher;
//  - Wildcard...: the wildcard engine beside fnmatch, on ordinary file-name
//    patterns and on a pathological pattern (thirty "*a" pairs) that makes a
//    plain recursive matcher exponential.
#include <benchmark/benchmark.h>

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "kiv_match.hpp"

namespace {

// One megabyte over a small alphabet, so that partial matches are frequent
// and a one-character skip stays short, with the needle at its very end.
std::string searchText(size_t length, const std::string& needle) {
    std::mt19937 rng(2024);
    std::uniform_int_distribution<int> pick(0, 3);
    std::string text(length - needle.size(), ' ');
    for (char& c : text) c = "acgt"[pick(rng)];
    return text + needle;
}

const std::string NEEDLE = "gattacagattacattgcat";  // 20 characters
constexpr size_t kTextLength = 1 << 20;

void StringSearch_kiv(benchmark::State& state) {
    const std::string text = searchText(kTextLength, NEEDLE);
    KivClStringSearch search(NEEDLE.c_str(), false);
    for (auto _ : state) benchmark::DoNotOptimize(search.getPattern(text.data(), text.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void StringSearch_memmem(benchmark::State& state) {
    const std::string text = searchText(kTextLength, NEEDLE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(memmem(text.data(), text.size(), NEEDLE.data(), NEEDLE.size()));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void StringSearch_stdHorspool(benchmark::State& state) {
    const std::string text = searchText(kTextLength, NEEDLE);
    const std::boyer_moore_horspool_searcher searcher(NEEDLE.begin(), NEEDLE.end());
    for (auto _ : state) benchmark::DoNotOptimize(std::search(text.begin(), text.end(), searcher));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

const std::vector<std::string>& fileNames() {
    static const std::vector<std::string> names = {
        "config.ini", "README", "trace.log.1", "kiv_match.cpp", "settings.INI", "a.b.c.ini",
        ".ini", "notes.txt", "archive.tar.gz", "Makefile", "server-2024-11-23.ini.bak", "x"};
    return names;
}

void WildcardFileNames_kiv(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::string& name : fileNames()) {
            benchmark::DoNotOptimize(kivMatchesWildcardPattern("*.in?", name.c_str(), true));
        }
    }
}

void WildcardFileNames_fnmatch(benchmark::State& state) {
    for (auto _ : state) {
        for (const std::string& name : fileNames()) {
            benchmark::DoNotOptimize(fnmatch("*.in?", name.c_str(), 0));
        }
    }
}

std::string starAPairs(int pairs) {
    std::string pattern;
    for (int i = 0; i < pairs; ++i) pattern += "*a";
    return pattern;
}

// Thirty "*a" pairs and a final "b" against a long run of "a": no match, and
// every "*" has many candidate positions.
void WildcardPathological_kiv(benchmark::State& state) {
    const std::string pattern = starAPairs(30) + "b";
    const std::string text(static_cast<size_t>(state.range(0)), 'a');
    for (auto _ : state) {
        benchmark::DoNotOptimize(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void WildcardPathological_fnmatch(benchmark::State& state) {
    const std::string pattern = starAPairs(30) + "b";
    const std::string text(static_cast<size_t>(state.range(0)), 'a');
    for (auto _ : state) benchmark::DoNotOptimize(fnmatch(pattern.c_str(), text.c_str(), 0));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

// The same pairs against a text of "a" ending in "b": the pattern's last
// "a" keeps matching too early, so the last "*" must keep moving.
void WildcardAlmostMatch_kiv(benchmark::State& state) {
    const std::string pattern = starAPairs(30);
    const std::string text = std::string(static_cast<size_t>(state.range(0)), 'a') + "b";
    for (auto _ : state) {
        benchmark::DoNotOptimize(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void WildcardAlmostMatch_fnmatch(benchmark::State& state) {
    const std::string pattern = starAPairs(30);
    const std::string text = std::string(static_cast<size_t>(state.range(0)), 'a') + "b";
    for (auto _ : state) benchmark::DoNotOptimize(fnmatch(pattern.c_str(), text.c_str(), 0));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

}  // namespace

BENCHMARK(StringSearch_kiv);
BENCHMARK(StringSearch_memmem);
BENCHMARK(StringSearch_stdHorspool);
BENCHMARK(WildcardFileNames_kiv);
BENCHMARK(WildcardFileNames_fnmatch);
BENCHMARK(WildcardPathological_kiv)->Arg(64)->Arg(1 << 12)->Arg(1 << 16);
BENCHMARK(WildcardPathological_fnmatch)->Arg(64)->Arg(1 << 12)->Arg(1 << 16);
BENCHMARK(WildcardAlmostMatch_kiv)->Arg(64)->Arg(1 << 12)->Arg(1 << 16);
BENCHMARK(WildcardAlmostMatch_fnmatch)->Arg(64)->Arg(1 << 12)->Arg(1 << 16);
