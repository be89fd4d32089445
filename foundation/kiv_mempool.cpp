// Memory pools: chunks handed out by advancing a position in a block.
#include "kiv_mempool.hpp"

#include <new>

#include "kiv_memmgr.hpp"

KivClMemoryPoolBlock::KivClMemoryPoolBlock(char* start, unsigned int capacity, uint32_t blockNumber)
    : start_(start),
      // Integer arithmetic: an empty block's end lies one before its start.
      end_(reinterpret_cast<char*>(reinterpret_cast<uintptr_t>(start) + capacity - 1)),
      nextFree_(start),
      nextBlock_(nullptr),
      chunkCount_(0),
      blockNumber_(blockNumber) {}

bool KivClMemoryPoolBlock::holds(const void* position) const {
    const uintptr_t at = reinterpret_cast<uintptr_t>(position);
    return at >= reinterpret_cast<uintptr_t>(start_) && at <= reinterpret_cast<uintptr_t>(end_) + 1;
}

KivClMemoryPool::KivClMemoryPool(unsigned int firstBlockSize, unsigned int subsequentBlockSize,
                                 unsigned int threshold)
    : firstBlock_(nullptr),
      currentBlock_(nullptr),
      blockCount_(0),
      subsequentBlockSize_(0),
      threshold_(threshold < MIN_THRESHOLD   ? MIN_THRESHOLD
                 : threshold > MAX_THRESHOLD ? MAX_THRESHOLD
                                             : threshold),
      aligned_(true),
      callerMemory_(false),
      errorHandler_(nullptr),
      handlerData_(nullptr) {
    const unsigned int firstSize = alignToPageSize(firstBlockSize < PAGE_SIZE ? PAGE_SIZE : firstBlockSize);
    subsequentBlockSize_ = alignToPageSize(subsequentBlockSize < PAGE_SIZE ? PAGE_SIZE : subsequentBlockSize);
    try {
        firstBlock_ = newBlock(firstSize - HEADER_SIZE, 1);
        blockCount_ = 1;
    } catch (const KivClException&) {
        // A pool without blocks: its capacities read 0 and it hands out nothing.
    }
    currentBlock_ = firstBlock_;
}

KivClMemoryPool::KivClMemoryPool(void* memory, unsigned int size)
    : firstBlock_(nullptr),
      currentBlock_(nullptr),
      blockCount_(0),
      subsequentBlockSize_(0),
      threshold_(0),
      aligned_(true),
      callerMemory_(true),
      errorHandler_(nullptr),
      handlerData_(nullptr) {
    if (memory == nullptr) return;
    try {
        void* header = kivMalloc(sizeof(KivClMemoryPoolBlock));
        firstBlock_ = new (header) KivClMemoryPoolBlock(static_cast<char*>(memory), size, 1);
        blockCount_ = 1;
    } catch (const KivClException&) {
        // As for a growing pool: no block, nothing to hand out.
    }
    currentBlock_ = firstBlock_;
}

KivClMemoryPool::~KivClMemoryPool() {
    KivClMemoryPoolBlock* block = firstBlock_;
    while (block != nullptr) {
        KivClMemoryPoolBlock* next = block->nextBlock_;
        freeBlock(block);
        block = next;
    }
    firstBlock_ = nullptr;
    currentBlock_ = nullptr;
    errorHandler_ = nullptr;
}

KivClMemoryPoolBlock* KivClMemoryPool::newBlock(unsigned int capacity, uint32_t number) {
    // Header and usable bytes in one allocation; the size is computed in
    // size_t so that the memory manager refuses what exceeds 32 bits.
    void* raw = kivMalloc(sizeof(KivClMemoryPoolBlock) + static_cast<size_t>(capacity));
    char* start = static_cast<char*>(raw) + sizeof(KivClMemoryPoolBlock);
    return new (raw) KivClMemoryPoolBlock(start, capacity, number);
}

void KivClMemoryPool::freeBlock(KivClMemoryPoolBlock* block) {
    block->~KivClMemoryPoolBlock();
    kivFree(block);
}

void* KivClMemoryPool::allocate(KivClMemoryPoolBlock* block, unsigned int size, unsigned int& blockNumber) {
    if (block == nullptr) return nullptr;
    KivClMemoryPoolBlock* last = block;
    while (size > last->getFreeSize() && last->nextBlock_ != nullptr) last = last->nextBlock_;

    void* chunk = nullptr;
    KivClMemoryPoolBlock* holder = nullptr;
    if (size <= last->getFreeSize()) {
        holder = last;
    } else if (subsequentBlockSize_ != 0) {
        holder = grow(last, size);
    }
    if (holder != nullptr) {
        chunk = holder->take(size);
        blockNumber = holder->blockNumber_;
    }

    // A block passed over with less than the threshold left stops being where
    // allocation starts: the earliest such block hands over to its successor.
    for (KivClMemoryPoolBlock* passed = block; passed != holder && passed != nullptr;
         passed = passed->nextBlock_) {
        if (passed->getFreeSize() < threshold_ && passed->nextBlock_ != nullptr) {
            currentBlock_ = passed->nextBlock_;
            break;
        }
    }
    return chunk;
}

