#include "Vintra/platform/linux/screen/PackedColours.h"

#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vintra {
namespace {

constexpr int kMostBits = 10;

uint32_t eightBitsAt(uint32_t word, ColourBits bits) {
    return eightBitsOf(word >> bits.shift & ((1u << bits.count) - 1), bits.count);
}

} // namespace

bool PackedColours::isBgrx() const {
    return *this == PackedColours{.bytesPerPixel = 4, .red = {16, 8}, .green = {8, 8}, .blue = {0, 8}};
}

std::optional<ColourBits> colourBitsOf(uint64_t mask) {
    if (mask == 0 || mask >> 32 != 0) return std::nullopt;
    const ColourBits bits{std::countr_zero(mask), std::popcount(mask)};
    const bool isInARow = mask >> bits.shift == (uint64_t{1} << bits.count) - 1;
    return isInARow && bits.count <= kMostBits ? std::optional(bits) : std::nullopt;
}

void convertToBgrxPortable(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours) {
    const auto bytes = static_cast<size_t>(colours.bytesPerPixel);
    for (size_t i = 0; i < count; ++i) {
        uint32_t word = 0;
        std::memcpy(&word, from + i * bytes, bytes);
        const uint32_t pixel = eightBitsAt(word, colours.blue) | eightBitsAt(word, colours.green) << 8 |
                               eightBitsAt(word, colours.red) << 16;
        std::memcpy(to + i * sizeof pixel, &pixel, sizeof pixel);
    }
}

#if defined(__x86_64__)

namespace {

/// One colour of four words to its 8 bits, four at a time.
///
/// Goal: value · 255 / most, rounded to nearest, without a division. Method: in single precision, where the product and
/// the quotient by a constant are off by less than 2⁻¹⁵, while the nearest a quotient comes to a half is 1/2046; so the
/// conversion to whole numbers, which rounds to nearest, never meets a tie and never errs.
class FourColours {
public:
    explicit FourColours(ColourBits bits)
        : shift(_mm_cvtsi32_si128(bits.shift))
        , most(_mm_set1_epi32((1 << bits.count) - 1))
        , scale(_mm_set1_ps(255.0f / static_cast<float>((1 << bits.count) - 1))) {}

    __m128i of(__m128i words) const {
        const __m128i value = _mm_and_si128(_mm_srl_epi32(words, shift), most);
        return _mm_cvtps_epi32(_mm_mul_ps(_mm_cvtepi32_ps(value), scale));
    }

private:
    __m128i shift;
    __m128i most;
    __m128 scale;
};

/// Four pixels as words of 32 bits.
template <int kBytes>
__m128i fourWords(const uint8_t* from) {
    if constexpr (kBytes == 4) return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)), _mm_setzero_si128());
}

template <int kBytes>
size_t convertByFours(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours) {
    const FourColours red(colours.red);
    const FourColours green(colours.green);
    const FourColours blue(colours.blue);
    size_t i = 0;
    for (; i + 4 <= count; i += 4) {
        const __m128i words = fourWords<kBytes>(from + i * kBytes);
        const __m128i pixels = _mm_or_si128(blue.of(words), _mm_or_si128(_mm_slli_epi32(green.of(words), 8),
                                                                         _mm_slli_epi32(red.of(words), 16)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * 4), pixels);
    }
    return i;
}

} // namespace

void convertToBgrx(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours) {
    size_t done = 0;
    if (colours.bytesPerPixel == 4) done = convertByFours<4>(to, from, count, colours);
    if (colours.bytesPerPixel == 2) done = convertByFours<2>(to, from, count, colours);
    convertToBgrxPortable(to + done * 4, from + done * static_cast<size_t>(colours.bytesPerPixel),
                          count - done, colours);
}

#else

void convertToBgrx(uint8_t* to, const uint8_t* from, size_t count, const PackedColours& colours) {
    convertToBgrxPortable(to, from, count, colours);
}

#endif

} // namespace vintra
