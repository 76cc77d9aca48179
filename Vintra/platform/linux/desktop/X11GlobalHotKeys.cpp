#include "Vintra/platform/linux/desktop/X11GlobalHotKeys.h"

#include "Vintra/platform/linux/x11/X11Display.h"
#include "Vintra/platform/linux/x11/X11Patience.h"

#include <X11/XKBlib.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace vintra {

class X11GlobalHotKeys::HotKey final : public GlobalHotKey {
public:
    HotKey(X11GlobalHotKeys& owner, Registrations::iterator place)
        : owner(owner)
        , place(place) {}
    ~HotKey() override { owner.giveBack(place); }

private:
    X11GlobalHotKeys& owner;
    const Registrations::iterator place;
};

X11GlobalHotKeys::X11GlobalHotKeys(EventLoop& loop, std::string displayName)
    : loop(loop)
    , displayName(std::move(displayName)) {}

X11GlobalHotKeys::~X11GlobalHotKeys() {
    leave();
}

std::unique_ptr<GlobalHotKey> X11GlobalHotKeys::makeHotKey(const KeyCombination& keys, const std::string&,
                                                           std::function<void()> action) {
    if (!connect()) return nullptr;
    const bool isOurs = std::any_of(registrations.begin(), registrations.end(),
                                    [&](const Registration& one) { return one.keys == keys; });
    Registration registration{.keys = keys, .action = std::move(action)};
    if (isOurs || !grab(registration)) {
        problem.set(display ? isTaken(keys) : X11Display::serverGone().localizedDescription());
        return nullptr;
    }
    problem.set("");
    return std::make_unique<HotKey>(*this,
                                    registrations.insert(registrations.end(), std::move(registration)));
}

bool X11GlobalHotKeys::connect() {
    if (display && !display->isDead()) return true;
    leave();
    try {
        display = X11Display::open(displayName);
    } catch (const SystemError&) {
        problem.set(kNone);
        return false;
    }
    const X11Patience patience(*display, X11Display::kPatience);
    // A key that is held is pressed again and again, without being let go of in between.
    XkbSetDetectableAutoRepeat(display->get(), True, nullptr);
    map = X11KeyMap::read(*display);
    watch = loop.watch(ConnectionNumber(display->get()), EventLoop::Readiness::readable,
                       [this] { readEvents(); });
    for (Registration& registration : registrations)
        grab(registration);
    return display != nullptr;
}

/// False if another program has the key. Drops a connection that doesn't answer.
bool X11GlobalHotKeys::grab(Registration& registration) {
    if (!display) return false;
    const X11KeyMap::Key key = map.keyFor(registration.keys, *display);
    if (key.code == 0) return false;
    bool isRefused = false;
    {
        const X11Patience patience(*display, X11Display::kPatience);
        display->clearErrors();
        for (const unsigned int modifiers : map.withEachLock(key.modifiers)) {
            XGrabKey(display->get(), key.code, modifiers, display->root(), False, GrabModeAsync,
                     GrabModeAsync);
        }
        isRefused = display->failed();
        // Of several combinations another program may have but one.
        if (isRefused) release(key);
    }
    if (display->isDead()) leave();
    if (isRefused) return false;
    registration.grabbed = key;
    // Events that came with an answer don't make the connection readable any more.
    loop.post([this, alive = std::weak_ptr<int>(life)] {
        if (alive.lock()) readEvents();
    });
    return true;
}

void X11GlobalHotKeys::release(const X11KeyMap::Key& key) {
    if (!display || display->isDead() || key.code == 0) return;
    for (const unsigned int modifiers : map.withEachLock(key.modifiers))
        XUngrabKey(display->get(), key.code, modifiers, display->root());
    XFlush(display->get());
}

void X11GlobalHotKeys::giveBack(Registrations::iterator place) {
    release(place->grabbed);
    registrations.erase(place);
}

/// The keyboard has changed: the same letters may lie on other keys. Two keyboards in turns are such changes too, also
/// in the middle of a press, so what stays is left alone.
void X11GlobalHotKeys::grabAllAnew() {
    X11KeyMap now;
    std::vector<Registration*> moved;
    {
        const X11Patience patience(*display, X11Display::kPatience);
        now = X11KeyMap::read(*display);
        for (Registration& registration : registrations) {
            if (now == map && now.keyFor(registration.keys, *display) == registration.grabbed) continue;
            release(registration.grabbed);
            registration.grabbed = {};
            registration.isHeld = false;
            moved.push_back(&registration);
        }
    }
    map = now;
    for (Registration* const registration : moved) {
        if (!grab(*registration)) problem.set(isTaken(registration->keys));
    }
}

void X11GlobalHotKeys::readEvents() {
    std::vector<std::function<void()>> actions;
    bool hasKeyboardChanged = false;
    while (display && !display->isDead() && XPending(display->get()) > 0) {
        XEvent event;
        XNextEvent(display->get(), &event);
        if (event.type == KeyPress || event.type == KeyRelease) {
            const X11KeyMap::Key key{.code = static_cast<int>(event.xkey.keycode),
                                     .modifiers = map.withoutLocks(event.xkey.state)};
            if (auto action = actionOf(key, event.type == KeyPress)) actions.push_back(std::move(action));
        } else if (event.type == MappingNotify) {
            XRefreshKeyboardMapping(&event.xmapping);
            hasKeyboardChanged = hasKeyboardChanged || event.xmapping.request != MappingPointer;
        }
    }
    if (display && display->isDead()) {
        leave();
        problem.set(X11Display::serverGone().localizedDescription());
    }
    if (display && hasKeyboardChanged) grabAllAnew();
    // They may give keys back.
    for (const auto& action : actions)
        action();
}

/// What is to be done about the event; nothing for one of a key that is only held or let go of.
std::function<void()> X11GlobalHotKeys::actionOf(const X11KeyMap::Key& key, bool isPress) {
    for (Registration& registration : registrations) {
        if (registration.grabbed.code != key.code) continue;
        if (!isPress) {
            registration.isHeld = false; // whatever has become of the modifiers
        } else if (registration.grabbed.modifiers == key.modifiers) {
            if (!std::exchange(registration.isHeld, true)) return registration.action;
        }
    }
    return nullptr;
}

void X11GlobalHotKeys::leave() {
    watch = nullptr;
    if (!display) return;
    for (Registration& registration : registrations)
        registration.grabbed = {};
    std::optional<X11Patience> patience; // outlives the connection: closing it asks the server too
    patience.emplace(*display, X11Display::kPatience);
    display = nullptr;
}

} // namespace vintra
