#include <gtest/gtest.h>

#include "kiv_error.hpp"

TEST(ErrorMapping, Placeholder) { EXPECT_EQ(kivErrorGetIdAsMessageId(0), 47u); }
