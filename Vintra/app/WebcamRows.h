#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/TrackRow.h"
#include "Vintra/platform/UUID.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

struct ExtraCameraConfig;

/// "Record this camera at 4K, ...", in the machine's words.
std::string cameraResolutionHelp(const std::string& computer);

/// The rows of the cameras, and what their controls do. A row is named by its config's id, the first by nothing. In a
/// take the controls do nothing. Owned by `TracksSection`. Main thread.
class WebcamRows {
public:
    using Row = std::optional<UUID>;

    explicit WebcamRows(const AppSurroundings& surroundings);

    std::vector<TrackRow> rows() const;

    /// Arms the row with the camera that it had, else with the first that no other row has; or disarms it.
    void setArmed(const Row& row, bool armed);
    void setDevice(const Row& row, const std::optional<std::string>& deviceID);
    void setResolution(const Row& row, CameraResolution resolution);
    /// In front of other windows, if it is shown already.
    void showPreview(const Row& row);
    /// A further row, not armed.
    void addWebcam();
    void removeWebcam(const UUID& config);

private:
    WebcamRow row(const Row& config, const std::string& label,
                  const std::optional<std::string>& deviceID) const;
    std::optional<std::string> deviceToArm(const Row& row) const;
    std::optional<std::string> deviceOf(const Row& row) const;
    bool isLocked() const;
    std::vector<MenuOption> cameras() const;

    const AppSurroundings surroundings;
    std::map<Row, std::string> lastCameraDeviceIDs; ///< what a row had before it was disarmed
};

} // namespace vintra
