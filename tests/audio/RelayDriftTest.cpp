#include "Vintra/audio/RelayRing.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

// A relay between two devices whose clocks never agree, on virtual time: cycles come when the devices' clocks
// say, for up to a day.

namespace vintra {
namespace {

constexpr double kNominalRate = 48'000;
constexpr double kHour = 3600;
/// Passages of the cycles of one side over those of the other that a relay may take to find its target.
constexpr int kSettlingPassages = 40;

struct Devices {
    int64_t sourceFrames;
    int64_t outputFrames;
    double sourcePPM; ///< how much faster the source's clock runs than the output's
    double hours;
};

void PrintTo(const Devices& devices, std::ostream* out) {
    *out << devices.sourceFrames << " frames in, " << devices.outputFrames << " out, " << devices.sourcePPM
         << " ppm, " << devices.hours << " h";
}

/// From one passage of the shorter cycles over the longer ones to the next.
double secondsBetweenPassages(const Devices& devices) {
    const auto shorter = static_cast<double>(std::min(devices.sourceFrames, devices.outputFrames));
    return shorter / (kNominalRate * std::abs(devices.sourcePPM) * 1e-6);
}

/// Lowest and highest fill that output cycles found.
struct FillRange {
    int64_t low = std::numeric_limits<int64_t>::max();
    int64_t high = 0;
};

class SimulatedRelay {
public:
    explicit SimulatedRelay(const Devices& devices)
        : devices(devices)
        , ring(RelayTarget::initial(static_cast<uint32_t>(devices.sourceFrames),
                                    static_cast<uint32_t>(devices.outputFrames), 0))
        , input(static_cast<size_t>(devices.sourceFrames) * 2)
        , output(static_cast<size_t>(devices.outputFrames) * 2) {}

    FillRange run(double seconds) {
        end += seconds;
        FillRange range;
        const double sourceRate = kNominalRate * (1 + devices.sourcePPM * 1e-6);
        while (true) {
            const double nextIn =
                static_cast<double>((cyclesIn + 1) * devices.sourceFrames) / sourceRate + lateness;
            const double nextOut = static_cast<double>((cyclesOut + 1) * devices.outputFrames) / kNominalRate;
            if (std::min(nextIn, nextOut) > end) return range;
            if (nextIn <= nextOut) {
                ++cyclesIn;
                give();
                if (jitterSeconds > 0) lateness = std::uniform_real_distribution(0.0, jitterSeconds)(random);
            } else {
                ++cyclesOut;
                const auto before = ring.counters();
                range.low = std::min(range.low, before.fill());
                range.high = std::max(range.high, before.fill());
                take();
            }
        }
    }

    const Devices devices;
    RelayRing ring;
    bool checksContent = false;
    double jitterSeconds = 0; ///< how late a source cycle may come
    std::mt19937 random;
    int64_t passedOver = 0; ///< frames found missing in the output
    int64_t doubled = 0;    ///< frames found twice in the output
    int64_t silent = 0;     ///< silent frames in the output behind the first that wasn't

private:
    void give() {
        if (checksContent) {
            for (size_t index = 0; index < input.size(); index += 2) {
                given = given % kNumbers + 1;
                input[index] = static_cast<float>(given);
                input[index + 1] = -input[index];
            }
        }
        const AudioBuffer buffer{2, static_cast<uint32_t>(input.size() * 4), input.data()};
        ring.consume({&buffer, 1});
    }
    void take() {
        const AudioBuffer buffer{2, static_cast<uint32_t>(output.size() * 4), output.data()};
        ring.produce({&buffer, 1});
        if (!checksContent) return;
        for (size_t index = 0; index < output.size(); index += 2) {
            const auto number = static_cast<int64_t>(output[index]);
            ASSERT_EQ(output[index + 1], -output[index]);
            if (number == 0) {
                silent += previous != 0;
                continue;
            }
            if (previous != 0) {
                const int64_t step = (number - previous + kNumbers) % kNumbers;
                doubled += step == 0;
                passedOver += step == 0 ? 0 : step - 1;
            }
            previous = number;
        }
    }

