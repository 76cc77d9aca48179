#include "tests/take/RecorderFixture.h"

#include <utility>

namespace vintra {
namespace {

class TrackWritersTest : public RecorderFixture {};

TEST_F(TrackWritersTest, theScreenMovieIsRec709AtTheRateForItsSize) {
    machine.screens->list[0].backingScaleFactor = 1;
    machine.screenCapture->content.displays = {{.displayID = 1, .width = 1920, .height = 1080}};
    recordFor(0.5);
    const AVVideoSettings& settings = *videoTrack()->videoSettings();
    EXPECT_EQ(settings, (AVVideoSettings{.codec = AVVideoCodecType::h264,
                                         .width = 1920,
                                         .height = 1080,
                                         .scalingMode = AVVideoScalingMode::resizeAspect,
                                         .color = {},
                                         .averageBitRate = 9'331'200,
                                         .expectedSourceFrameRate = 30}));
    EXPECT_TRUE(videoTrack()->expectsMediaDataInRealTime());
}

TEST_F(TrackWritersTest, sixtyFramesASecondCostTheRootOfTwoMore) {
    machine.screens->list[0].backingScaleFactor = 1;
    machine.screenCapture->content.displays = {{.displayID = 1, .width = 1920, .height = 1080}};
    recorder->screenFrameRate.set(60);
    recordFor(0.5);
    EXPECT_EQ(videoTrack()->videoSettings()->averageBitRate, 13'196'309);
}

TEST_F(TrackWritersTest, oddSizesBecomeEven) {
    machine.screens->list[0].backingScaleFactor = 1;
    machine.screenCapture->content.displays = {{.displayID = 1, .width = 1367, .height = 769}};
    recordFor(0.5);
    EXPECT_EQ(videoTrack()->videoSettings()->width, 1366);
    EXPECT_EQ(videoTrack()->videoSettings()->height, 768);
}

TEST_F(TrackWritersTest, theCodecIsComparedExactly) {
    const auto codecFor = [this](const std::string& stored) {
        machine.userDefaults->values["screenCodec"] = stored;
        machine.complete(recorder->startRecording(URL::fileURL(path(stored + "_video.mov"))));
        const auto codec = writer(stored + "_video.mov")->input(AVMediaType::video)->videoSettings()->codec;
        stop();
        return codec;
    };
    EXPECT_EQ(codecFor("hevc"), AVVideoCodecType::hevc);
    EXPECT_EQ(codecFor("HEVC"), AVVideoCodecType::h264);
    EXPECT_EQ(codecFor("prores"), AVVideoCodecType::h264);
}

TEST_F(TrackWritersTest, everyWavIs48kHz24BitWhateverTheDevice) {
    machine.audioHardware->setNominalSampleRate("multi.eight", 96'000);
    selectMic("multi.eight");
    selectVirtualInput();
    addExtraInput("mic.one", 0, "Room");
    recordFor(0.5);
    AVAudioSettings expected{.formatID = kAudioFormatLinearPCM,
                             .sampleRate = 48000,
                             .numberOfChannels = 1,
                             .linearPCMBitDepth = 24};
    EXPECT_EQ(*soundTrack("take_mic.wav")->audioSettings(), expected);
    EXPECT_EQ(*soundTrack("take_Room.wav")->audioSettings(), expected);
    expected.numberOfChannels = 2;
    EXPECT_EQ(*soundTrack("take_computer-audio.wav")->audioSettings(), expected);
}

TEST_F(TrackWritersTest, theScreenMovieCarriesAReferenceOfEachTrackInOrder) {
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0);
    recordFor(1);
    const auto movie = writer("take_video.mov");
    ASSERT_EQ(movie->inputs().size(), 4u);
    const std::vector<std::pair<uint32_t, int64_t>> expected{{1, 128'000}, {2, 192'000}, {1, 128'000}};
    for (size_t i = 0; i < expected.size(); ++i) {
        const auto input = movie->input(AVMediaType::audio, i);
        EXPECT_EQ(input->audioSettings()->formatID, kAudioFormatMPEG4AAC);
        EXPECT_EQ(input->audioSettings()->sampleRate, 48000);
        EXPECT_EQ(input->audioSettings()->numberOfChannels, expected[i].first);
        EXPECT_EQ(input->audioSettings()->encoderBitRate, expected[i].second);
        EXPECT_FALSE(input->accepted().empty());
    }
}

TEST_F(TrackWritersTest, aOneChannelVirtualInputHasAOneChannelFile) {
    selectVirtualInput("mic.one");
    recordFor(0.5);
    EXPECT_EQ(soundTrack("take_computer-audio.wav")->audioSettings()->numberOfChannels, 1u);
}

TEST_F(TrackWritersTest, anUnreadableVirtualInputIsTakenForStereo) {
    machine.audioHardware->device("mic.one")->hasUnreadableFormat = true;
    selectVirtualInput("mic.one");
    recordFor(0.5);
    EXPECT_EQ(soundTrack("take_computer-audio.wav")->audioSettings()->numberOfChannels, 2u);
}

TEST_F(TrackWritersTest, aChannelBeyondTheDeviceIsClampedAndNamedAsSuch) {
    addExtraInput("multi.eight", 31);
    recordFor(0.5);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_Stage Box_ch8.wav", "take_video.mov"}));
}

TEST_F(TrackWritersTest, namesOfTracksAreReservedInTheirOrderWithoutRegardToCase) {
    recorder->micTrackName.set("Guitar");
    selectMic();
    addExtraInput("multi.eight", 0, "guitar");
    addExtraInput("daw.two", 0, "GUITAR");
    recordFor(0.5);
    EXPECT_EQ(files(), (std::vector<std::string>{"take_GUITAR-3.wav", "take_Guitar.wav", "take_guitar-2.wav",
                                                 "take_video.mov"}));
}

TEST_F(TrackWritersTest, aMicCalledComputerAudioTakesThePlainName) {
    recorder->micTrackName.set("computer-audio");
    selectMic();
    selectVirtualInput();
    recordFor(0.5);
    ASSERT_TRUE(writer("take_computer-audio-2.wav"));
    EXPECT_EQ(soundTrack("take_computer-audio-2.wav")->audioSettings()->numberOfChannels, 2u);
    EXPECT_EQ(soundTrack("take_computer-audio.wav")->audioSettings()->numberOfChannels, 1u);
}

TEST_F(TrackWritersTest, rowsOfOneDeviceAreReservedTogether) {
    addExtraInput("multi.eight", 0, "a");
    addExtraInput("mic.one", 0, "a");
    addExtraInput("multi.eight", 1, "a");
    recordFor(0.5);
    // The stage box comes first, with both its rows, then the microphone.
    std::vector<std::string> planned;
    for (const auto& made : machine.assetWriters->writers)
        planned.push_back(made->outputURL().lastPathComponent());
    EXPECT_EQ(planned,
              (std::vector<std::string>{"take_video.mov", "take_a.wav", "take_a-2.wav", "take_a-3.wav"}));
}

TEST_F(TrackWritersTest, aSessionNamedVideoLosesThatEndingOnce) {
    selectMic();
    machine.complete(recorder->startRecording(URL::fileURL(path("my_video_video.mov"))));
    stop();
    EXPECT_EQ(files(), (std::vector<std::string>{"my_video_mic.wav", "my_video_video.mov"}));
}

} // namespace
} // namespace vintra
