// Analysis of file names: style, server prefix, parts, extraction, limits
// and copies.
#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr KivEnPathStyle DOS = KivEnPathStyleDOS;
constexpr KivEnPathStyle UNIX = KivEnPathStyleUnix;

std::string pathOf(const KivClFilenameABase& name, bool withSeparator) {
    char out[KivClFilenameABase::BUFFER_SIZE];
    name.extractPath(out, withSeparator);
    return out;
}

std::string baseOf(const KivClFilenameABase& name) {
    char out[KivClFilenameABase::BUFFER_SIZE];
    name.extractBaseName(out);
    return out;
}

std::string serverOf(const KivClFilenameABase& name) {
    char out[KivClFilenameABase::BUFFER_SIZE];
    name.extractServer(out);
    return out;
}

// Every position of name lies inside its own buffer, in order.
void expectSelfContained(const KivClFilenameABase& name) {
    const char* begin = name.getAsCString();
    const char* end = begin + name.getLength();
    EXPECT_EQ(name.getName(), begin);
    EXPECT_LE(begin, name.getPathStart());
    EXPECT_LE(name.getPathStart(), name.getFilePart());
    EXPECT_LE(name.getFilePart(), name.getExtension());
    EXPECT_LE(name.getExtension(), end);
    EXPECT_EQ(*end, '\0');
}

struct NameCase {
    const char* name;
    KivEnPathStyle style;
    bool drive;
    bool absolute;
    const char* server;
    const char* pathProper;
    const char* base;
    const char* extension;
    const char* path;          // extractPath without separator
    const char* pathWithSep;   // extractPath with separator
};

const NameCase kNameCases[] = {
    {"C:\\dir\\f.txt", DOS, true, true, "", "C:\\dir\\f.txt", "f", ".txt", "C:\\dir", "C:\\dir\\"},
    {"\\dir\\f.txt", DOS, false, false, "", "\\dir\\f.txt", "f", ".txt", "\\dir", "\\dir\\"},
    {"\\\\srv\\share\\dir\\f", DOS, false, true, "\\\\srv\\share", "\\dir\\f", "f", "",
     "\\\\srv\\share\\dir", "\\\\srv\\share\\dir\\"},
    {"\\\\srv\\share\\", DOS, false, true, "\\\\srv\\share", "\\", "", "", "\\\\srv\\share",
     "\\\\srv\\share\\"},
    {"\\\\srv\\share", DOS, false, true, "\\\\srv\\share", "", "", "", "", ""},
    {"\\\\srv", DOS, false, false, "", "\\\\srv", "srv", "", "\\", "\\\\"},
    {"\\\\", DOS, false, false, "", "\\\\", "", "", "\\", "\\\\"},
    {"/a/b/c.tar.gz", UNIX, false, true, "", "/a/b/c.tar.gz", "c.tar", ".gz", "/a/b", "/a/b/"},
    {"/a/b/Makefile", UNIX, false, true, "", "/a/b/Makefile", "Makefile", "", "/a/b", "/a/b/"},
    {"abc", UNIX, false, false, "", "abc", "abc", "", "", ""},
    {"", UNIX, false, false, "", "", "", "", "", ""},
    {"/f", UNIX, false, true, "", "/f", "f", "", "", "/"},
    {"dir/", UNIX, false, false, "", "dir/", "", "", "dir", "dir/"},
    {".bashrc", UNIX, false, false, "", ".bashrc", "", ".bashrc", "", ""},
    {"a.", UNIX, false, false, "", "a.", "a", ".", "", ""},
    {"C:f.txt", DOS, true, false, "", "C:f.txt", "C:f", ".txt", "", ""},
    {"C:/dir/f.txt", DOS, true, false, "", "C:/dir/f.txt", "f", ".txt", "C:/dir", "C:/dir/"},
    {"1:\\x", DOS, true, true, "", "1:\\x", "x", "", "1:", "1:\\"},
    // The last '/' decides the file part even in a DOS-style name.
    {"dir/sub\\f.txt", DOS, false, false, "", "dir/sub\\f.txt", "sub\\f", ".txt", "dir", "dir/"},
    {"dir.d/f", UNIX, false, false, "", "dir.d/f", "f", "", "dir.d", "dir.d/"},
};

