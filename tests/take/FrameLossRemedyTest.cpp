#include "tests/take/RecorderFixture.h"

namespace vintra {
namespace {

/// What a take with lost screen frames advises.
class FrameLossRemedyTest : public RecorderFixture {
protected:
    /// The display is 1440 × 900 points at two pixels a point.
    void captureRegion(double width, double height) {
        recorder->screenCaptureMode.set(CaptureModeChoice::region);
        recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{0, 0}, {width, height}}});
    }
    /// What is said behind the count of frames and what became of the movie.
    std::string adviceOfALossyTake(int frameRate) {
        recorder->screenFrameRate.set(frameRate);
        machine.assetWriters->script = [](const URL&, AVFileType) {
            return SimulatedWriterScript{
                .isStalled = [](double seconds) { return seconds >= 1 && seconds < 2; }};
        };
        const URL url = URL::fileURL(path("take" + std::to_string(++takes) + "_video.mov"));
        machine.complete(recorder->startRecording(url));
        machine.run(3);
        stop();
        const std::string text = lastError();
        const std::string known = "the video is complete but momentarily less smooth.";
        const size_t at = text.find(known);
        return at == std::string::npos ? "no loss: " + text : text.substr(at + known.size());
    }
    int takes = 0;
};

TEST_F(FrameLossRemedyTest, aLargeScreenAtAHighRateHasTwoRemedies) {
    EXPECT_EQ(adviceOfALossyTake(60),
              " To keep every frame, capture a smaller part of the screen or set the screen to 30 fps.");
}

TEST_F(FrameLossRemedyTest, aLargeScreenAtALowRateIsCapturedInPart) {
    EXPECT_EQ(adviceOfALossyTake(30), " To keep every frame, capture a smaller part of the screen.");
    EXPECT_EQ(adviceOfALossyTake(24), " To keep every frame, capture a smaller part of the screen.");
}

TEST_F(FrameLossRemedyTest, aPictureOf1080LinesIsNotLarge) {
    captureRegion(960, 540); // 1920 × 1080 pixels
    EXPECT_EQ(adviceOfALossyTake(60), " To keep every frame, set the screen to 30 fps.");
    captureRegion(961, 540);
    EXPECT_EQ(adviceOfALossyTake(60),
              " To keep every frame, capture a smaller part of the screen or set the screen to 30 fps.");
}

TEST_F(FrameLossRemedyTest, aSmallPictureAtALowRateHasNoRemedy) {
    captureRegion(960, 540);
    EXPECT_EQ(adviceOfALossyTake(30), "");
}

TEST_F(FrameLossRemedyTest, anExternalDriveIsNamedBehindTheRemedy) {
    captureRegion(960, 540);
    machine.fileManager->volumes["/media/stick"] = false;
    machine.fileManager->createDirectory(URL::fileURL("/media/stick"));
    machine.userDefaults->values["outputFolderPath"] = std::string("/media/stick");
    const std::string drive = " This recording went to an external drive, so the internal disk may help too.";
    EXPECT_EQ(adviceOfALossyTake(60), " To keep every frame, set the screen to 30 fps." + drive);
    EXPECT_EQ(adviceOfALossyTake(30), drive);
}

} // namespace
} // namespace vintra
