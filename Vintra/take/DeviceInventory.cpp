#include "Vintra/take/DeviceInventory.h"

#include "Vintra/audio/CoreAudioInputDevice.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/Text.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kOthersGoOn = "That track stopped receiving data — other tracks are still recording.";

// Three new sessions of a device that fails; more than a slow one needs, which fails every half minute.
constexpr size_t kMostRepairs = 3;
constexpr double kSecondsOfRepairs = 300;

} // namespace

DeviceInventory::DeviceInventory(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , audio(surroundings.audio)
    , previews(surroundings.previews)
    , outputRouting(surroundings.outputRouting)
    , screenSource(surroundings.screenSource)
    , cameraSelection(surroundings.cameraSelection)
    , cameras(surroundings.cameras)
    , isRecording(surroundings.isRecording)
    , take(surroundings.take)
    , lastError(surroundings.lastError)
    , deviceListWatcher(*platform.audioHardware)
    , soundService(SoundServiceWatch::Surroundings{.platform = platform,
                                                   .previews = previews,
                                                   .isRecording = isRecording,
                                                   .take = take,
                                                   .lastError = lastError})
    , tasks(*platform.mainThread) {}

void DeviceInventory::refreshAudioDevices() {
    std::vector<std::shared_ptr<AVCaptureDevice>> devices;
    std::unordered_map<std::string, int> channelCounts;
    for (const CoreAudioInputDevice& input : CoreAudioInputDevice::listAll(*platform.audioHardware)) {
        channelCounts[input.uid] = input.channelCount;
        if (auto device = platform.captureDevices->deviceWithUniqueID(input.uid))
            devices.push_back(std::move(device));
    }
    const auto lastUsed = stringForKey(*platform.userDefaults, "lastUsedAudioDeviceID");
    const auto found = std::ranges::find_if(
        devices, [&](const auto& device) { return lastUsed && device->uniqueID() == *lastUsed; });
    if (found != devices.end()) std::rotate(devices.begin(), found, found + 1);
    audio.availableAudioInputDevices.set(std::move(devices));
    audio.audioDeviceChannelCounts.set(std::move(channelCounts));
}

void DeviceInventory::refreshCameraDevices() {
    cameraSelection.availableCameraDevices.set(platform.captureDevices->cameras());
}

DeviceInventory::DeviceIdentity DeviceInventory::currentDeviceIdentity() const {
    DeviceIdentity identity;
    for (const CoreAudioInputDevice& input : CoreAudioInputDevice::listAll(*platform.audioHardware))
        identity.audio.insert(input.uid);
    for (const auto& camera : platform.captureDevices->cameras())
        identity.camera.insert(camera->uniqueID());
    return identity;
}

void DeviceInventory::observe() {
    knownDeviceIdentity = currentDeviceIdentity();
    captureDeviceObservation = platform.captureDevices->observe({
        .deviceWasConnected = tasks.guarded([this](const auto& device) { handleDeviceConnected(device); }),
        .deviceWasDisconnected = tasks.guarded([this](const auto& device) {
            handleDeviceDisconnected(device);
            handleDeviceInventoryChanged(); // nobody else tells of a camera that went
            if (device) reviveIfBack(device->uniqueID());
        }),
        .sessionRuntimeError = tasks.guarded([this](const auto& session, const SystemError& error) {
            handleCaptureSessionRuntimeError(session, error);
        }),
    });
    deviceListWatcher.start(tasks.guarded([this] { handleDeviceInventoryChanged(); }));
    soundService.observe([this] { forgetWhatWent(); });
}

/// In a take, a device that comes back under its id goes on in its tracks; what it has missed is silent there.
void DeviceInventory::handleDeviceConnected(const std::shared_ptr<AVCaptureDevice>& device) {
    handleDeviceInventoryChanged();
    if (*isRecording && device && !soundService.isAway()) previews.resume(device->uniqueID());
}

/// A device that has come back before its going could be handled is in the list as before, but nothing runs on it any
/// more.
void DeviceInventory::reviveIfBack(const std::string& deviceID) {
    if (*isRecording || soundService.isUnsettled()) return;
    if (knownDeviceIdentity.audio.contains(deviceID)) {
        refreshAudioDevices(); // its format may be another one
        previews.repairDevice(deviceID);
    }
    if (!knownDeviceIdentity.camera.contains(deviceID)) return;
    refreshCameraDevices();
    if (cameras.isWebcamMissing()) tasks.post([this] { return cameras.configureWebcamPreview(); });
    cameras.scheduleExtraCameraReconcile();
}

/// One event may be told of twice, by the hardware and by the capture devices: the second call finds nothing
/// new.
void DeviceInventory::handleDeviceInventoryChanged() {
    DeviceIdentity identity = currentDeviceIdentity();
    if (identity == knownDeviceIdentity) return;
    knownDeviceIdentity = std::move(identity);
    refreshAudioDevices();
    refreshCameraDevices();
    tasks.post([this] { return screenSource.refreshDisplays(); });
    tasks.post([this] { return outputRouting.refreshDriverPresence(); });
    if (*isRecording) return;
    if (!soundService.isUnsettled()) forgetDevicesThatWent();
    if (cameras.isWebcamMissing()) tasks.post([this] { return cameras.configureWebcamPreview(); });
    cameras.scheduleExtraCameraReconcile();
    if (!soundService.isUnsettled()) forgetRowsThatWent();
}

void DeviceInventory::forgetWhatWent() {
    if (*isRecording) return;
    forgetDevicesThatWent();
    forgetRowsThatWent();
}

void DeviceInventory::forgetDevicesThatWent() {
    const auto forget = [](Published<std::optional<std::string>>& selected,
                           const std::set<std::string>& there) {
        if (*selected && !there.contains(**selected)) selected.set(std::nullopt);
    };
    forget(audio.selectedMicDeviceID, knownDeviceIdentity.audio);
    forget(audio.selectedDawDeviceID, knownDeviceIdentity.audio);
    forget(cameraSelection.selectedCameraDeviceID, knownDeviceIdentity.camera);
}

/// A row stays in its list, unarmed, so that the device's return doesn't bring it back by itself.
void DeviceInventory::forgetRowsThatWent() {
    const auto disarm = [](auto& rows, const std::set<std::string>& there) {
        const auto hasGone = [&there](const auto& row) {
            return row.deviceID && !there.contains(*row.deviceID);
        };
        if (std::ranges::none_of(*rows, hasGone)) return;
        rows.update([&hasGone](auto& list) {
            for (auto& row : list) {
                if (hasGone(row)) row.deviceID = std::nullopt;
            }
        });
    };
    disarm(cameraSelection.extraCameras, knownDeviceIdentity.camera);
    disarm(audio.extraAudioInputs, knownDeviceIdentity.audio);
}

/// The take goes on. Where the track ends is reported at the stop.
void DeviceInventory::handleDeviceDisconnected(const std::shared_ptr<AVCaptureDevice>& device) {
    if (!*isRecording || !device) return;
    std::vector<std::string> names = tracksOn(device->uniqueID());
    // All sound has gone at once, which is told in one sentence.
    const auto isSound = [](const std::string& name) { return name != "Webcam" && name != "Extra webcam"; };
    if (soundService.isAway()) std::erase_if(names, isSound);
    if (names.empty()) return;
    // Known now: the watch over the pictures need not report it again.
    for (const RecordingCamera& camera : cameras.recordingCameras(take->cameras())) {
        if (camera.deviceID == device->uniqueID()) take->picturesReportedFrozen.insert(camera.label);
    }
    lastError.set(joined(names, " and ") + " device (" + device->localizedName() +
                  ") disconnected mid-recording. " + kOthersGoOn);
}

std::vector<std::string> DeviceInventory::tracksOn(const std::string& deviceID) const {
    const auto isIt = [&](const std::shared_ptr<AVCaptureDevice>& other) {
        return other && other->uniqueID() == deviceID;
    };
    std::vector<std::string> names;
    if (take->micTrack && isIt(take->micTrack->device)) names.emplace_back("Mic");
    // Computer audio's track has no device of its own: it is its preview's.
    if (take->dawTrack && (isIt(take->dawTrack->device) || previews.daw().deviceID() == deviceID))
        names.emplace_back("Virtual input");
    if (isIt(cameras.webcamDevice())) names.emplace_back("Webcam");
    if (std::ranges::any_of(cameras.extraCameraRigs(), [&](const auto& rig) { return isIt(rig.device); }))
        names.emplace_back("Extra webcam");
    if (std::ranges::any_of(take->extraInputGroups, [&](const auto& group) { return isIt(group->device); }))
        names.emplace_back("Extra input");
    return names;
}

/// A device whose sessions fail again and again, as when another program takes them off it each time, is left alone until
/// the user chooses it again.
void DeviceInventory::repairOrGiveUp(const std::shared_ptr<AVCaptureSession>& session,
                                     const SystemError& error) {
    const auto device = previews.deviceOf(session);
    if (!device) return;
    const double now = CMTimeGetSeconds(platform.hostClock->now());
    std::vector<double>& ofDevice = repairs[*device];
    std::erase_if(ofDevice, [now](double at) { return at < now - kSecondsOfRepairs; });
    if (ofDevice.size() < kMostRepairs) {
        ofDevice.push_back(now);
        previews.repairPreview(session);
        return;
    }
    const auto input = platform.captureDevices->deviceWithUniqueID(*device);
    const std::string text = error.localizedDescription();
    lastError.set((input ? input->localizedName() : *device) + " couldn't be heard for long, " +
                  std::to_string(kMostRepairs + 1) + " times in a row, and isn't tried again by itself." +
                  (text.empty() ? "" : " " + text));
}

void DeviceInventory::handleCaptureSessionRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                                       const SystemError& error) {
    if (!*isRecording) {
        repairOrGiveUp(session, error);
        return;
    }
    std::vector<std::string> names;
    if (session == previews.mic().session()) names.emplace_back("Mic");
    if (session == previews.daw().session()) names.emplace_back("Virtual input");
    if (previews.extra().contains(session)) names.emplace_back("Extra input");
    if (names.empty()) return;
    const std::string text = error.localizedDescription();
    lastError.set(joined(names, " and ") + " capture stopped unexpectedly (" +
                  (text.empty() ? "unknown error" : text) + "). " + kOthersGoOn);
}

} // namespace vintra
