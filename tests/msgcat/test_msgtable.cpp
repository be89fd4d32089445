// The library message table: its string-table frame, reachability through a
// catalog, and the printable names that the error mappings point at.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "kiv_error.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

// A catalog without a file that serves the library table.
class LibraryCatalog {
public:
    LibraryCatalog() : catalog_(KivClFilename(dir_.file("library").c_str())) {
        catalog_.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
    }
    const KivClMessageCatalog& get() const { return catalog_; }
    std::string text(unsigned long id) const { return KivClMessage(catalog_, id).getText(); }

private:
    kivtest::TempDir dir_;
    KivClMessageCatalog catalog_;
};

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        lines.push_back(text.substr(start, end - start));
    }
    lines.push_back(text.substr(start));
    return lines;
}

}  // namespace

TEST(LibraryMessageTable, FrameSignaturesMarkersAndReservedPlaces) {
    ASSERT_EQ(KIV_MSGTABLE_LIBRARY_ENTRIES, 222u);
    EXPECT_STREQ(kivLibraryMessageTable[0], "[KIV_MSGTAB_SIGNATURE] 221");
    EXPECT_STREQ(kivLibraryMessageTable[221], "[KIV_MSGTAB_SIGNATURE]");
    EXPECT_STREQ(kivLibraryMessageTable[1], "[KIV-LIBRARY]");
    EXPECT_STREQ(kivLibraryMessageTable[220], "[KIV-LIBRARY]");
    EXPECT_STREQ(KIV_MSGTABLE_LIBRARY_MARKER, "[KIV-LIBRARY]");
    EXPECT_TRUE(KivClMessageCatalog::isValidStringTable(kivLibraryMessageTable,
                                                        KIV_MSGTABLE_LIBRARY_COUNT));
    for (unsigned long id = 200; id <= 219; ++id) {
        EXPECT_STREQ(kivLibraryMessageTable[id], "?") << id;
    }
    for (unsigned long id = 0; id < KIV_MSGTABLE_LIBRARY_ENTRIES; ++id) {
        ASSERT_NE(kivLibraryMessageTable[id], nullptr) << id;
        const std::string text = kivLibraryMessageTable[id];
        EXPECT_FALSE(text.empty()) << id;
        if (id != 0 && id != 221) {
            EXPECT_EQ(text.find("KIV_MSGTAB_SIGNATURE"), std::string::npos) << id;
        }
        if (id == 2 || id == 152) {
            continue;  // the only texts with a percent sign
        }
        EXPECT_EQ(text.find('%'), std::string::npos) << id;
        // Only the clipping mark and the nesting label carry outer blanks.
        const bool outerBlank = text.front() == ' ' || text.back() == ' ';
        EXPECT_EQ(outerBlank, id == 190 || id == 192) << id << ": \"" << text << "\"";
    }
}

TEST(LibraryMessageTable, TwoHundredTwentyMessagesAreReachable) {
    LibraryCatalog catalog;
    ASSERT_FALSE(catalog.get().isOpen());
    unsigned long loaded = 0;
    for (unsigned long id = 1; id <= 220; ++id) {
        KivClMessage message(catalog.get(), id);
        if (message.isLoaded()) ++loaded;
    }
    EXPECT_EQ(loaded, 220u);
    EXPECT_EQ(catalog.text(220), "[KIV-LIBRARY]");
    EXPECT_EQ(catalog.text(0), "[KIV_MSGTAB_SIGNATURE] 221");
    KivClMessage beyond(catalog.get(), 221);
    EXPECT_FALSE(beyond.isLoaded());
    EXPECT_EQ(std::string(beyond.getText()),
              std::string("UNABLE TO LOAD MESSAGE CATALOG: ") + catalog.get().getAsCString());
}

