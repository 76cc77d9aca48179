#include "Vintra/platform/linux/wayland/UncachedCopy.h"

#include <algorithm>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vintra {

#if defined(__x86_64__)
namespace {

constexpr size_t kRegister = 16; // bytes
constexpr size_t kCacheLine = 64;

/// `from` is on a cache line's beginning, `count` a multiple of one.
__attribute__((target("sse4.1"))) void streamLines(uint8_t* to, const uint8_t* from, size_t count) {
    auto* source = reinterpret_cast<__m128i*>(const_cast<uint8_t*>(from));
    auto* target = reinterpret_cast<__m128i*>(to);
    for (size_t done = 0; done < count; done += kCacheLine, source += 4, target += 4) {
        const __m128i first = _mm_stream_load_si128(source);
        const __m128i second = _mm_stream_load_si128(source + 1);
        const __m128i third = _mm_stream_load_si128(source + 2);
        const __m128i fourth = _mm_stream_load_si128(source + 3);
        _mm_storeu_si128(target, first);
        _mm_storeu_si128(target + 1, second);
        _mm_storeu_si128(target + 2, third);
        _mm_storeu_si128(target + 3, fourth);
    }
    static_assert(kCacheLine == 4 * kRegister);
}

} // namespace

void copyUncached(uint8_t* to, const uint8_t* from, size_t count) {
    static const bool canStream = __builtin_cpu_supports("sse4.1") != 0;
    if (!canStream) {
        std::memcpy(to, from, count);
        return;
    }
    const size_t past = reinterpret_cast<uintptr_t>(from) % kCacheLine;
    const size_t before = std::min(count, (kCacheLine - past) % kCacheLine);
    std::memcpy(to, from, before);
    const size_t lines = (count - before) / kCacheLine * kCacheLine;
    streamLines(to + before, from + before, lines);
    std::memcpy(to + before + lines, from + before + lines, count - before - lines);
}
#else
void copyUncached(uint8_t* to, const uint8_t* from, size_t count) {
    std::memcpy(to, from, count);
}
#endif

} // namespace vintra
