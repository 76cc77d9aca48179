#include "Vintra/app/MenuBarItem.h"

#include "Vintra/app/MarkerShortcut.h"
#include "Vintra/platform/simulated/SimulatedGlobalHotKeys.h"
#include "Vintra/platform/simulated/SimulatedProgramWindows.h"
#include "tests/app/AppFixture.h"
#include "tests/app/NotedUpdaterController.h"

namespace vintra {
namespace {

class MenuBarItemTest : public AppFixture {
protected:
    void SetUp() override {
        AppFixture::SetUp();
        item = std::make_unique<MenuBarItem>(surroundings(), view->take, windows, [this] { ++quits; });
    }
    void TearDown() override {
        item.reset();
        AppFixture::TearDown();
    }
    MenuBarItem::Icon icon() {
        machine.settle();
        return *item->icon;
    }

    SimulatedProgramWindows windows;
    int quits = 0;
    std::unique_ptr<MenuBarItem> item;
};

TEST_F(MenuBarItemTest, thePanelFollowsATake) {
    EXPECT_EQ(icon(), (MenuBarItem::Icon{"record.circle", false}));
    EXPECT_EQ(*item->status.state, (StatusIndicator::State{.text = "Not recording"}));
    EXPECT_EQ(item->recordButton()->title, "Start Recording");
    item->toggleRecording();
    machine.run(1);
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    EXPECT_EQ(icon(), (MenuBarItem::Icon{"record.circle.fill", true}));
    EXPECT_EQ(item->status.state->text, "Recording");
    EXPECT_EQ(item->recordButton()->title, "Stop Recording");
    item->toggleRecording();
    machine.run(2);
    EXPECT_EQ(icon(), (MenuBarItem::Icon{"record.circle", false}));
    EXPECT_EQ(item->status.state->text, "Not recording");
}

TEST_F(MenuBarItemTest, theIconIsThatOfATakeUntilTheTakeHasEnded) {
    recorder->isRecording.set(true);
    recorder->isBusy.set(true);
    EXPECT_EQ(icon().systemImage, "record.circle.fill");
    recorder->isRecording.set(false);
    EXPECT_EQ(icon().systemImage, "record.circle");
    recorder->isBusy.set(false);
}

TEST_F(MenuBarItemTest, theTimeGoesPastAnHour) {
    recorder->recordingStartDate.set(Date{machine.wallClock->now().secondsSince1970 - 3598.5});
    recorder->isRecording.set(true);
    machine.settle();
    EXPECT_EQ(item->status.state->time, "59:58");
    machine.run(1.2);
    EXPECT_EQ(item->status.state->time, "59:59");
    machine.run(1);
    EXPECT_EQ(item->status.state->time, "1:00:00");
    recorder->isRecording.set(false);
}

TEST_F(MenuBarItemTest, anUpdateIsTold) {
    EXPECT_EQ(*item->update, MenuBarItem::Update{});
    const auto controller = std::make_shared<NotedUpdaterController>();
    updateNotice.controller = controller;
    updateNotice.waiting.set("2.4.1 (build 318)");
    machine.settle();
    EXPECT_EQ(*item->update,
              (MenuBarItem::Update{"Update ready to install", "Vintra 2.4.1 (build 318) · See what's new"}));
    item->showUpdate();
    EXPECT_EQ(controller->checks, 1);
}

TEST_F(MenuBarItemTest, theMainWindowComesToTheFrontOrIsMade) {
    item->openMainWindow();
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"front", "dismiss"}));
    windows.calls.clear();
    windows.hasMainWindow = false;
    item->openMainWindow();
    EXPECT_EQ(windows.calls, (std::vector<std::string>{"open", "dismiss"}));
    item->quit();
    EXPECT_EQ(quits, 1);
}

TEST_F(MenuBarItemTest, theMarkerKeyIsTakenInATakeAndFlashesTheFlag) {
    SimulatedGlobalHotKeys keys;
    MarkerShortcut shortcut(surroundings(), keys);
    EXPECT_FALSE(shortcut.isRegistered());
    item->toggleRecording();
    machine.run(1);
    ASSERT_TRUE(*recorder->isRecording) << lastError();
    ASSERT_EQ(keys.registered.size(), 1u);
    EXPECT_EQ(keys.registered.front().keys.title(), "Ctrl+Alt+M");
    keys.registered.front().action();
    EXPECT_EQ(icon(), (MenuBarItem::Icon{"flag.fill", true}));
    EXPECT_EQ(*recorder->markerCount, 1);
    machine.run(1.5);
    EXPECT_EQ(icon().systemImage, "record.circle.fill");
    item->toggleRecording();
    machine.run(1);
    EXPECT_TRUE(keys.registered.empty());
    EXPECT_FALSE(shortcut.isRegistered());
}

TEST_F(MenuBarItemTest, aKeyThatIsTakenIsNoKey) {
    SimulatedGlobalHotKeys keys;
    keys.areTaken = true;
    MarkerShortcut shortcut(surroundings(), keys);
    EXPECT_EQ(*shortcut.note, "Press Ctrl+Alt+M while you record to set a marker in the timeline.");
    recorder->isRecording.set(true);
    EXPECT_FALSE(shortcut.isRegistered());
    EXPECT_EQ(
        *shortcut.note,
        "Ctrl+Alt+M belongs to another program here. To set a marker while you record, give the command “vintra "
        "--marker” a key in the desktop's keyboard settings.");
    recorder->isRecording.set(false);
    keys.areTaken = false;
    recorder->isRecording.set(true);
    EXPECT_TRUE(shortcut.isRegistered());
    EXPECT_EQ(*shortcut.note, MarkerShortcut::usualHelp());
    // The user chooses another key in the desktop's settings.
    keys.chosenKeys.set("Meta+F9");
    EXPECT_EQ(*shortcut.note, "To set a marker in the timeline while you record: Meta+F9.");
    recorder->isRecording.set(false);
}

} // namespace
} // namespace vintra
