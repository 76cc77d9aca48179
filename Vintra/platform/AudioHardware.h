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
    devices,           ///< of the system object
    nominalSampleRate, ///< of a device
};

/// Ends the listening when it goes. Main thread.
class AudioPropertyListener {
public:
    virtual ~AudioPropertyListener() = default;
};

/// The machine's sound devices and their properties. A failed read gives an empty optional or an empty list.
/// Main thread.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;
    /// Every device, inputs and outputs, in the system's order.
    virtual std::vector<AudioObjectID> devices() const = 0;
    /// Channels of each of the device's input streams.
    virtual std::optional<std::vector<uint32_t>> inputStreamChannels(AudioObjectID device) const = 0;
    virtual std::optional<std::string> deviceUID(AudioObjectID device) const = 0;
    virtual std::optional<std::string> deviceName(AudioObjectID device) const = 0;
    /// Hertz.
    virtual std::optional<double> nominalSampleRate(AudioObjectID device) const = 0;
    /// Calls the block on the main thread after each change of the property. Null if the object is unknown.
    virtual std::unique_ptr<AudioPropertyListener>
    addPropertyListener(AudioObjectID object, AudioProperty property, std::function<void()> block) = 0;
};

} // namespace vintra
