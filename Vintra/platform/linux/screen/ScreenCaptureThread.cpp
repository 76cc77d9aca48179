#include "Vintra/platform/linux/screen/ScreenCaptureThread.h"

#include "Vintra/platform/linux/runtime/AllSignalsBlocked.h"
#include "Vintra/platform/linux/runtime/LinuxHostClock.h"

#include <algorithm>
#include <pthread.h>
#include <utility>

namespace vintra {
namespace {

constexpr int32_t kSecond = 1'000'000'000; // nanoseconds

/// Rounded up, so that two stamps so far apart are never nearer than the interval.
int64_t nanosecondsFrom(CMTime interval) {
    if (!interval.isNumeric() || interval.value <= 0) return 0;
    const CMTime nearest = CMTimeConvertScale(interval, kSecond);
    return nearest < interval ? nearest.value + 1 : nearest.value;
}

} // namespace

ScreenCaptureThread::ScreenCaptureThread(CMTime minimumFrameInterval, Outlets outlets)
    : interval(nanosecondsFrom(minimumFrameInterval))
    , outlets(std::move(outlets)) {}

void ScreenCaptureThread::start(Completion completion) {
    const AllSignalsBlocked inheritedByTheThread;
    thread = std::thread([self = shared_from_this(), started = std::move(completion)] {
        pthread_setname_np(pthread_self(), "screen capture");
        self->run(started);
    });
}

void ScreenCaptureThread::stop(Completion completion) {
    {
        MutexLock lock(mutex);
        stopping = true;
        if (!ended) {
            if (completion) stopCompletions.push_back(std::move(completion));
            completion = nullptr;
        }
    }
    wakeUp->set();
    hurry();
    if (completion) completion(std::nullopt);
}

void ScreenCaptureThread::end() {
    stop({});
    if (!thread.joinable()) return;
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach(); // it is about to end, and keeps this alive until then
    } else {
        thread.join();
    }
}

bool ScreenCaptureThread::hasEnded() const {
    MutexLock lock(mutex);
    return ended;
}

bool ScreenCaptureThread::isStopping() const {
    MutexLock lock(mutex);
    return stopping;
}

ScreenCaptureThread::Counts ScreenCaptureThread::counts() const {
    return {wakeUps.load(), frames.load(), leftOut.load()};
}

void ScreenCaptureThread::run(const Completion& started) {
    std::optional<SystemError> failure;
    bool isOpen = false;
    try {
        open();
        isOpen = true;
    } catch (const SystemError& error) {
        failure = error;
    }
    if (isOpen) {
        started(std::nullopt);
        failure = captureUntilStopped();
        tellMissed(monotonicNanoseconds());
    }
    close();

    std::vector<Completion> stopped;
    bool endedByItself = false;
    {
        MutexLock lock(mutex);
        ended = true;
        endedByItself = failure.has_value() && !stopping;
        stopped.swap(stopCompletions);
    }
    if (!isOpen) started(failure);
    if (isOpen && endedByItself) outlets.onFailure(*failure);
    for (const Completion& completion : stopped)
        completion(std::nullopt);
}

void ScreenCaptureThread::noteDue(int64_t nanoseconds) {
    if (!dueSince || nanoseconds < *dueSince) dueSince = nanoseconds;
}

void ScreenCaptureThread::tellMissed(int64_t end) {
    if (!dueSince) return;
    const int64_t first = *dueSince;
    dueSince.reset();
    if (end - first < std::max<int64_t>(interval, 1)) return;
    outlets.onMissed({hostTimeFromNanoseconds(first), hostTimeFromNanoseconds(end)});
}

void ScreenCaptureThread::send(std::shared_ptr<CVPixelBuffer> picture, int64_t stampNanoseconds) {
    tellMissed(stampNanoseconds);
    ++frames;
    const CMSampleTimingInfo timing{kCMTimeInvalid, hostTimeFromNanoseconds(stampNanoseconds),
                                    kCMTimeInvalid};
    outlets.onFrame(CMSampleBuffer::makeVideo(
        std::move(picture), timing,
        {{{SCStreamFrameInfoStatus, static_cast<int64_t>(SCFrameStatus::complete)}}}));
}

} // namespace vintra
