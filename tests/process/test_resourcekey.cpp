// Resource key names: reduction, joining, cutting, matching and copies.
#include "kiv_resourcekey.hpp"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(ResourceKey, NamesAreReducedAndJoined) {
    const struct { const char *key, *instance, *name, *keyPart; } rows[] = {
        {"APP", nullptr, "---:APP", "APP"},
        {"my app/x", "KIVTRACEINSTANCE0", "---:myGapp:x:KIVTRACEINSTANCE0", "myGapp:x:KIVTRACEINSTANCE0"},
        {"a.b", "", "---:aUb:", "aUb:"},
        {"", nullptr, "---:", ""},
        {"\xC8", nullptr, "---:f", "f"},  // byte 200 is position 200 % 65 = 5
    };
    for (const auto& row : rows) {
        KivClResourceKeySemaphore key(row.key, row.instance);
        EXPECT_STREQ(key.getName(), row.name) << row.key;
        EXPECT_STREQ(key.getKeyPart(), row.keyPart) << row.key;
        EXPECT_EQ(key.getLength(), std::string(row.name).size());
    }
}

TEST(ResourceKey, OverLongPartsAreCutInsideTheName) {
    std::string longKey(300, 'k');
    KivClResourceKeySemaphore key(longKey.c_str(), "instance");
    EXPECT_EQ(key.getLength(), 255u);
    EXPECT_EQ(std::string(key.getName()), "---:" + std::string(251, 'k'));
    EXPECT_EQ(std::string(key.getKeyPart()), std::string(251, 'k'));

    std::string longInstance(400, 'i');
    KivClResourceKeySemaphore cutInstance("APP", longInstance.c_str());
    EXPECT_EQ(std::string(cutInstance.getName()), "---:APP:" + std::string(247, 'i'));
    cutInstance.add("more");
    EXPECT_EQ(cutInstance.getLength(), 255u);
}

TEST(ResourceKey, MatchesAndCopies) {
    KivClResourceKeySemaphore key("APP", "one");
    EXPECT_TRUE(key.matches("---:APP:one") && key.matches("---:APP:one:and more"));
    EXPECT_FALSE(key.matches("---:APP:on") || key.matches("---:APX:one") || key.matches(nullptr));

    KivClResourceKeySemaphore target("OTHER", nullptr);
    target = key;
    EXPECT_STREQ(target.getName(), "---:APP:one");
    EXPECT_STREQ(target.getKeyPart(), "APP:one");
    EXPECT_EQ(target.getKeyPart() - target.getName(), 4);  // within its own name
    KivClResourceKeySemaphore copy(target);
    EXPECT_EQ(copy.getKeyPart() - copy.getName(), 4);
}

}  // namespace
