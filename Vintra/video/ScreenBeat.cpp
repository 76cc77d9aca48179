#include "Vintra/video/ScreenBeat.h"

#include "Vintra/platform/CheckedMath.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vintra {
namespace {

constexpr const char* kLogCategory = "screen-beat";
/// Lies long before any slot; subtracting it from a slot doesn't overflow.
constexpr int64_t kNoLoss = std::numeric_limits<int64_t>::min() / 2;
/// Slower takes have their empty slots filled with copies.
constexpr int32_t kFirstRateWithoutCopies = 31;
/// Copies stay this many slots behind the present, so that a frame still on its way finds its slot free.
constexpr int64_t kSlotsBehind = 3;
/// From this length on a gap is jumped instead of filled.
constexpr int64_t kLongGap = 5;
/// How often the movie is told how far its last picture stands.
constexpr int32_t kExtensionsPerSecond = 10;
/// A frame may be on its way for a fifth of a second before it is too late for its slot.
constexpr int32_t kFrameDelaysPerSecond = 5;
constexpr int64_t kTimerLeewayNanoseconds = 2'000'000;
constexpr int64_t kFinishPollMicroseconds = 2000;
constexpr CMTime kFinishLimit{1, 1, kCMTimeFlags_Valid};

} // namespace

ScreenBeat::ScreenBeat(std::shared_ptr<HostClock> clock, std::shared_ptr<Log> systemLog)
    : hostClock(std::move(clock))
    , log(std::move(systemLog))
    , lastLossSlot(kNoLoss)
    , wrote([](CMTime) {})
    , lost([](CMTime) {})
    , writerStatus([] { return std::string(); }) {}

void ScreenBeat::begin(Arming arming) {
    std::shared_ptr<DispatchTimer> newTimer;
    {
        MutexLock guard(lock);
        cancelTimer();
        input = std::move(arming.into);
        grid = SlotGrid::begin(arming.at, arming.rate);
        fills = grid.rate < kFirstRateWithoutCopies;
        finishing = false;
        lastSlot = -1;
        lastFrame.reset();
        pending.reset();
        missedFrames.reset();
        ledger.clear();
        finished = {};
        totals = {};
        lastLossSlot = kNoLoss;
        ticks = 0;
        second = {};
        wrote = std::move(arming.wrote);
        lost = std::move(arming.lost);
        writerStatus = std::move(arming.writerStatus);
        newTimer = arming.on->makeTimer({.delayNanoseconds = 0,
                                         .intervalNanoseconds = 1'000'000'000 / grid.rate,
                                         .leewayNanoseconds = kTimerLeewayNanoseconds},
                                        [weak = weak_from_this()] {
                                            if (const auto beat = weak.lock()) beat->tick();
                                        });
        timer = newTimer;
    }
    newTimer->resume();
}

void ScreenBeat::cancelTimer() {
    if (timer) timer->cancel();
    timer.reset();
}

int64_t ScreenBeat::nowSlot() const {
    return grid.isFixed() ? grid.slotAt(hostClock->now()) : 0;
}

std::optional<int64_t> ScreenBeat::slot(CMTime pts) {
    return grid.slot(pts, pending ? std::max(pending->slot, lastSlot) : lastSlot);
}

void ScreenBeat::frame(const CMSampleBuffer& sample) {
    MutexLock guard(lock);
    if (!input) return;
    second.arrivedThisSecond += 1;
    if (!input->isReadyForMoreMediaData()) second.notReadyArrivals += 1;
    const auto place = slot(sample.presentationTimeStamp());
    if (!place) {
        totals.leftOut += 1;
        return;
    }
    if (pending) {
        second.lostThisSecond += 1;
        ledger.noteLoss(pending->slot);
        lastLossSlot = nowSlot();
        lost(pending->frame.presentationTimeStamp());
    }
    settleMissed(*place);
    pending = Pending{*place, sample};
    // Only up to the last written slot: an arrival writes its own frame and no copies behind it.
    pump(lastSlot);
}

void ScreenBeat::missed(CMTime first, CMTime end) {
    MutexLock guard(lock);
    if (!input || !grid.isFixed() || !first.isNumeric() || !end.isNumeric()) return;
    if (missedFrames) first = std::min(first, missedFrames->first);
    missedFrames = Missed{first, end};
}

void ScreenBeat::settleMissed(int64_t end) {
    if (!missedFrames) return;
    const int64_t from = std::max(grid.nearestSlot(missedFrames->first), ledger.firstSlot().value_or(0));
    missedFrames.reset();
    for (int64_t slot = from; slot < end; ++slot) {
        if (ledger.noteLoss(slot)) lost(grid.startOf(slot));
    }
}

void ScreenBeat::tick() {
    MutexLock guard(lock);
    if (!grid.isFixed()) return;
    const int64_t now = nowSlot();
    pump(checkedDifference(now, kSlotsBehind));
    if (ticks % std::max(1, grid.rate / kExtensionsPerSecond) == 0) extendLast(now);
    ticks += 1;
    if (input && !input->isReadyForMoreMediaData()) second.notReadyTicks += 1;
    if (ticks % grid.rate != 0) return;
    if (log->isEnabled(LogLevel::standard)) logSecond(now);
    second = {};
}

void ScreenBeat::extendLast(int64_t now) {
    const int64_t behind = std::max<int64_t>(kSlotsBehind, grid.rate / kFrameDelaysPerSecond);
    const int64_t through = checkedDifference(now, behind);
    if (!input || pending || lastSlot < 0 || through <= lastSlot) return;
    input->extendLast(grid.startOf(through));
}

