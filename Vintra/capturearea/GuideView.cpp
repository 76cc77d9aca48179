#include "Vintra/capturearea/GuideView.h"

#include "Vintra/capturearea/ControlBar.h"
#include "Vintra/capturearea/OverlayDrawing.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr double kCornerReach = 20; // points
constexpr double kSurround = 18;    // points around the hole in which a press still moves it
constexpr double kLeastHole = 8;    // points
constexpr double kOuterLineAlpha = 0.45;

bool overlap(const CGRect& a, const CGRect& b) {
    return a.minX() < b.maxX() && b.minX() < a.maxX() && a.minY() < b.maxY() && b.minY() < a.maxY();
}

} // namespace

void GuideView::setContent(const Content& newContent) {
    content = newContent;
    bar.state = content.barState;
    if (!isDragging() || !content.editable) {
        grab = {};
        hole = content.hole.value_or(CGRect{});
    }
}

bool GuideView::isNearEdge(CGPoint point, double slop) const {
    return std::ranges::any_of(interactiveParts(slop),
                               [point](const CGRect& part) { return part.contains(point); });
}

std::vector<CGRect> GuideView::interactiveParts(double slop) const {
    std::vector<CGRect> parts;
    if (!content.recording) parts = bar.parts(bounds, measure, slop);
    if (content.editable) parts.push_back(hole.insetBy(-slop, -slop));
    return parts;
}

void GuideView::mouseDown(CGPoint at) {
    if (bar.press(at, bounds, measure)) return;
    if (!content.editable) return;
    holeBeforeGrab = hole;
    for (const Corner corner : kCorners) {
        const CGPoint place = cornerPoint(hole, corner);
        if (std::hypot(at.x - place.x, at.y - place.y) > kCornerReach) continue;
        grab.kind = Grab::CornerOf{cornerPoint(hole, opposite(corner))};
        return;
    }
    if (isNearEdge(at, kSurround)) {
        grab.kind = Grab::Move{};
        dragOrigin = {at.x - hole.minX(), at.y - hole.minY()};
        return;
    }
    grab.kind = Grab::Creating{at};
    hole = {at, {0, 0}};
}

void GuideView::mouseDragged(CGPoint to) {
    if (const auto* corner = std::get_if<Grab::CornerOf>(&grab.kind)) {
        change(sized(corner->opposite, to));
    } else if (const auto* creating = std::get_if<Grab::Creating>(&grab.kind)) {
        change(sized(creating->anchor, to));
    } else if (std::holds_alternative<Grab::Move>(grab.kind)) {
        change(movedInside({{to.x - dragOrigin.width, to.y - dragOrigin.height}, hole.size}, bounds));
    }
}

void GuideView::mouseUp() {
    const bool mayBeTooSmall = isDragging() && !std::holds_alternative<Grab::Move>(grab.kind);
    grab = {};
    if (mayBeTooSmall && (hole.size.width < kLeastHole || hole.size.height < kLeastHole))
        change(holeBeforeGrab);
}

void GuideView::change(const CGRect& newHole) {
    hole = newHole;
    if (onChange) onChange(newHole);
}

/// Where a display is read as it is seen, what lies over the captured part is in the picture.
bool GuideView::mayDraw(const CGRect& rect) const {
    return !(content.keepsOutOfHole && content.recording && showsHole() && overlap(rect, hole));
}

void GuideView::draw(Drawing& drawing) const {
    if (showsHole()) drawHole(drawing);
    if (mayDraw(ControlBar::containerRect(bounds, bar.state, drawing))) bar.draw(bounds, drawing);
    if (!content.composing) return;
    OverlayDrawing::drawCard("Capture options are open",
                             "Click Done to use the rest of your " + content.computer, bounds, drawing);
}

void GuideView::drawHole(Drawing& drawing) const {
    if (content.composing) {
        OverlayDrawing::drawDim(hole, bounds, drawing);
    } else {
        drawing.strokeRect(hole.insetBy(-1.5, -1.5), 1, NSColor::black(kOuterLineAlpha));
    }
    OverlayDrawing::drawFrame(hole, drawing);
    if (content.composing && content.editable) OverlayDrawing::drawHandles(hole, drawing);
    if (content.label.empty()) return;
    const CGRect tag = OverlayDrawing::tagRect(content.label, hole, bounds, drawing);
    if (mayDraw(tag)) OverlayDrawing::drawTag(content.label, tag, drawing);
}

} // namespace vintra
