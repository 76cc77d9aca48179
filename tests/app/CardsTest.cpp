#include "tests/app/AppFixture.h"
#include "tests/app/NotedUpdaterController.h"

namespace vintra {
namespace {

class CardsTest : public AppFixture {
protected:
    std::vector<Card> cards() {
        machine.settle();
        return *view->cards.cards;
    }
    std::vector<Card::Kind> kinds() {
        std::vector<Card::Kind> kinds;
        for (const Card& card : cards())
            kinds.push_back(card.kind);
        return kinds;
    }
    /// The one card that stands.
    Card card() {
        const auto all = cards();
        EXPECT_EQ(all.size(), 1u);
        return all.empty() ? Card{} : all.front();
    }
    std::vector<std::string> buttons() {
        std::vector<std::string> names;
        for (const Card::Button& shown : card().buttons)
            names.push_back(shown.title);
        return names;
    }
    void ask() {
        machine.userDefaults->values["VintraTestFeedbackAsk"] = true;
        feedbackAsk->takeFinished(30, false);
    }
};

TEST_F(CardsTest, thereAreNoneAtFirst) {
    EXPECT_EQ(kinds(), std::vector<Card::Kind>{});
}

TEST_F(CardsTest, theyStandInTheirOrder) {
    recorder->multiCameraScreenRateNote.set(60);
    ask();
    updateNotice.waiting.set("2.4.1");
    recorder->recoveryNote.set("It is in order again.");
    recorder->pendingCrashReport.set("trace");
    EXPECT_EQ(kinds(), (std::vector<Card::Kind>{Card::Kind::crash, Card::Kind::recovery, Card::Kind::update,
                                                Card::Kind::feedbackAsking, Card::Kind::cameraRate}));
}

TEST_F(CardsTest, aCrashIsReportedAndDismissed) {
    recorder->pendingCrashReport.set("the trace of it");
    EXPECT_EQ(card().title, "Vintra crashed last time it ran.");
    EXPECT_EQ(card().text,
              "Sending the report helps get it fixed — it copies the details and opens the form for you to "
              "paste into.");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"Send report", "Dismiss"}));
    view->cards.press(Card::Kind::crash, 0);
    EXPECT_NE(desktop.pasteboard->find("the trace of it"), std::string::npos);
    ASSERT_EQ(desktop.openedAddresses.size(), 1u);
    EXPECT_TRUE(desktop.openedAddresses[0].ends_with("&from=crash")) << desktop.openedAddresses[0];
    EXPECT_EQ(card().text, "Copied. Paste it into the form with ⌘V, then close this.");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"Copy again", "Dismiss"}));
    view->cards.press(Card::Kind::crash, 1);
    EXPECT_TRUE(cards().empty());
    EXPECT_FALSE(*recorder->crashReportCopied);
}

TEST_F(CardsTest, aCrashReportWithoutAFormIsCopiedAndSaysSo) {
    openWindow("https://REPLACE_WITH/form");
    recorder->pendingCrashReport.set("the trace of it");
    view->cards.press(Card::Kind::crash, 0);
    EXPECT_NE(desktop.pasteboard->find("the trace of it"), std::string::npos);
    EXPECT_TRUE(desktop.openedAddresses.empty());
    EXPECT_EQ(
        *recorder->statusMessage,
        "Bug report form isn't set up yet — set BetaFeedback.formURL in BetaFeedback before sending this build "
        "out. Diagnostics were copied to the clipboard.");
}

TEST_F(CardsTest, anUpdateWaits) {
    const auto controller = std::make_shared<NotedUpdaterController>();
    updateNotice.controller = controller;
    updateNotice.waiting.set("2.4.1 (build 318)");
    EXPECT_EQ(card().title, "Vintra 2.4.1 (build 318) is ready to install.");
    EXPECT_EQ(card().text, "Install it whenever suits you. Nothing interrupts a recording in the meantime.");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"See what's new", "Not now"}));
    EXPECT_EQ(card().buttons[1].help, "Remind me at the next check");
    view->cards.press(Card::Kind::update, 0);
    EXPECT_EQ(controller->checks, 1);
    view->cards.press(Card::Kind::update, 1);
    EXPECT_TRUE(cards().empty());
    // A press on a card that has gone meanwhile.
    view->cards.press(Card::Kind::update, 0);
    EXPECT_EQ(controller->checks, 1);
}

