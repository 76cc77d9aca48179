#pragma once

namespace vintra {

/// How a camera's luma and chroma stand for colours. A value.
struct CameraColour {
    enum class Matrix { rec601, rec709, rec2020 };

    Matrix matrix = Matrix::rec709;
    bool isFullRange = false; ///< 0 to 255 instead of 16 to 235 and 16 to 240
    bool operator==(const CameraColour&) const = default;

    /// What a camera means that doesn't say it: Rec. 601 for a picture of standard definition, 709 above.
    static CameraColour unsaid(int height) {
        constexpr int kMostLinesOfStandardDefinition = 576;
        return {.matrix = height <= kMostLinesOfStandardDefinition ? Matrix::rec601 : Matrix::rec709};
    }
    /// Of a JPEG, whatever its size.
    static CameraColour jpeg() { return {.matrix = Matrix::rec601, .isFullRange = true}; }
};

} // namespace vintra
