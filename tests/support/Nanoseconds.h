#pragma once

#include <cstdint>

namespace vintra {

// Lengths of time in nanoseconds.
constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kSecond = 1'000 * kMillisecond;
constexpr int64_t kTenSeconds = 10 * kSecond;

} // namespace vintra
