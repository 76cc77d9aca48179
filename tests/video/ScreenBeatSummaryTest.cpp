#include "Vintra/video/ScreenBeatSummary.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(ScreenBeatSummaryTest, upTo30ItTellsOfABeat) {
    EXPECT_EQ(screenBeatSummary(30, {.repeated = 12, .leftOut = 3, .skipped = 4}),
              "on a 30 fps beat: 12 repeated, 3 left out, 4 skipped while the writer was behind");
}

TEST(ScreenBeatSummaryTest, above30ItTellsOfAGrid) {
    EXPECT_EQ(screenBeatSummary(60, {.repeated = 1, .leftOut = 3, .skipped = 0}),
              "on a 60 fps grid, no copies: 3 left out");
    EXPECT_EQ(screenBeatSummary(31, {}), "on a 31 fps grid, no copies: 0 left out");
}

} // namespace
} // namespace vintra