void* KivClMemoryPool::allocateSlow(unsigned int alignedSize, unsigned int& blockNumber) {
    if (currentBlock_ == nullptr) return nullptr;
    const uint64_t blockSize = static_cast<uint64_t>(alignedSize) + HEADER_SIZE;
    const bool tooBig = subsequentBlockSize_ == 0
                            ? alignedSize > firstBlock_->getCapacity()
                            : (blockSize + PAGE_SIZE - 1) / PAGE_SIZE * PAGE_SIZE > UINT32_MAX;
    if (tooBig) {
        report(_KivStUserError{KIV_ERRID_MEMORYPOOL_CHUNK_TOO_BIG, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS,
                               KIV_SEVERITY_NORMAL, KIV_ACTION_USER},
               CHUNK_MODULE, CHUNK_LINE);
        return nullptr;
    }
    return allocate(currentBlock_, alignedSize, blockNumber);
}

KivClMemoryPoolBlock* KivClMemoryPool::grow(KivClMemoryPoolBlock* last, unsigned int size) {
    uint64_t capacity = subsequentBlockSize_ - HEADER_SIZE;
    if (size > capacity) {
        uint64_t blockSize = static_cast<uint64_t>(size) + HEADER_SIZE;
        if (aligned_) blockSize = (blockSize + PAGE_SIZE - 1) / PAGE_SIZE * PAGE_SIZE;
        capacity = blockSize - HEADER_SIZE;
    }
    KivClMemoryPoolBlock* added = nullptr;
    try {
        if (capacity > UINT32_MAX) {
            KivClMemoryManager::outOfMemory(GROW_MODULE, static_cast<int>(GROW_LINE), UINT32_MAX);
        }
        added = newBlock(static_cast<unsigned int>(capacity), blockCount_ + 1);
    } catch (const KivClException& exception) {
        const _KivStUserError& cause = exception.getError();
        report(_KivStUserError{KIV_ERRID_MEMORYPOOL_COULD_NOT_GROW, cause.errorClass, cause.severity,
                               cause.action},
               GROW_MODULE, GROW_LINE);
        return nullptr;
    }
    blockCount_ = added->blockNumber_;
    last->nextBlock_ = added;
    return added;
}

void KivClMemoryPool::report(const _KivStUserError& error, const char* module, unsigned long line) {
    if (errorHandler_ != nullptr) {
        errorHandler_(_KivStError{error.errorId, error.errorClass}, handlerData_);
        return;
    }
    throw KivClException(error, module, line, "");
}

void KivClMemoryPool::deleteAt(void* position) {
    for (KivClMemoryPoolBlock* block = firstBlock_; block != nullptr; block = block->nextBlock_) {
        if (block->holds(position)) {
            reset(block->nextBlock_);
            block->reset(position);
            return;
        }
    }
}

void KivClMemoryPool::deleteAll() {
    if (firstBlock_ == nullptr) return;
    KivClMemoryPoolBlock* kept = firstBlock_;
    uint32_t number = 1;
    while (kept->nextBlock_ != nullptr) {
        KivClMemoryPoolBlock* block = kept->nextBlock_;
        if (block->chunkCount_ <= 0) {
            kept->nextBlock_ = block->nextBlock_;
            freeBlock(block);
        } else {
            block->empty();
            block->blockNumber_ = ++number;
            kept = block;
        }
    }
    blockCount_ = number;
    firstBlock_->empty();
    currentBlock_ = firstBlock_;
}

void KivClMemoryPool::reset(KivClMemoryPoolBlock* block) {
    for (; block != nullptr; block = block->nextBlock_) block->empty();
}

void* KivClMemoryPool::getCurrentStateHandle() const {
    return currentBlock_ != nullptr ? currentBlock_->nextFree_ : nullptr;
}

unsigned int KivClMemoryPool::getCurrentFreeSize() const {
    return currentBlock_ != nullptr ? currentBlock_->getFreeSize() : 0;
}

unsigned int KivClMemoryPool::getCapacityForFirstBlock() const {
    return firstBlock_ != nullptr ? firstBlock_->getCapacity() : 0;
}

unsigned int KivClMemoryPool::getCapacityForSubsequentBlocks() const {
    return subsequentBlockSize_ != 0 ? subsequentBlockSize_ - HEADER_SIZE : 0;
}

unsigned int KivClMemoryPool::getLargestPossibleChunk() const {
    if (firstBlock_ == nullptr) return 0;
    const unsigned int firstFree = firstBlock_->getFreeSize();
    const unsigned int subsequent = getCapacityForSubsequentBlocks();
    return firstFree > subsequent ? firstFree : subsequent;
}

unsigned int KivClMemoryPool::alignToPageSize(unsigned int size) const {
    const unsigned int mask = PAGE_SIZE - 1;
    return size > UINT32_MAX - mask ? size & ~mask : (size + mask) & ~mask;
}

void KivClMemoryPool::setErrorHandler(ErrorHandler handler, void* userData) {
    errorHandler_ = handler;
    handlerData_ = userData;
}
