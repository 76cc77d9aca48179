#include "Vintra/platform/linux/X11ScreenCapture.h"

#include "Vintra/platform/linux/X11Monitors.h"
#include "Vintra/platform/linux/X11ScreenStream.h"
#include "Vintra/platform/linux/X11WindowList.h"

namespace vintra {

X11ScreenCapture::X11ScreenCapture(std::string aDisplayName)
    : displayName(std::move(aDisplayName)) {}

void X11ScreenCapture::getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                           std::function<void(Content)> completion) {
    Content result;
    try {
        const auto display = X11Display::open(displayName);
        const double scale = readScale(*display);
        for (const X11Monitor& monitor : readMonitors(*display)) {
            result.content.displays.push_back({monitor.displayID,
                                               pointsFromPixels(monitor.frame.width, scale),
                                               pointsFromPixels(monitor.frame.height, scale)});
        }
        const X11WindowList list = readWindowList(
            *display, scale,
            {.excludesDesktopWindows = excludingDesktopWindows, .onScreenOnly = onScreenWindowsOnly});
        result.content.windows = list.windows;
        result.content.applications = list.applications;
        if (display->isDead()) throw X11Display::serverGone();
    } catch (const SystemError& error) {
        result = {{}, error};
    }
    completion(std::move(result));
}

std::shared_ptr<SCStream> X11ScreenCapture::makeStream(const SCContentFilter& filter,
                                                       const SCStreamConfiguration& configuration,
                                                       std::weak_ptr<SCStreamDelegate> delegate) {
    if (configuration.pixelFormat != kCVPixelFormatType_32BGRA) {
        throw SystemError("x11", 11, "The screen can be recorded in the pixel format BGRA alone.");
    }
    const auto* const display = std::get_if<SCContentFilter::Display>(&filter.content);
    if (!display) {
        throw SystemError(
            "x11", 12,
            "A single window can't be recorded on this desktop. Record the display, or a region "
            "of it.");
    }
    return std::make_shared<X11ScreenStream>(displayName, display->display, configuration,
                                             std::move(delegate));
}

} // namespace vintra
