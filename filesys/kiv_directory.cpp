// Directories: creation with parents, removal of whole trees, the working
// directory and component arithmetic on an absolute location.
#include "kiv_directory.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

namespace {

constexpr unsigned long DEFAULT_MODE = 0777;

// A bounded, terminated copy of text into a BUFFER_SIZE buffer.
void copyText(char* buffer, const char* text) {
    kivStrCopyUntil(buffer, text, '\0', KivClLocation::BUFFER_SIZE);
}

// The directory's text without its final "/" (the root stays "/"), as the
// time queries of a name expect.
void withoutFinalSeparator(char* buffer, const KivClLocation& location) {
    copyText(buffer, location);
    const size_t length = std::strlen(buffer);
    if (length > 1 && buffer[length - 1] == '/') buffer[length - 1] = '\0';
}

}  // namespace

KivClDirectory::KivClDirectory() : error_{} {
    char cwd[KivClLocation::BUFFER_SIZE];
    if (::getcwd(cwd, sizeof cwd) == nullptr) {
        setText("");
        setError(KIV_ERRID_DIRECTORY_EXPANSION_FAILED, KIV_ERRCLASS_IO_NOT_EXISTENT);
        return;
    }
    setText(cwd);  // the location appends the final "/"
}

KivClDirectory::KivClDirectory(const char* path) : error_{} { assign(path); }

KivClDirectory::KivClDirectory(const KivClLocation& location) : error_{} { assign(location); }

KivClDirectory::KivClDirectory(const KivClDirectory& other) : KivClFileABase(other), error_(other.error_) {
    // A directory whose expansion failed stays failed: expanding its empty
    // text would turn it into the working directory.
    if (other.location_.getLength() == 0) return;
    assign(other.location_);
}

KivClDirectory::~KivClDirectory() = default;

void KivClDirectory::assign(const char* path) {
    location_ = KivClLocation(path, true);
    clearError();
    expandRelativeDirectory();
}

KivClDirectory::operator const char*() const { return location_; }

const char* KivClDirectory::getAsCString() const { return location_; }

bool KivClDirectory::isExistent() const { return ::access(location_, F_OK) == 0; }

bool KivClDirectory::isDirectory() const { return true; }

bool KivClDirectory::isFile() const { return false; }

uint32_t KivClDirectory::getDateTimeOfCreation() const {
    char name[KivClLocation::BUFFER_SIZE];
    withoutFinalSeparator(name, location_);
    return KivClFileABase::getDateTimeOfCreation(name);
}

uint32_t KivClDirectory::getDateTimeOfLastAccess() const {
    char name[KivClLocation::BUFFER_SIZE];
    withoutFinalSeparator(name, location_);
    return KivClFileABase::getDateTimeOfLastAccess(name);
}

uint32_t KivClDirectory::getDateTimeOfLastModification() const {
    char name[KivClLocation::BUFFER_SIZE];
    withoutFinalSeparator(name, location_);
    return KivClFileABase::getDateTimeOfLastModification(name);
}

bool KivClDirectory::isRelativeDirectory(const char* path) { return isRelativePath(path); }

bool KivClDirectory::expandRelativeDirectory(char* path) { return expandRelativePath(path); }

void KivClDirectory::expandRelativeDirectory() {
    if (!isRelativeDirectory(location_)) return;
    char expanded[KivClLocation::BUFFER_SIZE];
    copyText(expanded, location_);
    if (!expandRelativeDirectory(expanded)) {
        setError(KIV_ERRID_DIRECTORY_EXPANSION_FAILED, KIV_ERRCLASS_IO_INVALID_NAME);
    }
    setText(expanded);
}

bool KivClDirectory::create() { return create(DEFAULT_MODE); }

bool KivClDirectory::create(unsigned long mode) {
    setError(KIV_ERRID_DIRECTORY_COULD_NOT_CREATE, KIV_ERRCLASS_IO_NOT_EXISTENT);
    if (location_.getLength() == 0) return false;
    char prefix[KivClLocation::BUFFER_SIZE];
    copyText(prefix, location_);
    // Each "/" ends one prefix; the last one is the directory itself.
    for (char* cut = prefix + (location_.hasDrive() ? 3 : 1); *cut != '\0'; ++cut) {
        if (*cut != '/') continue;
        *cut = '\0';
        // EEXIST: made by someone else between the test and mkdir.
        const bool present = ::access(prefix, F_OK) == 0 || ::mkdir(prefix, static_cast<mode_t>(mode)) == 0 ||
                             errno == EEXIST;
        *cut = '/';
        if (!present) return false;
    }
    clearError();
    return true;
}

