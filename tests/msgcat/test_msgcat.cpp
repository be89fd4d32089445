// Message catalogs on real catalog files built with gencat: set 1 lookups,
// the ".cat" name rule, the message-1 probe, the locale and the default
// catalog, plus the string-table signature check.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <string>
#include <vector>

#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;

const char* const kTable[] = {"[KIV_MSGTAB_SIGNATURE] 3", "table one", "table two",
                              "[KIV_MSGTAB_SIGNATURE]"};

// Every catalog construction sets the process locale: run each test with
// LC_ALL=C and put the locale back afterwards.
class CatalogFile : public ::testing::Test {
protected:
    ~CatalogFile() override { std::setlocale(LC_ALL, savedLocale_.c_str()); }

    // Builds dir_/<base>.cat from a gencat message source; returns its path.
    std::string build(const std::string& base, const std::string& source) {
        const std::string msg = dir_.file(base + ".msg");
        const std::string cat = dir_.file(base + ".cat");
        kivtest::writeFile(msg, source);
        const kivtest::ChildResult result = kivtest::runShell("gencat '" + cat + "' '" + msg + "'");
        EXPECT_TRUE(result.exited && result.exitCode == 0) << "gencat failed: " << result.err;
        return cat;
    }

    std::string savedLocale_{std::setlocale(LC_ALL, nullptr)};
    ScopedEnv lcAll_{"LC_ALL", "C"};
    kivtest::TempDir dir_;
};

}  // namespace

TEST_F(CatalogFile, ReadsSetOneUnderTheCatalogName) {
    const std::string file = build("tool",
                                   "$set 1\n1 first message\n2 value <%1> and <%2>, 100%%\n4 \n"
                                   "$set 2\n3 only in set two\n");
    for (const char* given : {"tool.txt", "tool"}) {
        KivClMessageCatalog catalog(KivClFilename(dir_.file(given).c_str()));
        EXPECT_STREQ(catalog.getAsCString(), file.c_str()) << given;
        EXPECT_TRUE(catalog.isOpen()) << given;
        EXPECT_FALSE(catalog.isDefaultCatalog()) << given;
    }

    KivClMessageCatalog catalog(KivClFilename(file.c_str()));
    catalog.useStringTable(kTable, 3);  // ignored while the file is open
    const struct {
        unsigned long id;
        const char* var;
        std::string text;
        bool loaded;
    } cases[] = {
        {1, nullptr, "first message", true},
        {2, "x", "value <x> and <???" ">, 100%", true},
        {4, nullptr, "", true},
        {3, nullptr, "UNABLE TO LOAD MESSAGE #3 FROM CATALOG: " + file, false},  // set 2 only
        {0, nullptr, "UNABLE TO LOAD MESSAGE #0 FROM CATALOG: " + file, false},
        {4294967295ul, nullptr, "UNABLE TO LOAD MESSAGE #4294967295 FROM CATALOG: " + file, false},
    };
    for (const auto& c : cases) {
        KivClMessage message(catalog, c.id, c.var);
        EXPECT_EQ(message.getText(), c.text) << c.id;
        EXPECT_EQ(message.isLoaded(), c.loaded) << c.id;
    }
}

TEST_F(CatalogFile, FilesWithoutMessageOneAreNoCatalog) {
    const std::string partial = build("partial", "$set 1\n2 second\n3 third\n");
    kivtest::writeFile(dir_.file("junk.cat"), std::string(64, '\x7f') + "not a catalog");
    kivtest::writeFile(dir_.file("empty.cat"), "");
    ASSERT_EQ(::mkdir(dir_.file("sub.cat").c_str(), 0700), 0);
    for (const char* name : {"partial.cat", "junk.cat", "empty.cat", "missing.cat", "sub.cat"}) {
        KivClMessageCatalog catalog(KivClFilename(dir_.file(name).c_str()));
        EXPECT_FALSE(catalog.isOpen()) << name;
        KivClMessage message(catalog, 2);
        EXPECT_FALSE(message.isLoaded()) << name;
        EXPECT_EQ(message.getText(), "UNABLE TO LOAD MESSAGE CATALOG: " + dir_.file(name));
    }
    // Such a catalog falls back to a string table.
    KivClMessageCatalog catalog(KivClFilename(partial.c_str()));
    catalog.useStringTable(kTable, 3);
    KivClMessage message(catalog, 2);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "table two");
}

