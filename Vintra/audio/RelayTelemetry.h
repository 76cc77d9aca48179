#pragma once

#include "Vintra/audio/RelayCounters.h"
#include "Vintra/platform/WallClock.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vintra {

/// How a relay is doing, taken at one moment. Sizes and counts in frames or cycles as in `RelayCounters`.
struct RelayTelemetry {
    std::string destination; ///< the output device's name
    bool lowLatency = false;
    int64_t sourceBufferFrames = 0;
    int64_t outputBufferFrames = 0;
    std::string sourceRange; ///< buffer sizes that the source allows, as "14-4096", or "unknown"
    int64_t sourceCycleFrames = 0;
    int64_t outputCycleFrames = 0;
    int64_t targetFrames = 0;
    int64_t grows = 0;
    int64_t fillNow = 0;
    int64_t fillLow = RelayCounters::kLargest;
    int64_t fillHigh = 0;
    int64_t framesIn = 0;
    int64_t framesOut = 0;
    int64_t underruns = 0;
    int64_t overruns = 0;
    int64_t skips = 0;
    int64_t repeats = 0;
    int64_t reprimes = 0;
    double seconds = 0;    ///< since the start
    double sampleRate = 0; ///< of the source, hertz; 0 if unreadable
    int64_t fillHighAtFrame = 0;
    int64_t firstSkipAtFrame = -1;
    int64_t lastSkipAtFrame = -1;
    std::optional<Date> startedAt;

    /// Copies everything that the ring counts.
    void setCounters(const RelayCounters& counters);
    /// One line of text for the developers.
    std::string summary(const WallClock& wallClock) const;

private:
    double milliseconds(int64_t frames) const;
    std::string fillSummary() const;
    std::string lossSummary() const;
};

} // namespace vintra
