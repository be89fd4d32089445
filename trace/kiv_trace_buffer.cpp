// Trace ring buffer, its hand-over of new bytes and the autosave handler.
#include "kiv_tracebuffer.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include "foundation/kiv_fdio.hpp"
#include "kiv_trace.hpp"
#include "kiv_traceentry.hpp"

namespace {

const char gs_acBufferSignature[4] = {'K', 'I', 'V', 'T'};

}  // namespace

KivClTraceBufferManager::KivClTraceBufferManager(KivClResourceKeySemaphore& semaphore,
                                                 void* buffer, uint32_t size)
    : semaphore_(semaphore), header_(static_cast<_KivStTraceBufferHeader*>(buffer)),
      callback_(nullptr), userData_(nullptr), dirty_(false) {
    if (memcmp(header_->signature, gs_acBufferSignature, sizeof(gs_acBufferSignature)) == 0) return;
    memcpy(header_->signature, gs_acBufferSignature, sizeof(gs_acBufferSignature));
    header_->capacity = size > HEADER_SIZE ? size - HEADER_SIZE : 0;
    header_->first = HEADER_SIZE;
    header_->last = HEADER_SIZE + header_->capacity - 1;
    header_->saved = HEADER_SIZE;
    header_->write = HEADER_SIZE;
}

KivClTraceBufferManager::~KivClTraceBufferManager() {
    header_ = nullptr;
    callback_ = nullptr;
    userData_ = nullptr;
}

void KivClTraceBufferManager::setOverflowCallBack(KivPfuTraceBufferCallBack callback,
                                                  void* userData) {
    callback_ = callback;
    userData_ = userData;
}

void KivClTraceBufferManager::write(const KivClTraceEntry& entry) {
    KivClTraceBufferAccessSemaphore guard(semaphore_);
    dirty_ = true;
    const uint32_t textLength = entry.getHeaderAndTextLength();
    const uint32_t dataLength = entry.getData() != nullptr ? entry.getDataLength() : 0;
    const uint64_t total = static_cast<uint64_t>(textLength) + dataLength;
    // A record smaller than the ring goes to the callback in one piece: make
    // room for it without overtaking unsaved bytes, and hand over after it
    // when it reached the end of the ring instead of in its middle.
    const bool whole = callback_ != nullptr && total < header_->capacity;
    if (whole && pendingBytes() + total >= header_->capacity) overflow();
    if (total < header_->last - header_->write + 1) {
        // The usual case: the whole record fits before the end of the ring.
        char* at = base() + header_->write;
        memcpy(at, entry.getHeaderAndText(), textLength);
        if (dataLength != 0) memcpy(at + textLength, entry.getData(), dataLength);
        header_->write += static_cast<uint32_t>(total);
        return;
    }
    bool wrapped = ringWrite(reinterpret_cast<const char*>(entry.getHeaderAndText()), textLength, !whole);
    if (dataLength != 0) {
        wrapped = ringWrite(static_cast<const char*>(entry.getData()), dataLength, !whole) || wrapped;
    }
    if (whole && wrapped) overflow();
}

void KivClTraceBufferManager::write(const void* bytes, uint32_t count) {
    ringWrite(static_cast<const char*>(bytes), count, true);
}

bool KivClTraceBufferManager::ringWrite(const char* from, uint32_t count, bool handOverAtEnd) {
    if (header_->capacity == 0) return false;
    bool wrapped = false;
    while (count > 0) {
        const uint32_t space = header_->last - header_->write + 1;
        if (count < space) {
            memcpy(base() + header_->write, from, count);
            header_->write += count;
            return wrapped;
        }
        memcpy(base() + header_->write, from, space);
        header_->write += space;
        if (handOverAtEnd) overflow();
        header_->write = header_->first;
        from += space;
        count -= space;
        wrapped = true;
    }
    return wrapped;
}

uint32_t KivClTraceBufferManager::pendingBytes() const {
    if (header_->saved <= header_->write) return header_->write - header_->saved;
    return header_->capacity - (header_->saved - header_->write);
}

void KivClTraceBufferManager::overflow() {
    if (callback_ == nullptr) return;
    _KivStTraceBufferCallBackInfo info{userData_, base() + header_->saved, 0, nullptr, 0};
    if (header_->saved < header_->write) {
        info.firstLength = header_->write - header_->saved;
    } else if (header_->saved > header_->write || header_->write == header_->last + 1) {
        // Wrapped since the last hand-over (equal positions at the end of
        // the ring mean a whole ring of new bytes; in the middle, none).
        info.firstLength = header_->last + 1 - header_->saved;
        info.secondPart = base() + header_->first;
        info.secondLength = header_->write - header_->first;
    }
    callback_(info);
    header_->saved = header_->write;
}

void KivClTraceBufferManager::flush() {
    KivClTraceBufferAccessSemaphore guard(semaphore_);
    if (!dirty_) return;
    overflow();
    dirty_ = false;
}

namespace {

// Opens path for appending without following a final symbolic link and
// without blocking on a FIFO; anything but a regular file is refused with
// errno EINVAL. Returns the descriptor or -1.
int openTraceFileForAppend(const char* path, struct stat& status) {
    const int fd = open(path, O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666);
    if (fd < 0) return -1;
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(fd);
        errno = EINVAL;
        return -1;
    }
    fcntl(fd, F_SETFL, O_APPEND);
    return fd;
}

// Appends both parts with one writev call, so that a hand-over lands whole
// even when other processes append to the same file; only after a short
// write (a full disk, a signal) does the rest follow in further calls.
// Returns the count of bytes written.
uint32_t writeHandOver(int fd, const _KivStTraceBufferCallBackInfo& info) {
    iovec parts[2];
    int count = 0;
    if (info.firstLength != 0) parts[count++] = {const_cast<char*>(info.firstPart), info.firstLength};
    if (info.secondLength != 0) parts[count++] = {const_cast<char*>(info.secondPart), info.secondLength};
    if (count == 0) return 0;
    const ssize_t done = writev(fd, parts, count);
    if (done < 0) return 0;
    size_t written = static_cast<size_t>(done);
    size_t skip = written;
    for (int i = 0; i < count; ++i) {
        const size_t length = parts[i].iov_len;
        if (skip >= length) {
            skip -= length;
            continue;
        }
        if (!kivWriteAll(fd, static_cast<const char*>(parts[i].iov_base) + skip, length - skip)) break;
        written += length - skip;
        skip = 0;
    }
    return static_cast<uint32_t>(written);
}

}  // namespace

int kivTraceBufferOverflowHandler(const _KivStTraceBufferCallBackInfo& info) {
    const KivClTraceEnvironment& environment = *static_cast<const KivClTraceEnvironment*>(info.userData);
    const bool verbose = environment.getSettings().isVerbose();
    const char* path = environment.getTraceFileName().getAsCString();
    struct stat status {};
    const int fd = openTraceFileForAppend(path, status);
    if (fd < 0) {
        if (verbose) {
            printf("[KIV: TRACE: could not open: %s (errno: %d)]\n", path, errno);
            fflush(stdout);
        }
        return -1;
    }
    if (verbose) {
        printf("[KIV: TRACE: writing file: %s]\n", path);
        if (status.st_size != 0) {
            printf("[KIV: TRACE: file exists with size: %lld]\n", static_cast<long long>(status.st_size));
        }
    }
    const uint32_t written = writeHandOver(fd, info);
    const int result = close(fd);
    if (verbose) {
        printf("[KIV: TRACE: bytes written: %u file status: %d]\n", written, result);
        fflush(stdout);
    }
    return result;
}
