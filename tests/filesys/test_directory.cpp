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

using kivtest::TempDir;

void makeDir(const std::string& path) { ASSERT_EQ(::mkdir(path.c_str(), 0777), 0) << path; }

bool isDir(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool exists(const std::string& path) {
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0;
}

// Restores the working directory when a test changed it.
class ScopedCwd {
public:
    ScopedCwd() { saved_ = ::getcwd(buffer_, sizeof buffer_) != nullptr; }
    ~ScopedCwd() {
        if (saved_) {
            EXPECT_EQ(::chdir(buffer_), 0);
        }
    }

private:
    char buffer_[4097];
    bool saved_;
};

// Names of all entries of a walk, in walk order.
std::vector<std::string> walkNames(KivClDirectoryWalk& walk) {
    std::vector<std::string> names;
    for (; walk.isValid(); walk.setToNext()) names.push_back(walk.getNameWithoutPath());
    return names;
}

TEST(Directory, CreateMakesEveryMissingParent) {
    TempDir tmp;
    KivClDirectory dir(tmp.file("x/y/z").c_str());
    EXPECT_STREQ(dir, (tmp.file("x/y/z") + "/").c_str());
    EXPECT_FALSE(dir.isExistent());
    ASSERT_TRUE(dir.create());
    EXPECT_TRUE(isDir(tmp.file("x/y/z")));
    EXPECT_TRUE(dir.isExistent());
    EXPECT_EQ(dir.getError().errorId, 0u);
    // An existing directory is created again without complaint.
    kivtest::writeFile(tmp.file("x/y/z/keep"), "k");
    EXPECT_TRUE(dir.create());
    EXPECT_TRUE(kivtest::fileExists(tmp.file("x/y/z/keep")));
}

TEST(Directory, CreateFailsBelowAFileAndAppliesTheMask) {
    TempDir tmp;
    kivtest::writeFile(tmp.file("plain"), "");
    KivClDirectory blocked(tmp.file("plain/sub").c_str());
    EXPECT_FALSE(blocked.create());
    EXPECT_EQ(blocked.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_CREATE);
    EXPECT_EQ(blocked.getError().errorClass, KIV_ERRCLASS_IO_NOT_EXISTENT);

    KivClDirectory masked(tmp.file("m").c_str());
    ASSERT_TRUE(masked.create(0777, 027));
    struct stat info;
    ASSERT_EQ(::stat(tmp.file("m").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0750u);

    // A location that expanded to nothing cannot be created.
    KivClDirectory above("/../nowhere/");
    EXPECT_FALSE(above.create());
}

TEST(Directory, RemoveAllDeletesFilesHiddenFilesAndNestedDirectories) {
    TempDir tmp;
    const std::string root = tmp.file("tree");
    makeDir(root);
    makeDir(root + "/a");
    makeDir(root + "/a/b");
    makeDir(root + "/a/b/c");
    kivtest::writeFile(root + "/top.txt", "1");
    kivtest::writeFile(root + "/.hidden", "2");
    kivtest::writeFile(root + "/a/b/.profile", "3");
    kivtest::writeFile(root + "/a/b/c/deep", "4");
    ASSERT_EQ(::chmod((root + "/a/b/c/deep").c_str(), 0444), 0);

    KivClDirectory tree(root.c_str());
    EXPECT_TRUE(tree.removeAll(true));
    EXPECT_EQ(tree.getError().errorId, 0u);
    EXPECT_FALSE(exists(root));
}

TEST(Directory, RemoveTreeDeletesLinksButNeverWhatTheyPointTo) {
    TempDir tmp;
    const std::string outside = tmp.file("outside");
    makeDir(outside);
    makeDir(outside + "/inner");
    kivtest::writeFile(outside + "/precious", "keep me");
    kivtest::writeFile(outside + "/inner/also", "keep me too");
    const std::string root = tmp.file("tree");
    makeDir(root);
    makeDir(root + "/sub");
    ASSERT_EQ(::symlink(outside.c_str(), (root + "/sub/dirlink").c_str()), 0);
    ASSERT_EQ(::symlink((outside + "/precious").c_str(), (root + "/filelink").c_str()), 0);
    ASSERT_EQ(::symlink((tmp.file("missing")).c_str(), (root + "/dangling").c_str()), 0);

    KivClDirectory tree(root.c_str());
    EXPECT_TRUE(tree.removeAll(true));
    EXPECT_FALSE(exists(root));
    EXPECT_EQ(kivtest::readFile(outside + "/precious"), "keep me");
    EXPECT_EQ(kivtest::readFile(outside + "/inner/also"), "keep me too");
}

TEST(Directory, DotDirectoriesAreLeftSoTheTreeStays) {
    struct Row {
        const char* keptName;
    };
    const Row rows[] = {{".cache"}, {"a.b"}, {"..x"}};
    for (const Row& row : rows) {
        TempDir tmp;
        const std::string root = tmp.file("tree");
        makeDir(root);
        makeDir(root + "/" + row.keptName);
        kivtest::writeFile(root + "/" + row.keptName + "/inside", "x");
        kivtest::writeFile(root + "/gone", "x");
        KivClDirectory tree(root.c_str());
        EXPECT_FALSE(tree.removeAll(true)) << row.keptName;
        EXPECT_EQ(tree.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE);
        EXPECT_EQ(tree.getError().errorClass, KIV_ERRCLASS_IO_STILL_IN_USE);
        EXPECT_TRUE(kivtest::fileExists(root + "/" + row.keptName + "/inside")) << row.keptName;
        EXPECT_FALSE(exists(root + "/gone"));
    }
}

TEST(Directory, RemoveAndRemoveTreeFailures) {
    TempDir tmp;
    KivClDirectory missing(tmp.file("missing").c_str());
    EXPECT_FALSE(missing.remove());
    EXPECT_EQ(missing.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE);
    EXPECT_EQ(missing.getError().errorClass, KIV_ERRCLASS_IO_INVALID_NAME);
    EXPECT_FALSE(KivClDirectory::removeTree(missing));

    makeDir(tmp.file("full"));
    kivtest::writeFile(tmp.file("full/f"), "");
    KivClDirectory full(tmp.file("full").c_str());
    EXPECT_FALSE(full.removeAll(false));
    EXPECT_EQ(full.getError().errorClass, KIV_ERRCLASS_IO_STILL_IN_USE);
    EXPECT_TRUE(kivtest::fileExists(tmp.file("full/f")));

    if (::geteuid() != 0) {
        // A file in a directory without write permission cannot be deleted.
        makeDir(tmp.file("locked"));
        makeDir(tmp.file("locked/sub"));
        kivtest::writeFile(tmp.file("locked/sub/f"), "");
        ASSERT_EQ(::chmod(tmp.file("locked/sub").c_str(), 0555), 0);
        KivClDirectory locked(tmp.file("locked").c_str());
        EXPECT_FALSE(KivClDirectory::removeTree(locked));
        EXPECT_TRUE(kivtest::fileExists(tmp.file("locked/sub/f")));
        ASSERT_EQ(::chmod(tmp.file("locked/sub").c_str(), 0755), 0);
    }
}

TEST(Directory, ConstructorsExpandAndNormalise) {
    TempDir tmp;
    makeDir(tmp.file("w"));
    ScopedCwd restore;
    ASSERT_EQ(::chdir(tmp.file("w").c_str()), 0);
    char cwd[4097];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    const std::string here = std::string(cwd) + "/";
    const std::string parent = here.substr(0, here.rfind('/', here.size() - 2) + 1);

    struct Row {
        std::string input, expected;
        uint32_t errorId;
    };
    const std::vector<Row> rows = {
        {"../x", parent + "x/", 0},
        {"sub/./deeper/..", here + "sub/", 0},
        {".", here, 0},
        {"/a/./b/", "/a/b/", 0},
        {"/a/b/../../c", "/c/", 0},
        {"/plain/path", "/plain/path/", 0},
        {"/../x", "", KIV_ERRID_DIRECTORY_EXPANSION_FAILED},
        {"/a/../../x/", "", KIV_ERRID_DIRECTORY_EXPANSION_FAILED},
    };
    // A failed directory copies as failed, never as the working directory.
    for (const Row& row : rows) {
        KivClDirectory dir(row.input.c_str());
        EXPECT_STREQ(dir.getAsCString(), row.expected.c_str()) << row.input;
        EXPECT_EQ(dir.getError().errorId, row.errorId) << row.input;
        if (row.errorId != 0) {
            EXPECT_EQ(dir.getError().errorClass, KIV_ERRCLASS_IO_INVALID_NAME);
        }
        // Copies and locations take the same way.
        const KivClDirectory copy(dir);
        EXPECT_STREQ(copy.getAsCString(), row.expected.c_str());
        EXPECT_EQ(copy.getError().errorId, row.errorId);
        EXPECT_STREQ(KivClDirectory(KivClLocation(row.input.c_str())).getAsCString(), row.expected.c_str());
        if (row.errorId != 0) {
            EXPECT_FALSE(KivClDirectory::removeTree(dir)) << "an empty text must not walk the working directory";
        }
    }
    EXPECT_STREQ(KivClDirectory().getAsCString(), here.c_str());
}

TEST(Directory, ComponentsAttachDetachAndCount) {
    struct Row {
        const char* start;
        const char* attach;    // null: none
        unsigned int detach;   // detachSubDirs count
        bool detachResult;
        const char* expected;
        unsigned int components;
    };
    const Row rows[] = {
        {"/a/b/c/", nullptr, 1, true, "/a/b/", 2},
        {"/a/", nullptr, 1, true, "/", 0},
        {"/", nullptr, 1, false, "/", 0},
        {"/a/b/", nullptr, 3, false, "/", 0},
        {"/a/b/c/", nullptr, 0, true, "/a/b/c/", 3},
        {"/a/", "b/c/", 0, true, "/a/b/c/", 3},
        {"/a/b/", "../x/", 0, true, "/a/x/", 2},
        {"/a/b/", "c/", 2, true, "/a/", 1},
    };
    for (const Row& row : rows) {
        KivClDirectory dir(row.start);
        if (row.attach != nullptr) dir.attachSubDir(KivClLocation(row.attach));
        EXPECT_EQ(dir.detachSubDirs(row.detach), row.detachResult) << row.start;
        EXPECT_STREQ(dir.getAsCString(), row.expected) << row.start;
        EXPECT_EQ(dir.getNumOfSubDirs(), row.components) << row.start;
        if (!row.detachResult) {
            EXPECT_EQ(dir.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_DETACH);
            EXPECT_EQ(dir.getError().errorClass, KIV_ERRCLASS_LOGIC);
        } else {
            EXPECT_EQ(dir.getError().errorId, 0u);
        }
    }
}

TEST(Directory, SetAsCurrentAndTimes) {
    TempDir tmp;
    ScopedCwd restore;
    KivClDirectory missing(tmp.file("missing").c_str());
    EXPECT_FALSE(missing.setAsCurrent());
    EXPECT_EQ(missing.getError().errorId, KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE);
    EXPECT_EQ(missing.getError().errorClass, KIV_ERRCLASS_IO_NOT_EXISTENT);
    EXPECT_EQ(missing.getDateTimeOfLastModification(), 0u);

    KivClDirectory dir(tmp.path().c_str());
    EXPECT_TRUE(dir.setAsCurrent());
    EXPECT_STREQ(KivClDirectory().getAsCString(), dir.getAsCString());
    EXPECT_TRUE(dir.isDirectory());
    EXPECT_FALSE(dir.isFile());
    struct stat info;
    ASSERT_EQ(::stat(tmp.path().c_str(), &info), 0);
    EXPECT_EQ(dir.getDateTimeOfLastModification(), static_cast<uint32_t>(info.st_mtime));
    EXPECT_EQ(dir.getDateTimeOfCreation(), static_cast<uint32_t>(info.st_ctime));
    EXPECT_NE(KivClDirectory("/").getDateTimeOfLastAccess(), 0u);
}

TEST(DirectoryWalk, AnEmptyDirectoryYieldsDotAndDotDot) {
    TempDir tmp;
    makeDir(tmp.file("empty"));
    KivClDirectoryWalk walk(KivClLocation(tmp.file("empty").c_str()));
    std::vector<std::string> names = walkNames(walk);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{".", ".."}));
    EXPECT_FALSE(walk.isValid());
    EXPECT_FALSE(walk.setToNext());
    EXPECT_STREQ(walk.getNameWithoutPath(), "");
    EXPECT_EQ(walk.getError().errorId, 0u);
}

