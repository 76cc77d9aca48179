#include "Vintra/video/WebcamPreviewSize.h"

#include <cmath>

namespace vintra {
namespace {

double widthOf(WebcamPreviewSize size) {
    switch (size) {
    case WebcamPreviewSize::small:
        return 240;
    case WebcamPreviewSize::medium:
        return 360;
    case WebcamPreviewSize::large:
        return 520;
    }
    return 240;
}

} // namespace

std::string rawValue(WebcamPreviewSize size) {
    switch (size) {
    case WebcamPreviewSize::small:
        return "small";
    case WebcamPreviewSize::medium:
        return "medium";
    case WebcamPreviewSize::large:
        return "large";
    }
    return "";
}

std::optional<WebcamPreviewSize> webcamPreviewSize(std::string_view raw) {
    for (const WebcamPreviewSize size : kWebcamPreviewSizes) {
        if (rawValue(size) == raw) return size;
    }
    return std::nullopt;
}

CGSize pointsOf(WebcamPreviewSize size) {
    const double width = widthOf(size);
    return {width, std::round(width * 9 / 16)};
}

} // namespace vintra
