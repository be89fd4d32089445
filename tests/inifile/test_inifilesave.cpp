// The ini writer: exact layout, escapes, typed entries, files, round trips.
#include <gtest/gtest.h>

#include <climits>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
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

TEST(IniSave, LayoutOfEveryKindOfEntry) {
    KivClIniFileSave ini(KivClFilename("unused"));
    EXPECT_EQ(saved(ini), "");
    ASSERT_TRUE(loadText(ini, "[Main]\nname=value ; the comment\n"));
    EXPECT_EQ(saved(ini), "\n[Main]\nname\t= value\t; the comment\n");

    // Deleted sections and options and empty values are left out.
    KivClIniFileSave edited(KivClFilename("unused"));
    ASSERT_TRUE(loadText(edited, "[Keep]\na=1\ngone=2\nempty=\n[Drop]\nb=3\n[Also]\n"));
    ASSERT_TRUE(edited.deleteOption("Keep", "gone") && edited.deleteSection("Drop"));
    EXPECT_EQ(saved(edited), "\n[Keep]\na\t= 1\n\n[Also]\n");

    std::ostringstream out;
    out << std::hex;
    EXPECT_TRUE(ini.saveSection(out, "S", "about S") && ini.saveSection(out, "T", ""));
    EXPECT_TRUE(ini.saveSection(out, "U", nullptr) && ini.saveOption(out, "lhs") && ini.saveComment(out, nullptr));
    EXPECT_TRUE(ini.saveOptionBool(out, "t", true, "c") && ini.saveOptionBool(out, "f", false, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "i", -42, nullptr) && ini.saveOption(out, "u", UINT_MAX, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "l", LONG_MIN, nullptr) && ini.saveOption(out, "ul", ULONG_MAX, "max"));
    EXPECT_TRUE(ini.saveOption(out, "c", 'x', nullptr) && ini.saveOption(out, "nl", '\n', nullptr));
    EXPECT_TRUE(ini.saveOption(out, "q", '\'', nullptr));
    EXPECT_TRUE(ini.saveChar(out, '\x1b') && ini.saveChar(out, '"') && ini.saveComment(out, ""));
    EXPECT_TRUE(ini.saveOption(out, "empty", "", "dropped"));
    EXPECT_TRUE(ini.saveOption(out, "null", static_cast<const char*>(nullptr), "dropped"));
    EXPECT_EQ(out.str(), "\n[S]\t; about S\n\n[T]\n\n[U]\nlhs\t= \nt\t= ON\t; c\nf\t= OFF\ni\t= -42\nu\t= " +
                             std::to_string(UINT_MAX) + "\nl\t= " + std::to_string(LONG_MIN) +
                             "\nul\t= " + std::to_string(ULONG_MAX) +
                             "\t; max\nc\t= 'x'\nnl\t= '\\n'\nq\t= '''\n\\x1b\"\n");
}

TEST(IniSave, SavingToTheNamedFile) {
    TempDir dir;
    // The first save empties the file, the second appends a second copy.
    writeFile(dir.file("out.ini"), std::string(500, '#'));
    {
        KivClIniFileSave ini(KivClFilename(dir.file("out").c_str()));
        ini.addSection("S");
        ini.addOption("S", "k", "v");
        EXPECT_TRUE(ini.save() && ini.save());
    }
    EXPECT_EQ(readFile(dir.file("out.ini")), "\n[S]\nk\t= v\n\n[S]\nk\t= v\n");

    // A single-entry call opens a closed file stream on the name.
    {
        KivClIniFileSave ini(KivClFilename(dir.file("entries.ini").c_str()));
        std::ofstream stream;
        EXPECT_TRUE(ini.saveSection(stream, "E", nullptr) && ini.saveOption(stream, "n", 5, nullptr));
    }
    EXPECT_EQ(readFile(dir.file("entries.ini")), "\n[E]\nn\t= 5\n");

    // A file that cannot be opened leaves every write failing.
    KivClIniFileSave unwritable(KivClFilename(dir.file("no/such/dir/x.ini").c_str()));
    unwritable.addSection("S");
    EXPECT_FALSE(unwritable.save() || unwritable.save());
    std::ofstream stream;
    KivClIniFileSave unwritable2(KivClFilename(dir.file("no/such/dir/y.ini").c_str()));
    EXPECT_FALSE(unwritable2.saveSection(stream, "S", nullptr));
}

