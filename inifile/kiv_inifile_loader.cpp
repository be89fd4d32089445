// The ini file loader: reading lines, sections, options, continuation lines
// and the value rules (quotes, escapes, environment references, comments).
#include <sys/stat.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <istream>
#include <streambuf>

#include "kiv_envvar.hpp"
#include "kiv_inifile.hpp"
#include "kiv_string.hpp"

namespace {

// A line holds at most LINE_SIZE - 1 characters; a longer one ends loading
// and makes the load return false.
constexpr std::streamsize LINE_SIZE = 1024;
// A parsed value holds at most this many characters; the option storage
// bounds it further (see the header).
constexpr size_t VALUE_CAPACITY = KivClIniFileOption::NAME_VALUE_LIMIT;

// isspace in the current locale. The ASCII graphic characters are never
// white space in any locale, so the common case needs no library call.
bool isBlank(char ch) {
    const unsigned char byte = static_cast<unsigned char>(ch);
    if (byte - 0x21u < 0x5Eu) return false;
    return byte == ' ' || std::isspace(byte) != 0;
}

const char* skipBlanks(const char* text) {
    while (isBlank(*text)) {
        ++text;
    }
    return text;
}

// An input stream buffer over caller memory, read in place.
class MemoryStreamBuffer : public std::streambuf {
public:
    MemoryStreamBuffer(const char* buffer, size_t length) {
        char* begin = const_cast<char*>(buffer != nullptr ? buffer : "");
        setg(begin, begin, begin + (buffer != nullptr ? length : 0));
    }
};

// The value and comment of one line, parsed by the value rules.
class ValueParser {
public:
    explicit ValueParser(const char* text);

    const char* getValue() const { return value_; }
    const char* getComment() const { return comment_; }
    // Something was dropped because the value reached its capacity.
    bool wasCut() const { return cut_; }

private:
    void put(char ch);
    void putText(const char* text);
    // Appends count characters of text (none of them NUL) as put would.
    void putRun(const char* text, size_t count);
    // Handles the element at text and returns the position after it.
    const char* parseQuotedCharacter(const char* text);
    const char* parseQuotedString(const char* text);
    const char* parseReference(const char* text, const char* close);
    void trimTrailingBlanks();

    char value_[VALUE_CAPACITY];
    size_t length_ = 0;
    // Characters up to here came from quotes or references and stay.
    size_t kept_ = 0;
    bool cut_ = false;
    const char* comment_ = "";
};

ValueParser::ValueParser(const char* text) {
    value_[0] = '\0';
    const char* pos = skipBlanks(text);
    while (*pos != '\0' && *pos != ';') {
        const char* close = nullptr;
        if (*pos == '\'') {
            pos = parseQuotedCharacter(pos);
        } else if (*pos == '"') {
            pos = parseQuotedString(pos);
        } else if (pos[0] == '$' && pos[1] == '(' && (close = std::strchr(pos + 2, ')')) != nullptr) {
            pos = parseReference(pos, close);
        } else {
            // This character and the plain ones after it, up to the next
            // quote, reference, comment or the end, are copied as one run.
            const size_t run = 1 + std::strcspn(pos + 1, "'\";$");
            putRun(pos, run);
            pos += run;
        }
    }
    trimTrailingBlanks();
    if (*pos == ';') {
        comment_ = skipBlanks(pos + 1);
    }
}

void ValueParser::put(char ch) {
    if (ch == '\0') {
        return;
    }
    if (length_ + 1 < VALUE_CAPACITY) {
        value_[length_++] = ch;
    } else {
        cut_ = true;
    }
    value_[length_] = '\0';
}

void ValueParser::putRun(const char* text, size_t count) {
    const size_t room = VALUE_CAPACITY - 1 - length_;
    if (count > room) {
        count = room;
        cut_ = true;
    }
    std::memcpy(value_ + length_, text, count);
    length_ += count;
    value_[length_] = '\0';
}

void ValueParser::putText(const char* text) {
    while (*text != '\0') {
        put(*text++);
    }
    value_[length_] = '\0';
}

const char* ValueParser::parseQuotedCharacter(const char* text) {
    put(kivIniFileGetQuotedCharacter(text));
    kept_ = length_;
    return text;
}

const char* ValueParser::parseQuotedString(const char* text) {
    // The copy is never longer than the rest of the line.
    char copy[LINE_SIZE];
    char* end = copy;
    kivIniFileQuotedStrCopy(end, text);
    putText(copy);
    kept_ = length_;
    return text;
}

const char* ValueParser::parseReference(const char* text, const char* close) {
    const char* name = text + 2;
    const size_t nameLength = static_cast<size_t>(close - name);
    // Longer names cannot be variables: they insert nothing, like unset ones.
    if (nameLength <= KivClEnvironmentVariableABase::MAX_NAME_LENGTH) {
        char variableName[KivClEnvironmentVariableABase::MAX_NAME_LENGTH + 1];
        std::memcpy(variableName, name, nameLength);
        variableName[nameLength] = '\0';
        KivClEnvironmentVariableQueryOnly variable;
        const char* value = variable.setNewName(variableName) ? variable.getValue() : nullptr;
        if (value != nullptr) {
            putText(value);
        }
    }
    kept_ = length_;
    return close + 1;
}

void ValueParser::trimTrailingBlanks() {
    while (length_ > kept_ && isBlank(value_[length_ - 1])) {
        --length_;
    }
    value_[length_] = '\0';
}

}  // namespace

