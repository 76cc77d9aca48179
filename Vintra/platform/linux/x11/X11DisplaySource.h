#pragma once

#include "Vintra/platform/linux/x11/X11PictureSource.h"

#include <optional>

namespace vintra {

/// The pixels of a display, or of a part of it, on the root window.
class X11DisplaySource : public X11PictureSource {
public:
    /// Throws `SystemError` if there is no such display or its pixels aren't red, green and blue.
    X11DisplaySource(X11Display& display, const SCDisplay& captured, std::optional<CGRect> sourceRect);

    Drawable watched() const override { return root; }
    const X11PicturePlace& place() const override { return place_; }
    bool isShown() const override { return true; }
    bool isPointedAt(::Window) const override { return true; }
    void handle(XEvent& event) override;
    bool isOutOfDate() const override { return outOfDate; }
    std::variant<Update, SystemError> update(X11Display& display) override;
    /// It is off for a moment while it changes its mode, and for longer when it is switched off or unplugged.
    bool mayReturn() const override { return true; }

private:
    const uint32_t displayID;
    const std::optional<CGRect> sourceRect;
    const double scale; ///< at the start: what the points of `sourceRect` are
    ::Window root;
    int randrEvents = -1; ///< number of RandR's first event; -1 if the server hasn't RandR
    X11PicturePlace place_;
    bool outOfDate = true;
};

} // namespace vintra
