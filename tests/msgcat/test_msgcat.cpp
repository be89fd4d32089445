// Message catalogs, messages and catalog proxies: catalog files built with
// gencat and string tables, variable substitution, the failure texts, the
// 80/81 storage boundary, the 4096 limit, copies and exhausted memory; the
// library message table and its generated message source.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgcatproxy.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

const char* const kTable[] = {"[KIV_MSGTAB_SIGNATURE] 3", "table one", "table %1", "[KIV_MSGTAB_SIGNATURE]"};
const char* const kNone = nullptr;

// Every catalog construction sets the process locale: run each test with
// LC_ALL=C and put the locale back afterwards.
class CatalogFile : public ::testing::Test {
protected:
    ~CatalogFile() override { std::setlocale(LC_ALL, savedLocale_.c_str()); }

    // Builds dir_/<base>.cat from a gencat message source; returns its path.
    std::string build(const std::string& base, const std::string& source) {
        const std::string msg = dir_.file(base + ".msg"), cat = dir_.file(base + ".cat");
        kivtest::writeFile(msg, source);
        const kivtest::ChildResult result = kivtest::runShell("gencat '" + cat + "' '" + msg + "'");
        EXPECT_TRUE(result.exited && result.exitCode == 0) << "gencat failed: " << result.err;
        return cat;
    }

    std::string savedLocale_{std::setlocale(LC_ALL, nullptr)};
    kivtest::ScopedEnv lcAll_{"LC_ALL", "C"};
    kivtest::TempDir dir_;
};

// Allocator hooks that record the sizes asked for and fail while gFailing.
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
// null entries kept) as its string table, or the library's table.
struct TableCatalog {
    TableCatalog() { catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT); }
    std::string text(unsigned long id) const { return KivClMessage(catalog, id).getText(); }
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

std::string quote(const std::string& text) { return "'" + text + "'"; }

// Text and loaded state of one message.
std::pair<std::string, bool> shown(const KivClMessage& message) { return {message.getText(), message.isLoaded()}; }

// Runs replaceVars with room for outSize + 1 bytes and a guard byte that must
// stay untouched; checks the returned length against the result.
std::string expand(const char* text, std::vector<const char*> vars, unsigned long outSize) {
    static TableCatalog none;
    std::vector<char> out(outSize + 2, 'X');
    const unsigned long n = KivClMessage(none.catalog, 1).replaceVars(out.data(), outSize, text, vars.data(),
                                                                      vars.size());
    EXPECT_EQ(n, std::strlen(out.data())) << text;
    EXPECT_EQ(out[outSize + 1], 'X') << text;
    return out.data();
}

}  // namespace

TEST_F(CatalogFile, ReadsSetOneAndFilesWithoutMessageOneAreNoCatalog) {
    const std::string file = build("tool", "$set 1\n1 first message\n2 value <%1> and <%2>, 100%%\n4 \n5 " +
                                           std::string(200, 'z') + "\n$set 2\n3 only in set two\n");
    KivClMessageCatalog catalog(KivClFilename(dir_.file("tool.txt").c_str()));
    ASSERT_TRUE(catalog.isOpen() && !catalog.isDefaultCatalog());
    catalog.useStringTable(kTable, 3);  // ignored while the file is open
    const struct { unsigned long id; std::pair<std::string, bool> expected; } rows[] = {
        {1, {"first message", true}}, {2, {"value <x> and <???" ">, 100%", true}}, {4, {"", true}},
        {3, {"UNABLE TO LOAD MESSAGE #3 FROM CATALOG: " + file, false}},  // set 2 only
        {0, {"UNABLE TO LOAD MESSAGE #0 FROM CATALOG: " + file, false}},
        {4294967295ul, {"UNABLE TO LOAD MESSAGE #4294967295 FROM CATALOG: " + file, false}},
    };
    for (const auto& row : rows) EXPECT_EQ(shown(KivClMessage(catalog, row.id, "x")), row.expected) << row.id;
    // Opening a catalog file allocates nothing; a long text that gets no
    // memory leaves an empty short text.
    {
        LoggedAllocations log(true);
        KivClMessageCatalog reopened(KivClFilename(file.c_str()));
        KivClMessage message(reopened, 1);
        EXPECT_THROW(message.setNewMessageId(5), KivClExceptionFatal);
        EXPECT_EQ(shown(message), std::make_pair(std::string(), false));
    }

    // The failure text names the whole file, even beyond 4096 characters;
    // such a catalog reads a string table.
    const std::string partial = build("partial", "$set 1\n2 second\n3 third\n");
    ASSERT_EQ(::mkdir(dir_.file("sub.cat").c_str(), 0700), 0);
    std::string longName = dir_.path() + "/";
    while (longName.size() < 4075) longName += "component/";
    for (const std::string& name : {partial, dir_.file("missing.cat"), dir_.file("sub.cat"), longName + "c.cat"}) {
        KivClMessageCatalog closed(KivClFilename(name.c_str()));
        EXPECT_FALSE(closed.isOpen()) << name;
        EXPECT_EQ(shown(KivClMessage(closed, 2)), std::make_pair("UNABLE TO LOAD MESSAGE CATALOG: " + name, false));
        closed.useStringTable(kTable, 3);
        EXPECT_STREQ(KivClMessage(closed, 1).getText(), "table one") << name;
    }
}

