#include "Vintra/app/ComputerAudioRows.h"

#include "Vintra/app/DeviceMenu.h"
#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kOtherShownKey = "otherVirtualInputShown";
constexpr int64_t kRoutingPatienceNanoseconds = 3'000'000'000; // the devices' rates alone may take 2 s
constexpr const char* kNoDriver =
    "Vintra's audio driver isn't installed, so your computer's audio can't be recorded.";
constexpr const char* kRoutingFailed =
    "Couldn't route your computer's audio through Vintra, so it won't be recorded. Check your output device's sample "
    "rate is 44.1kHz or 48kHz.";

} // namespace

std::string computerAudioHelp(const std::string& operatingSystem) {
    return "Your computer's sound arrives through an audio device, so " + operatingSystem +
           " asks for microphone permission — no microphone is recorded.";
}

ComputerAudioRows::ComputerAudioRows(const AppSurroundings& surroundings, std::function<void()> changed)
    : otherVirtualInputShown(boolForKey(*surroundings.platform.userDefaults, kOtherShownKey).value_or(false))
    , surroundings(surroundings)
    , changed(std::move(changed))
    , tasks(*surroundings.platform.mainThread) {
    for (const AudioProperty property : {AudioProperty::devices, AudioProperty::defaultOutputDevice}) {
        listeners.push_back(surroundings.platform.audioHardware->addPropertyListener(
            kAudioObjectSystemObject, property, tasks.guarded([this] { this->changed(); })));
    }
    ScreenRecorderManager& recorder = surroundings.recorder;
    const auto follow = [this](bool) { routingChanged(); };
    observations = {recorder.captureSystemAudioForDaw.observe(follow),
                    recorder.isHoldingAudioRouting.observe(follow),
                    recorder.systemAudioDriverInstalled.observe(follow)};
    routingChanged();
}

/// A start takes its time: that there is no routing yet is no failure of it.
void ComputerAudioRows::routingChanged() {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (*recorder.isHoldingAudioRouting) {
        const auto& chosen = *recorder.systemAudioMonitorUID;
        const auto outputs = SystemOutputRouter::availableOutputs(*surroundings.platform.audioHardware);
        const auto monitor =
            std::ranges::find_if(outputs, [&](const auto& output) { return output.uid == chosen; });
        heardVia = monitor != outputs.end() ? monitor->name : outputBefore().value_or("your output device");
    }
    const bool awaits = *recorder.captureSystemAudioForDaw && !*recorder.isHoldingAudioRouting;
    if (!awaits) {
        routingTimer = nullptr;
        hasRoutingFailed = false;
    } else if (!routingTimer && !hasRoutingFailed) {
        const Platform& platform = surroundings.platform;
        routingTimer = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                                         kRoutingPatienceNanoseconds, [this] {
                                                             routingTimer = nullptr;
                                                             hasRoutingFailed = true;
                                                             changed();
                                                         });
    }
}

std::vector<TrackRow> ComputerAudioRows::rows() const {
    return {{"computerAudio", computerAudio()}, {"otherVirtualInput", otherVirtualInput()}};
}

bool ComputerAudioRows::isDriverMissing() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    return *recorder.isAudioStartUpOver && !*recorder.systemAudioDriverInstalled;
}

bool ComputerAudioRows::isLocked() const {
    return *surroundings.recorder.isRecording;
}

ComputerAudioRow ComputerAudioRows::computerAudio() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const auto& output = *recorder.systemOutputStatus;
    const bool isArmed = *recorder.captureSystemAudioForDaw;
    return {.isArmed = isArmed,
            .deviceName = isDriverMissing() ? "Vintra Audio not installed" : "Vintra Audio",
            .message = message(),
            .monitors = monitors(),
            .recordedAt = output ? "— recorded at " + SystemOutputStatus::format(output->sampleRate) : "",
            .lowLatency = *recorder.lowLatencyMonitoring,
            .disabled = isLocked() || (!*recorder.systemAudioDriverInstalled && !isArmed)};
}

std::optional<ComputerAudioRow::Message> ComputerAudioRows::message() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    if (isDriverMissing()) return ComputerAudioRow::Message{kNoDriver, true};
    if (!*recorder.captureSystemAudioForDaw) return std::nullopt;
    if (*recorder.isHoldingAudioRouting)
        return ComputerAudioRow::Message{"Routing your audio through Vintra · you're hearing it via " +
                                         heardVia};
    if (hasRoutingFailed) return ComputerAudioRow::Message{kRoutingFailed, true};
    return std::nullopt;
}

