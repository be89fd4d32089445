// The installed package: kiv installed into a temporary prefix, then a tiny
// client configured, built and run against it through find_package and
// through pkg-config. Every test installs into a prefix of its own.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

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

// The library carries its major version as soname.
TEST_F(InstalledKiv, LaysOutLibraryHeadersToolsAndPackageFiles) {
    const std::string lib = std::string("/") + KIV_INSTALL_LIBDIR;
    for (const std::string& file :
         {std::string("/include/kiv/kiv.hpp"), std::string("/include/kiv/kiv_consoleui.hpp"),
          std::string("/bin/kivtracectl"), std::string("/bin/kivtrace2json"), std::string("/bin/kivmsgsource"),
          std::string("/share/man/man1/kivtracectl.1"), std::string("/share/kiv/kiv_library.msg"),
          lib + "/libkiv.so", lib + "/libkiv.so.5", lib + "/pkgconfig/kiv.pc", lib + "/cmake/kiv/kivConfig.cmake",
          lib + "/cmake/kiv/kivConfigVersion.cmake", lib + "/cmake/kiv/kivTargets.cmake",
          lib + "/cmake/kiv/kivMessageCatalog.cmake"}) {
        EXPECT_TRUE(kivtest::fileExists(prefix() + file)) << file;
    }
    EXPECT_EQ(kivtest::readFile(prefix() + "/share/kiv/kiv_library.msg"),
              kivtest::readFile(KIV_SOURCE_DIR "/msgcat/kiv_library.msg"));
    const kivtest::ChildResult dynamic = mustRun("readelf -d " + quote(libdir() + "/libkiv.so"));
    EXPECT_NE(dynamic.out.find("Library soname: [libkiv.so.5]"), std::string::npos) << dynamic.out;
    EXPECT_EQ(mustRun("readlink " + quote(libdir() + "/libkiv.so.5")).out, "libkiv.so.5.24.0\n");
}

// The installed tools find the installed library by themselves (no library
// path set): the trace controller's "-h" shows the usage and help and exits
// with 201, and every switch of it has its entry in the man page; the
// generator writes exactly the installed message source.
TEST_F(InstalledKiv, ToolsRunFromThePrefix) {
    const kivtest::ChildResult help =
        kivtest::runShell("env -u LD_LIBRARY_PATH " + quote(prefix() + "/bin/kivtracectl") + " -h");
    ASSERT_TRUE(help.exited) << help.err;
    EXPECT_EQ(help.exitCode, 201) << help.err;
    EXPECT_NE(help.out.find("kivtracectl - Trace Controller"), std::string::npos) << help.out;
    EXPECT_NE(help.out.find("-key <key>"), std::string::npos) << help.out;
    const std::string page = kivtest::readFile(prefix() + "/share/man/man1/kivtracectl.1");
    EXPECT_EQ(page.rfind(".TH KIVTRACECTL 1", 0), 0U) << page.substr(0, 80);
    const std::regex switchPattern("[ |\\[(]-([a-zA-Z?]+)");
    std::set<std::string> switches;
    for (std::sregex_iterator it(help.out.begin(), help.out.end(), switchPattern), end; it != end; ++it) {
        switches.insert((*it)[1].str());
    }
    EXPECT_GE(switches.size(), 15U) << help.out;
    for (const std::string& name : switches) {
        EXPECT_NE(page.find("\\-" + name), std::string::npos) << "-" << name << " is not in the man page";
    }
    EXPECT_EQ(mustRun("env -u LD_LIBRARY_PATH " + quote(prefix() + "/bin/kivmsgsource")).out,
              kivtest::readFile(prefix() + "/share/kiv/kiv_library.msg"));
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
    EXPECT_EQ(mustRun(quote(build + "/consumer") + " " + quote(build + "/consumer_messages.cat")).out,
              "open=1 loaded=1 text=YES\n");
    EXPECT_EQ(mustRun(quote(build + "/consumer")).out, "open=0 loaded=1 text=YES\n");
}

// pkg-config finds the moved prefix through the file's own location.
TEST_F(InstalledKiv, PkgConfigClientBuildsAndRuns) {
    const std::string pkgconfig = "PKG_CONFIG_PATH=" + quote(libdir() + "/pkgconfig") + " pkg-config ";
    const kivtest::ChildResult flags = mustRun(pkgconfig + "--cflags --libs kiv");
    EXPECT_NE(flags.out.find("/include/kiv "), std::string::npos) << flags.out;
    EXPECT_NE(flags.out.find("-lkiv"), std::string::npos) << flags.out;
    EXPECT_EQ(mustRun(pkgconfig + "--modversion kiv").out, "5.24.0\n");

    const std::string program = work("consumer");
    mustRun(quote(KIV_CXX_COMPILER) + " -std=c++17 " + sanitizerFlags() + " -o " + quote(program) +
            " " + quote(KIV_CONSUMER_DIR "/consumer.cpp") + " $(" + pkgconfig + "--cflags --libs kiv)");
    const std::string run = "LD_LIBRARY_PATH=" + quote(libdir()) + " " + quote(program);
    EXPECT_EQ(mustRun(run).out, "open=0 loaded=1 text=YES\n");

    const std::string catalog = work("library.cat");
    mustRun("gencat " + quote(catalog) + " " + quote(prefix() + "/share/kiv/kiv_library.msg"));
    EXPECT_EQ(mustRun(run + " " + quote(catalog)).out, "open=1 loaded=1 text=YES\n");
}

}  // namespace
