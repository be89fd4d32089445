// Platform facts of the file system layer.
#include <istream>
#include <ostream>

#include "kiv_filename.hpp"

namespace {

// The identifier the library reports for Linux.
constexpr unsigned long kLinuxOperatingSystemId = 8;

}  // namespace

unsigned long kivGetOperatingSystemId() {
    return kLinuxOperatingSystemId;
}

// Linux makes no difference between text and binary streams, so every stream
// is in both modes at once.
bool kivFileIsOpenedInBinaryMode(const std::istream&) { return true; }
bool kivFileIsOpenedInBinaryMode(const std::ostream&) { return true; }
bool kivFileIsOpenedInBinaryMode(FILE*) { return true; }
bool kivFileIsOpenedInTextMode(const std::istream&) { return true; }
bool kivFileIsOpenedInTextMode(const std::ostream&) { return true; }
bool kivFileIsOpenedInTextMode(FILE*) { return true; }
