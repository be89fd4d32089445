// The library message table and its message source msgcat/kiv_library.msg:
// the table's frame and texts, the printable names the error mappings point
// at, and the generator kivmsgsource, whose current output the shipped file
// must be and whose catalog must give every message as the table does.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "kiv_error.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string quote(const std::string& text) { return "'" + text + "'"; }

// A catalog without a file that serves the library table.
struct LibraryCatalog {
    LibraryCatalog() { catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT); }
    std::string text(unsigned long id) const { return KivClMessage(catalog, id).getText(); }
    kivtest::TempDir dir;
    KivClMessageCatalog catalog{KivClFilename(dir.file("library").c_str())};
};

}  // namespace

TEST(LibraryMessageTable, FrameTraceTextsAndErrorNames) {
    EXPECT_STREQ(kivLibraryMessageTable[KIV_MSGTABLE_LIBRARY_COUNT], "[KIV_MSGTAB_SIGNATURE]");
    for (unsigned long id = 200; id <= 219; ++id) EXPECT_STREQ(kivLibraryMessageTable[id], "?") << id;
    // Block markers, the signature line as message 0, shared texts, outer blanks.
    LibraryCatalog catalog;
    const std::pair<unsigned long, const char*> samples[] = {
        {1, "[KIV-LIBRARY]"},    {220, "[KIV-LIBRARY]"}, {0, "[KIV_MSGTAB_SIGNATURE] 221"},
        {161, "fdetail"},        {169, "fdetail"},       {190, " *** Clipped ***"},
        {192, "Nesting level: "}};
    for (const auto& [id, text] : samples) EXPECT_EQ(catalog.text(id), text) << id;
    EXPECT_EQ(catalog.text(221), std::string("UNABLE TO LOAD MESSAGE CATALOG: ") + catalog.catalog.getAsCString());

    // The trace controller's usage string, and its help text in three
    // sections that two lines of "@" alone separate.
    const std::string usage = kivLibraryMessageTable[151], help = kivLibraryMessageTable[152];
    EXPECT_EQ(std::count(usage.begin(), usage.end(), '\n'), 6);
    EXPECT_EQ(usage.find("(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n"), 0u);
    EXPECT_EQ(std::count(help.begin(), help.end(), '\n'), 49);
    EXPECT_NE(help.find("\n@\nTrace environment variables:\n"), std::string::npos);
    EXPECT_NE(help.find("\n@\nTrace format variables:\n"), std::string::npos);

    // The printable names of error identifiers, classes, severities and
    // actions, reached through the error mappings (the shipped message
    // source below pins every other text).
    const std::pair<unsigned long, const char*> names[] = {
        {kivErrorGetIdAsMessageId(KIV_ERRID_NO_ERROR), "NO_ERROR"},
        {kivErrorGetIdAsMessageId(KIV_ERRID_ICU_ERROR_LIMIT), "ICU_ERROR_LIMIT"},
        {kivErrorGetClassAsMessageId(KIV_ERRCLASS_UNKNOWN), "UNKNOWN"},
        {kivErrorGetClassAsMessageId(KIV_ERRCLASS_HARDWARE_NOT_SUPPORTED), "HARDWARE_NOT_SUPPORTED"},
        {kivErrorGetSeverityAsMessageId(KIV_SEVERITY_NONE), "NONE"},
        {kivErrorGetSeverityAsMessageId(KIV_SEVERITY_PANIC), "PANIC"},
        {kivErrorGetActionAsMessageId(KIV_ACTION_USER), "USER"},
        {kivErrorGetActionAsMessageId(KIV_ACTION_RETRYDELAY), "RETRYDELAY"},
        {kivErrorGetActionAsMessageId(KIV_ACTION_PANIC), "PANIC"},
    };
    for (const auto& [id, name] : names) EXPECT_EQ(catalog.text(id), name) << id;
}

// The shipped file is the generator's current output; every message of it,
// through gencat and catgets, equals the table's message after the same
// variable substitution and is not empty; numbers past the block are absent.
TEST(LibraryMessageSource, ShippedFileIsTheGeneratorsOutputAndAgreesWithTheTable) {
    const kivtest::ChildResult written = kivtest::runShell(quote(KIV_MSGSOURCE_TOOL));
    ASSERT_TRUE(written.exited && written.exitCode == 0) << written.err;
    EXPECT_EQ(kivtest::readFile(KIV_LIBRARY_MSG), written.out)
        << "msgcat/kiv_library.msg is out of date: build the target kiv_update_msgsource";
    kivtest::ScopedEnv locale("LC_ALL", "C");
    kivtest::TempDir dir;
    const kivtest::ChildResult made =
        kivtest::runShell("gencat " + quote(dir.file("library.cat")) + " " + quote(KIV_LIBRARY_MSG));
    ASSERT_TRUE(made.exited && made.exitCode == 0) << made.err;
    const KivClMessageCatalog fromFile{KivClFilename(dir.file("library.cat").c_str())};
    ASSERT_TRUE(fromFile.isOpen());
    const LibraryCatalog fromTable;
    for (unsigned long id = 1; id < KIV_MSGTABLE_LIBRARY_COUNT; ++id) {
        const KivClMessage expected(fromTable.catalog, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9",
                                    "v10");
        const KivClMessage actual(fromFile, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9", "v10");
        ASSERT_TRUE(expected.isLoaded() && *expected.getText() != '\0') << id;
        EXPECT_TRUE(actual.isLoaded()) << id;
        EXPECT_STREQ(actual.getText(), expected.getText()) << "message " << id;
    }
    EXPECT_FALSE(KivClMessage(fromFile, KIV_MSGTABLE_LIBRARY_COUNT).isLoaded());
}

// With a base the numbers move, the texts stay; bad command lines exit 1 with
// the usage, an unwritable output file 2.
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

    const struct { const char* arguments; int exitCode; } rows[] = {
        {"-base", 1},         {"-base x", 1},       {"-base -5", 1},
        {"-base 1000001", 1}, {"-base 12abc", 1},   {"-o", 1},
        {"-v", 1},            {"-base 1000000", 0}, {"-o /nonexistent-dir/x.msg", 2},
    };
    for (const auto& row : rows) {
        const kivtest::ChildResult result = kivtest::runShell(tool + " " + row.arguments + " >/dev/null");
        EXPECT_TRUE(result.exited && result.exitCode == row.exitCode) << row.arguments;
        EXPECT_EQ(result.err.find("usage: kivmsgsource") != std::string::npos, row.exitCode == 1) << row.arguments;
    }
}
