#include "Vintra/platform/linux/x11/X11WindowList.h"

#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/X11TestWindow.h"
#include "tests/platform/linux/x11/XvfbServer.h"

#include <memory>

namespace vintra {

class X11WindowListTest : public ::testing::Test {
protected:
    std::unique_ptr<X11TestWindow> open(X11TestWindow::Settings settings) {
        return std::make_unique<X11TestWindow>(server.displayName(), settings);
    }
    std::vector<uint32_t> numbers() const {
        std::vector<uint32_t> numbers;
        for (const CGWindowInfo& window : list.onScreenWindowsExcludingDesktopElements()) {
            numbers.push_back(window.number.value());
        }
        return numbers;
    }

    XvfbServer server{"640x480x24"};
    X11Painter painter{server.displayName()};
    X11WindowList list{server.displayName()};
};

TEST_F(X11WindowListTest, aWindowIsDescribedInPoints) {
    painter.setResources("Xft.dpi: 192\n");
    const auto id = static_cast<uint32_t>(painter.openWindow(30, 40, 201, 100, "Übersicht", 4711));
    const CGWindowInfo expected{.number = id,
                                .bounds = CGRect{{15, 20}, {100.5, 50}},
                                .layer = 0,
                                .ownerPID = 4711,
                                .ownerName = "painter",
                                .name = "Übersicht"};
    EXPECT_EQ(list.onScreenWindowsExcludingDesktopElements(), (std::vector<CGWindowInfo>{expected}));
    EXPECT_EQ(list.window(id), expected);
}

TEST_F(X11WindowListTest, whatAWindowDoesntSayIsAbsent) {
    const auto window = open({.x = 1, .y = 2, .width = 30, .height = 40});
    const auto info = list.window(window->id());
    ASSERT_TRUE(info.has_value());
    EXPECT_EQ(info->bounds, (CGRect{{1, 2}, {30, 40}}));
    EXPECT_EQ(info->ownerPID, std::nullopt);
    EXPECT_EQ(info->ownerName, std::nullopt);
    EXPECT_EQ(info->name, std::nullopt);
}

TEST_F(X11WindowListTest, aShadowThatTheProgramDrawsDoesntCount) {
    const auto window = open({.x = 100, .y = 50, .width = 200, .height = 120});
    window->setShadow(10, 14, 6, 20);
    EXPECT_EQ(list.window(window->id())->bounds, (CGRect{{110, 56}, {176, 94}}));
    window->setShadow(100, 100, 0, 0); // nothing would remain
    EXPECT_EQ(list.window(window->id())->bounds, (CGRect{{100, 50}, {200, 120}}));
}

TEST_F(X11WindowListTest, theFrontmostComesFirst) {
    const auto first = open({.x = 0, .y = 0});
    const auto second = open({.x = 10, .y = 10});
    const auto third = open({.x = 20, .y = 20});
    EXPECT_EQ(numbers(), (std::vector{third->id(), second->id(), first->id()}));
    first->raise();
    EXPECT_EQ(numbers(), (std::vector{first->id(), third->id(), second->id()}));
}

TEST_F(X11WindowListTest, aWindowManagersFramesAreLookedInto) {
    const auto first = open({.x = 0, .y = 0, .hasFrame = true});
    const auto second = open({.x = 10, .y = 10, .hasFrame = true});
    const auto menu = open({.x = 20, .y = 20, .isUnmanaged = true});
    painter.setManagedWindows({second->id(), first->id()}); // its order is not the stacking's
    EXPECT_EQ(numbers(), (std::vector{menu->id(), second->id(), first->id()}));
    EXPECT_EQ(list.window(first->id())->bounds,
              (CGRect{{1 + X11TestWindow::kFrameLeft, 1 + X11TestWindow::kFrameTop}, {100, 100}}));
    EXPECT_EQ(list.window(first->id())->layer, 0);
}

TEST_F(X11WindowListTest, menusAndPanelsHaveLayersOfTheirOwnAndBackgroundsAreLeftOut) {
    const auto background = open({.x = 0, .y = 0, .width = 640, .height = 480, .type = "DESKTOP"});
    const auto panel = open({.x = 0, .y = 0, .type = "DOCK"});
    const auto notification = open({.x = 0, .y = 0, .type = "NOTIFICATION"});
    const auto dialog = open({.x = 0, .y = 0, .type = "DIALOG"});
    const auto menu = open({.x = 0, .y = 0, .isUnmanaged = true});
    std::vector<std::pair<uint32_t, int>> layers;
    for (const CGWindowInfo& window : list.onScreenWindowsExcludingDesktopElements()) {
        layers.emplace_back(window.number.value(), window.layer);
    }
    EXPECT_EQ(layers,
              (std::vector<std::pair<uint32_t, int>>{
                  {menu->id(), 101}, {dialog->id(), 0}, {notification->id(), 101}, {panel->id(), 20}}));
}

TEST_F(X11WindowListTest, hiddenWindowsAndThoseOffTheScreenAreNotListedButCanBeAskedFor) {
    const auto hidden = open({.x = 5, .y = 5});
    hidden->hide();
    const auto away = open({.x = 640, .y = 0});
    EXPECT_EQ(numbers(), std::vector<uint32_t>());
    EXPECT_EQ(list.window(hidden->id())->bounds, (CGRect{{5, 5}, {100, 100}}));
    EXPECT_EQ(list.window(away->id())->bounds, (CGRect{{640, 0}, {100, 100}}));
}

TEST_F(X11WindowListTest, aClosedWindowIsNothing) {
    const auto window = open({});
    EXPECT_TRUE(list.window(window->id()).has_value());
    window->close();
    EXPECT_EQ(list.window(window->id()), std::nullopt);
    EXPECT_EQ(list.window(0), std::nullopt);
}

TEST_F(X11WindowListTest, withoutAServerThereAreNone) {
    const auto id = static_cast<uint32_t>(painter.openWindow(30, 40, 200, 100, "x", 1));
    EXPECT_TRUE(list.window(id).has_value());
    server.kill();
    EXPECT_EQ(numbers(), std::vector<uint32_t>());
    EXPECT_EQ(list.window(id), std::nullopt);
}

} // namespace vintra
