#pragma once

#include "tools/published-camera/CameraCanvas.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vintra {

enum class CameraPixelKind {
    yuy2,
    uyvy,
    yvyu,
    nv12,
    nv21,
    i420,
    yv12,
    bgrx,
    rgbx,
    xrgb,
    rgb,
    bgr,
    gray,
    mjpg,
    h264
};

std::optional<CameraPixelKind> cameraPixelKindNamed(std::string_view name);

/// Turns what is on a canvas into what a camera of that kind sends.
class CameraPixels {
public:
    CameraPixels(CameraPixelKind kind, size_t width, size_t height, double rate);
    ~CameraPixels();

    /// Of a row of the first plane; 0 for compressed pictures.
    size_t stride() const;
    /// The most that a picture takes.
    size_t mostBytes() const;
    /// The bytes of the picture, empty if it couldn't be encoded; valid until the next call.
    const std::vector<uint8_t>& pack(const CameraCanvas& canvas);

private:
    struct Encoder;
    void packPixels(const CameraCanvas& canvas);
    void packPlanes(const CameraCanvas& canvas);
    void packRed(const CameraCanvas& canvas);

    const CameraPixelKind kind;
    const size_t width;
    const size_t height;
    std::unique_ptr<Encoder> encoder;
    std::vector<uint8_t> bytes;
};

} // namespace vintra
