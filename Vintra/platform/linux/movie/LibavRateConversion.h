#pragma once

#include "Vintra/platform/RateConversion.h"

namespace vintra {

/// libswresample with the resampler of libsoxr at its highest precision, 28 bits.
class LibavRateConversion final : public RateConversion {
public:
    std::unique_ptr<RateConverter> makeConverter(uint32_t channels, double stretch) override;
};

} // namespace vintra
