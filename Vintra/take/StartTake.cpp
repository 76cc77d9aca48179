// Starting a take. Every file is measured from one instant, the common start: all writers open at that
// instant, and nothing reaches a writer before all of them have opened. A start ends with everything running,
// or undoes everything and leaves the previews as they were.

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/TrackNames.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kWarmupSeconds =
    0.3; // silent at the head of every audio file: devices click and settle when tapped
constexpr int32_t kWarmupTimescale = 600;

/// What the beat's log lines say of the writer.
std::string writerStatusText(const std::weak_ptr<AVAssetWriter>& weakWriter) {
    const auto writer = weakWriter.lock();
    if (!writer) return "no writer";
    std::string text = "writer status " + std::to_string(static_cast<int>(writer->status()));
    if (const auto error = writer->error()) text += " (" + error->localizedDescription() + ")";
    return text;
}

} // namespace

Task<> ScreenRecorderManager::startRecording(URL to) {
    if (*isBusy || *isRecording) co_return;
    isBusy.set(true);
    lastError.set(std::nullopt);
    if (const auto feedback = feedbackAsk.lock()) feedback->recordingStarted();
    reservedTrackNames.clear();
    plannedOutputURLs.clear();

    TakeInProgress take{.url = std::move(to)};
    std::optional<std::string> failure;
    try {
        co_await setUpTake(take);
    } catch (const RecordingError& error) {
        failure = error.errorDescription();
    } catch (const SystemError& error) {
        failure = error.localizedDescription();
    }
    if (failure) {
        lastError.set(*failure);
        statusMessage.set("Failed to start");
        auto started = std::move(take.startedWriters);
        take = {};
        co_await cleanupAfterFailure(std::move(started));
    }
    isBusy.set(false);
}

Task<> ScreenRecorderManager::setUpTake(TakeInProgress& take) {
    co_await startSystemAudioRelayIfNeeded();
    co_await prepareAudioSources(take);
    if (*screenEnabled) co_await setUpScreen(take);
    makeWebcamWriters(take);
    makeAudioTracks(take);
    checkPlannedOutputs();

    recordingCommonStartTime = platform.hostClock->now();
    armAtCommonStart(take);
    startWriters(take);
    storeTake(take);
    beginScreenBeat();
    openSinks();

    if (take.stream) {
        const auto start = [stream = take.stream](auto done) { stream->startCapture(done); };
        startingStream = take.stream;
        const auto error = co_await awaitCompletion<std::optional<SystemError>>(*platform.mainThread, start);
        startingStream.reset();
        if (error) throw *error;
    }
    // A take that was to hold the computer's sound is refused rather than saved without it.
    if (*captureSystemAudioForDaw && !usesVirtualAudioDevice())
        throw RecordingError::systemAudioUnavailable();
    publishTake(take);
}

void ScreenRecorderManager::cancelStart() {
    if (const auto stream = startingStream.lock()) stream->stopCapture([](const auto&) {});
}

/// The devices of the two chief audio tracks, the user's permission, and the previews that the tracks tap.
Task<> ScreenRecorderManager::prepareAudioSources(TakeInProgress& take) {
    take.micDevice = availableAudioInput(*selectedMicDeviceID);
    if (*captureSystemAudioForDaw) {
        take.dawDevice = hasSystemAudioRelay() ? virtualAudioCaptureDevice() : nullptr;
    } else {
        take.dawDevice = availableAudioInput(*selectedDawDeviceID);
    }
    if (take.micDevice && take.dawDevice && take.micDevice->uniqueID() == take.dawDevice->uniqueID()) {
        throw RecordingError::duplicateAudioDevice();
    }
    const bool anyExtra = std::any_of(extraAudioInputs->begin(), extraAudioInputs->end(),
                                      [](const auto& row) { return row.deviceID.has_value(); });
    if (take.micDevice || take.dawDevice || anyExtra) {
        const bool granted = co_await requestMicPermissionIfNeeded();
        if (!granted) throw RecordingError::microphoneAccessDenied();
    }
    co_await configureMicPreview();
    co_await configureDawPreview();
    co_await configureExtraPreviews();
}

void ScreenRecorderManager::makeWebcamWriters(TakeInProgress& take) {
    const auto deliveredSize = [](const DeliveredFrameSize& size) -> std::optional<CMVideoDimensions> {
        const CMVideoDimensions dimensions = size.read();
        if (dimensions.width < 1 || dimensions.height < 1) return std::nullopt;
        return dimensions;
    };
    if (webcamDevice) {
        const URL url = planOutput(webcamURL(take.url));
        take.webcam = makeWebcamRecordingWriter(webcamDevice, url, deliveredSize(webcamFrameSize));
    }
    for (const ExtraCameraRig& rig : extraCameraRigs) {
        const int number = webcamNumber(rig);
        const URL url = planOutput(webcamURL(take.url, number));
        const WriterAndInput made =
            makeWebcamRecordingWriter(rig.device, url, deliveredSize(*rig.tap->frameSize));
        const std::string& name = rig.device->localizedName();
        take.extraCameras.push_back({.tap = rig.tap,
                                     .writer = made.writer,
                                     .input = made.input,
                                     .label = "webcam " + std::to_string(number) + " (" + name + ")",
                                     .name = name,
                                     .deviceID = rig.device->uniqueID()});
    }
}

