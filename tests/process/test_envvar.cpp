#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kiv_envvar.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr const char* kName = "KIV_TEST_ENVVAR";

TEST(EnvironmentVariable, SwitchSpellingsSetResetAppendAndQueries) {
    const kivtest::ScopedEnv clean(kName, nullptr);
    KivClEnvironmentVariable(kName, "first");
    EXPECT_STREQ(std::getenv(kName), "first");  // still valid after the object is gone
    KivClEnvironmentVariable var(kName, nullptr);
    EXPECT_EQ(std::getenv(kName), nullptr);
    const struct { const char* value; bool on; } rows[] = {
        {"", false},    {"on", true},     {"yEs", true},  {"TRUE", true}, {"1", true},   {"0", false},
        {" yes", false}, {"yes ", false}, {"onn", false}, {"11", false},  {"TRU", false}};
    for (const auto& row : rows) {
        ASSERT_TRUE(var.setNewValue(row.value) && var.hasValue());
        EXPECT_EQ(var.hasValueEnabled(), row.on) << row.value;
    }
    EXPECT_TRUE(var.resetValue() == 0 && var.resetValue() == 0);  // removing an unset variable is fine
    EXPECT_FALSE(var.hasValue() || var.hasValueEnabled());
    // Unset, the variable becomes the suffix alone.
    EXPECT_TRUE(var.appendValue("/bin") && var.appendValue(":/usr/bin") && var.appendValue(nullptr));
    EXPECT_STREQ(var.getValue(), "/bin:/usr/bin");
    const std::string longValue(10000, 'v');
    EXPECT_TRUE(var.setNewValue(longValue.c_str()));
    EXPECT_EQ(var.getValue(), longValue);
    // The query-only kind starts with the name "?" and may be renamed.
    ASSERT_TRUE(var.setNewValue("YES"));
    KivClEnvironmentVariableQueryOnly query;
    EXPECT_STREQ(query.getName(), "?");
    EXPECT_TRUE(query.setNewName(kName) && query.hasValueEnabled());
    EXPECT_FALSE(query.setNewName(std::string(41, 'Q').c_str()) || query.hasValue());
    const KivClEnvironmentVariableQueryOnly copy{KivClEnvironmentVariable(kName, "1")};
    EXPECT_TRUE(copy.hasValueEnabled());
}

// 41 characters are refused rather than cut, so that the 40-character
// variable is never read or changed by mistake.
TEST(EnvironmentVariable, OverLongAndInvalidNamesAreRefused) {
    const std::string forty(40, 'N'), fortyOne = forty + "X";
    const kivtest::ScopedEnv kept(forty.c_str(), nullptr);
    EXPECT_TRUE(KivClEnvironmentVariable(forty.c_str(), "must stay").hasValidName());
    KivClEnvironmentVariable tooLong(fortyOne.c_str(), "changed");
    EXPECT_FALSE(tooLong.hasValidName() || tooLong.hasValue() || tooLong.setNewValue("again") ||
                 tooLong.appendValue("more"));
    EXPECT_EQ(tooLong.resetValue(), -1);
    EXPECT_STREQ(std::getenv(forty.c_str()), "must stay");
    EXPECT_EQ(std::getenv(fortyOne.c_str()), nullptr);
    EXPECT_FALSE(KivClEnvironmentVariable("A=B", "c").hasValidName() || std::getenv("A"));
    EXPECT_FALSE(KivClEnvironmentVariable("", "x").setNewValue("y") ||
                 KivClEnvironmentVariable(nullptr, "x").hasValue());
}

}  // namespace
