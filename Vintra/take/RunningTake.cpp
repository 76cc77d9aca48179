#include "Vintra/take/RunningTake.h"

#include "Vintra/take/RecordingError.h"
#include "Vintra/take/TakeJournal.h"
#include "Vintra/take/TrackNames.h"

#include <atomic>
#include <utility>

namespace vintra {
namespace {

using Inputs = std::vector<std::shared_ptr<AVAssetWriterInput>>;

Inputs inputsOf(const SoundTrackFile& track) {
    Inputs inputs{track.input};
    if (track.referenceInput) inputs.push_back(track.referenceInput);
    return inputs;
}

Inputs inputsOf(const AudioTrack& track) {
    Inputs inputs = inputsOf(static_cast<const SoundTrackFile&>(track));
    inputs.insert(inputs.end(), track.webcamReferenceInputs.begin(), track.webcamReferenceInputs.end());
    return inputs;
}

} // namespace

RunningTake::RunningTake(URL takeVideoURL)
    : takeVideoURL(std::move(takeVideoURL)) {}

URL RunningTake::planOutput(const URL& url) {
    plannedOutputURLs.push_back(url);
    return url;
}

std::string RunningTake::reserveTrackName(const std::string& base) {
    return vintra::reserveTrackName(base, reservedTrackNames);
}

std::vector<std::string> RunningTake::existingOutputs(const FileManager& files) const {
    std::vector<std::string> existing;
    for (const URL& url : plannedOutputURLs) {
        if (files.fileExists(url)) existing.push_back(url.lastPathComponent());
    }
    return existing;
}

std::string RunningTake::Track::label(bool capturesSystemAudio) const {
    switch (kind) {
    case Kind::screen:
        return "screen recording";
    case Kind::mic:
        return "mic track";
    case Kind::second:
        return capturesSystemAudio ? "system audio track" : "virtual input track";
    case Kind::webcam:
        return "webcam recording";
    case Kind::extraCamera:
        return cameraLabel;
    case Kind::extraInput:
        return writer->outputURL().lastPathComponent();
    }
    return "";
}

std::string RunningTake::Track::startLabel(bool capturesSystemAudio) const {
    if (kind == Kind::extraCamera) return cameraLabel;
    return (kind == Kind::extraInput ? "extra input " : "the ") + label(capturesSystemAudio);
}

std::vector<RunningTake::Track> RunningTake::tracks() const {
    std::vector<Track> tracks;
    const auto addMovie = [&tracks](Track::Kind kind, const std::shared_ptr<AVAssetWriter>& writer,
                                    const std::shared_ptr<AVAssetWriterInput>& input,
                                    const std::string& label = "") {
        if (writer) tracks.push_back({kind, writer, {input}, nullptr, label});
    };
    const auto addSound = [&tracks](Track::Kind kind, const auto& sound) {
        if (sound) tracks.push_back({kind, sound->writer, inputsOf(*sound), sound, ""});
    };
    addMovie(Track::Kind::screen, videoWriter, videoInput);
    addSound(Track::Kind::mic, micTrack);
    addSound(Track::Kind::second, dawTrack);
    addMovie(Track::Kind::webcam, webcamWriter, webcamInput);
    for (const ExtraCameraRecording& camera : extraCameraRecordings)
        addMovie(Track::Kind::extraCamera, camera.writer, camera.input, camera.label);
    for (const auto& track : extraInputTracks())
        addSound(Track::Kind::extraInput, track);
    return tracks;
}

std::vector<std::shared_ptr<ExtraInputTrack>> RunningTake::extraInputTracks() const {
    std::vector<std::shared_ptr<ExtraInputTrack>> tracks;
    for (const auto& group : extraInputGroups)
        tracks.insert(tracks.end(), group->tracks.begin(), group->tracks.end());
    return tracks;
}

std::vector<std::shared_ptr<AVAssetWriter>> RunningTake::webcamWriters() const {
    std::vector<std::shared_ptr<AVAssetWriter>> writers;
    if (webcamWriter) writers.push_back(webcamWriter);
    for (const ExtraCameraRecording& camera : extraCameraRecordings)
        writers.push_back(camera.writer);
    return writers;
}

void RunningTake::prepareWriters(const std::function<void()>& done) const {
    const std::vector<Track> all = tracks();
    // The last to end is done, this call itself among them.
    const auto left = std::make_shared<std::atomic<size_t>>(all.size() + 1);
    const auto endOne = [left, done] {
        if (left->fetch_sub(1) == 1) done();
    };
    for (const Track& track : all)
        track.writer->prepare(endOne);
    endOne();
}

void RunningTake::startWriters(bool capturesSystemAudio, CMTime commonStart) {
    for (const Track& track : tracks()) {
        if (!track.writer->startWriting())
            throw RecordingError::writerFailed(track.startLabel(capturesSystemAudio), track.writer->error());
        startedWriters.push_back(track.writer);
        track.writer->startSession(commonStart);
        if (track.sound) track.sound->commonStart = commonStart;
    }
}

void RunningTake::noteFirstStamps() {
    if (!journal) return;
    for (const Track& track : tracks()) {
        if (!track.sound) continue;
        track.sound->onFirstSample = [kept = std::weak_ptr(journal),
                                      name = track.writer->outputURL().lastPathComponent()](CMTime time) {
            if (const auto open = kept.lock()) open->noteFirstStamp(name, time);
        };
    }
}

void RunningTake::followFiles(FileManager& files) {
    for (const auto& writer : startedWriters)
        followed[writer->outputURL()] = files.follow(writer->outputURL());
}

std::vector<SavedFile> RunningTake::savedFiles(bool capturesSystemAudio) const {
    std::vector<SavedFile> files;
    for (const Track& track : tracks()) {
        const URL& url = track.writer->outputURL();
        SavedFile file{.label = track.label(capturesSystemAudio), .planned = url, .url = url};
        if (const auto found = followed.find(url); found != followed.end()) file.item = found->second;
        file.isMovie = !track.sound;
        if (track.sound) file.sound = track.sound->account.read();
        if (track.writer->status() == AVAssetWriterStatus::completed) files.push_back(std::move(file));
    }
    return files;
}

void RunningTake::cancelStartedWriters() {
    for (const auto& writer : std::exchange(startedWriters, {})) {
        if (writer->status() == AVAssetWriterStatus::writing) writer->cancelWriting();
    }
}

void RunningTake::setWarmupCutoff(CMTime cutoff) {
    if (micTrack) micTrack->warmupCutoff = cutoff;
    if (dawTrack) dawTrack->warmupCutoff = cutoff;
    for (const auto& track : extraInputTracks())
        track->warmupCutoff = cutoff;
}

void RunningTake::endSoundAt(CMTime time) {
    for (const Track& track : tracks()) {
        if (track.sound) track.sound->account.endAt(time);
    }
}

bool RunningTake::hasSoundUpTo(CMTime time) const {
    const CMTime longAgo =
        time - CMTimeMake(1, 1); // a device that has been silent since doesn't come back now
    for (const Track& track : tracks()) {
        const auto last = track.sound ? track.sound->account.lastSamplePTS() : std::nullopt;
        const bool isBehind = last && time > *last;
        if (isBehind && *last > longAgo) return false;
    }
    return true;
}

void RunningTake::closeSound(CMTime end) {
    for (const Track& track : tracks()) {
        if (track.sound) track.sound->close(end);
    }
}

void RunningTake::markInputsAsFinished() {
    for (const Track& track : tracks()) {
        for (const auto& input : track.inputs)
            input->markAsFinished();
    }
}

TakeFiles RunningTake::files() const {
    TakeFiles files;
    files.take = takeBaseName(takeVideoURL);
    files.folder = takeVideoURL.deletingLastPathComponent();
    if (videoWriter) files.screen = videoWriter->outputURL();
    for (const auto& writer : webcamWriters())
        files.cameras.push_back(writer->outputURL());
    for (const Track& track : tracks()) {
        if (track.sound) files.sounds.push_back(track.writer->outputURL());
    }
    if (micTrack && !micTrack->webcamReferenceInputs.empty())
        files.cameraSound = micTrack->writer->outputURL();
    files.markers = recordingMarkers;
    return files;
}

} // namespace vintra
