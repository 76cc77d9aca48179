#pragma once

#include "Vintra/platform/AudioHardware.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

/// Calls its block when the nominal sample rate of one input device changes, until it is destroyed. Owned by
/// the preview of that device. Main thread.
class DeviceSampleRateWatcher {
public:
    /// Null if no input device has that uid. The hardware outlives the watcher.
    static std::unique_ptr<DeviceSampleRateWatcher> make(AudioHardware& hardware,
                                                         const std::string& deviceUID);
    /// A second call does nothing.
    void start(std::function<void()> onChange);

private:
    DeviceSampleRateWatcher(AudioHardware& hardware, AudioObjectID deviceID);

    AudioHardware& hardware;
    AudioObjectID deviceID;
    std::unique_ptr<AudioPropertyListener> listener;
};

} // namespace vintra
