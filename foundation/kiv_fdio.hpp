// Internal descriptor helpers shared by the library's sources; not installed.
#ifndef KIV_FDIO_HPP
#define KIV_FDIO_HPP

#include <cstddef>

// Writes all length bytes to fd, retrying after interruptions and short
// writes. False when a write fails or writes nothing.
__attribute__((visibility("hidden"))) bool kivWriteAll(int fd, const char* data, size_t length);

#endif  // KIV_FDIO_HPP
