#include <gtest/gtest.h>
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kiv_memmgr.hpp"

namespace {

int gAllocations = 0;
int gReallocations = 0;
int gDeallocations = 0;
unsigned int gLastSize = 0;
bool gFail = false;

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

void* failingAllocator(unsigned int) { return nullptr; }

// Every test starts and ends with the system hooks and fresh counters.
class MemoryManager : public ::testing::Test {
protected:
    void SetUp() override {
        gAllocations = gReallocations = gDeallocations = 0;
        gLastSize = 0;
        gFail = false;
    }
    void TearDown() override {
        kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                               KivClMemoryManager::systemDeallocator);
    }
};

// Calls body, expects a KivClExceptionFatal and returns it.
template <typename Body>
KivClExceptionFatal expectFatal(Body body) {
    try {
        body();
    } catch (const KivClExceptionFatal& fatal) {
        return fatal;
    }
    ADD_FAILURE() << "no KivClExceptionFatal thrown";
    return KivClExceptionFatal(_KivStUserError{}, "", 0);
}

void expectRow(const KivClExceptionFatal& e, uint32_t id, KivEnErrorClass cls,
               KivEnErrorAction action, const char* module, unsigned long line) {
    EXPECT_EQ(e.getError().errorId, id);
    EXPECT_EQ(e.getError().errorClass, cls);
    EXPECT_EQ(e.getError().severity, KIV_SEVERITY_FATAL);
    EXPECT_EQ(e.getError().action, action);
    EXPECT_STREQ(e.getModule(), module);
    EXPECT_EQ(e.getLine(), line);
    EXPECT_STREQ(e.getCause(), "");
}

}  // namespace

TEST_F(MemoryManager, DefaultsAreTheSystemHeap) {
    EXPECT_FALSE(KivClMemoryManager::hasUserDefinedMgr());
    void* zero = kivMalloc(0);  // the system malloc's answer for 0 bytes, no exception
    EXPECT_NE(zero, nullptr);
    kivFree(zero);

    char* block = static_cast<char*>(kivMalloc(16));
    std::memcpy(block, "0123456789abcde", 16);
    block = static_cast<char*>(kivRealloc(block, 4096));
    EXPECT_STREQ(block, "0123456789abcde");
    kivFree(block);

    unsigned char* zeroed = static_cast<unsigned char*>(kivCalloc(10, 7));
    for (int i = 0; i < 70; ++i) ASSERT_EQ(zeroed[i], 0);
    kivFree(zeroed);
    kivFree(nullptr);
}

TEST_F(MemoryManager, UserHooksAreUsedAndNullIsNotFreed) {
    kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
    EXPECT_TRUE(KivClMemoryManager::hasUserDefinedMgr());
    void* block = kivMalloc(40);
    EXPECT_EQ(gAllocations, 1);
    EXPECT_EQ(gLastSize, 40u);
    block = kivRealloc(block, 80);
    EXPECT_EQ(gReallocations, 1);
    EXPECT_EQ(gLastSize, 80u);
    kivFree(block);
    EXPECT_EQ(gDeallocations, 1);
    kivFree(nullptr);
    EXPECT_EQ(gDeallocations, 1);
    void* zeroed = kivCalloc(3, 5);
    EXPECT_EQ(gLastSize, 15u);
    kivFree(zeroed);
}

// Callers that reach kivMalloc and kivFree by name get the library's
// exported copies, which follow the installed hooks like the inline forms.
TEST_F(MemoryManager, ExportedCopiesFollowTheHooks) {
    using Malloc = void* (*)(size_t);
    using Free = void (*)(void*);
    const auto namedMalloc = reinterpret_cast<Malloc>(dlsym(RTLD_DEFAULT, "kivMalloc"));
    const auto namedFree = reinterpret_cast<Free>(dlsym(RTLD_DEFAULT, "kivFree"));
    ASSERT_NE(namedMalloc, nullptr);
    ASSERT_NE(namedFree, nullptr);

    void* system = namedMalloc(24);
    EXPECT_NE(system, nullptr);
    namedFree(system);

    kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
    void* block = namedMalloc(40);
    EXPECT_EQ(gAllocations, 1);
    EXPECT_EQ(gLastSize, 40u);
    namedFree(block);
    namedFree(nullptr);
    EXPECT_EQ(gDeallocations, 1);

    kivSetNewMemoryManager(failingAllocator, nullptr, countingDeallocator);
    expectRow(expectFatal([&] { namedMalloc(8); }), KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY,
              KIV_ERRCLASS_OUT_OF_MEMORY, KIV_ACTION_TERMINATE, KivClMemoryManager::ALLOC_MODULE,
              KivClMemoryManager::ALLOC_LINE);
}

TEST_F(MemoryManager, OutOfMemoryRowsForUserAndRuntimeAllocators) {
    kivSetNewMemoryManager(failingAllocator, nullptr, countingDeallocator);
    expectRow(expectFatal([] { kivMalloc(100); }), KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY,
              KIV_ERRCLASS_OUT_OF_MEMORY, KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);
    expectRow(expectFatal([] { kivCalloc(4, 4); }), KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY,
              KIV_ERRCLASS_OUT_OF_MEMORY, KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);
    // A failed zero-size request is a refusal of a zero-size object.
    expectRow(expectFatal([] { kivMalloc(0); }), KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT,
              KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);
    expectRow(expectFatal([] { kivCalloc(0, 9); }), KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT,
              KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);

    // The runtime rows: outOfMemory with the system allocator installed.
    kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                           KivClMemoryManager::systemDeallocator);
    expectRow(expectFatal([] { KivClMemoryManager::outOfMemory("here:1", 1, 12); }),
              KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY, KIV_ERRCLASS_OUT_OF_MEMORY,
              KIV_ACTION_TERMINATE, "here:1", 1);
    expectRow(expectFatal([] { KivClMemoryManager::outOfMemory("here:2", 2, 0); }),
              KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT, KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_TERMINATE,
              "here:2", 2);
}

