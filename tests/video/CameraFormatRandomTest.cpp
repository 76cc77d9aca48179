// The choice of a format and the cap on its rate against a second pair of functions, which sift the whole list
// step by step where the first compare one format with the next.

#include "Vintra/platform/simulated/SimulatedCamera.h"
#include "Vintra/video/CameraFormatChoice.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace vintra {
namespace {

using Format = AVCaptureDeviceFormat;
using Range = AVFrameRateRange;

double siftedTopRate(const Format& format) {
    std::vector<double> tops{0};
    for (const Range& range : format.videoSupportedFrameRateRanges)
        tops.push_back(range.maxFrameRate);
    std::sort(tops.begin(), tops.end());
    return tops.back();
}

std::optional<Format> siftedChoice(const std::vector<Format>& all, std::optional<double> cap,
                                   int32_t maxHeight) {
    const double target = !cap || *cap > 30 ? 30.0 : *cap;
    std::vector<Format> left;
    for (const Format& format : all) {
        const int32_t w = format.formatDescription.dimensions.width;
        const int32_t h = format.formatDescription.dimensions.height;
        if (w < 1 || h < 1 || w > 3840) continue;
        if (maxHeight < 2161 ? h > maxHeight : h > 2160) continue;
        const double aspect = double(w) / double(h) - 16.0 / 9.0;
        if (aspect >= 0.02 || aspect <= -0.02) continue;
        if (siftedTopRate(format) < 23.99) continue;
        left.push_back(format);
    }
    if (left.empty()) return std::nullopt;
    const auto keep = [&left](auto value, auto better) {
        auto best = value(left.front());
        for (const Format& format : left) {
            if (better(value(format), best)) best = value(format);
        }
        std::erase_if(left, [&](const Format& format) { return value(format) != best; });
    };
    keep(
        [](const Format& format) {
            return int64_t{format.formatDescription.dimensions.width} *
                   format.formatDescription.dimensions.height;
        },
        std::greater<>());
    keep(
        [](const Format& format) {
            return format.formatDescription.mediaSubType == 0x34323076; /* 420v */
        },
        std::greater<>());
    keep(
        [target](const Format& format) {
            const double m = siftedTopRate(format);
            return m >= target - 0.01 ? m - target : target - m + 1000;
        },
        std::less<>());
    return left.front();
}

std::optional<CMTime> siftedDuration(double cap, const Format& format) {
    if (siftedTopRate(format) <= cap + 0.01) return std::nullopt;
    std::vector<Range> under;
    for (const Range& range : format.videoSupportedFrameRateRanges) {
        if (range.maxFrameRate <= cap + 0.01) under.push_back(range);
    }
    std::stable_sort(under.begin(), under.end(),
                     [](const Range& a, const Range& b) { return a.maxFrameRate > b.maxFrameRate; });
    if (!under.empty()) return under.front().minFrameDuration;
    for (const Range& range : format.videoSupportedFrameRateRanges) {
        if (range.minFrameRate <= cap && cap <= range.maxFrameRate)
            return CMTimeMake(1000, int32_t(std::lround(cap * 1000)));
    }
    return std::nullopt;
}

/// Draws lists in which ties and near misses are common.
class FormatSource {
public:
    explicit FormatSource(unsigned seed)
        : random(seed) {}

    std::vector<Format> list() {
        std::vector<Format> formats(index(14));
        for (Format& format : formats)
            format = one();
        return formats;
    }
    double rate() { return pick(kRates); }
    Format one() {
        struct Size {
            int32_t width, height;
        };
        static constexpr Size sizes[] = {{1920, 1080}, {1920, 1080}, {1080, 1920}, {1280, 720},
                                         {1600, 1200}, {3840, 2160}, {3840, 2160}, {4096, 2160},
                                         {1366, 768},  {864, 488},   {640, 480},   {1, 1},
                                         {0, 0},       {1920, 1088}, {2560, 1440}};
        const Size size = pick(sizes);
        Format format = index(3) == 0   ? SimulatedCamera::format(size.width, size.height, "2vuy", 1, 30)
                        : index(2) == 0 ? SimulatedCamera::format(size.width, size.height, "yuvs", 1, 30)
                                        : SimulatedCamera::format(size.width, size.height, "420v", 1, 30);
        format.videoSupportedFrameRateRanges.clear();
        for (size_t count = index(5); count > 0; --count) {
            const double a = rate();
            const double b = index(2) == 0 ? a : rate();
            const Format ranged = SimulatedCamera::format(1, 1, "420v", std::min(a, b), std::max(a, b));
            format.videoSupportedFrameRateRanges.push_back(ranged.videoSupportedFrameRateRanges.front());
        }
        return format;
    }
    std::optional<double> cap() {
        if (index(6) == 0) return std::nullopt;
        return pick(kRates);
    }
    int32_t maxHeight() {
        static constexpr int32_t heights[] = {1080, 2160, 2161, 720};
        return pick(heights);
    }

private:
    static constexpr double kRates[] = {5,     10,    15, 23.976, 23.98, 23.99, 24, 25,    29.97,
                                        29.98, 29.99, 30, 30.01,  30.02, 50,    60, 59.94, 120};
    size_t index(size_t count) { return std::uniform_int_distribution<size_t>(0, count - 1)(random); }
    template <typename Value, size_t Count>
    Value pick(const Value (&from)[Count]) {
        return from[index(Count)];
    }
    std::mt19937 random;
};

/// The parameter is the seed.
class CameraFormatRandomTest : public testing::TestWithParam<unsigned> {};

TEST_P(CameraFormatRandomTest, bothChooseTheSame) {
    FormatSource source(GetParam());
    int chosen = 0;
    for (int i = 0; i < 2000; ++i) {
        const auto formats = source.list();
        const auto cap = source.cap();
        const int32_t maxHeight = source.maxHeight();
        const auto expected = siftedChoice(formats, cap, maxHeight);
        ASSERT_EQ(bestCameraFormat(formats, cap, maxHeight), expected) << "list " << i;
        chosen += expected.has_value();
    }
    EXPECT_GT(chosen, 500) << "there was something to choose";
}

TEST_P(CameraFormatRandomTest, bothHoldToTheSameRate) {
    FormatSource source(GetParam());
    int held = 0;
    for (int i = 0; i < 5000; ++i) {
        const Format format = source.one();
        const double cap = source.rate();
        const auto expected = siftedDuration(cap, format);
        const auto duration = cappedFrameDuration(cap, format);
        ASSERT_EQ(duration.has_value(), expected.has_value()) << "format " << i;
        if (!expected) continue;
        ++held;
        ASSERT_EQ(describe(*duration), describe(*expected)) << "format " << i;
        ASSERT_LE(1 / CMTimeGetSeconds(*duration), cap + 0.02);
    }
    EXPECT_GT(held, 500);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CameraFormatRandomTest, testing::Range(1u, 9u));

} // namespace
} // namespace vintra
