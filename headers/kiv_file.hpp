// Files, executables on the search path, temporary and backup names.
//
// KivClFileABase is the common interface of files and directories and holds
// the static path operations. KivClFile is a file addressed by a
// KivClFilename: attribute queries, copy, rename and remove. KivClExeFile is
// a file that may be looked up along a search path (PATH) when its name has
// no directory. KivClTmpFilename chooses an unused name in a directory (the
// temporary directory by default) and KivClBakFilename is the backup name of
// a file.
//
// KivClFile never throws: every operation that can fail presets the error
// of the operation, records the class of a failure, returns false, and
// clears the error to {0, 0} on success. Names are limited to 4096
// characters, as every KivClFilename.
//
// Files this library creates are opened without following a final symbolic
// link and must turn out to be regular files, so that a link planted in a
// shared directory such as /tmp cannot redirect a copy.
//
//   KivClFile report(KivClFilename("/tmp/a.txt"));      // holds "hello\n"
//   report.getFileSize();                                // 6
//   report.copyTo(KivClFilename("/tmp/b.txt"), false);   // true: b.txt holds "hello\n"
//   report.renameAs(KivClFilename("/tmp/c.txt"));       // true: report now names c.txt
//   KivClFile none(KivClFilename("/tmp/none"));
//   none.remove();        // false; getError() == {FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT}
//
// Warning: copyTo replaces the contents of an existing target, renameAs
// replaces an existing target file (as rename() does), and remove deletes
// the file even when it is read-only.
#ifndef KIV_FILE_HPP
#define KIV_FILE_HPP

#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_filename.hpp"

// What files and directories share: name, existence, times, removal, and the
// static path operations.
class KivClFileABase {
public:
    virtual ~KivClFileABase();

    // The name text.
    virtual operator const char*() const = 0;
    virtual const char* getAsCString() const = 0;
    // Something of this name exists (access(name, F_OK)).
    virtual bool isExistent() const = 0;
    // The kind of the object (file or directory), not what the disk holds.
    virtual bool isDirectory() const = 0;
    virtual bool isFile() const = 0;
    // Removes the object from the file system.
    virtual bool remove() = 0;
    // Status-change, access and modification time of the object's name in
    // seconds since the epoch; 0 when the name cannot be examined.
    virtual uint32_t getDateTimeOfCreation() const = 0;
    virtual uint32_t getDateTimeOfLastAccess() const = 0;
    virtual uint32_t getDateTimeOfLastModification() const = 0;

    // The same times for any name (stat follows symbolic links). Times
    // before 1970 give 0; times beyond the 32-bit range give 0xFFFFFFFF.
    static uint32_t getDateTimeOfCreation(const char* name);
    static uint32_t getDateTimeOfLastAccess(const char* name);
    static uint32_t getDateTimeOfLastModification(const char* name);

    // True when path is not absolute (in its own style, DOS or Unix), and
    // also when it is absolute but contains "./" (a "." or ".." component).
    // A null path counts as relative.
    static bool isRelativePath(const char* path);

    // Rewrites the directory path in place as an absolute path with "." and
    // ".." resolved and a trailing "/":
    //  - "~" at the start stands for $HOME (when HOME is unset, "~" stays a
    //    plain first component); another path not starting with "/" is taken
    //    relative to the current working directory;
    //  - the path is walked one "/"-terminated component at a time; text
    //    after the last "/" is dropped, as are empty components;
    //  - a component ending in ".." removes the last component so far (those
    //    of $HOME or the working directory included); when there is none,
    //    path becomes "" and the result is false;
    //  - a component ending in a single "." is dropped.
    // path must hold KivClFilenameABase::BUFFER_SIZE characters. A result
    // longer than 4096 characters, a null path or an unreadable working
    // directory give false and leave path unchanged.
    static bool expandRelativePath(char* path);
    // The same for a path buffer of size characters (terminator included):
    // a result that does not fit is refused (false, path unchanged).
    //   char dir[8] = "/a/b/..";
    //   expandRelativePath(dir, sizeof dir);   // true, dir is "/a/"
    //   char home[4] = "~/";
    //   expandRelativePath(home, sizeof home); // false unless $HOME is "/"
    static bool expandRelativePath(char* path, size_t size);
};

