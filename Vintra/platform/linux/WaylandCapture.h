#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/PortalBus.h"
#include "Vintra/platform/linux/PortalFrameCopier.h"
#include "Vintra/platform/linux/PortalScreenCast.h"
#include "Vintra/platform/linux/PortalVideoStream.h"
#include "Vintra/platform/linux/WakeUp.h"
#include "Vintra/platform/linux/WaylandDesktop.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace vintra {

/// One run of a screen stream: a thread that asks the desktop portal for the display, and then takes its
/// frames out of PipeWire, from the start of the capture to its end.
///
/// Goal: a frame soon after every change, no closer than the minimum interval, and no work at all without a
/// change. Method: the thread sleeps until PipeWire, the bus or the owner has something for it. Of the frames
/// that come within an interval the newest is held and copied when the interval has gone by, and then only
/// those of its pixels that changed. If every picture is still out, the newest frame is held until one comes
/// back. Rejected: PipeWire's own thread, which would need locks around all of this.
///
/// Made and let go on the main thread; the functions given to it are called on its own.
class WaylandCapture : public std::enable_shared_from_this<WaylandCapture> {
public:
    using Completion = std::function<void(std::optional<SystemError>)>;

    struct Settings {
        WaylandDesktop desktop;
        std::optional<SCDisplay> display; ///< nothing for a window that the user chooses
        SCStreamConfiguration configuration;
        std::function<void(const CMSampleBuffer&)> onFrame;
        std::function<void(const SystemError&)> onFailure; ///< at most once, after the last frame
    };
    struct Counts {
        uint64_t wakeUps = 0; ///< times the thread woke from its sleep
        uint64_t frames = 0;
        uint64_t leftOut = 0; ///< times that a frame found every picture still out
    };

    static std::shared_ptr<WaylandCapture> make(Settings settings);

    /// Once. The completion comes before the first frame, and not before the user has answered the desktop's
    /// question, if it asks one.
    void start(Completion completion);
    /// No frame comes after the completion. Any number of times, also before the start has ended.
    void stop(Completion completion);
    /// Stops and waits for the thread. The last call; on any thread, its own too.
    void end();
    bool hasEnded() const;
    /// Any thread.
    Counts counts() const;

private:
    explicit WaylandCapture(Settings settings);

    // On the capture's thread.
    void run(const Completion& started);
    void open();
    void close();
    PortalScreenCast::Stream askForDisplay(const SCDisplay& display);
    void connect(PortalScreenCast::Stream granted, double displayWidth);
    void awaitStream();
    std::optional<SystemError> captureUntilStopped();
    std::optional<SystemError> problem() const;
    bool tookNotice(const PortalFrame& frame);
    void deliver();
    void sleep(std::optional<int64_t> untilNanoseconds);
    bool isStopping() const;

    const Settings settings;
    const int64_t interval; ///< nanoseconds
    const std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>();
    std::thread thread; ///< the main thread's

    // The capture's thread alone.
    std::unique_ptr<PortalBus> bus;
    std::unique_ptr<PortalScreenCast> session;
    std::unique_ptr<PortalFrameCopier> copier;
    std::unique_ptr<PortalVideoStream> stream;
    int64_t begin = 0;        ///< nanoseconds of the monotonic clock, as all that follow
    int64_t shownAt = 0;      ///< the held frame
    int64_t earliestNext = 0; ///< frame
    bool waitsForPicture = false;

    std::atomic<uint64_t> wakeUps{0};
    std::atomic<uint64_t> frames{0};
    std::atomic<uint64_t> leftOut{0};

    mutable Mutex mutex;
    bool stopping GUARDED_BY(mutex) = false;
    bool ended GUARDED_BY(mutex) = false;
    std::vector<Completion> stopCompletions GUARDED_BY(mutex);
};

} // namespace vintra
