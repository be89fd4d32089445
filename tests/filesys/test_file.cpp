#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kiv_directory.hpp"
#include "kiv_dll.hpp"
#include "kiv_file.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;
using S = std::string;
using kivtest::fileExists;

const struct timeval kTimes[2] = {{1000000, 0}, {2000000, 0}};

mode_t modeOf(const S& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
}

KivClFilename nameAt(const S& path) { return KivClFilename(path.c_str()); }
KivClFile fileAt(const S& path) { return KivClFile(nameAt(path)); }

// Checks the outcome of an operation: success exactly when id is 0, and the error the object keeps.
void expectResult(bool ok, const KivClFile& file, uint32_t id, KivEnErrorClass cls) {
    EXPECT_EQ(std::make_tuple(ok, file.getError().errorId, file.getError().errorClass), std::make_tuple(id == 0, id, cls))
        << file.getAsCString();
}

// Checks directory, prefix, random part and extension (the process id's last digits, units first).
void expectTmpName(const KivClFilenameABase& name, const S& dir, const S& prefix) {
    const S text = name.getAsCString(), pid = "00" + std::to_string(::getpid()), extension(pid.rbegin(), pid.rbegin() + 3);
    ASSERT_EQ(text.size(), dir.size() + 1 + 8 + 1 + 3) << text;
    EXPECT_EQ(text.substr(0, dir.size() + 1 + prefix.size()), dir + "/" + prefix);
    EXPECT_EQ(text.substr(dir.size() + 1 + prefix.size(), 8 - prefix.size())
                  .find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_"), S::npos) << text;
    EXPECT_EQ(S(name.getFilePart()) + " " + name.getExtension(),
              text.substr(dir.size() + 1, 8) + "." + extension + " ." + extension);
}

const S kDir = KIV_TEST_DLL_DIR;
const S kLibrary = kDir + "/libkivtestdll.so";

typedef int (*TwiceFunction)(int);

// The library is mapped in this process right now.
bool isMapped(const S& path) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
}

using Names = std::vector<S>;

// Makes the directories (names ending in "/") and empty files named, in order, under root.
void makeTree(const S& root, std::initializer_list<const char*> names) {
    for (const S name : names) {
        if (name.back() != '/') kivtest::writeFile(root + name, "x");
        else ASSERT_EQ(::mkdir((root + name).c_str(), 0777), 0) << root + name;
    }
}

// The error a directory or a walk keeps, and an expected one, as comparable values.
using Error = std::pair<uint32_t, KivEnErrorClass>;
template <typename T>
Error errorOf(const T& object) { return {object.getError().errorId, object.getError().errorClass}; }
Error error(uint32_t id, KivEnErrorClass cls) { return {id, cls}; }

struct ScopedCwd {
    char buffer[4097];
    bool saved = ::getcwd(buffer, sizeof buffer) != nullptr;
    ~ScopedCwd() { EXPECT_TRUE(!saved || ::chdir(buffer) == 0); }
};

