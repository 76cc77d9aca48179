// Cameras of every usual rate for an hour, with stamps that jitter and clocks that drift: which picture stands in
// which slot of the movie, by the number in its pixels, against a second account of the grid in whole ticks.

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/video/CameraCaptureChain.h"
#include "Vintra/video/CameraTap.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace vintra {
namespace {

/// A picture of a movie by its place in it and by its number.
struct Numbered {
    int64_t slot = 0;
    int64_t number = 0;
    bool operator==(const Numbered&) const = default;
};

/// Keeps the numbers of the pictures that it is given, and none of their pixels.
class NumberedMovie : public AVAssetWriterInput {
public:
    NumberedMovie(CMTime origin, int32_t rate)
        : origin(origin)
        , rate(rate) {}

    AVMediaType mediaType() const override { return AVMediaType::video; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return true; }
    bool append(const CMSampleBuffer& sample) override {
        const CMTime pts = sample.presentationTimeStamp();
        // A slot is a whole number of ticks at 7,200,000 a second, or the time can't be exact. The phase, which is
        // a whole number of six hundredths of a second, is that of the first picture.
        if (!phaseTicks) phaseTicks = firstPhase(pts);
        const int64_t ticks = pts.value - origin.value - *phaseTicks;
        isExact = isExact && pts.timescale == kHostTimescale && !pts.hasBeenRounded() &&
                  ticks % (kHostTimescale / rate) == 0 &&
                  describe(sample.duration()) == "1/" + std::to_string(rate);
        pictures.push_back(
            {ticks / (kHostTimescale / rate), SimulatedCameraPictures::numberOf(*sample.imageBuffer())});
        return true;
    }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}

    std::vector<Numbered> pictures;
    bool isExact = true;
    std::optional<int64_t> phaseTicks;

private:
    int64_t firstPhase(CMTime pts) const {
        const int64_t sixHundredth = kHostTimescale / 600;
        const int64_t within = (pts.value - origin.value) % (kHostTimescale / rate);
        isOnSixHundredths = within % sixHundredth == 0;
        return within;
    }
    const CMTime origin;
    const int64_t rate;
    AVOutputSettings settings = AVVideoSettings{};

public:
    mutable bool isOnSixHundredths = false;
};

/// The grid by whole ticks and hundredths: the first picture fixes the phase; a picture within 0.65 of a slot of
/// the next slot takes it, a later one the nearest slot, an earlier one none. Empty slots show the picture before.
class TickedGrid {
public:
    TickedGrid(int64_t originTicks, int64_t rate)
        : origin(originTicks)
        , slotTicks(kHostTimescale / rate) {}

    void take(int64_t stampTicks, int64_t number) {
        const int64_t x = stampTicks - origin;
        if (x < 0) {
            ++leftOut;
            return;
        }
        if (phase < 0) phase = nearest(x % slotTicks, kSixHundredth) * kSixHundredth;
        int64_t slot = nearest(x - phase, slotTicks);
        if (!pictures.empty()) {
            const int64_t next = pictures.back().slot + 1;
            const int64_t distance = 100 * (x - phase - next * slotTicks); // hundredths of a tick
            if (distance < -65 * slotTicks) {
                ++leftOut;
                return;
            }
            if (distance <= 65 * slotTicks) slot = next;
            for (int64_t empty = next; empty < slot; ++empty, ++copied)
                pictures.push_back({empty, pictures.back().number});
        }
        pictures.push_back({slot, number});
    }

    std::vector<Numbered> pictures;
    int64_t leftOut = 0;
    int64_t copied = 0;
    int64_t phase = -1; ///< ticks

private:
    static constexpr int64_t kSixHundredth = kHostTimescale / 600;
    /// How many units, rounded to the nearest, halves away from zero.
    static int64_t nearest(int64_t ticks, int64_t unit) {
        const int64_t twice = 2 * ticks + (ticks < 0 ? -unit : unit);
        return twice / (2 * unit);
    }
    const int64_t origin;
    const int64_t slotTicks;
};

struct Pace {
    std::string name;
    CMTime interval; ///< between two pictures, by the camera's clock
    double drift;    ///< of that clock, in parts
    int32_t rate;    ///< slots a second
};

/// Hands pictures on to a function.
class PictureTaker : public AVCaptureDataOutputSampleBufferDelegate {
public:
    explicit PictureTaker(std::function<void(const CMSampleBuffer&)> take)
        : take(std::move(take)) {}
    void captureOutput(const std::shared_ptr<AVCaptureOutput>&, const CMSampleBuffer& sample) override {
        take(sample);
    }

private:
    const std::function<void(const CMSampleBuffer&)> take;
};

