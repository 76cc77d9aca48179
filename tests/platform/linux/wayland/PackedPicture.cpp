#include "tests/platform/linux/wayland/PackedPicture.h"

#include <cmath>
#include <cstdlib>
#include <random>

namespace vintra {
namespace {

ScreenPicture mirrored(const ScreenPicture& picture) {
    ScreenPicture result(picture.width, picture.height);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            result.fill(picture.width - 1 - x, y, 1, 1, picture.at(x, y));
    return result;
}

/// A quarter turn: what was at the right is at the top.
ScreenPicture turnedCounterClockwise(const ScreenPicture& picture) {
    ScreenPicture result(picture.height, picture.width);
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            result.fill(y, picture.width - 1 - x, 1, 1, picture.at(x, y));
    return result;
}

uint32_t asTenBits(uint32_t eight) {
    return static_cast<uint32_t>(std::lround(eight * 1023.0 / 255.0));
}

/// The bytes of one pixel. Those that mean nothing are filled with something.
void packPixel(uint8_t* to, uint32_t colour, spa_video_format video) {
    const auto red = static_cast<uint8_t>(colour >> 16);
    const auto green = static_cast<uint8_t>(colour >> 8);
    const auto blue = static_cast<uint8_t>(colour);
    const uint8_t any = 0x5a;
    const auto bytes = [to](std::initializer_list<uint8_t> list) { std::copy(list.begin(), list.end(), to); };
    const auto word = [to](uint32_t value) {
        for (int i = 0; i < 4; ++i)
            to[i] = static_cast<uint8_t>(value >> 8 * i);
    };
    switch (video) {
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_BGRA:
        return bytes({blue, green, red, any});
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
        return bytes({red, green, blue, any});
    case SPA_VIDEO_FORMAT_xRGB:
    case SPA_VIDEO_FORMAT_ARGB:
        return bytes({any, red, green, blue});
    case SPA_VIDEO_FORMAT_xBGR:
    case SPA_VIDEO_FORMAT_ABGR:
        return bytes({any, blue, green, red});
    case SPA_VIDEO_FORMAT_RGB:
        return bytes({red, green, blue});
    case SPA_VIDEO_FORMAT_BGR:
        return bytes({blue, green, red});
    case SPA_VIDEO_FORMAT_xRGB_210LE:
    case SPA_VIDEO_FORMAT_ARGB_210LE:
        return word(2u << 30 | asTenBits(red) << 20 | asTenBits(green) << 10 | asTenBits(blue));
    case SPA_VIDEO_FORMAT_xBGR_210LE:
    case SPA_VIDEO_FORMAT_ABGR_210LE:
        return word(1u << 30 | asTenBits(blue) << 20 | asTenBits(green) << 10 | asTenBits(red));
    default:
        std::abort(); // a format that this doesn't know
    }
}

} // namespace

size_t PackedPicture::bytesPerPixel(spa_video_format video) {
    return video == SPA_VIDEO_FORMAT_RGB || video == SPA_VIDEO_FORMAT_BGR ? 3 : 4;
}

ScreenPicture PackedPicture::turned(const ScreenPicture& upright, uint32_t transform) {
    ScreenPicture result = transform >= 4 ? mirrored(upright) : upright;
    for (uint32_t turns = transform % 4; turns > 0; --turns)
        result = turnedCounterClockwise(result);
    return result;
}

ScreenPicture PackedPicture::motley(int width, int height, uint32_t seed) {
    std::mt19937 random(seed);
    ScreenPicture result(width, height);
    for (uint32_t& pixel : result.pixels)
        pixel = static_cast<uint32_t>(random()) & 0xffffff;
    return result;
}

PackedPicture::PackedPicture(const ScreenPicture& upright, const Layout& layout)
    : transform(layout.transform) {
    const ScreenPicture picture = turned(upright, layout.transform);
    width = picture.width;
    height = picture.height;
    const size_t pixelBytes = bytesPerPixel(layout.video);
    const size_t apart = static_cast<size_t>(width) * pixelBytes + static_cast<size_t>(layout.padding);
    stride = static_cast<int>(apart) * (layout.isUpsideDown ? -1 : 1);
    bytes.assign(apart * static_cast<size_t>(height), 0xee);
    for (int y = 0; y < height; ++y) {
        const auto row = static_cast<size_t>(layout.isUpsideDown ? height - 1 - y : y);
        for (int x = 0; x < width; ++x)
            packPixel(&bytes[row * apart + static_cast<size_t>(x) * pixelBytes], picture.at(x, y),
                      layout.video);
    }
}

} // namespace vintra
