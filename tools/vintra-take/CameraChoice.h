#pragma once

#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "tools/vintra-take/InputChoice.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// A camera that the machine has.
struct KnownCamera {
    std::string id;
    std::string name;
    std::vector<AVCaptureDeviceFormat> formats;  ///< in the camera's own order
    std::optional<AVCaptureDeviceFormat> chosen; ///< at which it is recorded; nothing: as it is
    double rate = 0; ///< frames a second at which the chosen one is recorded; 0: unknown
};

/// A camera that the take is to record.
struct CameraChoice {
    std::string deviceID;
    std::string name; ///< in the summary; empty: the camera's own
    bool is1080p = false;
    bool operator==(const CameraChoice&) const = default;
};

/// What is known of a camera under that cap of frames a second; nothing: no cap.
KnownCamera knownCamera(const AVCaptureVideoDevice& device, std::optional<double> cap);

/// Reads ID[:NAME] of each camera, and the ids of those that are recorded at 1080p at the most, in the order of the
/// cameras. Ids may hold colons themselves, so the longest id of a known camera that a text begins with is meant.
std::variant<std::vector<CameraChoice>, InputProblem>
parseCameraChoices(const std::vector<std::string>& texts, const std::vector<std::string>& idsOf1080p,
                   const std::vector<KnownCamera>& cameras);

/// "1920×1080"
std::string textOf(const CMVideoDimensions& size);
/// The four-character code, or its number where that can't be read.
std::string textOfSubType(uint32_t mediaSubType);
/// "30", "30, 15" or "1-60".
std::string textOfRates(const AVCaptureDeviceFormat& format);

} // namespace vintra
