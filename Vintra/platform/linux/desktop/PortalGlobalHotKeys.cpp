#include "Vintra/platform/linux/desktop/PortalGlobalHotKeys.h"

#include "Vintra/platform/ProgramCommand.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* kHotKeyLog = "hot keys";
/// The bus may have to start the portal.
constexpr int64_t kProbePatience = 15'000'000'000; // nanoseconds

/// "CTRL+ALT+m", as the portal reads keys.
std::string triggerOf(const KeyCombination& keys) {
    return std::string(keys.control ? "CTRL+" : "") + (keys.alt ? "ALT+" : "") +
           (keys.shift ? "SHIFT+" : "") +
           static_cast<char>(std::tolower(static_cast<unsigned char>(keys.key)));
}

/// The word by which the desktop remembers what the user has chosen for it: the name in small letters, with dashes.
std::string shortcutOf(const std::string& name) {
    std::string shortcut;
    for (const char letter : name)
        shortcut += letter == ' ' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return shortcut;
}

/// How the first of a list of shortcuts is pressed, empty if that isn't said; nothing if the list is empty.
std::optional<std::string> readTrigger(sd_bus_message* message) {
    if (sd_bus_message_enter_container(message, 'a', "(sa{sv})") <= 0) return std::nullopt;
    std::optional<std::string> trigger;
    if (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
        trigger.emplace();
        sd_bus_message_skip(message, "s");
        forEachEntry(message, [&trigger](const std::string& key, sd_bus_message* value) {
            const char* text = nullptr;
            if (key == "trigger_description" && sd_bus_message_read(value, "s", &text) > 0) trigger = text;
        });
        sd_bus_message_exit_container(message);
    }
    while (sd_bus_message_skip(message, nullptr) > 0) {
    }
    sd_bus_message_exit_container(message);
    return trigger;
}

/// Of the answer's list of shortcuts.
std::optional<std::string> boundTrigger(sd_bus_message* results) {
    std::optional<std::string> trigger;
    forEachEntry(results, [&trigger](const std::string& key, sd_bus_message* value) {
        if (key == "shortcuts") trigger = readTrigger(value);
    });
    return trigger;
}

} // namespace

/// One key, in a session of the portal's own.
class PortalGlobalHotKeys::HotKey final : public GlobalHotKey {
public:
    HotKey(PortalGlobalHotKeys& owner, const KeyCombination& keys, std::string name,
           std::function<void()> action)
        : keys(keys)
        , name(std::move(name))
        , action(std::move(action))
        , owner(owner) {
        owner.hotKeys.push_back(this);
    }
    ~HotKey() override {
        owner.hotKeys.remove(this);
        if (session.empty()) return;
        const MainThreadBus::Target target{"org.freedesktop.portal.Desktop", session.c_str(),
                                           "org.freedesktop.portal.Session"};
        owner.bus.send(owner.bus.makeCall(target, "Close"));
    }

    void begin();

    const KeyCombination keys;
    const std::string name;
    const std::function<void()> action;
    std::string session; ///< its path; empty before there is one

private:
    void bind();
    void fail(const std::string& why);

    PortalGlobalHotKeys& owner;
    std::unique_ptr<PortalRequest> creation;
    std::unique_ptr<PortalRequest> binding;
};

void PortalGlobalHotKeys::HotKey::begin() {
    PortalRequest::Call call{.interface = kShortcuts,
                             .member = "CreateSession",
                             .fill = [](sd_bus_message*) {},
                             .options = {{"session_handle_token", PortalRequest::freshToken()}},
                             .finish = {}};
    creation = std::make_unique<PortalRequest>(
        owner.bus, std::move(call), [this](const PortalRequest::Answer& answer) {
            if (answer.code != PortalRequest::Answer::Code::done) return fail("no session: " + answer.error);
            forEachEntry(answer.results, [this](const std::string& key, sd_bus_message* value) {
                const char* path = nullptr;
                if (key == "session_handle" && sd_bus_message_read(value, "s", &path) > 0) session = path;
            });
            if (session.empty()) return fail("a session without a path");
            bind();
        });
}

