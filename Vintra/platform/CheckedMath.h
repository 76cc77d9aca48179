#pragma once

#include <cstdint>

namespace vintra {

/// Says on standard error what was wrong and ends the process: for states that only a mistake in the program
/// can cause, and in which it would write wrong files. Any thread.
[[noreturn]] void stopForProgramFault(const char* fault);

/// The whole number that `value` already is, or its truncation. A value that is not finite, or beyond 64
/// bits, stops the process.
int64_t checkedInt64(double value);

/// An overflow stops the process.
int64_t checkedSum(int64_t a, int64_t b);
int64_t checkedDifference(int64_t a, int64_t b);

} // namespace vintra
