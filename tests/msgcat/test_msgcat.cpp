// Message catalogs: real catalog files built with gencat, the ".cat" name
// rule, the message-1 probe, the default catalog and the string-table check.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>

#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ScopedEnv;

// Restores the process locale when the scope ends.
class ScopedLocale {
public:
    ScopedLocale() : saved_(std::setlocale(LC_ALL, nullptr)) {}
    ~ScopedLocale() { std::setlocale(LC_ALL, saved_.c_str()); }

private:
    std::string saved_;
};

// Builds dir/<base>.cat from a gencat message source.
std::string buildCatalog(const kivtest::TempDir& dir, const std::string& base,
                         const std::string& source) {
    const std::string sourceFile = dir.file(base + ".msg");
    const std::string catalogFile = dir.file(base + ".cat");
    kivtest::writeFile(sourceFile, source);
    const kivtest::ChildResult result =
        kivtest::runShell("gencat '" + catalogFile + "' '" + sourceFile + "'");
    EXPECT_TRUE(result.exited && result.exitCode == 0) << "gencat failed: " << result.err;
    EXPECT_TRUE(kivtest::fileExists(catalogFile));
    return catalogFile;
}

const char* const kTable[] = {"[KIV_MSGTAB_SIGNATURE] 3", "table one", "table two",
                              "[KIV_MSGTAB_SIGNATURE]"};

}  // namespace

TEST(MessageCatalog, OpensACatalogFileAndReadsSetOne) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    const std::string file = buildCatalog(dir, "tool",
                                          "$set 1\n"
                                          "1 first message\n"
                                          "2 value <%1> and <%2>, 100%%\n"
                                          "4 \n"
                                          "$set 2\n"
                                          "3 only in set two\n");
    KivClMessageCatalog catalog(KivClFilename(dir.file("tool.cat").c_str()));
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_FALSE(catalog.isDefaultCatalog());
    EXPECT_STREQ(catalog.getAsCString(), file.c_str());

    KivClMessage message(catalog, 1);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "first message");
    message.setNewMessageId(2, "x");
    EXPECT_STREQ(message.getText(), "value <x> and <???" ">, 100%");
    message.setNewMessageId(4);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "");

    // Set 2 is never consulted; missing numbers give the numbered failure.
    message.setNewMessageId(3);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(std::string(message.getText()),
              "UNABLE TO LOAD MESSAGE #3 FROM CATALOG: " + file);
    message.setNewMessageId(0);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(std::string(message.getText()),
              "UNABLE TO LOAD MESSAGE #0 FROM CATALOG: " + file);
    message.setNewMessageId(4294967295ul);
    EXPECT_EQ(std::string(message.getText()),
              "UNABLE TO LOAD MESSAGE #4294967295 FROM CATALOG: " + file);

    // A string table is ignored while the file is open.
    catalog.useStringTable(kTable, 3);
    message.setNewMessageId(1);
    EXPECT_STREQ(message.getText(), "first message");
}

TEST(MessageCatalog, NameTakesTheCatalogExtension) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    const std::string file = buildCatalog(dir, "msgs", "$set 1\n1 hello\n");
    for (const char* given : {"msgs.txt", "msgs", "msgs.cat"}) {
        KivClMessageCatalog catalog(KivClFilename(dir.file(given).c_str()));
        EXPECT_STREQ(catalog.getAsCString(), file.c_str()) << given;
        EXPECT_TRUE(catalog.isOpen()) << given;
        EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "hello") << given;
    }
    KivClMessageCatalog other(KivClFilename(dir.file("msgs.txt.old").c_str()));
    EXPECT_STREQ(other.getAsCString(), dir.file("msgs.txt.cat").c_str());
    EXPECT_FALSE(other.isOpen());
}

TEST(MessageCatalog, CatalogWithoutMessageOneCountsAsNoCatalog) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    const std::string file = buildCatalog(dir, "partial", "$set 1\n2 second\n3 third\n");
    KivClMessageCatalog catalog(KivClFilename(file.c_str()));
    EXPECT_FALSE(catalog.isOpen());

    KivClMessage message(catalog, 2);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(std::string(message.getText()), "UNABLE TO LOAD MESSAGE CATALOG: " + file);

    catalog.useStringTable(kTable, 3);
    message.setNewMessageId(2);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "table two");
    message.setNewMessageId(3);
    EXPECT_FALSE(message.isLoaded());
}

TEST(MessageCatalog, UnreadableOrMissingFilesAreNotOpen) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("junk.cat"), std::string(64, '\x7f') + "not a catalog");
    kivtest::writeFile(dir.file("empty.cat"), "");
    for (const char* name : {"junk.cat", "empty.cat", "missing.cat"}) {
        KivClMessageCatalog catalog(KivClFilename(dir.file(name).c_str()));
        EXPECT_FALSE(catalog.isOpen()) << name;
        KivClMessage message(catalog, 1);
        EXPECT_FALSE(message.isLoaded()) << name;
        EXPECT_EQ(std::string(message.getText()),
                  "UNABLE TO LOAD MESSAGE CATALOG: " + dir.file(name));
    }
    // A directory of that name is no catalog either.
    ASSERT_EQ(::mkdir((dir.path() + "/sub.cat").c_str(), 0700), 0);
    KivClMessageCatalog directory(KivClFilename((dir.path() + "/sub.cat").c_str()));
    EXPECT_FALSE(directory.isOpen());
}

