// Writing the ini model back in the layout the loader reads.
#include <cctype>
#include <cstring>
#include <sstream>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_inifilesave.hpp"

namespace {

// The loader reads at most this many characters of a line.
constexpr size_t LINE_LIMIT = 1023;

bool isBlank(char ch) { return std::isspace(static_cast<unsigned char>(ch)) != 0; }

bool holdsLineBreak(const char* text) { return std::strchr(text, '\n') != nullptr; }

// A value that the unquoted form would change or cut.
bool needsQuotes(const char* text) {
    const size_t length = std::strlen(text);
    if (length > 0 && (isBlank(text[0]) || isBlank(text[length - 1]))) {
        return true;
    }
    for (const char* pos = text; *pos != '\0'; ++pos) {
        if (*pos == ';' || *pos == '\'' || *pos == '"' || (pos[0] == '$' && pos[1] == '(') ||
            std::iscntrl(static_cast<unsigned char>(*pos)) != 0) {
            return true;
        }
    }
    return false;
}

// The named escape letter of ch, or '\0' when it has none.
char escapeLetter(char ch) {
    switch (ch) {
        case '\a': return 'a';
        case '\b': return 'b';
        case '\f': return 'f';
        case '\n': return 'n';
        case '\r': return 'r';
        case '\t': return 't';
        case '\v': return 'v';
        case '\\': return '\\';
        default: return '\0';
    }
}

// saveChar writes ch as a "\x" escape.
bool isHexEscaped(char ch) {
    return escapeLetter(ch) == '\0' && std::iscntrl(static_cast<unsigned char>(ch)) != 0;
}

// The loader would read name back unchanged as an option name.
bool isWritableName(const char* name) {
    if (name == nullptr || name[0] == '\0' || name[0] == '[' || name[0] == ';') {
        return false;
    }
    for (; *name != '\0'; ++name) {
        if (*name == '=' || isBlank(*name)) {
            return false;
        }
    }
    return true;
}

// The loader skips blanks after the ";", and a line break would end the line.
bool isWritableComment(const char* comment) {
    return comment == nullptr || (!isBlank(comment[0]) && !holdsLineBreak(comment));
}

bool isWritableSectionName(const char* name) {
    return name != nullptr && std::strchr(name, ']') == nullptr && !holdsLineBreak(name);
}

bool linesFit(const std::string& text) {
    size_t lineStart = 0;
    for (size_t pos = text.find('\n'); pos != std::string::npos; pos = text.find('\n', lineStart)) {
        if (pos - lineStart > LINE_LIMIT) {
            return false;
        }
        lineStart = pos + 1;
    }
    return text.size() - lineStart <= LINE_LIMIT;
}

// Options and sections that save() writes: not deleted, and options with a value.
const KivClIniFileSection* nextSaved(const KivClIniFileSection* section) {
    while (section != nullptr && section->getName()[0] == '\0') {
        section = section->getNext();
    }
    return section;
}

const KivClIniFileOption* nextSaved(const KivClIniFileOption* option) {
    while (option != nullptr && (option->isDeleted() || option->getValue()[0] == '\0')) {
        option = option->getNext();
    }
    return option;
}

bool sameOption(const KivClIniFileOption* a, const KivClIniFileOption* b) {
    return std::strcmp(a->getName(), b->getName()) == 0 &&
           std::strcmp(a->getValue(), b->getValue()) == 0 &&
           std::strcmp(a->getComment(), b->getComment()) == 0;
}

// True when both models hold the same saved sections and options in the same order.
bool sameSavedModel(const KivClIniFile& a, const KivClIniFile& b) {
    const KivClIniFileSection* left = nextSaved(a.getFirstSection());
    const KivClIniFileSection* right = nextSaved(b.getFirstSection());
    for (; left != nullptr && right != nullptr;
         left = nextSaved(left->getNext()), right = nextSaved(right->getNext())) {
        if (std::strcmp(left->getName(), right->getName()) != 0) {
            return false;
        }
        const KivClIniFileOption* x = nextSaved(left->getFirstOption());
        const KivClIniFileOption* y = nextSaved(right->getFirstOption());
        for (; x != nullptr && y != nullptr; x = nextSaved(x->getNext()), y = nextSaved(y->getNext())) {
            if (!sameOption(x, y)) {
                return false;
            }
        }
        if (x != y) {
            return false;
        }
    }
    return left == right;
}

}  // namespace

KivClIniFileSave::KivClIniFileSave(const KivClFilenameABase& name) : KivClIniFile(name), opened_(false) {}

KivClIniFileSave::~KivClIniFileSave() {
    if (output_.is_open()) {
        output_.flush();
        output_.close();
    }
}

void KivClIniFileSave::openIfNeeded(std::ostream& output) {
    std::ofstream* file = dynamic_cast<std::ofstream*>(&output);
    if (opened_ || file == nullptr || file->is_open()) {
        return;
    }
    file->open(getAsCString(), std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary);
    opened_ = true;
}

