// A small client of the library: shows error records and their message
// numbers, the replaceable allocator and its exceptions, number and string
// helpers, and environment switches.
#include <cstdio>

#include "kiv.hpp"

namespace {

void showLibrary() {
    std::printf("library level %s, built %s, ship code %s\n", kivLibraryGetLevel(),
                kivLibraryGetTod(), kivLibraryIsShipCode() ? "yes" : "no");
}

void showErrorNumbers() {
    const _KivStError error{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM};
    std::printf("error %u has name message %lu, class %u has name message %lu\n",
                static_cast<unsigned>(error.errorId), kivErrorGetIdAsMessageId(error.errorId),
                static_cast<unsigned>(error.errorClass),
                kivErrorGetClassAsMessageId(error.errorClass));
}

void* refusingAllocator(unsigned int) { return nullptr; }

void showAllocator() {
    char* block = static_cast<char*>(kivCalloc(4, 8));
    std::printf("kivCalloc(4, 8) gave a zeroed block: first byte %d\n", block[0]);
    kivFree(block);
    kivSetNewMemoryManager(refusingAllocator, nullptr, KivClMemoryManager::systemDeallocator);
    try {
        kivMalloc(64);
    } catch (const KivClExceptionFatal& fatal) {
        std::printf("user allocator failed: error %u (name message %lu) raised at %s\n",
                    static_cast<unsigned>(fatal.getError().errorId),
                    kivErrorGetIdAsMessageId(fatal.getError().errorId), fatal.getModule());
    }
    kivSetNewMemoryManager(KivClMemoryManager::systemAllocator, nullptr,
                           KivClMemoryManager::systemDeallocator);
}

void showStrings() {
    char digits[24];
    const int length = kivI64toa(-9223372036854775807LL - 1, digits);
    std::printf("most negative 64-bit value: %s (%d characters)\n", digits, length);
    std::printf("strcmpi(\"_\", \"a\") = %d, strncmpi(\"_\", \"a\", 1) = %d\n", strcmpi("_", "a"),
                strncmpi("_", "a", 1));
}

void showEnvironment() {
    KivClEnvironmentVariable demo("KIV_DEMO_SWITCH", "Yes");
    std::printf("KIV_DEMO_SWITCH=%s enabled: %s\n", demo.getValue(),
                demo.hasValueEnabled() ? "yes" : "no");
    demo.setNewValue("off");
    std::printf("KIV_DEMO_SWITCH=%s enabled: %s\n", demo.getValue(),
                demo.hasValueEnabled() ? "yes" : "no");
    demo.resetValue();
}

}  // namespace

int main() {
    showLibrary();
    showErrorNumbers();
    showAllocator();
    showStrings();
    showEnvironment();
    return 0;
}
