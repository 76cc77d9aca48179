// The screen's end of a take: what is asked of the capture, which frames are let through to the beat, what
// happens when the stream dies, and the list of displays.

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/MainThread.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/UserDefaults.h"
#include "Vintra/take/RecordingError.h"
#include "Vintra/take/ScreenRecorderManager.h"
#include "Vintra/video/CappedCaptureSize.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr double kScaleWithoutScreen = 2.0; // pixels a point of a display that no screen matches
constexpr int kQueueDepth = 8;              // frames

/// Where the scale isn't a whole number, whole points say less than the machine does.
CMVideoDimensions pixelsOf(const SCDisplay& display, double scale) {
    if (display.pixelWidth > 0 && display.pixelHeight > 0) return {display.pixelWidth, display.pixelHeight};
    return {static_cast<int>(scale * display.width), static_cast<int>(scale * display.height)};
}

int evenSide(double pixels) {
    return std::max(2, static_cast<int>(std::floor(pixels)) & ~1);
}

/// The status that a frame carries, if it is there and a whole number.
std::optional<int64_t> frameStatus(const CMSampleBuffer& sample) {
    const auto& attachments = sample.attachments();
    if (attachments.empty()) return std::nullopt;
    const auto entry = attachments.front().find(SCStreamFrameInfoStatus);
    if (entry == attachments.front().end()) return std::nullopt;
    const auto* const status = std::get_if<int64_t>(&entry->second);
    return status ? std::optional(*status) : std::nullopt;
}

} // namespace

Task<SCShareableContent> ScreenRecorderManager::shareableContent() {
    const auto begin = [capture = platform.screenCapture](auto done) {
        capture->getShareableContent(false, true, done);
    };
    auto answer = co_await awaitCompletion<ScreenCapture::Content>(*platform.mainThread, begin);
    if (answer.error) throw *answer.error;
    co_return std::move(answer.content);
}

std::optional<NSScreen> ScreenRecorderManager::screenWithNumber(uint32_t number) const {
    for (const NSScreen& screen : platform.screens->screens()) {
        if (screen.screenNumber == number) return screen;
    }
    return std::nullopt;
}

double ScreenRecorderManager::backingScale(uint32_t displayID) const {
    const auto screen = screenWithNumber(displayID);
    return screen ? screen->backingScaleFactor : kScaleWithoutScreen;
}

Task<> ScreenRecorderManager::setUpScreen(TakeInProgress& take) {
    const SCShareableContent content = co_await shareableContent();
    if (content.displays.empty()) throw RecordingError::noDisplay();
    SCDisplay display = content.displays.front();
    if (const auto chosen = effectiveDisplay()) {
        for (const SCDisplay& candidate : content.displays) {
            if (candidate.displayID == chosen->id) display = candidate;
        }
    }
    const auto screen = screenWithNumber(display.displayID);

    SCContentFilter::Display whole{.display = display, .excludingApplications = {}, .exceptingWindows = {}};
    const int32_t ownProcess = platform.processInfo->processIdentifier();
    for (const SCRunningApplication& application : content.applications) {
        if (application.processID == ownProcess) whole.excludingApplications.push_back(application);
    }
    if (*showMouseClicks && effectiveCaptureMode() != CaptureModeChoice::window && screen) {
        const auto overlay = co_await placeClickHighlight(screen);
        if (overlay) whole.exceptingWindows.push_back(*overlay);
    }

    std::optional<SCWindow> window;
    if (effectiveCaptureMode() == CaptureModeChoice::window) {
        for (const SCWindow& candidate : content.windows) {
            if (candidate.windowID == *selectedWindowID) window = candidate;
        }
    }
    // A window that has gone never falls back to the display when window mode is chosen.
    if (*screenCaptureMode == CaptureModeChoice::window && !window) throw RecordingError::windowUnavailable();

    SCContentFilter filter;
    if (window) {
        filter.content = SCContentFilter::DesktopIndependentWindow{*window};
    } else {
        filter.content = std::move(whole);
    }
    const double scale = screen ? screen->backingScaleFactor : kScaleWithoutScreen;
    const SCStreamConfiguration configuration = makeStreamConfiguration(display, window, scale);
    take.screen = makeScreenRecordingWriter(planOutput(take.url), configuration);
    take.stream = platform.screenCapture->makeStream(filter, configuration, weak_from_this());
    take.stream->addStreamOutput(weak_from_this(), SCStreamOutputType::screen, videoOutputQueue);
}

