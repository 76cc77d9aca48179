#pragma once

#include "Vintra/platform/AudioDeviceIO.h"

#include <memory>

namespace vintra {

class PipeWireConnection;

/// IO procs on PipeWire's devices. Main thread.
class PipeWireDeviceIO : public AudioDeviceIO {
public:
    explicit PipeWireDeviceIO(std::shared_ptr<PipeWireConnection> connection);

    std::unique_ptr<AudioIOProc> createIOProc(AudioObjectID device, AudioIOBlock block) override;
    std::optional<uint32_t> bufferFrameSize(AudioObjectID device) const override;
    std::optional<AudioBufferSizeRange> bufferFrameSizeRange(AudioObjectID device) const override;
    void setBufferFrameSize(AudioObjectID device, uint32_t frames) override;
    bool setNominalSampleRate(AudioObjectID device, double rate) override;

private:
    const std::shared_ptr<PipeWireConnection> connection;
};

} // namespace vintra
