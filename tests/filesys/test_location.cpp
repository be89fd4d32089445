// Directory locations: separator, normalisation, roots, limits and copies.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr KivEnPathStyle DOS = KivEnPathStyleDOS;
constexpr KivEnPathStyle UNIX = KivEnPathStyleUnix;

TEST(Location, SeparatorStyleAndRoot) {
    struct LocationCase {
        const char* text;
        bool normalize;
        const char* expected;
        KivEnPathStyle style;
        bool absolute;
        bool root;
    };
    const LocationCase cases[] = {
        {"/tmp", false, "/tmp/", UNIX, true, false},
        {"/tmp/", false, "/tmp/", UNIX, true, false},
        {"/", false, "/", UNIX, true, true},
        {"//", false, "//", UNIX, true, false},
        {"", false, "", UNIX, false, false},
        {"tmp", false, "tmp/", UNIX, false, false},
        {"C:\\", false, "C:\\", DOS, true, true},
        {"C:", false, "C:\\", DOS, true, true},
        {"C:\\x\\", false, "C:\\x\\", DOS, true, false},
        {"\\x", false, "\\x\\", DOS, false, false},
        {"\\\\srv\\share", false, "\\\\srv\\share\\", DOS, true, true},
        {"C:\\a\\b", true, "C:/a/b/", DOS, false, false},
        {"\\a\\b", true, "/a/b/", UNIX, true, false},
        {"\\\\srv\\share\\d", true, "\\\\srv\\share/d/", UNIX, true, false},
    };
    for (const LocationCase& c : cases) {
        SCOPED_TRACE(std::string(c.text) + (c.normalize ? " (normalised)" : ""));
        KivClLocation location(c.text, c.normalize);
        EXPECT_STREQ(location.getAsCString(), c.expected);
        EXPECT_EQ(location.getLength(), std::strlen(c.expected));
        EXPECT_EQ(location.getPathStyle(), c.style);
        EXPECT_EQ(location.isAbsolute(), c.absolute);
        EXPECT_EQ(location.isRoot(), c.root);
        EXPECT_EQ(location.getName(), location.getAsCString());
        EXPECT_TRUE(!c.normalize || location.isNormalized());
    }
    EXPECT_STREQ(KivClLocation().getAsCString(), "");
    EXPECT_FALSE(KivClLocation().isRoot());
    EXPECT_STREQ(KivClLocation(nullptr).getAsCString(), "");
}

TEST(Location, FromFilenameAndText) {
    EXPECT_STREQ(KivClLocation(KivClFilename("/a/b/c.txt")).getAsCString(), "/a/b/");
    EXPECT_STREQ(KivClLocation(KivClFilename("abc")).getAsCString(), "");
    EXPECT_STREQ(KivClLocation(KivClFilename("\\\\srv\\share\\f")).getAsCString(), "\\\\srv\\share\\");
    EXPECT_STREQ(KivClLocation(KivClFilename("C:\\d\\f"), true).getAsCString(), "C:/d/");

    EXPECT_STREQ(KivClLocation("/a/b/c", 4, false).getAsCString(), "/a/b/");
    EXPECT_STREQ(KivClLocation("/a", 99, false).getAsCString(), "/a/");
    EXPECT_STREQ(KivClLocation("C:\\a", 4, true).getAsCString(), "C:/a/");
    EXPECT_STREQ(KivClLocation("xyz", 0, false).getAsCString(), "");

    KivClLocation assigned("/old");
    assigned = "C:\\new";
    EXPECT_STREQ(assigned.getAsCString(), "C:\\new\\");
    EXPECT_EQ(assigned.getPathStyle(), DOS);
    assigned = assigned.getAsCString() + 3;  // a part of its own text
    EXPECT_STREQ(assigned.getAsCString(), "new\\");
    assigned = static_cast<const char*>(nullptr);
    EXPECT_STREQ(assigned.getAsCString(), "");
}

TEST(Location, OverLongInputIsCut) {
    // Text that fills the buffer keeps its last character instead of a separator.
    const std::string longText(5000, 'd');
    KivClLocation location(longText.c_str());
    EXPECT_EQ(std::string(location.getAsCString()), longText.substr(0, 4096));
    EXPECT_EQ(location.getLength(), 4096u);
    EXPECT_EQ(KivClLocation(longText.c_str(), 5000, false).getLength(), 4096u);

    KivClLocation withSeparator(longText.substr(0, 4095).c_str());
    EXPECT_EQ(std::string(withSeparator.getAsCString()), longText.substr(0, 4095) + "/");
    EXPECT_EQ(withSeparator.getLength(), 4096u);

    EXPECT_EQ(KivClFilename(location, "f", "txt").getLength(), 4096u);
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
        EXPECT_EQ(location->getPathStyle(), DOS);
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