// A file addressed by a filename; keeps the error of its last operation.
class KivClFile : public KivClFileABase {
public:
    // Copies name; when it has no extension and defaultExtension is given
    // (not null, not empty), the name gets that extension.
    explicit KivClFile(const KivClFilenameABase& name, const char* defaultExtension = nullptr);
    ~KivClFile() override;

    operator const char*() const override;
    const char* getAsCString() const override;
    bool isExistent() const override;
    bool isDirectory() const override;  // false
    bool isFile() const override;       // true

    // Removes the file (a read-only file too; the permission to remove a
    // file lies with its directory). On failure the error is
    // FILE_COULD_NOT_REMOVE with class IO_NOT_EXISTENT when there is no such
    // file, else IO_PERMISSION_DENIED.
    bool remove() override;

    uint32_t getDateTimeOfCreation() const override;
    uint32_t getDateTimeOfLastAccess() const override;
    uint32_t getDateTimeOfLastModification() const override;
    using KivClFileABase::getDateTimeOfCreation;
    using KivClFileABase::getDateTimeOfLastAccess;
    using KivClFileABase::getDateTimeOfLastModification;

    // The file part begins with ".".
    bool isHidden() const;
    // The caller may not write the file (access(name, W_OK) fails).
    bool isReadOnly() const;
    // Sets the mode to 0440 (readOnly) or 0660. False when chmod fails.
    bool setReadOnly(bool readOnly);
    // Size from stat; 0 when the file cannot be examined, 0xFFFFFFFF for
    // files of 4 GiB and more.
    uint32_t getFileSize() const;
    // The extension without its dot; "" when there is none.
    const char* getFileType() const;

    // Copies the file's bytes to target, which is created when missing (mode
    // 0777 less the umask) and truncated otherwise. With copyPermissions the
    // target gets the source's mode. Errors:
    //  - FILE_COULD_NOT_COPY_SELF / INCONSISTENT_SITUATION when target is
    //    the source itself: the same name, or another name of the same file
    //    (same device and inode: a hard link, a name with "./" in it, a
    //    source that is a symbolic link to target). Nothing is truncated.
    //  - FILE_COULD_NOT_COPY / IO_READ_PROBLEM when the source cannot be
    //    opened or is not a regular file;
    //  - FILE_COULD_NOT_COPY / IO_WRITE_PROBLEM when the target cannot be
    //    opened, is a symbolic link or not a regular file, its mode cannot be
    //    set, or a read, write or close fails.
    // Warning: copying replaces an existing target's contents. What a failed
    // copy leaves: a target that this call created is removed again; an
    // existing target is untouched when the failure comes before the copying
    // starts (it cannot be opened, its mode cannot be set), and holds the
    // bytes written so far (from none up to all) when a read or write fails.
    bool copyTo(const KivClFilenameABase& target, bool copyPermissions);
    // Copies to the same file part in directory.
    bool copyTo(const KivClLocation& directory, bool copyPermissions);

    // rename(name, target); on success the object takes target's name. On
    // failure FILE_COULD_NOT_RENAME with class IO_ALREADY_IN_USE when target
    // exists (and could not be replaced), else IO_PERMISSION_DENIED.
    // Warning: an existing target file is replaced and its contents lost.
    bool renameAs(const KivClFilenameABase& target);

    // Looks for name's file part in each directory of the ":"-separated
    // environment variable, in order, skipping empty entries. Only a regular
    // file counts (a directory of that name does not). On a hit name is left
    // pointing at the file found and the result is true. False when the
    // variable is unset or no directory holds the file (name is then left
    // under the last directory tried).
    bool determineFileInEnvVarPath(KivClFilename& name, const char* variable) const;