void ScreenRecorderManager::makeAudioTracks(TakeInProgress& take) {
    AVAssetWriter* const videoWriterOfTake = take.screen.writer.get();
    if (take.micDevice) {
        std::vector<std::shared_ptr<AVAssetWriter>> webcamWriters;
        if (take.webcam.writer) webcamWriters.push_back(take.webcam.writer);
        for (const auto& camera : take.extraCameras)
            webcamWriters.push_back(camera.writer);
        const std::string suffix = reserveTrackName(micTrackSuffix(*micTrackName), reservedTrackNames);
        const URL url = planOutput(trackURL(take.url, suffix));
        take.micTrack =
            makeMicTrack(take.micDevice, *selectedMicChannelIndex, url, videoWriterOfTake, webcamWriters);
    }
    if (*captureSystemAudioForDaw || take.dawDevice) {
        const URL url =
            planOutput(trackURL(take.url, reserveTrackName(kSecondTrackSuffix, reservedTrackNames)));
        take.dawTrack = *captureSystemAudioForDaw ? makeSystemAudioTrack(url, videoWriterOfTake)
                                                  : makeAudioTrack(take.dawDevice, url, videoWriterOfTake,
                                                                   dawChannelCount(*take.dawDevice));
    }
    take.extraInputGroups = makeExtraInputGroups(take.url, videoWriterOfTake);
}

void ScreenRecorderManager::checkPlannedOutputs() const {
    std::vector<std::string> existing;
    for (const URL& url : plannedOutputURLs) {
        if (platform.fileManager->fileExists(url)) existing.push_back(url.lastPathComponent());
    }
    if (!existing.empty()) throw RecordingError::outputFilesExist(std::move(existing));
}

int32_t ScreenRecorderManager::cameraBeat(const AVCaptureDevice* device) {
    return CameraWriteQueue::beat(device ? device->activeVideoMinFrameDuration() : kCMTimeInvalid);
}

void ScreenRecorderManager::armAtCommonStart(TakeInProgress& take) {
    const CMTime commonStart = *recordingCommonStartTime;
    screenDropTimeline->begin(commonStart);
    webcamPicture.begin(commonStart);
    webcamWriteQueue->begin(commonStart, cameraBeat(webcamDevice.get()));
    for (const ExtraCameraRecording& camera : take.extraCameras) {
        const auto rig =
            std::find_if(extraCameraRigs.begin(), extraCameraRigs.end(),
                         [&](const ExtraCameraRig& candidate) { return candidate.tap == camera.tap; });
        const AVCaptureDevice* const device = rig == extraCameraRigs.end() ? nullptr : rig->device.get();
        camera.tap->picture->begin(commonStart);
        camera.tap->writeQueue->begin(commonStart, cameraBeat(device));
    }
    picturesReportedFrozen.clear();
    recentFrameLoss.clear();
    frameLossCounted.clear();
    reportedFrameLoss = false;
}

std::vector<ScreenRecorderManager::LabelledWriter>
ScreenRecorderManager::writersInOrder(const TakeInProgress& take) const {
    std::vector<LabelledWriter> writers;
    if (take.screen.writer) writers.push_back({"the screen recording", take.screen.writer});
    if (take.micTrack) writers.push_back({"the mic track", take.micTrack->writer});
    if (take.dawTrack) {
        writers.push_back({*captureSystemAudioForDaw ? "the system audio track" : "the virtual input track",
                           take.dawTrack->writer});
    }
    if (take.webcam.writer) writers.push_back({"the webcam recording", take.webcam.writer});
    for (const auto& camera : take.extraCameras)
        writers.push_back({camera.label, camera.writer});
    for (const auto& group : take.extraInputGroups) {
        for (const auto& track : group->tracks) {
            writers.push_back(
                {"extra input " + track->writer->outputURL().lastPathComponent(), track->writer});
        }
    }
    return writers;
}

void ScreenRecorderManager::startWriters(TakeInProgress& take) {
    for (const LabelledWriter& entry : writersInOrder(take)) {
        if (!entry.writer->startWriting()) {
            throw RecordingError::writerFailed(entry.label, entry.writer->error());
        }
        take.startedWriters.push_back(entry.writer);
        entry.writer->startSession(*recordingCommonStartTime);
    }
}

void ScreenRecorderManager::storeTake(const TakeInProgress& take) {
    const CMTime warmupCutoff =
        *recordingCommonStartTime + CMTimeMakeWithSeconds(kWarmupSeconds, kWarmupTimescale);
    if (take.micTrack) take.micTrack->warmupCutoff = warmupCutoff;
    if (take.dawTrack) take.dawTrack->warmupCutoff = warmupCutoff;
    for (const auto& group : take.extraInputGroups) {
        for (const auto& track : group->tracks)
            track->warmupCutoff = warmupCutoff;
    }
    videoWriter = take.screen.writer;
    videoInput = take.screen.input;
    webcamWriter = take.webcam.writer;
    webcamInput = take.webcam.input;
    micTrack = take.micTrack;
    dawTrack = take.dawTrack;
    extraCameraRecordings = take.extraCameras;
    extraInputGroups = take.extraInputGroups;
}