bool KivClIniFileSave::save() {
    std::string text;
    if (!render(text)) {
        return false;
    }
    openIfNeeded(output_);
    return emit(output_, text);
}

bool KivClIniFileSave::save(std::ostream& output) {
    std::string text;
    return render(text) && emit(output, text);
}

bool KivClIniFileSave::render(std::string& text) {
    std::ostringstream out;
    for (const KivClIniFileSection* section = nextSaved(getFirstSection()); section != nullptr;
         section = nextSaved(section->getNext())) {
        if (!saveSection(out, section->getName(), nullptr)) {
            return false;
        }
        for (const KivClIniFileOption* option = nextSaved(section->getFirstOption()); option != nullptr;
             option = nextSaved(option->getNext())) {
            if (!saveOption(out, option->getName(), option->getValue(), option->getComment())) {
                return false;
            }
        }
    }
    text = out.str();
    // Whatever the entry checks missed, the text must load back as this model.
    const KivClFilename name(getAsCString());
    KivClIniFile probe(name);
    return probe.loadFromBuffer(text.data(), static_cast<unsigned int>(text.size()), '\n', true, false) &&
           sameSavedModel(*this, probe);
}

bool KivClIniFileSave::emit(std::ostream& output, const std::string& text) {
    if (!linesFit(text)) {
        return false;
    }
    openIfNeeded(output);
    output.write(text.data(), static_cast<std::streamsize>(text.size()));
    output.flush();
    return output.good();
}

bool KivClIniFileSave::saveSection(std::ostream& output, const char* name, const char* comment) {
    if (!isWritableSectionName(name) || !isWritableComment(comment)) {
        return false;
    }
    std::ostringstream line;
    line << '\n' << '[' << name << ']';
    saveComment(line, comment);
    return emit(output, line.str());
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, const char* value,
                                  const char* comment) {
    if (value == nullptr || value[0] == '\0') {
        openIfNeeded(output);
        return output.good();
    }
    std::ostringstream line;
    if (!saveOption(line, name) || !isWritableComment(comment)) {
        return false;
    }
    if (needsQuotes(value)) {
        saveQuoted(line, value);
    } else {
        line << value;
    }
    saveComment(line, comment);
    return emit(output, line.str());
}

bool KivClIniFileSave::saveOptionBool(std::ostream& output, const char* name, bool value,
                                      const char* comment) {
    std::ostringstream line;
    if (!saveOption(line, name) || !isWritableComment(comment)) {
        return false;
    }
    line << (value ? getStringTrue() : getStringFalse());
    saveComment(line, comment);
    return emit(output, line.str());
}

template <typename Number>
bool KivClIniFileSave::saveNumber(std::ostream& output, const char* name, Number value,
                                  const char* comment) {
    std::ostringstream line;
    if (!saveOption(line, name) || !isWritableComment(comment)) {
        return false;
    }
    line << std::dec << value;
    saveComment(line, comment);
    return emit(output, line.str());
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, int value, const char* comment) {
    return saveNumber(output, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, unsigned int value,
                                  const char* comment) {
    return saveNumber(output, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, long value, const char* comment) {
    return saveNumber(output, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, unsigned long value,
                                  const char* comment) {
    return saveNumber(output, name, value, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, char value, const char* comment) {
    // A zero character would load back as an empty value.
    std::ostringstream line;
    if (value == '\0' || !saveOption(line, name) || !isWritableComment(comment)) {
        return false;
    }
    line << '\'';
    saveChar(line, value);
    line << '\'';
    saveComment(line, comment);
    return emit(output, line.str());
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name) {
    if (!isWritableName(name)) {
        return false;
    }
    output << name << '\t' << "= ";
    return output.good();
}

bool KivClIniFileSave::saveComment(std::ostream& output, const char* comment) const {
    if (!isWritableComment(comment)) {
        return false;
    }
    if (comment != nullptr && comment[0] != '\0') {
        output << '\t' << "; " << comment;
    }
    output << '\n';
    return output.good();
}

bool KivClIniFileSave::saveChar(std::ostream& output, char ch) const {
    const char letter = escapeLetter(ch);
    if (letter != '\0') {
        output << '\\' << letter;
    } else if (isHexEscaped(ch)) {
        saveHexEscape(output, ch);
    } else {
        output << ch;
    }
    return output.good();
}

void KivClIniFileSave::saveHexEscape(std::ostream& output, char ch) const {
    static const char digits[] = "0123456789abcdef";
    const unsigned char code = static_cast<unsigned char>(ch);
    output << '\\' << 'x' << digits[code >> 4] << digits[code & 0x0f];
}

void KivClIniFileSave::saveQuoted(std::ostream& output, const char* text) const {
    output << '"';
    bool afterHexEscape = false;
    for (; *text != '\0'; ++text) {
        if (afterHexEscape && std::isxdigit(static_cast<unsigned char>(*text)) != 0) {
            saveHexEscape(output, *text);
            continue;
        }
        if (*text == '"') {
            output << '\\';
        }
        saveChar(output, *text);
        afterHexEscape = isHexEscaped(*text);
    }
    output << '"';
}
