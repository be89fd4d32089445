// Message catalogs: a catalog file opened through catopen/catgets, with a
// caller's string table as the fallback while no file is open.
#include "kiv_msgcat.hpp"

#include <climits>
#include <clocale>
#include <cstring>

#include "kiv_string.hpp"

namespace {

// catopen's failure value.
const nl_catd CATALOG_CLOSED = reinterpret_cast<nl_catd>(-1);

// Every message of a catalog file lives in set 1.
constexpr int MESSAGE_SET = 1;

// The catalog's file name: name with its extension replaced by ".cat".
KivClFilename catalogFilename(const KivClFilename& name) {
    KivClFilename result(name);
    result.setNewExtension("cat");
    return result;
}

}  // namespace

KivClMessageCatalog::KivClMessageCatalog(const KivClFilename& name)
    : KivClFile(catalogFilename(name)),
      handle_(CATALOG_CLOSED),
      open_(false),
      defaultCatalog_(false),
      stringTable_(nullptr),
      stringTableCount_(0) {
    init();
}

KivClMessageCatalog::KivClMessageCatalog()
    : KivClFile(catalogFilename(KivClFilename())),
      handle_(CATALOG_CLOSED),
      open_(false),
      defaultCatalog_(true),
      stringTable_(nullptr),
      stringTableCount_(0) {
    init();
}

KivClMessageCatalog::~KivClMessageCatalog() {
    if (open_) {
        catclose(handle_);
    }
}

void KivClMessageCatalog::useStringTable(const char* const* table, unsigned long count) {
    stringTable_ = table;
    // Counts beyond 32 bits cannot be stored; such a table is capped, never
    // wrapped to a small count.
    stringTableCount_ = count > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(count);
}

bool KivClMessageCatalog::isValidMessageId(unsigned long id) {
    return id != 0;
}

bool KivClMessageCatalog::isValidStringTable(const char* const* table, unsigned long count) {
    if (table == nullptr || table[0] == nullptr) {
        return false;
    }
    const size_t signatureLength = strlen(KIV_MSGTAB_SIGNATURE);
    if (strncmp(table[0], KIV_MSGTAB_SIGNATURE, signatureLength) != 0 ||
        table[0][signatureLength] != ' ') {
        return false;
    }
    char digits[24];
    kivULtoa(count, digits);
    if (strcmp(table[0] + signatureLength + 1, digits) != 0) {
        return false;
    }
    return table[count] != nullptr && strcmp(table[count], KIV_MSGTAB_SIGNATURE) == 0;
}

void KivClMessageCatalog::init() {
    // A catalog is opened once; a second init() keeps the open file.
    if (open_) {
        return;
    }
    setlocale(LC_ALL, "");
    handle_ = catopen(getAsCString(), NL_CAT_LOCALE);
    if (handle_ == CATALOG_CLOSED && setlocale(LC_ALL, "C") != nullptr) {
        handle_ = catopen(getAsCString(), NL_CAT_LOCALE);
    }
    if (handle_ == CATALOG_CLOSED) {
        return;
    }
    // A file without message 1 is not one of our catalogs: treat it as absent.
    // Message 1 loads exactly when the lookup finds it; asking the lookup
    // directly allocates nothing, so no exception can leave the handle open.
    open_ = true;
    if (lookUp(1) == nullptr) {
        catclose(handle_);
        handle_ = CATALOG_CLOSED;
        open_ = false;
    }
}

const char* KivClMessageCatalog::lookUp(unsigned long id) const {
    if (open_) {
        if (id > static_cast<unsigned long>(INT_MAX)) {
            return nullptr;
        }
        return catgets(handle_, MESSAGE_SET, static_cast<int>(id), nullptr);
    }
    if (stringTable_ == nullptr || id >= stringTableCount_) {
        return nullptr;
    }
    return stringTable_[id];
}
