#include "Vintra/audio/AudioCaptureChain.h"

#include "Vintra/audio/CapturePCMSettings.h"

#include <utility>

namespace vintra {
namespace {

constexpr uint32_t kPreviewBitDepth = 32; // float samples

} // namespace

std::optional<AudioCaptureChain>
makeAudioCaptureChain(CaptureDevices& devices, const std::shared_ptr<AVCaptureDevice>& device, int channels,
                      std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate> delegate,
                      std::shared_ptr<DispatchQueue> queue) {
    AudioCaptureChain chain;
    chain.session = devices.makeSession();
    std::shared_ptr<AVCaptureDeviceInput> input;
    try {
        input = devices.makeDeviceInput(device);
    } catch (const SystemError&) {
        return std::nullopt;
    }
    if (!input || !chain.session->canAddInput(*input)) return std::nullopt;
    chain.session->addInput(input);
    AVAudioSettings settings = capturePCMSettings(channels);
    settings.linearPCMBitDepth = kPreviewBitDepth;
    settings.linearPCMIsFloat = true;
    chain.dataOutput = devices.makeAudioDataOutput(settings);
    if (!chain.dataOutput || !chain.session->canAddOutput(*chain.dataOutput)) return std::nullopt;
    chain.dataOutput->setSampleBufferDelegate(std::move(delegate), std::move(queue));
    chain.session->addOutput(chain.dataOutput);
    return chain;
}

} // namespace vintra
