// What the overlays cost on the X desktop of DISPLAY, in software: at rest, while the pointer moves, while a region
// is dragged, and for each frame of a ripple. With --show NAME it shows one of them until it is interrupted.
//
//     tools/headless-session --screen 1920x1080 build/release/bin/overlay-cost

#include "Vintra/capturearea/ClickHighlight.h"
#include "Vintra/capturearea/RegionGuideOverlay.h"
#include "Vintra/capturearea/RegionSelectOverlay.h"
#include "Vintra/capturearea/WindowSelectOverlay.h"
#include "Vintra/platform/linux/overlays/LinuxOverlays.h"
#include "Vintra/platform/linux/overlays/painter/QtOverlayPainter.h"
#include "Vintra/platform/linux/runtime/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/runtime/LinuxEventLoop.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/x11/X11Screens.h"
#include "Vintra/platform/linux/x11/X11WindowList.h"

#include <QGuiApplication>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace vintra;

constexpr BarState kBarState{.mode = CaptureModeChoice::region,
                             .aspect = AspectPreset::widescreen,
                             .frameRate = 60,
                             .clicksOn = true,
                             .clicksAvailable = true,
                             .clickColour = {1, 0.8, 0, 1},
                             .isRecording = false};

BarState barState() {
    BarState state = kBarState;
    state.frameRateOptions = {24, 30, 60};
    return state;
}

/// Counts what is painted.
class CountingPainter final : public OverlayPainter {
public:
    CGSize textSize(const std::string& text, const NSFont& font) const override {
        return painter.textSize(text, font);
    }
    void paint(const DrawList& list, const OverlayCanvas& canvas,
               const std::vector<PixelRect>& within) override {
        ++paintings;
        painter.paint(list, canvas, within);
    }
    int paintings = 0;

private:
    QtOverlayPainter painter;
};

/// Of the main thread alone.
struct Usage {
    double seconds = 0;
    long wakeUps = 0;

    static Usage now() {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        const auto seconds = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return {seconds(usage.ru_utime) + seconds(usage.ru_stime), usage.ru_nvcsw};
    }
};

struct Desk {
    std::shared_ptr<LinuxEventLoop> loop = std::make_shared<LinuxEventLoop>();
    CountingPainter painter;
    LinuxOverlays overlays = LinuxOverlays::ofX11(*loop, painter);
    X11WindowList windowList;
    LinuxDispatchQueues dispatchQueues;
    LinuxHostClock hostClock;
    NSScreen screen;

    CGRect region() const {
        const CGSize size = screen.frame.size;
        return {{size.width / 6, size.height / 6}, {size.width * 2 / 3, size.height * 2 / 3}};
    }
    RegionGuideOverlay::Guide guide(bool recording) const {
        BarState state = barState();
        state.isRecording = recording;
        return {.region = region(),
                .label = "1280 × 720  ·  16:9",
                .recording = recording,
                .composing = !recording,
                .editable = true,
                .ratio = 16.0 / 9,
                .state = state};
    }
    /// Runs the event loop and prints what the main thread has done meanwhile.
    void measure(const char* what, double seconds) {
        painter.paintings = 0;
        const Usage before = Usage::now();
        loop->runUntil([] { return false; }, static_cast<int64_t>(seconds * 1e9));
        const Usage after = Usage::now();
        const double used = after.seconds - before.seconds;
        std::printf("%-34s %6.2f%% of a core, %6.1f wake-ups/s, %5d paintings", what, 100 * used / seconds,
                    static_cast<double>(after.wakeUps - before.wakeUps) / seconds, painter.paintings);
        if (painter.paintings > 0) std::printf(", %.2f ms each", 1000 * used / painter.paintings);
        std::printf("\n");
        std::fflush(stdout);
    }
};

/// A hand that moves the pointer 60 times a second, in a thread of its own.
class Hand {
public:
    explicit Hand(std::function<void(Display*)> moves)
        : thread([moves = std::move(moves)] {
            Display* const display = XOpenDisplay(nullptr);
            moves(display);
            XCloseDisplay(display);
        }) {}
    ~Hand() { thread.join(); }
    Hand(const Hand&) = delete;
    Hand& operator=(const Hand&) = delete;

