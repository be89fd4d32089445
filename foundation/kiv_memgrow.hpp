// Internal growth of allocator blocks; not installed.
#ifndef KIV_MEMGROW_HPP
#define KIV_MEMGROW_HPP

#include <cstddef>

// Returns a new block of newSize bytes holding the first keptBytes of block,
// and frees block (null allowed). Uses only the allocator and deallocator
// hooks, so it works with every hook set, also one without a reallocator.
// When the allocation throws, block is untouched and still owned by the caller.
__attribute__((visibility("hidden"))) void* kivGrowBlock(void* block, size_t keptBytes,
                                                         size_t newSize);

#endif  // KIV_MEMGROW_HPP
