#include "Vintra/video/CameraTap.h"

#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"
#include "Vintra/video/CameraSamplePath.h"

#include <gtest/gtest.h>
#include <memory>

namespace vintra {
namespace {

class Output : public AVCaptureVideoDataOutput {
public:
    void setSampleBufferDelegate(std::weak_ptr<AVCaptureDataOutputSampleBufferDelegate>,
                                 std::shared_ptr<DispatchQueue>) override {}
};

class CameraTapTest : public ::testing::Test {
protected:
    CMSampleBuffer frame() { return picture(machine.now()); }

    SimulatedMachine machine;
    const std::shared_ptr<ScriptedInput> input = std::make_shared<ScriptedInput>();
    const std::shared_ptr<CameraTap> tap = std::make_shared<CameraTap>(machine.hostClock);
};

TEST_F(CameraTapTest, aPreviewLearnsTheSizeAndWritesNothing) {
    tap->take(frame());
    EXPECT_EQ(tap->frameSize->read(), (CMVideoDimensions{2, 2}));
    EXPECT_EQ(tap->frames->read(), 0);
    EXPECT_TRUE(input->appended.empty());
}

TEST_F(CameraTapTest, aTakeWritesCountsAndWatches) {
    tap->begin(machine.now(), 30);
    tap->setInput(input);
    tap->take(frame());
    machine.run(1.0 / 30);
    tap->take(frame());
    EXPECT_EQ(input->appended.size(), 2u);
    EXPECT_EQ(tap->frames->read(), 2);
    EXPECT_EQ(tap->drops->read(), 0);
    machine.run(5);
    EXPECT_TRUE(tap->picture->stall(machine.now())) << "the watch was armed and has seen the frames";
}

TEST_F(CameraTapTest, aWriterThatIsBehindLosesTheOldestOfNineFrames) {
    input->ready = [] { return false; };
    tap->begin(machine.now(), 30);
    tap->setInput(input);
    for (int i = 0; i < 9; ++i) {
        tap->take(frame());
        machine.run(1.0 / 30);
    }
    EXPECT_EQ(tap->frames->read(), 0);
    EXPECT_EQ(tap->drops->read(), 1) << "8 wait";
    tap->resetCounters();
    EXPECT_EQ(tap->drops->read(), 0);
}

class CameraSamplePathTest : public CameraTapTest {
protected:
    CameraSamplePathTest() {
        for (const auto& each : {tap, std::static_pointer_cast<CameraTap>(extra)})
            each->begin(machine.now(), 30);
        tap->setInput(input);
        extra->setInput(extraInput);
        path->extraCameraTaps.fill({extra});
    }

    const std::shared_ptr<Output> firstOutput = std::make_shared<Output>();
    const std::shared_ptr<Output> extraOutput = std::make_shared<Output>();
    const std::shared_ptr<ScriptedInput> extraInput = std::make_shared<ScriptedInput>();
    const std::shared_ptr<ExtraCameraTap> extra =
        std::make_shared<ExtraCameraTap>(extraOutput, machine.hostClock);
    const std::shared_ptr<CameraSamplePath> path = std::make_shared<CameraSamplePath>(tap);
};

TEST_F(CameraSamplePathTest, aFrameGoesToTheTapOfItsOutput) {
    path->captureOutput(extraOutput, frame());
    EXPECT_EQ(extraInput->appended.size(), 1u);
    EXPECT_TRUE(input->appended.empty());
}

TEST_F(CameraSamplePathTest, anOutputThatNoTapNamesIsTheFirstCameras) {
    path->captureOutput(firstOutput, frame());
    EXPECT_EQ(input->appended.size(), 1u);
    path->extraCameraTaps.empty();
    machine.run(1.0 / 30);
    path->captureOutput(extraOutput, frame());
    EXPECT_EQ(input->appended.size(), 2u);
    EXPECT_TRUE(extraInput->appended.empty());
}

TEST_F(CameraSamplePathTest, anInvalidBufferIsThrownAway) {
    path->captureOutput(firstOutput, CMSampleBuffer());
    path->captureOutput(extraOutput, CMSampleBuffer());
    EXPECT_TRUE(input->appended.empty());
    EXPECT_TRUE(extraInput->appended.empty());
    EXPECT_EQ(tap->frameSize->read(), (CMVideoDimensions{0, 0}));
}

} // namespace
} // namespace vintra
