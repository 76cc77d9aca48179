#include "Vintra/platform/simulated/SimulatedAudioHardware.h"

#include <algorithm>
#include <utility>

namespace vintra {

struct SimulatedAudioHardware::Listener {
    AudioObjectID object;
    AudioProperty property;
    std::function<void()> block;
};

namespace {
class SimulatedAudioPropertyListener : public AudioPropertyListener {
public:
    explicit SimulatedAudioPropertyListener(std::shared_ptr<void> listener)
        : kept(std::move(listener)) {}

private:
    std::shared_ptr<void> kept;
};
} // namespace

SimulatedAudioHardware::SimulatedAudioHardware(std::shared_ptr<MainThread> mainThread)
    : mainThread(std::move(mainThread)) {}

std::vector<AudioObjectID> SimulatedAudioHardware::devices() const {
    std::vector<AudioObjectID> ids;
    if (hasUnreadableDevices) return ids;
    for (const auto& each : list)
        ids.push_back(each->id);
    return ids;
}

std::optional<std::vector<uint32_t>> SimulatedAudioHardware::inputStreamChannels(AudioObjectID id) const {
    const auto found = device(id);
    if (!found || found->hasUnreadableStreams) return std::nullopt;
    return found->inputStreamChannels;
}

std::optional<std::vector<uint32_t>> SimulatedAudioHardware::outputStreamChannels(AudioObjectID id) const {
    const auto found = device(id);
    if (!found || found->hasUnreadableStreams) return std::nullopt;
    return found->outputStreamChannels;
}

std::optional<AudioTransportType> SimulatedAudioHardware::transportType(AudioObjectID id) const {
    const auto found = device(id);
    if (!found) return std::nullopt;
    return found->transportType;
}

std::optional<std::vector<float>> SimulatedAudioHardware::outputVolume(AudioObjectID id) const {
    const auto found = device(id);
    return found ? found->outputVolume : std::nullopt;
}

std::optional<AudioObjectID> SimulatedAudioHardware::deviceBehind(AudioObjectID id) const {
    auto found = device(id);
    // A chain of filters ends, however they are scripted.
    for (size_t steps = 0; found && found->playsOnTo && steps < list.size(); ++steps)
        found = device(*found->playsOnTo);
    if (!found || found->playsOnTo) return std::nullopt;
    return found->id;
}

std::optional<AudioObjectID> SimulatedAudioHardware::defaultOutputDevice() const {
    return defaultOutput;
}

std::optional<AudioObjectID> SimulatedAudioHardware::defaultSystemOutputDevice() const {
    return defaultSystemOutput;
}

bool SimulatedAudioHardware::setDefaultOutputDevice(AudioObjectID id) {
    const auto found = device(id);
    if (!found || found->refusesToBeDefault) return false;
    chooseDefaultOutput(id);
    return true;
}

void SimulatedAudioHardware::chooseDefaultOutput(std::optional<AudioObjectID> id) {
    const bool isNew = defaultOutput != id;
    defaultOutput = id;
    if (isNew) notify(kAudioObjectSystemObject, AudioProperty::defaultOutputDevice);
}

bool SimulatedAudioHardware::setDefaultSystemOutputDevice(AudioObjectID id) {
    const auto found = device(id);
    if (!found || found->refusesToBeDefault) return false;
    const bool isNew = defaultSystemOutput != id;
    defaultSystemOutput = id;
    if (isNew) notify(kAudioObjectSystemObject, AudioProperty::defaultSystemOutputDevice);
    return true;
}

std::optional<std::string> SimulatedAudioHardware::deviceUID(AudioObjectID id) const {
    const auto found = device(id);
    if (!found || found->hasUnreadableUID) return std::nullopt;
    return found->uid;
}

std::optional<std::string> SimulatedAudioHardware::deviceName(AudioObjectID id) const {
    const auto found = device(id);
    if (!found || found->hasUnreadableName) return std::nullopt;
    return found->name;
}

std::optional<double> SimulatedAudioHardware::nominalSampleRate(AudioObjectID id) const {
    const auto found = device(id);
    if (!found || found->hasUnreadableRate) return std::nullopt;
    return found->nominalSampleRate;
}

std::unique_ptr<AudioPropertyListener>
SimulatedAudioHardware::addPropertyListener(AudioObjectID object, AudioProperty property,
                                            std::function<void()> block) {
    if (object != kAudioObjectSystemObject && !device(object)) return nullptr;
    auto listener = std::make_shared<Listener>(Listener{object, property, std::move(block)});
    listeners.push_back(listener);
    return std::make_unique<SimulatedAudioPropertyListener>(std::move(listener));
}

std::shared_ptr<SimulatedAudioDevice> SimulatedAudioHardware::plug(SimulatedAudioDevice device) {
    auto made = std::make_shared<SimulatedAudioDevice>(std::move(device));
    plugAgain(made);
    return made;
}

std::shared_ptr<SimulatedAudioDevice>
SimulatedAudioHardware::plug(const std::string& uid, const std::string& name, uint32_t channels) {
    SimulatedAudioDevice device;
    device.uid = uid;
    device.name = name;
    device.inputStreamChannels = {channels};
    return plug(std::move(device));
}

void SimulatedAudioHardware::plugAgain(const std::shared_ptr<SimulatedAudioDevice>& device) {
    device->id = nextID++;
    list.push_back(device);
    tellOfPlug(device, true);
    notify(kAudioObjectSystemObject, AudioProperty::devices);
}

void SimulatedAudioHardware::unplug(const std::string& uid) {
    const auto gone = device(uid);
    if (!gone) return;
    std::erase(list, gone);
    tellOfPlug(gone, false);
    notify(kAudioObjectSystemObject, AudioProperty::devices);
}

void SimulatedAudioHardware::stopService() {
    serviceRuns = false;
    while (!list.empty())
        unplug(std::string(list.back()->uid));
    defaultSystemOutput = std::nullopt;
    chooseDefaultOutput(std::nullopt);
    notify(kAudioObjectSystemObject, AudioProperty::service);
}

void SimulatedAudioHardware::startService() {
    serviceRuns = true;
    defaultSystemOutput = 0;
    chooseDefaultOutput(0);
    notify(kAudioObjectSystemObject, AudioProperty::service);
}

Observation SimulatedAudioHardware::observePlugs(PlugObserver observer) {
    auto kept = std::make_shared<PlugObserver>(std::move(observer));
    plugObservers.push_back(kept);
    return kept;
}

void SimulatedAudioHardware::tellOfPlug(const std::shared_ptr<SimulatedAudioDevice>& device, bool isThere) {
    for (const auto& weak : plugObservers) {
        if (const auto observer = weak.lock()) (*observer)(device, isThere);
    }
}

void SimulatedAudioHardware::setNominalSampleRate(const std::string& uid, double rate) {
    const auto found = device(uid);
    if (!found) return;
    found->nominalSampleRate = rate;
    notify(found->id, AudioProperty::nominalSampleRate);
}

void SimulatedAudioHardware::setOutputVolume(const std::string& uid, std::vector<float> channels) {
    const auto found = device(uid);
    if (!found) return;
    found->outputVolume = std::move(channels);
    notify(found->id, AudioProperty::outputVolume);
}

void SimulatedAudioHardware::notify(AudioObjectID object, AudioProperty property) {
    for (const auto& weak : listeners) {
        const auto listener = weak.lock();
        if (!listener || listener->object != object || listener->property != property) continue;
        mainThread->post([weak] {
            if (const auto living = weak.lock()) living->block();
        });
    }
    std::erase_if(listeners, [](const auto& weak) { return weak.expired(); });
}

std::shared_ptr<SimulatedAudioDevice> SimulatedAudioHardware::device(const std::string& uid) const {
    const auto found = std::ranges::find_if(list, [&](const auto& each) { return each->uid == uid; });
    return found == list.end() ? nullptr : *found;
}

std::shared_ptr<SimulatedAudioDevice> SimulatedAudioHardware::device(AudioObjectID id) const {
    const auto found = std::ranges::find_if(list, [&](const auto& each) { return each->id == id; });
    return found == list.end() ? nullptr : *found;
}

size_t SimulatedAudioHardware::listenerCount() const {
    return static_cast<size_t>(
        std::ranges::count_if(listeners, [](const auto& weak) { return !weak.expired(); }));
}

} // namespace vintra
