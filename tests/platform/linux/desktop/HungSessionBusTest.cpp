#include "Vintra/platform/linux/desktop/HungSessionBus.h"

#include "Vintra/platform/linux/desktop/MainThreadBus.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/support/MuteBus.h"
#include "tests/support/PrivateBus.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace vintra {
namespace {

/// The session's bus is another one while this lives. No other thread may read the environment.
class HungSessionBusTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* const address = std::getenv(kVariable)) before = address;
    }
    void TearDown() override {
        if (before) ::setenv(kVariable, before->c_str(), 1);
        if (!before) ::unsetenv(kVariable);
    }

    static constexpr const char* kVariable = "DBUS_SESSION_BUS_ADDRESS";
    std::optional<std::string> before;
};

TEST_F(HungSessionBusTest, afterwardsNothingWaitsForIt) {
    const MuteBus mute;
    ASSERT_TRUE(mute.isListening());
    ::setenv(kVariable, mute.address().c_str(), 1);
    EXPECT_TRUE(leaveHungSessionBus());
    LinuxEventLoop loop;
    EXPECT_TRUE(MainThreadBus(loop, MessageBus::session).isGone());
}

TEST_F(HungSessionBusTest, aBusThatGreetsIsKept) {
    const PrivateBus daemon;
    ::setenv(kVariable, daemon.address().c_str(), 1);
    EXPECT_FALSE(leaveHungSessionBus());
    EXPECT_EQ(std::getenv(kVariable), daemon.address());
}

} // namespace
} // namespace vintra
