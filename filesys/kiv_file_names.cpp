// Names for new files: unused temporary names and backup names.
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "kiv_envvar.hpp"
#include "kiv_file.hpp"
#include "kiv_process.hpp"
#include "kiv_random.hpp"

namespace {

const char* const kTmpVariable = "TMP";
const char* const kDefaultTmpDirectory = "/tmp";
const char* const kDefaultPrefix = "tmp";
const char kRandomAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_";
const unsigned long kAlphabetSize = sizeof kRandomAlphabet - 1;
const size_t kBaseNameLength = 8;
const size_t kMaxPrefixLength = 5;

enum class NameState { Free, Taken, Unusable };

// Free only when the name is known not to exist. Anything of that name, a
// dangling symbolic link too (a file created under the name would follow
// it), takes it; any other failure to look (a directory that is a file, no
// search permission, a name too long) makes every name there unusable.
NameState examineName(const char* name) {
    struct stat info;
    if (::lstat(name, &info) == 0) return NameState::Taken;
    return errno == ENOENT ? NameState::Free : NameState::Unusable;
}

// The last three digits of the process id, units digit first.
void writeProcessExtension(char* out) {
    unsigned int id = KivClProcessProperty().getProcessId();
    for (int i = 0; i < 3; ++i) {
        out[i] = static_cast<char>('0' + id % 10);
        id /= 10;
    }
    out[3] = '\0';
}

// Copies at most five characters of prefix to out; separators become '_' so
// that the name stays inside its directory.
size_t writePrefix(const char* prefix, char* out) {
    if (prefix == nullptr) prefix = kDefaultPrefix;
    size_t length = 0;
    for (; length < kMaxPrefixLength && prefix[length] != '\0'; ++length) {
        const char ch = prefix[length];
        out[length] = ch == '/' || ch == '\\' ? '_' : ch;
    }
    return length;
}

// Fills out[first, 8) from one random number, last character first.
void writeRandomPart(char* out, size_t first, unsigned long random) {
    for (size_t i = kBaseNameLength; i > first; --i) {
        out[i - 1] = kRandomAlphabet[random % kAlphabetSize];
        random /= kAlphabetSize;
    }
}

}  // namespace

const char* kivGetTmpDirectory() {
    const char* value = KivClEnvironmentVariableABase(kTmpVariable).getValue();
    return value != nullptr ? value : kDefaultTmpDirectory;
}

KivClTmpFilename::KivClTmpFilename() : KivClFilenameABase(kivGetTmpDirectory(), "", nullptr) {
    initInDirectory(kDefaultPrefix);
}

KivClTmpFilename::KivClTmpFilename(const char* prefix) : KivClFilenameABase(kivGetTmpDirectory(), "", nullptr) {
    initInDirectory(prefix);
}

KivClTmpFilename::KivClTmpFilename(const char* directory, const char* prefix)
    : KivClFilenameABase(directory, "", nullptr) {
    initInDirectory(prefix);
}

KivClTmpFilename::KivClTmpFilename(const KivClLocation& location)
    : KivClFilenameABase(location.getAsCString(), "", nullptr) {
    initInDirectory(kDefaultPrefix);
}

KivClTmpFilename::KivClTmpFilename(const KivClLocation& location, const char* prefix)
    : KivClFilenameABase(location.getAsCString(), "", nullptr) {
    initInDirectory(prefix);
}

KivClTmpFilename::KivClTmpFilename(const KivClFilename& name, const char* prefix) : KivClFilenameABase(name) {
    initPrefix(prefix);
}

void KivClTmpFilename::initInDirectory(const char* prefix) {
    // The directory joined with an empty file part must read back as the
    // whole name; otherwise part of the directory would be taken as the
    // file part and replaced, and the name would land elsewhere.
    if (getFilePart()[0] != '\0') {
        init("");
        return;
    }
    initPrefix(prefix);
}

void KivClTmpFilename::initPrefix(const char* prefix) {
    char filePart[kBaseNameLength + 1 + 3 + 1];
    const size_t prefixLength = writePrefix(prefix, filePart);
    filePart[kBaseNameLength] = '.';
    writeProcessExtension(filePart + kBaseNameLength + 1);
    const KivClRandomNumberGenerator generator;
    for (unsigned long attempt = 0; attempt < MAX_ATTEMPTS; ++attempt) {
        writeRandomPart(filePart, prefixLength, generator.getRandomNumber());
        replaceFilePart(filePart);
        // A directory too long to leave room for the whole file part would
        // give a cut name that is not ours to use.
        if (std::strcmp(getFilePart(), filePart) != 0) break;
        const NameState state = examineName(getAsCString());
        if (state == NameState::Free) return;
        if (state == NameState::Unusable) break;
    }
    init("");
}

KivClBakFilename::KivClBakFilename(const KivClFilenameABase& name) : KivClFilenameABase(name) { appendText(".bak"); }
