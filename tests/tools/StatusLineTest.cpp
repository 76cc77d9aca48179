#include "tools/vintra-take/StatusLine.h"

#include <gtest/gtest.h>
#include <limits>

namespace vintra {
namespace {

TEST(StatusLineTest, itShowsTimeLevelsAndLosses) {
    EXPECT_EQ(
        statusLine(
            {.elapsed = "0:12", .levels = {{"mic", 0.5}, {"input 1", 0}}, .hasScreen = true, .lostFrames = 3},
            79),
        "Recording 0:12  mic [#####.....]  input 1 [..........]  3 frames lost");
}

TEST(StatusLineTest, oneFrameIsOneAndWithoutAScreenThereIsNone) {
    EXPECT_EQ(statusLine({.elapsed = "1:00:00", .levels = {}, .hasScreen = true, .lostFrames = 1}, 79),
              "Recording 1:00:00  1 frame lost");
    EXPECT_EQ(statusLine({.elapsed = "0:01", .levels = {}, .hasScreen = false, .lostFrames = 1}, 79),
              "Recording 0:01");
}

TEST(StatusLineTest, levelsOutsideTheMeterFillOrEmptyIt) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(statusLine({.elapsed = "0:01", .levels = {{"a", 7}, {"b", -1}, {"c", nan}}}, 79),
              "Recording 0:01  a [##########]  b [..........]  c [..........]");
}

TEST(StatusLineTest, itNeverWrapsNorCutsACharacterInTwo) {
    EXPECT_EQ(statusLine({.elapsed = "0:01", .levels = {{"ßßß", 1}}}, 18), "Recording 0:01  ßß");
    EXPECT_EQ(statusLine({.elapsed = "0:01", .levels = {}}, 0), "");
}

} // namespace
} // namespace vintra
