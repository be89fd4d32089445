// Pool: 32-byte chunks from a memory pool beside the same chunks from
// malloc. The pool releases a batch all at once (deleteAll), malloc one
// chunk at a time. Each iteration takes a batch of 1,000 chunks and releases
// the batch; the figure per iteration covers both.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "kiv_mempool.hpp"

namespace {

constexpr int kBatch = 1000;
constexpr unsigned int kChunk = 32;

void Pool_kiv(benchmark::State& state) {
    KivClMemoryPool pool(64 * 1024, 64 * 1024, 256);
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) benchmark::DoNotOptimize(pool.allocate(kChunk));
        pool.deleteAll();
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

void Pool_malloc(benchmark::State& state) {
    void* chunks[kBatch];
    for (auto _ : state) {
        for (int i = 0; i < kBatch; ++i) {
            chunks[i] = std::malloc(kChunk);
            benchmark::DoNotOptimize(chunks[i]);
        }
        for (int i = 0; i < kBatch; ++i) std::free(chunks[i]);
    }
    state.SetItemsProcessed(state.iterations() * kBatch);
}

}  // namespace

BENCHMARK(Pool_kiv);
BENCHMARK(Pool_malloc);
