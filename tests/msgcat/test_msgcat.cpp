// Message catalogs and messages: catalog files built with gencat and string
// tables, variable substitution, the failure texts, the 80/81 storage
// boundary, the 4096 limit, copies and exhausted memory.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

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
    kivtest::ScopedEnv lcAll_{"LC_ALL", "C"};
    kivtest::TempDir dir_;
};

// Allocator hook that records the sizes asked for and can be told to fail,
// installed for one scope by LoggedAllocations.
std::vector<unsigned int> gSizes;
bool gFailing = false;
void* logAllocate(unsigned int size) {
    gSizes.push_back(size);
    return gFailing ? nullptr : std::malloc(size);
}

struct LoggedAllocations : kivtest::ScopedAllocatorHooks {
    explicit LoggedAllocations(bool fail = false)
        : ScopedAllocatorHooks(&logAllocate, &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator) {
        gSizes.clear();
        gFailing = fail;
    }
};

// A catalog without a file that reads the given messages (numbers 1 and up,
// null entries kept) as its string table.
struct TableCatalog {
    explicit TableCatalog(std::vector<const char*> messages) : table(std::move(messages)) {
        signature = "[KIV_MSGTAB_SIGNATURE] " + std::to_string(table.size() + 1);
        table.insert(table.begin(), signature.c_str());
        table.push_back(KIV_MSGTAB_SIGNATURE);
        catalog.useStringTable(table.data(), table.size() - 1);
    }
    kivtest::TempDir dir;
    KivClMessageCatalog catalog{KivClFilename(dir.file("absent.txt").c_str())};
    std::string signature;
    std::vector<const char*> table;
};

// Runs replaceVars with room for outSize + 1 bytes and a guard byte that must
// stay untouched; checks the returned length against the result.
std::string expand(const char* text, std::vector<const char*> vars, unsigned long outSize = 200) {
    static TableCatalog none({});
    static const KivClMessage scratch(none.catalog, 1);
    std::vector<char> out(outSize + 2, 'X');
    const unsigned long written =
        scratch.replaceVars(out.data(), outSize, text, vars.data(), vars.size());
    EXPECT_EQ(written, std::strlen(out.data())) << text;
    EXPECT_EQ(out[outSize + 1], 'X') << text;
    return out.data();
}

}  // namespace

TEST_F(CatalogFile, ReadsSetOneUnderTheCatalogName) {
    const std::string file = build("tool",
                                   "$set 1\n1 first message\n2 value <%1> and <%2>, 100%%\n4 \n"
                                   "$set 2\n3 only in set two\n");
    KivClMessageCatalog catalog(KivClFilename(dir_.file("tool.txt").c_str()));
    EXPECT_STREQ(catalog.getAsCString(), file.c_str());
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_FALSE(catalog.isDefaultCatalog());
    catalog.useStringTable(kTable, 3);  // ignored while the file is open
    const struct { unsigned long id; const char* var; std::string text; bool loaded; } cases[] = {
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
    std::string longName = dir_.path() + "/";
    while (longName.size() < 4075) longName += "component/";
    longName += "c.cat";
    for (const std::string& name : {partial, dir_.file("junk.cat"), dir_.file("empty.cat"),
                                    dir_.file("missing.cat"), dir_.file("sub.cat"), longName}) {
        KivClMessageCatalog catalog(KivClFilename(name.c_str()));
        EXPECT_FALSE(catalog.isOpen()) << name;
        KivClMessage message(catalog, 2);
        EXPECT_FALSE(message.isLoaded()) << name;
        // The failure text names the whole file, even beyond 4096 characters.
        EXPECT_EQ(message.getText(), "UNABLE TO LOAD MESSAGE CATALOG: " + name);
        catalog.useStringTable(kTable, 3);  // such a catalog reads a string table
        EXPECT_STREQ(KivClMessage(catalog, 2).getText(), "table two") << name;
    }
}

TEST_F(CatalogFile, LocaleComesFromTheEnvironmentOrFallsBackToC) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        GTEST_SKIP() << "the C.UTF-8 locale is not available";
    }
    std::setlocale(LC_ALL, "C");
    const std::string file = build("loc", "$set 1\n1 one\n");
    kivtest::ScopedEnv utf8("LC_ALL", "C.UTF-8");
    KivClMessageCatalog opened(KivClFilename(file.c_str()));
    EXPECT_TRUE(opened.isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");

    // A failed first attempt switches to the "C" locale and tries again: this
    // catalog lies only in the C locale's directory along NLSPATH.
    ASSERT_EQ(::mkdir(dir_.file("C").c_str(), 0700), 0);
    build("C/tool", "$set 1\n1 from C\n");
    kivtest::ScopedEnv path("NLSPATH", (dir_.path() + "/%L/%N").c_str());
    KivClMessageCatalog fallback(KivClFilename("tool"));
    EXPECT_STREQ(KivClMessage(fallback, 1).getText(), "from C");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");

    kivtest::ScopedEnv bogus("LC_ALL", "xx_XX.NOSUCH");
    KivClMessageCatalog stillOpened(KivClFilename(file.c_str()));
    EXPECT_TRUE(stillOpened.isOpen());
}

