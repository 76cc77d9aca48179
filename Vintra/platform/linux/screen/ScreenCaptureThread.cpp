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

SystemError stoppedBefore() {
    return {"screen", 3, "The recording was ended before it had begun."};
}

} // namespace

ScreenCaptureThread::ScreenCaptureThread(CMTime minimumFrameInterval, Outlets outlets)
    : interval(nanosecondsFrom(minimumFrameInterval))
    , outlets(std::move(outlets)) {}

void ScreenCaptureThread::prepare(Completion completion) {
    {
        MutexLock lock(mutex);
        prepared = std::move(completion);
        prepares = true;
    }
    launch();
}

bool ScreenCaptureThread::isPrepared() const {
    MutexLock lock(mutex);
    return prepares && !prepared && !hasStarted;
}

void ScreenCaptureThread::start(Completion completion) {
    bool hasThread = false;
    SystemError reason = stoppedBefore();
    {
        MutexLock lock(mutex);
        hasThread = prepares;
        hasStarted = true;
        if (endedBecause) reason = *endedBecause;
        if (!ended) started = std::exchange(completion, nullptr);
    }
    changed.notify_all();
    wakeUp->set();
    if (!hasThread) launch();
    if (completion) completion(reason);
}

void ScreenCaptureThread::launch() {
    const AllSignalsBlocked inheritedByTheThread;
    thread = std::thread([self = shared_from_this()] {
        pthread_setname_np(pthread_self(), "screen capture");
        self->run();
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
    changed.notify_all();
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

bool ScreenCaptureThread::isStartDue() const {
    MutexLock lock(mutex);
    return hasStarted || stopping;
}

void ScreenCaptureThread::awaitStart() {
    MutexLock lock(mutex);
    while (!hasStarted && !stopping)
        changed.wait(lock);
}

void ScreenCaptureThread::run() {
    std::optional<SystemError> failure;
    bool hasBegun = false;
    try {
        open();
        Completion ready;
        {
            MutexLock lock(mutex);
            ready = std::exchange(prepared, nullptr);
        }
        if (ready) ready(std::nullopt);
        awaitStart();
        Completion begun;
        {
            MutexLock lock(mutex);
            begun = std::exchange(started, nullptr);
        }
        if (begun) {
            hasBegun = true;
            begun(std::nullopt);
            failure = captureUntilStopped();
            tellMissed(monotonicNanoseconds());
        } else {
            failure = stoppedBefore();
        }
    } catch (const SystemError& error) {
        failure = error;
    }
    close();

    std::vector<Completion> waiting;
    std::vector<Completion> stopped;
    bool endedByItself = false;
    {
        MutexLock lock(mutex);
        ended = true;
        endedBecause = failure;
        endedByItself = failure.has_value() && !stopping;
        stopped.swap(stopCompletions);
        for (Completion* each : {&prepared, &started}) {
            if (*each) waiting.push_back(std::exchange(*each, nullptr));
        }
    }
    for (const Completion& completion : waiting)
        completion(failure);
    if (hasBegun && endedByItself) outlets.onFailure(*failure);
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
