#include "Vintra/platform/linux/screen/PicturePool.h"

#include <cstdlib>
#include <utility>

namespace vintra {

PicturePool::PicturePool(Shape shape, std::shared_ptr<WakeUp> wakeUp)
    : shape(shape)
    , onFree(std::move(wakeUp)) {}

uint8_t* PicturePool::allocate() const {
    constexpr size_t kAlignment = 64; // bytes: a line of the cache, and the widest registers
    return static_cast<uint8_t*>(
        std::aligned_alloc(kAlignment, (byteCount() + kAlignment - 1) / kAlignment * kAlignment));
}

PicturePool::Picture* PicturePool::acquire(const std::function<std::unique_ptr<Picture>()>& makeMemory) {
    bool mayGrow = pictures.size() < shape.limit;
    while (true) {
        if (Picture* const free = freshestFree(!mayGrow)) return free;
        if (!mayGrow) return nullptr;
        if (auto grown = makeMemory()) {
            grown->stale.add({0, 0, shape.width, shape.height});
            pictures.push_back(std::move(grown));
            return pictures.back().get();
        }
        mayGrow = false; // memory is short: keep to the pictures there are
    }
}

PicturePool::Picture* PicturePool::freshestFree(bool waitsOtherwise) {
    MutexLock lock(mutex);
    Picture* best = nullptr;
    for (const auto& picture : pictures) {
        if (picture->isOut) continue;
        if (!best || picture->stale.area() < best->stale.area()) best = picture.get();
    }
    isWaitedFor = !best && waitsOtherwise;
    return best;
}

void PicturePool::markStale(const PixelRect& changed) {
    const PixelRect inside = intersection(changed, {0, 0, shape.width, shape.height});
    for (const auto& picture : pictures)
        picture->stale.add(inside);
}

CVPixelBuffer::Plane PicturePool::plane(const Picture& picture) const {
    return {picture.pixels, static_cast<size_t>(shape.width), static_cast<size_t>(shape.height),
            bytesPerRow()};
}

std::shared_ptr<CVPixelBuffer> PicturePool::handOut(Picture& picture) {
    {
        MutexLock lock(mutex);
        picture.isOut = true;
    }
    std::shared_ptr<void> owner(
        &picture, [pool = shared_from_this()](void* out) { pool->takeBack(*static_cast<Picture*>(out)); });
    return CVPixelBuffer::make(kCVPixelFormatType_32BGRA, static_cast<size_t>(shape.width),
                               static_cast<size_t>(shape.height), {plane(picture)}, std::move(owner));
}

void PicturePool::takeBack(Picture& picture) {
    MutexLock lock(mutex);
    picture.isOut = false;
    if (!isWaitedFor) return;
    isWaitedFor = false;
    onFree->set();
}

} // namespace vintra
