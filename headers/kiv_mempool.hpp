// Memory pools: many small chunks from a few large blocks.
//
// A KivClMemoryPool hands out chunks by advancing a position inside a block;
// there is no per-chunk bookkeeping and chunks are never freed one by one.
// They are released all at once (deleteAll), back to a remembered position
// (getCurrentStateHandle + deleteAt) or block by block (reset). A growing
// pool obtains its blocks through the memory manager's allocator hook in
// page-aligned sizes and adds blocks on demand; a pool over caller memory
// works inside that memory only and never grows.
//
// Failure policy: when a block cannot be added, the pool reports
// MEMORYPOOL_COULD_NOT_GROW to the installed error handler (and the
// allocation answers null) or, without a handler, throws a KivClException
// with module text "kiv_mempool:296". A pool over caller memory that is used
// up simply answers null. A constructor that cannot get its first block
// swallows the failure and leaves a pool without blocks, whose capacities
// are 0 and whose allocations answer null.
//
// Every block is accounted with a header of HEADER_SIZE (24) bytes: a block
// of 4096 bytes offers 4072 usable bytes. On 64-bit hosts the header object
// itself is larger; a pool-owned block is then one allocation of its usable
// bytes plus that header, so the usable sizes are the same on every host.
//
// Example:
//   KivClMemoryPool pool(100, 100, 10);      // blocks of 4096, threshold 256
//   pool.getCapacityForFirstBlock();         // 4072
//   void* state = pool.getCurrentStateHandle();
//   void* a = pool.allocate(5);              // 8 bytes taken (aligned to 4)
//   pool.getCurrentFreeSize();               // 4064
//   pool.deleteAt(state);                    // a is released again
//   pool.allocate(8) == a;                   // true
//
// @warning deleteAt, deleteAll, reset and the destructor release chunks the
// caller may still point to; the pool does not know which chunks are live.
#ifndef KIV_MEMPOOL_HPP
#define KIV_MEMPOOL_HPP

#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_exception.hpp"

// The header of one block and the bounds of its usable bytes.
class KivClMemoryPoolBlock {
public:
    KivClMemoryPoolBlock(char* start, unsigned int capacity, uint32_t blockNumber);

    // Sets the position where the next chunk begins.
    void reset(void* position) { nextFree_ = static_cast<char*>(position); }

    // Bytes still free: end - next free + 1.
    unsigned int getFreeSize() const {
        return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(end_) + 1 -
                                         reinterpret_cast<uintptr_t>(nextFree_));
    }
    // Usable bytes: end - start + 1.
    unsigned int getCapacity() const {
        return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(end_) + 1 -
                                         reinterpret_cast<uintptr_t>(start_));
    }
    // position lies in [start, end + 1].
    bool holds(const void* position) const;

    char* getStart() const { return start_; }
    char* getEnd() const { return end_; }
    char* getNextFree() const { return nextFree_; }
    KivClMemoryPoolBlock* getNextBlock() const { return nextBlock_; }
    int32_t getChunkCount() const { return chunkCount_; }
    uint32_t getBlockNumber() const { return blockNumber_; }

private:
    friend class KivClMemoryPool;

    // Takes size bytes at the next-free position; the caller checked room.
    void* take(unsigned int size) {
        char* chunk = nextFree_;
        nextFree_ += size;
        ++chunkCount_;
        return chunk;
    }
    // No chunks, next free at the start.
    void empty() {
        nextFree_ = start_;
        chunkCount_ = 0;
    }

    char* start_;
    char* end_;  // last usable byte
    char* nextFree_;
    KivClMemoryPoolBlock* nextBlock_;
    int32_t chunkCount_;
    uint32_t blockNumber_;
};

// Hands out chunks from large blocks and frees them all at once.
class KivClMemoryPool {
public:
    typedef void (*ErrorHandler)(const _KivStError& error, void* userData);

    // Bytes accounted for every block header.
    static constexpr unsigned int HEADER_SIZE = 24;
    static constexpr unsigned int PAGE_SIZE = 4096;
    // Chunk sizes are aligned to this many bytes.
    static constexpr unsigned int CHUNK_ALIGNMENT = 4;
    static constexpr unsigned int MIN_THRESHOLD = 256;
    static constexpr unsigned int MAX_THRESHOLD = 65536;

    // Module text and line of the exception for a pool that cannot grow.
    static constexpr const char* GROW_MODULE = "kiv_mempool:296";
    static constexpr unsigned long GROW_LINE = 296;
    // Module text and line of the exception for a chunk no block can hold.
    static constexpr const char* CHUNK_MODULE = "kiv_mempool:341";
    static constexpr unsigned long CHUNK_LINE = 341;

    // A growing pool. Both sizes are raised to at least PAGE_SIZE and
    // aligned up to a multiple of it; threshold is clamped to 256..65536.
    // The first block (number 1) is allocated at once and is current.
    KivClMemoryPool(unsigned int firstBlockSize, unsigned int subsequentBlockSize,
                    unsigned int threshold);
    // A pool whose only block is memory[0..size-1]; it never grows and never
    // frees memory (only the separately allocated block header).
    KivClMemoryPool(void* memory, unsigned int size);
    ~KivClMemoryPool();

