#include "Vintra/platform/linux/camera/CameraPictureConverter.h"

#include <cstring>
#include <utility>

namespace vintra {
namespace {

/// Where the colours lie among the bytes of a pixel.
struct PixelBytes {
    size_t size = 0; ///< 0: the layout is one of luma and chroma
    size_t blue = 0;
    size_t green = 0;
    size_t red = 0;
};

PixelBytes pixelBytes(CameraPixelLayout layout) {
    switch (layout) {
    case CameraPixelLayout::bgra:
        return {4, 0, 1, 2};
    case CameraPixelLayout::rgba:
        return {4, 2, 1, 0};
    case CameraPixelLayout::argb:
        return {4, 3, 2, 1};
    case CameraPixelLayout::abgr:
        return {4, 1, 2, 3};
    case CameraPixelLayout::rgb:
        return {3, 2, 1, 0};
    case CameraPixelLayout::bgr:
        return {3, 0, 1, 2};
    default:
        return {};
    }
}

void putInOrder(const CameraPicture& picture, const PixelBytes& bytes, const CVPixelBuffer::Plane& to) {
    for (size_t y = 0; y < picture.height; ++y) {
        const uint8_t* from = picture.planes[0].bytes + y * picture.planes[0].row;
        uint8_t* pixel = to.baseAddress + y * to.bytesPerRow;
        if (bytes.size == 4 && bytes.blue == 0) {
            std::memcpy(pixel, from, 4 * picture.width);
            continue;
        }
        for (size_t x = 0; x < picture.width; ++x, from += bytes.size, pixel += 4) {
            pixel[0] = from[bytes.blue];
            pixel[1] = from[bytes.green];
            pixel[2] = from[bytes.red];
            pixel[3] = 0xff;
        }
    }
}

PackedPair packedPair(CameraPixelLayout layout) {
    switch (layout) {
    case CameraPixelLayout::uyvy:
        return {.luma = 1, .isCrFirst = false};
    case CameraPixelLayout::yvyu:
        return {.luma = 0, .isCrFirst = true};
    case CameraPixelLayout::vyuy:
        return {.luma = 1, .isCrFirst = true};
    default:
        return {.luma = 0, .isCrFirst = false};
    }
}

bool isPacked(CameraPixelLayout layout) {
    return layout == CameraPixelLayout::yuyv || layout == CameraPixelLayout::uyvy ||
           layout == CameraPixelLayout::yvyu || layout == CameraPixelLayout::vyuy;
}

const uint8_t* rowOf(const CameraPicture::Plane& plane, size_t y) {
    return plane.bytes + y * plane.row;
}

} // namespace

uint32_t CameraPictureConverter::pixelFormat(CameraPixelLayout layout) {
    return pixelBytes(layout).size > 0 ? kCVPixelFormatType_32BGRA
                                       : kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange;
}

void CameraPictureConverter::convert(const CameraPicture& picture, const CVPixelBuffer& to) {
    if (const PixelBytes bytes = pixelBytes(picture.layout); bytes.size > 0) {
        putInOrder(picture, bytes, to.plane(0));
    } else {
        convertLumaAndChroma(picture, to);
    }
}

void CameraPictureConverter::convertLumaAndChroma(const CameraPicture& picture, const CVPixelBuffer& to) {
    if (picture.colour != colour) {
        colour = picture.colour;
        matrix = CameraColourMatrix::from(colour);
    }
    const CVPixelBuffer::Plane& luma = to.plane(0);
    const CVPixelBuffer::Plane& chroma = to.plane(1);
    const size_t pairs = (picture.width + 1) / 2;
    if (picture.height % 2 != 0) spareRow.resize(2 * pairs);
    for (size_t y = 0; y < picture.height; y += 2) {
        RowPair pair{.lumaTop = luma.baseAddress + y * luma.bytesPerRow,
                     .lumaBottom = luma.baseAddress + (y + 1) * luma.bytesPerRow,
                     .chroma = chroma.baseAddress + y / 2 * chroma.bytesPerRow};
        if (y + 1 == picture.height) pair.lumaBottom = spareRow.data();
        fill(picture, y, pair);
        if (!matrix.isIdentity) rows.recolour(pair.lumaTop, pair.lumaBottom, pair.chroma, pairs, matrix);
    }
}

void CameraPictureConverter::fill(const CameraPicture& picture, size_t y, const RowPair& pair) const {
    const size_t below = y + 1 < picture.height ? y + 1 : y;
    const uint8_t* const top = rowOf(picture.planes[0], y);
    const uint8_t* const bottom = rowOf(picture.planes[0], below);
    if (isPacked(picture.layout)) {
        rows.unpack(top, bottom, (picture.width + 1) / 2, packedPair(picture.layout), pair.lumaTop,
                    pair.lumaBottom, pair.chroma);
        return;
    }
    std::memcpy(pair.lumaTop, top, picture.width);
    std::memcpy(pair.lumaBottom, bottom, picture.width);
    fillChroma(picture, y, pair.chroma);
}

void CameraPictureConverter::fillChroma(const CameraPicture& picture, size_t y, uint8_t* chroma) const {
    const size_t pairs = (picture.width + 1) / 2;
    const CameraPicture::Plane* first = &picture.planes[1];
    const CameraPicture::Plane* second = &picture.planes[2];
    switch (picture.layout) {
    case CameraPixelLayout::nv12:
        std::memcpy(chroma, rowOf(*first, y / 2), 2 * pairs);
        return;
    case CameraPixelLayout::nv21: {
        const uint8_t* const from = rowOf(*first, y / 2);
        for (size_t i = 0; i < pairs; ++i) {
            chroma[2 * i] = from[2 * i + 1];
            chroma[2 * i + 1] = from[2 * i];
        }
        return;
    }
    case CameraPixelLayout::yv12:
        std::swap(first, second);
        [[fallthrough]];
    case CameraPixelLayout::i420: {
        const uint8_t* const cb = rowOf(*first, y / 2);
        const uint8_t* const cr = rowOf(*second, y / 2);
        rows.interleave({cb, cb}, {cr, cr}, pairs, chroma);
        return;
    }
    case CameraPixelLayout::y42b: {
        const size_t below = y + 1 < picture.height ? y + 1 : y;
        rows.interleave({rowOf(*first, y), rowOf(*first, below)}, {rowOf(*second, y), rowOf(*second, below)},
                        pairs, chroma);
        return;
    }
    default: // gray
        std::memset(chroma, 128, 2 * pairs);
    }
}

} // namespace vintra