// The state of one load: where options go and which option a continuation
// line extends.
class KivClIniFile::Loader {
public:
    Loader(KivClIniFile& iniFile, bool newSectionForEveryHeader, bool continuationLines)
        : iniFile_(iniFile),
          newSectionForEveryHeader_(newSectionForEveryHeader),
          continuationLines_(continuationLines) {}

    // Handles one line; false when a report asked to stop.
    bool handle(const char* line);

private:
    bool handleHeader(const char* line);
    bool handleContinuation(const char* text);
    bool handleOption(const char* line);
    // The last option of tailSection_, so appending needs no walk while the
    // loader stays in one section.
    KivClIniFileOption* tailOf(KivClIniFileSection* section);

    KivClIniFile& iniFile_;
    const bool newSectionForEveryHeader_;
    const bool continuationLines_;
    KivClIniFileOption* lastOption_ = nullptr;
    KivClIniFileSection* tailSection_ = nullptr;
    KivClIniFileOption* tailOption_ = nullptr;
};

bool KivClIniFile::Loader::handle(const char* line) {
    const char* first = skipBlanks(line);
    if (*first == '\0' || *first == ';') {
        return true;
    }
    if (line[0] == '[') {
        return handleHeader(line);
    }
    if (iniFile_.currentSection_ == nullptr) {
        return true;
    }
    if (isBlank(line[0])) {
        return handleContinuation(first);
    }
    return handleOption(line);
}

bool KivClIniFile::Loader::handleHeader(const char* line) {
    lastOption_ = nullptr;
    const char* name = line + 1;
    const char* close = std::strchr(name, ']');
    if (close == nullptr) {
        return iniFile_.error(KIV_ERRID_INIFILE_INVAL_SECTION);
    }
    char sectionName[KivClIniFileSection::NAME_LIMIT + 1];
    kivStrCopyUntil(sectionName, name, ']', sizeof(sectionName));

    KivClIniFileSection* section = newSectionForEveryHeader_ ? nullptr : iniFile_.findSection(sectionName);
    iniFile_.currentSection_ = section != nullptr ? section : iniFile_.appendSection(sectionName);
    return true;
}

KivClIniFileOption* KivClIniFile::Loader::tailOf(KivClIniFileSection* section) {
    if (section != tailSection_) {
        tailSection_ = section;
        tailOption_ = nullptr;
        for (KivClIniFileOption* option = section->firstOption_; option != nullptr; option = option->next_) {
            tailOption_ = option;
        }
    }
    return tailOption_;
}

bool KivClIniFile::Loader::handleContinuation(const char* text) {
    if (!continuationLines_ || lastOption_ == nullptr) {
        lastOption_ = nullptr;
        return iniFile_.error(KIV_ERRID_INIFILE_INVAL_WHITESPACE);
    }
    ValueParser parsed(text);
    const bool whole = lastOption_->appendValue(parsed.getValue(), parsed.getComment());
    if (!whole || parsed.wasCut()) {
        return iniFile_.error(KIV_ERRID_INIFILE_INVAL_OPTION);
    }
    return true;
}

bool KivClIniFile::Loader::handleOption(const char* line) {
    const char* equals = std::strchr(line, '=');
    char name[LINE_SIZE];
    size_t nameLength = 0;
    for (const char* pos = line; equals != nullptr && pos < equals; ++pos) {
        if (!isBlank(*pos)) {
            name[nameLength++] = *pos;
        }
    }
    name[nameLength] = '\0';
    if (equals == nullptr) {
        return iniFile_.error(KIV_ERRID_INIFILE_INVAL_OPTION);
    }

    ValueParser parsed(equals + 1);
    KivClIniFileOption* option = createOption();
    const bool whole = option->compose(name, parsed.getValue(), nullptr, parsed.getComment());
    KivClIniFileSection* section = iniFile_.currentSection_;
    section->appendOption(option, tailOf(section));
    tailOption_ = option;
    lastOption_ = option;
    if (!whole || parsed.wasCut()) {
        return iniFile_.error(KIV_ERRID_INIFILE_INVAL_OPTION);
    }
    return true;
}

