#include "Vintra/take/ScreenRecorderManager.h"

#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/capturearea/CaptureOverlays.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/SessionControl.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/AudioHealthWatchdog.h"
#include "Vintra/take/BetaFeedback.h"
#include "Vintra/take/CaptureArea.h"
#include "Vintra/take/DeviceInventory.h"
#include "Vintra/take/DiagnosticsReport.h"
#include "Vintra/take/FinishWatch.h"
#include "Vintra/take/MultiCameraScreenRate.h"
#include "Vintra/take/OutputFolder.h"
#include "Vintra/take/PictureMonitors.h"
#include "Vintra/take/RecorderSettings.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/take/ScreenSource.h"
#include "Vintra/take/TakeJournal.h"
#include "Vintra/take/TakeRecovery.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/TrackWriters.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ScreenTrack.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kWatchdogIntervalNanoseconds = 2'000'000'000;
constexpr int64_t kMarkerFlashNanoseconds = 1'000'000'000;
constexpr const char* kWasRunningKey = "vintraWasRunning";
constexpr size_t kLongestCrashReport = 12'000; // characters: what a report by mail can hold

} // namespace

std::shared_ptr<ScreenRecorderManager> ScreenRecorderManager::make(Platform platform) {
    std::shared_ptr<ScreenRecorderManager> manager(new ScreenRecorderManager(std::move(platform)));
    manager->startUp();
    return manager;
}

ScreenRecorderManager::ScreenRecorderManager(Platform services)
    : AudioSelection(LevelsModel::make(*services.hostClock, *services.mainThread))
    , timelineEditor(services.userDefaults, services.workspace)
    , platform(std::move(services))
    , settings(std::make_unique<RecorderSettings>(platform.userDefaults, *this, *this, *this))
    , sessionControl(std::make_unique<SessionControl>(*platform.dispatchQueues, *platform.mainThread))
    , audioSamplePath(std::make_shared<AudioSamplePath>(platform.hostClock, levels))
    , outputRouting(std::make_unique<OutputRouting>(OutputRouting::Surroundings{
          .platform = platform, .selection = *this, .isRecording = isRecording, .lastError = lastError}))
    , audioPreviews(
          std::make_unique<AudioPreviews>(AudioPreviews::Surroundings{.platform = platform,
                                                                      .selection = *this,
                                                                      .sessionControl = *sessionControl,
                                                                      .outputRouting = *outputRouting,
                                                                      .isRecording = isRecording,
                                                                      .lastError = lastError,
                                                                      .samplePath = audioSamplePath}))
    , cameras(std::make_unique<Cameras>(CameraSurroundings{
          .platform = platform,
          .selection = *this,
          .sessionControl = *sessionControl,
          .isRecording = isRecording,
          .lastError = lastError,
          .accessDenied = RecordingError::cameraAccessDenied().errorDescription(platform.words),
          .cannotSetUp =
              [](std::string name) {
                  return RecordingError::cannotConfigureWriter(std::move(name)).errorDescription();
              }}))
    , multiCameraScreenRate(
          std::make_unique<MultiCameraScreenRate>(platform.userDefaults, *this, *this, isRecording))
    , overlays(std::make_unique<CaptureOverlays>(platform.captureOverlayWindows, *this, isRecording))
    , captureArea(std::make_unique<CaptureArea>(CaptureArea::Surroundings{.platform = platform,
                                                                          .selection = *this,
                                                                          .overlays = *overlays,
                                                                          .isRecording = isRecording,
                                                                          .lastError = lastError}))
    , screenSource(std::make_unique<ScreenSource>(ScreenSource::Surroundings{
          .platform = platform, .selection = *this, .area = *captureArea, .overlays = *overlays}))
    , screenTrack(ScreenTrack::make(platform))
    , trackWriters(std::make_unique<TrackWriters>(TrackWriters::Surroundings{
          .platform = platform, .audio = *this, .previews = *audioPreviews, .cameras = *cameras}))
    , inventory(
          std::make_unique<DeviceInventory>(DeviceInventory::Surroundings{.platform = platform,
                                                                          .audio = *this,
                                                                          .previews = *audioPreviews,
                                                                          .outputRouting = *outputRouting,
                                                                          .screenSource = *screenSource,
                                                                          .cameraSelection = *this,
                                                                          .cameras = *cameras,
                                                                          .isRecording = isRecording,
                                                                          .take = take,
                                                                          .lastError = lastError}))
    , audioHealth(std::make_unique<AudioHealthWatchdog>(
          AudioHealthWatchdog::Surroundings{.platform = platform,
                                            .previews = *audioPreviews,
                                            .outputRouting = *outputRouting,
                                            .samplePath = *audioSamplePath,
                                            .isRecording = isRecording,
                                            .lastError = lastError}))
    , pictureMonitors(
          std::make_unique<PictureMonitors>(PictureMonitors::Surroundings{.platform = platform,
                                                                          .cameras = *cameras,
                                                                          .screenTrack = *screenTrack,
                                                                          .take = take,
                                                                          .isRecording = isRecording,
                                                                          .screenFrameRate = screenFrameRate,
                                                                          .lastError = lastError}))
    , finishWatch(std::make_unique<FinishWatch>(*platform.mainThread, statusMessage))
    , tasks(*platform.mainThread) {}

