// Trace settings, environment, instance and the plain-function interface.
#include "kiv_trace.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "kiv_envvar.hpp"
#include "kiv_file.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_process.hpp"
#include "kiv_string.hpp"
#include "foundation/kiv_memobject.hpp"

// The enabled instance: non-null exactly while tracing is enabled.
extern "C" {
KivClTraceInstance* gs_pclKivTraceInstance = nullptr;
}
KivClTraceInstance* KivClTraceInstance::cv_pclSingletonInstance = nullptr;

KivClTraceAutomaticInstanceDestructor gs_clKivClTraceAutomaticInstanceDestructor;

// ---------------------------------------------------------------- settings

KivClTraceSettings::KivClTraceSettings() : block_(&ownBlock_), ownBlock_() { init(); }

KivClTraceSettings::KivClTraceSettings(void* memory)
    : block_(new (memory) _KivStTraceSettingsBlock()), ownBlock_() {
    init();
}

void KivClTraceSettings::init() {
    block_->signature = SIGNATURE;
    block_->flags = INITIAL_FLAGS;
}

void KivClTraceSettings::setDetailLevel(const char* text) { block_->filter.setDetail(text); }

void KivClTraceSettings::initComponentIds(const char* text) {
    if (text == nullptr || *text == '\0') return;
    block_->filter.disableAllComponentIds();
    block_->filter.enableComponentIds(text);
}

void KivClTraceSettings::setFlag(uint32_t flag, bool on) {
    block_->flags = on ? (block_->flags | flag) : (block_->flags & ~flag);
}

// ------------------------------------------------------------- environment

KivClTraceEnvironment::KivClTraceEnvironment(const char* key, const char* instanceName,
                                             bool controller)
    : semaphore_(key, instanceName ? instanceName : DEFAULT_INSTANCE_NAME),
      bufferManager_(nullptr), settings_(nullptr), bufferSize_(DEFAULT_BUFFER_SIZE),
      processId_(KivClProcessProperty().getProcessId()), traceFile_(), formatString_{},
      buffer_(nullptr), active_(false), sharedMemory_(false), controller_(controller),
      decompressedTotal_(0), compressedTotal_(0), key_{} {
    kivStrCopyUntil(key_, key ? key : "", '\0', sizeof(key_));
    settings_ = kivNewObject<KivClTraceSettings>();
    try {
        determineSettingsFromEnvVars(key_);
        buffer_ = static_cast<char*>(kivMalloc(bufferSize_));
        memset(buffer_, 0, bufferSize_);
        bufferManager_ = kivNewObject<KivClTraceBufferManager>(semaphore_, buffer_, bufferSize_);
    } catch (...) {
        // Out of memory: release what was taken before the exception leaves.
        kivFree(buffer_);
        kivDeleteObject(settings_);
        throw;
    }
    if (settings_->isAutoSaveOn()) {
        bufferManager_->setOverflowCallBack(kivTraceBufferOverflowHandler, this);
        if (!controller_ && settings_->isAutoClearOn()) KivClFile(traceFile_).remove();
    }
}

KivClTraceEnvironment::~KivClTraceEnvironment() {
    bufferManager_->flush();
    if (settings_->isAutoSaveOn()) bufferManager_->setOverflowCallBack(nullptr, nullptr);
    if (!sharedMemory_) kivFree(buffer_);
    kivDeleteObject(bufferManager_);
    kivDeleteObject(settings_);
}

void KivClTraceEnvironment::setTraceFileName(const char* name) { traceFile_.init(name ? name : ""); }

