// File names: style, server prefix, parts, extraction, comparisons, the 8.3
// test, the operations that change a name, limits and copies.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

#include "kiv_filename.hpp"

namespace {

constexpr KivEnPathStyle DOS = KivEnPathStyleDOS;
constexpr KivEnPathStyle UNIX = KivEnPathStyleUnix;

// name holds text, and each of its parts starts where a fresh analysis of
// text puts it, inside name's own buffer.
void expectParts(const KivClFilenameABase& name, const std::string& text) {
    const KivClFilenameABase fresh(text.c_str());
    const char* own = name.getAsCString();
    EXPECT_EQ(own, text);
    EXPECT_EQ(name.getLength(), text.size());
    EXPECT_EQ(name.getName(), own);
    EXPECT_EQ(name.getPathStart() - own, fresh.getPathStart() - fresh.getName());
    EXPECT_EQ(name.getFilePart() - own, fresh.getFilePart() - fresh.getName());
    EXPECT_EQ(name.getExtension() - own, fresh.getExtension() - fresh.getName());
}

// path and pathWithSep: extractPath without and with separator.
struct NameCase {
    const char *name; KivEnPathStyle style; bool drive, absolute;
    const char *server, *pathProper, *base, *extension, *path, *pathWithSep;
};

const NameCase kNameCases[] = {
    {"C:\\dir\\f.txt", DOS, true, true, "", "C:\\dir\\f.txt", "f", ".txt", "C:\\dir", "C:\\dir\\"},
    {"\\dir\\f.txt", DOS, false, false, "", "\\dir\\f.txt", "f", ".txt", "\\dir", "\\dir\\"},
    {"\\\\srv\\share\\dir\\f", DOS, false, true, "\\\\srv\\share", "\\dir\\f", "f", "",
     "\\\\srv\\share\\dir", "\\\\srv\\share\\dir\\"},
    // The path proper decides the style: a bare server prefix is Unix style.
    {"\\\\srv\\share", UNIX, false, true, "\\\\srv\\share", "", "", "", "", ""},
    // The share name runs to the next backslash, so "share/a/b" is all share.
    {"\\\\srv\\share/a/b", UNIX, false, true, "\\\\srv\\share/a/b", "", "", "", "", ""},
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
        expectParts(name, c.name);
        EXPECT_EQ(name.getPathStyle(), c.style);
        EXPECT_EQ(name.hasDrive(), c.drive);
        EXPECT_EQ(name.isAbsolute(), c.absolute);
        EXPECT_EQ(name.hasServerPrefix(), c.server[0] != '\0');
        EXPECT_STREQ(name.getPathStart(), c.pathProper);
        EXPECT_EQ(name.isNormalized(), std::strchr(c.pathProper, '\\') == nullptr);
        EXPECT_STREQ(name.getExtension(), c.extension);
        char out[KivClFilenameABase::BUFFER_SIZE];
        name.extractServer(out);
        EXPECT_STREQ(out, c.server);
        name.extractBaseName(out);
        EXPECT_STREQ(out, c.base);
        name.extractPath(out, false);
        EXPECT_STREQ(out, c.path);
        name.extractPath(out, true);
        EXPECT_STREQ(out, c.pathWithSep);
    }
}

TEST(Filename, PathPropertyRules) {
    KivClPathProperty property(nullptr);
    EXPECT_STREQ(property.getName(), "");
    EXPECT_EQ(property.getPathStyle(), UNIX);
    EXPECT_EQ(property.getStyle(nullptr), UNIX);
    EXPECT_EQ(property.getStyle("1:x"), UNIX);  // only a letter makes a drive
    EXPECT_EQ(property.getPathSep("a:"), '\\');
    EXPECT_EQ(property.getPathSep("a/b:c"), '/');
    char text[] = "\\\\a\\b\\c";
    KivClPathProperty::normalizePath(text);
    EXPECT_STREQ(text, "//a/b/c");
    KivClPathProperty::normalizePath(nullptr);
}

