// Files: attribute queries, copy, rename, remove and the static path helpers.
#include "kiv_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "foundation/kiv_fdio.hpp"
#include "kiv_envvar.hpp"
#include "kiv_string.hpp"
#include "util/kiv_bounded.hpp"

namespace {

// A size or time from stat as the 32-bit number the interface documents,
// clamped rather than wrapped.
uint32_t clampTo32(long long number) {
    if (number < 0) return 0;
    if (static_cast<unsigned long long>(number) > UINT32_MAX) return UINT32_MAX;
    return static_cast<uint32_t>(number);
}

// One of the three times of name in seconds, 0 when stat fails.
uint32_t timeOf(const char* name, timespec stat::*which) {
    struct stat info;
    return name != nullptr && ::stat(name, &info) == 0 ? clampTo32((info.*which).tv_sec) : 0;
}

// Opens a file for copying without blocking on a FIFO and checks that it is a
// regular file; the descriptor is switched back to blocking mode. Returns -1
// on any failure (with the descriptor closed).
int openRegular(const char* name, int flags, struct stat& info) {
    const int fd = ::open(name, flags | O_NONBLOCK | O_CLOEXEC, 0777);
    if (fd < 0) return -1;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) ||
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Copies everything from in to out, a chunk of 1024 bytes at a time. False
// on a read or write error.
bool copyBytes(int in, int out) {
    char chunk[1024];
    for (;;) {
        const ssize_t got = ::read(in, chunk, sizeof chunk);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return false;
        if (got == 0) return true;
        if (!kivWriteAll(out, chunk, static_cast<size_t>(got))) return false;
    }
}

// Gives out the mode of source when one is given, then empties it and
// copies in. The mode comes first, so that a target whose mode cannot be
// changed keeps its contents.
bool replaceContents(int in, int out, const struct stat* source) {
    return (source == nullptr || ::fchmod(out, source->st_mode & 07777) == 0) && ::ftruncate(out, 0) == 0 &&
           copyBytes(in, out);
}

// Opens the copy target, creating it when missing; created tells whether
// this call created it. -1 on failure.
int openTarget(const char* name, struct stat& info, bool& created) {
    const int fd = openRegular(name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, info);
    created = fd >= 0;
    if (fd >= 0 || errno != EEXIST) return fd;
    return openRegular(name, O_RDWR | O_NOFOLLOW, info);
}

// Appends the length characters at text to out at position used, within
// the 4096-character limit. False, with nothing appended, when they do not fit.
bool appendWhole(char* out, size_t& used, const char* text, size_t length) {
    if (used + length > KivClFilenameABase::MAX_LENGTH) return false;
    used += kivCopyBounded(out + used, text, length);
    return true;
}

// Removes the last "/component" of out; false when there is none.
bool dropLastComponent(char* out, size_t& used) {
    if (used == 0) return false;
    while (used > 0 && out[used - 1] != '/') --used;
    if (used > 0) --used;  // the "/" that introduced the component
    out[used] = '\0';
    return true;
}

bool endsWith(const char* text, size_t length, const char* suffix) {
    const size_t suffixLength = std::strlen(suffix);
    return length >= suffixLength && std::memcmp(text + length - suffixLength, suffix, suffixLength) == 0;
}

// The text the expansion starts from, without trailing "/", written to out.
// Sets rest to the first character still to walk. False when the working
// directory cannot be read or the start does not fit.
bool writeExpansionStart(const char* path, char* out, size_t& used, const char*& rest) {
    used = 0;
    out[0] = '\0';
    rest = path;
    const char* start = nullptr;
    char cwd[KivClFilenameABase::BUFFER_SIZE];
    if (path[0] == '~') {
        start = KivClEnvironmentVariableABase("HOME").getValue();
        if (start != nullptr) rest = path[1] == '/' ? path + 2 : path + 1;
    } else if (path[0] == '/') {
        rest = path + 1;
    } else {
        if (::getcwd(cwd, sizeof cwd) == nullptr) return false;
        start = cwd;
    }
    if (start == nullptr) return true;
    size_t length = std::strlen(start);
    while (length > 0 && start[length - 1] == '/') --length;
    return appendWhole(out, used, start, length);
}

}  // namespace