TEST(DirectoryWalk, EntriesAreClassifiedFromModeAndName) {
    TempDir tmp;
    const std::string root = tmp.file("d");
    makeDir(root);
    makeDir(root + "/sub");
    makeDir(root + "/.git");
    makeDir(root + "/a.b");
    kivtest::writeFile(root + "/file.txt", "");
    kivtest::writeFile(root + "/.hidden", "");
    kivtest::writeFile(root + "/ro", "");
    ASSERT_EQ(::chmod((root + "/ro").c_str(), 0444), 0);
    ASSERT_EQ(::symlink((root + "/sub").c_str(), (root + "/link").c_str()), 0);

    // directory, current, parent, subdirectory, hidden, read-only, link
    const std::map<std::string, std::string> expected = {
        {".", "DC-----"},  {"..", "D-P----"}, {"sub", "D--S---"}, {".git", "D------"},
        {"a.b", "D------"}, {"file.txt", "-------"}, {".hidden", "----H--"}, {"ro", "-----R-"},
        {"link", "D--S--L"},
    };
    std::map<std::string, std::string> seen;
    KivClDirectoryWalk walk(KivClDirectory(root.c_str()));
    for (; walk.isValid(); walk.setToNext()) {
        std::string flags = "-------";
        if (walk.isDirectory()) flags[0] = 'D';
        if (walk.isCurrentDirectory()) flags[1] = 'C';
        if (walk.isParentDirectory()) flags[2] = 'P';
        if (walk.isSubDirectory()) flags[3] = 'S';
        if (walk.isHidden()) flags[4] = 'H';
        if (walk.isReadOnly()) flags[5] = 'R';
        if (walk.isSymbolicLink()) flags[6] = 'L';
        seen[walk.getNameWithoutPath()] = flags;
        EXPECT_EQ(std::string(walk.getNameWithPath()), root + "/" + walk.getNameWithoutPath());
    }
    EXPECT_EQ(seen, expected);
}