class CameraGridTest : public testing::TestWithParam<Pace> {
protected:
    static constexpr double kHour = 3600;

    /// An hour of the camera through its session, its queue and its tap.
    void record() {
        const Pace& pace = GetParam();
        SimulatedCamera script;
        script.uid = "cam";
        script.name = "Desk";
        script.formats = {SimulatedCamera::format(16, 9, "420v", 1, 60)};
        script.sendsEvery = pace.interval;
        script.clockRatio = 1 + pace.drift;
        script.stampError = [this](int64_t) { return jitter(random); };
        script.deliverySeconds = 0.03;
        script.lateness = [this](int64_t) { return jitter(random); };
        machine.cameras->plug(std::move(script));
        const auto device = machine.captureDevices->cameras().at(0);
        const auto queue = machine.dispatchQueues->makeSerialQueue("camera");
        const auto made = makeCameraCaptureChain(*machine.captureDevices, device, taker, queue);
        chain = std::get<CameraCaptureChain>(made);
        machine.run(0.4321); // so that the grid doesn't begin with the machine
        origin = machine.now();
        movie = std::make_shared<NumberedMovie>(origin, pace.rate);
        grid = std::make_unique<TickedGrid>(origin.value, pace.rate);
        tap.begin(origin, pace.rate);
        tap.setInput(movie);
        queue->sync([this] { chain.session->startRunning(); });
        machine.run(kHour);
        queue->sync([this] { chain.session->stopRunning(); });
        machine.settle();
    }
    void take(const CMSampleBuffer& sample) {
        grid->take(sample.presentationTimeStamp().value,
                   SimulatedCameraPictures::numberOf(*sample.imageBuffer()));
        ++sent;
        tap.frame(sample);
    }

    SimulatedMachine machine;
    std::mt19937 random{2024};
    std::uniform_real_distribution<double> jitter{-0.020, 0.020}; // seconds
    CMTime origin;
    CameraTap tap{machine.hostClock};
    CameraCaptureChain chain;
    std::shared_ptr<NumberedMovie> movie;
    std::unique_ptr<TickedGrid> grid;
    int64_t sent = 0;
    const std::shared_ptr<PictureTaker> taker =
        std::make_shared<PictureTaker>([this](const CMSampleBuffer& sample) { take(sample); });
};

TEST_P(CameraGridTest, eachSlotOfAnHourHoldsItsPicture) {
    record();
    const Pace& pace = GetParam();
    const double expected = kHour / CMTimeGetSeconds(pace.interval) * (1 + pace.drift);
    EXPECT_NEAR(static_cast<double>(sent), expected, 5);
    EXPECT_TRUE(movie->isExact);
    EXPECT_TRUE(movie->isOnSixHundredths);
    EXPECT_EQ(movie->phaseTicks, grid->phase);

    ASSERT_EQ(movie->pictures.size(), grid->pictures.size());
    const auto [different, other] = std::ranges::mismatch(movie->pictures, grid->pictures);
    ASSERT_EQ(different, movie->pictures.end())
        << "slot " << different->slot << " holds " << different->number << ", not " << other->number;

    // Every slot from the first to the last is there once, and a number is never seen again after another.
    for (size_t i = 1; i < movie->pictures.size(); ++i) {
        ASSERT_EQ(movie->pictures[i].slot, movie->pictures[i - 1].slot + 1);
        ASSERT_GE(movie->pictures[i].number, movie->pictures[i - 1].number);
    }
    EXPECT_NEAR(static_cast<double>(movie->pictures.size()), kHour * pace.rate, 5)
        << "the movie is as long as the hour, whatever the camera's clock says";
    EXPECT_EQ(tap.frames->read() + grid->leftOut, sent) << "each picture is written once, or has no slot";
    EXPECT_EQ(tap.drops->read(), 0);
    const std::string told =
        std::to_string(grid->copied) + " repeated, " + std::to_string(grid->leftOut) + " left out, 0 skipped";
    EXPECT_NE(tap.writeQueue->summary().find(told), std::string::npos)
        << told << " in " << tap.writeQueue->summary();
}

INSTANTIATE_TEST_SUITE_P(Paces, CameraGridTest,
                         testing::Values(Pace{"thirtyFast", CMTimeMake(1, 30), 200e-6, 30},
                                         Pace{"ntscSlow", CMTimeMake(1001, 30'000), -200e-6, 30},
                                         Pace{"palSlow", CMTimeMake(1, 25), -200e-6, 25},
                                         Pace{"filmFast", CMTimeMake(1, 24), 200e-6, 24},
                                         Pace{"sixtySlow", CMTimeMake(1, 60), -200e-6, 60}),
                         [](const auto& paced) { return paced.param.name; });

} // namespace
} // namespace vintra
