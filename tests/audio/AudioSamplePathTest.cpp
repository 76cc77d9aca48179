#include "Vintra/audio/AudioSamplePath.h"

#include "tests/SoundBuffers.h"
#include "tests/audio/AudioPartsFixture.h"

#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace vintra {
namespace {

using namespace tests;

/// Keeps what a track was given.
class TakingInput : public AVAssetWriterInput {
public:
    AVMediaType mediaType() const override { return AVMediaType::audio; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return true; }
    bool append(const CMSampleBuffer& sample) override {
        taken.push_back(sample);
        return true;
    }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}

    std::vector<CMSampleBuffer> taken;

private:
    AVOutputSettings settings;
};

/// The path alone: outputs that the test delivers from, and a routing that it writes itself.
class AudioSamplePathTest : public AudioPartsFixture {
protected:
    std::shared_ptr<AVCaptureAudioDataOutput> makeOutput() {
        return machine.captureDevices->makeAudioDataOutput({});
    }
    template <typename Track>
    std::shared_ptr<Track> makeTrack() {
        auto track = std::make_shared<Track>();
        track->input = std::make_shared<TakingInput>();
        return track;
    }
    static const std::vector<CMSampleBuffer>& taken(const SoundTrackFile& track) {
        return static_cast<const TakingInput&>(*track.input).taken;
    }
    static std::vector<float> heard(const SoundTrackFile& track) {
        return taken(track).empty() ? std::vector<float>{} : samplesOf<float>(taken(track).back());
    }
    /// A buffer of two frames: channel c holds 0.01 × (c + 1).
    static CMSampleBuffer sound(uint32_t channels) {
        std::vector<float> samples;
        for (int frame = 0; frame < 2; ++frame) {
            for (uint32_t channel = 0; channel < channels; ++channel)
                samples.push_back(0.01f * static_cast<float>(channel + 1));
        }
        return floatBuffer(samples, channels, CMTimeMake(1000, 1));
    }

    const std::shared_ptr<AVCaptureAudioDataOutput> micOutput = makeOutput();
    const std::shared_ptr<AVCaptureAudioDataOutput> dawOutput = makeOutput();
    const std::shared_ptr<AVCaptureAudioDataOutput> extraOutput = makeOutput();
    AudioSamplePath& path = *samplePath;
};

TEST_F(AudioSamplePathTest, theMicsTrackGetsTheChosenChannelWithItsGain) {
    const auto track = makeTrack<AudioTrack>();
    path.routingCache.store({.mic = AudioRoutingCache::MicRouting{
                                 .output = micOutput, .totalChannels = 8, .channelIndex = 3, .gainDB = -20}});
    path.open(track, nullptr, {});
    path.captureOutput(micOutput, sound(8));
    ASSERT_EQ(heard(*track).size(), 2u);
    EXPECT_NEAR(heard(*track)[1], 0.004, 1e-7);
    EXPECT_EQ(taken(*track)[0].presentationTimeStamp(), CMTimeMake(1000, 1));
}

TEST_F(AudioSamplePathTest, theSecondTrackKeepsItsChannelsAndLosesSixDecibels) {
    const auto track = makeTrack<AudioTrack>();
    path.routingCache.store({.dawOutput = dawOutput, .dawGainDB = -14});
    path.open(nullptr, track, {});
    path.captureOutput(dawOutput, sound(2));
    ASSERT_EQ(heard(*track).size(), 4u);
    EXPECT_NEAR(heard(*track)[0], 0.001, 1e-7); // 20 dB in all
    EXPECT_NEAR(heard(*track)[1], 0.002, 1e-7);
}

TEST_F(AudioSamplePathTest, anExtraRowFindsItsTrackByOutputAndRow) {
    const UUID left = machine.processInfo->makeUUID();
    const UUID right = machine.processInfo->makeUUID();
    const UUID added = machine.processInfo->makeUUID(); // a row that came after the take's beginning
    path.routingCache.store({.extra = {{.output = extraOutput,
                                        .totalChannels = 2,
                                        .configs = {{.id = right, .channelIndex = 1, .gainDB = 0},
                                                    {.id = added, .channelIndex = 0, .gainDB = 0},
                                                    {.id = left, .channelIndex = 0, .gainDB = 0}}}}});
    const auto group = std::make_shared<ExtraInputDeviceGroup>();
    group->dataOutput = extraOutput;
    for (const UUID& row : {left, right}) {
        group->tracks.push_back(makeTrack<ExtraInputTrack>());
        group->tracks.back()->configID = row;
    }
    const auto other = std::make_shared<ExtraInputDeviceGroup>();
    other->dataOutput = makeOutput();
    other->tracks.push_back(makeTrack<ExtraInputTrack>());
    other->tracks.back()->configID = left;
    path.open(nullptr, nullptr, {other, group});
    path.captureOutput(extraOutput, sound(2));
    EXPECT_EQ(heard(*group->tracks[0]), (std::vector<float>{0.01f, 0.01f}));
    EXPECT_EQ(heard(*group->tracks[1]), (std::vector<float>{0.02f, 0.02f}));
    EXPECT_TRUE(taken(*other->tracks[0]).empty());
}

