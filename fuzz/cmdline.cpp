// Validates arbitrary command lines against arbitrary usage strings with the
// console UI, and asks it about switches named by the first entries of the
// command line itself.
// Input: one byte of flags (bit 0 forbids tagged entries), the usage string,
// a NUL byte, then command line entries separated by NUL bytes, of which the
// first 32 are used: every repeated switch is reported against every later
// copy, so the reports of one input grow with the square of its entries.
// Each text lives in a heap block of exactly its size. The console UI ends
// the process on a command-line error; here exit() is replaced while the UI
// works, so that such an ending comes back as an exception carrying its
// code, which must be one of the UI's documented codes 201 to 204.
#include <dlfcn.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <vector>

#include "kiv_consoleui.hpp"

namespace {

struct ProcessEnded {
    int code;
};

bool gs_bCatchExit = false;
constexpr size_t kMaxQueried = 8;
constexpr size_t kMaxEntries = 32;

std::unique_ptr<char[]> exactCopy(const uint8_t* data, size_t size) {
    std::unique_ptr<char[]> copy(new char[size + 1]);
    std::memcpy(copy.get(), data, size);
    copy[size] = '\0';
    return copy;
}

// Runs one UI call; an ending of the process must carry a command-line code.
template <typename Call>
bool survives(Call call) {
    try {
        call();
        return true;
    } catch (const ProcessEnded& ended) {
        if (ended.code < 201 || ended.code > 204) std::abort();
        return false;
    }
}

void askAbout(KivClConsoleUI& ui, const char* name) {
    const char* value = nullptr;
    long asLong = 0;
    int asInt = 0;
    short asShort = 0;
    survives([&] { ui.hasArgSwitch(name); });
    survives([&] {
        if (ui.hasArgString(name, value) && value == nullptr) std::abort();
    });
    survives([&] { ui.hasArgNumval(name, asLong); });
    survives([&] { ui.hasArgNumval(name, asInt); });
    survives([&] { ui.hasArgNumval(name, asShort); });
    if (name[0] != '\0' && name[1] != '\0') {
        survives([&] { ui.hasArgSwitch(name[1]); });
        survives([&] { ui.reqArgString(name[1], value); });
    }
}

}  // namespace

// While gs_bCatchExit is set, ending the process becomes an exception that
// unwinds to the harness; otherwise the C library's exit runs.
extern "C" [[noreturn]] void kivFuzzExit(int code) __asm__("exit");
extern "C" [[noreturn]] void kivFuzzExit(int code) {
    if (gs_bCatchExit) throw ProcessEnded{code};
    using ExitFunction = void (*)(int);
    static const ExitFunction libraryExit = reinterpret_cast<ExitFunction>(dlsym(RTLD_NEXT, "exit"));
    libraryExit(code);
    std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const uint8_t flags = data[0];
    std::vector<std::unique_ptr<char[]>> texts;
    size_t start = 1;
    for (size_t i = 1; i <= size && texts.size() <= kMaxEntries; ++i) {
        if (i == size || data[i] == 0) {
            texts.push_back(exactCopy(data + start, i - start));
            start = i + 1;
        }
    }
    std::vector<const char*> argv{"fuzz"};
    for (size_t i = 1; i < texts.size(); ++i) argv.push_back(texts[i].get());
    argv.push_back(nullptr);

    std::ostringstream sink;
    std::streambuf* const out = std::cout.rdbuf(sink.rdbuf());
    std::streambuf* const err = std::cerr.rdbuf(sink.rdbuf());
    gs_bCatchExit = true;
    {
        KivClConsoleUI ui(static_cast<int>(argv.size() - 1), argv.data());
        if (survives([&] { ui.init(nullptr, nullptr, nullptr, nullptr); })) {
            ui.setOutputStream(sink);
            if ((flags & 1) != 0) ui.disableTaggedLines();
            if (survives([&] { ui.handleUsageHelp(texts[0].get(), "help"); })) {
                // Every query walks the whole command line; asking about the
                // first entries only keeps one input linear in its length.
                for (size_t i = 1; i + 1 < argv.size() && i <= kMaxQueried; ++i) askAbout(ui, argv[i]);
            }
        }
    }
    gs_bCatchExit = false;
    std::cout.rdbuf(out);
    std::cerr.rdbuf(err);
    std::cout.clear();
    std::cerr.clear();
    return 0;
}