void KivClTraceEnvironment::determineSettingsFromEnvVars(const char* key) {
    char upperKey[MAX_KEY_LENGTH + 1];
    kivStrCopyUntil(upperKey, key, '\0', sizeof(upperKey));
    strupr(upperKey);
    char name[KivClEnvironmentVariableABase::MAX_NAME_LENGTH + 1];
    KivClEnvironmentVariableQueryOnly variable;
    auto select = [&](const char* suffix) -> const KivClEnvironmentVariableQueryOnly& {
        snprintf(name, sizeof(name), "%s%s", upperKey, suffix);
        variable.setNewName(name);
        return variable;
    };

    active_ = select("_TRACE_ACTIVE").hasValueEnabled();
    if (select("_TRACE_DETAIL").hasValue()) settings_->setDetailLevel(variable.getValue());
    if (select("_TRACE_AUTOSAVE").hasValueEnabled()) settings_->setFlag(KivClTraceSettings::FLAG_AUTOSAVE, true);
    if (select("_TRACE_AUTOFLUSH").hasValueEnabled()) settings_->setFlag(KivClTraceSettings::FLAG_AUTOFLUSH, true);
    if (select("_TRACE_AUTOCLEAR").hasValueEnabled()) settings_->setFlag(KivClTraceSettings::FLAG_AUTOCLEAR, true);
    if (select("_TRACE_COMPRESS").hasValueEnabled()) settings_->setFlag(KivClTraceSettings::FLAG_COMPRESSION, true);
    if (select("_TRACE_COMPSET").hasValue()) settings_->initComponentIds(variable.getValue());
    if (select("_TRACE_BUFSIZE").hasValue()) {
        // Compared in kilobytes first, so that no product can overflow.
        const long kilobytes = strtol(variable.getValue(), nullptr, 10);
        if (kilobytes <= static_cast<long>(MIN_BUFFER_SIZE / 1024)) {
            bufferSize_ = MIN_BUFFER_SIZE;
        } else if (kilobytes >= static_cast<long>(MAX_BUFFER_SIZE / 1024)) {
            bufferSize_ = MAX_BUFFER_SIZE;
        } else {
            bufferSize_ = static_cast<uint32_t>(kilobytes) * 1024u;
        }
    }
    if (select("_TRACE_FILE").hasValue()) {
        traceFile_.init(variable.getValue());
    } else {
        char fileName[MAX_KEY_LENGTH + sizeof("trace.trc")];
        snprintf(fileName, sizeof(fileName), "%strace.trc", key);
        traceFile_.init(kivGetTmpDirectory(), fileName, nullptr);
    }
    setFormatString(select("_TRACE_FORMAT").hasValue() ? variable.getValue() : DEFAULT_FORMAT);
    if (select("_TRACE_VERBOSE").hasValueEnabled()) {
        settings_->setFlag(KivClTraceSettings::FLAG_VERBOSE, true);
        printSettings();
    }
}

void KivClTraceEnvironment::printSettings() const {
    const KivClTraceSettings& s = *settings_;
    printf("[KIV: TRACE: key: %s]\n", key_);
    printf("[KIV: TRACE: active: %d]\n", active_ ? 1 : 0);
    printf("[KIV: TRACE: resource key: %s]\n", semaphore_.getName());
    printf("[KIV: TRACE: compression: %d]\n", s.isCompressionOn() ? 1 : 0);
    printf("[KIV: TRACE: autosave: %d]\n", s.isAutoSaveOn() ? 1 : 0);
    printf("[KIV: TRACE: autoflush: %d]\n", s.isAutoFlushOn() ? 1 : 0);
    printf("[KIV: TRACE: autoclear: %d]\n", s.isAutoClearOn() ? 1 : 0);
    printf("[KIV: TRACE: detail: %d]\n", static_cast<int>(s.getFilter().getDetail()));
    printf("[KIV: TRACE: buffersize: %u]\n", bufferSize_);
    printf("[KIV: TRACE: process id: %u]\n", processId_);
    printf("[KIV: TRACE: format: %s]\n", formatString_);
    printf("[KIV: TRACE: file: %s]\n", traceFile_.getAsCString());
    printf("[KIV: TRACE: sharedMemory: %d]\n", sharedMemory_ ? 1 : 0);
    fflush(stdout);
}

void KivClTraceEnvironment::add(const KivClTraceEntry& entry) {
    bufferManager_->write(entry);
    if (settings_->isAutoFlushOn()) flush();
}

void KivClTraceEnvironment::flush() { bufferManager_->flush(); }

void KivClTraceEnvironment::setFormatString(const char* text) {
    kivStrCopyUntil(formatString_, text ? text : "", '\0', sizeof(formatString_));
}

void KivClTraceEnvironment::recordCompressionRate(uint32_t decompressedLength,
                                                  uint32_t compressedLength) {
    decompressedTotal_ += decompressedLength;
    compressedTotal_ += compressedLength;
}

double KivClTraceEnvironment::getCompressionRate() const {
    if (decompressedTotal_ == 0 || compressedTotal_ == 0) return 0.0;
    return static_cast<double>(compressedTotal_) / static_cast<double>(decompressedTotal_);
}

// ---------------------------------------------------------------- instance

KivClTraceInstance* KivClTraceInstance::createInstance(const char* key, const char* instanceName) {
    if (cv_pclSingletonInstance == nullptr) {
        cv_pclSingletonInstance = kivNewObject<KivClTraceInstance>(key, instanceName, false);
    }
    return cv_pclSingletonInstance;
}

KivClTraceInstance* KivClTraceInstance::createControllerInstance(const char* key,
                                                                 const char* instanceName) {
    if (cv_pclSingletonInstance == nullptr) {
        cv_pclSingletonInstance = kivNewObject<KivClTraceInstance>(key, instanceName, true);
    }
    return cv_pclSingletonInstance;
}

void KivClTraceInstance::deleteInstance() {
    KivClTraceInstance* instance = cv_pclSingletonInstance;
    cv_pclSingletonInstance = nullptr;
    kivDeleteObject(instance);
}

