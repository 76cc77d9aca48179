#include "Vintra/platform/linux/camera/CameraColourMatrix.h"

#include <cmath>

namespace vintra {
namespace {

/// The parts of red and blue in luma.
struct LumaParts {
    double red;
    double blue;
    double green() const { return 1 - red - blue; }
};

LumaParts partsOf(CameraColour::Matrix matrix) {
    switch (matrix) {
    case CameraColour::Matrix::rec601:
        return {.red = 0.299, .blue = 0.114};
    case CameraColour::Matrix::rec2020:
        return {.red = 0.2627, .blue = 0.0593};
    case CameraColour::Matrix::rec709:
        break;
    }
    return {.red = 0.2126, .blue = 0.0722};
}

int16_t fixed(double factor) {
    return static_cast<int16_t>(std::lround(factor * (1 << 14)));
}

} // namespace

CameraColourMatrix CameraColourMatrix::from(const CameraColour& colour) {
    const LumaParts own = partsOf(colour.matrix);
    const LumaParts to = partsOf(CameraColour::Matrix::rec709);
    // Red is luma + 2 (1 - parts.red) Cr, blue is luma + 2 (1 - parts.blue) Cb, with chroma from -0.5 to 0.5.
    const double redOfCr = 2 * (1 - own.red);
    const double blueOfCb = 2 * (1 - own.blue);
    const double greenOfCb = -own.blue / own.green() * blueOfCb;
    const double greenOfCr = -own.red / own.green() * redOfCr;
    const double lumaOfCb = to.green() * greenOfCb + to.blue * blueOfCb;
    const double lumaOfCr = to.red * redOfCr + to.green() * greenOfCr;
    // Of the samples' steps: 219 of luma and 224 of chroma, or 255 of both.
    const double lumaScale = colour.isFullRange ? 219.0 / 255 : 1;
    const double chromaScale = colour.isFullRange ? 224.0 / 255 : 1;
    const double chromaInLuma = colour.isFullRange ? 219.0 / 255 : 219.0 / 224;
    return {.lumaZero = static_cast<int16_t>(colour.isFullRange ? 0 : 16),
            .luma = fixed(lumaScale),
            .lumaCb = fixed(lumaOfCb * chromaInLuma),
            .lumaCr = fixed(lumaOfCr * chromaInLuma),
            .cb = fixed((blueOfCb - lumaOfCb) / (2 * (1 - to.blue)) * chromaScale),
            .cbCr = fixed(-lumaOfCr / (2 * (1 - to.blue)) * chromaScale),
            .crCb = fixed(-lumaOfCb / (2 * (1 - to.red)) * chromaScale),
            .cr = fixed((redOfCr - lumaOfCr) / (2 * (1 - to.red)) * chromaScale),
            .isIdentity = colour == CameraColour{}};
}

} // namespace vintra
