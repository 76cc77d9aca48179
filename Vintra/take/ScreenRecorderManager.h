#pragma once

#include "Vintra/audio/ActivityStamp.h"
#include "Vintra/audio/AudioDeviceListWatcher.h"
#include "Vintra/audio/AudioRoutingCache.h"
#include "Vintra/audio/DeviceSampleRateWatcher.h"
#include "Vintra/audio/LevelsModel.h"
#include "Vintra/audio/MonoFormatCache.h"
#include "Vintra/audio/SystemAudioRelay.h"
#include "Vintra/audio/SystemOutputClockWatcher.h"
#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/BarState.h"
#include "Vintra/capturearea/CaptureModeChoice.h"
#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/capturearea/PickableWindow.h"
#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/Observation.h"
#include "Vintra/platform/Platform.h"
#include "Vintra/platform/Published.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/Screens.h"
#include "Vintra/platform/Sink.h"
#include "Vintra/platform/Task.h"
#include "Vintra/platform/WallClock.h"
#include "Vintra/take/AudioTrack.h"
#include "Vintra/take/CameraResolution.h"
#include "Vintra/take/CaptureDisplay.h"
#include "Vintra/take/ExtraAudioInputConfig.h"
#include "Vintra/take/ExtraCameraConfig.h"
#include "Vintra/take/ExtraCameraRig.h"
#include "Vintra/take/ExtraInputDeviceGroup.h"
#include "Vintra/take/FeedbackAsk.h"
#include "Vintra/take/RecordingCamera.h"
#include "Vintra/take/SystemOutputStatus.h"
#include "Vintra/take/TakeWarnings.h"
#include "Vintra/take/WebcamPreviewSize.h"
#include "Vintra/timeline/TakeFiles.h"
#include "Vintra/timeline/TimelineEditorSetting.h"
#include "Vintra/video/CameraWriteQueue.h"
#include "Vintra/video/DeliveredFrameSize.h"
#include "Vintra/video/DropCounter.h"
#include "Vintra/video/DropTimeline.h"
#include "Vintra/video/LastFrameTime.h"
#include "Vintra/video/PictureWatch.h"
#include "Vintra/video/ScreenBeat.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace vintra {

