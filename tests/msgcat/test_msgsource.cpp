// The library message source msgcat/kiv_library.msg: written by kivmsgsource
// from the built-in table, it must be exactly the program's current output,
// and a catalog built from it with gencat must give every message as the
// table does.
#include <gtest/gtest.h>

#include <string>

#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string quote(const std::string& text) { return "'" + text + "'"; }

TEST(LibraryMessageSource, ShippedFileIsTheGeneratorsOutput) {
    const kivtest::ChildResult written = kivtest::runShell(quote(KIV_MSGSOURCE_TOOL));
    ASSERT_TRUE(written.exited && written.exitCode == 0) << written.err;
    EXPECT_EQ(kivtest::readFile(KIV_LIBRARY_MSG), written.out)
        << "msgcat/kiv_library.msg is out of date: build the target kiv_update_msgsource";
}

// Every message, through gencat and catgets, equals the table's message
// after the same variable substitution; numbers past the block are absent.
TEST(LibraryMessageSource, CatalogFromTheSourceAgreesWithTheTable) {
    kivtest::ScopedEnv locale("LC_ALL", "C");
    kivtest::TempDir dir;
    const kivtest::ChildResult made =
        kivtest::runShell("gencat " + quote(dir.file("library.cat")) + " " + quote(KIV_LIBRARY_MSG));
    ASSERT_TRUE(made.exited && made.exitCode == 0) << made.err;

    const KivClMessageCatalog fromFile{KivClFilename(dir.file("library.cat").c_str())};
    ASSERT_TRUE(fromFile.isOpen());
    KivClMessageCatalog fromTable{KivClFilename(dir.file("absent.cat").c_str())};
    fromTable.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    for (unsigned long id = 1; id < KIV_MSGTABLE_LIBRARY_COUNT; ++id) {
        const KivClMessage expected(fromTable, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8",
                                    "v9", "v10");
        const KivClMessage actual(fromFile, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9",
                                  "v10");
        ASSERT_TRUE(expected.isLoaded()) << id;
        EXPECT_TRUE(actual.isLoaded()) << id;
        EXPECT_STREQ(actual.getText(), expected.getText()) << "message " << id;
    }
    EXPECT_FALSE(KivClMessage(fromFile, KIV_MSGTABLE_LIBRARY_COUNT).isLoaded());
}

// With a base the numbers move, the texts stay; bad command lines exit 1, an
// unwritable output file 2.
TEST(LibraryMessageSource, GeneratorOptionsAndFailures) {
    kivtest::TempDir dir;
    const std::string tool = quote(KIV_MSGSOURCE_TOOL);
    const kivtest::ChildResult shifted = kivtest::runShell(tool + " -base 100 -o " + quote(dir.file("b.msg")));
    ASSERT_TRUE(shifted.exited && shifted.exitCode == 0) << shifted.err;
    const std::string text = kivtest::readFile(dir.file("b.msg"));
    EXPECT_NE(text.find("\n$set 1\n101 \"[KIV-LIBRARY]\"\n102 \"Percent:%% Arg1:%1"), std::string::npos);
    EXPECT_NE(text.find("\n103 \"YES\"\n104 \"NO\"\n"), std::string::npos);
    EXPECT_NE(text.find("\n320 \"[KIV-LIBRARY]\"\n"), std::string::npos);
    EXPECT_EQ(text.find("\n321 "), std::string::npos);

    struct Row {
        const char* arguments;
        int exitCode;
    };
    const Row rows[] = {
        {"-base", 1},          {"-base x", 1},        {"-base -5", 1},
        {"-base 1000001", 1},  {"-base 12abc", 1},    {"-o", 1},
        {"-v", 1},             {"-base 1000000", 0},  {"-o /nonexistent-dir/x.msg", 2},
    };
    for (const Row& row : rows) {
        const kivtest::ChildResult result = kivtest::runShell(tool + " " + row.arguments + " >/dev/null");
        EXPECT_TRUE(result.exited);
        EXPECT_EQ(result.exitCode, row.exitCode) << row.arguments;
        if (row.exitCode == 1) {
            EXPECT_NE(result.err.find("usage: kivmsgsource"), std::string::npos) << row.arguments;
        }
    }
}

}  // namespace
