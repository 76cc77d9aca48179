#include "Vintra/platform/linux/desktop/PortalGlobalHotKeys.h"

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxLog.h"
#include "tests/platform/GlobalHotKeysConformance.h"
#include "tests/platform/linux/desktop/PortalDouble.h"
#include "tests/support/PrivateBus.h"

#include <cctype>
#include <optional>
#include <set>

namespace vintra {
namespace {

constexpr int64_t kKeysPatience = 30'000'000'000; // nanoseconds

/// A portal that gives out keys, each in a session of its own.
class ShortcutsPortal : public PortalDouble {
public:
    ShortcutsPortal(EventLoop& loop, const std::string& address)
        : PortalDouble(loop, address) {
        answers["Get"] = [](sd_bus_message* call) { sd_bus_reply_method_return(call, "v", "u", 1u); };
        answers["CreateSession"] = [this](sd_bus_message* call) { createSession(call); };
        answers["BindShortcuts"] = [this](sd_bus_message* call) { bind(call); };
        answers["Close"] = [this](sd_bus_message* call) {
            std::erase_if(triggers, [path = std::string(sd_bus_message_get_path(call))](const auto& entry) {
                return entry.second == path;
            });
            sd_bus_reply_method_return(call, "");
        };
    }
    void press(const std::string& trigger) {
        const auto found = triggers.find(trigger);
        if (found == triggers.end()) return;
        sd_bus_message* signal = nullptr;
        sd_bus_message_new_signal(bus.get(), &signal, "/org/freedesktop/portal/desktop",
                                  "org.freedesktop.portal.GlobalShortcuts", "Activated");
        const BusMessage owned(signal);
        sd_bus_message_append(signal, "osta{sv}", found->second.c_str(), "any", uint64_t{1}, 0);
        sd_bus_send(bus.get(), signal, nullptr);
        bus.update();
    }

    void changeTrigger(const std::string& trigger, const std::string& description) {
        sd_bus_message* signal = nullptr;
        sd_bus_message_new_signal(bus.get(), &signal, "/org/freedesktop/portal/desktop",
                                  "org.freedesktop.portal.GlobalShortcuts", "ShortcutsChanged");
        const BusMessage owned(signal);
        sd_bus_message_append(signal, "oa(sa{sv})", triggers.at(trigger).c_str(), 1, "any", 1,
                              "trigger_description", "s", description.c_str());
        sd_bus_send(bus.get(), signal, nullptr);
        bus.update();
    }

    std::map<std::string, std::string> triggers; ///< with their sessions' paths
    std::map<std::string, std::string> names;    ///< of the shortcuts, by trigger
    std::set<std::string> refused;               ///< triggers
    bool bindsNothing = false;

private:
    void createSession(sd_bus_message* call) {
        const Request request = read(call, "");
        const std::string session = request.path + "_session_" + request.options.at("session_handle_token");
        answer(call, request, 0, [&](sd_bus_message* signal) {
            sd_bus_message_append(signal, "{sv}", "session_handle", "s", session.c_str());
        });
    }
    void bind(sd_bus_message* call) {
        const char* session = nullptr;
        sd_bus_message_read(call, "o", &session);
        sd_bus_message_enter_container(call, 'a', "(sa{sv})");
        sd_bus_message_enter_container(call, 'r', "sa{sv}");
        const char* identity = nullptr;
        sd_bus_message_read(call, "s", &identity);
        std::map<std::string, std::string> shortcut;
        forEachEntry(call, [&](const std::string& key, sd_bus_message* value) {
            const char* text = nullptr;
            if (sd_bus_message_read(value, "s", &text) > 0) shortcut[key] = text;
        });
        sd_bus_message_exit_container(call);
        sd_bus_message_exit_container(call);
        const Request request = read(call, "s");
        const std::string trigger = shortcut["preferred_trigger"];
        if (refused.contains(trigger)) return answer(call, request, 2, [](sd_bus_message*) {});
        names[trigger] = shortcut["description"];
        const int count = bindsNothing ? 0 : 1;
        if (count > 0) triggers[trigger] = session;
        answer(call, request, 0, [&](sd_bus_message* signal) {
            sd_bus_message_open_container(signal, 'e', "sv");
            sd_bus_message_append(signal, "s", "shortcuts");
            sd_bus_message_open_container(signal, 'v', "a(sa{sv})");
            if (count > 0)
                sd_bus_message_append(signal, "a(sa{sv})", 1, identity, 1, "trigger_description", "s",
                                      "Press it");
            else
                sd_bus_message_append(signal, "a(sa{sv})", 0);
            sd_bus_message_close_container(signal);
            sd_bus_message_close_container(signal);
        });
    }
};

std::string triggerNameOf(const KeyCombination& keys) {
    return std::string(keys.control ? "CTRL+" : "") + (keys.alt ? "ALT+" : "") +
           (keys.shift ? "SHIFT+" : "") + static_cast<char>(std::tolower(keys.key));
}

struct PortalKeys {
    LinuxEventLoop loop;
    PrivateBus daemon;
    ShortcutsPortal portal{loop, daemon.address()};
    MainThreadBus bus{loop, MessageBus::session, daemon.address()};
    PortalGlobalHotKeys keys{bus, std::make_shared<LinuxLog>(LogLevel::error)};

