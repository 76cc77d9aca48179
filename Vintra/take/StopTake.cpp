// Stopping a take. The sources stop, all in flight reaches the writers, every file is finished, each WAV is
// given its leading silence, and the outcome is told. Every failure stays local: a writer that fails loses
// its own file alone.

#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/capturearea/CaptureOverlays.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/Drain.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/MainThreadTimer.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/DriftCorrection.h"
#include "Vintra/take/FeedbackAsk.h"
#include "Vintra/take/FinishWatch.h"
#include "Vintra/take/HealthLog.h"
#include "Vintra/take/MultiCameraScreenRate.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/SoundLossText.h"
#include "Vintra/take/SyncReport.h"
#include "Vintra/take/TakeJournal.h"
#include "Vintra/take/TakeReport.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/WavFile.h"
#include "Vintra/timeline/TimelineFile.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ScreenBeatSummary.h"
#include "Vintra/video/ScreenTrack.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace vintra {
namespace {

constexpr CMTime kLongestSoundUnderWay{3, 10, kCMTimeFlags_Valid}; // 0.3 s
constexpr int64_t kSoundPollNanoseconds = 5'000'000;

/// Off the main thread. True if the file was brought to the host clock's time.
bool finishWavFile(const Platform& services, const Padding& padding) {
    FileManager& files = *services.fileManager;
    ProcessInfo& process = *services.processInfo;
    if (padding.retiming &&
        retimeWavFile(files, process, *services.rateConversion, padding.url, *padding.retiming))
        return true;
    alignWavFile(files, process, padding.url, padding.gap, padding.frames);
    return false;
}

/// So that a recovery can tell whether the file has been padded.
void noteSize(TakeJournal* journal, const FileManager& files, const URL& at) {
    if (!journal) return;
    try {
        journal->noteSizeBeforePadding(at.lastPathComponent(), files.sizeOfFile(at));
    } catch (const SystemError&) {
        // A file that isn't there is not padded either.
    }
}

/// Does the work on a queue that the main thread doesn't wait for.
template <typename Result>
Task<Result> inBackground(Platform platform, std::function<Result()> work) {
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto begin = [background, work = std::move(work)](auto done) {
        background->async([work, done] { done(work()); });
    };
    co_return co_await awaitCompletion<Result>(*platform.mainThread, begin);
}

} // namespace

Task<> ScreenRecorderManager::stopRecording() {
    if (*isBusy || !*isRecording) co_return;
    isBusy.set(true);
    const auto journal = take->journal;
    TakeEnding ending;
    ending.cause = std::exchange(causeOfStop, std::nullopt);
    ending.stopTime = platform.hostClock->now();
    take->endSoundAt(ending.stopTime);
    if (*recordingStartDate) {
        ending.seconds = platform.wallClock->now().secondsSince1970 - (*recordingStartDate)->secondsSince1970;
    }
    if (take->stream) {
        ending.captureNote = co_await screenTrack->stop(take->stream);
        take->stream = nullptr;
    }
    co_await awaitSoundUnderWay(ending.stopTime);
    co_await detachSinks();
    take->closeSound(ending.stopTime);
    co_await cameras->flush(take->webcamInput, take->extraCameraRecordings);
    lastScreenBeatSummary.clear();
    if (take->videoInput) {
        const auto totals = co_await screenTrack->finish(ending.stopTime);
        lastScreenBeatSummary = screenBeatSummary(*screenFrameRate, totals);
        ending.screenFrames = screenTrack->frameAccount();
    }
    take->markInputsAsFinished();
    co_await finishWriters(ending);
    observe(ending);
    isRecording.set(false);
    leaveRecordingState();
    overlays->syncClickHighlight();
    releaseTake();

    co_await findFiles(ending);
    if (!ending.paddings.empty()) {
        statusMessage.set("Finishing…");
        co_await padWavFiles(ending, journal);
    }
    co_await checkFiles(ending);
    co_await writeTimeline(ending);
    if (journal) co_await journal->end();
    const double seconds = ending.seconds;
    reportTake(std::move(ending));
    if (const auto feedback = feedbackAsk.lock()) feedback->takeFinished(seconds, lastError->has_value());
    isBusy.set(false);
}

/// What was heard before the stop comes in a little after it: from the device, the sound server and the
/// queues. It is waited for, but not for long: the end of a device that hangs is filled with silence.
Task<> ScreenRecorderManager::awaitSoundUnderWay(CMTime stopTime) {
    const CMTime latest = stopTime + kLongestSoundUnderWay;
    while (!take->hasSoundUpTo(stopTime) && platform.hostClock->now() < latest) {
        std::unique_ptr<DispatchTimer> timer;
        const auto begin = [&timer, queue = audioPreviews->queues().back()](auto done) {
            timer = queue->makeTimer({.delayNanoseconds = kSoundPollNanoseconds,
                                      .intervalNanoseconds = kSoundPollNanoseconds,
                                      .leewayNanoseconds = 0},
                                     done);
            timer->resume();
        };
        co_await awaitCompletion<void>(*platform.mainThread, begin);
    }
}

