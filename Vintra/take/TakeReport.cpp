// What each track of a take really received, gathered at the stop while the tracks still exist.

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/PictureStall.h"
#include "Vintra/take/RecordingCamera.h"
#include "Vintra/take/ScreenRecorderManager.h"
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

TakeObservations::Sound observed(std::string name, const SoundTrackFile& track) {
    return {.name = std::move(name),
            .firstSamplePTS = track.firstSamplePTS,
            .lastSamplePTS = track.lastSamplePTS,
            .sawSignal = track.sawSignal};
}

} // namespace

std::vector<RecordingCamera> ScreenRecorderManager::recordingCameras() {
    std::vector<RecordingCamera> cameras;
    if (*activeWebcamTrack && webcamDevice) {
        const std::string& name = webcamDevice->localizedName();
        cameras.push_back({"webcam (" + name + ")", name, webcamDevice->uniqueID(), webcamFrameSize,
                           webcamPicture, webcamFrames, webcamDrops, *webcamWriteQueue});
    }
    for (const ExtraCameraRecording& camera : extraCameraRecordings) {
        ExtraCameraTap& tap = *camera.tap;
        cameras.push_back({camera.label, camera.name, camera.deviceID, *tap.frameSize, *tap.picture,
                           *tap.frames, *tap.drops, *tap.writeQueue});
    }
    return cameras;
}

TakeObservations ScreenRecorderManager::observeTake(CMTime stopTime) {
    TakeObservations seen;
    observeSounds(seen);
    observeCameras(stopTime, seen);
    seen.lastScreenFrameTime = lastScreenFrameTime->read();
    lastScreenFrameTime->clear();
    seen.windowNote = windowSizeNote();
    seen.droppedScreenFrames = videoDrops->read();
    seen.frameLossRemedy = frameLossRemedy();
    seen.volumeIsInternal = outputVolumeIsInternal();
    lastScreenDropSummary = screenDropSummary(screenDropTimeline->take(), lastScreenBeatSummary);
    return seen;
}

void ScreenRecorderManager::observeSounds(TakeObservations& seen) const {
    if (*activeMicTrack && micTrack) seen.sounds.push_back(observed("microphone", *micTrack));
    if (*activeDawTrack && dawTrack) {
        seen.sounds.push_back(
            observed(*captureSystemAudioForDaw ? "computer audio" : "virtual input", *dawTrack));
    }
    if (micTrack) seen.droppedAudioBuffers += micTrack->droppedBufferCount;
    if (dawTrack) seen.droppedAudioBuffers += dawTrack->droppedBufferCount;
    for (const auto& group : extraInputGroups) {
        for (const auto& track : group->tracks) {
            seen.sounds.push_back(observed(track->writer->outputURL().stem(), *track));
            seen.droppedAudioBuffers += track->droppedBufferCount;
        }
    }
}

void ScreenRecorderManager::observeCameras(CMTime stopTime, TakeObservations& seen) {
    seen.webcamWithoutVideo = *activeWebcamTrack && webcamFrames.read() == 0;
    seen.droppedWebcamFrames = webcamDrops.read();
    for (const ExtraCameraRecording& camera : extraCameraRecordings) {
        if (camera.tap->frames->read() == 0) seen.extraCamerasWithoutVideo.push_back(camera.name);
        seen.droppedWebcamFrames += camera.tap->drops->read();
    }
    lastCameraTakeSummary.clear();
    for (const RecordingCamera& camera : recordingCameras()) {
        const PictureWatch::Account account = camera.picture.take(stopTime);
        lastCameraTakeSummary.push_back("last take · " + camera.label + ": " + camera.writeQueue.summary());
        if (camera.frames.read() < 1) continue;
        const auto stall = pictureStall(camera.label, account);
        if (!stall) continue;
        log(kHealthLog, LogLevel::error, stall->logLine);
        seen.pictureStalls.push_back(stall->sentence);
    }
}

/// Told if the window is no longer of the size that the movie was made for.
std::optional<std::string> ScreenRecorderManager::windowSizeNote() const {
    if (!wasWindowCapture || !recordingWindowSize) return std::nullopt;
    const auto region = selectedWindowRegion();
    if (!region) return std::nullopt;
    const CGSize before = *recordingWindowSize;
    const CGSize after = region->rect.size;
    if (std::fabs(after.width - before.width) <= kWindowSizeTolerance &&
        std::fabs(after.height - before.height) <= kWindowSizeTolerance) {
        return std::nullopt;
    }
    return "The window changed size during recording (" + wholePoints(before) + " → " + wholePoints(after) +
           "). The video keeps the dimensions it started with, so the picture was scaled to fit.";
}

/// What would lighten the machine's load, as a sentence; empty if nothing would.
std::string ScreenRecorderManager::frameLossRemedy() {
    std::vector<std::string> big;
    const auto cameras = recordingCameras();
    for (const RecordingCamera& camera : cameras) {
        const CMVideoDimensions size = camera.frameSize.read();
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
    if (videoInput && *screenFrameRate >= kSmoothRate) items.push_back("set the screen to 30 fps");
    if (items.empty()) return "";
    return "To keep every frame, " + naturalList(items, "or") + ".";
}

std::optional<bool> ScreenRecorderManager::outputVolumeIsInternal() const {
    const auto stored = stringForKey(*platform.userDefaults, "outputFolderPath");
    return platform.fileManager->volumeIsInternal(outputFolder(stored.value_or("")));
}

} // namespace vintra
