#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

namespace {

// Allocator that fails from its failAt-th call on (0: never).
int gCalls = 0;
int gFailAt = 0;

void* flakyAllocator(unsigned int size) {
    ++gCalls;
    return gFailAt != 0 && gCalls >= gFailAt ? nullptr : std::malloc(size);
}

struct HandlerLog {
    int calls = 0;
    _KivStError last{};
};

void logError(const _KivStError& error, void* data) {
    HandlerLog* log = static_cast<HandlerLog*>(data);
    ++log->calls;
    log->last = error;
}

class MemoryPool : public ::testing::Test {
protected:
    void SetUp() override { gCalls = gFailAt = 0; }
    void TearDown() override {
        kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                               KivClMemoryManager::systemDeallocator);
    }
    // Installs the flaky allocator failing from call failAt on.
    static void failFromCall(int failAt) {
        gCalls = 0;
        gFailAt = failAt;
        kivSetNewMemoryManager(flakyAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    }
};

TEST_F(MemoryPool, ConstructorsRaiseAlignAndClampTheirSizes) {
    struct Row {
        unsigned int first, subsequent, threshold;
        unsigned int firstCapacity, subsequentCapacity, expectedThreshold;
    };
    const Row rows[] = {
        {100, 100, 10, 4072, 4072, 256},
        {4096, 4097, 256, 4072, 8168, 256},
        {4097, 0, 70000, 8168, 4072, 65536},
        {0, 12288, 1000, 4072, 12264, 1000},
    };
    for (const Row& row : rows) {
        KivClMemoryPool pool(row.first, row.subsequent, row.threshold);
        SCOPED_TRACE(row.first);
        EXPECT_EQ(pool.getCapacityForFirstBlock(), row.firstCapacity);
        EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), row.subsequentCapacity);
        EXPECT_EQ(pool.getThreshold(), row.expectedThreshold);
        EXPECT_EQ(pool.getBlockCount(), 1u);
        EXPECT_EQ(pool.getCurrentFreeSize(), row.firstCapacity);
        EXPECT_EQ(pool.getFirstBlockNumber(), 1u);
        EXPECT_FALSE(pool.isUsingCallerMemory());
    }
}

TEST_F(MemoryPool, SizeHelpersRoundWithoutOverflow) {
    KivClMemoryPool pool(0, 0, 0);
    struct Row {
        unsigned int size, aligned, paged;
    };
    const Row rows[] = {
        {0, 0, 0},
        {1, 4, 4096},
        {5, 8, 4096},
        {8, 8, 4096},
        {4096, 4096, 4096},
        {4097, 4100, 8192},
        {0xFFFFFFFFu, 0xFFFFFFFCu, 0xFFFFF000u},
        {0xFFFFFFFDu, 0xFFFFFFFCu, 0xFFFFF000u},
        {0xFFFFF001u, 0xFFFFF004u, 0xFFFFF000u},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(pool.getAlignedSizeFor(row.size), row.aligned) << row.size;
        EXPECT_EQ(pool.alignToPageSize(row.size), row.paged) << row.size;
    }
}

TEST_F(MemoryPool, ChunksComeInOrderFromTheCurrentBlock) {
    KivClMemoryPool pool(4096, 4096, 256);
    unsigned int number = 0;
    char* a = static_cast<char*>(pool.allocate(5, number));
    EXPECT_EQ(number, 1u);
    char* b = static_cast<char*>(pool.allocate(1));
    char* c = static_cast<char*>(pool.allocate(0));
    EXPECT_EQ(b, a + 8);
    EXPECT_EQ(c, b + 4);
    EXPECT_EQ(pool.getCurrentFreeSize(), 4072u - 12u);
    EXPECT_EQ(pool.getFirstBlock()->getChunkCount(), 3);
    EXPECT_EQ(pool.getLargestPossibleChunk(), 4072u);
    // Chunks are writable over their whole length.
    std::memset(a, 0xAB, 8);
    EXPECT_EQ(static_cast<unsigned char>(a[7]), 0xAB);
}

TEST_F(MemoryPool, ARequestLargerThanABlockGrowsByOneBlockOfItsSize) {
    KivClMemoryPool pool(4096, 4096, 256);
    unsigned int number = 0;
    void* big = pool.allocate(pool.getFirstBlock(), 10000, number);
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(number, 2u);
    EXPECT_EQ(pool.getBlockCount(), 2u);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    ASSERT_NE(second, nullptr);
    // 10000 + 24 page-aligned is 12288: 12264 usable.
    EXPECT_EQ(second->getCapacity(), 12264u);
    EXPECT_EQ(second->getFreeSize(), 2264u);
    // The first block still has plenty of room, so it stays current.
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());
    EXPECT_EQ(pool.allocate(4, number), pool.getFirstBlock()->getStart());
    EXPECT_EQ(number, 1u);
}

