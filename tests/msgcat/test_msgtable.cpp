// The library message table: its string-table frame, reachability through a
// catalog, and the printable names that the error mappings point at.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "kiv_error.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"

namespace {

// A catalog without a file that serves the library table.
struct LibraryCatalog {
    LibraryCatalog() { catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT); }
    std::string text(unsigned long id) const { return KivClMessage(catalog, id).getText(); }
    kivtest::TempDir dir;
    KivClMessageCatalog catalog{KivClFilename(dir.file("library").c_str())};
};

}  // namespace

TEST(LibraryMessageTable, FrameReachableMessagesAndTraceTexts) {
    ASSERT_EQ(KIV_MSGTABLE_LIBRARY_ENTRIES, 222u);
    EXPECT_STREQ(kivLibraryMessageTable[0], "[KIV_MSGTAB_SIGNATURE] 221");
    EXPECT_STREQ(kivLibraryMessageTable[221], "[KIV_MSGTAB_SIGNATURE]");
    EXPECT_STREQ(KIV_MSGTABLE_LIBRARY_MARKER, "[KIV-LIBRARY]");
    for (unsigned long id = 200; id <= 219; ++id) EXPECT_STREQ(kivLibraryMessageTable[id], "?") << id;
    LibraryCatalog catalog;
    for (unsigned long id = 1; id <= 220; ++id) {
        KivClMessage message(catalog.catalog, id);
        EXPECT_TRUE(message.isLoaded() && *message.getText() != '\0') << id;
    }
    // Block markers, the signature line as message 0, shared texts, outer blanks.
    const std::pair<unsigned long, const char*> samples[] = {
        {1, "[KIV-LIBRARY]"},    {220, "[KIV-LIBRARY]"}, {0, "[KIV_MSGTAB_SIGNATURE] 221"},
        {161, "fdetail"},        {169, "fdetail"},       {190, " *** Clipped ***"},
        {192, "Nesting level: "}};
    for (const auto& [id, text] : samples) EXPECT_EQ(catalog.text(id), text) << id;
    KivClMessage beyond(catalog.catalog, 221);
    EXPECT_FALSE(beyond.isLoaded());
    EXPECT_EQ(beyond.getText(),
              std::string("UNABLE TO LOAD MESSAGE CATALOG: ") + catalog.catalog.getAsCString());

    // The trace controller's usage string and its help text in three sections.
    const std::string usage = kivLibraryMessageTable[151];
    EXPECT_EQ(std::count(usage.begin(), usage.end(), '\n'), 6);
    EXPECT_EQ(usage.find("(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n"), 0u);
    // Two lines of "@" alone separate the sections of the help text.
    const std::string help = kivLibraryMessageTable[152];
    EXPECT_EQ(std::count(help.begin(), help.end(), '\n'), 49);
    EXPECT_NE(help.find("\n@\nTrace environment variables:\n"), std::string::npos);
    EXPECT_NE(help.find("\n@\nTrace format variables:\n"), std::string::npos);
}

