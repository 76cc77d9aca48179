#include "Vintra/app/WindowInPicture.h"

#include "Vintra/platform/simulated/SimulatedProgramWindows.h"
#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class WindowInPictureTest : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        picture = std::make_unique<WindowInPicture>(surroundings(), windows);
        picture->setWindowFrame(CGRect{{100, 50}, {744, 692}});
    }
    void TearDown() override {
        picture.reset();
        AppFixture::TearDown();
    }
    bool isSaid() {
        machine.settle();
        return picture->state->isInPicture;
    }

    SimulatedProgramWindows windows;
    std::unique_ptr<WindowInPicture> picture;
};

TEST_F(WindowInPictureTest, itIsSaidWhereTheScreenIsRecorded) {
    EXPECT_TRUE(isSaid());
    recorder->screenEnabled.set(false);
    EXPECT_FALSE(isSaid());
    recorder->screenEnabled.set(true);
    picture->setWindowFrame(CGRect{{1440, 50}, {744, 692}}); // beside the only screen's 1440 points
    EXPECT_FALSE(isSaid());
    picture->setWindowFrame(CGRect{{1439, 50}, {744, 692}});
    EXPECT_TRUE(isSaid());
    picture->setWindowFrame(std::nullopt);
    EXPECT_TRUE(isSaid()) << "it may be anywhere";
}

TEST_F(WindowInPictureTest, aRegionCountsByItself) {
    recorder->screenCaptureMode.set(CaptureModeChoice::region);
    recorder->captureRegion.set(CaptureRegion{.displayID = 1, .rect = {{900, 0}, {400, 400}}});
    EXPECT_FALSE(isSaid());
    picture->setWindowFrame(CGRect{{500, 300}, {744, 692}});
    EXPECT_TRUE(isSaid());
}

TEST_F(WindowInPictureTest, aWindowByItselfShowsNoOther) {
    recorder->screenCaptureMode.set(CaptureModeChoice::window);
    recorder->selectedWindowID.set(7);
    EXPECT_FALSE(isSaid());
}

TEST_F(WindowInPictureTest, theWindowGoesForTheTakeAndComesBack) {
    picture->setMinimizes(true);
    EXPECT_TRUE(picture->state->minimizes);
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(windows.calls, std::vector<std::string>{"away"});
    EXPECT_FALSE(isSaid());
    press();
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"away", "front"}));
}

TEST_F(WindowInPictureTest, itStaysIfThatIsntWantedOrItIsElsewhere) {
    press();
    press();
    picture->setMinimizes(true);
    picture->setWindowFrame(CGRect{{2000, 50}, {744, 692}});
    press();
    press();
    EXPECT_TRUE(windows.calls.empty());
}

TEST_F(WindowInPictureTest, aWindowThatTheUserHasClosedStaysClosed) {
    picture->setMinimizes(true);
    windows.isMainWindowShown = false;
    press();
    press();
    EXPECT_TRUE(windows.calls.empty());
}

TEST_F(WindowInPictureTest, aStartThatFailsBringsItBack) {
    picture->setMinimizes(true);
    machine.screenCapture->makeStreamError = SystemError("test", 1, "The screen can't be recorded.");
    press();
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"away", "front"}));
}

TEST_F(WindowInPictureTest, theChoiceIsKept) {
    picture->setMinimizes(true);
    picture = std::make_unique<WindowInPicture>(surroundings(), windows);
    machine.settle();
    EXPECT_TRUE(picture->state->minimizes);
}

} // namespace
} // namespace vintra
