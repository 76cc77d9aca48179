#include "Vintra/take/RunningTake.h"

#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/take/RecordingError.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

/// A take with a track of every kind on a simulated machine.
class RunningTakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        machine.fileManager->createDirectory(URL::fileURL("/takes"));
        take.videoWriter = makeWriter("take_video.mov");
        take.videoInput = addInput(*take.videoWriter, AVVideoSettings{.width = 64, .height = 64});
        take.micTrack = makeSound<AudioTrack>("take_mic.wav");
        take.dawTrack = makeSound<AudioTrack>("take_computer-audio.wav");
        take.webcamWriter = makeWriter("take_webcam.mov");
        take.webcamInput = addInput(*take.webcamWriter, AVVideoSettings{.width = 64, .height = 64});
        const auto extraWriter = makeWriter("take_webcam-2.mov");
        take.extraCameraRecordings.push_back(
            {.tap = nullptr,
             .writer = extraWriter,
             .input = addInput(*extraWriter, AVVideoSettings{.width = 64, .height = 64}),
             .label = "webcam 2 (Side)",
             .name = "Side",
             .deviceID = "side"});
        auto group = std::make_shared<ExtraInputDeviceGroup>();
        group->tracks = {makeSound<ExtraInputTrack>("take_keys.wav"),
                         makeSound<ExtraInputTrack>("take_bass.wav")};
        take.extraInputGroups = {group};
    }
    std::shared_ptr<AVAssetWriter> makeWriter(const std::string& name) {
        const bool isMovie = name.ends_with(".mov");
        return machine.assetWriters->makeWriter(URL::fileURL("/takes/" + name),
                                                isMovie ? AVFileType::quickTimeMovie : AVFileType::wave);
    }
    std::shared_ptr<AVAssetWriterInput> addInput(AVAssetWriter& to, const AVOutputSettings& settings) {
        auto input = machine.assetWriters->makeInput(settings, true);
        to.add(input);
        return input;
    }
    template <typename Track>
    std::shared_ptr<Track> makeSound(const std::string& name) {
        auto track = std::make_shared<Track>();
        track->writer = makeWriter(name);
        track->input = addInput(*track->writer, AVAudioSettings{});
        return track;
    }
    std::vector<std::string> labels(bool capturesSystemAudio) const {
        std::vector<std::string> labels;
        for (const auto& track : take.tracks())
            labels.push_back(track.label(capturesSystemAudio));
        return labels;
    }

    SimulatedMachine machine;
    RunningTake take{URL::fileURL("/takes/take_video.mov")};
};

TEST_F(RunningTakeTest, theTracksHaveOneOrder) {
    EXPECT_EQ(labels(true), (std::vector<std::string>{"screen recording", "mic track", "system audio track",
                                                      "webcam recording", "webcam 2 (Side)", "take_keys.wav",
                                                      "take_bass.wav"}));
    EXPECT_EQ(labels(false)[2], "virtual input track");
}

TEST_F(RunningTakeTest, aStartNamesTheTracksInWords) {
    std::vector<std::string> labels;
    for (const auto& track : take.tracks())
        labels.push_back(track.startLabel(false));
    EXPECT_EQ(labels,
              (std::vector<std::string>{"the screen recording", "the mic track", "the virtual input track",
                                        "the webcam recording", "webcam 2 (Side)",
                                        "extra input take_keys.wav", "extra input take_bass.wav"}));
}

TEST_F(RunningTakeTest, aTakeOfNothingHasNoTracks) {
    RunningTake empty{URL::fileURL("/takes/take_video.mov")};
    EXPECT_TRUE(empty.tracks().empty());
    empty.startWriters(true, machine.now());
    empty.markInputsAsFinished();
    empty.cancelStartedWriters();
}

