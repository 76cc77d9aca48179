#include "tools/published-camera/CameraCanvas.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr PatternColour kBlack{0, 0, 0};
constexpr PatternColour kWhite{255, 255, 255};

} // namespace

CameraCanvas::CameraCanvas(size_t width, size_t height, CanvasColours colours)
    : width_(width)
    , height_(height)
    , colours(colours) {
    for (auto& plane : planes)
        plane.resize(width * height);
    drawBlack();
}

std::array<uint8_t, 3> CameraCanvas::samples(const PatternColour& colour) const {
    if (colours == CanvasColours::rgb) return {colour.red, colour.green, colour.blue};
    const bool isRec601 = colours == CanvasColours::rec601 || colours == CanvasColours::rec601FullRange;
    const bool isFull =
        colours == CanvasColours::rec601FullRange || colours == CanvasColours::rec709FullRange;
    const double ofRed = isRec601 ? 0.299 : 0.2126;
    const double ofBlue = isRec601 ? 0.114 : 0.0722;
    const double red = colour.red / 255.0;
    const double blue = colour.blue / 255.0;
    const double luma = ofRed * red + ofBlue * blue + (1 - ofRed - ofBlue) * colour.green / 255.0;
    const auto sample = [](double value) {
        return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
    };
    const double steps = isFull ? 255 : 224;
    return {sample(isFull ? luma * 255 : 16 + luma * 219),
            sample(128 + (blue - luma) / (2 * (1 - ofBlue)) * steps),
            sample(128 + (red - luma) / (2 * (1 - ofRed)) * steps)};
}

void CameraCanvas::fill(const Place& place, const std::array<uint8_t, 3>& with) {
    const size_t left = place.column * width_ / CameraPattern::kColumns;
    const size_t right = (place.column + place.columns) * width_ / CameraPattern::kColumns;
    const size_t top = place.row * height_ / CameraPattern::kRows;
    const size_t bottom = (place.row + place.rows) * height_ / CameraPattern::kRows;
    for (size_t plane = 0; plane < 3; ++plane) {
        for (size_t y = top; y < bottom; ++y) {
            const auto begin = planes[plane].begin() + static_cast<std::ptrdiff_t>(y * width_);
            std::fill(begin + static_cast<std::ptrdiff_t>(left), begin + static_cast<std::ptrdiff_t>(right),
                      with[plane]);
        }
    }
}

void CameraCanvas::drawColours() {
    for (size_t i = 0; i < kPatternColours.size(); ++i) {
        fill(
            {2 * i, CameraPattern::kFirstColourRow, 2, CameraPattern::kRows - CameraPattern::kFirstColourRow},
            samples(kPatternColours[i]));
    }
}

void CameraCanvas::draw(const CameraPattern& pattern) {
    if (isPlain) drawColours();
    isPlain = false;
    const auto black = samples(kBlack);
    const auto white = samples(kWhite);
    const auto bits = pattern.bits();
    for (size_t row = 0; row < CameraPattern::kBlockRows; ++row) {
        for (size_t column = 0; column < CameraPattern::kColumns; ++column)
            fill({column, row, 1, 1}, bits[row][column] ? white : black);
    }
}

void CameraCanvas::drawBlack() {
    drawAll(kBlack);
}

void CameraCanvas::drawWhite() {
    drawAll(kWhite);
}

void CameraCanvas::drawAll(const PatternColour& colour) {
    isPlain = true;
    fill({0, 0, CameraPattern::kColumns, CameraPattern::kRows}, samples(colour));
}

} // namespace vintra
