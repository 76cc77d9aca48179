#pragma once

#include "Vintra/platform/AudioDeviceIO.h"
#include "Vintra/platform/simulated/SimulatedAudioHardware.h"
#include "Vintra/platform/simulated/VirtualTime.h"

#include <memory>

namespace vintra {

/// The cycles of one block on one simulated device. One real thread.
class SimulatedIOProc : public AudioIOProc {
public:
    struct Services {
        std::shared_ptr<VirtualTime> time;
        std::shared_ptr<SimulatedAudioHardware> hardware;
        std::shared_ptr<int64_t> running; ///< procs that have been started and not stopped
    };
    SimulatedIOProc(Services services, std::shared_ptr<SimulatedAudioDevice> device, AudioIOBlock block);
    ~SimulatedIOProc() override;

    bool start() override;
    void stop() override;

private:
    class Cycles;
    const Services services;
    const std::shared_ptr<Cycles> cycles;
};

} // namespace vintra
