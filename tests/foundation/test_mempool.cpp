#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <tuple>

#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"
#include "kiv_test_support.hpp"

namespace {

int gCalls = 0, gFailAt = 0;
void* flakyAllocator(unsigned int size) { return ++gCalls >= gFailAt ? nullptr : std::malloc(size); }

_KivStError gLast{};  // the last report and their count
int gReports = 0;
void logError(const _KivStError& error, void*) {
    gLast = error;
    ++gReports;
}

// Hooks whose allocator fails from its failAt-th call on.
struct FailFromCall : kivtest::ScopedAllocatorHooks {
    explicit FailFromCall(int failAt)
        : ScopedAllocatorHooks(flakyAllocator, nullptr, KivClMemoryManager::systemDeallocator) {
        gCalls = 0;
        gFailAt = failAt;
    }
};

unsigned int number = 0;

// The exception a call throws; a failure when it throws none or a fatal one.
KivClException thrown(const std::function<void()>& body) {
    try {
        body();
    } catch (const KivClException& e) {
        EXPECT_EQ(dynamic_cast<const KivClExceptionFatal*>(&e), nullptr) << "the memory manager's exception escaped";
        return e;
    }
    ADD_FAILURE() << "no exception";
    return KivClException(_KivStUserError{}, "", 0);
}

}  // namespace

TEST(MemoryPool, ConstructorsAndSizeHelpersRoundSafely) {
    const struct {
        unsigned int first, subsequent, threshold, firstCapacity, subsequentCapacity, clamped;
    } pools[] = {{100, 100, 10, 4072, 4072, 256}, {4097, 0, 70000, 8168, 4072, 65536}, {0, 12288, 1000, 4072, 12264, 1000}};
    for (const auto& row : pools) {
        KivClMemoryPool pool(row.first, row.subsequent, row.threshold);
        EXPECT_EQ(pool.getCapacityForFirstBlock(), row.firstCapacity) << row.first;
        EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), row.subsequentCapacity);
        EXPECT_EQ(pool.getThreshold(), row.clamped);
    }
    KivClMemoryPool pool(0, 0, 0);
    const struct {
        unsigned int size, aligned, paged;
    } sizes[] = {{0, 0, 0}, {5, 8, 4096}, {4096, 4096, 4096}, {4097, 4100, 8192}, {0xFFFFFFFFu, 0xFFFFFFFCu, 0xFFFFF000u}};
    for (const auto& row : sizes) {
        EXPECT_EQ(pool.getAlignedSizeFor(row.size), row.aligned) << row.size;
        EXPECT_EQ(pool.alignToPageSize(row.size), row.paged) << row.size;
    }
}

TEST(MemoryPool, ChunksGrowthAndTheThreshold) {
    KivClMemoryPool pool(4096, 4096, 256);
    char* a = static_cast<char*>(pool.allocate(5, number));
    EXPECT_EQ(pool.allocate(1), a + 8);
    EXPECT_EQ(number, 1u);
    EXPECT_EQ(pool.getCurrentFreeSize(), 4060u);
    EXPECT_EQ(pool.getLargestPossibleChunk(), 4072u);
    // Larger than a block: one block of 10000 + 24 page-aligned (12288).
    ASSERT_NE(pool.allocate(pool.getFirstBlock(), 10000, number), nullptr);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    EXPECT_EQ(number, 2u);
    EXPECT_EQ(second->getCapacity(), 12264u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());  // plenty left there
    // Passing over a block with less than the threshold left moves on.
    pool.allocate(4000);  // 60 bytes left in block 1
    EXPECT_EQ(pool.allocate(100, number), second->getStart() + 10000);
    EXPECT_EQ(pool.getCurrentBlock(), second);
    EXPECT_NE(pool.allocate(pool.getFirstBlock(), 60, number), nullptr);
    EXPECT_EQ(number, 1u);
}