TEST(LibraryMessageTable, ErrorNamesMatchTheirValues) {
    LibraryCatalog catalog;
    const std::vector<std::pair<unsigned long, const char*>> ids = {
        {0, "NO_ERROR"},
        {201, "CONUI_USAGE"},
        {202, "CONUI_ARG_MISSING"},
        {203, "CONUI_ARG_EXPECTING_VALUE"},
        {204, "CONUI_ARG_VALUE_TYPE_MISMATCH"},
        {205, "CONUI_MSGCAT_CORRUPTED"},
        {1000001, "INIFILE_INVAL_SECTION"},
        {1000002, "INIFILE_INVAL_OPTION"},
        {1000003, "INIFILE_INVAL_WHITESPACE"},
        {1000101, "DIRECTORY_EXPANSION_FAILED"},
        {1000102, "DIRECTORY_COULD_NOT_CHANGE"},
        {1000103, "DIRECTORY_COULD_NOT_CREATE"},
        {1000104, "DIRECTORY_COULD_NOT_REMOVE"},
        {1000105, "DIRECTORY_COULD_NOT_DETACH"},
        {1000201, "PROCESS_COULD_NOT_KILL"},
        {1000202, "PROCESS_COULD_NOT_LAUNCH"},
        {1000301, "THREAD_COULD_NOT_KILL"},
        {1000302, "THREAD_COULD_NOT_LAUNCH"},
        {1000303, "THREAD_COULD_NOT_SUSPEND"},
        {1000304, "THREAD_COULD_NOT_RESUME"},
        {1000401, "FILE_COULD_NOT_COPY"},
        {1000402, "FILE_COULD_NOT_REMOVE"},
        {1000403, "FILE_COULD_NOT_COPY_SELF"},
        {1000404, "FILE_COULD_NOT_RENAME"},
        {1000601, "DIRWALK_COULD_NOT_INIT"},
        {1000602, "DIRWALK_NO_CONTINUATION"},
        {1000701, "TRACEFORMAT_COULD_NOT_OPEN"},
        {1000702, "TRACEFORMAT_UNEXPECTED_EOF"},
        {1000703, "TRACEFORMAT_FILE_CORRUPTED"},
        {1000801, "MEMORYPOOL_COULD_NOT_GROW"},
        {1000802, "MEMORYPOOL_CHUNK_TOO_BIG"},
        {1000901, "CPCONVERTER_UNSUPPORTED"},
        {1000902, "CPCONVERTER_INVALID_SEQ"},
        {1000903, "CPCONVERTER_TOO_BIG"},
        {1000904, "CPCONVERTER_INCOMPLETE"},
        {1000905, "CPCONVERTER_BAD_DESCR"},
        {1000906, "CPCONVERTER_NO_TMP_BUFFER"},
        {1001001, "MEMMGR_USER_OUT_OF_MEMORY"},
        {1001002, "MEMMGR_RUNTIME_OUT_OF_MEMORY"},
        {1001003, "MEMMGR_NO_USER_REALLOC_FUNC"},
        {1001004, "MEMMGR_ZERO_SIZE_OBJECT"},
        {1001101, "ICU_UNEXPECTED_ICU_ERROR"},
        {1001102, "ICU_ILLEGAL_ARGUMENT_ERROR"},
        {1001103, "ICU_MISSING_RESOURCE_ERROR"},
        {1001104, "ICU_INVALID_FORMAT_ERROR"},
        {1001105, "ICU_FILE_ACCESS_ERROR"},
        {1001106, "ICU_INTERNAL_PROGRAM_ERROR"},
        {1001107, "ICU_MESSAGE_PARSE_ERROR"},
        {1001108, "ICU_MEMORY_ALLOCATION_ERROR"},
        {1001109, "ICU_INDEX_OUTOFBOUNDS_ERROR"},
        {1001110, "ICU_PARSE_ERROR"},
        {1001111, "ICU_INVALID_TABLE_FORMAT"},
        {1001112, "ICU_INVALID_TABLE_FILE"},
        {1001113, "ICU_UNSUPPORTED_ERROR"},
        {1001114, "ICU_RESOURCE_TYPE_MISMATCH"},
        {1001115, "ICU_ILLEGAL_ESCAPE_SEQUENCE"},
        {1001116, "ICU_UNSUPPORTED_ESCAPE_SEQ"},
        {1001117, "ICU_NO_SPACE_AVAILABLE"},
        {1001118, "ICU_ERROR_LIMIT"},
    };
    const std::vector<std::pair<unsigned long, const char*>> classes = {
        {0, "UNKNOWN"},           {1, "FUNCTION_NOT_SUPPORTED"},
        {2, "FUNCTION_NOT_ENABLED"}, {100, "USER_ERROR"},
        {101, "USER_DATA_ERROR"},  {200, "OUT_OF_MEMORY"},
        {201, "RESOURCE_EXHAUSTED"}, {202, "INVALID_DATA"},
        {203, "DATA_OUT_OF_BOUNDS"}, {204, "INVALID_POINTER"},
        {205, "UNKNOWN_PROCESS"},  {206, "RESOURCE_MISSING"},
        {300, "LOGIC"},            {301, "INCONSISTENT_SITUATION"},
        {400, "COMMUNICATION_PROBLEM"}, {500, "IO_PROBLEM"},
        {501, "IO_WRITE_PROBLEM"}, {502, "IO_READ_PROBLEM"},
        {503, "IO_PERMISSION_DENIED"}, {504, "IO_NOT_EXISTENT"},
        {505, "IO_ALREADY_IN_USE"}, {506, "IO_STILL_IN_USE"},
        {507, "IO_INVALID_NAME"},  {900, "HARDWARE_PROBLEM"},
        {901, "HARDWARE_SETUP"},   {902, "HARDWARE_PERFORMANCE"},
        {903, "HARDWARE_NOT_SUPPORTED"},
    };
    const std::vector<std::pair<unsigned long, const char*>> severities = {
        {0, "NONE"},  {1, "INFO"},     {2, "WARNING"},  {5, "NORMAL"},
        {6, "FATAL"}, {7, "INTERNAL"}, {8, "CRITICAL"}, {10, "PANIC"},
    };
    const std::vector<std::pair<unsigned long, const char*>> actions = {
        {0, "IGNORE"},     {1, "INFORM"}, {2, "WARN"},      {3, "RETRY"}, {4, "RETRYDELAY"},
        {5, "USER"},       {6, "TERMINATE"}, {8, "ABORT"}, {10, "PANIC"},
    };

    std::vector<bool> named(KIV_MSGTABLE_LIBRARY_COUNT, false);
    auto check = [&](const char* kind, unsigned long value, unsigned long id, const char* name) {
        ASSERT_GE(id, 47u) << kind << " " << value;
        ASSERT_LE(id, 149u) << kind << " " << value;
        EXPECT_FALSE(named[id]) << kind << " " << value << " shares message " << id;
        named[id] = true;
        EXPECT_EQ(catalog.text(id), name) << kind << " " << value << " -> message " << id;
    };
    for (const auto& [value, name] : ids) {
        check("id", value, kivErrorGetIdAsMessageId(value), name);
    }
    for (const auto& [value, name] : classes) {
        check("class", value, kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(value)),
              name);
    }
    for (const auto& [value, name] : severities) {
        check("severity", value,
              kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(value)), name);
    }
    for (const auto& [value, name] : actions) {
        check("action", value, kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(value)),
              name);
    }
    // Every entry of the name block belongs to exactly one value.
    for (unsigned long id = 47; id <= 149; ++id) {
        EXPECT_TRUE(named[id]) << "message " << id << " names no value";
    }
}

