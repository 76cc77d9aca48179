#pragma once

#include <cstddef>
#include <cstdint>

namespace vintra {

/// The Rec. 709 matrix for video range, times 2^15. Luma: 0.2126, 0.7152 and 0.0722 times 219/255. Chroma:
/// (B − Y)/1.8556 and (R − Y)/1.5748 times 224/255; each row sums to 0, so that greys have no colour.
struct ColourMatrix {
    static constexpr int kLumaBlue = 2032;
    static constexpr int kLumaGreen = 20127;
    static constexpr int kLumaRed = 5983;
    static constexpr int kCbBlue = 14392;
    static constexpr int kCbGreen = -11094;
    static constexpr int kCbRed = -3298;
    static constexpr int kCrBlue = -1319;
    static constexpr int kCrGreen = -13073;
    static constexpr int kCrRed = 14392;
    static constexpr int kLumaShift = 15;
    static constexpr int kChromaShift = 17; ///< of the sum of four pixels
    static constexpr int kLumaOffset = (16 << kLumaShift) + (1 << (kLumaShift - 1));
    static constexpr int kChromaOffset = (128 << kChromaShift) + (1 << (kChromaShift - 1));
};

/// Two rows of BGRA pixels to two rows of luma and one of interleaved chroma. The width is even.
void convertColourRowsPortable(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                               uint8_t* lumaBottom, uint8_t* chroma);
/// The same with vector instructions; on a processor of another kind they are the portable one.
void convertColourRowsSse2(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                           uint8_t* lumaBottom, uint8_t* chroma);
void convertColourRowsAvx2(const uint8_t* top, const uint8_t* bottom, size_t width, uint8_t* lumaTop,
                           uint8_t* lumaBottom, uint8_t* chroma);

} // namespace vintra
