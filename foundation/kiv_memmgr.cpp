// The replaceable allocator behind kivMalloc and its family.
#include "kiv_memmgr.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "foundation/kiv_memgrow.hpp"

void* KivClMemoryManager::systemAllocator(unsigned int size) { return std::malloc(size); }

void* KivClMemoryManager::systemReallocator(void* pointer, unsigned int size) {
    return std::realloc(pointer, size);
}

void KivClMemoryManager::systemDeallocator(void* pointer) { std::free(pointer); }

// Constant-initialised: usable before any dynamic initialiser runs.
KivPfuAllocator KivClMemoryManager::cv_pfuAllocatorCallback = &KivClMemoryManager::systemAllocator;
KivPfuReallocator KivClMemoryManager::cv_pfuReallocatorCallback =
    &KivClMemoryManager::systemReallocator;
KivPfuDeallocator KivClMemoryManager::cv_pfuDeallocatorCallback =
    &KivClMemoryManager::systemDeallocator;

void* kivGrowBlock(void* block, size_t keptBytes, size_t newSize) {
    void* grown = kivMalloc(newSize);
    if (keptBytes > 0) std::memcpy(grown, block, keptBytes);
    kivFree(block);
    return grown;
}

bool KivClMemoryManager::hasUserDefinedMgr() {
    return cv_pfuAllocatorCallback != &KivClMemoryManager::systemAllocator;
}

void KivClMemoryManager::outOfMemory(const char* module, int line, unsigned int size) {
    _KivStUserError error{};
    error.severity = KIV_SEVERITY_FATAL;
    error.action = KIV_ACTION_TERMINATE;
    if (size == 0) {
        error.errorId = KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT;
        error.errorClass = KIV_ERRCLASS_INVALID_DATA;
    } else {
        error.errorId = hasUserDefinedMgr() ? KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY
                                            : KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY;
        error.errorClass = KIV_ERRCLASS_OUT_OF_MEMORY;
    }
    throw KivClExceptionFatal(error, module, static_cast<unsigned long>(line), "");
}

void* KivClMemoryManager::realloc(void* pointer, unsigned int size) {
    if (cv_pfuReallocatorCallback == nullptr) {
        const _KivStUserError error{KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC,
                                    KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED, KIV_SEVERITY_FATAL,
                                    KIV_ACTION_ABORT};
        throw KivClExceptionFatal(error, NO_REALLOC_MODULE, NO_REALLOC_LINE, "");
    }
    void* block = cv_pfuReallocatorCallback(pointer, size);
    if (block == nullptr) outOfMemory(REALLOC_MODULE, REALLOC_LINE, size);
    return block;
}

void KivClMemoryManager::free(void* pointer) {
    if (pointer != nullptr) cv_pfuDeallocatorCallback(pointer);
}

bool KivClMemoryManager::setNewMemoryManager(KivPfuAllocator allocator,
                                             KivPfuReallocator reallocator,
                                             KivPfuDeallocator deallocator) {
    // Without these two the next allocation or free would jump to null.
    if (allocator == nullptr || deallocator == nullptr) return false;
    cv_pfuAllocatorCallback = allocator;
    cv_pfuReallocatorCallback = reallocator;
    cv_pfuDeallocatorCallback = deallocator;
    if (reallocator == nullptr && !hasUserDefinedMgr()) {
        cv_pfuReallocatorCallback = &KivClMemoryManager::systemReallocator;
    }
    return true;
}

// Taking their addresses keeps out-of-line copies of the inline kivMalloc
// and kivFree in the library, exported under their plain names.
namespace {
__attribute__((used)) void* (*const gs_pfuExportedMalloc)(size_t) = &kivMalloc;
__attribute__((used)) void (*const gs_pfuExportedFree)(void*) = &kivFree;
}  // namespace

extern "C" void* kivCalloc(size_t count, size_t size) {
    // Refuse a product that does not fit instead of wrapping around to a
    // small block the caller would overrun.
    const bool overflows = size != 0 && count > UINT64_MAX / size;
    const uint64_t bytes = overflows ? UINT64_MAX : static_cast<uint64_t>(count) * size;
    static_assert(sizeof(size_t) >= sizeof(uint64_t), "every product reaches kivMalloc whole");
    void* block = kivMalloc(static_cast<size_t>(bytes));
    std::memset(block, 0, static_cast<size_t>(bytes));
    return block;
}

extern "C" void* kivRealloc(void* pointer, size_t size) {
    // A missing reallocator is reported first, as for any size.
    if (size > UINT32_MAX && KivClMemoryManager::cv_pfuReallocatorCallback != nullptr) {
        KivClMemoryManager::outOfMemory(KivClMemoryManager::REALLOC_MODULE,
                                        KivClMemoryManager::REALLOC_LINE, UINT32_MAX);
    }
    return KivClMemoryManager::realloc(pointer, static_cast<unsigned int>(size));
}

extern "C" bool kivSetNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                                       KivPfuDeallocator deallocator) {
    return KivClMemoryManager::setNewMemoryManager(allocator, reallocator, deallocator);
}

namespace {

// Hooks written against size_t, called through the 32-bit hook types.
KivPfuSizeAllocator gSizeAllocator = nullptr;
KivPfuSizeReallocator gSizeReallocator = nullptr;

void* callSizeAllocator(unsigned int size) { return gSizeAllocator(size); }
void* callSizeReallocator(void* pointer, unsigned int size) {
    return gSizeReallocator(pointer, size);
}

}  // namespace

bool kivSetNewMemoryManager(KivPfuSizeAllocator allocator, KivPfuSizeReallocator reallocator,
                            KivPfuDeallocator deallocator) {
    if (allocator == nullptr || deallocator == nullptr) return false;
    // The system library's own functions become the built-in system hooks,
    // so that they count as the system allocator.
    KivPfuAllocator allocatorHook = &KivClMemoryManager::systemAllocator;
    if (allocator != &std::malloc) {
        gSizeAllocator = allocator;
        allocatorHook = &callSizeAllocator;
    }
    KivPfuReallocator reallocatorHook = nullptr;
    if (reallocator == &std::realloc) {
        reallocatorHook = &KivClMemoryManager::systemReallocator;
    } else if (reallocator != nullptr) {
        gSizeReallocator = reallocator;
        reallocatorHook = &callSizeReallocator;
    }
    KivPfuDeallocator deallocatorHook =
        deallocator == &std::free ? &KivClMemoryManager::systemDeallocator : deallocator;
    return KivClMemoryManager::setNewMemoryManager(allocatorHook, reallocatorHook, deallocatorHook);
}
