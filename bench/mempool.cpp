// Many small chunks from a pool beside the same chunks from malloc: the pool
// releases them all at once, malloc one by one. Each iteration takes a batch
// of 1,000 chunks and releases the batch.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "kiv_mempool.hpp"

namespace {

constexpr int kBatch = 1000;

}  // namespace

static void SmallChunks_kiv(benchmark::State& state) {
    const unsigned int size = static_cast<unsigned int>(state.range(0));
    KivClMemoryPool pool(64 * 1024, 64 * 1024, 256);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) benchmark::DoNotOptimize(pool.allocate(size));
        pool.deleteAll();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

static void SmallChunks_malloc(benchmark::State& state) {
    const size_t size = static_cast<size_t>(state.range(0));
    void* chunks[kBatch];
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            chunks[i] = std::malloc(size);
            benchmark::DoNotOptimize(chunks[i]);
        }
        for (int i = 0; i < kBatch; ++i) std::free(chunks[i]);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

BENCHMARK(SmallChunks_kiv)->Arg(8)->Arg(24)->Arg(64);
BENCHMARK(SmallChunks_malloc)->Arg(8)->Arg(24)->Arg(64);