// Names of the remaining entries of a walk (those matching pattern, if one is given), sorted.
Names walkNames(KivClDirectoryWalk& walk, const char* pattern = nullptr) {
    Names names;
    for (; walk.isValid(); walk.setToNext()) {
        if (pattern == nullptr || walk.matchesWildcardPattern(pattern)) names.push_back(walk.getNameWithoutPath());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

TEST(File, Copy) {
    kivtest::TempDir dir;
    const auto at = [&dir](const char* name) { return dir.file(name); };
    S data;
    for (int i = 0; i < 200000; ++i) data += static_cast<char>(i * 7);  // NULs, several chunks
    for (const auto& [name, content] : {std::pair<const char*, S>{"src", data}, {"longer", data + data}, {"empty", ""}}) {
        kivtest::writeFile(at(name), content);
    }
    ASSERT_EQ(::chmod(at("src").c_str(), 0640) | ::mkdir(at("sub").c_str(), 0755), 0);
    const mode_t oldMask = ::umask(022);
    KivClFile src = fileAt(at("src"));
    // A new target gets 0777 less the umask, or the source's mode; a longer one is truncated.
    EXPECT_TRUE(src.copyTo(nameAt(at("plain")), false) && src.copyTo(nameAt(at("kept")), true) &&
                src.copyTo(nameAt(at("longer")), false) && src.copyTo(KivClLocation(at("sub").c_str()), false));
    EXPECT_EQ(std::make_pair(modeOf(at("plain")), modeOf(at("kept"))), std::make_pair(0755u, 0640u));
    for (const char* copy : {"plain", "kept", "longer", "sub/src"}) EXPECT_EQ(kivtest::readFile(at(copy)), data) << copy;
    EXPECT_TRUE(fileAt(at("empty")).copyTo(nameAt(at("plain")), false) && kivtest::readFile(at("plain")).empty());
    ::umask(oldMask);
    ASSERT_EQ(::link(at("src").c_str(), at("hard").c_str()) | ::symlink(at("src").c_str(), at("soft").c_str()), 0);
    ASSERT_EQ(::symlink(at("nowhere").c_str(), at("dangling").c_str()) | ::mkfifo(at("fifo").c_str(), 0600), 0);
    const uint32_t self = KIV_ERRID_FILE_COULD_NOT_COPY_SELF, copy = KIV_ERRID_FILE_COULD_NOT_COPY;
    const KivEnErrorClass SAME = KIV_ERRCLASS_INCONSISTENT_SITUATION, WRITE = KIV_ERRCLASS_IO_WRITE_PROBLEM,
                          READ = KIV_ERRCLASS_IO_READ_PROBLEM;
    // The source under another name is never emptied; target links are never followed; FIFOs never hang.
    const struct { S from, to; uint32_t id; KivEnErrorClass cls; } cases[] = {
        {at("src"), at("src"), self, SAME},       {at("src"), dir.path() + "/./src", self, SAME},
        {at("src"), at("hard"), self, SAME},      {at("soft"), at("src"), self, SAME},
        {"C:\\Dir\\File.TXT", "c:\\dir\\file.txt", self, SAME},
        {at("empty"), at("soft"), copy, WRITE},   {at("empty"), at("dangling"), copy, WRITE},
        {at("empty"), at("fifo"), copy, WRITE},   {at("empty"), at("sub"), copy, WRITE},
        {at("missing"), at("out"), copy, READ},   {at("fifo"), at("out"), copy, READ},
    };
    for (const auto& c : cases) {
        KivClFile file = fileAt(c.from);
        expectResult(file.copyTo(nameAt(c.to), true), file, c.id, c.cls);
    }
    EXPECT_EQ(kivtest::readFile(at("src")), data);
    EXPECT_FALSE(kivtest::fileExists(at("nowhere")) || kivtest::fileExists(at("out")));
    expectResult(src.copyTo(nameAt(at("out")), false), src, 0, KIV_ERRCLASS_UNKNOWN);

    // A failing write (the file size limit): a created target goes, an existing one keeps what was written.
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
    EXPECT_TRUE(limited.exited && limited.exitCode == 0 && !kivtest::fileExists(dir.file("new"))) << limited.exitCode;
    EXPECT_EQ(kivtest::readFile(dir.file("old")), data.substr(0, 4096));
}

TEST(File, AttributesRemoveAndRename) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("archive.tar.gz"), "12345");
    KivClFile file = fileAt(dir.file("archive.tar.gz"));
    const KivClFile missing = fileAt(dir.file("missing"));
    EXPECT_EQ(S(file.getFileType()) + "|" + fileAt(dir.file("Makefile")).getFileType(), "gz|");
    EXPECT_TRUE(file.isExistent() && file.isFile() && !file.isDirectory() && !file.isHidden());
    EXPECT_TRUE(fileAt(dir.file(".profile")).isHidden() && KivClLocation(dir.path().c_str()).isExistent());
    EXPECT_FALSE(KivClLocation(dir.file("missing").c_str()).isExistent() || KivClLocation().isExistent() ||
                 KivClFilename("").isExistent());
    EXPECT_EQ(S(KivClFile(KivClFilename("/d/f"), "txt")) + " " + KivClFile(KivClFilename("/d/a.md"), "txt").getAsCString(),
              "/d/f.txt /d/a.md");
    ASSERT_EQ(::utimes(dir.file("archive.tar.gz").c_str(), kTimes), 0);
    EXPECT_EQ(std::make_tuple(file.getFileSize(), file.getDateTimeOfLastAccess(), file.getDateTimeOfLastModification()),
              std::make_tuple(5u, 1000000u, 2000000u));
    EXPECT_GT(file.getDateTimeOfCreation(), 2000000u);
    EXPECT_FALSE(missing.isExistent() || missing.getFileSize() != 0 || missing.getDateTimeOfLastModification() != 0);
    // Sizes and times beyond 32 bits are clamped, never wrapped (a sparse 4 GiB file, 1969 and 2106).
    const S big = dir.file("big");
    const struct timeval outside[2] = {{-5, 0}, {(time_t{1} << 32) + 5, 0}};
    kivtest::writeFile(big, "");
    ASSERT_EQ(::truncate(big.c_str(), (off_t{1} << 32) + 5) | ::utimes(big.c_str(), outside), 0);
    EXPECT_EQ(std::make_tuple(fileAt(big).getFileSize(), KivClFile::getDateTimeOfLastAccess(big.c_str()),
                              KivClFile::getDateTimeOfLastModification(big.c_str())),
              std::make_tuple(0xFFFFFFFFu, 0u, 0xFFFFFFFFu));
    EXPECT_TRUE(file.setReadOnly(false) && modeOf(dir.file("archive.tar.gz")) == 0660 && !file.isReadOnly());
    EXPECT_TRUE(file.setReadOnly(true) && modeOf(dir.file("archive.tar.gz")) == 0440);
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
    // Renaming replaces a file, but not a non-empty directory.
    for (const char* name : {"a", "b"}) kivtest::writeFile(dir.file(name), name);
    KivClFile a = fileAt(dir.file("a"));
    expectResult(a.renameAs(nameAt(dir.file("b"))), a, 0, KIV_ERRCLASS_UNKNOWN);
    EXPECT_EQ(kivtest::readFile(dir.file("b")), "a");
    expectResult(a.renameAs(nameAt(dir.file("sub"))), a, renameId, KIV_ERRCLASS_IO_ALREADY_IN_USE);
    EXPECT_EQ(S(a.getAsCString()), dir.file("b"));
    expectResult(file.renameAs(nameAt(dir.file("new"))), file, renameId, KIV_ERRCLASS_IO_PERMISSION_DENIED);
}