TEST_F(CatalogFile, DefaultCatalogIsFoundAlongNlsPath) {
    kivtest::ScopedEnv path("NLSPATH", (dir_.path() + "/%N").c_str());
    build("", "$set 1\n1 default catalog\n");
    KivClMessageCatalog catalog;
    EXPECT_TRUE(catalog.isDefaultCatalog());
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "default catalog");
    EXPECT_STREQ(KivClMessage(catalog, 9).getText(), "UNABLE TO LOAD MESSAGE #9 FROM CATALOG: .cat");
}

TEST(MessageCatalog, MessageNumbersAndStringTableSignatures) {
    EXPECT_FALSE(KivClMessageCatalog::isValidMessageId(0));
    EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(1) && KivClMessageCatalog::isValidMessageId(4294967295ul));
    const std::vector<const char*> three(std::begin(kTable), std::end(kTable));
    const char *const open = "[KIV_MSGTAB_SIGNATURE] 1", *const close = "[KIV_MSGTAB_SIGNATURE]";
    const struct { std::vector<const char*> table; unsigned long count; bool valid; } rows[] = {
        {three, 3, true}, {{open, close}, 1, true},
        // A count that disagrees with entry 0 is refused before entry count
        // is read, so the sanitizer build would catch an overrun here.
        {three, 2, false}, {three, 30, false}, {{open, "[KIV_MSGTAB_SIGNATURE] "}, 1, false},
        {{"[KIV_MSGTAB_SIGNATURE]_1", close}, 1, false}, {{"[KIV_MSGTAB_SIGNATURE] 1x", close}, 1, false},
        {{nullptr, close}, 1, false}, {{open, nullptr}, 1, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(KivClMessageCatalog::isValidStringTable(row.table.data(), row.count), row.valid)
            << (row.table[0] ? row.table[0] : "null") << " / " << row.count;
    }
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullptr, 3));
}

TEST(MessageSubstitution, EscapesReferencesAndLimits) {
    const struct { const char* text; std::vector<const char*> vars; unsigned long outSize; const char* expected; }
        cases[] = {
        {"a%%b", {}, 200, "a%b"},
        {"<%1|%2>", {"one", "two"}, 200, "<one|two>"},
        {"%1x", {"v"}, 200, "vx"},          // a letter right after the number stays
        {"[%0]", {"v"}, 200, "[???]"},      // variable 0
        {"[%3]", {"a", "b"}, 200, "[???]"},  // beyond the variable count
        {"end%", {"v"}, 200, "end???"},  // a bare '%' at the end
        {"%x", {"v"}, 200, "???x"},
        // Leading zeros still name the variable; all the digits are consumed.
        {"%01|%0010", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}, 200, "a|j"},
        // The number is read like atol (blanks, sign), but only the digits
        // right after the '%' are skipped.
        {"% 2", {"a", "b"}, 200, "b 2"},
        {"%+1", {"a"}, 200, "a+1"},
        {"%-1", {"a"}, 200, "???" "-1"},
        {"%99999999999999999999999|", {"a"}, 200, "???|"},  // no wrap into range
        {"%1%2", {"a", nullptr}, 200, "a???"},
        {"", {"a"}, 200, ""},
        {nullptr, {"a"}, 200, ""},
        // Output cut at its size, a substituted value included.
        {"abcdef", {}, 4, "abcd"},
        {"ab%1ef", {"XYZ"}, 4, "abXY"},
        {"ab%%", {}, 2, "ab"},
        {"abc", {}, 3, "abc"},
        {"abc", {}, 0, ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(expand(c.text, c.vars, c.outSize), c.expected) << (c.text ? c.text : "(null)");
    }
    TableCatalog none({});
    EXPECT_EQ(KivClMessage(none.catalog, 1).replaceVars(nullptr, 10, "abc", nullptr, 0), 0u);
}

