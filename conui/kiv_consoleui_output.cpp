// Console UI output: primitives, headers, label-and-value lines, error
// records and message blocks.
#include <cstring>
#include <iostream>

#include "kiv_consoleui.hpp"
#include "conui/kiv_consoleui_messages.hpp"
#include "kiv_dump.hpp"
#include "kiv_usage.hpp"

namespace {

constexpr const char* LABEL_INDENT = "  ";
constexpr const char* SEPARATOR = ": ";
// Dashes in the bar under a format header, which starts two columns in.
constexpr unsigned FORMAT_BAR_WIDTH = KivClConsoleUI::BAR_WIDTH - 2;

}  // namespace

// ---- Primitives ----

void KivClConsoleUI::newline() const { out() << std::endl; }

void KivClConsoleUI::horizontalBar() const {
    indent(out(), BAR_WIDTH, '-');
    out() << "\n\n";
}

void KivClConsoleUI::beep() const { out().put('\a'); }

void KivClConsoleUI::indent(std::ostream& os) const { indent(os, params_->processNameLength_, ' '); }

// Writes the characters a block at a time: one stream operation (and one
// flush on a unit-buffered stream) per block instead of per character.
void KivClConsoleUI::indent(std::ostream& os, unsigned count, char c) const {
    char block[80];
    std::memset(block, c, sizeof block);
    while (count > 0) {
        const unsigned n = count < sizeof block ? count : static_cast<unsigned>(sizeof block);
        os.write(block, n);
        count -= n;
    }
}

void KivClConsoleUI::display(std::ostream& os, const char* text, unsigned indentation,
                             bool usage) const {
    const bool dropTagged = params_->hideTaggedLines_ || params_->disableTaggedLines_;
    const char* start = text != nullptr ? text : "";
    const char* p = start;
    bool lineStart = true;
    for (; *p != '\0'; ++p) {
        const char c = *p;
        if (c == '!') {
            lineStart = false;
            if (!dropTagged) continue;
            p = std::strchr(p, '\n');
            if (p == nullptr) return;
            lineStart = true;
            continue;
        }
        if (usage && !KivClUsageCursor::isToBeDisplayed(c)) {
            lineStart = false;
            continue;
        }
        os.put(c == '@' && lineStart ? '\n' : c);
        lineStart = c == '\n';
        if (lineStart) indent(os, indentation, ' ');
    }
    if (p == start || p[-1] != '\n') os << std::endl;
}

// ---- Headers ----

void KivClConsoleUI::header(std::ostream& os, const char* text, bool colon) const {
    os.put('\n');
    indent(os, BAR_WIDTH, '-');
    os << '\n' << params_->processName_ << SEPARATOR << (text != nullptr ? text : "");
    if (colon) {
        os << ":\n";
        indent(os);
    } else {
        os.put('\n');
    }
}

void KivClConsoleUI::header(std::ostream& os, unsigned long msgId, bool colon) const {
    header(os, KivClMessage(catalog_, msgId).getText(), colon);
}

void KivClConsoleUI::header(const char* text, bool colon) const { header(out(), text, colon); }

void KivClConsoleUI::header(unsigned long msgId, bool colon) const { header(out(), msgId, colon); }

void KivClConsoleUI::formatHeader(const char* text) const {
    std::ostream& os = out();
    os << '\n' << LABEL_INDENT << (text != nullptr ? text : "") << '\n' << LABEL_INDENT;
    indent(os, FORMAT_BAR_WIDTH, '-');
    os << std::endl;
}

void KivClConsoleUI::formatHeader(unsigned long msgId) const {
    formatHeader(KivClMessage(catalog_, msgId).getText());
}

// ---- Label-and-value lines ----

void KivClConsoleUI::format(const char* label) const {
    std::ostream& os = out();
    const char* text = label != nullptr ? label : "";
    const unsigned width = params_->formatWidth_;
    const size_t length = std::strlen(text);
    const unsigned n = length < width ? static_cast<unsigned>(length) : width;
    os << LABEL_INDENT;
    switch (params_->formatStyle_) {
    case KivEnFormatStyleLeft:
        os << text;
        indent(os, width - n, params_->fillChar_);
        break;
    case KivEnFormatStyleRight:
        indent(os, width - n, ' ');
        os << text;
        break;
    case KivEnFormatStyleCenter: {
        const unsigned left = width / 2 - n / 2;
        indent(os, left, ' ');
        os << text;
        indent(os, width - n - left, ' ');
        break;
    }
    }
    os << SEPARATOR;
}

void KivClConsoleUI::format(unsigned long labelId) const { format(KivClMessage(catalog_, labelId).getText()); }

void KivClConsoleUI::format(const char* label, const char* value) const {
    format(label);
    const char* quote = params_->quoteStrings_ ? "\"" : "";
    out() << quote << (value != nullptr ? value : "") << quote << '\n';
}

void KivClConsoleUI::format(const char* label, const char* data, unsigned length) const {
    format(label);
    const char* quote = params_->quoteStrings_ ? "\"" : "";
    out() << quote;
    if (data != nullptr) out().write(data, length);
    out() << quote << '\n';
}

void KivClConsoleUI::format(const char* label, char value) const {
    format(label);
    const char* quote = params_->quoteStrings_ ? "'" : "";
    out() << quote << value << quote << '\n';
}

void KivClConsoleUI::format(const char* label, short value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, unsigned short value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, int value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, unsigned int value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, long value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, unsigned long value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, float value) const {
    format(label);
    out() << value << '\n';
}

void KivClConsoleUI::format(const char* label, double value) const {
    format(label);
    out() << value << '\n';
}

