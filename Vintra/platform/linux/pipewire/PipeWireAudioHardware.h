#pragma once

#include "Vintra/platform/AudioHardware.h"
#include "Vintra/platform/MainThread.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

class PipeWireConnection;
class PipeWireDefaultOutput;

/// PipeWire's sources and sinks as sound devices: the number of one is its name's in the connection, its UID
/// is node.name, its name node.description. A source is an input; of the sinks only the virtual device is one
/// too, through its monitor. Reading and setting are for any thread, listeners for the main thread.
class PipeWireAudioHardware : public AudioHardware {
public:
    PipeWireAudioHardware(std::shared_ptr<PipeWireConnection> connection,
                          std::shared_ptr<MainThread> mainThread);
    ~PipeWireAudioHardware() override;

    bool isServiceRunning() const override;
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
    /// PipeWire plays alerts to the default output, so only the device that it already is can be set.
    bool setDefaultSystemOutputDevice(AudioObjectID device) override;
    bool isDefaultOutputContested() const override;
    std::unique_ptr<AudioPropertyListener> addPropertyListener(AudioObjectID object, AudioProperty property,
                                                               std::function<void()> block) override;

private:
    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<MainThread> mainThread;
    const std::shared_ptr<PipeWireDefaultOutput> defaultOutput;
};

} // namespace vintra
