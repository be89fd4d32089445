#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <set>
#include <string>

#include "kiv_file.hpp"
#include "kiv_test_support.hpp"

namespace {

// Checks directory, prefix, random part and extension (the last three digits
// of the process id, units first) of a temporary name.
void expectTmpName(const KivClFilenameABase& name, const std::string& dir, const std::string& prefix) {
    const std::string text = name.getAsCString();
    const std::string pid = "00" + std::to_string(::getpid());
    const std::string extension(pid.rbegin(), pid.rbegin() + 3);
    ASSERT_EQ(text.size(), dir.size() + 1 + 8 + 1 + 3) << text;
    EXPECT_EQ(text.substr(0, dir.size() + 1 + prefix.size()), dir + "/" + prefix);
    for (size_t i = dir.size() + 1 + prefix.size(); i < dir.size() + 9; ++i) {
        EXPECT_NE(std::strchr("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_", text[i]), nullptr) << text;
    }
    EXPECT_EQ(std::string(name.getFilePart()), text.substr(dir.size() + 1, 8) + "." + extension);
    EXPECT_EQ(std::string(name.getExtension()), "." + extension);
}

}  // namespace

TEST(TmpFilename, NamesFromEveryConstructor) {
    {
        kivtest::ScopedEnv unset("TMP", nullptr);
        EXPECT_STREQ(kivGetTmpDirectory(), "/tmp");
        expectTmpName(KivClTmpFilename(), "/tmp", "tmp");
    }
    {
        kivtest::ScopedEnv empty("TMP", "");  // set, even though empty: no directory
        EXPECT_STREQ(kivGetTmpDirectory(), "");
        EXPECT_EQ(std::strlen(KivClTmpFilename("abc").getFilePart()), 12u);
    }
    kivtest::TempDir dir;
    kivtest::ScopedEnv tmp("TMP", dir.path().c_str());
    const std::string& d = dir.path();
    EXPECT_EQ(std::string(kivGetTmpDirectory()), d);
    expectTmpName(KivClTmpFilename(), d, "tmp");
    expectTmpName(KivClTmpFilename("trace"), d, "trace");
    expectTmpName(KivClTmpFilename("longprefix"), d, "longp");
    expectTmpName(KivClTmpFilename(""), d, "");
    expectTmpName(KivClTmpFilename(static_cast<const char*>(nullptr)), d, "tmp");
    expectTmpName(KivClTmpFilename("a/b\\c"), d, "a_b_c");  // stays in its directory
    expectTmpName(KivClTmpFilename((d + "/").c_str(), "xy"), d, "xy");
    const KivClLocation location(d.c_str());
    expectTmpName(KivClTmpFilename(location), d, "tmp");
    expectTmpName(KivClTmpFilename(location, "loc"), d, "loc");
    expectTmpName(KivClTmpFilename(KivClFilename((d + "/data.txt").c_str()), "sib"), d, "sib");
    // A missing directory holds no files, so any name there is free.
    expectTmpName(KivClTmpFilename(dir.file("later").c_str(), "x"), dir.file("later"), "x");

    KivClFilename copy;
    copy = KivClTmpFilename(location, "cp");  // an independent copy
    expectTmpName(copy, d, "cp");

    // No name can be shown to be free: no room for the file part within 4096
    // characters, or a directory that is a file. The empty name, never a cut one.
    kivtest::writeFile(dir.file("plain"), "");
    EXPECT_STREQ(KivClTmpFilename(("/" + std::string(4090, 'd')).c_str(), "x").getAsCString(), "");
    EXPECT_STREQ(KivClTmpFilename(dir.file("plain").c_str(), "x").getAsCString(), "");
    // A directory whose name holds a backslash would put the name in its parent.
    ASSERT_EQ(::mkdir(dir.file("a\\b").c_str(), 0755), 0);
    EXPECT_STREQ(KivClTmpFilename(dir.file("a\\b").c_str(), "x").getAsCString(), "");
    EXPECT_STREQ(KivClTmpFilename(KivClLocation(dir.file("a\\b").c_str())).getAsCString(), "");
}

TEST(TmpFilename, NeverNamesAnExistingFile) {
    kivtest::TempDir dir;
    std::set<std::string> seen;
    // With three random characters (41^3 names), 1500 draws are all but
    // sure to hit names taken before.
    for (int i = 0; i < 1500; ++i) {
        const std::string text = KivClTmpFilename(dir.path().c_str(), "clash").getAsCString();
        ASSERT_FALSE(kivtest::fileExists(text)) << text;
        EXPECT_TRUE(seen.insert(text).second) << text;
        // Occupy the name: alternately a file and a dangling symbolic link.
        if (i % 2 == 0) kivtest::writeFile(text, "");
        else ASSERT_EQ(::symlink("/nonexistent/target", text.c_str()), 0);
    }
}

TEST(BakFilename, AppendsBakWithoutNewAnalysis) {
    const KivClBakFilename bak(KivClFilename("/dir/f.txt"));
    EXPECT_STREQ(bak.getAsCString(), "/dir/f.txt.bak");
    EXPECT_STREQ(bak.getExtension(), ".txt.bak");
    EXPECT_STREQ(bak.getFilePart(), "f.txt.bak");
    EXPECT_EQ(bak.getLength(), 14u);
    EXPECT_STREQ(KivClBakFilename(KivClFilename("Makefile")).getExtension(), ".bak");
    EXPECT_STREQ(KivClBakFilename(KivClFilename()).getAsCString(), ".bak");
    // At the limit the name is cut, never overflowed.
    const std::string full(4094, 'n');
    const KivClBakFilename cut(KivClFilename(full.c_str()));
    EXPECT_EQ(cut.getLength(), 4096u);
    EXPECT_EQ(std::string(cut.getAsCString()), full + ".b");
}
