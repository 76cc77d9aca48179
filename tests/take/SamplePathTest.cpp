#include "tests/take/RecorderFixture.h"

#include <cmath>
#include <utility>

namespace vintra {
namespace {

class SamplePathTest : public RecorderFixture {
protected:
    /// What a track holds after the warm-up, as floats.
    std::vector<float> heard(const std::string& file) const {
        std::vector<float> samples;
        const CMTime cutoff = writer(file)->sessionStart() + CMTimeMake(180, 600);
        for (const CMSampleBuffer& sample : soundTrack(file)->accepted()) {
            if (sample.presentationTimeStamp() < cutoff) continue;
            const auto data = sample.dataBuffer()->dataPointer(0);
            const auto* const floats = reinterpret_cast<const float*>(data.bytes);
            samples.insert(samples.end(), floats, floats + data.totalLength / sizeof(float));
        }
        return samples;
    }
    /// Every channel of the device holds a constant of its own: 0.01, 0.02, ...
    void giveConstants(const std::string& uid) {
        machine.audioHardware->device(uid)->signal = [](uint32_t channel, int64_t, CMTime) {
            return 0.01f * static_cast<float>(channel + 1);
        };
    }
    void expectConstant(const std::string& file, double value) {
        const auto samples = heard(file);
        ASSERT_GT(samples.size(), 10'000u);
        for (const float sample : samples)
            ASSERT_NEAR(sample, value, 1e-6);
    }
};

TEST_F(SamplePathTest, theMicRecordsTheChosenChannelOfEight) {
    giveConstants("multi.eight");
    selectMic("multi.eight");
    recorder->selectedMicChannelIndex.set(3);
    recordFor(1);
    expectConstant("take_mic.wav", 0.04);
}

TEST_F(SamplePathTest, aChannelBeyondTheDeviceIsItsLast) {
    giveConstants("daw.two");
    selectMic("daw.two");
    recorder->selectedMicChannelIndex.set(5);
    recordFor(1);
    expectConstant("take_mic.wav", 0.02);
}

TEST_F(SamplePathTest, eachExtraRowRecordsItsChannelWithItsGain) {
    giveConstants("multi.eight");
    addExtraInput("multi.eight", 0, "plain");
    addExtraInput("multi.eight", 6, "halved", -6.0205999132796239); // 20 × log10(0.5)
    addExtraInput("multi.eight", 40, "clamped");
    recordFor(1);
    expectConstant("take_plain.wav", 0.01);
    expectConstant("take_halved.wav", 0.035);
    expectConstant("take_clamped.wav", 0.08);
}

TEST_F(SamplePathTest, theVirtualInputKeepsItsChannelsAndLosesSixDecibels) {
    giveConstants("daw.two");
    selectVirtualInput();
    recordFor(1);
    const auto samples = heard("take_computer-audio.wav");
    ASSERT_GT(samples.size(), 10'000u);
    const double trim = std::pow(10, -6.0 / 20);
    for (size_t i = 0; i + 1 < samples.size(); i += 2) {
        ASSERT_NEAR(samples[i], 0.01 * trim, 1e-6);
        ASSERT_NEAR(samples[i + 1], 0.02 * trim, 1e-6);
    }
}

TEST_F(SamplePathTest, theVirtualInputsTrimComesOnTopOfTheUsersGain) {
    giveConstants("daw.two");
    selectVirtualInput();
    recorder->dawGainDB.set(-6);
    machine.run(0.2);
    recordFor(1);
    EXPECT_NEAR(heard("take_computer-audio.wav").back(), 0.02 * std::pow(10, -12.0 / 20), 1e-6);
}

TEST_F(SamplePathTest, twoRowsBeyondTheDeviceReadItsLastChannelBoth) {
    giveConstants("daw.two");
    addExtraInput("daw.two", 7, "one");
    addExtraInput("daw.two", 9, "other");
    recordFor(1);
    expectConstant("take_one.wav", 0.02);
    expectConstant("take_other.wav", 0.02);
}

TEST_F(SamplePathTest, aMicOf32ChannelsIsDeliveredWholeAndOneIsPicked) {
    machine.audioHardware->plug("box.32", "Big Box", 32);
    machine.run(0.1);
    giveConstants("box.32");
    selectMic("box.32");
    recorder->selectedMicChannelIndex.set(30);
    EXPECT_EQ(machine.captureDevices->session("box.32")->output()->settings.numberOfChannels, 32u);
    recordFor(1);
    expectConstant("take_mic.wav", 0.31);
}

TEST_F(SamplePathTest, aBoostStopsBelowFullScale) {
    machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t, CMTime) { return 0.5f; };
    recorder->micGainDB.set(12);
    selectMic();
    recordFor(1);
    expectConstant("take_mic.wav", 0.891);
}

TEST_F(SamplePathTest, aGainChangeIsHeardInTheMiddleOfATake) {
    machine.audioHardware->device("mic.one")->signal = [](uint32_t, int64_t, CMTime) { return 0.1f; };
    selectMic();
    start();
    machine.run(1);
    recorder->micGainDB.set(-20);
    machine.run(1);
    stop();
    const auto samples = heard("take_mic.wav");
    EXPECT_NEAR(samples.front(), 0.1, 1e-6);
    EXPECT_NEAR(samples.back(), 0.01, 1e-6);
    EXPECT_EQ(std::get<double>(machine.userDefaults->values.at("micGainDB")), -20);
}

TEST_F(SamplePathTest, dataInPiecesIsDroppedAndNothingBreaks) {
    machine.audioHardware->device("mic.one")->piecesPerBuffer = 2;
    selectMic();
    recordFor(1);
    EXPECT_TRUE(soundTrack("take_mic.wav")->appends.empty());
    EXPECT_TRUE(lastError().starts_with("No audio was captured for: microphone.")) << lastError();
}

TEST_F(SamplePathTest, invalidBuffersAreNoBuffersAtAll) {
    for (const char* uid : {"mic.one", "daw.two", "multi.eight"})
        machine.audioHardware->device(uid)->alter = [](const CMSampleBuffer&) {
            return std::optional(CMSampleBuffer{});
        };
    selectMic();
    selectVirtualInput();
    addExtraInput("multi.eight", 0, "Left");
    recordFor(1);
    ASSERT_GT(machine.captureDevices->session("mic.one")->deliveredBuffers, 50);
    EXPECT_FALSE(recorder->isMicPreviewRunning()) << "they are no sign of life";
    EXPECT_FALSE(recorder->isDawPreviewRunning());
    EXPECT_EQ(*recorder->levels->micLevel, 0);
    EXPECT_EQ(*recorder->levels->dawLevel, 0);
    EXPECT_TRUE(recorder->levels->extraInputLevels->empty());
    for (const char* name : {"take_mic.wav", "take_computer-audio.wav", "take_Left.wav"})
        EXPECT_TRUE(soundTrack(name)->appends.empty()) << name;
    EXPECT_EQ(lastError(), "No audio was captured for: microphone, virtual input, take_Left. That file is "
                           "empty — check the device is connected and running at 48kHz.");
}

TEST_F(SamplePathTest, anInvalidBufferBetweenOthersIsLeftOut) {
    selectMic();
    int64_t delivered = 0;
    machine.audioHardware->device("mic.one")->alter = [&](CMSampleBuffer buffer) {
        return std::optional(++delivered % 10 == 0 ? CMSampleBuffer{} : std::move(buffer));
    };
    recordFor(2);
    // A tenth of 188 buffers, and silence in their places.
    EXPECT_TRUE(lastError().starts_with("The microphone lost 203 ms of sound in 19 places") ||
                lastError().starts_with("The microphone lost 192 ms of sound in 18 places"))
        << lastError();
    EXPECT_EQ(soundTrack("take_mic.wav")->accepted().size(), soundTrack("take_mic.wav")->appends.size());
}

TEST_F(SamplePathTest, oneDeviceMayServeTheMicAndExtraRows) {
    giveConstants("multi.eight");
    selectMic("multi.eight");
    addExtraInput("multi.eight", 7, "last");
    recordFor(1);
    expectConstant("take_mic.wav", 0.01);
    expectConstant("take_last.wav", 0.08);
}

} // namespace
} // namespace vintra
