// Shared libraries: loading by name and resolving procedures.
//
// KivClDllFile is a shared library that is loaded (dlopen, RTLD_NOW) when the
// object is built and unloaded when it is destroyed. A name without
// extension gets ".so"; a name without directory is looked up along
// LD_LIBRARY_PATH (empty entries skipped, the first existing file wins) and,
// when it is not found there, left bare for dlopen's own search. When that
// fails and the file does not exist, a name given without extension is tried
// once more without the ".so" it was given. KivClDllProcLoaderFile adds
// symbol lookup; the kivDllProcLoader functions offer the same through an
// opaque handle to callers that cannot use the classes.
//
// Failure policy: a library that cannot be loaded leaves the handle null;
// procedures then resolve to null and kivDllProcLoaderOpen returns null.
// Nothing throws except the memory manager's out-of-memory path of
// kivDllProcLoaderOpen. An empty name is never loaded (dlopen would hand out
// the main program instead).
//
// Example (LD_LIBRARY_PATH=/opt/lib holding libdemo.so):
//   void* lib = kivDllProcLoaderOpen("libdemo");     // loads /opt/lib/libdemo.so
//   auto f = reinterpret_cast<int (*)(int)>(kivDllProcLoaderGetProcedure(lib, "twice"));
//   f(21);                                           // 42
//   kivDllProcLoaderGetProcedure(lib, "nothing");    // nullptr
//   kivDllProcLoaderClose(lib);                      // unloaded
//
// @warning Procedures and data obtained from a library must not be used
// after the object (or handle) that loaded it is destroyed (closed).
#ifndef KIV_DLL_HPP
#define KIV_DLL_HPP

#include "kiv_file.hpp"
#include "kiv_filename.hpp"

// A shared library, loaded while the object lives.
class KivClDllFile : public KivClExeFile {
public:
    // Completes name as described above and loads it.
    explicit KivClDllFile(const KivClFilename& name);
    // Unloads the library if it is loaded.
    ~KivClDllFile() override;
    // The object owns a library handle: it is neither copied nor assigned.
    KivClDllFile(const KivClDllFile&) = delete;
    KivClDllFile& operator=(const KivClDllFile&) = delete;

    // dlopen(name, RTLD_NOW); the handle is stored, null on failure. A
    // library loaded earlier by this object is unloaded first.
    void load();
    bool isLoaded() const { return handle_ != nullptr; }
    // The dlopen handle; null when not loaded.
    void* getHandle() const { return handle_; }

    // "LD_LIBRARY_PATH".
    static const char* getSystemPathEnvironmentVariable();
    // ".so".
    static const char* getDefaultFileType();

private:
    void unload();

    void* handle_;
};

// A loaded shared library whose functions are looked up by name.
class KivClDllProcLoaderFile : public KivClDllFile {
public:
    explicit KivClDllProcLoaderFile(const KivClFilename& name) : KivClDllFile(name) {}
    ~KivClDllProcLoaderFile() override;

    // dlsym of symbol; null when the library is not loaded or has no such
    // symbol (or symbol is null).
    void* getProcedure(const char* symbol) const;
};

extern "C" {

// Loads the library name (completed as KivClDllFile does); an opaque handle,
// or null when the library cannot be loaded.
void* kivDllProcLoaderOpen(const char* name);
// The procedure symbol of the handle's library; null for an unknown symbol
// or a null handle.
void* kivDllProcLoaderGetProcedure(void* handle, const char* symbol);
// Unloads and releases the handle; null is ignored.
void kivDllProcLoaderClose(void* handle);

}  // extern "C"

#endif  // KIV_DLL_HPP
