// Directory locations: separator, normalisation, roots and copies.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

struct LocationCase {
    const char* text;
    bool normalize;
    const char* expected;
    KivEnPathStyle style;
    bool absolute;
    bool root;
};

const LocationCase kLocationCases[] = {
    {"/tmp", false, "/tmp/", KivEnPathStyleUnix, true, false},
    {"/tmp/", false, "/tmp/", KivEnPathStyleUnix, true, false},
    {"/", false, "/", KivEnPathStyleUnix, true, true},
    {"//", false, "//", KivEnPathStyleUnix, true, false},
    {"", false, "", KivEnPathStyleUnix, false, false},
    {"tmp", false, "tmp/", KivEnPathStyleUnix, false, false},
    {"C:\\", false, "C:\\", KivEnPathStyleDOS, true, true},
    {"C:", false, "C:\\", KivEnPathStyleDOS, true, true},
    {"C:\\x\\", false, "C:\\x\\", KivEnPathStyleDOS, true, false},
    {"C:\\x", false, "C:\\x\\", KivEnPathStyleDOS, true, false},
    {"\\x", false, "\\x\\", KivEnPathStyleDOS, false, false},
    {"\\\\srv\\share", false, "\\\\srv\\share\\", KivEnPathStyleDOS, true, true},
    {"\\\\srv\\share\\", false, "\\\\srv\\share\\", KivEnPathStyleDOS, true, true},
    {"\\\\srv\\share\\dir", false, "\\\\srv\\share\\dir\\", KivEnPathStyleDOS, true, false},
    {"C:\\a\\b", true, "C:/a/b/", KivEnPathStyleDOS, false, false},
    {"\\a\\b", true, "/a/b/", KivEnPathStyleUnix, true, false},
    {"\\\\srv\\share\\d", true, "\\\\srv\\share/d/", KivEnPathStyleUnix, true, false},
    {"/a/b", true, "/a/b/", KivEnPathStyleUnix, true, false},
};

TEST(Location, SeparatorStyleAndRoot) {
    for (const LocationCase& c : kLocationCases) {
        SCOPED_TRACE(std::string(c.text) + (c.normalize ? " (normalised)" : ""));
        KivClLocation location(c.text, c.normalize);
        EXPECT_STREQ(location.getAsCString(), c.expected);
        EXPECT_EQ(location.getLength(), std::strlen(c.expected));
        EXPECT_EQ(location.getPathStyle(), c.style);
        EXPECT_EQ(location.isAbsolute(), c.absolute);
        EXPECT_EQ(location.isRoot(), c.root);
        EXPECT_EQ(location.getName(), location.getAsCString());
        if (c.normalize) {
            EXPECT_TRUE(location.isNormalized());
        }
    }
    KivClLocation empty;
    EXPECT_STREQ(empty.getAsCString(), "");
    EXPECT_FALSE(empty.isRoot());
    EXPECT_STREQ(KivClLocation(nullptr).getAsCString(), "");
}

TEST(Location, FromFilenameAndText) {
    struct FromNameCase {
        const char* name;
        const char* expected;
    };
    const FromNameCase cases[] = {
        {"/a/b/c.txt", "/a/b/"},
        {"abc", ""},
        {"\\\\srv\\share\\f", "\\\\srv\\share\\"},
        {"C:\\d\\f.txt", "C:\\d\\"},
        {"/f", "/"},
    };
    for (const FromNameCase& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_STREQ(KivClLocation(KivClFilename(c.name)).getAsCString(), c.expected);
    }
    EXPECT_STREQ(KivClLocation(KivClFilename("C:\\d\\f"), true).getAsCString(), "C:/d/");

    EXPECT_STREQ(KivClLocation("/a/b/c", 4, false).getAsCString(), "/a/b/");
    EXPECT_STREQ(KivClLocation("/a", 99, false).getAsCString(), "/a/");
    EXPECT_STREQ(KivClLocation("C:\\a", 4, true).getAsCString(), "C:/a/");
    EXPECT_STREQ(KivClLocation("xyz", 0, false).getAsCString(), "");

    KivClLocation assigned("/old");
    assigned = "C:\\new";
    EXPECT_STREQ(assigned.getAsCString(), "C:\\new\\");
    EXPECT_EQ(assigned.getPathStyle(), KivEnPathStyleDOS);
    assigned = assigned.getAsCString() + 3;  // a part of its own text
    EXPECT_STREQ(assigned.getAsCString(), "new\\");
    assigned = static_cast<const char*>(nullptr);
    EXPECT_STREQ(assigned.getAsCString(), "");
}

TEST(Location, OverLongInputIsCut) {
    const std::string longText(5000, 'd');
    KivClLocation location(longText.c_str());
    EXPECT_EQ(location.getLength(), 4096u);
    EXPECT_EQ(std::string(location.getAsCString()), longText.substr(0, 4096));

    const std::string justFits(4095, 'd');
    KivClLocation withSeparator(justFits.c_str());
    EXPECT_EQ(withSeparator.getLength(), 4096u);
    EXPECT_EQ(std::string(withSeparator.getAsCString()), justFits + "/");

    KivClLocation counted(longText.c_str(), 5000, false);
    EXPECT_EQ(counted.getLength(), 4096u);
    // A filename joined under a full location is cut as well.
    KivClFilename name(location, "f", "txt");
    EXPECT_EQ(name.getLength(), 4096u);
}

TEST(Location, CopiesAreIndependentAndExistenceIsTested) {
    auto original = std::make_unique<KivClLocation>("\\\\srv\\share\\dir");
    KivClLocation copy(*original);
    KivClLocation assigned;
    assigned = *original;
    original.reset();
    for (const KivClLocation* location : {&copy, &assigned}) {
        EXPECT_STREQ(location->getAsCString(), "\\\\srv\\share\\dir\\");
        EXPECT_EQ(location->getName(), location->getAsCString());
        EXPECT_STREQ(location->getPathStart(), "\\dir\\");
        EXPECT_TRUE(location->hasServerPrefix());
        EXPECT_EQ(location->getPathStyle(), KivEnPathStyleDOS);
    }
    KivClLocation& alias = copy;
    copy = alias;
    EXPECT_STREQ(copy.getAsCString(), "\\\\srv\\share\\dir\\");

    kivtest::TempDir dir;
    EXPECT_TRUE(KivClLocation(dir.path().c_str()).isExistent());
    EXPECT_FALSE(KivClLocation(dir.file("missing").c_str()).isExistent());
    EXPECT_FALSE(KivClLocation().isExistent());
}

}  // namespace
