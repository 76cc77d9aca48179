#include "Vintra/platform/simulated/SimulatedCaptureDevices.h"

#include <functional>
#include <utility>

namespace vintra {

SimulatedCaptureDevices::SimulatedCaptureDevices(SimulatedCaptureSession::Services services,
                                                 std::shared_ptr<SimulatedAudioHardware> hardware,
                                                 std::shared_ptr<SimulatedCameras> simulatedCameras)
    : services(std::move(services))
    , hardware(hardware)
    , simulatedCameras(simulatedCameras)
    , plugs(hardware->observePlugs([this](const auto& device, bool isThere) { tellOfPlug(device, isThere); }))
    , cameraPlugs(simulatedCameras->observePlugs(
          [this](const auto& camera, bool isThere) { tellOfCamera(camera, isThere); })) {}

std::shared_ptr<AVCaptureDevice> SimulatedCaptureDevices::deviceWithUniqueID(const std::string& uniqueID) {
    const auto found = hardware->device(uniqueID);
    if (!found || !found->isCapturable || found->inputChannels() == 0) return nullptr;
    auto& device = devices[uniqueID];
    if (!device || &device->script() != found.get())
        device = std::make_shared<SimulatedCaptureDevice>(hardware, found);
    return device;
}

std::vector<std::shared_ptr<AVCaptureVideoDevice>> SimulatedCaptureDevices::cameras() {
    std::vector<std::shared_ptr<AVCaptureVideoDevice>> list;
    for (const auto& camera : simulatedCameras->all())
        list.push_back(deviceOf(camera));
    return list;
}

std::shared_ptr<SimulatedVideoDevice>
SimulatedCaptureDevices::deviceOf(const std::shared_ptr<SimulatedCamera>& camera) {
    auto& device = videoDevices[camera.get()];
    if (!device)
        device = std::make_shared<SimulatedVideoDevice>(simulatedCameras, camera, services.violations);
    return device;
}

AVAuthorizationStatus SimulatedCaptureDevices::authorizationStatus(AVMediaType mediaType) const {
    const auto found = authorization.find(mediaType);
    return found == authorization.end() ? AVAuthorizationStatus::authorized : found->second;
}

void SimulatedCaptureDevices::requestAccess(AVMediaType mediaType,
                                            std::function<void(bool granted)> completion) {
    accessRequests.push_back(mediaType);
    const AVAuthorizationStatus status = authorizationStatus(mediaType);
    if (status != AVAuthorizationStatus::notDetermined) {
        services.time->after(
            0, [completion, status] { completion(status == AVAuthorizationStatus::authorized); });
        return;
    }
    services.time->afterSeconds(answerSeconds, [this, mediaType, completion] {
        authorization[mediaType] =
            userGrantsAccess ? AVAuthorizationStatus::authorized : AVAuthorizationStatus::denied;
        completion(userGrantsAccess);
    });
}

std::shared_ptr<AVCaptureDeviceInput>
SimulatedCaptureDevices::makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) {
    if (auto camera = std::dynamic_pointer_cast<SimulatedVideoDevice>(device)) {
        if (camera->script().failsToOpen || !camera->isConnected())
            throw SystemError("simulated", 11, "The camera can't be opened.");
        return std::make_shared<SimulatedCameraInput>(std::move(camera));
    }
    auto own = std::dynamic_pointer_cast<SimulatedCaptureDevice>(device);
    if (!own || own->script().failsToOpen || !own->isConnected())
        throw SystemError("simulated", 10, "The device can't be opened.");
    return std::make_shared<SimulatedCaptureDeviceInput>(std::move(own));
}

std::shared_ptr<AVCaptureAudioDataOutput>
SimulatedCaptureDevices::makeAudioDataOutput(const AVAudioSettings& audioSettings) {
    return std::make_shared<SimulatedCaptureAudioDataOutput>(audioSettings);
}

std::shared_ptr<AVCaptureVideoDataOutput> SimulatedCaptureDevices::makeVideoDataOutput() {
    return std::make_shared<SimulatedCaptureVideoDataOutput>();
}

std::shared_ptr<AVCaptureSession> SimulatedCaptureDevices::makeSession() {
    auto made = std::make_shared<SimulatedCaptureSession>(services);
    sessions.push_back(made);
    ++sessionsMade;
    return made;
}

std::shared_ptr<SimulatedCaptureSession>
SimulatedCaptureDevices::session(const std::string& deviceUID) const {
    for (auto candidate = sessions.rbegin(); candidate != sessions.rend(); ++candidate) {
        auto living = candidate->lock();
        if (living && living->deviceUID() == deviceUID) return living;
    }
    return nullptr;
}

Observation SimulatedCaptureDevices::observe(CaptureDeviceNotifications notifications) {
    auto kept = std::make_shared<CaptureDeviceNotifications>(std::move(notifications));
    observers.push_back(kept);
    return kept;
}

void SimulatedCaptureDevices::tellOfPlug(const std::shared_ptr<SimulatedAudioDevice>& device, bool isThere) {
    if (!device->isCapturable || device->inputChannels() == 0) return;
    auto& known = devices[device->uid];
    if (!known || &known->script() != device.get())
        known = std::make_shared<SimulatedCaptureDevice>(hardware, device);
    tell([device = known, isThere](const CaptureDeviceNotifications& told) {
        (isThere ? told.deviceWasConnected : told.deviceWasDisconnected)(device);
    });
}

void SimulatedCaptureDevices::tellOfCamera(const std::shared_ptr<SimulatedCamera>& camera, bool isThere) {
    if (!isThere) {
        for (const auto& weak : sessions) {
            const auto living = weak.lock();
            if (living && living->deviceUID() == camera->uid) living->deviceHasGone();
        }
    }
    tell([device = deviceOf(camera), isThere](const CaptureDeviceNotifications& told) {
        (isThere ? told.deviceWasConnected : told.deviceWasDisconnected)(device);
    });
}

void SimulatedCaptureDevices::notifyRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                                 const SystemError& error) {
    tell([session, error](const CaptureDeviceNotifications& told) {
        told.sessionRuntimeError(session, error);
    });
}

void SimulatedCaptureDevices::tell(std::function<void(const CaptureDeviceNotifications&)> what) {
    for (const auto& weak : observers) {
        services.mainThread->post([weak, what] {
            if (const auto told = weak.lock()) what(*told);
        });
    }
    std::erase_if(observers, [](const auto& weak) { return weak.expired(); });
}

} // namespace vintra
