#include "Vintra/app/AppDelegate.h"

#include "Vintra/platform/simulated/SimulatedProgramWindows.h"
#include "tests/app/AppFixture.h"

namespace vintra {
namespace {

class AppDelegateTest : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        delegate.recorder = recorder;
    }
    bool wasRunning() const { return boolForKey(*machine.userDefaults, "vintraWasRunning").value_or(false); }
    size_t terminations() const { return windows.calls.size(); }

    SimulatedProgramWindows windows;
    AppDelegate delegate{platform, windows};
};

TEST_F(AppDelegateTest, anIdleProgramEndsAtOnce) {
    delegate.quit();
    EXPECT_EQ(terminations(), 1u);
}

TEST_F(AppDelegateTest, theCleanExitPutsTheOutputBackAndClearsTheMark) {
    turnOnComputerAudio();
    ASSERT_TRUE(*recorder->isHoldingAudioRouting);
    EXPECT_TRUE(wasRunning());
    delegate.applicationWillTerminate();
    expectReleased(speakers);
    EXPECT_FALSE(wasRunning());
}

TEST_F(AppDelegateTest, beforeTheWindowHasAppearedOnlyTheMarkIsCleared) {
    delegate.recorder.reset();
    delegate.quit();
    EXPECT_EQ(terminations(), 1u);
    delegate.applicationWillTerminate();
    EXPECT_FALSE(wasRunning());
}

TEST_F(AppDelegateTest, aTakeIsSavedFirst) {
    view->outputSection.setSessionName("kept");
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    machine.run(2);
    delegate.quit();
    EXPECT_TRUE(*delegate.isQuitting);
    EXPECT_EQ(terminations(), 0u);
    ASSERT_TRUE(machine.runMainUntil([&] { return terminations() > 0; }));
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(writer("kept_video.mov")->status(), AVAssetWriterStatus::completed);
}

TEST_F(AppDelegateTest, aSecondQuitLeavesAtOnce) {
    press();
    delegate.quit();
    delegate.quit();
    EXPECT_EQ(terminations(), 1u);
    machine.run(2);
}

TEST_F(AppDelegateTest, aStopThatIsUnderWayIsWaitedFor) {
    press();
    machine.run(1);
    view->toggleRecording();
    ASSERT_TRUE(*recorder->isBusy);
    delegate.quit();
    EXPECT_EQ(terminations(), 0u);
    ASSERT_TRUE(machine.runMainUntil([&] { return terminations() > 0; }));
    EXPECT_FALSE(*recorder->isBusy);
    EXPECT_EQ(*recorder->statusMessage, "Saved");
}

TEST_F(AppDelegateTest, aStartThatIsUnderWayIsEndedToo) {
    view->toggleRecording();
    ASSERT_TRUE(*recorder->isBusy);
    delegate.quit();
    ASSERT_TRUE(machine.runMainUntil([&] { return terminations() > 0; }));
    EXPECT_FALSE(*recorder->isRecording);
    EXPECT_FALSE(*recorder->isBusy);
}

} // namespace
} // namespace vintra
