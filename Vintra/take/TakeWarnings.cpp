#include "Vintra/take/TakeWarnings.h"

#include "Vintra/take/SoundLossText.h"
#include "Vintra/take/Text.h"

#include <cstdio>

namespace vintra {
namespace {

std::string counted(int64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::vector<std::string> soundsWithoutBuffers(const TakeObservations& seen) {
    std::vector<std::string> names;
    for (const auto& sound : seen.sounds) {
        if (!sound.firstSamplePTS) names.push_back(sound.name);
    }
    return names;
}

std::vector<std::string> soundsWithoutSignal(const TakeObservations& seen) {
    std::vector<std::string> names;
    for (const auto& sound : seen.sounds) {
        if (sound.firstSamplePTS && !sound.sawSignal) names.push_back(sound.name);
    }
    return names;
}

/// The latest time of any track; negative infinity if none has one.
CMTime endOfTake(const TakeObservations& seen) {
    CMTime latest = kCMTimeNegativeInfinity;
    const auto consider = [&](const std::optional<CMTime>& time) {
        if (time && time->isNumeric() && *time > latest) latest = *time;
    };
    consider(seen.lastScreenFrameTime);
    for (const auto& sound : seen.sounds)
        consider(sound.lastSamplePTS);
    return latest;
}

/// From its last sample to the end of the take; nothing unless that is over a second.
std::optional<CMTime> shortBy(const TakeObservations::Sound& sound, CMTime end) {
    if (!sound.lastSamplePTS || !sound.lastSamplePTS->isNumeric()) return std::nullopt;
    const CMTime gap = end - *sound.lastSamplePTS;
    return gap > CMTimeMake(1, 1) ? std::optional(gap) : std::nullopt;
}

std::vector<std::string> soundsThatEndEarly(const TakeObservations& seen) {
    const CMTime end = endOfTake(seen);
    std::vector<std::string> entries;
    for (const auto& sound : seen.sounds) {
        const auto gap = shortBy(sound, end);
        if (!gap) continue;
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.0f", CMTimeGetSeconds(*gap));
        entries.push_back(sound.name + " (" + seconds + "s short)");
    }
    return entries;
}

std::string pictureStallWarning(const std::vector<std::string>& sentences) {
    return joined(sentences, " ") +
           (sentences.size() == 1
                ? " If that's a camera, it may have switched off, lost its signal or come unplugged."
                : " If those are cameras, they may have switched off, lost their signal or come unplugged.");
}

std::string droppedAudioWarning(int64_t count) {
    return std::to_string(count) + " audio buffer" + (count == 1 ? " was" : "s were") +
           " dropped because a writer couldn't keep up — those tracks may drift slightly against the video.";
}

std::string droppedFramesWarning(const TakeObservations& seen) {
    const int64_t screen = seen.droppedScreenFrames;
    const int64_t webcam = seen.droppedWebcamFrames;
    std::string text;
    if (screen == 0) {
        text = counted(webcam, "webcam frame");
    } else if (webcam == 0) {
        text = counted(screen, "screen frame");
    } else {
        text = std::to_string(screen) + " screen and " + std::to_string(webcam) + " webcam frames";
    }
    text += screen + webcam == 1 ? " was" : " were";
    text += " dropped because the encoder couldn't keep up — "
            "the video is complete but momentarily less smooth.";
    if (!seen.frameLossRemedy.empty()) text += " " + seen.frameLossRemedy;
    if (seen.volumeIsInternal == false)
        text += " This recording went to an external drive, so the internal disk may help too.";
    return text;
}

void addMissingMedia(const TakeObservations& seen, std::vector<std::string>& warnings) {
    if (const auto names = soundsWithoutBuffers(seen); !names.empty()) {
        warnings.push_back("No audio was captured for: " + joined(names, ", ") +
                           ". That file is empty — check the device is connected and running at 48kHz.");
    }
    if (seen.screenWithoutVideo) {
        warnings.push_back(
            "No video was captured from the screen — that file has no picture in it. The system let the "
            "recording start but sent no picture: choose the display or window anew, then record again.");
    }
    if (seen.webcamWithoutVideo) {
        warnings.push_back("No video was captured from the webcam — that file has no picture in it. "
                           "The camera was listed and armed but sent nothing, check it "
                           "is switched on and in a mode that sends video, then open "
                           "the preview to confirm you can see yourself before recording.");
    }
    if (!seen.extraCamerasWithoutVideo.empty()) {
        warnings.push_back("No video was captured from " + joined(seen.extraCamerasWithoutVideo, ", ") +
                           " — those files have no picture in them. Check each camera is switched on and in "
                           "a mode that sends video, and that its preview shows a picture before recording.");
    }
}

void addFlawedSound(const TakeObservations& seen, std::vector<std::string>& warnings) {
    if (const auto entries = soundsThatEndEarly(seen); !entries.empty()) {
        warnings.push_back("Recording stopped early on: " + joined(entries, ", ") +
                           ". Those tracks end before the rest of the recording, so audio is missing from "
                           "the end — the recording is incomplete and worth doing again.");
    }
    if (const auto names = soundsWithoutSignal(seen); !names.empty()) {
        warnings.push_back("Recorded silence on: " + joined(names, ", ") +
                           ". Those files are the right length but every sample is zero — if that wasn't "
                           "intended, check the source is playing and that Vintra is routing it.");
    }
}

/// Every loss, by name, that the sentences before don't tell the length of.
void addLostSound(const TakeObservations& seen, std::vector<std::string>& warnings) {
    const CMTime end = endOfTake(seen);
    const size_t before = warnings.size();
    for (const auto& sound : seen.sounds) {
        auto warning = soundLossWarning(sound.name, sound.account, shortBy(sound, end).has_value());
        if (warning) warnings.push_back(*std::move(warning));
    }
    if (seen.isSoundWithoutRealTime && warnings.size() > before) {
        warnings.push_back("The system refused to run sound with real-time priority, so a busy machine loses "
                           "some. Allow it for your user, or close other programs while you record.");
    }
}

} // namespace

std::vector<std::string> takeWarnings(const TakeObservations& seen) {
    std::vector<std::string> warnings;
    addMissingMedia(seen, warnings);
    if (!seen.pictureStalls.empty()) warnings.push_back(pictureStallWarning(seen.pictureStalls));
    warnings.insert(warnings.end(), seen.routingLosses.begin(), seen.routingLosses.end());
    if (seen.windowNote) warnings.push_back(*seen.windowNote);
    if (seen.captureNote) warnings.push_back(*seen.captureNote);
    if (seen.timelineNote) warnings.push_back(*seen.timelineNote);
    addFlawedSound(seen, warnings);
    if (seen.droppedAudioBuffers >= 1) warnings.push_back(droppedAudioWarning(seen.droppedAudioBuffers));
    if (seen.droppedScreenFrames + seen.droppedWebcamFrames >= 1)
        warnings.push_back(droppedFramesWarning(seen));
    addLostSound(seen, warnings);
    if (seen.movedNote) warnings.push_back(*seen.movedNote);
    return warnings;
}

} // namespace vintra
