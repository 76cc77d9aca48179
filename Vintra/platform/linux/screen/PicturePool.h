#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vintra {

/// The memory of a capture's pictures: as many as may be on their way at once, all of one size, used again
/// when whoever was handed one has let go of it.
///
/// Goal: copy from the screen only what changed, though every frame is a picture of its own. Method: each
/// picture knows which of its pixels are older than the screen, and the one with the fewest is taken next; so
/// a small change costs a small copy. Rejected: copying the previous picture, which moves all its bytes.
///
/// Shared by the capture, on whose thread everything is called, and by the pictures that are out: they may be
/// let go on any thread, and outlive the capture. Where the memory comes from, and how the screen gets into
/// it, is for those who derive from it.
class PicturePool : public std::enable_shared_from_this<PicturePool> {
public:
    /// One picture, four bytes a pixel. The capture's thread alone, while it isn't out.
    struct Picture {
        Picture() = default;
        virtual ~Picture() = default; ///< lets the memory go
        Picture(const Picture&) = delete;
        Picture& operator=(const Picture&) = delete;

        uint8_t* pixels = nullptr;
        PixelRegion stale;  ///< what differs from the screen, in the picture's own pixels
        bool isOut = false; ///< guarded by the pool's mutex
    };
    struct Shape {
        int width = 0;
        int height = 0;
        size_t limit = 8;
    };

    virtual ~PicturePool() = default;
    PicturePool(const PicturePool&) = delete;
    PicturePool& operator=(const PicturePool&) = delete;

    /// No memory could be had for even one picture.
    bool isEmpty() const { return pictures.empty(); }
    /// Every picture is out of date there.
    void markStale(const PixelRect& changed);
    void markAllStale() { markStale({0, 0, shape.width, shape.height}); }
    CVPixelBuffer::Plane plane(const Picture& picture) const;
    /// Hands the picture out. It comes back when the buffer goes.
    std::shared_ptr<CVPixelBuffer> handOut(Picture& picture);

protected:
    /// `onFree` is set when a picture comes back after `acquire` found none.
    PicturePool(Shape shape, std::shared_ptr<WakeUp> onFree);

    /// The free picture that needs the least copying, or null if as many as allowed, or as memory holds, are
    /// out. `makeMemory` gives a picture with its pixels, or null.
    Picture* acquire(const std::function<std::unique_ptr<Picture>()>& makeMemory);
    size_t bytesPerRow() const { return static_cast<size_t>(shape.width) * 4; }
    size_t byteCount() const { return bytesPerRow() * static_cast<size_t>(shape.height); }
    /// Memory of the process for one picture, for `std::free`; null if there is none.
    uint8_t* allocate() const;

    const Shape shape;
    std::vector<std::unique_ptr<Picture>> pictures; ///< the capture's thread alone

private:
    Picture* freshestFree(bool waitsOtherwise);
    void takeBack(Picture& picture);

    const std::shared_ptr<WakeUp> onFree;
    Mutex mutex; ///< guards `Picture::isOut` too
    bool isWaitedFor GUARDED_BY(mutex) = false;
};

} // namespace vintra
