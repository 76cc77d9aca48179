#pragma once

#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/simulated/SimulatedAudioDevice.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The sound devices of a simulated machine; none at the start. One real thread.
class SimulatedAudioHardware : public AudioHardware {
public:
    explicit SimulatedAudioHardware(std::shared_ptr<MainThread> mainThread);

    bool isServiceRunning() const override { return serviceRuns; }
    std::vector<AudioObjectID> devices() const override;
    std::optional<std::vector<uint32_t>> inputStreamChannels(AudioObjectID device) const override;
    std::optional<std::vector<uint32_t>> outputStreamChannels(AudioObjectID device) const override;
    std::optional<AudioTransportType> transportType(AudioObjectID device) const override;
    std::optional<std::string> deviceUID(AudioObjectID device) const override;
    std::optional<std::string> deviceName(AudioObjectID device) const override;
    std::optional<double> nominalSampleRate(AudioObjectID device) const override;
    std::optional<std::vector<float>> outputVolume(AudioObjectID device) const override;
    std::optional<AudioObjectID> deviceBehind(AudioObjectID device) const override;
    std::optional<AudioObjectID> defaultOutputDevice() const override;
    std::optional<AudioObjectID> defaultSystemOutputDevice() const override;
    bool setDefaultOutputDevice(AudioObjectID device) override;
    bool setDefaultSystemOutputDevice(AudioObjectID device) override;
    bool isDefaultOutputContested() const override { return isContested; }
    std::unique_ptr<AudioPropertyListener> addPropertyListener(AudioObjectID object, AudioProperty property,
                                                               std::function<void()> block) override;

    /// Adds the device at the end of the list and tells the listeners. It can be scripted through the result.
    std::shared_ptr<SimulatedAudioDevice> plug(SimulatedAudioDevice device);
    /// A device with that many input channels in one stream.
    std::shared_ptr<SimulatedAudioDevice> plug(const std::string& uid, const std::string& name,
                                               uint32_t channels = 1);
    /// Puts a device that was unplugged back, under a new id.
    void plugAgain(const std::shared_ptr<SimulatedAudioDevice>& device);
    /// Takes the device away; what captures it hears no more.
    void unplug(const std::string& uid);
    /// As the sound service ends: all devices go with it, and the defaults can't be read.
    void stopService();
    /// As it begins anew, so far without devices. `plugAgain` brings them back.
    void startService();
    void setNominalSampleRate(const std::string& uid, double rate);
    /// As the user turns the device's volume control.
    void setOutputVolume(const std::string& uid, std::vector<float> channels);
    /// As the user or another program chooses the default output; nothing and 0 as for `defaultOutput`.
    void chooseDefaultOutput(std::optional<AudioObjectID> id);
    /// Told of each device that is plugged in or unplugged, for as long as the result is kept.
    using PlugObserver = std::function<void(const std::shared_ptr<SimulatedAudioDevice>&, bool isThere)>;
    Observation observePlugs(PlugObserver observer);
    /// Tells the listeners as if the property had changed.
    void notify(AudioObjectID object, AudioProperty property);
    /// The plugged-in device; null if there is none.
    std::shared_ptr<SimulatedAudioDevice> device(const std::string& uid) const;
    /// Null if there is none.
    std::shared_ptr<SimulatedAudioDevice> device(AudioObjectID id) const;
    size_t listenerCount() const;

    bool isContested = false;          ///< `isDefaultOutputContested`
    bool hasUnreadableDevices = false; ///< the device list can't be read
    /// Nothing: the choice can't be read. 0: there is none. A device that goes stays the choice.
    std::optional<AudioObjectID> defaultOutput = 0;
    std::optional<AudioObjectID> defaultSystemOutput = 0;

private:
    struct Listener;
    void tellOfPlug(const std::shared_ptr<SimulatedAudioDevice>& device, bool isThere);

    std::shared_ptr<MainThread> mainThread;
    bool serviceRuns = true;
    std::vector<std::shared_ptr<SimulatedAudioDevice>> list;
    std::vector<std::weak_ptr<Listener>> listeners;
    std::vector<std::weak_ptr<PlugObserver>> plugObservers;
    AudioObjectID nextID = 40;
};

} // namespace vintra
