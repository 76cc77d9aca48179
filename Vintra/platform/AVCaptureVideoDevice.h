#pragma once

#include "Vintra/platform/AVCaptureDevice.h"
#include "Vintra/platform/CMFormatDescription.h"
#include "Vintra/platform/CMTime.h"

#include <optional>
#include <vector>

namespace vintra {

/// The rates that a camera's format can run at: one rate where both ends are equal. A list of rates is a list
/// of such ranges. Rates in frames a second; each duration is the exact time between two frames at the rate of
/// the other end.
struct AVFrameRateRange {
    double minFrameRate = 0;
    double maxFrameRate = 0;
    CMTime minFrameDuration; ///< at `maxFrameRate`
    CMTime maxFrameDuration; ///< at `minFrameRate`
    bool operator==(const AVFrameRateRange&) const = default;
};

/// One of the ways in which a camera can run. A device may hand out a fresh record each time: what is equal in
/// all of this is the same format.
struct AVCaptureDeviceFormat {
    VideoDescription formatDescription; ///< the pixels as the camera sends them, size in pixels
    std::vector<AVFrameRateRange> videoSupportedFrameRateRanges;
    bool operator==(const AVCaptureDeviceFormat&) const = default;
};

/// A camera: its formats, and which of them it runs at. All who read one camera share its format.
///
/// It is configured between `lockForConfiguration` and `unlockForConfiguration`, on the session control queue.
/// A camera may leave what it was set to at any time, by itself or for another program. Any thread.
class AVCaptureVideoDevice : public AVCaptureDevice {
public:
    /// In the camera's own order, which is not by quality.
    virtual std::vector<AVCaptureDeviceFormat> formats() const = 0;
    /// The format that it runs at, or will run at; nothing if that can't be read.
    virtual std::optional<AVCaptureDeviceFormat> activeFormat() const = 0;
    /// The shortest and the longest time between two frames that it is set to; not numeric if unknown. The
    /// same time in both holds it to one rate.
    virtual CMTime activeVideoMinFrameDuration() const = 0;
    virtual CMTime activeVideoMaxFrameDuration() const = 0;

    /// False if it is refused: nothing can be set then. Whoever got true unlocks.
    virtual bool lockForConfiguration() = 0;
    virtual void unlockForConfiguration() = 0;
    // Under the lock. What the camera can't do is ignored.

    /// Sets the frame durations to the format's own.
    virtual void setActiveFormat(const AVCaptureDeviceFormat& format) = 0;
    virtual void setActiveVideoMinFrameDuration(CMTime duration) = 0;
    virtual void setActiveVideoMaxFrameDuration(CMTime duration) = 0;
};

} // namespace vintra