TEST_F(AudioSamplePathTest, anExtraRowsChannelIsHeldWithinItsDevice) {
    const UUID below = machine.processInfo->makeUUID();
    const UUID above = machine.processInfo->makeUUID();
    path.routingCache.store({.extra = {{.output = extraOutput,
                                        .totalChannels = 2,
                                        .configs = {{.id = below, .channelIndex = -4, .gainDB = 0},
                                                    {.id = above, .channelIndex = 9, .gainDB = 0}}}}});
    path.captureOutput(extraOutput, sound(2));
    machine.run(0.1);
    const auto& levels = *selection.levels;
    // 0.01 is -40 dB, a third of the meter; 0.02 is -33.98 dB.
    EXPECT_NEAR(levels.level(LevelKey::extra(below)), 20.0 / 60, 1e-3);
    EXPECT_NEAR(levels.level(LevelKey::extra(above)), 26.02 / 60, 1e-3);
}

TEST_F(AudioSamplePathTest, withoutATakeTheMetersAloneMove) {
    path.routingCache.store(
        {.mic = AudioRoutingCache::MicRouting{.output = micOutput}, .dawOutput = dawOutput});
    path.captureOutput(micOutput, floatBuffer({0.1f, 0.1f}));
    path.captureOutput(dawOutput, floatBuffer({0.1f, 0.1f}));
    machine.run(0.1);
    EXPECT_NEAR(*selection.levels->micLevel, 40.0 / 60, 1e-3);
    EXPECT_NEAR(*selection.levels->dawLevel, 34.0 / 60, 1e-3) << "6 dB below";
}

TEST_F(AudioSamplePathTest, whatIsClosedTakesNothingMore) {
    const auto mic = makeTrack<AudioTrack>();
    const auto daw = makeTrack<AudioTrack>();
    const auto group = std::make_shared<ExtraInputDeviceGroup>();
    const UUID row = machine.processInfo->makeUUID();
    group->dataOutput = extraOutput;
    group->tracks.push_back(makeTrack<ExtraInputTrack>());
    group->tracks.back()->configID = row;
    path.routingCache.store({.mic = AudioRoutingCache::MicRouting{.output = micOutput},
                             .dawOutput = dawOutput,
                             .extra = {{.output = extraOutput, .configs = {{.id = row}}}}});
    const auto deliver = [&] {
        for (const auto& output : {micOutput, dawOutput, extraOutput})
            path.captureOutput(output, floatBuffer({0.1f, 0.1f}));
    };
    path.open(mic, daw, {group});
    deliver();
    path.close();
    deliver();
    EXPECT_EQ(taken(*mic).size(), 1u);
    EXPECT_EQ(taken(*daw).size(), 1u);
    EXPECT_EQ(taken(*group->tracks[0]).size(), 1u);
    EXPECT_EQ(mic.use_count(), 1) << "and nothing holds the tracks";
    EXPECT_EQ(group.use_count(), 1);
}

TEST_F(AudioSamplePathTest, anOutputThatNoRoutingNamesIsNobodys) {
    const auto mic = makeTrack<AudioTrack>();
    const auto daw = makeTrack<AudioTrack>();
    path.open(mic, daw, {});
    path.captureOutput(micOutput, floatBuffer({0.1f})); // there is no routing yet
    path.routingCache.store(
        {.mic = AudioRoutingCache::MicRouting{.output = micOutput}, .dawOutput = dawOutput});
    path.captureOutput(makeOutput(), floatBuffer({0.1f}));
    path.captureOutput(nullptr, floatBuffer({0.1f}));
    EXPECT_TRUE(taken(*mic).empty());
    EXPECT_TRUE(taken(*daw).empty());
    EXPECT_EQ(path.micActivity.last(), 0);
    EXPECT_EQ(path.dawActivity.last(), 0);
}

TEST_F(AudioSamplePathTest, anInvalidBufferIsNoBuffer) {
    const auto mic = makeTrack<AudioTrack>();
    path.routingCache.store({.mic = AudioRoutingCache::MicRouting{.output = micOutput}});
    path.open(mic, nullptr, {});
    path.captureOutput(micOutput, CMSampleBuffer{});
    EXPECT_TRUE(taken(*mic).empty());
    EXPECT_EQ(path.micActivity.last(), 0) << "and no sign of life";
}

TEST_F(AudioSamplePathTest, aBufferThatCannotBeUsedIsASignOfLifeAllTheSame) {
    const auto mic = makeTrack<AudioTrack>();
    path.routingCache.store(
        {.mic = AudioRoutingCache::MicRouting{.output = micOutput, .totalChannels = 2, .channelIndex = 5}});
    path.open(mic, nullptr, {});
    path.captureOutput(micOutput, sound(2)); // there is no such channel
    machine.run(0.1);
    EXPECT_TRUE(taken(*mic).empty());
    EXPECT_EQ(*selection.levels->micLevel, 0);
    EXPECT_EQ(path.micActivity.last(), 1000) << "host seconds of the delivery";
}

TEST_F(AudioSamplePathTest, theMicComesBeforeTheSecondTrackOnOneOutput) {
    const auto mic = makeTrack<AudioTrack>();
    const auto daw = makeTrack<AudioTrack>();
    path.routingCache.store(
        {.mic = AudioRoutingCache::MicRouting{.output = micOutput}, .dawOutput = micOutput});
    path.open(mic, daw, {});
    path.captureOutput(micOutput, floatBuffer({0.1f}));
    EXPECT_EQ(taken(*mic).size(), 1u);
    EXPECT_TRUE(taken(*daw).empty());
}

} // namespace
} // namespace vintra
