#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

#include "kiv_error.hpp"

namespace {

using Row = std::pair<unsigned long, unsigned long>;  // value, message number

const std::vector<Row> kIdRows = {
    {0, 47},        {201, 48},      {202, 49},      {203, 50},      {204, 51},
    {205, 52},      {1000001, 53},  {1000002, 54},  {1000003, 55},  {1000101, 56},
    {1000102, 57},  {1000103, 58},  {1000104, 59},  {1000105, 60},  {1000201, 61},
    {1000202, 62},  {1000301, 63},  {1000302, 64},  {1000303, 65},  {1000304, 66},
    {1000401, 67},  {1000402, 68},  {1000403, 69},  {1000404, 70},  {1000601, 71},
    {1000602, 72},  {1000701, 73},  {1000702, 74},  {1000703, 75},  {1000801, 76},
    {1000802, 77},  {1000901, 78},  {1000902, 79},  {1000903, 80},  {1000904, 81},
    {1000905, 82},  {1000906, 83},  {1001001, 84},  {1001002, 85},  {1001003, 86},
    {1001004, 87},  {1001101, 88},  {1001102, 89},  {1001103, 90},  {1001104, 91},
    {1001105, 92},  {1001106, 93},  {1001107, 94},  {1001108, 95},  {1001109, 96},
    {1001110, 97},  {1001111, 98},  {1001112, 99},  {1001113, 100}, {1001114, 101},
    {1001115, 102}, {1001116, 103}, {1001117, 104}, {1001118, 105},
};

const std::vector<Row> kClassRows = {
    {0, 106},   {1, 107},   {2, 108},   {100, 109}, {101, 110}, {200, 111}, {201, 112},
    {202, 113}, {203, 114}, {204, 115}, {205, 116}, {206, 117}, {300, 118}, {301, 119},
    {400, 120}, {500, 121}, {501, 122}, {502, 123}, {503, 124}, {504, 125}, {505, 126},
    {506, 127}, {507, 128}, {900, 129}, {901, 130}, {902, 131}, {903, 132},
};

const std::vector<Row> kSeverityRows = {
    {0, 133}, {1, 134}, {2, 135}, {5, 136}, {6, 137}, {7, 138}, {8, 139}, {10, 140},
};

const std::vector<Row> kActionRows = {
    {0, 141}, {1, 142}, {2, 143}, {3, 144}, {4, 146}, {5, 145}, {6, 147}, {8, 148}, {10, 149},
};

bool inRows(const std::vector<Row>& rows, unsigned long value) {
    for (const Row& row : rows) {
        if (row.first == value) return true;
    }
    return false;
}

}  // namespace

TEST(ErrorRecords, FixedSizesAndFieldOrder) {
    EXPECT_EQ(sizeof(_KivStError), 8u);
    EXPECT_EQ(sizeof(_KivStUserError), 16u);
    const _KivStUserError user{KIV_ERRID_FILE_COULD_NOT_COPY, KIV_ERRCLASS_IO_PROBLEM,
                               KIV_SEVERITY_FATAL, KIV_ACTION_ABORT};
    uint32_t raw[4];
    std::memcpy(raw, &user, sizeof raw);
    EXPECT_EQ(raw[0], 1000401u);
    EXPECT_EQ(raw[1], 500u);
    EXPECT_EQ(raw[2], 6u);
    EXPECT_EQ(raw[3], 8u);
}

TEST(ErrorMapping, EveryIdentifierAndTheGapsAroundThem) {
    for (const Row& row : kIdRows) {
        EXPECT_EQ(kivErrorGetIdAsMessageId(row.first), row.second) << "id " << row.first;
    }
    // Every value near a block that is not a member maps to 0, including the
    // whole memberless 1,000,500 block and the neighbours of each block.
    for (unsigned long block = 1000000; block <= 1001100; block += 100) {
        for (unsigned long value = block; value < block + 100; ++value) {
            if (!inRows(kIdRows, value)) {
                ASSERT_EQ(kivErrorGetIdAsMessageId(value), 0u) << "id " << value;
            }
        }
    }
    for (unsigned long value = 1000500; value <= 1000599; ++value) {
        EXPECT_EQ(kivErrorGetIdAsMessageId(value), 0u);
    }
    for (unsigned long value : {1ul, 200ul, 206ul, 999999ul, 1001119ul, 1001200ul, 0xFFFFFFFFul}) {
        EXPECT_EQ(kivErrorGetIdAsMessageId(value), 0u) << "id " << value;
    }
    // A wide value whose low 32 bits name an identifier is still unknown.
    EXPECT_EQ(kivErrorGetIdAsMessageId(0x100000000ul + 201), 0u);
    EXPECT_EQ(kivErrorGetIdAsMessageId(0x100000000ul), 0u);
}

TEST(ErrorMapping, ClassesSeveritiesAndActionsWithTheirGaps) {
    for (const Row& row : kClassRows) {
        EXPECT_EQ(kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(row.first)), row.second);
    }
    for (unsigned long value = 0; value <= 1000; ++value) {
        if (!inRows(kClassRows, value)) {
            ASSERT_EQ(kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(value)), 0u) << value;
        }
    }
    for (const Row& row : kSeverityRows) {
        EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(row.first)),
                  row.second);
    }
    for (unsigned long value : {3ul, 4ul, 9ul, 11ul, 0xFFFFFFFFul}) {
        EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(value)), 0u)
            << value;
    }
    for (const Row& row : kActionRows) {
        EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(row.first)), row.second);
    }
    // RETRYDELAY (4) and USER (5) stand in the other order in the table.
    EXPECT_EQ(kivErrorGetActionAsMessageId(KIV_ACTION_RETRYDELAY), 146u);
    EXPECT_EQ(kivErrorGetActionAsMessageId(KIV_ACTION_USER), 145u);
    for (unsigned long value : {7ul, 9ul, 11ul, 0xFFFFFFFFul}) {
        EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(value)), 0u) << value;
    }
}

TEST(LibraryIdentification, LevelDateAndShipFlag) {
    EXPECT_STREQ(kivLibraryGetLevel(), "KIVLibR5-24");
    EXPECT_TRUE(kivLibraryIsShipCode());
    // "Mmm d yyyy" or "Mmm dd yyyy" with single blanks.
    const char* tod = kivLibraryGetTod();
    const size_t length = std::strlen(tod);
    ASSERT_TRUE(length == 10 || length == 11) << tod;
    static const char* const months = "JanFebMarAprMayJunJulAugSepOctNovDec";
    EXPECT_TRUE(std::strstr(months, std::string(tod, 3).c_str()) != nullptr) << tod;
    EXPECT_EQ(tod[3], ' ');
    EXPECT_NE(tod[4], ' ');
    EXPECT_EQ(tod[length - 5], ' ');
    EXPECT_EQ(std::strchr(tod, ' '), tod + 3);
    for (size_t i = length - 4; i < length; ++i) EXPECT_TRUE(tod[i] >= '0' && tod[i] <= '9') << tod;
}
