// The library's one replaceable allocator.
//
// Three process-wide hooks allocate, reallocate and free. They start out as
// the system library's malloc, realloc and free (statically initialised, so
// allocation works before any client constructor runs). A failed allocation
// never returns null: it throws a KivClExceptionFatal. Sizes handed to the
// hooks are 32-bit; a request that does not fit 32 bits is refused through
// the out-of-memory path rather than truncated.
//
// Installing hooks refuses a null allocator or deallocator (the call returns
// false and the previous hooks stay); a null reallocator is allowed and
// means "none" for a user heap, the system realloc for the system heap.
//
//   kivSetNewMemoryManager(malloc, nullptr, free);   // true: system heap
//   KivClMemoryManager::hasUserDefinedMgr();          // false
//   kivRealloc(kivMalloc(8), 64);                     // grows through realloc
//   kivSetNewMemoryManager(myAlloc, nullptr, myFree); // true: user heap
//   kivRealloc(p, 64);                                // throws MEMMGR_NO_USER_REALLOC_FUNC
//   kivSetNewMemoryManager(nullptr, nullptr, myFree); // false: hooks unchanged
//
// Warning: blocks must be freed by the hooks that allocated them; swapping
// the hooks while blocks are held is the caller's responsibility.
#ifndef KIV_MEMMGR_HPP
#define KIV_MEMMGR_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "kiv_exception.hpp"

typedef void* (*KivPfuAllocator)(unsigned int size);
typedef void* (*KivPfuReallocator)(void* pointer, unsigned int size);
typedef void (*KivPfuDeallocator)(void* pointer);
// Hook shapes of the system library's own malloc and realloc.
typedef void* (*KivPfuSizeAllocator)(size_t size);
typedef void* (*KivPfuSizeReallocator)(void* pointer, size_t size);

// The process-wide allocator hooks and the checks around them.
class KivClMemoryManager {
public:
    KivClMemoryManager() = delete;

    // Module text and line of the allocation entry points' out-of-memory report.
    static constexpr const char* ALLOC_MODULE = "kiv_memmgr.hpp:359";
    static constexpr int ALLOC_LINE = 359;
    static constexpr const char* NO_REALLOC_MODULE = "kiv_memmgr:267";
    static constexpr int NO_REALLOC_LINE = 267;
    static constexpr const char* REALLOC_MODULE = "kiv_memmgr:277";
    static constexpr int REALLOC_LINE = 277;

    // Reallocates through the reallocator hook. Throws MEMMGR_NO_USER_REALLOC_FUNC
    // when none is installed and the out-of-memory exception when it fails.
    static void* realloc(void* pointer, unsigned int size);
    // Frees through the deallocator hook; null is ignored.
    static void free(void* pointer);
    // Installs the three hooks as given. Without a reallocator, the system
    // reallocator is installed only when the allocator is the system one, so
    // that blocks of a user heap are never mixed with the system heap.
    // A null allocator or deallocator is refused: false, previous hooks kept.
    static bool setNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                                    KivPfuDeallocator deallocator);
    // True when the installed allocator is not the system one.
    static bool hasUserDefinedMgr();
    // Throws the out-of-memory exception for a failed request of size bytes.
    [[noreturn]] static void outOfMemory(const char* module, int line, unsigned int size);

    // The system library's functions behind the 32-bit hook types; these are
    // the defaults and the values to pass to return to the system heap.
    static void* systemAllocator(unsigned int size);
    static void* systemReallocator(void* pointer, unsigned int size);
    static void systemDeallocator(void* pointer);

    static KivPfuAllocator cv_pfuAllocatorCallback;
    static KivPfuReallocator cv_pfuReallocatorCallback;
    static KivPfuDeallocator cv_pfuDeallocatorCallback;
};

extern "C" {

// Allocates size bytes; never returns null (throws KivClExceptionFatal).
// Defined here so that, with the default hooks, a call costs the system
// malloc and two tests; the library also exports it by name.
inline void* kivMalloc(size_t size) {
    void* block = nullptr;
    if (size <= UINT32_MAX) {
        const KivPfuAllocator allocator = KivClMemoryManager::cv_pfuAllocatorCallback;
        block = __builtin_expect(allocator == &KivClMemoryManager::systemAllocator, 1)
                    ? std::malloc(size)
                    : allocator(static_cast<unsigned int>(size));
    }
    // A request that does not fit the 32-bit hook size is reported with the
    // largest size, so that it reads as out of memory and never as zero size.
    if (__builtin_expect(block == nullptr, 0)) {
        KivClMemoryManager::outOfMemory(KivClMemoryManager::ALLOC_MODULE, KivClMemoryManager::ALLOC_LINE,
                                        size <= UINT32_MAX ? static_cast<unsigned int>(size) : UINT32_MAX);
    }
    return block;
}
// Allocates count*size zeroed bytes; a product over 32 bits is refused.
void* kivCalloc(size_t count, size_t size);
void* kivRealloc(void* pointer, size_t size);
// Frees through the deallocator hook; null is ignored. Defined here like
// kivMalloc, and exported by name as well.
inline void kivFree(void* pointer) {
    const KivPfuDeallocator deallocator = KivClMemoryManager::cv_pfuDeallocatorCallback;
    if (__builtin_expect(deallocator == &KivClMemoryManager::systemDeallocator, 1)) {
        std::free(pointer);  // ignores null itself
    } else if (pointer != nullptr) {
        deallocator(pointer);
    }
}
bool kivSetNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                            KivPfuDeallocator deallocator);

}  // extern "C"

// The same for hooks of the system library's shape, so that
// kivSetNewMemoryManager(malloc, nullptr, free) compiles as written. The
// system's malloc, realloc and free are recognised and installed as the
// system hooks (hasUserDefinedMgr() stays false, kivRealloc uses realloc);
// other functions of this shape are installed as user hooks.
bool kivSetNewMemoryManager(KivPfuSizeAllocator allocator, KivPfuSizeReallocator reallocator,
                            KivPfuDeallocator deallocator);

#endif  // KIV_MEMMGR_HPP
