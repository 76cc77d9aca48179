#include "Vintra/take/Words.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

std::string elapsed(double seconds) {
    return elapsedString({1000.0}, {1000.0 + seconds});
}

TEST(WordsTest, aListJoinsByCommasAndTheWordBeforeTheLast) {
    EXPECT_EQ(naturalList({}, "and"), "");
    EXPECT_EQ(naturalList({"a"}, "and"), "a");
    EXPECT_EQ(naturalList({"a", "b"}, "or"), "a or b");
    EXPECT_EQ(naturalList({"a", "b", "c"}, "and"), "a, b and c");
}

TEST(WordsTest, elapsedTimeShowsHoursFromOneHourOn) {
    EXPECT_EQ(elapsed(0), "0:00");
    EXPECT_EQ(elapsed(61), "1:01");
    EXPECT_EQ(elapsed(3599), "59:59");
    EXPECT_EQ(elapsed(3600), "1:00:00");
    EXPECT_EQ(elapsed(100 * 3600 + 62), "100:01:02");
}

TEST(WordsTest, elapsedTimeCountsWholeSecondsThatHavePassed) {
    EXPECT_EQ(elapsed(0.999), "0:00");
    EXPECT_EQ(elapsed(3599.75), "59:59");
}

TEST(WordsTest, elapsedTimeBeforeTheStartIsZero) {
    EXPECT_EQ(elapsed(-0.5), "0:00");
    EXPECT_EQ(elapsed(-90), "0:00");
}

TEST(WordsTest, aTimecodeRoundsToTheNearestSecond) {
    EXPECT_EQ(timecodeString(0.49), "0:00");
    EXPECT_EQ(timecodeString(0.5), "0:01");
    EXPECT_EQ(timecodeString(3599.5), "1:00:00");
    EXPECT_EQ(timecodeString(-3), "0:00");
}

TEST(WordsTest, aTimecodeOfNoLengthOfTimeIsZero) {
    EXPECT_EQ(timecodeString(std::numeric_limits<double>::quiet_NaN()), "0:00");
    EXPECT_EQ(timecodeString(std::numeric_limits<double>::infinity()), "0:00");
}

} // namespace
} // namespace vintra
