// Declarations of the generated code page tables (see tools/gentables).
#ifndef KIV_CPTABLES_DATA_HPP
#define KIV_CPTABLES_DATA_HPP

#include <cstdint>

#include "kiv_converter.hpp"

// A code point in the big-endian storage form of the tables. This and
// kivUcs2FromTable are the only places that know the host byte order.
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
#define KIV_BE16(v) static_cast<uint16_t>(v)
#else
#define KIV_BE16(v) static_cast<uint16_t>((((v) >> 8) | ((v) << 8)) & 0xFFFF)
#endif

extern const _KivStSBCSTable kivSBCSTables[];
extern const unsigned int kivSBCSTableCount;
extern const _KivStDBCSTable kivDBCSTables[];
extern const unsigned int kivDBCSTableCount;
extern const uint8_t kivReverseTable500[];
extern const uint8_t kivReverseTable850[];

#endif  // KIV_CPTABLES_DATA_HPP
