#pragma once

#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <memory>

namespace vintra {

/// IO of the devices of a `SimulatedAudioHardware`, each at the pace of its own clock: a cycle comes when the
/// frames of its input have passed. A device that is unplugged calls no more. One real thread.
class SimulatedAudioDeviceIO : public AudioDeviceIO {
public:
    SimulatedAudioDeviceIO(std::shared_ptr<VirtualTime> time,
                           std::shared_ptr<SimulatedAudioHardware> hardware);

    std::unique_ptr<AudioIOProc> createIOProc(AudioObjectID device, AudioIOBlock block) override;
    std::optional<uint32_t> bufferFrameSize(AudioObjectID device) const override;
    std::optional<AudioBufferSizeRange> bufferFrameSizeRange(AudioObjectID device) const override;
    void setBufferFrameSize(AudioObjectID device, uint32_t frames) override;
    bool setNominalSampleRate(AudioObjectID device, double rate) override;

    int64_t runningProcs() const { return *running; }

private:
    std::shared_ptr<VirtualTime> time;
    std::shared_ptr<SimulatedAudioHardware> hardware;
    std::shared_ptr<int64_t> running = std::make_shared<int64_t>(0);
};

} // namespace vintra
