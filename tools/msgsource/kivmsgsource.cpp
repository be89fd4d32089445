// kivmsgsource [-base <n>] [-o <file>]
//
// Writes the library message table (kiv_msgtable.hpp) as a gencat message
// source: message set 1, messages 1 to 220 under their table numbers plus
// the base (default 0), every text in double quotes with gencat escapes. The
// shipped msgcat/kiv_library.msg is this program's output with base 0, so a
// translator starts from exactly the texts the library prints. With a base,
// the output serves a tool catalog that keeps the library's messages after
// its own (the console UI's message base); the tool's own message 1 must
// then come from another source, because a catalog without message 1 is not
// used.
//
// Output goes to standard output, or with -o to the file (replaced). Exit
// codes: 0 success, 1 bad command line, 2 the file could not be written.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "kiv_msgtable.hpp"

namespace {

constexpr int EXIT_BAD_USAGE = 1;
constexpr int EXIT_WRITE_FAILED = 2;
constexpr const char* USAGE = "usage: kivmsgsource [-base <n>] [-o <file>]\n";
// The largest base that keeps every message number within gencat's range.
constexpr unsigned long MAX_BASE = 1000000UL;

// The text in double quotes, with the escapes gencat reads back as the same
// bytes: backslash, quote, newline, tab, and every other control character
// as three octal digits.
std::string quoted(const char* text) {
    std::string out = "\"";
    for (const char* p = text; *p != '\0'; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        switch (c) {
            case '\\': out += "\\\\"; break;
            case '"': out += "\\\""; break;
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20 || c == 0x7f) {
                    char octal[5];
                    std::snprintf(octal, sizeof octal, "\\%03o", c);
                    out += octal;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

void writeSource(std::ostream& os, unsigned long base) {
    os << "$ kiv library messages, written by kivmsgsource from the library's built-in\n"
          "$ message table. Translate a copy; keep the numbers, the %1 to %10\n"
          "$ variables and the %% escapes. Message 1 and the last one mark the\n"
          "$ library's block; the places holding \"?\" are reserved.\n"
          "$quote \"\n"
          "$set 1\n";
    for (unsigned long id = 1; id < KIV_MSGTABLE_LIBRARY_COUNT; ++id) {
        os << id + base << ' ' << quoted(kivLibraryMessageTable[id]) << '\n';
    }
}

bool parseBase(const char* text, unsigned long& base) {
    if (text == nullptr || *text < '0' || *text > '9') return false;
    errno = 0;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 10);
    if (errno != 0 || *end != '\0' || value > MAX_BASE) return false;
    base = value;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    unsigned long base = 0;
    const char* outputName = nullptr;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(argv[i], "-base") == 0 && hasValue && parseBase(argv[i + 1], base)) {
            ++i;
        } else if (std::strcmp(argv[i], "-o") == 0 && hasValue) {
            outputName = argv[++i];
        } else {
            std::cerr << USAGE;
            return EXIT_BAD_USAGE;
        }
    }
    if (outputName == nullptr) {
        writeSource(std::cout, base);
        std::cout.flush();
        return std::cout ? EXIT_SUCCESS : EXIT_WRITE_FAILED;
    }
    std::ofstream file(outputName, std::ios::binary | std::ios::trunc);
    if (file) writeSource(file, base);
    file.close();
    if (!file) {
        std::cerr << "kivmsgsource: cannot write " << outputName << "\n";
        return EXIT_WRITE_FAILED;
    }
    return EXIT_SUCCESS;
}
