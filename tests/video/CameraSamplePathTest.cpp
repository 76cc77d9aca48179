#include "Vintra/video/CameraSamplePath.h"

#include "FakeVideoOutput.h"
#include "ScriptedInput.h"
#include "Vintra/platform/simulated/SimulatedMachine.h"

#include <gtest/gtest.h>
#include <memory>

namespace vintra {
namespace {

/// A first camera and two extra ones, each with the input of a movie.
class CameraSamplePathTest : public testing::Test {
protected:
    void SetUp() override {
        webcam->setInput(webcamInput);
        webcam->begin(start, 30);
        for (const auto& tap : {first, second}) {
            tap->setInput(tap == first ? firstInput : secondInput);
            tap->begin(start, 30);
        }
        path.extraCameraTaps.fill({first, second});
        path.webcamDataOutput.fill(webcamOutput);
    }
    std::vector<size_t> written() const {
        return {webcamInput->appended.size(), firstInput->appended.size(), secondInput->appended.size()};
    }

    SimulatedMachine machine;
    const CMTime start = machine.now();
    const std::shared_ptr<CameraTap> webcam = std::make_shared<CameraTap>(machine.hostClock);
    const std::shared_ptr<ExtraCameraTap> first =
        std::make_shared<ExtraCameraTap>(std::make_shared<FakeVideoOutput>(), machine.hostClock);
    const std::shared_ptr<ExtraCameraTap> second =
        std::make_shared<ExtraCameraTap>(std::make_shared<FakeVideoOutput>(), machine.hostClock);
    const std::shared_ptr<ScriptedInput> webcamInput = std::make_shared<ScriptedInput>();
    const std::shared_ptr<ScriptedInput> firstInput = std::make_shared<ScriptedInput>();
    const std::shared_ptr<ScriptedInput> secondInput = std::make_shared<ScriptedInput>();
    const std::shared_ptr<AVCaptureOutput> webcamOutput = std::make_shared<FakeVideoOutput>();
    CameraSamplePath path{webcam};
};

TEST_F(CameraSamplePathTest, anExtraCamerasFrameFindsItsTapByItsOutput) {
    path.captureOutput(second->output, picture(start));
    EXPECT_EQ(written(), (std::vector<size_t>{0, 0, 1}));
    path.captureOutput(first->output, picture(start));
    EXPECT_EQ(written(), (std::vector<size_t>{0, 1, 1}));
}

TEST_F(CameraSamplePathTest, aFrameOfTheFirstCamerasOutputIsItsOwn) {
    path.captureOutput(webcamOutput, picture(start));
    EXPECT_EQ(written(), (std::vector<size_t>{1, 0, 0}));
}

TEST_F(CameraSamplePathTest, aFrameOfACameraThatWasLetGoIsNobodys) {
    path.extraCameraTaps.empty();
    path.captureOutput(first->output, picture(start));
    path.webcamDataOutput.empty();
    path.captureOutput(webcamOutput, picture(start));
    EXPECT_EQ(written(), (std::vector<size_t>{0, 0, 0}));
    EXPECT_EQ(webcam->frameSize->read(), (CMVideoDimensions{0, 0})) << "nor does it tell its size";
}

TEST_F(CameraSamplePathTest, anInvalidSampleIsNoFrame) {
    path.captureOutput(first->output, CMSampleBuffer{});
    path.captureOutput(webcamOutput, CMSampleBuffer{});
    EXPECT_EQ(written(), (std::vector<size_t>{0, 0, 0}));
    EXPECT_EQ(webcam->frameSize->read(), (CMVideoDimensions{0, 0}));
    EXPECT_EQ(webcam->drops->read(), 0);
}

} // namespace
} // namespace vintra
