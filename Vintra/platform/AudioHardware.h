#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

using AudioObjectID = uint32_t;
/// The system object: the one that holds the device list.
inline constexpr AudioObjectID kAudioObjectSystemObject = 1;

enum class AudioProperty {
    service,                   ///< of the system object: whether sound can be used at all
    devices,                   ///< of the system object
    defaultOutputDevice,       ///< of the system object
    defaultSystemOutputDevice, ///< of the system object
    nominalSampleRate,         ///< of a device
    outputVolume,              ///< of a device
};

/// How a device is joined to the computer.
enum class AudioTransportType { unknown, builtIn, other };

/// Ends the listening when it goes. Main thread.
class AudioPropertyListener {
public:
    virtual ~AudioPropertyListener() = default;
};

/// The machine's sound devices and their properties. A failed read gives an empty optional or an empty list.
/// Reading and setting: any thread. Listening: main thread.
///
/// Two devices are the system's choice. The default output is where programs play to, which the user chooses
/// and a program may change. The default system output is where the machine's own alerts go: the real device,
/// also while the default output is the virtual one.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;
    /// Whether the machine's sound service runs. It may end and begin anew at any time, as for an update. Without it
    /// no device delivers or plays, whether it is in the list or not; devices come back one after another.
    virtual bool isServiceRunning() const = 0;
    /// Every device, inputs and outputs, in the system's order.
    virtual std::vector<AudioObjectID> devices() const = 0;
    /// Channels of each of the device's input streams.
    virtual std::optional<std::vector<uint32_t>> inputStreamChannels(AudioObjectID device) const = 0;
    virtual std::optional<std::vector<uint32_t>> outputStreamChannels(AudioObjectID device) const = 0;
    virtual std::optional<AudioTransportType> transportType(AudioObjectID device) const = 0;
    virtual std::optional<std::string> deviceUID(AudioObjectID device) const = 0;
    virtual std::optional<std::string> deviceName(AudioObjectID device) const = 0;
    /// Hertz.
    virtual std::optional<double> nominalSampleRate(AudioObjectID device) const = 0;
    /// The factor of each output channel as the user's volume control has it, all 0 while muted. Nothing if the
    /// device has no such control.
    virtual std::optional<std::vector<float>> outputVolume(AudioObjectID device) const = 0;
    /// Where what is played to the device comes out once another device is the default output. For most that
    /// is the device itself. A filter that plays on to whatever the default output is, such as an equaliser,
    /// would follow: for it, the device that it plays on to now. Nothing if that can't be told.
    virtual std::optional<AudioObjectID> deviceBehind(AudioObjectID device) const = 0;
    /// 0 if there is none.
    virtual std::optional<AudioObjectID> defaultOutputDevice() const = 0;
    virtual std::optional<AudioObjectID> defaultSystemOutputDevice() const = 0;
    /// False if the system refuses. When it returns true the choice can be read back.
    virtual bool setDefaultOutputDevice(AudioObjectID device) = 0;
    virtual bool setDefaultSystemOutputDevice(AudioObjectID device) = 0;
    /// Whether a default output that this program had set was given up because somebody set another one again and again.
    virtual bool isDefaultOutputContested() const = 0;
    /// Calls the block on the main thread after each change of the property. Null if the object is unknown.
    virtual std::unique_ptr<AudioPropertyListener>
    addPropertyListener(AudioObjectID object, AudioProperty property, std::function<void()> block) = 0;
};

} // namespace vintra
