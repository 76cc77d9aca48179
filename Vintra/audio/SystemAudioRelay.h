#pragma once

#include "Vintra/audio/RelayRing.h"
#include "Vintra/audio/RelayTelemetry.h"
#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WallClock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

class DispatchQueue;

/// Keeps the user hearing the computer's sound while it goes into the virtual device: pulls the stereo stream
/// off that device and hands it to a real output, from one clock to another. It knows nothing of recording.
///
///     constructed --start--> priming --(ring at its target)--> running --(growth)--> priming
///                                \------------------stop-------------/
///
/// A stopped relay is never started again: the next one is a new object. Owned by the routing. One thread at a
/// time, since making, starting and stopping wait for devices; the devices' IO threads touch the ring alone.
class SystemAudioRelay {
public:
    using Telemetry = RelayTelemetry;

    /// All outlive the relay.
    struct Services {
        const AudioHardware& hardware;
        AudioDeviceIO& io;
        const WallClock& wallClock;
    };
    struct Settings {
        bool lowLatency = false;
        int64_t pinnedTargetFrames = 0; ///< as in `RelayTarget`
    };
    /// The setting `RelayTargetFrames`. Main thread.
    static int64_t pinnedTargetFrames(const UserDefaults& userDefaults);
    struct IOCounts {
        int64_t source = 0;
        int64_t output = 0;
    };

    /// Sizes everything, and asks for the source's smallest buffers if low latency is wanted. No IO yet.
    SystemAudioRelay(Services services, AudioObjectID sourceDevice, AudioObjectID outputDevice,
                     Settings settings);
    ~SystemAudioRelay();
    SystemAudioRelay(const SystemAudioRelay&) = delete;
    SystemAudioRelay& operator=(const SystemAudioRelay&) = delete;

    /// True when both devices run. Where it is false, what has been set up is undone by `stop`.
    bool start();
    /// Also for a relay that never started, or half.
    void stop();

    /// The user hears it as loud as the source device's volume control is set now. Any thread.
    void followVolume() const;

    /// Words for two devices at different rates; nothing if they agree or a rate can't be read.
    std::optional<std::string> rateMismatch() const;
    Telemetry telemetry() const;
    /// Cycles that reached the ring.
    IOCounts ioCounts() const;

    /// Asks the device for a rate in hertz, on the queue, and reads the rate until it has changed, for up to
    /// `timeout` seconds: a device may take its time. Gives the rate read last, 0 if it can't be read. Main
    /// thread.
    static Task<double> setSampleRate(Platform platform, std::shared_ptr<DispatchQueue> queue, double rate,
                                      AudioObjectID on, double timeout);

private:
    const Services services;
    const AudioObjectID sourceDevice;
    const AudioObjectID outputDevice;
    const bool lowLatency;
    uint32_t restoreSourceBufferFrames = 0; ///< to put back at the stop; 0: nothing
    uint32_t sourceBufferFrames = 0;        ///< after any request; 0 if unreadable
    uint32_t outputBufferFrames = 0;
    std::unique_ptr<RelayRing> ring;
    std::unique_ptr<AudioIOProc> sourceProc;
    std::unique_ptr<AudioIOProc> outputProc;
    std::optional<Date> startedAt;
};

} // namespace vintra