/// The one controller: it owns every capture session, every writer and all state of recording that the user
/// sees. Views read the published state and call the operations; nothing else starts or stops a take.
///
/// A take is one press of record: one movie of the screen, one per camera, one WAV per audio source, all in
/// one folder, under one name, measured from one instant.
///
///        startRecording                      stopRecording
///     idle -----> starting (isBusy) -----> recording (isRecording) -----> stopping (isBusy) -----> idle
///      ^             | a start that fails undoes itself                                             |
///      +-------------+-------------------------------------------------------------------------------+
///
/// Main thread, with the exception of the sample callbacks (`stream(...)`, `captureOutput`): those run on
/// serial queues and touch only the objects marked as shared below, each of which has a lock of its own, and
/// the tracks that these hold, which are their queue's alone until the take has drained it.
///
/// The header is the map of the controller; each group of operations has a source file of its own.
class ScreenRecorderManager final : public std::enable_shared_from_this<ScreenRecorderManager>,
                                    public SCStreamOutput,
                                    public SCStreamDelegate,
                                    public AVCaptureDataOutputSampleBufferDelegate {
public:
    /// Restores the settings, lists the devices and starts the watchers. The services must outlive the
    /// result.
    static std::shared_ptr<ScreenRecorderManager> make(Platform platform);
    ~ScreenRecorderManager() override;

    // -- Operations
    // ------------------------------------------------------------------------------------------------

    /// Turns the armed rows into a running take whose screen movie is at `to`; the other files lie beside it.
    /// The outcome is in the published state: `isRecording`, or `lastError` with the status "Failed to start"
    /// and all undone. Does nothing while a take runs, starts or stops. Call `generateSessionName` for the
    /// next take when it returns.
    Task<> startRecording(URL to);
    /// A start that waits for its screen stream, as for the user's leave to record the screen, fails. Any
    /// other goes on.
    void cancelStart();
    /// Ends the take and finishes every file. The outcome is in `statusMessage` and `lastError`.
    /// Does nothing unless a take runs.
    Task<> stopRecording();

    Task<> refreshDisplays();
    /// What the control bar's mode buttons do: takes the mode over, and shows what it captures or lets the
    /// user choose it.
    void chooseCaptureMode(CaptureModeChoice mode);
    /// Gives the chosen region the chosen aspect: of the same area around the same centre, within its
    /// display. Freeform leaves it alone, and so does a display without a screen.
    void reshapeRegionToAspect();
    void refreshAudioDevices();
    /// Brings a preview in line with its selection. A take needs the previews of its devices running.
    Task<> configureMicPreview();
    Task<> configureDawPreview();
    Task<> configureExtraPreviews();
    Task<> rebuildDawPreview();
    /// Ends every preview for good, for the end of the program: afterwards no sample callback comes, so none
    /// is the last to hold the controller. Not in a take.
    Task<> endPreviews();

    /// Ends the listening to the computer's sound and puts the user's own output back. To be called on every
    /// way out of the program. A take that runs goes on without it.
    void stopSystemAudioRelay();

    // -- Computed
    // --------------------------------------------------------------------------------------------------

    int armedTrackCount() const;
    int armedCameraCount() const;
    std::string captureAreaLabel() const;
    CaptureModeChoice effectiveCaptureMode() const;
    BarState currentBarState() const;
    /// The windows that may be chosen, front to back; empty where windows can't be read.
    std::vector<PickableWindow> pickableWindows() const;
    /// Where the chosen window is now: on the screen that shows most of it, else the main one. Nothing if
    /// none is chosen or it has gone.
    std::optional<CaptureRegion> selectedWindowRegion() const;
    /// The chosen display, else the first; nothing without displays.
    std::optional<CaptureDisplay> effectiveDisplay() const;
    /// Pixels a point of the display's screen; 2 if no screen matches the display.
    double backingScale(uint32_t displayID) const;
    URL outputFolder(const std::string& forStoredPath) const;
    URL defaultOutputFolder() const;
    /// The folder, made if it is missing. Throws `SystemError`.
    URL prepareOutputFolder(const std::string& forStoredPath);
    /// The silence that a stop puts before a sound file, so that the file begins at the common start.
    struct Padding {
        URL url;
        double gap = 0; ///< seconds; up to 0.01 the file is left as it is
    };
    /// Host time that is zero of the running or last take; nothing before the first.
    const std::optional<CMTime>& commonStartTime() const { return recordingCommonStartTime; }
    /// Frames of the running take's screen that were lost so far.
    int64_t lostScreenFrames() const { return videoDrops->read(); }
    const std::vector<Padding>& lastTakePaddings() const { return lastTakePaddings_; }
    /// The tracks of the running or last take, as told to the timeline; nothing before the first.
    const std::optional<TakeFiles>& lastTakeFiles() const { return lastTakeFiles_; }
    const std::optional<URL>& lastTimelineURL() const { return lastTimelineURL_; }
    const std::vector<std::string>& lastTakeWarnings() const { return lastTakeWarnings_; }
    /// Where a device's preview stands: whether its session delivers.
    bool isMicPreviewRunning() const { return isDelivering(micPreview, micActivity); }
    bool isDawPreviewRunning() const { return isDelivering(dawPreview, dawActivity); }
    bool areExtraPreviewsRunning() const;
    /// Computer audio is on and everything that it takes is there and runs.
    bool usesVirtualAudioDevice() const;
    /// Whether what the start-up asks of the machine in the background has been answered: where the output
    /// was left by the run before, and whether the virtual device is there.
    bool isStartUpOver() const { return outputRepairIsOver && driverPresenceIsKnown; }

    /// Which editor the takes get a timeline file for.
    TimelineEditorSetting timelineEditor;

    // -- Published: the take
    // ---------------------------------------------------------------------------------------

    Published<bool> isRecording{false};
    Published<bool> isBusy{false}; ///< a start or a stop is in progress; both refuse to run while it is set
    Published<std::optional<Date>> recordingStartDate;
    Published<std::string> statusMessage{"Ready"};
    Published<std::optional<std::string>> lastError;
    Published<bool> activeMicTrack{false};
    Published<bool> activeDawTrack{false};
    Published<bool> activeWebcamTrack{false};
    Published<int> markerCount{0};
    Published<bool> markerJustAdded{false};                   ///< for the marker's flash
    Published<std::optional<std::string>> pendingCrashReport; ///< of the run before
    Published<bool> crashReportCopied{false};

    // -- Published: audio
    // ------------------------------------------------------------------------------------------

    Published<std::vector<std::shared_ptr<AVCaptureDevice>>> availableAudioInputDevices; ///< last used first
    Published<std::unordered_map<std::string, int>> audioDeviceChannelCounts;            ///< by unique id
    Published<std::optional<std::string>> selectedMicDeviceID;
    Published<int> selectedMicChannelIndex{0};
    Published<std::string> micTrackName;
    Published<double> micGainDB{0};
    Published<std::optional<std::string>> selectedDawDeviceID;
    Published<double> dawGainDB{0};
    Published<bool> captureSystemAudioForDaw{false};
    Published<bool> lowLatencyMonitoring{false};
    Published<std::optional<std::string>> systemAudioMonitorUID;
    Published<bool> isHoldingAudioRouting{false};
    Published<bool> systemAudioDriverInstalled{false};
    Published<std::optional<SystemOutputStatus>> systemOutputStatus;
    Published<std::vector<ExtraAudioInputConfig>> extraAudioInputs;
    const std::shared_ptr<LevelsModel> levels; ///< shared with the audio queues

    // -- Published: cameras
    // ----------------------------------------------------------------------------------------

    Published<std::vector<std::shared_ptr<AVCaptureDevice>>> availableCameraDevices;
    Published<std::optional<std::string>> selectedCameraDeviceID;
    Published<std::shared_ptr<AVCaptureSession>> webcamPreviewSession; ///< of the first camera, while it runs
    Published<bool> webcamPreviewVisible{false};
    Published<WebcamPreviewSize> webcamPreviewSize{WebcamPreviewSize::small};
    Published<std::vector<ExtraCameraConfig>> extraCameras;
    Published<std::set<UUID>> hiddenExtraCameraPreviews;
    Published<std::unordered_map<std::string, CameraResolution>>
        cameraResolutions; ///< by unique id; absent: uhd
    Published<std::optional<int>>
        multiCameraScreenRateNote; ///< frames a second that several cameras replaced

    // -- Published: the screen
    // -------------------------------------------------------------------------------------

    Published<bool> screenEnabled{true};
    Published<int> screenFrameRate{60}; ///< 24, 30 or 60
    Published<std::vector<CaptureDisplay>> availableDisplays;
    Published<std::optional<uint32_t>> selectedDisplayID;
    Published<CaptureModeChoice> screenCaptureMode{CaptureModeChoice::fullScreen};
    Published<std::optional<CaptureRegion>> captureRegion;
    Published<AspectPreset> aspectPreset{AspectPreset::freeform};
    Published<bool> regionGuideVisible{false};
    Published<std::optional<uint32_t>> selectedWindowID;
    Published<std::optional<std::string>> selectedWindowTitle;
    Published<bool> showMouseClicks{false};
    Published<uint32_t> clickRippleColor{0xffcc00}; ///< 0xRRGGBB

    // -- What the take leaves for the diagnostics
    // ------------------------------------------------------------------

    std::string lastScreenBeatSummary;
    std::optional<std::string> lastScreenDropSummary;
    std::vector<std::string> lastCameraTakeSummary;
    std::optional<SystemAudioRelay::Telemetry> lastRelayTelemetry; ///< as it was when the last relay stopped

    std::weak_ptr<FeedbackAsk> feedbackAsk;

    // -- Callbacks of the platform: any queue
    // ----------------------------------------------------------------------

    void stream(SCStream& stream, const CMSampleBuffer& didOutputSampleBuffer,
                SCStreamOutputType of) override;
    void stream(SCStream& stream, const SystemError& didStopWithError) override;
    void captureOutput(const std::shared_ptr<AVCaptureOutput>& output,
                       const CMSampleBuffer& didOutput) override;

private:
    explicit ScreenRecorderManager(Platform platform);

    /// A running capture session of one audio device, takes or not.
    struct AudioPreview {
        std::shared_ptr<AVCaptureSession> session;
        std::shared_ptr<AVCaptureAudioDataOutput> dataOutput;
        std::optional<std::string> deviceID; ///< nothing forces a rebuild at the next configure
        std::unique_ptr<DeviceSampleRateWatcher> sampleRateWatcher;
        double configuredAt = 0; ///< host seconds
    };
    struct ExtraPreview {
        std::string deviceID;
        std::shared_ptr<AVCaptureSession> session;
        std::shared_ptr<AVCaptureAudioDataOutput> dataOutput;
    };
    /// The session and output of a preview about to be installed.
    struct CaptureChain {
        std::shared_ptr<AVCaptureSession> session;
        std::shared_ptr<AVCaptureAudioDataOutput> dataOutput;
    };
    struct WriterAndInput {
        std::shared_ptr<AVAssetWriter> writer;
        std::shared_ptr<AVAssetWriterInput> input;
    };
    /// A writer with the name that the user is given if it fails.
    struct LabelledWriter {
        std::string label;
        std::shared_ptr<AVAssetWriter> writer;
    };
    /// What one start has made so far.
    struct TakeInProgress {
        URL url;
        std::shared_ptr<AVCaptureDevice> micDevice;
        std::shared_ptr<AVCaptureDevice> dawDevice;
        std::shared_ptr<SCStream> stream;
        WriterAndInput screen;
        WriterAndInput webcam;
        std::vector<ExtraCameraRecording> extraCameras;
        std::shared_ptr<AudioTrack> micTrack;
        std::shared_ptr<AudioTrack> dawTrack;
        std::vector<std::shared_ptr<ExtraInputDeviceGroup>> extraInputGroups;
        std::vector<std::shared_ptr<AVAssetWriter>> startedWriters;
    };
    /// What one stop has learnt so far.
    struct TakeEnding {
        CMTime stopTime;
        double seconds = 0;
        std::vector<std::string> failures;
        std::vector<Padding> paddings;
        TakeObservations seen;
        std::optional<TakeFiles> take;
    };

    // -- Starting (StartTake.cpp)
    // ----------------------------------------------------------------------------------

    Task<> setUpTake(TakeInProgress& take);
    Task<> prepareAudioSources(TakeInProgress& take);
    void makeWebcamWriters(TakeInProgress& take);
    void makeAudioTracks(TakeInProgress& take);
    void checkPlannedOutputs() const;
    void armAtCommonStart(TakeInProgress& take);
    std::vector<LabelledWriter> writersInOrder(const TakeInProgress& take) const;
    void startWriters(TakeInProgress& take);
    void storeTake(const TakeInProgress& take);
    void beginScreenBeat();
    void openSinks();
    void publishTake(const TakeInProgress& take);
    std::string recordingStatus() const;
    Task<> cleanupAfterFailure(std::vector<std::shared_ptr<AVAssetWriter>> cancelling);
    Task<bool> requestMicPermissionIfNeeded();

    // -- Stopping (StopTake.cpp)
    // -----------------------------------------------------------------------------------

    Task<> detachSinks();
    Task<> drain(std::shared_ptr<DispatchQueue> queue);
    Task<CameraWriteQueue::Result> flush(std::shared_ptr<CameraWriteQueue> queue,
                                         std::shared_ptr<AVAssetWriterInput> into);
    Task<> flushCameras();
    Task<> finishScreenBeat(CMTime stopTime);
    void markInputsAsFinished();
    Task<> finishWriters(TakeEnding& ending);
    Task<> finish(std::shared_ptr<AVAssetWriter> writer, std::string label, TakeEnding& ending);
    void recordPadding(const std::shared_ptr<AVAssetWriter>& writer, std::optional<CMTime> firstPTS,
                       TakeEnding& ending) const;
    std::optional<TakeFiles> takeFiles() const;
    void resetLossCounters();
    void leaveRecordingState();
    void clearActiveTracks();
    void releaseTake();
    Task<> padWavFiles(std::vector<Padding> paddings);
    Task<> writeTimeline(TakeEnding& ending);
    void reportTake(const TakeEnding& ending);

    // -- Report of the take (TakeReport.cpp)
    // -----------------------------------------------------------------------

    TakeObservations observeTake(CMTime stopTime);
    void observeSounds(TakeObservations& seen) const;
    void observeCameras(CMTime stopTime, TakeObservations& seen);
    std::vector<RecordingCamera> recordingCameras();
    std::optional<std::string> windowSizeNote() const;
    std::string frameLossRemedy();
    std::optional<bool> outputVolumeIsInternal() const;

    // -- Writers (TrackWriters.cpp)
    // --------------------------------------------------------------------------------

    static AVAudioSettings capturePCMSettings(int channelCount);
    std::shared_ptr<AVAssetWriterInput> addReferenceAudioInput(AVAssetWriter& to, int channelCount);
    WriterAndInput makeScreenRecordingWriter(const URL& url, const SCStreamConfiguration& configuration);
    WriterAndInput makeWebcamRecordingWriter(const std::shared_ptr<AVCaptureDevice>& device,
                                             const URL& movURL,
                                             std::optional<CMVideoDimensions> deliveredSize);
    std::shared_ptr<AudioTrack>
    makeMicTrack(const std::shared_ptr<AVCaptureDevice>& device, int channelIndex, const URL& wavURL,
                 AVAssetWriter* videoWriter,
                 const std::vector<std::shared_ptr<AVAssetWriter>>& webcamWriters);
    std::shared_ptr<AudioTrack> makeAudioTrack(const std::shared_ptr<AVCaptureDevice>& device,
                                               const URL& wavURL, AVAssetWriter* videoWriter,
                                               int channelCount);
    std::shared_ptr<AudioTrack> makeSystemAudioTrack(const URL& wavURL, AVAssetWriter* videoWriter);
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> makeExtraInputGroups(const URL& outputURL,
                                                                             AVAssetWriter* videoWriter);
    std::shared_ptr<ExtraInputTrack> makeExtraInputTrack(const ExtraAudioInputConfig& row,
                                                         const ExtraInputDeviceGroup& group,
                                                         const URL& outputURL, AVAssetWriter* videoWriter);
    WriterAndInput makeWavWriter(const URL& wavURL, int channelCount, const std::string& nameForError);

    // -- Names and files of the take (TakePlan.cpp)
    // ----------------------------------------------------------------

    URL planOutput(const URL& url);
    int webcamNumber(const ExtraCameraRig& rig) const;
    /// The grid rate of a camera; of none without a device.
    static int32_t cameraBeat(const AVCaptureDevice* device);

    // -- Audio previews and inventory (AudioPreviews.cpp, DeviceInventory.cpp)
    // --------------------------------------

    std::shared_ptr<AVCaptureDevice> availableAudioInput(const std::optional<std::string>& uniqueID) const;
    /// The device's number of input channels, 1 if unknown.
    int channelCount(const std::string& uniqueID) const;
    std::optional<std::string> dawPreviewTargetDeviceID() const;
    static int dawChannelCount(const AVCaptureDevice& device);
    std::optional<CaptureChain> makeCaptureChain(const std::shared_ptr<AVCaptureDevice>& device, int channels,
                                                 const std::shared_ptr<DispatchQueue>& queue);
    Task<> takeDown(AudioPreview& preview);
    /// Whether the session runs and a buffer of it has come.
    static bool isDelivering(const AudioPreview& preview, const ActivityStamp& activity);
    Task<> stopSession(std::shared_ptr<AVCaptureSession> session);
    void startSession(std::shared_ptr<AVCaptureSession> session);
    std::unique_ptr<DeviceSampleRateWatcher> watchSampleRate(const std::string& deviceUID,
                                                             void (*onChange)(ScreenRecorderManager&));
    void handleMicDeviceFormatChanged();
    void handleDawDeviceFormatChanged();
    void extraAudioInputsChanged(const std::vector<ExtraAudioInputConfig>& old);
    void noteLastUsedAudioDevice(const std::optional<std::string>& uniqueID);

    // -- Devices that come and go (InventoryChanges.cpp)
    // ------------------------------------------------------------

    /// The unique ids of all inputs there are.
    struct DeviceIdentity {
        std::set<std::string> audio;
        std::set<std::string> camera;
        bool operator==(const DeviceIdentity&) const = default;
    };
    DeviceIdentity currentDeviceIdentity() const;
    void observeAudioDevices();
    void handleDeviceInventoryChanged();
    void forgetDevicesThatWent();
    void handleDeviceDisconnected(const std::shared_ptr<AVCaptureDevice>& device);
    void handleCaptureSessionRuntimeError(const std::shared_ptr<AVCaptureSession>& session,
                                          const SystemError& error);
    void repairPreview(const std::shared_ptr<AVCaptureSession>& session);

    // -- Sample path (SamplePath.cpp)
    // ------------------------------------------------------------------------------

    void syncRoutingCache();
    void captureMic(const AudioRoutingCache::MicRouting& routing, const CMSampleBuffer& sample);
    void captureDaw(double gainDB, const CMSampleBuffer& sample);
    void captureExtra(const AudioRoutingCache::ExtraRouting& routing, const CMSampleBuffer& sample);
    void captureVideo(const std::shared_ptr<AVCaptureOutput>& output, const CMSampleBuffer& sample);
    /// What a camera's frames go through besides its writer.
    struct CameraCompanions {
        DeliveredFrameSize& frameSize;
        CameraWriteQueue& writeQueue;
        DropCounter& frames;
        DropCounter& drops;
        PictureWatch& picture;
    };
    static void writeCameraFrame(const CMSampleBuffer& sample, const std::shared_ptr<AVAssetWriterInput>& to,
                                 CameraCompanions camera);

    // -- Screen source (ScreenSource.cpp)
    // --------------------------------------------------------------------------

    Task<> setUpScreen(TakeInProgress& take);
    Task<SCShareableContent> shareableContent();
    std::optional<NSScreen> screenWithNumber(uint32_t number) const;
    SCStreamConfiguration makeStreamConfiguration(const SCDisplay& display,
                                                  const std::optional<SCWindow>& window, double scale);
    CMVideoDimensions cappedSize(int width, int height) const;
    Task<> handleStreamStopped(SystemError error);
    /// Takes effect with the click overlay: the one window of this program that a take shows.
    Task<std::optional<SCWindow>> placeClickHighlight(const std::optional<NSScreen>& screen);
    void observeScreenChanges();

    // -- The computer's own sound (OutputRouting.cpp)
    // --------------------------------------------------------------

    Task<> startSystemAudioRelayIfNeeded();
    std::optional<AudioObjectID> relayOutput() const;
    void makeSystemAudioRelay(AudioObjectID virtualDevice, AudioObjectID output);
    bool hasSystemAudioRelay() const { return systemAudioRelay != nullptr; }
    std::shared_ptr<AVCaptureDevice> virtualAudioCaptureDevice() const;
    void captureSystemAudioChanged();
    Task<> applyComputerAudioChoice();
    void lowLatencyMonitoringChanged();
    Task<> applyLowLatencyChoice();
    Task<> refreshDriverPresence();
    Task<> repairDeadEndOutput();
    Task<> awaitOutputRepair();
    void refreshSystemOutputStatus();
    void handleSystemOutputClockChanged();
    void noteOutputClock();
    void forgetOutputClock();

    // -- Windows that follow the take (TakeWindows.cpp)
    // ------------------------------------------------------------

    // There are no overlays, preview windows or marker key yet: these do nothing.

    void syncRegionGuide();
    void showRegionGuideOnFirstLoad();
    void beginRegionSelection();
    void beginWindowSelection();
    void startWindowFrameTracking();
    void syncClickHighlight();
    void refreshFloatingPreviewContent();
    void refreshExtraCameraWindows();
    void releaseMarkerShortcut();

    // -- Settings (Settings.cpp)
    // -----------------------------------------------------------------------------------

    void restoreSettings();
    void restoreScreenSettings();
    void persistSettingsOnChange();
    void handleSelectionChanges();
    void persistCaptureRegion();
    void restoreCaptureRegion();

    /// Runs an operation later on the main thread, unless the controller has gone by then.
    void startTask(Task<> (ScreenRecorderManager::*operation)());
    double hostSeconds() const;
    void log(const char* category, LogLevel level, const std::string& text) const;

    static constexpr const char* kHealthLog = "audio-health";

    const Platform platform;

    // -- The plan of the take
    // --------------------------------------------------------------------------------------

    std::set<std::string> reservedTrackNames; ///< lower-cased suffixes given out in this take
    std::vector<URL> plannedOutputURLs; ///< every file that the take will write, in the order of planning
    std::optional<URL> takeVideoURL;
    std::optional<CMTime> recordingCommonStartTime; ///< host time that is zero of the take
    std::vector<double> recordingMarkers;           ///< seconds from the start
    std::optional<TakeFiles> lastTakeFiles_;
    std::optional<URL> lastTimelineURL_;
    std::vector<Padding> lastTakePaddings_;
    std::vector<std::string> lastTakeWarnings_;

    // -- Capture and writing: main thread
    // --------------------------------------------------------------------------

    std::shared_ptr<SCStream> stream_;
    std::weak_ptr<SCStream> startingStream; ///< set while its start is awaited
    std::shared_ptr<AVAssetWriter> videoWriter;
    std::shared_ptr<AVAssetWriterInput> videoInput;
    std::shared_ptr<AVAssetWriter> webcamWriter;
    std::shared_ptr<AVAssetWriterInput> webcamInput;
    std::shared_ptr<AVCaptureDevice> webcamDevice;
    std::shared_ptr<AudioTrack> micTrack;
    std::shared_ptr<AudioTrack> dawTrack;
    std::vector<std::shared_ptr<ExtraInputDeviceGroup>> extraInputGroups;
    std::vector<ExtraCameraRig> extraCameraRigs;
    std::vector<ExtraCameraRecording> extraCameraRecordings;
    AudioPreview micPreview;
    AudioPreview dawPreview;
    std::vector<ExtraPreview> extraPreviews;
    bool previewsHaveEnded = false;
    std::unique_ptr<SystemAudioRelay> systemAudioRelay;
    std::optional<AudioObjectID> outputDeviceBeforeRecording; ///< where to put the default output back
    std::optional<SystemOutputClock> outputClockAtRecordingStart;
    bool outputRepairIsOver = false;
    bool driverPresenceIsKnown = false;
    std::vector<std::function<void()>> awaitingOutputRepair;
    DeviceIdentity knownDeviceIdentity;
    AudioDeviceListWatcher deviceListWatcher;
    SystemOutputClockWatcher outputClockWatcher;
    Observation captureDeviceObservation;
    std::set<std::string> picturesReportedFrozen;
    std::vector<std::vector<std::pair<std::string, int>>> recentFrameLoss;
    std::unordered_map<std::string, int> frameLossCounted;
    bool reportedFrameLoss = false;
    bool wasWindowCapture = false;
    std::optional<CGSize> recordingWindowSize; ///< points
    bool hasShownInitialRegionGuide = false;
    Observation screenChanges;

    // -- Shared with the sample callbacks, each behind a lock of its own
    // -------------------------------------------

    Sink<std::shared_ptr<AVAssetWriterInput>> videoSink;
    Sink<std::shared_ptr<AVAssetWriterInput>> webcamSink;
    Sink<std::shared_ptr<AudioTrack>> micSink;
    Sink<std::shared_ptr<AudioTrack>> dawSink;
    Sink<std::shared_ptr<const std::vector<std::shared_ptr<ExtraInputDeviceGroup>>>> extraSink;
    Sink<std::vector<std::shared_ptr<ExtraCameraTap>>> extraCameraTaps;
    const std::shared_ptr<ScreenBeat> screenBeat;
    const std::shared_ptr<CameraWriteQueue> webcamWriteQueue;
    const std::shared_ptr<DropCounter> videoDrops;
    const std::shared_ptr<DropTimeline> screenDropTimeline;
    const std::shared_ptr<LastFrameTime> lastScreenFrameTime;
    DropCounter webcamDrops;
    DropCounter webcamFrames;
    PictureWatch webcamPicture;
    DeliveredFrameSize webcamFrameSize;
    ActivityStamp micActivity;
    ActivityStamp dawActivity;
    AudioRoutingCache routingCache;
    MonoFormatCache monoFormatCache;

    // -- Serial queues
    // ---------------------------------------------------------------------------------------------

    const std::shared_ptr<DispatchQueue> videoOutputQueue;
    const std::shared_ptr<DispatchQueue> sessionControlQueue;
    const std::shared_ptr<DispatchQueue> systemAudioQueue;
    const std::shared_ptr<DispatchQueue> micOutputQueue;
    const std::shared_ptr<DispatchQueue> dawOutputQueue;
    const std::shared_ptr<DispatchQueue> extraInputOutputQueue;
    const std::shared_ptr<DispatchQueue> webcamOutputQueue;

    /// Running operations that nobody awaits. Last, so that they end before what they touch.
    TaskScope tasks;
};

} // namespace vintra
