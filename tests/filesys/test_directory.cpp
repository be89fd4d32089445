#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "kiv_directory.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::fileExists;
using kivtest::TempDir;

void makeDirs(const std::string& root, std::initializer_list<const char*> subs) {
    for (const char* sub : subs) ASSERT_EQ(::mkdir((root + sub).c_str(), 0777), 0) << root + sub;
}

// Restores the working directory when a test changed it.
class ScopedCwd {
public:
    ScopedCwd() : saved_(::getcwd(buffer_, sizeof buffer_) != nullptr) {}
    ~ScopedCwd() { EXPECT_TRUE(!saved_ || ::chdir(buffer_) == 0); }

private:
    char buffer_[4097];
    bool saved_;
};

// Names of the remaining entries of a walk, sorted.
std::vector<std::string> walkNames(KivClDirectoryWalk& walk) {
    std::vector<std::string> names;
    for (; walk.isValid(); walk.setToNext()) names.push_back(walk.getNameWithoutPath());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Directory, CreateMakesEveryMissingParent) {
    TempDir tmp;
    KivClDirectory dir(tmp.file("x/y/z").c_str());
    EXPECT_STREQ(dir, (tmp.file("x/y/z") + "/").c_str());
    ASSERT_TRUE(dir.create());
    EXPECT_TRUE(dir.isExistent());
    EXPECT_TRUE(dir.create());  // existing: nothing to do

    kivtest::writeFile(tmp.file("plain"), "");
    KivClDirectory blocked(tmp.file("plain/sub").c_str());
    EXPECT_FALSE(blocked.create());
    EXPECT_EQ(blocked.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_CREATE);
    EXPECT_EQ(blocked.getError().errorClass, KIV_ERRCLASS_IO_NOT_EXISTENT);
    EXPECT_FALSE(KivClDirectory("/../nowhere/").create());  // expanded to nothing

    ASSERT_TRUE(KivClDirectory(tmp.file("m").c_str()).create(0777, 027));
    struct stat info;
    ASSERT_EQ(::stat(tmp.file("m").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0750u);
}

TEST(Directory, RemoveAllDeletesTheTreeButNothingLinksPointTo) {
    TempDir tmp;
    const std::string outside = tmp.file("outside");
    const std::string root = tmp.file("tree");
    makeDirs(outside, {""});
    kivtest::writeFile(outside + "/precious", "keep me");
    makeDirs(root, {"", "/a", "/a/b", "/a/b/c"});
    for (const char* file : {"/top.txt", "/.hidden", "/a/b/.profile", "/a/b/c/deep"}) {
        kivtest::writeFile(root + file, "x");
    }
    ASSERT_EQ(::chmod((root + "/a/b/c/deep").c_str(), 0444), 0);
    ASSERT_EQ(::symlink(outside.c_str(), (root + "/a/dirlink").c_str()), 0);
    ASSERT_EQ(::symlink((outside + "/precious").c_str(), (root + "/filelink").c_str()), 0);
    ASSERT_EQ(::symlink(tmp.file("missing").c_str(), (root + "/dangling").c_str()), 0);

    KivClDirectory tree(root.c_str());
    EXPECT_TRUE(tree.removeAll(true));
    EXPECT_EQ(tree.getError().errorId, 0u);
    EXPECT_FALSE(fileExists(root));
    EXPECT_EQ(kivtest::readFile(outside + "/precious"), "keep me");
}

TEST(Directory, DotDirectoriesAreLeftSoTheTreeStays) {
    for (const std::string kept : {"/.cache", "/a.b", "/..x"}) {
        TempDir tmp;
        const std::string root = tmp.file("tree");
        makeDirs(root, {"", kept.c_str()});
        kivtest::writeFile(root + kept + "/inside", "x");
        kivtest::writeFile(root + "/gone", "x");
        KivClDirectory tree(root.c_str());
        EXPECT_FALSE(tree.removeAll(true)) << kept;
        EXPECT_EQ(tree.getError().errorClass, KIV_ERRCLASS_IO_STILL_IN_USE);
        EXPECT_TRUE(fileExists(root + kept + "/inside")) << kept;
        EXPECT_FALSE(fileExists(root + "/gone"));
    }
}

TEST(Directory, RemoveAndChangeFailures) {
    TempDir tmp;
    KivClDirectory missing(tmp.file("missing").c_str());
    EXPECT_FALSE(missing.remove());
    EXPECT_EQ(missing.getError().errorClass, KIV_ERRCLASS_IO_INVALID_NAME);
    EXPECT_FALSE(missing.setAsCurrent());
    EXPECT_EQ(missing.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE);
    EXPECT_EQ(missing.getError().errorClass, KIV_ERRCLASS_IO_NOT_EXISTENT);
    EXPECT_EQ(missing.getDateTimeOfLastModification(), 0u);

    kivtest::writeFile(tmp.file("f"), "");
    KivClDirectory full(tmp.path().c_str());
    EXPECT_FALSE(full.removeAll(false));
    EXPECT_EQ(full.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE);
    EXPECT_EQ(full.getError().errorClass, KIV_ERRCLASS_IO_STILL_IN_USE);
    EXPECT_NE(full.getDateTimeOfLastModification(), 0u);
}

TEST(Directory, ConstructorsExpandRelativePaths) {
    TempDir tmp;
    makeDirs(tmp.file("w"), {""});
    ScopedCwd restore;
    ASSERT_TRUE(KivClDirectory(tmp.file("w").c_str()).setAsCurrent());
    const std::string here = KivClDirectory().getAsCString();
    const std::string parent = here.substr(0, here.rfind('/', here.size() - 2) + 1);
    const struct { std::string input, expected; uint32_t errorId; } rows[] = {
        {"../x", parent + "x/", 0},
        {"sub/./deeper/..", here + "sub/", 0},
        {"/a/./b/", "/a/b/", 0},
        {"\\a\\.\\b", "/a/b/", 0},
        {"/a/b/../../c", "/c/", 0},
        {"/../x", "", KIV_ERRID_DIRECTORY_EXPANSION_FAILED},
        {"/a/../../x/", "", KIV_ERRID_DIRECTORY_EXPANSION_FAILED},
    };
    for (const auto& row : rows) {
        KivClDirectory dir(row.input.c_str());
        EXPECT_STREQ(dir.getAsCString(), row.expected.c_str()) << row.input;
        EXPECT_EQ(dir.getError().errorId, row.errorId) << row.input;
        EXPECT_EQ(dir.getError().errorClass, row.errorId ? KIV_ERRCLASS_IO_INVALID_NAME : KIV_ERRCLASS_UNKNOWN);
        // Copies and locations take the same way; a failed directory stays
        // failed and never stands for the working directory.
        const KivClDirectory copy(dir);
        EXPECT_STREQ(copy.getAsCString(), row.expected.c_str());
        EXPECT_EQ(copy.getError().errorId, row.errorId);
        EXPECT_STREQ(KivClDirectory(KivClLocation(row.input.c_str())).getAsCString(), row.expected.c_str());
        EXPECT_FALSE(KivClDirectory::removeTree(dir)) << row.input;  // none exists; "" is not "./"
    }
}

TEST(Directory, ComponentsAttachDetachAndCount) {
    // attach null: none; detach: the detachSubDirs count.
    const struct { const char *start, *attach; unsigned detach; bool detached; const char* expected; unsigned parts; }
        rows[] = {
        {"/a/b/c/", nullptr, 1, true, "/a/b/", 2},     {"/a/", nullptr, 1, true, "/", 0},
        {"/", nullptr, 1, false, "/", 0},              {"/a/b/", nullptr, 3, false, "/", 0},
        {"/a/", "b/c/", 0, true, "/a/b/c/", 3},        {"/a/b/", "../x/", 0, true, "/a/x/", 2},
        {"/a/b/", "c/", 2, true, "/a/", 1},
    };
    for (const auto& row : rows) {
        KivClDirectory dir(row.start);
        if (row.attach != nullptr) dir.attachSubDir(KivClLocation(row.attach));
        EXPECT_EQ(dir.detachSubDirs(row.detach), row.detached) << row.start;
        EXPECT_STREQ(dir.getAsCString(), row.expected) << row.start;
        EXPECT_EQ(dir.getNumOfSubDirs(), row.parts) << row.start;
        EXPECT_EQ(dir.getError().errorId, row.detached ? 0u : KIV_ERRID_DIRECTORY_COULD_NOT_DETACH);
        EXPECT_EQ(dir.getError().errorClass, row.detached ? KIV_ERRCLASS_UNKNOWN : KIV_ERRCLASS_LOGIC);
    }
}

TEST(DirectoryWalk, EmptyMissingAndCurrentDirectories) {
    TempDir tmp;
    makeDirs(tmp.file("empty"), {""});
    KivClDirectoryWalk empty(KivClLocation(tmp.file("empty").c_str()));
    EXPECT_EQ(walkNames(empty), (std::vector<std::string>{".", ".."}));
    EXPECT_FALSE(empty.setToNext());
    EXPECT_STREQ(empty.getNameWithoutPath(), "");
    EXPECT_EQ(empty.getError().errorId, 0u);

    KivClDirectoryWalk missing(KivClLocation(tmp.file("missing").c_str()));
    EXPECT_FALSE(missing.isValid() || missing.isSubDirectory());
    EXPECT_EQ(missing.getError().errorId, KIV_ERRID_DIRWALK_COULD_NOT_INIT);
    EXPECT_EQ(missing.getError().errorClass, KIV_ERRCLASS_IO_PROBLEM);

    ScopedCwd restore;
    ASSERT_EQ(::chdir(tmp.path().c_str()), 0);
    KivClDirectoryWalk here{KivClLocation()};  // an empty location walks "./"
    EXPECT_EQ(std::string(here.getNameWithPath()).substr(0, 2), "./");
    EXPECT_EQ(walkNames(here), (std::vector<std::string>{".", "..", "empty"}));
}

TEST(DirectoryWalk, EntriesAreClassifiedFromModeAndName) {
    TempDir tmp;
    const std::string root = tmp.file("d");
    makeDirs(root, {"", "/sub", "/.git", "/a.b"});
    for (const char* file : {"/file.txt", "/.hidden", "/ro"}) kivtest::writeFile(root + file, "");
    ASSERT_EQ(::chmod((root + "/ro").c_str(), 0444), 0);
    ASSERT_EQ(::symlink((root + "/sub").c_str(), (root + "/link").c_str()), 0);

    // directory, current, parent, subdirectory, hidden, read-only, link
    const std::map<std::string, std::string> expected = {
        {".", "DC-----"},   {"..", "D-P----"},     {"sub", "D--S---"},     {".git", "D------"}, {"a.b", "D------"},
        {"file.txt", "-------"}, {".hidden", "----H--"}, {"ro", "-----R-"}, {"link", "D--S--L"},
    };
    std::map<std::string, std::string> seen;
    for (KivClDirectoryWalk walk{KivClDirectory(root.c_str())}; walk.isValid(); walk.setToNext()) {
        const bool flags[] = {walk.isDirectory(), walk.isCurrentDirectory(), walk.isParentDirectory(),
                              walk.isSubDirectory(), walk.isHidden(), walk.isReadOnly(), walk.isSymbolicLink()};
        std::string text = "DCPSHRL";
        for (size_t i = 0; i < text.size(); ++i) text[i] = flags[i] ? text[i] : '-';
        seen[walk.getNameWithoutPath()] = text;
        EXPECT_EQ(std::string(walk.getNameWithPath()), root + "/" + walk.getNameWithoutPath());
    }
    EXPECT_EQ(seen, expected);
}

TEST(DirectoryWalk, WildcardFilterIsCaseSensitive) {
    TempDir tmp;
    for (const char* name : {"a.txt", "b.TXT", "c.txt.bak", "notes.txt"}) kivtest::writeFile(tmp.file(name), "");
    const struct { const char* pattern; std::vector<std::string> matches; } rows[] = {
        {"*.txt", {"a.txt", "notes.txt"}},
        {"*.TXT", {"b.TXT"}},
        {"?.*", {"..", "a.txt", "b.TXT", "c.txt.bak"}},
        {"", {}},
    };
    for (const auto& row : rows) {
        std::vector<std::string> matches;
        for (KivClDirectoryWalk walk{KivClLocation(tmp.path().c_str())}; walk.isValid(); walk.setToNext()) {
            if (walk.matchesWildcardPattern(row.pattern)) matches.push_back(walk.getNameWithoutPath());
        }
        std::sort(matches.begin(), matches.end());
        EXPECT_EQ(matches, row.matches) << row.pattern;
    }
}

TEST(DirectoryWalk, NamesBeyondThePathLimitAreSkippedNotCut) {
    // A directory text near 4096 characters, holding a name that just fits
    // and one a character longer.
    TempDir tmp;
    std::string deep = tmp.path();
    while (deep.size() < 3850) {
        deep += "/" + std::string(100, 'd');
        makeDirs(deep, {""});
    }
    const int dirFd = ::open(deep.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dirFd, 0);
    const std::string fits(4096 - deep.size() - 1, 'f');
    const std::string tooLong(fits.size() + 1, 'g');
    for (const std::string& name : {fits, tooLong}) ::close(::openat(dirFd, name.c_str(), O_CREAT | O_WRONLY, 0644));

    KivClDirectoryWalk walk(KivClLocation(deep.c_str()));
    EXPECT_EQ(walkNames(walk), (std::vector<std::string>{".", "..", fits}));
    EXPECT_EQ(walk.getError().errorId, KIV_ERRID_DIRWALK_NO_CONTINUATION);
    EXPECT_EQ(walk.getError().errorClass, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS);

    // The skipped file is never removed through a cut name; the tree stays.
    ASSERT_EQ(::unlinkat(dirFd, fits.c_str(), 0), 0);
    EXPECT_FALSE(KivClDirectory(deep.c_str()).removeAll(true));
    EXPECT_EQ(::unlinkat(dirFd, tooLong.c_str(), 0), 0);
    ::close(dirFd);
}

}  // namespace
