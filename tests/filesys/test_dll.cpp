#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

#include "kiv_dll.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;
using kivtest::TempDir;

const std::string kDir = KIV_TEST_DLL_DIR;
const std::string kLibrary = kDir + "/libkivtestdll.so";

typedef int (*TwiceFunction)(int);

// The library is mapped in this process right now.
bool isMapped(const std::string& path) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr) return false;
    ::dlclose(handle);
    return true;
}

void copyFile(const std::string& from, const std::string& to) {
    kivtest::writeFile(to, kivtest::readFile(from));
}

TEST(DllFile, NamesAreCompletedAlongTheLibraryPath) {
    TempDir tmp;
    copyFile(kLibrary, tmp.file("libnoext"));
    copyFile(kLibrary, tmp.file("libkivtestdll.so"));
    // Empty entries are skipped; the first directory holding the file wins.
    const std::string path = "::" + kDir + "::" + tmp.path();
    ScopedEnv libraryPath("LD_LIBRARY_PATH", path.c_str());

    struct Row {
        std::string given;
        bool loaded;
        std::string resolved;
    };
    const Row rows[] = {
        {"libkivtestdll", true, kLibrary},
        {"libkivtestdll.so", true, kLibrary},
        {kLibrary, true, kLibrary},
        {kDir + "/libkivtestdll", true, kLibrary},
        {"libnoext", true, tmp.file("libnoext")},
        {kDir + "/missing.so", false, kDir + "/missing.so"},
        {"nosuchlib", false, "nosuchlib"},
    };
    for (const Row& row : rows) {
        KivClDllFile dll{KivClFilename(row.given.c_str())};
        EXPECT_EQ(dll.isLoaded(), row.loaded) << row.given;
        EXPECT_EQ(dll.getHandle() != nullptr, row.loaded) << row.given;
        EXPECT_STREQ(dll.getAsCString(), row.resolved.c_str()) << row.given;
    }
    EXPECT_STREQ(KivClDllFile::getSystemPathEnvironmentVariable(), "LD_LIBRARY_PATH");
    EXPECT_STREQ(KivClDllFile::getDefaultFileType(), ".so");
}

TEST(DllFile, ABareNameNotOnTheLibraryPathIsLeftToTheSystemSearch) {
    ScopedEnv libraryPath("LD_LIBRARY_PATH", nullptr);
    KivClDllFile libm{KivClFilename("libm.so.6")};
    EXPECT_TRUE(libm.isLoaded());
    EXPECT_STREQ(libm.getAsCString(), "libm.so.6");
    // An empty name stays empty and is refused: dlopen would answer with
    // the main program.
    KivClDllFile empty{KivClFilename("")};
    EXPECT_STREQ(empty.getAsCString(), "");
    EXPECT_FALSE(empty.isLoaded());
    EXPECT_EQ(kivDllProcLoaderOpen(""), nullptr);
}

TEST(DllFile, TheLibraryIsUnloadedWithTheObject) {
    ASSERT_FALSE(isMapped(kLibrary));
    {
        KivClDllFile dll{KivClFilename(kLibrary.c_str())};
        ASSERT_TRUE(dll.isLoaded());
        EXPECT_TRUE(isMapped(kLibrary));
        dll.load();  // a second load keeps one reference only
        EXPECT_TRUE(dll.isLoaded());
    }
    EXPECT_FALSE(isMapped(kLibrary));
}

TEST(DllProcLoader, ProceduresResolveByName) {
    KivClDllProcLoaderFile loader{KivClFilename(kLibrary.c_str())};
    TwiceFunction twice = reinterpret_cast<TwiceFunction>(loader.getProcedure("kivTestDllTwice"));
    ASSERT_NE(twice, nullptr);
    EXPECT_EQ(twice(21), 42);
    EXPECT_STREQ(static_cast<const char*>(loader.getProcedure("kivTestDllName")), "kiv test library");
    EXPECT_EQ(loader.getProcedure("kivTestDllMissing"), nullptr);
    EXPECT_EQ(loader.getProcedure(nullptr), nullptr);

    KivClDllProcLoaderFile missing{KivClFilename("/nonexistent/libx.so")};
    EXPECT_EQ(missing.getProcedure("kivTestDllTwice"), nullptr);
}

TEST(DllProcLoader, PlainFunctionsWorkThroughHandles) {
    ScopedEnv libraryPath("LD_LIBRARY_PATH", kDir.c_str());
    void* handle = kivDllProcLoaderOpen("libkivtestdll");
    ASSERT_NE(handle, nullptr);
    TwiceFunction twice = reinterpret_cast<TwiceFunction>(kivDllProcLoaderGetProcedure(handle, "kivTestDllTwice"));
    ASSERT_NE(twice, nullptr);
    EXPECT_EQ(twice(-4), -8);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(handle, "unknown"), nullptr);
    EXPECT_TRUE(isMapped(kLibrary));
    kivDllProcLoaderClose(handle);
    EXPECT_FALSE(isMapped(kLibrary));

    EXPECT_EQ(kivDllProcLoaderOpen("libkivtestdll_missing"), nullptr);
    EXPECT_EQ(kivDllProcLoaderOpen(nullptr), nullptr);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(nullptr, "kivTestDllTwice"), nullptr);
    kivDllProcLoaderClose(nullptr);
}

}  // namespace
