// Writing the ini model back in the layout the loader reads.
#include <cctype>
#include <cstring>

#include "kiv_inifilesave.hpp"

namespace {

bool needsQuotes(const char* text) {
    for (; *text != '\0'; ++text) {
        if (*text == ';' || std::iscntrl(static_cast<unsigned char>(*text)) != 0) {
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
    openIfNeeded(output_);
    return save(output_);
}

bool KivClIniFileSave::save(std::ostream& output) {
    KivClIniFileSectionCursor sections(*this);
    for (sections.setToFirst(); sections.isValid(); sections.setToNext()) {
        if (sections.getSection()[0] == '\0') {
            continue;
        }
        saveSection(output, sections.getSection(), nullptr);
        KivClIniFileOptionCursor options(sections);
        for (options.setToFirst(); options.isValid(); options.setToNext()) {
            if (options.getOption()[0] != '\0') {
                saveOption(output, options.getOption(), options.getValue(), options.getComment());
            }
        }
    }
    output.flush();
    return output.good();
}

bool KivClIniFileSave::saveSection(std::ostream& output, const char* name, const char* comment) {
    openIfNeeded(output);
    output << '\n' << '[' << (name != nullptr ? name : "") << ']';
    return saveComment(output, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name, const char* value,
                                  const char* comment) {
    openIfNeeded(output);
    if (value == nullptr || value[0] == '\0') {
        return output.good();
    }
    saveOption(output, name);
    if (needsQuotes(value)) {
        saveQuoted(output, value);
    } else {
        output << value;
    }
    return saveComment(output, comment);
}

bool KivClIniFileSave::saveOptionBool(std::ostream& output, const char* name, bool value,
                                      const char* comment) {
    openIfNeeded(output);
    saveOption(output, name);
    output << (value ? getStringTrue() : getStringFalse());
    return saveComment(output, comment);
}

template <typename Number>
bool KivClIniFileSave::saveNumber(std::ostream& output, const char* name, Number value,
                                  const char* comment) {
    openIfNeeded(output);
    saveOption(output, name);
    output << std::dec << value;
    return saveComment(output, comment);
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
    openIfNeeded(output);
    saveOption(output, name);
    output << '\'';
    saveChar(output, value);
    output << '\'';
    return saveComment(output, comment);
}

bool KivClIniFileSave::saveOption(std::ostream& output, const char* name) {
    output << (name != nullptr ? name : "") << '\t' << "= ";
    return output.good();
}

bool KivClIniFileSave::saveComment(std::ostream& output, const char* comment) const {
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
        saveChar(output, *text);
        afterHexEscape = isHexEscaped(*text);
    }
    output << '"';
}
