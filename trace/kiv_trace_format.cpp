// Trace formatter and the data type table.
#include "kiv_traceformat.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <locale>

#include "kiv_dump.hpp"
#include "kiv_exception.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_string.hpp"
#include "foundation/kiv_memobject.hpp"
#include "trace/kiv_trace_stream.hpp"

extern const _KivStTraceFormatDescription gs_astFormatDescriptions[KIV_TRACE_TYPE_COUNT] = {
    {0, "", ""},
    {1, "FE", "FUNCTION ENTRY"},
    {2, "FX", "FUNCTION EXIT"},
    {3, "ND", "NO DATA"},
    {4, "DA", "DATA"},
    {5, "DA", "DATA"},
    {6, "DA", "DATA"},
    {7, "p", "Address"},
    {8, "cpsz", "C string"},
    {9, "wc", "Unicode"},
    {10, "b", "bool"},
    {11, "i8", "signed integer (8 bits)"},
    {12, "w8", "unsigned integer (8 bits)"},
    {13, "i16", "signed integer (16 bits)"},
    {14, "w16", "unsigned integer (16 bits)"},
    {15, "i32", "signed integer (32 bits)"},
    {16, "w32", "unsigned integer (32 bits)"},
    {17, "i64", "signed integer (64 bits)"},
    {18, "w64", "unsigned integer (64 bits)"},
    {19, "f", "float"},
    {20, "d", "double"},
    {21, "ld", "long double"},
};