TEST(DirectoryWalk, WildcardFilterIsCaseSensitive) {
    TempDir tmp;
    for (const char* name : {"a.txt", "b.TXT", "c.txt.bak", "notes.txt", "x.log"}) {
        kivtest::writeFile(tmp.file(name), "");
    }
    struct Row {
        const char* pattern;
        std::vector<std::string> matches;
    };
    const std::vector<Row> rows = {
        {"*.txt", {"a.txt", "notes.txt"}},
        {"*.TXT", {"b.TXT"}},
        {"?.*", {"..", "a.txt", "b.TXT", "c.txt.bak", "x.log"}},
        {"*", {".", "..", "a.txt", "b.TXT", "c.txt.bak", "notes.txt", "x.log"}},
        {"", {}},
    };
    for (const Row& row : rows) {
        std::vector<std::string> matches;
        KivClDirectoryWalk walk(KivClLocation(tmp.path().c_str()));
        for (; walk.isValid(); walk.setToNext()) {
            if (walk.matchesWildcardPattern(row.pattern)) matches.push_back(walk.getNameWithoutPath());
        }
        std::sort(matches.begin(), matches.end());
        EXPECT_EQ(matches, row.matches) << row.pattern;
    }
}

TEST(DirectoryWalk, AMissingDirectoryCannotBeWalked) {
    TempDir tmp;
    KivClDirectoryWalk walk(KivClLocation(tmp.file("missing").c_str()));
    EXPECT_FALSE(walk.isValid());
    EXPECT_FALSE(walk.setToNext());
    EXPECT_FALSE(walk.isDirectory());
    EXPECT_FALSE(walk.isSubDirectory());
    EXPECT_FALSE(walk.matchesWildcardPattern("*"));
    EXPECT_EQ(walk.getError().errorId, KIV_ERRID_DIRWALK_COULD_NOT_INIT);
    EXPECT_EQ(walk.getError().errorClass, KIV_ERRCLASS_IO_PROBLEM);
}

