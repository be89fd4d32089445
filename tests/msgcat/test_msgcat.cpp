// Message catalogs on real catalog files built with gencat: set 1 lookups,
// the ".cat" name rule, the message-1 probe, the locale and the default
// catalog, plus the string-table signature check.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
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

void* refuseAllocation(unsigned int) { return nullptr; }

// Makes every library allocation fail for one scope.
struct RefusedAllocations {
    RefusedAllocations() {
        kivSetNewMemoryManager(&refuseAllocation, &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator);
    }
    ~RefusedAllocations() {
        kivSetNewMemoryManager(&KivClMemoryManager::systemAllocator,
                               &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator);
    }
};

}  // namespace

TEST_F(CatalogFile, ReadsSetOneUnderTheCatalogName) {
    const std::string file = build("tool",
                                   "$set 1\n1 first message\n2 value <%1> and <%2>, 100%%\n4 \n"
                                   "5 " + std::string(5000, 'q') + "\n$set 2\n3 only in set two\n");
    for (const char* given : {"tool.txt", "tool", "tool.cat"}) {
        KivClMessageCatalog catalog(KivClFilename(dir_.file(given).c_str()));
        EXPECT_STREQ(catalog.getAsCString(), file.c_str()) << given;
        EXPECT_TRUE(catalog.isOpen()) << given;
        EXPECT_FALSE(catalog.isDefaultCatalog()) << given;
    }
    KivClMessageCatalog other(KivClFilename(dir_.file("tool.txt.old").c_str()));
    EXPECT_STREQ(other.getAsCString(), dir_.file("tool.txt.cat").c_str());
    EXPECT_FALSE(other.isOpen());

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
        {5, nullptr, std::string(4096, 'q'), true},
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

TEST_F(CatalogFile, OpeningAllocatesNothing) {
    const std::string file = build("big", "$set 1\n1 " + std::string(200, 'b') + "\n");
    RefusedAllocations refused;
    KivClMessageCatalog catalog(KivClFilename(file.c_str()));
    EXPECT_TRUE(catalog.isOpen());
    EXPECT_THROW({ KivClMessage message(catalog, 1); }, KivClExceptionFatal);
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

    const std::string close = "[KIV_MSGTAB_SIGNATURE]";
    const struct {
        std::vector<const char*> table;
        unsigned long count;
        bool valid;
    } cases[] = {
        {{kTable[0], kTable[1], kTable[2], kTable[3]}, 3, true},
        {{"[KIV_MSGTAB_SIGNATURE] 1", close.c_str()}, 1, true},
        // A count that disagrees with entry 0 is refused before entry count
        // is read, so the sanitizer build would catch an overrun here.
        {{kTable[0], kTable[1], kTable[2], kTable[3]}, 2, false},
        {{kTable[0], kTable[1], kTable[2], kTable[3]}, 4, false},
        {{kTable[0], kTable[1], kTable[2], kTable[3]}, 30, false},
        {{"[KIV_MSGTAB_SIGNATURE] 1", "[KIV_MSGTAB_SIGNATURE] "}, 1, false},
        {{"[KIV_MSGTAB_SIGNATURE]1", close.c_str()}, 1, false},
        {{"[KIV_MSGTAB_SIGNATURE] 1x", close.c_str()}, 1, false},
        {{nullptr, close.c_str()}, 1, false},
        {{"[KIV_MSGTAB_SIGNATURE] 1", nullptr}, 1, false},
    };
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; ++i) {
        EXPECT_EQ(KivClMessageCatalog::isValidStringTable(cases[i].table.data(), cases[i].count),
                  cases[i].valid)
            << "case " << i;
    }
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullptr, 3));
}
