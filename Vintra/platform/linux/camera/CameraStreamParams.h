#pragma once

#include "Vintra/platform/linux/camera/CameraFormat.h"

#include <array>
#include <cstdint>
#include <vector>

struct spa_pod;

namespace vintra {

/// What a stream asks of its camera: one format at one rate, and where another program holds the camera at another
/// one, that. A value.
struct CameraWish {
    CameraPixelLayoutNames names;
    CMVideoDimensions size;
    CameraRate rate; ///< unknown: as the camera likes
};

/// The parameters of a stream, in memory of their own.
class CameraStreamParams {
public:
    /// The wish first, then everything that can be taken.
    static CameraStreamParams formats(const CameraWish& wish);
    /// Of the buffers, once the format stands.
    static CameraStreamParams buffers();

    std::vector<const spa_pod*> pods() const;

private:
    alignas(8) std::array<uint8_t, 8192> memory{};
    std::vector<uint32_t> offsets;
};

} // namespace vintra
