#include "Vintra/video/CameraSamplePath.h"

#include <algorithm>
#include <utility>

namespace vintra {

CameraSamplePath::CameraSamplePath(std::shared_ptr<CameraTap> webcam)
    : webcam(std::move(webcam)) {}

void CameraSamplePath::captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                                     const CMSampleBuffer& didOutput) {
    if (!didOutput.isValid()) return;
    if (const auto tap = tapOf(output)) tap->frame(didOutput);
}

void CameraSamplePath::captureOutputDidMiss(const std::shared_ptr<AVCaptureOutput>& output,
                                            const AVCaptureMissedPictures& pictures) {
    if (const auto tap = tapOf(output)) tap->missed(pictures);
}

std::shared_ptr<CameraTap> CameraSamplePath::tapOf(const std::shared_ptr<AVCaptureOutput>& output) const {
    const Taps taps = extraCameraTaps.get().value_or(Taps{});
    const auto tap =
        std::ranges::find_if(taps, [&](const auto& candidate) { return candidate->output == output; });
    if (tap != taps.end()) return *tap;
    return output == webcamDataOutput.get() ? webcam : nullptr;
}

} // namespace vintra
