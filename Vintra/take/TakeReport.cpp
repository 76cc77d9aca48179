// What each track of a take really received, gathered at the stop while the tracks still exist.

#include "Vintra/take/TakeReport.h"

#include "Vintra/take/HealthLog.h"
#include "Vintra/take/PictureStall.h"
#include "Vintra/take/SoundLossText.h"
#include "Vintra/take/Words.h"
#include "Vintra/video/ScreenDropSummary.h"

#include <cmath>

namespace vintra {
namespace {

constexpr double kWindowSizeTolerance = 4.0;        // points
constexpr int64_t kLargeScreenPixels = 1920 * 1080; // more than this and a smaller part is advised
constexpr int64_t kLargeCameraPixels = 2 * kLargeScreenPixels;
constexpr int kSmoothRate = 31; // frames a second from which the screen's rate is worth lowering

std::string wholePoints(CGSize size) {
    return std::to_string(static_cast<int>(size.width)) + "×" + std::to_string(static_cast<int>(size.height));
}

std::string nameOf(const RunningTake::Track& track, bool capturesSystemAudio) {
    if (track.kind == RunningTake::Track::Kind::mic) return "microphone";
    if (track.kind == RunningTake::Track::Kind::second)
        return capturesSystemAudio ? "computer audio" : "virtual input";
    return track.writer->outputURL().stem();
}

void observeSounds(const TakeReportSources& sources, TakeObservations& seen) {
    for (const RunningTake::Track& track : sources.take.tracks()) {
        if (!track.sound) continue;
        seen.sounds.push_back({.name = nameOf(track, sources.capturesSystemAudio),
                               .firstSamplePTS = track.sound->firstSamplePTS,
                               .lastSamplePTS = track.sound->lastSamplePTS,
                               .sawSignal = track.sound->sawSignal,
                               .account = track.sound->account.read()});
        const std::string losses = soundLossLog(seen.sounds.back().name, seen.sounds.back().account);
        if (!losses.empty()) sources.log.write(kHealthLog, LogLevel::error, losses);
        seen.droppedAudioBuffers += track.sound->droppedBufferCount;
    }
}

void observeCameras(const TakeReportSources& sources, const std::vector<RecordingCamera>& cameras,
                    CMTime stopTime, TakeObservations& seen, TakeStatus& status) {
    const CameraTap& webcam = sources.cameras.webcam();
    seen.webcamWithoutVideo = sources.take.webcamWriter && webcam.frames->read() == 0;
    seen.droppedWebcamFrames = webcam.drops->read();
    for (const ExtraCameraRecording& camera : sources.take.extraCameraRecordings) {
        if (camera.tap->frames->read() == 0) seen.extraCamerasWithoutVideo.push_back(camera.name);
        seen.droppedWebcamFrames += camera.tap->drops->read();
    }
    status.lastCameraTakeSummary.clear();
    for (const RecordingCamera& camera : cameras) {
        const PictureWatch::Account account = camera.tap->picture->take(stopTime);
        status.lastCameraTakeSummary.push_back("last take · " + camera.label + ": " +
                                               camera.tap->writeQueue->summary());
        if (camera.tap->frames->read() < 1) continue;
        const auto stall = pictureStall(camera.label, account);
        if (!stall) continue;
        sources.log.write(kHealthLog, LogLevel::error, stall->logLine);
        seen.pictureStalls.push_back(stall->sentence);
    }
}

} // namespace

TakeObservations observeTake(const TakeReportSources& sources, CMTime stopTime, TakeStatus& status) {
    const auto cameras = sources.cameras.recordingCameras(sources.take.cameras());
    TakeObservations seen;
    observeSounds(sources, seen);
    observeCameras(sources, cameras, stopTime, seen, status);
    seen.lastScreenFrameTime = sources.screenTrack.endLastFrameTime();
    seen.screenWithoutVideo = sources.take.videoWriter && !seen.lastScreenFrameTime;
    seen.windowNote = windowSizeNote(sources.take.recordingWindowSize, sources.windowSize);
    const auto sizeChange = sources.screenTrack.endPictureSize();
    if (!sources.take.recordingWindowSize) seen.windowNote = displaySizeNote(sizeChange);
    seen.droppedScreenFrames = sources.screenTrack.lostFrames();
    seen.frameLossRemedy = frameLossRemedy(cameras, sources.take.videoInput.get(), sources.screenFrameRate);
    seen.volumeIsInternal = sources.volumeIsInternal;
    seen.isSoundWithoutRealTime = sources.isSoundWithoutRealTime;
    seen.routingLosses = sources.routingLosses;
    status.lastScreenDropSummary =
        screenDropSummary(sources.screenTrack.endDropTimes(), status.lastScreenBeatSummary);
    return seen;
}

std::optional<std::string> windowSizeNote(std::optional<CGSize> before, std::optional<CGSize> after) {
    if (!before || !after) return std::nullopt;
    if (std::fabs(after->width - before->width) <= kWindowSizeTolerance &&
        std::fabs(after->height - before->height) <= kWindowSizeTolerance) {
        return std::nullopt;
    }
    return "The window changed size during recording (" + wholePoints(*before) + " → " + wholePoints(*after) +
           "). The video keeps the dimensions it started with, so the picture was scaled to fit.";
}

std::optional<std::string> displaySizeNote(const std::optional<PictureSizeWatch::Change>& change) {
    if (!change) return std::nullopt;
    return "The display changed its size during recording (" + wholePoints(change->before) + " → " +
           wholePoints(change->after) +
           "). The video keeps the dimensions it started with, so the picture was fitted into them, with black "
           "beside it where the shapes differ.";
}

std::string frameLossRemedy(const std::vector<RecordingCamera>& cameras, const AVAssetWriterInput* videoInput,
                            int screenFrameRate) {
    std::vector<std::string> big;
    for (const RecordingCamera& camera : cameras) {
        const CMVideoDimensions size = camera.tap->frameSize->read();
        const bool known = size.width > 0 && size.height > 0;
        if (known && static_cast<int64_t>(size.width) * size.height > kLargeCameraPixels)
            big.push_back(camera.name);
    }
    std::vector<std::string> items;
    if (!big.empty()) items.push_back("switch " + naturalList(big, "and") + " to 1080p");
    const auto* const screen =
        videoInput ? std::get_if<AVVideoSettings>(&videoInput->outputSettings()) : nullptr;
    if (screen && static_cast<int64_t>(screen->width) * screen->height > kLargeScreenPixels) {
        items.push_back("capture a smaller part of the screen");
    }
    if (big.empty() && cameras.size() >= 2) items.push_back("use fewer cameras");
    if (videoInput && screenFrameRate >= kSmoothRate) items.push_back("set the screen to 30 fps");
    if (items.empty()) return "";
    return "To keep every frame, " + naturalList(items, "or") + ".";
}

} // namespace vintra
