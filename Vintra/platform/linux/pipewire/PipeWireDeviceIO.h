#pragma once

#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/Mutex.h"

#include <map>
#include <memory>
#include <optional>

namespace vintra {

class PipeWireConnection;
class PipeWireDevicePin;
struct PipeWireCycles;
struct PipeWireNode;

/// IO procs on PipeWire's devices, each on a real-time thread of its own. Reading: any thread; the rest: one
/// thread at a time.
///
/// PipeWire has no buffer of a device's own: a device's driver wakes all nodes that hang on it once a cycle,
/// and how long a cycle is follows from what those nodes ask for, within the server's limits. So the buffer
/// size of a device is the length of its driver's cycles: while a block runs on it what that block is called
/// with, otherwise what has been asked for, otherwise what the server uses where nobody asks, which the
/// blocks' own streams ask for: so a program that is content with longer cycles doesn't make them longer. It
/// is set on the virtual device alone, which has its cycles to itself; on other devices the request is
/// ignored, since it would be one for every program that plays there.
///
/// The same goes for the rate: the virtual device runs at 44.1 or 48 kHz as asked, every other device at the
/// rate that the server has chosen, and refuses.
///
/// Two devices on which blocks run have a clock each, unless somebody has linked one to the other, or a card
/// has both: the log tells.
///
/// A block on the virtual device gets what is played to the device; it is not asked for output.
class PipeWireDeviceIO : public AudioDeviceIO {
public:
    PipeWireDeviceIO(std::shared_ptr<PipeWireConnection> connection, std::shared_ptr<Log> log);
    ~PipeWireDeviceIO() override;

    std::unique_ptr<AudioIOProc> createIOProc(AudioObjectID device, AudioIOBlock block) override;
    std::optional<uint32_t> bufferFrameSize(AudioObjectID device) const override;
    std::optional<AudioBufferSizeRange> bufferFrameSizeRange(AudioObjectID device) const override;
    void setBufferFrameSize(AudioObjectID device, uint32_t frames) override;
    bool setNominalSampleRate(AudioObjectID device, double rate) override;

private:
    struct Limits {
        uint32_t usual = 1024;
        uint32_t minimum = 32;
        uint32_t maximum = 8192;
    };
    Limits limits(uint32_t rate) const;
    void say(const PipeWireNode& node) EXCLUDES(mutex);
    bool pin(const PipeWireNode& node) EXCLUDES(mutex);
    void forgetWishes() EXCLUDES(mutex);
    std::shared_ptr<PipeWireCycles> cyclesOf(AudioObjectID device) const EXCLUDES(mutex);
    void lookForSharedClock(AudioObjectID device) const EXCLUDES(mutex);

    const std::shared_ptr<PipeWireConnection> connection;
    const std::shared_ptr<Log> log;
    mutable Mutex mutex;
    std::map<AudioObjectID, std::shared_ptr<PipeWireCycles>> cycles GUARDED_BY(mutex);
    uint32_t pinnedRate GUARDED_BY(mutex) = 0;   ///< of the virtual device; 0: the server's
    uint32_t pinnedFrames GUARDED_BY(mutex) = 0; ///< likewise
    std::unique_ptr<PipeWireDevicePin> pinned;   ///< under the loop's lock
    std::shared_ptr<void> observation;
};

} // namespace vintra
