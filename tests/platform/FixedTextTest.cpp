#include "Vintra/platform/FixedText.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(FixedTextTest, hasThatManyDecimals) {
    EXPECT_EQ(fixedText(3, 2), "3.00");
    EXPECT_EQ(fixedText(-0.126, 2), "-0.13");
    EXPECT_EQ(fixedText(2.5, 0), "2"); // a tie goes to the even digit
    EXPECT_EQ(fixedText(1e100, 1).size(), 103u);
}

} // namespace
} // namespace vintra
