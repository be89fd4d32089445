#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

#include "kiv_dll.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;

const std::string kDir = KIV_TEST_DLL_DIR;
const std::string kLibrary = kDir + "/libkivtestdll.so";

typedef int (*TwiceFunction)(int);

// The library is mapped in this process right now.
bool isMapped(const std::string& path) {
    void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
}

TEST(DllFile, NamesAreCompletedAlongTheLibraryPath) {
    kivtest::TempDir tmp;
    kivtest::writeFile(tmp.file("libnoext"), kivtest::readFile(kLibrary));
    kivtest::writeFile(tmp.file("libkivtestdll.so"), kivtest::readFile(kLibrary));
    // Empty entries are skipped; the first directory holding the file wins.
    ScopedEnv libraryPath("LD_LIBRARY_PATH", ("::" + kDir + "::" + tmp.path()).c_str());
    const struct { std::string given; bool loaded; std::string resolved; } rows[] = {
        {"libkivtestdll", true, kLibrary},
        {"libkivtestdll.so", true, kLibrary},
        {kLibrary, true, kLibrary},
        {kDir + "/libkivtestdll", true, kLibrary},
        {"libnoext", true, tmp.file("libnoext")},  // the added ".so" is dropped again
        {kDir + "/missing.so", false, kDir + "/missing.so"},
        {"nosuchlib", false, "nosuchlib"},
    };
    for (const auto& row : rows) {
        KivClDllFile dll{KivClFilename(row.given.c_str())};
        EXPECT_EQ(dll.isLoaded(), row.loaded) << row.given;
        EXPECT_STREQ(dll.getAsCString(), row.resolved.c_str()) << row.given;
    }
}

TEST(DllFile, SystemSearchEmptyNamesAndUnloading) {
    ScopedEnv libraryPath("LD_LIBRARY_PATH", nullptr);
    KivClDllFile libm{KivClFilename("libm.so.6")};  // left to dlopen's own search
    EXPECT_TRUE(libm.isLoaded());
    EXPECT_STREQ(libm.getAsCString(), "libm.so.6");
    // An empty name is refused: dlopen would answer with the main program.
    KivClDllFile empty{KivClFilename("")};
    EXPECT_STREQ(empty.getAsCString(), "");
    EXPECT_FALSE(empty.isLoaded());
    EXPECT_EQ(kivDllProcLoaderOpen(""), nullptr);

    ASSERT_FALSE(isMapped(kLibrary));
    {
        KivClDllFile dll{KivClFilename(kLibrary.c_str())};
        dll.load();  // a second load keeps one reference only
        EXPECT_TRUE(isMapped(kLibrary));
    }
    EXPECT_FALSE(isMapped(kLibrary));
}

TEST(DllProcLoader, ProceduresResolveByNameAndHandle) {
    KivClDllProcLoaderFile loader{KivClFilename(kLibrary.c_str())};
    ASSERT_NE(loader.getProcedure("kivTestDllTwice"), nullptr);
    EXPECT_EQ(reinterpret_cast<TwiceFunction>(loader.getProcedure("kivTestDllTwice"))(21), 42);
    EXPECT_STREQ(static_cast<const char*>(loader.getProcedure("kivTestDllName")), "kiv test library");
    EXPECT_EQ(loader.getProcedure("kivTestDllMissing"), nullptr);
    EXPECT_EQ(loader.getProcedure(nullptr), nullptr);
    EXPECT_EQ(KivClDllProcLoaderFile(KivClFilename("/nonexistent/libx.so")).getProcedure("kivTestDllTwice"), nullptr);

    ScopedEnv libraryPath("LD_LIBRARY_PATH", kDir.c_str());
    void* handle = kivDllProcLoaderOpen("libkivtestdll");
    ASSERT_NE(kivDllProcLoaderGetProcedure(handle, "kivTestDllTwice"), nullptr);
    EXPECT_EQ(reinterpret_cast<TwiceFunction>(kivDllProcLoaderGetProcedure(handle, "kivTestDllTwice"))(-4), -8);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(handle, "unknown"), nullptr);
    kivDllProcLoaderClose(handle);
    kivDllProcLoaderClose(nullptr);
    EXPECT_EQ(kivDllProcLoaderOpen("libkivtestdll_missing"), nullptr);
    EXPECT_EQ(kivDllProcLoaderGetProcedure(nullptr, "kivTestDllTwice"), nullptr);
}

}  // namespace
