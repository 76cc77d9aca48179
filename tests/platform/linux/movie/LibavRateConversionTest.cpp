#include "Vintra/platform/linux/movie/LibavRateConversion.h"

#include "Vintra/platform/simulated/SimulatedRateConversion.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace vintra {
namespace {

double toneAt(double frame, double frequency) {
    return 0.5 * std::sin(2 * std::numbers::pi * frequency * frame / 48'000);
}

std::vector<float> stretchedTone(RateConversion& conversion, uint32_t channels, double stretch,
                                 int64_t frames, double frequency) {
    const auto converter = conversion.makeConverter(channels, stretch);
    std::vector<float> out;
    std::vector<float> piece;
    for (int64_t frame = 0; frame < frames; ++frame) {
        for (uint32_t channel = 0; channel < channels; ++channel)
            piece.push_back(
                static_cast<float>(toneAt(static_cast<double>(frame), frequency * (channel + 1))));
        if (frame % 10'000 != 9'999 && frame + 1 != frames) continue;
        converter->convert(piece, out);
        piece.clear();
    }
    converter->finish(out);
    return out;
}

/// The largest difference to the same tone, heard by a clock that is off by the ratio, away from the ends.
double worstToneError(const std::vector<float>& out, uint32_t channels, double stretch, double frequency) {
    double worst = 0;
    for (size_t frame = 4'000; (frame + 4'000) * channels < out.size(); ++frame) {
        for (uint32_t channel = 0; channel < channels; ++channel) {
            const double expected = toneAt(static_cast<double>(frame) / stretch, frequency * (channel + 1));
            worst =
                std::max(worst, std::fabs(static_cast<double>(out[frame * channels + channel]) - expected));
        }
    }
    return worst;
}

TEST(LibavRateConversionTest, aToneStaysATone) {
    LibavRateConversion conversion;
    for (const double stretch : {1 + 37e-6, 1 - 100e-6, 1 + 100e-6}) {
        for (const uint32_t channels : {1u, 2u}) {
            const auto out = stretchedTone(conversion, channels, stretch, 960'000, 997);
            EXPECT_NEAR(static_cast<double>(out.size() / channels), 960'000 * stretch, 1);
            // A ten-thousandth of a frame is 1.3e-5 rad of this tone.
            EXPECT_LT(worstToneError(out, channels, stretch, 997), 6.5e-6 * channels) << stretch;
        }
    }
}

TEST(LibavRateConversionTest, theSimulatedOneDoesTheSame) {
    SimulatedRateConversion conversion;
    const auto out = stretchedTone(conversion, 2, 1 + 100e-6, 100'000, 997);
    EXPECT_EQ(out.size() / 2, 100'010u);
    EXPECT_LT(worstToneError(out, 2, 1 + 100e-6, 997), 1e-5);
}

TEST(LibavRateConversionTest, aShortRunComesOutWhole) {
    LibavRateConversion conversion;
    for (const int64_t frames : {1, 100, 5'000}) {
        const auto out = stretchedTone(conversion, 1, 1 + 50e-6, frames, 440);
        EXPECT_NEAR(static_cast<double>(out.size()), static_cast<double>(frames), 1) << frames;
    }
}

} // namespace
} // namespace vintra
