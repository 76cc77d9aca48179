#pragma once

#include "Vintra/platform/linux/movie/PictureRepeats.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vintra {

/// Makes HEVC pictures that show the one before once more, as `H264Repeats` does for H.264: every block is
/// skipped, and the encoder's later pictures are renumbered up to the next key picture. What a repeated picture
/// has beside its number is the same each time, so its blocks are encoded once.
///
/// For streams whose pictures refer to the one before alone and to no motion of it, one slice each.
class HevcRepeats final : public PictureRepeats {
public:
    /// From the encoder's parameter sets, a stream with start codes; null if its streams are of another kind.
    static std::unique_ptr<HevcRepeats> make(std::span<const uint8_t> parameterSets);

    std::vector<uint8_t> additionalParameterSet() const override;
    std::vector<uint8_t> renumbered(std::span<const uint8_t> picture) override;
    std::vector<uint8_t> repeat() override;

private:
    /// What the sequence parameter set says that matters here.
    struct Sequence {
        uint32_t width = 0; ///< of the coded picture
        uint32_t height = 0;
        int numberBits = 0;    ///< of a picture's number
        int smallestBlock = 0; ///< as powers of two
        int largestBlock = 0;
        bool hasSampleOffset = false;
    };

    explicit HevcRepeats(const Sequence& sequence)
        : sequence(sequence) {}
    static bool read(std::span<const uint8_t> unit, Sequence& sequence);
    void renumberSlice(std::vector<uint8_t>& unit);

    const Sequence sequence;
    std::vector<uint8_t> blocks; ///< of every repeated picture; empty until the first
    uint32_t inserted = 0;       ///< since the last key picture
    uint32_t next = 0;           ///< number of the picture that comes next
};

} // namespace vintra
