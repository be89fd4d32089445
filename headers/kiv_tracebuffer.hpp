// Trace buffer: the ring of trace records in the process's memory and its
// hand-over of new bytes to an overflow callback (autosave to the trace file).
//
// The buffer starts with a 24-byte header (_KivStTraceBufferHeader) holding
// offsets from the buffer start, so it stays valid wherever the buffer is
// mapped; the rest is the ring. Whenever the write position reaches the end
// of the ring, and on every flush, the bytes written since the last hand-over
// go to the callback in order. A record written with write(entry) that is
// smaller than the ring never straddles two hand-overs: when it reaches the
// end of the ring the hand-over follows right after it, and when the unsaved
// bytes and the record would not fit the ring together the unsaved bytes are
// handed over first. So processes appending to one trace file never split
// each other's records. (A record larger than the ring is handed over at each
// wrap like raw bytes.) Without a callback the ring overwrites its oldest
// bytes.
//
// Failure policy: nothing here throws or allocates. The autosave handler
// reports open, write and close problems only in verbose mode; the bytes
// handed over count as saved either way. The handler creates the trace file
// in append mode with mode 0666 less the umask, never follows a symbolic link
// and refuses anything that is not a regular file (a FIFO cannot block it).
// Writes are not locked: one thread at a time records into one buffer.
//
//   KivClResourceKeySemaphore key("APP", nullptr);
//   char memory[4096] = {};
//   KivClTraceBufferManager ring(key, memory, sizeof memory);  // ring of 4072 bytes
//   ring.setOverflowCallBack(saveBytes, &myState);
//   ring.write("abc", 3);  // stored; nothing handed over yet
//   ring.overflow();       // saveBytes gets "abc"
//   ring.write(entry);     // a whole record: marks the buffer dirty
//   ring.flush();          // saveBytes gets the record's bytes
//   ring.flush();          // nothing new: saveBytes is not called
#ifndef KIV_TRACEBUFFER_HPP
#define KIV_TRACEBUFFER_HPP

#include <cstdint>

class KivClResourceKeySemaphore;
class KivClTraceEntry;

// The buffer header; positions are byte offsets from the buffer start.
struct _KivStTraceBufferHeader {
    char signature[4];  // "KIVT"
    uint32_t capacity;  // ring bytes: buffer size - 24
    uint32_t first;     // first ring byte (24)
    uint32_t last;      // last ring byte (first + capacity - 1)
    uint32_t saved;     // bytes before this position have been handed over
    uint32_t write;     // next byte to write
};
static_assert(sizeof(_KivStTraceBufferHeader) == 24, "trace buffer header must stay 24 bytes");

// What the overflow callback receives: up to two runs of new bytes, in order.
struct _KivStTraceBufferCallBackInfo {
    void* userData;
    const char* firstPart;
    uint32_t firstLength;   // may be 0
    const char* secondPart; // null when the new bytes do not wrap
    uint32_t secondLength;
};

typedef int (*KivPfuTraceBufferCallBack)(const _KivStTraceBufferCallBackInfo& info);

// Scoped guard around every public buffer operation. The buffer belongs to
// one process and is not shared, so the guard holds no lock; it marks where a
// lock belongs should the buffer ever be shared.
class KivClTraceBufferAccessSemaphore {
public:
    explicit KivClTraceBufferAccessSemaphore(KivClResourceKeySemaphore& semaphore)
        : semaphore_(semaphore) {}
    KivClResourceKeySemaphore& getSemaphore() const { return semaphore_; }
    KivClTraceBufferAccessSemaphore(const KivClTraceBufferAccessSemaphore&) = delete;
    KivClTraceBufferAccessSemaphore& operator=(const KivClTraceBufferAccessSemaphore&) = delete;

private:
    KivClResourceKeySemaphore& semaphore_;
};

// The ring of trace records in a caller's memory and its overflow hand-over.
class KivClTraceBufferManager {
public:
    static constexpr uint32_t HEADER_SIZE = sizeof(_KivStTraceBufferHeader);

    // Takes over buffer (size bytes, not owned). A buffer that does not yet
    // start with "KIVT" gets a fresh header with every position at the first
    // ring byte; one that does is taken over unchanged. A buffer of 24 bytes
    // or less gets a ring of capacity 0, into which nothing is written.
    // @warning a buffer without the signature has its first 24 bytes replaced.
    KivClTraceBufferManager(KivClResourceKeySemaphore& semaphore, void* buffer, uint32_t size);
    ~KivClTraceBufferManager();
    KivClTraceBufferManager(const KivClTraceBufferManager&) = delete;
    KivClTraceBufferManager& operator=(const KivClTraceBufferManager&) = delete;

    // Writes the entry's header and texts, then its data, and marks the
    // buffer dirty.
    void write(const KivClTraceEntry& entry);
    // Ring write: copies count bytes at the write position, handing the new
    // bytes over each time the end of the ring is reached and continuing at
    // its start. Counts beyond the capacity are written in turns, so nothing
    // is ever written outside the ring.
    void write(const void* bytes, uint32_t count);
    // Hands the bytes written since the last hand-over to the callback and
    // moves the saved position to the write position. Without a callback
    // nothing happens. When nothing new was written since the last
    // hand-over, both parts are empty.
    void overflow();
    // overflow() when a record was written since the last flush.
    void flush();

    // Installs (or with null removes) the callback and its user data.
    void setOverflowCallBack(KivPfuTraceBufferCallBack callback, void* userData);
    KivPfuTraceBufferCallBack getOverflowCallBack() const { return callback_; }

    bool isDirty() const { return dirty_; }
    const _KivStTraceBufferHeader* getHeader() const { return header_; }

private:
    char* base() const { return reinterpret_cast<char*>(header_); }
    // The ring write; handOverAtEnd calls overflow() on reaching the end of
    // the ring. True when the end was reached.
    bool ringWrite(const char* from, uint32_t count, bool handOverAtEnd);
    // Bytes written since the last hand-over.
    uint32_t pendingBytes() const;

    KivClResourceKeySemaphore& semaphore_;
    _KivStTraceBufferHeader* header_;
    KivPfuTraceBufferCallBack callback_;
    void* userData_;
    bool dirty_;
};

extern "C" {

// The autosave callback; info.userData is the KivClTraceEnvironment. Appends
// both parts to the environment's trace file (created with mode 0666 less the
// umask, opened without following a symbolic link; anything but a regular
// file is refused). Both parts go to the file in one writev call, so that
// hand-overs of processes sharing the file do not interleave. With verbose settings it prints "[KIV: TRACE: ...]" lines
// about the file to standard output. Returns the close result (0), or -1 when
// the file could not be opened or is not a regular file.
int kivTraceBufferOverflowHandler(const _KivStTraceBufferCallBackInfo& info);

}  // extern "C"

#endif  // KIV_TRACEBUFFER_HPP
