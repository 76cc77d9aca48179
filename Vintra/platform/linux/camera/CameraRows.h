#pragma once

#include "Vintra/platform/linux/camera/CameraColourMatrix.h"

#include <cstddef>
#include <cstdint>

namespace vintra {

/// Where the samples of a packed pixel pair lie among its four bytes.
struct PackedPair {
    int luma = 0; ///< of the first pixel, 0 or 1; that of the second is two behind
    bool isCrFirst = false;
};

/// What a picture is made of, two rows at a time. Every set does the same integer arithmetic, so all give the same
/// bytes. What is written may run over the width by up to a pair of pixels.
struct CameraRows {
    /// Two rows of packed pixel pairs to two rows of luma and one of interleaved chroma, the mean of the two.
    void (*unpack)(const uint8_t* top, const uint8_t* bottom, size_t pairs, PackedPair order,
                   uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma);
    /// Two rows each of Cb and of Cr to one of both interleaved, the mean of the two.
    void (*interleave)(const uint8_t* const (&cb)[2], const uint8_t* const (&cr)[2], size_t pairs,
                       uint8_t* chroma);
    /// Two rows of luma and their row of chroma to another colour matrix, in place.
    void (*recolour)(uint8_t* lumaTop, uint8_t* lumaBottom, uint8_t* chroma, size_t pairs,
                     const CameraColourMatrix& matrix);

    static const CameraRows& portable();
    /// Null on a processor without AVX2.
    static const CameraRows* avx2();
    /// The fastest that the processor has.
    static const CameraRows& fastest();
};

} // namespace vintra