TEST(LibraryMessageTable, TextsWithVariablesLinesAndEscapes) {
    LibraryCatalog catalog;
    KivClMessage percent(catalog.get(), 2, "first");
    EXPECT_STREQ(percent.getText(),
                 "Percent:% Arg1:first Arg2:??? Arg3:??? Arg4:??? Arg5:??? Arg6:??? Arg7:???"
                 " Arg8:??? Arg9:??? Arg10:???");

    // The trace controller's usage string: seven lines of switches.
    const std::vector<std::string> usage = splitLines(kivLibraryMessageTable[151]);
    ASSERT_EQ(usage.size(), 7u);
    EXPECT_EQ(usage.front(), "(-key <key>) [(-instance <instance>)] [(-file <filename>)]");
    EXPECT_EQ(usage.back(), "[-verbose]");

    // Its help text: three sections separated by lines of "@" alone.
    const std::vector<std::string> help = splitLines(kivLibraryMessageTable[152]);
    ASSERT_EQ(help.size(), 50u);
    unsigned long separators = 0;
    for (const std::string& line : help) {
        if (line == "@") ++separators;
    }
    EXPECT_EQ(separators, 2u);
    EXPECT_EQ(help.front(), "-key <key>               Specify a key for the trace facility");
    EXPECT_EQ(help.back(), "   %%t   display the tab character");
    // Loaded, the doubled percent signs become single ones and the backslash
    // stays a single character.
    const std::string loadedHelp = catalog.text(152);
    EXPECT_NE(loadedHelp.find("   %x   display the type of the trace entry with a short name\n"),
              std::string::npos);
    EXPECT_NE(loadedHelp.find("   %\\   display the backslash character\n"), std::string::npos);
    EXPECT_EQ(loadedHelp.find("%%"), std::string::npos);

    // Shared texts and texts with outer blanks.
    EXPECT_EQ(catalog.text(140), "PANIC");
    EXPECT_EQ(catalog.text(149), "PANIC");
    EXPECT_EQ(catalog.text(161), "fdetail");
    EXPECT_EQ(catalog.text(169), "fdetail");
    EXPECT_EQ(catalog.text(190), " *** Clipped ***");
    EXPECT_EQ(catalog.text(192), "Nesting level: ");
    EXPECT_EQ(catalog.text(21), "(Specify '-h' for help)");
    EXPECT_EQ(catalog.text(44), "Exception occured in module");
    EXPECT_EQ(catalog.text(199), "Trace file corrupted: invalid data found");
}
