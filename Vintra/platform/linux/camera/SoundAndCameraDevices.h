#pragma once

#include "Vintra/platform/CaptureDevices.h"

#include <memory>
#include <string>
#include <vector>

namespace vintra {

class PipeWireCameras;
class SoundOrCameraSession;

/// The sound inputs of another one, and PipeWire's cameras. Main thread.
class SoundAndCameraDevices : public CaptureDevices {
public:
    SoundAndCameraDevices(std::shared_ptr<CaptureDevices> sound, std::shared_ptr<PipeWireCameras> cameras);
    ~SoundAndCameraDevices() override;

    std::shared_ptr<AVCaptureDevice> deviceWithUniqueID(const std::string& uniqueID) override;
    std::vector<std::shared_ptr<AVCaptureVideoDevice>> cameras() override;
    AVAuthorizationStatus authorizationStatus(AVMediaType mediaType) const override;
    void requestAccess(AVMediaType mediaType, std::function<void(bool granted)> completion) override;
    std::shared_ptr<AVCaptureDeviceInput>
    makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) override;
    std::shared_ptr<AVCaptureAudioDataOutput>
    makeAudioDataOutput(const AVAudioSettings& audioSettings) override;
    std::shared_ptr<AVCaptureVideoDataOutput> makeVideoDataOutput() override;
    std::shared_ptr<AVCaptureSession> makeSession() override;
    Observation observe(CaptureDeviceNotifications notifications) override;
    bool isSoundWithoutRealTime() const override;

private:
    /// The sessions that were made here, known by those of sound inside of them.
    struct Sessions {
        std::vector<std::weak_ptr<SoundOrCameraSession>> all;
        std::shared_ptr<AVCaptureSession> around(const std::shared_ptr<AVCaptureSession>& inner) const;
    };
    const std::shared_ptr<CaptureDevices> sound;
    const std::shared_ptr<PipeWireCameras> pipeWireCameras;
    const std::shared_ptr<Sessions> sessions;
};

} // namespace vintra
