#pragma once

#include "Vintra/platform/AVAssetWriter.h"
#include "Vintra/platform/AVCaptureVideoDevice.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/platform/CaptureDevices.h"
#include "Vintra/platform/HostClock.h"
#include "Vintra/platform/Mutex.h"
#include "Vintra/video/FrameAccount.h"
#include "Vintra/video/SlotGrid.h"
#include "Vintra/video/SlotLedger.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace vintra {

/// Puts one camera's frames on the grid of its take and hands them to its movie's input. It moves only when a
/// frame arrives: frames that the writer can't take yet wait, up to 8, the oldest giving way; gaps are filled
/// with copies at any rate and of any length, except just after a loss; the track ends with the last real
/// frame.
///
/// `submit` runs on the camera's sample queue and never waits for the writer. `flush` blocks, so it runs on a
/// global queue, after the last `submit`. The rest runs on the main thread. The lock is held across appends, so
/// no other lock may be held when it is taken.
class CameraWriteQueue {
public:
    /// Counts of one call.
    struct Result {
        int64_t written = 0; ///< real frames, not copies
        int64_t dropped = 0;
        bool operator==(const Result&) const = default;
    };

    explicit CameraWriteQueue(std::shared_ptr<HostClock> clock);

    /// The grid rate for a camera whose frames are at least `frameDuration` apart: the nearest whole number
    /// of frames a second, 1 to 240. 30 if the time is not numeric or not positive.
    static int32_t beat(CMTime frameDuration);
    /// The grid rate for a camera under a cap in frames a second: what the cap holds it to, else what it is set
    /// to. 30 without a camera.
    static int32_t beat(const AVCaptureVideoDevice* device, std::optional<double> cap);

    /// Arms the queue for a take that starts at `at`. A rate below 1 counts as 1.
    void begin(CMTime at, int32_t rate);
    Result submit(const CMSampleBuffer& frame, const std::shared_ptr<AVAssetWriterInput>& to);
    /// Pictures were lost on their way here: counts the slots that they would have had.
    Result missed(const AVCaptureMissedPictures& pictures);
    /// Writes out what waits, for up to half a second; the rest is dropped.
    Result flush(const std::shared_ptr<AVAssetWriterInput>& into);
    /// Forgets the frames that wait and the last picture without counting them, for a take that never started.
    void clear();
    /// Where the slots of the take went, up to that of the last frame: the track ends there. Whatever the camera
    /// was late for or didn't send stands as unchanged where nothing could be copied.
    FrameAccount account() const;
    /// Slots a second of the take's grid.
    int32_t rate() const;
    /// What the queue did in its take, in words for the diagnostics.
    std::string summary() const;

private:
    struct Slotted {
        int64_t slot = 0;
        CMSampleBuffer frame;
    };
    static constexpr size_t kLatenessBuckets = 101;

    void noteArrival(double now, CMTime pts) REQUIRES(lock);
    std::optional<int64_t> slot(CMTime pts) REQUIRES(lock);
    void enqueue(int64_t slot, const CMSampleBuffer& frame, bool ready, Result& result) REQUIRES(lock);
    void drain(AVAssetWriterInput& into, Result& result) REQUIRES(lock);
    /// Fills one slot of the gap before the first frame that waits, or leaves the gap empty. False if there is
    /// no gap.
    bool fillGap(AVAssetWriterInput& into) REQUIRES(lock);
    void writeFirst(AVAssetWriterInput& into, Result& result) REQUIRES(lock);
    std::optional<CMSampleBuffer> retimed(const CMSampleBuffer& frame, int64_t slot) const REQUIRES(lock);
    bool append(const CMSampleBuffer& frame, int64_t slot, AVAssetWriterInput& to) const REQUIRES(lock);
    /// Milliseconds within which the fraction `p` of all frames arrived, by `lateness`.
    int64_t percentile(double p) const REQUIRES(lock);

    const std::shared_ptr<HostClock> hostClock;

    mutable Mutex lock;
    std::deque<Slotted> waiting GUARDED_BY(lock); ///< oldest first
    SlotGrid grid GUARDED_BY(lock);
    SlotLedger ledger GUARDED_BY(lock);
    int64_t lastQueuedSlot GUARDED_BY(lock) = -1;        ///< handed out last, written or not
    std::optional<Slotted> lastWritten GUARDED_BY(lock); ///< the latest picture, at the slot written last
    int64_t repeated GUARDED_BY(lock) = 0;               ///< copies written
    int64_t leftOut GUARDED_BY(lock) = 0;                ///< frames refused a slot
    int64_t skipped GUARDED_BY(lock) = 0;                ///< empty slots passed over after a loss
    std::optional<int64_t> lastLossSlot GUARDED_BY(lock);
    int64_t frames GUARDED_BY(lock) = 0; ///< submitted
    int64_t waited GUARDED_BY(lock) = 0; ///< frames that could not go straight through
    int64_t mostWaiting GUARDED_BY(lock) = 0;
    int64_t dropped GUARDED_BY(lock) = 0;
    int64_t bunched GUARDED_BY(lock) = 0;               ///< under 8 ms after the one before
    std::optional<double> lastArrival GUARDED_BY(lock); ///< host seconds
    /// Frames by their delay from capture to arrival, 10 ms a bucket, the last holding 1 s and over.
    std::array<int64_t, kLatenessBuckets> lateness GUARDED_BY(lock) = {};
};

} // namespace vintra
