#include "Vintra/audio/OutputRouting.h"

#include "Vintra/audio/WholeHertz.h"
#include "Vintra/platform/DispatchQueue.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kPatienceWithRate = 2.0; // seconds, until the virtual device follows the output's rate

} // namespace

OutputRouting::OutputRouting(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , selection(surroundings.selection)
    , isRecording(surroundings.isRecording)
    , lastError(surroundings.lastError)
    , outputClockWatcher(*platform.audioHardware)
    , tasks(*platform.mainThread) {}

Task<> OutputRouting::startSystemAudioRelayIfNeeded() {
    // The repair takes for granted that no relay runs.
    co_await awaitOutputRepair();
    const auto virtualDevice =
        SystemOutputRouter::deviceID(*platform.audioHardware, SystemOutputRouter::virtualDeviceUID);
    if (systemAudioRelay || !*selection.captureSystemAudioForDaw || !virtualDevice) co_return;
    const auto output = relayOutput();
    // With the virtual device itself there is nothing to relay to; a take notices that there is no relay.
    if (!output || *output == *virtualDevice) co_return;
    const double rate = platform.audioHardware->nominalSampleRate(*output).value_or(0);
    // What came of it is asked of the relay.
    co_await SystemAudioRelay::setSampleRate(platform, rate, *virtualDevice, kPatienceWithRate);
    // Meanwhile another caller may have built the relay, the user have changed their mind, or a device have
    // gone.
    if (systemAudioRelay || !*selection.captureSystemAudioForDaw || !isThere(*virtualDevice) ||
        !isThere(*output))
        co_return;
    makeSystemAudioRelay(*virtualDevice, *output);
}

bool OutputRouting::isThere(AudioObjectID device) const {
    const auto devices = SystemOutputRouter::allDevices(*platform.audioHardware);
    return std::ranges::find(devices, device) != devices.end();
}

/// The chosen monitor if it is there, else the default output; nothing if there is none.
std::optional<AudioObjectID> OutputRouting::relayOutput() const {
    if (*selection.systemAudioMonitorUID) {
        if (const auto monitor =
                SystemOutputRouter::deviceID(*platform.audioHardware, **selection.systemAudioMonitorUID))
            return monitor;
    }
    const auto output = platform.audioHardware->defaultOutputDevice();
    return output == AudioObjectID{0} ? std::nullopt : output;
}

void OutputRouting::makeSystemAudioRelay(AudioObjectID virtualDevice, AudioObjectID output) {
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
        virtualDevice, output, *selection.lowLatencyMonitoring);
    const auto mismatch = relay->rateMismatch();
    if (relay->start()) {
        systemAudioRelay = std::move(relay);
        selection.isHoldingAudioRouting.set(true);
        return;
    }
    SystemOutputRouter::restore(router, previous);
    outputDeviceBeforeRecording = std::nullopt;
    if (mismatch) {
        lastError.set(*mismatch +
                      " Vintra couldn't match the two, so computer audio is unavailable — set "
                      "both to the same rate in " +
                      platform.words.soundSettings + ".");
    } else {
        lastError.set("Couldn't route computer audio to your output device, so it won't be recorded.");
    }
}

void OutputRouting::stopSystemAudioRelay() {
    // Before the stop, for the device's name and the state of the buffers.
    selection.lastRelayTelemetry = relayTelemetry();
    if (systemAudioRelay) systemAudioRelay->stop();
    systemAudioRelay = nullptr;
    selection.isHoldingAudioRouting.set(false);
    SystemOutputRouter::restore({*platform.audioHardware, *platform.userDefaults},
                                outputDeviceBeforeRecording);
    outputDeviceBeforeRecording = std::nullopt;
}

std::optional<OutputRouting::RelayState> OutputRouting::relayState() const {
    if (!systemAudioRelay) return std::nullopt;
    return RelayState{.io = systemAudioRelay->ioCounts(),
                      .hasRateMismatch = systemAudioRelay->rateMismatch().has_value()};
}

std::optional<RelayTelemetry> OutputRouting::relayTelemetry() const {
    return systemAudioRelay ? std::optional(systemAudioRelay->telemetry()) : std::nullopt;
}

std::shared_ptr<AVCaptureDevice> OutputRouting::virtualAudioCaptureDevice() const {
    if (!*selection.systemAudioDriverInstalled) return nullptr;
    return selection.availableAudioInput(SystemOutputRouter::virtualDeviceUID);
}

bool OutputRouting::usesVirtualAudioDevice() const {
    return *selection.captureSystemAudioForDaw && virtualAudioCaptureDevice() && hasSystemAudioRelay();
}

Task<> OutputRouting::refreshDriverPresence() {
    const auto begin = [queue = platform.dispatchQueues->globalQueue(QualityOfService::utility),
                        hardware = platform.audioHardware](auto done) {
        queue->async([hardware, done] {
            done(SystemOutputRouter::deviceID(*hardware, SystemOutputRouter::virtualDeviceUID).has_value());
        });
    };
    const bool isInstalled = co_await awaitCompletion<bool>(*platform.mainThread, begin);
    if (isInstalled != *selection.systemAudioDriverInstalled)
        selection.systemAudioDriverInstalled.set(isInstalled);
    driverPresenceIsKnown = true;
    noteStartUp();
}

Task<> OutputRouting::repairDeadEndOutput() {
    const auto repair = co_await SystemOutputRouter::repairDeadEndOutput(platform);
    outputRepairIsOver = true;
    for (const auto& goOn : std::exchange(awaitingOutputRepair, {}))
        goOn();
    if (repair) tell(*repair);
    noteStartUp();
}

void OutputRouting::tell(const SystemOutputRouter::DeadEndRepair& repair) {
    const std::string sentence =
        repair.wasOurs ? "Vintra didn't shut down cleanly last time and left "
                         "your sound going nowhere. Your output is back on "
                       : "Your " + platform.words.computer +
                             "'s sound output had been set to Vintra Audio, which is silent unless "
                             "Vintra is recording. Your output is back on ";
    lastError.set(sentence + repair.deviceName + ".");
}

void OutputRouting::noteStartUp() {
    if (outputRepairIsOver && driverPresenceIsKnown) selection.isAudioStartUpOver.set(true);
}

void OutputRouting::watchSystemOutput() {
    refreshSystemOutputStatus();
    outputClockWatcher.start(tasks.guarded([this] { handleSystemOutputClockChanged(); }));
}

Task<> OutputRouting::awaitOutputRepair() {
    if (outputRepairIsOver) co_return;
    const auto begin = [this](auto done) { awaitingOutputRepair.push_back(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

void OutputRouting::refreshSystemOutputStatus() {
    const auto clock = SystemOutputClockWatcher::current(*platform.audioHardware);
    if (!clock) {
        selection.systemOutputStatus.set(std::nullopt);
        return;
    }
    const auto name = SystemOutputClockWatcher::currentOutputDeviceName(*platform.audioHardware);
    selection.systemOutputStatus.set(
        SystemOutputStatus{.deviceName = name.value_or("Output device"), .sampleRate = clock->sampleRate});
}

/// The comparison is always with the start of the take: going back to it tells nothing new.
void OutputRouting::handleSystemOutputClockChanged() {
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

void OutputRouting::noteOutputClock() {
    outputClockAtRecordingStart = SystemOutputClockWatcher::current(*platform.audioHardware);
}

} // namespace vintra
