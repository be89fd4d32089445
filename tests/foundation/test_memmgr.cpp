#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <tuple>
#include <utility>

#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedAllocatorHooks;
using MM = KivClMemoryManager;

int gAllocations, gReallocations, gDeallocations;
unsigned int gLastSize;
bool gFail;

void* countingAllocator(unsigned int size) {
    ++gAllocations;
    gLastSize = size;
    return gFail ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void* countingReallocator(void* pointer, unsigned int size) {
    ++gReallocations;
    gLastSize = size;
    return gFail ? nullptr : std::realloc(pointer, size);
}
void countingDeallocator(void* pointer) {
    ++gDeallocations;
    std::free(pointer);
}

void resetCounters() {
    gAllocations = gReallocations = gDeallocations = 0;
    gLastSize = 0;
    gFail = false;
}

// The fatal exception a call throws, or a failure when it throws none.
KivClExceptionFatal fatalOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const KivClExceptionFatal& fatal) {
        return fatal;
    }
    ADD_FAILURE() << "no KivClExceptionFatal thrown";
    return KivClExceptionFatal(_KivStUserError{}, "", 0);
}

}  // namespace

TEST(MemoryManager, SystemHeapByDefaultAndUserHooksWhenInstalled) {
    EXPECT_FALSE(MM::hasUserDefinedMgr());
    kivFree(kivMalloc(0));  // the system malloc's answer for 0 bytes, no exception
    kivFree(nullptr);
    resetCounters();
    for (bool user : {false, true}) {
        ScopedAllocatorHooks hooks(user ? countingAllocator : MM::systemAllocator, user ? countingReallocator : nullptr,
                                   user ? countingDeallocator : MM::systemDeallocator);
        EXPECT_EQ(MM::hasUserDefinedMgr(), user);
        char* block = static_cast<char*>(kivMalloc(16));
        std::memcpy(block, "0123456789abcde", 16);
        block = static_cast<char*>(kivRealloc(block, 4096));
        EXPECT_STREQ(block, "0123456789abcde");
        kivFree(block);
        kivFree(nullptr);  // not handed to a user hook
        unsigned char* zeroed = static_cast<unsigned char*>(kivCalloc(10, 7));
        for (int i = 0; i < 70; ++i) ASSERT_EQ(zeroed[i], 0);
        kivFree(zeroed);
    }
    EXPECT_EQ(gLastSize, 70u);  // the product of kivCalloc's count and size
    EXPECT_EQ(std::make_tuple(gAllocations, gReallocations, gDeallocations), std::make_tuple(2, 1, 2));
}

// Callers that reach kivMalloc and kivFree by name get the library's
// exported copies, which follow the installed hooks like the inline forms.
TEST(MemoryManager, ExportedCopiesFollowTheHooks) {
    const auto namedMalloc = reinterpret_cast<void* (*)(size_t)>(dlsym(RTLD_DEFAULT, "kivMalloc"));
    const auto namedFree = reinterpret_cast<void (*)(void*)>(dlsym(RTLD_DEFAULT, "kivFree"));
    ASSERT_TRUE(namedMalloc != nullptr && namedFree != nullptr);
    namedFree(namedMalloc(24));
    resetCounters();
    {
        ScopedAllocatorHooks hooks(countingAllocator, countingReallocator, countingDeallocator);
        namedFree(namedMalloc(40));
        namedFree(nullptr);
        EXPECT_EQ(std::make_tuple(gAllocations, gLastSize, gDeallocations), std::make_tuple(1, 40u, 1));
        gFail = true;
        EXPECT_EQ(fatalOf([&] { namedMalloc(8); }).getError().errorId, KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY);
    }
}

