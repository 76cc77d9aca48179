#include "Vintra/platform/linux/desktop/TakeInhibitors.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/platform/linux/desktop/BusDouble.h"
#include "tests/support/PrivateBus.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace vintra {
namespace {

constexpr int64_t kLockTestPatience = 30'000'000'000; // nanoseconds

/// A logind and a screen saver on one bus. A lock is the writing end of a pipe, as in the real one.
class TakeInhibitorsTest : public ::testing::Test {
protected:
    struct LockOfTest {
        std::string what;
        std::string mode;
        FileDescriptor readEnd;
    };

    void SetUp() override {
        machine.answers["Inhibit"] = [this](sd_bus_message* call) {
            const bool isOfScreenSaver =
                std::string(sd_bus_message_get_interface(call)) == "org.freedesktop.ScreenSaver";
            if (isOfScreenSaver) {
                isScreenKept = true;
                sd_bus_reply_method_return(call, "u", kCookie);
            } else {
                giveLock(call);
            }
        };
        machine.answers["UnInhibit"] = [this](sd_bus_message* call) {
            uint32_t cookie = 0;
            sd_bus_message_read(call, "u", &cookie);
            if (cookie == kCookie) isScreenKept = false;
        };
    }
    void giveLock(sd_bus_message* call) {
        const char* what = nullptr;
        const char* who = nullptr;
        const char* why = nullptr;
        const char* mode = nullptr;
        sd_bus_message_read(call, "ssss", &what, &who, &why, &mode);
        if (isRefusing) {
            sd_bus_reply_method_errorf(call, "org.freedesktop.DBus.Error.AccessDenied", "Permission denied");
            return;
        }
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        locks.push_back({what, mode, FileDescriptor(ends[0])});
        sd_bus_reply_method_return(call, "h", ends[1]);
        ::close(ends[1]);
    }
    /// Its end of the pipe has been closed everywhere.
    static bool isReleased(const LockOfTest& lock) {
        pollfd end{lock.readEnd.get(), POLLIN, 0};
        return ::poll(&end, 1, 0) > 0 && (end.revents & POLLHUP) != 0;
    }
    bool await(const std::function<bool()>& condition) { return loop.runUntil(condition, kLockTestPatience); }
    void announceShutdown() {
        sd_bus_emit_signal(machine.bus.get(), "/org/freedesktop/login1", "org.freedesktop.login1.Manager",
                           "PrepareForShutdown", "b", 1);
        machine.bus.update();
    }

    static constexpr uint32_t kCookie = 17;
    LinuxEventLoop loop;
    PrivateBus daemon;
    BusDouble machine{loop, daemon.address(), {"org.freedesktop.login1", "org.freedesktop.ScreenSaver"}};
    MainThreadBus bus{loop, MessageBus::session, daemon.address()};
    std::vector<LockOfTest> locks;
    bool isRefusing = false;
    bool isScreenKept = false;
    int shutdowns = 0;
    TakeInhibitors inhibitors{bus, bus, std::make_shared<LinuxLog>(LogLevel::error), [this] { ++shutdowns; }};
};

TEST_F(TakeInhibitorsTest, aTakeKeepsTheComputerAwakeForAsLongAsItRuns) {
    inhibitors.setHeld(true);
    inhibitors.setHeld(true);
    ASSERT_TRUE(await([this] { return locks.size() == 2 && isScreenKept; }));
    EXPECT_EQ(locks[0].what, "sleep:idle");
    EXPECT_EQ(locks[0].mode, "block");
    EXPECT_EQ(locks[1].what, "shutdown");
    EXPECT_EQ(locks[1].mode, "delay");
    loop.runUntil([] { return false; }, 20'000'000);
    EXPECT_FALSE(isReleased(locks[0]));
    EXPECT_FALSE(isReleased(locks[1]));
    inhibitors.setHeld(false);
    EXPECT_TRUE(await([this] { return isReleased(locks[0]) && isReleased(locks[1]) && !isScreenKept; }));
    EXPECT_EQ(locks.size(), 2u);
}

TEST_F(TakeInhibitorsTest, aShutdownInATakeAsksForItsEnd) {
    inhibitors.setHeld(true);
    ASSERT_TRUE(await([this] { return locks.size() == 2; }));
    announceShutdown();
    EXPECT_TRUE(await([this] { return shutdowns == 1; }));
}

TEST_F(TakeInhibitorsTest, aShutdownWithoutATakeIsNoneOfItsBusiness) {
    announceShutdown();
    // What is said after it is heard after it.
    bool hasAnswered = false;
    const BusSlot slot =
        bus.call(bus.makeCall({"org.freedesktop.login1", "/", "org.freedesktop.DBus.Peer"}, "Ping"),
                 kLockTestPatience, [&](sd_bus_message*) { hasAnswered = true; });
    ASSERT_TRUE(await([&] { return hasAnswered; }));
    inhibitors.setHeld(true);
    ASSERT_TRUE(await([this] { return locks.size() == 2; }));
    EXPECT_EQ(shutdowns, 0);
}

TEST_F(TakeInhibitorsTest, ATakeThatIsOverBeforeTheAnswersHoldsNothing) {
    inhibitors.setHeld(true);
    inhibitors.setHeld(false);
    ASSERT_TRUE(await([this] { return machine.wasCalled("UnInhibit"); }));
    EXPECT_FALSE(isScreenKept);
    for (const LockOfTest& lock : locks)
        EXPECT_TRUE(await([&] { return isReleased(lock); })) << lock.what;
}

TEST_F(TakeInhibitorsTest, aRefusalIsNoObstacle) {
    isRefusing = true;
    inhibitors.setHeld(true);
    ASSERT_TRUE(await([this] { return isScreenKept; }));
    inhibitors.setHeld(false);
    isRefusing = false;
    inhibitors.setHeld(true);
    EXPECT_TRUE(await([this] { return locks.size() == 2; }));
}

TEST(TakeInhibitorsWithoutBusTest, withoutBusesThereIsNothingToHold) {
    LinuxEventLoop loop;
    MainThreadBus none(loop, MessageBus::system, "unix:path=/nonexistent/bus");
    TakeInhibitors inhibitors(none, none, std::make_shared<LinuxLog>(LogLevel::error), [] {});
    inhibitors.setHeld(true);
    inhibitors.setHeld(false);
}

} // namespace
} // namespace vintra
