#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/desktop/BusDouble.h"
#include "tests/support/MuteBus.h"
#include "tests/support/PrivateBus.h"

#include <gtest/gtest.h>
#include <optional>
#include <poll.h>

namespace vintra {
namespace {

constexpr int64_t kBusTestPatience = 30'000'000'000; // nanoseconds
constexpr MainThreadBus::Target kService{"org.test.Service", "/org/test/Service", "org.test.Service"};

class MainThreadBusTest : public ::testing::Test {
protected:
    /// What the answer to this call is in words.
    void ask(MainThreadBus& bus, const char* member, int64_t patience = kBusTestPatience) {
        heard = std::nullopt;
        slot = bus.call(bus.makeCall(kService, member), patience, [this](sd_bus_message* reply) {
            const char* text = nullptr;
            if (!isAnswer(reply)) {
                heard = "error: " + errorNameOf(reply);
            } else if (sd_bus_message_read(reply, "s", &text) > 0) {
                heard = text;
            }
        });
    }
    bool awaitAnswer() {
        return loop.runUntil([this] { return heard.has_value(); }, kBusTestPatience);
    }

    LinuxEventLoop loop;
    std::optional<std::string> heard;
    BusSlot slot;
};

TEST_F(MainThreadBusTest, aCallThatIsMadeBeforeTheGreetingIsAnswered) {
    const PrivateBus daemon;
    BusDouble service(loop, daemon.address(), {"org.test.Service"});
    service.answers["Say"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, "s", "hello"); };
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    ask(bus, "Say");
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(*heard, "hello");
    EXPECT_TRUE(bus.isReady());
}

TEST_F(MainThreadBusTest, nobodyThereIsAnError) {
    const PrivateBus daemon;
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    ask(bus, "Say");
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(*heard, "error: org.freedesktop.DBus.Error.ServiceUnknown");
}

TEST_F(MainThreadBusTest, anAnswerThatStaysAwayIsAnErrorAfterItsTime) {
    const PrivateBus daemon;
    BusDouble service(loop, daemon.address(), {"org.test.Service"});
    service.answers["Say"] = [](sd_bus_message*) {};
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    ask(bus, "Say", 100'000'000);
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(*heard, "error: org.freedesktop.DBus.Error.NoReply");
}

TEST_F(MainThreadBusTest, anAnswerThatIsNoLongerWantedIsNotHeard) {
    const PrivateBus daemon;
    BusDouble service(loop, daemon.address(), {"org.test.Service"});
    service.answers["Say"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, "s", "hello"); };
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    ask(bus, "Say");
    slot = nullptr;
    bool isOver = false;
    const BusSlot later =
        bus.call(bus.makeCall(kService, "Say"), kBusTestPatience, [&](sd_bus_message*) { isOver = true; });
    ASSERT_TRUE(loop.runUntil([&] { return isOver; }, kBusTestPatience));
    EXPECT_FALSE(heard);
}

TEST_F(MainThreadBusTest, aBusThatGoesLeavesNoCallUnanswered) {
    std::optional<PrivateBus> daemon(std::in_place);
    std::optional<BusDouble> service(std::in_place, loop, daemon->address(),
                                     std::vector<std::string>{"org.test.Service"});
    service->answers["Say"] = [](sd_bus_message*) {};
    MainThreadBus bus(loop, MessageBus::session, daemon->address());
    ask(bus, "Say");
    ASSERT_TRUE(loop.runUntil([&] { return service->wasCalled("Say"); }, kBusTestPatience));
    daemon.reset();
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(heard->find("error"), 0u);
    ASSERT_TRUE(loop.runUntil([&] { return bus.isGone(); }, kBusTestPatience));
    ask(bus, "Say");
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(*heard, "error: ");
}

TEST_F(MainThreadBusTest, aBusThatSaysNothingIsGivenUp) {
    const MuteBus mute;
    ASSERT_TRUE(mute.isListening());
    MainThreadBus bus(loop, MessageBus::session, mute.address());
    ask(bus, "Say");
    ASSERT_TRUE(awaitAnswer());
    EXPECT_EQ(heard->find("error"), 0u);
    EXPECT_FALSE(bus.isReady());
}

TEST_F(MainThreadBusTest, nothingIsHandledInTheMiddleOfAsking) {
    const PrivateBus daemon;
    BusDouble service(loop, daemon.address(), {"org.test.Service"});
    service.answers["Say"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, "s", "hello"); };
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    int count = 0;
    const BusSlot signals = bus.match("type='signal',interface='org.test.Service',member='Changed'",
                                      [&](sd_bus_message*) { ++count; });
    ask(bus, "Say");
    ASSERT_TRUE(awaitAnswer());
    sd_bus_emit_signal(service.bus.get(), "/org/test/Service", "org.test.Service", "Changed", "");
    sd_bus_flush(service.bus.get());
    pollfd incoming{sd_bus_get_fd(bus.get()), POLLIN, 0};
    ASSERT_EQ(::poll(&incoming, 1, 30'000), 1);
    bus.send(bus.makeCall(kService, "Say"));
    EXPECT_EQ(count, 0);
    EXPECT_TRUE(loop.runUntil([&] { return count == 1; }, kBusTestPatience));
}

TEST_F(MainThreadBusTest, whatIsSaidToAllIsHeardUntilTheSlotGoes) {
    const PrivateBus daemon;
    BusDouble service(loop, daemon.address(), {"org.test.Service"});
    service.answers["Say"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, "s", "hello"); };
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    int count = 0;
    BusSlot signals = bus.match("type='signal',interface='org.test.Service',member='Changed'",
                                [&](sd_bus_message*) { ++count; });
    const auto sayAndAsk = [&] {
        // The question first, so that the bus knows by then who listens.
        ask(bus, "Say");
        ASSERT_TRUE(awaitAnswer());
        sd_bus_emit_signal(service.bus.get(), "/org/test/Service", "org.test.Service", "Changed", "");
        service.bus.update();
        ask(bus, "Say");
        ASSERT_TRUE(awaitAnswer());
    };
    sayAndAsk();
    EXPECT_EQ(count, 1);
    signals = nullptr;
    sayAndAsk();
    EXPECT_EQ(count, 1);
}

} // namespace
} // namespace vintra