void PortalGlobalHotKeys::HotKey::bind() {
    PortalRequest::Call call{.interface = kShortcuts,
                             .member = "BindShortcuts",
                             .fill =
                                 [this](sd_bus_message* message) {
                                     sd_bus_message_append(message, "o", session.c_str());
                                     sd_bus_message_append(message, "a(sa{sv})", 1, shortcutOf(name).c_str(),
                                                           2, "description", "s", name.c_str(),
                                                           "preferred_trigger", "s", triggerOf(keys).c_str());
                                     sd_bus_message_append(message, "s", "");
                                 },
                             .options = {},
                             .finish = {}};
    binding = std::make_unique<PortalRequest>(owner.bus, std::move(call),
                                              [this](const PortalRequest::Answer& answer) {
                                                  if (answer.code != PortalRequest::Answer::Code::done)
                                                      return fail("not bound: " + answer.error);
                                                  const auto trigger = boundTrigger(answer.results);
                                                  if (!trigger) return fail("none of the keys was bound");
                                                  owner.chosenKeys.set(*trigger);
                                              });
}

void PortalGlobalHotKeys::HotKey::fail(const std::string& why) {
    owner.refuse(keys, why);
}

PortalGlobalHotKeys::PortalGlobalHotKeys(MainThreadBus& bus, std::shared_ptr<Log> log)
    : bus(bus)
    , log(std::move(log)) {
    // A portal that gives keys only to programs it knows by name is told ours; others have no such call.
    BusMessage registration =
        bus.makeCall(PortalRequest::target("org.freedesktop.host.portal.Registry"), "Register");
    if (registration) sd_bus_message_append(registration.get(), "sa{sv}", kApplicationID, 0);
    bus.send(std::move(registration));
    activations = bus.match(std::string("type='signal',interface='") + kShortcuts + "',member='Activated'",
                            [this](sd_bus_message* signal) {
                                const char* session = nullptr;
                                if (sd_bus_message_read(signal, "o", &session) <= 0) return;
                                for (const HotKey* hotKey : hotKeys) {
                                    if (hotKey->session != session) continue;
                                    const auto action = hotKey->action; // it may give the key back
                                    action();
                                    return;
                                }
                            });
    changes = bus.match(std::string("type='signal',interface='") + kShortcuts + "',member='ShortcutsChanged'",
                        [this](sd_bus_message* signal) {
                            const char* session = nullptr;
                            if (sd_bus_message_read(signal, "o", &session) <= 0) return;
                            const bool isOurs =
                                std::any_of(hotKeys.begin(), hotKeys.end(),
                                            [&](const HotKey* hotKey) { return hotKey->session == session; });
                            const auto trigger = readTrigger(signal);
                            if (isOurs && trigger) chosenKeys.set(*trigger);
                        });
    probe();
}

void PortalGlobalHotKeys::probe() {
    presence = Presence::unknown;
    BusMessage question = bus.makeCall(PortalRequest::target("org.freedesktop.DBus.Properties"), "Get");
    if (question) sd_bus_message_append(question.get(), "ss", kShortcuts, "version");
    version = bus.call(std::move(question), kProbePatience,
                       [this, alive = std::weak_ptr<int>(life)](sd_bus_message* reply) {
                           if (alive.lock()) tookVersion(reply);
                       });
}

void PortalGlobalHotKeys::tookVersion(sd_bus_message* reply) {
    presence = isAnswer(reply) ? Presence::there : Presence::absent;
    if (presence == Presence::there) {
        problem.set("");
        const auto waiting = hotKeys;
        for (HotKey* hotKey : waiting)
            hotKey->begin();
    } else {
        log->write(kHotKeyLog, LogLevel::info, "the portal has none: " + errorTextOf(reply));
        problem.set(kNone);
    }
}

void PortalGlobalHotKeys::refuse(const KeyCombination& keys, const std::string& why) {
    log->write(kHotKeyLog, LogLevel::standard, keys.title() + " isn't ours: " + why);
    problem.set("The desktop hasn't given Vintra the keys " + keys.title() + ".");
}

std::unique_ptr<GlobalHotKey> PortalGlobalHotKeys::makeHotKey(const KeyCombination& keys,
                                                              const std::string& name,
                                                              std::function<void()> action) {
    if (presence == Presence::absent) {
        probe(); // for the next time
        return nullptr;
    }
    const bool isOurs =
        std::any_of(hotKeys.begin(), hotKeys.end(), [&](const HotKey* one) { return one->keys == keys; });
    if (isOurs) {
        problem.set(isTaken(keys));
        return nullptr;
    }
    auto hotKey = std::make_unique<HotKey>(*this, keys, name, std::move(action));
    if (presence == Presence::there) {
        problem.set("");
        hotKey->begin();
    }
    return hotKey;
}

} // namespace vintra
