#include "Vintra/video/CameraFormatChoice.h"

#include "Vintra/platform/simulated/SimulatedCamera.h"
#include "Vintra/platform/simulated/SimulatedUserDefaults.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace vintra {
namespace {

using Format = AVCaptureDeviceFormat;

Format fixedRate(int32_t width, int32_t height, const char (&subtype)[5], double rate) {
    return SimulatedCamera::format(width, height, subtype, rate, rate);
}

/// Several rates, each by itself, as a camera lists them.
Format withRates(int32_t width, int32_t height, const std::vector<double>& rates) {
    Format format = fixedRate(width, height, "420v", rates.front());
    for (size_t i = 1; i < rates.size(); ++i) {
        format.videoSupportedFrameRateRanges.push_back(
            fixedRate(1, 1, "420v", rates[i]).videoSupportedFrameRateRanges.front());
    }
    return format;
}

struct Choice {
    std::string what;
    std::vector<Format> formats;
    std::optional<double> cap;
    int32_t maxHeight = 2160;
    int expected = 0; ///< index in the list; -1 for none
};

class CameraFormatChoiceTest : public testing::TestWithParam<Choice> {};

TEST_P(CameraFormatChoiceTest, theFormatIsTheExpectedOne) {
    const Choice& choice = GetParam();
    const auto chosen = bestCameraFormat(choice.formats, choice.cap, choice.maxHeight);
    if (choice.expected < 0) {
        EXPECT_FALSE(chosen.has_value()) << choice.what;
        return;
    }
    ASSERT_TRUE(chosen.has_value()) << choice.what;
    EXPECT_EQ(*chosen, choice.formats[static_cast<size_t>(choice.expected)]) << choice.what;
}

INSTANTIATE_TEST_SUITE_P(
    EdgeCases, CameraFormatChoiceTest,
    testing::Values(
        Choice{"60 against 30 at a cap of 30",
               {fixedRate(1920, 1080, "420v", 60), fixedRate(1920, 1080, "420v", 30)},
               30.0,
               2160,
               1},
        Choice{"the subtype comes before the rate",
               {fixedRate(1920, 1080, "2vuy", 30), fixedRate(1920, 1080, "420v", 60)},
               30.0,
               2160,
               1},
        Choice{"a 4:3 format of larger area is never chosen",
               {fixedRate(1600, 1200, "420v", 30), fixedRate(1280, 720, "420v", 30)},
               30.0,
               2160,
               1},
        Choice{"4K within 1080 lines",
               {fixedRate(3840, 2160, "420v", 30), fixedRate(1920, 1080, "420v", 30)},
               30.0,
               1080,
               1},
        Choice{"4K at its best",
               {fixedRate(1920, 1080, "420v", 30), fixedRate(3840, 2160, "420v", 24)},
               30.0,
               2160,
               1},
        Choice{"4096 × 2160 is too wide", {fixedRate(4096, 2160, "420v", 30)}, 30.0, 2160, -1},
        Choice{"a limit beyond 2160 lines is 2160",
               {fixedRate(3841, 2161, "420v", 30), fixedRate(3840, 2161, "420v", 30)},
               30.0,
               5000,
               -1},
        Choice{"23.98 is too slow", {fixedRate(1920, 1080, "420v", 23.98)}, 30.0, 2160, -1},
        Choice{"23.99 is kept", {fixedRate(1920, 1080, "420v", 23.99)}, 30.0, 2160, 0},
        Choice{"23.99 costs more than 240",
               {fixedRate(1920, 1080, "420v", 23.99), fixedRate(1920, 1080, "420v", 240)},
               30.0,
               2160,
               1},
        Choice{"a cap of 60 aims at 30",
               {fixedRate(1920, 1080, "420v", 60), fixedRate(1920, 1080, "420v", 30)},
               60.0,
               2160,
               1},
        Choice{"no cap aims at 30",
               {fixedRate(1920, 1080, "420v", 60), fixedRate(1920, 1080, "420v", 30)},
               std::nullopt,
               2160,
               1},
        Choice{"a cap of 25 aims at 25",
               {fixedRate(1920, 1080, "420v", 30), fixedRate(1920, 1080, "420v", 25)},
               25.0,
               2160,
               1},
        Choice{"29.97 reaches 29.98",
               {fixedRate(1920, 1080, "420v", 60), fixedRate(1920, 1080, "420v", 29.97)},
               29.98,
               2160,
               1},
        Choice{"29.97 doesn't reach 30",
               {fixedRate(1920, 1080, "420v", 29.97), fixedRate(1920, 1080, "420v", 60)},
               30.0,
               2160,
               1},
        Choice{"the first of equals stays",
               {fixedRate(1280, 720, "yuvs", 30), fixedRate(1280, 720, "2vuy", 30)},
               30.0,
               2160,
               0},
        Choice{"a later one of the same cost doesn't take over",
               {fixedRate(1280, 720, "420v", 30), fixedRate(1280, 720, "420v", 30)},
               30.0,
               2160,
               0},
        Choice{"the top rate of several counts",
               {withRates(1920, 1080, {15, 30, 5}), withRates(1920, 1080, {10, 60})},
               30.0,
               2160,
               0},
        Choice{"no size", {fixedRate(0, 0, "420v", 30), fixedRate(1920, 0, "420v", 30)}, 30.0, 2160, -1},
        Choice{"a negative size", {fixedRate(-1920, -1080, "420v", 30)}, 30.0, 2160, -1},
        Choice{"nothing to choose from", {}, 30.0, 2160, -1},
        Choice{"1366 × 768 is wide enough", {fixedRate(1366, 768, "420v", 30)}, 30.0, 2160, 0},
        // 16/9 is 1.7778; 864/488 is 1.7705, 16:10 is 1.6.
        Choice{"864 × 488 within a fiftieth, 16:10 not",
               {fixedRate(1920, 1200, "420v", 30), fixedRate(864, 488, "420v", 30)},
               30.0,
               2160,
               1}));

TEST(CameraFormatChoice, aFormatWithoutRatesIsNeverChosen) {
    Format format = fixedRate(1920, 1080, "420v", 30);
    format.videoSupportedFrameRateRanges.clear();
    EXPECT_FALSE(bestCameraFormat({format}, 30.0, 2160).has_value());
    EXPECT_FALSE(cappedFrameDuration(30, format).has_value());
}

TEST(CappedFrameDurationTest, aFormatThatStaysWithinTheCapRunsFree) {
    EXPECT_FALSE(cappedFrameDuration(60, fixedRate(1920, 1080, "420v", 60)).has_value());
    EXPECT_FALSE(cappedFrameDuration(29.97, fixedRate(1920, 1080, "420v", 29.97)).has_value());
    EXPECT_FALSE(
        cappedFrameDuration(29.97, SimulatedCamera::format(1920, 1080, "420v", 1, 29.98)).has_value())
        << "a hundredth above is within it";
    EXPECT_FALSE(
        cappedFrameDuration(std::numeric_limits<double>::infinity(), fixedRate(1920, 1080, "420v", 240))
            .has_value());
}

TEST(CappedFrameDurationTest, oneRangeThatHoldsTheCapGivesItInThousandths) {
    EXPECT_EQ(describe(*cappedFrameDuration(30, SimulatedCamera::format(1920, 1080, "420v", 1, 60))),
              "1000/30000");
    EXPECT_EQ(describe(*cappedFrameDuration(23.976, SimulatedCamera::format(1920, 1080, "420v", 1, 60))),
              "1000/23976");
    EXPECT_EQ(describe(*cappedFrameDuration(29.9995, SimulatedCamera::format(1920, 1080, "420v", 1, 60))),
              "1000/30000")
        << "halves are rounded away from zero";
}

TEST(CappedFrameDurationTest, theFastestRangeUnderTheCapIsTaken) {
    EXPECT_EQ(describe(*cappedFrameDuration(30, withRates(1920, 1080, {60, 15, 29.97, 24}))), "1001/30000");
    EXPECT_EQ(describe(*cappedFrameDuration(30, withRates(1920, 1080, {60, 30, 15}))), "1/30");
    EXPECT_EQ(describe(*cappedFrameDuration(29.995, withRates(1920, 1080, {60, 30}))), "1/30")
        << "30 is within a hundredth of it";
}

TEST(CappedFrameDurationTest, aFormatThatCannotBeSlowerRunsFree) {
    EXPECT_FALSE(cappedFrameDuration(30, fixedRate(1920, 1080, "420v", 60)).has_value());
    EXPECT_FALSE(cappedFrameDuration(30, withRates(1920, 1080, {50, 60})).has_value());
}

TEST(CappedFrameDurationTest, aCapThatNoTimeScaleHoldsIsNone) {
    EXPECT_FALSE(cappedFrameDuration(0.0001, SimulatedCamera::format(1920, 1080, "420v", 0, 60)).has_value());
    Format fast = SimulatedCamera::format(1920, 1080, "420v", 1, 60);
    fast.videoSupportedFrameRateRanges[0].maxFrameRate = 1e12;
    EXPECT_FALSE(cappedFrameDuration(1e11, fast).has_value());
}

TEST(SameShapeTest, sizeSubtypeAndTopRateDecide) {
    const Format format = SimulatedCamera::format(1920, 1080, "420v", 1, 30);
    EXPECT_TRUE(sameShape(format, SimulatedCamera::format(1920, 1080, "420v", 15, 30)))
        << "the low end doesn't";
    EXPECT_TRUE(sameShape(format, withRates(1920, 1080, {5, 30.009})));
    EXPECT_FALSE(sameShape(format, SimulatedCamera::format(1920, 1080, "420v", 1, 30.02)));
    EXPECT_FALSE(sameShape(format, SimulatedCamera::format(1920, 1080, "420f", 1, 30)));
    EXPECT_FALSE(sameShape(format, SimulatedCamera::format(1920, 1088, "420v", 1, 30)));
    EXPECT_FALSE(sameShape(format, SimulatedCamera::format(1280, 1080, "420v", 1, 30)));
}

TEST(WebcamMaxFrameRateTest, theSettingLiftsOrSetsTheCap) {
    SimulatedUserDefaults defaults;
    EXPECT_EQ(webcamMaxFrameRate(defaults), 30.0);
    const auto with = [&defaults](DefaultsValue value) {
        defaults.values["webcamMaxFrameRate"] = std::move(value);
        return webcamMaxFrameRate(defaults);
    };
    EXPECT_EQ(with(59.94), 59.94);
    EXPECT_EQ(with(int64_t{60}), 60.0);
    EXPECT_EQ(with(0.0), std::nullopt);
    EXPECT_EQ(with(-1.0), std::nullopt);
    EXPECT_EQ(with(int64_t{0}), std::nullopt);
    EXPECT_EQ(with(std::string("60")), 30.0) << "of the wrong type";
    EXPECT_EQ(with(std::numeric_limits<double>::quiet_NaN()), 30.0);
}

} // namespace
} // namespace vintra
