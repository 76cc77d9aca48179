#include "Vintra/platform/linux/movie/PictureScaler.h"

#include "Vintra/platform/linux/movie/LibavError.h"

#include <algorithm>
#include <cstring>

extern "C" {
#include <libavutil/error.h>
#include <libswscale/swscale.h>
}

namespace vintra {
namespace {

void paintBlack(const CVPixelBuffer& picture) {
    const bool planar = picture.isPlanar();
    for (size_t i = 0; i < picture.planeCount(); ++i) {
        const CVPixelBuffer::Plane& plane = picture.plane(i);
        const int black = !planar ? 0 : i == 0 ? 16 : 128;
        std::memset(plane.baseAddress, black, plane.bytesPerRow * plane.height);
    }
}

} // namespace

PictureScaler::PictureScaler(size_t width, size_t height, AVVideoScalingMode mode)
    : width(width)
    , height(height)
    , mode(mode) {}

PictureScaler::~PictureScaler() {
    sws_freeContext(context);
}

PictureScaler::Place PictureScaler::placeOf(const CVPixelBuffer& source) const {
    if (mode == AVVideoScalingMode::fill) return {0, 0, width, height};
    // The larger picture that fits; even places and sizes, since chroma lies between pairs of pixels.
    const size_t fittedWidth = std::min(width, height * source.width() / source.height());
    const size_t fittedHeight = std::min(height, width * source.height() / source.width());
    const size_t evenWidth = std::max<size_t>(2, fittedWidth / 2 * 2);
    const size_t evenHeight = std::max<size_t>(2, fittedHeight / 2 * 2);
    return {(width - evenWidth) / 4 * 2, (height - evenHeight) / 4 * 2, evenWidth, evenHeight};
}

std::shared_ptr<CVPixelBuffer> PictureScaler::scale(const CVPixelBuffer& source) {
    const bool planar = source.isPlanar();
    const AVPixelFormat format = planar ? AV_PIX_FMT_NV12 : AV_PIX_FMT_BGRA;
    const Place place = placeOf(source);
    context =
        sws_getCachedContext(context, static_cast<int>(source.width()), static_cast<int>(source.height()),
                             format, static_cast<int>(place.width), static_cast<int>(place.height), format,
                             SWS_BILINEAR, nullptr, nullptr, nullptr);
    if (context == nullptr) throwIfLibavFailed(AVERROR(ENOMEM), "The picture couldn't be scaled");
    auto result = CVPixelBuffer::make(source.pixelFormat(), width, height);
    paintBlack(*result);
    const uint8_t* from[4] = {};
    int fromRow[4] = {};
    uint8_t* to[4] = {};
    int toRow[4] = {};
    for (size_t i = 0; i < source.planeCount(); ++i) {
        from[i] = source.plane(i).baseAddress;
        fromRow[i] = static_cast<int>(source.plane(i).bytesPerRow);
        const CVPixelBuffer::Plane& plane = result->plane(i);
        const size_t y = i == 0 ? place.y : place.y / 2;
        // A byte a pixel in both planes of 4:2:0, four in BGRA.
        to[i] = plane.baseAddress + y * plane.bytesPerRow + place.x * (planar ? 1 : 4);
        toRow[i] = static_cast<int>(plane.bytesPerRow);
    }
    throwIfLibavFailed(sws_scale(context, from, fromRow, 0, static_cast<int>(source.height()), to, toRow),
                       "The picture couldn't be scaled");
    return result;
}

} // namespace vintra
