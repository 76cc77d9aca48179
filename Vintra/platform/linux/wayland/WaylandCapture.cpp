#include "Vintra/platform/linux/wayland/WaylandCapture.h"

#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/wayland/PortalDisplayGrant.h"

#include <algorithm>
#include <poll.h>
#include <utility>

namespace vintra {
namespace {

constexpr int32_t kSecond = 1'000'000'000; // nanoseconds
/// From the user's answer to a stream that runs.
constexpr int64_t kStartPatience = 10LL * kSecond;
/// A frame that comes later than this, or than two slots, would find its slot filled: it shows now.
constexpr int64_t kLongestDelay = kSecond / 1000 * 80;

} // namespace

WaylandCapture::WaylandCapture(Settings settings, Outlets outlets)
    : ScreenCaptureThread(settings.configuration.minimumFrameInterval, std::move(outlets))
    , settings(std::move(settings)) {}

void WaylandCapture::open() {
    if (settings.display) {
        openPortal();
        connect(grantOfDisplay(settings.desktop, *session, settings.display->displayID,
                               settings.configuration.showsCursor),
                settings.display->width);
    } else if (settings.window && settings.window->stream) {
        goOnWithWindow();
    } else {
        connect(askForWindow(), 0);
    }
    awaitStream();
    if (settings.display)
        requireDisplayOfStream(settings.desktop, settings.display->displayID, stream->nodeName());
}

void WaylandCapture::openPortal() {
    bus = std::make_unique<PortalBus>(settings.desktop.busAddress,
                                      PortalBus::GivingUp{wakeUp, [this] { return isStopping(); }});
    session = std::make_unique<PortalScreenCast>(*bus);
}

PortalScreenCast::Stream WaylandCapture::askForWindow() {
    openPortal();
    PortalRestoreTokens tokens = portalRestoreTokens(settings.desktop);
    auto granted = session->start({.source = PortalScreenCast::Source::window,
                                   .showsCursor = settings.configuration.showsCursor,
                                   .restoreToken = tokens.take(PortalRestoreTokens::kWindow)});
    tokens.keep(PortalRestoreTokens::kWindow, granted.restoreToken);
    return granted;
}

/// With the picture that was looked at, since a window that shows nothing new may send no other.
void WaylandCapture::goOnWithWindow() {
    PortalSharing& window = *settings.window;
    bus = std::move(window.bus);
    bus->setGivingUp({wakeUp, [this] { return isStopping(); }});
    session = std::move(window.session);
    makeCopier(0);
    stream = std::move(window.stream);
    stream->enterThread(listener());
    if (stream->frame()) tookNotice(*stream->frame());
}

void WaylandCapture::makeCopier(double displayWidth) {
    const auto& configuration = settings.configuration;
    begin = monotonicNanoseconds();
    copier = std::make_unique<PortalFrameCopier>(
        PortalFrameCopier::Settings{.sourceRect = displayWidth > 0 ? configuration.sourceRect : std::nullopt,
                                    .displayWidth = displayWidth,
                                    .queueDepth = configuration.queueDepth,
                                    .onFree = wakeUp});
}

PortalVideoStream::Listener WaylandCapture::listener() {
    return {.onFormat = [this](const PortalVideoFormat&) { copier->lost(); },
            .onFrame = [this](const PortalFrame& frame) { return tookNotice(frame); },
            .onLoss = [this] { copier->lost(); }};
}

void WaylandCapture::connect(PortalScreenCast::Stream granted, double displayWidth) {
    makeCopier(displayWidth);
    stream = std::make_unique<PortalVideoStream>(std::move(granted.remote), granted.node, listener());
}

void WaylandCapture::awaitStream() {
    const int64_t deadline = monotonicNanoseconds() + kStartPatience;
    while (true) {
        stream->dispatch();
        bus->dispatch();
        if (const auto error = problem()) throw SystemError(*error);
        if (stream->isStreaming()) return;
        if (isStopping()) {
            throw SystemError("portal", 5,
                              "The recording was ended before the desktop had granted the screen.");
        }
        if (monotonicNanoseconds() >= deadline) {
            throw SystemError("pipewire", 4,
                              "The desktop granted the screen, but its picture doesn't come: " +
                                  stream->whyNoPicture());
        }
        sleep(deadline);
    }
}

/// In this order: memory that the desktop shares before its session.
void WaylandCapture::close() {
    stream.reset();
    copier.reset();
    session.reset();
    bus.reset();
}

std::optional<SystemError> WaylandCapture::problem() const {
    if (stream->end()) return stream->end();
    if (copier->problem()) return copier->problem();
    if (session->isClosed()) {
        return SystemError("portal", 9, "The desktop ended the sharing of the screen.");
    }
    return std::nullopt;
}

/// The desktop's pictures are taken meanwhile, and the newest shows from the start on.
void WaylandCapture::awaitStart() {
    while (!isStartDue()) {
        stream->dispatch();
        bus->dispatch();
        if (const auto error = problem()) throw SystemError(*error);
        sleep(std::nullopt);
    }
    stream->dispatch();
    begin = shownAt = lastShownAt = monotonicNanoseconds();
    forgetDue();
}

std::optional<SystemError> WaylandCapture::captureUntilStopped() {
    while (!isStopping()) {
        stream->dispatch();
        bus->dispatch();
        if (auto error = problem()) return error;
        if (!stream->frame() || waitsForPicture) {
            sleep(std::nullopt);
        } else if (monotonicNanoseconds() < earliestNext) {
            sleep(earliestNext);
        } else {
            deliver();
        }
    }
    return std::nullopt;
}

bool WaylandCapture::tookNotice(const PortalFrame& frame) {
    const uint64_t step = frame.sequence && lastSequence && *frame.sequence > *lastSequence
                              ? *frame.sequence - *lastSequence
                              : 1;
    lastSequence = frame.sequence;
    if (!copier->look(frame)) return false;
    // A time that isn't of this clock, or of the picture before the capture, is no use.
    const int64_t now = monotonicNanoseconds();
    const int64_t told = frame.nanoseconds.value_or(now);
    shownAt = told <= now && (told > now - kSecond || (lastShownAt > 0 && told >= lastShownAt))
                  ? std::max(told, begin)
                  : now;
    // The desktop numbers its frames: those that are missing between two lay evenly between them.
    const int64_t passed = shownAt - lastShownAt;
    if (step > 1 && lastShownAt > 0 && passed > 0)
        noteDue(lastShownAt + passed / static_cast<int64_t>(std::min<uint64_t>(step, 1'000'000)));
    lastShownAt = shownAt;
    if (now - shownAt > std::max(2 * interval, kLongestDelay)) {
        noteDue(shownAt);
        shownAt = now;
    }
    return true;
}

void WaylandCapture::deliver() {
    const auto picture = copier->copy(*stream->frame());
    if (!picture) {
        waitsForPicture = true;
        noteDue(std::max(shownAt, earliestNext));
        ++leftOut;
        return;
    }
    stream->releaseFrame();
    // A frame that waited for the interval to end shows at that instant, not at the later one at which the
    // thread woke.
    const int64_t stamp = std::max(shownAt, earliestNext);
    earliestNext = stamp + interval;
    send(picture, stamp);
}

void WaylandCapture::sleep(std::optional<int64_t> untilNanoseconds) {
    timespec rest{};
    if (untilNanoseconds) {
        const int64_t nanoseconds = std::max<int64_t>(*untilNanoseconds - monotonicNanoseconds(), 0);
        rest = {nanoseconds / kSecond, nanoseconds % kSecond};
    }
    pollfd descriptors[] = {{stream->fileDescriptor(), POLLIN, 0},
                            {bus->fileDescriptor(), POLLIN, 0},
                            {wakeUp->fileDescriptor(), POLLIN, 0}};
    ::ppoll(descriptors, 3, untilNanoseconds ? &rest : nullptr, nullptr);
    if (descriptors[2].revents != 0) {
        wakeUp->clear();
        waitsForPicture = false;
    }
    ++wakeUps;
}

} // namespace vintra
