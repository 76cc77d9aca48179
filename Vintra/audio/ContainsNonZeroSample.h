#pragma once

#include "Vintra/platform/CMSampleBuffer.h"

namespace vintra {

/// Whether any byte of the sound is not 0, whatever its format. False without data, and for data in several
/// pieces. Any thread; allocates nothing.
bool containsNonZeroSample(const CMSampleBuffer& buffer);

} // namespace vintra
