#include "Vintra/audio/SystemOutputRouter.h"

#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/MainThread.h"

#include <algorithm>
#include <utility>

namespace vintra::SystemOutputRouter {
namespace {

bool isVirtual(const AudioHardware& hardware, AudioObjectID device) {
    return uid(hardware, device) == virtualDeviceUID;
}

bool hasOutputs(const AudioHardware& hardware, AudioObjectID device) {
    const auto streams = hardware.outputStreamChannels(device);
    return streams && std::ranges::any_of(*streams, [](uint32_t channels) { return channels > 0; });
}

/// One of the system's default devices: nothing if it can't be read or there is none.
std::optional<AudioObjectID> chosen(std::optional<AudioObjectID> device) {
    return device == AudioObjectID{0} ? std::nullopt : device;
}

std::optional<AudioObjectID> builtInOutput(const AudioHardware& hardware) {
    for (const AudioObjectID device : allDevices(hardware)) {
        if (hasOutputs(hardware, device) && hardware.transportType(device) == AudioTransportType::builtIn)
            return device;
    }
    return std::nullopt;
}

/// The machine's alerts follow if they go to the virtual device too.
void repairAlertOutput(AudioHardware& hardware, AudioObjectID matching) {
    const auto alerts = chosen(hardware.defaultSystemOutputDevice());
    if (alerts && isVirtual(hardware, *alerts)) hardware.setDefaultSystemOutputDevice(matching);
}

std::optional<DeadEndRepair> repair(AudioHardware& hardware, const std::optional<std::string>& pending) {
    const auto output = chosen(hardware.defaultOutputDevice());
    if (!output || !isVirtual(hardware, *output)) return std::nullopt;
    const auto noted = pending ? deviceID(hardware, *pending) : std::nullopt;
    const bool wasOurs = noted && hardware.setDefaultOutputDevice(*noted);
    const auto moved = wasOurs ? noted : moveToAnyOutput(hardware);
    if (!moved) return std::nullopt;
    repairAlertOutput(hardware, *moved);
    return DeadEndRepair{name(hardware, *moved).value_or("your output device"), wasOurs};
}

} // namespace

std::optional<AudioObjectID> moveToAnyOutput(AudioHardware& hardware) {
    std::vector<AudioObjectID> candidates;
    if (const auto alerts = chosen(hardware.defaultSystemOutputDevice())) candidates.push_back(*alerts);
    if (const auto builtIn = builtInOutput(hardware)) candidates.push_back(*builtIn);
    const auto all = allDevices(hardware);
    candidates.insert(candidates.end(), all.begin(), all.end());
    for (const AudioObjectID candidate : candidates) {
        if (isVirtual(hardware, candidate) || !hasOutputs(hardware, candidate)) continue;
        if (hardware.setDefaultOutputDevice(candidate)) return candidate;
    }
    return std::nullopt;
}

std::vector<AudioObjectID> allDevices(const AudioHardware& hardware) {
    return hardware.devices();
}

std::optional<std::string> name(const AudioHardware& hardware, AudioObjectID of) {
    return hardware.deviceName(of);
}

std::optional<std::string> uid(const AudioHardware& hardware, AudioObjectID of) {
    return hardware.deviceUID(of);
}

std::optional<AudioObjectID> deviceID(const AudioHardware& hardware, const std::string& forUID) {
    for (const AudioObjectID device : allDevices(hardware)) {
        if (uid(hardware, device) == forUID) return device;
    }
    return std::nullopt;
}

std::vector<Output> availableOutputs(const AudioHardware& hardware) {
    std::vector<Output> outputs;
    for (const AudioObjectID device : allDevices(hardware)) {
        if (!hasOutputs(hardware, device)) continue;
        auto deviceUID = uid(hardware, device);
        auto deviceName = name(hardware, device);
        if (!deviceUID || !deviceName || *deviceUID == virtualDeviceUID) continue;
        outputs.push_back({std::move(*deviceUID), std::move(*deviceName)});
    }
    return outputs;
}

std::optional<AudioObjectID> noteWayBack(Services services) {
    const auto virtualDevice = deviceID(services.hardware, virtualDeviceUID);
    if (!virtualDevice) return std::nullopt;
    const auto previous = chosen(services.hardware.defaultOutputDevice());
    if (!previous || *previous == *virtualDevice) return std::nullopt;
    const auto previousUID = uid(services.hardware, *previous);
    if (!previousUID) return std::nullopt;
    // Noted first, while the old device is still the default, so that a crash at any later instant can be
    // repaired.
    services.userDefaults.set(kPendingRestoreKey, *previousUID);
    return previous;
}

std::optional<AudioObjectID> switchToVirtualDevice(Services services) {
    const auto previous = noteWayBack(services);
    if (!previous) return std::nullopt;
    const auto virtualDevice = deviceID(services.hardware, virtualDeviceUID);
    if (!virtualDevice || !services.hardware.setDefaultOutputDevice(*virtualDevice)) {
        services.userDefaults.remove(kPendingRestoreKey);
        return std::nullopt;
    }
    return previous;
}

void noteRestoreTarget(Services services, AudioObjectID device) {
    const auto deviceUID = uid(services.hardware, device);
    if (!deviceUID || *deviceUID == virtualDeviceUID) return;
    services.userDefaults.set(kPendingRestoreKey, *deviceUID);
}

void restore(Services services, std::optional<AudioObjectID> to) {
    if (!to) {
        const auto pending = stringForKey(services.userDefaults, kPendingRestoreKey);
        if (pending) to = deviceID(services.hardware, *pending);
    }
    if (to) services.hardware.setDefaultOutputDevice(*to);
    services.userDefaults.remove(kPendingRestoreKey);
}

Task<std::optional<DeadEndRepair>> repairDeadEndOutput(Platform platform) {
    const auto pending = stringForKey(*platform.userDefaults, kPendingRestoreKey);
    const auto begin = [queue = platform.dispatchQueues->globalQueue(QualityOfService::utility),
                        hardware = platform.audioHardware, pending](auto done) {
        queue->async([hardware, pending, done] { done(repair(*hardware, pending)); });
    };
    auto repaired = co_await awaitCompletion<std::optional<DeadEndRepair>>(*platform.mainThread, begin);
    platform.userDefaults->remove(kPendingRestoreKey);
    co_return repaired;
}

} // namespace vintra::SystemOutputRouter