TEST(MemoryManager, EveryRefusalThrowsItsFatalRow) {
    const char* alloc = MM::ALLOC_MODULE;
    const char* realloc = MM::REALLOC_MODULE;
    const char* noRealloc = MM::NO_REALLOC_MODULE;
    const size_t over32 = size_t{1} << 32;
    const uint32_t USER = KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY, RUNTIME = KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY,
                   ZERO = KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT, NO_FUNC = KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC;
    enum Hooks { FAILING, COUNTING, NO_REALLOCATOR, SYSTEM };
    const struct Row {
        const char* what;
        Hooks hooks;
        std::function<void(void* block)> call;
        uint32_t id;
        const char* module;
    } rows[] = {
        {"user malloc fails", FAILING, [](void*) { kivMalloc(100); }, USER, alloc},
        {"user calloc fails", FAILING, [](void*) { kivCalloc(4, 4); }, USER, alloc},
        {"failed zero-size malloc", FAILING, [](void*) { kivMalloc(0); }, ZERO, alloc},
        {"failed zero-size calloc", FAILING, [](void*) { kivCalloc(0, 9); }, ZERO, alloc},
        {"runtime out of memory", SYSTEM, [](void*) { MM::outOfMemory("here:1", 1, 12); }, RUNTIME, "here:1"},
        {"runtime zero size", SYSTEM, [](void*) { MM::outOfMemory("here:1", 1, 0); }, ZERO, "here:1"},
        // 2^32 would truncate to 0 and 2^32 + 8 to 8: neither may reach the hook.
        {"malloc of 2^32", COUNTING, [=](void*) { kivMalloc(over32); }, USER, alloc},
        {"malloc of 2^32 + 8", COUNTING, [=](void*) { kivMalloc(over32 + 8); }, USER, alloc},
        // 65536 * 65536 wraps to 0 in 32-bit arithmetic; 2^33 * 2^33 wraps 64 bits.
        {"calloc wrapping 32 bits", COUNTING, [](void*) { kivCalloc(65536, 65536); }, USER, alloc},
        {"calloc wrapping 64 bits", COUNTING, [](void*) { kivCalloc(size_t{1} << 33, size_t{1} << 33); }, USER, alloc},
        {"realloc to 2^32", COUNTING, [=](void* block) { kivRealloc(block, over32); }, USER, realloc},
        {"system malloc of 2^40", SYSTEM, [](void*) { kivMalloc(size_t{1} << 40); }, RUNTIME, alloc},
        // A user heap never falls back to the system reallocator, and a
        // missing one is reported before a size that would not fit.
        {"no user reallocator", NO_REALLOCATOR, [](void* block) { kivRealloc(block, 16); }, NO_FUNC, noRealloc},
        {"no reallocator, 2^32", NO_REALLOCATOR, [=](void* block) { kivRealloc(block, over32); }, NO_FUNC, noRealloc},
        {"user reallocator fails", COUNTING, [](void* block) { gFail = true, kivRealloc(block, 32); }, USER, realloc},
        {"reallocator fails on 0", COUNTING, [](void* block) { gFail = true, kivRealloc(block, 0); }, ZERO, realloc},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        resetCounters();
        void* block = std::malloc(8);  // the failing hooks leave it alone
        {
            ScopedAllocatorHooks hooks;
            if (row.hooks == SYSTEM) kivSetNewMemoryManager(MM::systemAllocator, nullptr, MM::systemDeallocator);
            if (row.hooks == FAILING) kivSetNewMemoryManager([](unsigned) -> void* { return nullptr; }, nullptr, free);
            if (row.hooks == COUNTING) kivSetNewMemoryManager(countingAllocator, countingReallocator, free);
            if (row.hooks == NO_REALLOCATOR) kivSetNewMemoryManager(countingAllocator, nullptr, free);
            const KivClExceptionFatal e = fatalOf([&] { row.call(block); });
            const _KivStUserError& error = e.getError();
            EXPECT_EQ(error.errorId, row.id);
            EXPECT_EQ(error.errorClass, row.id == ZERO      ? KIV_ERRCLASS_INVALID_DATA
                                        : row.id == NO_FUNC ? KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED
                                                            : KIV_ERRCLASS_OUT_OF_MEMORY);
            EXPECT_EQ(error.severity, KIV_SEVERITY_FATAL);
            EXPECT_EQ(error.action, row.id == NO_FUNC ? KIV_ACTION_ABORT : KIV_ACTION_TERMINATE);
            EXPECT_STREQ(e.getModule(), row.module);
            EXPECT_EQ(e.getLine(), std::strtoul(std::strchr(row.module, ':') + 1, nullptr, 10));
            EXPECT_STREQ(e.getCause(), "");
            EXPECT_TRUE(row.hooks != COUNTING || gFail || gAllocations + gReallocations == 0) << "reached a hook";
        }
        std::free(block);
    }
}

TEST(MemoryManager, HookInstallationRules) {
    resetCounters();
    ScopedAllocatorHooks hooks;
    // The system allocator without a reallocator gets the system reallocator.
    ASSERT_TRUE(kivSetNewMemoryManager(MM::systemAllocator, nullptr, MM::systemDeallocator));
    EXPECT_EQ(MM::cv_pfuReallocatorCallback, &MM::systemReallocator);
    // The system library's own functions install the system heap.
    kivSetNewMemoryManager(countingAllocator, nullptr, countingDeallocator);
    ASSERT_TRUE(kivSetNewMemoryManager(malloc, nullptr, free));
    EXPECT_FALSE(MM::hasUserDefinedMgr());
    kivFree(kivRealloc(kivMalloc(4), 1 << 20));
    EXPECT_EQ(gAllocations + gDeallocations, 0);

    // A null allocator or deallocator is refused and the hooks stay.
    for (const auto& [withAllocator, withDeallocator] : {std::pair{false, true}, {true, false}, {false, false}}) {
        kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
        EXPECT_FALSE(kivSetNewMemoryManager(withAllocator ? countingAllocator : nullptr, nullptr,
                                            withDeallocator ? countingDeallocator : nullptr));
        EXPECT_FALSE(kivSetNewMemoryManager(withAllocator ? malloc : nullptr, realloc, withDeallocator ? free : nullptr));
        kivFree(kivRealloc(kivMalloc(8), 16));  // would jump to null if installed
    }
    EXPECT_EQ(std::make_tuple(gAllocations, gReallocations, gDeallocations), std::make_tuple(3, 3, 3));
}
