// Directory locations: separator, normalisation, roots, limits and copies.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <tuple>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr KivEnPathStyle DOS = KivEnPathStyleDOS;
constexpr KivEnPathStyle UNIX = KivEnPathStyleUnix;

TEST(Location, SeparatorStyleAndRoot) {
    const std::tuple<const char*, bool, const char*, KivEnPathStyle, bool, bool> cases[] = {
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
        {"\\\\srv\\share", false, "\\\\srv\\share/", UNIX, true, true},  // empty path proper: Unix
        {"C:\\a\\b", true, "C:/a/b/", DOS, false, false},
        {"\\a\\b", true, "/a/b/", UNIX, true, false},
        {"\\\\srv\\share\\d", true, "\\\\srv\\share/d/", UNIX, true, false},
    };
    for (const auto& [text, normalize, expected, style, absolute, root] : cases) {
        SCOPED_TRACE(std::string(text) + (normalize ? " (normalised)" : ""));
        KivClLocation location(text, normalize);
        EXPECT_STREQ(location.getAsCString(), expected);
        EXPECT_EQ(location.getLength(), std::strlen(expected));
        EXPECT_EQ(location.getPathStyle(), style);
        EXPECT_EQ(location.isAbsolute(), absolute);
        EXPECT_EQ(location.isRoot(), root);
        EXPECT_EQ(location.getName(), location.getAsCString());
        EXPECT_TRUE(!normalize || location.isNormalized());
    }
    EXPECT_STREQ(KivClLocation().getAsCString(), "");
    EXPECT_FALSE(KivClLocation().isRoot());
    EXPECT_STREQ(KivClLocation(nullptr).getAsCString(), "");
}

TEST(Location, FromFilenameTextAndLimit) {
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

    // Text that fills the buffer keeps its last character instead of a separator.
    const std::string longText(5000, 'd');
    KivClLocation location(longText.c_str());
    EXPECT_EQ(std::string(location.getAsCString()), longText.substr(0, 4096));
    EXPECT_EQ(location.getLength(), 4096u);
    EXPECT_EQ(KivClLocation(longText.c_str(), 5000, false).getLength(), 4096u);

    KivClLocation withSeparator(longText.substr(0, 4095).c_str());
    EXPECT_EQ(std::string(withSeparator.getAsCString()), longText.substr(0, 4095) + "/");
    EXPECT_EQ(withSeparator.getLength(), 4096u);
}

TEST(Location, CopiesAreIndependent) {
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
}

TEST(Location, ExistenceOfLocationsAndFilenames) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("present.txt"), "x");
    EXPECT_TRUE(KivClLocation(dir.path().c_str()).isExistent() &&
                KivClFilename(dir.file("present.txt").c_str()).isExistent());
    EXPECT_FALSE(KivClLocation(dir.file("missing").c_str()).isExistent() ||
                 KivClFilename(dir.file("missing").c_str()).isExistent() || KivClLocation().isExistent() ||
                 KivClFilename("").isExistent());
}

}  // namespace
