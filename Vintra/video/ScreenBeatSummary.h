#pragma once

#include "Vintra/video/ScreenBeat.h"

#include <cstdint>
#include <string>

namespace vintra {

/// What the beat of a finished take did, in words for the diagnostics. `rate` in frames a second.
std::string screenBeatSummary(int32_t rate, const ScreenBeat::Totals& totals);

} // namespace vintra
