// Stopping a take. The sources stop, all in flight reaches the writers, every file is finished, each WAV is
// given its leading silence, and the outcome is told. Every failure stays local: a writer that fails loses
// its own file alone.

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/TrackNames.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/timeline/TimelineFile.h"
#include "Vintra/video/ScreenBeatSummary.h"

namespace vintra {
namespace {

void markAsFinished(const std::shared_ptr<AVAssetWriterInput>& input) {
    if (input) input->markAsFinished();
}

} // namespace

Task<> ScreenRecorderManager::stopRecording() {
    if (*isBusy || !*isRecording) co_return;
    isBusy.set(true);
    releaseMarkerShortcut();
    TakeEnding ending;
    ending.stopTime = platform.hostClock->now();
    if (*recordingStartDate) {
        ending.seconds = platform.wallClock->now().secondsSince1970 - (*recordingStartDate)->secondsSince1970;
    }
    if (stream_) {
        const auto stop = [stream = stream_](auto done) { stream->stopCapture(done); };
        co_await awaitCompletion<std::optional<SystemError>>(*platform.mainThread, stop);
        stream_ = nullptr;
    }
    co_await detachSinks();
    co_await flushCameras();
    co_await finishScreenBeat(ending.stopTime);
    markInputsAsFinished();
    co_await finishWriters(ending);
    ending.seen = observeTake(ending.stopTime);
    resetLossCounters();
    ending.take = takeFiles();
    takeVideoURL = std::nullopt;

    isRecording.set(false);
    syncRegionGuide();
    refreshFloatingPreviewContent();
    refreshExtraCameraWindows();
    leaveRecordingState();
    syncClickHighlight();
    releaseTake();
    clearActiveTracks();

    if (!ending.paddings.empty()) {
        statusMessage.set("Finishing…");
        co_await padWavFiles(ending.paddings);
    }
    co_await writeTimeline(ending);
    reportTake(ending);
    if (const auto feedback = feedbackAsk.lock())
        feedback->takeFinished(ending.seconds, lastError->has_value());
    isBusy.set(false);
}

Task<> ScreenRecorderManager::detachSinks() {
    videoSink.empty();
    webcamSink.empty();
    micSink.empty();
    dawSink.empty();
    extraSink.empty();
    for (const ExtraCameraRig& rig : extraCameraRigs)
        rig.tap->setInput(nullptr);

    std::vector<std::shared_ptr<DispatchQueue>> queues{videoOutputQueue, webcamOutputQueue};
    for (const ExtraCameraRig& rig : extraCameraRigs)
        queues.push_back(rig.queue);
    queues.insert(queues.end(), {micOutputQueue, dawOutputQueue, extraInputOutputQueue, systemAudioQueue});
    for (const auto& queue : queues)
        co_await drain(queue);
}

/// Resumes from a block run on the queue, so all work queued earlier has ended.
Task<> ScreenRecorderManager::drain(std::shared_ptr<DispatchQueue> queue) {
    const auto begin = [queue](auto done) { queue->async(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

Task<CameraWriteQueue::Result> ScreenRecorderManager::flush(std::shared_ptr<CameraWriteQueue> queue,
                                                            std::shared_ptr<AVAssetWriterInput> into) {
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto begin = [background, queue, into](auto done) {
        background->async([queue, into, done] { done(queue->flush(into)); });
    };
    co_return co_await awaitCompletion<CameraWriteQueue::Result>(*platform.mainThread, begin);
}

Task<> ScreenRecorderManager::flushCameras() {
    if (webcamInput) {
        const auto result = co_await flush(webcamWriteQueue, webcamInput);
        if (result.written != 0) webcamFrames.add(result.written);
        if (result.dropped != 0) webcamDrops.add(result.dropped);
    }
    const auto recordings = extraCameraRecordings;
    for (const ExtraCameraRecording& camera : recordings) {
        const auto result = co_await flush(camera.tap->writeQueue, camera.input);
        if (result.written != 0) camera.tap->frames->add(result.written);
        if (result.dropped != 0) camera.tap->drops->add(result.dropped);
    }
}

Task<> ScreenRecorderManager::finishScreenBeat(CMTime stopTime) {
    if (!videoInput) {
        lastScreenBeatSummary.clear();
        co_return;
    }
    const auto begin = [queue = videoOutputQueue, beat = screenBeat, stopTime](auto done) {
        queue->async([beat, stopTime, done] { done(beat->finish(stopTime)); });
    };
    const auto result = co_await awaitCompletion<ScreenBeat::Totals>(*platform.mainThread, begin);
    lastScreenBeatSummary = screenBeatSummary(*screenFrameRate, result);
}

void ScreenRecorderManager::markInputsAsFinished() {
    markAsFinished(videoInput);
    if (micTrack) {
        markAsFinished(micTrack->input);
        markAsFinished(micTrack->referenceInput);
        for (const auto& input : micTrack->webcamReferenceInputs)
            markAsFinished(input);
    }
    if (dawTrack) {
        markAsFinished(dawTrack->input);
        markAsFinished(dawTrack->referenceInput);
    }
    markAsFinished(webcamInput);
    for (const auto& camera : extraCameraRecordings)
        markAsFinished(camera.input);
    for (const auto& group : extraInputGroups) {
        for (const auto& track : group->tracks) {
            markAsFinished(track->input);
            markAsFinished(track->referenceInput);
        }
    }
}

/// One after another by design: a disk serves one file best, and the order of the failures is then fixed.
Task<> ScreenRecorderManager::finishWriters(TakeEnding& ending) {
    if (videoWriter) co_await finish(videoWriter, "screen recording", ending);
    if (micTrack) {
        co_await finish(micTrack->writer, "mic track", ending);
        recordPadding(micTrack->writer, micTrack->firstSamplePTS, ending);
    }
    if (dawTrack) {
        std::string label = *captureSystemAudioForDaw ? "system audio track" : "virtual input track";
        co_await finish(dawTrack->writer, std::move(label), ending);
        recordPadding(dawTrack->writer, dawTrack->firstSamplePTS, ending);
    }
    if (webcamWriter) co_await finish(webcamWriter, "webcam recording", ending);
    const auto cameras = extraCameraRecordings;
    for (const auto& camera : cameras)
        co_await finish(camera.writer, camera.label, ending);
    const auto groups = extraInputGroups;
    for (const auto& group : groups) {
        for (const auto& track : group->tracks) {
            co_await finish(track->writer, track->writer->outputURL().lastPathComponent(), ending);
            recordPadding(track->writer, track->firstSamplePTS, ending);
        }
    }
}

Task<> ScreenRecorderManager::finish(std::shared_ptr<AVAssetWriter> writer, std::string label,
                                     TakeEnding& ending) {
    const auto begin = [writer](auto done) { writer->finishWriting(done); };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
    if (writer->status() != AVAssetWriterStatus::failed) co_return;
    const auto error = writer->error();
    ending.failures.push_back(label + " (" + (error ? error->localizedDescription() : "unknown error") + ")");
}

void ScreenRecorderManager::recordPadding(const std::shared_ptr<AVAssetWriter>& writer,
                                          std::optional<CMTime> firstPTS, TakeEnding& ending) const {
    if (!writer || !recordingCommonStartTime || !firstPTS) return;
    ending.paddings.push_back({writer->outputURL(), CMTimeGetSeconds(*firstPTS - *recordingCommonStartTime)});
}

/// What the take produced, by the writers it ended with.
std::optional<TakeFiles> ScreenRecorderManager::takeFiles() const {
    if (!takeVideoURL) return std::nullopt;
    TakeFiles files;
    files.take = takeBaseName(*takeVideoURL);
    files.folder = takeVideoURL->deletingLastPathComponent();
    if (videoWriter) files.screen = videoWriter->outputURL();
    if (webcamWriter) files.cameras.push_back(webcamWriter->outputURL());
    for (const auto& camera : extraCameraRecordings)
        files.cameras.push_back(camera.writer->outputURL());
    if (micTrack) files.sounds.push_back(micTrack->writer->outputURL());
    if (dawTrack) files.sounds.push_back(dawTrack->writer->outputURL());
    for (const auto& group : extraInputGroups) {
        for (const auto& track : group->tracks)
            files.sounds.push_back(track->writer->outputURL());
    }
    if (micTrack && !micTrack->webcamReferenceInputs.empty())
        files.cameraSound = micTrack->writer->outputURL();
    files.markers = recordingMarkers;
    return files;
}

void ScreenRecorderManager::resetLossCounters() {
    videoDrops->reset();
    webcamDrops.reset();
    webcamFrames.reset();
    for (const auto& camera : extraCameraRecordings) {
        camera.tap->frames->reset();
        camera.tap->drops->reset();
    }
}

void ScreenRecorderManager::leaveRecordingState() {
    forgetOutputClock();
    recordingWindowSize = std::nullopt;
    wasWindowCapture = false;
    recordingStartDate.set(std::nullopt);
}

void ScreenRecorderManager::clearActiveTracks() {
    activeMicTrack.set(false);
    activeDawTrack.set(false);
    activeWebcamTrack.set(false);
}

void ScreenRecorderManager::releaseTake() {
    videoWriter = nullptr;
    videoInput = nullptr;
    micTrack = nullptr;
    dawTrack = nullptr;
    webcamWriter = nullptr;
    webcamInput = nullptr;
    extraCameraRecordings.clear();
    extraInputGroups.clear();
}

Task<> ScreenRecorderManager::padWavFiles(std::vector<Padding> paddings) {
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto begin = [background, paddings, files = platform.fileManager,
                        process = platform.processInfo](auto done) {
        background->async([paddings, files, process, done] {
            for (const Padding& padding : paddings) {
                padWavFileWithLeadingSilence(*files, *process, padding.url, padding.gap);
            }
            done();
        });
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
}

Task<> ScreenRecorderManager::writeTimeline(TakeEnding& ending) {
    lastTakeFiles_ = ending.take;
    lastTakePaddings_ = ending.paddings;
    lastTimelineURL_ = std::nullopt;
    const TimelineEditor editor = timelineEditor.current();
    if (!ending.failures.empty() || editor == TimelineEditor::none || !ending.take) co_return;
    try {
        lastTimelineURL_ = co_await TimelineFile::write(*ending.take, editor, platform);
    } catch (const SystemError& error) {
        ending.seen.timelineNote = TimelineFile::couldNotBeSaved(editor, error);
        log("timeline", LogLevel::error, "timeline file not written: " + error.localizedDescription());
    }
}

void ScreenRecorderManager::reportTake(const TakeEnding& ending) {
    lastTakeWarnings_.clear();
    if (!ending.failures.empty()) {
        lastError.set("Some tracks failed to save: " + joined(ending.failures, "; "));
        statusMessage.set("Save failed");
        return;
    }
    lastTakeWarnings_ = takeWarnings(ending.seen);
    if (lastTakeWarnings_.empty()) {
        statusMessage.set("Saved");
        return;
    }
    const std::string text = joined(lastTakeWarnings_, " ");
    if (boolForKey(*platform.userDefaults, "hideTakeWarnings").value_or(false)) {
        log(kHealthLog, LogLevel::error, "take warnings hidden from the window: " + text);
        statusMessage.set("Saved");
        return;
    }
    lastError.set(text);
    statusMessage.set("Saved with warnings");
}

} // namespace vintra
