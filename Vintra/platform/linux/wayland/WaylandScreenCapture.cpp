#include "Vintra/platform/linux/wayland/WaylandScreenCapture.h"

#include "Vintra/platform/linux/screen/LinuxScreenStream.h"
#include "Vintra/platform/linux/wayland/WaylandCapture.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"
#include "Vintra/platform/linux/wayland/WaylandWindowQuestion.h"

#include <functional>
#include <optional>
#include <utility>

namespace vintra {

WaylandScreenCapture::WaylandScreenCapture(WaylandDesktop desktop,
                                           std::shared_ptr<WaylandWindowQuestion> windowQuestion)
    : desktop(std::move(desktop))
    , windowQuestion(std::move(windowQuestion)) {}

void WaylandScreenCapture::getShareableContent(bool, bool, std::function<void(Content)> completion) {
    Content result;
    try {
        for (const WaylandOutput& output : readWaylandOutputs(desktop.displayName)) {
            result.content.displays.push_back({output.displayID, output.frame.width, output.frame.height,
                                               output.pixelWidth, output.pixelHeight});
        }
    } catch (const SystemError& error) {
        result = {{}, error};
    }
    completion(std::move(result));
}

std::shared_ptr<SCStream> WaylandScreenCapture::makeStream(const SCContentFilter& filter,
                                                           const SCStreamConfiguration& configuration,
                                                           std::weak_ptr<SCStreamDelegate> delegate) {
    if (configuration.pixelFormat != kCVPixelFormatType_32BGRA) {
        throw SystemError("wayland", 8, "The screen can be recorded in the pixel format BGRA alone.");
    }
    std::optional<SCDisplay> captured;
    if (const auto* const display = std::get_if<SCContentFilter::Display>(&filter.content)) {
        if (!display->excludingApplications.empty()) {
            throw SystemError("wayland", 10,
                              "A program's windows can't be left out of a recording "
                              "on this desktop. Move them off what is recorded.");
        }
        captured = display->display;
    } else if (std::get<SCContentFilter::DesktopIndependentWindow>(filter.content).window.windowID != 0) {
        throw SystemError(
            "wayland", 9,
            "On a Wayland desktop no program can name a window to record: only the desktop's own "
            "question lets one be chosen. Record the display, or a region of it.");
    }
    const auto sharing = captured || !windowQuestion ? nullptr : windowQuestion->takeSharing();
    const auto makeCapture = [settings = WaylandCapture::Settings{desktop, captured, sharing, configuration}](
                                 ScreenCaptureThread::Outlets outlets) {
        return std::make_shared<WaylandCapture>(settings, std::move(outlets));
    };
    return std::make_shared<LinuxScreenStream>(makeCapture, std::move(delegate));
}

} // namespace vintra
