#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <vector>

#include "kiv_file.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;

mode_t modeOf(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

KivClFilename nameAt(const std::string& path) { return KivClFilename(path.c_str()); }
KivClFile fileAt(const std::string& path) { return KivClFile(nameAt(path)); }

// Checks the outcome of an operation: success exactly when id is 0, and
// the error the object keeps.
void expectResult(bool ok, const KivClFile& file, uint32_t id, KivEnErrorClass cls) {
    EXPECT_EQ(ok, id == 0) << file.getAsCString();
    EXPECT_EQ(file.getError().errorId, id) << file.getAsCString();
    EXPECT_EQ(file.getError().errorClass, cls) << file.getAsCString();
}

}  // namespace

TEST(File, Copy) {
    kivtest::TempDir dir;
    std::string data;
    for (int i = 0; i < 200000; ++i) data += static_cast<char>(i * 7);  // NULs, several chunks
    kivtest::writeFile(dir.file("src"), data);
    kivtest::writeFile(dir.file("longer"), data + data);
    kivtest::writeFile(dir.file("empty"), "");
    ASSERT_EQ(::chmod(dir.file("src").c_str(), 0640), 0);
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0755), 0);
    const mode_t oldMask = ::umask(022);
    KivClFile src = fileAt(dir.file("src"));
    EXPECT_TRUE(src.copyTo(nameAt(dir.file("plain")), false));
    EXPECT_EQ(modeOf(dir.file("plain")), 0755u);  // 0777 less the umask
    EXPECT_TRUE(src.copyTo(nameAt(dir.file("kept")), true));
    EXPECT_EQ(modeOf(dir.file("kept")), 0640u);
    EXPECT_TRUE(src.copyTo(nameAt(dir.file("longer")), false));  // truncated
    EXPECT_TRUE(src.copyTo(KivClLocation(dir.file("sub").c_str()), false));
    for (const char* copy : {"plain", "kept", "longer", "sub/src"}) {
        EXPECT_EQ(kivtest::readFile(dir.file(copy)), data) << copy;
    }
    EXPECT_TRUE(fileAt(dir.file("empty")).copyTo(nameAt(dir.file("plain")), false));
    EXPECT_EQ(kivtest::readFile(dir.file("plain")), "");
    ::umask(oldMask);

    ASSERT_EQ(::link(dir.file("src").c_str(), dir.file("hard").c_str()), 0);
    ASSERT_EQ(::symlink(dir.file("src").c_str(), dir.file("soft").c_str()), 0);
    ASSERT_EQ(::symlink(dir.file("nowhere").c_str(), dir.file("dangling").c_str()), 0);
    ASSERT_EQ(::mkfifo(dir.file("fifo").c_str(), 0600), 0);
    const uint32_t self = KIV_ERRID_FILE_COULD_NOT_COPY_SELF, copy = KIV_ERRID_FILE_COULD_NOT_COPY;
    // Names of the source itself (other spellings, a hard link, a linked
    // source, DOS names differing in case) are never truncated; links as
    // targets are never followed; FIFOs do not hang; directories are refused.
    const struct { std::string from, to; uint32_t id; KivEnErrorClass cls; } cases[] = {
        {dir.file("src"), dir.file("src"), self, KIV_ERRCLASS_INCONSISTENT_SITUATION},
        {dir.file("src"), dir.path() + "/./src", self, KIV_ERRCLASS_INCONSISTENT_SITUATION},
        {dir.file("src"), dir.file("hard"), self, KIV_ERRCLASS_INCONSISTENT_SITUATION},
        {dir.file("soft"), dir.file("src"), self, KIV_ERRCLASS_INCONSISTENT_SITUATION},
        {"C:\\Dir\\File.TXT", "c:\\dir\\file.txt", self, KIV_ERRCLASS_INCONSISTENT_SITUATION},
        {dir.file("empty"), dir.file("soft"), copy, KIV_ERRCLASS_IO_WRITE_PROBLEM},
        {dir.file("empty"), dir.file("dangling"), copy, KIV_ERRCLASS_IO_WRITE_PROBLEM},
        {dir.file("empty"), dir.file("fifo"), copy, KIV_ERRCLASS_IO_WRITE_PROBLEM},
        {dir.file("empty"), dir.file("sub"), copy, KIV_ERRCLASS_IO_WRITE_PROBLEM},
        {dir.file("missing"), dir.file("out"), copy, KIV_ERRCLASS_IO_READ_PROBLEM},
        {dir.file("fifo"), dir.file("out"), copy, KIV_ERRCLASS_IO_READ_PROBLEM},
    };
    for (const auto& c : cases) {
        KivClFile file = fileAt(c.from);
        expectResult(file.copyTo(nameAt(c.to), true), file, c.id, c.cls);
    }
    EXPECT_EQ(kivtest::readFile(dir.file("src")), data);
    EXPECT_FALSE(kivtest::fileExists(dir.file("nowhere")) || kivtest::fileExists(dir.file("out")));
    expectResult(src.copyTo(nameAt(dir.file("out")), false), src, 0, KIV_ERRCLASS_UNKNOWN);

    // A write that fails (the file size limit): a target the copy created is
    // removed; an existing one keeps the bytes written before the failure.
    kivtest::writeFile(dir.file("old"), "old contents");
    const kivtest::ChildResult limited = kivtest::runInChild([&] {
        const struct rlimit limit = {4096, 4096};
        ::signal(SIGXFSZ, SIG_IGN);
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 10;
        KivClFile file = fileAt(dir.file("src"));
        if (file.copyTo(nameAt(dir.file("new")), false)) return 1;
        if (file.copyTo(nameAt(dir.file("old")), true)) return 2;
        return file.getError().errorClass == KIV_ERRCLASS_IO_WRITE_PROBLEM ? 0 : 3;
    });
    EXPECT_TRUE(limited.exited && limited.exitCode == 0) << limited.exitCode;
    EXPECT_FALSE(kivtest::fileExists(dir.file("new")));
    EXPECT_EQ(kivtest::readFile(dir.file("old")), data.substr(0, 4096));
}

