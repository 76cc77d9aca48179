#include "Vintra/capturearea/WindowSelectOverlay.h"

#include "Vintra/platform/DrawListDrawing.h"

#include <algorithm>
#include <utility>

namespace vintra {

void WindowSelectOverlay::begin(const NSScreen& on, const BarState& state, Completion completion) {
    dismiss();
    WindowPickView::Callbacks callbacks{.onPick = [this](const PickableWindow& picked) { finish(picked); },
                                        .onCancel = [this] { dismiss(); }};
    window = surroundings.windows.makeWindow({.frame = on.frame,
                                              .takesKeyboard = true,
                                              .ignoresMouseEvents = false,
                                              .cursor = OverlayCursor::pointingHand,
                                              .isSelectionPanel = true},
                                             *this);
    if (!window) {
        if (completion) completion(std::nullopt);
        return;
    }
    view = std::make_shared<WindowPickView>(on.frame, state, std::move(callbacks), onBar,
                                            surroundings.windows.textMeasure());
    onFinish = std::move(completion);
    refreshWindows();
    mouseMonitors = surroundings.monitors.observeMouseMoves([this] { updatePassThrough(); });
    redraw();
    window->orderFront();
    updatePassThrough();
}

void WindowSelectOverlay::refreshWindows() {
    view->windows = pickableWindows(surroundings.windowList.onScreenWindowsExcludingDesktopElements(),
                                    surroundings.ownProcess);
}

void WindowSelectOverlay::refresh(const BarState& state) {
    if (!window) return;
    view->bar.state = state;
    redraw();
}

void WindowSelectOverlay::finish(const std::optional<PickableWindow>& picked) {
    if (!window) return;
    mouseMonitors.reset();
    window->orderOut();
    window.reset();
    view.reset();
    shown.reset();
    const auto ended = std::exchange(onFinish, nullptr);
    if (ended) ended(picked);
}

void WindowSelectOverlay::updatePassThrough() {
    if (!window) return;
    const CGPoint pointer = surroundings.monitors.mouseLocation();
    if (view->isOnBar(view->inView(pointer))) {
        window->setIgnoresMouseEvents(false);
        return;
    }
    const bool isOverOwn =
        std::ranges::any_of(surroundings.ownWindows.windows(), [&](const OwnWindows::Window& each) {
            return each.isVisible && !each.isPanel && !each.letsClicksThrough && each.frame.contains(pointer);
        });
    window->setIgnoresMouseEvents(isOverOwn);
}

void WindowSelectOverlay::mouseDown(CGPoint at) {
    const auto current = view;
    if (!current) return;
    current->mouseDown(at);
    redraw();
}

void WindowSelectOverlay::mouseMoved(CGPoint to) {
    if (!view) return;
    view->mouseMoved(to);
    redraw();
}

bool WindowSelectOverlay::keyDown(KeyCode key) {
    const auto current = view;
    return current && current->keyDown(key);
}

void WindowSelectOverlay::cancelOperation() {
    dismiss();
}

void WindowSelectOverlay::redraw() {
    if (!window) return;
    DrawListDrawing drawing(surroundings.windows.textMeasure());
    view->draw(drawing);
    if (shown == drawing.list) return;
    shown = std::move(drawing.list);
    window->present(*shown);
}

} // namespace vintra
