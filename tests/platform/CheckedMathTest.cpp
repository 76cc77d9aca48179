#include "Vintra/platform/CheckedMath.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();

TEST(CheckedMathTest, whatFitsIsGiven) {
    EXPECT_EQ(checkedInt64(-2.0), -2);
    EXPECT_EQ(checkedInt64(-9223372036854775808.0), kLeast);
    EXPECT_EQ(checkedInt64(9223372036854774784.0), 9223372036854774784); // the last double below 2^63
    EXPECT_EQ(checkedSum(kMost - 1, 1), kMost);
    EXPECT_EQ(checkedDifference(kLeast + 1, 1), kLeast);
}

TEST(CheckedMathDeathTest, whatDoesNotFitStopsTheProcess) {
    EXPECT_DEATH(checkedInt64(9223372036854775808.0), "program fault");
    EXPECT_DEATH(checkedInt64(-9223372036854777856.0), "program fault");
    EXPECT_DEATH(checkedInt64(std::numeric_limits<double>::quiet_NaN()), "program fault");
    EXPECT_DEATH(checkedInt64(std::numeric_limits<double>::infinity()), "program fault");
    EXPECT_DEATH(checkedSum(kMost, 1), "program fault");
    EXPECT_DEATH(checkedDifference(0, kLeast), "program fault");
}

} // namespace
} // namespace vintra