ScreenRecorderManager::~ScreenRecorderManager() {
    cancelRecovery();
}

void ScreenRecorderManager::startUp() {
    screenTrack->onStreamStopped(
        tasks.guarded([this](const SystemError& error) { tasks.start(handleStreamStopped(error)); }));
    tasks.post([this] { return outputRouting->repairDeadEndOutput(); });
    lookForCrashReport();
    settings->restoreScreen();
    tasks.post([this] { return refreshDisplays(); });
    tasks.post([this] { return outputRouting->refreshDriverPresence(); });
    refreshAudioDevices();
    refreshCameraDevices();
    screenSource->observeScreenChanges();
    inventory->observe();
    outputRouting->watchSystemOutput();
    startAudioHealthWatchdog();
    tasks.post([this] { return recoverTakes(); });
}

void ScreenRecorderManager::startAudioHealthWatchdog() {
    watchdogTimer = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                                      kWatchdogIntervalNanoseconds, [this] {
                                                          audioHealth->check();
                                                          pictureMonitors->check();
                                                      });
}

/// A run that ended without its clean exit left its mark.
void ScreenRecorderManager::lookForCrashReport() {
    const bool hasCrashed = boolForKey(*platform.userDefaults, kWasRunningKey).value_or(false);
    platform.userDefaults->set(kWasRunningKey, true);
    if (hasCrashed) tasks.post([this] { return readCrashReport(); });
}

Task<> ScreenRecorderManager::readCrashReport() {
    const auto begin = [queue = platform.dispatchQueues->globalQueue(QualityOfService::utility),
                        files = platform.fileManager, folder = platform.crashReports,
                        now = platform.wallClock->now()](auto done) {
        queue->async([files, folder, now, done] {
            done(BetaFeedback::latestCrashReport(*files, folder, now, kLongestCrashReport));
        });
    };
    auto report = co_await awaitCompletion<std::optional<std::string>>(*platform.mainThread, begin);
    if (report) pendingCrashReport.set(std::move(report));
}

void ScreenRecorderManager::noteCleanExit() {
    platform.userDefaults->set(kWasRunningKey, false);
}

/// In the background: nothing waits for it.
Task<> ScreenRecorderManager::recoverTakes() {
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::utility);
    const auto begin = [background, services = TakeRecovery::Services::of(platform),
                        cancelled = isRecoveryCancelled](auto done) {
        background->async(
            [services, cancelled, done] { done(TakeRecovery(services, cancelled).recoverNoted()); });
    };
    const auto takes = co_await awaitCompletion<std::vector<RecoveredTake>>(*platform.mainThread, begin);
    std::vector<std::string> texts;
    for (const RecoveredTake& recovered : takes)
        texts.push_back(recovered.text());
    if (!texts.empty()) recoveryNote.set(joined(texts, " "));
    isRecoveryOver.set(true);
}

void ScreenRecorderManager::addMarker() {
    if (!take || !*isRecording || *isBusy) return;
    const double seconds = CMTimeGetSeconds(platform.hostClock->now() - *recordingCommonStartTime);
    take->recordingMarkers.push_back(seconds);
    if (take->journal) take->journal->noteMarker(seconds);
    markerCount.set(*markerCount + 1);
    markerJustAdded.set(true);
    markerFlash = std::make_unique<MainThreadTimer>(*platform.dispatchQueues, *platform.mainThread,
                                                    kMarkerFlashNanoseconds, [this] {
                                                        markerFlash = nullptr;
                                                        markerJustAdded.set(false);
                                                    });
}

Task<> ScreenRecorderManager::refreshDisplays() {
    return screenSource->refreshDisplays();
}

void ScreenRecorderManager::refreshAudioDevices() {
    inventory->refreshAudioDevices();
}

void ScreenRecorderManager::refreshCameraDevices() {
    inventory->refreshCameraDevices();
}

