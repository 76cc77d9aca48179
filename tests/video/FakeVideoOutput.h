#pragma once

#include "Vintra/platform/CaptureDevices.h"

#include <memory>

namespace vintra {

/// The output of a camera that delivers nothing by itself.
class FakeVideoOutput : public AVCaptureVideoDataOutput {
public:
    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate>,
                                 std::shared_ptr<DispatchQueue>) override {}
};

} // namespace vintra
