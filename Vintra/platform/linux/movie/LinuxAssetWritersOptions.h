#pragma once

#include <cstdint>

namespace vintra {

/// How writers behave apart from what the core asks of them. A value.
struct LinuxAssetWritersOptions {
    /// Waited before each sample is encoded: a machine that is too slow, for tests.
    int64_t encoderDelayMicroseconds = 0;
};

} // namespace vintra
