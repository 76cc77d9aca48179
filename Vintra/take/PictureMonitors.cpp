#include "Vintra/take/PictureMonitors.h"

#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/HealthLog.h"
#include "Vintra/take/TakeReport.h"
#include "Vintra/take/Text.h"
#include "Vintra/take/Words.h"

#include <algorithm>
#include <variant>

namespace vintra {
namespace {

constexpr size_t kChecksLookedAt = 5;
constexpr int kSecondsLookedAt = 10;  // 5 checks, 2 seconds apart
constexpr int kLossyChecksToTell = 3; // loss has to be repeated ...
constexpr int64_t kLossToTell = 10;   // ... and real, in frames
constexpr const char* kGoesOn = " The recording is still running.";

struct StallText {
    std::string message; ///< to follow the camera's label
    const char* word;    ///< for the log
};

StallText stallText(const PictureWatch::Stall& stall) {
    struct Describe {
        StallText operator()(const PictureWatch::Frozen& frozen) const {
            return {" has frozen since " + timecodeString(frozen.since) +
                        ". If it's a camera, it may have switched off or lost its signal.",
                    "frozen"};
        }
        StallText operator()(const PictureWatch::Stopped& stopped) const {
            return {" stopped sending a picture at " + timecodeString(stopped.at) + ".", "stopped"};
        }
        StallText operator()(const PictureWatch::NothingYet&) const {
            return {" hasn't sent a picture since the recording began. Check it's switched on and in a mode "
                    "that sends video.",
                    "nothing yet"};
        }
    };
    return std::visit(Describe{}, stall);
}

} // namespace

PictureMonitors::PictureMonitors(const Surroundings& surroundings)
    : surroundings(surroundings) {}

void PictureMonitors::begin() {
    recentFrameLoss.clear();
    frameLossCounted.clear();
    reportedFrameLoss = false;
    reportedScreenGone = false;
}

void PictureMonitors::check() {
    if (!*surroundings.isRecording || !surroundings.take) return;
    checkCameraPictures();
    checkScreen();
    checkFrameLoss();
}

void PictureMonitors::checkCameraPictures() {
    RunningTake& take = *surroundings.take;
    const CMTime now = surroundings.platform.hostClock->now();
    for (const RecordingCamera& camera : surroundings.cameras.recordingCameras(take.cameras())) {
        if (take.picturesReportedFrozen.contains(camera.label)) continue;
        const auto stall = camera.tap->picture->stall(now);
        if (!stall) continue;
        take.picturesReportedFrozen.insert(camera.label);
        const StallText text = stallText(*stall);
        addToLastError(capitalised(camera.label) + text.message + kGoesOn);
        surroundings.platform.log->write(kHealthLog, LogLevel::error,
                                         "camera picture stalled mid-take on " + camera.label + ": " +
                                             text.word);
    }
}

void PictureMonitors::checkScreen() {
    const auto& stream = surroundings.take->stream;
    if (reportedScreenGone || !stream) return;
    const auto reason = stream->interruption();
    if (!reason) return;
    reportedScreenGone = true;
    addToLastError(*reason + " The movie shows its last picture until it is back." + kGoesOn);
    surroundings.platform.log->write(kHealthLog, LogLevel::error, "screen gone mid-take: " + *reason);
}

void PictureMonitors::checkFrameLoss() {
    if (reportedFrameLoss) return;
    recentFrameLoss.push_back(newLosses());
    if (recentFrameLoss.size() > kChecksLookedAt) recentFrameLoss.pop_front();
    int lossyChecks = 0;
    int64_t sum = 0;
    for (const auto& losses : recentFrameLoss) {
        lossyChecks += std::ranges::any_of(losses, [](const Loss& loss) { return loss.lost > 0; }) ? 1 : 0;
        for (const Loss& loss : losses)
            sum += loss.lost;
    }
    if (lossyChecks < kLossyChecksToTell || sum < kLossToTell) return;
    reportedFrameLoss = true;
    tellFrameLoss(recentFrameLoss.back(), sum);
}

std::vector<PictureMonitors::Loss> PictureMonitors::newLosses() {
    const RunningTake& take = *surroundings.take;
    std::vector<Loss> totals;
    if (take.videoInput) totals.push_back({"the screen", surroundings.screenTrack.lostFrames()});
    for (const RecordingCamera& camera : surroundings.cameras.recordingCameras(take.cameras()))
        totals.push_back({camera.label, camera.tap->drops->read()});
    for (Loss& loss : totals) {
        int64_t& counted = frameLossCounted[loss.label];
        const int64_t total = loss.lost;
        loss.lost = total - counted;
        counted = total;
    }
    return totals;
}

void PictureMonitors::tellFrameLoss(const std::vector<Loss>& latest, int64_t sum) {
    std::vector<std::string> names;
    for (const Loss& source : latest) {
        const auto hasLost = [&](const std::vector<Loss>& losses) {
            return std::ranges::any_of(
                losses, [&](const Loss& loss) { return loss.label == source.label && loss.lost > 0; });
        };
        if (std::ranges::any_of(recentFrameLoss, hasLost)) names.push_back(source.label);
    }
    const RunningTake& take = *surroundings.take;
    const std::string text = naturalList(names, "and");
    const std::string remedy = frameLossRemedy(surroundings.cameras.recordingCameras(take.cameras()),
                                               take.videoInput.get(), *surroundings.screenFrameRate);
    surroundings.platform.log->write(kHealthLog, LogLevel::error,
                                     "frames being lost mid-take: " + std::to_string(sum) + " in " +
                                         std::to_string(kSecondsLookedAt) + "s from " + text);
    if (boolForKey(*surroundings.platform.userDefaults, "hideTakeWarnings").value_or(false)) return;
    addToLastError("Your " + surroundings.platform.words.computer +
                   " can't keep up with everything in this recording, so frames are being lost from " + text +
                   "." + kGoesOn + (remedy.empty() ? "" : " " + remedy));
}

void PictureMonitors::addToLastError(const std::string& message) {
    const auto& told = *surroundings.lastError;
    surroundings.lastError.set(told ? *told + " " + message : message);
}

} // namespace vintra