    // Error of the last operation; {0, 0} after a success.
    const _KivStError& getError() const { return error_; }
    const KivClFilename& getFilename() const { return name_; }

protected:
    void setError(uint32_t errorId, KivEnErrorClass errorClass);
    void clearError();
    // name is a regular file; with executable, also one the caller may execute.
    static bool isRegularFile(const char* name, bool executable);
    // determineFileInEnvVarPath, accepting with executable only files that
    // may be executed.
    bool searchEnvVarPath(KivClFilename& name, const char* variable, bool executable) const;

    KivClFilename name_;
    _KivStError error_;
};

// An executable, looked up along a search path when its name has no
// directory.
class KivClExeFile : public KivClFile {
public:
    // Copies name. A name with a directory is kept as it is when the file
    // exists; when it does not and KIV_NEWPROCESS_USEPATH is enabled, the
    // directory is dropped and the bare name is searched along PATH. A name
    // without directory is searched along PATH; when it is not found the
    // object holds the bare name. The searches accept only a regular file
    // that the caller may execute (not a directory, not an empty file part).
    explicit KivClExeFile(const KivClFilename& name);
    // Copies name (with the default extension rule of KivClFile). A name
    // with a directory is kept as it is; otherwise determinePath(). A null
    // variable means PATH.
    KivClExeFile(const KivClFilename& name, const char* defaultExtension, bool tryCurrentDirectory,
                 const char* variable);

    // The name was completed from the search path (or the working directory).
    virtual bool isFoundInSystemPath() const;

    // With tryCurrentDirectory, an executable regular file of this name in
    // the working directory wins and is put under the working directory's absolute path. Otherwise
    // the directories of the variable (null: PATH) are searched. True and
    // the flag set on a hit; else the name is reduced to its file part, the
    // flag cleared and false returned.
    bool determinePath(bool tryCurrentDirectory, const char* variable);

    // "PATH".
    static const char* getSystemPathEnvironmentVariable();
    // null: executables have no default extension on this platform.
    static const char* getDefaultFileType();

private:
    bool foundInSystemPath_;
};

// An unused file name: a directory, a base name of exactly 8 characters
// (the first 5 characters of the prefix at most, the rest random from
// "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_") and as extension the last
// three digits of the process id, units first (process 12345 gives ".543").
// A name is drawn again while anything (a file, directory or link, even a
// dangling one) of that name exists. The name is only chosen, not created.
// Path separators in the prefix are replaced by '_'; a null prefix means
// "tmp". The object holds the empty name when no name can be shown to be
// free: the directory cannot be searched (it is a file, or access is
// denied), the directory leaves no room for the file part within 4096
// characters, the name would not lie in the directory given (a directory
// text holding a backslash reads as a DOS-style path whose file part starts
// after its last "/"), or MAX_ATTEMPTS draws all hit existing names.
class KivClTmpFilename : public KivClFilenameABase {
public:
    // In kivGetTmpDirectory(), prefix "tmp".
    KivClTmpFilename();
    // In kivGetTmpDirectory().
    explicit KivClTmpFilename(const char* prefix);
    KivClTmpFilename(const char* directory, const char* prefix);
    // In location, prefix "tmp".
    explicit KivClTmpFilename(const KivClLocation& location);
    KivClTmpFilename(const KivClLocation& location, const char* prefix);
    // In the directory of name (its file part is replaced).
    KivClTmpFilename(const KivClFilename& name, const char* prefix);

    // Most draws made for one name before giving up.
    static constexpr unsigned long MAX_ATTEMPTS = 100000;

protected:
    // Replaces the file part by a fresh unused name built from prefix.
    void initPrefix(const char* prefix);
    // initPrefix for a name built from a directory and an empty file part;
    // the empty name when that directory does not read back as the directory.
    void initInDirectory(const char* prefix);
};

// The backup name of a file: the whole name followed by ".bak" (f.txt gives
// f.txt.bak, whose extension then reads ".txt.bak"); cut at 4096 characters.
class KivClBakFilename : public KivClFilenameABase {
public:
    explicit KivClBakFilename(const KivClFilenameABase& name);
};

// The temporary directory: the value of TMP when it is set (even when
// empty), else "/tmp". The text belongs to the environment or is static.
const char* kivGetTmpDirectory();

#endif  // KIV_FILE_HPP
