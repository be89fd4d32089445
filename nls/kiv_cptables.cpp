// Lookup of the built-in code page tables by CCSID.
#include <cstdlib>

#include "kiv_converter.hpp"
#include "nls/tables/kiv_cptables_data.hpp"

namespace {

// Both table kinds begin with their 32-bit CCSID.
template <typename Table>
int compareByCcsid(const void* key, const void* row) {
    const uint32_t a = *static_cast<const uint32_t*>(key);
    const uint32_t b = static_cast<const Table*>(row)->ccsid;
    return a < b ? -1 : (a > b ? 1 : 0);
}

}  // namespace

const uint16_t* kivGetSBCStoUCS2Table(unsigned int ccsid) {
    const uint32_t key = ccsid;
    const void* found = bsearch(&key, kivSBCSTables, kivSBCSTableCount, sizeof(_KivStSBCSTable),
                                compareByCcsid<_KivStSBCSTable>);
    return found != nullptr ? static_cast<const _KivStSBCSTable*>(found)->values : nullptr;
}

const _KivStDBCSTable* kivGetDBCStoUCS2Table(unsigned int ccsid, bool& isEBCDIC) {
    const uint32_t key = ccsid;
    const void* found = bsearch(&key, kivDBCSTables, kivDBCSTableCount, sizeof(_KivStDBCSTable),
                                compareByCcsid<_KivStDBCSTable>);
    if (found == nullptr) return nullptr;
    const _KivStDBCSTable* table = static_cast<const _KivStDBCSTable*>(found);
    isEBCDIC = table->isEBCDIC != 0;
    return table;
}

const uint8_t* kivGetUCS2toSBCSTable(unsigned int ccsid) {
    switch (ccsid) {
        case 500: return kivReverseTable500;
        case 850: return kivReverseTable850;
        default: return nullptr;
    }
}