TEST_F(MemoryManager, RequestsBeyondThirtyTwoBitsAreRefusedNotTruncated) {
    kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
    // 2^32 would truncate to 0 and 2^32 + 8 to 8: neither may reach the hook.
    expectRow(expectFatal([] { kivMalloc(size_t{1} << 32); }), KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY,
              KIV_ERRCLASS_OUT_OF_MEMORY, KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);
    expectFatal([] { kivMalloc((size_t{1} << 32) + 8); });
    // 65536 * 65536 wraps to 0 in 32-bit arithmetic; 2^33 * 2^33 wraps 64 bits.
    expectFatal([] { kivCalloc(65536, 65536); });
    expectFatal([] { kivCalloc(size_t{1} << 33, size_t{1} << 33); });
    void* block = kivMalloc(8);
    expectRow(expectFatal([block] { kivRealloc(block, size_t{1} << 32); }),
              KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY, KIV_ERRCLASS_OUT_OF_MEMORY,
              KIV_ACTION_TERMINATE, "kiv_memmgr:277", 277);
    EXPECT_EQ(gAllocations, 1);
    EXPECT_EQ(gReallocations, 0);
    kivFree(block);

    kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                           KivClMemoryManager::systemDeallocator);
    expectRow(expectFatal([] { kivMalloc(size_t{1} << 40); }),
              KIV_ERRID_MEMMGR_RUNTIME_OUT_OF_MEMORY, KIV_ERRCLASS_OUT_OF_MEMORY,
              KIV_ACTION_TERMINATE, "kiv_memmgr.hpp:359", 359);
}

TEST_F(MemoryManager, ReallocatorRules) {
    // A user allocator without a reallocator must not fall back to the system one.
    kivSetNewMemoryManager(countingAllocator, nullptr, countingDeallocator);
    EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback, nullptr);
    void* block = kivMalloc(8);
    expectRow(expectFatal([block] { kivRealloc(block, 16); }), KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC,
              KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED, KIV_ACTION_ABORT, "kiv_memmgr:267", 267);
    // Also when the size would not fit: the missing reallocator is reported first.
    expectRow(expectFatal([block] { kivRealloc(block, size_t{1} << 32); }),
              KIV_ERRID_MEMMGR_NO_USER_REALLOC_FUNC, KIV_ERRCLASS_FUNCTION_NOT_SUPPORTED,
              KIV_ACTION_ABORT, "kiv_memmgr:267", 267);
    kivFree(block);

    // The system allocator without a reallocator gets the system reallocator.
    kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                           KivClMemoryManager::systemDeallocator);
    EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback,
              &KivClMemoryManager::systemReallocator);
    void* grown = kivRealloc(kivMalloc(8), 1024);
    EXPECT_NE(grown, nullptr);
    kivFree(grown);

    // A failing user reallocator: out-of-memory rows at line 277, by size.
    kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
    void* kept = kivMalloc(8);
    gFail = true;
    expectRow(expectFatal([kept] { kivRealloc(kept, 32); }), KIV_ERRID_MEMMGR_USER_OUT_OF_MEMORY,
              KIV_ERRCLASS_OUT_OF_MEMORY, KIV_ACTION_TERMINATE, "kiv_memmgr:277", 277);
    expectRow(expectFatal([kept] { kivRealloc(kept, 0); }), KIV_ERRID_MEMMGR_ZERO_SIZE_OBJECT,
              KIV_ERRCLASS_INVALID_DATA, KIV_ACTION_TERMINATE, "kiv_memmgr:277", 277);
    gFail = false;
    kivFree(kept);  // the failing reallocator left the block alone
}

TEST_F(MemoryManager, TheSystemLibraryFunctionsInstallTheSystemHeap) {
    kivSetNewMemoryManager(countingAllocator, nullptr, countingDeallocator);
    ASSERT_TRUE(kivSetNewMemoryManager(malloc, nullptr, free));
    EXPECT_FALSE(KivClMemoryManager::hasUserDefinedMgr());
    char* block = static_cast<char*>(kivMalloc(4));
    std::memcpy(block, "abc", 4);
    block = static_cast<char*>(kivRealloc(block, 1 << 20));
    EXPECT_STREQ(block, "abc");
    kivFree(block);
    EXPECT_EQ(gAllocations + gDeallocations, 0);
}

TEST_F(MemoryManager, NullAllocatorOrDeallocatorIsRefusedAndHooksStay) {
    struct Row {
        bool withAllocator;
        bool withDeallocator;
    };
    const Row rows[] = {{false, true}, {true, false}, {false, false}};
    for (const Row& row : rows) {
        kivSetNewMemoryManager(countingAllocator, countingReallocator, countingDeallocator);
        EXPECT_FALSE(kivSetNewMemoryManager(row.withAllocator ? countingAllocator : nullptr,
                                            nullptr,
                                            row.withDeallocator ? countingDeallocator : nullptr));
        EXPECT_FALSE(kivSetNewMemoryManager(row.withAllocator ? malloc : nullptr, realloc,
                                            row.withDeallocator ? free : nullptr));
        kivFree(kivRealloc(kivMalloc(8), 16));  // would jump to null if installed
    }
    EXPECT_EQ(gAllocations, 3);
    EXPECT_EQ(gReallocations, 3);
    EXPECT_EQ(gDeallocations, 3);
}
