#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <vector>

#include "kiv_error.hpp"

namespace {

using Values = std::vector<unsigned long>;

// The members of each family in the order of their names in the library
// message table, which numbers them consecutively from the first one.
const Values kIds = {
    0,       201,     202,     203,     204,     205,     1000001, 1000002, 1000003, 1000101, 1000102, 1000103,
    1000104, 1000105, 1000201, 1000202, 1000301, 1000302, 1000303, 1000304, 1000401, 1000402, 1000403, 1000404,
    1000601, 1000602, 1000701, 1000702, 1000703, 1000801, 1000802, 1000901, 1000902, 1000903, 1000904, 1000905,
    1000906, 1001001, 1001002, 1001003, 1001004, 1001101, 1001102, 1001103, 1001104, 1001105, 1001106, 1001107,
    1001108, 1001109, 1001110, 1001111, 1001112, 1001113, 1001114, 1001115, 1001116, 1001117, 1001118,
};
const Values kClasses = {0,   1,   2,   100, 101, 200, 201, 202, 203, 204, 205, 206, 300, 301,
                         400, 500, 501, 502, 503, 504, 505, 506, 507, 900, 901, 902, 903};
const Values kSeverities = {0, 1, 2, 5, 6, 7, 8, 10};
// RETRYDELAY (4) and USER (5) stand in the other order in the table.
const Values kActions = {0, 1, 2, 3, 5, 4, 6, 8, 10};

// Checks every member against its message number and every other value of
// [0, last] plus the far values against 0.
template <typename Map>
void expectMapping(const char* family, const Values& members, unsigned long firstMessage, unsigned long last,
                   Values far, Map map) {
    SCOPED_TRACE(family);
    for (size_t i = 0; i < members.size(); ++i) EXPECT_EQ(map(members[i]), firstMessage + i) << members[i];
    for (unsigned long value = 0; value <= last; ++value) far.push_back(value);
    for (unsigned long value : far) {
        ASSERT_EQ(std::find(members.begin(), members.end(), value) != members.end() ? 0 : map(value), 0u) << value;
    }
}

}  // namespace

TEST(ErrorMapping, EveryMemberHasItsNameAndEveryOtherValueNone) {
    // The identifier blocks and their neighbours, the memberless 1,000,500
    // block included; a wide value whose low 32 bits name an identifier is
    // still unknown.
    Values idBlocks = {999999, 1001200, 0xFFFFFFFFul, 0x100000000ul + 201, 0x100000000ul};
    for (unsigned long value = 1000000; value < 1001200; ++value) idBlocks.push_back(value);
    expectMapping("ids", kIds, 47, 300, idBlocks, [](unsigned long v) { return kivErrorGetIdAsMessageId(v); });
    expectMapping("classes", kClasses, 106, 1000, {0xFFFFFFFFul}, [](unsigned long v) {
        return kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(v));
    });
    expectMapping("severities", kSeverities, 133, 20, {0xFFFFFFFFul}, [](unsigned long v) {
        return kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(v));
    });
    expectMapping("actions", kActions, 141, 20, {0xFFFFFFFFul}, [](unsigned long v) {
        return kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(v));
    });
}

TEST(LibraryIdentification, LevelDateAndShipFlag) {
    EXPECT_STREQ(kivLibraryGetLevel(), "KIVLibR5-24");
    EXPECT_TRUE(kivLibraryIsShipCode());
    // "Mmm d yyyy" or "Mmm dd yyyy" with single blanks.
    EXPECT_TRUE(std::regex_match(kivLibraryGetTod(),
                                 std::regex("(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{1,2} [0-9]{4}")))
        << kivLibraryGetTod();
}
