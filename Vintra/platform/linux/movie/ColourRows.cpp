#include "Vintra/platform/linux/movie/ColourRows.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vintra {
namespace {

using M = ColourMatrix;

uint8_t luma(const uint8_t* pixel) {
    return static_cast<uint8_t>(
        (M::kLumaBlue * pixel[0] + M::kLumaGreen * pixel[1] + M::kLumaRed * pixel[2] + M::kLumaOffset) >>
        M::kLumaShift);
}

} // namespace

void convertColourRowsPortable(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                               uint8_t* lumaBottom, uint8_t* chroma) {
    for (size_t x = 0; x < width; x += 2) {
        const uint8_t* const a = top + 4 * x;
        const uint8_t* const b = bottom + 4 * x;
        lumaTop[x] = luma(a);
        lumaTop[x + 1] = luma(a + 4);
        lumaBottom[x] = luma(b);
        lumaBottom[x + 1] = luma(b + 4);
        const int blue = a[0] + a[4] + b[0] + b[4];
        const int green = a[1] + a[5] + b[1] + b[5];
        const int red = a[2] + a[6] + b[2] + b[6];
        chroma[x] = static_cast<uint8_t>(
            (M::kCbBlue * blue + M::kCbGreen * green + M::kCbRed * red + M::kChromaOffset) >>
            M::kChromaShift);
        chroma[x + 1] = static_cast<uint8_t>(
            (M::kCrBlue * blue + M::kCrGreen * green + M::kCrRed * red + M::kChromaOffset) >>
            M::kChromaShift);
    }
}

#if defined(__x86_64__)

namespace {

/// Even and odd 32-bit lanes of two registers, added: the two halves of each pixel's product.
inline __m128i addPairs(__m128i low, __m128i high) {
    const __m128 a = _mm_castsi128_ps(low);
    const __m128 b = _mm_castsi128_ps(high);
    return _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(a, b, 0x88)),
                         _mm_castps_si128(_mm_shuffle_ps(a, b, 0xDD)));
}

inline __m128i weights(int blue, int green, int red) {
    return _mm_setr_epi16(static_cast<short>(blue), static_cast<short>(green), static_cast<short>(red), 0,
                          static_cast<short>(blue), static_cast<short>(green), static_cast<short>(red), 0);
}

struct Sse2 {
    const __m128i zero = _mm_setzero_si128();
    const __m128i luma = weights(M::kLumaBlue, M::kLumaGreen, M::kLumaRed);
    const __m128i cb = weights(M::kCbBlue, M::kCbGreen, M::kCbRed);
    const __m128i cr = weights(M::kCrBlue, M::kCrGreen, M::kCrRed);
    const __m128i kLumaOffset = _mm_set1_epi32(M::kLumaOffset);
    const __m128i kChromaOffset = _mm_set1_epi32(M::kChromaOffset);

    /// Four pixels of each row: four lumas a row in 32 bits, and Cb Cr Cb Cr.
    inline void convert(const uint8_t* top, const uint8_t* bottom, __m128i& lumaTop, __m128i& lumaBottom,
                        __m128i& chroma) const {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(top));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bottom));
        const __m128i a0 = _mm_unpacklo_epi8(a, zero);
        const __m128i a1 = _mm_unpackhi_epi8(a, zero);
        const __m128i b0 = _mm_unpacklo_epi8(b, zero);
        const __m128i b1 = _mm_unpackhi_epi8(b, zero);
        lumaTop = lumaOf(a0, a1);
        lumaBottom = lumaOf(b0, b1);
        const __m128i s0 = _mm_add_epi16(a0, b0);
        const __m128i s1 = _mm_add_epi16(a1, b1);
        const __m128i sum = _mm_add_epi16(_mm_unpacklo_epi64(s0, s1), _mm_unpackhi_epi64(s0, s1));
        const __m128i both = addPairs(_mm_madd_epi16(sum, cb), _mm_madd_epi16(sum, cr)); // Cb Cb Cr Cr
        chroma = _mm_srai_epi32(_mm_add_epi32(_mm_shuffle_epi32(both, 0xD8), kChromaOffset), M::kChromaShift);
    }
    inline __m128i lumaOf(__m128i low, __m128i high) const {
        const __m128i sum = addPairs(_mm_madd_epi16(low, luma), _mm_madd_epi16(high, luma));
        return _mm_srai_epi32(_mm_add_epi32(sum, kLumaOffset), M::kLumaShift);
    }
};

inline void store(uint8_t* to, const __m128i (&four)[4]) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm_packus_epi16(_mm_packs_epi32(four[0], four[1]), _mm_packs_epi32(four[2], four[3])));
}

} // namespace