namespace {

// Largest data length of a scalar record.
constexpr uint32_t MAX_SCALAR_LENGTH = 127;
// Skips up to this many bytes by reading through the stream's buffer; longer
// runs are skipped by seeking.
constexpr uint32_t SKIP_BY_READING = 4096;

const char* const gs_apszBuiltInTexts[] = {"Bytes", " *** Clipped ***",
                                           "*** Illegal NULL pointer ***", "Nesting level: "};

// Throws the formatter's fatal exception; the line is the number after the
// module text's colon.
[[noreturn]] void fail(uint32_t errorId, KivEnErrorClass errorClass, const char* module) {
    const _KivStUserError error{errorId, errorClass, KIV_SEVERITY_FATAL, KIV_ACTION_TERMINATE};
    throw KivClExceptionFatal(error, module, strtoul(strchr(module, ':') + 1, nullptr, 10));
}

[[noreturn]] void failEof(const char* module) {
    fail(KIV_ERRID_TRACEFORMAT_UNEXPECTED_EOF, KIV_ERRCLASS_IO_READ_PROBLEM, module);
}

[[noreturn]] void failCorrupt(const char* module) {
    fail(KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_INVALID_DATA, module);
}

// Reads exactly length bytes or throws the end-of-file exception of module.
void readExactly(std::istream& input, void* destination, uint32_t length, const char* module) {
    if (kivTraceReadBytes(input, destination, length) != static_cast<std::streamsize>(length)) {
        failEof(module);
    }
}

bool isPrintable(unsigned char c) { return c >= 0x20 && c <= 0x7E; }

// True when writing to out needs none of the stream's per-call work: it is
// good, tied to no other stream, not unit-buffered and has no field width
// pending. Text then goes straight into its buffer, where write() and <<
// would put it after their checks.
bool writesDirectly(const std::ostream& out) {
    return out.good() && out.tie() == nullptr && (out.flags() & std::ios::unitbuf) == 0 && out.width() == 0;
}

// Writes count characters of text unformatted, as out.write() does.
void emit(std::ostream& out, const char* text, size_t count) {
    const std::streamsize length = static_cast<std::streamsize>(count);
    if (!writesDirectly(out)) {
        out.write(text, length);
    } else if (out.rdbuf()->sputn(text, length) != length) {
        out.setstate(std::ios::badbit);
    }
}

// Writes text as out << text does (a null text sets badbit).
void emit(std::ostream& out, const char* text) {
    if (text != nullptr && writesDirectly(out)) {
        emit(out, text, strlen(text));
    } else {
        out << text;
    }
}

// Writes one character as out << c does.
void emit(std::ostream& out, char c) {
    if (!writesDirectly(out)) {
        out << c;
    } else if (out.rdbuf()->sputc(c) == std::char_traits<char>::eof()) {
        out.setstate(std::ios::badbit);
    }
}

// True when out prints numbers plainly: decimal, no sign, no base prefix,
// no width and the classic locale (no digit grouping).
bool printsPlainNumbers(const std::ostream& out) {
    const std::ios::fmtflags shown = out.flags() & (std::ios::basefield | std::ios::showpos | std::ios::showbase);
    return (shown == std::ios::dec || shown == std::ios::fmtflags{}) && out.width() == 0 &&
           out.getloc() == std::locale::classic();
}

// Copies count bytes. A record's pieces are short (a dump line is at most 80
// characters): they go in 16-byte moves, the last one ending at the last
// byte, where a call, or the string instruction the compiler would put in
// its place, costs more than the copy.
inline void copyPiece(char* to, const char* from, size_t count) {
    struct Block {
        unsigned char bytes[16];
    };
    auto move = [&](auto block, size_t offset) {
        memcpy(&block, from + offset, sizeof(block));
        memcpy(to + offset, &block, sizeof(block));
    };
    if (count > 128) {
        memcpy(to, from, count);
    } else if (count >= sizeof(Block)) {
        for (size_t offset = 0; offset + sizeof(Block) < count; offset += sizeof(Block)) move(Block{}, offset);
        move(Block{}, count - sizeof(Block));
    } else if (count >= 8) {
        move(uint64_t{}, 0);
        move(uint64_t{}, count - 8);
    } else if (count >= 4) {
        move(uint32_t{}, 0);
        move(uint32_t{}, count - 4);
    } else {
        for (size_t i = 0; i < count; ++i) to[i] = from[i];
    }
}

// Most decimal digits of a 32-bit value.
constexpr unsigned int MAX_DIGITS = 10;

// "00" to "99": the digits of every number below 100.
struct DigitPairs {
    char text[200];
    constexpr DigitPairs() : text() {
        for (int i = 0; i < 100; ++i) {
            text[2 * i] = static_cast<char>('0' + i / 10);
            text[2 * i + 1] = static_cast<char>('0' + i % 10);
        }
    }
};
constexpr DigitPairs DIGIT_PAIRS;

// Writes the decimal digits of value to the end of digits (MAX_DIGITS
// bytes), two at a time; returns the index of the first digit.
unsigned int toDecimal(uint32_t value, char* digits) {
    unsigned int start = MAX_DIGITS;
    while (value >= 100) {
        const uint32_t pair = 2 * (value % 100);
        value /= 100;
        digits[--start] = DIGIT_PAIRS.text[pair + 1];
        digits[--start] = DIGIT_PAIRS.text[pair];
    }
    if (value >= 10) {
        digits[--start] = DIGIT_PAIRS.text[2 * value + 1];
        digits[--start] = DIGIT_PAIRS.text[2 * value];
    } else {
        digits[--start] = static_cast<char>('0' + value);
    }
    return start;
}

}  // namespace

const _KivStTraceFormatDescription& kivGetFormatDescription(uint32_t type) {
    if (type >= KIV_TRACE_TYPE_COUNT) {
        fail(KIV_ERRID_TRACEFORMAT_FILE_CORRUPTED, KIV_ERRCLASS_DATA_OUT_OF_BOUNDS,
             KivClTraceFormatter::MODULE_BAD_TYPE);
    }
    return gs_astFormatDescriptions[type];
}

KivClTraceFormatter::KivClTraceFormatter(KivClTraceEnvironment& environment,
                                         const KivClTraceFilter* filter)
    : environment_(environment), filter_(nullptr), catalog_(nullptr), message_(nullptr),
      output_(nullptr), entryCount_(0), nestingLevel_(0), formatString_(nullptr),
      indentation_(nullptr) {
    setFilter(filter);
    setFormatString(nullptr);
}

KivClTraceFormatter::~KivClTraceFormatter() { kivDeleteObject(message_); }

