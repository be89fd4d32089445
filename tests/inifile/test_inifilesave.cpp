// The ini writer: exact layout, escapes, typed entries, files, round trips.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ini_test_helpers.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifilesave.hpp"
#include "kiv_test_support.hpp"

using namespace kivtest;

namespace {

std::string saved(KivClIniFileSave& ini) {
    std::ostringstream out;
    EXPECT_TRUE(ini.save(out));
    return out.str();
}

}  // namespace

TEST(IniSave, LayoutOfSectionsOptionsAndComments) {
    KivClIniFileSave loaded(KivClFilename("unused"));
    ASSERT_TRUE(loadText(loaded, "[Main]\nname=value ; the comment\n"));
    EXPECT_EQ(saved(loaded), "\n[Main]\nname\t= value\t; the comment\n");

    std::ostringstream out;
    EXPECT_TRUE(loaded.saveSection(out, "S", "about S"));
    EXPECT_TRUE(loaded.saveSection(out, "T", ""));
    EXPECT_TRUE(loaded.saveSection(out, "U", nullptr));
    EXPECT_TRUE(loaded.saveOption(out, "lhs"));
    EXPECT_TRUE(loaded.saveComment(out, nullptr));
    EXPECT_EQ(out.str(), "\n[S]\t; about S\n\n[T]\n\n[U]\nlhs\t= \n");

    // Deleted sections and options and empty values are left out.
    KivClIniFileSave ini(KivClFilename("unused"));
    EXPECT_EQ(saved(ini), "");
    ini.addSection("Keep");
    ini.addOption("Keep", "a", "1");
    ini.addOption("Keep", "gone", "2");
    ini.addOption("Keep", "empty", "");
    ini.addSection("Drop");
    ini.addOption("Drop", "b", "3");
    ini.addSection("Also");
    ini.deleteOption("Keep", "gone");
    ini.deleteSection("Drop");
    EXPECT_EQ(saved(ini), "\n[Keep]\na\t= 1\n\n[Also]\n");
}

TEST(IniSave, TypedEntries) {
    KivClIniFileSave ini(KivClFilename("unused"));
    std::ostringstream out;
    out << std::hex;
    EXPECT_TRUE(ini.saveOptionBool(out, "t", true, "c"));
    EXPECT_TRUE(ini.saveOptionBool(out, "f", false, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "i", -42, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "u", UINT_MAX, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "l", LONG_MIN, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "ul", ULONG_MAX, "max"));
    EXPECT_TRUE(ini.saveOption(out, "c", 'x', nullptr));
    EXPECT_TRUE(ini.saveOption(out, "nl", '\n', nullptr));
    EXPECT_TRUE(ini.saveOption(out, "q", '\'', nullptr));
    EXPECT_TRUE(ini.saveOption(out, "empty", "", "dropped"));
    EXPECT_TRUE(ini.saveOption(out, "null", static_cast<const char*>(nullptr), "dropped"));
    EXPECT_EQ(out.str(), "t\t= ON\t; c\nf\t= OFF\ni\t= -42\nu\t= " + std::to_string(UINT_MAX) +
                             "\nl\t= " + std::to_string(LONG_MIN) + "\nul\t= " + std::to_string(ULONG_MAX) +
                             "\t; max\nc\t= 'x'\nnl\t= '\\n'\nq\t= '''\n");
}

TEST(IniSave, QuotingAndEscapes) {
    KivClIniFileSave ini(KivClFilename("unused"));
    const std::pair<std::string, std::string> cases[] = {
        {"a;b", "\"a;b\""},
        {"a\tb", "\"a\\tb\""},
        {"\a\b\f\n\r\v", "\"\\a\\b\\f\\n\\r\\v\""},
        {"\x01", "\"\\x01\""},
        {"\x1f\x7f", "\"\\x1f\\x7f\""},
        {"c:\\dir;x", "\"c:\\\\dir;x\""},
        // Quote characters are written unescaped, inside quotes or not.
        {"say \"hi\";'x'", "\"say \"hi\";'x'\""},
        {"  \"q\" 'c' \\ ", "  \"q\" 'c' \\ "},
        // Hexadecimal digits right after a "\x" escape are escaped too, so
        // that the loader cannot read them as part of the number.
        {"\x01" "a9g", "\"\\x01\\x61\\x39g\""},
        {"\x01\ta", "\"\\x01\\ta\""},
    };
    for (const auto& c : cases) {
        std::ostringstream out;
        EXPECT_TRUE(ini.saveOption(out, "v", c.first.c_str(), nullptr));
        EXPECT_EQ(out.str(), "v\t= " + c.second + "\n");
    }
    std::ostringstream out;
    for (char ch : {'\x02', '"', '\\', '\xe9'}) {
        EXPECT_TRUE(ini.saveChar(out, ch));
    }
    EXPECT_EQ(out.str(), "\\x02\"\\\\\xe9");
}