KivClTraceInstance::KivClTraceInstance(const char* key, const char* instanceName, bool controller)
    : environment_(nullptr), callback_(dumpImp), userData_(this), nestingLevel_(0) {
    environment_ = kivNewObject<KivClTraceEnvironment>(key, instanceName, controller);
    enable();
}

KivClTraceInstance::~KivClTraceInstance() {
    disable();
    kivDeleteObject(environment_);
}

bool KivClTraceInstance::enable() {
    if (!environment_->isActive()) return false;
    gs_pclKivTraceInstance = this;
    return true;
}

void KivClTraceInstance::disable() {
    flush();
    if (gs_pclKivTraceInstance == this) gs_pclKivTraceInstance = nullptr;
}

bool KivClTraceInstance::isEnabled() const { return gs_pclKivTraceInstance != nullptr; }

void KivClTraceInstance::flush() {
    if (environment_->isActive()) environment_->flush();
}

void KivClTraceInstance::registerUserCallback(KivPfuTraceDumpCallBack callback, void* userData) {
    callback_ = callback;
    userData_ = userData;
}

bool KivClTraceInstance::usesKivBackEnd() const { return callback_ == dumpImp; }

void KivClTraceInstance::dumpFunction(KivEnTraceDetail detail, unsigned short componentId,
                                      KivEnTraceDataType type, const char* functionName) {
    nestingLevel_ += type == KIV_TRACE_TYPE_FUNCTION_ENTRY ? 1 : -1;
    if (detail == KIV_TRACE_DETAIL_LOW) detail = KIV_TRACE_DETAIL_OFF;
    callback_(userData_, detail, componentId, type, functionName, "", &nestingLevel_,
              sizeof(nestingLevel_));
}

void KivClTraceInstance::dump(KivEnTraceDetail detail, unsigned short componentId,
                              KivEnTraceDataType type, const char* functionName,
                              const char* message, const void* data, unsigned int length) {
    if (type == KIV_TRACE_TYPE_FUNCTION_ENTRY || type == KIV_TRACE_TYPE_FUNCTION_EXIT) {
        dumpFunction(detail, componentId, type, functionName);
    } else {
        callback_(userData_, detail, componentId, type, functionName, message, data, length);
    }
}

void KivClTraceInstance::dumpImp(void* userData, KivEnTraceDetail detail,
                                 unsigned short componentId, KivEnTraceDataType type,
                                 const char* functionName, const char* message, const void* data,
                                 unsigned int length) {
    KivClTraceInstance& instance = *static_cast<KivClTraceInstance*>(userData);
    KivClTraceEnvironment& environment = instance.getEnvironment();
    if (!environment.getSettings().getFilter().passes(detail, componentId)) return;
    const KivClTraceEntry entry(&instance.textCache_, environment, detail, componentId, type,
                                functionName, message, data, length);
    environment.add(entry);
}

KivClTraceAutomaticInstanceDestructor::~KivClTraceAutomaticInstanceDestructor() {
    KivClTraceInstance::deleteInstance();
}

KivClTraceInstance* KivClTraceInstance_getInstance() { return gs_pclKivTraceInstance; }

// ------------------------------------------------------- plain functions

KivClTraceInstance* kivTraceCreateInstance(const char* key, const char* instanceName) {
    return KivClTraceInstance::createInstance(key, instanceName);
}

void kivTraceDeleteInstance() { KivClTraceInstance::deleteInstance(); }

// Taking the address keeps an out-of-line copy of the inline
// kivTraceIsEnabled in the library, exported under its plain name.
namespace {
__attribute__((used)) bool (*const gs_pfuExportedIsEnabled)() = &kivTraceIsEnabled;
}  // namespace

void kivTraceDump(KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                  const char* functionName, const char* message, const void* data,
                  unsigned int length) {
    if (gs_pclKivTraceInstance == nullptr) return;
    gs_pclKivTraceInstance->dump(detail, componentId, type, functionName, message, data, length);
}

void kivTraceFlush() {
    if (gs_pclKivTraceInstance != nullptr) gs_pclKivTraceInstance->flush();
}

// ------------------------------------------------------------ debug print

std::ostream& kiv_tprint(std::ostream& stream, const char* sourcePath, int line) {
    const KivClFilename name(sourcePath ? sourcePath : "");
    stream << '[' << name.getFilePart() << ':' << line << "] ";
    return stream;
}

void kiv_tprintf(const char* sourcePath, int line, const char* format, ...) {
    if (format == nullptr) format = "";
    printf("[%s:%d] ", sourcePath ? sourcePath : "", line);
    va_list arguments;
    va_start(arguments, format);
    vprintf(format, arguments);
    va_end(arguments);
    if (strchr(format, '\n') == nullptr) putchar('\n');
    fflush(stdout);
}
