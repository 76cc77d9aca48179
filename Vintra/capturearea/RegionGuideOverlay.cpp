#include "Vintra/capturearea/RegionGuideOverlay.h"

#include "Vintra/platform/DrawListDrawing.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr double kInteractiveSlop = 26; // points

} // namespace

void RegionGuideOverlay::update(const NSScreen& on, const Guide& guide) {
    const bool isElsewhere = !currentScreen || currentScreen->screenNumber != on.screenNumber ||
                             currentScreen->frame.size != on.frame.size;
    if (!window || isElsewhere) {
        hide();
        open(on);
        if (!window) return;
    } else if (currentScreen->frame != on.frame) {
        window->setFrame(on.frame);
    }
    currentScreen = on;
    GuideView::Content content{.label = guide.label,
                               .recording = guide.recording,
                               .composing = guide.composing,
                               .editable = guide.editable && !guide.recording,
                               .hole = std::nullopt,
                               .ratio = guide.ratio,
                               .keepsOutOfHole = surroundings.windows.areCaptured(),
                               .computer = surroundings.computer,
                               .barState = guide.state};
    if (guide.region) content.hole = flipped(*guide.region, on.frame.size.height);
    view->bar.callbacks = onBar;
    view->setContent(content);
    if (guide.recording && !locked) window->setIgnoresMouseEvents(true);
    locked = guide.recording;
    redraw();
}

void RegionGuideOverlay::showBarOnly(const NSScreen& on, const BarState& state) {
    update(on, {.region = std::nullopt,
                .label = "",
                .recording = state.isRecording,
                .composing = !state.isRecording,
                .editable = false,
                .ratio = std::nullopt,
                .state = state});
}

void RegionGuideOverlay::open(const NSScreen& on) {
    window = surroundings.windows.makeWindow({.frame = on.frame}, *this);
    if (!window) return;
    view = std::make_shared<GuideView>(on.frame.size, surroundings.windows.textMeasure());
    view->onChange = [this](CGRect hole) {
        const double height = currentScreen->frame.size.height;
        const auto changed = onRegionChanged; // it may show the guide elsewhere
        if (changed) changed(flipped(hole, height));
    };
    window->orderFront();
    installMouseMonitors();
}

void RegionGuideOverlay::hide() {
    mouseMonitors.reset();
    if (window) window->orderOut();
    window.reset();
    view.reset();
    shown.reset();
    currentScreen.reset();
    locked = false;
}

void RegionGuideOverlay::installMouseMonitors() {
    mouseMonitors = surroundings.monitors.observeMouseMoves([this] { updateInteractivity(); });
}

void RegionGuideOverlay::updateInteractivity() {
    if (!window || !view || locked || view->isDragging() || !currentScreen) return;
    const CGPoint pointer = surroundings.monitors.mouseLocation();
    if (surroundings.ownWindows.isActive() && !isOverOwnWindow(pointer)) {
        window->setIgnoresMouseEvents(false);
        return;
    }
    const CGRect& frame = currentScreen->frame;
    const CGPoint inWindow =
        flipped(CGPoint{pointer.x - frame.minX(), pointer.y - frame.minY()}, frame.size.height);
    window->setIgnoresMouseEvents(!view->isNearEdge(inWindow, kInteractiveSlop));
}

bool RegionGuideOverlay::isOverOwnWindow(CGPoint pointer) const {
    return std::ranges::any_of(surroundings.ownWindows.windows(), [&](const OwnWindows::Window& each) {
        return each.isVisible && !each.isSelectionPanel && !each.letsClicksThrough &&
               each.number != window->windowNumber() && each.frame.contains(pointer);
    });
}

void RegionGuideOverlay::mouseDown(CGPoint at) {
    const auto current = view;
    if (!current) return;
    current->mouseDown(at);
    redraw();
}

void RegionGuideOverlay::mouseDragged(CGPoint to) {
    const auto current = view;
    if (!current) return;
    current->mouseDragged(to);
    redraw();
}

void RegionGuideOverlay::mouseMoved(CGPoint to) {
    if (!view) return;
    view->mouseMoved(to);
    redraw();
}

void RegionGuideOverlay::mouseUp() {
    const auto current = view;
    if (!current) return;
    current->mouseUp();
    redraw();
}

void RegionGuideOverlay::redraw() {
    if (!window) return;
    DrawListDrawing drawing(surroundings.windows.textMeasure());
    view->draw(drawing);
    window->setInteractiveParts(view->interactiveParts(kInteractiveSlop));
    if (shown == drawing.list) return;
    shown = std::move(drawing.list);
    window->present(*shown);
}

} // namespace vintra
