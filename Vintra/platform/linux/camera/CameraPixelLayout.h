#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace vintra {

/// How a camera sends its pictures: how the pixels lie in memory, or how they are compressed.
enum class CameraPixelLayout {
    nv12, ///< luma, then interleaved Cb and Cr at half size both ways
    nv21, ///< the same with Cr first
    i420, ///< three planes, chroma at half size both ways
    yv12, ///< the same with Cr first
    y42b, ///< three planes, chroma at half the width
    yuyv, ///< packed, chroma at half the width
    uyvy,
    yvyu,
    vyuy,
    gray,
    bgra, ///< packed red, green and blue, in the order of the bytes; an x or an a is not looked at
    rgba,
    argb,
    abgr,
    rgb,
    bgr,
    mjpeg,
    h264,
};

/// A layout as PipeWire names it and as formats show it.
struct CameraPixelLayoutNames {
    CameraPixelLayout layout;
    uint32_t mediaSubtype; ///< an spa_media_subtype
    uint32_t videoFormat;  ///< an spa_video_format of raw pictures, else 0
    uint32_t mediaSubType; ///< the four-character code
};

/// All that can be taken. A layout may stand for several of PipeWire's formats.
std::span<const CameraPixelLayoutNames> cameraPixelLayouts();
/// Nothing for one that can't be taken.
std::optional<CameraPixelLayoutNames> cameraPixelLayout(uint32_t mediaSubtype, uint32_t videoFormat);

constexpr bool isCompressed(CameraPixelLayout layout) {
    return layout == CameraPixelLayout::mjpeg || layout == CameraPixelLayout::h264;
}

} // namespace vintra
