#include "Vintra/capturearea/ClickHighlight.h"

#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/DrawListDrawing.h"

#include <utility>

namespace vintra {
namespace {

constexpr int kHighlightLevel = 25;
constexpr int64_t kFrameNanoseconds = 16'666'667; // 60 a second

} // namespace

ClickHighlight::ClickHighlight(Surroundings surroundings)
    : surroundings(std::move(surroundings)) {}

std::optional<uint32_t> ClickHighlight::place(const NSScreen& on) {
    if (!window) {
        window = surroundings.windows.makeWindow({.frame = on.frame, .level = kHighlightLevel}, *this);
        if (!window) return std::nullopt;
    } else if (frame != on.frame) {
        window->setFrame(on.frame);
    }
    frame = on.frame;
    window->orderFront();
    installClickMonitorIfNeeded();
    return window->windowNumber();
}

void ClickHighlight::installClickMonitorIfNeeded() {
    if (clickMonitor) return;
    if (!surroundings.monitors.isTrusted()) {
        surroundings.onNotTrusted();
        return;
    }
    clickMonitor = surroundings.monitors.observeClicks([this](CGPoint at) { clicked(at); });
}

void ClickHighlight::teardown() {
    clickMonitor.reset();
    frames.reset();
    if (window) window->orderOut();
    window.reset();
    rippleView = {};
    shown = {};
}

void ClickHighlight::clicked(CGPoint onDesktop) {
    if (!frame.contains(onDesktop)) return; // on another screen
    const CGPoint inWindow =
        flipped(CGPoint{onDesktop.x - frame.minX(), onDesktop.y - frame.minY()}, frame.size.height);
    rippleView.showRipple(inWindow, surroundings.color(), CMTimeGetSeconds(surroundings.hostClock.now()));
    showFrame();
    if (frames) return;
    frames = std::make_unique<MainThreadTimer>(surroundings.dispatchQueues, surroundings.mainThread,
                                               kFrameNanoseconds, [this] { showFrame(); });
}

void ClickHighlight::showFrame() {
    const double now = CMTimeGetSeconds(surroundings.hostClock.now());
    rippleView.removeEnded(now);
    if (rippleView.count() == 0) frames.reset();
    DrawListDrawing drawing(surroundings.windows.textMeasure());
    rippleView.draw(now, drawing);
    if (shown == drawing.list) return;
    shown = std::move(drawing.list);
    window->present(shown);
}

} // namespace vintra
