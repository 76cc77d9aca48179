#pragma once

#include "Vintra/platform/FloatingPreviewWindows.h"
#include "Vintra/video/WebcamPreviewSize.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace vintra {

class AVCaptureSession;

// The windows in which cameras are seen: how they are made, placed and filled. Main thread.

/// A window of the smallest size at the top left of the desktop, or where it was last.
FloatingPreviewRecipe cameraPreviewRecipe(const std::string& frameAutosaveName);

/// Where an extra camera's window goes at first: the place of that index in a column at the right edge, 12 points
/// between the windows, and no lower than the visible part of the screen reaches.
CGRect extraCameraWindowFrame(const CGRect& visibleFrame, size_t index);

/// The frame in that size, its top edge where it is.
CGRect resizedFrame(const CGRect& frame, WebcamPreviewSize size);

/// What a window shows, and what its controls do.
struct CameraPreviewRoot {
    std::shared_ptr<AVCaptureSession> session;
    WebcamPreviewSize currentSize = WebcamPreviewSize::small;
    bool isRecording = false;
    std::function<void(WebcamPreviewSize)> onPick;
    std::function<void()> onClose;
};
FloatingPreviewContent previewContent(CameraPreviewRoot root);

} // namespace vintra
