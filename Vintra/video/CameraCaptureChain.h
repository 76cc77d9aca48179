#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"

#include <memory>
#include <variant>

namespace vintra {

/// A session of one camera with its one output. Both are set, or neither.
struct CameraCaptureChain {
    std::shared_ptr<AVCaptureSession> session;
    std::shared_ptr<AVCaptureVideoDataOutput> dataOutput;
};

/// Which part of a chain couldn't be made or added.
enum class CameraChainFault { input, output };

/// A chain, not yet running, that hands pictures to the delegate on the queue. Main thread.
std::variant<CameraCaptureChain, CameraChainFault>
makeCameraCaptureChain(CaptureDevices& devices, const std::shared_ptr<AVCaptureVideoDevice>& device,
                       std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                       std::shared_ptr<DispatchQueue> queue);

} // namespace vintra
