#include "Vintra/video/CameraTap.h"

#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>

namespace vintra {
namespace {

class CameraTapTest : public testing::Test {
protected:
    /// Always of the same picture: a camera that has frozen.
    CMSampleBuffer frameAt(double seconds) const {
        return CMSampleBuffer::makeVideo(
            image, {kCMTimeInvalid, start + CMTimeMakeWithSeconds(seconds, kHostTimescale), kCMTimeInvalid});
    }
    void takeAt(double seconds) {
        machine.time->advanceTo(1000 * INT64_C(1'000'000'000) + nanosecondsFromSeconds(seconds));
        tap.frame(frameAt(seconds));
    }

    SimulatedMachine machine;
    const CMTime start = machine.now();
    const std::shared_ptr<CVPixelBuffer> image = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, 2, 2);
    CameraTap tap{machine.hostClock};
    std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
};

TEST_F(CameraTapTest, aPreviewedFrameTellsItsSizeAlone) {
    tap.begin(start, 30);
    takeAt(0);
    EXPECT_EQ(tap.frameSize->read(), (CMVideoDimensions{2, 2}));
    EXPECT_EQ(tap.frames->read(), 0);
    EXPECT_EQ(tap.drops->read(), 0);
    EXPECT_EQ(tap.writeQueue->summary(), "no frames");
}

TEST_F(CameraTapTest, aFrameOfATakeGoesOnItsGridAndIsWatched) {
    tap.begin(start, 30);
    tap.setInput(input);
    for (int slot = 0; slot < 90; ++slot)
        takeAt(slot / 30.0);
    EXPECT_EQ(tap.frames->read(), 90);
    EXPECT_EQ(tap.drops->read(), 0);
    EXPECT_EQ(input->appended.size(), 90u);
    EXPECT_EQ(input->appended.back().presentationTimeStamp(), start + CMTimeMake(89, 30));
    EXPECT_TRUE(tap.picture->stall(machine.now()));
}

TEST_F(CameraTapTest, aFrameThatTheMovieRefusesIsCountedAsLost) {
    tap.begin(start, 30);
    tap.setInput(input);
    takeAt(0);
    input->accepts = [](const CMSampleBuffer&) { return false; };
    takeAt(1.0 / 30);
    EXPECT_EQ(tap.frames->read(), 1);
    EXPECT_EQ(tap.drops->read(), 1);
}

TEST_F(CameraTapTest, aWriterThatIsBehindLosesTheOldestOfNineFrames) {
    input->ready = [] { return false; };
    tap.begin(start, 30);
    tap.setInput(input);
    for (int slot = 0; slot < 9; ++slot)
        takeAt(slot / 30.0);
    EXPECT_EQ(tap.frames->read(), 0);
    EXPECT_EQ(tap.drops->read(), 1) << "8 wait";
}

TEST_F(CameraTapTest, whatAFlushDidIsAdded) {
    tap.count({.written = 3, .dropped = 2});
    tap.count({.written = 0, .dropped = 1});
    EXPECT_EQ(tap.frames->read(), 3);
    EXPECT_EQ(tap.drops->read(), 3);
    tap.resetCounters();
    EXPECT_EQ(tap.frames->read(), 0);
    EXPECT_EQ(tap.drops->read(), 0);
}

TEST_F(CameraTapTest, aFrameWithoutAPictureLeavesTheSizeAsItWas) {
    tap.begin(start, 30);
    takeAt(0);
    tap.frame(CMSampleBuffer::makeVideo(nullptr, {CMTimeMake(1, 30), start, kCMTimeInvalid}));
    EXPECT_EQ(tap.frameSize->read(), (CMVideoDimensions{2, 2}));
}

} // namespace
} // namespace vintra
