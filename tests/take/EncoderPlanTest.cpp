#include "Vintra/take/EncoderPlan.h"

#include "tests/take/CameraTakeFixture.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vintra {
namespace {

using enum AVVideoEncoderSpeed;
using Speeds = std::vector<AVVideoEncoderSpeed>;

constexpr CMVideoDimensions kPlannedFullHD{1920, 1080};
constexpr CMVideoDimensions kPlanned4K{3840, 2160};
constexpr CMVideoDimensions kPlannedVGA{640, 480};

Speeds speedsOf(const std::vector<EncodedPictures>& movies, int processors) {
    return EncoderPlan::make(movies, processors).speeds;
}

// 14 ms for a full HD picture of noise: at 30 a second 0.42 of a processor, at 60 0.84.

TEST(EncoderPlanTest, oneMovieIsMadeFastWhereItAloneIsTooMuch) {
    // 0.84 of 2; 1.68 of 4 and of 2.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 60}}, 2), Speeds{standard});
    EXPECT_EQ(speedsOf({{kPlanned4K, 30}}, 4), Speeds{standard});
    EXPECT_EQ(speedsOf({{kPlanned4K, 30}}, 2), Speeds{fast});
    EXPECT_TRUE(speedsOf({}, 2).empty());
}

TEST(EncoderPlanTest, moviesThatFitInHalfTheProcessorsStayAsTheyAre) {
    // 0.84 of 2 processors.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 30}, {kPlannedFullHD, 30}}, 2), (Speeds{standard, standard}));
    // 1.68 of 4.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 60}, {kPlannedFullHD, 30}, {kPlannedFullHD, 30}}, 4),
              (Speeds{standard, standard, standard}));
}

TEST(EncoderPlanTest, theMovieThatNeedsMostIsMadeFastFirst) {
    // 1.26 of 2; with the screen fast 0.56 + 0.42 = 0.98.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 60}, {kPlannedFullHD, 30}}, 2), (Speeds{fast, standard}));
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 30}, {kPlannedFullHD, 60}}, 2), (Speeds{standard, fast}));
}

TEST(EncoderPlanTest, asManyAsItTakesAreMadeFast) {
    // 1.68 of 2: fast 0.56 + 0.28 + 0.28 = 1.12 is still more than half, and all that can be done.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 60}, {kPlannedFullHD, 30}, {kPlannedFullHD, 30}}, 2),
              (Speeds{fast, fast, fast}));
    // 0.42 + 0.42 + 0.42 of 2: the first fast 1.12, the second 0.98.
    EXPECT_EQ(speedsOf({{kPlannedFullHD, 30}, {kPlannedFullHD, 30}, {kPlannedFullHD, 30}}, 2),
              (Speeds{fast, fast, standard}));
}

TEST(EncoderPlanTest, aSmallMovieKeepsItsQualityBesideALargeOne) {
    // 1.68 for 4K, 0.06 for each VGA.
    EXPECT_EQ(speedsOf({{kPlanned4K, 30}, {kPlannedVGA, 30}, {kPlannedVGA, 30}}, 3),
              (Speeds{fast, standard, standard}));
}

TEST(EncoderPlanTest, noProcessorsCountAsOne) {
    EXPECT_EQ(speedsOf({{kPlannedVGA, 30}, {kPlannedVGA, 30}}, 0), (Speeds{standard, standard}));
}

TEST(EncoderPlanTest, aMovieThatIsNotThereIsStandard) {
    EXPECT_EQ(EncoderPlan().speed(3), standard);
}

TEST(EncoderPlanTest, thePlanIsToldInFigures) {
    const auto plan = EncoderPlan::make({{kPlannedFullHD, 60}, {kPlannedFullHD, 30}}, 2);
    // 186.624 million pixels; (0.56 + 0.42) / 2.
    EXPECT_EQ(plan.summary(2),
              "2 movies, 186.6 megapixels a second on 2 processors: 1 encoded fast, at worst 49% "
              "of the processors");
    EXPECT_EQ(
        EncoderPlan::make({{kPlannedVGA, 30}}, 1).summary(1),
        "1 movie, 9.2 megapixels a second on 1 processor: 0 encoded fast, at worst 6% of the processors");
}

/// Takes whose movies share the machine.
class EncoderPlanTakeTest : public CameraTakeFixture {
protected:
    AVVideoEncoderSpeed speedOf(const std::string& name) const {
        return cameraTrack(name)->videoSettings()->encoderSpeed;
    }
    void useFullHDScreen() {
        machine.screens->list[0].backingScaleFactor = 1;
        machine.screenCapture->content.displays = {{.displayID = 1, .width = 1920, .height = 1080}};
    }
};

TEST_F(EncoderPlanTakeTest, eachMovieIsHandedItsSpeed) {
    useFullHDScreen();
    machine.processInfo->processors = 2;
    machine.cameras->plug("desk", "Desk"); // 1920 × 1080 at 30
    plugCamera("small", "Small");
    selectCamera("desk");
    addCamera("small");
    recorder->screenFrameRate.set(60); // by hand
    recordFor(1);
    EXPECT_EQ(speedOf("take_video.mov"), AVVideoEncoderSpeed::fast);
    EXPECT_EQ(speedOf("take_webcam.mov"), AVVideoEncoderSpeed::standard);
    EXPECT_EQ(speedOf("take_webcam-2.mov"), AVVideoEncoderSpeed::standard);
    const std::string told =
        "3 movies, 186.6 megapixels a second on 2 processors: 1 encoded fast, at worst 49% of "
        "the processors";
    EXPECT_EQ(recorder->lastEncoderSummary, told);
    EXPECT_EQ(machine.log->texts("encoders"), std::vector<std::string>{told});
}

TEST_F(EncoderPlanTakeTest, withoutAScreenTheCamerasAreCountedFromTheFirst) {
    machine.processInfo->processors = 2;
    machine.cameras->plug("desk", "Desk");
    plugCamera("small", "Small");
    selectCamera("small");
    for (int i = 0; i < 3; ++i)
        addCamera("desk");
    recorder->screenEnabled.set(false);
    recordFor(1);
    EXPECT_EQ(speedOf("take_webcam.mov"), AVVideoEncoderSpeed::standard);
    EXPECT_EQ(speedOf("take_webcam-2.mov"), AVVideoEncoderSpeed::fast);
    EXPECT_EQ(speedOf("take_webcam-3.mov"), AVVideoEncoderSpeed::fast);
    EXPECT_EQ(speedOf("take_webcam-4.mov"), AVVideoEncoderSpeed::standard);
}

TEST_F(EncoderPlanTakeTest, theScreenAloneIsStandardWhereHalfTheProcessorsAreEnough) {
    useFullHDScreen();
    machine.processInfo->processors = 2;
    recorder->screenFrameRate.set(60);
    recordFor(1);
    EXPECT_EQ(speedOf("take_video.mov"), AVVideoEncoderSpeed::standard);
}

TEST_F(EncoderPlanTakeTest, theScreenAloneIsFastWhereHalfTheProcessorsAreNot) {
    useFullHDScreen();
    machine.processInfo->processors = 1;
    recorder->screenFrameRate.set(60);
    recordFor(1);
    EXPECT_EQ(speedOf("take_video.mov"), AVVideoEncoderSpeed::fast);
}

} // namespace
} // namespace vintra
