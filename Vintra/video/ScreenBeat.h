#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/DispatchQueue.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Log.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/video/FrameAccount.h"
#include "Vintra/video/SlotGrid.h"
#include "Vintra/video/SlotLedger.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Stands between the screen stream and the screen movie's input and makes the track's rate constant: each
/// frame goes on its slot of the grid, and up to 30 frames a second empty slots get copies of the frame
/// before. Faster takes hold real frames alone, and one copy at the very end.
///
///     idle --begin--> armed --first frame--> running --finish--> finishing --> idle
///       ^               \--------------------cancel-----------------------------^
///
/// One, held by the recorder for its whole life through a shared pointer. `frame`, the timer and `finish` run
/// on the screen's sample queue, `begin` and `cancel` on the main thread. The lock is held across appends and
/// across the calls of `wrote` and `lost`, so no other lock may be held when it is taken.
class ScreenBeat : public std::enable_shared_from_this<ScreenBeat> {
public:
    struct Totals {
        int64_t repeated = 0; ///< copies written
        int64_t leftOut = 0;  ///< frames that had no place on the grid
        int64_t skipped = 0;  ///< slots left empty in a take that fills
        bool operator==(const Totals&) const = default;
    };

    ScreenBeat(std::shared_ptr<HostClock> clock, std::shared_ptr<Log> systemLog);

    /// What the beat is armed with for a take. The functions are called with the lock held.
    struct Arming {
        CMTime at;         ///< the take's common start
        int32_t rate = 30; ///< frames a second
        std::shared_ptr<AVAssetWriterInput> into;
        std::shared_ptr<DispatchQueue> on; ///< the serial queue for the timer
        std::function<void(CMTime)> wrote; ///< takes the end of each sample appended
        /// Takes the capture time of each real frame that is never written, and the times of those that the
        /// capture left out.
        std::function<void(CMTime)> lost;
        std::function<std::string()> writerStatus; ///< a text about the writer for the log
    };

    /// Arms the beat for a take, from any state: after the writer's session has started at the common start,
    /// and before the first `frame`.
    void begin(Arming arming);
    /// A complete frame of the screen. Ignored while idle.
    void frame(const CMSampleBuffer& sample);
    /// From `first` up to `end` there was something new to show, and the capture couldn't take it: the slots
    /// from there up to that of the next frame, or up to `end` if none follows, are lost. Before that frame.
    void missed(CMTime first, CMTime end);
    /// Pads the track up to `at`, the host time at which the stop began, and goes idle. Blocks for up to one
    /// second where the writer is behind.
    Totals finish(CMTime at);
    /// What the slots of the take that was finished last hold.
    FrameAccount account() const;
    /// Drops everything; nothing is written or reported.
    void cancel();

private:
    struct Missed {
        CMTime first;
        CMTime end;
    };
    struct Pending {
        int64_t slot = 0;
        CMSampleBuffer frame;
    };
    /// Counts of one second of beat.
    struct SecondCounts {
        int64_t arrivedThisSecond = 0;
        int64_t writtenThisSecond = 0;
        int64_t repeatsThisSecond = 0;
        int64_t lostThisSecond = 0;
        int64_t notReadyArrivals = 0;
        int64_t notReadyTicks = 0;
        int64_t failedAppends = 0;
        int64_t skippedThisSecond = 0;
    };

    void tick();
    void logSecond(int64_t now) REQUIRES(lock);
    int64_t nowSlot() const REQUIRES(lock);
    std::optional<int64_t> slot(CMTime pts) REQUIRES(lock);
    /// Decides what is written: the pending frame and the copies that lead up to it, then copies up to the
    /// slot `through`.
    void pump(int64_t through) REQUIRES(lock);
    /// One append. True if it succeeded.
    bool writeTowardsPending(bool copiesAllowed) REQUIRES(lock);
    bool writeCopyTowards(int64_t target, bool copiesAllowed) REQUIRES(lock);
    bool write(const CMSampleBuffer& frame, int64_t slot) REQUIRES(lock);
    void countSkipped(int64_t slots) REQUIRES(lock);
    /// Counts what the capture missed before the slot `end`.
    void settleMissed(int64_t end) REQUIRES(lock);
    /// Tells the movie how far the picture that was written last stands, where no copies say so.
    void extendLast(int64_t now) REQUIRES(lock);
    void cancelTimer() REQUIRES(lock);

    const std::shared_ptr<HostClock> hostClock;
    const std::shared_ptr<Log> log;

    mutable Mutex lock;
    bool fills GUARDED_BY(lock) = true;
    bool finishing GUARDED_BY(lock) = false;
    std::shared_ptr<DispatchTimer> timer GUARDED_BY(lock);
    std::shared_ptr<AVAssetWriterInput> input GUARDED_BY(lock);
    SlotGrid grid GUARDED_BY(lock);
    int64_t lastSlot GUARDED_BY(lock) = -1; ///< highest written
    std::optional<CMSampleBuffer> lastFrame GUARDED_BY(lock);
    std::optional<Pending> pending GUARDED_BY(lock);
    std::optional<Missed> missedFrames GUARDED_BY(lock); ///< whose slots aren't settled yet
    SlotLedger ledger GUARDED_BY(lock);
    FrameAccount finished GUARDED_BY(lock);
    Totals totals GUARDED_BY(lock);
    int64_t lastLossSlot GUARDED_BY(lock);
    std::function<void(CMTime)> wrote GUARDED_BY(lock);
    std::function<void(CMTime)> lost GUARDED_BY(lock);
    std::function<std::string()> writerStatus GUARDED_BY(lock);
    int64_t ticks GUARDED_BY(lock) = 0;
    SecondCounts second GUARDED_BY(lock);
};

} // namespace vintra
