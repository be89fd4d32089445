#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "kiv_envvar.hpp"

namespace {

const char* kName = "KIV_TEST_ENVVAR";

class EnvironmentVariable : public ::testing::Test {
protected:
    void SetUp() override { ::unsetenv(kName); }
    void TearDown() override { ::unsetenv(kName); }
};

}  // namespace

TEST_F(EnvironmentVariable, SwitchSpellings) {
    KivClEnvironmentVariable var(kName, "");
    EXPECT_TRUE(var.hasValue());
    EXPECT_FALSE(var.hasValueEnabled());  // set, but empty
    for (const char* on : {"on", "ON", "Yes", "yEs", "TRUE", "true", "1"}) {
        ASSERT_TRUE(var.setNewValue(on));
        EXPECT_TRUE(var.hasValueEnabled()) << on;
    }
    for (const char* off : {"2", " yes", "yes ", "enabled", "0", "OFF", "no", "onn", "11", "TRU"}) {
        ASSERT_TRUE(var.setNewValue(off));
        EXPECT_FALSE(var.hasValueEnabled()) << off;
    }
    var.resetValue();
    EXPECT_FALSE(var.hasValue());
    EXPECT_FALSE(var.hasValueEnabled());
}

TEST_F(EnvironmentVariable, SetResetAndAppend) {
    KivClEnvironmentVariable var(kName, "first");
    EXPECT_STREQ(var.getValue(), "first");
    EXPECT_STREQ(std::getenv(kName), "first");

    EXPECT_TRUE(var.setNewValue(nullptr));
    EXPECT_EQ(var.getValue(), nullptr);
    EXPECT_EQ(std::getenv(kName), nullptr);

    EXPECT_TRUE(var.appendValue("/bin"));  // unset: becomes the suffix alone
    EXPECT_STREQ(var.getValue(), "/bin");
    EXPECT_TRUE(var.appendValue(":/usr/bin"));
    EXPECT_STREQ(var.getValue(), "/bin:/usr/bin");
    EXPECT_TRUE(var.appendValue(""));
    EXPECT_STREQ(var.getValue(), "/bin:/usr/bin");

    EXPECT_EQ(var.resetValue(), 0);
    EXPECT_EQ(var.getValue(), nullptr);
    EXPECT_EQ(var.resetValue(), 0);  // removing an unset variable is fine
}

TEST_F(EnvironmentVariable, EnvironmentOwnsItsCopy) {
    {
        KivClEnvironmentVariable var(kName, "survives");
    }
    // The object is gone; the environment entry must still be valid.
    EXPECT_STREQ(std::getenv(kName), "survives");
    const std::string longValue(10000, 'v');
    KivClEnvironmentVariable var(kName, longValue.c_str());
    EXPECT_EQ(std::string(var.getValue()), longValue);
}

TEST_F(EnvironmentVariable, OverLongAndInvalidNamesAreRefused) {
    const std::string forty(40, 'N');
    KivClEnvironmentVariable fits(forty.c_str(), "ok");
    EXPECT_TRUE(fits.hasValidName());
    EXPECT_STREQ(fits.getName(), forty.c_str());
    EXPECT_STREQ(std::getenv(forty.c_str()), "ok");
    fits.resetValue();

    // 41 characters: refused rather than cut, so that the 40-character
    // variable above is never read or changed by mistake.
    const std::string fortyOne = forty + "X";
    ::setenv(forty.c_str(), "must stay", 1);
    KivClEnvironmentVariable tooLong(fortyOne.c_str(), "changed");
    EXPECT_FALSE(tooLong.hasValidName());
    EXPECT_EQ(tooLong.getValue(), nullptr);
    EXPECT_FALSE(tooLong.setNewValue("again"));
    EXPECT_FALSE(tooLong.appendValue("more"));
    EXPECT_EQ(tooLong.resetValue(), -1);
    EXPECT_STREQ(std::getenv(forty.c_str()), "must stay");
    EXPECT_EQ(std::getenv(fortyOne.c_str()), nullptr);
    ::unsetenv(forty.c_str());

    KivClEnvironmentVariable withEquals("A=B", "c");
    EXPECT_FALSE(withEquals.hasValidName());
    EXPECT_EQ(std::getenv("A"), nullptr);
    KivClEnvironmentVariable empty("", "x");
    EXPECT_FALSE(empty.setNewValue("y"));
    KivClEnvironmentVariable null(nullptr, "x");
    EXPECT_FALSE(null.hasValue());
}

TEST_F(EnvironmentVariable, QueryOnlyRenames) {
    KivClEnvironmentVariableQueryOnly query;
    EXPECT_STREQ(query.getName(), "?");
    ::setenv(kName, "YES", 1);
    ::setenv("KIV_TEST_ENVVAR2", "no", 1);
    EXPECT_TRUE(query.setNewName(kName));
    EXPECT_TRUE(query.hasValueEnabled());
    EXPECT_TRUE(query.setNewName("KIV_TEST_ENVVAR2"));
    EXPECT_FALSE(query.hasValueEnabled());
    EXPECT_STREQ(query.getValue(), "no");

    KivClEnvironmentVariable source(kName, "1");
    KivClEnvironmentVariableQueryOnly copy(source);
    EXPECT_STREQ(copy.getName(), kName);
    EXPECT_TRUE(copy.hasValueEnabled());
    EXPECT_FALSE(query.setNewName(std::string(41, 'Q').c_str()));
    EXPECT_FALSE(query.hasValue());
    ::unsetenv("KIV_TEST_ENVVAR2");
}
