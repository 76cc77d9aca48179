#include "Vintra/platform/simulated/SimulatedMachine.h"

namespace vintra {

SimulatedMachine::SimulatedMachine()
    : time(std::make_shared<VirtualTime>())
    , mainThread(std::make_shared<SimulatedMainThread>(time))
    , hostClock(std::make_shared<SimulatedHostClock>(time, mainThread))
    , wallClock(std::make_shared<SimulatedWallClock>(time))
    , dispatchQueues(std::make_shared<SimulatedDispatchQueues>(time))
    , log(std::make_shared<SimulatedLog>())
    , userDefaults(std::make_shared<SimulatedUserDefaults>())
    , fileManager(std::make_shared<SimulatedFileManager>())
    , processInfo(std::make_shared<SimulatedProcessInfo>())
    , violations(std::make_shared<SimulatedViolations>())
    , assetWriters(std::make_shared<SimulatedAssetWriters>(
          SimulatedAssetWriter::Services{time, mainThread, fileManager, violations})) {}

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
    bundle.userDefaults = userDefaults;
    bundle.fileManager = fileManager;
    bundle.processInfo = processInfo;
    bundle.assetWriters = assetWriters;
    bundle.assetProbing = assetProbing;
    bundle.workspace = workspace;
    return bundle;
}

} // namespace vintra
