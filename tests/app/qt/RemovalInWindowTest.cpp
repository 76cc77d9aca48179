#include "tests/app/qt/ProgramFixture.h"

namespace vintra {
namespace {

class RemovalInWindowTest : public ProgramFixture {
protected:
    void ask() {
        click("Vintra");
        click("Remove Vintra…");
        ASSERT_TRUE(hand.until([&] { return program->alerts().window() != nullptr; }));
        ASSERT_TRUE(hand.awaitShown(&alert()));
    }
    QQuickWindow& alert() { return *program->alerts().window(); }
    bool told(const QString& text) {
        return hand.until([&] { return alert().isVisible() && shows(alert(), text); });
    }
    void press(const QString& button) {
        hand.letDoubleClickPass();
        hand.click(alert(), button);
    }
    void end(ProgramRemoval::Outcome outcome) {
        ASSERT_TRUE(hand.until([&] { return !removal->runs.empty(); }));
        const auto onEnd = removal->runs.back();
        onEnd(std::move(outcome));
    }
};

TEST_F(RemovalInWindowTest, theProgramIsRemovedAndSaysGoodbye) {
    ask();
    EXPECT_TRUE(told("Remove Vintra from this Mac?"));
    EXPECT_EQ(alert().modality(), Qt::ApplicationModal);
    hand.picture(alert(), "removal-question");
    press("Remove Vintra");
    end(ProgramRemoval::Removed{});
    EXPECT_TRUE(told("Vintra has been removed."));
    hand.picture(alert(), "removal-farewell");
    EXPECT_EQ(terminations, 0);
    press("Quit");
    EXPECT_TRUE(hand.until([&] { return terminations == 1; }));
}

TEST_F(RemovalInWindowTest, cancelAndEscapeLeaveAllAsItIs) {
    ask();
    press("Cancel");
    EXPECT_TRUE(hand.until([&] { return !alert().isVisible(); }));
    ask();
    EXPECT_TRUE(hand.until([&] { return alert().isActive(); }));
    hand.key("Escape");
    EXPECT_TRUE(hand.until([&] { return !alert().isVisible(); }));
    ask();
    alert().close();
    EXPECT_TRUE(hand.until([&] { return !alert().isVisible(); }));
    hand.moments(5);
    EXPECT_TRUE(removal->runs.empty());
    EXPECT_EQ(terminations, 0);
}

TEST_F(RemovalInWindowTest, theOtherWindowsTakeNoClicksMeanwhile) {
    ask();
    alert().setFramePosition({40, 620}); // beside what is clicked
    hand.moments(5);
    hand.clickItem(control(window(), "Start Recording"));
    hand.moments(10);
    EXPECT_FALSE(*live().isBusy || isRecording());
    EXPECT_TRUE(alert().isVisible());
}

TEST_F(RemovalInWindowTest, aFailureIsToldAndTheProgramGoesOn) {
    ask();
    EXPECT_TRUE(hand.until([&] { return alert().isActive(); }));
    EXPECT_EQ(accessibleName(alert().activeFocusItem()), "Remove Vintra");
    hand.key("Return");
    end(ProgramRemoval::Failed{"Another program is installing packages; try again when it has ended."});
    EXPECT_TRUE(told("Vintra could not be removed."));
    hand.picture(alert(), "removal-failure");
    hand.letDoubleClickPass();
    hand.key("Return");
    EXPECT_TRUE(hand.until([&] { return !alert().isVisible(); }));
    EXPECT_EQ(terminations, 0);
    ask();
}

TEST_F(RemovalInWindowTest, whatIsAskedIsToldToScreenReaders) {
    ask();
    bool isTold = false;
    for (QQuickItem* item : visibleItems(alert())) {
        isTold = isTold || (accessibleRole(item) == QAccessible::AlertMessage &&
                            accessibleName(item) == "Remove Vintra from this Mac?");
        EXPECT_TRUE(!item->activeFocusOnTab() || accessibleName(item) != "");
    }
    EXPECT_TRUE(isTold);
}

} // namespace
} // namespace vintra
