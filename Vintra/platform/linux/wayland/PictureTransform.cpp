#include "Vintra/platform/linux/wayland/PictureTransform.h"

#include <algorithm>
#include <cstdlib>

namespace vintra {

PixelRect PictureTransform::uprightSize(int width, int height) const {
    return quarterTurns % 2 == 0 ? PixelRect{0, 0, width, height} : PixelRect{0, 0, height, width};
}

PictureTransform::Place PictureTransform::inBuffer(Place upright, const PixelRect& size) const {
    const int x = isFlipped ? size.width - 1 - upright.x : upright.x;
    const int y = upright.y;
    switch (quarterTurns) {
    case 1:
        return {y, size.width - 1 - x};
    case 2:
        return {size.width - 1 - x, size.height - 1 - y};
    case 3:
        return {size.height - 1 - y, x};
    default:
        return {x, y};
    }
}

PixelRect PictureTransform::upright(const PixelRect& inBuffer, const PixelRect& size) const {
    if (inBuffer.isEmpty()) return {};
    const auto place = [&](Place at) {
        Place up = at;
        switch (quarterTurns) {
        case 1:
            up = {size.width - 1 - at.y, at.x};
            break;
        case 2:
            up = {size.width - 1 - at.x, size.height - 1 - at.y};
            break;
        case 3:
            up = {at.y, size.height - 1 - at.x};
            break;
        default:
            break;
        }
        if (isFlipped) up.x = size.width - 1 - up.x;
        return up;
    };
    const Place one = place({inBuffer.x, inBuffer.y});
    const Place other = place({inBuffer.right() - 1, inBuffer.bottom() - 1});
    return {std::min(one.x, other.x), std::min(one.y, other.y), std::abs(one.x - other.x) + 1,
            std::abs(one.y - other.y) + 1};
}

} // namespace vintra
