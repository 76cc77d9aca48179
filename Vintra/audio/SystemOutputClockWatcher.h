#pragma once

#include "Vintra/audio/SystemOutputClock.h"
#include "Vintra/platform/AudioHardware.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Tells when the device that the user hears the machine on, or its rate, changes. It watches where alerts
/// go, not the default output: that is the virtual device while routing is held, and alerts stay on the real
/// one. Owned by the controller. Main thread.
class SystemOutputClockWatcher {
public:
    /// The hardware outlives the watcher.
    explicit SystemOutputClockWatcher(AudioHardware& hardware);
    ~SystemOutputClockWatcher();
    SystemOutputClockWatcher(const SystemOutputClockWatcher&) = delete;
    SystemOutputClockWatcher& operator=(const SystemOutputClockWatcher&) = delete;

    /// A second call does nothing.
    void start(std::function<void()> onChange);
    void stop();

    /// Nothing if any of it can't be read.
    static std::optional<SystemOutputClock> current(const AudioHardware& hardware);
    static std::optional<std::string> currentOutputDeviceName(const AudioHardware& hardware);

private:
    void tell() const;
    void retargetRateListener();
    void removeRateListener();

    AudioHardware& hardware;
    std::function<void()> onChange;
    std::optional<AudioObjectID> watchedDeviceID;
    std::unique_ptr<AudioPropertyListener> rateBlock;
    std::unique_ptr<AudioPropertyListener> defaultBlock;
};

} // namespace vintra
