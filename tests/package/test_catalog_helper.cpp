// kiv_add_message_catalog() in a small CMake project of its own: the catalog
// it builds, its rebuild after a source changed, and its argument checks.
#include <gtest/gtest.h>

#include <string>

#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string quote(const std::string& text) { return "'" + text + "'"; }

// A project without a compiler that includes the helper and adds one catalog
// with the given arguments.
class CatalogProject : public ::testing::Test {
protected:
    void writeProject(const std::string& arguments) {
        kivtest::writeFile(dir_.file("CMakeLists.txt"),
                           "cmake_minimum_required(VERSION 3.25)\n"
                           "project(catalogs NONE)\n"
                           "include(" KIV_SOURCE_DIR "/cmake/kivMessageCatalog.cmake)\n"
                           "kiv_add_message_catalog(" + arguments + ")\n");
    }
    kivtest::ChildResult configure() {
        return kivtest::runShell("cmake -S " + quote(dir_.path()) + " -B " + quote(build()) + " -G Ninja");
    }
    kivtest::ChildResult buildAll() { return kivtest::runShell("cmake --build " + quote(build())); }
    std::string build() const { return dir_.file("build"); }
    std::string file(const std::string& name) const { return dir_.file(name); }

private:
    kivtest::TempDir dir_;
};

TEST_F(CatalogProject, BuildsTheCatalogAndRebuildsItFromScratch) {
    kivtest::writeFile(file("a.msg"), "$set 1\n1 first\n2 second\n");
    kivtest::writeFile(file("b.msg"), "$set 1\n3 third\n");
    writeProject("texts SOURCES a.msg b.msg OUTPUT out/texts.cat");
    const kivtest::ChildResult configured = configure();
    ASSERT_EQ(configured.exitCode, 0) << configured.out << configured.err;
    const kivtest::ChildResult built = buildAll();
    ASSERT_EQ(built.exitCode, 0) << built.out << built.err;

    kivtest::ScopedEnv locale("LC_ALL", "C");
    const std::string catalogName = build() + "/out/texts.cat";
    {
        const KivClMessageCatalog catalog{KivClFilename(catalogName.c_str())};
        ASSERT_TRUE(catalog.isOpen());
        EXPECT_EQ(std::string(KivClMessage(catalog, 1).getText()) + KivClMessage(catalog, 2).getText() +
                      KivClMessage(catalog, 3).getText(), "firstsecondthird");
    }

    // Message 3 moved to number 4: the rebuilt catalog lacks 3 (gencat
    // alone would keep it from the old catalog).
    kivtest::writeFile(file("b.msg"), "$set 1\n4 third\n");
    const kivtest::ChildResult rebuilt = buildAll();
    ASSERT_EQ(rebuilt.exitCode, 0) << rebuilt.out << rebuilt.err;
    const KivClMessageCatalog catalog{KivClFilename(catalogName.c_str())};
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_FALSE(KivClMessage(catalog, 3).isLoaded());
    EXPECT_STREQ(KivClMessage(catalog, 4).getText(), "third");
}

// A failed rebuild leaves the catalog of the last good build as it was.
TEST_F(CatalogProject, MessageNumberInTwoSourcesFailsTheBuild) {
    kivtest::writeFile(file("a.msg"), "$set 1\n1 first\n");
    kivtest::writeFile(file("b.msg"), "$set 1\n2 second\n");
    writeProject("texts SOURCES a.msg b.msg");
    const kivtest::ChildResult configured = configure();
    ASSERT_EQ(configured.exitCode, 0) << configured.out << configured.err;
    ASSERT_EQ(buildAll().exitCode, 0);
    const std::string good = kivtest::readFile(build() + "/texts.cat");

    kivtest::writeFile(file("b.msg"), "$set 1\n1 again\n");
    const kivtest::ChildResult built = buildAll();
    EXPECT_NE(built.exitCode, 0);
    EXPECT_NE(built.out.find("duplicated message number"), std::string::npos) << built.out;
    EXPECT_EQ(kivtest::readFile(build() + "/texts.cat"), good);
    EXPECT_NE(buildAll().exitCode, 0) << "the failed catalog must be retried";
}

TEST_F(CatalogProject, RefusesBadArguments) {
    kivtest::writeFile(file("a.msg"), "$set 1\n1 first\n");
    const struct { const char* arguments; const char* message; } rows[] = {
        {"texts", "SOURCES is required"}, {"texts OUTPUT x.cat", "SOURCES is required"},
        {"texts COLOUR red SOURCES a.msg", "unknown arguments: COLOUR;red"},
    };
    for (const auto& row : rows) {
        writeProject(row.arguments);
        const kivtest::ChildResult result = configure();
        EXPECT_NE(result.exitCode, 0) << row.arguments;
        EXPECT_NE(result.err.find(row.message), std::string::npos) << row.arguments << "\n" << result.err;
    }
}

// The kiv target of the build tree offers both include spellings too, as a
// project that adds kiv with add_subdirectory sees it.
TEST(BuildTreeClient, IncludesBothWaysAndRuns) {
    const kivtest::ChildResult run = kivtest::runShell(quote(KIV_BUILD_TREE_CLIENT));
    ASSERT_TRUE(run.exited && run.exitCode == 0) << run.err;
    EXPECT_EQ(run.out, "open=0 loaded=1 text=YES\n");
}

}  // namespace
