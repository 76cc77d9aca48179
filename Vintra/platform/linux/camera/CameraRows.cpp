#include "Vintra/platform/linux/camera/CameraRows.h"

#include <algorithm>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vintra {
namespace {

using M = CameraColourMatrix;

uint8_t meanOf(int a, int b) {
    return static_cast<uint8_t>((a + b + 1) >> 1);
}

void unpackPortable(const uint8_t* top, const uint8_t* bottom, size_t pairs, PackedPair order,
                    uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma) {
    const int cb = (1 - order.luma) + (order.isCrFirst ? 2 : 0);
    const int cr = (1 - order.luma) + (order.isCrFirst ? 0 : 2);
    for (size_t i = 0; i < pairs; ++i, top += 4, bottom += 4) {
        lumaTop[2 * i] = top[order.luma];
        lumaTop[2 * i + 1] = top[order.luma + 2];
        lumaBottom[2 * i] = bottom[order.luma];
        lumaBottom[2 * i + 1] = bottom[order.luma + 2];
        chroma[2 * i] = meanOf(top[cb], bottom[cb]);
        chroma[2 * i + 1] = meanOf(top[cr], bottom[cr]);
    }
}

void interleavePortable(const uint8_t* const (&cb)[2], const uint8_t* const (&cr)[2], size_t pairs,
                        uint8_t* chroma) {
    for (size_t i = 0; i < pairs; ++i) {
        chroma[2 * i] = meanOf(cb[0][i], cb[1][i]);
        chroma[2 * i + 1] = meanOf(cr[0][i], cr[1][i]);
    }
}

int scaled(int sample, int factor) {
    return ((sample << M::kSampleShift) * factor + (1 << 14)) >> 15;
}

uint8_t rounded(int value, int zero) {
    return static_cast<uint8_t>(
        std::clamp(((value + (1 << (M::kFraction - 1))) >> M::kFraction) + zero, 0, 255));
}

void recolourPortable(uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma, size_t pairs,
                      const CameraColourMatrix& matrix) {
    for (size_t i = 0; i < pairs; ++i) {
        const int cb = chroma[2 * i] - 128;
        const int cr = chroma[2 * i + 1] - 128;
        const int ofChroma = scaled(cb, matrix.lumaCb) + scaled(cr, matrix.lumaCr);
        for (uint8_t* const luma : {lumaTop + 2 * i, lumaBottom + 2 * i}) {
            for (int x = 0; x < 2; ++x)
                luma[x] = rounded(scaled(luma[x] - matrix.lumaZero, matrix.luma) + ofChroma, 16);
        }
        chroma[2 * i] = rounded(scaled(cb, matrix.cb) + scaled(cr, matrix.cbCr), 128);
        chroma[2 * i + 1] = rounded(scaled(cr, matrix.cr) + scaled(cb, matrix.crCb), 128);
    }
}

constexpr CameraRows kPortable{unpackPortable, interleavePortable, recolourPortable};

#if defined(__x86_64__)

#define VINTRA_AVX2 __attribute__((target("avx2")))
#define VINTRA_AVX2_INLINE __attribute__((target("avx2"), always_inline)) inline

VINTRA_AVX2_INLINE __m256i load(const uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

VINTRA_AVX2_INLINE void store(uint8_t* to, __m256i bytes) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
}

/// Two registers of 16 bits a value, in order, to one of bytes in order.
VINTRA_AVX2_INLINE __m256i packed(__m256i low, __m256i high) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
}

VINTRA_AVX2_INLINE __m256i evenBytes(__m256i low, __m256i high) {
    const __m256i mask = _mm256_set1_epi16(0xff);
    return packed(_mm256_and_si256(low, mask), _mm256_and_si256(high, mask));
}

VINTRA_AVX2_INLINE __m256i oddBytes(__m256i low, __m256i high) {
    return packed(_mm256_srli_epi16(low, 8), _mm256_srli_epi16(high, 8));
}

VINTRA_AVX2_INLINE __m256i swappedPairs(__m256i bytes) {
    return _mm256_or_si256(_mm256_slli_epi16(bytes, 8), _mm256_srli_epi16(bytes, 8));
}

VINTRA_AVX2 void unpackAvx2(const uint8_t* top, const uint8_t* bottom, size_t pairs, PackedPair order,
                            uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma) {
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16) {
        const __m256i a0 = load(top + 4 * i);
        const __m256i a1 = load(top + 4 * i + 32);
        const __m256i b0 = load(bottom + 4 * i);
        const __m256i b1 = load(bottom + 4 * i + 32);
        const __m256i m0 = _mm256_avg_epu8(a0, b0);
        const __m256i m1 = _mm256_avg_epu8(a1, b1);
        const bool isLumaFirst = order.luma == 0;
        store(lumaTop + 2 * i, isLumaFirst ? evenBytes(a0, a1) : oddBytes(a0, a1));
        store(lumaBottom + 2 * i, isLumaFirst ? evenBytes(b0, b1) : oddBytes(b0, b1));
        const __m256i colour = isLumaFirst ? oddBytes(m0, m1) : evenBytes(m0, m1);
        store(chroma + 2 * i, order.isCrFirst ? swappedPairs(colour) : colour);
    }
    unpackPortable(top + 4 * i, bottom + 4 * i, pairs - i, order, lumaTop + 2 * i, lumaBottom + 2 * i,
                   chroma + 2 * i);
}

