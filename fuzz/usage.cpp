// Walks arbitrary usage strings and command lines with the usage and argument
// cursors. The input is a usage string, a NUL byte, then command line entries
// separated by NUL bytes. Every walk must end within a bounded number of
// steps and every item must lie inside the usage string; the address
// sanitizer catches any read past a terminator, since each text lives in a
// heap block of exactly its size.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "kiv_argv.hpp"
#include "kiv_usage.hpp"

namespace {

// A NUL-terminated copy of size bytes in a block of exactly size + 1 bytes.
std::unique_ptr<char[]> exactCopy(const uint8_t* data, size_t size) {
    std::unique_ptr<char[]> copy(new char[size + 1]);
    std::memcpy(copy.get(), data, size);
    copy[size] = '\0';
    return copy;
}

void check(bool condition) {
    if (!condition) std::abort();
}

void walkUsage(const char* usage, size_t length) {
    KivClUsageCursor cursor(usage);
    size_t items = 0;
    const char* previous = nullptr;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
        check(++items <= length);
        const char* at = cursor.getPosition();
        check(at >= usage && at < usage + length);
        check(previous == nullptr || at > previous);
        previous = at;
        check(!cursor.reqArgEllipsis() || cursor.reqArg());
        cursor.isArgEllipsis();
        cursor.matches(at);
        cursor.matchesSwitch(at);
    }
    check(!cursor.isValid());
}

void walkCommandLine(int argc, const char** argv, const char* usage) {
    KivClArgvCheckCursor checker(argc, argv, usage);
    size_t freeCount = 0;
    for (bool valid = checker.setToFirst(); valid; valid = checker.setToNext()) {
        checker.isLegal();
        checker.reqArg();
        checker.hasArg();
        checker.isTagged();
        if (checker.isFree()) ++freeCount;
        check(!(checker.isFree() && checker.isBound()));
    }
    KivClArgvFreeCursor forward(argc, argv, usage);
    size_t visited = 0;
    for (bool valid = forward.setToFirst(); valid; valid = forward.setToNext()) ++visited;
    check(visited == freeCount);
    KivClArgvFreeCursor backward(argc, argv, usage);
    visited = 0;
    for (bool valid = backward.setToLast(); valid; valid = backward.setToPrevious()) ++visited;
    check(visited == freeCount);
    if (argc > 1) checker.positionTo(argv[argc - 1]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Split at NUL bytes: the usage string first, then the entries.
    std::vector<std::unique_ptr<char[]>> texts;
    std::vector<size_t> lengths;
    size_t start = 0;
    for (size_t i = 0; i <= size; ++i) {
        if (i == size || data[i] == 0) {
            texts.push_back(exactCopy(data + start, i - start));
            lengths.push_back(i - start);
            start = i + 1;
        }
    }
    const char* usage = texts[0].get();
    walkUsage(usage, lengths[0]);

    std::vector<const char*> argv;
    argv.push_back("prog");
    for (size_t i = 1; i < texts.size(); ++i) argv.push_back(texts[i].get());
    argv.push_back(nullptr);
    walkCommandLine(static_cast<int>(argv.size() - 1), argv.data(), usage);
    return 0;
}
