#include "Vintra/audio/SystemOutputClockWatcher.h"

#include <utility>

namespace vintra {
namespace {

std::optional<AudioObjectID> systemOutput(const AudioHardware& hardware) {
    const auto device = hardware.defaultSystemOutputDevice();
    return device == AudioObjectID{0} ? std::nullopt : device;
}

} // namespace

SystemOutputClockWatcher::SystemOutputClockWatcher(AudioHardware& hardware)
    : hardware(hardware) {}

SystemOutputClockWatcher::~SystemOutputClockWatcher() {
    stop();
}

void SystemOutputClockWatcher::start(std::function<void()> whenChanged) {
    if (onChange) return;
    onChange = std::move(whenChanged);
    // A block is called no more once its listener has gone, and the listeners go with the watcher.
    defaultBlock = hardware.addPropertyListener(kAudioObjectSystemObject,
                                                AudioProperty::defaultSystemOutputDevice, [this] {
                                                    retargetRateListener();
                                                    tell();
                                                });
    retargetRateListener();
}

void SystemOutputClockWatcher::stop() {
    defaultBlock.reset();
    removeRateListener();
    onChange = nullptr;
}

void SystemOutputClockWatcher::tell() const {
    const auto told = onChange; // kept while it runs, since it may stop the watcher
    told();
}

void SystemOutputClockWatcher::retargetRateListener() {
    const auto device = systemOutput(hardware);
    if (device && device == watchedDeviceID) return;
    removeRateListener();
    if (!device) return;
    rateBlock = hardware.addPropertyListener(*device, AudioProperty::nominalSampleRate, [this] { tell(); });
    if (rateBlock) watchedDeviceID = device;
}

void SystemOutputClockWatcher::removeRateListener() {
    rateBlock.reset();
    watchedDeviceID.reset();
}

std::optional<SystemOutputClock> SystemOutputClockWatcher::current(const AudioHardware& hardware) {
    const auto device = systemOutput(hardware);
    if (!device) return std::nullopt;
    auto uid = hardware.deviceUID(*device);
    const auto rate = hardware.nominalSampleRate(*device);
    if (!uid || !rate || !(*rate > 0)) return std::nullopt;
    return SystemOutputClock{std::move(*uid), *rate};
}

std::optional<std::string> SystemOutputClockWatcher::currentOutputDeviceName(const AudioHardware& hardware) {
    const auto device = systemOutput(hardware);
    return device ? hardware.deviceName(*device) : std::nullopt;
}

} // namespace vintra
