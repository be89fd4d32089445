// Messages: variable substitution, string-table loading and failure texts,
// the 80/81 storage boundary, the 4096 limit, copies and exhausted memory.
#include <gtest/gtest.h>

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

// Allocator hook that records the sizes asked for and can be told to fail.
std::vector<unsigned int> gSizes;
bool gFailing = false;
void* logAllocate(unsigned int size) {
    gSizes.push_back(size);
    return gFailing ? nullptr : std::malloc(size);
}

// Installs the recording hook for one scope.
struct LoggedAllocations {
    explicit LoggedAllocations(bool fail = false) {
        gSizes.clear();
        gFailing = fail;
        kivSetNewMemoryManager(&logAllocate, &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator);
    }
    ~LoggedAllocations() {
        kivSetNewMemoryManager(&KivClMemoryManager::systemAllocator,
                               &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator);
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

TEST(MessageSubstitution, EscapesReferencesAndLimits) {
    const std::vector<const char*> ten = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};
    const struct {
        const char* text;
        std::vector<const char*> vars;
        unsigned long outSize;
        const char* expected;
    } cases[] = {
        {"a%%b", {}, 200, "a%b"},
        {"<%1|%2>", {"one", "two"}, 200, "<one|two>"},
        {"%1x", {"v"}, 200, "vx"},          // a letter right after the number stays
        {"[%0]", {"v"}, 200, "[???]"},      // variable 0
        {"[%3]", {"a", "b"}, 200, "[???]"},  // beyond the variable count
        {"end%", {"v"}, 200, "end???"},  // a bare '%' at the end
        {"%x", {"v"}, 200, "???x"},
        {"%01|%0010", ten, 200, "a|j"},  // leading zeros; all digits consumed
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

    KivClMessage message(catalog, 2, "first");
    EXPECT_TRUE(message.isLoaded());
    EXPECT_EQ(message.getMessageId(), 2u);
    EXPECT_STREQ(message.getText(), "Percent:% Arg1:first Arg2:??? Arg3:??? Arg4:??? Arg5:??? "
                                    "Arg6:??? Arg7:??? Arg8:??? Arg9:??? Arg10:???");
    const char* vars[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"};
    EXPECT_STREQ(KivClMessage(catalog, 2, vars).getText(),
                 "Percent:% Arg1:1 Arg2:2 Arg3:3 Arg4:4 Arg5:5 Arg6:6 Arg7:7 Arg8:8 Arg9:9 Arg10:ten");
    EXPECT_STREQ(KivClMessage(catalog, 2).getText(),
                 "Percent:% Arg1:??? Arg2:??? Arg3:??? Arg4:??? Arg5:??? Arg6:??? Arg7:??? "
                 "Arg8:??? Arg9:??? Arg10:???");
    message.setNewMessageId(2, "a", "b", nullptr, "d", "e", "f", "g", "h", "i", "j");
    EXPECT_STREQ(message.getText(),
                 "Percent:% Arg1:a Arg2:b Arg3:??? Arg4:d Arg5:e Arg6:f Arg7:g Arg8:h Arg9:i Arg10:j");
    message.setNewMessageId(1);
    EXPECT_STREQ(message.getText(), "[KIV-LIBRARY]");
    EXPECT_EQ(message.getMessageId(), 1u);
}

TEST(MessageLoading, StringTableBoundsAndFailureTexts) {
    TableCatalog table({"one", "", "%10%11", nullptr});
    const std::string failure = "UNABLE TO LOAD MESSAGE CATALOG: " + table.dir.file("absent.cat");
    EXPECT_FALSE(table.catalog.isOpen());
    const struct {
        unsigned long id;
        std::string text;
        bool loaded;
    } cases[] = {
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

TEST(MessageStorage, ShortAndLongTextsAndTheLengthLimit) {
    const std::string text80(80, 's');
    const std::string text81(81, 'l');
    const std::string text5000(5000, 'h');
    const std::string lastVariable = std::string(4095, 'p') + "%1";
    TableCatalog table({text80.c_str(), text81.c_str(), text5000.c_str(), lastVariable.c_str()});
    LoggedAllocations log;
    KivClMessage message(table.catalog, 1);
    EXPECT_EQ(message.getText(), text80);
    EXPECT_TRUE(gSizes.empty()) << "an 80-character text must stay in the object";
    message.setNewMessageId(2);
    EXPECT_EQ(message.getText(), text81);
    EXPECT_EQ(gSizes, std::vector<unsigned int>{82});
    // Cut at 4096 characters, a substituted variable included.
    message.setNewMessageId(3);
    EXPECT_EQ(message.getText(), std::string(4096, 'h'));
    EXPECT_EQ(gSizes.back(), 4097u);
    message.setNewMessageId(4, "VAR");
    EXPECT_EQ(message.getText(), std::string(4095, 'p') + "V");
}

TEST(MessageStorage, CopiesOwnTheirTextAndKeepTheirCatalog) {
    const std::string longA(100, 'a');
    const std::string longB(90, 'b');
    TableCatalog first({longA.c_str(), "short"});
    TableCatalog second({"other", longB.c_str()});
    KivClMessage longMessage(first.catalog, 1);
    KivClMessage target(second.catalog, 1);
    {
        LoggedAllocations log;
        target = longMessage;
        EXPECT_EQ(gSizes, std::vector<unsigned int>{101});
    }
    EXPECT_EQ(target.getText(), longA);
    EXPECT_NE(target.getText(), longMessage.getText());
    target.setNewMessageId(2);  // still loads from its own catalog
    EXPECT_EQ(target.getText(), longB);

    target = KivClMessage(first.catalog, 2);  // a short text replaces a long one
    EXPECT_STREQ(target.getText(), "short");
    KivClMessage failed(first.catalog, 77);
    target = failed;
    EXPECT_FALSE(target.isLoaded());
    EXPECT_STREQ(target.getText(), failed.getText());
    EXPECT_EQ(target.getMessageId(), 77u);

    KivClMessage copy(longMessage);
    copy = *&copy;
    EXPECT_EQ(copy.getText(), longA);
    copy.setNewMessageId(2);
    EXPECT_STREQ(copy.getText(), "short");
    EXPECT_EQ(longMessage.getText(), longA);
}

TEST(MessageStorage, ExhaustedMemoryLeavesAnEmptyShortText) {
    // Opening a catalog file allocates nothing; loading a long text does.
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("big.msg"), "$set 1\n1 fits\n2 " + std::string(200, 'z') + "\n");
    ASSERT_EQ(kivtest::runShell("gencat " + dir.file("big.cat") + " " + dir.file("big.msg")).exitCode,
              0);
    LoggedAllocations log(true);
    KivClMessageCatalog catalog(KivClFilename(dir.file("big.cat").c_str()));
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
