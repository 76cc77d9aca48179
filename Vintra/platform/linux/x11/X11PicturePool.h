#pragma once

#include "Vintra/platform/linux/screen/PicturePool.h"
#include "Vintra/platform/linux/x11/X11Display.h"
#include "Vintra/platform/linux/x11/X11PixelFormat.h"

#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>

#include <memory>

namespace vintra {

/// Pictures that the X server writes into, in memory that it shares where it can. They outlive the server. Pixels of
/// another format than the pictures' own are read into memory beside them and converted from there.
class X11PicturePool : public PicturePool {
public:
    /// `format`: of the drawables that are read.
    X11PicturePool(Shape shape, const X11PixelFormat& format, std::shared_ptr<WakeUp> onFree);

    Picture* acquire(X11Display& display);
    /// Reads the picture's stale parts from a drawable, of which it shows the part from `x`, `y` on. False if
    /// the server refused or has gone.
    bool refresh(X11Display& display, Drawable drawable, int x, int y, Picture& picture);
    /// Takes the pictures' memory from the server. No `acquire` after this.
    void detach(X11Display& display);

private:
    struct SharedPicture : Picture {
        ~SharedPicture() override;
        XShmSegmentInfo segment{}; ///< shmaddr is the pixels
        bool isShared = false;     ///< the server has the segment too
    };

    /// All of this pool's are of this kind.
    static SharedPicture& shared(Picture& picture) { return static_cast<SharedPicture&>(picture); }
    std::unique_ptr<Picture> makePicture(X11Display& display) const;
    bool shareWithServer(X11Display& display, SharedPicture& picture) const;
    bool readShared(X11Display& display, Drawable drawable, int x, int y, SharedPicture& picture) const;
    bool readOverConnection(X11Display& display, Drawable drawable, int x, int y, Picture& picture) const;

    bool readConverted(X11Display& display, Drawable drawable, int x, int y, Picture& picture);
    bool convert(X11Display& display, Drawable drawable, int x, int y, const PixelRect& rect,
                 Picture& picture);

    const X11PixelFormat format;
    std::unique_ptr<SharedPicture>
        transfer; ///< where pixels are read to that are converted; null before the first
};

} // namespace vintra
