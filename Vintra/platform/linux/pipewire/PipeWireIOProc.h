#pragma once

#include "Vintra/platform/AudioDeviceIO.h"

#include <functional>
#include <memory>
#include <string>

namespace vintra {

class PipeWireConnection;
class PipeWireIOStream;
struct PipeWireCycles;

/// A block's place on one device of PipeWire: a stream from a source or from the virtual device's monitor, or
/// to a sink or a duplex node, while it is started. Main thread; the connection's lock guards the stream.
class PipeWireIOProc : public AudioIOProc {
public:
    /// Its cycles are to have `frames` at most. `started` is called whenever the device has begun to run.
    PipeWireIOProc(std::shared_ptr<PipeWireConnection> connection, std::string deviceName, AudioIOBlock block,
                   std::shared_ptr<PipeWireCycles> cycles, uint32_t frames, std::function<void()> started);
    ~PipeWireIOProc() override;

    /// A device that does not run within 3 s has refused.
    bool start() override;
    void stop() override;

private:
    bool connectStream();

    const std::shared_ptr<PipeWireConnection> connection;
    const std::string deviceName;
    const AudioIOBlock block;
    const std::shared_ptr<PipeWireCycles> cycles;
    const uint32_t frames;
    const std::function<void()> started;
    std::unique_ptr<PipeWireIOStream> stream;
};

} // namespace vintra
