#include "Vintra/video/CameraCaptureChain.h"

#include "Vintra/platform/SystemError.h"

#include <utility>

namespace vintra {
namespace {

std::shared_ptr<AVCaptureDeviceInput> cameraInput(CaptureDevices& devices,
                                                  const std::shared_ptr<AVCaptureVideoDevice>& device) {
    try {
        return devices.makeDeviceInput(device);
    } catch (const SystemError&) {
        return nullptr;
    }
}

std::shared_ptr<AVCaptureVideoDataOutput> pictureOutput(CaptureDevices& devices) {
    try {
        return devices.makeVideoDataOutput();
    } catch (const SystemError&) {
        return nullptr;
    }
}

} // namespace

std::variant<CameraCaptureChain, CameraChainFault>
makeCameraCaptureChain(CaptureDevices& devices, const std::shared_ptr<AVCaptureVideoDevice>& device,
                       std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                       std::shared_ptr<DispatchQueue> queue) {
    CameraCaptureChain chain;
    chain.session = devices.makeSession();
    const auto input = cameraInput(devices, device);
    if (!input || !chain.session->canAddInput(*input)) return CameraChainFault::input;
    chain.session->addInput(input);
    chain.dataOutput = pictureOutput(devices);
    if (!chain.dataOutput || !chain.session->canAddOutput(*chain.dataOutput)) return CameraChainFault::output;
    chain.dataOutput->setSampleBufferDelegate(std::move(delegate), std::move(queue));
    chain.session->addOutput(chain.dataOutput);
    return chain;
}

} // namespace vintra