    static void move(Display* display, double x, double y) {
        XTestFakeMotionEvent(display, -1, static_cast<int>(x), static_cast<int>(y), CurrentTime);
        XFlush(display);
        std::this_thread::sleep_for(std::chrono::microseconds(16'667));
    }
    static void button(Display* display, bool isPressed) {
        XTestFakeButtonEvent(display, 1, isPressed ? True : False, CurrentTime);
        XFlush(display);
    }

private:
    std::thread thread;
};

int measureAll(Desk& desk) {
    RegionGuideOverlay guide({.windows = *desk.overlays.windows,
                              .monitors = *desk.overlays.monitors,
                              .ownWindows = *desk.overlays.ownWindows,
                              .computer = "computer"});
    const CGRect region = desk.region();
    guide.onRegionChanged = [&](CGRect changed) {
        auto next = desk.guide(false);
        next.region = changed;
        guide.update(desk.screen, next);
    };
    guide.update(desk.screen, desk.guide(false));
    desk.loop->runUntil([] { return false; }, 1'000'000'000);
    std::printf("screen of %.0f × %.0f points, scale %.2f\n", desk.screen.frame.size.width,
                desk.screen.frame.size.height, desk.screen.backingScaleFactor);
    desk.measure("guide at rest", 5);
    const double scale = desk.screen.backingScaleFactor;
    {
        const Hand hand([&](Display* display) {
            for (int n = 0; n < 320; ++n)
                Hand::move(display, (20 + 3 * n) * scale, (40 + n) * scale);
        });
        desk.measure("pointer moves at 60 a second", 5);
    }
    {
        const Hand hand([&](Display* display) {
            const double x = region.midX() * scale;
            const double y = region.midY() * scale;
            Hand::move(display, x - 1, y);
            Hand::move(display, x, y);
            Hand::button(display, true);
            for (int n = 0; n < 320; ++n)
                Hand::move(display, x + 2 * (n % 60), y + n % 60);
            Hand::button(display, false);
        });
        desk.measure("region dragged at 60 a second", 5);
    }
    guide.hide();
    ClickHighlight highlight({.windows = *desk.overlays.windows,
                              .monitors = *desk.overlays.monitors,
                              .dispatchQueues = desk.dispatchQueues,
                              .mainThread = *desk.loop,
                              .hostClock = desk.hostClock,
                              .color = [] { return kBarState.clickColour; },
                              .onNotTrusted = [] {}});
    highlight.place(desk.screen);
    desk.loop->runUntil([] { return false; }, 500'000'000);
    const Hand hand([&](Display* display) {
        for (int n = 0; n < 10; ++n) {
            Hand::move(display, (200 + 20 * n) * scale, 200 * scale);
            Hand::button(display, true);
            Hand::button(display, false);
            std::this_thread::sleep_for(std::chrono::milliseconds(460));
        }
    });
    desk.measure("ripples, two clicks a second", 5);
    return 0;
}

/// Until it is interrupted.
int show(Desk& desk, const std::string& name) {
    RegionSelectOverlay select(*desk.overlays.windows);
    RegionGuideOverlay guide({.windows = *desk.overlays.windows,
                              .monitors = *desk.overlays.monitors,
                              .ownWindows = *desk.overlays.ownWindows,
                              .computer = "computer"});
    WindowSelectOverlay picker({.windows = *desk.overlays.windows,
                                .monitors = *desk.overlays.monitors,
                                .ownWindows = *desk.overlays.ownWindows,
                                .windowList = desk.windowList,
                                .ownProcess = ::getpid()});
    BarState state = barState();
    if (name == "region" || name == "empty") {
        std::optional<CGRect> initial;
        if (name == "region") initial = desk.region();
        select.begin({.on = desk.screen,
                      .displayID = desk.screen.screenNumber,
                      .aspect = AspectPreset::widescreen,
                      .initial = initial,
                      .state = state},
                     [&](const auto&) { desk.loop->stop(); });
    } else if (name == "picker") {
        state.mode = CaptureModeChoice::window;
        state.clicksAvailable = false;
        picker.begin(desk.screen, state, [&](const auto&) { desk.loop->stop(); });
    } else if (name == "guide" || name == "recording") {
        guide.update(desk.screen, desk.guide(name == "recording"));
    } else {
        std::fprintf(stderr, "overlay-cost: --show region, empty, guide, recording or picker\n");
        return 2;
    }
    desk.loop->run();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    Desk desk;
    const auto screens = X11Screens(desk.loop).screens();
    if (!desk.overlays.windows || screens.empty()) {
        std::fprintf(stderr, "overlay-cost: no X server at DISPLAY\n");
        return 1;
    }
    desk.screen = screens.front();
    if (argc == 3 && std::string(argv[1]) == "--show") return show(desk, argv[2]);
    return measureAll(desk);
}
