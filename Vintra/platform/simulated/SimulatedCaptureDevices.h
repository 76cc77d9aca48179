#pragma once

#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/simulated/SimulatedCaptureSession.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// Captures from the devices of a `SimulatedAudioHardware` and from `SimulatedCameras`, if the user lets it. One
/// real thread.
class SimulatedCaptureDevices : public CaptureDevices {
public:
    SimulatedCaptureDevices(SimulatedCaptureSession::Services services,
                            std::shared_ptr<SimulatedAudioHardware> hardware,
                            std::shared_ptr<SimulatedCameras> simulatedCameras);

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
    bool isSoundWithoutRealTime() const override { return hasNoRealTime; }

    /// Notifies the observers, as the machine would. Plugging a device in or out notifies them by itself.
    void notifyRuntimeError(const std::shared_ptr<AVCaptureSession>& session, const SystemError& error);

    /// The session made last whose input is that device and that still exists; null if there is none.
    std::shared_ptr<SimulatedCaptureSession> session(const std::string& deviceUID) const;

    /// What the user has decided; authorized where nothing is set.
    std::map<AVMediaType, AVAuthorizationStatus> authorization;
    bool userGrantsAccess = true;            ///< the answer of a user who is asked
    double answerSeconds = 1;                ///< how long the user thinks about it
    std::vector<AVMediaType> accessRequests; ///< every question that was put
    bool hasNoRealTime = false;              ///< what `isSoundWithoutRealTime` says
    int64_t sessionsMade = 0;

private:
    void tellOfPlug(const std::shared_ptr<SimulatedAudioDevice>& device, bool isThere);
    void tellOfCamera(const std::shared_ptr<SimulatedCamera>& camera, bool isThere);
    std::shared_ptr<SimulatedVideoDevice> deviceOf(const std::shared_ptr<SimulatedCamera>& camera);
    void tell(std::function<void(const CaptureDeviceNotifications&)> what);

    SimulatedCaptureSession::Services services;
    std::shared_ptr<SimulatedAudioHardware> hardware;
    std::map<std::string, std::shared_ptr<SimulatedCaptureDevice>> devices; ///< one object a device
    std::shared_ptr<SimulatedCameras> simulatedCameras;
    std::map<const SimulatedCamera*, std::shared_ptr<SimulatedVideoDevice>> videoDevices; ///< one a camera
    std::vector<std::weak_ptr<SimulatedCaptureSession>> sessions;
    std::vector<std::weak_ptr<CaptureDeviceNotifications>> observers;
    Observation plugs;
    Observation cameraPlugs;
};

} // namespace vintra
