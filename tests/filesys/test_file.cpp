#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "kiv_file.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;

// Changes the working directory for one scope.
class ScopedCwd {
public:
    explicit ScopedCwd(const std::string& dir) : old_(::getcwd(nullptr, 0)) { EXPECT_EQ(::chdir(dir.c_str()), 0); }
    ~ScopedCwd() {
        EXPECT_EQ(::chdir(old_), 0);
        std::free(old_);
    }

private:
    char* old_;
};

mode_t modeOf(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

KivClFile fileAt(const std::string& path) { return KivClFile(KivClFilename(path.c_str())); }

void expectError(const KivClFile& file, uint32_t id, KivEnErrorClass cls) {
    EXPECT_EQ(file.getError().errorId, id);
    EXPECT_EQ(file.getError().errorClass, cls);
}

}  // namespace

TEST(File, CopiesContentsAndPermissions) {
    kivtest::TempDir dir;
    std::string data;
    for (int i = 0; i < 200000; ++i) data += static_cast<char>(i * 7);  // NULs, several chunks
    kivtest::writeFile(dir.file("src"), data);
    ASSERT_EQ(::chmod(dir.file("src").c_str(), 0640), 0);
    const mode_t oldMask = ::umask(022);

    KivClFile src = fileAt(dir.file("src"));
    EXPECT_TRUE(src.copyTo(KivClFilename(dir.file("plain").c_str()), false));
    expectError(src, 0, KIV_ERRCLASS_UNKNOWN);
    EXPECT_EQ(kivtest::readFile(dir.file("plain")), data);
    EXPECT_EQ(modeOf(dir.file("plain")), 0755u);  // 0777 less the umask

    EXPECT_TRUE(src.copyTo(KivClFilename(dir.file("kept").c_str()), true));
    EXPECT_EQ(modeOf(dir.file("kept")), 0640u);

    // An existing, longer target is truncated to the source's contents.
    kivtest::writeFile(dir.file("longer"), data + data);
    EXPECT_TRUE(src.copyTo(KivClFilename(dir.file("longer").c_str()), false));
    EXPECT_EQ(kivtest::readFile(dir.file("longer")), data);

    // Empty source: empty target, success.
    kivtest::writeFile(dir.file("empty"), "");
    KivClFile empty = fileAt(dir.file("empty"));
    EXPECT_TRUE(empty.copyTo(KivClFilename(dir.file("plain").c_str()), false));
    EXPECT_EQ(kivtest::readFile(dir.file("plain")), "");

    // Into a directory: same file part there.
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0755), 0);
    EXPECT_TRUE(src.copyTo(KivClLocation(dir.file("sub").c_str()), false));
    EXPECT_EQ(kivtest::readFile(dir.file("sub/src")), data);
    ::umask(oldMask);
}

TEST(File, CopyOntoItselfNeverTruncates) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("f"), "precious");
    ASSERT_EQ(::link(dir.file("f").c_str(), dir.file("hard").c_str()), 0);
    ASSERT_EQ(::symlink(dir.file("f").c_str(), dir.file("soft").c_str()), 0);
    KivClFile file = fileAt(dir.file("f"));

    for (const std::string& alias : {dir.file("f"), dir.path() + "/./f", dir.path() + "//f", dir.file("hard")}) {
        EXPECT_FALSE(file.copyTo(KivClFilename(alias.c_str()), true)) << alias;
        expectError(file, KIV_ERRID_FILE_COULD_NOT_COPY_SELF, KIV_ERRCLASS_INCONSISTENT_SITUATION);
        EXPECT_EQ(kivtest::readFile(dir.file("f")), "precious") << alias;
    }
    // Through a symbolic link as source: still the same file.
    KivClFile viaLink = fileAt(dir.file("soft"));
    EXPECT_FALSE(viaLink.copyTo(KivClFilename(dir.file("f").c_str()), false));
    expectError(viaLink, KIV_ERRID_FILE_COULD_NOT_COPY_SELF, KIV_ERRCLASS_INCONSISTENT_SITUATION);
    EXPECT_EQ(kivtest::readFile(dir.file("f")), "precious");
    // A symbolic link as target is never followed.
    EXPECT_FALSE(file.copyTo(KivClFilename(dir.file("soft").c_str()), false));
    expectError(file, KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_WRITE_PROBLEM);
    EXPECT_EQ(kivtest::readFile(dir.file("f")), "precious");

    // DOS-style names compare without case: refused before touching the disk.
    KivClFile dos(KivClFilename("C:\\Dir\\File.TXT"));
    EXPECT_FALSE(dos.copyTo(KivClFilename("c:\\dir\\file.txt"), false));
    expectError(dos, KIV_ERRID_FILE_COULD_NOT_COPY_SELF, KIV_ERRCLASS_INCONSISTENT_SITUATION);
}

