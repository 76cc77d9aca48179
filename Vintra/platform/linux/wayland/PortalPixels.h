#pragma once

#include <cstddef>
#include <cstdint>

namespace vintra {

/// How the pixels of a desktop's picture lie in memory: what is told by their bytes, the first first, and in the last
/// two by the bits of a 32-bit word in little-endian order, the highest first.
enum class PortalPixels { bgrx, rgbx, xrgb, xbgr, bgr, rgb, xrgb2101010, xbgr2101010 };

constexpr size_t bytesPerPixel(PortalPixels pixels) {
    return pixels == PortalPixels::bgr || pixels == PortalPixels::rgb ? 3 : 4;
}

/// Blue, green, red and a fourth byte, of one pixel.
uint32_t bgrxOf(const uint8_t* pixel, PortalPixels pixels);
/// The same of many that lie close together.
void copyPixels(uint8_t* to, const uint8_t* from, size_t count, PortalPixels pixels);

} // namespace vintra
