// Puts arbitrary texts through every operation of the filename and location
// classes and through relative-path expansion. Input: one byte of flags, then
// up to three texts separated by NUL bytes. Flag bit 0 repeats the first text
// past 4096 characters, so that the cut at the capacity runs too; bit 1 asks
// for normalized locations. Every text lives in a heap block of exactly its
// size and every output buffer is one of exactly the documented size, so the
// address sanitizer catches a read or write past either. After each change
// the parts must lie in order inside the name and the length must be the
// text's length.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "kiv_file.hpp"
#include "kiv_filename.hpp"

namespace {

void check(bool condition) {
    if (!condition) std::abort();
}

std::unique_ptr<char[]> exactCopy(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return copy;
}

void checkName(const KivClFilenameABase& name) {
    const char* text = name.getAsCString();
    const size_t length = std::strlen(text);
    check(length == name.getLength() && length <= KivClFilenameABase::MAX_LENGTH);
    check(name.getName() == text);
    check(name.getPathStart() >= text && name.getPathStart() <= name.getFilePart());
    check(name.getFilePart() <= name.getExtension() && name.getExtension() <= text + length);
    check(name.getBaseNameLength() == static_cast<unsigned long>(name.getExtension() - name.getFilePart()));
}

void checkLocation(const KivClLocation& location) {
    const char* text = location.getAsCString();
    const size_t length = std::strlen(text);
    check(length == location.getLength() && length <= KivClLocation::MAX_LENGTH);
    check(location.getPathStart() >= text && location.getPathStart() <= text + length);
    location.isRoot();
    location.isAbsolute();
    location.isNormalized();
    location.hasDrive();
}

void queries(const KivClFilename& name, const KivClFilename& other, const char* text) {
    std::unique_ptr<char[]> out(new char[KivClFilenameABase::BUFFER_SIZE]);
    name.extractPath(out.get(), false);
    check(std::strlen(out.get()) <= name.getLength());
    name.extractPath(out.get(), true);
    check(std::strlen(out.get()) <= KivClFilenameABase::MAX_LENGTH);
    name.extractBaseName(out.get());
    name.extractServer(out.get());
    name.matchesPath(other);
    name.matchesBase(other);
    name.matchesExtension(text);
    name.matchesWildcardPattern(text);
    name.isStyleFAT_8_3();
    name.isAbsolute();
    name.isNormalized();
    name.hasDrive();
    name.getStyle(text);
    name.getPathSep(text);
}

void changes(KivClFilename name, const KivClLocation& location, const char* b, const char* c) {
    name.setNewName(b);
    checkName(name);
    name.setNewBaseName(c);
    checkName(name);
    name.setNewExtension(b);
    checkName(name);
    name.setNewPath(c);
    checkName(name);
    name.setNewPath(location);
    checkName(name);
    name.setNew(location, name.getFilePart());
    checkName(name);
    name.removePath();
    checkName(name);
    KivClFilename copy(name);
    copy = name;
    checkName(copy);
}

void expand(const std::string& text) {
    for (size_t size : {text.size() + 1, text.size() + 8, size_t{16}}) {
        if (size < text.size() + 1) continue;
        std::unique_ptr<char[]> path(new char[size]);
        std::memcpy(path.get(), text.c_str(), text.size() + 1);
        if (KivClFileABase::expandRelativePath(path.get(), size)) {
            check(std::strlen(path.get()) < size);
        } else {
            check(std::strcmp(path.get(), text.c_str()) == 0 || path.get()[0] == '\0');
        }
    }
    if (text.size() <= KivClFilenameABase::MAX_LENGTH) {
        std::unique_ptr<char[]> path(new char[KivClFilenameABase::BUFFER_SIZE]);
        std::memcpy(path.get(), text.c_str(), text.size() + 1);
        KivClFileABase::expandRelativePath(path.get());
        check(std::strlen(path.get()) <= KivClFilenameABase::MAX_LENGTH);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static bool once = (setenv("HOME", "/home/kiv-fuzz", 1), true);
    (void)once;
    if (size == 0) return 0;
    const uint8_t flags = data[0];
    std::vector<std::string> texts(3);
    size_t which = 0;
    for (size_t i = 1; i < size && which < texts.size(); ++i) {
        if (data[i] == 0) {
            ++which;
        } else {
            texts[which] += static_cast<char>(data[i]);
        }
    }
    if ((flags & 1) != 0 && !texts[0].empty()) {
        const std::string unit = texts[0];
        while (texts[0].size() <= KivClFilenameABase::MAX_LENGTH + 8) texts[0] += unit;
    }
    const bool normalize = (flags & 2) != 0;
    const std::unique_ptr<char[]> a = exactCopy(texts[0]), b = exactCopy(texts[1]), c = exactCopy(texts[2]);

    const KivClFilename plain(a.get());
    checkName(plain);
    const KivClFilename counted(a.get(), static_cast<unsigned long>(texts[0].size()));
    checkName(counted);
    const KivClFilename assembled(a.get(), b.get(), c.get());
    checkName(assembled);

    const KivClLocation location(a.get(), normalize);
    checkLocation(location);
    const KivClLocation countedLocation(b.get(), static_cast<unsigned long>(texts[1].size()), normalize);
    checkLocation(countedLocation);
    const KivClLocation ofName(plain, normalize);
    checkLocation(ofName);
    KivClLocation assigned;
    assigned = c.get();
    checkLocation(assigned);
    const KivClFilename underLocation(location, b.get(), c.get());
    checkName(underLocation);

    queries(plain, assembled, b.get());
    changes(plain, countedLocation, b.get(), c.get());
    changes(assembled, location, c.get(), a.get());

    std::unique_ptr<char[]> normalized = exactCopy(texts[0]);
    KivClPathProperty::normalizePath(normalized.get());
    check(std::strchr(normalized.get(), '\\') == nullptr);

    expand(texts[0]);
    expand(texts[1]);
    return 0;
}
