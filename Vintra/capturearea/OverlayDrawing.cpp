#include "Vintra/capturearea/OverlayDrawing.h"

#include "Vintra/capturearea/RegionGeometry.h"

#include <algorithm>

namespace vintra::OverlayDrawing {
namespace {

constexpr double kDimAlpha = 0.55;
constexpr double kCardAlpha = 0.8;
constexpr NSFont kTagFont{.size = 12, .weight = NSFontWeight::medium, .family = {}, .hasEqualDigits = true};
constexpr NSFont kHintFont{.size = 13, .weight = NSFontWeight::medium, .family = {}};
constexpr NSFont kCardTitleFont{.size = 14, .weight = NSFontWeight::bold, .family = "HelveticaNeue-Bold"};
constexpr NSFont kCardLineFont{.size = 12, .weight = NSFontWeight::medium, .family = "HelveticaNeue-Medium"};
constexpr CGSize kTagPadding{14, 7}; // both sides together
constexpr double kTagDistance = 8;
constexpr CGSize kHintPadding{28, 16};
constexpr CGSize kCardPadding{40, 24};
constexpr double kCardLineAlpha = 0.85;

void drawTextCentred(const std::string& text, CGPoint centre, const NSFont& font, const NSColor& color,
                     Drawing& drawing) {
    const CGSize size = drawing.textSize(text, font);
    drawing.drawText(text, {centre.x - size.width / 2, centre.y - size.height / 2}, font, color);
}

} // namespace

void drawDim(const CGRect& hole, const CGRect& bounds, Drawing& drawing) {
    drawing.fillAround(hole, bounds, NSColor::black(kDimAlpha));
}

void drawFrame(const CGRect& hole, Drawing& drawing) {
    drawing.strokeRect(hole.insetBy(-0.5, -0.5), 1, NSColor::white());
}

void drawHandles(const CGRect& hole, Drawing& drawing) {
    for (const Corner corner : kCorners) {
        const CGPoint centre = cornerPoint(hole, corner);
        drawing.fillRect(
            {{centre.x - kHandleSize / 2, centre.y - kHandleSize / 2}, {kHandleSize, kHandleSize}}, 0,
            NSColor::white());
    }
}

CGRect tagRect(const std::string& text, const CGRect& hole, const CGRect& bounds,
               const TextMeasure& measure) {
    const CGSize textSize = measure.textSize(text, kTagFont);
    const CGSize size{textSize.width + kTagPadding.width, textSize.height + kTagPadding.height};
    const double rightmost = std::max(bounds.minX(), bounds.maxX() - size.width);
    const double x = std::clamp(hole.midX() - size.width / 2, bounds.minX(), rightmost);
    const bool hasRoom = hole.maxY() + kTagDistance + size.height <= bounds.maxY();
    return {{x, hasRoom ? hole.maxY() + kTagDistance : hole.maxY() - kTagDistance - size.height}, size};
}

void drawTag(const std::string& text, const CGRect& rect, Drawing& drawing) {
    drawing.fillRect(rect, 5, NSColor::black(kCardAlpha));
    drawTextCentred(text, {rect.midX(), rect.midY()}, kTagFont, NSColor::white(), drawing);
}

void drawHint(const std::string& text, CGPoint centre, Drawing& drawing) {
    const CGSize textSize = drawing.textSize(text, kHintFont);
    const CGSize size{textSize.width + kHintPadding.width, textSize.height + kHintPadding.height};
    drawing.fillRect({{centre.x - size.width / 2, centre.y - size.height / 2}, size}, 8,
                     NSColor::black(kCardAlpha));
    drawTextCentred(text, centre, kHintFont, NSColor::white(), drawing);
}

void drawHintAboveBar(const std::string& text, const CGRect& bounds, Drawing& drawing) {
    const double height = drawing.textSize(text, kHintFont).height + kHintPadding.height;
    drawHint(text, {bounds.midX(), bounds.minY() + kAboveBar + height / 2}, drawing);
}

void drawCard(const std::string& title, const std::string& line, const CGRect& bounds, Drawing& drawing) {
    const CGSize titleSize = drawing.textSize(title, kCardTitleFont);
    const CGSize lineSize = drawing.textSize(line, kCardLineFont);
    const CGSize size{std::max(titleSize.width, lineSize.width) + kCardPadding.width,
                      titleSize.height + lineSize.height + kCardPadding.height};
    const double x = bounds.midX();
    const double bottom = bounds.minY() + kAboveBar;
    drawing.fillRect({{x - size.width / 2, bottom}, size}, 10, NSColor::black(kCardAlpha));
    const double lineTop = bottom + kCardPadding.height / 2 + lineSize.height;
    drawTextCentred(title, {x, lineTop + titleSize.height / 2}, kCardTitleFont, NSColor::white(), drawing);
    drawTextCentred(line, {x, lineTop - lineSize.height / 2}, kCardLineFont, NSColor::white(kCardLineAlpha),
                    drawing);
}

} // namespace vintra::OverlayDrawing
