#include "Vintra/platform/linux/camera/SoundAndCameraDevices.h"

#include "Vintra/platform/linux/camera/PipeWireCamera.h"
#include "Vintra/platform/linux/camera/PipeWireCameras.h"
#include "Vintra/platform/linux/camera/SoundOrCameraSession.h"

#include <utility>

namespace vintra {

std::shared_ptr<AVCaptureSession>
SoundAndCameraDevices::Sessions::around(const std::shared_ptr<AVCaptureSession>& inner) const {
    for (const auto& weak : all) {
        const auto session = weak.lock();
        if (session && session->soundSession() == inner) return session;
    }
    return nullptr;
}

SoundAndCameraDevices::SoundAndCameraDevices(std::shared_ptr<CaptureDevices> sound,
                                             std::shared_ptr<PipeWireCameras> cameras)
    : sound(std::move(sound))
    , pipeWireCameras(std::move(cameras))
    , sessions(std::make_shared<Sessions>()) {}

SoundAndCameraDevices::~SoundAndCameraDevices() = default;

std::shared_ptr<AVCaptureDevice> SoundAndCameraDevices::deviceWithUniqueID(const std::string& uniqueID) {
    if (auto input = sound->deviceWithUniqueID(uniqueID)) return input;
    return pipeWireCameras->camera(uniqueID);
}

std::vector<std::shared_ptr<AVCaptureVideoDevice>> SoundAndCameraDevices::cameras() {
    return pipeWireCameras->cameras();
}

AVAuthorizationStatus SoundAndCameraDevices::authorizationStatus(AVMediaType mediaType) const {
    return sound->authorizationStatus(mediaType);
}

void SoundAndCameraDevices::requestAccess(AVMediaType mediaType,
                                          std::function<void(bool granted)> completion) {
    sound->requestAccess(mediaType, std::move(completion));
}

std::shared_ptr<AVCaptureDeviceInput>
SoundAndCameraDevices::makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) {
    auto camera = std::dynamic_pointer_cast<PipeWireCamera>(device);
    if (!camera) return sound->makeDeviceInput(device);
    if (!camera->isConnected())
        throw SystemError("pipewire", 0, camera->localizedName() + " isn't connected.");
    return std::make_shared<PipeWireCameraInput>(std::move(camera));
}

std::shared_ptr<AVCaptureAudioDataOutput>
SoundAndCameraDevices::makeAudioDataOutput(const AVAudioSettings& audioSettings) {
    return sound->makeAudioDataOutput(audioSettings);
}

std::shared_ptr<AVCaptureVideoDataOutput> SoundAndCameraDevices::makeVideoDataOutput() {
    return std::make_shared<PipeWireVideoDataOutput>();
}

std::shared_ptr<AVCaptureSession> SoundAndCameraDevices::makeSession() {
    auto session = std::make_shared<SoundOrCameraSession>(sound->makeSession());
    std::erase_if(sessions->all, [](const auto& weak) { return weak.expired(); });
    sessions->all.push_back(session);
    return session;
}

Observation SoundAndCameraDevices::observe(CaptureDeviceNotifications notifications) {
    CaptureDeviceNotifications ofSound = notifications;
    ofSound.sessionRuntimeError = [known = sessions, tell = notifications.sessionRuntimeError](
                                      const std::shared_ptr<AVCaptureSession>& session,
                                      const SystemError& error) {
        if (const auto around = known->around(session)) tell(around, error);
    };
    using Both = std::pair<Observation, Observation>;
    return std::make_shared<Both>(sound->observe(std::move(ofSound)),
                                  pipeWireCameras->observe(std::move(notifications)));
}

bool SoundAndCameraDevices::isSoundWithoutRealTime() const {
    return sound->isSoundWithoutRealTime();
}

} // namespace vintra