TEST(FilePath, RelativePathsAndTheirExpansion) {
    for (const char* path : {"", "a/b", "C:dir", "\\dir\\f", "/a/./b", "C:\\a\\./", static_cast<const char*>(nullptr)}) {
        EXPECT_TRUE(KivClFileABase::isRelativePath(path)) << path;
    }
    for (const char* path : {"/", "C:\\a", "\\\\srv\\share\\x", "/a/b."}) {
        EXPECT_FALSE(KivClFileABase::isRelativePath(path)) << path;
    }
    char cwd[KivClFilenameABase::BUFFER_SIZE];
    ASSERT_NE(::getcwd(cwd, sizeof cwd), nullptr);
    const S here = S(cwd) == "/" ? "" : cwd, longHome = "/" + S(4090, 'h');
    // $HOME, path, expanded, success, buffer size (none: the form without one). "x.." goes up, "y." is
    // dropped, over 4096 the input is kept; a result that does not fit the size given is refused.
    const struct { const char* home; const char* in; S out; bool ok; size_t size = 0; } cases[] = {
        {"/h/", "/a/b/../c/./", "/a/c/", true},  {"/h/", "/a/b/file", "/a/b/", true},
        {"/h/", "/", "/", true},                 {"/h/", "/a//b/", "/a/b/", true},
        {"/h/", "/a/x../y./z/", "/z/", true},    {"/h/", "/../", "", false},
        {"/home/user/", "~/x/y/", "/home/user/x/y/", true}, {"/home/user", "~", "/home/user/", true},
        {"/h", "~x/", "/h/x/", true},            {"/h/", "~/../../", "", false},
        {nullptr, "~/x/", "/~/x/", true},        {"/h/", "sub/./deep/../", here + "/sub/", true},
        {"/h/", "", here + "/", true},           {"/h/", "../", here.substr(0, here.rfind('/')) + "/", true},
        {longHome.c_str(), "~/abcdefgh/", "~/abcdefgh/", false},
        {"/h/", "/a/../b/", "/b/", true, 9},     {"/h/", "/abc/", "/abc/", true, 6},
        {"/h/", "/abc/d", "/abc/", true, 6},     {"/home/user", "~/", "~/", false, 11},
        {"/home/user", "~/", "/home/user/", true, 12}, {"/h/", "x/", "x/", false, 3},
    };
    for (const auto& c : cases) {
        ScopedEnv home("HOME", c.home);
        std::vector<char> buffer(c.size ? c.size : KivClFilenameABase::BUFFER_SIZE);  // so that an overrun shows
        std::snprintf(buffer.data(), buffer.size(), "%s", c.in);
        const bool ok = c.size ? KivClFileABase::expandRelativePath(buffer.data(), c.size)
                               : KivClFileABase::expandRelativePath(buffer.data());
        EXPECT_EQ(std::make_pair(ok, S(buffer.data())), std::make_pair(c.ok, c.out)) << c.in;
    }
    char none[1] = {'\0'};
    EXPECT_FALSE(KivClFileABase::expandRelativePath(none, 0) || KivClFileABase::expandRelativePath(nullptr));
}