TEST(Filename, JoinsAndCutsAt4096) {
    const std::string full(4096, 'p');
    const std::tuple<std::string, const char*, const char*, std::string> cases[] = {
        {"/a/b", "f", "txt", "/a/b/f.txt"},
        {"/a/b/", "f", ".txt", "/a/b/f.txt"},
        {"C:\\dir", "f", "txt", "C:\\dir\\f.txt"},
        {"C:", "f", nullptr, "C:\\f"},
        {"", "f", "txt", "f.txt"},
        {"/a", "f", "", "/a/f."},
        {"/a", nullptr, "x", "/a/.x"},
        {"\\\\srv\\share\\d", "f", "t", "\\\\srv\\share\\d\\f.t"},
        {"dir", "a\\b", nullptr, "dir/a\\b"},  // the style comes from the path alone
        {full, "base", "ext", full},           // a full path gets no separator
        {full.substr(2), "base", "ext", full.substr(2) + "/b"},
        {full.substr(6), "base", "ext", full.substr(6) + "/base."},
    };
    for (const auto& [path, base, extension, expected] : cases) {
        SCOPED_TRACE(expected.substr(0, 40));
        expectParts(KivClFilenameABase(path.c_str(), base, extension), expected);
    }
    EXPECT_STREQ(KivClFilenameABase(nullptr, "f", nullptr).getAsCString(), "f");
    EXPECT_EQ(KivClFilenameABase("dir", "a\\b", nullptr).getPathStyle(), UNIX);

    const std::string longText(5000, 'a');
    expectParts(KivClFilename(longText.c_str()), longText.substr(0, 4096));
    // The cut falls inside the file part and takes the extension with it.
    const std::string deep = "/" + std::string(4090, 'd') + "/file";
    expectParts(KivClFilename((deep + ".txt").c_str()), deep);

    // Text and count: the count limits, a NUL ends earlier, 4096 caps both.
    EXPECT_STREQ(KivClFilename("abcdef", 3).getAsCString(), "abc");
    EXPECT_STREQ(KivClFilename("ab", 10).getAsCString(), "ab");
    EXPECT_STREQ(KivClFilename("abc", 0).getAsCString(), "");
    EXPECT_STREQ(KivClFilename(nullptr, 5).getAsCString(), "");
    EXPECT_EQ(KivClFilename(longText.c_str(), 5000).getLength(), 4096u);
}

TEST(Filename, CopiesNeverPointIntoTheSource) {
    auto original = std::make_unique<KivClFilenameABase>("\\\\srv\\share\\dir\\f.txt");
    KivClFilename copy(*original);
    KivClFilename assigned("/a/much/longer/name/than/the/source.ext");
    assigned = *original;
    KivClFilenameABase baseCopy = copy;
    original.reset();

    const KivClFilenameABase* copies[] = {&copy, &assigned, &baseCopy};
    for (const KivClFilenameABase* name : copies) {
        expectParts(*name, "\\\\srv\\share\\dir\\f.txt");
        EXPECT_EQ(name->getPathStyle(), DOS);
    }

    // Changing a copy leaves the other alone; self-assignment keeps the name.
    KivClFilename second(copy);
    second.setNewExtension("log");
    KivClFilename& alias = second;
    second = alias;
    EXPECT_STREQ(copy.getAsCString(), "\\\\srv\\share\\dir\\f.txt");
    EXPECT_STREQ(second.getAsCString(), "\\\\srv\\share\\dir\\f.log");
}

// A name, an argument and whether the name matches it.
using MatchCase = std::tuple<const char*, const char*, bool>;

TEST(FilenameMatch, PathAndBase) {
    const std::tuple<const char*, const char*, bool, bool> cases[] = {
        {"/a/b/f.txt", "/a/b/g.doc", true, false},
        {"/a/b/f.txt", "/a/c/f.doc", false, true},
        {"/a/f", "/a/b/c/f", true, true},  // this path is a prefix of the other's
        {"/A/f", "/a/F", false, false},                    // Unix: case counts
        {"C:\\Dir\\ABC.txt", "c:\\dir\\abc", true, true},  // DOS: case ignored
        {"f", "/anything/f.x", true, true},                // no path matches any path
        {"\\\\srv\\share\\d\\f", "\\\\other\\x\\d\\f", true, true},  // path proper only
        {"/x/abc", "/x/abcd", true, false},
        // The longer base length counts: base "a" is compared with its
        // extension against base "a.b", and "a.b" against "a.c".
        {"/x/a.b", "/x/a.b.c", true, true},
        {"/x/a.c", "/x/a.b.c", true, false},
        {"/x/a.b.c", "/x/a.b", true, true},
        {"/x/", "/x/.profile", true, true},   // both base names empty
    };
    for (const auto& [self, other, path, base] : cases) {
        SCOPED_TRACE(std::string(self) + " vs " + other);
        EXPECT_EQ(KivClFilename(self).matchesPath(KivClFilename(other)), path);
        EXPECT_EQ(KivClFilename(self).matchesBase(KivClFilename(other)), base);
    }
}

