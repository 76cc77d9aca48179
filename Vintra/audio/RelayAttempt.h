#pragma once

#include "Vintra/audio/SystemAudioRelay.h"
#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/AudioHardware.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// One try to lend the default output to the virtual device and to start a relay. Each step waits for a device,
/// so it runs on a queue. Whoever gives the attempt up finds the output as it was, whatever step it had come to.
///
///     made --run--> running --takeRelay--> (the caller's)
///              \--> failed, and undone
///       any of them --giveUp, then undo on the queue--> undone
///
/// Made by `OutputRouting`, shared with the queue. `giveUp` is for any thread; `run` and `undo` are the queue's; the
/// rest is for the main thread while the queue has nothing of it to do.
class RelayAttempt {
public:
    struct Services {
        std::shared_ptr<AudioHardware> hardware;
        std::shared_ptr<AudioDeviceIO> io;
        std::shared_ptr<WallClock> wallClock;
    };
    struct Plan {
        AudioObjectID virtualDevice = 0;
        AudioObjectID output = 0;   ///< where the user hears it
        AudioObjectID putBack = 0;  ///< to be the default output again, if the attempt comes to nothing
        bool switchesOutput = true; ///< false: the default output is left as it is
        SystemAudioRelay::Settings relay;
    };

    explicit RelayAttempt(Services services);

    void run(const Plan& with);
    /// Steps that haven't begun don't.
    void giveUp() { isGivenUp_ = true; }
    bool isGivenUp() const { return isGivenUp_; }
    /// Stops what runs and puts the output back.
    void undo();

    /// The running relay; null if the attempt has failed.
    std::unique_ptr<SystemAudioRelay> takeRelay();
    /// The virtual device has become the default output.
    bool hasSwitched() const { return hasSwitched_; }
    /// Words for two devices at different rates, if that is why it failed.
    const std::optional<std::string>& mismatch() const { return mismatch_; }

private:
    bool start();

    const Services services;
    Plan plan;
    std::atomic<bool> isGivenUp_ = false;
    bool hasBegun = false;
    bool hasSwitched_ = false;
    std::optional<std::string> mismatch_;
    std::unique_ptr<SystemAudioRelay> relay;
};

} // namespace vintra
