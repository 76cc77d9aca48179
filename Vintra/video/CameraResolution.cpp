#include "Vintra/video/CameraResolution.h"

namespace vintra {

std::string rawValue(CameraResolution resolution) {
    switch (resolution) {
    case CameraResolution::uhd:
        return "4K";
    case CameraResolution::hd:
        return "1080p";
    }
    return "";
}

std::optional<CameraResolution> cameraResolution(std::string_view raw) {
    for (const CameraResolution resolution : {CameraResolution::uhd, CameraResolution::hd}) {
        if (rawValue(resolution) == raw) return resolution;
    }
    return std::nullopt;
}

} // namespace vintra
