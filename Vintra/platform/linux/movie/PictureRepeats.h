#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vintra {

/// Makes pictures that show the one before once more, without an encoder, and fits those of the encoder in
/// behind them. Owned by a `VideoEncoder`, of its thread.
class PictureRepeats {
public:
    virtual ~PictureRepeats() = default;
    /// The unit that the stream's parameter sets need in addition, without a start code.
    virtual std::vector<uint8_t> additionalParameterSet() const = 0;
    /// A picture of the encoder, numbered to follow what came before it; units behind their lengths in four
    /// bytes, as the result.
    virtual std::vector<uint8_t> renumbered(std::span<const uint8_t> picture) = 0;
    /// The picture before, once more.
    virtual std::vector<uint8_t> repeat() = 0;
};

} // namespace vintra
