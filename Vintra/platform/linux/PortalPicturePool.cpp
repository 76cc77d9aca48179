#include "Vintra/platform/linux/PortalPicturePool.h"

#include <cstring>

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

} // namespace

std::shared_ptr<PortalPicturePool> PortalPicturePool::make(Shape shape, std::shared_ptr<WakeUp> onFree) {
    return std::shared_ptr<PortalPicturePool>(new PortalPicturePool(shape, std::move(onFree)));
}

PortalPicturePool::PortalPicturePool(Shape aShape, std::shared_ptr<WakeUp> aWakeUp)
    : shape(aShape)
    , onFree(std::move(aWakeUp)) {}

std::unique_ptr<PortalPicturePool::Picture> PortalPicturePool::makePicture() const {
    auto picture = std::make_unique<Picture>();
    picture->stale.add({0, 0, shape.width, shape.height});
    const size_t bytes = (bytesPerRow() * static_cast<size_t>(shape.height) + 63) / 64 * 64;
    picture->pixels.reset(static_cast<uint8_t*>(std::aligned_alloc(64, bytes)));
    return picture->pixels ? std::move(picture) : nullptr;
}

PortalPicturePool::Picture* PortalPicturePool::acquire() {
    bool mayGrow = pictures.size() < shape.limit;
    while (true) {
        if (Picture* const free = freshestFree(!mayGrow)) return free;
        if (!mayGrow) return nullptr;
        if (auto grown = makePicture()) {
            pictures.push_back(std::move(grown));
            return pictures.back().get();
        }
        mayGrow = false; // memory is short: make do with what there is
    }
}

PortalPicturePool::Picture* PortalPicturePool::freshestFree(bool waitsOtherwise) {
    MutexLock lock(mutex);
    Picture* best = nullptr;
    for (const auto& picture : pictures) {
        if (picture->isOut) continue;
        if (!best || picture->stale.area() < best->stale.area()) best = picture.get();
    }
    isWaitedFor = !best && waitsOtherwise;
    return best;
}

void PortalPicturePool::markStale(const PixelRect& changed) {
    const PixelRect inside = intersection(changed, {0, 0, shape.width, shape.height});
    for (const auto& picture : pictures)
        picture->stale.add(inside);
}

void PortalPicturePool::refresh(Picture& picture, const PortalFrame& frame, int x, int y) const {
    for (const PixelRect& rect : picture.stale.rects()) {
        const size_t bytes = static_cast<size_t>(rect.width) * 4;
        const uint8_t* from = frame.pixels + static_cast<size_t>(y + rect.y) * frame.bytesPerRow +
                              static_cast<size_t>(x + rect.x) * 4;
        uint8_t* to = picture.pixels.get() + static_cast<size_t>(rect.y) * bytesPerRow() +
                      static_cast<size_t>(rect.x) * 4;
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

std::shared_ptr<CVPixelBuffer> PortalPicturePool::handOut(Picture& picture) {
    {
        MutexLock lock(mutex);
        picture.isOut = true;
    }
    std::shared_ptr<void> owner(
        &picture, [pool = shared_from_this()](void* out) { pool->takeBack(*static_cast<Picture*>(out)); });
    const CVPixelBuffer::Plane plane{picture.pixels.get(), static_cast<size_t>(shape.width),
                                     static_cast<size_t>(shape.height), bytesPerRow()};
    return CVPixelBuffer::make(kCVPixelFormatType_32BGRA, plane.width, plane.height, {plane},
                               std::move(owner));
}

void PortalPicturePool::takeBack(Picture& picture) {
    MutexLock lock(mutex);
    picture.isOut = false;
    if (!isWaitedFor) return;
    isWaitedFor = false;
    onFree->set();
}

} // namespace vintra