TEST(File, AttributesRemoveAndRename) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("archive.tar.gz"), "12345");
    KivClFile file = fileAt(dir.file("archive.tar.gz"));
    const KivClFile missing = fileAt(dir.file("missing"));
    EXPECT_STREQ(file.getFileType(), "gz");
    EXPECT_EQ(file.getFileSize(), 5u);
    EXPECT_TRUE(file.isExistent() && file.isFile() && !file.isDirectory() && !file.isHidden());
    EXPECT_TRUE(fileAt(dir.file(".profile")).isHidden());
    EXPECT_STREQ(fileAt(dir.file("Makefile")).getFileType(), "");
    EXPECT_FALSE(missing.isExistent() || missing.getFileSize() != 0);
    EXPECT_STREQ(KivClFile(KivClFilename("/d/readme"), "txt").getAsCString(), "/d/readme.txt");
    EXPECT_STREQ(KivClFile(KivClFilename("/d/readme.md"), "txt").getAsCString(), "/d/readme.md");
    const struct timeval times[2] = {{1000000, 0}, {2000000, 0}};
    ASSERT_EQ(::utimes(dir.file("archive.tar.gz").c_str(), times), 0);
    EXPECT_EQ(file.getDateTimeOfLastAccess(), 1000000u);
    EXPECT_EQ(file.getDateTimeOfLastModification(), 2000000u);
    EXPECT_GT(file.getDateTimeOfCreation(), 2000000u);
    EXPECT_EQ(missing.getDateTimeOfLastModification(), 0u);
    // Sizes and times beyond 32 bits are clamped, never wrapped: a sparse
    // file of 2^32 + 5 bytes, times before 1970 and after 2106.
    const std::string big = dir.file("big");
    kivtest::writeFile(big, "");
    ASSERT_EQ(::truncate(big.c_str(), (off_t{1} << 32) + 5), 0);
    const struct timeval outside[2] = {{-5, 0}, {(time_t{1} << 32) + 5, 0}};
    ASSERT_EQ(::utimes(big.c_str(), outside), 0);
    EXPECT_EQ(fileAt(big).getFileSize(), 0xFFFFFFFFu);
    EXPECT_EQ(KivClFile::getDateTimeOfLastAccess(big.c_str()), 0u);
    EXPECT_EQ(KivClFile::getDateTimeOfLastModification(big.c_str()), 0xFFFFFFFFu);

    EXPECT_TRUE(file.setReadOnly(false));
    EXPECT_EQ(modeOf(dir.file("archive.tar.gz")), 0660u);
    EXPECT_FALSE(file.isReadOnly());
    EXPECT_TRUE(file.setReadOnly(true));
    EXPECT_EQ(modeOf(dir.file("archive.tar.gz")), 0440u);
    // Root may write anything: check isReadOnly as an ordinary user.
    ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) return 10;
        return file.isReadOnly() ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
    const uint32_t removeId = KIV_ERRID_FILE_COULD_NOT_REMOVE, renameId = KIV_ERRID_FILE_COULD_NOT_RENAME;
    expectResult(file.remove(), file, 0, KIV_ERRCLASS_UNKNOWN);  // read-only, still removed
    EXPECT_FALSE(kivtest::fileExists(dir.file("archive.tar.gz")));
    expectResult(file.remove(), file, removeId, KIV_ERRCLASS_IO_NOT_EXISTENT);
    ASSERT_EQ(::mkdir(dir.file("sub").c_str(), 0755), 0);
    kivtest::writeFile(dir.file("sub/inside"), "");
    KivClFile directory = fileAt(dir.file("sub"));
    expectResult(directory.remove(), directory, removeId, KIV_ERRCLASS_IO_PERMISSION_DENIED);
    EXPECT_EQ(modeOf(dir.file("sub")), 0755u);  // a failed remove changes nothing

    kivtest::writeFile(dir.file("a"), "A");
    kivtest::writeFile(dir.file("b"), "B");
    KivClFile a = fileAt(dir.file("a"));
    expectResult(a.renameAs(nameAt(dir.file("b"))), a, 0, KIV_ERRCLASS_UNKNOWN);  // replaces b
    EXPECT_EQ(kivtest::readFile(dir.file("b")), "A");
    // A non-empty directory cannot be replaced.
    expectResult(a.renameAs(nameAt(dir.file("sub"))), a, renameId, KIV_ERRCLASS_IO_ALREADY_IN_USE);
    EXPECT_EQ(std::string(a.getAsCString()), dir.file("b"));
    expectResult(file.renameAs(nameAt(dir.file("new"))), file, renameId, KIV_ERRCLASS_IO_PERMISSION_DENIED);
}

