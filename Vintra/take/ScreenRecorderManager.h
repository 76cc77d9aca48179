#pragma once

#include "Vintra/audio/AudioSelection.h"
#include "Vintra/capturearea/BarState.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/capturearea/PickableWindow.h"
#include "Vintra/capturearea/ScreenSelection.h"
#include "Vintra/platform/MainThreadTasks.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/URL.h"
#include "Vintra/take/TakeEnding.h"
#include "Vintra/take/TakeStatus.h"
#include "Vintra/timeline/TimelineEditorSetting.h"
#include "Vintra/video/CameraSelection.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

class AudioHealthWatchdog;
class AudioPreviews;
class AudioSamplePath;
class Cameras;
class CaptureArea;
class CaptureOverlays;
class DeviceInventory;
class FinishWatch;
class FeedbackAsk;
struct DiagnosticsSources;
class MainThreadTimer;
class MultiCameraScreenRate;
class OutputRouting;
class PictureMonitors;
class RecorderSettings;
class RunningTake;
class ScreenSource;
class ScreenTrack;
class SessionControl;
class TakeJournal;
class TrackWriters;

/// The one controller: through its parts it owns every capture session, every writer and all state of
/// recording that the user sees. Views read the published state and call the operations; nothing else starts
/// or stops a take.
///
/// A take is one press of record: one movie of the screen, one per camera, one WAV per audio source, all in
/// one folder, under one name, measured from one instant.
///
///        startRecording                      stopRecording
///     idle -----> starting (isBusy) -----> recording (isRecording) -----> stopping (isBusy) -----> idle
///      ^             | a start that fails undoes itself                                             |
///      +-------------+-------------------------------------------------------------------------------+
///
/// The controller keeps the flow of a start and of a stop. Each part keeps its own share of the work and is
/// handed just the records of state and the services that it needs, never the controller; the sample
/// callbacks are parts of their own and can't reach it. Main thread.
class ScreenRecorderManager final : public TakeStatus,
                                    public AudioSelection,
                                    public CameraSelection,
                                    public ScreenSelection {
public:
    /// Restores the settings, lists the devices and starts the watchers. The services must outlive the
    /// result.
    static std::shared_ptr<ScreenRecorderManager> make(Platform platform);
    ~ScreenRecorderManager();
    ScreenRecorderManager(const ScreenRecorderManager&) = delete;
    ScreenRecorderManager& operator=(const ScreenRecorderManager&) = delete;

    // -- Operations

    /// Turns the armed rows into a running take whose screen movie is at `to`; the other files lie beside it.
    /// The outcome is in the published state: `isRecording`, or `lastError` with the status "Failed to start"
    /// and all undone. Does nothing while a take runs, starts or stops. Call `generateSessionName` for the
    /// next take when it returns.
    Task<> startRecording(URL to);
    /// A start that waits for its screen stream, as for the user's leave to record the screen, fails. Any
    /// other goes on.
    void cancelStart();
    /// Ends the take and finishes every file. The outcome is in `statusMessage` and `lastError`. Does nothing
    /// unless a take runs.
    Task<> stopRecording();
    /// A stop waits for a disk that hangs, and says so in the status. This leaves the file that is waited for as
    /// it is. Does nothing before that is said.
    void giveUpWaitingForDisk();
    /// Notes this moment of the running take for its timeline; the flash falls by itself. Does nothing unless a take
    /// runs and isn't about to end.
    void addMarker();

    Task<> refreshDisplays();
    void refreshAudioDevices();
    void refreshCameraDevices();
    /// Brings a preview in line with its selection. A take needs the previews of its devices running.
    Task<> configureMicPreview();
    Task<> configureDawPreview();
    Task<> configureExtraPreviews();
    Task<> rebuildDawPreview();
    Task<> configureWebcamPreview();
    /// Ends every preview, cameras too, and the routing of the computer's sound for good, for the end of the program:
    /// afterwards no sample callback comes, and nothing takes the user's output. Not in a take.
    Task<> endPreviews();
    /// Ends the listening to the computer's sound and puts the user's own output back. To be called on every
    /// way out of the program. A take that runs goes on without it.
    void stopSystemAudioRelay();
    /// The program ends in order: the next run need not look for a crash. The last call.
    void noteCleanExit();

    /// Does nothing in a take.
    void setCameraResolution(CameraResolution resolution, const std::string& forCamera);
    void hideExtraCameraPreview(const UUID& row);
    void showExtraCameraPreview(const UUID& row);

    /// Leaves takes that were cut off and aren't in order yet for the next start, for the end of the program.
    void cancelRecovery() { isRecoveryCancelled->store(true); }

    void chooseCaptureMode(CaptureModeChoice mode);
    void reshapeRegionToAspect();

    // -- Computed

    int armedTrackCount() const;
    CameraResolution cameraResolution(const std::string& forCamera) const;
    /// Whether the camera has a format worth recording above 1080p.
    bool cameraOffers4K(const std::string& camera) const;
    std::string captureAreaLabel() const;
    std::string captureLimits() const;
    BarState currentBarState() const;
    std::vector<PickableWindow> pickableWindows() const;
    std::optional<CaptureRegion> selectedWindowRegion() const;
    double backingScale(uint32_t displayID) const;
    URL outputFolder(const std::string& forStoredPath) const;
    URL defaultOutputFolder() const;
    /// The folder, made if it is missing. Throws `SystemError`.
    URL prepareOutputFolder(const std::string& forStoredPath);
    bool isMicPreviewRunning() const;
    bool isDawPreviewRunning() const;
    bool usesVirtualAudioDevice() const;
    /// All of the setup as text; the second with the report of the last run's crash in front.
    std::string diagnosticsReport() const;
    std::string crashReportForSharing() const;
    /// Frames of the running take's screen that were lost so far.
    int64_t lostScreenFrames() const;

    // -- The last take, once its stop has ended

    const std::vector<Padding>& lastTakePaddings() const { return lastTake.paddings; }
    const std::optional<TakeFiles>& lastTakeFiles() const { return lastTake.take; }
    const std::vector<SavedFile>& lastTakeSavedFiles() const { return lastTake.files; }
    const std::optional<URL>& lastTimelineURL() const { return lastTake.timelineURL; }
    const std::vector<std::string>& lastTakeWarnings() const { return lastTake.warnings; }
    const std::optional<FrameAccount>& lastTakeScreenFrames() const { return lastTake.screenFrames; }
    CMTime lastTakeStopTime() const { return lastTake.stopTime; }

    /// Which editor the takes get a timeline file for.
    TimelineEditorSetting timelineEditor;
    std::weak_ptr<FeedbackAsk> feedbackAsk;

private:
    explicit ScreenRecorderManager(Platform services);
    void startUp();
    DiagnosticsSources diagnosticsSources() const;
    void startAudioHealthWatchdog();
    void lookForCrashReport();
    Task<> readCrashReport();
    Task<> recoverTakes();

    // The steps of a start (StartTake.cpp)

    Task<> setUpTake();
    Task<> prepareAudioSources();
    Task<> setUpScreen();
    void armAtCommonStart();
    void openSinks();
    void publishTake();
    std::string recordingStatus() const;
    Task<> cleanupAfterFailure();

    // The steps of a stop (StopTake.cpp)

    Task<> awaitSoundUnderWay(CMTime stopTime);
    Task<> detachSinks();
    Task<> finishWriters(TakeEnding& ending);
    void observe(TakeEnding& ending);
    void accountForFrames(TakeEnding& ending) const;
    void leaveRecordingState();
    void releaseTake();
    Task<> findFiles(TakeEnding& ending);
    Task<> checkFiles(TakeEnding& ending);
    Task<> padWavFiles(TakeEnding& ending, std::shared_ptr<TakeJournal> journal);
    Task<> writeTimeline(TakeEnding& ending);
    void reportTake(TakeEnding ending);
    Task<> handleStreamStopped(SystemError error);

    const Platform platform;
    bool isStartCancelled = false;          ///< of a start that is under way
    std::optional<std::string> causeOfStop; ///< of a take that is about to end by itself
    TakeEnding lastTake;
    std::unique_ptr<RunningTake> take; ///< from a start to its stop

    // The parts: each knows those above it. Their own headers say what they do.

    const std::unique_ptr<RecorderSettings> settings;
    const std::unique_ptr<SessionControl> sessionControl;
    const std::shared_ptr<AudioSamplePath> audioSamplePath;
    const std::unique_ptr<OutputRouting> outputRouting;
    const std::unique_ptr<AudioPreviews> audioPreviews;
    const std::unique_ptr<Cameras> cameras;
    const std::unique_ptr<MultiCameraScreenRate> multiCameraScreenRate;
    const std::unique_ptr<CaptureOverlays> overlays;
    const std::unique_ptr<CaptureArea> captureArea;
    const std::unique_ptr<ScreenSource> screenSource;
    const std::shared_ptr<ScreenTrack> screenTrack;
    const std::unique_ptr<TrackWriters> trackWriters;
    const std::unique_ptr<DeviceInventory> inventory;
    const std::unique_ptr<AudioHealthWatchdog> audioHealth;
    const std::unique_ptr<PictureMonitors> pictureMonitors;
    std::unique_ptr<MainThreadTimer> watchdogTimer;
    std::unique_ptr<MainThreadTimer> markerFlash; ///< until `markerJustAdded` falls
    const std::shared_ptr<std::atomic<bool>> isRecoveryCancelled = std::make_shared<std::atomic<bool>>(false);
    const std::unique_ptr<FinishWatch> finishWatch;
    MainThreadTasks tasks;
};

} // namespace vintra
