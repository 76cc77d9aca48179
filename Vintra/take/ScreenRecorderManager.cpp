#include "Vintra/take/ScreenRecorderManager.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/MainThread.h"

namespace vintra {

std::shared_ptr<ScreenRecorderManager> ScreenRecorderManager::make(Platform platform) {
    std::shared_ptr<ScreenRecorderManager> manager(new ScreenRecorderManager(std::move(platform)));
    manager->persistSettingsOnChange();
    manager->handleSelectionChanges();
    manager->startTask(&ScreenRecorderManager::repairDeadEndOutput);
    manager->restoreScreenSettings();
    manager->startTask(&ScreenRecorderManager::refreshDisplays);
    manager->startTask(&ScreenRecorderManager::refreshDriverPresence);
    manager->refreshAudioDevices();
    manager->knownDeviceIdentity = manager->currentDeviceIdentity();
    manager->observeScreenChanges();
    manager->observeAudioDevices();
    return manager;
}

ScreenRecorderManager::ScreenRecorderManager(Platform aPlatform)
    : timelineEditor(aPlatform.userDefaults, aPlatform.workspace)
    , levels(LevelsModel::make(*aPlatform.hostClock, *aPlatform.mainThread))
    , platform(std::move(aPlatform))
    , deviceListWatcher(*platform.audioHardware)
    , outputClockWatcher(*platform.audioHardware)
    , screenBeat(std::make_shared<ScreenBeat>(platform.hostClock, platform.log))
    , webcamWriteQueue(std::make_shared<CameraWriteQueue>(platform.hostClock))
    , videoDrops(std::make_shared<DropCounter>())
    , screenDropTimeline(std::make_shared<DropTimeline>())
    , lastScreenFrameTime(std::make_shared<LastFrameTime>())
    , videoOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.videoOutput"))
    , sessionControlQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.sessionControl"))
    , systemAudioQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.systemAudio"))
    , micOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.micOutput"))
    , dawOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.dawOutput"))
    , extraInputOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.extraInputOutput"))
    , webcamOutputQueue(platform.dispatchQueues->makeSerialQueue("com.screenrecorder.webcamOutput")) {
    restoreSettings();
}

ScreenRecorderManager::~ScreenRecorderManager() = default;

void ScreenRecorderManager::startTask(Task<> (ScreenRecorderManager::*operation)()) {
    platform.mainThread->post([weak = weak_from_this(), operation] {
        const auto self = weak.lock();
        if (self) self->tasks.start(((*self).*operation)());
    });
}

double ScreenRecorderManager::hostSeconds() const {
    return CMTimeGetSeconds(platform.hostClock->now());
}

void ScreenRecorderManager::log(const char* category, LogLevel level, const std::string& text) const {
    platform.log->write(category, level, text);
}

} // namespace vintra
