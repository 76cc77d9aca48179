#pragma once

#include "Vintra/app/AppSurroundings.h"
#include "Vintra/app/TrackRow.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Published.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// The help text of the row of computer audio.
std::string computerAudioHelp(const std::string& operatingSystem);

/// The rows of the second track, which is the computer's sound or another virtual input: arming one disarms the other.
/// In a take the user may choose how to hear the sound, and nothing else. Owned by `TracksSection`. Main thread.
class ComputerAudioRows {
public:
    /// `changed` is called when the rows may have changed by what the recorder doesn't publish.
    ComputerAudioRows(const AppSurroundings& surroundings, std::function<void()> changed);

    std::vector<TrackRow> rows() const;

    void setArmed(bool armed);
    /// An output's unique id; empty for the one from before.
    void chooseMonitor(const std::string& optionID);
    void setLowLatency(bool on);

    Published<bool> otherVirtualInputShown;
    void showOtherVirtualInput();
    /// Takes its row away, with the device.
    void removeOtherVirtualInput();
    void setOtherArmed(bool armed);
    void setOtherDevice(const std::optional<std::string>& deviceID);

private:
    ComputerAudioRow computerAudio() const;
    OtherVirtualInputRow otherVirtualInput() const;
    std::optional<ComputerAudioRow::Message> message() const;
    MenuState monitors() const;
    std::optional<std::string> outputBefore() const;
    std::optional<std::string> otherToArm() const;
    bool isDriverMissing() const;
    bool isLocked() const;
    void routingChanged();

    const AppSurroundings surroundings;
    const std::function<void()> changed;
    std::optional<std::string> lastDawDeviceID;
    std::string heardVia;          ///< the output that the sound is relayed to
    bool hasRoutingFailed = false; ///< it has had its time to begin
    std::unique_ptr<MainThreadTimer> routingTimer;
    std::vector<std::unique_ptr<AudioPropertyListener>> listeners;
    std::vector<Observation> observations;
    MainThreadTasks tasks;
};

} // namespace vintra
