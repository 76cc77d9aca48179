#include "Vintra/video/CameraWriteQueue.h"

#include "Vintra/platform/CheckedMath.h"
#include "Vintra/video/CameraHold.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vintra {
namespace {

constexpr size_t kMostWaiting = 8;
constexpr double kBunchedSeconds = 0.008;
constexpr double kBucketsPerSecond = 100;
constexpr int64_t kBucketMilliseconds = 10;
constexpr int64_t kFlushPollMicroseconds = 2000;
constexpr CMTime kFlushLimit{1, 2, kCMTimeFlags_Valid};

} // namespace

CameraWriteQueue::CameraWriteQueue(std::shared_ptr<HostClock> clock)
    : hostClock(std::move(clock)) {}

int32_t CameraWriteQueue::beat(CMTime frameDuration) {
    if (!frameDuration.isNumeric() || frameDuration.value < 1) return 30;
    const double rate =
        static_cast<double>(frameDuration.timescale) / static_cast<double>(frameDuration.value);
    return static_cast<int32_t>(std::clamp(std::round(rate), 1.0, 240.0));
}

int32_t CameraWriteQueue::beat(const AVCaptureVideoDevice* device, std::optional<double> cap) {
    if (!device) return beat(kCMTimeInvalid);
    const auto held = CameraHold{.cap = cap, .format = std::nullopt}.frameDuration(device->activeFormat());
    return beat(held.value_or(device->activeVideoMinFrameDuration()));
}

void CameraWriteQueue::begin(CMTime at, int32_t rate) {
    MutexLock guard(lock);
    waiting.clear();
    grid = SlotGrid::begin(at, rate);
    ledger.clear();
    lastQueuedSlot = -1;
    lastWritten.reset();
    repeated = 0;
    leftOut = 0;
    skipped = 0;
    lastLossSlot.reset();
    frames = 0;
    waited = 0;
    mostWaiting = 0;
    dropped = 0;
    bunched = 0;
    lastArrival.reset();
    lateness = {};
}

CameraWriteQueue::Result CameraWriteQueue::submit(const CMSampleBuffer& frame,
                                                  const std::shared_ptr<AVAssetWriterInput>& to) {
    // Read before the lock is taken, so that waiting for the lock counts neither as lateness nor as bunching.
    const double now = CMTimeGetSeconds(hostClock->now());
    const CMTime pts = frame.presentationTimeStamp();
    MutexLock guard(lock);
    noteArrival(now, pts);
    Result result;
    if (const auto place = slot(pts)) {
        enqueue(*place, frame, to->isReadyForMoreMediaData(), result);
    } else {
        leftOut += 1;
    }
    drain(*to, result);
    dropped += result.dropped;
    return result;
}

CameraWriteQueue::Result CameraWriteQueue::missed(const AVCaptureMissedPictures& pictures) {
    MutexLock guard(lock);
    Result result;
    if (!grid.isFixed() || !pictures.first.isNumeric() || !pictures.end.isNumeric()) return result;
    const int64_t first = grid.nearestSlot(pictures.first);
    const int64_t end = std::clamp(grid.nearestSlot(pictures.end), first + 1,
                                   checkedSum(first, std::max<int64_t>(pictures.count, 1)));
    for (int64_t slot = first; slot < end; ++slot)
        result.dropped += ledger.noteLoss(slot) ? 1 : 0;
    dropped += result.dropped;
    return result;
}

void CameraWriteQueue::noteArrival(double now, CMTime pts) {
    frames += 1;
    if (lastArrival && now - *lastArrival < kBunchedSeconds) bunched += 1;
    lastArrival = now;
    if (!pts.isNumeric()) return;
    const double bucket = std::trunc((now - CMTimeGetSeconds(pts)) * kBucketsPerSecond);
    lateness[static_cast<size_t>(std::clamp(bucket, 0.0, static_cast<double>(kLatenessBuckets - 1)))] += 1;
}

std::optional<int64_t> CameraWriteQueue::slot(CMTime pts) {
    const auto place = grid.slot(pts, lastQueuedSlot);
    if (place) lastQueuedSlot = *place;
    return place;
}

void CameraWriteQueue::enqueue(int64_t slot, const CMSampleBuffer& frame, bool ready, Result& result) {
    if (waiting.size() >= kMostWaiting) {
        ledger.noteLoss(waiting.front().slot);
        waiting.pop_front();
        result.dropped = 1;
        lastLossSlot = slot;
    }
    if (!waiting.empty() || !ready) waited += 1;
    waiting.push_back({slot, frame});
    mostWaiting = std::max(mostWaiting, static_cast<int64_t>(waiting.size()));
}

