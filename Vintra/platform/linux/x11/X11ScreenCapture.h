#pragma once

#include "Vintra/platform/ScreenCapture.h"

#include <functional>
#include <string>

namespace vintra {

class X11Display;

/// What can be captured of an X desktop: the displays that RandR tells, whole or a part, and single windows.
/// The server hands out a display only as a whole, with all that shows on it: so the content names no
/// application that could be left out, and a filter that excludes one is refused.
///
/// The alpha bytes of the pictures mean nothing: a window's own translucency shows as if it lay on black. A
/// picture has the size that its subject has on the screen, less an odd row or column, whatever size the
/// configuration gives: who writes it scales.
///
/// Main thread; completions are called at once.
class X11ScreenCapture : public ScreenCapture {
public:
    /// An empty name stands for the DISPLAY of the environment.
    explicit X11ScreenCapture(std::string displayName = {});

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                             std::function<void(Content)> completion) override;
    void getShareableDisplays(std::function<void(Content)> completion) override;
    std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                         const SCStreamConfiguration& configuration,
                                         std::weak_ptr<SCStreamDelegate> delegate) override;

private:
    Content read(const std::function<void(X11Display&, double scale, SCShareableContent&)>& readMore) const;

    std::string displayName;
};

} // namespace vintra