void KivClTraceFormatter::attachKivMessageCatalog(const KivClMessageCatalog& catalog) {
    catalog_ = &catalog;
    if (message_ == nullptr) message_ = kivNewObject<KivClMessage>(catalog, MSG_BYTES);
}

const char* KivClTraceFormatter::getMessage(unsigned long id) {
    if (catalog_ != nullptr) {
        if (message_->getMessageId() != id) message_->setNewMessageId(id);
        return message_->getText();
    }
    if (id < MSG_BYTES || id > MSG_NESTING_LEVEL) return nullptr;
    return gs_apszBuiltInTexts[id - MSG_BYTES];
}

void KivClTraceFormatter::setFormatString(const char* text) {
    formatString_ = text ? text : environment_.getFormatString();
}

void KivClTraceFormatter::setFilter(const KivClTraceFilter* filter) {
    filter_ = filter ? filter : &environment_.getSettings().getFilter();
}

const char* KivClTraceFormatter::getTypeAsShortCString(uint32_t type) {
    return kivGetFormatDescription(type).shortName;
}

const char* KivClTraceFormatter::getTypeAsLongCString(uint32_t type) {
    return kivGetFormatDescription(type).longName;
}

void KivClTraceFormatter::format(std::ostream& output) {
    std::ifstream input(environment_.getTraceFileName().getAsCString(), std::ios::binary);
    entryCount_ = 0;
    nestingLevel_ = 0;
    output_ = &output;
    if (!input.is_open()) {
        fail(KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN, KIV_ERRCLASS_IO_PERMISSION_DENIED, MODULE_OPEN);
    }
    char lastFunctionName[FUNCTION_NAME_BUFFER] = {};
    KivClTraceFileEntry entry(environment_);
    // A stream that takes text unchecked gets it gathered: one write per
    // TEXT_BUFFER bytes instead of one per piece of each record.
    gathering_ = writesDirectly(output);
    plainNumbers_ = printsPlainNumbers(output);
    // The format is taken apart once; a format of more steps than the room
    // here is read again for every record.
    FormatStep steps[MAX_FORMAT_STEPS];
    const uint32_t stepCount = prepareFormat(formatString_, steps);
    const FormatStep* prepared = stepCount <= MAX_FORMAT_STEPS ? steps : nullptr;
    try {
        while (!input.eof() &&
               formatRecord(input, entry, formatString_, prepared, stepCount, lastFunctionName)) {
            ++entryCount_;
        }
    } catch (...) {
        // What was formatted before the failure stays printed.
        gathering_ = false;
        flushText();
        throw;
    }
    gathering_ = false;
    flushText();
}

bool KivClTraceFormatter::formatEntry(std::istream& input, const char* formatString,
                                      char* lastFunctionName) {
    KivClTraceFileEntry entry(environment_);
    plainNumbers_ = printsPlainNumbers(*output_);
    return formatRecord(input, entry, formatString, nullptr, 0, lastFunctionName);
}

bool KivClTraceFormatter::nextFormatStep(const char*& p, FormatStep& step) {
    if (*p == '\0') return false;
    if (*p == '\\') {
        ++p;
        if (*p == '\0') {
            step = {p, 0, '\0'};  // a backslash at the very end prints nothing and ends the format
            return true;
        }
        step = *p == 'n' ? FormatStep{nullptr, 0, 'n'} : FormatStep{*p == 't' ? "\t" : p, 1, '\0'};
        ++p;
        return true;
    }
    if (*p != '%') {
        // Literal text up to the next variable or escape is one step.
        const char* literal = p;
        while (p[1] != '\0' && p[1] != '%' && p[1] != '\\') ++p;
        ++p;
        step = {literal, static_cast<uint32_t>(p - literal), '\0'};
        return true;
    }
    ++p;
    if (*p == '\0') {
        step = {"%", 1, '\0'};  // a "%" at the very end prints "%" and ends the format
    } else {
        step = {nullptr, 0, *p++};
    }
    return true;
}

