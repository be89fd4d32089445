// File names and directory locations as fixed-capacity values.
//
// KivClPathProperty classifies a name as DOS style (drive letters,
// backslashes, \\server\share prefixes) or Unix style and finds where the
// path proper begins, after any server prefix. KivClFilenameABase holds a
// file name of at most 4096 characters in its own buffer and keeps positions
// of its parts (server prefix, path, base name, extension); KivClFilename adds
// the operations that change a name. KivClLocation holds a directory path
// that always ends in its separator (unless empty).
//
// These classes never touch the file system except for isExistent(). They
// never fail: null text reads as the empty string and longer input is cut at
// 4096 characters. Copies re-base every position into their own buffer, so a
// copy never points into another object and outlives its source safely.
//
//   KivClFilename name("/srv/data/report.txt");
//   name.getFilePart();            // "report.txt"
//   name.getExtension();           // ".txt"
//   name.setNewExtension("bak");   // name is "/srv/data/report.bak"
//   KivClLocation("/srv/data");    // "/srv/data/"
//   KivClFilename("C:\\temp\\a.b").getPathStyle();   // KivEnPathStyleDOS
//
// Warning: the setNew... and init operations replace the name held.
#ifndef KIV_FILENAME_HPP
#define KIV_FILENAME_HPP

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iosfwd>

// Path styles, as stored in KivClPathProperty.
enum KivEnPathStyle : int32_t {
    KivEnPathStyleDOS = 0,
    KivEnPathStyleUnix = 1
};

// Analyses a name text that it does not own: its style and the start of the
// path proper. The text must outlive the object (or the next init()).
class KivClPathProperty {
public:
    // An empty name in Unix style.
    KivClPathProperty();
    // As init(name).
    explicit KivClPathProperty(const char* name);

    // Stores name (null reads as ""), runs determinePath(), then sets the
    // style to getStyle(pathStart): the path proper decides, so a bare
    // \\server\share (empty path proper) is Unix style.
    void init(const char* name);
    // pathStart = name, unless the name begins with two backslashes, a server
    // name of at least one character, a backslash and a share name: then
    // pathStart is the backslash after the share name, or the end of the text
    // when none follows. "\\srv\share\dir\f" has path proper "\dir\f".
    void determinePath();
    // DOS style when text begins with a letter and ':', or contains a
    // backslash anywhere; Unix style otherwise (also for null).
    KivEnPathStyle getStyle(const char* text) const;
    // '/' when text is Unix style, else '\\'.
    char getPathSep(const char* text) const;
    // The path proper is non-empty and its second character is ':'.
    bool hasDrive() const;
    // A server prefix makes a name absolute; otherwise a Unix-style path
    // beginning with '/', or a DOS-style one beginning "X:\". A DOS path
    // without drive (even "\dir") is not absolute.
    bool isAbsolute() const;
    // The path proper contains no backslash.
    bool isNormalized() const;
    // Replaces every backslash in text by '/', in place (null is ignored).
    static void normalizePath(char* text);

    // The whole name text.
    const char* getName() const { return name_; }
    // First character after the server prefix (== getName() without one).
    const char* getPathStart() const { return pathStart_; }
    // The style decided by the last init().
    KivEnPathStyle getPathStyle() const { return static_cast<KivEnPathStyle>(style_); }
    // The separator of the stored style: '/' for Unix, '\\' for DOS.
    char getSeparator() const { return style_ == KivEnPathStyleUnix ? '/' : '\\'; }
    // The name begins with a \\server\share prefix.
    bool hasServerPrefix() const { return pathStart_ != name_; }

protected:
    // access(name, F_OK) succeeds; the file-system question of the name and
    // location classes.
    bool isExistent() const;
    // Takes other's analysis for text, a copy of other's name text: the
    // style, and the path start at the same offset.
    void rebaseOnto(const char* text, const KivClPathProperty& other);
    // Appends the stored style's separator to text of length characters
    // unless text is empty, already ends in it, or holds limit characters;
    // returns the new length.
    size_t appendSeparator(char* text, size_t length, size_t limit) const;

    const char* name_;
    const char* pathStart_;
    int32_t style_;
};

class KivClLocation;

// A file name held in its own 4097-character buffer, split into server
// prefix [name, pathStart), path [pathStart, baseName), base name
// [baseName, extension) and extension [extension, end) with its dot.
class KivClFilenameABase : public KivClPathProperty {
public:
    // Longest name kept; longer input is cut to this many characters.
    static constexpr size_t MAX_LENGTH = 4096;
    // Size of the buffers callers hand to the extract functions.
    static constexpr size_t BUFFER_SIZE = MAX_LENGTH + 1;

