#include <gtest/gtest.h>

#include <cstdlib>

#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

namespace {

// Allocator failing from its gFailAt-th call on.
int gCalls = 0;
int gFailAt = 0;
void* flakyAllocator(unsigned int size) { return ++gCalls >= gFailAt ? nullptr : std::malloc(size); }

_KivStError gLast{};
int gReports = 0;
void logError(const _KivStError& error, void* data) {
    gLast = error;
    gReports += *static_cast<int*>(data);
}

class MemoryPool : public ::testing::Test {
protected:
    void SetUp() override { gReports = 0; }
    void TearDown() override {
        kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    }
    static void failFromCall(int failAt) {
        gCalls = 0;
        gFailAt = failAt;
        kivSetNewMemoryManager(flakyAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    }
    int one_ = 1;
    unsigned int number_ = 0;
};

TEST_F(MemoryPool, ConstructorsAndSizeHelpersRoundSafely) {
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

TEST_F(MemoryPool, ChunksGrowthAndTheThreshold) {
    KivClMemoryPool pool(4096, 4096, 256);
    char* a = static_cast<char*>(pool.allocate(5, number_));
    EXPECT_EQ(pool.allocate(1), a + 8);
    EXPECT_EQ(number_, 1u);
    EXPECT_EQ(pool.getCurrentFreeSize(), 4060u);
    EXPECT_EQ(pool.getLargestPossibleChunk(), 4072u);

    // Larger than a block: one block of 10000 + 24 page-aligned (12288).
    ASSERT_NE(pool.allocate(pool.getFirstBlock(), 10000, number_), nullptr);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    EXPECT_EQ(number_, 2u);
    EXPECT_EQ(second->getCapacity(), 12264u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());  // plenty left there

    // Passing over a block with less than the threshold left moves on.
    pool.allocate(4000);  // 60 bytes left in block 1
    EXPECT_EQ(pool.allocate(100, number_), second->getStart() + 10000);
    EXPECT_EQ(pool.getCurrentBlock(), second);
    pool.allocate(4, number_);
    EXPECT_EQ(number_, 2u);
    EXPECT_NE(pool.allocate(pool.getFirstBlock(), 60, number_), nullptr);
    EXPECT_EQ(number_, 1u);
}

TEST_F(MemoryPool, StateHandlesAndDeleteAll) {
    KivClMemoryPool pool(4096, 4096, 256);
    pool.allocate(100);
    void* state = pool.getCurrentStateHandle();
    pool.allocate(3000);
    pool.allocate(3000, number_);
    ASSERT_EQ(number_, 2u);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    pool.deleteAt(state);
    EXPECT_EQ(second->getFreeSize(), second->getCapacity());
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 8, number_), state);
    int outside = 0;
    pool.deleteAt(&outside);  // held by no block: nothing changes
    EXPECT_EQ(pool.allocate(8), static_cast<char*>(state) + 8);

    pool.allocate(pool.getFirstBlock(), 5000, number_);  // too big for block 2
    ASSERT_EQ(number_, 3u);
    pool.deleteAll();  // block 2 (emptied by deleteAt) goes, block 3 stays as 2
    EXPECT_EQ(pool.getBlockCount(), 2u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock()->getBlockNumber(), 2u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());
    EXPECT_EQ(pool.getCurrentFreeSize(), 4072u);
    pool.deleteAll();
    EXPECT_EQ(pool.getBlockCount(), 1u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock(), nullptr);
}

TEST_F(MemoryPool, CallerMemoryIsUsedUpWithoutReportsButOversizedChunksAreRefused) {
    alignas(8) char memory[64];
    KivClMemoryPool pool(memory, sizeof memory);
    pool.setErrorHandler(logError, &one_);
    EXPECT_EQ(pool.getCapacityForFirstBlock(), 64u);
    EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), 0u);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 60, number_), memory);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 4, number_), memory + 60);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 1, number_), nullptr);
    EXPECT_EQ(pool.allocate(4), nullptr);
    EXPECT_EQ(gReports, 0);
    EXPECT_EQ(pool.allocate(65), nullptr);
    EXPECT_EQ(gReports, 1);
    EXPECT_EQ(gLast.errorId, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG);
    EXPECT_EQ(gLast.errorClass, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS);

    KivClMemoryPool growing(4096, 4096, 256);
    try {
        growing.allocate(0xFFFFF000u);
        ADD_FAILURE() << "no exception";
    } catch (const KivClException& exception) {
        EXPECT_EQ(exception.getError().errorId, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG);
        EXPECT_STREQ(exception.getModule(), "kiv_mempool:341");
    }
}

TEST_F(MemoryPool, AFailingSecondBlockReachesTheHandlerOrThrows) {
    failFromCall(2);
    KivClMemoryPool pool(4096, 4096, 256);
    pool.setErrorHandler(logError, &one_);
    number_ = 77;
    EXPECT_EQ(pool.allocate(5000, number_), nullptr);
    EXPECT_EQ(number_, 77u);
    EXPECT_EQ(gReports, 1);
    EXPECT_EQ(gLast.errorId, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW);
    EXPECT_EQ(gLast.errorClass, KIV_ERRCLASS_OUT_OF_MEMORY);
    EXPECT_EQ(pool.getBlockCount(), 1u);

    pool.setErrorHandler(nullptr, nullptr);
    try {
        pool.allocate(5000);
        ADD_FAILURE() << "no exception";
    } catch (const KivClExceptionFatal&) {
        ADD_FAILURE() << "the memory manager's exception escaped";
    } catch (const KivClException& exception) {
        EXPECT_STREQ(exception.getModule(), "kiv_mempool:296");
        EXPECT_EQ(exception.getLine(), 296u);
        const _KivStUserError& error = exception.getError();
        EXPECT_EQ(error.errorId, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW);
        EXPECT_EQ(error.errorClass, KIV_ERRCLASS_OUT_OF_MEMORY);
        EXPECT_EQ(error.severity, KIV_SEVERITY_FATAL);
        EXPECT_EQ(error.action, KIV_ACTION_TERMINATE);
        EXPECT_STREQ(exception.getCause(), "");
    }
    EXPECT_NE(pool.allocate(16), nullptr);  // the first block still serves
}

TEST_F(MemoryPool, NoFirstBlockMeansEmptyCapacities) {
    failFromCall(1);
    alignas(8) char memory[16];
    KivClMemoryPool growing(4096, 4096, 256);
    KivClMemoryPool caller(memory, sizeof memory);
    for (KivClMemoryPool* pool : {&growing, &caller}) {
        EXPECT_EQ(pool->getCapacityForFirstBlock(), 0u);
        EXPECT_EQ(pool->getLargestPossibleChunk(), 0u);
        EXPECT_EQ(pool->getCurrentFreeSize(), 0u);
        EXPECT_EQ(pool->getCurrentStateHandle(), nullptr);
        EXPECT_EQ(pool->allocate(8), nullptr);
        pool->deleteAll();
    }
}

}  // namespace
