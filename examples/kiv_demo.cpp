// A small client of the library: shows error records and their printable
// names from the library message table, the replaceable allocator and its
// exceptions, number and string helpers, and environment switches.
#include <cstdio>
#include <string>

#include "kiv.hpp"

namespace {

// The library's own texts, from its built-in message table (no catalog file
// named "kiv_demo" exists, so the catalog falls back to the table).
struct LibraryTexts {
    LibraryTexts() : catalog(KivClFilename("kiv_demo")) {
        catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    }
    KivClMessageCatalog catalog;
};

const KivClMessageCatalog& libraryTexts() {
    static LibraryTexts texts;
    return texts.catalog;
}

std::string nameOf(unsigned long messageId) {
    return KivClMessage(libraryTexts(), messageId).getText();
}

void showLibrary() {
    std::printf("library level %s, built %s, ship code %s\n", kivLibraryGetLevel(),
                kivLibraryGetTod(), kivLibraryIsShipCode() ? "yes" : "no");
}

void showErrorNumbers() {
    const _KivStError error{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM};
    std::printf("error %u is %s (message %lu), class %u is %s (message %lu)\n",
                static_cast<unsigned>(error.errorId),
                nameOf(kivErrorGetIdAsMessageId(error.errorId)).c_str(),
                kivErrorGetIdAsMessageId(error.errorId), static_cast<unsigned>(error.errorClass),
                nameOf(kivErrorGetClassAsMessageId(error.errorClass)).c_str(),
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
        const _KivStUserError& error = fatal.getError();
        std::printf("user allocator failed: %s, class %s, severity %s, action %s, raised at %s\n",
                    nameOf(kivErrorGetIdAsMessageId(error.errorId)).c_str(),
                    nameOf(kivErrorGetClassAsMessageId(error.errorClass)).c_str(),
                    nameOf(kivErrorGetSeverityAsMessageId(error.severity)).c_str(),
                    nameOf(kivErrorGetActionAsMessageId(error.action)).c_str(),
                    fatal.getModule());
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
