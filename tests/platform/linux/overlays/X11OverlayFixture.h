#pragma once

#include <gtest/gtest.h> // before the macros of X

#include "Vintra/platform/linux/overlays/X11EventMonitors.h"
#include "Vintra/platform/linux/overlays/X11OverlayWindows.h"
#include "Vintra/platform/linux/overlays/X11OwnWindows.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "tests/platform/linux/overlays/OverlayInputLog.h"
#include "tests/platform/linux/overlays/SolidPainter.h"
#include "tests/platform/linux/overlays/X11Hand.h"
#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/XvfbServer.h"
#include "tests/support/ChildProcess.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// An X desktop of 800 × 600 with an even ground, with a compositor or without, and the overlays' connection to it.
class X11OverlayFixture : public ::testing::Test {
protected:
    static constexpr int kWidth = 800;
    static constexpr int kHeight = 600;
    static constexpr CGRect kScreen{{0, 0}, {kWidth, kHeight}};

    explicit X11OverlayFixture(bool hasCompositor = false, unsigned long groundColour = 0xffffff)
        : hasCompositor(hasCompositor)
        , ground(server.displayName(), 0, 0, kWidth, kHeight, groundColour) {}
    void SetUp() override {
        if (hasCompositor) startCompositor();
        connect();
    }
    void connect() {
        connection = X11OverlayConnection::open(loop, server.displayName());
        ASSERT_NE(connection, nullptr);
        windows = std::make_unique<X11OverlayWindows>(connection, solid);
        monitors = std::make_unique<X11EventMonitors>(loop, connection, server.displayName());
        ownWindows = std::make_unique<X11OwnWindows>(connection);
    }
    void startCompositor() {
        compositor = std::make_unique<ChildProcess>(
            std::vector<std::string>{"picom", "--config", "/dev/null", "--backend", "xrender"},
            std::vector<std::string>{"DISPLAY=" + server.displayName()});
        ASSERT_TRUE(await([this] { return hand.isComposited(); })) << "picom is needed";
    }
    void stopCompositor() {
        compositor.reset();
        ASSERT_TRUE(await([this] { return !hand.isComposited(); }));
    }
    /// Runs the event loop until the condition holds; it is asked all the time. False after 20 s.
    bool await(const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            loop.runUntil([] { return false; }, 5'000'000);
        }
        return true;
    }
    /// Of the pixel on the screen.
    uint32_t at(int x, int y) { return painter.pixels(x, y, 1, 1).at(0) & 0xffffff; }
    /// With a tolerance of two in each part.
    bool looks(int x, int y, uint32_t expected) {
        const uint32_t seen = at(x, y);
        for (const int shift : {0, 8, 16}) {
            const int difference =
                static_cast<int>(seen >> shift & 0xff) - static_cast<int>(expected >> shift & 0xff);
            if (difference < -2 || difference > 2) return false;
        }
        return true;
    }
    /// Returns when the server has done all that the overlays have asked of it: another connection's requests may otherwise
    /// come first.
    void catchUp() {
        XSync(connection->get(), False);
        connection->settle();
    }
    std::unique_ptr<OverlayWindow> open(OverlayRecipe recipe) { return windows->makeWindow(recipe, input); }

    const bool hasCompositor;
    XvfbServer server{"800x600x24"};
    X11Painter painter{server.displayName()};
    X11Hand hand{server.displayName()};
    X11ClickedWindow ground; ///< over the whole screen
    std::unique_ptr<ChildProcess> compositor;
    LinuxEventLoop loop;
    SolidPainter solid;
    OverlayInputLog input;
    std::shared_ptr<X11OverlayConnection> connection;
    std::unique_ptr<X11OverlayWindows> windows;
    std::unique_ptr<X11EventMonitors> monitors;
    std::unique_ptr<X11OwnWindows> ownWindows;
};

} // namespace vintra
