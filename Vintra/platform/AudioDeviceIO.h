#pragma once

#include "Vintra/platform/AudioBuffer.h"
#include "Vintra/platform/AudioHardware.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vintra {

/// Called for each cycle of a device, on a real-time thread of its own: it must not allocate, log, throw or
/// wait. Input streams are to be read, output streams to be filled; both lie in the device's memory.
using AudioIOBlock = std::function<void(AudioBufferList input, AudioBufferList output)>;

/// A block that is registered with a device. It is made stopped, and its destructor stops it. One thread at a
/// time.
class AudioIOProc {
public:
    virtual ~AudioIOProc() = default;
    /// Waits for the device, for seconds at the most. False if it doesn't run.
    virtual bool start() = 0;
    /// When it returns no call of the block is under way and none will begin.
    virtual void stop() = 0;
};

/// Numbers of frames.
struct AudioBufferSizeRange {
    double minimum = 0;
    double maximum = 0;
};

/// Real-time IO of sound devices, and what can be set on them. Reading: any thread. What makes or sets something
/// waits for the device, for seconds at the most, and is for one thread at a time.
class AudioDeviceIO {
public:
    virtual ~AudioDeviceIO() = default;
    /// Null if the device can't take the block.
    virtual std::unique_ptr<AudioIOProc> createIOProc(AudioObjectID device, AudioIOBlock block) = 0;
    /// Frames of a cycle; nothing if it can't be read.
    virtual std::optional<uint32_t> bufferFrameSize(AudioObjectID device) const = 0;
    virtual std::optional<AudioBufferSizeRange> bufferFrameSizeRange(AudioObjectID device) const = 0;
    /// Asks for the size. The device may choose another: read it back.
    virtual void setBufferFrameSize(AudioObjectID device, uint32_t frames) = 0;
    /// False if the device refuses. The rate may change later than this returns.
    virtual bool setNominalSampleRate(AudioObjectID device, double rate) = 0;
};

} // namespace vintra
