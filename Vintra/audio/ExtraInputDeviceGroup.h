#pragma once

#include "Vintra/audio/ExtraInputTrack.h"
#include "Vintra/platform/CaptureDevices.h"

#include <memory>
#include <vector>

namespace vintra {

/// All tracks of a take that one extra device feeds. Built on the main thread and unchanged from then on; the
/// tracks themselves belong to the extra inputs' queue.
struct ExtraInputDeviceGroup {
    std::shared_ptr<AVCaptureAudioDataOutput> dataOutput;
    std::shared_ptr<AVCaptureDevice> device;
    int totalChannels = 1;
    std::vector<std::shared_ptr<ExtraInputTrack>> tracks;
};

} // namespace vintra
