#include "Vintra/platform/linux/camera/CameraPicturePool.h"

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/PicturesOnTheirWay.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vintra {
namespace {

// Pictures that wait in the queue of a camera's grid, and those on the way to it.
constexpr int kHeldByGrid = 8 + 8;
// By the preview window, which shrinks one at a time.
constexpr int kHeldByPreview = 1;
// Of small pictures more may be held: they cost little.
constexpr size_t kMostPicturesHeld = 64;
constexpr size_t kBytesHeldAnyway = 128 << 20;

size_t mostHeld(size_t width, size_t height) {
    const size_t needed = picturesOfACapture(static_cast<int64_t>(width), static_cast<int64_t>(height),
                                             kHeldByGrid + kHeldByPreview);
    return std::max(needed, std::min(kMostPicturesHeld, kBytesHeldAnyway / (2 * width * height)));
}

} // namespace

struct CameraPicturePool::Memory {
    using Buffer = std::shared_ptr<CVPixelBuffer>;

    /// One that isn't used, of that shape; null if too many are.
    Buffer take(uint32_t pixelFormat, size_t width, size_t height) EXCLUDES(mutex) {
        std::vector<Buffer> outdated; // goes after the lock
        MutexLock lock(mutex);
        const bool isSame = !spare.empty() && spare.back()->pixelFormat() == pixelFormat &&
                            spare.back()->width() == width && spare.back()->height() == height;
        if (!isSame) std::swap(spare, outdated);
        if (held >= mostHeld(width, height)) return nullptr;
        ++held;
        if (spare.empty()) return CVPixelBuffer::make(pixelFormat, width, height);
        Buffer one = std::move(spare.back());
        spare.pop_back();
        return one;
    }
    void putBack(Buffer one) EXCLUDES(mutex) {
        MutexLock lock(mutex);
        --held;
        spare.push_back(std::move(one));
    }

    Mutex mutex;
    std::vector<Buffer> spare GUARDED_BY(mutex);
    size_t held GUARDED_BY(mutex) = 0;
};

CameraPicturePool::CameraPicturePool()
    : memory(std::make_shared<Memory>()) {}

CameraPicturePool::~CameraPicturePool() = default;

std::shared_ptr<CVPixelBuffer> CameraPicturePool::picture(uint32_t pixelFormat, size_t width, size_t height) {
    const auto buffer = memory->take(pixelFormat, width, height);
    if (!buffer) return nullptr;
    std::vector<CVPixelBuffer::Plane> planes;
    for (size_t i = 0; i < buffer->planeCount(); ++i)
        planes.push_back(buffer->plane(i));
    // Each use is a picture of its own, since a picture is known by its address.
    std::shared_ptr<void> owner(buffer.get(), [memory = memory, buffer](void*) { memory->putBack(buffer); });
    return CVPixelBuffer::make(pixelFormat, width, height, std::move(planes), std::move(owner));
}

} // namespace vintra