uint32_t KivClTraceFormatter::prepareFormat(const char* formatString, FormatStep* steps) {
    uint32_t count = 0;
    FormatStep step;
    for (const char* p = formatString ? formatString : ""; nextFormatStep(p, step);) {
        if (count == MAX_FORMAT_STEPS) return MAX_FORMAT_STEPS + 1;
        steps[count++] = step;
    }
    return count;
}

bool KivClTraceFormatter::formatRecord(std::istream& input, KivClTraceFileEntry& entry,
                                       const char* formatString, const FormatStep* steps,
                                       uint32_t stepCount, char* lastFunctionName) {
    if (!entry.read(input)) return false;
    const _KivStTraceRecordHeader header = entry.getHeader();
    const KivEnTraceDataType type = entry.getType();
    const bool isFunction = type == KIV_TRACE_TYPE_FUNCTION_ENTRY || type == KIV_TRACE_TYPE_FUNCTION_EXIT;
    if ((!functionHeaders && isFunction) ||
        !filter_->passes(entry.getDetail(), header.componentId, header.processId, header.threadId)) {
        skipEntry(input, header.dataLength);
        return true;
    }
    const char* name = entry.getFunctionName();
    const bool printName = everyFunctionName || type == KIV_TRACE_TYPE_FUNCTION_ENTRY ||
                           strcmp(name, lastFunctionName) != 0;
    if (printName) kivStrCopyUntil(lastFunctionName, name, '\0', FUNCTION_NAME_BUFFER);

    bool dataPrinted = false;
    auto print = [&](const FormatStep& step) {
        switch (step.variable) {
        case '\0': put(step.text, step.length); break;
        case 'x': printTypeName(entry, getTypeAsShortCString(type)); break;
        case 'X': printTypeName(entry, getTypeAsLongCString(type)); break;
        case 'l': {
            const char* detail = KivClTraceFilter::getDetailAsCString(entry.getDetail());
            put(detail ? detail : "");
            break;
        }
        case 's': printNumber(header.timeStamp); break;
        case 'c': printNumber(header.componentId); break;
        case 'p': printNumber(header.processId); break;
        case 't': printNumber(header.threadId); break;
        case 'f':
            if (printName) put(name, entry.getFunctionNameLength());
            break;
        case 'm': put(entry.getMessage(), entry.getMessageLength()); break;
        case 'd':
            if (!dataPrinted) formatData(input, type, header.dataLength);
            dataPrinted = true;
            break;
        case 'n': printLineBreak(); break;
        default: put('%'); break;  // "%%" and unknown variables
        }
    };
    if (steps != nullptr) {
        for (uint32_t i = 0; i < stepCount; ++i) {
            if (input.eof()) failEof(MODULE_FORMAT_EOF);
            print(steps[i]);
        }
    } else {
        FormatStep step;
        for (const char* p = formatString ? formatString : ""; nextFormatStep(p, step);) {
            if (input.eof()) failEof(MODULE_FORMAT_EOF);
            print(step);
        }
    }
    return finishEntry(input, header.dataLength, dataPrinted);
}

bool KivClTraceFormatter::finishEntry(std::istream& input, uint32_t dataLength, bool dataPrinted) {
    if (!dataPrinted) skipEntry(input, dataLength);
    return true;
}

void KivClTraceFormatter::printTypeName(const KivClTraceFileEntry& entry, const char* name) {
    put(name);
    const KivEnTraceDataType type = entry.getType();
    if (type != KIV_TRACE_TYPE_DATA && type != KIV_TRACE_TYPE_DATA_CLIPPED) return;
    put(" (", 2);
    printNumber(entry.getDataLength());
    put(' ');
    put(getMessage(MSG_BYTES));
    put(')');
    if (type == KIV_TRACE_TYPE_DATA_CLIPPED) put(getMessage(MSG_CLIPPED));
}

void KivClTraceFormatter::put(const char* text, size_t count) {
    if (!gathering_) {
        emit(*output_, text, count);
        return;
    }
    if (count > sizeof(text_) - textLength_) {
        flushText();
        if (count > sizeof(text_)) {
            emit(*output_, text, count);
            return;
        }
    }
    copyPiece(text_ + textLength_, text, count);
    textLength_ += static_cast<uint32_t>(count);
}