    KivClMemoryPool(const KivClMemoryPool&) = delete;
    KivClMemoryPool& operator=(const KivClMemoryPool&) = delete;

    // Takes size bytes starting at block (following blocks are tried in
    // order, and the pool grows at the end when it may). Returns the chunk
    // and sets blockNumber to the number of the block holding it; null when
    // the pool cannot grow or growing failed and a handler took the error.
    // size is taken as given: align it with getAlignedSizeFor first where
    // alignment matters. A size of 0 returns the next-free position.
    void* allocate(KivClMemoryPoolBlock* block, unsigned int size, unsigned int& blockNumber);

    // The fast entry: size aligned with getAlignedSizeFor, taken from the
    // current block (the block-based allocate above when it does not fit).
    // A chunk that no block of this pool could ever hold is refused with
    // MEMORYPOOL_CHUNK_TOO_BIG (class DATA_OUT_OF_BOUNDS), through the
    // handler (answer null) or as a KivClException with module text
    // "kiv_mempool:341": for a pool that cannot grow, more than the
    // capacity of its block; for a growing pool, a size whose block would
    // not fit 32 bits. A pool without blocks answers null.
    void* allocate(unsigned int size, unsigned int& blockNumber) {
        const unsigned int aligned = getAlignedSizeFor(size);
        KivClMemoryPoolBlock* block = currentBlock_;
        if (block != nullptr && aligned <= block->getFreeSize()) {
            blockNumber = block->blockNumber_;
            return block->take(aligned);
        }
        return allocateSlow(aligned, blockNumber);
    }
    void* allocate(unsigned int size) {
        unsigned int blockNumber;
        return allocate(size, blockNumber);
    }

    // Releases everything allocated at or after position: the first block
    // (in list order) with start <= position <= end + 1 hands out position
    // next, every later block is emptied. Unknown positions do nothing.
    void deleteAt(void* position);
    // Releases all chunks. Blocks after the first that held no chunks are
    // freed, the others emptied and kept (then numbered 2, 3, ... again);
    // the first block becomes current. A second call frees all blocks but
    // the first.
    void deleteAll();
    // Empties block and every block after it (null: nothing).
    void reset(KivClMemoryPoolBlock* block);

    // Next-free position of the current block (null without one).
    void* getCurrentStateHandle() const;
    unsigned int getFirstBlockNumber() const { return 1; }
    // Free bytes of the current block; 0 without one.
    unsigned int getCurrentFreeSize() const;
    // Usable bytes of the first block; 0 without one.
    unsigned int getCapacityForFirstBlock() const;
    // Subsequent block size - HEADER_SIZE; 0 for a pool that cannot grow.
    unsigned int getCapacityForSubsequentBlocks() const;
    // The larger of the first block's free bytes and the subsequent
    // capacity; 0 without a first block.
    unsigned int getLargestPossibleChunk() const;
    // With alignment, size rounded up to a multiple of 4 (rounded down
    // when rounding up would overflow 32 bits); else size.
    unsigned int getAlignedSizeFor(unsigned int size) const {
        if (!aligned_) return size;
        const unsigned int mask = CHUNK_ALIGNMENT - 1;
        return size > UINT32_MAX - mask ? size & ~mask : (size + mask) & ~mask;
    }
    // size rounded up to a multiple of PAGE_SIZE (down when up overflows).
    unsigned int alignToPageSize(unsigned int size) const;

    // Installs the handler that receives the pool's errors (null: none).
    void setErrorHandler(ErrorHandler handler, void* userData);

    KivClMemoryPoolBlock* getFirstBlock() const { return firstBlock_; }
    KivClMemoryPoolBlock* getCurrentBlock() const { return currentBlock_; }
    uint32_t getBlockCount() const { return blockCount_; }
    uint32_t getSubsequentBlockSize() const { return subsequentBlockSize_; }
    uint32_t getThreshold() const { return threshold_; }
    bool isUsingCallerMemory() const { return callerMemory_; }

private:
    // The size-only entry when the current block is too small.
    void* allocateSlow(unsigned int alignedSize, unsigned int& blockNumber);
    // Appends a block able to hold size bytes after last; null when the
    // allocation failed and the handler took the error.
    KivClMemoryPoolBlock* grow(KivClMemoryPoolBlock* last, unsigned int size);
    // Reports error to the handler, or throws it with module and line.
    void report(const _KivStUserError& error, const char* module, unsigned long line);
    // A new pool-owned block of capacity usable bytes, numbered number.
    static KivClMemoryPoolBlock* newBlock(unsigned int capacity, uint32_t number);
    void freeBlock(KivClMemoryPoolBlock* block);

    KivClMemoryPoolBlock* firstBlock_;
    KivClMemoryPoolBlock* currentBlock_;
    uint32_t blockCount_;
    uint32_t subsequentBlockSize_;
    uint32_t threshold_;
    bool aligned_;
    bool callerMemory_;
    ErrorHandler errorHandler_;
    void* handlerData_;
};

#endif  // KIV_MEMPOOL_HPP
