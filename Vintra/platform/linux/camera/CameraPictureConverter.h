#pragma once

#include "Vintra/platform/CVPixelBuffer.h"
#include "Vintra/platform/linux/camera/CameraColourMatrix.h"
#include "Vintra/platform/linux/camera/CameraPicture.h"
#include "Vintra/platform/linux/camera/CameraRows.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// Brings a camera's pictures to what movies are made of: luma and chroma of Rec. 709 in video range, in two planes.
/// Pictures in red, green and blue are only put in order (BGRA): whoever encodes them converts them, as those of a
/// screen.
///
/// Goal: a small part of a frame's time. Method: one pass, two rows at a time, so that the second step, which
/// changes the colour matrix where the camera's is another one, works on what is still in the cache. Chroma at full
/// height becomes the mean of two rows. Owned and called by the camera's thread.
class CameraPictureConverter {
public:
    explicit CameraPictureConverter(const CameraRows& rows = CameraRows::fastest())
        : rows(rows) {}

    /// The pixel format of a picture of that layout.
    static uint32_t pixelFormat(CameraPixelLayout layout);
    /// `to` has the size of the picture and its pixel format, with room for a pixel more in each row.
    void convert(const CameraPicture& picture, const CVPixelBuffer& to);

private:
    struct RowPair {
        uint8_t* lumaTop;
        uint8_t* lumaBottom;
        uint8_t* chroma;
    };
    void convertLumaAndChroma(const CameraPicture& picture, const CVPixelBuffer& to);
    void fill(const CameraPicture& picture, size_t y, const RowPair& pair) const;
    void fillChroma(const CameraPicture& picture, size_t y, uint8_t* chroma) const;

    const CameraRows& rows;
    CameraColour colour;
    CameraColourMatrix matrix = CameraColourMatrix::from({});
    std::vector<uint8_t> spareRow; ///< below the last row of an odd height
};

} // namespace vintra
