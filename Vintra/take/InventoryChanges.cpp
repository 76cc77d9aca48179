// Devices that come and go. An idle recorder lets go of what has gone; a take keeps its selections, and tells
// which track has stopped.

#include "Vintra/audio/CoreAudioInputDevice.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/Text.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr const char* kOthersGoOn = "That track stopped receiving data — other tracks are still recording.";

} // namespace

ScreenRecorderManager::DeviceIdentity ScreenRecorderManager::currentDeviceIdentity() const {
    DeviceIdentity identity;
    for (const CoreAudioInputDevice& input : CoreAudioInputDevice::listAll(*platform.audioHardware))
        identity.audio.insert(input.uid);
    return identity;
}

void ScreenRecorderManager::observeAudioDevices() {
    const auto weak = weak_from_this();
    captureDeviceObservation =
        platform.captureDevices->observe({.deviceWasConnected =
                                              [weak](const auto&) {
                                                  if (const auto self = weak.lock())
                                                      self->handleDeviceInventoryChanged();
                                              },
                                          .deviceWasDisconnected =
                                              [weak](const auto& device) {
                                                  if (const auto self = weak.lock())
                                                      self->handleDeviceDisconnected(device);
                                              },
                                          .sessionRuntimeError =
                                              [weak](const auto& session, const SystemError& error) {
                                                  if (const auto self = weak.lock())
                                                      self->handleCaptureSessionRuntimeError(session, error);
                                              }});
    deviceListWatcher.start([weak] {
        if (const auto self = weak.lock()) self->handleDeviceInventoryChanged();
    });
    refreshSystemOutputStatus();
    outputClockWatcher.start([weak] {
        if (const auto self = weak.lock()) self->handleSystemOutputClockChanged();
    });
}

/// One event may be told of twice, by the hardware and by the capture devices: the second call finds nothing
/// new.
void ScreenRecorderManager::handleDeviceInventoryChanged() {
    DeviceIdentity identity = currentDeviceIdentity();
    if (identity == knownDeviceIdentity) return;
    knownDeviceIdentity = std::move(identity);
    refreshAudioDevices();
    startTask(&ScreenRecorderManager::refreshDisplays);
    startTask(&ScreenRecorderManager::refreshDriverPresence);
    if (!*isRecording) forgetDevicesThatWent();
}

/// A row stays in its list, unarmed, so that the device's return doesn't bring it back by itself.
void ScreenRecorderManager::forgetDevicesThatWent() {
    const auto hasGone = [this](const std::optional<std::string>& deviceID) {
        return deviceID && !knownDeviceIdentity.audio.contains(*deviceID);
    };
    if (hasGone(*selectedMicDeviceID)) selectedMicDeviceID.set(std::nullopt);
    if (hasGone(*selectedDawDeviceID)) selectedDawDeviceID.set(std::nullopt);
    const auto rowHasGone = [&](const ExtraAudioInputConfig& row) { return hasGone(row.deviceID); };
    if (std::none_of(extraAudioInputs->begin(), extraAudioInputs->end(), rowHasGone)) return;
    extraAudioInputs.update([&](std::vector<ExtraAudioInputConfig>& rows) {
        for (ExtraAudioInputConfig& row : rows) {
            if (rowHasGone(row)) row.deviceID = std::nullopt;
        }
    });
}

/// The take goes on. Where the track ends is reported at the stop.
void ScreenRecorderManager::handleDeviceDisconnected(const std::shared_ptr<AVCaptureDevice>& device) {
    if (!*isRecording || !device) return;
    const std::string& id = device->uniqueID();
    const auto isIt = [&](const std::shared_ptr<AVCaptureDevice>& other) {
        return other && other->uniqueID() == id;
    };
    std::vector<std::string> names;
    if (micTrack && isIt(micTrack->device)) names.push_back("Mic");
    // Computer audio's track has no device of its own: it is its preview's.
    if (dawTrack && (isIt(dawTrack->device) || dawPreview.deviceID == id)) names.push_back("Virtual input");
    if (isIt(webcamDevice)) names.push_back("Webcam");
    if (std::any_of(extraCameraRigs.begin(), extraCameraRigs.end(),
                    [&](const ExtraCameraRig& rig) { return isIt(rig.device); }))
        names.push_back("Extra webcam");
    if (std::any_of(extraInputGroups.begin(), extraInputGroups.end(),
                    [&](const auto& group) { return isIt(group->device); }))
        names.push_back("Extra input");
    if (names.empty()) return;
    // Known now: the watch over the pictures need not report it again.
    for (const RecordingCamera& camera : recordingCameras()) {
        if (camera.deviceID == id) picturesReportedFrozen.insert(camera.label);
    }
    lastError.set(joined(names, " and ") + " device (" + device->localizedName() +
                  ") disconnected mid-recording. " + kOthersGoOn);
}

void ScreenRecorderManager::handleCaptureSessionRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                                             const SystemError& error) {
    if (!*isRecording) {
        repairPreview(session);
        return;
    }
    std::vector<std::string> names;
    if (session == micPreview.session) names.push_back("Mic");
    if (session == dawPreview.session) names.push_back("Virtual input");
    if (std::any_of(extraPreviews.begin(), extraPreviews.end(),
                    [&](const ExtraPreview& preview) { return preview.session == session; }))
        names.push_back("Extra input");
    if (names.empty()) return;
    const std::string text = error.localizedDescription();
    lastError.set(joined(names, " and ") + " capture stopped unexpectedly (" +
                  (text.empty() ? "unknown error" : text) + "). " + kOthersGoOn);
}

void ScreenRecorderManager::repairPreview(const std::shared_ptr<AVCaptureSession>& session) {
    if (session == micPreview.session) {
        micPreview.deviceID = std::nullopt;
        startTask(&ScreenRecorderManager::configureMicPreview);
    } else if (session == dawPreview.session) {
        dawPreview.deviceID = std::nullopt;
        startTask(&ScreenRecorderManager::rebuildDawPreview);
    } else if (std::erase_if(extraPreviews,
                             [&](const ExtraPreview& preview) { return preview.session == session; }) > 0) {
        syncRoutingCache();
        startTask(&ScreenRecorderManager::configureExtraPreviews);
    }
}

} // namespace vintra
