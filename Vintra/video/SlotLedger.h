#pragma once

#include "Vintra/video/FrameAccount.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>

namespace vintra {

/// What became of each slot of a track.
///
/// Goal: the account of a take adds up to its slots, though a loss may be learned of after the slot was filled
/// with a copy. Method: a byte for each slot, in blocks that exist only where something was noted; the counts
/// are kept along. An hour at 60 a second takes 216 KB.
///
/// A value; its owner guards it.
class SlotLedger {
public:
    void clear() { *this = {}; }
    /// A picture of its own, whatever was there.
    void noteOwn(int64_t slot) { note(slot, Kind::own); }
    /// A copy; a loss that was noted there stays one.
    void noteCopy(int64_t slot);
    /// Something new of that slot was left out. True if the slot was neither lost already, nor has a picture of
    /// its own, nor lies before all others.
    bool noteLoss(int64_t slot);

    /// The first slot of which anything is known.
    std::optional<int64_t> firstSlot() const { return first; }
    /// The slots up to `last`, or up to the last one that was noted if that is later. Empty if there is none.
    FrameAccount account(int64_t last) const;

private:
    static constexpr int64_t kBlock = 1024; // slots
    enum class Kind : uint8_t { unchanged, copied, lost, own };
    using Block = std::array<Kind, kBlock>;

    Kind kindOf(int64_t slot) const;
    void note(int64_t slot, Kind kind);

    std::map<int64_t, Block> blocks; ///< by the slot they begin with, over the block's length
    std::optional<int64_t> first;
    int64_t latest = -1;
    std::array<int64_t, 4> counts{}; ///< by kind; that of the unchanged ones is no use
};

} // namespace vintra