TEST(MessageCatalog, FailureTextKeepsAVeryLongCatalogName) {
    kivtest::TempDir dir;
    std::string name = dir.path() + "/";
    while (name.size() < 4075) name += "component/";
    name += "c.txt";
    KivClMessageCatalog catalog(KivClFilename(name.c_str()));
    EXPECT_FALSE(catalog.isOpen());
    const std::string expected =
        "UNABLE TO LOAD MESSAGE CATALOG: " + name.substr(0, name.size() - 3) + "cat";
    KivClMessage message(catalog, 5);
    EXPECT_GT(expected.size(), 4096u);
    EXPECT_EQ(std::string(message.getText()), expected);
}

TEST(MessageCatalog, LongMessagesFromAFileAreCutAtTheLimit) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    const std::string longText(5000, 'q');
    const std::string file = buildCatalog(
        dir, "long", "$set 1\n1 " + std::string(81, 'k') + "\n2 " + longText + "\n3 %1" + "\n");
    KivClMessageCatalog catalog(KivClFilename(file.c_str()));
    ASSERT_TRUE(catalog.isOpen());
    KivClMessage message(catalog, 1);
    EXPECT_EQ(std::string(message.getText()), std::string(81, 'k'));
    message.setNewMessageId(2);
    EXPECT_EQ(std::string(message.getText()), std::string(4096, 'q'));
    message.setNewMessageId(3, longText.c_str());
    EXPECT_EQ(std::string(message.getText()), std::string(4096, 'q'));
}

TEST(MessageCatalog, LocaleIsTakenFromTheEnvironmentOrFallsBackToC) {
    ScopedLocale locale;
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        GTEST_SKIP() << "the C.UTF-8 locale is not available";
    }
    std::setlocale(LC_ALL, "C");
    kivtest::TempDir dir;
    const std::string file = buildCatalog(dir, "loc", "$set 1\n1 one\n");
    ScopedEnv lcAll("LC_ALL", "C.UTF-8");

    KivClMessageCatalog opened(KivClFilename(file.c_str()));
    EXPECT_TRUE(opened.isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");

    // When the first attempt fails the process is left in the "C" locale.
    KivClMessageCatalog missing(KivClFilename(dir.file("none.cat").c_str()));
    EXPECT_FALSE(missing.isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");

    // An unknown locale in the environment does not keep a file from opening.
    ScopedEnv bogus("LC_ALL", "xx_XX.NOSUCH");
    KivClMessageCatalog stillOpened(KivClFilename(file.c_str()));
    EXPECT_TRUE(stillOpened.isOpen());
}

TEST(MessageCatalog, DefaultCatalogIsFoundAlongNlsPath) {
    ScopedEnv lcAll("LC_ALL", "C");
    ScopedLocale locale;
    kivtest::TempDir dir;
    {
        ScopedEnv path("NLSPATH", (dir.path() + "/%N").c_str());
        KivClMessageCatalog absent;
        EXPECT_TRUE(absent.isDefaultCatalog());
        EXPECT_FALSE(absent.isOpen());
        EXPECT_STREQ(absent.getAsCString(), ".cat");
    }
    buildCatalog(dir, "", "$set 1\n1 default catalog\n");
    ScopedEnv path("NLSPATH", (dir.path() + "/%N").c_str());
    KivClMessageCatalog catalog;
    EXPECT_TRUE(catalog.isDefaultCatalog());
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "default catalog");
    EXPECT_EQ(std::string(KivClMessage(catalog, 9).getText()),
              "UNABLE TO LOAD MESSAGE #9 FROM CATALOG: .cat");
}

TEST(MessageCatalog, MessageNumbersAndStringTableSignatures) {
    EXPECT_FALSE(KivClMessageCatalog::isValidMessageId(0));
    EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(1));
    EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(4294967295ul));

    EXPECT_TRUE(KivClMessageCatalog::isValidStringTable(kTable, 3));
    // A count that disagrees with the signature is refused before the table
    // is read at that count (the sanitizer build would see an overrun).
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(kTable, 2));
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(kTable, 4));
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(kTable, 30));
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullptr, 3));

    const char* const unclosed[] = {"[KIV_MSGTAB_SIGNATURE] 1", "[KIV_MSGTAB_SIGNATURE] "};
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(unclosed, 1));
    const char* const noBlank[] = {"[KIV_MSGTAB_SIGNATURE]1", "[KIV_MSGTAB_SIGNATURE]"};
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(noBlank, 1));
    const char* const trailing[] = {"[KIV_MSGTAB_SIGNATURE] 1x", "[KIV_MSGTAB_SIGNATURE]"};
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(trailing, 1));
    const char* const nullEntry[] = {nullptr, "[KIV_MSGTAB_SIGNATURE]"};
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullEntry, 1));
    const char* const minimal[] = {"[KIV_MSGTAB_SIGNATURE] 1", "[KIV_MSGTAB_SIGNATURE]"};
    EXPECT_TRUE(KivClMessageCatalog::isValidStringTable(minimal, 1));
}