TEST(Filename, AnalysesStyleServerAndParts) {
    for (const NameCase& c : kNameCases) {
        SCOPED_TRACE(c.name);
        KivClFilename name(c.name);
        EXPECT_STREQ(name.getAsCString(), c.name);
        EXPECT_EQ(name.getLength(), std::strlen(c.name));
        EXPECT_EQ(name.getPathStyle(), c.style);
        EXPECT_EQ(name.hasDrive(), c.drive);
        EXPECT_EQ(name.isAbsolute(), c.absolute);
        EXPECT_EQ(name.hasServerPrefix(), c.server[0] != '\0');
        EXPECT_EQ(serverOf(name), c.server);
        EXPECT_STREQ(name.getPathStart(), c.pathProper);
        EXPECT_EQ(baseOf(name), c.base);
        EXPECT_EQ(name.getBaseNameLength(), std::strlen(c.base));
        EXPECT_STREQ(name.getExtension(), c.extension);
        EXPECT_EQ(pathOf(name, false), c.path);
        EXPECT_EQ(pathOf(name, true), c.pathWithSep);
        expectSelfContained(name);
    }
}

TEST(Filename, PathPropertyRules) {
    KivClPathProperty empty;
    EXPECT_STREQ(empty.getName(), "");
    EXPECT_EQ(empty.getPathStyle(), UNIX);
    EXPECT_FALSE(empty.isAbsolute());

    KivClPathProperty property(nullptr);
    EXPECT_STREQ(property.getName(), "");
    EXPECT_EQ(property.getStyle(nullptr), UNIX);
    EXPECT_EQ(property.getStyle("c:x"), DOS);
    EXPECT_EQ(property.getStyle("1:x"), UNIX);
    EXPECT_EQ(property.getStyle("a/b\\c"), DOS);
    EXPECT_EQ(property.getStyle("a/b:c"), UNIX);
    EXPECT_EQ(property.getStyle(""), UNIX);
    EXPECT_EQ(property.getPathSep("C:"), '\\');
    EXPECT_EQ(property.getPathSep("/x"), '/');

    property.init("\\\\srv\\share\\a\\b");
    EXPECT_FALSE(property.isNormalized());
    EXPECT_EQ(property.getSeparator(), '\\');
    property.init("\\\\srv\\share\\a/b");
    EXPECT_FALSE(property.isNormalized());
    EXPECT_EQ(property.getPathStyle(), DOS);
    // The share name runs to the next backslash, so "share/a/b" is all share.
    property.init("\\\\srv\\share/a/b");
    EXPECT_STREQ(property.getPathStart(), "");
    EXPECT_TRUE(property.isNormalized());
    EXPECT_EQ(property.getPathStyle(), DOS);
    EXPECT_TRUE(property.isAbsolute());
    property.init("/x\\y");
    EXPECT_FALSE(property.isNormalized());
    EXPECT_FALSE(property.isAbsolute());  // DOS style without drive

    char text[] = "\\\\a\\b\\c";
    KivClPathProperty::normalizePath(text);
    EXPECT_STREQ(text, "//a/b/c");
    KivClPathProperty::normalizePath(nullptr);
}

