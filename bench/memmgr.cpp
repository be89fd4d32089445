// Allocation through the replaceable hooks beside direct malloc/free: the
// hook layer should cost one indirect call and one null test.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "kiv_memmgr.hpp"

static void Alloc_kiv(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* block = kivMalloc(size);
        benchmark::DoNotOptimize(block);
        kivFree(block);
    }
}

static void Alloc_malloc(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        void* block = std::malloc(size);
        benchmark::DoNotOptimize(block);
        std::free(block);
    }
}

BENCHMARK(Alloc_kiv)->Arg(16)->Arg(256)->Arg(4096);
BENCHMARK(Alloc_malloc)->Arg(16)->Arg(256)->Arg(4096);
