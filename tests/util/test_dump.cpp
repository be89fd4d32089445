// Dump lines, dump functions, address texts and endian conversions.
#include "kiv_dump.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

#include "kiv_test_support.hpp"

namespace {

TEST(Dump, LinesAndFunctions) {
    // Control bytes, DEL and bytes above 0x7E print as "."; more than 16 bytes are ignored.
    const char* letters = "ABCDEFGHIJKLMNOP";
    const unsigned char odd[] = {0x7F, 0x0A, 0x00, 0xFF, 'z'}, bits[] = {0x41, 0x80, 0x01};
    const std::string lines[][2] = {
        {KivClStrepHexDump(16, letters, 16).getAsCString(),
         "00000010: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP"},
        {KivClStrepHexDump(odd, 5).getAsCString(), "7F 0A 00 FF 7A __ __ __  __ __ __ __ __ __ __ __ | ....z___________"},
        {KivClStrepHexDump(0xFFFFFFFFFul, letters, 40).getAsCString(),
         "FFFFFFFF: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP"},
        {KivClStrepBinDump(8, bits, 3).getAsCString(),
         "00000008: 01000001 10000000 00000001 ________  ________ ________ ________ ________ | A.._____"},
        {KivClStrepBinDump(nullptr, 4).getAsCString(),
         "________ ________ ________ ________  ________ ________ ________ ________ | ________"},
    };
    for (const auto& line : lines) EXPECT_EQ(line[0], line[1]);
    // A second addData fills the line up to its capacity (80 and 95) and no further.
    KivClStrepHexDump fullHex(16, letters, 16);
    fullHex.addData(letters, 4);
    EXPECT_EQ(std::string(fullHex.getAsCString()), lines[0][1] + "41 ");
    KivClStrepBinDump fullBin(8, bits, 3);
    fullBin.addData(bits, 1);
    EXPECT_EQ(std::string(fullBin.getAsCString()), lines[3][1] + "01");

    // The dump functions split into lines and show the bytes in memory order.
    unsigned char bytes[20];
    for (int i = 0; i < 20; ++i) bytes[i] = static_cast<unsigned char>('a' + i);
    const unsigned short shorts[3] = {0x0102, 0x0304, 0x0506};
    const unsigned long long big[2] = {1, 0x300};
    std::ostringstream hex, wide, words;
    kivDumpHex(hex, bytes, 0);
    kivDumpHex(hex, bytes, 20);
    kivDump(hex, bytes, 20);
    const std::string twenty = "00000000: 61 62 63 64 65 66 67 68  69 6A 6B 6C 6D 6E 6F 70 | abcdefghijklmnop\n"
                               "00000010: 71 72 73 74 __ __ __ __  __ __ __ __ __ __ __ __ | qrst____________\n";
    EXPECT_EQ(hex.str(), twenty + twenty);
    kivDumpHex(wide, shorts, 3);
    EXPECT_EQ(wide.str(), "00000000: 02 01 04 03 06 05 __ __  __ __ __ __ __ __ __ __ | ......__________\n");
    kivDumpBin(words, big, 2);
    EXPECT_EQ(words.str(),
              "00000000: 00000001 00000000 00000000 00000000  00000000 00000000 00000000 00000000 | ........\n"
              "00000008: 00000000 00000011 00000000 00000000  00000000 00000000 00000000 00000000 | ........\n");
    kivtest::CaptureFd out(1);
    kivDumpBin(bytes, 9);
    kivDebugDump("label", bytes, 9);
    kivDebugImpDump(KIV_DUMP_BIN, "label", bytes, 9);
    std::cout.flush();
    EXPECT_EQ(out.text(),
              "00000000: 01100001 01100010 01100011 01100100  01100101 01100110 01100111 01101000 | abcdefgh\n"
              "00000008: 01101001 ________ ________ ________  ________ ________ ________ ________ | i_______\n");
}

TEST(Dump, AddressesPrintAsAStreamDoesAndEndianConversions) {
    int local = 0;
    const void* pointers[] = {&local, reinterpret_cast<void*>(0x1), reinterpret_cast<void*>(~uintptr_t{0}), nullptr};
    for (const void* pointer : pointers) {
        std::ostringstream reference;
        reference << pointer;
        EXPECT_EQ(KivClStrepAddress(pointer).getAsCString(), reference.str());
    }
    // Endian conversions swap whole units only.
    struct Row { unsigned count; const char* after; } rows[] = {{0, "12345"}, {1, "12345"}, {2, "21345"}, {5, "21435"}};
    for (const Row& row : rows) {
        unsigned short storage[3] = {};
        char* text = reinterpret_cast<char*>(storage);
        std::memcpy(text, "12345", 5);
        EXPECT_EQ(kivEndianConvertW16LittleToBig(storage, row.count), storage);
        EXPECT_EQ(std::string(text, 5), row.after) << row.count;
        kivEndianConvertW16BigToHost(storage, row.count);
        EXPECT_EQ(kivEndianConvertW16HostToLittle(storage, row.count), storage);
        EXPECT_EQ(std::string(text, 5), "12345") << row.count;
    }
}

}  // namespace