TEST(IniSave, VariedModelsSaveAndLoadBackEqual) {
    TempDir dir;
    const ScopedEnv home("KIVINI_HOME", "/home/x");
    // {name, value, as written after "name\t= "}. Values the plain form would
    // change are quoted; a hexadecimal digit right after a "\x" escape is
    // escaped too, so that the loader does not read it as part of the number.
    const std::vector<std::vector<std::string>> table = {
        {"semi", "a;b;c", "\"a;b;c\""},
        {"tab", "\tlead and trail\t", "\"\\tlead and trail\\t\""},
        {"named", "\a\b\f\n\r\v", "\"\\a\\b\\f\\n\\r\\v\""},
        {"ctl", "x\x01y\x1f\x7fz", "\"x\\x01y\\x1f\\x7fz\""},
        {"hexnext", "\x01" "a9g\x03" "F", "\"\\x01\\x61\\x39g\\x03\\x46\""},
        {"apostrophe", "Don't panic", "\"Don't panic\""},
        {"dquote", "x\"y;z", "\"x\\\"y;z\""},
        {"quotechar", "'x'", "\"'x'\""},
        {"apostrophe2", "'", "\"'\""},
        {"env", "$(KIVINI_HOME)/a", "\"$(KIVINI_HOME)/a\""},
        {"lead", "  padded", "\"  padded\""},
        {"trail", "padded ", "\"padded \""},
        {"backslash", "c:\\dir;1", "\"c:\\\\dir;1\""},
        {"plainslash", "a\\tb\\", "a\\tb\\"},
        {"dollar", "$HOME a=b", "$HOME a=b"},
        {"number", "-42", "-42"},
        {"bool", "ON", "ON"},
        {"high", "caf\xc3\xa9", "caf\xc3\xa9"},
    };
    std::string expected = "\n[R]\n";
    {
        KivClIniFileSave ini(KivClFilename(dir.file("trip").c_str()));
        ini.addSection("R");
        for (const auto& row : table) {
            ASSERT_TRUE(ini.addOption("R", row[0].c_str(), row[1].c_str()));
            expected += row[0] + "\t= " + row[2] + "\n";
        }
        ASSERT_TRUE(ini.save());
    }
    EXPECT_EQ(readFile(dir.file("trip.ini")), expected);
    KivClIniFile back(KivClFilename(dir.file("trip.ini").c_str()));
    Recorder recorder;
    recorder.attach(back);
    ASSERT_TRUE(back.load(false));
    EXPECT_TRUE(recorder.reports.empty());
    for (const auto& row : table) {
        EXPECT_EQ(entry(back, "R", row[0].c_str()), std::make_pair(row[1], std::string())) << row[0];
    }
}

TEST(IniSave, WhatNoLayoutCanCarryIsRefusedAndNothingIsWritten) {
    TempDir dir;
    const std::string path = dir.file("keep.ini");
    // Models that cannot be saved, {section, option, value}: the file keeps
    // its old contents. The last two make lines too long, the last one only
    // once its control characters are escaped.
    const std::vector<std::vector<std::string>> models = {
        {"a]b", "k", "v"}, {"a\nb", "k", "v"}, {"S", "[k", "v"}, {"S", ";k", "v"}, {"S", "a=b", "v"},
        {"S", "a b", "v"}, {"S", "a\tb", "v"}, {"S", "a\nb", "v"},
        {"S", std::string(600, 'n'), std::string(600, 'v')}, {"S", "k", std::string(300, '\x01')},
    };
    for (const auto& model : models) {
        writeFile(path, "precious");
        KivClIniFileSave ini(KivClFilename(path.c_str()));
        ini.addSection(model[0].c_str());
        ASSERT_TRUE(ini.addOption(model[0].c_str(), model[1].c_str(), model[2].c_str()));
        EXPECT_FALSE(ini.save()) << model[0] << "/" << model[1];
        std::ostringstream out;
        EXPECT_FALSE(ini.save(out));
        EXPECT_EQ(out.str(), "");
        EXPECT_EQ(readFile(path), "precious") << model[0] << "/" << model[1];
    }

    // Single entries: false, nothing written, an unopened file left alone.
    KivClIniFileSave ini(KivClFilename(path.c_str()));
    const std::vector<std::function<bool(std::ostream&)>> entries = {
        [&](std::ostream& o) { return ini.saveSection(o, "a]b", nullptr); },
        [&](std::ostream& o) { return ini.saveSection(o, "a\nb", nullptr); },
        [&](std::ostream& o) { return ini.saveSection(o, "S", "two\nlines"); },
        [&](std::ostream& o) { return ini.saveOption(o, "", "v", nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "a b", "v", nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", "v", "two\nlines"); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", "v", " lead"); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", std::string(1100, 'v').c_str(), nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "[k", 5, nullptr); },
        [&](std::ostream& o) { return ini.saveOptionBool(o, "k=", true, nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", '\0', nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, ";k"); },
        [&](std::ostream& o) { return ini.saveComment(o, "a\nb"); },
    };
    for (size_t i = 0; i < entries.size(); ++i) {
        std::ostringstream out;
        EXPECT_FALSE(entries[i](out)) << i;
        EXPECT_EQ(out.str(), "") << i;
        std::ofstream unopened;
        EXPECT_FALSE(entries[i](unopened)) << i;
        EXPECT_EQ(readFile(path), "precious") << i;
    }
}
