#pragma once

#include "Vintra/platform/Mutex.h"
#include "Vintra/platform/ScreenCapture.h"
#include "Vintra/platform/linux/runtime/WakeUp.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace vintra {

/// One run of a screen stream: a thread with connections of its own, from the start of the capture to its
/// end. What is captured, and how, is for those who derive from it; they work on that thread alone, and sleep
/// when there is nothing to do.
///
/// Made and let go on the main thread; the functions given to it are called on its own.
class ScreenCaptureThread : public std::enable_shared_from_this<ScreenCaptureThread> {
public:
    using Completion = std::function<void(std::optional<SystemError>)>;

    struct Outlets {
        std::function<void(const CMSampleBuffer&)> onFrame;
        std::function<void(const SCMissedFrames&)> onMissed;
        std::function<void(const SystemError&)> onFailure; ///< at most once, after the last frame
    };
    struct Counts {
        uint64_t wakeUps = 0; ///< times the thread woke from its sleep
        uint64_t frames = 0;
        uint64_t leftOut = 0; ///< times that a frame found every picture still out
    };

    virtual ~ScreenCaptureThread() = default;
    ScreenCaptureThread(const ScreenCaptureThread&) = delete;
    ScreenCaptureThread& operator=(const ScreenCaptureThread&) = delete;

    /// Gets all that the capture needs and waits for the start. Once, before it. Throws `std::system_error` if there is no
    /// thread.
    void prepare(Completion completion);
    /// Whether the capture has been prepared and not been started, also if it has ended since.
    bool isPrepared() const;
    /// Once. The completion comes before the first frame. Throws `std::system_error` if there is no thread.
    void start(Completion completion);
    /// No frame comes after the completion. Any number of times, also before the start has ended.
    void stop(Completion completion);
    /// Stops and waits for the thread. The last call; on any thread, its own too.
    void end();
    bool hasEnded() const;
    /// What went wrong with a capture that was stopped, once it has ended. Any thread.
    virtual std::optional<SystemError> problemAtTheEnd() const = 0;
    /// Why there is nothing to take of what is captured, while that lasts and may pass. Any thread.
    virtual std::optional<SystemError> interruption() const { return std::nullopt; }
    /// Any thread.
    Counts counts() const;

protected:
    ScreenCaptureThread(CMTime minimumFrameInterval, Outlets outlets);

    /// Throws `SystemError`; `close` is called all the same.
    virtual void open() = 0;
    virtual void close() = 0;
    /// Returns when the start of an open capture has come, or `isStopping`. Throws `SystemError`.
    virtual void awaitStart();
    bool isStartDue() const;
    /// Returns when `isStopping`, or with what ended the capture.
    virtual std::optional<SystemError> captureUntilStopped() = 0;
    /// Bounds what the capture's thread may be waiting for: it is to stop. On any thread, any number of times.
    virtual void hurry() = 0;

    void send(std::shared_ptr<CVPixelBuffer> picture, int64_t stampNanoseconds);
    /// Something new was to be taken from that time on, in nanoseconds, and wasn't, since there was no memory or
    /// no time; a time noted before stands.
    void noteDue(int64_t nanoseconds);
    /// There was nothing new after all.
    void forgetDue() { dueSince.reset(); }
    /// Tells what was missed up to `end`, if that is as long as an interval: less is no frame.
    void tellMissed(int64_t end);
    bool isStopping() const;

    const int64_t interval; ///< nanoseconds, between two frames at the least
    const std::shared_ptr<WakeUp> wakeUp = std::make_shared<WakeUp>();
    std::atomic<uint64_t> wakeUps{0};
    std::atomic<uint64_t> leftOut{0};

private:
    void launch();
    void run();

    const Outlets outlets;
    std::thread thread; ///< the main thread's
    std::atomic<uint64_t> frames{0};
    std::optional<int64_t> dueSince; ///< the capture's thread's

    mutable Mutex mutex;
    std::condition_variable_any changed;
    Completion prepared GUARDED_BY(mutex);   ///< until it is called
    Completion started GUARDED_BY(mutex);    ///< from `start` until it is called
    bool prepares GUARDED_BY(mutex) = false; ///< there is a thread that waits for `start`, or will
    bool hasStarted GUARDED_BY(mutex) = false;
    bool stopping GUARDED_BY(mutex) = false;
    bool ended GUARDED_BY(mutex) = false;
    std::optional<SystemError> endedBecause GUARDED_BY(mutex);
    std::vector<Completion> stopCompletions GUARDED_BY(mutex);
};

} // namespace vintra
