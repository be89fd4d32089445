// Executables: names completed from a search path or the working directory.
#include <unistd.h>

#include <cstring>

#include "kiv_envvar.hpp"
#include "kiv_file.hpp"

namespace {

const char* const kUsePathVariable = "KIV_NEWPROCESS_USEPATH";
const char* const kSystemPathVariable = "PATH";

}  // namespace

KivClExeFile::KivClExeFile(const KivClFilename& name)
    : KivClFile(name, getDefaultFileType()), foundInSystemPath_(false) {
    if (name_.hasPath()) {
        if (name_.isExistent() || !KivClEnvironmentVariableABase(kUsePathVariable).hasValueEnabled()) return;
        name_.removePath();
    }
    if (searchEnvVarPath(name_, kSystemPathVariable, true)) {
        foundInSystemPath_ = true;
    } else {
        name_.removePath();
    }
}

KivClExeFile::KivClExeFile(const KivClFilename& name, const char* defaultExtension, bool tryCurrentDirectory,
                           const char* variable)
    : KivClFile(name, defaultExtension), foundInSystemPath_(false) {
    if (!name_.hasPath()) determinePath(tryCurrentDirectory, variable);
}

bool KivClExeFile::isFoundInSystemPath() const { return foundInSystemPath_; }

bool KivClExeFile::determinePath(bool tryCurrentDirectory, const char* variable) {
    if (tryCurrentDirectory) {
        const KivClFilename local(name_.getFilePart());
        char cwd[KivClFilenameABase::BUFFER_SIZE];
        if (isRegularFile(local, true) && ::getcwd(cwd, sizeof cwd) != nullptr) {
            name_ = local;
            name_.setNewPath(cwd);
            foundInSystemPath_ = true;
            return true;
        }
    }
    // Programs found along PATH must be executable; files along any other
    // search path (shared libraries along LD_LIBRARY_PATH) need only exist.
    const char* searched = variable != nullptr ? variable : getSystemPathEnvironmentVariable();
    foundInSystemPath_ = searchEnvVarPath(name_, searched, std::strcmp(searched, kSystemPathVariable) == 0);
    if (!foundInSystemPath_) name_.removePath();
    return foundInSystemPath_;
}

const char* KivClExeFile::getSystemPathEnvironmentVariable() { return kSystemPathVariable; }

const char* KivClExeFile::getDefaultFileType() { return nullptr; }
