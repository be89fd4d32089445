#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "kiv_file.hpp"
#include "kiv_test_support.hpp"

namespace {

const char kAlphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_";

// The extension every temporary name of this process carries: the last three
// digits of the process id, units first.
std::string pidExtension() {
    const std::string digits = "000" + std::to_string(::getpid());
    const std::string lastThree = digits.substr(digits.size() - 3);
    return std::string(lastThree.rbegin(), lastThree.rend());
}

// Checks directory, prefix, random part and extension of a temporary name.
void expectTmpName(const KivClFilenameABase& name, const std::string& dir, const std::string& prefix) {
    const std::string text = name.getAsCString();
    SCOPED_TRACE(text);
    ASSERT_EQ(text.size(), dir.size() + 1 + 8 + 1 + 3);
    EXPECT_EQ(text.substr(0, dir.size() + 1), dir + "/");
    const std::string base = text.substr(dir.size() + 1, 8);
    EXPECT_EQ(base.substr(0, prefix.size()), prefix);
    for (size_t i = prefix.size(); i < 8; ++i) EXPECT_NE(std::strchr(kAlphabet, base[i]), nullptr) << base;
    EXPECT_EQ(std::string(name.getExtension()), "." + pidExtension());
    EXPECT_EQ(std::string(name.getFilePart()), base + "." + pidExtension());
}

}  // namespace

TEST(TmpFilename, TemporaryDirectoryFromTmp) {
    {
        kivtest::ScopedEnv unset("TMP", nullptr);
        EXPECT_STREQ(kivGetTmpDirectory(), "/tmp");
        expectTmpName(KivClTmpFilename(), "/tmp", "tmp");
    }
    {
        kivtest::ScopedEnv empty("TMP", "");
        EXPECT_STREQ(kivGetTmpDirectory(), "");  // set, even though empty
        const KivClTmpFilename bare("abc");
        EXPECT_EQ(std::strlen(bare.getAsCString()), 12u);
        EXPECT_FALSE(bare.hasPath());
    }
    kivtest::TempDir dir;
    kivtest::ScopedEnv tmp("TMP", dir.path().c_str());
    EXPECT_EQ(std::string(kivGetTmpDirectory()), dir.path());
    expectTmpName(KivClTmpFilename(), dir.path(), "tmp");
    expectTmpName(KivClTmpFilename("trace"), dir.path(), "trace");
    expectTmpName(KivClTmpFilename("longprefix"), dir.path(), "longp");
    expectTmpName(KivClTmpFilename(""), dir.path(), "");
    expectTmpName(KivClTmpFilename(static_cast<const char*>(nullptr)), dir.path(), "tmp");
    expectTmpName(KivClTmpFilename("a/b\\c"), dir.path(), "a_b_c");  // stays in its directory
}

TEST(TmpFilename, DirectoriesFromEveryConstructor) {
    kivtest::TempDir dir;
    expectTmpName(KivClTmpFilename(dir.path().c_str(), "xy"), dir.path(), "xy");
    expectTmpName(KivClTmpFilename((dir.path() + "/").c_str(), "xy"), dir.path(), "xy");
    const KivClLocation location(dir.path().c_str());
    expectTmpName(KivClTmpFilename(location), dir.path(), "tmp");
    expectTmpName(KivClTmpFilename(location, "loc"), dir.path(), "loc");
    const KivClFilename sibling((dir.path() + "/data.txt").c_str());
    expectTmpName(KivClTmpFilename(sibling, "sib"), dir.path(), "sib");

    // A KivClFilename takes a temporary name over as an independent copy.
    KivClFilename copy;
    {
        const KivClTmpFilename tmp(location, "cp");
        copy = tmp;
        EXPECT_STREQ(copy.getAsCString(), tmp.getAsCString());
    }
    expectTmpName(copy, dir.path(), "cp");

    // No room for the file part: the empty name, never a cut one.
    const std::string deep = "/" + std::string(4090, 'd');
    const KivClTmpFilename tooLong(deep.c_str(), "x");
    EXPECT_STREQ(tooLong.getAsCString(), "");
    // A directory that cannot hold files: no name can be shown to be free.
    kivtest::writeFile(dir.file("plain"), "");
    EXPECT_STREQ(KivClTmpFilename(dir.file("plain").c_str(), "x").getAsCString(), "");
    // A missing directory holds no files, so any name there is free.
    expectTmpName(KivClTmpFilename(dir.file("later").c_str(), "x"), dir.file("later"), "x");
}

TEST(TmpFilename, NeverNamesAnExistingFile) {
    kivtest::TempDir dir;
    std::set<std::string> seen;
    for (int i = 0; i < 400; ++i) {
        const KivClTmpFilename name(dir.path().c_str(), "clash");
        const std::string text = name.getAsCString();
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

    const KivClBakFilename plain(KivClFilename("Makefile"));
    EXPECT_STREQ(plain.getAsCString(), "Makefile.bak");
    EXPECT_STREQ(plain.getExtension(), ".bak");

    const KivClBakFilename empty{KivClFilename()};
    EXPECT_STREQ(empty.getAsCString(), ".bak");

    // At the limit the name is cut, never overflowed.
    const std::string full(4094, 'n');
    const KivClBakFilename cut(KivClFilename(full.c_str()));
    EXPECT_EQ(cut.getLength(), 4096u);
    EXPECT_EQ(std::string(cut.getAsCString()), full + ".b");
}
