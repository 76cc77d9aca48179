#include "Vintra/take/PictureStall.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

TEST(PictureStallTest, aPictureThatNeverStoodStillHasNothingToTell) {
    EXPECT_FALSE(pictureStall("webcam (Facing)", {}).has_value());
}

TEST(PictureStallTest, aFrozenStretchIsToldWithItsTimes) {
    const auto stall =
        pictureStall("webcam (Facing)", {.frozen = {{.from = 5.0, .to = 67.5}}, .stoppedAt = std::nullopt});
    ASSERT_TRUE(stall.has_value());
    EXPECT_EQ(stall->sentence, "Webcam (Facing) froze from 0:05 to 1:08.");
    EXPECT_EQ(stall->logLine, "camera picture on webcam (Facing): froze 5.00–67.50 · stopped at –");
}

TEST(PictureStallTest, aStretchUpToTheEndHasNoTime) {
    const auto stall = pictureStall("webcam 2 (Side)",
                                    {.frozen = {{.from = 3, .to = std::nullopt}}, .stoppedAt = std::nullopt});
    EXPECT_EQ(stall->sentence, "Webcam 2 (Side) froze from 0:03 to the end of the recording.");
    EXPECT_EQ(stall->logLine, "camera picture on webcam 2 (Side): froze 3.00–end · stopped at –");
}

TEST(PictureStallTest, aStoppedCameraIsToldBehindItsStretches) {
    const auto stall = pictureStall(
        "webcam (A)", {.frozen = {{.from = 1, .to = 4}, {.from = 9, .to = 12}}, .stoppedAt = 20.25});
    EXPECT_EQ(
        stall->sentence,
        "Webcam (A) froze from 0:01 to 0:04, and from 0:09 to 0:12, and stopped sending a picture at 0:20.");
    EXPECT_EQ(stall->logLine, "camera picture on webcam (A): froze 1.00–4.00, 9.00–12.00 · stopped at 20.25");
}

TEST(PictureStallTest, ofFourStretchesThreeAreTold) {
    const auto stall = pictureStall("webcam (A)", {.frozen = {{.from = 0, .to = 2},
                                                              {.from = 10, .to = 12},
                                                              {.from = 20, .to = 22},
                                                              {.from = 30, .to = 32}},
                                                   .stoppedAt = std::nullopt});
    EXPECT_EQ(stall->sentence, "Webcam (A) froze from 0:00 to 0:02, and from 0:10 "
                               "to 0:12, and from 0:20 to 0:22, and 1 more times.");
}

} // namespace
} // namespace vintra
