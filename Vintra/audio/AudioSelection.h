#pragma once

#include "Vintra/audio/ExtraAudioInputConfig.h"
#include "Vintra/audio/LevelsModel.h"
#include "Vintra/audio/RelayTelemetry.h"
#include "Vintra/audio/SystemOutputStatus.h"
#include "Vintra/platform/Published.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vintra {

class AVCaptureDevice;

/// Which sound inputs there are, which are chosen, and what the user hears. Part of the controller's state.
/// Main thread.
struct AudioSelection {
    explicit AudioSelection(std::shared_ptr<LevelsModel> levels);

    Published<std::vector<std::shared_ptr<AVCaptureDevice>>> availableAudioInputDevices; ///< last used first
    Published<std::unordered_map<std::string, int>> audioDeviceChannelCounts;            ///< by unique id
    Published<std::optional<std::string>> selectedMicDeviceID;
    Published<int> selectedMicChannelIndex{0};
    Published<std::string> micTrackName;
    Published<double> micGainDB{0};
    Published<std::optional<std::string>> selectedDawDeviceID;
    Published<double> dawGainDB{0};
    Published<bool> captureSystemAudioForDaw{false};
    Published<bool> lowLatencyMonitoring{false};
    Published<std::optional<std::string>> systemAudioMonitorUID;
    Published<bool> isHoldingAudioRouting{false};
    Published<bool> systemAudioDriverInstalled{false};
    Published<std::optional<SystemOutputStatus>> systemOutputStatus;
    Published<std::vector<ExtraAudioInputConfig>> extraAudioInputs;
    /// The start-up has answered what it asks of the machine in the background: where the output was left by
    /// the run before, and whether the virtual device is there.
    Published<bool> isAudioStartUpOver{false};
    /// No chosen input is still to begin: the mic's and the second track's have delivered, and every preview
    /// of a further input that could be made runs. True where nothing is chosen.
    Published<bool> arePreviewsDelivering{true};
    const std::shared_ptr<LevelsModel> levels; ///< shared with the audio queues

    std::optional<RelayTelemetry> lastRelayTelemetry; ///< as it was when the last relay stopped

    /// Null without an id, and if no listed device has it.
    std::shared_ptr<AVCaptureDevice> availableAudioInput(const std::optional<std::string>& uniqueID) const;
    /// The device's number of input channels, 1 if unknown.
    int channelCount(const std::string& uniqueID) const;
    /// The devices of the armed rows of `extraAudioInputs`, each once, in the order of their first rows.
    std::vector<std::string> extraInputDeviceIDs() const;
};

} // namespace vintra