TEST(FilenameMatch, ExtensionAndWildcard) {
    const MatchCase extensions[] = {
        {"/a/f.txt", "txt", true},     {"/a/f.txt", ".txt", true},    {"/a/f.txt", "TXT", false},
        {"C:\\f.txt", ".Txt", true},   {"/a/Makefile", "", true},     {"/a/Makefile", nullptr, true},
        {"/a/Makefile", "txt", false}, {"/a/f.txt", "", false},       {"/a/f.txt", "tx", false},
        {"/a/c.tar.gz", "tar.gz", false}, {"/a/f.", "", true},        {"/a/f.", ".", true},
    };
    for (const auto& [name, ext, matches] : extensions) {
        SCOPED_TRACE(std::string(name) + " ext " + (ext ? ext : "(null)"));
        EXPECT_EQ(KivClFilename(name).matchesExtension(ext), matches);
    }
    // The directory takes no part; case counts in Unix style only.
    const MatchCase patterns[] = {
        {"/a/b/readme.txt", "*.txt", true},  {"/a/b/readme.txt", "README.*", false},
        {"C:\\d\\readme.txt", "README.*", true}, {"/a/b/c.txt", "b*", false},
        {"/a/b/", "*", true},                {"/a/b/", "?", false},
        {"/a/b/c.txt", "", false},
    };
    for (const auto& [name, pattern, matches] : patterns) {
        SCOPED_TRACE(std::string(name) + " ~ " + pattern);
        EXPECT_EQ(KivClFilename(name).matchesWildcardPattern(pattern), matches);
    }
}

TEST(FilenameMatch, Fat83Names) {
    // Base names of 8 and 9, extensions of 3 and 4, directories of 8 and 9 or
    // with a dot, Unix style, drives that are letters or not, reserved characters.
    const std::pair<const char*, bool> cases[] = {
        {"C:\\ABCDEFGH.TXT", true},    {"C:\\ABCDEFGHI.TXT", false},   {"C:\\A.HTML", false},
        {"C:\\DIR.X\\A.TXT", false},   {"C:\\ABCDEFGH\\A.TXT", true},  {"C:\\ABCDEFGHI\\A.TXT", false},
        {"/a/b.txt", false},           {"C:A.TXT", true},              {"\\DIR\\A.TXT", true},
        {"\\\\srv\\share\\A.TXT", true}, {"1:\\A.TXT", false},         {"C:\\A*B.TXT", false},
        {"C:\\A\"B", false},           {"C:\\A B.", true},
    };
    for (const auto& [name, fat] : cases) {
        SCOPED_TRACE(name);
        EXPECT_EQ(KivClFilename(name).isStyleFAT_8_3(), fat);
    }
}