TEST(IniSave, SavingToTheNamedFile) {
    TempDir dir;
    {
        KivClIniFileSave ini(KivClFilename(dir.file("out").c_str()));
        ini.addSection("S");
        ini.addOption("S", "k", "v");
        EXPECT_TRUE(ini.save());
        EXPECT_TRUE(ini.save());
    }
    EXPECT_EQ(readFile(dir.file("out.ini")), "\n[S]\nk\t= v\n\n[S]\nk\t= v\n");

    writeFile(dir.file("old.ini"), std::string(500, '#'));
    {
        KivClIniFileSave ini(KivClFilename(dir.file("old.ini").c_str()));
        ini.addSection("N");
        EXPECT_TRUE(ini.save());
    }
    EXPECT_EQ(readFile(dir.file("old.ini")), "\n[N]\n");

    // A single-entry call opens a closed file stream on the name.
    {
        KivClIniFileSave ini(KivClFilename(dir.file("entries.ini").c_str()));
        std::ofstream stream;
        EXPECT_TRUE(ini.saveSection(stream, "E", nullptr));
        EXPECT_TRUE(ini.saveOption(stream, "n", 5, nullptr));
    }
    EXPECT_EQ(readFile(dir.file("entries.ini")), "\n[E]\nn\t= 5\n");

    // A file that cannot be opened leaves every write failing.
    KivClIniFileSave unwritable(KivClFilename(dir.file("no/such/dir/x.ini").c_str()));
    unwritable.addSection("S");
    EXPECT_FALSE(unwritable.save());
    EXPECT_FALSE(unwritable.save());
    std::ofstream stream;
    EXPECT_FALSE(unwritable.saveSection(stream, "S", nullptr));
    KivClIniFileSave unwritable2(KivClFilename(dir.file("no/such/dir/y.ini").c_str()));
    EXPECT_FALSE(unwritable2.saveSection(stream, "S", nullptr));
}

TEST(IniSave, RoundTripThroughAFile) {
    TempDir dir;
    // {name, value given, value loaded back}: values the writer quotes (";"
    // or a control character) come back identical; the others as the loader
    // reads plain text. A double quote inside a quoted value is written
    // unescaped, so the loader takes it as the end of a quoted string.
    const std::vector<std::vector<std::string>> table = {
        {"semi", "a;b;c", "a;b;c"},
        {"tab", "\tlead and trail\t", "\tlead and trail\t"},
        {"ctl", "x\x01y\x1f\x7fz", "x\x01y\x1f\x7fz"},
        {"hexnext", "\x02" "abc\x03" "9", "\x02" "abc\x03" "9"},
        {"named", "\a\b\f\n\r\v", "\a\b\f\n\r\v"},
        {"blanks", "  padded ; value  ", "  padded ; value  "},
        {"single", "it's ';' here", "it's ';' here"},
        {"backslash", "c:\\dir\\file;1", "c:\\dir\\file;1"},
        {"plainblanks", "  padded  ", "padded"},
        {"quotechar", "'x'", "x"},
        {"quotestr", "\"q\\tx\"", "q\tx"},
        {"backslash2", "a\\tb", "a\\tb"},
        {"high", "caf\xc3\xa9", "caf\xc3\xa9"},
        {"mixed", "say \"hi\";x", "say hi;x"},
    };
    {
        KivClIniFileSave ini(KivClFilename(dir.file("trip").c_str()));
        ini.addSection("R");
        for (const auto& row : table) {
            ASSERT_TRUE(ini.addOption("R", row[0].c_str(), row[1].c_str()));
        }
        ASSERT_TRUE(ini.addOption("R", "commented", "v"));
        KivClIniFileSectionCursor section(ini);
        ASSERT_TRUE(section.setToFirst());
        KivClIniFileOptionCursor option(section);
        ASSERT_TRUE(option.setTo("commented"));
        ASSERT_TRUE(ini.setNewValue(option, "v;w"));
        ASSERT_TRUE(ini.save());
    }
    KivClIniFile back(KivClFilename(dir.file("trip.ini").c_str()));
    Recorder recorder;
    recorder.attach(back);
    ASSERT_TRUE(back.load(false));
    EXPECT_TRUE(recorder.reports.empty());
    for (const auto& row : table) {
        EXPECT_EQ(entry(back, "R", row[0].c_str()), std::make_pair(row[2], std::string())) << row[0];
    }
    EXPECT_EQ(value(back, "R", "commented"), "v;w");
}
