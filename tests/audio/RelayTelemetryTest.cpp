#include "Vintra/audio/RelayTelemetry.h"

#include <gtest/gtest.h>

namespace vintra {
namespace {

class FixedWallClock : public WallClock {
public:
    Date now() const override { return {}; }
    LocalTime localTime(Date) const override { return {2026, 3, 7, 9, 5, 1}; }
};

std::string summary(const RelayTelemetry& telemetry) {
    return telemetry.summary(FixedWallClock());
}

TEST(RelayTelemetryTest, aRelayThatNeverRanSaysSoInItsLine) {
    RelayTelemetry telemetry;
    telemetry.destination = "device 42";
    telemetry.targetFrames = 1024;
    telemetry.sourceRange = "unknown";
    EXPECT_EQ(
        summary(telemetry),
        "target 1024 (0ms) · now 0 (0ms) · low — · high 0 · 0 underruns, 0 overruns · 0 skips, 0 repeats, "
        "0 primes · buffers 0/0 (device allows unknown) · cycle in 0/out 0 · 0s @0.0k · out to device 42");
}

TEST(RelayTelemetryTest, aLongRunFillsEveryPlaceOfTheLine) {
    RelayCounters counters;
    counters.targetFillFrames = 2048;
    counters.grows = 1;
    counters.writeIndex = 2'881'920;
    counters.readIndex = 2'880'000;
    counters.fillLow = 480;
    counters.fillHigh = 2600;
    counters.fillHighAtFrame = 96'000;
    counters.underruns = 3;
    counters.overruns = 1;
    counters.skips = 7;
    counters.firstSkipAtFrame = 100'800;
    counters.lastSkipAtFrame = 2'400'000;
    counters.repeats = 5;
    counters.reprimes = 2;
    counters.sourceCycleFrames = 512;
    counters.outputCycleFrames = 480;
    RelayTelemetry telemetry;
    telemetry.setCounters(counters);
    telemetry.destination = "Kopfhörer";
    telemetry.lowLatency = true;
    telemetry.sourceBufferFrames = 64;
    telemetry.outputBufferFrames = 512;
    telemetry.sourceRange = "14-4096";
    telemetry.seconds = 60.4;
    telemetry.sampleRate = 48'000;
    telemetry.startedAt = Date{1};
    // 2048/48 = 42.7, 1920/48 = 40, 480/48 = 10 ms; 96,000 frames are 2.0 s, 100,800 are 2.1 s.
    EXPECT_EQ(
        summary(telemetry),
        "target 2048 (43ms) · now 1920 (40ms) · low 480 (10ms) · high 2600 at 2.0s · 3 underruns, 1 "
        "overruns · 7 skips (2.1s–50.0s), 5 repeats, 2 primes · LOW LATENCY · buffers 64/512 (device "
        "allows 14-4096) · grew 1x · cycle in 512/out 480 · 60s @48.0k from 09:05:01 · out to Kopfhörer");
}

TEST(RelayTelemetryTest, withoutARateNothingIsGivenInSeconds) {
    RelayTelemetry telemetry;
    telemetry.destination = "Speakers";
    telemetry.sourceRange = "unknown";
    telemetry.fillHigh = 900;
    telemetry.fillHighAtFrame = 5000;
    telemetry.fillLow = 100;
    telemetry.skips = 1;
    telemetry.firstSkipAtFrame = telemetry.lastSkipAtFrame = 4000;
    EXPECT_EQ(summary(telemetry), "target 0 (0ms) · now 0 (0ms) · low 100 (0ms) · high 900 · 0 underruns, "
                                  "0 overruns · 1 skips, 0 repeats, 0 primes · buffers 0/0 (device "
                                  "allows unknown) · cycle in 0/out 0 · 0s @0.0k · out to Speakers");
}

} // namespace
} // namespace vintra