TEST(FilePath, RelativePaths) {
    for (const char* path : {"", "a/b", "./a", "C:dir", "\\dir\\f", "/a/./b", "/a/../b", "C:\\a\\./"}) {
        EXPECT_TRUE(KivClFileABase::isRelativePath(path)) << path;
    }
    for (const char* path : {"/", "/a/b", "C:\\a", "\\\\srv\\share\\x", "/a/b."}) {
        EXPECT_FALSE(KivClFileABase::isRelativePath(path)) << path;
    }
    EXPECT_TRUE(KivClFileABase::isRelativePath(nullptr));
}

TEST(FilePath, ExpandsRelativePaths) {
    char cwd[KivClFilenameABase::BUFFER_SIZE];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    const std::string here = std::string(cwd) == "/" ? "" : cwd;
    const std::string longHome = "/" + std::string(4090, 'h');
    const struct { const char* home; const char* in; std::string out; bool ok; } cases[] = {
        {"/h/", "/a/b/../c/./", "/a/c/", true},
        {"/h/", "/a/b/file", "/a/b/", true},
        {"/h/", "/", "/", true},
        {"/h/", "/a//b/", "/a/b/", true},
        {"/h/", "/a/x../y./z/", "/z/", true},  // "x.." goes up, "y." is dropped
        {"/h/", "/../", "", false},
        {"/home/user/", "~/x/y/", "/home/user/x/y/", true},
        {"/home/user", "~", "/home/user/", true},
        {"/h", "~x/", "/h/x/", true},  // only "~" stands for $HOME
        {"/h/", "~/../../", "", false},
        {nullptr, "~/x/", "/~/x/", true},
        {"/h/", "sub/./deep/../", here + "/sub/", true},
        {"/h/", "", here + "/", true},
        {"/h/", "../", here.substr(0, here.rfind('/')) + "/", true},
        {longHome.c_str(), "~/abcdefgh/", "~/abcdefgh/", false},  // over 4096: input kept
    };
    for (const auto& c : cases) {
        ScopedEnv home("HOME", c.home);
        char path[KivClFilenameABase::BUFFER_SIZE];
        std::snprintf(path, sizeof path, "%s", c.in);
        EXPECT_EQ(KivClFileABase::expandRelativePath(path), c.ok) << c.in;
        EXPECT_EQ(std::string(path), c.out) << c.in;
    }
    EXPECT_FALSE(KivClFileABase::expandRelativePath(nullptr));

    // With the buffer's size: a result that does not fit is refused.
    ScopedEnv home("HOME", "/home/user");
    const struct { const char* in; size_t size; bool ok; std::string out; } sized[] = {
        {"/a/../b/", 9, true, "/b/"},
        {"/abc/", 6, true, "/abc/"},
        {"/abc/d", 6, true, "/abc/"},
        {"~/", 11, false, "~/"},  // "/home/user/" needs 12
        {"~/", 12, true, "/home/user/"},
        {"x/", 3, false, "x/"},
    };
    for (const auto& c : sized) {
        std::vector<char> buffer(c.size);  // exactly c.size, so that an overrun shows
        std::snprintf(buffer.data(), buffer.size(), "%s", c.in);
        EXPECT_EQ(KivClFileABase::expandRelativePath(buffer.data(), buffer.size()), c.ok) << c.in;
        EXPECT_EQ(std::string(buffer.data()), c.out) << c.in;
    }
    char none[1] = {'\0'};
    EXPECT_FALSE(KivClFileABase::expandRelativePath(none, 0));
}

