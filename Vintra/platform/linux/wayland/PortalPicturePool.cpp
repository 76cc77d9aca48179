#include "Vintra/platform/linux/wayland/PortalPicturePool.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace vintra {
namespace {

/// Four bytes a pixel; the first and the third change places.
void copySwapped(uint8_t* to, const uint8_t* from, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        uint32_t pixel = 0;
        std::memcpy(&pixel, from + 4 * i, 4);
        pixel = (pixel & 0xff00ff00u) | (pixel >> 16 & 0xffu) | (pixel & 0xffu) << 16;
        std::memcpy(to + 4 * i, &pixel, 4);
    }
}

struct OwnPicture : PicturePool::Picture {
    ~OwnPicture() override { std::free(pixels); }
};

} // namespace

PortalPicturePool::PortalPicturePool(Shape shape, std::shared_ptr<WakeUp> wakeUp)
    : PicturePool(shape, std::move(wakeUp)) {}

PicturePool::Picture* PortalPicturePool::acquire() {
    return PicturePool::acquire([this]() -> std::unique_ptr<Picture> {
        auto picture = std::make_unique<OwnPicture>();
        picture->pixels = allocate();
        if (!picture->pixels) return nullptr;
        return picture;
    });
}

void PortalPicturePool::refresh(Picture& picture, const PortalFrame& frame, int x, int y) const {
    for (const PixelRect& rect : picture.stale.rects()) {
        const size_t bytes = static_cast<size_t>(rect.width) * 4;
        const uint8_t* from = frame.pixels + static_cast<size_t>(y + rect.y) * frame.bytesPerRow +
                              static_cast<size_t>(x + rect.x) * 4;
        uint8_t* to =
            picture.pixels + static_cast<size_t>(rect.y) * bytesPerRow() + static_cast<size_t>(rect.x) * 4;
        for (int row = 0; row < rect.height; ++row, from += frame.bytesPerRow, to += bytesPerRow()) {
            if (frame.order == PortalVideoFormat::Order::bgr) {
                std::memcpy(to, from, bytes);
            } else {
                copySwapped(to, from, static_cast<size_t>(rect.width));
            }
        }
    }
    picture.stale.clear();
}

} // namespace vintra