TEST_F(CatalogFile, FailureTextKeepsAVeryLongCatalogName) {
    std::string name = dir_.path() + "/";
    while (name.size() < 4075) name += "component/";
    name += "c.txt";
    KivClMessageCatalog catalog(KivClFilename(name.c_str()));
    EXPECT_FALSE(catalog.isOpen());
    const std::string expected =
        "UNABLE TO LOAD MESSAGE CATALOG: " + name.substr(0, name.size() - 3) + "cat";
    EXPECT_GT(expected.size(), 4096u);
    EXPECT_EQ(KivClMessage(catalog, 5).getText(), expected);
}

TEST_F(CatalogFile, LocaleComesFromTheEnvironmentOrFallsBackToC) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        GTEST_SKIP() << "the C.UTF-8 locale is not available";
    }
    const std::string file = build("loc", "$set 1\n1 one\n");
    ScopedEnv utf8("LC_ALL", "C.UTF-8");
    KivClMessageCatalog opened(KivClFilename(file.c_str()));
    EXPECT_TRUE(opened.isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");

    // A failed first attempt leaves the process in the "C" locale.
    KivClMessageCatalog missing(KivClFilename(dir_.file("none.cat").c_str()));
    EXPECT_FALSE(missing.isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");

    ScopedEnv bogus("LC_ALL", "xx_XX.NOSUCH");
    KivClMessageCatalog stillOpened(KivClFilename(file.c_str()));
    EXPECT_TRUE(stillOpened.isOpen());
}

TEST_F(CatalogFile, DefaultCatalogIsFoundAlongNlsPath) {
    ScopedEnv path("NLSPATH", (dir_.path() + "/%N").c_str());
    {
        KivClMessageCatalog absent;
        EXPECT_TRUE(absent.isDefaultCatalog());
        EXPECT_FALSE(absent.isOpen());
        EXPECT_STREQ(absent.getAsCString(), ".cat");
    }
    build("", "$set 1\n1 default catalog\n");
    KivClMessageCatalog catalog;
    EXPECT_TRUE(catalog.isDefaultCatalog());
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "default catalog");
    EXPECT_STREQ(KivClMessage(catalog, 9).getText(), "UNABLE TO LOAD MESSAGE #9 FROM CATALOG: .cat");
}

TEST(MessageCatalog, MessageNumbersAndStringTableSignatures) {
    EXPECT_FALSE(KivClMessageCatalog::isValidMessageId(0));
    EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(1));
    EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(4294967295ul));

    auto valid = [](std::vector<const char*> table, unsigned long count) {
        return KivClMessageCatalog::isValidStringTable(table.data(), count);
    };
    const std::vector<const char*> three(std::begin(kTable), std::end(kTable));
    const char* const close = "[KIV_MSGTAB_SIGNATURE]";
    EXPECT_TRUE(valid(three, 3));
    EXPECT_TRUE(valid({"[KIV_MSGTAB_SIGNATURE] 1", close}, 1));
    // A count that disagrees with entry 0 is refused before entry count is
    // read, so the sanitizer build would catch an overrun here.
    EXPECT_FALSE(valid(three, 2));
    EXPECT_FALSE(valid(three, 30));
    EXPECT_FALSE(valid({"[KIV_MSGTAB_SIGNATURE] 1", "[KIV_MSGTAB_SIGNATURE] "}, 1));
    EXPECT_FALSE(valid({"[KIV_MSGTAB_SIGNATURE]1", close}, 1));
    EXPECT_FALSE(valid({"[KIV_MSGTAB_SIGNATURE] 1x", close}, 1));
    EXPECT_FALSE(valid({nullptr, close}, 1));
    EXPECT_FALSE(valid({"[KIV_MSGTAB_SIGNATURE] 1", nullptr}, 1));
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullptr, 3));
}
