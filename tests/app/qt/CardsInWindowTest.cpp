#include "tests/app/qt/ProgramFixture.h"

namespace vintra {
namespace {

class CardsInWindowTest : public ProgramFixture {};

TEST_F(CardsInWindowTest, aCrashIsToldAndDismissed) {
    live().pendingCrashReport.set("the trace of it");
    EXPECT_TRUE(shown("Vintra crashed last time it ran."));
    hand.picture(window(), "card-crash");
    click("Send report");
    EXPECT_TRUE(shown("Copy again"));
    click("Dismiss");
    EXPECT_TRUE(gone("Vintra crashed last time it ran."));
}

TEST_F(CardsInWindowTest, aRecoveryIsToldAndClosed) {
    live().recoveryNote.set("It is in order again.");
    EXPECT_TRUE(shown("A recording was cut off before it could be saved."));
    hand.picture(window(), "card-recovery");
    click("Close");
    EXPECT_TRUE(gone("A recording was cut off before it could be saved."));
}

TEST_F(CardsInWindowTest, anUpdateIsPutOff) {
    program->updateNotice().waiting.set("2.4.1 (build 318)");
    EXPECT_TRUE(shown("Vintra 2.4.1 (build 318) is ready to install."));
    hand.picture(window(), "card-update");
    EXPECT_NE(control(window(), "See what's new"), nullptr);
    click("Not now");
    EXPECT_TRUE(gone("Vintra 2.4.1 (build 318) is ready to install."));
}

TEST_F(CardsInWindowTest, feedbackIsAskedForNotedAndThankedFor) {
    const auto ask = live().feedbackAsk.lock();
    ASSERT_NE(ask, nullptr);
    machine.userDefaults->values["VintraTestFeedbackAsk"] = true;
    ask->takeFinished(30, false);
    EXPECT_TRUE(shown("How did that go?"));
    hand.picture(window(), "card-feedback-asking");
    click("Fine");
    EXPECT_TRUE(shown("Anything worth saying?"));
    // The focus is in the field already.
    hand.type("fine");
    EXPECT_TRUE(hand.until([&] { return *ask->note == "fine"; }));
    hand.picture(window(), "card-feedback-note");
    click("Send");
    EXPECT_TRUE(shown("Thanks."));
    hand.picture(window(), "card-feedback-answered");
    click("Close");
    EXPECT_TRUE(gone("Thanks."));
}

TEST_F(CardsInWindowTest, aWindowInThePictureIsToldAndHides) {
    live().isOwnWindowInPicture.set(true);
    EXPECT_TRUE(shown("This window would be in the recording."));
    hand.picture(window(), "card-own-window");
    click("Hide this window");
    EXPECT_TRUE(
        hand.until([&] { return !window().isVisible() || window().visibility() == QWindow::Minimized; }));
}

TEST_F(CardsInWindowTest, theRateOfTheScreenIsExplained) {
    live().multiCameraScreenRateNote.set(60);
    EXPECT_TRUE(shown("Screen switched to 30 fps for multiple cameras."));
    hand.picture(window(), "card-camera-rate");
    live().multiCameraScreenRateNote.set(std::nullopt);
    EXPECT_TRUE(gone("Screen switched to 30 fps for multiple cameras."));
}

} // namespace
} // namespace vintra
