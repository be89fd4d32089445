// Internal bounded copying into fixed buffers; not installed.
#ifndef KIV_BOUNDED_HPP
#define KIV_BOUNDED_HPP

#include <cstddef>

// Copies at most limit characters of source, up to its terminator, to
// destination and terminates it there; returns the number copied.
// destination holds at least limit + 1 characters. A null source copies
// nothing; source may overlap destination.
__attribute__((visibility("hidden"))) size_t kivCopyBounded(char* destination, const char* source,
                                                            size_t limit);

// Appends source at destination[used] (used <= limit) without writing a
// character past destination[limit - 1], and terminates it; destination
// holds at least limit + 1 characters.
// used advances by the number appended. True when all of source fit (a
// null source fits).
__attribute__((visibility("hidden"))) bool kivAppendBounded(char* destination, size_t& used, size_t limit,
                                                            const char* source);

#endif  // KIV_BOUNDED_HPP
