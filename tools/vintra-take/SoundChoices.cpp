// What a run asks of the sound devices, and the words for what can't be.

#include "Vintra/audio/SystemOutputRouter.h"
#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/linux/pipewire/PipeWireCaptureDevices.h"
#include "tools/vintra-take/TakeRunner.h"

#include <algorithm>
#include <optional>

namespace vintra {
namespace {

constexpr const char* kNoVirtualDevice =
    "The computer's own sound goes through the virtual device Vintra Audio, which isn't there. "
    "To install it, copy packaging/pipewire.conf.d/vintra-audio.conf to "
    "~/.config/pipewire/pipewire.conf.d/ and restart the sound server: systemctl --user restart pipewire";

} // namespace

double TakeRunner::rateOf(const std::string& deviceUID) const {
    const AudioHardware& hardware = *machine.services.audioHardware;
    const auto device = SystemOutputRouter::deviceID(hardware, deviceUID);
    return device ? hardware.nominalSampleRate(*device).value_or(0) : 0;
}

std::vector<KnownInput> TakeRunner::knownInputs() const {
    std::vector<KnownInput> inputs;
    for (const auto& device : *manager->availableAudioInputDevices) {
        const auto channels = manager->audioDeviceChannelCounts->find(device->uniqueID());
        inputs.push_back(
            {.id = device->uniqueID(),
             .name = device->localizedName(),
             .channels = channels == manager->audioDeviceChannelCounts->end() ? 1 : channels->second,
             .rate = rateOf(device->uniqueID())});
    }
    return inputs;
}

std::vector<KnownOutput> TakeRunner::knownOutputs() const {
    const AudioHardware& hardware = *machine.services.audioHardware;
    const auto chosen = hardware.defaultOutputDevice();
    const auto chosenUID = chosen ? SystemOutputRouter::uid(hardware, *chosen) : std::nullopt;
    std::vector<KnownOutput> outputs;
    for (const auto& output : SystemOutputRouter::availableOutputs(hardware)) {
        outputs.push_back({.id = output.uid,
                           .name = output.name,
                           .rate = rateOf(output.uid),
                           .isDefault = output.uid == chosenUID});
    }
    return outputs;
}

InputProblem TakeRunner::withSoundProblem(InputProblem problem) const {
    if (const auto sound = machine.captureDevices->problem()) problem.sentence += " " + *sound;
    return problem;
}

std::optional<std::string> TakeRunner::computerAudioProblem() const {
    if (const auto sound = machine.captureDevices->problem()) return sound;
    const AudioHardware& hardware = *machine.services.audioHardware;
    if (!SystemOutputRouter::deviceID(hardware, SystemOutputRouter::virtualDeviceUID))
        return kNoVirtualDevice;
    return std::nullopt;
}

TakeRunner::Problem TakeRunner::chooseComputerAudio() {
    if (!options.computerAudio) return std::nullopt;
    if (!machine.routesSound) {
        return InputProblem{
            "Another vintra-take records the computer's own sound: one at a time can. Wait for "
            "its end, or leave out --computer-audio."};
    }
    if (const auto problem = computerAudioProblem()) return InputProblem{*problem};
    if (options.monitor) {
        const auto outputs = knownOutputs();
        if (std::ranges::find(outputs, *options.monitor, &KnownOutput::id) == outputs.end()) {
            return InputProblem{"There is no sound output “" + *options.monitor +
                                "” to listen on. --list shows the ones there are."};
        }
        manager->systemAudioMonitorUID.set(options.monitor);
    }
    manager->lowLatencyMonitoring.set(options.lowLatency);
    manager->captureSystemAudioForDaw.set(true);
    return std::nullopt;
}

TakeRunner::Problem TakeRunner::chooseVirtualInput() {
    if (!options.virtualInput) return std::nullopt;
    const auto inputs = knownInputs();
    if (std::ranges::find(inputs, *options.virtualInput, &KnownInput::id) == inputs.end()) {
        return withSoundProblem(
            {"There is no sound input “" + *options.virtualInput + "”. --list shows the ones there are."});
    }
    manager->selectedDawDeviceID.set(options.virtualInput);
    return std::nullopt;
}

/// Only who has taken the routing gives it back.
void TakeRunner::putOutputBack() {
    if (*manager->captureSystemAudioForDaw && *manager->isHoldingAudioRouting)
        manager->stopSystemAudioRelay();
}

} // namespace vintra
