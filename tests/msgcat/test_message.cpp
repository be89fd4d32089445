// Messages: variable substitution, the 80/81 storage boundary, the 4096
// limit, copies and the failure texts, on catalogs that use string tables.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

// Records the sizes the library asks the allocator for; can be told to fail.
struct AllocationLog {
    static std::vector<unsigned int>& sizes() {
        static std::vector<unsigned int> log;
        return log;
    }
    static bool& failing() {
        static bool fail = false;
        return fail;
    }
    static void* allocate(unsigned int size) {
        sizes().push_back(size);
        return failing() ? nullptr : std::malloc(size);
    }
    static void* reallocate(void* pointer, unsigned int size) { return std::realloc(pointer, size); }
    static void release(void* pointer) { std::free(pointer); }
};

// Installs the logging allocator for one scope.
class LoggedAllocations {
public:
    explicit LoggedAllocations(bool fail = false) {
        AllocationLog::sizes().clear();
        AllocationLog::failing() = fail;
        kivSetNewMemoryManager(&AllocationLog::allocate, &AllocationLog::reallocate,
                               &AllocationLog::release);
    }
    ~LoggedAllocations() {
        kivSetNewMemoryManager(&KivClMemoryManager::systemAllocator,
                               &KivClMemoryManager::systemReallocator,
                               &KivClMemoryManager::systemDeallocator);
        AllocationLog::failing() = false;
    }
    std::vector<unsigned int> sizes() const { return AllocationLog::sizes(); }
};

// A catalog whose file does not exist, so that it reads from a string table
// made of the given messages (numbers 1 and up).
class TableCatalog {
public:
    explicit TableCatalog(const std::vector<std::string>& messages)
        : catalog_(KivClFilename(dir_.file("absent.txt").c_str())), texts_(messages) {
        texts_.insert(texts_.begin(),
                      std::string(KIV_MSGTAB_SIGNATURE) + " " + std::to_string(messages.size() + 1));
        texts_.push_back(KIV_MSGTAB_SIGNATURE);
        for (const std::string& text : texts_) pointers_.push_back(text.c_str());
        catalog_.useStringTable(pointers_.data(), messages.size() + 1);
    }
    TableCatalog(const TableCatalog&) = delete;
    TableCatalog& operator=(const TableCatalog&) = delete;

    KivClMessageCatalog& catalog() { return catalog_; }
    const char* const* table() const { return pointers_.data(); }
    std::string name() const { return catalog_.getAsCString(); }

private:
    kivtest::TempDir dir_;  // built first: the catalog is named inside it
    KivClMessageCatalog catalog_;
    std::vector<std::string> texts_;
    std::vector<const char*> pointers_;
};

// A message to call replaceVars on; its catalog has neither file nor table.
const KivClMessage& scratchMessage() {
    static kivtest::TempDir dir;
    static KivClMessageCatalog catalog(KivClFilename(dir.file("none").c_str()));
    static KivClMessage message(catalog, 1);
    return message;
}

std::string expand(const char* text, std::vector<const char*> vars, unsigned long outSize = 200) {
    const KivClMessage& message = scratchMessage();
    std::vector<char> out(outSize + 1, 'X');
    const unsigned long written =
        message.replaceVars(out.data(), outSize, text, vars.data(), vars.size());
    EXPECT_EQ(written, std::strlen(out.data())) << "returned length disagrees with the output";
    return out.data();
}

}  // namespace

