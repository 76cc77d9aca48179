// Starting a take. Every file is measured from one instant, the common start: all writers open at that
// instant, and nothing reaches a writer before all of them have opened. A start ends with everything running,
// or undoes everything and leaves the previews as they were.

#include "Vintra/audio/AudioPreviews.h"
#include "Vintra/audio/AudioSamplePath.h"
#include "Vintra/audio/OutputRouting.h"
#include "Vintra/capturearea/CaptureOverlays.h"
#include "Vintra/platform/CaptureAccess.h"
#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/WindowQuestion.h"
#include "Vintra/take/FeedbackAsk.h"
#include "Vintra/take/PictureMonitors.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/RunningTake.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/take/ScreenSource.h"
#include "Vintra/take/TakeJournal.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/TrackWriters.h"
#include "Vintra/video/Cameras.h"
#include "Vintra/video/ScreenTrack.h"

#include <utility>

namespace vintra {
namespace {

constexpr double kWarmupSeconds =
    0.3; // silent at the head of every audio file: devices click and settle when tapped
constexpr int32_t kWarmupTimescale = 600;

} // namespace

Task<> ScreenRecorderManager::startRecording(URL to) {
    if (*isBusy || *isRecording) co_return;
    isBusy.set(true);
    lastError.set(std::nullopt);
    causeOfStop.reset();
    isStartCancelled = false;
    if (const auto feedback = feedbackAsk.lock()) feedback->recordingStarted();
    take = std::make_unique<RunningTake>(std::move(to));
    std::optional<std::string> failure;
    try {
        co_await setUpTake();
    } catch (const RecordingError& error) {
        failure = error.errorDescription(platform.words);
    } catch (const SystemError& error) {
        failure = error.localizedDescription();
    }
    if (failure) {
        lastError.set(*failure);
        statusMessage.set("Failed to start");
        co_await cleanupAfterFailure();
    }
    isBusy.set(false);
}

Task<> ScreenRecorderManager::setUpTake() {
    co_await outputRouting->startSystemAudioRelayIfNeeded();
    co_await prepareAudioSources();
    co_await cameras->settle();
    if (*screenEnabled) {
        co_await setUpScreen();
    } else {
        trackWriters->planEncoders(*take, nullptr, *screenFrameRate);
    }
    trackWriters->makeWebcamWriters(*take);
    cameras->hold();
    // The encoders, so that they cost no frame later. Sound needs nothing that takes time, and its devices may go
    // meanwhile: its tracks are made behind this.
    const auto prepare = [this](auto done) { take->prepareWriters(done); };
    co_await awaitCompletion<void>(*platform.mainThread, prepare);
    if (isStartCancelled) throw ScreenTrack::startCancelled();
    trackWriters->makeAudioTracks(*take);
    auto existing = take->existingOutputs(*platform.fileManager);
    if (!existing.empty()) throw RecordingError::outputFilesExist(std::move(existing));

    take->journal = TakeJournal::begin(platform, take->takeVideoURL.deletingLastPathComponent(),
                                       TakeRecord::of(take->files(), timelineEditor.current()));
    take->noteFirstStamps();
    recordingCommonStartTime = platform.hostClock->now();
    armAtCommonStart();
    take->startWriters(*captureSystemAudioForDaw, *recordingCommonStartTime);
    take->followFiles(*platform.fileManager);
    take->setWarmupCutoff(*recordingCommonStartTime +
                          CMTimeMakeWithSeconds(kWarmupSeconds, kWarmupTimescale));
    if (take->journal) take->journal->noteCommonStart(*recordingCommonStartTime);
    openSinks();

    if (take->stream) {
        const auto error = co_await screenTrack->start(take->stream);
        if (error) throw *error;
    }
    // A take that was to hold the computer's sound is refused rather than saved without it.
    if (*captureSystemAudioForDaw && !usesVirtualAudioDevice())
        throw RecordingError::systemAudioUnavailable();
    publishTake();
}

void ScreenRecorderManager::cancelStart() {
    isStartCancelled = true;
    platform.windowQuestion->cancel();
    screenTrack->cancelStart();
}

/// The devices of the two chief audio tracks, the user's permission, and the previews that the tracks tap.
Task<> ScreenRecorderManager::prepareAudioSources() {
    take->micDevice = availableAudioInput(*selectedMicDeviceID);
    if (*captureSystemAudioForDaw) {
        take->dawDevice =
            outputRouting->hasSystemAudioRelay() ? outputRouting->virtualAudioCaptureDevice() : nullptr;
    } else {
        take->dawDevice = availableAudioInput(*selectedDawDeviceID);
    }
    if (take->micDevice && take->dawDevice && take->micDevice->uniqueID() == take->dawDevice->uniqueID())
        throw RecordingError::duplicateAudioDevice();
    if (take->micDevice || take->dawDevice || !extraInputDeviceIDs().empty()) {
        const bool granted =
            co_await requestAccessIfNeeded(platform.captureDevices, *platform.mainThread, AVMediaType::audio);
        if (!granted) throw RecordingError::microphoneAccessDenied();
    }
    co_await configureMicPreview();
    co_await configureDawPreview();
    co_await configureExtraPreviews();
}

Task<> ScreenRecorderManager::setUpScreen() {
    // Before anything of the screen is recorded.
    const auto clearScreen = [this](auto done) { overlays->takeWillStart(done); };
    co_await awaitCompletion<void>(*platform.mainThread, clearScreen);
    const ScreenSource::Setup setup = co_await screenSource->setUp();
    take->recordingWindowSize = setup.windowSize;
    trackWriters->planEncoders(*take, &setup.configuration, *screenFrameRate);
    trackWriters->makeScreenRecordingWriter(*take, setup.configuration, *screenFrameRate);
    take->stream = screenTrack->makeStream(setup.filter, setup.configuration);
    // The time in which the user is asked is no part of the take.
    const auto error = co_await screenTrack->prepare(take->stream);
    if (error) throw *error;
}

void ScreenRecorderManager::armAtCommonStart() {
    const int processors = platform.processInfo->activeProcessorCount();
    lastEncoderSummary = take->encoderPlan.summary(processors);
    platform.log->write("encoders", LogLevel::standard, lastEncoderSummary);
    screenTrack->begin(*recordingCommonStartTime);
    cameras->begin(*recordingCommonStartTime, take->cameras());
}

/// Samples are thrown away up to here, so nothing reaches a writer before its session has begun.
void ScreenRecorderManager::openSinks() {
    if (take->videoInput) {
        screenTrack->beginBeat(
            *recordingCommonStartTime,
            {.writer = take->videoWriter, .input = take->videoInput, .frameRate = *screenFrameRate});
        screenTrack->open(take->videoInput);
    }
    audioSamplePath->open(take->micTrack, take->dawTrack, take->extraInputGroups);
    cameras->open(take->cameras());
}

void ScreenRecorderManager::publishTake() {
    outputRouting->noteOutputClock();
    pictureMonitors->begin();
    isRecording.set(true);
    overlays->syncRegionGuide();
    cameras->refreshFloatingPreviewContent();
    cameras->refreshExtraCameraWindows();
    recordingStartDate.set(platform.wallClock->now());
    markerCount.set(0);
    activeMicTrack.set(take->micTrack != nullptr);
    activeDawTrack.set(take->dawTrack != nullptr);
    activeWebcamTrack.set(take->webcamWriter != nullptr);
    statusMessage.set(recordingStatus());
}

std::string ScreenRecorderManager::recordingStatus() const {
    std::vector<std::string> names;
    if (*screenEnabled) names.emplace_back("screen");
    if (take->micTrack) names.emplace_back("mic");
    if (take->dawTrack) names.emplace_back(*captureSystemAudioForDaw ? "system audio" : "virtual input");
    const size_t webcams = take->webcamWriters().size();
    if (webcams == 1) names.emplace_back("webcam");
    if (webcams > 1) names.push_back(std::to_string(webcams) + " webcams");
    const size_t extras = take->extraInputTracks().size();
    if (extras > 0) names.push_back(std::to_string(extras) + " extra input" + (extras == 1 ? "" : "s"));
    return "Recording " + joined(names, " + ") + "…";
}

Task<> ScreenRecorderManager::cleanupAfterFailure() {
    const bool hadRelay = outputRouting->hasSystemAudioRelay();
    stopSystemAudioRelay();
    take->stream = nullptr;
    co_await detachSinks();
    cameras->clear();
    screenTrack->cancel();
    take->cancelStartedWriters();
    if (take->journal) co_await take->journal->end();
    isRecording.set(false);
    overlays->takeDidNotStart();
    leaveRecordingState();
    releaseTake();
    if (hadRelay && *captureSystemAudioForDaw) {
        const auto kept = *lastError;
        co_await outputRouting->startSystemAudioRelayIfNeeded();
        co_await rebuildDawPreview();
        if (kept) lastError.set(kept);
    }
}

} // namespace vintra