void ScreenRecorderManager::giveUpWaitingForDisk() {
    finishWatch->giveUp();
}

/// Afterwards no callback reaches a writer.
Task<> ScreenRecorderManager::detachSinks() {
    screenTrack->close();
    cameras->closeWebcam();
    audioSamplePath->close();
    cameras->closeExtraCameras();

    std::vector<std::shared_ptr<DispatchQueue>> queues{screenTrack->queue()};
    for (const auto& queue : cameras->queues())
        queues.push_back(queue);
    for (const auto& queue : audioPreviews->queues())
        queues.push_back(queue);
    for (const auto& queue : queues)
        co_await drain(*platform.mainThread, queue);
}

/// One after another by design: a disk serves one file best, and the order of the failures is then fixed.
Task<> ScreenRecorderManager::finishWriters(TakeEnding& ending) {
    const bool correctsDrift = boolForKey(*platform.userDefaults, kCorrectsSoundDriftKey).value_or(true);
    finishWatch->beginTake();
    for (const RunningTake::Track& track : take->tracks()) {
        const std::string label = track.label(*captureSystemAudioForDaw);
        const auto begin = [writer = track.writer](auto done) { writer->finishWriting(done); };
        finishWatch->begin(track.writer, *screenTrack->queue());
        co_await awaitCompletion<void>(*platform.mainThread, begin);
        finishWatch->end();
        if (track.writer->status() == AVAssetWriterStatus::failed) {
            const auto error = track.writer->error();
            ending.failures.push_back(label + " (" +
                                      (error ? error->localizedDescription() : "unknown error") + ")");
        }
        // A track that no sample reached isn't padded.
        if (!track.sound || !track.sound->firstSamplePTS || !recordingCommonStartTime) continue;
        if (finishWatch->wasAbandoned(*track.writer)) continue; // nor one whose disk hangs
        Padding padding{.url = track.writer->outputURL(),
                        .gap = CMTimeGetSeconds(*track.sound->firstSamplePTS - *recordingCommonStartTime)};
        if (track.writer->status() == AVAssetWriterStatus::completed) {
            padding.frames = track.sound->framesUpTo(ending.stopTime);
            if (correctsDrift)
                padding.retiming =
                    driftCorrection(*track.sound, ending.stopTime, take->videoInput ? *screenFrameRate : 30);
        }
        ending.paddings.push_back(std::move(padding));
    }
}

/// What the report needs, while the tracks still exist.
void ScreenRecorderManager::observe(TakeEnding& ending) {
    const auto window = take->recordingWindowSize ? selectedWindowRegion() : std::nullopt;
    const auto folder = stringForKey(*platform.userDefaults, "outputFolderPath");
    ending.seen = observeTake(
        {.take = *take,
         .cameras = *cameras,
         .screenTrack = *screenTrack,
         .log = *platform.log,
         .capturesSystemAudio = *captureSystemAudioForDaw,
         .screenFrameRate = *screenFrameRate,
         .windowSize = window ? std::optional(window->rect.size) : std::nullopt,
         .isSoundWithoutRealTime = platform.captureDevices->isSoundWithoutRealTime(),
         .volumeIsInternal = platform.fileManager->volumeIsInternal(outputFolder(folder.value_or(""))),
         .routingLosses = outputRouting->lossesOfTake()},
        ending.stopTime, *this);
    ending.seen.captureNote = ending.captureNote;
    screenTrack->resetCounters();
    cameras->resetCounters(take->extraCameraRecordings);
    ending.take = take->files();
    ending.files = take->savedFiles(*captureSystemAudioForDaw);
    ending.expectLengths();
    accountForFrames(ending);
}

/// A movie is as long as what reached it: where the last slots were lost, it may end before them.
void ScreenRecorderManager::accountForFrames(TakeEnding& ending) const {
    const auto note = [&ending](const AVAssetWriter& writer, const FrameAccount& frames, int32_t rate) {
        const auto file = std::ranges::find(ending.files, writer.outputURL(), &SavedFile::planned);
        if (file == ending.files.end()) return;
        file->frames = frames;
        if (frames.own > 0)
            file->expectedSeconds = static_cast<double>(frames.first + frames.slots() - frames.lost) / rate;
    };
    if (take->videoWriter && ending.screenFrames)
        note(*take->videoWriter, *ending.screenFrames, *screenFrameRate);
    const auto noteCamera = [&note](const AVAssetWriter& writer, const CameraWriteQueue& queue) {
        note(writer, queue.account(), queue.rate());
    };
    if (take->webcamWriter) noteCamera(*take->webcamWriter, *cameras->webcam().writeQueue);
    for (const ExtraCameraRecording& camera : take->extraCameraRecordings)
        noteCamera(*camera.writer, *camera.tap->writeQueue);
}

/// From here on the windows show no take, while `isBusy` still holds off a new one.
void ScreenRecorderManager::leaveRecordingState() {
    overlays->syncRegionGuide();
    cameras->refreshFloatingPreviewContent();
    cameras->refreshExtraCameraWindows();
    outputRouting->forgetOutputClock();
    recordingStartDate.set(std::nullopt);
    markerFlash = nullptr;
    markerJustAdded.set(false);
    multiCameraScreenRate->reconcile();
}

