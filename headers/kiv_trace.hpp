// Trace facility: per-process tracing configured by environment variables
// named after the caller's key, and the plain-function interface that
// instrumented code calls.
//
// kivTraceCreateInstance(key, instance) creates the process's one trace
// instance. Its environment reads <KEY>_TRACE_ACTIVE, _DETAIL, _AUTOSAVE,
// _AUTOFLUSH, _AUTOCLEAR, _COMPRESS, _COMPSET, _BUFSIZE, _FILE, _FORMAT and
// _VERBOSE (KEY is the key in upper case; a key is cut to 24 characters so
// that every name fits 40 characters), allocates the ring buffer and installs
// the autosave to the trace file. While tracing is enabled, kivTraceDump
// turns each call that passes the detail and component filter into a record
// built on the stack and copied into the ring, without any heap allocation;
// the trace file is written only when the ring wraps and on a flush. A static
// object deletes the instance at normal exit, which flushes the rest.
//
// Records carry the writer's process id, its kernel thread id and a
// timestamp in monotonic microseconds (low 32 bits). The library holds no
// locks: threads that trace concurrently must serialize their calls.
//
// Failure policy: allocation failures throw KivClExceptionFatal through the
// memory manager; bad variable values fall back as documented below; trace
// file problems are reported only in verbose mode (_VERBOSE).
//
//   // APP_TRACE_ACTIVE=1 APP_TRACE_DETAIL=HIGH in the environment
//   kivTraceCreateInstance("App", nullptr);   // file: $TMP/Apptrace.trc
//   if (kivTraceIsEnabled())
//       kivTraceDump(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_INT32, "main", "count", &n, 4);
//   kivTraceFlush();                           // the record is in the file now
#ifndef KIV_TRACE_HPP
#define KIV_TRACE_HPP

#include <cstdint>
#include <ostream>

#include "kiv_filename.hpp"
#include "kiv_resourcekey.hpp"
#include "kiv_tracebuffer.hpp"
#include "kiv_traceentry.hpp"
#include "kiv_tracefilter.hpp"

// The settings block: signature, flags and the recording filter.
struct _KivStTraceSettingsBlock {
    uint32_t signature;
    uint32_t flags;
    KivClTraceFilter filter;
};

// The trace settings block: flags and the recording filter.
class KivClTraceSettings {
public:
    static constexpr uint32_t SIGNATURE = 0x4B49;  // "KI"
    static constexpr uint32_t FLAG_COMPRESSION = 1u << 0;
    static constexpr uint32_t FLAG_AUTOSAVE = 1u << 1;
    static constexpr uint32_t FLAG_AUTOCLEAR = 1u << 2;
    static constexpr uint32_t FLAG_AUTOFLUSH = 1u << 3;
    static constexpr uint32_t FLAG_VERBOSE = 1u << 4;
    static constexpr uint32_t INITIAL_FLAGS = FLAG_COMPRESSION | FLAG_AUTOSAVE;
    // Bytes (and alignment) of the memory the second constructor needs.
    static constexpr uint32_t BLOCK_SIZE = sizeof(_KivStTraceSettingsBlock);

    // Keeps the block inside the object: signature, flags 3, default filter.
    KivClTraceSettings();
    // Builds the block (signature, flags 3, default filter) in the caller's
    // memory of BLOCK_SIZE bytes, aligned for 32-bit words, which must
    // outlive this object. @warning the memory's previous contents are lost.
    explicit KivClTraceSettings(void* memory);
    KivClTraceSettings(const KivClTraceSettings&) = delete;
    KivClTraceSettings& operator=(const KivClTraceSettings&) = delete;

    // Writes the signature and the flags 3; the filter stays as it is.
    void init();
    // The filter's detail from text (see KivClTraceFilter::setDetail).
    void setDetailLevel(const char* text);
    // A non-empty text disables every component id, then enables the set it
    // describes; null or "" changes nothing.
    void initComponentIds(const char* text);

    uint32_t getSignature() const { return block_->signature; }
    uint32_t getFlags() const { return block_->flags; }
    void setFlag(uint32_t flag, bool on);
    bool isCompressionOn() const { return (block_->flags & FLAG_COMPRESSION) != 0; }
    bool isAutoSaveOn() const { return (block_->flags & FLAG_AUTOSAVE) != 0; }
    bool isAutoClearOn() const { return (block_->flags & FLAG_AUTOCLEAR) != 0; }
    bool isAutoFlushOn() const { return (block_->flags & FLAG_AUTOFLUSH) != 0; }
    bool isVerbose() const { return (block_->flags & FLAG_VERBOSE) != 0; }

