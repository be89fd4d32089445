// Message catalogs and messages with variables.
//
// KivClMessageCatalog is a catalog file (".cat", message set 1) opened
// through the system's catopen/catgets; when no usable file can be opened it
// falls back to a string table the caller supplies. KivClMessage loads one
// message by number from a catalog and fills in up to ten variables %1 to %10.
// A message that cannot be found never yields null or throws: its text then
// names the message number and the catalog, and isLoaded() is false.
//
// String-table layout (all entries constant, none null):
//   entry 0        "[KIV_MSGTAB_SIGNATURE] N" (N is the count given to
//                  useStringTable); never a message
//   entries 1..N-1 message k is entry k, as in a catalog file
//   entry N        "[KIV_MSGTAB_SIGNATURE]" alone, closing the table
//
// Substitution in message texts, left to right: "%%" gives "%"; "%n" gives
// variable n for n from 1 to the variable count, and "???" for any other n
// (including a "%" with no number, a missing variable and n outside the
// range). n is read like atol reads it (leading blanks and a sign accepted),
// but only the digits directly after the "%" are consumed. Results are cut at
// a limit (4096 characters for loaded messages) and always NUL-terminated.
//
// Failure policy: nothing here returns null or throws for a missing catalog
// or message; only a long text's allocation can throw (the memory
// manager's KivClExceptionFatal).
//
//   KivClMessageCatalog catalog(KivClFilename("/usr/share/app/app"));  // opens app.cat
//   catalog.useStringTable(kivLibraryMessageTable, KIV_MSGTABLE_LIBRARY_COUNT);
//   KivClMessage percent(catalog, 2, "x");   // no app.cat: from the table
//   percent.getText();   // "Percent:% Arg1:x Arg2:??? ... Arg10:???"
//   KivClMessage(catalog, 221).isLoaded();   // false: beyond the table; text
//                        // "UNABLE TO LOAD MESSAGE CATALOG: /usr/share/app/app.cat"
//
// Warning: opening a catalog file sets the process locale from the
// environment (setlocale(LC_ALL, "")), and to "C" when that fails. A name
// without "/" is looked up along NLSPATH by catopen, not in the working
// directory.
#ifndef KIV_MSGCAT_HPP
#define KIV_MSGCAT_HPP

#include <cstdint>
#include <nl_types.h>

#include "kiv_file.hpp"
#include "kiv_filename.hpp"

// Signature text that opens (followed by a blank and the count) and closes
// every string table.
constexpr const char* KIV_MSGTAB_SIGNATURE = "[KIV_MSGTAB_SIGNATURE]";

// A message catalog file, with a caller's string table as its fallback.
class KivClMessageCatalog : public KivClFile {
public:
    // Opens name with its extension replaced by ".cat" (f.txt opens f.cat).
    explicit KivClMessageCatalog(const KivClFilename& name);
    // The catalog ".cat" searched along NLSPATH; marked as the default
    // catalog, to which the console UI gives the library message table.
    KivClMessageCatalog();
    // Closes the catalog file if it is open.
    ~KivClMessageCatalog() override;

    // A catalog owns a system handle: it is neither copied nor assigned.
    KivClMessageCatalog(const KivClMessageCatalog&) = delete;
    KivClMessageCatalog& operator=(const KivClMessageCatalog&) = delete;

    // Records table (not owned, must outlive the catalog's use) with count
    // usable entries, messages 0 to count - 1. Consulted only while the
    // catalog is not open. The table is not examined here; a null table
    // means no table.
    void useStringTable(const char* const* table, unsigned long count);

    // True for every number but 0 (entry 0 of a table is its signature).
    static bool isValidMessageId(unsigned long id);

    // True when table has the layout above for count: entry 0 is the
    // signature, a blank and count in decimal, and entry count is the
    // closing signature. Entry count is read only after entry 0 matched,
    // so a table whose signature disagrees with count is never overrun.
    static bool isValidStringTable(const char* const* table, unsigned long count);

