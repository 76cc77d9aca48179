#include "Vintra/platform/linux/camera/CameraPicture.h"

namespace vintra {
namespace {

struct PlaneShape {
    size_t rowBytes = 0;
    size_t rows = 0;
};

size_t bytesOfPixel(CameraPixelLayout layout) {
    switch (layout) {
    case CameraPixelLayout::bgra:
    case CameraPixelLayout::rgba:
    case CameraPixelLayout::argb:
    case CameraPixelLayout::abgr:
        return 4;
    case CameraPixelLayout::rgb:
    case CameraPixelLayout::bgr:
        return 3;
    default:
        return 1;
    }
}

/// Of the planes; gives their number.
int shapesOf(const CameraPicture& picture, PlaneShape (&shapes)[3]) {
    const size_t halfWidth = (picture.width + 1) / 2;
    const size_t halfHeight = (picture.height + 1) / 2;
    shapes[0] = {picture.width * bytesOfPixel(picture.layout), picture.height};
    switch (picture.layout) {
    case CameraPixelLayout::nv12:
    case CameraPixelLayout::nv21:
        shapes[1] = {2 * halfWidth, halfHeight};
        return 2;
    case CameraPixelLayout::i420:
    case CameraPixelLayout::yv12:
        shapes[1] = shapes[2] = {halfWidth, halfHeight};
        return 3;
    case CameraPixelLayout::y42b:
        shapes[1] = shapes[2] = {halfWidth, picture.height};
        return 3;
    case CameraPixelLayout::yuyv:
    case CameraPixelLayout::uyvy:
    case CameraPixelLayout::yvyu:
    case CameraPixelLayout::vyuy:
        shapes[0] = {4 * halfWidth, picture.height};
        return 1;
    case CameraPixelLayout::gray:
    case CameraPixelLayout::bgra:
    case CameraPixelLayout::rgba:
    case CameraPixelLayout::argb:
    case CameraPixelLayout::abgr:
    case CameraPixelLayout::rgb:
    case CameraPixelLayout::bgr:
        return 1;
    case CameraPixelLayout::mjpeg:
    case CameraPixelLayout::h264:
        break;
    }
    return 0;
}

} // namespace

bool layOut(CameraPicture& picture, std::span<const CameraMemory> blocks) {
    PlaneShape shapes[3];
    const auto count = static_cast<size_t>(shapesOf(picture, shapes));
    const bool isApart = blocks.size() > 1;
    if (count == 0 || picture.width == 0 || picture.height == 0 || blocks.empty()) return false;
    if (isApart && blocks.size() < count) return false;
    const size_t firstRow = blocks[0].row == 0 ? shapes[0].rowBytes : blocks[0].row;
    size_t offset = 0;
    for (size_t i = 0; i < count; ++i) {
        const CameraMemory& block = blocks[isApart ? i : 0];
        // The rows of further planes have the first one's share of padding, if they don't say their own.
        size_t row = firstRow * shapes[i].rowBytes / shapes[0].rowBytes;
        if (isApart && block.row != 0) row = block.row;
        if (isApart) offset = 0;
        const size_t needed = row * (shapes[i].rows - 1) + shapes[i].rowBytes;
        if (block.bytes == nullptr || row < shapes[i].rowBytes) return false;
        if (offset > block.size || needed > block.size - offset) return false;
        picture.planes[i] = {block.bytes + offset, row};
        offset += row * shapes[i].rows;
    }
    return true;
}

} // namespace vintra
