#pragma once

#include "Vintra/platform/Geometry.h"

#include <string>
#include <string_view>

namespace vintra {

/// A colour in sRGB, each part 0 to 1.
struct NSColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    bool operator==(const NSColor&) const = default;

    static NSColor black(double alpha = 1) { return {0, 0, 0, alpha}; }
    static NSColor white(double alpha = 1) { return {1, 1, 1, alpha}; }
};

enum class NSFontWeight { regular, medium, semibold, bold };

/// A font in a size and weight.
struct NSFont {
    double size = 12; ///< points
    NSFontWeight weight = NSFontWeight::regular;
    /// A literal; empty for the system's font, which also stands in for a missing one.
    std::string_view family{};
    bool hasEqualDigits = false; ///< each as wide as "0", so that a number that changes keeps its width
    bool operator==(const NSFont&) const = default;
};

/// How large text is. Main thread.
class TextMeasure {
public:
    virtual ~TextMeasure() = default;
    /// The size in points of one line of UTF-8 text.
    virtual CGSize textSize(const std::string& text, const NSFont& font) const = 0;
};

/// Where an overlay draws itself: in points, the origin at the bottom left of the overlay and y growing
/// upwards. What is drawn later lies over what was drawn before. Main thread, within one drawing pass.
class Drawing : public TextMeasure {
public:
    /// A radius of 0 gives square corners.
    virtual void fillRect(const CGRect& rect, double cornerRadius, const NSColor& color) = 0;
    /// All of the outer rectangle but the hole, which may be empty or stand out of it.
    virtual void fillAround(const CGRect& hole, const CGRect& outer, const NSColor& color) = 0;
    /// The line lies half inside and half outside.
    virtual void strokeRect(const CGRect& rect, double lineWidth, const NSColor& color) = 0;
    virtual void fillEllipse(const CGRect& in, const NSColor& color) = 0;
    /// The line lies half inside and half outside.
    virtual void strokeEllipse(const CGRect& in, double lineWidth, const NSColor& color) = 0;
    /// One line of UTF-8 text, the bottom left of its measured size at the point.
    virtual void drawText(const std::string& text, CGPoint at, const NSFont& font, const NSColor& color) = 0;
};

} // namespace vintra