/// The name of the output that was in use when routing began, or that is now.
std::optional<std::string> ComputerAudioRows::outputBefore() const {
    const AudioHardware& hardware = *surroundings.platform.audioHardware;
    const auto noted =
        stringForKey(*surroundings.platform.userDefaults, SystemOutputRouter::kPendingRestoreKey);
    const auto device =
        noted ? SystemOutputRouter::deviceID(hardware, *noted) : hardware.defaultOutputDevice();
    if (!device || SystemOutputRouter::uid(hardware, *device) == SystemOutputRouter::virtualDeviceUID)
        return std::nullopt;
    return SystemOutputRouter::name(hardware, *device);
}

MenuState ComputerAudioRows::monitors() const {
    const auto& chosen = *surroundings.recorder.systemAudioMonitorUID;
    MenuState menu{.options = {{"", "Same as " + outputBefore().value_or("before")}},
                   .selectedID = chosen.value_or("")};
    for (const auto& output : SystemOutputRouter::availableOutputs(*surroundings.platform.audioHardware))
        menu.options.push_back({output.uid, output.name});
    if (std::ranges::count(menu.options, menu.selectedID, &MenuOption::id) == 0)
        menu.options.push_back({menu.selectedID, "Unavailable device"});
    return menu;
}

void ComputerAudioRows::setArmed(bool armed) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    if (isLocked() || armed == *recorder.captureSystemAudioForDaw) return;
    if (armed && !*recorder.systemAudioDriverInstalled) return;
    if (armed) setOtherDevice(std::nullopt);
    recorder.captureSystemAudioForDaw.set(armed);
}

void ComputerAudioRows::chooseMonitor(const std::string& optionID) {
    surroundings.recorder.systemAudioMonitorUID.set(optionID.empty() ? std::nullopt
                                                                     : std::optional(optionID));
}

void ComputerAudioRows::setLowLatency(bool on) {
    surroundings.recorder.lowLatencyMonitoring.set(on);
}

OtherVirtualInputRow ComputerAudioRows::otherVirtualInput() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const auto& device = *recorder.selectedDawDeviceID;
    return {.isShown = *otherVirtualInputShown,
            .deviceID = device,
            .availableDevices = deviceMenu(realAudioInputs(recorder), device, "No input connected"),
            .canArm = otherToArm().has_value(),
            .disabled = isLocked()};
}

std::optional<std::string> ComputerAudioRows::otherToArm() const {
    const ScreenRecorderManager& recorder = surroundings.recorder;
    const std::vector<MenuOption> inputs = realAudioInputs(recorder);
    if (lastDawDeviceID && std::ranges::count(inputs, *lastDawDeviceID, &MenuOption::id) > 0)
        return lastDawDeviceID;
    // The microphone's device is refused as the second track's.
    const auto other = std::ranges::find_if(
        inputs, [&](const MenuOption& input) { return input.id != *recorder.selectedMicDeviceID; });
    return other == inputs.end() ? std::nullopt : std::optional(other->id);
}

void ComputerAudioRows::showOtherVirtualInput() {
    if (isLocked()) return;
    surroundings.platform.userDefaults->set(kOtherShownKey, true);
    otherVirtualInputShown.set(true);
}

void ComputerAudioRows::removeOtherVirtualInput() {
    if (isLocked()) return;
    setOtherDevice(std::nullopt);
    surroundings.platform.userDefaults->set(kOtherShownKey, false);
    otherVirtualInputShown.set(false);
}

void ComputerAudioRows::setOtherArmed(bool armed) {
    if (armed == surroundings.recorder.selectedDawDeviceID->has_value()) return;
    setOtherDevice(armed ? otherToArm() : std::nullopt);
}

void ComputerAudioRows::setOtherDevice(const std::optional<std::string>& deviceID) {
    ScreenRecorderManager& recorder = surroundings.recorder;
    if (isLocked()) return;
    if (*recorder.selectedDawDeviceID) lastDawDeviceID = *recorder.selectedDawDeviceID;
    if (deviceID) recorder.captureSystemAudioForDaw.set(false);
    if (*recorder.selectedDawDeviceID != deviceID) recorder.selectedDawDeviceID.set(deviceID);
}

} // namespace vintra
