#pragma once

#include "Vintra/platform/linux/camera/CameraPicture.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace vintra {

/// Decodes what a camera has compressed. Owned and called by the camera's thread. Never throws: a picture that is
/// broken is left out.
class CompressedPictureDecoder {
public:
    using Output = std::function<void(const CameraPicture&, int64_t stamp)>;

    /// A decoder for MJPEG or H.264; null if this machine has none. `camera` is how the camera says that colours are
    /// meant, where a picture doesn't say it itself.
    static std::unique_ptr<CompressedPictureDecoder> make(CameraPixelLayout layout,
                                                          const CameraColour& camera);

    CompressedPictureDecoder() = default;
    virtual ~CompressedPictureDecoder() = default;
    CompressedPictureDecoder(const CompressedPictureDecoder&) = delete;
    CompressedPictureDecoder& operator=(const CompressedPictureDecoder&) = delete;

    /// Calls `picture` for each picture that the bytes make complete, mostly one, with the stamp of its bytes; what
    /// it gets lives as long as the call. False if the bytes are broken.
    virtual bool decode(std::span<const uint8_t> bytes, int64_t stamp, const Output& picture) = 0;
};

} // namespace vintra
