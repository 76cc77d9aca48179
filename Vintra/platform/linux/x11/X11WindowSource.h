#pragma once

#include "Vintra/platform/linux/x11/X11PictureSource.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// The pixels of one window by itself, also where other windows cover it, without a shadow that its program draws.
///
/// Method: the server keeps the window in a pixmap of its own and still shows it as before (an automatic
/// redirection of the extension Composite, which ends with the connection). The pixmap is another one each
/// time the window is mapped or changes its size; until then it is read as it was. While the window isn't
/// mapped, as when it is minimised, there is nothing to read.
class X11WindowSource : public X11PictureSource {
public:
    /// Throws `SystemError` if the server lacks Composite, or the window isn't there, isn't shown, or its
    /// pixels aren't red, green and blue.
    X11WindowSource(X11Display& display, uint32_t windowID);

    Drawable watched() const override { return window; }
    const X11PicturePlace& place() const override { return place_; }
    bool isShown() const override { return isShown_; }
    /// Not while another program's window is between the pointer and this one.
    bool isPointedAt(::Window childOfRoot) const override;
    void handle(XEvent& event) override;
    bool isOutOfDate() const override { return outOfDate; }
    std::variant<Update, SystemError> update(X11Display& display) override;
    bool mayReturn() const override { return false; }

private:
    bool isInChain(::Window candidate) const;
    void watchChain(X11Display& display);
    bool namePixmap(X11Display& display, int border);

    const ::Window window;
    const Atom shadowProperty;
    std::vector<::Window> ancestors; ///< the parent first, without the root window
    X11PicturePlace place_;
    int pixmapWidth = 0; ///< with the border
    int pixmapHeight = 0;
    bool isShown_ = false;
    bool isPixmapOld = true;
    bool isChainOld = true;
    bool isClosed = false;
    bool outOfDate = true;
};

} // namespace vintra
