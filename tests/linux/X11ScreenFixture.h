#pragma once

#include "../platform/ScreenStreamConformance.h"

#include "ScreenPicture.h"
#include "Vintra/platform/linux/LinuxDispatchQueues.h"
#include "Vintra/platform/linux/LinuxHostClock.h"
#include "Vintra/platform/linux/LinuxScreenStream.h"
#include "Vintra/platform/linux/X11ScreenCapture.h"
#include "X11Painter.h"
#include "XvfbServer.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// A desktop of its own with streams of its first display at 30 frames a second, and what they delivered.
class X11ScreenFixture : public ::testing::Test {
protected:
    explicit X11ScreenFixture(const std::string& screen = "640x480x24",
                              std::vector<std::string> options = {});

    ScreenCapture::Content content();
    std::shared_ptr<LinuxScreenStream> makeStream(const SCContentFilter& filter);
    std::shared_ptr<LinuxScreenStream> makeStream(const SCDisplay& display) {
        return makeStream({SCContentFilter::Display{display, {}, {}}});
    }
    /// A running stream after its first frame.
    std::shared_ptr<LinuxScreenStream> run(const SCContentFilter& filter);
    std::shared_ptr<LinuxScreenStream> run(const SCDisplay& display) {
        return run({SCContentFilter::Display{display, {}, {}}});
    }
    std::shared_ptr<LinuxScreenStream> run() { return run(content().content.displays.at(0)); }
    std::optional<SystemError> start(LinuxScreenStream& stream);
    void stop(LinuxScreenStream& stream);

    bool waitUntil(const std::function<bool()>& condition);
    bool waitForFrames(size_t count) {
        return waitUntil([this, count] { return collector->samples().size() >= count; });
    }
    /// Until the newest picture is this one.
    bool waitForPicture(const ScreenPicture& expected);
    bool waitForColour(int x, int y, uint32_t colour);
    std::optional<ScreenPicture> newestPicture() const;
    /// What another program sees of the root window, or of the window with that id: ImageMagick's import.
    ScreenPicture screenshot(const std::string& window = "root") const;

    XvfbServer server;
    X11Painter painter;
    X11ScreenCapture capture;
    SCStreamConfiguration configuration;
    LinuxDispatchQueues queues;
    LinuxHostClock clock;
    std::shared_ptr<DispatchQueue> queue = queues.makeSerialQueue("samples");
    std::shared_ptr<ScreenSampleCollector> collector = std::make_shared<ScreenSampleCollector>();
    std::shared_ptr<ScreenStopListener> listener = std::make_shared<ScreenStopListener>();
};

} // namespace vintra