SCStreamConfiguration ScreenRecorderManager::makeStreamConfiguration(const SCDisplay& display,
                                                                     const std::optional<SCWindow>& window,
                                                                     double scale) {
    SCStreamConfiguration configuration;
    std::pair<int, int> size;
    if (window) {
        recordingWindowSize = window->frame.size;
        wasWindowCapture = true;
        size = {evenSide(scale * window->frame.size.width), evenSide(scale * window->frame.size.height)};
    } else if (effectiveCaptureMode() == CaptureModeChoice::region && *captureRegion &&
               (*captureRegion)->displayID == display.displayID) {
        const auto pixels = (*captureRegion)->pixelSize(scale, *aspectPreset);
        size = {pixels.width, pixels.height};
        // Shrunk to just what the pixel size covers.
        configuration.sourceRect =
            CGRect{(*captureRegion)->rect.origin, {pixels.width / scale, pixels.height / scale}};
    } else {
        const CMVideoDimensions whole = pixelsOf(display, scale);
        size = {evenSide(whole.width), evenSide(whole.height)};
    }
    const CMVideoDimensions capped = cappedSize(size.first, size.second);
    configuration.width = capped.width;
    configuration.height = capped.height;
    configuration.minimumFrameInterval = CMTimeMake(1, *screenFrameRate);
    configuration.pixelFormat = kCVPixelFormatType_32BGRA;
    configuration.showsCursor = true;
    configuration.queueDepth = kQueueDepth;
    return configuration;
}

CMVideoDimensions ScreenRecorderManager::cappedSize(int width, int height) const {
    const bool native = boolForKey(*platform.userDefaults, "screenCaptureNativeResolution").value_or(false);
    return cappedCaptureSize(width, height, native);
}

void ScreenRecorderManager::stream(SCStream&, const CMSampleBuffer& didOutputSampleBuffer,
                                   SCStreamOutputType of) {
    if (!didOutputSampleBuffer.isValid() || of != SCStreamOutputType::screen) return;
    // Idle, blank, suspended, started and stopped carry no new picture: a still screen is a silence here, and
    // the beat fills it.
    if (frameStatus(didOutputSampleBuffer) != static_cast<int64_t>(SCFrameStatus::complete)) return;
    if (!videoSink.get()) return;
    screenBeat->frame(didOutputSampleBuffer);
}

void ScreenRecorderManager::stream(SCStream&, const SystemError& didStopWithError) {
    platform.mainThread->post([weak = weak_from_this(), error = didStopWithError] {
        const auto self = weak.lock();
        if (self) self->tasks.start(self->handleStreamStopped(error));
    });
}

Task<> ScreenRecorderManager::handleStreamStopped(SystemError error) {
    if (!*isRecording) co_return;
    stream_ = nullptr; // already dead, so the stop must not touch it
    lastError.set("Screen capture stopped unexpectedly (" + error.localizedDescription() +
                  "). Saving what was captured…");
    co_await stopRecording();
    statusMessage.set("Stopped unexpectedly");
}

Task<> ScreenRecorderManager::refreshDisplays() {
    SCShareableContent content;
    try {
        content = co_await shareableContent();
    } catch (const SystemError& error) {
        log("screen", LogLevel::info, "displays can't be read: " + error.localizedDescription());
        co_return;
    }
    std::vector<CaptureDisplay> displays;
    for (const SCDisplay& display : content.displays) {
        const auto screen = screenWithNumber(display.displayID);
        const CMVideoDimensions pixels = pixelsOf(display, backingScale(display.displayID));
        displays.push_back(
            {.id = display.displayID,
             .name = screen ? screen->localizedName : "Display " + std::to_string(display.displayID),
             .width = pixels.width,
             .height = pixels.height});
    }
    availableDisplays.set(displays);
    const bool listed = std::any_of(displays.begin(), displays.end(), [&](const CaptureDisplay& display) {
        return display.id == *selectedDisplayID;
    });
    if (*selectedDisplayID && !displays.empty() && !listed) selectedDisplayID.set(std::nullopt);
    showRegionGuideOnFirstLoad();
}

void ScreenRecorderManager::observeScreenChanges() {
    screenChanges = platform.screens->observeChanges([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (self) self->startTask(&ScreenRecorderManager::refreshDisplays);
    });
}

std::optional<CaptureDisplay> ScreenRecorderManager::effectiveDisplay() const {
    for (const CaptureDisplay& display : *availableDisplays) {
        if (display.id == *selectedDisplayID) return display;
    }
    if (availableDisplays->empty()) return std::nullopt;
    return availableDisplays->front();
}

Task<std::optional<SCWindow>> ScreenRecorderManager::placeClickHighlight(const std::optional<NSScreen>&) {
    co_return std::nullopt;
}

} // namespace vintra
