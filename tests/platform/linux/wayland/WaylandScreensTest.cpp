#include "Vintra/platform/linux/wayland/WaylandScreens.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/wayland/WaylandSession.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace vintra {

class WaylandScreensTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!WaylandSession::isThere()) GTEST_SKIP() << "there is no Wayland session";
    }
    std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const NSScreen& screen : screens.screens())
            all.push_back(screen.localizedName);
        return all;
    }
    /// Until the observer was told of as many displays.
    bool waitForCount(size_t count) {
        constexpr int64_t kPatience = 20'000'000'000; // nanoseconds
        return mainThread->runUntil([&] { return told && names().size() == count; }, kPatience);
    }

    std::shared_ptr<LinuxEventLoop> mainThread = std::make_shared<LinuxEventLoop>();
    WaylandScreens screens{{}, *mainThread};
    bool told = false;
};

TEST_F(WaylandScreensTest, aDisplayThatIsPluggedInAndOneThatGoesAreTold) {
    const std::vector<std::string> before = names();
    const auto observation = screens.observeChanges([&] {
        EXPECT_TRUE(mainThread->isCurrent());
        told = true;
    });
    ASSERT_NE(observation, nullptr);
    ASSERT_TRUE(waitForCount(before.size())); // what is there at the beginning is told
    told = false;
    ASSERT_TRUE(WaylandSession::sway({"create_output"}));
    ASSERT_TRUE(waitForCount(before.size() + 1));
    std::string added;
    for (const std::string& name : names()) {
        if (std::ranges::find(before, name) == before.end()) added = name;
    }
    told = false;
    ASSERT_TRUE(WaylandSession::sway({"output", added, "disable"}));
    EXPECT_TRUE(waitForCount(before.size()));
    EXPECT_EQ(names(), before);
}

} // namespace vintra