TEST(FilenameChange, ExtensionPathAndNames) {
    const std::tuple<const char*, std::function<void(KivClFilename&)>, const char*> cases[] = {
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension("log"); }, "/a/f.log"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(".log"); }, "/a/f.log"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(""); }, "/a/f"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(nullptr); }, "/a/f"},
        {"/a/Makefile", [](KivClFilename& f) { f.setNewExtension("bak"); }, "/a/Makefile.bak"},
        {"/a/c.tar.gz", [](KivClFilename& f) { f.setNewExtension("bz2"); }, "/a/c.tar.bz2"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewName("g.c"); }, "/a/g.c"},
        {"C:\\d\\f.txt", [](KivClFilename& f) { f.setNewName("G"); }, "C:\\d\\G"},
        {"f.txt", [](KivClFilename& f) { f.setNewName("g"); }, "g"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewBaseName("g"); }, "/a/g.txt"},
        {"/a/f", [](KivClFilename& f) { f.setNewBaseName("g"); }, "/a/g"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath("/b/c"); }, "/b/c/f.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath("C:\\x"); }, "C:\\x\\f.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath(""); }, "f.txt"},
        {"/a/f", [](KivClFilename& f) { f.setNewPath(KivClLocation("/tmp")); }, "/tmp/f"},
        {"/a/b/f.txt", [](KivClFilename& f) { f.removePath(); }, "f.txt"},
        {"\\\\srv\\share\\d\\f.t", [](KivClFilename& f) { f.removePath(); }, "f.t"},
        {"f.txt", [](KivClFilename& f) { f.removePath(); }, "f.txt"},
        {"/a/f", [](KivClFilename& f) { f.setNew(KivClLocation("/x"), "n.e"); }, "/x/n.e"},
        // Arguments that point into the name itself.
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(f.getExtension()); }, "/a/f.txt"},
        {"/a/b/f.t", [](KivClFilename& f) { f.setNewPath(f.getPathStart() + 2); }, "/b/f.t/f.t"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewName(f.getFilePart()); }, "/a/f.txt"},
        {"/a/p.txt", [](KivClFilename& f) { f.setNew(KivClLocation("/bak"), f.getFilePart()); }, "/bak/p.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.init("/x", f.getFilePart(), f.getExtension()); }, "/x/f.txt.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.init(f.getName(), "g", f.getExtension()); }, "/a/f.txt/g.txt"},
    };
    for (const auto& [start, change, expected] : cases) {
        SCOPED_TRACE(std::string(start) + " -> " + expected);
        KivClFilename name(start);
        change(name);
        expectParts(name, expected);
    }
    EXPECT_STREQ(KivClFilename(KivClLocation("C:\\dir"), "f", "txt").getAsCString(), "C:\\dir\\f.txt");
}

TEST(FilenameChange, StaysWithinTheLimit) {
    // A name that fills the buffer leaves no room for an extension.
    const std::string full(4096, 'f');
    KivClFilename name(full.c_str());
    name.setNewExtension("txt");
    expectParts(name, full);
    KivClFilename nearlyFull(full.substr(2).c_str());
    nearlyFull.setNewExtension("txt");
    expectParts(nearlyFull, full.substr(2) + ".t");

    const std::string longText(5000, 'e');
    KivClFilename shortName("/a/f.x");
    shortName.setNewExtension(longText.c_str());
    expectParts(shortName, "/a/f." + longText.substr(0, 4091));
    shortName.setNewBaseName(longText.c_str());
    expectParts(shortName, "/a/" + longText.substr(0, 4093));
    shortName.setNewPath(longText.c_str());
    expectParts(shortName, longText.substr(0, 4096));
}

// Derived name types build on the protected helpers; this one opens them.
class RawFilename : public KivClFilenameABase {
public:
    explicit RawFilename(const char* name) : KivClFilenameABase(name) {}
    using KivClFilenameABase::appendText;
    using KivClFilenameABase::replaceFilePart;
};

TEST(Filename, ProtectedHelpersForDerivedNames) {
    // Appending (the backup name's own tests cover the rest) ignores null.
    RawFilename backup("/a/f.txt");
    backup.appendText(nullptr);
    expectParts(backup, "/a/f.txt");
    RawFilename temporary("/tmp/old.name");
    temporary.replaceFilePart("tmpAB123.543");
    expectParts(temporary, "/tmp/tmpAB123.543");
    temporary.replaceFilePart(temporary.getFilePart() + 3);  // overlapping text
    expectParts(temporary, "/tmp/AB123.543");
    temporary.replaceFilePart("");
    expectParts(temporary, "/tmp/");
    temporary.replaceFilePart(std::string(5000, 'p').c_str());
    expectParts(temporary, "/tmp/" + std::string(4091, 'p'));
}

TEST(Filename, PlatformFacts) {
    EXPECT_EQ(kivGetOperatingSystemId(), 8u);
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(stdout) && kivFileIsOpenedInTextMode(stdout));
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(std::cin) && kivFileIsOpenedInTextMode(std::cin));
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(std::cout) && kivFileIsOpenedInTextMode(std::cout));
}

}  // namespace
