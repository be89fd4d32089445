// Internal: objects the library creates on a caller's behalf, allocated
// through the memory manager (which throws on exhaustion), constructed in
// place, destroyed explicitly and released with kivFree.
#ifndef KIV_MEMOBJECT_HPP
#define KIV_MEMOBJECT_HPP

#include <new>

#include "kiv_memmgr.hpp"

// Builds a T in kivMalloc memory; the memory is released again when the
// constructor throws.
template <typename T, typename... Args>
T* kivNewObject(Args&&... args) {
    void* memory = kivMalloc(sizeof(T));
    try {
        return new (memory) T(static_cast<Args&&>(args)...);
    } catch (...) {
        kivFree(memory);
        throw;
    }
}

// Destroys an object built by kivNewObject and frees it; null is ignored.
template <typename T>
void kivDeleteObject(T* object) {
    if (object == nullptr) return;
    object->~T();
    kivFree(object);
}

#endif  // KIV_MEMOBJECT_HPP
