#include "tests/take/RecorderFixture.h"

#include <map>
#include <random>
#include <set>

namespace vintra {
namespace {

/// Takes of a screen whose frames are lost on the way: by the capture, by a queue that is behind, by a writer
/// that has no room or refuses. The parameter is the seed.
class ScreenLossTest : public RecorderFixture, public ::testing::WithParamInterface<unsigned> {
protected:
    bool oneIn(unsigned times) { return random() % times == 0; }

    std::mt19937 random{GetParam()};
};

TEST_P(ScreenLossTest, everyFrameStandsOnItsSlotOrIsToldAndTheSlotsAddUp) {
    const int rate = oneIn(2) ? 30 : 60;
    machine.userDefaults->values["screenFrameRate"] = int64_t{rate};
    makeRecorder();
    std::vector<SimulatedFrame> frames;
    int64_t slot = 0;
    for (int i = 0; i < 300; ++i, slot += oneIn(5) ? static_cast<int64_t>(random() % 12) + 1 : 1) {
        SimulatedFrame frame;
        frame.seconds = static_cast<double>(slot) / rate;
        frame.shade = static_cast<uint8_t>(i % 4 * 60);
        frame.isMissed = i > 0 && oneIn(15);
        frames.push_back(frame);
    }
    machine.screenCapture->script.frames = listedFrames(frames);
    const bool refuses = oneIn(3);
    const auto next = std::make_shared<std::mt19937>(random());
    machine.assetWriters->script = [refuses, next](const URL&, AVFileType) {
        SimulatedWriterScript script;
        script.isStalled = [](double seconds) { return std::fmod(seconds, 1.7) > 1.4; };
        script.queueCapacity = 3;
        script.encodeSecondsPerSample = 0.012;
        if (refuses) script.refuses = [next](const CMSampleBuffer&) { return (*next)() % 20 == 0; };
        return script;
    };
    start();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    machine.run(frames.back().seconds + 0.5);
    const CMTime captureStart = machine.screenCapture->stream()->captureStart();
    stop();

    const FrameAccount account = recorder->lastTakeScreenFrames().value_or(FrameAccount{});
    EXPECT_GT(account.lost, 0);
    const std::string sentence =
        std::to_string(account.lost) + " screen frame" + (account.lost == 1 ? " was" : "s were") + " dropped";
    EXPECT_NE(lastError().find(sentence), std::string::npos) << lastError() << "\n" << account.lost;

    // By content: each picture that was written stands on the slot at which it was captured.
    std::map<int64_t, uint8_t> shadeOfSlot;
    for (const SimulatedFrame& frame : frames)
        shadeOfSlot[static_cast<int64_t>(std::round(frame.seconds * rate))] = frame.shade;
    std::set<const CVPixelBuffer*> seen;
    uint8_t latest = 0;
    int64_t own = 0;
    for (const CMSampleBuffer& sample : videoTrack()->accepted()) {
        const double position = CMTimeGetSeconds(sample.presentationTimeStamp() - captureStart) * rate;
        const auto at = static_cast<int64_t>(std::round(position));
        EXPECT_NEAR(position, static_cast<double>(at), 0.1);
        const uint8_t shade = sample.imageBuffer()->plane(0).baseAddress[0];
        const auto captured = shadeOfSlot.find(at);
        if (captured != shadeOfSlot.end() && captured->second == shade) {
            ++own;
        } else {
            EXPECT_EQ(shade, latest) << "a picture in slot " << at << " that isn't its own, and no copy";
        }
        latest = shade;
    }
    EXPECT_GE(own, account.own);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ScreenLossTest, ::testing::Range(1u, 31u));

} // namespace
} // namespace vintra
