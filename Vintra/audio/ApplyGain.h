#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

namespace vintra {

struct GainResult {
    CMSampleBuffer buffer; ///< the buffer given, its samples changed in place
    float level = 0;       ///< meter position of the new peak: 0 at -60 dBFS or below, 1 at 0 dBFS
};

/// The greatest part of full scale to which a gain may raise a peak, about -1 dBFS.
inline constexpr double kGainCeiling = 0.891;

/// Scales 32-bit float or 16-bit integer samples in place. Only raising is limited: to the factor that brings
/// the buffer's peak to `ceilingFraction` of full scale. A buffer without data or format, or in several
/// pieces, stays as it is with level 0. Any thread; allocates nothing.
GainResult applyGain(const CMSampleBuffer& to, double gainDB, double ceilingFraction);

} // namespace vintra