TEST(FilePath, SearchesAlongPathVariables) {
    kivtest::TempDir dir;
    // Directories of the names come first; empty entries and entries too long for a name are skipped.
    makeTree(dir.path(), {"/one/", "/bin/", "/bin/tool", "/tool", "/bin/plain", "/one/tool/", "/one/plain/"});
    ASSERT_EQ(::chmod(dir.file("bin/tool").c_str(), 0755) | ::chmod(dir.file("tool").c_str(), 0755), 0);
    const S search = "::/" + S(5000, 'x') + ":/" + S(4092, 'y') + ":" + dir.file("one") + "::" + dir.file("bin") + ":";
    ScopedEnv var("KIV_TEST_SEARCH", search.c_str());
    // Any file is found; a miss leaves the name under the last directory tried.
    KivClFilename plain("plain"), nothing("nothing");
    const KivClFile any(KivClFilename("x"));
    EXPECT_TRUE(any.determineFileInEnvVarPath(plain, "KIV_TEST_SEARCH") &&
                !any.determineFileInEnvVarPath(nothing, "KIV_TEST_SEARCH"));
    EXPECT_EQ(S(plain) + " " + nothing.getAsCString(), dir.file("bin/plain") + " " + dir.file("bin/nothing"));

    // Executables along PATH (not a plain file); a name with a path is kept when it exists or searching is off.
    ScopedEnv path("PATH", search.c_str());
    EXPECT_TRUE(S(KivClExeFile::getSystemPathEnvironmentVariable()) == "PATH" && !KivClExeFile::getDefaultFileType());
    const struct { const char* usePath; S in; bool found; S out; } exes[] = {
        {nullptr, "tool", true, dir.file("bin/tool")},     {nullptr, "no-such-tool", false, "no-such-tool"},
        {nullptr, "plain", false, "plain"},                {nullptr, "", false, ""},
        {"Yes", dir.file("bin/tool"), false, dir.file("bin/tool")},
        {nullptr, "/no/dir/tool", false, "/no/dir/tool"}, {"Yes", "/no/dir/tool", true, dir.file("bin/tool")},
    };
    for (const auto& row : exes) {
        ScopedEnv use("KIV_NEWPROCESS_USEPATH", row.usePath);
        const KivClExeFile exe{KivClFilename(row.in.c_str())};
        EXPECT_EQ(std::make_pair(exe.isFoundInSystemPath(), S(exe.getAsCString())), std::make_pair(row.found, row.out));
    }
    // Given a variable, or none (PATH), and whether to try the working directory first.
    const KivClExeFile given[] = {KivClExeFile(KivClFilename("tool"), nullptr, false, nullptr),
                                  KivClExeFile(KivClFilename("tool"), nullptr, false, "KIV_TEST_UNSET_VARIABLE"),
                                  KivClExeFile(KivClFilename("/no/tool"), nullptr, true, nullptr)};
    EXPECT_EQ(S(given[0]) + " " + given[1].getAsCString() + " " + given[2].getAsCString(),
              dir.file("bin/tool") + " tool /no/tool");
    EXPECT_TRUE(given[0].isFoundInSystemPath() && !given[1].isFoundInSystemPath() && !given[2].isFoundInSystemPath());
    // The working directory wins when asked first (not with a directory of the name), never as an empty entry.
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        char here[KivClFilenameABase::BUFFER_SIZE];
        if (::chdir(dir.path().c_str()) != 0 || ::getcwd(here, sizeof here) == nullptr) return 10;
        const KivClExeFile local(KivClFilename("tool"), nullptr, true, "PATH"), searched{KivClFilename("tool")};
        const KivClExeFile directory(KivClFilename("one"), nullptr, true, "PATH");
        return local.isFoundInSystemPath() && S(local.getAsCString()) == S(here) + "/tool" &&
                       S(searched.getAsCString()) == dir.file("bin/tool") && !directory.isFoundInSystemPath() ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
}

