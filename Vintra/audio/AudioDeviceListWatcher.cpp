#include "Vintra/audio/AudioDeviceListWatcher.h"

#include <utility>

namespace vintra {

AudioDeviceListWatcher::AudioDeviceListWatcher(AudioHardware& hardware)
    : hardware(hardware) {}

void AudioDeviceListWatcher::start(std::function<void()> onChange) {
    if (listener) return;
    listener =
        hardware.addPropertyListener(kAudioObjectSystemObject, AudioProperty::devices, std::move(onChange));
}

} // namespace vintra
