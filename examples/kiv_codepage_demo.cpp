// Converting text between code pages: a UTF-8 text (the command line's
// first argument, else a German greeting) into the PC code page 850, ISO
// 8859-1 and the German EBCDIC code page 273, each shown as bytes and then
// converted back to UTF-8 to show that nothing was lost.
//
//   kiv_codepage_demo
//   kiv_codepage_demo 'Größe: 3 m²'
#include <cstdio>
#include <cstring>
#include <vector>

#include "kiv.hpp"

namespace {

void printBytes(const char* label, const std::vector<char>& bytes) {
    std::printf("  %-8s", label);
    for (char byte : bytes) std::printf(" %02X", static_cast<unsigned char>(byte));
    std::printf("\n");
}

// Converts size bytes of source with converter; the target is sized by the
// converter's own maximum, so it can never be too small.
std::vector<char> convert(const KivClConverterABase& converter, const char* source, unsigned int size) {
    std::vector<char> target(converter.getMaximumSizeForSize(size));
    const unsigned int written =
        converter.convertBytes(target.data(), static_cast<unsigned int>(target.size()), source, size);
    target.resize(written);
    if (converter.getError().errorId != 0) {
        std::printf("  conversion ended with error %u\n", static_cast<unsigned>(converter.getError().errorId));
    }
    return target;
}

void roundTrip(const char* text, KivClCCSID::KivEnCCSID ccsid) {
    const unsigned int size = static_cast<unsigned int>(std::strlen(text));
    const KivClCodePage2CodePageConverter there{KivClCCSID(KivClCCSID::CCSID_UTF8), KivClCCSID(ccsid)};
    if (!there.isSupported()) {
        std::printf("CCSID %u: not supported here\n", static_cast<unsigned>(ccsid));
        return;
    }
    const std::vector<char> encoded = convert(there, text, size);
    const KivClCodePage2UTF8Converter back{KivClCCSID(ccsid)};
    std::vector<char> decoded = convert(back, encoded.data(), static_cast<unsigned int>(encoded.size()));
    decoded.push_back('\0');
    std::printf("CCSID %u (%s):\n", static_cast<unsigned>(ccsid), KivClCCSID(ccsid).getName());
    printBytes("bytes", encoded);
    std::printf("  back    %s\n", decoded.data());
}

}  // namespace

int main(int argc, char** argv) {
    const char* text = argc > 1 ? argv[1] : "Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln";  // "Grüße aus Köln"
    std::printf("UTF-8 text: %s (%zu bytes)\n", text, std::strlen(text));
    for (KivClCCSID::KivEnCCSID ccsid : {850U, 819U, 273U}) roundTrip(text, ccsid);
    return 0;
}