void KivClTraceFormatter::put(const char* text) {
    if (text == nullptr || !gathering_) {
        flushText();
        emit(*output_, text);
        return;
    }
    put(text, strlen(text));
}

void KivClTraceFormatter::put(char c) {
    if (!gathering_ || textLength_ == sizeof(text_)) {
        flushText();
        emit(*output_, c);
        return;
    }
    text_[textLength_++] = c;
}

std::ostream& KivClTraceFormatter::stream() {
    flushText();
    return *output_;
}

void KivClTraceFormatter::flushText() {
    if (textLength_ == 0) return;
    const uint32_t length = textLength_;
    textLength_ = 0;
    emit(*output_, text_, length);
}

void KivClTraceFormatter::printNumber(uint32_t value) {
    if (!plainNumbers_) {
        stream() << value;
        return;
    }
    char digits[MAX_DIGITS];
    const unsigned int start = toDecimal(value, digits);
    put(digits + start, MAX_DIGITS - start);
}

void KivClTraceFormatter::printLineBreak() {
    put('\n');
    displayIndent();
}

void KivClTraceFormatter::displayIndent() {
    if (indentation_ == nullptr) return;
    const int32_t levels = nestingLevel_ < MAX_INDENT_LEVELS ? nestingLevel_ : MAX_INDENT_LEVELS;
    for (int32_t level = 0; level < levels; ++level) put(indentation_);
}

void KivClTraceFormatter::displayBuffer(const char* text, uint32_t length) {
    put(text, length);
}

void KivClTraceFormatter::skipEntry(std::istream& input, uint32_t length) {
    if (input.eof()) failEof(MODULE_SKIP_EOF);
    if (length == 0) return;
    if (length <= SKIP_BY_READING) {
        input.ignore(length);
        if (input.gcount() != static_cast<std::streamsize>(length)) failEof(MODULE_SKIP_EOF);
        return;
    }
    // Seek to the last byte and read it, so that a cut file is noticed.
    input.seekg(static_cast<std::streamoff>(length) - 1, std::ios::cur);
    if (!input || input.get() == std::char_traits<char>::eof()) failEof(MODULE_SKIP_EOF);
}

void KivClTraceFormatter::formatData(std::istream& input, KivEnTraceDataType type, uint32_t length) {
    if (input.eof()) failEof(MODULE_DATA_EOF);
    switch (type) {
    case KIV_TRACE_TYPE_DATA:
    case KIV_TRACE_TYPE_DATA_CLIPPED:
    case KIV_TRACE_TYPE_UNICODE: formatHexDump(input, length); return;
    case KIV_TRACE_TYPE_CSTRING: formatCString(input, length); return;
    case KIV_TRACE_TYPE_ADDRESS:
        if (length != 4 && length != 8) failCorrupt(MODULE_ADDRESS_LENGTH);
        formatAdrs(input, length);
        return;
    default: break;
    }
    if (length > MAX_SCALAR_LENGTH) failCorrupt(MODULE_SCALAR_LENGTH);
    unsigned char bytes[MAX_SCALAR_LENGTH + 1] = {};
    readExactly(input, bytes, length, MODULE_DATA_EOF);
    formatScalar(type, bytes, length);
}