    KivClTraceFilter& getFilter() { return block_->filter; }
    const KivClTraceFilter& getFilter() const { return block_->filter; }

private:
    _KivStTraceSettingsBlock* block_;
    _KivStTraceSettingsBlock ownBlock_;
};

// The trace configuration of a key read from its environment variables, with
// the trace file name and the ring buffer size.
class KivClTraceEnvironment {
public:
    static constexpr uint32_t MAX_KEY_LENGTH = 24;
    static constexpr uint32_t MAX_FORMAT_LENGTH = 512;
    static constexpr uint32_t DEFAULT_BUFFER_SIZE = 65535;
    static constexpr uint32_t MIN_BUFFER_SIZE = 4096;
    static constexpr uint32_t MAX_BUFFER_SIZE = 16777216;
    static constexpr const char* DEFAULT_INSTANCE_NAME = "KIVTRACEINSTANCE0";
    static constexpr const char* DEFAULT_FORMAT =
        "%f%n   P: %p, T: %s, D: %l, C: %c%n   Data: %m (%x: %d%n)";

    // Reads the settings from the variables of key (a null key reads as "",
    // a key longer than 24 characters is cut to 24 for the variable names and
    // the default file name), allocates and clears the buffer and installs
    // the autosave. A null instance name stands for "KIVTRACEINSTANCE0".
    // Unless controller is true, autosave plus autoclear removes the file.
    // @warning with _AUTOCLEAR enabled an existing trace file is deleted.
    KivClTraceEnvironment(const char* key, const char* instanceName, bool controller);
    // Flushes, detaches the autosave and releases the buffer.
    ~KivClTraceEnvironment();
    KivClTraceEnvironment(const KivClTraceEnvironment&) = delete;
    KivClTraceEnvironment& operator=(const KivClTraceEnvironment&) = delete;

    // Writes the entry into the ring; flushes when autoflush is on.
    void add(const KivClTraceEntry& entry);
    void flush();
    void activate() { active_ = true; }
    bool isActive() const { return active_; }
    bool isController() const { return controller_; }
    bool isSharedMemory() const { return sharedMemory_; }

    // Capacity of the ring: buffer size less the 24-byte buffer header.
    uint32_t getBufferSize() const { return bufferSize_ - KivClTraceBufferManager::HEADER_SIZE; }
    // The whole buffer, header included (4096 to 16777216 bytes).
    uint32_t getTotalBufferSize() const { return bufferSize_; }
    uint32_t getProcessId() const { return processId_; }
    const char* getKey() const { return key_; }
    const KivClTraceSettings& getSettings() const { return *settings_; }
    KivClTraceSettings& getSettings() { return *settings_; }
    const KivClFilenameABase& getTraceFileName() const { return traceFile_; }
    // Names another trace file (a tool's explicit file name); the file itself
    // is neither opened nor removed. A name is cut at 4096 characters.
    void setTraceFileName(const char* name);
    const KivClResourceKeySemaphore& getSemaphore() const { return semaphore_; }
    KivClTraceBufferManager& getBufferManager() { return *bufferManager_; }

    // Copies at most 512 characters; the copy is always terminated.
    void setFormatString(const char* text);
    const char* getFormatString() const { return formatString_; }

    // Adds to the running totals of decompressed and compressed text lengths.
    void recordCompressionRate(uint32_t decompressedLength, uint32_t compressedLength);
    // Compressed total / decompressed total; 0.0 while either is 0.
    double getCompressionRate() const;

private:
    void determineSettingsFromEnvVars(const char* key);
    void printSettings() const;

    KivClResourceKeySemaphore semaphore_;
    KivClTraceBufferManager* bufferManager_;
    KivClTraceSettings* settings_;
    uint32_t bufferSize_;
    uint32_t processId_;
    KivClFilename traceFile_;
    char formatString_[MAX_FORMAT_LENGTH + 1];
    char* buffer_;
    bool active_;
    bool sharedMemory_;
    bool controller_;
    uint32_t decompressedTotal_;
    uint32_t compressedTotal_;
    char key_[MAX_KEY_LENGTH + 1];
};

// The record sink: every non-function record goes here.
typedef void (*KivPfuTraceDumpCallBack)(void* userData, KivEnTraceDetail detail,
                                        unsigned short componentId, KivEnTraceDataType type,
                                        const char* functionName, const char* message,
                                        const void* data, unsigned int length);

