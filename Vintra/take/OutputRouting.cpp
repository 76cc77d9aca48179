// The computer's own sound. While it is captured the default output is the virtual device, and a relay keeps
// the user hearing it on a real one. Routing is held from the choice of computer audio to its end, across
// takes.
//
//     released --startSystemAudioRelayIfNeeded--> held --stopSystemAudioRelay--> released
//                                                   \--(crash)--> repairDeadEndOutput at the next launch

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kPatienceWithRate = 2.0; // seconds, until the virtual device follows the output's rate

std::string wholeHertz(double rate) {
    return std::to_string(static_cast<int64_t>(rate)) + "Hz";
}

} // namespace

Task<> ScreenRecorderManager::startSystemAudioRelayIfNeeded() {
    // The repair takes for granted that no relay runs.
    co_await awaitOutputRepair();
    const auto virtualDevice =
        SystemOutputRouter::deviceID(*platform.audioHardware, SystemOutputRouter::virtualDeviceUID);
    if (systemAudioRelay || !*captureSystemAudioForDaw || !virtualDevice) co_return;
    const auto output = relayOutput();
    // With the virtual device itself there is nothing to relay to; a take notices that there is no relay.
    if (!output || *output == *virtualDevice) co_return;
    const double rate = platform.audioHardware->nominalSampleRate(*output).value_or(0);
    // What came of it is asked of the relay.
    co_await SystemAudioRelay::setSampleRate(platform, rate, *virtualDevice, kPatienceWithRate);
    // Meanwhile another caller may have built the relay, the user have changed their mind, or a device have
    // gone.
    const auto isThere = [this](AudioObjectID device) {
        const auto devices = SystemOutputRouter::allDevices(*platform.audioHardware);
        return std::find(devices.begin(), devices.end(), device) != devices.end();
    };
    if (systemAudioRelay || !*captureSystemAudioForDaw || !isThere(*virtualDevice) || !isThere(*output))
        co_return;
    makeSystemAudioRelay(*virtualDevice, *output);
}

/// The chosen monitor if it is there, else the default output; nothing if there is none.
std::optional<AudioObjectID> ScreenRecorderManager::relayOutput() const {
    if (*systemAudioMonitorUID) {
        if (const auto monitor =
                SystemOutputRouter::deviceID(*platform.audioHardware, **systemAudioMonitorUID))
            return monitor;
    }
    const auto output = platform.audioHardware->defaultOutputDevice();
    return output == AudioObjectID{0} ? std::nullopt : output;
}

void ScreenRecorderManager::makeSystemAudioRelay(AudioObjectID virtualDevice, AudioObjectID output) {
    const SystemOutputRouter::Services router{*platform.audioHardware, *platform.userDefaults};
    auto previous = SystemOutputRouter::switchToVirtualDevice(router);
    if (!previous) {
        SystemOutputRouter::noteRestoreTarget(router, output);
        previous = output;
    }
    outputDeviceBeforeRecording = previous;

    auto relay = std::make_unique<SystemAudioRelay>(
        SystemAudioRelay::Services{*platform.audioHardware, *platform.audioDeviceIO, *platform.userDefaults,
                                   *platform.wallClock},
        virtualDevice, output, *lowLatencyMonitoring);
    const auto mismatch = relay->rateMismatch();
    if (relay->start()) {
        systemAudioRelay = std::move(relay);
        isHoldingAudioRouting.set(true);
        return;
    }
    SystemOutputRouter::restore(router, previous);
    outputDeviceBeforeRecording = std::nullopt;
    if (mismatch) {
        lastError.set(*mismatch + " Vintra couldn't match the two, so computer audio is unavailable — set "
                                  "both to the same rate in Audio MIDI Setup.");
    } else {
        lastError.set("Couldn't route computer audio to your output device, so it won't be recorded.");
    }
}

void ScreenRecorderManager::stopSystemAudioRelay() {
    // Before the stop, for the device's name and the state of the buffers.
    lastRelayTelemetry = systemAudioRelay ? std::optional(systemAudioRelay->telemetry()) : std::nullopt;
    if (systemAudioRelay) systemAudioRelay->stop();
    systemAudioRelay = nullptr;
    isHoldingAudioRouting.set(false);
    SystemOutputRouter::restore({*platform.audioHardware, *platform.userDefaults},
                                outputDeviceBeforeRecording);
    outputDeviceBeforeRecording = std::nullopt;
}

