// Comparisons, the 8.3 test and the operations that change a file name.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "kiv_filename.hpp"

namespace {

TEST(FilenameMatch, PathBaseAndExtension) {
    struct PairCase {
        const char* self;
        const char* other;
        bool path;
        bool base;
    };
    const PairCase cases[] = {
        {"/a/b/f.txt", "/a/b/g.doc", true, false},
        {"/a/b/f.txt", "/a/c/f.doc", false, true},
        {"/a/f", "/a/b/c/f", true, true},     // this path is a prefix of the other's
        {"/a/b/f", "/a/f", false, true},
        {"/A/f", "/a/F", false, false},       // Unix: case counts
        {"C:\\Dir\\ABC.txt", "c:\\dir\\abc", true, true},  // DOS: case ignored
        {"f", "/anything/f.x", true, true},   // no path matches any path
        {"\\\\srv\\share\\d\\f", "\\\\other\\x\\d\\f", true, true},  // path proper only
        {"/x/abc", "/x/abcd", true, false},
        {"/x/a.b", "/x/a.b.c", true, false},  // base "a" against base "a.b"
        {"/x/", "/x/.profile", true, true},   // both base names empty
    };
    for (const PairCase& c : cases) {
        SCOPED_TRACE(std::string(c.self) + " vs " + c.other);
        KivClFilename self(c.self);
        KivClFilename other(c.other);
        EXPECT_EQ(self.matchesPath(other), c.path);
        EXPECT_EQ(self.matchesBase(other), c.base);
    }

    struct ExtCase {
        const char* name;
        const char* ext;
        bool matches;
    };
    const ExtCase extCases[] = {
        {"/a/f.txt", "txt", true},      {"/a/f.txt", ".txt", true},
        {"/a/f.txt", "TXT", false},     {"C:\\f.txt", "TXT", true},
        {"C:\\f.txt", ".Txt", true},    {"/a/Makefile", "", true},
        {"/a/Makefile", nullptr, true}, {"/a/Makefile", "txt", false},
        {"/a/f.txt", "", false},        {"/a/f.txt", "tx", false},
        {"/a/f.txt", "txt2", false},    {"/a/c.tar.gz", "tar.gz", false},
        {"/a/f.", "", true},            {"/a/f.", ".", true},
    };
    for (const ExtCase& c : extCases) {
        SCOPED_TRACE(std::string(c.name) + " ext " + (c.ext ? c.ext : "(null)"));
        EXPECT_EQ(KivClFilename(c.name).matchesExtension(c.ext), c.matches);
    }
}

TEST(FilenameMatch, WildcardOnTheFilePart) {
    struct WildCase {
        const char* name;
        const char* pattern;
        bool matches;
    };
    const WildCase cases[] = {
        {"/a/b/readme.txt", "*.txt", true},
        {"/a/b/readme.txt", "README.*", false},      // Unix: case counts
        {"C:\\d\\readme.txt", "README.*", true},     // DOS: case ignored
        {"/a/b/readme.txt", "r?adme.txt", true},
        {"/a/b/c.txt", "b*", false},                 // the directory is not matched
        {"/a/b/c.txt", "*/c.txt", false},
        {"/a/b/", "*", true},                        // empty file part
        {"/a/b/", "?", false},
        {"/a/b/c.txt", "", false},
    };
    for (const WildCase& c : cases) {
        SCOPED_TRACE(std::string(c.name) + " ~ " + c.pattern);
        EXPECT_EQ(KivClFilename(c.name).matchesWildcardPattern(c.pattern), c.matches);
    }
}

TEST(FilenameMatch, Fat83Names) {
    struct FatCase {
        const char* name;
        bool fat;
    };
    const FatCase cases[] = {
        {"C:\\ABCDEFGH.TXT", true},
        {"C:\\ABCDEFGHI.TXT", false},    // base name of 9
        {"C:\\A.HTML", false},           // extension of 4 after the dot
        {"C:\\DIR.X\\A.TXT", false},     // dot in a directory
        {"C:\\ABCDEFGH\\A.TXT", true},   // directory of 8
        {"C:\\ABCDEFGHI\\A.TXT", false}, // directory of 9
        {"/a/b.txt", false},             // every Unix-style name
        {"A.TXT", false},                // Unix style: no backslash, no drive
        {"C:A.TXT", true},
        {"\\DIR\\A.TXT", true},
        {"\\\\srv\\share\\A.TXT", true},
        {"1:\\A.TXT", false},            // the drive must be a letter
        {"C:\\A*B.TXT", false},
        {"C:\\A;B", false},
        {"C:\\A\"B", false},
        {"C:\\A B.TX", true},
        {"C:\\AB", true},
        {"C:\\A.", true},
    };
    for (const FatCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(KivClFilename(c.name).isStyleFAT_8_3(), c.fat);
    }
}

TEST(FilenameChange, ExtensionPathAndNames) {
    struct ChangeCase {
        const char* start;
        void (*change)(KivClFilename&);
        const char* expected;
        const char* extension;
    };
    const ChangeCase cases[] = {
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension("log"); }, "/a/f.log", ".log"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(".log"); }, "/a/f.log", ".log"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(""); }, "/a/f", ""},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(nullptr); }, "/a/f", ""},
        {"/a/Makefile", [](KivClFilename& f) { f.setNewExtension("bak"); }, "/a/Makefile.bak",
         ".bak"},
        {"/a/c.tar.gz", [](KivClFilename& f) { f.setNewExtension("bz2"); }, "/a/c.tar.bz2", ".bz2"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewName("g.c"); }, "/a/g.c", ".c"},
        {"C:\\d\\f.txt", [](KivClFilename& f) { f.setNewName("G"); }, "C:\\d\\G", ""},
        {"f.txt", [](KivClFilename& f) { f.setNewName("g"); }, "g", ""},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewBaseName("g"); }, "/a/g.txt", ".txt"},
        {"/a/f", [](KivClFilename& f) { f.setNewBaseName("g"); }, "/a/g", ""},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath("/b/c"); }, "/b/c/f.txt", ".txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath("C:\\x"); }, "C:\\x\\f.txt", ".txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath(""); }, "f.txt", ".txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewPath(KivClLocation("/tmp")); }, "/tmp/f.txt",
         ".txt"},
        {"/a/b/f.txt", [](KivClFilename& f) { f.removePath(); }, "f.txt", ".txt"},
        {"\\\\srv\\share\\d\\f.txt", [](KivClFilename& f) { f.removePath(); }, "f.txt", ".txt"},
        {"f.txt", [](KivClFilename& f) { f.removePath(); }, "f.txt", ".txt"},
        {"/a/f", [](KivClFilename& f) { f.setNew(KivClLocation("/x"), "n.e"); }, "/x/n.e", ".e"},
        // Arguments that point into the name itself.
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(f.getExtension()); }, "/a/f.txt",
         ".txt"},
        {"/a/b/f.txt", [](KivClFilename& f) { f.setNewPath(f.getPathStart() + 2); }, "/b/f.txt/f.txt",
         ".txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewName(f.getFilePart()); }, "/a/f.txt", ".txt"},
    };
    for (const ChangeCase& c : cases) {
        SCOPED_TRACE(std::string(c.start) + " -> " + c.expected);
        KivClFilename name(c.start);
        c.change(name);
        EXPECT_STREQ(name.getAsCString(), c.expected);
        EXPECT_EQ(name.getLength(), std::strlen(c.expected));
        EXPECT_STREQ(name.getExtension(), c.extension);
        EXPECT_EQ(name.getName(), name.getAsCString());
        EXPECT_LE(name.getFilePart(), name.getExtension());
    }

    // After removePath every part starts at the buffer.
    KivClFilename bare("/a/b/f.txt");
    bare.removePath();
    EXPECT_EQ(bare.getPathStart(), bare.getAsCString());
    EXPECT_EQ(bare.getFilePart(), bare.getAsCString());
    EXPECT_FALSE(bare.hasPath());

    KivClFilename fromLocation(KivClLocation("C:\\dir"), "f", "txt");
    EXPECT_STREQ(fromLocation.getAsCString(), "C:\\dir\\f.txt");
}

TEST(FilenameChange, StaysWithinTheLimit) {
    // A base name that fills the buffer leaves no room for an extension.
    const std::string full(4096, 'f');
    KivClFilename name(full.c_str());
    name.setNewExtension("txt");
    EXPECT_EQ(name.getLength(), 4096u);
    EXPECT_EQ(std::string(name.getAsCString()), full);

    const std::string nearly(4094, 'f');
    KivClFilename near(nearly.c_str());
    near.setNewExtension("txt");
    EXPECT_EQ(std::string(near.getAsCString()), nearly + ".t");
    EXPECT_EQ(near.getLength(), 4096u);

    const std::string longExt(5000, 'e');
    KivClFilename shortName("/a/f.x");
    shortName.setNewExtension(longExt.c_str());
    EXPECT_EQ(shortName.getLength(), 4096u);
    shortName.setNewBaseName(longExt.c_str());
    EXPECT_EQ(shortName.getLength(), 4096u);
    shortName.setNewPath(longExt.c_str());
    EXPECT_EQ(shortName.getLength(), 4096u);
    EXPECT_EQ(std::string(shortName.getAsCString()), longExt.substr(0, 4096));
}

}  // namespace