TEST(FilePath, SearchesAlongPathVariables) {
    kivtest::TempDir dir;
    ASSERT_EQ(::mkdir(dir.file("one").c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(dir.file("bin").c_str(), 0755), 0);
    kivtest::writeFile(dir.file("bin/tool"), "");
    kivtest::writeFile(dir.file("tool"), "");
    kivtest::writeFile(dir.file("bin/plain"), "");
    ASSERT_EQ(::chmod(dir.file("bin/tool").c_str(), 0755) | ::chmod(dir.file("tool").c_str(), 0755), 0);
    // Directories of the searched names come first along the path.
    ASSERT_EQ(::mkdir(dir.file("one/tool").c_str(), 0755) | ::mkdir(dir.file("one/plain").c_str(), 0755), 0);
    // Empty entries and entries too long for a name are skipped.
    const std::string search = "::/" + std::string(5000, 'x') + ":/" + std::string(4092, 'y') + ":" +
                               dir.file("one") + "::" + dir.file("bin") + ":";
    ScopedEnv var("KIV_TEST_SEARCH", search.c_str());
    ScopedEnv system("PATH", "::/usr/bin::/bin:");
    const KivClFile any(KivClFilename("x"));
    // A miss leaves the name under the last directory tried, an unset
    // variable leaves it alone.
    const struct { const char* in; const char* variable; bool found; std::string out; } cases[] = {
        {"/elsewhere/tool", "KIV_TEST_SEARCH", true, dir.file("bin/tool")},
        {"nothing", "KIV_TEST_SEARCH", false, dir.file("bin/nothing")},
        {"plain", "KIV_TEST_SEARCH", true, dir.file("bin/plain")},
        {"tool", "KIV_TEST_UNSET_VARIABLE", false, "tool"},
        {"sh", "PATH", true, ::access("/usr/bin/sh", F_OK) == 0 ? "/usr/bin/sh" : "/bin/sh"},
    };
    for (const auto& c : cases) {
        KivClFilename name(c.in);
        EXPECT_EQ(any.determineFileInEnvVarPath(name, c.variable), c.found) << c.in;
        EXPECT_EQ(std::string(name.getAsCString()), c.out);
    }

    // Executables: a name with a directory is kept when the file exists or
    // searching is off.
    ScopedEnv path("PATH", search.c_str());
    EXPECT_STREQ(KivClExeFile::getSystemPathEnvironmentVariable(), "PATH");
    EXPECT_EQ(KivClExeFile::getDefaultFileType(), nullptr);
    const auto expectExe = [](const KivClExeFile& exe, bool found, const std::string& name) {
        EXPECT_EQ(exe.isFoundInSystemPath(), found) << name;
        EXPECT_EQ(std::string(exe.getAsCString()), name);
    };
    for (const char* usePath : {static_cast<const char*>(nullptr), "Yes"}) {
        ScopedEnv use("KIV_NEWPROCESS_USEPATH", usePath);
        expectExe(KivClExeFile(KivClFilename("tool")), true, dir.file("bin/tool"));
        expectExe(KivClExeFile(KivClFilename("no-such-tool")), false, "no-such-tool");
        expectExe(KivClExeFile(KivClFilename("plain")), false, "plain");  // not executable
        expectExe(KivClExeFile(KivClFilename("")), false, "");
        expectExe(KivClExeFile(nameAt(dir.file("bin/tool"))), false, dir.file("bin/tool"));
        expectExe(KivClExeFile(KivClFilename("/no/dir/tool")), usePath != nullptr,
                  usePath != nullptr ? dir.file("bin/tool") : "/no/dir/tool");
    }
    expectExe(KivClExeFile(KivClFilename("tool"), nullptr, false, nullptr), true, dir.file("bin/tool"));
    expectExe(KivClExeFile(KivClFilename("tool"), nullptr, false, "KIV_TEST_UNSET_VARIABLE"), false, "tool");
    expectExe(KivClExeFile(KivClFilename("/no/tool"), nullptr, true, nullptr), false, "/no/tool");
    // The working directory wins when asked to try it first; an empty entry
    // of the search path does not stand for it.
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        char here[KivClFilenameABase::BUFFER_SIZE];
        if (::chdir(dir.path().c_str()) != 0 || ::getcwd(here, sizeof here) == nullptr) return 10;
        const KivClExeFile local(KivClFilename("tool"), nullptr, true, "PATH");
        const bool inHere = std::string(local.getAsCString()) == std::string(here) + "/tool";
        const KivClExeFile searched(KivClFilename("tool"));
        const bool inBin = std::string(searched.getAsCString()) == dir.file("bin/tool");
        // A directory of the name in the working directory does not win.
        const KivClExeFile directory(KivClFilename("one"), nullptr, true, "PATH");
        return local.isFoundInSystemPath() && inHere && inBin && !directory.isFoundInSystemPath() ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
}
