// Loads library message 3 from the catalog named on the command line, or
// from the built-in table when none is named. Both include spellings must
// work for an installed client.
#include <kiv.hpp>
#include <kiv/kiv.hpp>

#include <cstdio>

int main(int argc, char** argv) {
    KivClMessageCatalog catalog(KivClFilename(argc > 1 ? argv[1] : "no_such_catalog"));
    if (argc <= 1) catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    const KivClMessage yes(catalog, 3);
    std::printf("open=%d loaded=%d text=%s\n", catalog.isOpen() ? 1 : 0, yes.isLoaded() ? 1 : 0,
                yes.getText());
    return yes.isLoaded() ? 0 : 1;
}
