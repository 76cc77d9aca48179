#pragma once

#include "Vintra/platform/linux/camera/CameraColour.h"

#include <cstdint>

namespace vintra {

/// From a camera's luma and chroma to those of Rec. 709 in video range, as fixed-point factors.
///
/// Both are linear in red, green and blue, so one goes over into the other by a matrix: luma takes a part of the
/// chroma with it, and chroma never depends on luma. Each factor is times 2^14; a factor and a sample that is
/// shifted up by 7 bits are multiplied, rounded and shifted down by 15, which leaves 6 bits of fraction.
struct CameraColourMatrix {
    static constexpr int kSampleShift = 7;
    static constexpr int kFraction = 6;

    int16_t lumaZero = 16; ///< the sample that is black
    int16_t luma = 0;      ///< of the luma in luma
    int16_t lumaCb = 0;    ///< of Cb in luma
    int16_t lumaCr = 0;
    int16_t cb = 0;   ///< of Cb in Cb
    int16_t cbCr = 0; ///< of Cr in Cb
    int16_t crCb = 0;
    int16_t cr = 0;
    bool isIdentity = false; ///< the samples are right as they are

    static CameraColourMatrix from(const CameraColour& colour);
};

} // namespace vintra