void convertColourRowsSse2(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                           uint8_t* lumaBottom, uint8_t* chroma) {
    const Sse2 sse2;
    size_t x = 0;
    for (; x + 16 <= width; x += 16) {
        __m128i above[4];
        __m128i below[4];
        __m128i colour[4];
        for (size_t i = 0; i < 4; ++i)
            sse2.convert(top + 4 * x + 16 * i, bottom + 4 * x + 16 * i, above[i], below[i], colour[i]);
        store(lumaTop + x, above);
        store(lumaBottom + x, below);
        store(chroma + x, colour);
    }
    convertColourRowsPortable(top + 4 * x, bottom + 4 * x, width - x, lumaTop + x, lumaBottom + x,
                              chroma + x);
}

#define VINTRA_AVX2 __attribute__((target("avx2")))

namespace {

VINTRA_AVX2 inline __m256i addPairsAvx2(__m256i low, __m256i high) {
    const __m256 a = _mm256_castsi256_ps(low);
    const __m256 b = _mm256_castsi256_ps(high);
    return _mm256_add_epi32(_mm256_castps_si256(_mm256_shuffle_ps(a, b, 0x88)),
                            _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0xDD)));
}

/// 32 values of 32 bits in four registers, eight a register in order, as 32 bytes in order.
VINTRA_AVX2 inline void storeAvx2(uint8_t* to, __m256i a, __m256i b, __m256i c, __m256i d) {
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_permutevar8x32_epi32(bytes, order));
}

VINTRA_AVX2 inline __m256i lumaAvx2(__m256i low, __m256i high, __m256i weight, __m256i offset) {
    const __m256i sum = addPairsAvx2(_mm256_madd_epi16(low, weight), _mm256_madd_epi16(high, weight));
    return _mm256_srai_epi32(_mm256_add_epi32(sum, offset), M::kLumaShift);
}

} // namespace

VINTRA_AVX2 void convertColourRowsAvx2(const uint8_t* top, const uint8_t* bottom, size_t width,
                                       uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i luma = _mm256_broadcastsi128_si256(weights(M::kLumaBlue, M::kLumaGreen, M::kLumaRed));
    const __m256i cb = _mm256_broadcastsi128_si256(weights(M::kCbBlue, M::kCbGreen, M::kCbRed));
    const __m256i cr = _mm256_broadcastsi128_si256(weights(M::kCrBlue, M::kCrGreen, M::kCrRed));
    const __m256i kLumaOffset = _mm256_set1_epi32(M::kLumaOffset);
    const __m256i kChromaOffset = _mm256_set1_epi32(M::kChromaOffset);
    size_t x = 0;
    for (; x + 32 <= width; x += 32) {
        __m256i above[4];
        __m256i below[4];
        __m256i colour[4];
        for (size_t i = 0; i < 4; ++i) {
            const size_t at = 4 * x + 32 * i;
            const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(top + at));
            const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bottom + at));
            const __m256i a0 = _mm256_unpacklo_epi8(a, zero); // pixels 0 1 and 4 5
            const __m256i a1 = _mm256_unpackhi_epi8(a, zero); // pixels 2 3 and 6 7
            const __m256i b0 = _mm256_unpacklo_epi8(b, zero);
            const __m256i b1 = _mm256_unpackhi_epi8(b, zero);
            above[i] = lumaAvx2(a0, a1, luma, kLumaOffset);
            below[i] = lumaAvx2(b0, b1, luma, kLumaOffset);
            const __m256i s0 = _mm256_add_epi16(a0, b0);
            const __m256i s1 = _mm256_add_epi16(a1, b1);
            const __m256i sum =
                _mm256_add_epi16(_mm256_unpacklo_epi64(s0, s1), _mm256_unpackhi_epi64(s0, s1));
            const __m256i both =
                addPairsAvx2(_mm256_madd_epi16(sum, cb), _mm256_madd_epi16(sum, cr)); // Cb Cb Cr Cr
            colour[i] = _mm256_srai_epi32(_mm256_add_epi32(_mm256_shuffle_epi32(both, 0xD8), kChromaOffset),
                                          M::kChromaShift);
        }
        storeAvx2(lumaTop + x, above[0], above[1], above[2], above[3]);
        storeAvx2(lumaBottom + x, below[0], below[1], below[2], below[3]);
        storeAvx2(chroma + x, colour[0], colour[1], colour[2], colour[3]);
    }
    convertColourRowsPortable(top + 4 * x, bottom + 4 * x, width - x, lumaTop + x, lumaBottom + x,
                              chroma + x);
}

#undef VINTRA_AVX2

#else

void convertColourRowsSse2(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                           uint8_t* lumaBottom, uint8_t* chroma) {
    convertColourRowsPortable(top, bottom, width, lumaTop, lumaBottom, chroma);
}

void convertColourRowsAvx2(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                           uint8_t* lumaBottom, uint8_t* chroma) {
    convertColourRowsPortable(top, bottom, width, lumaTop, lumaBottom, chroma);
}

#endif

} // namespace vintra
