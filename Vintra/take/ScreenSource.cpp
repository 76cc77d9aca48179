#include "Vintra/take/ScreenSource.h"

#include "Vintra/platform/Log.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/take/RecordingError.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace vintra {
namespace {

constexpr int kQueueDepth = 8; // frames

/// Where the scale isn't a whole number, whole points say less than the machine does.
CMVideoDimensions pixelsOf(const SCDisplay& display, double scale) {
    if (display.pixelWidth > 0 && display.pixelHeight > 0) return {display.pixelWidth, display.pixelHeight};
    return {static_cast<int>(scale * display.width), static_cast<int>(scale * display.height)};
}

int evenSide(double pixels) {
    return std::max(2, static_cast<int>(std::floor(pixels)) & ~1);
}

} // namespace

ScreenSource::ScreenSource(const Surroundings& surroundings)
    : platform(surroundings.platform)
    , selection(surroundings.selection)
    , area(surroundings.area)
    , overlays(surroundings.overlays)
    , tasks(*platform.mainThread) {}

Task<SCShareableContent> ScreenSource::shareableContent(Reads reads) {
    const auto begin = [capture = platform.screenCapture, reads](auto done) {
        if (reads == Reads::windowsToo)
            capture->getShareableContent(false, true, done);
        else
            capture->getShareableDisplays(done);
    };
    auto answer = co_await awaitCompletion<ScreenCapture::Content>(*platform.mainThread, begin);
    if (answer.error) throw *answer.error;
    co_return std::move(answer.content);
}

Task<ScreenSource::Setup> ScreenSource::setUp() {
    const Reads reads = needsWindows() ? Reads::windowsToo : Reads::displays;
    SCShareableContent content = co_await shareableContent(reads);
    if (content.displays.empty()) throw RecordingError::noDisplay();
    const SCDisplay display = chosenDisplay(content);
    const auto screen = area.screenWithNumber(display.displayID);
    std::optional<SCWindow> highlight;
    if (*selection.showMouseClicks && selection.effectiveCaptureMode() != CaptureModeChoice::window && screen)
        highlight = co_await placeClickHighlight(*screen);
    const bool isAsked = *selection.screenCaptureMode == CaptureModeChoice::window &&
                         *selection.windowOffer != WindowQuestion::Offer::needless;
    std::optional<SCWindow> window;
    if (isAsked) {
        window = co_await area.sharedWindow();
    } else {
        // It may have been chosen while the displays were read.
        if (reads == Reads::displays && needsWindows())
            content = co_await shareableContent(Reads::windowsToo);
        window = chosenWindow(content);
    }
    Setup setup;
    if (window) {
        setup.filter.content = SCContentFilter::DesktopIndependentWindow{*window};
        setup.windowSize = window->frame.size;
    } else {
        setup.filter.content = wholeDisplay(content, display, highlight);
    }
    setup.configuration = makeStreamConfiguration(display, window);
    co_return setup;
}

bool ScreenSource::needsWindows() const {
    return *selection.screenCaptureMode == CaptureModeChoice::window ||
           selection.effectiveCaptureMode() == CaptureModeChoice::window;
}

SCDisplay ScreenSource::chosenDisplay(const SCShareableContent& content) const {
    const auto chosen = selection.effectiveDisplay();
    if (!chosen) return content.displays.front();
    const auto found = std::ranges::find(content.displays, chosen->id, &SCDisplay::displayID);
    return found == content.displays.end() ? content.displays.front() : *found;
}

/// A window that has gone never falls back to the display when window mode is chosen.
std::optional<SCWindow> ScreenSource::chosenWindow(const SCShareableContent& content) const {
    std::optional<SCWindow> window;
    if (selection.effectiveCaptureMode() == CaptureModeChoice::window) {
        const auto found =
            std::ranges::find(content.windows, **selection.selectedWindowID, &SCWindow::windowID);
        if (found != content.windows.end()) window = *found;
    }
    if (*selection.screenCaptureMode == CaptureModeChoice::window && !window)
        throw RecordingError::windowUnavailable();
    return window;
}