void ScreenRecorderManager::beginScreenBeat() {
    if (!videoInput) return;
    auto wrote = [lastTime = lastScreenFrameTime](CMTime end) {
        if (end.isNumeric()) lastTime->set(end);
    };
    auto lost = [drops = videoDrops, timeline = screenDropTimeline](CMTime captured) {
        drops->add(1);
        timeline->record(captured);
    };
    auto writerStatus = [writer = std::weak_ptr(videoWriter)] { return writerStatusText(writer); };
    screenBeat->begin(*recordingCommonStartTime, *screenFrameRate, videoInput, videoOutputQueue,
                      std::move(wrote), std::move(lost), std::move(writerStatus));
}

/// Samples are thrown away up to here, so nothing reaches a writer before its session has begun.
void ScreenRecorderManager::openSinks() {
    if (videoInput) videoSink.fill(videoInput);
    if (micTrack) micSink.fill(micTrack);
    if (dawTrack) dawSink.fill(dawTrack);
    if (!extraInputGroups.empty()) {
        extraSink.fill(
            std::make_shared<const std::vector<std::shared_ptr<ExtraInputDeviceGroup>>>(extraInputGroups));
    }
    if (webcamInput) webcamSink.fill(webcamInput);
    for (const ExtraCameraRecording& camera : extraCameraRecordings) {
        camera.tap->frames->reset();
        camera.tap->drops->reset();
        camera.tap->setInput(camera.input);
    }
}

void ScreenRecorderManager::publishTake(const TakeInProgress& take) {
    stream_ = take.stream;
    noteOutputClock();
    isRecording.set(true);
    syncRegionGuide();
    refreshFloatingPreviewContent();
    refreshExtraCameraWindows();
    recordingStartDate.set(platform.wallClock->now());
    takeVideoURL = take.url;
    recordingMarkers.clear();
    markerCount.set(0);
    releaseMarkerShortcut();
    activeMicTrack.set(micTrack != nullptr);
    activeDawTrack.set(dawTrack != nullptr);
    activeWebcamTrack.set(webcamWriter != nullptr);
    statusMessage.set(recordingStatus());
}

std::string ScreenRecorderManager::recordingStatus() const {
    std::vector<std::string> names;
    if (*screenEnabled) names.push_back("screen");
    if (micTrack) names.push_back("mic");
    if (dawTrack) names.push_back(*captureSystemAudioForDaw ? "system audio" : "virtual input");
    const size_t webcams = extraCameraRecordings.size() + (webcamWriter ? 1 : 0);
    if (webcams == 1) names.push_back("webcam");
    if (webcams > 1) names.push_back(std::to_string(webcams) + " webcams");
    size_t extras = 0;
    for (const auto& group : extraInputGroups)
        extras += group->tracks.size();
    if (extras > 0) names.push_back(std::to_string(extras) + " extra input" + (extras == 1 ? "" : "s"));

    std::string text = "Recording ";
    for (size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : " + ") + names[i];
    return text + "…";
}

Task<> ScreenRecorderManager::cleanupAfterFailure(std::vector<std::shared_ptr<AVAssetWriter>> cancelling) {
    const bool hadRelay = hasSystemAudioRelay();
    stopSystemAudioRelay();
    stream_ = nullptr;
    co_await detachSinks();
    webcamWriteQueue->clear();
    screenBeat->cancel();
    takeVideoURL = std::nullopt;
    releaseMarkerShortcut();
    for (const ExtraCameraRig& rig : extraCameraRigs)
        rig.tap->writeQueue->clear();
    for (const auto& writer : cancelling) {
        if (writer->status() == AVAssetWriterStatus::writing) writer->cancelWriting();
    }
    releaseTake();
    isRecording.set(false);
    syncRegionGuide();
    refreshFloatingPreviewContent();
    refreshExtraCameraWindows();
    leaveRecordingState();
    clearActiveTracks();
    if (hadRelay && *captureSystemAudioForDaw) {
        const auto kept = *lastError;
        co_await startSystemAudioRelayIfNeeded();
        co_await rebuildDawPreview();
        if (kept) lastError.set(kept);
    }
}

Task<bool> ScreenRecorderManager::requestMicPermissionIfNeeded() {
    switch (platform.captureDevices->authorizationStatus(AVMediaType::audio)) {
    case AVAuthorizationStatus::authorized:
        co_return true;
    case AVAuthorizationStatus::denied:
    case AVAuthorizationStatus::restricted:
        co_return false;
    case AVAuthorizationStatus::notDetermined:
        break;
    }
    const auto ask = [devices = platform.captureDevices](auto done) {
        devices->requestAccess(AVMediaType::audio, done);
    };
    co_return co_await awaitCompletion<bool>(*platform.mainThread, ask);
}

} // namespace vintra
