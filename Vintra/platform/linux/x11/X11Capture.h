#pragma once

#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/screen/ScreenCaptureThread.h"
#include "Vintra/platform/linux/x11/X11CursorImage.h"
#include "Vintra/platform/linux/x11/X11DamageWatch.h"
#include "Vintra/platform/linux/x11/X11Display.h"
#include "Vintra/platform/linux/x11/X11Patience.h"
#include "Vintra/platform/linux/x11/X11PicturePool.h"
#include "Vintra/platform/linux/x11/X11PictureSource.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// One run of a screen stream: a thread with a connection of its own, from the start of the capture to its
/// end.
///
/// Goal: a frame soon after every change, and no work at all without one. Method: the thread sleeps until the
/// server tells of damage, of the pointer or of the desktop. It then takes all the damage there is and reads
/// just that, the damage first, so that nothing drawn meanwhile goes untold. Until the minimum interval has
/// gone by it doesn't listen, so what happens in it is one wake-up. If every picture is still out it leaves
/// the frame out and sleeps until one comes back. What it could not take in time, by when the server says that
/// it was drawn, it tells. A display that goes is waited for: until it is back, the last picture stands. Rejected:
/// looking at fixed times, which costs the same for a still screen as for a busy one.
///
/// Made and let go on the main thread; the functions given to it are called on its own.
class X11Capture : public ScreenCaptureThread {
public:
    struct Settings {
        std::string displayName;
        X11PictureSubject subject;
        SCStreamConfiguration configuration;
    };
    X11Capture(Settings settings, Outlets outlets);
    std::optional<SystemError> problemAtTheEnd() const override;
    std::optional<SystemError> interruption() const override;

private:
    void hurry() override; // any thread

    // On the capture's thread.
    void open() override;
    void close() override;
    std::optional<SystemError> captureUntilStopped() override;
    void limitConnection(int64_t nanoseconds) EXCLUDES(connectionMutex);
    std::optional<SystemError> lookUntilStopped();
    std::optional<SystemError> look(int64_t now);
    std::optional<SystemError> adoptDesktop();
    void makePool();
    void awaitReturn(const SystemError& reason);
    void noteAbsence(const SystemError& reason);
    bool noteReturn();
    void beginAnew();
    int64_t drawnAt(int64_t now) const;
    std::optional<SystemError> readingFailed(int64_t now);
    bool takeChanges();
    bool pointerHasChanged();
    void deliver(PicturePool::Picture& picture, int64_t stampNanoseconds);
    void handleEvents();
    bool mayHaveChanged() const;
    void sleep(bool listens, std::optional<int64_t> untilNanoseconds);

    const Settings settings;

    // The capture's thread alone.
    std::unique_ptr<X11Display> display;
    std::unique_ptr<X11PictureSource> source;
    std::unique_ptr<X11DamageWatch> damage;
    X11CursorImage cursor;
    PixelRect pointer; ///< what its picture covers of the captured one, and beyond; empty if it isn't on it
    std::shared_ptr<X11PicturePool> pool;
    bool owesFrame = true;     ///< the next look sends a frame even if nothing changed
    int64_t earliestLook = 0;  ///< nanoseconds of the monotonic clock
    int64_t lastTaken = 0;     ///< when the damage was taken last, likewise; 0 before that
    bool sleptForLook = false; ///< something had changed before `earliestLook`
    int refusedReads = 0;      ///< reads in a row that the server refused

    mutable Mutex connectionMutex;
    int connection GUARDED_BY(connectionMutex) = -1;                   ///< its descriptor while it is open
    std::unique_ptr<X11Patience> patience GUARDED_BY(connectionMutex); ///< while the server's time is limited

    /// When what is captured wasn't there.
    struct Absence {
        std::optional<int64_t> since; ///< nanoseconds of the monotonic clock; set while it lasts
        std::optional<SystemError> reason;
        int64_t longest = 0; ///< nanoseconds, of those that are over
        int64_t sum = 0;     ///< likewise
    };
    mutable Mutex absenceMutex;
    Absence absence GUARDED_BY(absenceMutex);
};

} // namespace vintra