TEST(TmpAndBakFilename, NamesFromEveryConstructorNeverAnExistingFileAndBackups) {
    {
        ScopedEnv unset("TMP", nullptr);
        EXPECT_STREQ(kivGetTmpDirectory(), "/tmp");
        expectTmpName(KivClTmpFilename(), "/tmp", "tmp");
        ScopedEnv empty("TMP", "");  // set, even though empty: no directory
        EXPECT_TRUE(S(kivGetTmpDirectory()).empty() && std::strlen(KivClTmpFilename("abc").getFilePart()) == 12);
    }
    kivtest::TempDir dir;
    ScopedEnv tmp("TMP", dir.path().c_str());
    const S& d = dir.path();
    EXPECT_EQ(S(kivGetTmpDirectory()), d);
    // Copies of the names, their directory and prefix; a missing directory holds no files, so any name is free.
    const KivClLocation location(d.c_str());
    const std::tuple<KivClFilename, S, S> names[] = {
        {KivClTmpFilename(), d, "tmp"},                {KivClTmpFilename("trace"), d, "trace"},
        {KivClTmpFilename("longprefix"), d, "longp"},  {KivClTmpFilename(""), d, ""},
        {KivClTmpFilename(static_cast<const char*>(nullptr)), d, "tmp"}, {KivClTmpFilename("a/b\\c"), d, "a_b_c"},
        {KivClTmpFilename((d + "/").c_str(), "xy"), d, "xy"}, {KivClTmpFilename(location), d, "tmp"},
        {KivClTmpFilename(location, "loc"), d, "loc"},
        {KivClTmpFilename(KivClFilename((d + "/data.txt").c_str()), "sib"), d, "sib"},
        {KivClTmpFilename(dir.file("later").c_str(), "x"), dir.file("later"), "x"},
    };
    for (const auto& [name, directory, prefix] : names) expectTmpName(name, directory, prefix);

    // No name can be shown free (no room within 4096 characters, a directory that is a file or holds a
    // backslash, so that the name would land in its parent): the empty name, never a cut one.
    makeTree(dir.path(), {"/plain", "/a\\b/", "/sub/"});
    EXPECT_EQ(S(KivClTmpFilename(("/" + S(4090, 'd')).c_str(), "x").getAsCString()) +
                  KivClTmpFilename(dir.file("plain").c_str(), "x").getAsCString() +
                  KivClTmpFilename(dir.file("a\\b").c_str(), "x").getAsCString() +
                  KivClTmpFilename(KivClLocation(dir.file("a\\b").c_str())).getAsCString(), "");

    // 1500 draws of three random characters all but surely hit taken names: never an existing file or link.
    std::set<S> seen;
    for (int i = 0; i < 1500; ++i) {
        const S text = KivClTmpFilename(dir.file("sub").c_str(), "clash").getAsCString();
        ASSERT_TRUE(!kivtest::fileExists(text) && seen.insert(text).second) << text;
        // Occupy the name: alternately a file and a dangling symbolic link.
        if (i % 2 == 0) kivtest::writeFile(text, "");
        else ASSERT_EQ(::symlink("/nonexistent/target", text.c_str()), 0);
    }

    // Backup names append ".bak" without a new analysis; at the limit they are cut, never overflowed.
    const S full(4094, 'n');
    const std::tuple<KivClBakFilename, S, S, S> rows[] = {
        {KivClBakFilename(KivClFilename("/dir/f.txt")), "/dir/f.txt.bak", "f.txt.bak", ".txt.bak"},
        {KivClBakFilename(KivClFilename("Makefile")), "Makefile.bak", "Makefile.bak", ".bak"},
        {KivClBakFilename(KivClFilename()), ".bak", ".bak", ".bak"},
        {KivClBakFilename(KivClFilename(full.c_str())), full + ".b", full + ".b", ".b"},
    };
    for (const auto& [bak, text, filePart, extension] : rows) {
        EXPECT_EQ(std::make_tuple(S(bak), size_t{bak.getLength()}, S(bak.getFilePart()), S(bak.getExtension())),
                  std::make_tuple(text, text.size(), filePart, extension));
    }
}

TEST(DllFile, NamesAlongTheLibraryPathUnloadingAndProcedures) {
    kivtest::TempDir tmp;
    for (const char* n : {"libnoext", "libkivtestdll.so"}) kivtest::writeFile(tmp.file(n), kivtest::readFile(kLibrary));
    // Empty entries are skipped; the first directory holding the file wins.
    ScopedEnv libraryPath("LD_LIBRARY_PATH", ("::" + kDir + "::" + tmp.path()).c_str());
    // An added ".so" is dropped again; dlopen searches itself; "" is refused (dlopen gives the main program).
    const struct { S given; bool loaded; S resolved; } rows[] = {
        {"libkivtestdll", true, kLibrary},         {"libkivtestdll.so", true, kLibrary},
        {kLibrary, true, kLibrary},                {kDir + "/libkivtestdll", true, kLibrary},
        {"libnoext", true, tmp.file("libnoext")},  {kDir + "/missing.so", false, kDir + "/missing.so"},
        {"nosuchlib", false, "nosuchlib"},         {"libm.so.6", true, "libm.so.6"},  {"", false, ""},
    };
    for (const auto& row : rows) {
        KivClDllFile dll{KivClFilename(row.given.c_str())};
        EXPECT_EQ(std::make_pair(dll.isLoaded(), S(dll.getAsCString())), std::make_pair(row.loaded, row.resolved))
            << row.given;
    }
    EXPECT_EQ(S(KivClDllFile::getSystemPathEnvironmentVariable()) + KivClDllFile::getDefaultFileType(),
              "LD_LIBRARY_PATH.so");
    ASSERT_FALSE(isMapped(kLibrary));
    {
        KivClDllFile dll{KivClFilename(kLibrary.c_str())};
        dll.load();  // a second load keeps one reference only
        EXPECT_TRUE(isMapped(kLibrary));
    }
    EXPECT_FALSE(isMapped(kLibrary));

    // Procedures resolve by name, through the object or the plain functions.
    KivClDllProcLoaderFile loader{KivClFilename(kLibrary.c_str())};
    ASSERT_NE(loader.getProcedure("kivTestDllTwice"), nullptr);
    EXPECT_EQ(reinterpret_cast<TwiceFunction>(loader.getProcedure("kivTestDllTwice"))(21), 42);
    EXPECT_STREQ(static_cast<const char*>(loader.getProcedure("kivTestDllName")), "kiv test library");
    EXPECT_TRUE(loader.getProcedure("kivTestDllMissing") == nullptr && loader.getProcedure(nullptr) == nullptr);
    void* handle = kivDllProcLoaderOpen("libkivtestdll");
    ASSERT_NE(kivDllProcLoaderGetProcedure(handle, "kivTestDllTwice"), nullptr);
    EXPECT_EQ(reinterpret_cast<TwiceFunction>(kivDllProcLoaderGetProcedure(handle, "kivTestDllTwice"))(-4), -8);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(handle, "unknown"), nullptr);
    kivDllProcLoaderClose(handle);
    kivDllProcLoaderClose(nullptr);
    EXPECT_TRUE(kivDllProcLoaderOpen("libkivtestdll_missing") == nullptr && kivDllProcLoaderOpen("") == nullptr);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(nullptr, "kivTestDllTwice"), nullptr);
}

