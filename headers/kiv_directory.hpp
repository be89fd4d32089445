// Directories and directory walking.
//
// KivClDirectory is a directory held as an absolute, normalised location
// that always ends in "/": it is created with all missing parents, removed
// alone or with its contents, made the current directory, and moved up and
// down by whole components. KivClDirectoryWalk enumerates the entries of one
// directory (in readdir order, "." and ".." included) through the platform
// walker KivClOSSDirectoryWalker, classifies each entry and matches its name
// against wildcard patterns.
//
// Failure policy: nothing throws (except the memory manager's out-of-memory
// path when a walk allocates its walker). Every failing operation returns
// false and leaves an error in the object (getError()); a successful one
// clears it to {0, 0}.
//
// Example (in an empty /tmp/w):
//   KivClDirectory dir("/tmp/w/x/../y/z");   // text "/tmp/w/y/z/"
//   dir.create();                            // true: y and z made
//   dir.detachLastSubDir();                  // text "/tmp/w/y/"
//   KivClDirectoryWalk walk(dir);
//   for (; walk.isValid(); walk.setToNext())
//       if (walk.isSubDirectory()) puts(walk.getNameWithoutPath());   // "z"
//   KivClDirectory("/tmp/w/").removeAll(true);                       // true
//
// @warning removeAll(true) and removeTree delete files and directories
// without asking. A symbolic link inside the tree is removed as a link;
// what it points to is never entered or touched.
#ifndef KIV_DIRECTORY_HPP
#define KIV_DIRECTORY_HPP

#include <cstdint>
#include <dirent.h>

#include "kiv_error.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"

// A directory held as an absolute location: creation with its parents,
// removal, becoming the current directory, moving by whole components.
class KivClDirectory : public KivClFileABase {
public:
    // The current working directory with "/" appended. When it cannot be
    // read the text is empty and the error DIRECTORY_EXPANSION_FAILED
    // (class IO_NOT_EXISTENT).
    KivClDirectory();
    // path with backslashes turned into "/", then expandRelativeDirectory().
    explicit KivClDirectory(const char* path);
    // The location's text, normalised, then expandRelativeDirectory().
    explicit KivClDirectory(const KivClLocation& location);
    // As from other's location; a directory with an empty text (a failed
    // expansion) is copied as it is, error included.
    KivClDirectory(const KivClDirectory& other);
    KivClDirectory& operator=(const KivClDirectory& other) = default;
    ~KivClDirectory() override;

    operator const char*() const override;
    const char* getAsCString() const override;
    // access(text, F_OK) succeeds.
    bool isExistent() const override;
    bool isDirectory() const override;  // true
    bool isFile() const override;       // false

    // rmdir. On failure DIRECTORY_COULD_NOT_REMOVE with class IO_INVALID_NAME
    // when there is no such directory, else IO_STILL_IN_USE.
    bool remove() override;

    // Times of the directory (the text without its final "/").
    uint32_t getDateTimeOfCreation() const override;
    uint32_t getDateTimeOfLastAccess() const override;
    uint32_t getDateTimeOfLastModification() const override;
    using KivClFileABase::getDateTimeOfCreation;
    using KivClFileABase::getDateTimeOfLastAccess;
    using KivClFileABase::getDateTimeOfLastModification;

    // A relative text is made absolute against the working directory (or
    // $HOME for "~"), "." and ".." resolved. On failure (a path climbing
    // above the root, which leaves the text empty, or an unreadable working
    // directory) the error is DIRECTORY_EXPANSION_FAILED, class
    // IO_INVALID_NAME.
    void expandRelativeDirectory();
    // KivClFileABase::isRelativePath and expandRelativePath.
    static bool isRelativeDirectory(const char* path);
    static bool expandRelativeDirectory(char* path);

    // Creates every missing directory of the text from the root down, with
    // mode (create(): 0777), less the umask. True when all exist afterwards
    // (also when nothing had to be made). On failure
    // DIRECTORY_COULD_NOT_CREATE, class IO_NOT_EXISTENT; directories made so
    // far stay. An empty text cannot be created.
    bool create();
    bool create(unsigned long mode);
    // create(mode), then chmod(text, mode & (0777 - mask)) whatever the
    // result; returns the result of create(mode).
    bool create(unsigned long mode, unsigned long mask);

    // With recursive, removeTree(*this) first (its result is not used); then
    // remove().
    bool removeAll(bool recursive);
    // Deletes the contents of directory: files, links and hidden files are
    // removed, subdirectories emptied and removed in turn. Directory entries
    // whose first or second character is "." (".git", "a.b") are left alone,
    // so their parent stays. A symbolic link is removed itself and never
    // followed. False when the walk cannot start or a removal fails (the
    // walk stops there). An empty text (a failed expansion) removes nothing
    // and gives false, so a failed directory never stands for "./".
    static bool removeTree(const KivClDirectory& directory);

