#include "Vintra/platform/simulated/SimulatedMachine.h"

#include "Vintra/platform/simulated/SimulatedFileProbe.h"

namespace vintra {

SimulatedMachine::SimulatedMachine()
    : time(std::make_shared<VirtualTime>())
    , mainThread(std::make_shared<SimulatedMainThread>(time))
    , hostClock(std::make_shared<SimulatedHostClock>(time, mainThread))
    , wallClock(std::make_shared<SimulatedWallClock>(time))
    , journal(std::make_shared<SimulatedJournal>())
    , dispatchQueues(std::make_shared<SimulatedDispatchQueues>(time, mainThread, journal))
    , log(std::make_shared<SimulatedLog>())
    , userDefaults(std::make_shared<SimulatedUserDefaults>())
    , fileManager(std::make_shared<SimulatedFileManager>())
    , processInfo(std::make_shared<SimulatedProcessInfo>())
    , violations(std::make_shared<SimulatedViolations>())
    , assetWriters(std::make_shared<SimulatedAssetWriters>(
          SimulatedAssetWriter::Services{time, mainThread, hostClock, fileManager, violations, journal}))
    , rateConversion(std::make_shared<SimulatedRateConversion>())
    , assetProbing(std::make_shared<SimulatedAssetProbing>())
    , audioHardware(std::make_shared<SimulatedAudioHardware>(mainThread))
    , audioDeviceIO(std::make_shared<SimulatedAudioDeviceIO>(time, audioHardware))
    , cameras(std::make_shared<SimulatedCameras>())
    , captureDevices(std::make_shared<SimulatedCaptureDevices>(
          SimulatedCaptureSession::Services{time, mainThread, hostClock, violations}, audioHardware, cameras))
    , screenCapture(std::make_shared<SimulatedScreenCapture>(
          SimulatedScreenStream::Services{time, violations, journal}, processInfo->processIdentifier()))
    , screens(std::make_shared<SimulatedScreens>(mainThread))
    , captureOverlayWindows(std::make_shared<SimulatedCaptureOverlayWindows>())
    , floatingPreviewWindows(std::make_shared<SimulatedFloatingPreviewWindows>())
    , windowList(std::make_shared<SimulatedWindowList>())
    , windowQuestion(std::make_shared<SimulatedWindowQuestion>())
    , workspace(std::make_shared<SimulatedWorkspace>()) {
    assetProbing->setFallback([files = fileManager, writers = assetWriters](const URL& url) {
        return probeSimulatedFile(*files, *writers, url);
    });
}

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
    bundle.rateConversion = rateConversion;
    bundle.assetProbing = assetProbing;
    bundle.audioHardware = audioHardware;
    bundle.audioDeviceIO = audioDeviceIO;
    bundle.captureDevices = captureDevices;
    bundle.screenCapture = screenCapture;
    bundle.screens = screens;
    bundle.captureOverlayWindows = captureOverlayWindows;
    bundle.floatingPreviewWindows = floatingPreviewWindows;
    bundle.windowList = windowList;
    bundle.windowQuestion = windowQuestion;
    bundle.workspace = workspace;
    bundle.facts = facts;
    bundle.crashReports = crashReports;
    return bundle;
}

} // namespace vintra
