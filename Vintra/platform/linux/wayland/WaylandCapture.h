#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/screen/ScreenCaptureThread.h"
#include "Vintra/platform/linux/wayland/PortalBus.h"
#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"
#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "Vintra/platform/linux/wayland/PortalSharing.h"
#include "Vintra/platform/linux/wayland/PortalVideoStream.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vintra {

/// One run of a screen stream: a thread that asks the desktop portal for the display, and then takes its
/// frames out of PipeWire, from the start of the capture to its end.
///
/// Goal: a frame soon after every change, no closer than the minimum interval, and no work at all without a
/// change. Method: the thread sleeps until PipeWire, the bus or the owner has something for it. Of the frames
/// that come within an interval it keeps the newest, and copies those of its pixels that changed when the
/// interval is over. If every picture is still out, it keeps the newest frame until one comes back. Rejected: PipeWire's own thread, which would need locks around all of this.
///
/// Made and let go on the main thread; the functions given to it are called on its own.
class WaylandCapture : public ScreenCaptureThread {
public:
    struct Settings {
        WaylandDesktop desktop;
        std::optional<SCDisplay> display; ///< nothing for a window that the user chooses
        /// Of that window, if the user has chosen it by now: the first run goes on with it.
        std::shared_ptr<PortalSharing> window;
        SCStreamConfiguration configuration;
    };
    WaylandCapture(Settings settings, Outlets outlets);
    std::optional<SystemError> problemAtTheEnd() const override { return std::nullopt; }

private:
    void hurry() override {} // it sleeps where it can be woken, and waits for no answer

    // On the capture's thread.
    void open() override;
    void close() override;
    PortalScreenCast::Stream askForWindow();
    void openPortal();
    void goOnWithWindow();
    void makeCopier(double displayWidth);
    PortalVideoStream::Listener listener();
    void connect(PortalScreenCast::Stream granted, double displayWidth);
    void awaitStream();
    void awaitStart() override;
    std::optional<SystemError> captureUntilStopped() override;
    std::optional<SystemError> problem() const;
    bool tookNotice(const PortalFrame& frame);
    void deliver();
    void sleep(std::optional<int64_t> untilNanoseconds);

    const Settings settings;

    // The capture's thread alone.
    std::unique_ptr<PortalBus> bus;
    std::unique_ptr<PortalScreenCast> session;
    std::unique_ptr<PortalFrameCopier> copier;
    std::unique_ptr<PortalVideoStream> stream;
    int64_t begin = 0;                    ///< nanoseconds of the monotonic clock, as all that follow
    int64_t shownAt = 0;                  ///< when the stream's kept frame was shown
    int64_t earliestNext = 0;             ///< when the next frame may be sent
    int64_t lastShownAt = 0;              ///< of the last frame that showed something new
    std::optional<uint64_t> lastSequence; ///< its number
    bool waitsForPicture = false;
};

} // namespace vintra
