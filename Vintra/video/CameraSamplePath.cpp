#include "Vintra/video/CameraSamplePath.h"

#include <algorithm>
#include <utility>

namespace vintra {

CameraSamplePath::CameraSamplePath(std::shared_ptr<CameraTap> webcam)
    : webcam(std::move(webcam)) {}

void CameraSamplePath::captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                                     const CMSampleBuffer& didOutput) {
    if (!didOutput.isValid()) return;
    const Taps taps = extraCameraTaps.get().value_or(Taps{});
    const auto tap =
        std::ranges::find_if(taps, [&](const auto& candidate) { return candidate->output == output; });
    if (tap != taps.end()) {
        (*tap)->frame(didOutput);
    } else if (output == webcamDataOutput.get()) {
        webcam->frame(didOutput);
    }
}

} // namespace vintra
