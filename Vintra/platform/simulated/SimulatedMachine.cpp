#include "Vintra/platform/simulated/SimulatedMachine.h"

namespace vintra {

SimulatedMachine::SimulatedMachine()
    : time(std::make_shared<VirtualTime>())
    , mainThread(std::make_shared<SimulatedMainThread>(time))
    , hostClock(std::make_shared<SimulatedHostClock>(time, mainThread))
    , wallClock(std::make_shared<SimulatedWallClock>(time))
    , dispatchQueues(std::make_shared<SimulatedDispatchQueues>(time))
    , log(std::make_shared<SimulatedLog>()) {}

SimulatedMachine::~SimulatedMachine() {
    time->shutDown();
}

Platform SimulatedMachine::platform() const {
    Platform bundle;
    bundle.hostClock = hostClock;
    bundle.wallClock = wallClock;
    bundle.mainThread = mainThread;
    bundle.dispatchQueues = dispatchQueues;
    bundle.log = log;
    return bundle;
}

} // namespace vintra
