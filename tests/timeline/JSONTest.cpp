#include "Vintra/timeline/JSON.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vintra::TimelineFile {
namespace {

std::string text(JSON value, size_t depth = 0) {
    return value.text(depth);
}

TEST(JSONTest, emptyListsStandOnNoLineOfTheirOwn) {
    EXPECT_EQ(text(JSON::Object{}), "{}");
    EXPECT_EQ(text(JSON::Array{}), "[]");
    EXPECT_EQ(text(JSON::object("a", JSON::Array{}), 1), "{\n    \"a\": []\n  }");
}

TEST(JSONTest, entriesKeepTheirOrderAndStandTwoBlanksDeeper) {
    JSON::Array list;
    list.push_back(int64_t{1});
    list.push_back(JSON::object("z", true, "a", nullptr));
    EXPECT_EQ(text(std::move(list)), "[\n  1,\n  {\n    \"z\": true,\n    \"a\": null\n  }\n]");
}

TEST(JSONTest, doublesAreShortestAndHaveAFraction) {
    EXPECT_EQ(text(30.0), "30.0");
    EXPECT_EQ(text(24000.0 / 1001), "23.976023976023978");
    EXPECT_EQ(text(30000.0 / 1001), "29.97002997002997");
    EXPECT_EQ(text(0.0), "0.0");
    EXPECT_EQ(text(0.1), "0.1");
    EXPECT_EQ(text(-1.5), "-1.5");
    EXPECT_EQ(text(1e16), "10000000000000000.0");
    EXPECT_EQ(text(1e-7), "0.0000001");
}

TEST(JSONTest, theLargestAndSmallestDoublesAreWrittenOut) {
    EXPECT_EQ(std::stod(text(std::numeric_limits<double>::max())), std::numeric_limits<double>::max());
    EXPECT_EQ(std::stod(text(-std::numeric_limits<double>::min())), -std::numeric_limits<double>::min());
}

TEST(JSONTest, theWordsOfTheOtherKinds) {
    EXPECT_EQ(text(int64_t{-5}), "-5");
    EXPECT_EQ(text(true), "true");
    EXPECT_EQ(text(false), "false");
    EXPECT_EQ(text(nullptr), "null");
}

TEST(JSONTest, textIsQuotedScalarByScalar) {
    EXPECT_EQ(text("a\"b\\c/d"), "\"a\\\"b\\\\c/d\"");
    EXPECT_EQ(text("\t\n\r"), "\"\\t\\n\\r\"");
    EXPECT_EQ(text(std::string("\x00\x08\x1F", 3)), "\"\\u0000\\u0008\\u001f\"");
    EXPECT_EQ(text("\x7F Zoë 🎙"), "\"\x7F Zoë 🎙\"");
    EXPECT_EQ(text("\xFF"), "\"\xEF\xBF\xBD\"");
}

TEST(JSONTest, keysAreQuotedToo) {
    EXPECT_EQ(text(JSON::object("a\"b", 1.0)), "{\n  \"a\\\"b\": 1.0\n}");
}

} // namespace
} // namespace vintra::TimelineFile
