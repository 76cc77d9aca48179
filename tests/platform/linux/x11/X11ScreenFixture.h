#pragma once

#include "Vintra/platform/linux/x11/X11ScreenCapture.h"
#include "tests/platform/linux/x11/X11Painter.h"
#include "tests/platform/linux/x11/XvfbServer.h"
#include "tests/support/ScreenStreamFixture.h"

#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// An X11 desktop of its own.
class X11ScreenFixture : public ScreenStreamFixture {
protected:
    explicit X11ScreenFixture(const std::string& screen = "640x480x24",
                              std::vector<std::string> options = {});

    ScreenCapture::Content content() { return contentOf(capture); }
    std::shared_ptr<LinuxScreenStream> makeStream(const SCContentFilter& filter) {
        return ScreenStreamFixture::makeStream(capture, filter);
    }
    std::shared_ptr<LinuxScreenStream> makeStream(const SCDisplay& display) {
        return makeStream({SCContentFilter::Display{display, {}, {}}});
    }
    /// A running stream after its first frame.
    std::shared_ptr<LinuxScreenStream> run(const SCContentFilter& filter);
    std::shared_ptr<LinuxScreenStream> run(const SCDisplay& display) {
        return run({SCContentFilter::Display{display, {}, {}}});
    }
    std::shared_ptr<LinuxScreenStream> run() { return run(content().content.displays.at(0)); }
    /// What another program sees of the root window, or of the window with that id: ImageMagick's import.
    ScreenPicture screenshot(const std::string& window = "root") const;

    XvfbServer server;
    X11Painter painter;
    X11ScreenCapture capture;
};

} // namespace vintra