bool KivClIniFile::load(bool continuationLines) {
    lineNumber_ = 0;
    // A directory opens as a stream on this platform but cannot be read.
    struct stat info;
    if (::stat(getAsCString(), &info) == 0 && S_ISDIR(info.st_mode)) {
        return false;
    }
    std::ifstream input(getAsCString(), std::ios::in | std::ios::binary);
    if (!input.is_open()) {
        return false;
    }
    return load(input, '\n', true, continuationLines);
}

bool KivClIniFile::loadFromBuffer(const char* buffer, unsigned int length, char delimiter,
                                  bool newSectionForEveryHeader, bool continuationLines) {
    MemoryStreamBuffer memory(buffer, length);
    std::istream input(&memory);
    return load(input, delimiter, newSectionForEveryHeader, continuationLines);
}

bool KivClIniFile::load(std::istream& input, char delimiter, bool newSectionForEveryHeader,
                        bool continuationLines) {
    // However loading ends (a stop, the end, or exhausted memory), no
    // section stays selected.
    struct SelectionReset {
        KivClIniFileSection*& section;
        ~SelectionReset() { section = nullptr; }
    } selectionReset{currentSection_};
    // Lines before the first header belong to no section, whatever the
    // caller had selected.
    currentSection_ = nullptr;
    Loader loader(*this, newSectionForEveryHeader, continuationLines);
    char line[LINE_SIZE];
    bool goOn = true;
    while (goOn) {
        input.getline(line, LINE_SIZE, delimiter);
        if (input.gcount() == 0 && input.fail()) {
            break;
        }
        ++lineNumber_;
        goOn = loader.handle(line);
        // A line too long for the buffer fails the stream: its first part
        // was the last line, and the rest of the input is not read.
        if (input.fail()) {
            return false;
        }
    }
    return goOn;
}

void KivClIniFile::setErrorHandler(KivPfuIniFileErrorHandler handler, void* userData) {
    errorHandler_ = handler;
    handlerData_ = userData;
}

bool KivClIniFile::error(unsigned long errorId) {
    if (errorHandler_ == nullptr) {
        return true;
    }
    const _KivStError record = {static_cast<uint32_t>(errorId), KIV_ERRCLASS_USER_DATA_ERROR};
    return errorHandler_(record, lineNumber_, handlerData_);
}

char kivIniFileGetEscCharacter(const char*& text) {
    const char ch = *text;
    switch (ch) {
        case '\0': return '\0';
        case 'a': ++text; return '\a';
        case 'b': ++text; return '\b';
        case 'f': ++text; return '\f';
        case 'n': ++text; return '\n';
        case 'r': ++text; return '\r';
        case 't': ++text; return '\t';
        case 'v': ++text; return '\v';
        default: break;
    }
    char* end = nullptr;
    long number = 0;
    // Only a hexadecimal digit right after the "x" starts a number, so that
    // strtol cannot skip blanks or read a sign; a bare "\x" is an "x".
    if (ch == 'x' && std::isxdigit(static_cast<unsigned char>(text[1])) != 0) {
        number = std::strtol(text + 1, &end, 16);
        text = end;
        return static_cast<char>(number & 0xff);
    }
    if (std::isdigit(static_cast<unsigned char>(ch)) != 0) {
        number = std::strtol(text, &end, 8);
        // "\8" and "\9" read no octal digit: the digit is consumed anyway.
        text = end > text ? end : text + 1;
        return static_cast<char>(number & 0xff);
    }
    ++text;
    return ch;
}

char kivIniFileGetQuotedCharacter(const char*& text) {
    if (*text == '\'') {
        ++text;
    }
    char ch = *text;
    if (ch == '\0') {
        return '\0';
    }
    ++text;
    if (ch == '\\') {
        ch = kivIniFileGetEscCharacter(text);
    }
    // The place of the closing quote, skipped unexamined.
    if (*text != '\0') {
        ++text;
    }
    return ch;
}

void kivIniFileQuotedStrCopy(char*& destination, const char*& source) {
    if (*source == '"') {
        ++source;
    }
    while (*source != '\0' && *source != '"') {
        char ch = *source++;
        if (ch == '\\') {
            ch = kivIniFileGetEscCharacter(source);
        }
        if (ch != '\0') {
            *destination++ = ch;
        }
    }
    if (*source == '"') {
        ++source;
    }
    *destination = '\0';
}
