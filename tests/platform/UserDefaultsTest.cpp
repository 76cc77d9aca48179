#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/simulated/SimulatedUserDefaults.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <utility>

namespace vintra {
namespace {

class UserDefaultsReadingTest : public testing::Test {
protected:
    SimulatedUserDefaults defaults;
    void set(DefaultsValue value) { defaults.set("key", std::move(value)); }
    std::optional<int64_t> integer() { return integerForKey(defaults, "key"); }
    std::optional<double> number() { return doubleForKey(defaults, "key"); }
};

TEST_F(UserDefaultsReadingTest, anAbsentKeyReadsAsNothingOfAnyType) {
    EXPECT_FALSE(boolForKey(defaults, "key"));
    EXPECT_FALSE(integer());
    EXPECT_FALSE(number());
    EXPECT_FALSE(stringForKey(defaults, "key"));
    EXPECT_FALSE(doublesForKey(defaults, "key"));
    EXPECT_FALSE(dictionaryForKey(defaults, "key"));
}

TEST_F(UserDefaultsReadingTest, eachTypeReadsAsItself) {
    set(true);
    EXPECT_EQ(boolForKey(defaults, "key"), true);
    set(int64_t{-3});
    EXPECT_EQ(integer(), -3);
    set(1.5);
    EXPECT_EQ(number(), 1.5);
    set(std::string("hevc"));
    EXPECT_EQ(stringForKey(defaults, "key"), "hevc");
    set(std::vector<double>{1, 2});
    EXPECT_EQ(doublesForKey(defaults, "key"), (std::vector<double>{1, 2}));
    set(std::map<std::string, std::string>{{"a", "b"}});
    EXPECT_EQ(dictionaryForKey(defaults, "key")->at("a"), "b");
}

TEST_F(UserDefaultsReadingTest, anotherTypeReadsAsNothing) {
    set(std::string("1"));
    EXPECT_FALSE(integer());
    EXPECT_FALSE(number());
    EXPECT_FALSE(boolForKey(defaults, "key"));
    set(true);
    EXPECT_FALSE(integer());
    EXPECT_FALSE(number());
    EXPECT_FALSE(stringForKey(defaults, "key"));
    set(int64_t{1});
    EXPECT_FALSE(boolForKey(defaults, "key"));
    EXPECT_FALSE(doublesForKey(defaults, "key"));
    set(std::vector<double>{1});
    EXPECT_FALSE(number());
    EXPECT_FALSE(dictionaryForKey(defaults, "key"));
}

TEST_F(UserDefaultsReadingTest, aWholeNumberReadsAsADouble) {
    set(int64_t{60});
    EXPECT_EQ(number(), 60.0);
}

TEST_F(UserDefaultsReadingTest, aDoubleReadsAsAWholeNumberOnlyWithoutAFractionAndInRange) {
    set(60.0);
    EXPECT_EQ(integer(), 60);
    set(-0.0);
    EXPECT_EQ(integer(), 0);
    set(60.5);
    EXPECT_FALSE(integer());
    set(9223372036854774784.0); // the largest double below 2^63
    EXPECT_EQ(integer(), 9223372036854774784);
    set(9223372036854775808.0); // 2^63
    EXPECT_FALSE(integer());
    set(std::nan(""));
    EXPECT_FALSE(integer());
    set(std::numeric_limits<double>::infinity());
    EXPECT_FALSE(integer());
}

} // namespace
} // namespace vintra
