// The library message table: every user-visible text of the library (console
// UI labels, prompts and errors, the printable names of error identifiers,
// classes, severities and actions, trace controller and formatter texts) as a
// built-in string table, so that a tool works without an installed catalog.
//
// The table has the string-table layout KivClMessageCatalog expects: entry 0
// is the signature line "[KIV_MSGTAB_SIGNATURE] 221", entries 1 and 220 are
// the block markers "[KIV-LIBRARY]", entries 200 to 219 are reserved ("?"),
// and entry 221 closes the table with "[KIV_MSGTAB_SIGNATURE]". Hand it to a
// catalog with
//     catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
// so that messages 0 to 220 are reachable. Message numbers are fixed; the
// kivErrorGet...AsMessageId functions of kiv_error.hpp return numbers in this
// table.
//
// Failure policy: a constant table; nothing fails. msgcat/kiv_library.msg
// (installed as share/kiv/kiv_library.msg) holds the same texts as a gencat
// message source, the starting point of a translation; a test keeps the two
// equal.
//
//   kivLibraryMessageTable[3];     // "YES"
//   kivLibraryMessageTable[150];   // "Trace Controller"
#ifndef KIV_MSGTABLE_HPP
#define KIV_MSGTABLE_HPP

// The count handed to useStringTable: messages 0 to 220.
constexpr unsigned long KIV_MSGTABLE_LIBRARY_COUNT = 221;
// Entries of the array, the closing signature included.
constexpr unsigned long KIV_MSGTABLE_LIBRARY_ENTRIES = KIV_MSGTABLE_LIBRARY_COUNT + 1;
// Text of the block markers at entries 1 and 220.
constexpr const char* KIV_MSGTABLE_LIBRARY_MARKER = "[KIV-LIBRARY]";

extern const char* const kivLibraryMessageTable[KIV_MSGTABLE_LIBRARY_ENTRIES];

#endif  // KIV_MSGTABLE_HPP
