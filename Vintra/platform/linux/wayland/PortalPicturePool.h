#pragma once

#include "Vintra/platform/linux/screen/PicturePool.h"
#include "Vintra/platform/linux/wayland/PortalFrame.h"

#include <memory>

namespace vintra {

/// Pictures that are copied out of the desktop's buffers. Handing those on would leave the desktop without
/// one whenever the encoder is slow: there are only a few.
class PortalPicturePool : public PicturePool {
public:
    PortalPicturePool(Shape shape, std::shared_ptr<WakeUp> onFree);

    Picture* acquire();
    /// Copies the picture's stale parts from a frame, of which it shows the part from `x`, `y` of the buffer
    /// on. The frame holds all of that part. Why it couldn't, if so.
    std::optional<SystemError> refresh(Picture& picture, const PortalFrame& frame, int x, int y) const;
    /// Whether a picture that is up to date shows just what the frame has from `x`, `y` on. False too if there is none,
    /// or if the frame's pixels lie otherwise or are to be read only once.
    bool hasPictureOf(const PortalFrame& frame, int x, int y) const;
};

} // namespace vintra