TEST(MemoryPool, StateHandlesAndDeleteAll) {
    KivClMemoryPool pool(4096, 4096, 256);
    pool.allocate(100);
    void* state = pool.getCurrentStateHandle();
    pool.allocate(3000);
    pool.allocate(3000, number);
    ASSERT_EQ(number, 2u);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    pool.deleteAt(state);
    EXPECT_EQ(second->getFreeSize(), second->getCapacity());
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 8, number), state);
    int outside = 0;
    pool.deleteAt(&outside);  // held by no block: nothing changes
    EXPECT_EQ(pool.allocate(8), static_cast<char*>(state) + 8);
    pool.allocate(pool.getFirstBlock(), 5000, number);  // too big for block 2
    ASSERT_EQ(number, 3u);
    pool.deleteAll();  // block 2 (emptied by deleteAt) goes, block 3 stays as 2
    EXPECT_EQ(pool.getBlockCount(), 2u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock()->getBlockNumber(), 2u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());
    EXPECT_EQ(pool.getCurrentFreeSize(), 4072u);
    pool.deleteAll();
    EXPECT_EQ(pool.getBlockCount(), 1u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock(), nullptr);
}

TEST(MemoryPool, RefusalsReachTheHandlerOrThrow) {
    // Caller memory is used up without reports; an oversized chunk is reported.
    alignas(8) char memory[64];
    KivClMemoryPool caller(memory, sizeof memory);
    caller.setErrorHandler(logError, nullptr);
    gReports = 0;
    EXPECT_EQ(caller.getCapacityForSubsequentBlocks(), 0u);
    EXPECT_EQ(caller.allocate(caller.getFirstBlock(), 60, number), memory);
    EXPECT_EQ(caller.allocate(caller.getFirstBlock(), 4, number), memory + 60);
    EXPECT_TRUE(caller.allocate(4) == nullptr && gReports == 0);
    EXPECT_EQ(caller.allocate(65), nullptr);
    EXPECT_EQ(std::make_tuple(gReports, gLast.errorId, gLast.errorClass),
              std::make_tuple(1, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS));
    const KivClException tooBig = thrown([] { KivClMemoryPool(4096, 4096, 256).allocate(0xFFFFF000u); });
    EXPECT_EQ(tooBig.getError().errorId, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG);
    EXPECT_STREQ(tooBig.getModule(), "kiv_mempool:341");

    // A failing second block: the handler, then the pool's own exception.
    FailFromCall hooks(2);
    KivClMemoryPool pool(4096, 4096, 256);
    pool.setErrorHandler(logError, nullptr);
    number = 77;
    EXPECT_EQ(pool.allocate(5000, number), nullptr);
    EXPECT_EQ(std::make_tuple(number, gReports, gLast.errorId, gLast.errorClass, pool.getBlockCount()),
              std::make_tuple(77u, 2, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW, KIV_ERRCLASS_OUT_OF_MEMORY, 1u));
    pool.setErrorHandler(nullptr, nullptr);
    const KivClException grow = thrown([&pool] { pool.allocate(5000); });
    EXPECT_EQ(std::make_tuple(std::string(grow.getModule()), grow.getLine(), grow.getError().errorId,
                              grow.getError().severity, grow.getError().action),
              std::make_tuple(std::string("kiv_mempool:296"), 296u, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW,
                              KIV_SEVERITY_FATAL, KIV_ACTION_TERMINATE));
    EXPECT_NE(pool.allocate(16), nullptr);  // the first block still serves
}

TEST(MemoryPool, NoFirstBlockMeansEmptyCapacities) {
    FailFromCall hooks(1);
    alignas(8) char memory[16];
    KivClMemoryPool growing(4096, 4096, 256);
    KivClMemoryPool caller(memory, sizeof memory);
    for (KivClMemoryPool* pool : {&growing, &caller}) {
        EXPECT_EQ(pool->getCapacityForFirstBlock(), 0u);
        EXPECT_EQ(pool->getLargestPossibleChunk(), 0u);
        EXPECT_EQ(pool->getCurrentStateHandle(), nullptr);
        EXPECT_EQ(pool->allocate(8), nullptr);
        pool->deleteAll();
    }
}