    // The empty name: Unix style, every position at the buffer start.
    KivClFilenameABase();
    // As init(name).
    explicit KivClFilenameABase(const char* name);
    // Takes at most length characters of text (stopping early at a NUL),
    // then analyses them as init(name) does.
    KivClFilenameABase(const char* text, unsigned long length);
    // As init(path, baseName, extension).
    KivClFilenameABase(const char* path, const char* baseName, const char* extension);
    // Copies whole and re-bases every position into the new buffer.
    KivClFilenameABase(const KivClFilenameABase& other);
    KivClFilenameABase& operator=(const KivClFilenameABase& other);

    // Copies at most 4096 characters of name, analyses the style and the
    // server prefix, then determineParts().
    void init(const char* name);
    // Joins path, separator (of the path's style, added unless the path is
    // empty or already ends in it), baseName and, when extension is not null,
    // '.' (unless it begins with one) and extension; everything cut to 4096
    // characters. An empty but given extension leaves a trailing '.'. The
    // arguments may point into this name (they are copied first).
    void init(const char* path, const char* baseName, const char* extension);
    // Recomputes length, then baseName: one past the last '/' of the path
    // proper, else one past its last backslash, else pathStart; then
    // determineExtension().
    void determineParts();
    // extension = the last '.' at or after baseName, else the terminator.
    void determineExtension();

    // This name's path [pathStart, baseName) equals the first characters of
    // other's path proper; case-sensitive only in Unix style (this object's).
    bool matchesPath(const KivClFilenameABase& other) const;
    // Compares as many characters from each base name as the longer base
    // name holds; case-sensitive only in Unix style. The shorter name is
    // therefore compared together with its extension: base "a" of "a.b"
    // matches base "a.b" of "a.b.c".
    bool matchesBase(const KivClFilenameABase& other) const;
    // The extension equals ext, with or without its leading '.'; "" matches
    // a name without extension. Case-sensitive only in Unix style.
    bool matchesExtension(const char* ext) const;
    // The file part (base name and extension) matches the wildcard pattern
    // ('?' and '*'); case-sensitive only in Unix style.
    bool matchesWildcardPattern(const char* pattern) const;

    // Writes the text from the start of the name (server prefix included) up
    // to the base name, without the final separator unless withSeparator;
    // the empty string when the name has no path. out holds BUFFER_SIZE.
    void extractPath(char* out, bool withSeparator) const;
    // Writes the base name without extension. out holds BUFFER_SIZE.
    void extractBaseName(char* out) const;
    // Writes the \\server\share prefix, or the empty string when there is
    // none. out holds BUFFER_SIZE.
    void extractServer(char* out) const;

    // The name fits the FAT 8.3 rules: DOS style, base name of at most 8
    // characters, extension of at most 3 after its dot, a letter as drive,
    // directory components of at most 8 characters without dots and none of
    // the characters <>:;."|/* anywhere before the extension.
    bool isStyleFAT_8_3() const;
    // access(name, F_OK) succeeds.
    using KivClPathProperty::isExistent;

    // The whole name text.
    operator const char*() const { return buffer_; }
    const char* getAsCString() const { return buffer_; }
    // Number of characters in the name.
    unsigned long getLength() const { return length_; }
    // The file part: base name and extension, up to the end of the name.
    const char* getFilePart() const { return baseName_; }
    // The extension with its dot; "" when the name has none.
    const char* getExtension() const { return extension_; }
    // Number of characters of the base name proper (without extension).
    unsigned long getBaseNameLength() const;
    // The name has a path before its file part.
    bool hasPath() const { return baseName_ != pathStart_; }
    // The name has an extension (possibly just a trailing '.').
    bool hasExtension() const { return *extension_ != '\0'; }

protected:
    // Appends text at the end of the name, cut at 4096 characters, without
    // analysing the parts again (the extension then reaches to the end).
    void appendText(const char* text);
    // Replaces everything from the base name on by filePart (cut at 4096
    // characters in total) and determines the extension again.
    void replaceFilePart(const char* filePart);
    // Writable pointer to a position inside the own buffer.
    char* writableAt(const char* position) { return buffer_ + (position - buffer_); }