TEST_F(MemoryPool, AFullBlockHandsOverToTheNextOnceBelowTheThreshold) {
    KivClMemoryPool pool(4096, 4096, 256);
    unsigned int number = 0;
    ASSERT_NE(pool.allocate(4000, number), nullptr);  // 72 bytes left < 256
    void* next = pool.allocate(100, number);
    EXPECT_EQ(number, 2u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock()->getNextBlock());
    EXPECT_EQ(next, pool.getCurrentBlock()->getStart());
    // A small chunk still fits the first block, but allocation now starts
    // at the second.
    pool.allocate(4, number);
    EXPECT_EQ(number, 2u);
    // Allocating explicitly from the first block walks the list.
    EXPECT_NE(pool.allocate(pool.getFirstBlock(), 72, number), nullptr);
    EXPECT_EQ(number, 1u);
}

TEST_F(MemoryPool, StateHandleReturnsThePoolToAnEarlierPoint) {
    KivClMemoryPool pool(4096, 4096, 256);
    unsigned int number = 0;
    pool.allocate(100, number);
    void* state = pool.getCurrentStateHandle();
    pool.allocate(3000, number);
    pool.allocate(3000, number);  // in block 2
    ASSERT_EQ(pool.getBlockCount(), 2u);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNextBlock();
    pool.deleteAt(state);
    EXPECT_EQ(second->getFreeSize(), second->getCapacity());
    EXPECT_EQ(second->getChunkCount(), 0);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 8, number), state);
    EXPECT_EQ(number, 1u);

    // A position no block holds changes nothing.
    int outside = 0;
    const unsigned int freeBefore = pool.getFirstBlock()->getFreeSize();
    pool.deleteAt(&outside);
    EXPECT_EQ(pool.getFirstBlock()->getFreeSize(), freeBefore);
}

TEST_F(MemoryPool, DeleteAllKeepsUsedBlocksOnceAndFreesThemTheSecondTime) {
    KivClMemoryPool pool(4096, 4096, 256);
    unsigned int number = 0;
    for (int i = 0; i < 3; ++i) pool.allocate(4000, number);
    ASSERT_EQ(pool.getBlockCount(), 3u);
    pool.reset(pool.getFirstBlock()->getNextBlock()->getNextBlock());  // block 3 now unused

    pool.deleteAll();
    EXPECT_EQ(pool.getBlockCount(), 2u);
    EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());
    EXPECT_EQ(pool.getCurrentFreeSize(), 4072u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock()->getBlockNumber(), 2u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock()->getNextBlock(), nullptr);

    pool.deleteAll();
    EXPECT_EQ(pool.getBlockCount(), 1u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock(), nullptr);
    // Growth numbers new blocks after the remaining ones.
    pool.allocate(4000, number);
    pool.allocate(4000, number);
    EXPECT_EQ(number, 2u);
}

TEST_F(MemoryPool, CallerMemoryIsUsedUpWithoutGrowingOrReporting) {
    alignas(8) char memory[64];
    KivClMemoryPool pool(memory, sizeof memory);
    HandlerLog log;
    pool.setErrorHandler(logError, &log);
    EXPECT_TRUE(pool.isUsingCallerMemory());
    EXPECT_EQ(pool.getCapacityForFirstBlock(), 64u);
    EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), 0u);
    EXPECT_EQ(pool.getLargestPossibleChunk(), 64u);
    EXPECT_EQ(pool.getThreshold(), 0u);
    unsigned int number = 0;
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 60, number), memory);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 4, number), memory + 60);
    EXPECT_EQ(pool.allocate(pool.getFirstBlock(), 1, number), nullptr);
    EXPECT_EQ(pool.allocate(4, number), nullptr);
    EXPECT_EQ(log.calls, 0);
    EXPECT_EQ(pool.getBlockCount(), 1u);
    pool.deleteAll();
    EXPECT_EQ(pool.allocate(64, number), memory);
}