TEST(File, CopyRefusesBadSourcesAndTargets) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("victim"), "keep me");
    kivtest::writeFile(dir.file("src"), "data");
    ASSERT_EQ(::symlink(dir.file("victim").c_str(), dir.file("planted").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0755), 0);
    KivClFile src = fileAt(dir.file("src"));

    // Targets that are links, FIFOs (no hang) or directories are refused.
    for (const char* bad : {"planted", "fifo", "sub", "missing/dir/x"}) {
        EXPECT_FALSE(src.copyTo(KivClFilename(dir.file(bad).c_str()), false)) << bad;
        expectError(src, KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_WRITE_PROBLEM);
    }
    EXPECT_EQ(kivtest::readFile(dir.file("victim")), "keep me");

    // Missing or non-regular sources: read problem, no target created.
    for (const char* bad : {"missing", "fifo", "sub"}) {
        KivClFile file = fileAt(dir.file(bad));
        EXPECT_FALSE(file.copyTo(KivClFilename(dir.file("out").c_str()), false)) << bad;
        expectError(file, KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_READ_PROBLEM);
        EXPECT_FALSE(kivtest::fileExists(dir.file("out")));
    }
    // The next success clears the error.
    EXPECT_TRUE(src.copyTo(KivClFilename(dir.file("out").c_str()), false));
    expectError(src, 0, KIV_ERRCLASS_UNKNOWN);
}

TEST(File, RemoveAndRename) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("ro"), "x");
    ASSERT_EQ(::chmod(dir.file("ro").c_str(), 0440), 0);
    KivClFile readOnly = fileAt(dir.file("ro"));
    EXPECT_TRUE(readOnly.remove());
    expectError(readOnly, 0, KIV_ERRCLASS_UNKNOWN);
    EXPECT_FALSE(kivtest::fileExists(dir.file("ro")));
    EXPECT_FALSE(readOnly.remove());
    expectError(readOnly, KIV_ERRID_FILE_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_NOT_EXISTENT);

    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0755), 0);
    KivClFile directory = fileAt(dir.file("sub"));
    EXPECT_FALSE(directory.remove());
    expectError(directory, KIV_ERRID_FILE_COULD_NOT_REMOVE, KIV_ERRCLASS_IO_PERMISSION_DENIED);

    // Renaming replaces an existing file and takes over the new name.
    kivtest::writeFile(dir.file("a"), "A");
    kivtest::writeFile(dir.file("b"), "B");
    KivClFile a = fileAt(dir.file("a"));
    EXPECT_TRUE(a.renameAs(KivClFilename(dir.file("b").c_str())));
    EXPECT_EQ(std::string(a.getAsCString()), dir.file("b"));
    EXPECT_EQ(kivtest::readFile(dir.file("b")), "A");
    // A non-empty directory cannot be replaced: already in use.
    kivtest::writeFile(dir.file("sub/inside"), "");
    EXPECT_FALSE(a.renameAs(KivClFilename(dir.file("sub").c_str())));
    expectError(a, KIV_ERRID_FILE_COULD_NOT_RENAME, KIV_ERRCLASS_IO_ALREADY_IN_USE);
    EXPECT_EQ(std::string(a.getAsCString()), dir.file("b"));
    KivClFile missing = fileAt(dir.file("gone"));
    EXPECT_FALSE(missing.renameAs(KivClFilename(dir.file("new").c_str())));
    expectError(missing, KIV_ERRID_FILE_COULD_NOT_RENAME, KIV_ERRCLASS_IO_PERMISSION_DENIED);
}

