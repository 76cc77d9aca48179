#pragma once

#include "Vintra/platform/RateConversion.h"

namespace vintra {

/// Band-limited interpolation by the book: each frame that comes out is the sum of its neighbours, weighted by
/// a windowed sinc around its exact place. Slow, and exact for all but the highest tones.
class SimulatedRateConversion : public RateConversion {
public:
    std::unique_ptr<RateConverter> makeConverter(uint32_t channels, double stretch) override;
};

} // namespace vintra
