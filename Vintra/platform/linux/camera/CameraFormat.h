#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/linux/camera/CameraColour.h"
#include "Vintra/platform/linux/camera/CameraPixelLayout.h"

#include <cstdint>
#include <optional>
#include <vector>

struct spa_pod;

namespace vintra {

/// A rate as PipeWire writes it: frames in a number of seconds.
struct CameraRate {
    uint32_t frames = 0;
    uint32_t seconds = 1;
    bool operator==(const CameraRate&) const = default;

    bool isKnown() const { return frames > 0 && seconds > 0; }
    double value() const { return isKnown() ? static_cast<double>(frames) / seconds : 0; }
    /// The time between two frames; invalid if the rate isn't known.
    CMTime duration() const;
    /// The rate at which two frames are that far apart.
    static CameraRate ofDuration(CMTime duration);
};

/// One of the formats that a camera offers. A value.
struct CameraFormat {
    CameraPixelLayoutNames names;
    AVCaptureDeviceFormat shown;
};

/// What a camera and a reader have agreed on. A value.
struct AgreedCameraFormat {
    CameraPixelLayoutNames names;
    CMVideoDimensions size;
    CameraRate rate;
    CameraColour colour;
};

/// What EnumFormat parameters say that can be taken, in their order; nothing is listed twice. Where a parameter
/// leaves the size open, the sizes in use that it has room for.
std::vector<CameraFormat> readCameraFormats(const std::vector<std::vector<uint64_t>>& parameters);

/// Of a Format parameter; nothing if it can't be taken.
std::optional<AgreedCameraFormat> readAgreedCameraFormat(const spa_pod* parameter);

} // namespace vintra
