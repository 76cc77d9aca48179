#include "Vintra/platform/linux/wayland/PortalGlance.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"
#include "Vintra/platform/linux/wayland/PortalDisplayGrant.h"
#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"

#include <algorithm>
#include <poll.h>
#include <system_error>
#include <utility>

namespace vintra {
namespace {

constexpr int64_t kGlanceSecond = 1'000'000'000;             // nanoseconds
constexpr int64_t kStreamPatience = 10 * kGlanceSecond;      // from the user's answer to a stream that runs
constexpr int64_t kFirstPicturePatience = 2 * kGlanceSecond; // of a window that may show nothing new

} // namespace

PortalGlance::PortalGlance(WaylandDesktop desktop, const Subject& subject,
                           std::function<void(Outcome)> completion)
    : desktop(std::move(desktop))
    , subject(subject)
    , completion(std::move(completion)) {
    const AllSignalsBlocked inheritedByTheThread;
    try {
        thread = std::thread([this] { run(); });
    } catch (const std::system_error& error) {
        this->completion(
            {.error = SystemError("posix", error.code().value(),
                                  "The desktop can't be asked for a window: the system has no thread "
                                  "to spare.")});
    }
}

PortalGlance::~PortalGlance() {
    isEnding = true;
    wakeUp->set();
    if (thread.joinable()) thread.join();
}

void PortalGlance::run() {
    Outcome outcome;
    try {
        outcome = look();
    } catch (const SystemError& error) {
        outcome = {.error = error};
    }
    if (isEnding) {
        outcome = {.error = SystemError("portal", 5,
                                        "The recording was ended before the desktop had granted the window."),
                   .isGivenUp = true};
    }
    completion(std::move(outcome));
}

PortalGlance::Outcome PortalGlance::look() {
    Outcome outcome{.sharing = std::make_shared<PortalSharing>()};
    PortalSharing& sharing = *outcome.sharing;
    PortalScreenCast::Stream granted = ask(sharing);
    PixelRect whole;
    PixelRect content;
    const auto keep = [&content](const PortalFrame& frame) {
        content = frame.content;
        return true;
    };
    const auto noteSize = [&whole](const PortalVideoFormat& format) {
        whole = {0, 0, format.width, format.height};
    };
    sharing.stream = std::make_unique<PortalVideoStream>(
        std::move(granted.remote), granted.node,
        PortalVideoStream::Listener{.onFormat = noteSize, .onFrame = keep, .onLoss = [] {}});
    awaitPicture(sharing, content);
    if (subject.displayID) requireDisplayOfStream(desktop, *subject.displayID, sharing.stream->nodeName());
    outcome.content = content.isEmpty() ? whole : content;
    if (subject.displayID && sharing.stream->frame()) {
        PortalFrameCopier copier({.sourceRect = {}, .displayWidth = 0, .queueDepth = 1, .onFree = wakeUp});
        if (copier.look(*sharing.stream->frame())) outcome.picture = copier.copy(*sharing.stream->frame());
    }
    sharing.stream->leaveThread();
    return outcome;
}

PortalScreenCast::Stream PortalGlance::ask(PortalSharing& sharing) const {
    sharing.bus = std::make_unique<PortalBus>(
        desktop.busAddress, PortalBus::GivingUp{wakeUp, [this] { return isEnding.load(); }});
    sharing.session = std::make_unique<PortalScreenCast>(*sharing.bus);
    if (subject.displayID) return grantOfDisplay(desktop, *sharing.session, *subject.displayID, false);
    PortalRestoreTokens tokens = portalRestoreTokens(desktop);
    auto granted = sharing.session->start(
        {.source = PortalScreenCast::Source::window,
         .restoreToken = subject.isNew ? "" : tokens.take(PortalRestoreTokens::kWindow)});
    tokens.keep(PortalRestoreTokens::kWindow, granted.restoreToken);
    return granted;
}

/// Returns without a picture if the window runs and shows nothing new.
void PortalGlance::awaitPicture(PortalSharing& sharing, PixelRect& content) {
    int64_t deadline = monotonicNanoseconds() + kStreamPatience;
    bool isRunning = false;
    while (!isEnding && content.isEmpty()) {
        sharing.stream->dispatch();
        sharing.bus->dispatch();
        if (sharing.stream->end()) throw SystemError(*sharing.stream->end());
        if (sharing.session->isClosed())
            throw SystemError("portal", 9, "The desktop ended the sharing of the window.");
        if (!isRunning && sharing.stream->isStreaming()) {
            isRunning = true;
            deadline = monotonicNanoseconds() + kFirstPicturePatience;
        }
        if (!content.isEmpty()) return;
        const int64_t left = deadline - monotonicNanoseconds();
        if (left <= 0 && isRunning) return;
        if (left <= 0) {
            throw SystemError("pipewire", 4,
                              "The desktop granted the window, but its picture doesn't come: " +
                                  sharing.stream->whyNoPicture());
        }
        const timespec rest{left / kGlanceSecond, left % kGlanceSecond};
        pollfd descriptors[] = {{sharing.stream->fileDescriptor(), POLLIN, 0},
                                {sharing.bus->fileDescriptor(), POLLIN, 0},
                                {wakeUp->fileDescriptor(), POLLIN, 0}};
        ::ppoll(descriptors, 3, &rest, nullptr);
    }
}

} // namespace vintra