KivClFileABase::~KivClFileABase() = default;

uint32_t KivClFileABase::getDateTimeOfCreation(const char* name) { return timeOf(name, &stat::st_ctim); }

uint32_t KivClFileABase::getDateTimeOfLastAccess(const char* name) { return timeOf(name, &stat::st_atim); }

uint32_t KivClFileABase::getDateTimeOfLastModification(const char* name) {
    return timeOf(name, &stat::st_mtim);
}

bool KivClFileABase::isRelativePath(const char* path) {
    if (path == nullptr) return true;
    const KivClPathProperty property(path);
    return !property.isAbsolute() || std::strstr(path, "./") != nullptr;
}

bool KivClFileABase::expandRelativePath(char* path) {
    return expandRelativePath(path, KivClFilenameABase::BUFFER_SIZE);
}

bool KivClFileABase::expandRelativePath(char* path, size_t size) {
    if (path == nullptr || size == 0) return false;
    char out[KivClFilenameABase::BUFFER_SIZE];
    size_t used = 0;
    const char* rest = nullptr;
    if (!writeExpansionStart(path, out, used, rest)) return false;
    for (const char* slash = std::strchr(rest, '/'); slash != nullptr;
         rest = slash + 1, slash = std::strchr(rest, '/')) {
        const size_t length = static_cast<size_t>(slash - rest);
        if (length == 0) continue;
        if (endsWith(rest, length, "..")) {
            if (!dropLastComponent(out, used)) {
                path[0] = '\0';
                return false;
            }
        } else if (!endsWith(rest, length, ".")) {
            if (!appendWhole(out, used, "/", 1) || !appendWhole(out, used, rest, length)) return false;
        }
    }
    if (!appendWhole(out, used, "/", 1) || used >= size) return false;
    std::memcpy(path, out, used + 1);
    return true;
}

KivClFile::KivClFile(const KivClFilenameABase& name, const char* defaultExtension)
    : name_(name), error_{KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN} {
    if (!name_.hasExtension() && defaultExtension != nullptr && defaultExtension[0] != '\0') {
        name_.setNewExtension(defaultExtension);
    }
}

KivClFile::~KivClFile() = default;

KivClFile::operator const char*() const { return name_.getAsCString(); }

const char* KivClFile::getAsCString() const { return name_.getAsCString(); }

bool KivClFile::isExistent() const { return name_.isExistent(); }

bool KivClFile::isDirectory() const { return false; }

bool KivClFile::isFile() const { return true; }

uint32_t KivClFile::getDateTimeOfCreation() const { return KivClFileABase::getDateTimeOfCreation(name_); }

uint32_t KivClFile::getDateTimeOfLastAccess() const { return KivClFileABase::getDateTimeOfLastAccess(name_); }

uint32_t KivClFile::getDateTimeOfLastModification() const {
    return KivClFileABase::getDateTimeOfLastModification(name_);
}

void KivClFile::setError(uint32_t errorId, KivEnErrorClass errorClass) { error_ = {errorId, errorClass}; }

void KivClFile::clearError() { error_ = {KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN}; }

bool KivClFile::isHidden() const { return name_.getFilePart()[0] == '.'; }

bool KivClFile::isReadOnly() const { return ::access(name_, W_OK) != 0; }

bool KivClFile::setReadOnly(bool readOnly) { return ::chmod(name_, readOnly ? 0440 : 0660) == 0; }

uint32_t KivClFile::getFileSize() const {
    struct stat info;
    return ::stat(name_, &info) == 0 ? clampTo32(info.st_size) : 0;
}

const char* KivClFile::getFileType() const {
    const char* extension = name_.getExtension();
    return extension[0] == '.' ? extension + 1 : extension;
}

