#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"

#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevice.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureNotifier.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureSession.h"
#include "Vintra/platform/linux/pipewire/PipeWireConnection.h"

#include <functional>
#include <utility>

namespace vintra {

PipeWireCaptureDevices::PipeWireCaptureDevices(std::shared_ptr<PipeWireConnection> connection,
                                               std::shared_ptr<MainThread> mainThread,
                                               std::shared_ptr<Log> log)
    : connection(std::move(connection))
    , notifier(PipeWireCaptureNotifier::make(this->connection, std::move(mainThread)))
    , log(std::move(log)) {}

std::shared_ptr<AVCaptureDevice> PipeWireCaptureDevices::deviceWithUniqueID(const std::string& uniqueID) {
    auto node = connection->devices().deviceNamed(uniqueID);
    if (!node || !node->isInput()) return nullptr;
    return std::make_shared<PipeWireCaptureDevice>(connection, *std::move(node));
}

AVAuthorizationStatus PipeWireCaptureDevices::authorizationStatus(AVMediaType) const {
    return AVAuthorizationStatus::authorized;
}

void PipeWireCaptureDevices::requestAccess(AVMediaType, std::function<void(bool granted)> completion) {
    completion(true);
}

std::shared_ptr<AVCaptureDeviceInput>
PipeWireCaptureDevices::makeDeviceInput(const std::shared_ptr<AVCaptureDevice>& device) {
    const auto sound = std::dynamic_pointer_cast<PipeWireCaptureDevice>(device);
    if (!sound || !sound->isConnected()) {
        const std::string name = device ? device->localizedName() : std::string("The sound input");
        throw SystemError("pipewire", 0, name + " isn't connected.");
    }
    return std::make_shared<PipeWireDeviceInput>(sound->uniqueID());
}

std::shared_ptr<AVCaptureAudioDataOutput>
PipeWireCaptureDevices::makeAudioDataOutput(const AVAudioSettings& audioSettings) {
    return std::make_shared<PipeWireAudioDataOutput>(audioSettings);
}

std::shared_ptr<AVCaptureVideoDataOutput> PipeWireCaptureDevices::makeVideoDataOutput() {
    throw SystemError("pipewire", 0, "A sound input has no pictures.");
}

std::shared_ptr<AVCaptureSession> PipeWireCaptureDevices::makeSession() {
    return std::make_shared<PipeWireCaptureSession>(connection, notifier, log);
}

Observation PipeWireCaptureDevices::observe(CaptureDeviceNotifications notifications) {
    return notifier->observe(std::move(notifications));
}

std::optional<std::string> PipeWireCaptureDevices::problem() const {
    return connection->problem();
}

} // namespace vintra