// The process's one trace instance: environment, ring buffer and autosave.
class KivClTraceInstance {
public:
    // Creates the singleton (controller flag false or true) unless one
    // exists; returns the singleton, an existing one unchanged.
    static KivClTraceInstance* createInstance(const char* key, const char* instanceName);
    static KivClTraceInstance* createControllerInstance(const char* key, const char* instanceName);
    // Destroys the singleton (flushing it) and frees its memory.
    static void deleteInstance();

    KivClTraceInstance(const char* key, const char* instanceName, bool controller);
    ~KivClTraceInstance();
    KivClTraceInstance(const KivClTraceInstance&) = delete;
    KivClTraceInstance& operator=(const KivClTraceInstance&) = delete;

    // Makes this the enabled instance when the environment is active.
    bool enable();
    // Flushes, then disables tracing.
    void disable();
    // Marks the environment active; enable() must follow to trace.
    void activate() { environment_->activate(); }
    bool isActive() const { return environment_->isActive(); }
    bool isEnabled() const;
    void flush();

    // Sends every non-function record to callback instead of the buffer.
    void registerUserCallback(KivPfuTraceDumpCallBack callback, void* userData);
    bool usesKivBackEnd() const;

    // Function entry (type 1) or exit (any other type): moves the nesting
    // level, records detail LOW as 0, and passes the new level as 4 bytes of
    // data with an empty message.
    void dumpFunction(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                      const char* functionName);
    void dump(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
              const char* functionName, const char* message, const void* data, unsigned int length);
    // The default sink: filters by the settings and writes into the buffer.
    static void dumpImp(void* userData, KivEnTraceDetail detail, unsigned short componentId,
                        KivEnTraceDataType type, const char* functionName, const char* message,
                        const void* data, unsigned int length);

    KivClTraceEnvironment& getEnvironment() { return *environment_; }
    int32_t getNestingLevel() const { return nestingLevel_; }

    static KivClTraceInstance* cv_pclSingletonInstance;

private:
    KivClTraceEnvironment* environment_;
    KivPfuTraceDumpCallBack callback_;
    void* userData_;
    int32_t nestingLevel_;
    // Compressed texts of the records this instance wrote lately.
    KivClTraceTextCache textCache_;
};

// Deletes the trace instance when the library is unloaded or the process
// exits normally.
class KivClTraceAutomaticInstanceDestructor {
public:
    ~KivClTraceAutomaticInstanceDestructor();
};

// The enabled instance, or null while tracing is disabled.
KivClTraceInstance* KivClTraceInstance_getInstance();

// Writes "[" file name (without directories) ":" line "] " to stream.
std::ostream& kiv_tprint(std::ostream& stream, const char* sourcePath, int line);
// Prints "[file:line] " and the printf-style message to standard output,
// then a newline unless format contains one, and flushes. A null format
// prints the prefix alone.
void kiv_tprintf(const char* sourcePath, int line, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

extern "C" {

KivClTraceInstance* kivTraceCreateInstance(const char* key, const char* instanceName);
void kivTraceDeleteInstance();
// The enabled instance, null while tracing is disabled. Only the instance's
// enable() and disable() change it; callers read it through
// kivTraceIsEnabled() or KivClTraceInstance_getInstance().
extern KivClTraceInstance* gs_pclKivTraceInstance;
// True while an instance is enabled. Defined here so that the test compiles
// into the caller as one load and one test; the library also exports it as a
// plain function for callers that reach it by name. The pointer is read with
// a relaxed atomic load, which orders nothing but keeps the compiler from
// folding the load into a compare of memory with zero: on x86-64 that form
// (an immediate and a RIP-relative address in one instruction) is not fused
// into one micro-operation and costs about half a cycle more in a tight loop.
inline bool kivTraceIsEnabled() {
#if defined(__GNUC__)
    return __atomic_load_n(&gs_pclKivTraceInstance, __ATOMIC_RELAXED) != nullptr;
#else
    return gs_pclKivTraceInstance != nullptr;
#endif
}
// Records one call on the enabled instance; types 1 and 2 are function
// entry and exit. Requires kivTraceIsEnabled().
void kivTraceDump(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                  const char* functionName, const char* message, const void* data,
                  unsigned int length);
// Hands the buffered records to the trace file. Requires kivTraceIsEnabled().
void kivTraceFlush();

}  // extern "C"

#endif  // KIV_TRACE_HPP
