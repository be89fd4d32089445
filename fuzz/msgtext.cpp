// Expands arbitrary message texts with variables, both through replaceVars
// with a small output area and by loading them from a string table. The
// first input byte chooses the output size; the rest is the text. Every
// result must respect its limit and be terminated where the returned length
// says; the address sanitizer catches any write past the output area, which
// is a heap block of exactly outSize + 1 bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "kiv_msgcat.hpp"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

// A catalog that has no file, so that it reads the string table.
KivClMessageCatalog& tableCatalog() {
    static KivClMessageCatalog catalog(KivClFilename("/nonexistent-kiv-fuzz/catalog"));
    return catalog;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const unsigned long outSize = data[0];
    std::unique_ptr<char[]> text(new char[size]);
    std::memcpy(text.get(), data + 1, size - 1);
    text[size - 1] = '\0';

    const char* vars[3] = {"one", nullptr, "a longer third variable"};
    std::unique_ptr<char[]> out(new char[outSize + 1]);
    KivClMessage scratch(tableCatalog(), 1);
    const unsigned long written = scratch.replaceVars(out.get(), outSize, text.get(), vars, 3);
    check(written <= outSize && std::strlen(out.get()) == written);

    const char* table[] = {"[KIV_MSGTAB_SIGNATURE] 2", text.get(), "[KIV_MSGTAB_SIGNATURE]"};
    tableCatalog().useStringTable(table, 2);
    KivClMessage message(tableCatalog(), 1, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8",
                         "v9", "v10");
    check(message.isLoaded() && std::strlen(message.getText()) <= KivClMessage::MAX_TEXT);
    tableCatalog().useStringTable(nullptr, 0);
    return 0;
}