TEST_F(CatalogFile, LocaleComesFromTheEnvironmentOrFallsBackToC) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) GTEST_SKIP() << "the C.UTF-8 locale is not available";
    std::setlocale(LC_ALL, "C");
    const std::string file = build("loc", "$set 1\n1 one\n");
    kivtest::ScopedEnv utf8("LC_ALL", "C.UTF-8");
    EXPECT_TRUE(KivClMessageCatalog(KivClFilename(file.c_str())).isOpen());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C.UTF-8");

    // A failed first attempt switches to the "C" locale and tries again: this
    // catalog lies only in the C locale's directory along NLSPATH.
    ASSERT_EQ(::mkdir(dir_.file("C").c_str(), 0700), 0);
    build("C/tool", "$set 1\n1 from C\n");
    kivtest::ScopedEnv path("NLSPATH", (dir_.path() + "/%L/%N").c_str());
    EXPECT_STREQ(KivClMessage(KivClMessageCatalog(KivClFilename("tool")), 1).getText(), "from C");
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    kivtest::ScopedEnv bogus("LC_ALL", "xx_XX.NOSUCH");
    EXPECT_TRUE(KivClMessageCatalog(KivClFilename(file.c_str())).isOpen());

    // The default catalog is ".cat" along NLSPATH.
    kivtest::ScopedEnv nameOnly("NLSPATH", (dir_.path() + "/%N").c_str());
    build("", "$set 1\n1 default catalog\n");
    KivClMessageCatalog byDefault;
    EXPECT_TRUE(byDefault.isDefaultCatalog() && byDefault.isOpen());
    EXPECT_STREQ(KivClMessage(byDefault, 1).getText(), "default catalog");
    EXPECT_STREQ(KivClMessage(byDefault, 9).getText(), "UNABLE TO LOAD MESSAGE #9 FROM CATALOG: .cat");
}

TEST(MessageSubstitution, EscapesReferencesAndLimits) {
    // {text, variables, output size, expected}; the number is read like atol
    // (blanks, sign, leading zeros), but only the digits right after the '%'
    // are skipped; the output is cut at its size, a substituted value included.
    const struct { const char* text; std::vector<const char*> vars; unsigned long outSize; const char* expected; }
        rows[] = {
        {"a%%b", {}, 200, "a%b"},                  {"<%1|%2>", {"one", "two"}, 200, "<one|two>"},
        {"%1x", {"v"}, 200, "vx"},                 {"[%0]", {"v"}, 200, "[???]"},
        {"[%3]", {"a", "b"}, 200, "[???]"},        {"end%", {"v"}, 200, "end???"},
        {"%x", {"v"}, 200, "???x"},                {"% 2", {"a", "b"}, 200, "b 2"},
        {"%+1", {"a"}, 200, "a+1"},                {"%-1", {"a"}, 200, "???" "-1"},
        {"%1%2", {"a", nullptr}, 200, "a???"},     {nullptr, {"a"}, 200, ""},
        {"%01|%0010", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}, 200, "a|j"},
        {"%99999999999999999999999|", {"a"}, 200, "???|"},  // no wrap into range
        {"abcdef", {}, 4, "abcd"},                 {"ab%1ef", {"XYZ"}, 4, "abXY"},
        {"ab%%", {}, 2, "ab"},                     {"abc", {}, 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(expand(row.text, row.vars, row.outSize), row.expected) << (row.text ? row.text : "(null)");
    }
    TableCatalog none;
    EXPECT_EQ(KivClMessage(none.catalog, 1).replaceVars(nullptr, 10, "abc", nullptr, 0), 0u);
}

