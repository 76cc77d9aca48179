#include "Vintra/capturearea/RegionSelectView.h"

#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/capturearea/OverlayDrawing.h"

#include <cmath>
#include <utility>

namespace vintra {
namespace {

/// Points. What is smaller was no choice but a slip of the hand.
constexpr double kLeastSelection = 8;

} // namespace

RegionSelectView::RegionSelectView(const Setup& setup, Callbacks callbacks, BarCallbacks barCallbacks,
                                   const TextMeasure& measure)
    : bounds{{0, 0}, setup.size}
    , scale(setup.scale)
    , callbacks(std::move(callbacks))
    , measure(measure)
    , chosenAspect(setup.aspect)
    , selected(setup.initial.value_or(CGRect{})) {
    bar.state = setup.barState;
    bar.callbacks = std::move(barCallbacks);
    bar.callbacks.onAspectPicked = [this](AspectPreset picked) { setAspect(picked); };
    bar.callbacks.onDone = [this] { commit(); };
}

void RegionSelectView::mouseDown(CGPoint at) {
    if (bar.press(at, bounds, measure)) return;
    if (hasSelection()) {
        if (const auto corner = cornerAt(at)) {
            drag.kind = Drag::Resizing{*corner, cornerPoint(selected, opposite(*corner))};
            return;
        }
        if (selected.contains(at)) {
            drag.kind = Drag::Moving{{at.x - selected.minX(), at.y - selected.minY()}};
            return;
        }
    }
    drag.kind = Drag::Creating{at};
    selected = {at, {0, 0}};
}

void RegionSelectView::mouseDragged(CGPoint to) {
    const auto ratio = aspectRatio(chosenAspect);
    if (const auto* creating = std::get_if<Drag::Creating>(&drag.kind)) {
        selected = constrained(creating->anchor, to, ratio, bounds);
    } else if (const auto* resizing = std::get_if<Drag::Resizing>(&drag.kind)) {
        selected = constrained(resizing->opposite, to, ratio, bounds);
    } else if (const auto* moving = std::get_if<Drag::Moving>(&drag.kind)) {
        const CGPoint origin{to.x - moving->grabOffset.width, to.y - moving->grabOffset.height};
        selected = movedInside({origin, selected.size}, bounds);
    }
}

bool RegionSelectView::keyDown(KeyCode key) {
    switch (key) {
    case kKey1:
        setAspect(AspectPreset::freeform);
        return true;
    case kKey2:
        setAspect(AspectPreset::widescreen);
        return true;
    case kKey3:
        setAspect(AspectPreset::vertical);
        return true;
    case kKey4:
        setAspect(AspectPreset::square);
        return true;
    case kKey5:
        return true;
    case kKeyReturn:
    case kKeyEnter:
        commit();
        return true;
    case kKeyEscape:
        cancel();
        return true;
    default:
        return false;
    }
}

void RegionSelectView::setAspect(AspectPreset newAspect) {
    if (newAspect == chosenAspect) return;
    chosenAspect = newAspect;
    if (hasSelection()) selected = reshaped(selected, newAspect, bounds.size);
    bar.state.aspect = newAspect;
    if (callbacks.onAspectChange) callbacks.onAspectChange(newAspect);
}

void RegionSelectView::setBarState(const BarState& state) {
    bar.state = state;
    setAspect(state.aspect);
}

void RegionSelectView::commit() {
    if (selected.size.width < kLeastSelection || selected.size.height < kLeastSelection) return;
    const auto onCommit = callbacks.onCommit; // it may end this view
    if (onCommit) onCommit(selected);
}

void RegionSelectView::cancel() {
    const auto onCancel = callbacks.onCancel; // it may end this view
    if (onCancel) onCancel();
}

std::optional<Corner> RegionSelectView::cornerAt(CGPoint point) const {
    for (const Corner corner : kCorners) {
        const CGPoint at = cornerPoint(selected, corner);
        if (std::hypot(point.x - at.x, point.y - at.y) <= OverlayDrawing::kHandleSize) return corner;
    }
    return std::nullopt;
}

void RegionSelectView::draw(Drawing& drawing) const {
    const CGRect hole = hasSelection() ? selected : CGRect{};
    OverlayDrawing::drawDim(hole, bounds, drawing);
    if (hasSelection()) {
        OverlayDrawing::drawFrame(hole, drawing);
        OverlayDrawing::drawHandles(hole, drawing);
        const std::string size = pixelSizeText({.displayID = 0, .rect = hole}, scale, chosenAspect);
        OverlayDrawing::drawTag(size, OverlayDrawing::tagRect(size, hole, bounds, drawing), drawing);
    }
    OverlayDrawing::drawHint(
        hasSelection() ? "Return to confirm · Esc to cancel · drag inside to move, corners to resize"
                       : "Drag to choose an area · adjust it any time before recording · Esc to cancel",
        {bounds.midX(), bounds.midY()}, drawing);
    bar.draw(bounds, drawing);
}

} // namespace vintra
