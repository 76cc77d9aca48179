#pragma once

#include "Vintra/platform/AudioHardware.h"

#include <functional>
#include <memory>

namespace vintra {

/// Calls its block when sound devices appear or disappear, until it is destroyed. Owned by the controller.
/// Main thread.
class AudioDeviceListWatcher {
public:
    /// The hardware outlives the watcher.
    explicit AudioDeviceListWatcher(AudioHardware& hardware);
    /// A second call does nothing.
    void start(std::function<void()> onChange);

private:
    AudioHardware& hardware;
    std::unique_ptr<AudioPropertyListener> listener;
};

} // namespace vintra