TEST(MessageLoading, ConstructorsVariablesStringTableBoundsAndSignatures) {
    TableCatalog table({"one", "", "%10%11", nullptr, "%1 %2 %3 %4 %5 %6 %7 %8 %9 %10"});
    const char* vars[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"};
    KivClMessage message(table.catalog, 5, "first");
    EXPECT_STREQ(message.getText(), "first ??? ??? ??? ??? ??? ??? ??? ??? ???");
    EXPECT_STREQ(KivClMessage(table.catalog, 5, vars).getText(), "1 2 3 4 5 6 7 8 9 ten");
    EXPECT_STREQ(KivClMessage(table.catalog, 5).getText(), "??? ??? ??? ??? ??? ??? ??? ??? ??? ???");
    message.setNewMessageId(5, "a", "b", nullptr, "d", "e", "f", "g", "h", "i", "j");
    EXPECT_STREQ(message.getText(), "a b ??? d e f g h i j");

    const std::string failure = "UNABLE TO LOAD MESSAGE CATALOG: " + table.dir.file("absent.cat");
    // Entry 0 is the signature line, variable 11 is out of range when loading,
    // a null entry is no message, the closing signature lies beyond the count.
    const struct { unsigned long id; std::pair<std::string, bool> expected; } rows[] = {
        {0, {"[KIV_MSGTAB_SIGNATURE] 6", true}}, {1, {"one", true}}, {2, {"", true}}, {3, {"j???", true}},
        {4, {failure, false}}, {6, {failure, false}}, {0xFFFFFFFFul, {failure, false}},
    };
    for (const auto& row : rows) {
        const KivClMessage loaded(table.catalog, row.id, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j");
        EXPECT_EQ(shown(loaded), row.expected) << row.id;
    }
    // Without a table every number fails.
    table.catalog.useStringTable(nullptr, 6);
    message.setNewMessageId(1);
    EXPECT_EQ(shown(message), std::make_pair(failure, false));

    EXPECT_TRUE(!KivClMessageCatalog::isValidMessageId(0) && KivClMessageCatalog::isValidMessageId(4294967295ul));
    const std::vector<const char*> three(std::begin(kTable), std::end(kTable));
    const char *const open = "[KIV_MSGTAB_SIGNATURE] 1", *const close = "[KIV_MSGTAB_SIGNATURE]";
    // A count that disagrees with entry 0 is refused before entry count is
    // read, so the sanitizer build would catch an overrun here.
    const struct { std::vector<const char*> table; unsigned long count; bool valid; } signatures[] = {
        {three, 3, true}, {{open, close}, 1, true}, {three, 2, false}, {three, 30, false},
        {{open, "[KIV_MSGTAB_SIGNATURE] "}, 1, false}, {{"[KIV_MSGTAB_SIGNATURE]_1", close}, 1, false},
        {{"[KIV_MSGTAB_SIGNATURE] 1x", close}, 1, false}, {{nullptr, close}, 1, false}, {{open, nullptr}, 1, false},
    };
    for (const auto& row : signatures) {
        EXPECT_EQ(KivClMessageCatalog::isValidStringTable(row.table.data(), row.count), row.valid)
            << (row.table[0] ? row.table[0] : "null") << " / " << row.count;
    }
    EXPECT_FALSE(KivClMessageCatalog::isValidStringTable(nullptr, 3));
}

TEST(MessageStorage, ShortAndLongTextsCopiesAndTheLengthLimit) {
    const std::string text80(80, 's'), text81(81, 'l'), text5000(5000, 'h');
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
    target = KivClMessage(table.catalog, 1);  // a short text replaces a long one
    EXPECT_EQ(target.getText(), text80);
    target.setNewMessageId(1);
    EXPECT_STREQ(target.getText(), "other");
    const KivClMessage failed(table.catalog, 77);
    target = failed;
    EXPECT_EQ(shown(target), shown(failed));
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

TEST_F(CatalogFile, ProxiesOverFilesTablesAndAttachedCatalogs) {
    const std::string file = build("app", "$set 1\n1 first message\n2 second message\n3 Copied %1 of %2 files\n"
                                          "4 %1 %2 %3 %4 %5 %6 %7 %8 %9 %10 %11\n");
    const std::string missing = dir_.file("missing");
    KivClMessageCatalogProxy* handle = kivMsgCatOpen(file.c_str());
    ASSERT_NE(handle, nullptr);
    const char* first = kivMsgCatGet(handle, 1);
    EXPECT_STREQ(first, "first message");
    EXPECT_EQ(kivMsgCatGet(handle, 2), first);  // one buffer per handle
    EXPECT_STREQ(first, "second message");
    EXPECT_TRUE(kivMsgCatIsValid(handle, 3) && !kivMsgCatIsValid(handle, 99));
    // Variables end at the first null or after the tenth, without a terminator.
    const struct { std::string got, expected; } rows[] = {
        {kivMsgCatGetVar(handle, 3, kNone, "5", kNone), "Copied ??? of ??? files"},
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", kNone),
         "a b c d e f g h i j ???"},
        {kivMsgCatGetVar(handle, 4, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j"), "a b c d e f g h i j ???"},
    };
    for (const auto& row : rows) EXPECT_EQ(row.got, row.expected);
    kivMsgCatClose(handle);
    EXPECT_EQ(kivMsgCatOpen(missing.c_str()), nullptr);
    EXPECT_FALSE(kivMsgCatIsValid(nullptr, 1) || *kivMsgCatGet(nullptr, 1) ||
                 *kivMsgCatGetVar(nullptr, 1, "a", kNone));
    kivMsgCatClose(nullptr);

    KivClMessageCatalogProxy* table = kivMsgCatOpenOrUseStringTable(missing.c_str(), kTable, 3);
    EXPECT_STREQ(kivMsgCatGetVar(table, 2, "x", kNone), "table x");
    kivMsgCatClose(table);

    KivClMessageCatalog catalog{KivClFilename(file.c_str())};
    KivClMessageCatalogProxy* attached = kivMsgCatOpenAttach(&catalog);
    ASSERT_NE(attached, nullptr);
    EXPECT_STREQ(kivMsgCatGet(attached, 2), "second message");
    kivMsgCatClose(attached);
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "first message");
    KivClMessageCatalog closed{KivClFilename(missing.c_str())};
    closed.useStringTable(kTable, 3);
    EXPECT_TRUE(kivMsgCatOpenAttach(&closed) == nullptr && kivMsgCatOpenAttach(nullptr) == nullptr);

    // A failure text is a 32-character head and the whole catalog name; the
    // rows put the proxy's cut between two characters or inside a two-byte one.
    const struct { size_t asciiBefore, keptLength; } cuts[] = {{4000, 4099}, {4001, 4098}};
    for (const auto& cut : cuts) {
        std::string name = "/" + std::string(cut.asciiBefore, 'a');
        while (name.size() < 4090) name += "\xC3\xA9";  // é
        KivClMessageCatalogProxy proxy{KivClFilename(name.c_str())};
        const std::string full = KivClMessage(*proxy.getCatalog(), 1).getText();
        EXPECT_EQ(std::string(proxy.getMessage(1)), full.substr(0, cut.keptLength)) << cut.asciiBefore;
    }
}

// Every text is pinned by the shipped message source (below); here the
// frame, the reserved places and the names the error mappings point at.
TEST(LibraryMessageTable, FrameAndErrorNames) {
    EXPECT_STREQ(kivLibraryMessageTable[KIV_MSGTABLE_LIBRARY_COUNT], "[KIV_MSGTAB_SIGNATURE]");
    for (unsigned long id = 200; id <= 219; ++id) EXPECT_STREQ(kivLibraryMessageTable[id], "?") << id;
    TableCatalog catalog;
    EXPECT_EQ(catalog.text(0) + catalog.text(1) + catalog.text(220),
              "[KIV_MSGTAB_SIGNATURE] 221[KIV-LIBRARY][KIV-LIBRARY]");
    EXPECT_EQ(catalog.text(221), std::string("UNABLE TO LOAD MESSAGE CATALOG: ") + catalog.catalog.getAsCString());
    // Error identifiers, classes, severities and actions (USER and
    // RETRYDELAY stand in the other order).
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
    const TableCatalog fromTable;
    for (unsigned long id = 1; id < KIV_MSGTABLE_LIBRARY_COUNT; ++id) {
        const KivClMessage expected(fromTable.catalog, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9",
                                    "v10");
        const KivClMessage actual(fromFile, id, "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9", "v10");
        ASSERT_TRUE(expected.isLoaded() && *expected.getText() != '\0') << id;
        EXPECT_EQ(shown(actual), shown(expected)) << "message " << id;
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
