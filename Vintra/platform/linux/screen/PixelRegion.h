#pragma once

#include <cstdint>
#include <vector>

namespace vintra {

/// A rectangle in whole pixels.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool isEmpty() const { return width <= 0 || height <= 0; }
    int64_t area() const { return isEmpty() ? 0 : int64_t{width} * height; }
    int right() const { return x + width; }
    int bottom() const { return y + height; }
    bool operator==(const PixelRect&) const = default;
};

/// Empty rectangles are all alike: zero.
PixelRect intersection(const PixelRect& a, const PixelRect& b);
/// The sides with their lowest bit cleared, which is what encoders take; a side of 1 stays.
PixelRect evenSized(PixelRect rect);
/// The smallest rectangle that holds both.
PixelRect boundingBox(const PixelRect& a, const PixelRect& b);

/// The rows from `first` up to, not with, `end`.
struct RowBand {
    int first = 0;
    int end = 0;
    bool operator==(const RowBand&) const = default;
};

/// A part of a picture: which pixels of a buffer are out of date. It covers at least what was added to it and
/// may cover more, so that it never holds many rectangles. A plain value: one thread at a time.
class PixelRegion {
public:
    void add(const PixelRect& rect);
    void clear() { rects_.clear(); }

    bool isEmpty() const { return rects_.empty(); }
    int64_t area() const;
    const std::vector<PixelRect>& rects() const { return rects_; }
    /// The rows that the region touches, ascending. Bands with fewer than `leastGap` rows between them are
    /// one.
    std::vector<RowBand> rowBands(int leastGap) const;

private:
    std::vector<PixelRect> rects_;
};

} // namespace vintra