TEST(File, Attributes) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("archive.tar.gz"), "12345");
    KivClFile file = fileAt(dir.file("archive.tar.gz"));
    EXPECT_STREQ(file.getFileType(), "gz");
    EXPECT_EQ(file.getFileSize(), 5u);
    EXPECT_TRUE(file.isExistent());
    EXPECT_TRUE(file.isFile());
    EXPECT_FALSE(file.isDirectory());
    EXPECT_FALSE(file.isHidden());
    EXPECT_TRUE(fileAt(dir.file(".profile")).isHidden());
    EXPECT_STREQ(fileAt(dir.file("Makefile")).getFileType(), "");
    EXPECT_EQ(fileAt(dir.file("missing")).getFileSize(), 0u);
    EXPECT_FALSE(fileAt(dir.file("missing")).isExistent());

    // Default extension only for names without one.
    EXPECT_STREQ(KivClFile(KivClFilename("/d/readme"), "txt").getAsCString(), "/d/readme.txt");
    EXPECT_STREQ(KivClFile(KivClFilename("/d/readme.md"), "txt").getAsCString(), "/d/readme.md");

    const struct timeval times[2] = {{1000000, 0}, {2000000, 0}};
    ASSERT_EQ(::utimes(dir.file("archive.tar.gz").c_str(), times), 0);
    EXPECT_EQ(file.getDateTimeOfLastAccess(), 1000000u);
    EXPECT_EQ(file.getDateTimeOfLastModification(), 2000000u);
    EXPECT_GT(file.getDateTimeOfCreation(), 2000000u);
    EXPECT_EQ(KivClFileABase::getDateTimeOfLastModification(dir.file("missing").c_str()), 0u);
    EXPECT_EQ(KivClFileABase::getDateTimeOfCreation(nullptr), 0u);

    EXPECT_TRUE(file.setReadOnly(true));
    EXPECT_EQ(modeOf(dir.file("archive.tar.gz")), 0440u);
    // access() ignores modes for root: check read-only as an ordinary user.
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    kivtest::writeFile(dir.file("open"), "");
    ASSERT_EQ(::chmod(dir.file("open").c_str(), 0666), 0);
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) return 10;
        if (fileAt(dir.file("open")).isReadOnly()) return 2;
        return file.isReadOnly() ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
    EXPECT_TRUE(file.setReadOnly(false));
    EXPECT_EQ(modeOf(dir.file("archive.tar.gz")), 0660u);
    EXPECT_FALSE(file.isReadOnly());
}

TEST(FilePath, RelativePaths) {
    for (const char* relative : {"", "a/b", "./a", "C:dir", "\\dir\\f", "/a/./b", "/a/../b", "C:\\a\\..\\b\\./"}) {
        EXPECT_TRUE(KivClFileABase::isRelativePath(relative)) << relative;
    }
    for (const char* absolute : {"/", "/a/b", "C:\\a", "\\\\srv\\share\\x", "/a/b."}) {
        EXPECT_FALSE(KivClFileABase::isRelativePath(absolute)) << absolute;
    }
    EXPECT_TRUE(KivClFileABase::isRelativePath(nullptr));
}

TEST(FilePath, ExpandsRelativePaths) {
    kivtest::TempDir dir;
    ScopedCwd cwd(dir.path());
    char* real = ::realpath(dir.path().c_str(), nullptr);
    const std::string here = real;
    std::free(real);
    ScopedEnv home("HOME", "/home/user/");
    const struct { const char* in; std::string out; bool ok; } cases[] = {
        {"/a/b/../c/./", "/a/c/", true},
        {"/a/b/file", "/a/b/", true},
        {"/", "/", true},
        {"/a//b/", "/a/b/", true},
        {"/a/x../", "/", true},  // a component ending in ".." goes up
        {"/../", "", false},
        {"~/x/y/", "/home/user/x/y/", true},
        {"~/../../../", "", false},
        {"sub/./deep/../", here + "/sub/", true},
        {"", here + "/", true},
        {"../", here.substr(0, here.rfind('/')) + "/", true},
    };
    for (const auto& c : cases) {
        char path[KivClFilenameABase::BUFFER_SIZE];
        std::snprintf(path, sizeof path, "%s", c.in);
        EXPECT_EQ(KivClFileABase::expandRelativePath(path), c.ok) << c.in;
        EXPECT_EQ(std::string(path), c.out) << c.in;
    }
    {
        ScopedEnv noHome("HOME", nullptr);
        char path[KivClFilenameABase::BUFFER_SIZE] = "~/x/";
        EXPECT_TRUE(KivClFileABase::expandRelativePath(path));
        EXPECT_STREQ(path, "/~/x/");
    }
    // A result over 4096 characters is refused and the input kept.
    const std::string longHome = "/" + std::string(4090, 'h');
    ScopedEnv bigHome("HOME", longHome.c_str());
    char path[KivClFilenameABase::BUFFER_SIZE] = "~/abcdefgh/";
    EXPECT_FALSE(KivClFileABase::expandRelativePath(path));
    EXPECT_STREQ(path, "~/abcdefgh/");
    EXPECT_FALSE(KivClFileABase::expandRelativePath(nullptr));
}

