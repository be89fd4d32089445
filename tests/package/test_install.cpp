// The installed package: kiv installed into a temporary prefix, then a tiny
// client configured, built and run against it through find_package and
// through pkg-config. Every test installs into a prefix of its own.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>
#include <vector>

#include "kiv_test_support.hpp"

namespace {

// A client built against a sanitized libkiv needs the sanitizer runtime too.
std::string sanitizerFlags() { return KIV_SANITIZED ? "-fsanitize=address,undefined" : ""; }

std::string quote(const std::string& text) { return "'" + text + "'"; }

class InstalledKiv : public ::testing::Test {
protected:
    void SetUp() override {
        const kivtest::ChildResult installed = kivtest::runShell(
            "cmake --install " + quote(KIV_BUILD_DIR) + " --prefix " + quote(prefix()));
        ASSERT_TRUE(installed.exited && installed.exitCode == 0) << installed.out << installed.err;
    }

    std::string prefix() const { return dir_.file("prefix"); }
    std::string libdir() const { return prefix() + "/" + KIV_INSTALL_LIBDIR; }
    std::string work(const std::string& name) const { return dir_.file(name); }

    // Runs a shell command line and expects exit code 0.
    static kivtest::ChildResult mustRun(const std::string& command) {
        const kivtest::ChildResult result = kivtest::runShell(command);
        EXPECT_TRUE(result.exited && result.exitCode == 0)
            << command << "\n" << result.out << result.err;
        return result;
    }

private:
    kivtest::TempDir dir_;
};

TEST_F(InstalledKiv, LaysOutLibraryHeadersToolsAndPackageFiles) {
    const std::vector<std::string> files = {
        "/include/kiv/kiv.hpp",        "/include/kiv/kiv_consoleui.hpp",
        "/bin/kivtracectl",            "/bin/kivtrace2json",          "/bin/kivmsgsource",
        "/share/man/man1/kivtracectl.1", "/share/kiv/kiv_library.msg",
    };
    for (const std::string& file : files) {
        EXPECT_TRUE(kivtest::fileExists(prefix() + file)) << file;
    }
    const std::vector<std::string> libFiles = {
        "/libkiv.so", "/libkiv.so.5", "/pkgconfig/kiv.pc", "/cmake/kiv/kivConfig.cmake",
        "/cmake/kiv/kivConfigVersion.cmake", "/cmake/kiv/kivTargets.cmake",
        "/cmake/kiv/kivMessageCatalog.cmake",
    };
    for (const std::string& file : libFiles) {
        EXPECT_TRUE(kivtest::fileExists(libdir() + file)) << file;
    }
    EXPECT_EQ(kivtest::readFile(prefix() + "/share/kiv/kiv_library.msg"),
              kivtest::readFile(KIV_SOURCE_DIR "/msgcat/kiv_library.msg"));
}

TEST_F(InstalledKiv, LibraryCarriesItsMajorVersionAsSoname) {
    const kivtest::ChildResult dynamic = mustRun("readelf -d " + quote(libdir() + "/libkiv.so"));
    EXPECT_NE(dynamic.out.find("Library soname: [libkiv.so.5]"), std::string::npos) << dynamic.out;
    const kivtest::ChildResult link = mustRun("readlink " + quote(libdir() + "/libkiv.so.5"));
    EXPECT_EQ(link.out, "libkiv.so.5.24.0\n");
}

// The installed tool finds the installed library by itself (no library
// path set): "-h" shows the usage and help and exits with 201.
TEST_F(InstalledKiv, TraceControllerRunsFromThePrefix) {
    const kivtest::ChildResult help =
        kivtest::runShell("env -u LD_LIBRARY_PATH " + quote(prefix() + "/bin/kivtracectl") + " -h");
    ASSERT_TRUE(help.exited) << help.err;
    EXPECT_EQ(help.exitCode, 201) << help.err;
    EXPECT_NE(help.out.find("kivtracectl - Trace Controller"), std::string::npos) << help.out;
    EXPECT_NE(help.out.find("-key <key>"), std::string::npos) << help.out;
    const std::string page = kivtest::readFile(prefix() + "/share/man/man1/kivtracectl.1");
    EXPECT_EQ(page.rfind(".TH KIVTRACECTL 1", 0), 0U) << page.substr(0, 80);

    // Every switch of the tool's usage display has its entry in the page.
    const std::regex switchPattern("[ |\\[(]-([a-zA-Z?]+)");
    std::set<std::string> switches;
    for (std::sregex_iterator it(help.out.begin(), help.out.end(), switchPattern), end; it != end; ++it) {
        switches.insert((*it)[1].str());
    }
    EXPECT_GE(switches.size(), 15U) << help.out;
    for (const std::string& name : switches) {
        EXPECT_NE(page.find("\\-" + name), std::string::npos) << "-" << name << " is not in the man page";
    }
}

// The installed generator writes exactly the installed message source.
TEST_F(InstalledKiv, MessageSourceToolRunsFromThePrefix) {
    const kivtest::ChildResult written =
        mustRun("env -u LD_LIBRARY_PATH " + quote(prefix() + "/bin/kivmsgsource"));
    EXPECT_EQ(written.out, kivtest::readFile(prefix() + "/share/kiv/kiv_library.msg"));
}

// find_package(kiv) gives kiv::kiv and kiv_add_message_catalog; the client
// builds a catalog from the installed library message source and reads
// message 3 from it.
TEST_F(InstalledKiv, FindPackageClientBuildsAndRuns) {
    const std::string build = work("consumer-build");
    mustRun("cmake -S " + quote(KIV_CONSUMER_DIR) + " -B " + quote(build) +
            " -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH=" + quote(prefix()) +
            " -DCMAKE_CXX_COMPILER=" + quote(KIV_CXX_COMPILER) + " -DCMAKE_CXX_FLAGS=" +
            quote(sanitizerFlags()) + " -DCMAKE_EXE_LINKER_FLAGS=" + quote(sanitizerFlags()));
    mustRun("cmake --build " + quote(build));
    const kivtest::ChildResult fromCatalog =
        mustRun(quote(build + "/consumer") + " " + quote(build + "/consumer_messages.cat"));
    EXPECT_EQ(fromCatalog.out, "open=1 loaded=1 text=YES\n");
    const kivtest::ChildResult fromTable = mustRun(quote(build + "/consumer"));
    EXPECT_EQ(fromTable.out, "open=0 loaded=1 text=YES\n");
}

// pkg-config finds the moved prefix through the file's own location.
TEST_F(InstalledKiv, PkgConfigClientBuildsAndRuns) {
    const std::string pkgconfig = "PKG_CONFIG_PATH=" + quote(libdir() + "/pkgconfig") + " pkg-config ";
    const kivtest::ChildResult flags = mustRun(pkgconfig + "--cflags --libs kiv");
    EXPECT_NE(flags.out.find("/include/kiv "), std::string::npos) << flags.out;
    EXPECT_NE(flags.out.find("-lkiv"), std::string::npos) << flags.out;
    const kivtest::ChildResult version = mustRun(pkgconfig + "--modversion kiv");
    EXPECT_EQ(version.out, "5.24.0\n");

    const std::string program = work("consumer");
    mustRun(quote(KIV_CXX_COMPILER) + " -std=c++17 " + sanitizerFlags() + " -o " + quote(program) +
            " " + quote(KIV_CONSUMER_DIR "/consumer.cpp") + " $(" + pkgconfig + "--cflags --libs kiv)");
    const kivtest::ChildResult fromTable =
        mustRun("LD_LIBRARY_PATH=" + quote(libdir()) + " " + quote(program));
    EXPECT_EQ(fromTable.out, "open=0 loaded=1 text=YES\n");

    const std::string catalog = work("library.cat");
    mustRun("gencat " + quote(catalog) + " " + quote(prefix() + "/share/kiv/kiv_library.msg"));
    const kivtest::ChildResult fromCatalog =
        mustRun("LD_LIBRARY_PATH=" + quote(libdir()) + " " + quote(program) + " " + quote(catalog));
    EXPECT_EQ(fromCatalog.out, "open=1 loaded=1 text=YES\n");
}

}  // namespace