TEST(Directory, CreateRemoveChangeAndTheirFailures) {
    kivtest::TempDir tmp;
    KivClDirectory dir(tmp.file("x/y/z").c_str());
    EXPECT_STREQ(dir, (tmp.file("x/y/z") + "/").c_str());
    ASSERT_TRUE(dir.create() && dir.isExistent() && dir.create());  // the second: nothing to do
    kivtest::writeFile(tmp.file("plain"), "");
    KivClDirectory blocked(tmp.file("plain/sub").c_str());
    EXPECT_TRUE(!blocked.create() && errorOf(blocked) == error(KIV_ERRID_DIRECTORY_COULD_NOT_CREATE,
                                                               KIV_ERRCLASS_IO_NOT_EXISTENT));
    EXPECT_FALSE(KivClDirectory("/../nowhere/").create());  // expanded to nothing
    EXPECT_TRUE(KivClDirectory(tmp.file("m").c_str()).create(0777, 027) && modeOf(tmp.file("m")) == 0750);
    KivClDirectory missing(tmp.file("missing").c_str()), full(tmp.path().c_str());
    EXPECT_TRUE(!missing.remove() && errorOf(missing).second == KIV_ERRCLASS_IO_INVALID_NAME);
    EXPECT_TRUE(!missing.setAsCurrent() && errorOf(missing) == error(KIV_ERRID_DIRECTORY_COULD_NOT_CHANGE,
                                                                     KIV_ERRCLASS_IO_NOT_EXISTENT));
    EXPECT_TRUE(!full.removeAll(false) && errorOf(full) == error(KIV_ERRID_DIRECTORY_COULD_NOT_REMOVE,
                                                                 KIV_ERRCLASS_IO_STILL_IN_USE));
    // Times of the directory itself (a name without the final "/"), 0 for a missing one.
    ASSERT_EQ(::utimes(tmp.file("m").c_str(), kTimes), 0);
    const KivClDirectory m(tmp.file("m").c_str());
    EXPECT_EQ(std::make_tuple(m.getDateTimeOfLastAccess(), m.getDateTimeOfLastModification(), m.isDirectory(), m.isFile()),
              std::make_tuple(1000000u, 2000000u, true, false));
    EXPECT_TRUE(m.getDateTimeOfCreation() > 2000000u && missing.getDateTimeOfCreation() == 0 &&
                missing.getDateTimeOfLastAccess() == 0 && missing.getDateTimeOfLastModification() == 0);
    // Without a working directory the directory is empty and failed.
    const kivtest::ChildResult child = kivtest::runInChild([&] {
        if (::chdir(tmp.file("m").c_str()) != 0 || ::rmdir(tmp.file("m").c_str()) != 0) return 10;
        const KivClDirectory here;
        return S(here.getAsCString()).empty() && errorOf(here) == error(KIV_ERRID_DIRECTORY_EXPANSION_FAILED,
                                                                         KIV_ERRCLASS_IO_NOT_EXISTENT) ? 0 : 1;
    });
    EXPECT_TRUE(child.exited && child.exitCode == 0) << child.exitCode;
}

