// Catalog proxies and the plain-function interface over them.
#include "kiv_msgcatproxy.hpp"

#include <cstdarg>
#include <cstring>
#include <new>

#include "foundation/kiv_memobject.hpp"
#include "kiv_memmgr.hpp"

KivClMessageCatalog* KivClMessageCatalogProxy::createCatalog(const KivClFilename& name) {
    return kivNewObject<KivClMessageCatalog>(name);
}

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClFilename& name)
    : ownsCatalog_(true), catalog_(createCatalog(name)), text_{} {}

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClFilename& name, const char* const* table,
                                                   unsigned long count)
    : ownsCatalog_(true), catalog_(nullptr), text_{} {
    KivClMessageCatalog* catalog = createCatalog(name);
    if (!catalog->isOpen()) catalog->useStringTable(table, count);
    catalog_ = catalog;
}

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClMessageCatalog* catalog)
    : ownsCatalog_(false), catalog_(catalog), text_{} {}

KivClMessageCatalogProxy::~KivClMessageCatalogProxy() {
    // An owned catalog was created by this proxy, so it may be destroyed.
    if (ownsCatalog_ && catalog_ != nullptr) kivDeleteObject(const_cast<KivClMessageCatalog*>(catalog_));
    catalog_ = nullptr;
}

bool KivClMessageCatalogProxy::isValidMessageId(unsigned long id) const {
    return catalog_ != nullptr && KivClMessage(*catalog_, id).isLoaded();
}

const char* KivClMessageCatalogProxy::getMessage(unsigned long id) {
    if (catalog_ == nullptr) return keep("");
    return keep(KivClMessage(*catalog_, id).getText());
}

const char* KivClMessageCatalogProxy::getMessage(unsigned long id, const char** vars) {
    if (catalog_ == nullptr) return keep("");
    return keep(KivClMessage(*catalog_, id, vars).getText());
}

const char* KivClMessageCatalogProxy::keep(const char* text) {
    size_t length = std::strlen(text);
    if (length > TEXT_CAPACITY) {
        length = TEXT_CAPACITY;
        // Do not end inside a UTF-8 sequence: back off while the first byte
        // left out continues the character before it.
        while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    }
    std::memcpy(text_, text, length);
    text_[length] = '\0';
    return text_;
}

extern "C" KivClMessageCatalogProxy* kivMsgCatOpen(const char* name) {
    KivClMessageCatalogProxy* proxy = kivNewObject<KivClMessageCatalogProxy>(KivClFilename(name));
    if (!proxy->getCatalog()->isOpen()) {
        kivDeleteObject(proxy);
        return nullptr;
    }
    return proxy;
}

extern "C" KivClMessageCatalogProxy* kivMsgCatOpenAttach(const KivClMessageCatalog* catalog) {
    if (catalog == nullptr || !catalog->isOpen()) return nullptr;
    return kivNewObject<KivClMessageCatalogProxy>(catalog);
}

extern "C" KivClMessageCatalogProxy* kivMsgCatOpenOrUseStringTable(const char* name, const char* const* table,
                                                                   unsigned long count) {
    return kivNewObject<KivClMessageCatalogProxy>(KivClFilename(name), table, count);
}

extern "C" bool kivMsgCatIsValid(KivClMessageCatalogProxy* handle, unsigned long id) {
    return handle != nullptr && handle->isValidMessageId(id);
}

extern "C" const char* kivMsgCatGet(KivClMessageCatalogProxy* handle, unsigned long id) {
    return handle != nullptr ? handle->getMessage(id) : "";
}

extern "C" const char* kivMsgCatGetVar(KivClMessageCatalogProxy* handle, unsigned long id, ...) {
    const char* vars[KivClMessage::MAX_VARS] = {};
    va_list arguments;
    va_start(arguments, id);
    for (unsigned long i = 0; i < KivClMessage::MAX_VARS; ++i) {
        vars[i] = va_arg(arguments, const char*);
        if (vars[i] == nullptr) break;
    }
    va_end(arguments);
    return handle != nullptr ? handle->getMessage(id, vars) : "";
}

extern "C" void kivMsgCatClose(KivClMessageCatalogProxy* handle) {
    if (handle != nullptr) kivDeleteObject(handle);
}
