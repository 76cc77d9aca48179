#include "Vintra/capturearea/ClickRippleView.h"

#include <algorithm>

namespace vintra {
namespace {

constexpr double kRippleDiameter = 46; // points, at a scale of 1
constexpr double kRippleLineWidth = 3;
constexpr double kStartScale = 0.3;
constexpr double kEndScale = 1.5;
constexpr double kAnimationSeconds = 0.45;
constexpr double kLifeSeconds = 0.5;

} // namespace

void ClickRippleView::showRipple(CGPoint at, const NSColor& color, double now) {
    ripples.push_back({at, color, now});
}

void ClickRippleView::removeEnded(double now) {
    std::erase_if(ripples, [now](const Ripple& each) { return now - each.start >= kLifeSeconds; });
}

void ClickRippleView::draw(double now, Drawing& drawing) const {
    for (const auto& [centre, color, start] : ripples) {
        const double progress = std::clamp((now - start) / kAnimationSeconds, 0.0, 1.0);
        if (progress == 1) continue;
        const double scale = kStartScale + (kEndScale - kStartScale) * progress;
        const double radius = kRippleDiameter / 2 * scale;
        NSColor faded = color;
        faded.alpha *= 1 - progress;
        drawing.strokeEllipse({{centre.x - radius, centre.y - radius}, {2 * radius, 2 * radius}},
                              kRippleLineWidth * scale, faded);
    }
}

} // namespace vintra
