#pragma once

#include "Vintra/platform/linux/movie/PictureRepeats.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vintra {

/// Makes H.264 pictures that show the one before once more, without an encoder.
///
/// Goal: a still screen on a constant-rate grid costs next to nothing, while every slot has a picture.
/// Constraint: an encoder takes most of a picture's time even where nothing changes. Method: a picture whose
/// blocks are all skipped is a few bytes that depend on nothing but its number. It is put between those of
/// the encoder, whose later pictures are renumbered up to the next key picture; their reference, the picture
/// before, is the same either way. The skipped pictures have a picture parameter set of their own, since they
/// are written in the simpler of the format's two codes.
///
/// For streams with one reference picture, whose order is that of decoding. Owned by a `VideoEncoder`, of its
/// thread.
class H264Repeats final : public PictureRepeats {
public:
    /// From the encoder's parameter sets, a stream with start codes; null if its streams are of another kind.
    static std::unique_ptr<H264Repeats> make(std::span<const uint8_t> parameterSets);

    std::vector<uint8_t> additionalParameterSet() const override;
    std::vector<uint8_t> renumbered(std::span<const uint8_t> picture) override;
    std::vector<uint8_t> repeat() override;

private:
    H264Repeats(int numberBits, uint32_t blocks)
        : numberBits(numberBits)
        , blocks(blocks) {}
    void renumberSlice(std::vector<uint8_t>& unit);

    int numberBits;        ///< of a picture's number
    uint32_t blocks;       ///< of a picture
    uint32_t inserted = 0; ///< since the last key picture
    uint32_t next = 0;     ///< number of the picture that comes next
};

} // namespace vintra