TEST(MessageLoading, EveryConstructorFillsTheTenVariables) {
    kivtest::TempDir dir;
    KivClMessageCatalog catalog(KivClFilename(dir.file("lib").c_str()));
    catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    // Message 2 shows its ten variables: "Percent:% Arg1:%1 ... Arg10:%10".
    auto shown = [](std::vector<const char*> values) {
        std::string text = "Percent:%";
        for (size_t i = 0; i < 10; ++i) {
            text += " Arg" + std::to_string(i + 1) + ":" + (i < values.size() && values[i] ? values[i] : "???");
        }
        return text;
    };
    KivClMessage message(catalog, 2, "first");
    EXPECT_EQ(message.getMessageId(), 2u);
    EXPECT_EQ(message.getText(), shown({"first"}));
    const char* vars[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"};
    EXPECT_EQ(KivClMessage(catalog, 2, vars).getText(), shown(std::vector<const char*>(vars, vars + 10)));
    EXPECT_EQ(KivClMessage(catalog, 2).getText(), shown({}));
    message.setNewMessageId(2, "a", "b", nullptr, "d", "e", "f", "g", "h", "i", "j");
    EXPECT_EQ(message.getText(), shown({"a", "b", nullptr, "d", "e", "f", "g", "h", "i", "j"}));
}

TEST(MessageLoading, StringTableBoundsAndFailureTexts) {
    TableCatalog table({"one", "", "%10%11", nullptr});
    const std::string failure = "UNABLE TO LOAD MESSAGE CATALOG: " + table.dir.file("absent.cat");
    const struct { unsigned long id; std::string text; bool loaded; } cases[] = {
        {0, "[KIV_MSGTAB_SIGNATURE] 5", true},  // entry 0 is the signature line
        {1, "one", true},
        {2, "", true},
        {3, "j???", true},  // variable 11 is out of range when loading
        {4, failure, false},  // a null entry is no message
        {5, failure, false},  // the closing signature lies beyond the count
        {0xFFFFFFFFul, failure, false},
    };
    for (const auto& c : cases) {
        KivClMessage message(table.catalog, c.id, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j");
        EXPECT_EQ(message.getText(), c.text) << c.id;
        EXPECT_EQ(message.isLoaded(), c.loaded) << c.id;
    }
    // Without a table every number fails; a table counts from the next load on.
    KivClMessage message(table.catalog, 1);
    table.catalog.useStringTable(nullptr, 5);
    message.setNewMessageId(1);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(message.getText(), failure);
    table.catalog.useStringTable(table.table.data(), 5);
    message.setNewMessageId(1);
    EXPECT_STREQ(message.getText(), "one");
}

TEST(MessageStorage, ShortAndLongTextsCopiesAndTheLengthLimit) {
    const std::string text80(80, 's');
    const std::string text81(81, 'l');
    const std::string text5000(5000, 'h');
    const std::string lastVariable = std::string(4095, 'p') + "%1";
    TableCatalog table({text80.c_str(), text81.c_str(), text5000.c_str(), lastVariable.c_str()});
    TableCatalog other({"other"});
    LoggedAllocations log;
    KivClMessage message(table.catalog, 1);
    EXPECT_EQ(message.getText(), text80);
    EXPECT_TRUE(gSizes.empty()) << "an 80-character text must stay in the object";
    message.setNewMessageId(2);
    EXPECT_EQ(message.getText(), text81);
    EXPECT_EQ(gSizes, std::vector<unsigned int>{82});

    // A copy owns a block of its own and stays bound to its own catalog.
    KivClMessage target(other.catalog, 1);
    target = message;
    EXPECT_EQ(gSizes, (std::vector<unsigned int>{82, 82}));
    EXPECT_EQ(target.getText(), text81);
    EXPECT_NE(target.getText(), message.getText());
    target = KivClMessage(table.catalog, 1);  // a short text replaces a long one
    EXPECT_EQ(target.getText(), text80);
    target.setNewMessageId(1);
    EXPECT_STREQ(target.getText(), "other");
    KivClMessage failed(table.catalog, 77);
    target = failed;
    EXPECT_FALSE(target.isLoaded());
    EXPECT_STREQ(target.getText(), failed.getText());
    EXPECT_EQ(target.getMessageId(), 77u);
    KivClMessage copy(message);
    copy = *&copy;
    EXPECT_EQ(copy.getText(), text81);

    // Cut at 4096 characters, a substituted variable included.
    message.setNewMessageId(3);
    EXPECT_EQ(message.getText(), std::string(4096, 'h'));
    EXPECT_EQ(gSizes.back(), 4097u);
    message.setNewMessageId(4, "VAR");
    EXPECT_EQ(message.getText(), std::string(4095, 'p') + "V");
}

TEST_F(CatalogFile, ExhaustedMemoryLeavesAnEmptyShortText) {
    // Opening a catalog file allocates nothing; loading a long text does.
    const std::string file = build("big", "$set 1\n1 fits\n2 " + std::string(200, 'z') + "\n");
    LoggedAllocations log(true);
    KivClMessageCatalog catalog(KivClFilename(file.c_str()));
    EXPECT_TRUE(catalog.isOpen());
    KivClMessage message(catalog, 1);
    EXPECT_STREQ(message.getText(), "fits");
    EXPECT_THROW(message.setNewMessageId(2), KivClExceptionFatal);
    EXPECT_STREQ(message.getText(), "");
    EXPECT_FALSE(message.isLoaded());
    gFailing = false;
    message.setNewMessageId(2);
    EXPECT_EQ(message.getText(), std::string(200, 'z'));
}
