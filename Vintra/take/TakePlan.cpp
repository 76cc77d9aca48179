// The plan of a take: what is armed, where its files go and what they are called.

#include "Vintra/platform/FileManager.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {

int ScreenRecorderManager::armedCameraCount() const {
    const auto armed = std::count_if(extraCameras->begin(), extraCameras->end(),
                                     [](const ExtraCameraConfig& row) { return row.deviceID.has_value(); });
    return static_cast<int>(armed) + (*selectedCameraDeviceID ? 1 : 0);
}

int ScreenRecorderManager::armedTrackCount() const {
    const auto extras =
        std::count_if(extraAudioInputs->begin(), extraAudioInputs->end(),
                      [](const ExtraAudioInputConfig& row) { return row.deviceID.has_value(); });
    return armedCameraCount() + (*screenEnabled ? 1 : 0) + (*selectedMicDeviceID ? 1 : 0) +
           static_cast<int>(extras) + (*captureSystemAudioForDaw || *selectedDawDeviceID ? 1 : 0);
}

URL ScreenRecorderManager::defaultOutputFolder() const {
    const std::vector<URL> movies = platform.fileManager->moviesDirectories();
    const URL parent = movies.empty() ? platform.fileManager->homeDirectory().appendingPathComponent("Movies")
                                      : movies.front();
    return parent.appendingPathComponent("Vintra");
}

URL ScreenRecorderManager::outputFolder(const std::string& forStoredPath) const {
    return forStoredPath.empty() ? defaultOutputFolder() : URL::fileURL(forStoredPath);
}

URL ScreenRecorderManager::prepareOutputFolder(const std::string& forStoredPath) {
    URL folder = outputFolder(forStoredPath);
    platform.fileManager->createDirectory(folder);
    return folder;
}

URL ScreenRecorderManager::planOutput(const URL& url) {
    plannedOutputURLs.push_back(url);
    return url;
}

/// The number in a further camera's file name: its row's place in the list; a rig whose row has gone counts
/// on behind.
int ScreenRecorderManager::webcamNumber(const ExtraCameraRig& rig) const {
    const auto& rows = *extraCameras;
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const ExtraCameraConfig& candidate) {
        return candidate.id == rig.configID;
    });
    if (row != rows.end()) return static_cast<int>(row - rows.begin()) + 2;
    const auto position =
        std::find_if(extraCameraRigs.begin(), extraCameraRigs.end(),
                     [&](const ExtraCameraRig& candidate) { return candidate.configID == rig.configID; });
    return static_cast<int>(rows.size()) + static_cast<int>(position - extraCameraRigs.begin()) + 2;
}

} // namespace vintra
