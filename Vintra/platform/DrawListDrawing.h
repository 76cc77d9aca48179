#pragma once

#include "Vintra/platform/DrawList.h"

namespace vintra {

/// Keeps what is drawn as a list. Text is measured by another, which outlives this. Main thread.
class DrawListDrawing final : public Drawing {
public:
    explicit DrawListDrawing(const TextMeasure& measure)
        : measure(measure) {}

    CGSize textSize(const std::string& text, const NSFont& font) const override {
        return measure.textSize(text, font);
    }
    void fillRect(const CGRect& rect, double cornerRadius, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::FilledRect{rect, cornerRadius, color});
    }
    void fillAround(const CGRect& hole, const CGRect& outer, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::FilledSurround{hole, outer, color});
    }
    void strokeRect(const CGRect& rect, double lineWidth, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::StrokedRect{rect, lineWidth, color});
    }
    void fillEllipse(const CGRect& in, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::FilledEllipse{in, color});
    }
    void strokeEllipse(const CGRect& in, double lineWidth, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::StrokedEllipse{in, lineWidth, color});
    }
    void drawText(const std::string& text, CGPoint at, const NSFont& font, const NSColor& color) override {
        list.shapes.emplace_back(DrawList::Text{text, at, font, color});
    }

    DrawList list;

private:
    const TextMeasure& measure;
};

} // namespace vintra
