// What a run asks of the cameras, and the words for what can't be.

#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/video/CameraFormatChoice.h"
#include "tools/vintra-take/TakeRunner.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kNoGoodFormat =
    " has no format of 16:9 with 24 frames a second, so it is recorded in the format that it is in.";

} // namespace

std::vector<KnownCamera> TakeRunner::knownCameras() const {
    const auto cap = webcamMaxFrameRate(*machine.services.userDefaults);
    std::vector<KnownCamera> cameras;
    for (const auto& device : *manager->availableCameraDevices)
        cameras.push_back(knownCamera(*device, cap));
    return cameras;
}

/// The first one is the take's webcam, each further one a row of its own.
TakeRunner::Problem TakeRunner::chooseCameras() {
    if (options.cameras.empty()) return std::nullopt;
    const auto known = knownCameras();
    auto result = parseCameraChoices(options.cameras, options.camerasOf1080p, known);
    if (auto* problem = std::get_if<InputProblem>(&result)) return *problem;
    chosenCameras = std::get<std::vector<CameraChoice>>(std::move(result));
    std::vector<ExtraCameraConfig> rows;
    for (const CameraChoice& choice : chosenCameras) {
        const auto camera = std::ranges::find(known, choice.deviceID, &KnownCamera::id);
        if (!camera->chosen) outlets.note("“" + camera->name + "”" + kNoGoodFormat);
        if (choice.is1080p) manager->setCameraResolution(CameraResolution::hd, choice.deviceID);
        if (&choice != &chosenCameras.front())
            rows.push_back({.id = machine.services.processInfo->makeUUID(), .deviceID = choice.deviceID});
    }
    manager->selectedCameraDeviceID.set(chosenCameras.front().deviceID);
    if (!rows.empty()) manager->extraCameras.set(rows);
    return std::nullopt;
}

std::string TakeRunner::cameraName(size_t index) const {
    if (index >= chosenCameras.size()) return "";
    const CameraChoice& choice = chosenCameras[index];
    if (!choice.name.empty()) return choice.name;
    const auto device = manager->availableCamera(choice.deviceID);
    return device ? device->localizedName() : choice.deviceID;
}

} // namespace vintra