TEST_F(MemoryPool, SizeOnlyEntryRefusesChunksNoBlockCanHold) {
    alignas(8) char memory[64];
    KivClMemoryPool callerPool(memory, sizeof memory);
    HandlerLog log;
    callerPool.setErrorHandler(logError, &log);
    EXPECT_EQ(callerPool.allocate(65), nullptr);
    EXPECT_EQ(log.calls, 1);
    EXPECT_EQ(log.last.errorId, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG);
    EXPECT_EQ(log.last.errorClass, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS);

    KivClMemoryPool growing(4096, 4096, 256);
    try {
        growing.allocate(0xFFFFF000u);
        ADD_FAILURE() << "no exception";
    } catch (const KivClException& exception) {
        EXPECT_EQ(exception.getError().errorId, KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG);
        EXPECT_STREQ(exception.getModule(), "kiv_mempool:341");
    }
    EXPECT_EQ(growing.getBlockCount(), 1u);
}

TEST_F(MemoryPool, FailedGrowthReachesTheHandler) {
    failFromCall(2);
    KivClMemoryPool pool(4096, 4096, 256);
    ASSERT_EQ(pool.getBlockCount(), 1u);
    HandlerLog log;
    pool.setErrorHandler(logError, &log);
    unsigned int number = 77;
    EXPECT_EQ(pool.allocate(5000, number), nullptr);
    EXPECT_EQ(number, 77u);
    EXPECT_EQ(log.calls, 1);
    EXPECT_EQ(log.last.errorId, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW);
    EXPECT_EQ(log.last.errorClass, KIV_ERRCLASS_OUT_OF_MEMORY);
    EXPECT_EQ(pool.getBlockCount(), 1u);
    EXPECT_EQ(pool.getFirstBlock()->getNextBlock(), nullptr);
}

TEST_F(MemoryPool, FailedGrowthWithoutHandlerThrowsWithThePoolsModule) {
    failFromCall(2);
    KivClMemoryPool pool(4096, 4096, 256);
    try {
        pool.allocate(5000);
        ADD_FAILURE() << "no exception";
    } catch (const KivClExceptionFatal&) {
        ADD_FAILURE() << "the memory manager's exception escaped";
    } catch (const KivClException& exception) {
        EXPECT_STREQ(exception.getModule(), "kiv_mempool:296");
        EXPECT_EQ(exception.getLine(), 296u);
        EXPECT_EQ(exception.getError().errorId, KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW);
        EXPECT_EQ(exception.getError().errorClass, KIV_ERRCLASS_OUT_OF_MEMORY);
        EXPECT_EQ(exception.getError().severity, KIV_SEVERITY_FATAL);
        EXPECT_EQ(exception.getError().action, KIV_ACTION_TERMINATE);
        EXPECT_STREQ(exception.getCause(), "");
    }
    // The pool is still usable within its first block.
    EXPECT_NE(pool.allocate(16), nullptr);
}

TEST_F(MemoryPool, AFirstBlockThatCannotBeAllocatedLeavesAnEmptyPool) {
    failFromCall(1);
    KivClMemoryPool pool(4096, 4096, 256);
    alignas(8) char memory[16];
    KivClMemoryPool callerPool(memory, sizeof memory);
    for (const KivClMemoryPool* p : {&pool, &callerPool}) {
        EXPECT_EQ(p->getFirstBlock(), nullptr);
        EXPECT_EQ(p->getCapacityForFirstBlock(), 0u);
        EXPECT_EQ(p->getLargestPossibleChunk(), 0u);
        EXPECT_EQ(p->getCurrentFreeSize(), 0u);
        EXPECT_EQ(p->getCurrentStateHandle(), nullptr);
    }
    EXPECT_EQ(pool.allocate(8), nullptr);
    pool.deleteAll();
    pool.deleteAt(memory);
}

TEST_F(MemoryPool, ManyGrowthsAreAllReleased) {
    // Run under the sanitizers: every block, grown or kept, is freed once.
    KivClMemoryPool pool(4096, 4096, 256);
    std::vector<char*> chunks;
    for (int i = 0; i < 200; ++i) {
        char* chunk = static_cast<char*>(pool.allocate(1000));
        ASSERT_NE(chunk, nullptr);
        std::memset(chunk, i, 1000);
        chunks.push_back(chunk);
    }
    EXPECT_EQ(static_cast<unsigned char>(chunks[57][999]), 57u);
    EXPECT_EQ(pool.getBlockCount(), 50u);
    pool.deleteAll();
    EXPECT_EQ(pool.getBlockCount(), 50u);
}

}  // namespace