TEST(Filename, OverLongInputIsCutAt4096) {
    const std::string longText(5000, 'a');
    KivClFilename name(longText.c_str());
    EXPECT_EQ(name.getLength(), 4096u);
    EXPECT_EQ(std::string(name.getAsCString()), longText.substr(0, 4096));
    expectSelfContained(name);

    // A directory long enough to push the file part past the limit.
    const std::string deep = "/" + std::string(4090, 'd') + "/file.txt";
    KivClFilename cut(deep.c_str());
    EXPECT_EQ(cut.getLength(), 4096u);
    EXPECT_STREQ(cut.getFilePart(), "file");
    EXPECT_STREQ(cut.getExtension(), "");

    // Text and count: the count limits, a NUL ends earlier, 4096 caps both.
    EXPECT_STREQ(KivClFilename("abcdef", 3).getAsCString(), "abc");
    EXPECT_STREQ(KivClFilename("ab", 10).getAsCString(), "ab");
    EXPECT_STREQ(KivClFilename("abc", 0).getAsCString(), "");
    EXPECT_EQ(KivClFilename(longText.c_str(), 5000).getLength(), 4096u);
    EXPECT_STREQ(KivClFilename(nullptr, 5).getAsCString(), "");

    // Joining: a full path gets no separator and nothing else fits.
    const std::string full(4096, 'p');
    KivClFilename joined(full.c_str(), "base", "ext");
    EXPECT_EQ(joined.getLength(), 4096u);
    EXPECT_EQ(std::string(joined.getAsCString()), full);
    const std::string almost(4094, 'p');
    KivClFilename joined2(almost.c_str(), "base", "ext");
    EXPECT_EQ(std::string(joined2.getAsCString()), almost + "/b");
    const std::string room(4090, 'p');
    KivClFilename joined3(room.c_str(), "base", "ext");
    EXPECT_EQ(std::string(joined3.getAsCString()), room + "/base.");
    EXPECT_STREQ(joined3.getExtension(), ".");
}

TEST(Filename, JoinsPathBaseAndExtension) {
    struct JoinCase {
        const char* path;
        const char* base;
        const char* extension;
        const char* expected;
    };
    const JoinCase cases[] = {
        {"/a/b", "f", "txt", "/a/b/f.txt"},
        {"/a/b/", "f", ".txt", "/a/b/f.txt"},
        {"C:\\dir", "f", "txt", "C:\\dir\\f.txt"},
        {"C:", "f", nullptr, "C:\\f"},
        {"", "f", "txt", "f.txt"},
        {nullptr, "f", nullptr, "f"},
        {"/a", "f", "", "/a/f."},
        {"/a", nullptr, "x", "/a/.x"},
        {"\\\\srv\\share", "f", "t", "\\\\srv\\share\\f.t"},
    };
    for (const JoinCase& c : cases) {
        SCOPED_TRACE(c.expected);
        KivClFilenameABase name(c.path, c.base, c.extension);
        EXPECT_STREQ(name.getAsCString(), c.expected);
        EXPECT_EQ(name.getLength(), std::strlen(c.expected));
        expectSelfContained(name);
    }
    // The style is decided by the path alone.
    KivClFilenameABase unixPath("dir", "a\\b", nullptr);
    EXPECT_EQ(unixPath.getPathStyle(), UNIX);
    EXPECT_STREQ(unixPath.getAsCString(), "dir/a\\b");
    KivClFilenameABase serverPath("\\\\srv\\share", "f", nullptr);
    EXPECT_STREQ(serverPath.getPathStart(), "\\f");
}

TEST(Filename, CopiesNeverPointIntoTheSource) {
    auto original = std::make_unique<KivClFilenameABase>("\\\\srv\\share\\dir\\f.txt");
    KivClFilename copy(*original);
    KivClFilename assigned;
    assigned = *original;
    KivClFilenameABase baseCopy = copy;
    original.reset();  // the copies must not depend on it any more

    const KivClFilenameABase* copies[] = {&copy, &assigned, &baseCopy};
    for (const KivClFilenameABase* name : copies) {
        EXPECT_STREQ(name->getAsCString(), "\\\\srv\\share\\dir\\f.txt");
        EXPECT_STREQ(name->getPathStart(), "\\dir\\f.txt");
        EXPECT_STREQ(name->getFilePart(), "f.txt");
        EXPECT_STREQ(name->getExtension(), ".txt");
        EXPECT_EQ(name->getPathStyle(), DOS);
        EXPECT_EQ(serverOf(*name), "\\\\srv\\share");
        expectSelfContained(*name);
    }

    // Changing a copy leaves the other alone; self-assignment keeps the name.
    KivClFilename second(copy);
    second.setNewExtension("log");
    EXPECT_STREQ(copy.getAsCString(), "\\\\srv\\share\\dir\\f.txt");
    EXPECT_STREQ(second.getAsCString(), "\\\\srv\\share\\dir\\f.log");
    KivClFilename& alias = second;
    second = alias;
    EXPECT_STREQ(second.getAsCString(), "\\\\srv\\share\\dir\\f.log");
    expectSelfContained(second);

    // Re-assigning a longer name to a copy with a shorter one and back.
    KivClFilename shortName("a");
    shortName = KivClFilename("/very/long/path/name.ext");
    EXPECT_STREQ(shortName.getExtension(), ".ext");
    expectSelfContained(shortName);
}

