#include "Vintra/audio/RelayTelemetry.h"

#include "Vintra/platform/FixedText.h"

#include <cstdio>

namespace vintra {
namespace {

std::string clockTime(const LocalTime& time) {
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", time.hour, time.minute, time.second);
    return text;
}

} // namespace

void RelayTelemetry::setCounters(const RelayCounters& counters) {
    sourceCycleFrames = counters.sourceCycleFrames;
    outputCycleFrames = counters.outputCycleFrames;
    targetFrames = counters.targetFillFrames;
    grows = counters.grows;
    fillNow = counters.fill();
    fillLow = counters.fillLow;
    fillHigh = counters.fillHigh;
    framesIn = counters.framesIn;
    framesOut = counters.framesOut;
    underruns = counters.underruns;
    overruns = counters.overruns;
    skips = counters.skips;
    repeats = counters.repeats;
    reprimes = counters.reprimes;
    fillHighAtFrame = counters.fillHighAtFrame;
    firstSkipAtFrame = counters.firstSkipAtFrame;
    lastSkipAtFrame = counters.lastSkipAtFrame;
}

double RelayTelemetry::milliseconds(int64_t frames) const {
    return sampleRate > 0 ? static_cast<double>(frames) / sampleRate * 1000 : 0;
}

std::string RelayTelemetry::fillSummary() const {
    const auto framesAndTime = [&](int64_t frames) {
        return std::to_string(frames) + " (" + fixedText(milliseconds(frames), 0) + "ms)";
    };
    std::string text = "target " + framesAndTime(targetFrames);
    text += " · now " + framesAndTime(fillNow);
    text += " · low " + (fillLow == RelayCounters::kLargest ? std::string("—") : framesAndTime(fillLow));
    text += " · high " + std::to_string(fillHigh);
    if (sampleRate > 0 && fillHigh >= 1)
        text += " at " + fixedText(static_cast<double>(fillHighAtFrame) / sampleRate, 1) + "s";
    return text;
}

std::string RelayTelemetry::lossSummary() const {
    std::string text =
        " · " + std::to_string(underruns) + " underruns, " + std::to_string(overruns) + " overruns";
    text += " · " + std::to_string(skips) + " skips";
    if (sampleRate > 0 && firstSkipAtFrame >= 0) {
        text += " (" + fixedText(static_cast<double>(firstSkipAtFrame) / sampleRate, 1) + "s–";
        text += fixedText(static_cast<double>(lastSkipAtFrame) / sampleRate, 1) + "s)";
    }
    return text + ", " + std::to_string(repeats) + " repeats, " + std::to_string(reprimes) + " primes";
}

std::string RelayTelemetry::summary(const WallClock& wallClock) const {
    std::string text = fillSummary() + lossSummary();
    if (lowLatency) text += " · LOW LATENCY";
    text += " · buffers " + std::to_string(sourceBufferFrames) + "/" + std::to_string(outputBufferFrames) +
            " (device allows " + sourceRange + ")";
    if (grows >= 1) text += " · grew " + std::to_string(grows) + "x";
    text += " · cycle in " + std::to_string(sourceCycleFrames) + "/out " + std::to_string(outputCycleFrames);
    text += " · " + fixedText(seconds, 0) + "s @" + fixedText(sampleRate / 1000, 1) + "k";
    if (startedAt) text += " from " + clockTime(wallClock.localTime(*startedAt));
    return text + " · out to " + destination;
}

} // namespace vintra
