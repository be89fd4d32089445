// Renders arbitrary usage and help texts and labels through the console UI.
// Input: one byte of flags (bit 0 usage mode, bit 1 hide tagged lines, bits
// 2-3 format style), one byte of indentation or format width, then the text.
// The text lives in a heap block of exactly its size, so the address
// sanitizer catches any read past its terminator. Outside usage mode and
// without tags every text character is written; a value line holds at least
// its value, the indentation, the separator and the line end.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

#include "kiv_consoleui.hpp"

namespace {

KivClConsoleUI& consoleUI() {
    static const char* argv[] = {"fuzz", nullptr};
    static KivClConsoleUI* ui = [] {
        auto* created = new KivClConsoleUI(1, argv);
        created->init(nullptr, nullptr, nullptr, nullptr);
        created->hideTaggedLines();
        return created;
    }();
    return *ui;
}

// A console UI whose tagged lines are shown.
KivClConsoleUI& consoleUIShowingTags() {
    static const char* argv[] = {"fuzz", nullptr};
    static KivClConsoleUI* ui = [] {
        auto* created = new KivClConsoleUI(1, argv);
        created->init(nullptr, nullptr, nullptr, nullptr);
        return created;
    }();
    return *ui;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const uint8_t flags = data[0];
    const unsigned number = data[1];
    std::unique_ptr<char[]> text(new char[size - 1]);
    std::memcpy(text.get(), data + 2, size - 2);
    text[size - 2] = '\0';

    KivClConsoleUI& ui = (flags & 2) != 0 ? consoleUI() : consoleUIShowingTags();
    std::ostringstream shown;
    ui.display(shown, text.get(), number, (flags & 1) != 0);
    const size_t length = std::strlen(text.get());
    if ((flags & 1) == 0 && std::strchr(text.get(), '!') == nullptr && shown.str().size() < length) {
        std::abort();
    }

    std::ostringstream formatted;
    ui.setOutputStream(formatted);
    ui.setFormatWidth(number);
    ui.setFormatStyle(static_cast<KivClConsoleUI::KivEnFormatStyle>((flags >> 2) & 3));
    ui.format(text.get(), text.get());
    if (formatted.str().size() < length + 5) std::abort();
    return 0;
}
