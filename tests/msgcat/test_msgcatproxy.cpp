#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "kiv_msgcatproxy.hpp"
#include "kiv_test_support.hpp"

namespace {

const char* const kTable[] = {"[KIV_MSGTAB_SIGNATURE] 3", "table one", "table %1", "[KIV_MSGTAB_SIGNATURE]"};
const char* const kNone = nullptr;

// A catalog file built with gencat in a temporary directory. Catalogs set
// the process locale: the test runs under LC_ALL=C and puts it back.
class CatalogProxy : public ::testing::Test {
protected:
    void SetUp() override {
        kivtest::writeFile(dir_.file("app.msg"),
                           "$set 1\n1 first message\n2 second message\n3 Copied %1 of %2 files\n"
                           "4 %1 %2 %3 %4 %5 %6 %7 %8 %9 %10 %11\n");
        const kivtest::ChildResult result = kivtest::runShell("gencat '" + catalog_ + "' '" + dir_.file("app.msg") + "'");
        ASSERT_TRUE(result.exited && result.exitCode == 0) << "gencat failed: " << result.err;
    }
    ~CatalogProxy() override { std::setlocale(LC_ALL, savedLocale_.c_str()); }

    std::string savedLocale_{std::setlocale(LC_ALL, nullptr)};
    kivtest::ScopedEnv lcAll_{"LC_ALL", "C"};
    kivtest::TempDir dir_;
    const std::string catalog_ = dir_.file("app.cat");
    const std::string missing_ = dir_.file("missing");
};

TEST_F(CatalogProxy, OpenFetchAndClose) {
    KivClMessageCatalogProxy* handle = kivMsgCatOpen(catalog_.c_str());
    ASSERT_NE(handle, nullptr);
    const char* first = kivMsgCatGet(handle, 1);
    EXPECT_STREQ(first, "first message");
    EXPECT_EQ(kivMsgCatGet(handle, 2), first);  // one buffer per handle
    EXPECT_STREQ(first, "second message");
    EXPECT_TRUE(kivMsgCatIsValid(handle, 3));
    EXPECT_FALSE(kivMsgCatIsValid(handle, 99));
    EXPECT_EQ(std::string(kivMsgCatGet(handle, 99)), "UNABLE TO LOAD MESSAGE #99 FROM CATALOG: " + catalog_);
    kivMsgCatClose(handle);

    EXPECT_EQ(kivMsgCatOpen(missing_.c_str()), nullptr);
    EXPECT_FALSE(kivMsgCatIsValid(nullptr, 1));
    EXPECT_STREQ(kivMsgCatGet(nullptr, 1), "");
    EXPECT_STREQ(kivMsgCatGetVar(nullptr, 1, "a", kNone), "");
    kivMsgCatClose(nullptr);
}

TEST_F(CatalogProxy, VariablesEndAtTheFirstNullOrTheTenth) {
    KivClMessageCatalogProxy* handle = kivMsgCatOpen(catalog_.c_str());
    ASSERT_NE(handle, nullptr);
    const struct { std::string got, expected; } rows[] = {
        {kivMsgCatGetVar(handle, 3, kNone), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 3, "2", kNone), "Copied 2 of ??? files"},
        {kivMsgCatGetVar(handle, 3, "2", "5", kNone), "Copied 2 of 5 files"},
        {kivMsgCatGetVar(handle, 3, kNone, "5", kNone), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", kNone),
         "a b c d e f g h i j ???"},
        // After ten variables nothing more is read, not even a terminator.
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j"), "a b c d e f g h i j ???"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.got, row.expected);
    kivMsgCatClose(handle);
}

TEST_F(CatalogProxy, StringTableFallbackAndAttachedCatalogs) {
    KivClMessageCatalogProxy* table = kivMsgCatOpenOrUseStringTable(missing_.c_str(), kTable, 3);
    EXPECT_STREQ(kivMsgCatGetVar(table, 2, "x", kNone), "table x");
    EXPECT_FALSE(kivMsgCatIsValid(table, 3));
    kivMsgCatClose(table);
    KivClMessageCatalogProxy* file = kivMsgCatOpenOrUseStringTable(catalog_.c_str(), kTable, 3);
    EXPECT_STREQ(kivMsgCatGet(file, 1), "first message");  // an open file wins
    kivMsgCatClose(file);

    KivClMessageCatalog catalog{KivClFilename(catalog_.c_str())};
    KivClMessageCatalogProxy* attached = kivMsgCatOpenAttach(&catalog);
    ASSERT_NE(attached, nullptr);
    EXPECT_FALSE(attached->ownsCatalog());
    EXPECT_STREQ(kivMsgCatGet(attached, 2), "second message");
    kivMsgCatClose(attached);
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "first message");

    KivClMessageCatalog closed{KivClFilename(missing_.c_str())};
    closed.useStringTable(kTable, 3);
    EXPECT_EQ(kivMsgCatOpenAttach(&closed), nullptr);
    EXPECT_EQ(kivMsgCatOpenAttach(nullptr), nullptr);
}

TEST_F(CatalogProxy, LongFailureTextsAreCutWithoutSplittingCharacters) {
    // A failure text is a 32-character head and the whole catalog name; the
    // rows put the cut between two characters or inside a two-byte one.
    const struct { size_t asciiBefore, keptLength; } rows[] = {{4000, 4099}, {4001, 4098}};
    for (const auto& row : rows) {
        std::string name = "/" + std::string(row.asciiBefore, 'a');
        while (name.size() < 4090) name += "\xC3\xA9";  // é
        KivClMessageCatalogProxy proxy{KivClFilename(name.c_str())};
        const std::string full = KivClMessage(*proxy.getCatalog(), 1).getText();
        const std::string kept = proxy.getMessage(1);
        EXPECT_EQ(kept.size(), row.keptLength) << row.asciiBefore;
        EXPECT_EQ(full.compare(0, kept.size(), kept), 0);
        EXPECT_NE(static_cast<unsigned char>(full[kept.size()]) & 0xC0, 0x80u);
    }
}

}  // namespace
