#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/linux/PixelRegion.h"
#include "Vintra/platform/linux/WakeUp.h"
#include "Vintra/platform/linux/X11Display.h"

#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>

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
/// Shared by the capture, on whose thread everything is called, and by the pictures that are out: they may
/// be let go on any thread, and outlive the capture and the server.
class X11PicturePool : public std::enable_shared_from_this<X11PicturePool> {
public:
    /// One picture's memory. The capture's thread alone, while it isn't out.
    struct Picture {
        XShmSegmentInfo segment{}; ///< shmaddr is the pixels
        bool isShared = false;     ///< the server has the segment too
        PixelRegion stale;         ///< what differs from the screen, in the picture's own pixels
        bool isOut = false;        ///< guarded by the pool's mutex
    };

    struct Shape {
        int width = 0;
        int height = 0;
        int depth = 24; ///< of the root window
        size_t limit = 8;
    };
    /// `onFree` is set when a picture comes back after `acquire` found none.
    static std::shared_ptr<X11PicturePool> make(Shape shape, std::shared_ptr<WakeUp> onFree);
    ~X11PicturePool();

    /// The free picture that needs the least copying, or null if as many as allowed, or as memory holds, are
    /// out.
    Picture* acquire(X11Display& display);
    /// No memory could be had for even one picture.
    bool isEmpty() const { return pictures.empty(); }
    /// Every picture is out of date there.
    void markStale(const PixelRect& changed);
    /// Reads the picture's stale parts from a drawable, of which it shows the part from `x`, `y` on. False if
    /// the server refused or has gone.
    bool refresh(X11Display& display, Drawable drawable, int x, int y, Picture& picture);
    CVPixelBuffer::Plane plane(const Picture& picture) const;
    /// Hands the picture out. It comes back when the buffer goes.
    std::shared_ptr<CVPixelBuffer> handOut(Picture& picture);
    /// Takes the pictures' memory from the server. No `acquire` after this.
    void detach(X11Display& display);

private:
    X11PicturePool(Shape shape, std::shared_ptr<WakeUp> onFree);
    Picture* freshestFree(bool waitsOtherwise);
    std::unique_ptr<Picture> makePicture(X11Display& display) const;
    bool shareWithServer(X11Display& display, Picture& picture) const;
    bool readShared(X11Display& display, Drawable drawable, int x, int y, Picture& picture) const;
    bool readOverConnection(X11Display& display, Drawable drawable, int x, int y, Picture& picture) const;
    void takeBack(Picture& picture);
    size_t bytesPerRow() const { return static_cast<size_t>(shape.width) * 4; }

    const Shape shape;
    const std::shared_ptr<WakeUp> onFree;
    std::vector<std::unique_ptr<Picture>> pictures; ///< the capture's thread alone
    Mutex mutex;                                    ///< guards `Picture::isOut` too
    bool isWaitedFor GUARDED_BY(mutex) = false;
};

} // namespace vintra
