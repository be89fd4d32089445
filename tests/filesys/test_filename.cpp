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

constexpr KivEnPathStyle DOS = KivEnPathStyleDOS, UNIX = KivEnPathStyleUnix;
using S = std::string;

// name holds text, and its parts start inside its own buffer where a fresh analysis of text puts them.
void expectParts(const KivClFilenameABase& name, const S& text) {
    const KivClFilenameABase fresh(text.c_str());
    const char* own = name.getAsCString();
    EXPECT_EQ(std::make_tuple(S(own), size_t{name.getLength()}, name.getName(), name.getPathStart() - own,
                              name.getFilePart() - own, name.getExtension() - own),
              std::make_tuple(text, text.size(), own, fresh.getPathStart() - fresh.getName(),
                              fresh.getFilePart() - fresh.getName(), fresh.getExtension() - fresh.getName()));
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
        char server[KivClFilenameABase::BUFFER_SIZE], base[sizeof server], path[sizeof server], sep[sizeof server];
        name.extractServer(server);
        name.extractBaseName(base);
        name.extractPath(path, false);
        name.extractPath(sep, true);
        EXPECT_EQ(std::make_tuple(name.getPathStyle(), name.hasDrive(), name.isAbsolute(), name.hasServerPrefix(),
                                  name.isNormalized(), S(name.getPathStart()), S(name.getExtension())),
                  std::make_tuple(c.style, c.drive, c.absolute, c.server[0] != '\0',
                                  std::strchr(c.pathProper, '\\') == nullptr, S(c.pathProper), S(c.extension)));
        EXPECT_EQ(S(server) + "|" + base + "|" + path + "|" + sep,
                  S(c.server) + "|" + c.base + "|" + c.path + "|" + c.pathWithSep);
    }
    KivClPathProperty property(nullptr);
    EXPECT_TRUE(S(property.getName()).empty() && property.getPathStyle() == UNIX && property.getStyle(nullptr) == UNIX);
    EXPECT_EQ(property.getStyle("1:x"), UNIX);  // only a letter makes a drive
    EXPECT_EQ(S() + property.getPathSep("a:") + property.getPathSep("a/b:c"), "\\/");
    char text[] = "\\\\a\\b\\c";
    KivClPathProperty::normalizePath(text);
    EXPECT_STREQ(text, "//a/b/c");
    KivClPathProperty::normalizePath(nullptr);  // these and the extractions below ignore null
    KivClFilename("\\\\srv\\share\\f").extractServer(nullptr);
    KivClFilename("/a/f").extractPath(nullptr, true);
}

// Derived name types build on the protected helpers; this one opens them.
class RawFilename : public KivClFilenameABase {
public:
    explicit RawFilename(const char* name) : KivClFilenameABase(name) {}
    using KivClFilenameABase::appendText;
    using KivClFilenameABase::replaceFilePart;
};

TEST(Filename, JoinsCutsAt4096ProtectedHelpersAndPlatformFacts) {
    const S full(4096, 'p');
    // path, base name, extension, joined name: the style comes from the path, a full path gets no separator
    const std::tuple<S, const char*, const char*, S> cases[] = {
        {"/a/b", "f", "txt", "/a/b/f.txt"},      {"/a/b/", "f", ".txt", "/a/b/f.txt"},
        {"C:\\dir", "f", "txt", "C:\\dir\\f.txt"}, {"C:", "f", nullptr, "C:\\f"},
        {"", "f", "txt", "f.txt"},               {"/a", "f", "", "/a/f."},
        {"/a", nullptr, "x", "/a/.x"},           {"\\\\srv\\share\\d", "f", "t", "\\\\srv\\share\\d\\f.t"},
        {"dir", "a\\b", nullptr, "dir/a\\b"},     {full, "base", "ext", full},
        {full.substr(2), "base", "ext", full.substr(2) + "/b"},
        {full.substr(6), "base", "ext", full.substr(6) + "/base."},
    };
    for (const auto& [path, base, extension, expected] : cases) {
        SCOPED_TRACE(expected.substr(0, 40));
        expectParts(KivClFilenameABase(path.c_str(), base, extension), expected);
    }
    EXPECT_STREQ(KivClFilenameABase(nullptr, "f", nullptr).getAsCString(), "f");
    EXPECT_EQ(KivClFilenameABase("dir", "a\\b", nullptr).getPathStyle(), UNIX);
    const S longText(5000, 'a');
    expectParts(KivClFilename(longText.c_str()), longText.substr(0, 4096));
    // The cut falls inside the file part and takes the extension with it.
    const S deep = "/" + S(4090, 'd') + "/file";
    expectParts(KivClFilename((deep + ".txt").c_str()), deep);
    // Text and count: the count limits, a NUL ends earlier, 4096 caps both.
    EXPECT_EQ(S(KivClFilename("abcdef", 3).getAsCString()) + "|" + KivClFilename("ab", 10).getAsCString() + "|" +
                  KivClFilename("abc", 0).getAsCString() + "|" + KivClFilename(nullptr, 5).getAsCString(), "abc|ab||");
    EXPECT_EQ(KivClFilename(longText.c_str(), 5000).getLength(), 4096u);

    // Appending ignores null (the backup name covers the rest); replacing takes overlapping text.
    RawFilename backup("/a/f.txt");
    backup.appendText(nullptr);
    expectParts(backup, "/a/f.txt");
    RawFilename temporary("/tmp/old.name");
    const std::pair<S, S> parts[] = {{"", "/tmp/"}, {S(5000, 'p'), "/tmp/" + S(4091, 'p')},
                                     {"tmpAB123.543", "/tmp/tmpAB123.543"}};
    for (const auto& [part, expected] : parts) {
        temporary.replaceFilePart(part.c_str());
        expectParts(temporary, expected);
    }
    temporary.replaceFilePart(temporary.getFilePart() + 3);  // overlapping text
    expectParts(temporary, "/tmp/AB123.543");
    EXPECT_EQ(kivGetOperatingSystemId(), 8u);
    EXPECT_TRUE(kivFileIsOpenedInBinaryMode(stdout) && kivFileIsOpenedInTextMode(stdout) &&
                kivFileIsOpenedInBinaryMode(std::cin) && kivFileIsOpenedInTextMode(std::cin) &&
                kivFileIsOpenedInBinaryMode(std::cout) && kivFileIsOpenedInTextMode(std::cout));
}

