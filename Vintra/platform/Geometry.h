#pragma once

namespace vintra {

/// Sizes and rectangles in points unless the user of the value says pixels; the origin is at the top left,
/// except in an overlay's own coordinates (`Drawing`), where it is at the bottom left.
struct CGPoint {
    double x = 0;
    double y = 0;
    bool operator==(const CGPoint&) const = default;
};

struct CGSize {
    double width = 0;
    double height = 0;
    bool operator==(const CGSize&) const = default;
};

struct CGRect {
    CGPoint origin;
    CGSize size;
    bool operator==(const CGRect&) const = default;

    double minX() const { return origin.x; }
    double midX() const { return origin.x + size.width / 2; }
    double maxX() const { return origin.x + size.width; }
    double minY() const { return origin.y; }
    double midY() const { return origin.y + size.height / 2; }
    double maxY() const { return origin.y + size.height; }

    /// The rectangle with each side moved inwards by that much, outwards where it is negative.
    CGRect insetBy(double dx, double dy) const {
        return {{origin.x + dx, origin.y + dy}, {size.width - 2 * dx, size.height - 2 * dy}};
    }
    /// Its far edges belong to the next rectangle, not to it.
    bool contains(CGPoint point) const {
        return point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
};

/// The smallest rectangle that holds both.
inline CGRect CGRectUnion(const CGRect& a, const CGRect& b) {
    const double left = a.minX() < b.minX() ? a.minX() : b.minX();
    const double near = a.minY() < b.minY() ? a.minY() : b.minY();
    const double right = a.maxX() > b.maxX() ? a.maxX() : b.maxX();
    const double far = a.maxY() > b.maxY() ? a.maxY() : b.maxY();
    return {{left, near}, {right - left, far - near}};
}

} // namespace vintra
