#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <functional>
#include <memory>

namespace vintra {

class WaylandWindowQuestion;

/// What can be captured of a Wayland desktop, through its ScreenCast portal: a display, whole or a part.
///
/// The desktop itself asks the user what to share, once for each display unless the user takes it back; a
/// program can neither see the windows nor name one. So the list of windows is empty, and a window by number
/// is refused. A window numbered 0 stands for the one that the user chooses in the desktop's question, where
/// the desktop's portal can share windows: its stream goes on with what `WaylandWindowQuestion` was granted, or asks. Nor can a window be left out of a display, so no application is
/// listed that could be, and a filter that names one is refused.
///
/// The first frame comes when the desktop sends it. The portal for wlroots' compositors (0.7) compares with
/// the last frame of the capture before, and so sends none until something changes.
///
/// The alpha bytes of the pictures mean nothing. A picture has the size that its display, or the part of it,
/// has on the screen, whatever size the configuration gives: who writes it scales.
///
/// Main thread; completions are called at once.
class WaylandScreenCapture : public ScreenCapture {
public:
    explicit WaylandScreenCapture(WaylandDesktop desktop = {},
                                  std::shared_ptr<WaylandWindowQuestion> windowQuestion = nullptr);

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                             std::function<void(Content)> completion) override;
    std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                         const SCStreamConfiguration& configuration,
                                         std::weak_ptr<SCStreamDelegate> delegate) override;

private:
    const WaylandDesktop desktop;
    const std::shared_ptr<WaylandWindowQuestion> windowQuestion;
};

} // namespace vintra