TEST(Filename, CopiesNeverPointIntoTheSource) {
    auto original = std::make_unique<KivClFilenameABase>("\\\\srv\\share\\dir\\f.txt");
    KivClFilename copy(*original), assigned("/a/much/longer/name/than/the/source.ext");
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
    EXPECT_EQ(S(copy.getAsCString()) + " " + second.getAsCString(),
              "\\\\srv\\share\\dir\\f.txt \\\\srv\\share\\dir\\f.log");
    auto location = std::make_unique<KivClLocation>("\\\\srv\\share\\dir");
    KivClLocation locationCopy(*location), locationAssigned;
    locationAssigned = *location;
    location.reset();
    KivClLocation& locationAlias = locationCopy;
    locationCopy = locationAlias;
    for (const KivClLocation* each : {&locationCopy, &locationAssigned}) {
        EXPECT_EQ(std::make_tuple(S(each->getAsCString()), each->getName(), S(each->getPathStart()), each->getPathStyle()),
                  std::make_tuple(S("\\\\srv\\share\\dir\\"), each->getAsCString(), S("\\dir\\"), DOS));
    }
}

TEST(FilenameMatch, PathBaseExtensionWildcardAndFat83) {
    // name, other name, path matches, base matches. Unix names compare case; the longer base length
    // counts, so base "a" is compared with its extension against base "a.b".
    const std::tuple<const char*, const char*, bool, bool> paths[] = {
        {"/a/b/f.txt", "/a/b/g.doc", true, false}, {"/a/b/f.txt", "/a/c/f.doc", false, true},
        {"/a/f", "/a/b/c/f", true, true},          {"/A/f", "/a/F", false, false},
        {"C:\\Dir\\ABC.txt", "c:\\dir\\abc", true, true}, {"f", "/anything/f.x", true, true},
        {"\\\\srv\\share\\d\\f", "\\\\other\\x\\d\\f", true, true}, {"/x/abc", "/x/abcd", true, false},
        {"/x/a.b", "/x/a.b.c", true, true},        {"/x/a.c", "/x/a.b.c", true, false},
        {"/x/a.b.c", "/x/a.b", true, true},        {"/x/", "/x/.profile", true, true},
    };
    for (const auto& [self, other, path, base] : paths) {
        const KivClFilename name(self), against(other);
        EXPECT_EQ(std::make_pair(name.matchesPath(against), name.matchesBase(against)), std::make_pair(path, base))
            << self << " vs " << other;
    }
    // Extensions (null stands for none), then wildcard patterns on the file part.
    const std::tuple<const char*, const char*, bool, bool> others[] = {
        {"/a/f.txt", "txt", false, true},     {"/a/f.txt", ".txt", false, true},    {"/a/f.txt", "TXT", false, false},
        {"C:\\f.txt", ".Txt", false, true},   {"/a/Makefile", "", false, true},     {"/a/Makefile", nullptr, false, true},
        {"/a/Makefile", "txt", false, false}, {"/a/f.txt", "", false, false},       {"/a/f.txt", "tx", false, false},
        {"/a/c.tar.gz", "tar.gz", false, false}, {"/a/f.", "", false, true},        {"/a/f.", ".", false, true},
        {"/a/b/readme.txt", "*.txt", true, true},   {"/a/b/readme.txt", "README.*", true, false},
        {"C:\\d\\readme.txt", "README.*", true, true}, {"/a/b/c.txt", "b*", true, false},
        {"/a/b/", "*", true, true},  {"/a/b/", "?", true, false},  {"/a/b/c.txt", "", true, false},
    };
    for (const auto& [name, argument, wildcard, matches] : others) {
        const KivClFilename filename(name);
        EXPECT_EQ(wildcard ? filename.matchesWildcardPattern(argument) : filename.matchesExtension(argument), matches)
            << name << (wildcard ? " ~ " : " ext ") << (argument ? argument : "(null)");
    }
    // 8.3: base names and directories of 8 and 9, extensions of 3 and 4, drives, reserved characters.
    const std::pair<const char*, bool> fat[] = {
        {"C:\\ABCDEFGH.TXT", true},    {"C:\\ABCDEFGHI.TXT", false},   {"C:\\A.HTML", false},
        {"C:\\DIR.X\\A.TXT", false},   {"C:\\ABCDEFGH\\A.TXT", true},  {"C:\\ABCDEFGHI\\A.TXT", false},
        {"/a/b.txt", false},           {"C:A.TXT", true},              {"\\DIR\\A.TXT", true},
        {"\\\\srv\\share\\A.TXT", true}, {"1:\\A.TXT", false},         {"C:\\A*B.TXT", false},
        {"C:\\A\"B", false},           {"C:\\A B.", true},
    };
    for (const auto& [name, isFat] : fat) EXPECT_EQ(KivClFilename(name).isStyleFAT_8_3(), isFat) << name;
}