    static constexpr int64_t kNumbers = 8'000'000; ///< frames are numbered 1 to this, and so on from 1
    int64_t cyclesIn = 0;
    int64_t cyclesOut = 0;
    double end = 0;
    double lateness = 0;
    std::vector<float> input;
    std::vector<float> output;
    int64_t given = 0;
    int64_t previous = 0;
};

class RelayDriftTest : public testing::TestWithParam<Devices> {};

TEST_P(RelayDriftTest, onceSettledNothingIsLostAndTheFillStaysWhereItIs) {
    SimulatedRelay relay(GetParam());
    const double settling = kSettlingPassages * secondsBetweenPassages(GetParam()) +
                            2048 / (kNominalRate * std::abs(GetParam().sourcePPM) * 1e-6); // into the band
    relay.run(settling);
    const auto settled = relay.ring.counters();
    const double part = (GetParam().hours * kHour - settling) / 4;
    ASSERT_GT(part, secondsBetweenPassages(GetParam()));
    const FillRange first = relay.run(part);
    relay.run(2 * part);
    const FillRange last = relay.run(part);
    const auto ended = relay.ring.counters();
    EXPECT_EQ(ended.underruns, settled.underruns);
    EXPECT_EQ(ended.overruns, 0);
    EXPECT_EQ(ended.grows, settled.grows);
    EXPECT_EQ(ended.targetFillFrames, settled.targetFillFrames);
    // A few frames: cycles of the two sides fall together at other places from one part to the next.
    EXPECT_NEAR(static_cast<double>(last.low), static_cast<double>(first.low), 4);
    EXPECT_NEAR(static_cast<double>(last.high), static_cast<double>(first.high), 4);
    // All that drifts apart in the time is made up for by single frames.
    const double drifted = 4 * part * kNominalRate * GetParam().sourcePPM * 1e-6;
    const auto corrected =
        static_cast<double>(ended.skips - settled.skips - (ended.repeats - settled.repeats));
    EXPECT_NEAR(corrected, drifted, 4096);
    EXPECT_TRUE(GetParam().sourcePPM > 0 ? ended.repeats == settled.repeats : ended.skips == settled.skips);
}

// Cycles that add up to 3072 frames at most: then the largest target leaves one cycle of each side.
INSTANTIATE_TEST_SUITE_P(aDay, RelayDriftTest,
                         testing::Values(Devices{2048, 2048, 100, 24}, Devices{1024, 2048, 500, 24},
                                         Devices{2048, 1024, -500, 24}, Devices{1024, 2048, -100, 24},
                                         Devices{1024, 1024, -500, 24}));

INSTANTIATE_TEST_SUITE_P(shorterCycles, RelayDriftTest,
                         testing::Values(Devices{512, 512, 500, 2}, Devices{512, 512, -500, 2},
                                         Devices{512, 512, 100, 2}, Devices{480, 1024, -100, 2},
                                         Devices{256, 256, -500, 1}, Devices{256, 256, 500, 1},
                                         Devices{128, 128, -100, 0.5}, Devices{64, 64, 500, 0.25},
                                         Devices{64, 64, -500, 0.25}, Devices{32, 32, -500, 0.1},
                                         Devices{32, 32, 500, 0.1}, Devices{32, 2048, -100, 0.25},
                                         Devices{32, 2048, 500, 0.25}, Devices{2048, 32, -100, 0.25},
                                         Devices{1024, 32, 500, 0.25}));

TEST(RelayDriftContentTest, everyCorrectionIsCountedAndFoundInTheSound) {
    for (const double ppm : {500.0, -500.0}) {
        SimulatedRelay relay({512, 512, ppm, 0});
        relay.checksContent = true;
        relay.run(450); // a passage every 21 s, of which the target of 2048 takes three
        const int64_t silentBefore = relay.silent;
        relay.run(60);
        const auto counters = relay.ring.counters();
        EXPECT_EQ(relay.doubled, counters.repeats) << ppm;
        // What is still in the ring has not been heard; skips above the band fall there, one a cycle at most.
        EXPECT_LE(relay.passedOver, counters.skips) << ppm;
        EXPECT_GE(relay.passedOver, counters.skips - counters.fill() / 512 - 1) << ppm;
        EXPECT_GT(counters.skips + counters.repeats, 5000) << ppm; // 24 frames a second
        EXPECT_EQ(relay.silent, silentBefore) << ppm;
    }
}

TEST(RelayDriftContentTest, soundThatComesLateWithinTheBandLosesNothing) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    SimulatedRelay relay({512, 512, -500, 0});
    relay.random.seed(seed);
    relay.jitterSeconds = 0.004; // 192 frames
    relay.run(kSettlingPassages * secondsBetweenPassages(relay.devices));
    const auto settled = relay.ring.counters();
    relay.run(600);
    EXPECT_EQ(relay.ring.counters().underruns, settled.underruns);
    EXPECT_EQ(relay.ring.counters().skips, settled.skips);
}

TEST(RelayDriftContentTest, twoOfTheLongestCyclesAreMoreThanGrowthCanCover) {
    // Repeats raise the fill to 3072; a source cycle of 2048 that comes after the output's instead of before
    // leaves 1024 for an output cycle of 2048. That is once in 2048 / 4.8 frames a second = 426.7 s.
    SimulatedRelay relay({2048, 2048, -100, 0});
    relay.run(kHour);
    const auto settled = relay.ring.counters();
    EXPECT_EQ(settled.targetFillFrames, 4096);
    relay.run(6 * kHour);
    EXPECT_NEAR(static_cast<double>(relay.ring.counters().underruns - settled.underruns), 6 * kHour / 426.7,
                1);
}

TEST(RelayDriftContentTest, oneFrameACycleIsTheMostThatIsMadeUpFor) {
    // 500 ppm are 24 frames a second; cycles of 2048 frames come 23.449 times a second.
    SimulatedRelay relay({2048, 2048, 500, 0});
    relay.run(600);
    const FillRange before = relay.run(600);
    relay.run(3000);
    const FillRange after = relay.run(600);
    EXPECT_NEAR(static_cast<double>(after.high - before.high) / 3600, 24 - 23.449, 0.01);
}

} // namespace
} // namespace vintra
