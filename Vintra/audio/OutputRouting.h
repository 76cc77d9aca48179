#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/audio/RelayAttempt.h"
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
///        ^                                        |  \--(crash)--> repairDeadEndOutput at the next launch
///        +--(in a take, the user chooses a device)+
///
/// What waits for devices runs on a queue. A start that is under way when routing is stopped is undone.
///
/// A hold is lost when another device becomes the default output, and what the user hears it on may go. Both are
/// seen at once. A device that was chosen is respected: in a take it ends the hold, which the next take begins
/// again; between takes the user hears the computer's sound on it from then on. A device that has gone is made up
/// for, also in a take. Whatever a take lost by it is told. Without the machine's sound service there is nothing to
/// hold: the relay ends, and routing begins again with `restore`.
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
    ~OutputRouting();
    OutputRouting(const OutputRouting&) = delete;
    OutputRouting& operator=(const OutputRouting&) = delete;

    /// For the start, before a relay can be built: a run that crashed, or the user, may have left the output
    /// on the silent device.
    Task<> repairDeadEndOutput();
    /// Looks for the virtual device.
    Task<> refreshDriverPresence();
    /// Shows where the computer's sound goes, and watches it from then on.
    void watchSystemOutput();

    /// Ends once there is a relay, or there can't be one. Of several callers one starts it and the others wait.
    Task<> startSystemAudioRelayIfNeeded();
    /// The sound service has ended, and the relay with it. Nothing is given back: who would take it has gone.
    void suspend();
    /// Routes again what was suspended, if what it takes is there again. Why it can't be is told by the last try.
    Task<> restore(bool isLastTry);
    /// Ends the listening to the computer's sound and puts the user's own output back.
    void stopSystemAudioRelay();
    /// The same, for good: no relay is started any more. Where nothing is held it touches nothing.
    void end();
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
    void forgetOutputClock();
    /// What has become of the hold in this take, a sentence each.
    const std::vector<std::string>& lossesOfTake() const { return losses; }

private:
    /// How a start has ended: with a relay, with a sentence, or given up.
    struct Started {
        bool hasRelay = false;
        std::optional<std::string> problem;
    };
    class CurrentAttempt;

    void tell(const SystemOutputRouter::DeadEndRepair& repair);
    void noteStartUp();
    Task<> awaitOutputRepair();
    Task<> awaitAttempt();
    bool wantsRelay() const;
    std::optional<AudioObjectID> virtualDevice() const;
    std::optional<AudioObjectID> relayOutput() const;
    std::optional<AudioObjectID> realOutput() const;
    bool isThere(AudioObjectID device) const;
    std::string nameOf(AudioObjectID device) const;
    Task<Started> makeSystemAudioRelay(AudioObjectID virtualDevice, AudioObjectID heardOn, bool again);
    Started install(RelayAttempt& attempt, const RelayAttempt::Plan& plan);
    void giveUpAttempt();
    void letGo();
    void putOutputBack();

    void watchHold();
    void lookAtHold();
    void respectChoice(AudioObjectID chosen);
    Task<> takeAgain(bool wasLost);
    bool mayTakeAgain();
    void noteLoss(const std::string& sentence);
    void refreshSystemOutputStatus();
    void handleSystemOutputClockChanged();

    const Platform& platform;
    AudioSelection& selection;
    const Published<bool>& isRecording;
    Published<std::optional<std::string>>& lastError;
    const std::shared_ptr<DispatchQueue> queue; ///< where devices are waited for
    const SystemOutputRouter::Services router;
    std::unique_ptr<SystemAudioRelay> systemAudioRelay; ///< stopped while another is to take its place
    AudioObjectID relayedTo = 0;                        ///< the device that the relay plays on
    bool lendsOutput = false;                           ///< the default output is to be the virtual device
    bool isSuspended = false; ///< by the end of the sound service: nothing is relayed, and nothing given back
    bool isUnheard = false;   ///< it has been told that there is no device to hear it on
    std::optional<AudioObjectID> outputDeviceBeforeRecording; ///< where to put the default output back
    std::shared_ptr<RelayAttempt> attempt;                    ///< the start that is under way
    bool attemptHasNoted = false;                             ///< the device to return to
    bool hasEnded = false;
    std::optional<SystemOutputClock> outputClockAtRecordingStart;
    std::vector<std::string> losses;
    std::vector<double> takenAgainAt; ///< host seconds, the latest ones
    bool outputRepairIsOver = false;
    bool driverPresenceIsKnown = false;
    std::vector<std::function<void()>> awaitingOutputRepair;
    std::vector<std::function<void()>> awaitingAttempt;
    SystemOutputClockWatcher outputClockWatcher;
    std::vector<std::unique_ptr<AudioPropertyListener>> holdListeners;
    std::unique_ptr<AudioPropertyListener> volumeListener;
    MainThreadTasks tasks;
};

} // namespace vintra
