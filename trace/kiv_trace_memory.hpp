// Internal to the trace facility: objects allocated through the library's
// memory manager (which throws on exhaustion) and constructed in place.
#ifndef KIV_TRACE_MEMORY_HPP
#define KIV_TRACE_MEMORY_HPP

#include <new>

#include "kiv_memmgr.hpp"

template <typename T, typename... Args>
T* kivTraceNew(Args&&... args) {
    void* memory = kivMalloc(sizeof(T));
    try {
        return new (memory) T(static_cast<Args&&>(args)...);
    } catch (...) {
        kivFree(memory);
        throw;
    }
}

template <typename T>
void kivTraceDelete(T* object) {
    if (object == nullptr) return;
    object->~T();
    kivFree(object);
}

#endif  // KIV_TRACE_MEMORY_HPP