bool KivClFile::remove() {
    setError(KIV_ERRID_FILE_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_PERMISSION_DENIED);
    if (::unlink(name_) != 0) {
        if (errno == ENOENT) setError(KIV_ERRID_FILE_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_NOT_EXISTENT);
        return false;
    }
    clearError();
    return true;
}

bool KivClFile::copyTo(const KivClFilenameABase& target, bool copyPermissions) {
    const bool sameName = name_.getPathStyle() == KivEnPathStyleUnix ? std::strcmp(name_, target) == 0
                                                                     : strcmpi(name_, target) == 0;
    if (sameName) {
        setError(KIV_ERRID_FILE_COULD_NOT_COPY_SELF, KIV_ERRCLASS_INCONSISTENT_SITUATION);
        return false;
    }
    struct stat source;
    const int in = openRegular(name_, O_RDONLY, source);
    if (in < 0) {
        setError(KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_READ_PROBLEM);
        return false;
    }
    setError(KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_WRITE_PROBLEM);
    struct stat existing;
    bool created = false;
    const int out = openTarget(target, existing, created);
    if (out >= 0) {
        // The target is truncated only once it is known to be another file
        // than the source, so that no alias of the source (a hard link, a
        // name with "./" in it) is ever emptied.
        const bool self = existing.st_dev == source.st_dev && existing.st_ino == source.st_ino;
        if (self) setError(KIV_ERRID_FILE_COULD_NOT_COPY_SELF, KIV_ERRCLASS_INCONSISTENT_SITUATION);
        const bool copied = !self && replaceContents(in, out, copyPermissions ? &source : nullptr);
        if (::close(out) == 0 && copied) clearError();
        // A half-written file that did not exist before is not left behind.
        if (created && error_.errorId != KIV_ERRID_NO_ERROR) ::unlink(target);
    }
    ::close(in);
    return error_.errorId == KIV_ERRID_NO_ERROR;
}

bool KivClFile::copyTo(const KivClLocation& directory, bool copyPermissions) {
    const KivClFilename target(directory, name_.getFilePart(), nullptr);
    return copyTo(target, copyPermissions);
}

bool KivClFile::renameAs(const KivClFilenameABase& target) {
    setError(KIV_ERRID_FILE_COULD_NOT_RENAME, KIV_ERRCLASS_IO_PERMISSION_DENIED);
    if (::rename(name_, target) != 0) {
        if (::access(target, F_OK) == 0) setError(KIV_ERRID_FILE_COULD_NOT_RENAME, KIV_ERRCLASS_IO_ALREADY_IN_USE);
        return false;
    }
    name_ = target;
    clearError();
    return true;
}

bool KivClFile::isRegularFile(const char* name, bool executable) {
    struct stat info;
    return ::stat(name, &info) == 0 && S_ISREG(info.st_mode) && (!executable || ::access(name, X_OK) == 0);
}

bool KivClFile::determineFileInEnvVarPath(KivClFilename& name, const char* variable) const {
    return searchEnvVarPath(name, variable, false);
}

bool KivClFile::searchEnvVarPath(KivClFilename& name, const char* variable, bool executable) const {
    const char* value = KivClEnvironmentVariableABase(variable).getValue();
    if (value == nullptr) return false;
    const KivClFilename filePart(name.getFilePart());
    char directory[KivClFilenameABase::BUFFER_SIZE];
    for (const char* entry = value; *entry != '\0';) {
        const char* end = std::strchr(entry, ':');
        if (end == nullptr) end = entry + std::strlen(entry);
        const size_t length = static_cast<size_t>(end - entry);
        // Empty entries are skipped; so are entries too long for a name.
        if (length > 0 && length <= KivClFilenameABase::MAX_LENGTH) {
            std::memcpy(directory, entry, length);
            directory[length] = '\0';
            name = filePart;
            name.setNewPath(directory);
            // A name cut at the length limit would name some other file.
            const bool whole = std::strcmp(name.getFilePart(), filePart.getAsCString()) == 0;
            if (whole && isRegularFile(name, executable)) return true;
        }
        entry = *end == ':' ? end + 1 : end;
    }
    return false;
}
