// Shared libraries loaded along LD_LIBRARY_PATH, and their procedures.
#include "kiv_dll.hpp"

#include <dlfcn.h>

#include <new>

#include "foundation/kiv_memobject.hpp"

namespace {

const char* const kLibraryPathVariable = "LD_LIBRARY_PATH";
const char* const kLibraryExtension = ".so";

}  // namespace

KivClDllFile::KivClDllFile(const KivClFilename& name)
    : KivClExeFile(name, kLibraryExtension, false, kLibraryPathVariable), handle_(nullptr) {
    load();
    // The ".so" added above may be wrong for a library whose file has no
    // extension at all: try the name as it was given.
    if (handle_ == nullptr && !isExistent() && !name.hasExtension() && name_.hasExtension()) {
        name_.setNewExtension(nullptr);
        if (!name_.hasPath()) determinePath(false, kLibraryPathVariable);
        load();
    }
}

KivClDllFile::~KivClDllFile() { unload(); }

void KivClDllFile::load() {
    unload();
    if (name_.getLength() == 0) return;
    handle_ = ::dlopen(name_.getAsCString(), RTLD_NOW);
}

void KivClDllFile::unload() {
    if (handle_ != nullptr) ::dlclose(handle_);
    handle_ = nullptr;
}

const char* KivClDllFile::getSystemPathEnvironmentVariable() { return kLibraryPathVariable; }

const char* KivClDllFile::getDefaultFileType() { return kLibraryExtension; }

KivClDllProcLoaderFile::~KivClDllProcLoaderFile() = default;

void* KivClDllProcLoaderFile::getProcedure(const char* symbol) const {
    if (getHandle() == nullptr || symbol == nullptr) return nullptr;
    return ::dlsym(getHandle(), symbol);
}

extern "C" void* kivDllProcLoaderOpen(const char* name) {
    const KivClFilename filename(name);
    KivClDllProcLoaderFile* loader = kivNewObject<KivClDllProcLoaderFile>(filename);
    if (!loader->isLoaded()) {
        kivDeleteObject(loader);
        return nullptr;
    }
    return loader;
}

extern "C" void* kivDllProcLoaderGetProcedure(void* handle, const char* symbol) {
    if (handle == nullptr) return nullptr;
    return static_cast<const KivClDllProcLoaderFile*>(handle)->getProcedure(symbol);
}

extern "C" void kivDllProcLoaderClose(void* handle) {
    if (handle != nullptr) kivDeleteObject(static_cast<KivClDllProcLoaderFile*>(handle));
}