TEST(FilePath, SearchesAlongPathVariables) {
    kivtest::TempDir dir;
    ASSERT_EQ(::mkdir(dir.file("one").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(dir.file("two").c_str(), 0755), 0);
    kivtest::writeFile(dir.file("two/prog"), "#!/bin/sh\n");
    // Empty entries and entries too long for a name are skipped.
    const std::string tooLong = "/" + std::string(5000, 'x');
    const std::string nearLimit = "/" + std::string(4092, 'y');
    const std::string search =
        "::" + tooLong + ":" + nearLimit + ":" + dir.file("one") + "::" + dir.file("two") + ":";
    ScopedEnv var("KIV_TEST_SEARCH", search.c_str());
    const KivClFile any(KivClFilename("x"));

    KivClFilename name("/elsewhere/prog");
    EXPECT_TRUE(any.determineFileInEnvVarPath(name, "KIV_TEST_SEARCH"));
    EXPECT_EQ(std::string(name.getAsCString()), dir.file("two/prog"));
    KivClFilename absent("nothing");
    EXPECT_FALSE(any.determineFileInEnvVarPath(absent, "KIV_TEST_SEARCH"));
    EXPECT_EQ(std::string(absent.getAsCString()), dir.file("two/nothing"));
    KivClFilename unset("prog");
    EXPECT_FALSE(any.determineFileInEnvVarPath(unset, "KIV_TEST_UNSET_VARIABLE"));
    EXPECT_STREQ(unset.getAsCString(), "prog");
}

TEST(ExeFile, CompletesNamesFromThePath) {
    kivtest::TempDir dir;
    ASSERT_EQ(::mkdir(dir.file("bin").c_str(), 0755), 0);
    kivtest::writeFile(dir.file("bin/tool"), "");
    ScopedEnv path("PATH", (":" + dir.file("nothing") + "::" + dir.file("bin")).c_str());
    ScopedEnv usePath("KIV_NEWPROCESS_USEPATH", nullptr);
    EXPECT_STREQ(KivClExeFile::getSystemPathEnvironmentVariable(), "PATH");
    EXPECT_EQ(KivClExeFile::getDefaultFileType(), nullptr);

    KivClExeFile found(KivClFilename("tool"));
    EXPECT_TRUE(found.isFoundInSystemPath());
    EXPECT_EQ(std::string(found.getAsCString()), dir.file("bin/tool"));
    KivClExeFile notFound(KivClFilename("no-such-tool"));
    EXPECT_FALSE(notFound.isFoundInSystemPath());
    EXPECT_STREQ(notFound.getAsCString(), "no-such-tool");

    // With a directory: kept when the file exists, or when not searching.
    KivClExeFile direct(KivClFilename(dir.file("bin/tool").c_str()));
    EXPECT_FALSE(direct.isFoundInSystemPath());
    EXPECT_EQ(std::string(direct.getAsCString()), dir.file("bin/tool"));
    KivClExeFile wrongDir(KivClFilename("/no/such/dir/tool"));
    EXPECT_STREQ(wrongDir.getAsCString(), "/no/such/dir/tool");
    {
        ScopedEnv on("KIV_NEWPROCESS_USEPATH", "Yes");
        KivClExeFile searched(KivClFilename("/no/such/dir/tool"));
        EXPECT_TRUE(searched.isFoundInSystemPath());
        EXPECT_EQ(std::string(searched.getAsCString()), dir.file("bin/tool"));
    }

    // The working directory wins when asked to try it first.
    kivtest::writeFile(dir.file("tool"), "");
    ScopedCwd cwd(dir.path());
    char here[KivClFilenameABase::BUFFER_SIZE];
    ASSERT_NE(::getcwd(here, sizeof here), nullptr);
    KivClExeFile local(KivClFilename("tool"), nullptr, true, nullptr);
    EXPECT_TRUE(local.isFoundInSystemPath());
    EXPECT_EQ(std::string(local.getAsCString()), std::string(here) + "/tool");
    KivClExeFile viaPath(KivClFilename("tool"), nullptr, false, "PATH");
    EXPECT_EQ(std::string(viaPath.getAsCString()), dir.file("bin/tool"));
    KivClExeFile missing(KivClFilename("tool"), nullptr, false, "KIV_TEST_UNSET_VARIABLE");
    EXPECT_FALSE(missing.isFoundInSystemPath());
    EXPECT_STREQ(missing.getAsCString(), "tool");
}