void KivClTraceFormatter::formatScalar(KivEnTraceDataType type, const unsigned char* bytes,
                                       uint32_t length) {
    // Values are taken in host byte order from the zero-padded bytes, so a
    // record shorter than its type reads as if its missing bytes were 0.
    auto value = [bytes](auto zero) {
        decltype(zero) v = zero;
        memcpy(&v, bytes, sizeof(v));
        return v;
    };
    switch (type) {
    case KIV_TRACE_TYPE_FUNCTION_ENTRY:
    case KIV_TRACE_TYPE_FUNCTION_EXIT:
        if (length != 4) {
            failCorrupt(type == KIV_TRACE_TYPE_FUNCTION_ENTRY ? MODULE_ENTRY_LENGTH : MODULE_EXIT_LENGTH);
        }
        nestingLevel_ = value(int32_t{0});
        if (nest) stream() << getMessage(MSG_NESTING_LEVEL) << nestingLevel_;
        return;
    case KIV_TRACE_TYPE_NO_DATA:
        if (length != 0) failCorrupt(MODULE_NO_DATA_LENGTH);
        return;
    case KIV_TRACE_TYPE_DATA_NULL: stream() << getMessage(MSG_NULL_POINTER); return;
    case KIV_TRACE_TYPE_BOOL: stream() << (bytes[0] != 0 ? "TRUE" : "FALSE"); break;
    case KIV_TRACE_TYPE_INT8:
    case KIV_TRACE_TYPE_UINT8: {
        const int32_t number = type == KIV_TRACE_TYPE_INT8 ? static_cast<int8_t>(bytes[0]) : bytes[0];
        char text[32];
        snprintf(text, sizeof(text), "0x%X/%d", static_cast<uint32_t>(number), number);
        stream() << text;
        if (isPrintable(bytes[0])) stream() << "/'" << static_cast<char>(bytes[0]) << '\'';
        break;
    }
    case KIV_TRACE_TYPE_INT16: stream() << value(int16_t{0}); break;
    case KIV_TRACE_TYPE_UINT16: stream() << value(uint16_t{0}); break;
    case KIV_TRACE_TYPE_INT32: stream() << value(int32_t{0}); break;
    case KIV_TRACE_TYPE_UINT32: stream() << value(uint32_t{0}); break;
    case KIV_TRACE_TYPE_INT64: stream() << value(int64_t{0}); break;
    case KIV_TRACE_TYPE_UINT64: stream() << value(uint64_t{0}); break;
    case KIV_TRACE_TYPE_FLOAT: stream() << value(0.0f); break;
    case KIV_TRACE_TYPE_DOUBLE: stream() << value(0.0); break;
    case KIV_TRACE_TYPE_LONG_DOUBLE: stream() << value(0.0L); break;
    default: failCorrupt(MODULE_UNKNOWN_TYPE);
    }
    if (hex) {
        printLineBreak();
        const KivClStrepHexDump line(bytes, length);
        stream() << "HEX: " << line.getAsCString();
    }
    if (bin && type <= KIV_TRACE_TYPE_UINT64) {
        printLineBreak();
        const KivClStrepBinDump line(bytes, length);
        stream() << "BIN: " << line.getAsCString();
    }
}

void KivClTraceFormatter::formatCString(std::istream& input, uint32_t length) {
    put('"');
    char chunk[256];
    while (length > 0) {
        const uint32_t count = length < sizeof(chunk) ? length : static_cast<uint32_t>(sizeof(chunk));
        readExactly(input, chunk, count, MODULE_CSTRING_EOF);
        put(chunk, count);
        length -= count;
    }
    put('"');
}

void KivClTraceFormatter::formatHexDump(std::istream& input, uint32_t length) {
    if (length == 0) return;
    put('\n');
    unsigned char bytes[KivClStrepHexDump::BYTES_PER_LINE];
    for (uint32_t offset = 0; offset < length; offset += KivClStrepHexDump::BYTES_PER_LINE) {
        const uint32_t count = length - offset < KivClStrepHexDump::BYTES_PER_LINE
                                   ? length - offset
                                   : KivClStrepHexDump::BYTES_PER_LINE;
        readExactly(input, bytes, count, MODULE_HEXDUMP_EOF);
        displayIndent();
        put(KivClStrepHexDump(offset, bytes, count).getAsCString());
        if (count == KivClStrepHexDump::BYTES_PER_LINE) put('\n');
    }
}

void KivClTraceFormatter::formatAdrs(std::istream& input, uint32_t length) {
    unsigned char bytes[8] = {};
    readExactly(input, bytes, length, MODULE_ADDRESS_EOF);
    uint64_t address = 0;
    if (length == 4) {
        uint32_t narrow;
        memcpy(&narrow, bytes, sizeof(narrow));
        address = narrow;
    } else {
        memcpy(&address, bytes, sizeof(address));
    }
    put(KivClStrepAddress(reinterpret_cast<const void*>(static_cast<uintptr_t>(address))).getAsCString());
}
