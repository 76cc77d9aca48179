#include "Vintra/capturearea/RegionSelectOverlay.h"

#include "Vintra/platform/DrawListDrawing.h"

#include <utility>

namespace vintra {

void RegionSelectOverlay::begin(const Selection& selection, Completion completion) {
    finish(std::nullopt);
    const double height = selection.on.frame.size.height;
    std::optional<CGRect> initial;
    if (selection.initial) initial = flipped(*selection.initial, height);
    const RegionSelectView::Setup setup{.size = selection.on.frame.size,
                                        .scale = selection.on.backingScaleFactor,
                                        .aspect = selection.aspect,
                                        .initial = initial,
                                        .barState = selection.state};
    RegionSelectView::Callbacks callbacks{
        .onCommit =
            [this, height, displayID = selection.displayID](CGRect chosen) {
                finish(CaptureRegion{.displayID = displayID, .rect = flipped(chosen, height)});
            },
        .onCancel = [this] { finish(std::nullopt); },
        .onAspectChange =
            [this](AspectPreset aspect) {
                if (onAspectChange) onAspectChange(aspect);
            }};
    view = std::make_shared<RegionSelectView>(setup, std::move(callbacks), onBar, windows.textMeasure());
    onFinish = std::move(completion);
    window = windows.makeWindow({.frame = selection.on.frame,
                                 .takesKeyboard = true,
                                 .ignoresMouseEvents = false,
                                 .cursor = OverlayCursor::crosshair,
                                 .isSelectionPanel = true},
                                *this);
    if (!window) {
        view.reset();
        const auto ended = std::exchange(onFinish, nullptr);
        if (ended) ended(std::nullopt);
        return;
    }
    redraw();
    window->orderFront();
}

void RegionSelectOverlay::refresh(const BarState& state) {
    if (!window) return;
    const auto current = view;
    current->setBarState(state);
    redraw();
}

void RegionSelectOverlay::finish(const std::optional<CaptureRegion>& region) {
    if (!window) return;
    window->orderOut();
    window.reset();
    view.reset();
    shown.reset();
    const auto ended = std::exchange(onFinish, nullptr);
    if (ended) ended(region);
}

void RegionSelectOverlay::mouseDown(CGPoint at) {
    const auto current = view;
    if (!current) return;
    current->mouseDown(at);
    redraw();
}

void RegionSelectOverlay::mouseDragged(CGPoint to) {
    if (!view) return;
    view->mouseDragged(to);
    redraw();
}

void RegionSelectOverlay::mouseMoved(CGPoint to) {
    if (!view) return;
    view->mouseMoved(to);
    redraw();
}

void RegionSelectOverlay::mouseUp() {
    if (view) view->mouseUp();
}

bool RegionSelectOverlay::keyDown(KeyCode key) {
    const auto current = view;
    if (!current) return false;
    const bool isUsed = current->keyDown(key);
    redraw();
    return isUsed;
}

void RegionSelectOverlay::cancelOperation() {
    const auto current = view;
    if (current) current->cancel();
}

void RegionSelectOverlay::redraw() {
    if (!window) return;
    DrawListDrawing drawing(windows.textMeasure());
    view->draw(drawing);
    if (shown == drawing.list) return;
    shown = std::move(drawing.list);
    window->present(*shown);
}

} // namespace vintra
