// The example programs a newcomer copies from still do what their comments
// promise.
#include <gtest/gtest.h>

#include <string>

#include "kiv_test_support.hpp"

namespace {

TEST(Examples, IniDemoWritesReadsAndUpdatesItsFile) {
    kivtest::TempDir dir;
    const std::string base = dir.file("demo");
    const kivtest::ChildResult run = kivtest::runShell(std::string(KIV_INI_DEMO) + " '" + base + "'");
    ASSERT_TRUE(run.exited && run.exitCode == 0) << run.err;
    EXPECT_EQ(run.out,
              "written: " + base + ".ini\n"
              "host example.org, port 8080, secure yes\n"
              "[Server]\n  host = example.org\n  port = 8080\n  secure = ON\n"
              "[Greeting]\n  text = Hello; world\n"
              "after the change:\n"
              "host example.org, port 9090, secure yes\n"
              "[Server]\n  host = example.org\n  port = 9090\n  secure = ON\n"
              "[Greeting]\n  text = Hello; world\n");
    EXPECT_EQ(kivtest::readFile(base + ".ini"),
              "\n[Server]\nhost\t= example.org\nport\t= 9090\nsecure\t= ON\n"
              "\n[Greeting]\ntext\t= \"Hello; world\"\n");
}

TEST(Examples, IniDemoReportsAFileItCannotWrite) {
    kivtest::TempDir dir;
    const kivtest::ChildResult run =
        kivtest::runShell(std::string(KIV_INI_DEMO) + " '" + dir.file("missing/demo") + "'");
    ASSERT_TRUE(run.exited);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "could not write " + dir.file("missing/demo") + ".ini\n");
}

// Bytes of "Grüße aus Köln" in the PC, Latin-1 and German EBCDIC code pages,
// and each converted back.
TEST(Examples, CodePageDemoConvertsThereAndBack) {
    const kivtest::ChildResult run = kivtest::runShell(KIV_CODEPAGE_DEMO);
    ASSERT_TRUE(run.exited && run.exitCode == 0) << run.err;
    const std::string back = "  back    Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln\n";
    EXPECT_EQ(run.out,
              "UTF-8 text: Gr\xC3\xBC\xC3\x9F" "e aus K\xC3\xB6ln (17 bytes)\n"
              "CCSID 850 (850):\n  bytes    47 72 81 E1 65 20 61 75 73 20 4B 94 6C 6E\n" + back +
              "CCSID 819 (ISO8859-1):\n  bytes    47 72 FC DF 65 20 61 75 73 20 4B F6 6C 6E\n" + back +
              "CCSID 273 (273):\n  bytes    C7 99 D0 A1 85 40 81 A4 A2 40 D2 6A 93 95\n" + back);
}

}  // namespace