TEST_F(CardsTest, aGoodTakeIsAnsweredWithANote) {
    ask();
    EXPECT_EQ(card().title, "How did that go?");
    EXPECT_EQ(card().text,
              "Either answer helps. If something was off, the form opens with your setup already filled "
              "in, so you only write the sentence.");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"Fine", "Something was off"}));
    EXPECT_TRUE(card().hasCloseMark);
    EXPECT_EQ(
        card().finePrint,
        "Either button sends your answer with your Vintra build, macOS version, Mac model and the random number "
        "of this copy. Nothing else, and nothing about what you recorded.");
    view->cards.press(Card::Kind::feedbackAsking, 0);
    EXPECT_EQ(card().title, "Anything worth saying?");
    EXPECT_EQ(card().text, "One line is plenty, and it's the most useful thing anyone sends.");
    EXPECT_EQ(card().placeholder, "What worked, what didn't");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"Send", "No thanks"}));
    EXPECT_TRUE(sent.empty());
    feedbackAsk->note.set("All well");
    view->cards.press(Card::Kind::feedbackNote, 0);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0], (std::pair(FeedbackAsk::Answer::fine, std::string("All well"))));
    EXPECT_EQ(card().title, "Thanks.");
    EXPECT_EQ(card().text, "Vintra won't ask again for two weeks.");
    machine.run(9);
    EXPECT_TRUE(cards().empty());
}

TEST_F(CardsTest, noThanksSendsTheAnswerAlone) {
    ask();
    view->cards.press(Card::Kind::feedbackAsking, 0);
    view->cards.press(Card::Kind::feedbackNote, 1);
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].second, "");
    EXPECT_TRUE(cards().empty());
}

TEST_F(CardsTest, somethingThatWasOffOpensTheForm) {
    ask();
    view->cards.press(Card::Kind::feedbackAsking, 1);
    EXPECT_TRUE(desktop.pasteboard.has_value());
    ASSERT_EQ(desktop.openedAddresses.size(), 1u);
    EXPECT_TRUE(desktop.openedAddresses[0].ends_with("&from=after-take")) << desktop.openedAddresses[0];
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].first, FeedbackAsk::Answer::off);
    EXPECT_EQ(card().text,
              "The form is open in your browser. Your diagnostics are on the clipboard too, in case it "
              "asks for them.");
    view->cards.close(Card::Kind::feedbackAnswered);
    EXPECT_TRUE(cards().empty());
}

TEST_F(CardsTest, theCloseMarkEndsTheQuestion) {
    ask();
    view->cards.close(Card::Kind::feedbackAsking);
    EXPECT_TRUE(cards().empty());
    EXPECT_TRUE(sent.empty());
}

TEST_F(CardsTest, aRecoveryIsToldUntilItIsClosed) {
    recorder->recoveryNote.set("The take of yesterday is in order again.");
    EXPECT_EQ(card().text, "The take of yesterday is in order again.");
    view->cards.close(Card::Kind::recovery);
    EXPECT_TRUE(cards().empty());
}

TEST_F(CardsTest, aLoweredRateIsExplained) {
    recorder->screenFrameRate.set(60);
    plugCamera("cam.a", "First Camera");
    plugCamera("cam.b", "Second Camera");
    selectCamera("cam.a");
    const UUID second = addCamera("cam.b");
    EXPECT_EQ(card().title, "Screen switched to 30 fps for multiple cameras.");
    EXPECT_EQ(card().text,
              "At 60 fps with more than one camera, your Mac can skip frames of the screen recording. Vintra "
              "goes back to 60 fps when you're down to one camera. To keep 60 fps anyway, pick it on the "
              "Control bar.");
    view->tracksSection.webcams.removeWebcam(second);
    machine.run(0.5);
    EXPECT_TRUE(cards().empty());
}

TEST_F(CardsTest, aWindowThatWouldBeInThePictureIsSaidOnceWithAButtonThatHidesIt) {
    int timesHidden = 0;
    view->cards.onHideMainWindow = [&] { ++timesHidden; };
    recorder->isOwnWindowInPicture.set(true);
    EXPECT_EQ(card().title, "This window would be in the recording.");
    EXPECT_EQ(buttons(), (std::vector<std::string>{"Hide this window", "Leave it there"}));
    recorder->isOwnWindowInPicture.set(false);
    EXPECT_TRUE(cards().empty()) << "it was put elsewhere";
    recorder->isOwnWindowInPicture.set(true);
    EXPECT_EQ(cards().size(), 1u);
    view->cards.press(Card::Kind::ownWindow, 0);
    EXPECT_EQ(timesHidden, 1);
    EXPECT_TRUE(cards().empty());
    recorder->isOwnWindowInPicture.set(false);
    recorder->isOwnWindowInPicture.set(true);
    EXPECT_TRUE(cards().empty()) << "once";
    EXPECT_EQ(machine.userDefaults->value("hasToldOfWindowInPicture"), DefaultsValue(true));
}

TEST_F(CardsTest, aTakeThatIsStartedAllTheSameHasHeardOfTheWindowInItsPicture) {
    recorder->isOwnWindowInPicture.set(true);
    EXPECT_EQ(cards().size(), 1u);
    press();
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_TRUE(cards().empty());
    press();
}

} // namespace
} // namespace vintra