// Derived name types build on the protected helpers; this one opens them.
class RawFilename : public KivClFilenameABase {
public:
    explicit RawFilename(const char* name) : KivClFilenameABase(name) {}
    using KivClFilenameABase::appendText;
    using KivClFilenameABase::replaceFilePart;
};

TEST(Filename, ProtectedHelpersForDerivedNames) {
    // Appending does not analyse the parts again: the extension reaches on.
    RawFilename backup("/a/f.txt");
    backup.appendText(".bak");
    EXPECT_STREQ(backup.getAsCString(), "/a/f.txt.bak");
    EXPECT_EQ(backup.getLength(), 12u);
    EXPECT_STREQ(backup.getExtension(), ".txt.bak");
    RawFilename plain("/a/Makefile");
    EXPECT_FALSE(plain.hasExtension());
    plain.appendText(".bak");
    EXPECT_TRUE(plain.hasExtension());
    EXPECT_STREQ(plain.getExtension(), ".bak");
    plain.appendText(nullptr);
    EXPECT_EQ(plain.getLength(), 15u);

    const std::string full(4094, 'x');
    RawFilename nearlyFull(full.c_str());
    nearlyFull.appendText(".bak");
    EXPECT_EQ(nearlyFull.getLength(), 4096u);
    EXPECT_EQ(std::string(nearlyFull.getAsCString()), full + ".b");

    RawFilename temporary("/tmp/old.name");
    temporary.replaceFilePart("tmpAB123.543");
    EXPECT_STREQ(temporary.getAsCString(), "/tmp/tmpAB123.543");
    EXPECT_STREQ(temporary.getExtension(), ".543");
    EXPECT_EQ(temporary.getLength(), 17u);
    temporary.replaceFilePart(temporary.getFilePart() + 3);  // overlapping text
    EXPECT_STREQ(temporary.getAsCString(), "/tmp/AB123.543");
    temporary.replaceFilePart("");
    EXPECT_STREQ(temporary.getAsCString(), "/tmp/");
    EXPECT_FALSE(temporary.hasExtension());

    const std::string longPart(5000, 'p');
    temporary.replaceFilePart(longPart.c_str());
    EXPECT_EQ(temporary.getLength(), 4096u);
    EXPECT_EQ(std::string(temporary.getFilePart()), longPart.substr(0, 4091));
}

TEST(Filename, ExistenceAndPlatformFacts) {
    kivtest::TempDir dir;
    const std::string file = dir.file("present.txt");
    kivtest::writeFile(file, "x");
    EXPECT_TRUE(KivClFilename(file.c_str()).isExistent());
    EXPECT_FALSE(KivClFilename(dir.file("absent.txt").c_str()).isExistent());
    EXPECT_FALSE(KivClFilename("").isExistent());

    EXPECT_EQ(kivGetOperatingSystemId(), 8u);
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(stdout));
    EXPECT_TRUE(kivFileIsOpenedInTextMode(stdout));
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(std::cin));
    EXPECT_TRUE(kivFileIsOpenedInTextMode(std::cout));
}

}  // namespace
