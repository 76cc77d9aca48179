#pragma once

#include "Vintra/platform/ScreenCapture.h"

#include <string>

namespace vintra {

/// What can be captured of an X desktop: the displays that RandR tells, whole or a part, and single windows.
/// The windows of excluded applications are recorded where they show, since the server hands out
/// a display only as a whole. Main thread; completions are called at once.
class X11ScreenCapture : public ScreenCapture {
public:
    /// An empty name stands for the DISPLAY of the environment.
    explicit X11ScreenCapture(std::string displayName = {});

    void getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                             std::function<void(Content)> completion) override;
    std::shared_ptr<SCStream> makeStream(const SCContentFilter& filter,
                                         const SCStreamConfiguration& configuration,
                                         std::weak_ptr<SCStreamDelegate> delegate) override;

private:
    std::string displayName;
};

} // namespace vintra
