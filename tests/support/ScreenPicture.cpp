#include "tests/support/ScreenPicture.h"

#include <algorithm>
#include <sstream>

namespace vintra {

ScreenPicture::ScreenPicture(int aWidth, int aHeight)
    : width(aWidth)
    , height(aHeight)
    , pixels(static_cast<size_t>(aWidth * aHeight)) {}

ScreenPicture::ScreenPicture(const CVPixelBuffer& buffer)
    : ScreenPicture(static_cast<int>(buffer.width()), static_cast<int>(buffer.height())) {
    const auto& plane = buffer.plane(0);
    for (int y = 0; y < height; ++y) {
        const uint8_t* byte = plane.baseAddress + static_cast<size_t>(y) * plane.bytesPerRow;
        for (int x = 0; x < width; ++x, byte += 4) {
            pixels[static_cast<size_t>(y * width + x)] =
                static_cast<uint32_t>(byte[2]) << 16 | static_cast<uint32_t>(byte[1]) << 8 | byte[0];
        }
    }
}

void ScreenPicture::fill(int x, int y, int fillWidth, int fillHeight, uint32_t colour) {
    for (int row = std::max(y, 0); row < std::min(y + fillHeight, height); ++row) {
        for (int column = std::max(x, 0); column < std::min(x + fillWidth, width); ++column) {
            pixels[static_cast<size_t>(row * width + column)] = colour;
        }
    }
}

ScreenPicture ScreenPicture::part(int x, int y, int partWidth, int partHeight) const {
    ScreenPicture result(partWidth, partHeight);
    for (int row = 0; row < partHeight; ++row) {
        for (int column = 0; column < partWidth; ++column) {
            result.pixels[static_cast<size_t>(row * partWidth + column)] = at(x + column, y + row);
        }
    }
    return result;
}

ScreenPicture ScreenPicture::ofPPM(const std::string& bytes) {
    std::istringstream head(bytes);
    std::string kind;
    int width = 0, height = 0, most = 0;
    head >> kind >> width >> height >> most;
    const auto begin = static_cast<size_t>(head.tellg()) + 1;
    const size_t count = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (!head || kind != "P6" || most != 255 || bytes.size() != begin + count * 3) return {0, 0};
    ScreenPicture picture(width, height);
    for (size_t i = 0; i < count; ++i) {
        const auto* const byte = reinterpret_cast<const uint8_t*>(bytes.data()) + begin + 3 * i;
        picture.pixels[i] =
            static_cast<uint32_t>(byte[0]) << 16 | static_cast<uint32_t>(byte[1]) << 8 | byte[2];
    }
    return picture;
}

} // namespace vintra
