// Resource key names: reduction, joining, cutting, matching and copies.
#include "kiv_resourcekey.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

TEST(ResourceKey, NamesAreReducedJoinedCutMatchedAndCopied) {
    const std::string longKey(300, 'k'), longInstance(400, 'i');
    const struct { const char *key, *instance; std::string name, keyPart; } rows[] = {
        {"APP", nullptr, "---:APP", "APP"},
        {"my app/x", "KIVTRACEINSTANCE0", "---:myGapp:x:KIVTRACEINSTANCE0", "myGapp:x:KIVTRACEINSTANCE0"},
        {"a.b", "", "---:aUb:", "aUb:"},
        {"", nullptr, "---:", ""},
        {"\xC8", nullptr, "---:f", "f"},  // byte 200 is position 200 % 65 = 5
        // Over-long parts are cut inside the 255 characters of the name.
        {longKey.c_str(), "instance", "---:" + std::string(251, 'k'), std::string(251, 'k')},
        {"APP", longInstance.c_str(), "---:APP:" + std::string(247, 'i'), "APP:" + std::string(247, 'i')},
    };
    for (const auto& row : rows) {
        KivClResourceKeySemaphore key(row.key, row.instance);
        EXPECT_EQ(std::string(key.getName()) + " | " + key.getKeyPart(), row.name + " | " + row.keyPart);
        key.add("more");
        EXPECT_EQ(key.getLength(), std::min<size_t>(row.name.size() + 5, 255)) << row.key;
    }
    // Names match themselves and longer texts; copies point their key part
    // into their own name.
    KivClResourceKeySemaphore key("APP", "one");
    EXPECT_TRUE(key.matches("---:APP:one") && key.matches("---:APP:one:and more"));
    EXPECT_FALSE(key.matches("---:APP:on") || key.matches("---:APX:one") || key.matches(nullptr));
    KivClResourceKeySemaphore target("OTHER", nullptr);
    target = key;
    KivClResourceKeySemaphore copy(target);
    for (const KivClResourceKeySemaphore* k : {&target, &copy}) {
        EXPECT_STREQ(k->getKeyPart(), "APP:one");
        EXPECT_EQ(k->getKeyPart() - k->getName(), 4);
    }
}

}  // namespace
