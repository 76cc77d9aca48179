#include "Vintra/audio/AudioTrack.h"

#include "Vintra/audio/ExtraInputDeviceGroup.h"
#include "Vintra/platform/HostClock.h"
#include "tests/SoundBuffers.h"

#include <gtest/gtest.h>
#include <utility>

namespace vintra {
namespace {

using namespace tests;

/// Takes down what is appended, and is ready or not as the test says.
class ScriptedInput : public AVAssetWriterInput {
public:
    AVMediaType mediaType() const override { return AVMediaType::audio; }
    const AVOutputSettings& outputSettings() const override { return settings; }
    bool expectsMediaDataInRealTime() const override { return true; }
    bool isReadyForMoreMediaData() const override { return ready; }
    bool append(const CMSampleBuffer& sample) override {
        taken.push_back(sample);
        return accepts;
    }
    void extendLast(CMTime) override {}
    void markAsFinished() override {}

    bool ready = true;
    bool accepts = true;
    std::vector<CMSampleBuffer> taken;

private:
    AVOutputSettings settings;
};

CMTime hostTime(double seconds) {
    return CMTimeMakeWithSeconds(seconds, kHostTimescale);
}

CMSampleBuffer loudBuffer(double at) {
    return floatBuffer(std::vector<float>(480, 0.5f), 1, hostTime(at)); // 10 ms
}

/// What every track of sound does, whichever of the two types it is.
template <typename Track>
class SoundTrackTest : public testing::Test {
protected:
    SoundTrackTest() {
        track.input = input;
        track.referenceInput = reference;
    }
    std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
    std::shared_ptr<ScriptedInput> reference = std::make_shared<ScriptedInput>();
    Track track;
};

using SoundTracks = testing::Types<AudioTrack, ExtraInputTrack>;
TYPED_TEST_SUITE(SoundTrackTest, SoundTracks);

TYPED_TEST(SoundTrackTest, aBufferGoesToTheFileAndToTheReference) {
    this->track.append(loudBuffer(1));
    EXPECT_EQ(this->input->taken.size(), 1u);
    EXPECT_EQ(this->reference->taken.size(), 1u);
    EXPECT_EQ(samplesOf<float>(this->input->taken[0]), std::vector<float>(480, 0.5f));
    EXPECT_EQ(this->track.droppedBufferCount, 0);
}

TYPED_TEST(SoundTrackTest, firstAndLastTimesFrameWhatArrived) {
    this->track.append(loudBuffer(1));
    this->track.append(loudBuffer(1.5));
    EXPECT_EQ(this->track.firstSamplePTS, hostTime(1));
    EXPECT_EQ(this->track.lastSamplePTS, hostTime(1.51));
}

TYPED_TEST(SoundTrackTest, aWarmupBufferIsSilencedInPlaceAndStillGoesThroughAllSteps) {
    this->track.warmupCutoff = hostTime(1.3);
    const auto buffer = loudBuffer(1.29);
    this->track.append(buffer);
    EXPECT_EQ(samplesOf<float>(buffer), std::vector<float>(480));
    EXPECT_EQ(this->input->taken.size(), 1u);
    EXPECT_EQ(this->reference->taken.size(), 1u);
    EXPECT_EQ(this->track.firstSamplePTS, hostTime(1.29));
    EXPECT_EQ(this->track.lastSamplePTS, hostTime(1.30));
    EXPECT_FALSE(this->track.sawSignal);
}

TYPED_TEST(SoundTrackTest, aBufferThatBeginsAtTheCutoffIsKept) {
    this->track.warmupCutoff = hostTime(1.3);
    const auto buffer = loudBuffer(1.3);
    this->track.append(buffer);
    EXPECT_EQ(samplesOf<float>(buffer)[0], 0.5f);
    EXPECT_TRUE(this->track.sawSignal);
}

TYPED_TEST(SoundTrackTest, aWarmupBufferInSeveralPiecesIsSilencedWhole) {
    this->track.warmupCutoff = hostTime(2);
    const std::vector<float> loud(100, 0.5f);
    const auto buffer = soundBuffer(loud.data(), 400, floatPCMDescription(48000, 1), hostTime(1), 120);
    this->track.append(buffer);
    EXPECT_EQ(samplesOf<float>(buffer), std::vector<float>(100));
}

TYPED_TEST(SoundTrackTest, signalIsRememberedThroughLaterSilence) {
    this->track.append(floatBuffer(std::vector<float>(480), 1, hostTime(1)));
    EXPECT_FALSE(this->track.sawSignal);
    this->track.append(loudBuffer(2));
    this->track.append(floatBuffer(std::vector<float>(480), 1, hostTime(3)));
    EXPECT_TRUE(this->track.sawSignal);
}

TYPED_TEST(SoundTrackTest, aFileThatIsNotReadyLosesTheBufferAndCountsIt) {
    this->input->ready = false;
    this->track.append(loudBuffer(1));
    this->track.append(loudBuffer(2));
    EXPECT_TRUE(this->input->taken.empty());
    EXPECT_EQ(this->track.droppedBufferCount, 2);
    EXPECT_EQ(this->track.lastSamplePTS, hostTime(2.01));
    EXPECT_EQ(this->reference->taken.size(), 2u);
}

TYPED_TEST(SoundTrackTest, aReferenceThatIsNotReadyIsNotCounted) {
    this->reference->ready = false;
    this->track.append(loudBuffer(1));
    EXPECT_TRUE(this->reference->taken.empty());
    EXPECT_EQ(this->input->taken.size(), 1u);
    EXPECT_EQ(this->track.droppedBufferCount, 0);
}

TYPED_TEST(SoundTrackTest, aRefusedAppendIsNotLookedAt) {
    this->input->accepts = false;
    this->track.append(loudBuffer(1));
    EXPECT_EQ(this->track.droppedBufferCount, 0);
    EXPECT_EQ(this->reference->taken.size(), 1u);
}

TYPED_TEST(SoundTrackTest, aTrackWithoutAReferenceWritesItsFile) {
    this->track.referenceInput = nullptr;
    this->track.append(loudBuffer(1));
    EXPECT_EQ(this->input->taken.size(), 1u);
}

TEST(AudioTrackTest, eachCameraMovieGetsAReferenceOfItsOwn) {
    const auto input = std::make_shared<ScriptedInput>();
    const auto first = std::make_shared<ScriptedInput>();
    const auto second = std::make_shared<ScriptedInput>();
    AudioTrack track;
    track.input = input;
    track.webcamReferenceInputs = {first, second};
    first->ready = false;
    track.append(loudBuffer(1));
    EXPECT_EQ(input->taken.size(), 1u);
    EXPECT_TRUE(first->taken.empty());
    EXPECT_EQ(second->taken.size(), 1u);
    EXPECT_EQ(track.droppedBufferCount, 0);
}

TEST(AudioTrackTest, theTracksOfOneDeviceKeepTheirOwnRecord) {
    ExtraInputDeviceGroup group;
    for (int channel = 0; channel < 2; ++channel) {
        auto track = std::make_shared<ExtraInputTrack>();
        track->channelIndex = channel;
        track->input = std::make_shared<ScriptedInput>();
        group.tracks.push_back(std::move(track));
    }
    group.tracks[1]->append(loudBuffer(4));
    EXPECT_FALSE(group.tracks[0]->firstSamplePTS);
    EXPECT_EQ(group.tracks[1]->firstSamplePTS, hostTime(4));
}

} // namespace
} // namespace vintra
