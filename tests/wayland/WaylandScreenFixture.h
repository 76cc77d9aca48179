#pragma once

#include "../linux/ScreenPicture.h"
#include "../linux/TemporaryFolder.h"
#include "../platform/ScreenStreamConformance.h"
#include "WaylandSession.h"

#include "Vintra/platform/linux/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/LinuxHostClock.h"
#include "Vintra/platform/linux/LinuxScreenStream.h"
#include "Vintra/platform/linux/WaylandScreenCapture.h"
#include "tools/painted-window/WaylandWindow.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// The session's first display at 640 × 480 with a black window over it, streams of it at 30 frames a second,
/// and what they delivered.
class WaylandScreenFixture : public ::testing::Test {
protected:
    static constexpr const char* kDisplay = "HEADLESS-1";

    void SetUp() override;
    void TearDown() override;

    ScreenCapture::Content content();
    SCDisplay display();
    std::shared_ptr<LinuxScreenStream> makeStream();
    /// A running stream after its first frame.
    std::shared_ptr<LinuxScreenStream> run();
    std::optional<SystemError> start(LinuxScreenStream& stream);
    void stop(LinuxScreenStream& stream);

    bool waitUntil(const std::function<bool()>& condition);
    bool waitForFrames(size_t count) {
        return waitUntil([this, count] { return collector->samples().size() >= count; });
    }
    /// Until 200 ms bring no frame: sway may still be painting what a window before left behind.
    bool waitForRest();
    /// Until the newest picture is this one.
    bool waitForPicture(const ScreenPicture& expected);
    bool waitForColour(int x, int y, uint32_t colour);
    std::optional<ScreenPicture> newestPicture() const;
    void paint(WaylandWindow::Box box, uint32_t colour) {
        window->fill(box, colour);
        window->show();
    }

    TemporaryFolder folder;
    WaylandDesktop desktop{
        .displayName = {}, .busAddress = {}, .restoreTokensFile = folder.file("tokens").path()};
    std::unique_ptr<WaylandWindow> window;
    SCStreamConfiguration configuration;
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> queue = queues.makeSerialQueue("samples");
    std::shared_ptr<ScreenSampleCollector> collector = std::make_shared<ScreenSampleCollector>();
    std::shared_ptr<ScreenStopListener> listener = std::make_shared<ScreenStopListener>();
};

} // namespace vintra
