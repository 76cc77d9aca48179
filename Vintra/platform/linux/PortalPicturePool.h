#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/PixelRegion.h"
#include "Vintra/platform/linux/PortalFrame.h"
#include "Vintra/platform/linux/WakeUp.h"

#include <cstdlib>
#include <memory>
#include <vector>

namespace vintra {

/// The memory of a capture's pictures: as many as may be on their way at once, all of one size, used again
/// when whoever was handed one has let go of it.
///
/// Goal: copy out of the desktop's buffers only what changed, and never keep one of the few there are.
/// Method: each picture knows which of its pixels are older than the screen, and the one with the fewest is
/// taken next; so a small change costs a small copy. Rejected: handing the desktop's buffers on, which would
/// leave the desktop without one whenever the encoder is slow.
///
/// Shared by the capture, on whose thread everything is called, and by the pictures that are out: they may be
/// let go on any thread, and outlive the capture.
class PortalPicturePool : public std::enable_shared_from_this<PortalPicturePool> {
public:
    struct Free {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };
    /// One picture's memory. The capture's thread alone, while it isn't out.
    struct Picture {
        std::unique_ptr<uint8_t, Free> pixels;
        PixelRegion stale;  ///< what differs from the screen, in the picture's own pixels
        bool isOut = false; ///< guarded by the pool's mutex
    };

    struct Shape {
        int width = 0;
        int height = 0;
        size_t limit = 8;
    };
    /// `onFree` is set when a picture comes back after `acquire` found none.
    static std::shared_ptr<PortalPicturePool> make(Shape shape, std::shared_ptr<WakeUp> onFree);

    /// The free picture that needs the least copying, or null if as many as allowed, or as memory holds, are
    /// out.
    Picture* acquire();
    /// No memory could be had for even one picture.
    bool isEmpty() const { return pictures.empty(); }
    /// Every picture is out of date there.
    void markStale(const PixelRect& changed);
    void markAllStale() { markStale({0, 0, shape.width, shape.height}); }
    /// Copies the picture's stale parts from a frame, of which it shows the part from `x`, `y` of the buffer
    /// on. The frame holds all of that part.
    void refresh(Picture& picture, const PortalFrame& frame, int x, int y) const;
    /// Hands the picture out. It comes back when the buffer goes.
    std::shared_ptr<CVPixelBuffer> handOut(Picture& picture);

private:
    PortalPicturePool(Shape shape, std::shared_ptr<WakeUp> onFree);
    Picture* freshestFree(bool waitsOtherwise);
    std::unique_ptr<Picture> makePicture() const;
    void takeBack(Picture& picture);
    size_t bytesPerRow() const { return static_cast<size_t>(shape.width) * 4; }

    const Shape shape;
    const std::shared_ptr<WakeUp> onFree;
    std::vector<std::unique_ptr<Picture>> pictures; ///< the capture's thread alone
    Mutex mutex;                                    ///< guards `Picture::isOut` too
    bool isWaitedFor GUARDED_BY(mutex) = false;
};

} // namespace vintra