std::shared_ptr<AVCaptureDevice> ScreenRecorderManager::virtualAudioCaptureDevice() const {
    if (!*systemAudioDriverInstalled) return nullptr;
    return availableAudioInput(SystemOutputRouter::virtualDeviceUID);
}

bool ScreenRecorderManager::usesVirtualAudioDevice() const {
    return *captureSystemAudioForDaw && virtualAudioCaptureDevice() && hasSystemAudioRelay();
}

void ScreenRecorderManager::captureSystemAudioChanged() {
    if (!*captureSystemAudioForDaw) stopSystemAudioRelay();
    startTask(&ScreenRecorderManager::applyComputerAudioChoice);
}

Task<> ScreenRecorderManager::applyComputerAudioChoice() {
    if (*captureSystemAudioForDaw) co_await startSystemAudioRelayIfNeeded();
    co_await configureDawPreview();
}

/// While a take runs the new choice waits for the next relay.
void ScreenRecorderManager::lowLatencyMonitoringChanged() {
    if (!*captureSystemAudioForDaw || *isRecording) return;
    stopSystemAudioRelay();
    startTask(&ScreenRecorderManager::applyLowLatencyChoice);
}

Task<> ScreenRecorderManager::applyLowLatencyChoice() {
    co_await startSystemAudioRelayIfNeeded();
    co_await rebuildDawPreview();
}

Task<> ScreenRecorderManager::refreshDriverPresence() {
    const auto begin = [queue = platform.dispatchQueues->globalQueue(QualityOfService::utility),
                        hardware = platform.audioHardware](auto done) {
        queue->async([hardware, done] {
            done(SystemOutputRouter::deviceID(*hardware, SystemOutputRouter::virtualDeviceUID).has_value());
        });
    };
    const bool isInstalled = co_await awaitCompletion<bool>(*platform.mainThread, begin);
    if (isInstalled != *systemAudioDriverInstalled) systemAudioDriverInstalled.set(isInstalled);
    driverPresenceIsKnown = true;
}

/// For the start: a run that crashed, or the user, may have left the output on the silent device.
Task<> ScreenRecorderManager::repairDeadEndOutput() {
    const auto repair = co_await SystemOutputRouter::repairDeadEndOutput(platform);
    outputRepairIsOver = true;
    for (const auto& goOn : std::exchange(awaitingOutputRepair, {}))
        goOn();
    if (!repair) co_return;
    const std::string sentence =
        repair->wasOurs ? "Vintra didn't shut down cleanly last time and left "
                          "your sound going nowhere. Your output is back on "
                        : "Your Mac's sound output had been set to Vintra Audio, which is silent unless "
                          "Vintra is recording. Your output is back on ";
    lastError.set(sentence + repair->deviceName + ".");
}

Task<> ScreenRecorderManager::awaitOutputRepair() {
    if (outputRepairIsOver) co_return;
    const auto begin = [this](auto done) { awaitingOutputRepair.push_back(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

void ScreenRecorderManager::refreshSystemOutputStatus() {
    const auto clock = SystemOutputClockWatcher::current(*platform.audioHardware);
    if (!clock) {
        systemOutputStatus.set(std::nullopt);
        return;
    }
    const auto name = SystemOutputClockWatcher::currentOutputDeviceName(*platform.audioHardware);
    systemOutputStatus.set(
        SystemOutputStatus{.deviceName = name.value_or("Output device"), .sampleRate = clock->sampleRate});
}

/// The comparison is always with the start of the take: going back to it tells nothing new.
void ScreenRecorderManager::handleSystemOutputClockChanged() {
    refreshSystemOutputStatus();
    const auto current = SystemOutputClockWatcher::current(*platform.audioHardware);
    if (!*isRecording || !outputClockAtRecordingStart || !current || *current == *outputClockAtRecordingStart)
        return;
    const double before = outputClockAtRecordingStart->sampleRate;
    if (current->sampleRate == before) {
        lastError.set("The default output device changed mid-recording. The recording is unaffected, but you "
                      "may not be hearing it through the device you expect.");
        return;
    }
    lastError.set("Your output device's sample rate changed mid-recording (" + wholeHertz(before) + " → " +
                  wholeHertz(current->sampleRate) +
                  "). The recording is unaffected, but what you're "
                  "hearing may be off-pitch until you restart it.");
}

void ScreenRecorderManager::noteOutputClock() {
    outputClockAtRecordingStart = SystemOutputClockWatcher::current(*platform.audioHardware);
}

void ScreenRecorderManager::forgetOutputClock() {
    outputClockAtRecordingStart = std::nullopt;
}

} // namespace vintra
