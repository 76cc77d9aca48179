#include "Vintra/platform/linux/wayland/PortalPixels.h"

#include "Vintra/platform/linux/screen/PackedColours.h"

#include <cstring>

namespace vintra {
namespace {

uint32_t wordAt(const uint8_t* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

uint32_t bgrx(uint32_t blue, uint32_t green, uint32_t red) {
    return blue | green << 8 | red << 16;
}

/// The 10 bits from there on as 8, rounded.
uint32_t tenBits(uint32_t word, int from) {
    return eightBitsOf(word >> from & 1023u, 10);
}

constexpr PackedColours kXrgb2101010{.bytesPerPixel = 4, .red = {20, 10}, .green = {10, 10}, .blue = {0, 10}};
constexpr PackedColours kXbgr2101010{.bytesPerPixel = 4, .red = {0, 10}, .green = {10, 10}, .blue = {20, 10}};

template <PortalPixels kPixels>
uint32_t pixelAt(const uint8_t* from) {
    if constexpr (kPixels == PortalPixels::bgrx) return wordAt(from);
    if constexpr (kPixels == PortalPixels::rgbx || kPixels == PortalPixels::rgb)
        return bgrx(from[2], from[1], from[0]);
    if constexpr (kPixels == PortalPixels::bgr) return bgrx(from[0], from[1], from[2]);
    if constexpr (kPixels == PortalPixels::xrgb) return bgrx(from[3], from[2], from[1]);
    if constexpr (kPixels == PortalPixels::xbgr) return bgrx(from[1], from[2], from[3]);
    const uint32_t word = wordAt(from);
    if constexpr (kPixels == PortalPixels::xrgb2101010)
        return bgrx(tenBits(word, 0), tenBits(word, 10), tenBits(word, 20));
    return bgrx(tenBits(word, 20), tenBits(word, 10), tenBits(word, 0));
}

template <PortalPixels kPixels>
void copyAll(uint8_t* to, const uint8_t* from, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const uint32_t pixel = pixelAt<kPixels>(from + i * bytesPerPixel(kPixels));
        std::memcpy(to + i * sizeof pixel, &pixel, sizeof pixel);
    }
}

/// Calls `use` with the layout as a constant.
template <typename Use>
auto withPixels(PortalPixels pixels, Use use) {
    using enum PortalPixels;
    switch (pixels) {
    case rgbx:
        return use.template operator()<rgbx>();
    case xrgb:
        return use.template operator()<xrgb>();
    case xbgr:
        return use.template operator()<xbgr>();
    case bgr:
        return use.template operator()<bgr>();
    case rgb:
        return use.template operator()<rgb>();
    case xrgb2101010:
        return use.template operator()<xrgb2101010>();
    case xbgr2101010:
        return use.template operator()<xbgr2101010>();
    case bgrx:
        break;
    }
    return use.template operator()<bgrx>();
}

} // namespace

uint32_t bgrxOf(const uint8_t* pixel, PortalPixels pixels) {
    return withPixels(pixels, [&]<PortalPixels kPixels>() { return pixelAt<kPixels>(pixel); });
}

void copyPixels(uint8_t* to, const uint8_t* from, size_t count, PortalPixels pixels) {
    if (pixels == PortalPixels::bgrx) {
        std::memcpy(to, from, 4 * count);
        return;
    }
    if (pixels == PortalPixels::xrgb2101010) return convertToBgrx(to, from, count, kXrgb2101010);
    if (pixels == PortalPixels::xbgr2101010) return convertToBgrx(to, from, count, kXbgr2101010);
    withPixels(pixels, [&]<PortalPixels kPixels>() { copyAll<kPixels>(to, from, count); });
}

} // namespace vintra
