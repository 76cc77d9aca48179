#include "Vintra/video/CameraPreviewWindow.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr CGSize kAspect{16, 9};
constexpr CGSize kLeastSize{160, 90};
constexpr double kMargin = 24;      // points to the edges of the screen
constexpr double kColumnStep = 147; // points from one window to the next: 135 and 12 between them

} // namespace

FloatingPreviewRecipe cameraPreviewRecipe(const std::string& frameAutosaveName) {
    return {.frame = {{0, 0}, pointsOf(WebcamPreviewSize::small)},
            .contentAspectRatio = kAspect,
            .contentMinSize = kLeastSize,
            .frameAutosaveName = frameAutosaveName};
}

CGRect extraCameraWindowFrame(const CGRect& visibleFrame, size_t index) {
    const CGSize size = pointsOf(WebcamPreviewSize::small);
    const double bottom = visibleFrame.minY() + kMargin + static_cast<double>(index + 1) * kColumnStep;
    return {{visibleFrame.maxX() - size.width - kMargin, std::min(bottom, visibleFrame.maxY()) - size.height},
            size};
}

CGRect resizedFrame(const CGRect& frame, WebcamPreviewSize size) {
    return {frame.origin, pointsOf(size)};
}

FloatingPreviewContent previewContent(CameraPreviewRoot root) {
    FloatingPreviewContent content;
    content.session = std::move(root.session);
    content.isRecording = root.isRecording;
    content.onClose = std::move(root.onClose);
    for (const WebcamPreviewSize size : kWebcamPreviewSizes) {
        if (size == root.currentSize) content.currentSize = content.sizes.size();
        content.sizes.push_back(rawValue(size));
    }
    content.onPick = [onPick = std::move(root.onPick)](size_t index) {
        if (index < std::size(kWebcamPreviewSizes)) onPick(kWebcamPreviewSizes[index]);
    };
    return content;
}

} // namespace vintra
