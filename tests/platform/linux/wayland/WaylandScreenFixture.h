#pragma once

#include "tests/platform/linux/wayland/WaylandSession.h"
#include "tests/support/ScreenStreamFixture.h"
#include "tests/support/TemporaryFolder.h"

#include "Vintra/platform/linux/wayland/WaylandScreenCapture.h"
#include "tools/painted-window/WaylandWindow.h"

#include <memory>

namespace vintra {

/// The session's first display at 640 × 480 with a black window over it.
class WaylandScreenFixture : public ScreenStreamFixture {
protected:
    static constexpr const char* kDisplay = "HEADLESS-1";

    void SetUp() override;
    void TearDown() override;

    ScreenCapture::Content content();
    SCDisplay display();
    std::shared_ptr<LinuxScreenStream> makeStream();
    /// A running stream after its first frame.
    std::shared_ptr<LinuxScreenStream> run();
    /// Until 200 ms bring no frame: sway may still be painting what a window before left behind.
    bool waitForRest();
    /// The same picture again and again for a second: this portal may tell a second capture nothing of a
    /// screen that is as it was before.
    void keepShowing();
    void paint(WaylandWindow::Box box, uint32_t colour) {
        window->fill(box, colour);
        window->show();
    }

    TemporaryFolder folder;
    WaylandDesktop desktop{
        .displayName = {}, .busAddress = {}, .restoreTokensFile = folder.file("tokens").path()};
    std::unique_ptr<WaylandWindow> window;
};

} // namespace vintra
