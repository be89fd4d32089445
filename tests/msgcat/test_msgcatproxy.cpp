#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "kiv_msgcatproxy.hpp"
#include "kiv_test_support.hpp"

namespace {

const char* const kTable[] = {"[KIV_MSGTAB_SIGNATURE] 3", "table one", "table %1",
                              "[KIV_MSGTAB_SIGNATURE]"};

// A catalog file built with gencat in a temporary directory. Catalogs set
// the process locale: the test runs under LC_ALL=C and puts it back.
class CatalogProxy : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string msg = dir_.file("app.msg");
        kivtest::writeFile(msg,
                           "$set 1\n"
                           "1 first message\n"
                           "2 second message\n"
                           "3 Copied %1 of %2 files\n"
                           "4 %1 %2 %3 %4 %5 %6 %7 %8 %9 %10 %11\n");
        const kivtest::ChildResult result = kivtest::runShell("gencat '" + catalog_ + "' '" + msg + "'");
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
    EXPECT_TRUE(handle->ownsCatalog());
    const char* first = kivMsgCatGet(handle, 1);
    EXPECT_STREQ(first, "first message");
    const char* second = kivMsgCatGet(handle, 2);
    EXPECT_EQ(second, first);
    EXPECT_STREQ(first, "second message");

    EXPECT_TRUE(kivMsgCatIsValid(handle, 3));
    EXPECT_FALSE(kivMsgCatIsValid(handle, 99));
    EXPECT_FALSE(kivMsgCatIsValid(handle, 0));
    EXPECT_EQ(std::string(kivMsgCatGet(handle, 99)), "UNABLE TO LOAD MESSAGE #99 FROM CATALOG: " + catalog_);
    kivMsgCatClose(handle);

    EXPECT_EQ(kivMsgCatOpen(missing_.c_str()), nullptr);
}

TEST_F(CatalogProxy, VariablesEndAtTheFirstNullOrTheTenth) {
    KivClMessageCatalogProxy* handle = kivMsgCatOpen(catalog_.c_str());
    ASSERT_NE(handle, nullptr);
    const char* none = nullptr;
    struct Row {
        std::string got, expected;
    };
    const Row rows[] = {
        {kivMsgCatGetVar(handle, 3, none), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 3, nullptr), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 3, "2", none), "Copied 2 of ??? files"},
        {kivMsgCatGetVar(handle, 3, "2", "5", none), "Copied 2 of 5 files"},
        {kivMsgCatGetVar(handle, 3, none, "5", none), "Copied ??? of ??? files"},
        {kivMsgCatGet(handle, 3), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", none),
         "a b c d e f g h i j ???"},
        // Ten variables need no terminator: the eleventh argument is never read.
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j"), "a b c d e f g h i j ???"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.got, row.expected);
    kivMsgCatClose(handle);
}

TEST_F(CatalogProxy, StringTableFallbackAndAttachedCatalogs) {
    KivClMessageCatalogProxy* table = kivMsgCatOpenOrUseStringTable(missing_.c_str(), kTable, 3);
    ASSERT_NE(table, nullptr);
    EXPECT_STREQ(kivMsgCatGet(table, 1), "table one");
    EXPECT_STREQ(kivMsgCatGetVar(table, 2, "x", nullptr), "table x");
    EXPECT_FALSE(kivMsgCatIsValid(table, 3));
    kivMsgCatClose(table);

    // An opening catalog file wins over the table.
    KivClMessageCatalogProxy* file = kivMsgCatOpenOrUseStringTable(catalog_.c_str(), kTable, 3);
    EXPECT_STREQ(kivMsgCatGet(file, 1), "first message");
    kivMsgCatClose(file);

    KivClMessageCatalog catalog{KivClFilename(catalog_.c_str())};
    KivClMessageCatalogProxy* attached = kivMsgCatOpenAttach(&catalog);
    ASSERT_NE(attached, nullptr);
    EXPECT_FALSE(attached->ownsCatalog());
    EXPECT_STREQ(kivMsgCatGet(attached, 2), "second message");
    kivMsgCatClose(attached);
    EXPECT_TRUE(catalog.isOpen());
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "first message");

    KivClMessageCatalog closed{KivClFilename(missing_.c_str())};
    closed.useStringTable(kTable, 3);
    EXPECT_EQ(kivMsgCatOpenAttach(&closed), nullptr);
    EXPECT_EQ(kivMsgCatOpenAttach(nullptr), nullptr);
    EXPECT_STREQ(KivClMessage(closed, 1).getText(), "table one");
}

TEST_F(CatalogProxy, NullHandlesAreHarmless) {
    EXPECT_FALSE(kivMsgCatIsValid(nullptr, 1));
    EXPECT_STREQ(kivMsgCatGet(nullptr, 1), "");
    EXPECT_STREQ(kivMsgCatGetVar(nullptr, 1, "a", nullptr), "");
    kivMsgCatClose(nullptr);
}

TEST_F(CatalogProxy, ProxyObjectsWithVariableArrays) {
    KivClMessageCatalogProxy owning{KivClFilename(catalog_.c_str())};
    const char* vars[10] = {"7", "9"};
    EXPECT_STREQ(owning.getMessage(3, vars), "Copied 7 of 9 files");
    EXPECT_TRUE(owning.isValidMessageId(1));

    KivClMessageCatalogProxy fallback(KivClFilename(missing_.c_str()), kTable, 3);
    EXPECT_TRUE(fallback.ownsCatalog());
    EXPECT_STREQ(fallback.getMessage(1), "table one");
    EXPECT_TRUE(fallback.isValidMessageId(2));
}

TEST_F(CatalogProxy, LongFailureTextsAreCutWithoutSplittingCharacters) {
    // A failure text is its 32-character head followed by the whole catalog
    // name, so a long name pushes it past the buffer. The rows place a
    // two-byte character across the cut or keep it clear of the cut.
    struct Row {
        size_t asciiBefore;  // plain characters before the two-byte ones
        size_t keptLength;
    };
    const Row rows[] = {
        {4000, 4099},  // the cut falls between two characters
        {4001, 4098},  // the cut would fall inside "é": it is left out whole
    };
    for (const Row& row : rows) {
        std::string name = "/" + std::string(row.asciiBefore, 'a');
        while (name.size() < 4090) name += "\xC3\xA9";  // é
        KivClMessageCatalogProxy proxy{KivClFilename(name.c_str())};
        const std::string full = KivClMessage(*proxy.getCatalog(), 1).getText();
        ASSERT_GT(full.size(), KivClMessageCatalogProxy::TEXT_CAPACITY);
        const std::string kept = proxy.getMessage(1);
        EXPECT_EQ(kept.size(), row.keptLength) << row.asciiBefore;
        EXPECT_EQ(full.compare(0, kept.size(), kept), 0);
        EXPECT_NE(static_cast<unsigned char>(full[kept.size()]) & 0xC0, 0x80u);
    }
}

}  // namespace
