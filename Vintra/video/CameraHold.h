#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"

#include <optional>

namespace vintra {

/// What a camera is held to. A value.
struct CameraHold {
    std::optional<double> cap;                   ///< frames a second; nothing: as fast as the format goes
    std::optional<AVCaptureDeviceFormat> format; ///< nothing: whatever it runs at

    bool isEmpty() const { return !cap && !format; }

    /// The time between two frames that the cap asks of a camera in that format; nothing if it asks for none.
    std::optional<CMTime> frameDuration(const std::optional<AVCaptureDeviceFormat>& activeFormat) const;
    /// Whether a camera has left its format for that one.
    bool hasLeftFormat(const std::optional<AVCaptureDeviceFormat>& activeFormat) const;
    /// Whether a camera in that format, set to that shortest time between two frames, is off the rate that the
    /// cap asks for, by more than a hundredth of it. False where no rate can be read.
    bool hasLeftRate(const std::optional<AVCaptureDeviceFormat>& activeFormat,
                     CMTime activeVideoMinFrameDuration) const;

    /// Sets the camera to all of this, under its configuration lock.
    void apply(AVCaptureVideoDevice& to) const;
    /// Sets the frame durations alone. False if the cap asks for none.
    bool applyRate(AVCaptureVideoDevice& to) const;
};

} // namespace vintra
