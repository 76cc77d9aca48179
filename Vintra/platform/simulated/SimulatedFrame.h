#pragma once

#include "Vintra/platform/ScreenCapture.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace vintra {

/// One sample of a simulated screen stream.
struct SimulatedFrame {
    double seconds = 0;       ///< its presentation time, from the start of the capture on
    double deliveryDelay = 0; ///< seconds from its presentation time to its handing over
    std::optional<SCFrameStatus> status = SCFrameStatus::complete; ///< nothing: the attachment is missing
    bool hasAttachments = true;                                    ///< false: no dictionary at all
    bool hasImage = true;
    bool hasTime = true;   ///< false: an invalid presentation time
    uint8_t shade = 0;     ///< of its picture
    bool isMissed = false; ///< the capture couldn't take it
};

/// What a stream shows: the frame of an index from 0 on, in the order of their handing over; nothing ends it.
using SimulatedFrames = std::function<std::optional<SimulatedFrame>(int64_t index)>;

/// A picture that always changes, at that many frames a second, in four shades by turns.
inline SimulatedFrames steadyFrames(double rate) {
    return [rate](int64_t index) {
        SimulatedFrame frame;
        frame.seconds = static_cast<double>(index) / rate;
        frame.shade = static_cast<uint8_t>(index % 4 * 60);
        return std::optional(frame);
    };
}

inline SimulatedFrames listedFrames(std::vector<SimulatedFrame> list) {
    return [list = std::move(list)](int64_t index) {
        const auto place = static_cast<size_t>(index);
        return place < list.size() ? std::optional(list[place]) : std::nullopt;
    };
}

} // namespace vintra
