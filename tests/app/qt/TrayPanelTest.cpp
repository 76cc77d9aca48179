#include "tests/app/qt/ProgramFixture.h"

namespace vintra {
namespace {

class TrayPanelTest : public ProgramFixture {
protected:
    QQuickWindow& openPanel() {
        program->trayItem().togglePanel();
        EXPECT_TRUE(hand.awaitShown(program->trayItem().panel()));
        return *program->trayItem().panel();
    }
};

TEST_F(TrayPanelTest, aTakeIsStartedAndStoppedFromIt) {
    QQuickWindow& panel = openPanel();
    EXPECT_TRUE(shows(panel, "Not recording"));
    EXPECT_EQ(panel.width(), 268);
    hand.picture(panel, "tray-idle");
    hand.click(panel, "Start Recording");
    ASSERT_TRUE(hand.until([&] { return isRecording(); }));
    EXPECT_TRUE(hand.until([&] { return shows(panel, "Stop Recording") && shows(panel, "0:01"); }));
    hand.picture(panel, "tray-recording");
    hand.click(panel, "Stop Recording");
    EXPECT_TRUE(hand.until([&] { return !isRecording(); }));
}

TEST_F(TrayPanelTest, itShowsAnUpdateThatWaits) {
    program->updateNotice().waiting.set("2.4.1 (build 318)");
    QQuickWindow& panel = openPanel();
    EXPECT_TRUE(hand.until([&] { return shows(panel, "Update ready to install"); }));
    constexpr int kWithoutUpdate = 181;
    EXPECT_TRUE(hand.until([&] { return panel.height() > kWithoutUpdate + 40; })) << "the panel holds it all";
    hand.picture(panel, "tray-update");
    EXPECT_NE(control(panel, "Update ready to install"), nullptr);
}

TEST_F(TrayPanelTest, itBringsTheMainWindowBackAndGoes) {
    window().hide();
    hand.moments(3);
    QQuickWindow& panel = openPanel();
    hand.click(panel, "Open VINTRA Recorder");
    EXPECT_TRUE(hand.until([&] { return window().isExposed() && !panel.isVisible(); }));
}

TEST_F(TrayPanelTest, itQuitsTheProgram) {
    QQuickWindow& panel = openPanel();
    hand.click(panel, "Quit VINTRA Recorder");
    EXPECT_TRUE(hand.until([&] { return terminations == 1; }));
}

TEST_F(TrayPanelTest, everythingThatTakesTheFocusHasAName) {
    QQuickWindow& panel = openPanel();
    int found = 0;
    for (QQuickItem* item : visibleItems(panel)) {
        if (!item->activeFocusOnTab()) continue;
        ++found;
        EXPECT_NE(accessibleName(item), "");
    }
    EXPECT_EQ(found, 3);
}

} // namespace
} // namespace vintra