void CameraWriteQueue::drain(AVAssetWriterInput& into, Result& result) {
    while (into.isReadyForMoreMediaData() && !waiting.empty()) {
        if (!fillGap(into)) writeFirst(into, result);
    }
}

bool CameraWriteQueue::fillGap(AVAssetWriterInput& into) {
    if (!lastWritten) return false;
    const int64_t last = checkedDifference(waiting.front().slot, 1);
    if (lastWritten->slot >= last) return false;
    if (lastLossSlot && checkedDifference(lastQueuedSlot, *lastLossSlot) < grid.calmSlots()) {
        skipped = checkedSum(skipped, checkedDifference(last, lastWritten->slot));
        lastWritten->slot = last;
        return false;
    }
    const int64_t next = lastWritten->slot + 1;
    if (append(lastWritten->frame, next, into)) {
        repeated += 1;
        ledger.noteCopy(next);
        lastWritten->slot = next;
    } else {
        lastWritten->slot = last;
    }
    return true;
}

void CameraWriteQueue::writeFirst(AVAssetWriterInput& into, Result& result) {
    Slotted first = std::move(waiting.front());
    waiting.pop_front();
    if (append(first.frame, first.slot, into)) {
        result.written += 1;
        ledger.noteOwn(first.slot);
    } else {
        result.dropped += 1;
        ledger.noteLoss(first.slot);
        lastLossSlot = lastQueuedSlot;
    }
    // A frame that was refused is still the latest picture.
    lastWritten = std::move(first);
}

std::optional<CMSampleBuffer> CameraWriteQueue::retimed(const CMSampleBuffer& frame, int64_t slot) const {
    return CMSampleBufferCreateCopyWithNewTiming(frame, {.duration = grid.slotDuration(),
                                                         .presentationTimeStamp = grid.startOf(slot),
                                                         .decodeTimeStamp = kCMTimeInvalid});
}

bool CameraWriteQueue::append(const CMSampleBuffer& frame, int64_t slot, AVAssetWriterInput& to) const {
    const auto copy = retimed(frame, slot);
    return copy && to.append(*copy);
}

CameraWriteQueue::Result CameraWriteQueue::flush(const std::shared_ptr<AVAssetWriterInput>& into) {
    // The limit is on the host clock, since the user may set the wall clock while this waits.
    const CMTime limit = hostClock->now() + kFlushLimit;
    MutexLock guard(lock);
    Result result;
    while (!waiting.empty() && hostClock->now() < limit) {
        if (into->isReadyForMoreMediaData()) {
            drain(*into, result);
        } else {
            guard.unlock();
            hostClock->sleep(kFlushPollMicroseconds);
            guard.lock();
        }
    }
    result.dropped += static_cast<int64_t>(waiting.size());
    for (const Slotted& left : waiting)
        ledger.noteLoss(left.slot);
    waiting.clear();
    lastWritten.reset();
    dropped += result.dropped;
    return result;
}

void CameraWriteQueue::clear() {
    MutexLock guard(lock);
    waiting.clear();
    lastWritten.reset();
}

FrameAccount CameraWriteQueue::account() const {
    MutexLock guard(lock);
    constexpr int64_t kUpToTheLastNoted = -1;
    return ledger.account(kUpToTheLastNoted);
}

int32_t CameraWriteQueue::rate() const {
    MutexLock guard(lock);
    return grid.rate;
}

int64_t CameraWriteQueue::percentile(double p) const {
    const double threshold = std::ceil(p * static_cast<double>(frames));
    int64_t sum = 0;
    for (size_t index = 0; index < lateness.size(); ++index) {
        sum += lateness[index];
        if (static_cast<double>(sum) >= threshold) return kBucketMilliseconds * static_cast<int64_t>(index);
    }
    return kBucketMilliseconds * static_cast<int64_t>(kLatenessBuckets - 1);
}

std::string CameraWriteQueue::summary() const {
    MutexLock guard(lock);
    if (frames < 1) return "no frames";
    const auto text = [](int64_t number) { return std::to_string(number); };
    return text(dropped) + " lost · " + text(waited) + " waited, up to " + text(mostWaiting) + " at once · " +
           text(bunched) + " arrived bunched · arriving " + text(percentile(0.5)) + "ms after capture, " +
           text(percentile(0.99)) + "ms at worst · on a " + text(grid.rate) + " fps beat: " + text(repeated) +
           " repeated, " + text(leftOut) + " left out, " + text(skipped) +
           " skipped while the writer was behind";
}

} // namespace vintra
