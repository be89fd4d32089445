// Attaching the trace tools to a key's trace environment and reporting the
// keys, instances and trace files they cannot use.
#include "kiv_tracetool.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "kiv_envvar.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_string.hpp"

namespace {

bool isUsableKey(const char* key) {
    const size_t length = std::strlen(key);
    return length > 0 && length <= KivClTraceEnvironment::MAX_KEY_LENGTH &&
           std::strchr(key, '=') == nullptr;
}

// The characters a resource key keeps as they are.
bool isResourceKeyCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '@';
}

bool isUsableInstance(const char* instance) {
    const size_t length = std::strlen(instance);
    if (length == 0 || length > KIV_TRACETOOL_MAX_INSTANCE_LENGTH) return false;
    for (const char* p = instance; *p; ++p) {
        if (!isResourceKeyCharacter(*p)) return false;
    }
    return true;
}

// <KEY>_TRACE_FILE is set (key checked to fit the variable names).
bool isFileVariableSet(const char* key) {
    char name[KivClEnvironmentVariableABase::MAX_NAME_LENGTH + 1];
    const unsigned long length = kivStrCopyUntil(name, key, '\0', KivClTraceEnvironment::MAX_KEY_LENGTH + 1);
    kivStrCopyUntil(name + length, "_TRACE_FILE", '\0', sizeof(name) - length);
    strupr(name);
    KivClEnvironmentVariableQueryOnly variable;
    variable.setNewName(name);
    return variable.hasValue();
}

}  // namespace

KivClTraceToolSession::KivClTraceToolSession(KivClConsoleUI& ui, const char* key, const char* instance,
                                             const char* file)
    : ui_(ui), key_(key ? key : ""),
      instanceName_(instance ? instance : KivClTraceEnvironment::DEFAULT_INSTANCE_NAME), fileNamed_(false),
      instance_(nullptr) {
    if (!isUsableKey(key_)) failInit(key_);
    if (instance != nullptr && !isUsableInstance(instance)) {
        fail(KIV_TRACETOOL_EXIT_INVALID_INSTANCE, KIV_TRACETOOL_MSG_INVALID_INSTANCE, instance);
    }
    fileNamed_ = file != nullptr || isFileVariableSet(key_);
    instance_ = KivClTraceInstance::createControllerInstance(key_, instance);
    if (file != nullptr) environment().setTraceFileName(file);
}

void KivClTraceToolSession::requireTraceFile() const {
    const char* name = instance_->getEnvironment().getTraceFileName().getAsCString();
    struct stat info;
    if (::stat(name, &info) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            fail(KIV_TRACETOOL_EXIT_FILE_UNREADABLE, KIV_TRACETOOL_MSG_COULD_NOT_OPEN, name);
        }
        if (fileNamed_) fail(KIV_TRACETOOL_EXIT_FILE_NOT_FOUND, KIV_TRACETOOL_MSG_FILE_NOT_FOUND, name);
        fail(KIV_TRACETOOL_EXIT_FILE_NOT_FOUND, KIV_TRACETOOL_MSG_KEY_UNKNOWN, name);
    }
    if (!S_ISREG(info.st_mode)) fail(KIV_TRACETOOL_EXIT_FILE_UNREADABLE, KIV_TRACETOOL_MSG_COULD_NOT_OPEN, name);
}

void KivClTraceToolSession::failTraceFile(uint32_t errorId) const {
    const char* name = instance_->getEnvironment().getTraceFileName().getAsCString();
    switch (errorId) {
    case KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN:
        fail(KIV_TRACETOOL_EXIT_FILE_UNREADABLE, KIV_TRACETOOL_MSG_COULD_NOT_OPEN, name);
    case KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF:
        fail(KIV_TRACETOOL_EXIT_FILE_CORRUPTED, KIV_TRACETOOL_MSG_UNEXPECTED_EOF, name);
    default: fail(KIV_TRACETOOL_EXIT_FILE_CORRUPTED, KIV_TRACETOOL_MSG_CORRUPTED, name);
    }
}

void KivClTraceToolSession::failInit(const char* what) const {
    fail(KIV_TRACETOOL_EXIT_INIT_FAILED, KIV_TRACETOOL_MSG_INIT_FAILED, what);
}

void KivClTraceToolSession::fail(KivEnTraceToolExit code, unsigned long messageId, const char* what) const {
    // What was printed before the failure goes out ahead of the report.
    ui_.getOutputStream().flush();
    const KivClMessage text(ui_.getMessageCatalog(), ui_.getMessageBase() + messageId);
    ui_.fatal(static_cast<unsigned long>(code), text.getText(), what);
}
