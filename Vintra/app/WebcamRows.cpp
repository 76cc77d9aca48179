#include "Vintra/app/WebcamRows.h"

#include "Vintra/app/DeviceMenu.h"
#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr const char* kNoCamera = "No camera connected";

} // namespace

std::string cameraResolutionHelp(const std::string& computer) {
    return "Record this camera at 4K, or at 1080p to leave your " + computer +
           " room for the screen and other cameras.";
}

WebcamRows::WebcamRows(const AppSurroundings& surroundings)
    : surroundings(surroundings) {}

std::vector<TrackRow> WebcamRows::rows() const {
    const auto& extras = *surroundings.recorder.extraCameras;
    std::vector<TrackRow> rows;
    const auto add = [&](const std::string& id, WebcamRow webcam) {
        webcam.showAddLink = rows.size() == extras.size();
        rows.push_back({id, std::move(webcam)});
    };
    add("webcam", row(std::nullopt, "Webcam", *surroundings.recorder.selectedCameraDeviceID));
    for (const ExtraCameraConfig& config : extras)
        add("webcam-" + config.id.uuidString(),
            row(config.id, "Webcam " + std::to_string(rows.size() + 1), config.deviceID));
    return rows;
}

WebcamRow WebcamRows::row(const Row& config, const std::string& label,
                          const std::optional<std::string>& deviceID) const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const bool offers4K = deviceID && recorder.cameraOffers4K(*deviceID);
    const CameraResolution chosen = deviceID ? recorder.cameraResolution(*deviceID) : CameraResolution::uhd;
    return {.config = config,
            .label = label,
            .deviceID = deviceID,
            .availableDevices = deviceMenu(cameras(), deviceID, kNoCamera),
            // A camera without more is recorded at 1080p whatever was chosen.
            .resolution = deviceID && !offers4K ? CameraResolution::hd : chosen,
            .canChooseResolution = offers4K && !isLocked(),
            .canShowPreview = deviceID && !isLocked(),
            .disabled = isLocked(),
            .canArm = deviceToArm(config).has_value()};
}

std::vector<MenuOption> WebcamRows::cameras() const {
    std::vector<MenuOption> options;
    for (const auto& camera : *surroundings.recorder.availableCameraDevices)
        options.push_back({camera->uniqueID(), camera->localizedName()});
    return options;
}

std::optional<std::string> WebcamRows::deviceOf(const Row& row) const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (!row) return *recorder.selectedCameraDeviceID;
    const auto found = std::ranges::find(*recorder.extraCameras, *row, &ExtraCameraConfig::id);
    return found == recorder.extraCameras->end() ? std::nullopt : found->deviceID;
}

/// A camera can be opened once: one that another row has is none to arm.
std::optional<std::string> WebcamRows::deviceToArm(const Row& row) const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const auto isFree = [&](const std::string& id) {
        if (row && id == *recorder.selectedCameraDeviceID) return false;
        return std::ranges::none_of(*recorder.extraCameras, [&](const ExtraCameraConfig& config) {
            return Row(config.id) != row && config.deviceID == id;
        });
    };
    const auto last = lastCameraDeviceIDs.find(row);
    if (last != lastCameraDeviceIDs.end() && recorder.availableCamera(last->second) && isFree(last->second))
        return last->second;
    for (const MenuOption& camera : cameras()) {
        if (isFree(camera.id)) return camera.id;
    }
    return std::nullopt;
}

bool WebcamRows::isLocked() const {
    return *surroundings.recorder.isRecording;
}

void WebcamRows::setArmed(const Row& row, bool armed) {
    if (armed == deviceOf(row).has_value()) return;
    setDevice(row, armed ? deviceToArm(row) : std::nullopt);
}

void WebcamRows::setDevice(const Row& row, const std::optional<std::string>& deviceID) {
    if (isLocked()) return;
    if (const auto before = deviceOf(row)) lastCameraDeviceIDs[row] = *before;
    if (!row) {
        surroundings.recorder.selectedCameraDeviceID.set(deviceID);
        return;
    }
    surroundings.recorder.extraCameras.update([&](auto& configs) {
        for (ExtraCameraConfig& config : configs) {
            if (config.id == *row) config.deviceID = deviceID;
        }
    });
}

void WebcamRows::setResolution(const Row& row, CameraResolution resolution) {
    const auto device = deviceOf(row);
    if (device && !isLocked()) surroundings.recorder.setCameraResolution(resolution, *device);
}

void WebcamRows::showPreview(const Row& row) {
    if (!deviceOf(row) || isLocked()) return;
    if (row) {
        surroundings.recorder.showExtraCameraPreview(*row);
    } else {
        surroundings.recorder.webcamPreviewVisible.set(true);
    }
}

void WebcamRows::addWebcam() {
    if (isLocked()) return;
    const UUID id = surroundings.platform.processInfo->makeUUID();
    surroundings.recorder.extraCameras.update([&](auto& configs) { configs.push_back({.id = id}); });
}

void WebcamRows::removeWebcam(const UUID& config) {
    if (isLocked()) return;
    lastCameraDeviceIDs.erase(config);
    surroundings.recorder.extraCameras.update([&](auto& configs) {
        std::erase_if(configs, [&](const auto& other) { return other.id == config; });
    });
}

} // namespace vintra