/// Without the windows of this program, but for the click highlight.
SCContentFilter::Display ScreenSource::wholeDisplay(const SCShareableContent& content,
                                                    const SCDisplay& display,
                                                    const std::optional<SCWindow>& highlight) const {
    SCContentFilter::Display whole{.display = display, .excludingApplications = {}, .exceptingWindows = {}};
    const int32_t ownProcess = platform.processInfo->processIdentifier();
    std::ranges::copy_if(
        content.applications, std::back_inserter(whole.excludingApplications),
        [&](const SCRunningApplication& application) { return application.processID == ownProcess; });
    if (highlight) whole.exceptingWindows.push_back(*highlight);
    return whole;
}

/// As the capture knows its window, which is in the list only once it is on the screen.
Task<std::optional<SCWindow>> ScreenSource::placeClickHighlight(NSScreen screen) {
    const auto number = overlays.placeClickHighlight(screen);
    if (!number) co_return std::nullopt;
    const SCShareableContent content = co_await shareableContent(Reads::windowsToo);
    const auto found = std::ranges::find(content.windows, *number, &SCWindow::windowID);
    if (found == content.windows.end()) co_return std::nullopt;
    co_return *found;
}

SCStreamConfiguration ScreenSource::makeStreamConfiguration(const SCDisplay& display,
                                                            const std::optional<SCWindow>& window) const {
    const double scale = area.backingScale(display.displayID);
    const auto& region = *selection.captureRegion;
    SCStreamConfiguration configuration;
    CMVideoDimensions size;
    if (window && window->pixelWidth > 0 && window->pixelHeight > 0) {
        size = {evenSide(window->pixelWidth), evenSide(window->pixelHeight)};
    } else if (window) {
        size = {evenSide(scale * window->frame.size.width), evenSide(scale * window->frame.size.height)};
    } else if (selection.effectiveCaptureMode() == CaptureModeChoice::region && region &&
               region->displayID == display.displayID) {
        const auto pixels = region->pixelSize(scale, *selection.aspectPreset);
        size = {pixels.width, pixels.height};
        // Shrunk to just what the pixel size covers.
        configuration.sourceRect = CGRect{region->rect.origin, {pixels.width / scale, pixels.height / scale}};
    } else {
        const CMVideoDimensions whole = pixelsOf(display, scale);
        size = {evenSide(whole.width), evenSide(whole.height)};
    }
    const CMVideoDimensions capped = area.cappedSize(size.width, size.height);
    configuration.width = capped.width;
    configuration.height = capped.height;
    configuration.minimumFrameInterval = CMTimeMake(1, *selection.screenFrameRate);
    configuration.pixelFormat = kCVPixelFormatType_32BGRA;
    configuration.showsCursor = true;
    configuration.queueDepth = kQueueDepth;
    return configuration;
}

Task<> ScreenSource::refreshDisplays() {
    SCShareableContent content;
    try {
        content = co_await shareableContent(Reads::displays);
    } catch (const SystemError& error) {
        platform.log->write("screen", LogLevel::info,
                            "displays can't be read: " + error.localizedDescription());
        co_return;
    }
    std::vector<CaptureDisplay> displays;
    for (const SCDisplay& display : content.displays) {
        const auto screen = area.screenWithNumber(display.displayID);
        const CMVideoDimensions pixels = pixelsOf(display, area.backingScale(display.displayID));
        displays.push_back(
            {.id = display.displayID,
             .name = screen ? screen->localizedName : "Display " + std::to_string(display.displayID),
             .width = pixels.width,
             .height = pixels.height});
    }
    selection.availableDisplays.set(displays);
    const auto& selected = *selection.selectedDisplayID;
    const bool isListed =
        std::ranges::any_of(displays, [&](const CaptureDisplay& display) { return display.id == selected; });
    if (selected && !displays.empty() && !isListed) selection.selectedDisplayID.set(std::nullopt);
    overlays.showRegionGuideOnFirstLoad();
}

void ScreenSource::observeScreenChanges() {
    screenChanges = platform.screens->observeChanges(
        tasks.guarded([this] { tasks.post([this] { return refreshDisplays(); }); }));
}

} // namespace vintra
