#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureNotifier.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class Log;
class PipeWireConnection;

/// PipeWire's sources as microphones, and the virtual device through its monitor. Main thread.
class PipeWireCaptureDevices : public CaptureDevices {
public:
    PipeWireCaptureDevices(std::shared_ptr<PipeWireConnection> connection,
                           std::shared_ptr<MainThread> mainThread, std::shared_ptr<Log> log);

    std::shared_ptr<AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) override;
    /// PipeWire lets every program of the user record: nobody is asked.
    AVAuthorizationStatus authorizationStatus(AVMediaType mediaType) const override;
    void requestAccess(AVMediaType mediaType, std::function<void(bool granted)> completion) override;
    std::shared_ptr<AVCaptureDeviceInput>
    makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) override;
    std::shared_ptr<AVCaptureAudioDataOutput>
    makeAudioDataOutput(const AVAudioSettings& audioSettings) override;
    /// Of sound alone: there are no cameras, and an output for one is refused.
    std::vector<std::shared_ptr<AVCaptureVideoDevice>> cameras() override { return {}; }
    std::shared_ptr<AVCaptureVideoDataOutput> makeVideoDataOutput() override;
    std::shared_ptr<AVCaptureSession> makeSession() override;
    Observation observe(CaptureDeviceNotifications notifications) override;
    bool isSoundWithoutRealTime() const override { return notifier->isSoundWithoutRealTime(); }

    /// Why there are no devices, as a sentence for the user; nothing while a server answers.
    std::optional<std::string> problem() const;

private:
    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<PipeWireCaptureNotifier> notifier;
    const std::shared_ptr<Log> log;
};

} // namespace vintra