bool KivClDirectory::create(unsigned long mode, unsigned long mask) {
    const bool created = create(mode);
    // For every mask within 0777 this is mode & (0777 - mask).
    ::chmod(location_, static_cast<mode_t>(mode & (0777 & ~mask)));
    return created;
}

bool KivClDirectory::removeDirectory() {
    setError(KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_STILL_IN_USE);
    if (::rmdir(location_) != 0) {
        if (errno == ENOENT) setError(KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_INVALID_NAME);
        return false;
    }
    clearError();
    return true;
}

bool KivClDirectory::remove() { return removeDirectory(); }

bool KivClDirectory::removeAll(bool recursive) {
    if (recursive) removeTree(*this);
    return remove();
}

namespace {

// Empties and removes the subdirectory named path. The object lives on the
// heap so that deep trees do not pile 4 KiB names onto the stack.
bool removeSubDirectory(const char* path) {
    void* memory = kivMalloc(sizeof(KivClDirectory));
    KivClDirectory* sub = new (memory) KivClDirectory(path);
    const bool removed = KivClDirectory::removeTree(*sub) && sub->remove();
    sub->~KivClDirectory();
    kivFree(memory);
    return removed;
}

}  // namespace

bool KivClDirectory::removeTree(const KivClDirectory& directory) {
    // An empty text would walk "./": never empty the working directory by
    // accident of a failed expansion.
    if (directory.location_.getLength() == 0) return false;
    KivClDirectoryWalk walk(directory);
    if (!walk.isValid()) return false;
    for (; walk.isValid(); walk.setToNext()) {
        // A link to a directory is deleted like a file: never entered.
        if (walk.isDirectory() && !walk.isSymbolicLink()) {
            if (walk.isSubDirectory() && !removeSubDirectory(walk.getNameWithPath())) return false;
        } else if (std::remove(walk.getNameWithPath()) != 0) {
            return false;
        }
    }
    return true;
}

bool KivClDirectory::setAsCurrent() {
    if (::chdir(location_) != 0) {
        setError(KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE, KIV_ERRCLASS_IO_NOT_EXISTENT);
        return false;
    }
    clearError();
    return true;
}

void KivClDirectory::attachSubDir(const KivClLocation& sub) {
    char joined[KivClLocation::BUFFER_SIZE];
    copyText(joined, location_);
    const size_t used = std::strlen(joined);
    kivStrCopyUntil(joined + used, sub.getPathStart(), '\0', sizeof joined - used);
    setText(joined);
    expandRelativeDirectory();
}

bool KivClDirectory::detachLastSubDir() {
    const char* path = location_.getPathStart();
    const size_t length = std::strlen(path);
    // The "/" before the last component, searched before the final "/".
    size_t cut = length > 1 ? length - 2 : 0;
    while (cut > 0 && path[cut] != '/') --cut;
    if (location_.isRoot() || length < 2 || path[cut] != '/') {
        setError(KIV_ERRID_DIRECTORY_COULD_NOT_DETACH, KIV_ERRCLASS_LOGIC);
        return false;
    }
    char shorter[KivClLocation::BUFFER_SIZE];
    copyText(shorter, location_);
    shorter[(path - location_.getAsCString()) + cut + 1] = '\0';
    setText(shorter);
    clearError();
    return true;
}

bool KivClDirectory::detachSubDirs(unsigned int count) {
    for (unsigned int i = 0; i < count; ++i) {
        if (!detachLastSubDir()) return false;
    }
    clearError();
    return true;
}

unsigned int KivClDirectory::getNumOfSubDirs() const {
    const unsigned long separators = kivStrCount(location_.getPathStart(), '/');
    return separators > 0 ? static_cast<unsigned int>(separators - 1) : 0;
}
