#include "Vintra/platform/linux/wayland/WaylandScreens.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/wayland/WaylandSession.h"

#include <gtest/gtest.h>

namespace vintra {

class WaylandScreensTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!WaylandSession::isThere()) GTEST_SKIP() << "there is no Wayland session";
    }
    /// Until the observer was told and the first display has that width.
    bool waitForWidth(double width) {
        constexpr int64_t kPatience = 20'000'000'000; // nanoseconds
        const auto isSo = [&] { return told && screens.screens().at(0).frame.size.width == width; };
        return mainThread->runUntil(isSo, kPatience);
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    WaylandScreens screens{{}, *mainThread};
    bool told = false;
};

// sway never lets go of a display that it was given without a screen, so this one changes instead of going. What comes and
// goes is told by the same observer.
TEST_F(WaylandScreensTest, aDisplayThatChangesIsTold) {
    ASSERT_TRUE(WaylandSession::resize("HEADLESS-1", 640, 480));
    const auto observation = screens.observeChanges([&] {
        EXPECT_TRUE(mainThread->isCurrent());
        told = true;
    });
    ASSERT_NE(observation, nullptr);
    ASSERT_TRUE(waitForWidth(640)); // what is there at the beginning is told
    told = false;
    ASSERT_TRUE(WaylandSession::resize("HEADLESS-1", 800, 600));
    EXPECT_TRUE(waitForWidth(800));
    told = false;
    ASSERT_TRUE(WaylandSession::resize("HEADLESS-1", 640, 480));
    EXPECT_TRUE(waitForWidth(640));
}

} // namespace vintra