Task<> ScreenRecorderManager::configureMicPreview() {
    return audioPreviews->configureMicPreview();
}

Task<> ScreenRecorderManager::configureDawPreview() {
    return audioPreviews->configureDawPreview();
}

Task<> ScreenRecorderManager::configureExtraPreviews() {
    return audioPreviews->configureExtraPreviews();
}

Task<> ScreenRecorderManager::rebuildDawPreview() {
    return audioPreviews->rebuildDawPreview();
}

Task<> ScreenRecorderManager::configureWebcamPreview() {
    return cameras->configureWebcamPreview();
}

Task<> ScreenRecorderManager::endPreviews() {
    outputRouting->end();
    co_await audioPreviews->endPreviews();
    co_await cameras->end();
}

void ScreenRecorderManager::setCameraResolution(CameraResolution resolution, const std::string& forCamera) {
    cameras->setCameraResolution(resolution, forCamera);
}

CameraResolution ScreenRecorderManager::cameraResolution(const std::string& forCamera) const {
    return cameras->cameraResolution(forCamera);
}

bool ScreenRecorderManager::cameraOffers4K(const std::string& camera) const {
    return cameras->cameraOffers4K(camera);
}

void ScreenRecorderManager::hideExtraCameraPreview(const UUID& row) {
    cameras->hideExtraCameraPreview(row);
}

void ScreenRecorderManager::showExtraCameraPreview(const UUID& row) {
    cameras->showExtraCameraPreview(row);
}

void ScreenRecorderManager::stopSystemAudioRelay() {
    outputRouting->stopSystemAudioRelay();
}

void ScreenRecorderManager::chooseCaptureMode(CaptureModeChoice mode) {
    captureArea->chooseCaptureMode(mode);
}

void ScreenRecorderManager::reshapeRegionToAspect() {
    captureArea->reshapeRegionToAspect();
}

DiagnosticsSources ScreenRecorderManager::diagnosticsSources() const {
    return {.platform = platform,
            .status = *this,
            .audio = *this,
            .camera = *this,
            .screen = *this,
            .outputRouting = *outputRouting,
            .cameras = *cameras};
}

std::string ScreenRecorderManager::diagnosticsReport() const {
    return vintra::diagnosticsReport(diagnosticsSources());
}

std::string ScreenRecorderManager::crashReportForSharing() const {
    return vintra::crashReportForSharing(diagnosticsSources());
}

int ScreenRecorderManager::armedTrackCount() const {
    const auto extras = std::ranges::count_if(
        *extraAudioInputs, [](const ExtraAudioInputConfig& row) { return row.deviceID.has_value(); });
    return armedCameraCount() + (*screenEnabled ? 1 : 0) + (*selectedMicDeviceID ? 1 : 0) +
           static_cast<int>(extras) + (*captureSystemAudioForDaw || *selectedDawDeviceID ? 1 : 0);
}

std::string ScreenRecorderManager::captureLimits() const {
    return captureArea->captureLimits();
}

std::string ScreenRecorderManager::captureAreaLabel() const {
    return captureArea->captureAreaLabel();
}

BarState ScreenRecorderManager::currentBarState() const {
    return captureArea->currentBarState();
}

std::vector<PickableWindow> ScreenRecorderManager::pickableWindows() const {
    return captureArea->pickableWindows();
}

std::optional<CaptureRegion> ScreenRecorderManager::selectedWindowRegion() const {
    return captureArea->selectedWindowRegion();
}

double ScreenRecorderManager::backingScale(uint32_t displayID) const {
    return captureArea->backingScale(displayID);
}

URL ScreenRecorderManager::outputFolder(const std::string& forStoredPath) const {
    return vintra::outputFolder(*platform.fileManager, forStoredPath);
}

URL ScreenRecorderManager::defaultOutputFolder() const {
    return vintra::defaultOutputFolder(*platform.fileManager);
}

URL ScreenRecorderManager::prepareOutputFolder(const std::string& forStoredPath) {
    return vintra::prepareOutputFolder(*platform.fileManager, forStoredPath);
}

bool ScreenRecorderManager::isMicPreviewRunning() const {
    return audioPreviews->mic().isDelivering();
}

bool ScreenRecorderManager::isDawPreviewRunning() const {
    return audioPreviews->daw().isDelivering();
}

bool ScreenRecorderManager::usesVirtualAudioDevice() const {
    return outputRouting->usesVirtualAudioDevice();
}

int64_t ScreenRecorderManager::lostScreenFrames() const {
    return screenTrack->lostFrames();
}

} // namespace vintra