TEST(FilenameChange, ExtensionPathAndNames) {
    using Change = std::function<void(KivClFilename&)>;
    const auto setExt = [](const char* e) -> Change { return [e](KivClFilename& f) { f.setNewExtension(e); }; };
    const auto setName = [](const char* n) -> Change { return [n](KivClFilename& f) { f.setNewName(n); }; };
    const auto setBase = [](const char* n) -> Change { return [n](KivClFilename& f) { f.setNewBaseName(n); }; };
    const auto setPath = [](const char* p) -> Change { return [p](KivClFilename& f) { f.setNewPath(p); }; };
    const Change noPath = [](KivClFilename& f) { f.removePath(); };
    // At the limit a full name leaves no room for an extension, and long arguments are cut.
    const S full(4096, 'f'), longText(5000, 'e');
    const char* const longArgument = longText.c_str();
    const std::tuple<S, Change, S> cases[] = {
        {"/a/f.txt", setExt("log"), "/a/f.log"},          {"/a/f.txt", setExt(".log"), "/a/f.log"},
        {"/a/f.txt", setExt(""), "/a/f"},                 {"/a/f.txt", setExt(nullptr), "/a/f"},
        {"/a/Makefile", setExt("bak"), "/a/Makefile.bak"}, {"/a/c.tar.gz", setExt("bz2"), "/a/c.tar.bz2"},
        {"/a/f.txt", setName("g.c"), "/a/g.c"},           {"C:\\d\\f.txt", setName("G"), "C:\\d\\G"},
        {"f.txt", setName("g"), "g"},                     {"/a/f.txt", setBase("g"), "/a/g.txt"},
        {"/a/f", setBase("g"), "/a/g"},                   {"/a/f.txt", setPath("/b/c"), "/b/c/f.txt"},
        {"/a/f.txt", setPath("C:\\x"), "C:\\x\\f.txt"},   {"/a/f.txt", setPath(""), "f.txt"},
        {"/a/b/f.txt", noPath, "f.txt"},                  {"\\\\srv\\share\\d\\f.t", noPath, "f.t"},
        {"f.txt", noPath, "f.txt"},
        {"/a/f", [](KivClFilename& f) { f.setNewPath(KivClLocation("/tmp")); }, "/tmp/f"},
        {"/a/f", [](KivClFilename& f) { f.setNew(KivClLocation("/x"), "n.e"); }, "/x/n.e"},
        // Arguments that point into the name itself.
        {"/a/f.txt", [](KivClFilename& f) { f.setNewExtension(f.getExtension()); }, "/a/f.txt"},
        {"/a/b/f.t", [](KivClFilename& f) { f.setNewPath(f.getPathStart() + 2); }, "/b/f.t/f.t"},
        {"/a/f.txt", [](KivClFilename& f) { f.setNewName(f.getFilePart()); }, "/a/f.txt"},
        {"/a/p.txt", [](KivClFilename& f) { f.setNew(KivClLocation("/bak"), f.getFilePart()); }, "/bak/p.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.init("/x", f.getFilePart(), f.getExtension()); }, "/x/f.txt.txt"},
        {"/a/f.txt", [](KivClFilename& f) { f.init(f.getName(), "g", f.getExtension()); }, "/a/f.txt/g.txt"},
        {full, setExt("txt"), full},  {full.substr(2), setExt("txt"), full.substr(2) + ".t"},
        {"/a/f.x", setExt(longArgument), "/a/f." + longText.substr(0, 4091)},
        {"/a/f.x", setBase(longArgument), "/a/" + longText.substr(0, 4093)},
        {"/a/f.x", setPath(longArgument), longText.substr(0, 4096)},
    };
    for (const auto& [start, change, expected] : cases) {
        SCOPED_TRACE(start.substr(0, 40) + " -> " + expected.substr(0, 40));
        KivClFilename name(start.c_str());
        change(name);
        expectParts(name, expected);
    }
    EXPECT_STREQ(KivClFilename(KivClLocation("C:\\dir"), "f", "txt").getAsCString(), "C:\\dir\\f.txt");
}

TEST(Location, SeparatorStyleRootTextAndLimit) {
    // text, normalise, expected text, style, root (the style and absoluteness come from the name analysis)
    const std::tuple<const char*, bool, const char*, KivEnPathStyle, bool> cases[] = {
        {"/tmp", false, "/tmp/", UNIX, false}, {"/", false, "/", UNIX, true},  {"//", false, "//", UNIX, false},
        {"", false, "", UNIX, false},          {"C:\\", false, "C:\\", DOS, true}, {"C:", false, "C:\\", DOS, true},
        {"C:\\x\\", false, "C:\\x\\", DOS, false}, {"\\x", false, "\\x\\", DOS, false},
        {"\\\\srv\\share", false, "\\\\srv\\share/", UNIX, true},  // empty path proper: Unix
        {"C:\\a\\b", true, "C:/a/b/", DOS, false}, {"\\a\\b", true, "/a/b/", UNIX, false},
        {"\\\\srv\\share\\d", true, "\\\\srv\\share/d/", UNIX, false},
    };
    for (const auto& [text, normalize, expected, style, root] : cases) {
        KivClLocation location(text, normalize);
        EXPECT_EQ(std::make_tuple(S(location.getAsCString()), size_t{location.getLength()}, location.getPathStyle(),
                                  location.isRoot(), location.getName(), !normalize || location.isNormalized()),
                  std::make_tuple(S(expected), std::strlen(expected), style, root, location.getAsCString(), true))
            << text << (normalize ? " (normalised)" : "");
    }
    EXPECT_FALSE(KivClLocation().isRoot() || KivClLocation("tmp").isAbsolute() || !KivClLocation("/tmp").isAbsolute());
    // Text that fills the buffer keeps its last character instead of a separator.
    const S longText(5000, 'd');
    const std::pair<KivClLocation, S> made[] = {
        {KivClLocation(longText.c_str()), longText.substr(0, 4096)},
        {KivClLocation(longText.substr(0, 4095).c_str()), longText.substr(0, 4095) + "/"},
        {KivClLocation(longText.c_str(), 5000, false), longText.substr(0, 4096)},
        {KivClLocation(), ""}, {KivClLocation(nullptr), ""}, {KivClLocation(KivClFilename("abc")), ""},
        {KivClLocation(KivClFilename("/a/b/c.txt")), "/a/b/"},
        {KivClLocation(KivClFilename("\\\\srv\\share\\f")), "\\\\srv\\share\\"},
        {KivClLocation(KivClFilename("C:\\d\\f"), true), "C:/d/"}, {KivClLocation("/a/b/c", 4, false), "/a/b/"},
        {KivClLocation("/a", 99, false), "/a/"},     {KivClLocation("C:\\a", 4, true), "C:/a/"},
        {KivClLocation("xyz", 0, false), ""},
    };
    for (const auto& [location, text] : made) EXPECT_EQ(S(location) + " " + std::to_string(location.getLength()),
                                                        text + " " + std::to_string(text.size()));
    KivClLocation assigned("/old");
    assigned = "C:\\new";
    EXPECT_EQ(std::make_pair(S(assigned.getAsCString()), assigned.getPathStyle()), std::make_pair(S("C:\\new\\"), DOS));
    assigned = assigned.getAsCString() + 3;  // a part of its own text
    EXPECT_STREQ(assigned.getAsCString(), "new\\");
    assigned = static_cast<const char*>(nullptr);
    EXPECT_STREQ(assigned.getAsCString(), "");
}

}  // namespace
