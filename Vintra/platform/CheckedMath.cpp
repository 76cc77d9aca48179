#include "Vintra/platform/CheckedMath.h"

#include <cstdio>
#include <cstdlib>

namespace vintra {

void stopForProgramFault(const char* fault) {
    // Not through Log: that may only queue the line, and the process ends here.
    std::fprintf(stderr, "Vintra: program fault: %s\n", fault);
    std::abort();
}

int64_t checkedInt64(double value) {
    // 2^63 is the first double beyond the range; its negative is the last within. A NaN fails both.
    constexpr double bound = 9223372036854775808.0;
    if (!(value >= -bound && value < bound)) stopForProgramFault("a number is no 64-bit whole number");
    return static_cast<int64_t>(value);
}

int64_t checkedSum(int64_t a, int64_t b) {
    int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) stopForProgramFault("a sum overflows 64 bits");
    return sum;
}

int64_t checkedDifference(int64_t a, int64_t b) {
    int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) stopForProgramFault("a difference overflows 64 bits");
    return difference;
}

} // namespace vintra
