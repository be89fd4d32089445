// The ini writer: exact layout, escapes, typed entries, files, round trips.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifilesave.hpp"
#include "kiv_test_support.hpp"

namespace {

std::string saved(KivClIniFileSave& ini) {
    std::ostringstream out;
    EXPECT_TRUE(ini.save(out));
    return out.str();
}

std::string quotedForm(KivClIniFileSave& ini, const std::string& value) {
    std::ostringstream out;
    ini.saveOption(out, "v", value.c_str(), nullptr);
    return out.str();
}

}  // namespace

TEST(IniSave, LayoutOfSectionsOptionsAndComments) {
    KivClIniFileSave ini(KivClFilename("unused"));
    ini.addSection("Main");
    ini.addOption("Main", "name", "value");
    const char text[] = "[Main]\nname=value ; the comment\n";
    KivClIniFileSave loaded(KivClFilename("unused"));
    ASSERT_TRUE(loaded.loadFromBuffer(text, sizeof(text) - 1, '\n', true, false));
    EXPECT_EQ(saved(loaded), "\n[Main]\nname\t= value\t; the comment\n");
    EXPECT_EQ(saved(ini), "\n[Main]\nname\t= value\n");

    std::ostringstream out;
    EXPECT_TRUE(ini.saveSection(out, "S", "about S"));
    EXPECT_TRUE(ini.saveSection(out, "T", ""));
    EXPECT_TRUE(ini.saveSection(out, "U", nullptr));
    EXPECT_TRUE(ini.saveOption(out, "lhs"));
    EXPECT_TRUE(ini.saveComment(out, nullptr));
    EXPECT_EQ(out.str(), "\n[S]\t; about S\n\n[T]\n\n[U]\nlhs\t= \n");
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
    const std::string expected = "t\t= ON\t; c\n"
                                 "f\t= OFF\n"
                                 "i\t= -42\n"
                                 "u\t= " + std::to_string(UINT_MAX) + "\n"
                                 "l\t= " + std::to_string(LONG_MIN) + "\n"
                                 "ul\t= " + std::to_string(ULONG_MAX) + "\t; max\n"
                                 "c\t= 'x'\n"
                                 "nl\t= '\\n'\n"
                                 "q\t= '''\n";
    EXPECT_EQ(out.str(), expected);
}

TEST(IniSave, QuotingAndEscapes) {
    KivClIniFileSave ini(KivClFilename("unused"));
    EXPECT_EQ(quotedForm(ini, "a;b"), "v\t= \"a;b\"\n");
    EXPECT_EQ(quotedForm(ini, "a\tb"), "v\t= \"a\\tb\"\n");
    EXPECT_EQ(quotedForm(ini, "\a\b\f\n\r\v"), "v\t= \"\\a\\b\\f\\n\\r\\v\"\n");
    EXPECT_EQ(quotedForm(ini, "\x01"), "v\t= \"\\x01\"\n");
    EXPECT_EQ(quotedForm(ini, "\x1f\x7f"), "v\t= \"\\x1f\\x7f\"\n");
    EXPECT_EQ(quotedForm(ini, "c:\\dir;x"), "v\t= \"c:\\\\dir;x\"\n");
    // Quote characters are written unescaped, inside quotes or not.
    EXPECT_EQ(quotedForm(ini, "say \"hi\";'x'"), "v\t= \"say \"hi\";'x'\"\n");
    EXPECT_EQ(quotedForm(ini, "  \"q\" 'c' \\ "), "v\t=   \"q\" 'c' \\ \n");
    // Hexadecimal digits right after a "\x" escape are escaped too, so the
    // loader cannot read them as part of the number.
    EXPECT_EQ(quotedForm(ini, "\x01" "a9g"), "v\t= \"\\x01\\x61\\x39g\"\n");
    EXPECT_EQ(quotedForm(ini, "\x01\ta"), "v\t= \"\\x01\\ta\"\n");

    std::ostringstream out;
    EXPECT_TRUE(ini.saveChar(out, '\x02'));
    EXPECT_TRUE(ini.saveChar(out, '"'));
    EXPECT_TRUE(ini.saveChar(out, '\\'));
    EXPECT_TRUE(ini.saveChar(out, '\xe9'));
    EXPECT_EQ(out.str(), "\\x02\"\\\\\xe9");
}

TEST(IniSave, DeletedEntriesAndEmptyValuesAreLeftOut) {
    KivClIniFileSave ini(KivClFilename("unused"));
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

    KivClIniFileSave nothing(KivClFilename("unused"));
    EXPECT_EQ(saved(nothing), "");
}