TEST(Directory, RemoveAllExpansionAndComponents) {
    kivtest::TempDir tmp;
    const S outside = tmp.file("outside"), root = tmp.file("tree");
    makeTree(tmp.path(), {"/outside/", "/outside/precious", "/tree/", "/tree/a/", "/tree/a/b/", "/tree/a/b/c/",
                          "/tree/top.txt", "/tree/.hidden", "/tree/a/b/.profile", "/tree/a/b/c/deep"});
    ASSERT_EQ(::chmod((root + "/a/b/c/deep").c_str(), 0444) | ::symlink(outside.c_str(), (root + "/a/dirlink").c_str()) |
                  ::symlink((outside + "/precious").c_str(), (root + "/filelink").c_str()) |
                  ::symlink(tmp.file("missing").c_str(), (root + "/dangling").c_str()), 0);
    KivClDirectory tree(root.c_str());
    EXPECT_TRUE(tree.removeAll(true) && tree.getError().errorId == 0);
    EXPECT_TRUE(!fileExists(root) && kivtest::readFile(outside + "/precious") == "x");

    // Directories whose name has a dot after its first character are left, so the tree stays.
    for (const S kept : {"/.cache/", "/a.b/", "/..x/"}) {
        makeTree(root, {"/", kept.c_str(), (kept + "inside").c_str(), "/gone"});
        KivClDirectory dotted(root.c_str());
        EXPECT_TRUE(!dotted.removeAll(true) && errorOf(dotted).second == KIV_ERRCLASS_IO_STILL_IN_USE) << kept;
        EXPECT_TRUE(fileExists(root + kept + "inside") && !fileExists(root + "/gone")) << kept;
        ASSERT_EQ(::unlink((root + kept + "inside").c_str()) | ::rmdir((root + kept).c_str()) | ::rmdir(root.c_str()), 0);
    }
    // A file the caller may not remove stops the removal (root acts as an ordinary user for it).
    makeTree(root, {"/", "/locked"});
    ASSERT_EQ(::chmod(root.c_str(), 0555) | ::chmod(tmp.path().c_str(), 0755), 0);
    const kivtest::ChildResult locked = kivtest::runInChild([&] {
        if (::geteuid() == 0 && ::seteuid(65534) != 0) return 10;
        const bool removed = KivClDirectory(root.c_str()).removeAll(true);
        if (::getuid() == 0 && ::seteuid(0) != 0) return 11;
        return removed ? 1 : 0;
    });
    EXPECT_TRUE(locked.exited && locked.exitCode == 0 && fileExists(root + "/locked")) << locked.exitCode;
    ASSERT_EQ(::chmod(root.c_str(), 0755), 0);

    // Constructors expand relative paths.
    makeTree(tmp.path(), {"/w/"});
    ScopedCwd restore;
    ASSERT_TRUE(KivClDirectory(tmp.file("w").c_str()).setAsCurrent());
    const S here = KivClDirectory().getAsCString();
    const S parent = here.substr(0, here.rfind('/', here.size() - 2) + 1);
    const struct { S input, expected; uint32_t errorId; } rows[] = {
        {"../x", parent + "x/", 0},    {"sub/./deeper/..", here + "sub/", 0}, {"\\a\\.\\b", "/a/b/", 0},
        {"/a/b/../../c", "/c/", 0},    {"/a/../../x/", "", KIV_ERRID_DIRECTORY_EXPANSION_FAILED},
    };
    for (const auto& row : rows) {
        // Copies and locations alike; a failed directory stays failed, never the working directory.
        const KivClDirectory dir(row.input.c_str()), copy(dir), located{KivClLocation(row.input.c_str())};
        const auto expected = std::make_tuple(row.expected, row.errorId,
                                              row.errorId ? KIV_ERRCLASS_IO_INVALID_NAME : KIV_ERRCLASS_UNKNOWN);
        for (const KivClDirectory* each : {&dir, &copy, &located}) {
            EXPECT_EQ(std::make_tuple(S(each->getAsCString()), errorOf(*each).first, errorOf(*each).second),
                      expected) << row.input;
        }
        EXPECT_FALSE(KivClDirectory::removeTree(dir)) << row.input;  // none exists; "" is not "./"
    }

    // attach null: none; detach: the detachSubDirs count.
    const struct { const char *start, *attach; unsigned detach; bool detached; const char* expected; unsigned parts; }
        components[] = {
        {"/a/b/c/", nullptr, 1, true, "/a/b/", 2},     {"/a/", nullptr, 1, true, "/", 0},
        {"/", nullptr, 1, false, "/", 0},              {"/a/b/", nullptr, 3, false, "/", 0},
        {"/a/", "b/c/", 0, true, "/a/b/c/", 3},        {"/a/b/", "../x/", 0, true, "/a/x/", 2},
        {"/a/b/", "c/", 2, true, "/a/", 1},
    };
    for (const auto& row : components) {
        KivClDirectory dir(row.start);
        if (row.attach != nullptr) dir.attachSubDir(KivClLocation(row.attach));
        EXPECT_EQ(dir.detachSubDirs(row.detach), row.detached) << row.start;
        EXPECT_EQ(std::make_tuple(S(dir.getAsCString()), dir.getNumOfSubDirs(), errorOf(dir)),
                  std::make_tuple(S(row.expected), row.parts,
                                  row.detached ? error(0, KIV_ERRCLASS_UNKNOWN)
                                               : error(KIV_ERRID_DIRECTORY_COULD_NOT_DETACH, KIV_ERRCLASS_LOGIC)))
            << row.start;
    }
}

