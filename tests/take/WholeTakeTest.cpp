#include "Vintra/take/RecordingError.h"
#include "Vintra/take/WavFile.h"
#include "tests/take/RoutingFixture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vintra {
namespace {

/// Takes of many sources at once: a stage box of 32 channels, a second box, a microphone and the computer's
/// own sound.
class WholeTakeTest : public RoutingFixture {
protected:
    static constexpr double kRate = 48'000;

    void prepare() override {
        hardware.plug("box.32", "Big Box", 32)->framesPerBuffer = 256;
        hardware.plug("box.4", "Small Box", 4)->framesPerBuffer = 441;
    }
    void armEverything() {
        recorder->screenEnabled.set(false);
        selectMic();
        for (int channel = 0; channel < 32; channel += 4)
            addExtraInput("box.32", channel, "box " + std::to_string(channel + 1));
        addExtraInput("box.4", 3, "extra");
        turnOnComputerAudio();
    }
    /// Every source is soft until the moment that a clap is heard, at one host time, and loud from then on.
    void scriptClap() {
        for (const std::string uid : {"mic.one", "box.32", "box.4", "VintraAudioDevice"}) {
            hardware.device(uid)->signal = [this](uint32_t channel, int64_t, CMTime at) {
                const float level = static_cast<float>(channel % 8 + 1) / 16;
                return clap.isNumeric() && at >= clap ? level : level / 64;
            };
        }
    }
    struct Sound {
        std::vector<int32_t> samples; ///< of the first channel
        int64_t frames = 0;
    };
    Sound soundOf(const std::string& name, size_t channels) const {
        const auto header = readWavHeader(*machine.fileManager, URL::fileURL(path(name)));
        EXPECT_TRUE(header.has_value()) << name;
        if (!header) return {};
        const std::string bytes = *machine.fileManager->contents(path(name));
        Sound sound;
        for (size_t at = header->dataStart; at + 3 * channels <= bytes.size(); at += 3 * channels) {
            const auto* const three = reinterpret_cast<const uint8_t*>(bytes.data()) + at;
            const int32_t raw = three[0] | three[1] << 8 | three[2] << 16;
            sound.samples.push_back(raw >= 1 << 23 ? raw - (1 << 24) : raw);
        }
        sound.frames = static_cast<int64_t>(sound.samples.size());
        return sound;
    }
    /// The frame at which the clap is heard in the file.
    static int64_t clapFrame(const Sound& sound, double level) {
        const auto least = static_cast<int32_t>(level / 2 * (1 << 23));
        const auto found =
            std::ranges::find_if(sound.samples, [least](int32_t sample) { return sample >= least; });
        return found - sound.samples.begin();
    }

