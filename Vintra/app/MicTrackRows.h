#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/InputSilence.h"
#include "Vintra/app/TrackRow.h"
#include "Vintra/platform/UUID.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

struct ExtraAudioInputConfig;

/// The rows of the microphone and of the further audio inputs, and what their controls do. A row is named by its
/// config's id, the microphone's by nothing. In a take the controls do nothing. Owned by `TracksSection`. Main thread.
class MicTrackRows {
public:
    using Row = std::optional<UUID>;

    /// `changed` is called when a row has changed for a reason of this object's own.
    MicTrackRows(const AppSurroundings& surroundings, std::function<void()> changed);

    std::vector<TrackRow> rows() const;

    /// Arms the row with the device that it had, else with the one used last that no other row has; or disarms it.
    void setArmed(const Row& row, bool armed);
    /// Nothing disarms the row.
    void setDevice(const Row& row, const std::optional<std::string>& deviceID);
    void setName(const Row& row, const std::string& name);
    void setChannel(const Row& row, int channelIndex);
    /// Within -60 to 60 dB.
    void setGain(const Row& row, double gainDB);
    /// A further row, not armed.
    void addMicrophone();
    void removeMicrophone(const UUID& config);

private:
    MicTrackRow microphone() const;
    MicTrackRow extraInput(const ExtraAudioInputConfig& config, size_t index) const;
    MenuState devices(const std::optional<std::string>& selected) const;
    std::optional<std::string> deviceToArm(const Row& row) const;
    std::optional<std::string> deviceOf(const Row& row) const;
    bool isLocked() const;
    template <typename Change>
    void change(const UUID& config, Change how);

    const AppSurroundings surroundings;
    InputSilence silence;
    std::map<Row, std::string> lastDeviceIDs; ///< what a row had before it was disarmed
};

} // namespace vintra
