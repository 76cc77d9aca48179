#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"

#include <memory>
#include <optional>

namespace vintra {

/// A session of one sound input with its one output, not yet running. Both are set.
struct AudioCaptureChain {
    std::shared_ptr<AVCaptureSession> session;
    std::shared_ptr<AVCaptureAudioDataOutput> dataOutput;
};

/// A chain that hands 48 kHz floats to the delegate on the queue; nothing if the device can't be opened or a
/// part doesn't fit. Main thread.
std::optional<AudioCaptureChain>
makeAudioCaptureChain(CaptureDevices& devices, const std::shared_ptr<AVCaptureDevice>& device, int channels,
                      std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                      std::shared_ptr<DispatchQueue> queue);

} // namespace vintra
