#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"
#include "Vintra/platform/linux/x11/X11Display.h"
#include "Vintra/platform/linux/x11/X11PixelFormat.h"

#include <memory>
#include <optional>
#include <variant>

namespace vintra {

/// Where the pixels of a capture lie.
struct X11PicturePlace {
    Drawable drawable = 0; ///< to read from
    int x = 0;             ///< of the picture's corner on `drawable`
    int y = 0;
    X11PixelFormat format;
    PixelRect watched; ///< the picture on the drawable whose damage is watched
    PixelRect onRoot;  ///< the picture on the root window
};

/// The pixels that a capture takes: which part of which drawable, followed through changes of the desktop.
/// Their sizes are even. Owned by a capture, on its thread.
class X11PictureSource {
public:
    virtual ~X11PictureSource() = default;

    /// The drawable whose damage tells of changes; the same all the time.
    virtual Drawable watched() const = 0;
    virtual const X11PicturePlace& place() const = 0;
    /// False while there is nothing to read; an event tells when there is.
    virtual bool isShown() const = 0;
    /// Does the picture show what the pointer is over, if it is over that child of the root window?
    virtual bool isPointedAt(::Window childOfRoot) const = 0;

    /// Notes what an event says of the desktop; ignores other events.
    virtual void handle(XEvent& event) = 0;
    virtual bool isOutOfDate() const = 0;
    enum class Update {
        moved,   ///< at most in its place on the root window
        renewed, ///< the pixels are others, and may be more or fewer
    };
    /// Reads the desktop again. With an error there is nothing to take, and it stays out of date.
    virtual std::variant<Update, SystemError> update(X11Display& display) = 0;
    /// Whether what was there at the start may come back after an error of `update`.
    virtual bool mayReturn() const = 0;
};

/// A display, or one window by itself.
using X11PictureSubject = std::variant<SCDisplay, SCWindow>;

/// `sourceRect` is of a display alone. Throws `SystemError` if the subject isn't there or can't be read.
std::unique_ptr<X11PictureSource> makePictureSource(X11Display& display, const X11PictureSubject& subject,
                                                    std::optional<CGRect> sourceRect);

} // namespace vintra
