#pragma once

#include <cstdint>
#include <functional>

namespace vintra {

/// How writers behave apart from what the core asks of them. A value.
struct LinuxAssetWritersOptions {
    /// Waited before each sample is encoded: a machine that is too slow, for tests.
    int64_t encoderDelayMicroseconds = 0;
    /// The writers' threads wait while this holds: a disk that hangs, for tests. Asked on those threads.
    std::function<bool()> isDiskStuck = nullptr;
};

} // namespace vintra