TEST(MessageSubstitution, PercentEscapesAndVariableReferences) {
    EXPECT_EQ(expand("a%%b", {}), "a%b");
    EXPECT_EQ(expand("%%%%", {}), "%%");
    EXPECT_EQ(expand("<%1|%2>", {"one", "two"}), "<one|two>");
    EXPECT_EQ(expand("%2%1", {"A", "B"}), "BA");
    // A reference to variable 1 followed by a letter keeps the letter.
    EXPECT_EQ(expand("%1x", {"v"}), "vx");
    // Variable 0, a variable beyond the count and a bare '%' at the end.
    EXPECT_EQ(expand("[%0]", {"v"}), "[???]");
    EXPECT_EQ(expand("[%3]", {"a", "b"}), "[???]");
    EXPECT_EQ(expand("end%", {"v"}), "end???");
    EXPECT_EQ(expand("%x", {"v"}), "???x");
    // Leading zeros still name the variable; all the digits are consumed.
    EXPECT_EQ(expand("%01|%0010", {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"}), "a|j");
    // atol-style parsing: blanks and a sign are read, but only digits right
    // after the '%' are skipped, so the rest is copied as it stands.
    EXPECT_EQ(expand("% 2", {"a", "b"}), "b 2");
    EXPECT_EQ(expand("%+1", {"a"}), "a+1");
    EXPECT_EQ(expand("%-1", {"a"}), "???" "-1");
    // A huge number neither overflows nor wraps into range.
    EXPECT_EQ(expand("%99999999999999999999999|", {"a"}), "???|");
    // A null variable in the array prints as missing.
    EXPECT_EQ(expand("%1%2", {"a", nullptr}), "a???");
    // Null and empty texts give an empty result.
    EXPECT_EQ(expand("", {"a"}), "");
    EXPECT_EQ(expand(nullptr, {"a"}), "");
}

TEST(MessageSubstitution, OutputIsCutAtItsSizeAndAlwaysTerminated) {
    EXPECT_EQ(expand("abcdef", {}, 4), "abcd");
    EXPECT_EQ(expand("ab%1ef", {"XYZ"}, 4), "abXY");
    EXPECT_EQ(expand("ab%%", {}, 2), "ab");
    EXPECT_EQ(expand("abc", {}, 0), "");
    EXPECT_EQ(expand("abc", {}, 3), "abc");

    const KivClMessage& message = scratchMessage();
    // The terminator goes right after the last character, byte outSize at
    // most: nothing beyond outSize + 1 bytes is touched.
    char out[6];
    std::memset(out, 'X', sizeof out);
    EXPECT_EQ(message.replaceVars(out, 4, "123456789", nullptr, 0), 4u);
    EXPECT_STREQ(out, "1234");
    EXPECT_EQ(out[5], 'X');
    EXPECT_EQ(message.replaceVars(nullptr, 10, "abc", nullptr, 0), 0u);
}

TEST(MessageLoading, LibraryStyleTextWithOnlyTheFirstVariable) {
    TableCatalog table({"[T]", "Percent:%% Arg1:%1 Arg2:%2 Arg3:%3 Arg10:%10 Arg11:%11"});
    KivClMessage message(table.catalog(), 2, "first");
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "Percent:% Arg1:first Arg2:??? Arg3:??? Arg10:??? Arg11:???");
    EXPECT_EQ(message.getMessageId(), 2u);

    const char* vars[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"};
    KivClMessage all(table.catalog(), 2, vars);
    EXPECT_STREQ(all.getText(), "Percent:% Arg1:1 Arg2:2 Arg3:3 Arg10:ten Arg11:???");

    KivClMessage none(table.catalog(), 2);
    EXPECT_STREQ(none.getText(), "Percent:% Arg1:??? Arg2:??? Arg3:??? Arg10:??? Arg11:???");

    none.setNewMessageId(2, "a", "b", nullptr, "d", "e", "f", "g", "h", "i", "j");
    EXPECT_STREQ(none.getText(), "Percent:% Arg1:a Arg2:b Arg3:??? Arg10:j Arg11:???");
    none.setNewMessageId(1);
    EXPECT_STREQ(none.getText(), "[T]");
    EXPECT_EQ(none.getMessageId(), 1u);
}

TEST(MessageLoading, StringTableBoundsAndFailureTexts) {
    TableCatalog table({"one", "two", ""});
    const std::string failure = "UNABLE TO LOAD MESSAGE CATALOG: " + table.name();
    EXPECT_FALSE(table.catalog().isOpen());
    EXPECT_FALSE(table.catalog().isDefaultCatalog());

    // Count 4: messages 0 to 3; 0 is the signature line itself.
    KivClMessage message(table.catalog(), 0);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "[KIV_MSGTAB_SIGNATURE] 4");
    message.setNewMessageId(3);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "");
    message.setNewMessageId(4);  // the closing signature lies beyond the count
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(message.getText(), failure);
    message.setNewMessageId(0xFFFFFFFFul);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(message.getText(), failure);

    // No table at all, and a table taken away again.
    kivtest::TempDir dir;
    KivClMessageCatalog bare(KivClFilename(dir.file("m.txt").c_str()));
    KivClMessage missing(bare, 1, "v");
    EXPECT_FALSE(missing.isLoaded());
    EXPECT_EQ(std::string(missing.getText()), "UNABLE TO LOAD MESSAGE CATALOG: " + dir.file("m.cat"));
    table.catalog().useStringTable(nullptr, 4);
    message.setNewMessageId(1);
    EXPECT_FALSE(message.isLoaded());
    // A table given later is used from the next load on.
    table.catalog().useStringTable(table.table(), 4);
    message.setNewMessageId(1);
    EXPECT_TRUE(message.isLoaded());
    EXPECT_STREQ(message.getText(), "one");
}

TEST(MessageLoading, NullEntryInAStringTableIsNotAMessage) {
    kivtest::TempDir dir;
    KivClMessageCatalog catalog(KivClFilename(dir.file("x").c_str()));
    const char* table[] = {"[KIV_MSGTAB_SIGNATURE] 3", "a", nullptr, "[KIV_MSGTAB_SIGNATURE]"};
    catalog.useStringTable(table, 3);
    KivClMessage message(catalog, 2);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_NE(std::strstr(message.getText(), "UNABLE TO LOAD MESSAGE CATALOG: "), nullptr);
}

TEST(MessageStorage, ShortAndLongTextsAndTheLengthLimit) {
    const std::string text80(80, 's');
    const std::string text81(81, 'l');
    const std::string text5000(5000, 'h');
    TableCatalog table({text80, text81, text5000, std::string(4095, 'p') + "%1"});
    {
        LoggedAllocations log;
        KivClMessage message(table.catalog(), 1);
        EXPECT_EQ(message.getText(), text80);
        EXPECT_TRUE(log.sizes().empty()) << "an 80-character text must stay in the object";

        message.setNewMessageId(2);
        EXPECT_EQ(message.getText(), text81);
        ASSERT_EQ(log.sizes().size(), 1u);
        EXPECT_EQ(log.sizes()[0], 82u);

        // Cut at 4096 characters, including a substituted variable.
        message.setNewMessageId(3);
        EXPECT_EQ(std::string(message.getText()), std::string(4096, 'h'));
        EXPECT_EQ(log.sizes().back(), 4097u);
        message.setNewMessageId(4, "VAR");
        EXPECT_EQ(std::string(message.getText()), std::string(4095, 'p') + "V");
        EXPECT_TRUE(message.isLoaded());
    }
}

TEST(MessageStorage, CopiesOwnTheirTextAndKeepTheirCatalog) {
    TableCatalog first({std::string(100, 'a'), "short"});
    TableCatalog second({"other", std::string(90, 'b')});
    KivClMessage longMessage(first.catalog(), 1);
    KivClMessage target(second.catalog(), 1);
    {
        LoggedAllocations log;
        target = longMessage;
        ASSERT_EQ(log.sizes().size(), 1u);
        EXPECT_EQ(log.sizes()[0], 101u);
    }
    EXPECT_EQ(std::string(target.getText()), std::string(100, 'a'));
    EXPECT_NE(target.getText(), longMessage.getText());
    EXPECT_EQ(target.getMessageId(), 1u);
    EXPECT_TRUE(target.isLoaded());
    // The target still loads from its own catalog.
    target.setNewMessageId(2);
    EXPECT_EQ(std::string(target.getText()), std::string(90, 'b'));

    // A short source replaces a long text; failure state is copied too.
    KivClMessage shortMessage(first.catalog(), 2);
    target = shortMessage;
    EXPECT_STREQ(target.getText(), "short");
    KivClMessage failed(first.catalog(), 77);
    target = failed;
    EXPECT_FALSE(target.isLoaded());
    EXPECT_STREQ(target.getText(), failed.getText());
    EXPECT_EQ(target.getMessageId(), 77u);

    // Self-assignment and copy construction.
    KivClMessage copy(longMessage);
    copy = *&copy;
    EXPECT_EQ(std::string(copy.getText()), std::string(100, 'a'));
    copy.setNewMessageId(2);
    EXPECT_STREQ(copy.getText(), "short");
    EXPECT_EQ(std::string(longMessage.getText()), std::string(100, 'a'));
}

TEST(MessageStorage, ExhaustedMemoryLeavesAnEmptyShortText) {
    TableCatalog table({"fits", std::string(200, 'z')});
    KivClMessage message(table.catalog(), 1);
    {
        LoggedAllocations log(true);
        EXPECT_THROW(message.setNewMessageId(2), KivClExceptionFatal);
    }
    EXPECT_STREQ(message.getText(), "");
    EXPECT_FALSE(message.isLoaded());
    message.setNewMessageId(2);
    EXPECT_EQ(std::string(message.getText()), std::string(200, 'z'));
}