TEST(DirectoryWalk, AnEmptyLocationWalksTheWorkingDirectory) {
    TempDir tmp;
    ScopedCwd restore;
    kivtest::writeFile(tmp.file("only"), "");
    ASSERT_EQ(::chdir(tmp.path().c_str()), 0);
    KivClDirectoryWalk walk{KivClLocation()};
    ASSERT_TRUE(walk.isValid());
    EXPECT_EQ(std::string(walk.getNameWithPath()).substr(0, 2), "./");
    std::vector<std::string> names = walkNames(walk);
    EXPECT_NE(std::find(names.begin(), names.end(), "only"), names.end());
}

TEST(DirectoryWalk, NamesBeyondThePathLimitAreSkippedNotCut) {
    // A directory whose text is close to 4096 characters, holding one entry
    // whose full path fits and one whose full path would not.
    TempDir tmp;
    std::string deep = tmp.path();
    const std::string component(100, 'd');
    while (deep.size() < 3850) {
        deep += "/" + component;
        makeDir(deep);
    }
    const int dirFd = ::open(deep.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dirFd, 0);
    const std::string fits(4096 - deep.size() - 1, 'f');
    const std::string tooLong(fits.size() + 1, 'g');
    for (const std::string& name : {fits, tooLong}) {
        const int fd = ::openat(dirFd, name.c_str(), O_CREAT | O_WRONLY, 0644);
        ASSERT_GE(fd, 0);
        ::close(fd);
    }

    KivClDirectoryWalk walk(KivClLocation(deep.c_str()));
    std::vector<std::string> names = walkNames(walk);
    EXPECT_EQ(std::count(names.begin(), names.end(), fits), 1);
    EXPECT_EQ(std::count(names.begin(), names.end(), tooLong), 0);
    EXPECT_EQ(names.size(), 3u);
    EXPECT_EQ(walk.getError().errorId, KIV_ERRID_DIRWALK_NO_CONTINUATION);
    EXPECT_EQ(walk.getError().errorClass, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS);

    // The skipped file is never removed through a cut name; the tree stays.
    ASSERT_EQ(::unlinkat(dirFd, fits.c_str(), 0), 0);
    KivClDirectory top(deep.c_str());
    EXPECT_FALSE(top.removeAll(true));
    EXPECT_EQ(::faccessat(dirFd, tooLong.c_str(), F_OK, 0), 0);
    ASSERT_EQ(::unlinkat(dirFd, tooLong.c_str(), 0), 0);
    ::close(dirFd);
}

}  // namespace
