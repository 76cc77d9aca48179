#include "Vintra/platform/linux/desktop/X11GlobalHotKeys.h"

#include "tests/platform/GlobalHotKeysConformance.h" // before Xlib, whose macros it doesn't bear

#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/x11/X11Display.h"
#include "tests/platform/linux/x11/XvfbServer.h"
#include "tests/support/ProgramRun.h"

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <chrono>
#include <thread>

namespace vintra {
namespace {

constexpr int64_t kKeyPatience = 30'000'000'000; // nanoseconds
constexpr KeyCombination kMarker{.key = 'M', .control = true, .alt = true};
constexpr KeyCombination kWitness{.key = 'W', .control = true, .alt = true, .shift = true};

/// A user's hands on the keyboard of an X server.
class Keyboard {
public:
    explicit Keyboard(const std::string& displayName)
        : display(X11Display::open(displayName)) {}

    void hold(KeySym symbol, bool isDown) {
        while (XPending(display->get()) > 0) {
            XEvent event;
            XNextEvent(display->get(), &event);
            if (event.type == MappingNotify) XRefreshKeyboardMapping(&event.xmapping);
        }
        holdPlace(XKeysymToKeycode(display->get(), symbol), isDown);
    }
    void holdPlace(unsigned int place, bool isDown) {
        XTestFakeKeyEvent(display->get(), place, isDown ? True : False, CurrentTime);
        XSync(display->get(), False);
    }
    void holdModifiers(const KeyCombination& keys, bool isDown) {
        if (keys.control) hold(XK_Control_L, isDown);
        if (keys.alt) hold(XK_Alt_L, isDown);
        if (keys.shift) hold(XK_Shift_L, isDown);
    }
    void press(const KeyCombination& keys) {
        const auto symbol = static_cast<KeySym>(std::tolower(keys.key));
        holdModifiers(keys, true);
        hold(symbol, true);
        hold(symbol, false);
        holdModifiers(keys, false);
    }
    /// A key that is held is soon pressed again, and often.
    void repeatFast() {
        XkbSetAutoRepeatRate(display->get(), XkbUseCoreKbd, 30, 10);
        XSync(display->get(), False);
    }
    void lock(unsigned int modifiers, bool isOn) {
        XkbLockModifiers(display->get(), XkbUseCoreKbd, modifiers, isOn ? modifiers : 0);
        XSync(display->get(), False);
    }
    /// As another program does it that knows nothing of locks; with those that it names.
    bool grab(const KeyCombination& keys, unsigned int locks) {
        display->clearErrors();
        XGrabKey(display->get(), codeOf(keys), modifiersOf(keys) | locks, display->root(), False,
                 GrabModeAsync, GrabModeAsync);
        return !display->failed();
    }
    /// The server may hear this before what was given back to it by another connection.
    bool grabSoon(const KeyCombination& keys, unsigned int locks) {
        for (int attempt = 0; attempt < 1000; ++attempt) {
            if (grab(keys, locks)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
    void ungrabAll() {
        XUngrabKey(display->get(), AnyKey, AnyModifier, display->root());
        XSync(display->get(), False);
    }

private:
    int codeOf(const KeyCombination& keys) {
        return XKeysymToKeycode(display->get(), static_cast<KeySym>(std::tolower(keys.key)));
    }
    static unsigned int modifiersOf(const KeyCombination& keys) {
        return (keys.control ? ControlMask : 0u) | (keys.alt ? Mod1Mask : 0u) | (keys.shift ? ShiftMask : 0u);
    }

    const std::unique_ptr<X11Display> display;
};

/// Keys of the session's X server.
struct X11Keys {
    explicit X11Keys(const std::string& displayName = {})
        : keys(loop, displayName)
        , keyboard(displayName)
        , other(displayName)
        , witness(keys.makeHotKey(kWitness, "Witness", [this] { ++witnessed; })) {}

    LinuxEventLoop loop;
    X11GlobalHotKeys keys;
    Keyboard keyboard;
    Keyboard other; ///< another program's connection
    int witnessed = 0;
    std::unique_ptr<GlobalHotKey> witness;

    GlobalHotKeys& hotKeys() { return keys; }
    void press(const KeyCombination& pressed) { keyboard.press(pressed); }
    void takeElsewhere(const KeyCombination& taken) { ASSERT_TRUE(other.grab(taken, 0)); }
    void giveBackElsewhere() { other.ungrabAll(); }
    /// The server tells of keys in their order, so the last one tells of all before.
    void settle() {
        const int before = witnessed;
        keyboard.press(kWitness);
        ASSERT_TRUE(loop.runUntil([&] { return witnessed > before; }, kKeyPatience)) << *keys.problem;
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(X11, GlobalHotKeysConformance, X11Keys);

class X11GlobalHotKeysTest : public ::testing::Test {
protected:
    void take() {
        key = backend.keys.makeHotKey(kMarker, "Marker", [this] { ++count; });
        ASSERT_TRUE(key) << *backend.keys.problem;
    }
    int pressAndCount() {
        count = 0;
        backend.press(kMarker);
        backend.settle();
        return count;
    }

    X11Keys backend;
    int count = 0;
    std::unique_ptr<GlobalHotKey> key;
};

TEST_F(X11GlobalHotKeysTest, locksDontMatter) {
    take();
    for (const unsigned int locks : {static_cast<unsigned int>(LockMask), static_cast<unsigned int>(Mod2Mask),
                                     static_cast<unsigned int>(LockMask | Mod2Mask)}) {
        backend.keyboard.lock(locks, true);
        EXPECT_EQ(pressAndCount(), 1) << locks;
        backend.keyboard.lock(locks, false);
    }
    EXPECT_EQ(pressAndCount(), 1);
}

TEST_F(X11GlobalHotKeysTest, otherModifiersMakeOtherKeys) {
    take();
    backend.press({.key = 'M', .control = true});
    backend.press({.key = 'M', .alt = true});
    backend.press({.key = 'M', .control = true, .alt = true, .shift = true});
    backend.press({.key = 'M'});
    backend.settle();
    EXPECT_EQ(count, 0);
}

TEST(X11GlobalHotKeysServerTest, aHeldKeyIsPressedOnce) {
    const XvfbServer server;
    ASSERT_FALSE(server.displayName().empty());
    X11Keys backend(server.displayName());
    int count = 0;
    const auto key = backend.keys.makeHotKey(kMarker, "Marker", [&] { ++count; });
    backend.keyboard.repeatFast();
    backend.keyboard.holdModifiers(kMarker, true);
    backend.keyboard.hold(XK_m, true);
    ASSERT_TRUE(backend.loop.runUntil([&] { return count > 0; }, kKeyPatience));
    backend.loop.runUntil([] { return false; }, 300'000'000);
    backend.keyboard.hold(XK_m, false);
    backend.keyboard.holdModifiers(kMarker, false);
    backend.settle();
    EXPECT_EQ(count, 1);
    backend.press(kMarker);
    backend.settle();
    EXPECT_EQ(count, 2);
}

TEST_F(X11GlobalHotKeysTest, aPartOfItThatAnotherProgramHasIsARefusalOfAllOfIt) {
    ASSERT_TRUE(backend.other.grab(kMarker, LockMask));
    EXPECT_FALSE(backend.keys.makeHotKey(kMarker, "Marker", [] {}));
    EXPECT_EQ(*backend.keys.problem, "Ctrl+Alt+M belongs to another program here.");
    // What was ours of it for a moment isn't any more.
    EXPECT_TRUE(backend.other.grabSoon(kMarker, 0));
    EXPECT_TRUE(backend.other.grabSoon(kMarker, Mod2Mask));
    EXPECT_TRUE(backend.other.grabSoon(kMarker, LockMask | Mod2Mask));
}

TEST_F(X11GlobalHotKeysTest, aKeyFromAnotherProgramsHandsCountsToo) {
    take();
    EXPECT_EQ(runProgram({"xdotool", "key", "ctrl+alt+m"}).exitCode, 0);
    EXPECT_TRUE(backend.loop.runUntil([&] { return count == 1; }, kKeyPatience));
}

TEST(X11GlobalHotKeysServerTest, theKeyFollowsItsLetterToAnotherLayout) {
    const XvfbServer server;
    ASSERT_FALSE(server.displayName().empty());
    X11Keys backend(server.displayName());
    int count = 0;
    const auto key = backend.keys.makeHotKey(kMarker, "Marker", [&] { ++count; });
    ASSERT_TRUE(key) << *backend.keys.problem;
    // On a French keyboard the letter lies where the semicolon is on an English one, key 47.
    ASSERT_EQ(runProgram({"setxkbmap", "-display", server.displayName(), "fr"}).exitCode, 0);
    const bool isFollowed = backend.loop.runUntil(
        [&] {
            backend.keyboard.holdModifiers(kMarker, true);
            backend.keyboard.holdPlace(47, true);
            backend.keyboard.holdPlace(47, false);
            backend.keyboard.holdModifiers(kMarker, false);
            return count > 0;
        },
        kKeyPatience);
    EXPECT_TRUE(isFollowed);
    backend.settle();
    count = 0;
    backend.keyboard.holdModifiers(kMarker, true);
    backend.keyboard.holdPlace(58, true); // where it was
    backend.keyboard.holdPlace(58, false);
    backend.keyboard.holdModifiers(kMarker, false);
    backend.settle();
    EXPECT_EQ(count, 0);
}

TEST(X11GlobalHotKeysServerTest, aServerThatGoesTakesTheKeysAndNothingElse) {
    XvfbServer server;
    ASSERT_FALSE(server.displayName().empty());
    LinuxEventLoop loop;
    X11GlobalHotKeys keys(loop, server.displayName());
    auto key = keys.makeHotKey(kMarker, "Marker", [] {});
    ASSERT_TRUE(key) << *keys.problem;
    server.kill();
    EXPECT_TRUE(loop.runUntil([&] { return !keys.problem->empty(); }, kKeyPatience));
    key = nullptr;
    EXPECT_FALSE(keys.makeHotKey(kMarker, "Marker", [] {}));
}

TEST(X11GlobalHotKeysServerTest, aServerThatHangsIsGivenUp) {
    XvfbServer server;
    ASSERT_FALSE(server.displayName().empty());
    LinuxEventLoop loop;
    X11GlobalHotKeys keys(loop, server.displayName());
    const auto first = keys.makeHotKey(kWitness, "Witness", [] {});
    ASSERT_TRUE(first);
    server.suspend();
    EXPECT_FALSE(keys.makeHotKey(kMarker, "Marker", [] {}));
    EXPECT_NE(*keys.problem, "");
    server.resume();
}

TEST(X11GlobalHotKeysServerTest, withoutAServerThereAreNoKeys) {
    LinuxEventLoop loop;
    X11GlobalHotKeys keys(loop, ":4711");
    EXPECT_FALSE(keys.makeHotKey(kMarker, "Marker", [] {}));
    EXPECT_EQ(*keys.problem, "This desktop gives programs no keys of their own.");
}

} // namespace
} // namespace vintra
