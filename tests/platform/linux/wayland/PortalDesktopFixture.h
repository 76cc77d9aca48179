#pragma once

#include "tests/platform/linux/wayland/PortalDesktop.h"
#include "tests/support/ScreenStreamFixture.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/linux/wayland/WaylandScreenCapture.h"
#include "tools/painted-window/WaylandWindow.h"

#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// GNOME's or KDE's desktop with a window over its first display, on which every pixel is known.
class PortalDesktopFixture : public ScreenStreamFixture {
protected:
    void SetUp() override;

    SCDisplay display(const std::string& name);
    /// Granted, and running.
    std::shared_ptr<LinuxScreenStream> run(const std::string& name = PortalDesktop::display());
    /// The window's picture as it is.
    void showAgain();
    /// Another colour in every pixel, all over the window; different from the picture of another number.
    void paintPicture(WaylandWindow& onto, int number = 0);
    static ScreenPicture picture(int width, int height, int number = 0);
    /// Turns the first display, and waits until the window has its size, in points.
    bool turn(int degrees, int scale = 1);
    std::string tokensFile() const { return desktop.restoreTokensFile; }
    bool shows(const ScreenPicture& expected);

    TemporaryFolder folder;
    WaylandDesktop desktop{
        .displayName = {}, .busAddress = {}, .restoreTokensFile = folder.file("tokens").path()};
    std::unique_ptr<WaylandWindow> window;
};

} // namespace vintra
