#pragma once

#include "Vintra/platform/CVPixelBuffer.h"

#include <cstddef>
#include <cstdint>

namespace vintra {

/// A 4:2:0 picture of two planes that can be written to; each row of chroma holds a Cb and a Cr for two
/// pixels.
struct BiPlanarPicture {
    uint8_t* luma = nullptr;
    size_t lumaRow = 0; ///< bytes
    uint8_t* chroma = nullptr;
    size_t chromaRow = 0; ///< bytes
};

/// Turns BGRA pictures into 4:2:0 with the Rec. 709 matrix and video range (luma 16 to 235, chroma 16 to
/// 240).
///
/// Goal: a small part of a frame's time even at 1080p60 on a slow core. Method: one pass over two rows at a
/// time in 16-bit fixed point with 15 bits of fraction, so that each value is the exact one rounded to
/// nearest within 0.51; a chroma sample is the mean of its four pixels and lies in their middle. Every
/// variant does the same integer arithmetic, so all give the same bytes. Rejected: libswscale, which takes
/// ten times as long for this case. A value of one thread; the variant is chosen once, by the processor.
class ColourConverter {
public:
    enum class Variant { portable, sse2, avx2 };

    /// The fastest variant that the processor has.
    ColourConverter();
    explicit ColourConverter(Variant variant);
    static bool isSupported(Variant variant);

    /// `source` is BGRA with even sizes.
    void convert(const CVPixelBuffer& source, const BiPlanarPicture& destination) const;

private:
    using RowPair = void (*)(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                             uint8_t* lumaBottom, uint8_t* chroma);
    RowPair convertRowPair;
};

} // namespace vintra