    GlobalHotKeys& hotKeys() { return keys; }
    void press(const KeyCombination& pressed) { portal.press(triggerNameOf(pressed)); }
    void takeElsewhere(const KeyCombination& taken) { portal.refused.insert(triggerNameOf(taken)); }
    void giveBackElsewhere() { portal.refused.clear(); }
    /// Each step of a conversation is answered by the portal before the ping that follows it; a key takes three.
    void settle() {
        for (int step = 0; step < 4; ++step) {
            bool hasAnswered = false;
            const BusSlot slot = bus.call(
                bus.makeCall({"org.freedesktop.portal.Desktop", "/", "org.freedesktop.DBus.Peer"}, "Ping"),
                kKeysPatience, [&](sd_bus_message*) { hasAnswered = true; });
            ASSERT_TRUE(loop.runUntil([&] { return hasAnswered; }, kKeysPatience));
        }
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Portal, GlobalHotKeysConformance, PortalKeys);

constexpr KeyCombination kPortalKeys{.key = 'M', .control = true, .alt = true};

TEST(PortalGlobalHotKeysTest, theDesktopIsToldWhatTheKeyIsFor) {
    PortalKeys backend;
    const auto key = backend.keys.makeHotKey(kPortalKeys, "Set a marker in the recording", [] {});
    backend.settle();
    EXPECT_EQ(backend.portal.names["CTRL+ALT+m"], "Set a marker in the recording");
    EXPECT_TRUE(backend.portal.wasCalled("Register"));
}

TEST(PortalGlobalHotKeysTest, theKeyThatTheUserHasChosenIsTold) {
    PortalKeys backend;
    const auto key = backend.keys.makeHotKey(kPortalKeys, "Marker", [] {});
    backend.settle();
    EXPECT_EQ(*backend.keys.chosenKeys, "Press it");
    // Chosen anew in the desktop's settings.
    backend.portal.changeTrigger("CTRL+ALT+m", "Meta+F9");
    backend.settle();
    EXPECT_EQ(*backend.keys.chosenKeys, "Meta+F9");
    // Another program's session.
    backend.portal.triggers["other"] = "/another/session";
    backend.portal.changeTrigger("other", "Meta+F10");
    backend.settle();
    EXPECT_EQ(*backend.keys.chosenKeys, "Meta+F9");
}

TEST(PortalGlobalHotKeysTest, aDesktopThatBindsNoneOfTheKeysHasRefused) {
    PortalKeys backend;
    backend.portal.bindsNothing = true;
    const auto key = backend.keys.makeHotKey(kPortalKeys, "Marker", [] {});
    backend.settle();
    EXPECT_NE(*backend.keys.problem, "");
}

TEST(PortalGlobalHotKeysTest, aPortalWithoutKeysSaysSoUntilThereIsOneWithThem) {
    LinuxEventLoop loop;
    const PrivateBus daemon;
    MainThreadBus bus(loop, MessageBus::session, daemon.address());
    std::optional<PortalDouble> poor(std::in_place, loop, daemon.address());
    PortalGlobalHotKeys keys(bus, std::make_shared<LinuxLog>(LogLevel::error));
    ASSERT_TRUE(loop.runUntil([&] { return !keys.problem->empty(); }, kKeysPatience));
    EXPECT_FALSE(keys.makeHotKey(kPortalKeys, "Marker", [] {}));
    ASSERT_TRUE(loop.runUntil([&] { return std::count(poor->calls.begin(), poor->calls.end(), "Get") == 2; },
                              kKeysPatience));
    poor.reset();
    ShortcutsPortal rich(loop, daemon.address());
    ASSERT_TRUE(loop.runUntil(
        [&] {
            const auto key = keys.makeHotKey(kPortalKeys, "Marker", [] {});
            return keys.problem->empty();
        },
        kKeysPatience));
}

TEST(PortalGlobalHotKeysTest, withoutABusThereAreNoKeys) {
    LinuxEventLoop loop;
    MainThreadBus bus(loop, MessageBus::session, "unix:path=/nonexistent/bus");
    PortalGlobalHotKeys keys(bus, std::make_shared<LinuxLog>(LogLevel::error));
    EXPECT_TRUE(loop.runUntil([&] { return !keys.problem->empty(); }, kKeysPatience));
    EXPECT_FALSE(keys.makeHotKey(kPortalKeys, "Marker", [] {}));
}

} // namespace
} // namespace vintra
