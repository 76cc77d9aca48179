#pragma once

#include "Vintra/platform/linux/desktop/MainThreadBus.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace vintra {

/// A program on a test's own bus that answers calls as the test says and notes them. It is served by the test's own
/// event loop.
class BusDouble {
public:
    BusDouble(EventLoop& loop, const std::string& address, const std::vector<std::string>& names)
        : bus(loop, MessageBus::session, address) {
        EXPECT_TRUE(bus.waitUntil([this] { return bus.isReady(); }, kPatience));
        for (const std::string& name : names)
            EXPECT_GE(sd_bus_request_name(bus.get(), name.c_str(), 0), 0) << name;
        sd_bus_slot* slot = nullptr;
        sd_bus_add_filter(bus.get(), &slot, called, this);
        filter.reset(slot);
        bus.update();
    }

    /// By the name of the method. What isn't here is no method of it.
    std::map<std::string, std::function<void(sd_bus_message* call)>> answers;
    /// The names of the methods that were called, those without an answer too.
    std::vector<std::string> calls;
    MainThreadBus bus;

    bool wasCalled(const std::string& member) const {
        return std::find(calls.begin(), calls.end(), member) != calls.end();
    }

private:
    static constexpr int64_t kPatience = 30'000'000'000;

    static int called(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& self = *static_cast<BusDouble*>(data);
        if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0) return 0;
        const std::string member = sd_bus_message_get_member(message);
        if (member == "Ping") return 0;
        self.calls.push_back(member);
        const auto found = self.answers.find(member);
        if (found == self.answers.end()) return 0;
        found->second(message);
        return 1;
    }

    BusSlot filter;
};

} // namespace vintra
