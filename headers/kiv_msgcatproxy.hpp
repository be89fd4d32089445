// Message catalogs through handles, for code that does not use the classes.
//
// A KivClMessageCatalogProxy owns or borrows a KivClMessageCatalog and keeps
// the text of the last message it fetched in a buffer of its own, so that a
// plain function can return a pointer that stays valid after the temporary
// KivClMessage is gone. The kivMsgCat functions wrap a proxy behind a handle.
//
// Failure policy: a catalog that cannot be opened makes kivMsgCatOpen and
// kivMsgCatOpenAttach return null; kivMsgCatOpenOrUseStringTable falls back
// to the string table. A message that does not load is still fetched: the
// text is the catalog's failure text, and kivMsgCatIsValid tells the two
// apart. Exhausted memory is the memory manager's exception.
//
// The proxy keeps at most TEXT_CAPACITY (4099) bytes of a text. Loaded
// messages never reach that; a failure text naming a very long catalog file
// can, and is cut there, backing off to the start of a UTF-8 sequence so
// the kept text never ends in half a character.
//
// Example (app.cat holds message 3 "Copied %1 of %2 files"):
//   KivClMessageCatalogProxy* cat = kivMsgCatOpen("app");
//   kivMsgCatGetVar(cat, 3, "2", "5", nullptr);   // "Copied 2 of 5 files"
//   kivMsgCatGetVar(cat, 3, nullptr);             // "Copied ??? of ??? files"
//   kivMsgCatIsValid(cat, 99);                    // false
//   kivMsgCatClose(cat);
//
// @warning The text returned by kivMsgCatGet and kivMsgCatGetVar belongs to
// the handle and is overwritten by the next fetch through the same handle.
#ifndef KIV_MSGCATPROXY_HPP
#define KIV_MSGCATPROXY_HPP

#include "kiv_filename.hpp"
#include "kiv_msgcat.hpp"

// A catalog behind a handle for the plain-function interface.
class KivClMessageCatalogProxy {
public:
    // Characters kept of a fetched text, terminator not counted.
    static constexpr unsigned long TEXT_CAPACITY = 4099;

    // Creates and owns the catalog name (".cat" added as the catalog does).
    explicit KivClMessageCatalogProxy(const KivClFilename& name);
    // As above; when the catalog file did not open, the catalog uses table
    // (not copied: it must outlive the proxy) with count entries.
    KivClMessageCatalogProxy(const KivClFilename& name, const char* const* table, unsigned long count);
    // Borrows catalog, which must outlive the proxy.
    explicit KivClMessageCatalogProxy(const KivClMessageCatalog* catalog);
    // Destroys and frees an owned catalog.
    ~KivClMessageCatalogProxy();
    KivClMessageCatalogProxy(const KivClMessageCatalogProxy&) = delete;
    KivClMessageCatalogProxy& operator=(const KivClMessageCatalogProxy&) = delete;

    // Loads message id and tells whether it loaded (asks the catalog).
    bool isValidMessageId(unsigned long id) const;
    // Message id with every variable shown as "???", copied into the
    // proxy's buffer; returns the buffer.
    const char* getMessage(unsigned long id);
    // The same with vars: exactly ten entries, null where unused.
    const char* getMessage(unsigned long id, const char** vars);

    bool ownsCatalog() const { return ownsCatalog_; }
    const KivClMessageCatalog* getCatalog() const { return catalog_; }

private:
    // A catalog for name, allocated through the memory manager.
    static KivClMessageCatalog* createCatalog(const KivClFilename& name);
    // Copies text into the buffer, cut as described above.
    const char* keep(const char* text);

    bool ownsCatalog_;
    const KivClMessageCatalog* catalog_;
    char text_[TEXT_CAPACITY + 1];
};

extern "C" {

// A new proxy owning the catalog name, or null when it does not open.
KivClMessageCatalogProxy* kivMsgCatOpen(const char* name);
// A new proxy borrowing catalog, or null when catalog is null or not open.
KivClMessageCatalogProxy* kivMsgCatOpenAttach(const KivClMessageCatalog* catalog);
// Always a new owning proxy: the catalog file when it opens, else table.
KivClMessageCatalogProxy* kivMsgCatOpenOrUseStringTable(const char* name, const char* const* table,
                                                        unsigned long count);
// Whether message id loads; false for a null handle.
bool kivMsgCatIsValid(KivClMessageCatalogProxy* handle, unsigned long id);
// Message id (variables as "???"); "" for a null handle.
const char* kivMsgCatGet(KivClMessageCatalogProxy* handle, unsigned long id);
// Message id with the variable texts that follow: they are read up to the
// first null pointer or the tenth text, whichever comes first; later ones
// are never read. A null first variable means none. "" for a null handle.
const char* kivMsgCatGetVar(KivClMessageCatalogProxy* handle, unsigned long id, ...);
// Destroys the proxy and an owned catalog; null is ignored.
void kivMsgCatClose(KivClMessageCatalogProxy* handle);

}  // extern "C"

#endif  // KIV_MSGCATPROXY_HPP
