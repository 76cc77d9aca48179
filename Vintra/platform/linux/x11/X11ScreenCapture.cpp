#include "Vintra/platform/linux/x11/X11ScreenCapture.h"

#include "Vintra/platform/linux/screen/LinuxScreenStream.h"
#include "Vintra/platform/linux/x11/X11Capture.h"
#include "Vintra/platform/linux/x11/X11Monitors.h"
#include "Vintra/platform/linux/x11/X11Patience.h"
#include "Vintra/platform/linux/x11/X11Windows.h"

#include <functional>
#include <optional>
#include <utility>

namespace vintra {

X11ScreenCapture::X11ScreenCapture(std::string displayName)
    : displayName(std::move(displayName)) {}

ScreenCapture::Content X11ScreenCapture::read(
    const std::function<void(X11Display&, double scale, SCShareableContent&)>& readMore) const {
    Content result;
    try {
        // In this order: closing the connection asks the server too.
        std::optional<X11Patience> patience;
        const auto display = X11Display::open(displayName);
        patience.emplace(*display, X11Display::kPatience);
        const double scale = readScale(*display);
        for (const X11Monitor& monitor : readMonitors(*display)) {
            result.content.displays.push_back({monitor.displayID,
                                               wholePointsCovering(monitor.frame.width, scale),
                                               wholePointsCovering(monitor.frame.height, scale),
                                               monitor.frame.width, monitor.frame.height});
        }
        if (readMore) readMore(*display, scale, result.content);
        if (display->isDead()) throw patience->isOver() ? X11Display::noAnswer() : X11Display::serverGone();
    } catch (const SystemError& error) {
        result = {{}, error};
    }
    return result;
}

void X11ScreenCapture::getShareableDisplays(std::function<void(Content)> completion) {
    completion(read({}));
}

void X11ScreenCapture::getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                           std::function<void(Content)> completion) {
    completion(read([&](X11Display& display, double scale, SCShareableContent& content) {
        for (const X11Window& window : readWindows(display)) {
            if (window.kind == X11Window::Kind::passing) continue;
            const bool isOfDesktop = window.kind != X11Window::Kind::ordinary;
            if ((excludingDesktopWindows && isOfDesktop) || (onScreenWindowsOnly && !window.isOnScreen))
                continue;
            content.windows.push_back(
                {static_cast<uint32_t>(window.id), pointsOf(window.frame, scale), window.title});
        }
    }));
}

std::shared_ptr<SCStream> X11ScreenCapture::makeStream(const SCContentFilter& filter,
                                                       const SCStreamConfiguration& configuration,
                                                       std::weak_ptr<SCStreamDelegate> delegate) {
    if (configuration.pixelFormat != kCVPixelFormatType_32BGRA) {
        throw SystemError("x11", 11, "The screen can be recorded in the pixel format BGRA alone.");
    }
    X11PictureSubject subject;
    if (const auto* window = std::get_if<SCContentFilter::DesktopIndependentWindow>(&filter.content)) {
        subject = window->window;
    } else {
        const auto& whole = std::get<SCContentFilter::Display>(filter.content);
        if (!whole.excludingApplications.empty()) {
            throw SystemError(
                "x11", 17,
                "A program's windows can't be left out of a recording on this desktop. Move them "
                "off what is recorded, or record one window by itself.");
        }
        subject = whole.display;
    }
    const auto makeCapture = [settings = X11Capture::Settings{displayName, subject, configuration}](
                                 ScreenCaptureThread::Outlets outlets) {
        return std::make_shared<X11Capture>(settings, std::move(outlets));
    };
    return std::make_shared<LinuxScreenStream>(makeCapture, std::move(delegate));
}

} // namespace vintra
