#pragma once

#include "tools/testsignals/CameraPattern.h"

#include <array>
#include <cstdint>
#include <vector>

namespace vintra {

/// How a camera's colours are written.
enum class CanvasColours { rgb, rec601, rec709, rec601FullRange, rec709FullRange };

/// A picture with a pattern in three planes of full size: red, green and blue, or luma, Cb and Cr.
class CameraCanvas {
public:
    CameraCanvas(size_t width, size_t height, CanvasColours colours);

    void draw(const CameraPattern& pattern);
    void drawBlack();
    void drawWhite();

    size_t width() const { return width_; }
    size_t height() const { return height_; }
    const uint8_t* row(size_t plane, size_t y) const { return planes[plane].data() + y * width_; }

private:
    struct Place {
        size_t column, row, columns, rows;
    };
    std::array<uint8_t, 3> samples(const PatternColour& colour) const;
    void fill(const Place& place, const std::array<uint8_t, 3>& with);
    void drawColours();
    void drawAll(const PatternColour& colour);

    const size_t width_;
    const size_t height_;
    const CanvasColours colours;
    std::array<std::vector<uint8_t>, 3> planes;
    bool isPlain = true; ///< without the pattern's colours
};

} // namespace vintra