    // Opens and probes the catalog file: sets the process locale from the
    // environment (falling back to "C" and trying again when the first
    // catopen fails) and keeps the file open only if message 1 loads.
    void init();

    // The catalog file is open and holds message 1.
    bool isOpen() const { return open_; }
    // Built by the default constructor.
    bool isDefaultCatalog() const { return defaultCatalog_; }

private:
    friend class KivClMessage;

    // Text of message id (set 1) from the open file, or from the string
    // table while not open; null when there is no such message.
    const char* lookUp(unsigned long id) const;

    nl_catd handle_;
    bool open_;
    bool defaultCatalog_;
    const char* const* stringTable_;
    uint32_t stringTableCount_;
};

// One message loaded from a catalog, its variables filled in; the catalog
// must outlive it.
class KivClMessage {
public:
    // Number of variables a message may use (%1 to %10).
    static constexpr unsigned long MAX_VARS = 10;
    // Longest message text after substitution.
    static constexpr unsigned long MAX_TEXT = 4096;
    // Texts up to this length live in the object itself.
    static constexpr unsigned long SHORT_TEXT = 80;

    // Loads message id with no variables.
    KivClMessage(const KivClMessageCatalog& catalog, unsigned long id);
    // Loads message id with up to ten variables (null: not given).
    KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char* var1,
                 const char* var2 = nullptr, const char* var3 = nullptr,
                 const char* var4 = nullptr, const char* var5 = nullptr,
                 const char* var6 = nullptr, const char* var7 = nullptr,
                 const char* var8 = nullptr, const char* var9 = nullptr,
                 const char* var10 = nullptr);
    // vars holds exactly ten entries, null where no variable is given.
    KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char** vars);
    // A copy bound to the same catalog as other.
    KivClMessage(const KivClMessage& other);
    ~KivClMessage();

    // Copies other's text, number and loaded flag; stays bound to the own
    // catalog.
    KivClMessage& operator=(const KivClMessage& other);

    // Loads another message of the same catalog, replacing the text.
    void setNewMessageId(unsigned long id);
    void setNewMessageId(unsigned long id, const char* var1, const char* var2 = nullptr,
                         const char* var3 = nullptr, const char* var4 = nullptr,
                         const char* var5 = nullptr, const char* var6 = nullptr,
                         const char* var7 = nullptr, const char* var8 = nullptr,
                         const char* var9 = nullptr, const char* var10 = nullptr);

    // Expands text into out by the substitution rules with vars[0] to
    // vars[varCount - 1] as %1 to %varCount (a null entry prints "???").
    // Writes at most outSize characters and a terminating NUL, so out must
    // hold outSize + 1 bytes. A null text reads as empty; a null out writes
    // nothing. Returns the number of characters written, NUL not counted.
    unsigned long replaceVars(char* out, unsigned long outSize, const char* text,
                              const char* const* vars, unsigned long varCount) const;

    // The message text, or the failure text; never null. A failure text is
    // "UNABLE TO LOAD MESSAGE #<id> FROM CATALOG: " (catalog open) or
    // "UNABLE TO LOAD MESSAGE CATALOG: " (no catalog file) followed by the
    // catalog's whole file name, so it may exceed 4096 characters.
    const char* getText() const { return text_; }
    // The text is the message itself, not a failure text.
    bool isLoaded() const { return loaded_; }
    // The number last loaded.
    unsigned long getMessageId() const { return messageId_; }

private:
    // Fills in the ten variables (null ones as "???") and stores the
    // message, or the failure text when it cannot be found.
    void load(unsigned long id, const char* const* vars);
    // Replaces the text by head followed by tail, in the short buffer when
    // it fits, else in a block of exactly length + 1 bytes.
    void store(const char* head, const char* tail);
    // Drops a long-text block and leaves the empty short text.
    void clearText();

    const KivClMessageCatalog* catalog_;
    char shortText_[SHORT_TEXT + 1];
    char* text_;
    uint32_t messageId_;
    bool loaded_;
};

#endif  // KIV_MSGCAT_HPP