void ScreenRecorderManager::releaseTake() {
    take = nullptr;
    activeMicTrack.set(false);
    activeDawTrack.set(false);
    activeWebcamTrack.set(false);
    cameras->release();
}

/// Everything from here on goes by where the files lie now.
Task<> ScreenRecorderManager::findFiles(TakeEnding& ending) {
    const std::function<std::vector<SavedFile>()> work = [files = ending.files,
                                                          fileManager = platform.fileManager]() mutable {
        findSavedFiles(files, *fileManager);
        return files;
    };
    ending.files = co_await inBackground(platform, work);
    ending.followFiles();
    ending.seen.movedNote = movedFilesNote(ending.files);
}

Task<> ScreenRecorderManager::checkFiles(TakeEnding& ending) {
    const std::function<std::vector<SavedFile>()> work = [files = ending.files,
                                                          fileManager = platform.fileManager,
                                                          probing = platform.assetProbing]() mutable {
        checkSavedFiles(files, *fileManager, *probing);
        return files;
    };
    ending.files = co_await inBackground(platform, work);
    lastTakeSync.clear();
    for (const SavedFile& file : ending.files) {
        lastTakeSync.push_back(syncLine(file));
        if (file.problem) ending.failures.push_back(file.label + " (" + *file.problem + ")");
    }
}

Task<> ScreenRecorderManager::padWavFiles(TakeEnding& ending, std::shared_ptr<TakeJournal> journal) {
    const auto background = platform.dispatchQueues->globalQueue(QualityOfService::userInitiated);
    const auto areCorrected = std::make_shared<std::vector<bool>>();
    const auto begin = [background, areCorrected, journal, paddings = ending.paddings,
                        services = platform](auto done) {
        background->async([areCorrected, journal, paddings, services, done] {
            for (const Padding& padding : paddings) {
                noteSize(journal.get(), *services.fileManager, padding.url);
                areCorrected->push_back(finishWavFile(services, padding));
            }
            done();
        });
    };
    co_await awaitCompletion<void>(*platform.mainThread, begin);
    for (size_t i = 0; i < areCorrected->size(); ++i) {
        const auto file = std::ranges::find(ending.files, ending.paddings[i].url, &SavedFile::url);
        if (file != ending.files.end() && file->sound) file->sound->isDriftCorrected = (*areCorrected)[i];
    }
    // Just the tracks that have a first sample are padded, in the order of the tracks.
    size_t index = 0;
    for (TakeObservations::Sound& sound : ending.seen.sounds) {
        if (!sound.firstSamplePTS || index >= areCorrected->size()) continue;
        sound.account.isDriftCorrected = (*areCorrected)[index++];
        if (!sound.account.isDriftCorrected) continue;
        platform.log->write(kHealthLog, LogLevel::info,
                            sound.name + ": " + driftText(sound.account).value_or(""));
    }
}

Task<> ScreenRecorderManager::writeTimeline(TakeEnding& ending) {
    const TimelineEditor editor = timelineEditor.current();
    if (!ending.failures.empty() || editor == TimelineEditor::none || !ending.take) co_return;
    try {
        ending.timelineURL = co_await TimelineFile::write(*ending.take, editor, platform);
    } catch (const SystemError& error) {
        ending.seen.timelineNote = TimelineFile::couldNotBeSaved(editor, error);
        platform.log->write("timeline", LogLevel::error,
                            "timeline file not written: " + error.localizedDescription());
    }
}

void ScreenRecorderManager::reportTake(TakeEnding ending) {
    const bool hasFailed = !ending.failures.empty();
    if (!hasFailed) ending.warnings = takeWarnings(ending.seen);
    lastTake = std::move(ending);
    // Why the take ended by itself stays told before what else there is to tell.
    const std::string cause = lastTake.cause ? *lastTake.cause + " " : "";
    if (hasFailed) {
        lastError.set(cause + "Some tracks failed to save: " + joined(lastTake.failures, "; "));
        statusMessage.set("Save failed");
        return;
    }
    if (lastTake.warnings.empty()) {
        statusMessage.set("Saved");
        return;
    }
    const std::string text = joined(lastTake.warnings, " ");
    if (boolForKey(*platform.userDefaults, "hideTakeWarnings").value_or(false)) {
        platform.log->write(kHealthLog, LogLevel::error, "take warnings hidden from the window: " + text);
        statusMessage.set("Saved");
        return;
    }
    lastError.set(cause + text);
    statusMessage.set("Saved with warnings");
}

/// The stream is already dead, so the stop must not touch it.
Task<> ScreenRecorderManager::handleStreamStopped(SystemError error) {
    if (!*isRecording) co_return;
    take->stream = nullptr;
    causeOfStop = "Screen capture stopped unexpectedly (" + error.localizedDescription() + ").";
    lastError.set(*causeOfStop + " Saving what was captured…");
    co_await stopRecording();
    statusMessage.set("Stopped unexpectedly");
}

} // namespace vintra