TEST(LibraryMessageTable, ErrorNamesFillMessages47To149) {
    // Identifiers, classes, severities and actions in the order of their
    // values (the error mappings number them from 47, 106, 133 and 141 on;
    // only USER and RETRYDELAY stand in the other order).
    const std::vector<std::string> names = {
        "NO_ERROR", "CONUI_USAGE", "CONUI_ARG_MISSING", "CONUI_ARG_EXPECTING_VALUE", "CONUI_ARG_VALUE_TYPE_MISMATCH",
        "CONUI_MSGCAT_CORRUPTED", "INIFILE_INVAL_SECTION", "INIFILE_INVAL_OPTION", "INIFILE_INVAL_WHITESPACE",
        "DIRECTORY_EXPANSION_FAILED", "DIRECTORY_COULD_NOT_CHANGE", "DIRECTORY_COULD_NOT_CREATE",
        "DIRECTORY_COULD_NOT_REMOVE", "DIRECTORY_COULD_NOT_DETACH", "PROCESS_COULD_NOT_KILL", "PROCESS_COULD_NOT_LAUNCH",
        "THREAD_COULD_NOT_KILL", "THREAD_COULD_NOT_LAUNCH", "THREAD_COULD_NOT_SUSPEND", "THREAD_COULD_NOT_RESUME",
        "FILE_COULD_NOT_COPY", "FILE_COULD_NOT_REMOVE", "FILE_COULD_NOT_COPY_SELF", "FILE_COULD_NOT_RENAME",
        "DIRWALK_COULD_NOT_INIT", "DIRWALK_NO_CONTINUATION", "TRACEFORMAT_COULD_NOT_OPEN", "TRACEFORMAT_UNEXPECTED_EOF",
        "TRACEFORMAT_FILE_CORRUPTED", "MEMORYPOOL_COULD_NOT_GROW", "MEMORYPOOL_CHUNK_TOO_BIG", "CPCONVERTER_UNSUPPORTED",
        "CPCONVERTER_INVALID_SEQ", "CPCONVERTER_TOO_BIG", "CPCONVERTER_INCOMPLETE", "CPCONVERTER_BAD_DESCR",
        "CPCONVERTER_NO_TMP_BUFFER", "MEMMGR_USER_OUT_OF_MEMORY", "MEMMGR_RUNTIME_OUT_OF_MEMORY",
        "MEMMGR_NO_USER_REALLOC_FUNC", "MEMMGR_ZERO_SIZE_OBJECT", "ICU_UNEXPECTED_ICU_ERROR",
        "ICU_ILLEGAL_ARGUMENT_ERROR", "ICU_MISSING_RESOURCE_ERROR", "ICU_INVALID_FORMAT_ERROR", "ICU_FILE_ACCESS_ERROR",
        "ICU_INTERNAL_PROGRAM_ERROR", "ICU_MESSAGE_PARSE_ERROR", "ICU_MEMORY_ALLOCATION_ERROR",
        "ICU_INDEX_OUTOFBOUNDS_ERROR", "ICU_PARSE_ERROR", "ICU_INVALID_TABLE_FORMAT", "ICU_INVALID_TABLE_FILE",
        "ICU_UNSUPPORTED_ERROR", "ICU_RESOURCE_TYPE_MISMATCH", "ICU_ILLEGAL_ESCAPE_SEQUENCE",
        "ICU_UNSUPPORTED_ESCAPE_SEQ", "ICU_NO_SPACE_AVAILABLE", "ICU_ERROR_LIMIT",
        "UNKNOWN", "FUNCTION_NOT_SUPPORTED", "FUNCTION_NOT_ENABLED", "USER_ERROR", "USER_DATA_ERROR", "OUT_OF_MEMORY",
        "RESOURCE_EXHAUSTED", "INVALID_DATA", "DATA_OUT_OF_BOUNDS", "INVALID_POINTER", "UNKNOWN_PROCESS",
        "RESOURCE_MISSING", "LOGIC", "INCONSISTENT_SITUATION", "COMMUNICATION_PROBLEM", "IO_PROBLEM", "IO_WRITE_PROBLEM",
        "IO_READ_PROBLEM", "IO_PERMISSION_DENIED", "IO_NOT_EXISTENT", "IO_ALREADY_IN_USE", "IO_STILL_IN_USE",
        "IO_INVALID_NAME", "HARDWARE_PROBLEM", "HARDWARE_SETUP", "HARDWARE_PERFORMANCE", "HARDWARE_NOT_SUPPORTED",
        "NONE", "INFO", "WARNING", "NORMAL", "FATAL", "INTERNAL", "CRITICAL", "PANIC",
        "IGNORE", "INFORM", "WARN", "RETRY", "USER", "RETRYDELAY", "TERMINATE", "ABORT", "PANIC",
    };
    ASSERT_EQ(names.size(), 103u);
    LibraryCatalog catalog;
    for (unsigned long i = 0; i < names.size(); ++i) EXPECT_EQ(catalog.text(47 + i), names[i]) << 47 + i;
    // Spot checks through the mappings themselves.
    EXPECT_EQ(catalog.text(kivErrorGetIdAsMessageId(KIV_ERRID_FILE_COULD_NOT_RENAME)), "FILE_COULD_NOT_RENAME");
    EXPECT_EQ(catalog.text(kivErrorGetActionAsMessageId(KIV_ACTION_RETRYDELAY)), "RETRYDELAY");
}
