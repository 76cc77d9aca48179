#pragma once

#include "Vintra/platform/CMTime.h"

namespace vintra {

/// 5,000 s on the host clock.
constexpr CMTime kStart{36'000'000'000, 7'200'000, kCMTimeFlags_Valid};

inline CMTime after(double seconds) {
    return kStart + CMTimeMakeWithSeconds(seconds, 7'200'000);
}

} // namespace vintra