void ScreenBeat::logSecond(int64_t now) {
    const auto text = [](int64_t number) { return std::to_string(number); };
    log->write(kLogCategory, LogLevel::standard,
               "second " + text(ticks / grid.rate) + ": " + text(second.arrivedThisSecond) + " arrived, " +
                   text(second.writtenThisSecond) + " written, " + text(second.repeatsThisSecond) +
                   " repeats, " + text(second.skippedThisSecond) + " skipped, " +
                   text(second.lostThisSecond) + " lost, " + text(second.failedAppends) +
                   " refused; writer not ready at " + text(second.notReadyArrivals) + " arrivals and " +
                   text(second.notReadyTicks) + " of " + text(grid.rate) + " ticks; " +
                   text(checkedDifference(now, lastSlot)) + " slots behind; pending " +
                   (pending ? "waiting" : "none") + "; " + writerStatus());
}

void ScreenBeat::pump(int64_t through) {
    if (!input) return;
    const bool copiesAllowed = checkedDifference(nowSlot(), lastLossSlot) >= grid.calmSlots();
    while (input->isReadyForMoreMediaData()) {
        const bool written =
            pending ? writeTowardsPending(copiesAllowed) : writeCopyTowards(through, copiesAllowed);
        if (!written) return;
    }
}

bool ScreenBeat::writeTowardsPending(bool copiesAllowed) {
    const int64_t gap = checkedDifference(checkedDifference(pending->slot, lastSlot), 1);
    if (fills && gap >= 1) {
        if (gap < kLongGap && copiesAllowed && lastFrame) {
            if (!write(*lastFrame, lastSlot + 1)) return false;
            ledger.noteCopy(lastSlot);
            totals.repeated += 1;
            second.repeatsThisSecond += 1;
            return true;
        }
        // The empty slots before the very first frame don't count as a gap.
        if (lastSlot >= 0) countSkipped(gap);
    }
    const Pending taken = std::move(*pending);
    pending.reset();
    if (!write(taken.frame, taken.slot)) {
        ledger.noteLoss(taken.slot);
        lost(taken.frame.presentationTimeStamp());
        return false;
    }
    ledger.noteOwn(taken.slot);
    lastFrame = taken.frame;
    second.writtenThisSecond += 1;
    return true;
}

bool ScreenBeat::writeCopyTowards(int64_t target, bool copiesAllowed) {
    if (!fills && !finishing) return false;
    if (!lastFrame || lastSlot >= target || !copiesAllowed) return false;
    int64_t slot = target;
    if (fills) {
        const int64_t distance = checkedDifference(target, lastSlot);
        if (distance < kLongGap) {
            slot = lastSlot + 1;
        } else {
            countSkipped(distance - 1);
        }
    }
    if (!write(*lastFrame, slot)) return false;
    ledger.noteCopy(slot);
    totals.repeated += 1;
    second.repeatsThisSecond += 1;
    return true;
}

void ScreenBeat::countSkipped(int64_t slots) {
    totals.skipped = checkedSum(totals.skipped, slots);
    second.skippedThisSecond = checkedSum(second.skippedThisSecond, slots);
}

bool ScreenBeat::write(const CMSampleBuffer& frame, int64_t slot) {
    const CMTime pts = grid.startOf(slot);
    const CMTime duration = grid.slotDuration();
    const auto copy = CMSampleBufferCreateCopyWithNewTiming(
        frame, {.duration = duration, .presentationTimeStamp = pts, .decodeTimeStamp = kCMTimeInvalid});
    if (!copy || !input->append(*copy)) {
        second.failedAppends += 1;
        if (log->isEnabled(LogLevel::error)) {
            log->write(kLogCategory, LogLevel::error,
                       "frame for slot " + std::to_string(slot) + " refused; " + writerStatus());
        }
        return false;
    }
    lastSlot = slot;
    wrote(pts + duration);
    return true;
}

ScreenBeat::Totals ScreenBeat::finish(CMTime at) {
    MutexLock guard(lock);
    cancelTimer();
    const int64_t target = grid.lastSlotBefore(at).value_or(lastSlot);
    lastLossSlot = kNoLoss;
    finishing = true;
    // The limit is on the host clock, since the user may set the wall clock while this waits.
    const CMTime limit = hostClock->now() + kFinishLimit;
    while (input) {
        if (hostClock->now() >= limit) break;
        if (!pending && lastSlot >= target) break;
        if (input->isReadyForMoreMediaData()) {
            const int64_t slotBefore = lastSlot;
            const bool wasPending = pending.has_value();
            pump(target);
            if (lastSlot == slotBefore && pending.has_value() == wasPending) break;
        } else {
            guard.unlock();
            hostClock->sleep(kFinishPollMicroseconds);
            guard.lock();
        }
    }
    if (pending) {
        ledger.noteLoss(pending->slot);
        lost(pending->frame.presentationTimeStamp());
    }
    if (missedFrames) settleMissed(std::min(grid.nearestSlot(missedFrames->end), checkedSum(target, 1)));
    finished = ledger.account(target);
    // Also where the movie had no room for the last copies, it reaches the stop.
    if (input && lastSlot >= 0 && lastSlot < target) input->extendLast(grid.startOf(checkedSum(target, 1)));
    input.reset();
    pending.reset();
    lastFrame.reset();
    return totals;
}

FrameAccount ScreenBeat::account() const {
    MutexLock guard(lock);
    return finished;
}

void ScreenBeat::cancel() {
    MutexLock guard(lock);
    cancelTimer();
    input.reset();
    pending.reset();
    missedFrames.reset();
    lastFrame.reset();
}

} // namespace vintra