TEST(DirectoryWalk, EntriesTheirClassesWildcardFilterAndNamesBeyondThePathLimit) {
    kivtest::TempDir tmp;
    makeTree(tmp.path(), {"/empty/"});
    KivClDirectoryWalk empty(KivClLocation(tmp.file("empty").c_str()));
    EXPECT_EQ(walkNames(empty), (Names{".", ".."}));
    EXPECT_TRUE(!empty.setToNext() && S(empty.getNameWithoutPath()).empty() && empty.getError().errorId == 0);
    KivClDirectoryWalk missing(KivClLocation(tmp.file("missing").c_str()));
    EXPECT_TRUE(!missing.isValid() && !missing.isSubDirectory() &&
                errorOf(missing) == error(KIV_ERRID_DIRWALK_COULD_NOT_INIT, KIV_ERRCLASS_IO_PROBLEM));
    {
        ScopedCwd restore;
        ASSERT_EQ(::chdir(tmp.path().c_str()), 0);
        KivClDirectoryWalk here{KivClLocation()};  // an empty location walks "./"
        EXPECT_EQ(S(here.getNameWithPath()).substr(0, 2), "./");
        EXPECT_EQ(walkNames(here), (Names{".", "..", "empty"}));
    }
    const S root = tmp.file("d");
    makeTree(root, {"/", "/sub/", "/.git/", "/a.b/", "/file.txt", "/.hidden", "/ro", "/b.TXT"});
    ASSERT_EQ(::chmod((root + "/ro").c_str(), 0444) | ::symlink((root + "/sub").c_str(), (root + "/link").c_str()), 0);
    // directory, current, parent, subdirectory, hidden, read-only, link
    const std::map<S, S> expected = {
        {".", "DC-----"},   {"..", "D-P----"},     {"sub", "D--S---"},     {".git", "D------"}, {"a.b", "D------"},
        {"file.txt", "-------"}, {".hidden", "----H--"}, {"ro", "-----R-"}, {"link", "D--S--L"}, {"b.TXT", "-------"},
    };
    std::map<S, S> seen;
    for (KivClDirectoryWalk walk{KivClDirectory(root.c_str())}; walk.isValid(); walk.setToNext()) {
        const bool flags[] = {walk.isDirectory(), walk.isCurrentDirectory(), walk.isParentDirectory(),
                              walk.isSubDirectory(), walk.isHidden(), walk.isReadOnly(), walk.isSymbolicLink()};
        S text = "DCPSHRL";
        for (size_t i = 0; i < text.size(); ++i) text[i] = flags[i] ? text[i] : '-';
        seen[walk.getNameWithoutPath()] = text;
        EXPECT_EQ(S(walk.getNameWithPath()), root + "/" + walk.getNameWithoutPath());
    }
    EXPECT_EQ(seen, expected);
    // The wildcard filter is case-sensitive.
    KivClDirectoryWalk walk{KivClLocation(root.c_str())};
    EXPECT_EQ(walkNames(walk, "*.TXT"), Names{"b.TXT"});

    // In a directory text near 4096 characters, a name that would not fit is skipped, never cut.
    S deep = tmp.path();
    for (const S part = "/" + S(100, 'd'); deep.size() < 3850; deep += part) makeTree(deep, {(part + "/").c_str()});
    const int dirFd = ::open(deep.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(dirFd, 0);
    const S fits(4096 - deep.size() - 1, 'f'), tooLong(fits.size() + 1, 'g');
    for (const S& name : {fits, tooLong}) ::close(::openat(dirFd, name.c_str(), O_CREAT | O_WRONLY, 0644));
    KivClDirectoryWalk deepWalk{KivClLocation(deep.c_str())};
    EXPECT_EQ(walkNames(deepWalk), (Names{".", "..", fits}));
    EXPECT_EQ(errorOf(deepWalk), error(KIV_ERRID_DIRWALK_NO_CONTINUATION, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS));
    // The skipped file is never removed through a cut name; the tree stays.
    ASSERT_EQ(::unlinkat(dirFd, fits.c_str(), 0), 0);
    EXPECT_FALSE(KivClDirectory(deep.c_str()).removeAll(true));
    EXPECT_EQ(::unlinkat(dirFd, tooLong.c_str(), 0), 0);
    ::close(dirFd);
}
