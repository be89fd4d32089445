// Directory walking: the platform walker over opendir/readdir/stat and the
// walk that classifies and matches its entries.
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "kiv_directory.hpp"
#include "kiv_match.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_string.hpp"

KivClOSSDirectoryWalker::KivClOSSDirectoryWalker(const KivClLocation& directory, _KivStError& error)
    : name_(path_), valid_(false), error_(error), stream_(nullptr), mode_(0) {
    const char* text = directory.getLength() > 0 ? directory.getAsCString() : "./";
    name_ = path_ + kivStrCopyUntil(path_, text, '\0', sizeof path_);
    stream_ = ::opendir(path_);
    if (stream_ == nullptr) {
        error_ = {KIV_ERRID_DIRWALK_COULD_NOT_INIT, KIV_ERRCLASS_IO_PROBLEM};
        return;
    }
    valid_ = true;
    setToNext();
}

KivClOSSDirectoryWalker::~KivClOSSDirectoryWalker() {
    if (stream_ != nullptr) ::closedir(stream_);
}

bool KivClOSSDirectoryWalker::setToNext() {
    if (!valid_) return false;
    const size_t room = static_cast<size_t>(path_ + sizeof path_ - 1 - name_);
    for (;;) {
        errno = 0;
        const struct dirent* entry = ::readdir(stream_);
        if (entry == nullptr) {
            if (errno != 0) error_ = {KIV_ERRID_DIRWALK_NO_CONTINUATION, KIV_ERRCLASS_IO_PROBLEM};
            valid_ = false;
            *name_ = '\0';
            mode_ = 0;
            ::closedir(stream_);
            stream_ = nullptr;
            return false;
        }
        const size_t length = std::strlen(entry->d_name);
        if (length > room) {
            error_ = {KIV_ERRID_DIRWALK_NO_CONTINUATION, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS};
            continue;
        }
        std::memcpy(name_, entry->d_name, length + 1);
        struct stat info;
        mode_ = ::stat(path_, &info) == 0 ? static_cast<uint32_t>(info.st_mode) : 0;
        return true;
    }
}

KivClDirectoryWalk::KivClDirectoryWalk(const KivClLocation& directory) : walker_(nullptr), error_{} {
    start(directory);
}

KivClDirectoryWalk::KivClDirectoryWalk(const KivClDirectory& directory) : walker_(nullptr), error_{} {
    start(directory.getLocation());
}

KivClDirectoryWalk::~KivClDirectoryWalk() {
    walker_->~KivClOSSDirectoryWalker();
    kivFree(walker_);
}

void KivClDirectoryWalk::start(const KivClLocation& directory) {
    void* memory = kivMalloc(sizeof(KivClOSSDirectoryWalker));
    walker_ = new (memory) KivClOSSDirectoryWalker(directory, error_);
}

bool KivClDirectoryWalk::isValid() const { return walker_->isValid(); }

bool KivClDirectoryWalk::setToNext() { return walker_->setToNext(); }

const char* KivClDirectoryWalk::getNameWithPath() const { return walker_->getPath(); }

const char* KivClDirectoryWalk::getNameWithoutPath() const { return walker_->getName(); }

bool KivClDirectoryWalk::isDirectory() const { return walker_->isValid() && S_ISDIR(walker_->getMode()); }

bool KivClDirectoryWalk::isCurrentDirectory() const {
    return isDirectory() && std::strcmp(walker_->getName(), ".") == 0;
}

bool KivClDirectoryWalk::isParentDirectory() const {
    return isDirectory() && std::strncmp(walker_->getName(), "..", 2) == 0;
}

bool KivClDirectoryWalk::isSubDirectory() const {
    // Only a current entry is tested, and its name is never empty, so the
    // second character is readable.
    if (!isDirectory()) return false;
    const char* name = walker_->getName();
    return name[0] != '.' && name[1] != '.';
}

bool KivClDirectoryWalk::isHidden() const {
    return walker_->isValid() && S_ISREG(walker_->getMode()) && walker_->getName()[0] == '.';
}

bool KivClDirectoryWalk::isReadOnly() const { return walker_->isValid() && (walker_->getMode() & 0200) == 0; }

bool KivClDirectoryWalk::isSymbolicLink() const {
    struct stat info;
    return walker_->isValid() && ::lstat(walker_->getPath(), &info) == 0 && S_ISLNK(info.st_mode);
}

bool KivClDirectoryWalk::matchesWildcardPattern(const char* pattern) const {
    return walker_->isValid() && kivMatchesWildcardPattern(pattern, walker_->getName(), true);
}