    // chdir. On failure DIRECTORY_COULD_NOT_CHANGE, class IO_NOT_EXISTENT.
    bool setAsCurrent();

    // Appends the path proper of sub (given relative, e.g. "b/c/"), cut at
    // 4096 characters, then expandRelativeDirectory(), so "../" climbs.
    void attachSubDir(const KivClLocation& sub);
    // Cuts the last component: "/a/b/c/" becomes "/a/b/". On a root (or an
    // empty text) DIRECTORY_COULD_NOT_DETACH, class LOGIC, and false.
    bool detachLastSubDir();
    // detachLastSubDir count times; stops at the first failure.
    bool detachSubDirs(unsigned int count);
    // Number of "/" in the path proper minus one: "/a/b/" gives 2, "/" 0.
    unsigned int getNumOfSubDirs() const;

    const KivClLocation& getLocation() const { return location_; }
    // Error of the last operation; {0, 0} after a success.
    const _KivStError& getError() const { return error_; }

private:
    void setError(uint32_t errorId, KivEnErrorClass errorClass) { error_ = {errorId, errorClass}; }
    void clearError() { error_ = {KIV_ERRID_NO_ERROR, KIV_ERRCLASS_UNKNOWN}; }
    // Copies path, normalises it and expands it.
    void assign(const char* path);
    // rmdir(path) with the errors of remove().
    bool removeDirectory();
    // Replaces the text by text (at most 4096 characters) without expanding.
    void setText(const char* text) { location_ = text; }

    KivClLocation location_;
    _KivStError error_;
};

// The platform walker: opendir/readdir/stat over one directory. Its owner
// passes the error record the walker reports into.
class KivClOSSDirectoryWalker {
public:
    // Copies the directory's text ("./" for an empty one), opens it and
    // moves to the first entry. A directory that cannot be opened gives
    // DIRWALK_COULD_NOT_INIT, class IO_PROBLEM, and an invalid walk.
    KivClOSSDirectoryWalker(const KivClLocation& directory, _KivStError& error);
    ~KivClOSSDirectoryWalker();
    KivClOSSDirectoryWalker(const KivClOSSDirectoryWalker&) = delete;
    KivClOSSDirectoryWalker& operator=(const KivClOSSDirectoryWalker&) = delete;

    // Moves to the next entry; false (and invalid) at the end. A read error
    // gives DIRWALK_NO_CONTINUATION, class IO_PROBLEM. An entry whose full
    // path would exceed 4096 characters is skipped, never cut (a cut name
    // could name another file), and recorded as DIRWALK_NO_CONTINUATION,
    // class DATA_OUT_OF_BOUNDS; the walk goes on with the next entry.
    bool setToNext();

    bool isValid() const { return valid_; }
    // Directory text followed by the entry name.
    const char* getPath() const { return path_; }
    // The entry name ("" when not valid).
    const char* getName() const { return name_; }
    // st_mode of the entry (stat, so links are followed); 0 when stat failed.
    uint32_t getMode() const { return mode_; }

private:
    char path_[KivClLocation::BUFFER_SIZE];
    char* name_;
    bool valid_;
    _KivStError& error_;
    DIR* stream_;
    uint32_t mode_;
};

// Visits the entries of one directory in readdir order.
class KivClDirectoryWalk {
public:
    explicit KivClDirectoryWalk(const KivClLocation& directory);
    explicit KivClDirectoryWalk(const KivClDirectory& directory);
    ~KivClDirectoryWalk();
    KivClDirectoryWalk(const KivClDirectoryWalk&) = delete;
    KivClDirectoryWalk& operator=(const KivClDirectoryWalk&) = delete;

    // There is a current entry.
    bool isValid() const;
    // Advances; false when the walk has ended.
    bool setToNext();
    const char* getNameWithPath() const;
    const char* getNameWithoutPath() const;

    // The entry is a directory (a link to one counts).
    bool isDirectory() const;
    // A directory named ".".
    bool isCurrentDirectory() const;
    // A directory whose name begins with "..".
    bool isParentDirectory() const;
    // A directory whose first and second characters are both not ".".
    bool isSubDirectory() const;
    // A regular file whose name begins with "."; directories never are.
    bool isHidden() const;
    // The owner-write bit (0200) is clear.
    bool isReadOnly() const;
    // The entry itself is a symbolic link (lstat), whatever it points to.
    bool isSymbolicLink() const;
    // The entry name matches the wildcard pattern, case-sensitively.
    bool matchesWildcardPattern(const char* pattern) const;

    // Error of the walk; {0, 0} while nothing failed.
    const _KivStError& getError() const { return error_; }

private:
    void start(const KivClLocation& directory);

    KivClOSSDirectoryWalker* walker_;
    _KivStError error_;
};

#endif  // KIV_DIRECTORY_HPP
