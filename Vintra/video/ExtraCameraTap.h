#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/video/CameraTap.h"

#include <memory>
#include <utility>

namespace vintra {

/// The tap of one extra camera, which its frames find by the output that they come from. Owned by the
/// camera's rig and shared with the callback.
class ExtraCameraTap : public CameraTap {
public:
    ExtraCameraTap(std::shared_ptr<AVCaptureVideoDataOutput> dataOutput,
                   const std::shared_ptr<HostClock>& clock)
        : CameraTap(clock)
        , output(std::move(dataOutput)) {}

    const std::shared_ptr<AVCaptureVideoDataOutput> output;
};

} // namespace vintra