VINTRA_AVX2 void interleaveAvx2(const uint8_t* const (&cb)[2], const uint8_t* const (&cr)[2], size_t pairs,
                                uint8_t* chroma) {
    size_t i = 0;
    for (; i + 32 <= pairs; i += 32) {
        const __m256i blue = _mm256_avg_epu8(load(cb[0] + i), load(cb[1] + i));
        const __m256i red = _mm256_avg_epu8(load(cr[0] + i), load(cr[1] + i));
        const __m256i low = _mm256_unpacklo_epi8(blue, red);
        const __m256i high = _mm256_unpackhi_epi8(blue, red);
        store(chroma + 2 * i, _mm256_permute2x128_si256(low, high, 0x20));
        store(chroma + 2 * i + 32, _mm256_permute2x128_si256(low, high, 0x31));
    }
    const uint8_t* const restOfCb[2] = {cb[0] + i, cb[1] + i};
    const uint8_t* const restOfCr[2] = {cr[0] + i, cr[1] + i};
    interleavePortable(restOfCb, restOfCr, pairs - i, chroma + 2 * i);
}

VINTRA_AVX2_INLINE __m256i widened(const uint8_t* from, __m256i zero) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    return _mm256_slli_epi16(_mm256_sub_epi16(_mm256_cvtepu8_epi16(bytes), zero), M::kSampleShift);
}

VINTRA_AVX2_INLINE __m256i roundedAvx2(__m256i value, __m256i zero) {
    const __m256i half = _mm256_set1_epi16(1 << (M::kFraction - 1));
    return _mm256_add_epi16(_mm256_srai_epi16(_mm256_add_epi16(value, half), M::kFraction), zero);
}

/// A factor for the even and one for the odd values.
VINTRA_AVX2_INLINE __m256i factors(int16_t even, int16_t odd) {
    return _mm256_set1_epi32(static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(odd)) << 16 |
                                                  static_cast<uint16_t>(even)));
}

/// Each pair of 16-bit values with its two swapped.
VINTRA_AVX2_INLINE __m256i swapped(__m256i values) {
    return _mm256_or_si256(_mm256_slli_epi32(values, 16), _mm256_srli_epi32(values, 16));
}

VINTRA_AVX2 void recolourAvx2(uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma, size_t pairs,
                              const CameraColourMatrix& matrix) {
    const __m256i lumaZero = _mm256_set1_epi16(matrix.lumaZero);
    const __m256i luma = _mm256_set1_epi16(matrix.luma);
    const __m256i lumaOfChroma = factors(matrix.lumaCb, matrix.lumaCr);
    const __m256i own = factors(matrix.cb, matrix.cr);
    const __m256i other = factors(matrix.cbCr, matrix.crCb);
    const __m256i middle = _mm256_set1_epi16(128);
    const __m256i black = _mm256_set1_epi16(16);
    size_t i = 0;
    for (; i + 16 <= pairs; i += 16) {
        __m256i colour[2];
        __m256i rows[2][2];
        for (size_t half = 0; half < 2; ++half) {
            const size_t at = 2 * i + 16 * half;
            const __m256i samples = widened(chroma + at, middle);
            const __m256i parts = _mm256_mulhrs_epi16(samples, lumaOfChroma);
            const __m256i ofChroma = _mm256_add_epi16(parts, swapped(parts)); // the same for both pixels
            colour[half] = roundedAvx2(_mm256_add_epi16(_mm256_mulhrs_epi16(samples, own),
                                                        _mm256_mulhrs_epi16(swapped(samples), other)),
                                       middle);
            rows[0][half] = roundedAvx2(
                _mm256_add_epi16(_mm256_mulhrs_epi16(widened(lumaTop + at, lumaZero), luma), ofChroma),
                black);
            rows[1][half] = roundedAvx2(
                _mm256_add_epi16(_mm256_mulhrs_epi16(widened(lumaBottom + at, lumaZero), luma), ofChroma),
                black);
        }
        store(lumaTop + 2 * i, packed(rows[0][0], rows[0][1]));
        store(lumaBottom + 2 * i, packed(rows[1][0], rows[1][1]));
        store(chroma + 2 * i, packed(colour[0], colour[1]));
    }
    recolourPortable(lumaTop + 2 * i, lumaBottom + 2 * i, chroma + 2 * i, pairs - i, matrix);
}

#undef VINTRA_AVX2
#undef VINTRA_AVX2_INLINE

constexpr CameraRows kAvx2{unpackAvx2, interleaveAvx2, recolourAvx2};

#endif

} // namespace

const CameraRows& CameraRows::portable() {
    return kPortable;
}

const CameraRows* CameraRows::avx2() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") != 0) return &kAvx2;
#endif
    return nullptr;
}

const CameraRows& CameraRows::fastest() {
    const CameraRows* const wide = avx2();
    return wide != nullptr ? *wide : kPortable;
}

} // namespace vintra