    char buffer_[BUFFER_SIZE];
    char* baseName_;
    char* extension_;
    uint32_t length_;

private:
    // Takes name, pathStart, baseName and extension over from other at the
    // same offsets into the own buffer.
    void rebaseFrom(const KivClFilenameABase& other);
};

// A file name with the operations that change it. Every change keeps the
// object valid and its length up to date.
class KivClFilename : public KivClFilenameABase {
public:
    KivClFilename() = default;
    explicit KivClFilename(const char* name) : KivClFilenameABase(name) {}
    KivClFilename(const char* text, unsigned long length) : KivClFilenameABase(text, length) {}
    KivClFilename(const char* path, const char* baseName, const char* extension)
        : KivClFilenameABase(path, baseName, extension) {}
    // The location's text as path, then baseName and extension (may be null).
    KivClFilename(const KivClLocation& location, const char* baseName, const char* extension);
    // Copies any filename (KivClTmpFilename, KivClBakFilename, ...).
    KivClFilename(const KivClFilenameABase& other) : KivClFilenameABase(other) {}
    KivClFilename(const KivClFilename& other) = default;
    KivClFilename& operator=(const KivClFilename& other) = default;
    KivClFilename& operator=(const KivClFilenameABase& other);

    // Becomes location + name, without extension handling; name may point
    // into this object (f.setNew(KivClLocation("/backup"), f.getFilePart())).
    void setNew(const KivClLocation& location, const char* name);
    // Keeps the directory and replaces the file part by name.
    void setNewName(const char* name);
    // Keeps the directory and the extension and replaces the base name.
    void setNewBaseName(const char* baseName);
    // Writes '.' and ext (without its own leading dot) at the extension
    // position; an empty or null ext removes the extension.
    void setNewExtension(const char* ext);
    // Keeps the file part and puts it under path.
    void setNewPath(const char* path);
    void setNewPath(const KivClLocation& location);
    // Drops server prefix and path, keeping only the file part; nothing
    // changes when the name has no path.
    void removePath();
};

// A directory path in its own 4097-character buffer; non-empty text always
// ends in the separator of its style.
class KivClLocation : public KivClPathProperty {
public:
    static constexpr size_t MAX_LENGTH = 4096;
    static constexpr size_t BUFFER_SIZE = MAX_LENGTH + 1;

    // The empty location (Unix style).
    KivClLocation();
    // Copies at most 4096 characters of path, then init(normalize).
    explicit KivClLocation(const char* path, bool normalize = false);
    // Copies at most length characters of text (stopping early at a NUL),
    // then init(normalize).
    KivClLocation(const char* text, unsigned long length, bool normalize);
    // The directory of name: its text from the start (server prefix
    // included) up to the base name, then init(normalize).
    explicit KivClLocation(const KivClFilenameABase& name, bool normalize = false);
    // Copies whole and re-bases name and pathStart into the new buffer.
    KivClLocation(const KivClLocation& other);
    KivClLocation& operator=(const KivClLocation& other);
    // Copies at most 4096 characters of path, then init(false).
    KivClLocation& operator=(const char* path);

    // Analyses the buffer, appends the style's separator when the text is
    // non-empty and lacks it (only if it still fits), and with normalize
    // turns every backslash of the path proper into '/' and decides the
    // style again from the path proper.
    void init(bool normalize);
    // A location's text is its own; it cannot point at foreign text.
    void init(const char* name) = delete;

    // access(text, F_OK) succeeds.
    using KivClPathProperty::isExistent;
    // Absolute and nothing but the root: "/" , "C:\" or "\\srv\share\".
    bool isRoot() const;

    operator const char*() const { return buffer_; }
    const char* getAsCString() const { return buffer_; }
    unsigned long getLength() const { return length_; }

private:
    char buffer_[BUFFER_SIZE];
    uint32_t length_;
};

// Identifier of the operating system the library runs on: 8 (Linux).
unsigned long kivGetOperatingSystemId();

// Text and binary mode are the same on this platform: all of these answer
// true for any stream.
bool kivFileIsOpenedInBinaryMode(const std::istream& stream);
bool kivFileIsOpenedInBinaryMode(const std::ostream& stream);
bool kivFileIsOpenedInBinaryMode(FILE* stream);
bool kivFileIsOpenedInTextMode(const std::istream& stream);
bool kivFileIsOpenedInTextMode(const std::ostream& stream);
bool kivFileIsOpenedInTextMode(FILE* stream);

#endif  // KIV_FILENAME_HPP
