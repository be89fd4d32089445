#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kiv_envvar.hpp"
#include "kiv_test_support.hpp"

namespace {

const char* kName = "KIV_TEST_ENVVAR";

}  // namespace

TEST(EnvironmentVariable, SwitchSpellings) {
    const kivtest::ScopedEnv clean(kName, nullptr);
    KivClEnvironmentVariable var(kName, "");
    EXPECT_TRUE(var.hasValue());
    EXPECT_FALSE(var.hasValueEnabled());  // set, but empty
    const struct { const char* value; bool on; } rows[] = {
        {"on", true},     {"ON", true},  {"Yes", true},   {"yEs", true},  {"TRUE", true},
                {"true", true},   {"1", true},   {"2", false},    {" yes", false}, {"yes ", false},
                {"enabled", false}, {"0", false}, {"OFF", false}, {"onn", false}, {"11", false}, {"TRU", false}};
    for (const auto& row : rows) {
        ASSERT_TRUE(var.setNewValue(row.value));
        EXPECT_EQ(var.hasValueEnabled(), row.on) << row.value;
    }
    var.resetValue();
    EXPECT_FALSE(var.hasValue() || var.hasValueEnabled());
}

TEST(EnvironmentVariable, SetResetAppendAndTheEnvironmentsOwnCopy) {
    const kivtest::ScopedEnv clean(kName, nullptr);
    {
        KivClEnvironmentVariable var(kName, "first");
        EXPECT_STREQ(var.getValue(), "first");
    }
    EXPECT_STREQ(std::getenv(kName), "first");  // still valid after the object is gone
    KivClEnvironmentVariable var(kName, nullptr);
    EXPECT_EQ(std::getenv(kName), nullptr);
    EXPECT_TRUE(var.appendValue("/bin"));  // unset: becomes the suffix alone
    EXPECT_TRUE(var.appendValue(":/usr/bin"));
    EXPECT_TRUE(var.appendValue(""));
    EXPECT_STREQ(std::getenv(kName), "/bin:/usr/bin");
    EXPECT_EQ(var.resetValue(), 0);
    EXPECT_EQ(var.getValue(), nullptr);
    EXPECT_EQ(var.resetValue(), 0);  // removing an unset variable is fine
    const std::string longValue(10000, 'v');
    EXPECT_TRUE(var.setNewValue(longValue.c_str()));
    EXPECT_EQ(std::string(var.getValue()), longValue);
}

TEST(EnvironmentVariable, OverLongAndInvalidNamesAreRefused) {
    const std::string forty(40, 'N');
    const kivtest::ScopedEnv kept(forty.c_str(), "must stay");
    EXPECT_TRUE(KivClEnvironmentVariable(forty.c_str(), "ok").hasValidName());
    EXPECT_STREQ(std::getenv(forty.c_str()), "ok");
    // 41 characters: refused rather than cut, so that the 40-character
    // variable is never read or changed by mistake.
    ::setenv(forty.c_str(), "must stay", 1);
    const std::string fortyOne = forty + "X";
    KivClEnvironmentVariable tooLong(fortyOne.c_str(), "changed");
    EXPECT_FALSE(tooLong.hasValidName());
    EXPECT_EQ(tooLong.getValue(), nullptr);
    EXPECT_FALSE(tooLong.setNewValue("again") || tooLong.appendValue("more"));
    EXPECT_EQ(tooLong.resetValue(), -1);
    EXPECT_STREQ(std::getenv(forty.c_str()), "must stay");
    EXPECT_EQ(std::getenv(fortyOne.c_str()), nullptr);

    EXPECT_FALSE(KivClEnvironmentVariable("A=B", "c").hasValidName());
    EXPECT_EQ(std::getenv("A"), nullptr);
    EXPECT_FALSE(KivClEnvironmentVariable("", "x").setNewValue("y"));
    EXPECT_FALSE(KivClEnvironmentVariable(nullptr, "x").hasValue());
}

TEST(EnvironmentVariable, QueryOnlyRenames) {
    const kivtest::ScopedEnv first(kName, "YES"), second("KIV_TEST_ENVVAR2", "no");
    KivClEnvironmentVariableQueryOnly query;
    EXPECT_STREQ(query.getName(), "?");
    EXPECT_TRUE(query.setNewName(kName));
    EXPECT_TRUE(query.hasValueEnabled());
    EXPECT_TRUE(query.setNewName("KIV_TEST_ENVVAR2"));
    EXPECT_STREQ(query.getValue(), "no");
    EXPECT_FALSE(query.setNewName(std::string(41, 'Q').c_str()));
    EXPECT_FALSE(query.hasValue());
    KivClEnvironmentVariableQueryOnly copy{KivClEnvironmentVariable(kName, "1")};
    EXPECT_STREQ(copy.getName(), kName);
    EXPECT_TRUE(copy.hasValueEnabled());
}
