// What a program asks of a desktop, of the real portal of one that has neither keys nor a panel for folders.

#include "Vintra/platform/linux/desktop/LinuxDesktop.h"
#include "Vintra/platform/linux/desktop/PortalGlobalHotKeys.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"

#include <gtest/gtest.h>
#include <optional>

namespace vintra {
namespace {

constexpr int64_t kServicePatience = 60'000'000'000; // nanoseconds

class WaylandDesktopServicesTest : public ::testing::Test {
protected:
    /// Otherwise the lack of a portal would pass for the lack of what it hasn't.
    void SetUp() override {
        std::optional<bool> isThere;
        const BusSlot slot =
            bus.call(bus.makeCall(PortalRequest::target("org.freedesktop.DBus.Peer"), "Ping"),
                     kServicePatience, [&](sd_bus_message* reply) { isThere = isAnswer(reply); });
        ASSERT_TRUE(loop.runUntil([&] { return isThere.has_value(); }, kServicePatience));
        ASSERT_TRUE(*isThere) << "there is no portal";
    }

    LinuxEventLoop loop;
    MainThreadBus bus{loop, MessageBus::session};
};

TEST_F(WaylandDesktopServicesTest, aPortalWithoutKeysIsSaid) {
    PortalGlobalHotKeys keys(bus, std::make_shared<LinuxLog>(LogLevel::error));
    ASSERT_TRUE(loop.runUntil([&] { return !keys.problem->empty(); }, kServicePatience));
    EXPECT_EQ(*keys.problem, "This desktop gives programs no keys of their own.");
    EXPECT_FALSE(keys.makeHotKey({.key = 'M', .control = true, .alt = true}, "Marker", [] {}));
}

TEST_F(WaylandDesktopServicesTest, whereThePortalHasNoPanelForFoldersTheProgramsOwnIsShown) {
    LinuxDesktop desktop(
        loop, bus,
        {.copyToPasteboard = {},
         .parentWindow = {},
         .chooseFolder = [](const std::string&, const URL& startingAt,
                            const std::function<void(const URL&)>& onChosen) { onChosen(startingAt); },
         .failed = {}});
    std::optional<URL> chosen;
    desktop.chooseFolder("Choose", URL::fileURL("/tmp"), [&](const URL& url) { chosen = url; });
    ASSERT_TRUE(loop.runUntil([&] { return chosen.has_value(); }, kServicePatience));
    EXPECT_EQ(chosen->path(), "/tmp");
}

} // namespace
} // namespace vintra