    CMTime clap = kCMTimeInvalid;
};

TEST_F(WholeTakeTest, elevenFilesBeginAtTheCommonStartToTheSample) {
    scriptClap();
    armEverything();
    start();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(*recorder->statusMessage, "Recording mic + system audio + 9 extra inputs…");
    const CMTime commonStart = *recorder->recordingCommonStartTime;
    clap = commonStart + CMTimeMake(3, 2);
    machine.run(3);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved") << lastError();

    struct Expected {
        std::string name;
        size_t channels;
        double level; ///< after the clap, of full scale
    };
    const double sixDecibels = std::pow(10, -6.0 / 20);
    std::vector<Expected> expected = {{"take_mic.wav", 1, 1.0 / 16},
                                      {"take_computer-audio.wav", 2, 1.0 / 16 * sixDecibels},
                                      {"take_extra.wav", 1, 4.0 / 16}};
    for (int channel = 0; channel < 32; channel += 4)
        expected.push_back({"take_box " + std::to_string(channel + 1) + ".wav", 1, (channel % 8 + 1) / 16.0});
    EXPECT_EQ(expected.size(), 11u);
    EXPECT_EQ(files().size(), 11u);
    for (const Expected& file : expected) {
        const Sound sound = soundOf(file.name, file.channels);
        EXPECT_NEAR(static_cast<double>(clapFrame(sound, file.level)), 1.5 * kRate, 1) << file.name;
        EXPECT_NEAR(sound.samples.at(100'000), file.level * (1 << 23), 1) << file.name;
        EXPECT_NEAR(static_cast<double>(sound.frames), 3 * kRate, 1024) << file.name;
    }
}

TEST_F(WholeTakeTest, everySourceOnAClockOfItsOwnStaysAligned) {
    hardware.device("mic.one")->clockRatio = 1 + 80e-6;
    hardware.device("box.32")->clockRatio = 1 - 120e-6;
    virtualDevice->clockRatio = 1 + 50e-6;
    scriptClap();
    armEverything();
    start();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    clap = *recorder->recordingCommonStartTime + CMTimeMake(1, 1);
    machine.run(2);
    stop();
    // A second of a clock that is 120 ppm off is 6 samples off.
    EXPECT_NEAR(static_cast<double>(clapFrame(soundOf("take_mic.wav", 1), 1.0 / 16)), kRate + 4, 2);
    EXPECT_NEAR(static_cast<double>(clapFrame(soundOf("take_box 1.wav", 1), 1.0 / 16)), kRate - 6, 2);
    EXPECT_NEAR(static_cast<double>(clapFrame(soundOf("take_computer-audio.wav", 2), 1.0 / 32)), kRate + 2,
                2);
}

TEST_F(WholeTakeTest, theUserHearsTheTakeWithoutAGap) {
    virtualDevice->signal = [](uint32_t, int64_t frame, CMTime) {
        return static_cast<float>(frame % 1'000'000 + 1) / 1'048'576;
    };
    speakers->clockRatio = 1 + 30e-6;
    std::vector<float> heard;
    speakers->playing = [&](AudioBufferList output) {
        for (size_t i = 0; i < output[0].mDataByteSize / 4; i += 2)
            heard.push_back(output[0].mData[i]);
    };
    armEverything();
    recordFor(10);
    const auto first = std::ranges::find_if(heard, [](float sample) { return sample != 0; });
    ASSERT_LT(first - heard.begin(), 4096);
    int64_t corrections = 0; // of one frame each, where the clocks drift apart
    for (auto at = first + 1; at < heard.end(); ++at) {
        const float step = (at[0] - at[-1]) * 1'048'576;
        ASSERT_TRUE(step == 0 || step == 1 || step == 2) << "a gap at frame " << at - heard.begin();
        corrections += step != 1;
    }
    EXPECT_LE(corrections, 40);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(WholeTakeTest, aMissingDriverStopsTheStartWithEveryWriterCancelled) {
    hardware.unplug("VintraAudioDevice");
    machine.run(0.2);
    armEverything();
    recorder->screenEnabled.set(true);
    start();
    expectUndone(RecordingError::systemAudioUnavailable().errorDescription());
    ASSERT_EQ(machine.assetWriters->writers.size(), 12u) << "it is refused after capture has begun";
    for (const auto& made : machine.assetWriters->writers)
        EXPECT_EQ(made->status(), AVAssetWriterStatus::cancelled) << made->outputURL().path();
    EXPECT_TRUE(files().empty());
    expectReleased(speakers);
}

TEST_F(WholeTakeTest, ratesThatCannotMatchStopTheStart) {
    hardware.setNominalSampleRate("speakers", 96'000);
    armEverything();
    start();
    expectUndone(RecordingError::systemAudioUnavailable().errorDescription());
    expectReleased(speakers);
}

TEST_F(WholeTakeTest, aFailedStartKeepsTheRoutingAndItsOwnError) {
    armEverything();
    machine.fileManager->put(path("take_mic.wav"), "an earlier take");
    start();
    EXPECT_EQ(lastError(), RecordingError::outputFilesExist({"take_mic.wav"}).errorDescription());
    machine.run(0.3);
    expectHeld(speakers);
    EXPECT_TRUE(recorder->isDawPreviewRunning());
    EXPECT_EQ(*machine.fileManager->contents(path("take_mic.wav")), "an earlier take");
}

TEST_F(WholeTakeTest, aRelayThatCannotBeRebuiltLeavesTheStartsError) {
    armEverything();
    machine.fileManager->put(path("take_mic.wav"), "an earlier take");
    speakers->refusesIOProc = true; // found when the relay is built anew
    start();
    EXPECT_EQ(lastError(), RecordingError::outputFilesExist({"take_mic.wav"}).errorDescription());
    machine.run(0.3);
    expectReleased(speakers);
}

TEST_F(WholeTakeTest, anInputThatVanishesMidTakeLeavesTheOthersWhole) {
    armEverything();
    start();
    machine.run(1);
    hardware.unplug("box.32");
    machine.run(0.1);
    EXPECT_EQ(lastError(), "Extra input device (Big Box) disconnected mid-recording. That track stopped "
                           "receiving data — other tracks are still recording.");
    machine.run(4);
    stop();
    EXPECT_EQ(*recorder->statusMessage, "Saved with warnings");
    EXPECT_NE(lastError().find("Recording stopped early on: take_box 1 (4s short), take_box 5 (4s short)"),
              std::string::npos)
        << lastError();
    EXPECT_NEAR(static_cast<double>(soundOf("take_mic.wav", 1).frames), 5.1 * kRate, 1024);
    const Sound box = soundOf("take_box 1.wav", 1);
    EXPECT_NEAR(static_cast<double>(box.frames), 5.1 * kRate, 1024) << "it ends with the others";
    const auto lastSound =
        std::find_if(box.samples.rbegin(), box.samples.rend(), [](int32_t s) { return s != 0; });
    EXPECT_NEAR(static_cast<double>(box.samples.rend() - lastSound), 1 * kRate, 1024);
}

TEST_F(WholeTakeTest, oneDeviceOnBothChiefTracksIsRefused) {
    selectMic("VintraAudioDevice");
    turnOnComputerAudio();
    start();
    expectUndone(RecordingError::duplicateAudioDevice().errorDescription());
    machine.run(0.3);
    expectHeld(speakers);
}

TEST_F(WholeTakeTest, aChannelBeyondTheDeviceIsItsLast) {
    recorder->screenEnabled.set(false);
    hardware.device("box.4")->signal = [](uint32_t channel, int64_t, CMTime) {
        return static_cast<float>(channel) / 8;
    };
    addExtraInput("box.4", 17);
    recordFor(1);
    EXPECT_EQ(files(), std::vector<std::string>{"take_Small Box_ch4.wav"});
    EXPECT_EQ(soundOf("take_Small Box_ch4.wav", 1).samples.at(30'000), 3 << 20); // 3/8 of full scale
}

TEST_F(WholeTakeTest, aMonitorThatWentIsFallenBackFromAndKept) {
    recorder->systemAudioMonitorUID.set("headphones");
    hardware.unplug("headphones");
    machine.run(0.1);
    armEverything();
    recordFor(1);
    expectHeld(speakers);
    EXPECT_EQ(*recorder->systemAudioMonitorUID, "headphones");
    recorder->stopSystemAudioRelay();
    expectReleased(speakers);
}

} // namespace
} // namespace vintra
