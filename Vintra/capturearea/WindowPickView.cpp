#include "Vintra/capturearea/WindowPickView.h"

#include "Vintra/capturearea/OverlayDrawing.h"
#include "Vintra/capturearea/RegionGeometry.h"

#include <algorithm>
#include <utility>

namespace vintra {
namespace {

constexpr NSColor kPickedColour{0x7f / 255.0, 0xd5 / 255.0, 1, 1};

} // namespace

WindowPickView::WindowPickView(const CGRect& screen, const BarState& barState, Callbacks callbacks,
                               BarCallbacks barCallbacks, const TextMeasure& measure)
    : screen(screen)
    , bounds{{0, 0}, screen.size}
    , callbacks(std::move(callbacks))
    , measure(measure) {
    bar.state = barState;
    bar.callbacks = std::move(barCallbacks);
    bar.callbacks.onDone = [this] { cancel(); };
}

CGPoint WindowPickView::inView(CGPoint onDesktop) const {
    return flipped(CGPoint{onDesktop.x - screen.minX(), onDesktop.y - screen.minY()}, screen.size.height);
}

void WindowPickView::mouseMoved(CGPoint to) {
    bar.point(to, bounds, measure);
    const CGPoint down = flipped(to, screen.size.height);
    const CGPoint onDesktop{down.x + screen.minX(), down.y + screen.minY()};
    const auto under = std::ranges::find_if(
        windows, [&](const PickableWindow& each) { return each.frame.contains(onDesktop); });
    hovered = under == windows.end() ? std::nullopt : std::optional(*under);
}

void WindowPickView::mouseDown(CGPoint at) {
    if (bar.press(at, bounds, measure)) return;
    if (!hovered) return;
    const auto onPick = callbacks.onPick; // it may end this view
    if (onPick) onPick(*hovered);
}

bool WindowPickView::keyDown(KeyCode key) {
    if (key != kKeyEscape) return false;
    cancel();
    return true;
}

void WindowPickView::cancel() {
    const auto onCancel = callbacks.onCancel; // it may end this view
    if (onCancel) onCancel();
}

void WindowPickView::draw(Drawing& drawing) const {
    CGRect hole;
    if (hovered) {
        const CGRect& frame = hovered->frame;
        hole = flipped({{frame.minX() - screen.minX(), frame.minY() - screen.minY()}, frame.size},
                       screen.size.height);
    }
    OverlayDrawing::drawDim(hole, bounds, drawing);
    if (hovered) {
        drawing.strokeRect(hole.insetBy(-1, -1), 2, kPickedColour);
        const std::string label = hovered->label();
        OverlayDrawing::drawTag(label, OverlayDrawing::tagRect(label, hole, bounds, drawing), drawing);
    }
    OverlayDrawing::drawHintAboveBar("Point at a window to record it · Esc to cancel", bounds, drawing);
    bar.draw(bounds, drawing);
}

} // namespace vintra
