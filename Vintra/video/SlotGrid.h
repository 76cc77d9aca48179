#pragma once

#include "Vintra/platform/CMTime.h"

#include <cstdint>
#include <optional>

namespace vintra {

/// The grid of a take's pictures: slot n starts at `anchor` + round(`phase` × 600)/600 s + n/`rate` s.
///
/// Goal: a track of constant rate on the take's clock, from frames that come at uneven times.
/// Constraint: every slot's time is an exact rational, so that no rounding adds up however long the take is.
/// Method: the first frame fixes the phase; a later one takes the slot after the last as long as it stands
/// within 0.65 of a slot of it, which absorbs jitter without moving any frame off the sequence. A frame that is
/// later than that takes the slot nearest to it; a frame that is earlier has no slot.
///
/// A value; its owner guards it.
struct SlotGrid {
    CMTime anchor;               ///< zero of the grid; invalid until a take has begun
    int32_t rate = 30;           ///< slots a second, at least 1
    std::optional<double> phase; ///< seconds, a whole number of 1/600 s; none until the first frame

    /// A grid whose phase is still open. A rate below 1 counts as 1.
    static SlotGrid begin(CMTime at, int32_t rate);

    /// Whether slots have times yet.
    bool isFixed() const { return phase.has_value() && anchor.isNumeric(); }

    /// The slot of a frame stamped `pts` that follows one in `last` (below 0 for none); fixes the phase if it
    /// is open. None if either time is not numeric, or the frame is from before the anchor or more than 0.65
    /// slots early.
    std::optional<int64_t> slot(CMTime pts, int64_t last);

    /// The slot that `time` lies in; 0 until the grid is fixed.
    int64_t slotAt(CMTime time) const;
    /// The slot that begins nearest to `time`; 0 until the grid is fixed.
    int64_t nearestSlot(CMTime time) const;
    /// The last slot that begins before `time`; none until the grid is fixed.
    std::optional<int64_t> lastSlotBefore(CMTime time) const;

    /// Half a second of slots, at least 1: the time a writer gets to catch up after a loss.
    int64_t calmSlots() const { return rate < 4 ? 1 : rate / 2; }

    CMTime startOf(int64_t slot) const;
    CMTime slotDuration() const { return CMTimeMake(1, rate); }

private:
    /// The distance from the grid's origin in slots, not rounded.
    double exactSlotOf(CMTime time) const;
};

} // namespace vintra
