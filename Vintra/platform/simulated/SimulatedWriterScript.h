#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace vintra {

/// How a simulated writer behaves. By default everything works, at once. It may be changed during a take.
struct SimulatedWriterScript {
    bool cannotBeMade = false;    ///< `makeWriter` throws
    bool refusesInputs = false;   ///< `canAdd` is false
    bool startFails = false;      ///< `startWriting` is false
    bool isNeverReady = false;    ///< no input is ever ready
    bool finishFails = false;     ///< ends as failed
    bool finishNeverEnds = false; ///< the completion is never called
    double prepareSeconds = 0;    ///< from `prepare` to its completion
    double startSeconds = 0;      ///< how long `startWriting` blocks its caller, before the file exists
    double sessionSeconds = 0;    ///< how long `startSession` blocks its caller, before the session begins
    double appendSeconds = 0;     ///< how long an append blocks its caller, before the sample is taken
    double finishSeconds = 0;     ///< from the last sample encoded to the completion
    double encodeSecondsPerSample = 0; ///< time of the one encoder for a sample of any input
    size_t queueCapacity = 30;         ///< samples of one input that may wait for the encoder
    std::optional<int64_t> failsAtSample =
        std::nullopt; ///< becomes failed at this append, counted from 0 over all inputs
    std::function<bool(double secondsSinceStart)> isStalled = nullptr; ///< not ready while this holds
    std::function<bool(const CMSampleBuffer&)> refuses = nullptr;      ///< an append that gives false
    uint64_t bytesPerPicture = 0; ///< what a picture adds to the file, so that a disk can fill
};

} // namespace vintra