// The answer words are written as they are, never quoted.
void KivClConsoleUI::formatBool(const char* label, bool value) const {
    format(label);
    out() << libraryText(value ? MSG_YES : MSG_NO).getText() << '\n';
}

void KivClConsoleUI::format(unsigned long labelId, const char* value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, const char* data, unsigned length) const {
    format(KivClMessage(catalog_, labelId).getText(), data, length);
}

void KivClConsoleUI::format(unsigned long labelId, char value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, short value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, unsigned short value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, int value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, unsigned int value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, long value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, unsigned long value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, float value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::format(unsigned long labelId, double value) const {
    format(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::formatBool(unsigned long labelId, bool value) const {
    formatBool(KivClMessage(catalog_, labelId).getText(), value);
}

void KivClConsoleUI::dump(const char* label, const char* data, unsigned length) const {
    formatHeader(label);
    const unsigned row = KivClStrepHexDump::BYTES_PER_LINE;
    for (unsigned offset = 0; data != nullptr && offset < length; offset += row) {
        const unsigned count = length - offset < row ? length - offset : row;
        out() << LABEL_INDENT << KivClStrepHexDump(offset, data + offset, count).getAsCString() << '\n';
    }
}

void KivClConsoleUI::dump(unsigned long labelId, const char* data, unsigned length) const {
    dump(KivClMessage(catalog_, labelId).getText(), data, length);
}

// ---- Error records ----

void KivClConsoleUI::formatErrId(unsigned long errorId, bool verbose) const {
    const KivClMessage label = libraryText(MSG_ERROR_ID);
    format(label.getText(), libraryText(kivErrorGetIdAsMessageId(errorId)).getText());
    if (verbose) format(label.getText(), errorId);
}

void KivClConsoleUI::format(KivEnErrorClass errorClass) const {
    format(libraryText(MSG_ERROR_CLASS).getText(),
           libraryText(kivErrorGetClassAsMessageId(errorClass)).getText());
}

void KivClConsoleUI::format(KivEnErrorSeverity severity) const {
    format(libraryText(MSG_ERROR_SEVERITY).getText(),
           libraryText(kivErrorGetSeverityAsMessageId(severity)).getText());
}

void KivClConsoleUI::format(KivEnErrorAction action) const {
    format(libraryText(MSG_ERROR_ACTION).getText(),
           libraryText(kivErrorGetActionAsMessageId(action)).getText());
}

void KivClConsoleUI::format(const _KivStError& error, bool verbose) const {
    if (!verbose && error.errorId == 0) return;
    formatErrId(error.errorId, verbose);
    if (verbose || error.errorClass != 0) format(error.errorClass);
}

void KivClConsoleUI::format(const _KivStUserError& error, bool verbose) const {
    if (!verbose && error.errorId == 0) return;
    formatErrId(error.errorId, verbose);
    if (verbose || error.errorClass != 0) format(error.errorClass);
    if (verbose || error.severity != 0) format(error.severity);
    if (verbose || error.action != 0) format(error.action);
}

void KivClConsoleUI::format(const KivClException& x, bool verbose) const {
    const _KivStUserError& error = x.getError();
    formatErrId(error.errorId, verbose);
    if (verbose || error.errorClass != 0) format(error.errorClass);
    if (verbose || error.severity != 0) format(error.severity);
    if (verbose || error.action != 0) format(error.action);
    if (!verbose) return;
    if (x.getCause() != nullptr) format(libraryText(MSG_CAUSE).getText(), x.getCause());
    format(libraryText(MSG_MODULE).getText(), x.getModule());
    format(libraryText(MSG_LINE).getText(), x.getLine());
}

// ---- Message blocks ----

void KivClConsoleUI::msg(std::ostream& os, const char* a, const char* b, const char* c,
                         const char* d, const char* e) const {
    os << LABEL_INDENT;
    if (a != nullptr) os << a;
    msgSubseq(os, b);
    msgSubseq(os, c);
    msgSubseq(os, d);
    msgSubseq(os, e);
    os.put('\n');
}

void KivClConsoleUI::msgSubseq(std::ostream& os, const char* text) const {
    if (text != nullptr) os << SEPARATOR << text;
}

void KivClConsoleUI::info(const char* title, const char* a, const char* b, const char* c,
                          const char* d) const {
    header(out(), title, a != nullptr);
    if (a != nullptr) msg(out(), a, b, c, d);
}

void KivClConsoleUI::warning(const char* a, const char* b, const char* c, const char* d,
                             const char* e) const {
    header(err(), libraryText(MSG_WARNING_HEADER).getText(), true);
    msg(err(), a, b, c, d, e);
}

void KivClConsoleUI::error(const char* a, const char* b, const char* c, const char* d,
                           const char* e) const {
    header(err(), libraryText(MSG_ERROR_HEADER).getText(), true);
    msg(err(), a, b, c, d, e);
}

void KivClConsoleUI::error(std::ostream& os, const char* a, const char* b, const char* c) const {
    header(os, libraryText(MSG_ERROR_HEADER).getText(), true);
    msg(os, a, b, c);
}

void KivClConsoleUI::fatal(unsigned long exitCode, const char* a, const char* b, const char* c,
                           const char* d, const char* e) const {
    header(err(), libraryText(MSG_FATAL_HEADER).getText(), true);
    msg(err(), a, b, c, d, e);
    processExit(exitCode);
}

void KivClConsoleUI::exception(const KivClException& x, const char* a, const char* b,
                               const char* c, const char* d, const char* e) const {
    header(err(), libraryText(MSG_EXCEPTION_HEADER).getText(), true);
    msg(err(), a, b, c, d, e);
    format(x, true);
}