TEST_F(RunningTakeTest, theFilesAreListedByKind) {
    take.recordingMarkers = {1.5, 3};
    take.micTrack->webcamReferenceInputs = {addInput(*take.webcamWriter, AVAudioSettings{})};
    const TakeFiles files = take.files();
    const auto at = [](const std::string& name) { return URL::fileURL("/takes/" + name); };
    EXPECT_EQ(files.take, "take");
    EXPECT_EQ(files.folder, URL::fileURL("/takes"));
    EXPECT_EQ(files.screen, at("take_video.mov"));
    EXPECT_EQ(files.cameras, (std::vector<URL>{at("take_webcam.mov"), at("take_webcam-2.mov")}));
    EXPECT_EQ(files.sounds, (std::vector<URL>{at("take_mic.wav"), at("take_computer-audio.wav"),
                                              at("take_keys.wav"), at("take_bass.wav")}));
    EXPECT_EQ(files.cameraSound, at("take_mic.wav"));
    EXPECT_EQ(files.markers, (std::vector<double>{1.5, 3}));
}

TEST_F(RunningTakeTest, withoutACopyInACameraMovieThereIsNoCameraSound) {
    EXPECT_EQ(take.files().cameraSound, std::nullopt);
}

TEST_F(RunningTakeTest, everySessionBeginsAtTheCommonStart) {
    take.startWriters(false, machine.now());
    for (const auto& writer : machine.assetWriters->writers) {
        EXPECT_EQ(writer->status(), AVAssetWriterStatus::writing);
        EXPECT_EQ(writer->sessionStart(), machine.now());
    }
    take.cancelStartedWriters();
    for (const auto& writer : machine.assetWriters->writers)
        EXPECT_EQ(writer->status(), AVAssetWriterStatus::cancelled);
}

TEST_F(RunningTakeTest, aWriterThatCannotStartIsNamedAndThoseBeforeItAreGivenUp) {
    machine.fileManager->createFile(URL::fileURL("/takes/take_keys.wav"));
    try {
        take.startWriters(false, machine.now());
        FAIL() << "started over an existing file";
    } catch (const RecordingError& error) {
        EXPECT_TRUE(
            error.errorDescription().starts_with("Could not start writing extra input take_keys.wav: "))
            << error.errorDescription();
    }
    take.cancelStartedWriters();
    for (const auto& writer : machine.assetWriters->writers)
        EXPECT_NE(writer->status(), AVAssetWriterStatus::writing) << writer->outputURL().path();
}

TEST_F(RunningTakeTest, theWarmupIsOnEverySoundFile) {
    const CMTime cutoff = machine.now() + CMTimeMake(180, 600);
    take.setWarmupCutoff(cutoff);
    size_t sounds = 0;
    for (const auto& track : take.tracks()) {
        if (!track.sound) continue;
        ++sounds;
        EXPECT_EQ(track.sound->warmupCutoff, cutoff) << track.label(false);
    }
    EXPECT_EQ(sounds, 4u);
}

TEST_F(RunningTakeTest, everyInputIsFinishedTheCopiesToo) {
    take.micTrack->referenceInput = addInput(*take.videoWriter, AVAudioSettings{});
    take.micTrack->webcamReferenceInputs = {addInput(*take.webcamWriter, AVAudioSettings{})};
    take.startWriters(false, machine.now());
    take.markInputsAsFinished();
    for (const auto& writer : machine.assetWriters->writers) {
        for (const auto& input : writer->inputs())
            EXPECT_FALSE(input->isReadyForMoreMediaData()) << writer->outputURL().path();
    }
}

TEST_F(RunningTakeTest, aPlannedFileThatIsThereIsTold) {
    machine.fileManager->createFile(URL::fileURL("/takes/take_bass.wav"));
    EXPECT_EQ(take.planOutput(URL::fileURL("/takes/take_mic.wav")), URL::fileURL("/takes/take_mic.wav"));
    take.planOutput(URL::fileURL("/takes/take_bass.wav"));
    EXPECT_EQ(take.existingOutputs(*machine.fileManager), std::vector<std::string>{"take_bass.wav"});
}

TEST_F(RunningTakeTest, aNameIsGivenOnceWhateverItsCase) {
    EXPECT_EQ(take.reserveTrackName("Mic"), "Mic");
    EXPECT_EQ(take.reserveTrackName("mic"), "mic-2");
    EXPECT_EQ(take.reserveTrackName("MIC"), "MIC-3");
}

} // namespace
} // namespace vintra
