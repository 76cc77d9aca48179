#include "Vintra/platform/linux/runtime/MessageBus.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "tests/support/MuteBus.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace vintra {
namespace {

/// The session's bus is another one while this lives. No other thread may read the environment.
class MessageBusTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (const char* const address = std::getenv(kAddress)) before = address;
    }
    void TearDown() override {
        if (before) ::setenv(kAddress, before->c_str(), 1);
        if (!before) ::unsetenv(kAddress);
    }
    static void use(const std::string& address) { ::setenv(kAddress, address.c_str(), 1); }

    static constexpr const char* kAddress = "DBUS_SESSION_BUS_ADDRESS";
    std::optional<std::string> before;
};

TEST_F(MessageBusTest, aBusThatSaysNothingHangs) {
    const MuteBus bus;
    ASSERT_TRUE(bus.isListening());
    use(bus.address());
    const int64_t begin = monotonicNanoseconds();
    EXPECT_TRUE(messageBusHangs(MessageBus::session, 200'000'000));
    EXPECT_GE(monotonicNanoseconds() - begin, 200'000'000);
}

TEST_F(MessageBusTest, aBusThatGreetsDoesNot) {
    if (!before) GTEST_SKIP() << "there is no session bus";
    EXPECT_FALSE(messageBusHangs(MessageBus::session, 10'000'000'000));
}

TEST_F(MessageBusTest, noBusIsNoneThatHangs) {
    use("unix:path=/nonexistent/bus");
    const int64_t begin = monotonicNanoseconds();
    EXPECT_FALSE(messageBusHangs(MessageBus::session, 10'000'000'000));
    EXPECT_LT(monotonicNanoseconds() - begin, 5'000'000'000);
}

} // namespace
} // namespace vintra