TEST(IniSave, SavingToTheNamedFile) {
    kivtest::TempDir dir;
    {
        KivClIniFileSave ini(KivClFilename(dir.file("out").c_str()));
        ini.addSection("S");
        ini.addOption("S", "k", "v");
        EXPECT_TRUE(ini.save());
        EXPECT_TRUE(ini.save());
    }
    EXPECT_EQ(kivtest::readFile(dir.file("out.ini")), "\n[S]\nk\t= v\n\n[S]\nk\t= v\n");

    // An existing file is emptied by the first open.
    kivtest::writeFile(dir.file("old.ini"), std::string(500, '#'));
    {
        KivClIniFileSave ini(KivClFilename(dir.file("old.ini").c_str()));
        ini.addSection("N");
        EXPECT_TRUE(ini.save());
    }
    EXPECT_EQ(kivtest::readFile(dir.file("old.ini")), "\n[N]\n");

    // A single-entry call opens a closed file stream on the name.
    {
        KivClIniFileSave ini(KivClFilename(dir.file("entries.ini").c_str()));
        std::ofstream stream;
        EXPECT_TRUE(ini.saveSection(stream, "E", nullptr));
        EXPECT_TRUE(ini.saveOption(stream, "n", 5, nullptr));
        stream.close();
    }
    EXPECT_EQ(kivtest::readFile(dir.file("entries.ini")), "\n[E]\nn\t= 5\n");

    // A file that cannot be opened leaves every write failing.
    KivClIniFileSave unwritable(KivClFilename(dir.file("no/such/dir/x.ini").c_str()));
    unwritable.addSection("S");
    EXPECT_FALSE(unwritable.save());
    EXPECT_FALSE(unwritable.save());
    std::ofstream stream;
    KivClIniFileSave unwritable2(KivClFilename(dir.file("no/such/dir/y.ini").c_str()));
    EXPECT_FALSE(unwritable2.saveSection(stream, "S", nullptr));
}

TEST(IniSave, RoundTripThroughAFile) {
    kivtest::TempDir dir;
    // Values the writer quotes (";" or a control character) come back
    // identical; the others come back as the loader reads plain text.
    const std::vector<std::pair<std::string, std::string>> quoted = {
        {"semi", "a;b;c"},
        {"tab", "\tlead and trail\t"},
        {"ctl", "x\x01y\x1f\x7fz"},
        {"hexnext", "\x02" "abc\x03" "9"},
        {"named", "\a\b\f\n\r\v"},
        {"blanks", "  padded ; value  "},
        {"single", "it's ';' here"},
        {"backslash", "c:\\dir\\file;1"},
    };
    const std::vector<std::pair<std::string, std::string>> plain = {
        {"plainblanks", "  padded  "},
        {"quotechar", "'x'"},
        {"quotestr", "\"q\\tx\""},
        {"backslash2", "a\\tb"},
        {"high", "caf\xc3\xa9"},
    };
    const std::vector<std::string> plainExpected = {"padded", "x", "q\tx", "a\\tb", "caf\xc3\xa9"};
    {
        KivClIniFileSave ini(KivClFilename(dir.file("trip").c_str()));
        ini.addSection("R");
        for (const auto& entry : quoted) {
            ASSERT_TRUE(ini.addOption("R", entry.first.c_str(), entry.second.c_str()));
        }
        for (const auto& entry : plain) {
            ASSERT_TRUE(ini.addOption("R", entry.first.c_str(), entry.second.c_str()));
        }
        // A double quote inside a quoted value is written unescaped, so the
        // loader reads it as the end of a quoted string and the value changes.
        ASSERT_TRUE(ini.addOption("R", "mixed", "say \"hi\";x"));
        ASSERT_TRUE(ini.addOption("R", "commented", "v"));
        KivClIniFileSectionCursor section(ini);
        ASSERT_TRUE(section.setToFirst());
        KivClIniFileOptionCursor option(section);
        ASSERT_TRUE(option.setTo("commented"));
        ASSERT_TRUE(ini.setNewValue(option, "v;w"));
        ASSERT_TRUE(ini.save());
    }
    KivClIniFile back(KivClFilename(dir.file("trip.ini").c_str()));
    int reports = 0;
    back.setErrorHandler([](const _KivStError&, unsigned int, void* data) {
        ++*static_cast<int*>(data);
        return true;
    }, &reports);
    ASSERT_TRUE(back.load(false));
    EXPECT_EQ(reports, 0);
    ASSERT_TRUE(back.getSection("R"));
    const char* value = nullptr;
    const char* note = nullptr;
    for (const auto& entry : quoted) {
        ASSERT_TRUE(back.getOption(entry.first.c_str(), value, note)) << entry.first;
        EXPECT_EQ(std::string(value), entry.second) << entry.first;
        EXPECT_STREQ(note, "") << entry.first;
    }
    for (size_t i = 0; i < plain.size(); ++i) {
        ASSERT_TRUE(back.getOption(plain[i].first.c_str(), value)) << plain[i].first;
        EXPECT_EQ(std::string(value), plainExpected[i]) << plain[i].first;
    }
    ASSERT_TRUE(back.getOption("mixed", value, note));
    EXPECT_STREQ(value, "say hi;x");
    EXPECT_STREQ(note, "");
    ASSERT_TRUE(back.getOption("commented", value));
    EXPECT_STREQ(value, "v;w");
}
