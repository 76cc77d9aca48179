#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/SystemAudioRelay.h"
#include "Vintra/audio/SystemOutputClockWatcher.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// The computer's own sound. While it is captured the default output is the virtual device, and a relay keeps
/// the user hearing it on a real one. Routing is held from the choice of computer audio to its end, across
/// takes.
///
///     released --startSystemAudioRelayIfNeeded--> held --stopSystemAudioRelay--> released
///                                                   \--(crash)--> repairDeadEndOutput at the next launch
///
/// Owned by the controller. Main thread.
class OutputRouting {
public:
    /// All outlive this.
    struct Surroundings {
        const Platform& platform;
        AudioSelection& selection;
        const Published<bool>& isRecording;
        Published<std::optional<std::string>>& lastError;
    };

    explicit OutputRouting(const Surroundings& surroundings);

    /// For the start, before a relay can be built: a run that crashed, or the user, may have left the output
    /// on the silent device.
    Task<> repairDeadEndOutput();
    /// Looks for the virtual device.
    Task<> refreshDriverPresence();
    /// Shows where the computer's sound goes, and watches it from then on.
    void watchSystemOutput();

    Task<> startSystemAudioRelayIfNeeded();
    /// Ends the listening to the computer's sound and puts the user's own output back.
    void stopSystemAudioRelay();
    bool hasSystemAudioRelay() const { return systemAudioRelay != nullptr; }
    struct RelayState {
        SystemAudioRelay::IOCounts io;
        bool hasRateMismatch = false;
    };
    // Nothing without a relay.
    std::optional<RelayState> relayState() const;
    std::optional<RelayTelemetry> relayTelemetry() const;
    /// The virtual device as a sound input; null if it isn't there.
    std::shared_ptr<AVCaptureDevice> virtualAudioCaptureDevice() const;
    /// Computer audio is on and everything that it takes is there and runs.
    bool usesVirtualAudioDevice() const;

    /// A change of the output is told in a take, against what it was at the take's beginning.
    void noteOutputClock();
    void forgetOutputClock() { outputClockAtRecordingStart = std::nullopt; }

private:
    void tell(const SystemOutputRouter::DeadEndRepair& repair);
    void noteStartUp();
    Task<> awaitOutputRepair();
    std::optional<AudioObjectID> relayOutput() const;
    bool isThere(AudioObjectID device) const;
    void makeSystemAudioRelay(AudioObjectID virtualDevice, AudioObjectID output);
    void refreshSystemOutputStatus();
    void handleSystemOutputClockChanged();

    const Platform& platform;
    AudioSelection& selection;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    std::unique_ptr<SystemAudioRelay> systemAudioRelay;
    std::optional<AudioObjectID> outputDeviceBeforeRecording; ///< where to put the default output back
    std::optional<SystemOutputClock> outputClockAtRecordingStart;
    bool outputRepairIsOver = false;
    bool driverPresenceIsKnown = false;
    std::vector<std::function<void()>> awaitingOutputRepair;
    SystemOutputClockWatcher outputClockWatcher;
    MainThreadTasks tasks;
};

} // namespace vintra
