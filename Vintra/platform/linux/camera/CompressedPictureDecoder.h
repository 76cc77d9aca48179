#pragma once

#include "Vintra/platform/linux/camera/CameraPicture.h"
#include "Vintra/platform/linux/movie/LibavPointers.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vintra {

/// Decodes what a camera has compressed, with libavcodec. Owned and called by the camera's thread. Never throws: a
/// picture that is broken is left out.
class CompressedPictureDecoder {
public:
    /// A decoder for MJPEG or H.264. `camera` is how the camera says that colours are meant, where a picture doesn't
    /// say it itself.
    CompressedPictureDecoder(CameraPixelLayout layout, const CameraColour& camera);
    ~CompressedPictureDecoder();

    /// False if this machine has no such decoder.
    bool isUsable() const { return context != nullptr; }
    /// Calls `picture` for each picture that the bytes make complete, mostly one, with the stamp of its bytes; what
    /// it gets lives as long as the call. False if the bytes are broken.
    bool decode(std::span<const uint8_t> bytes, int64_t stamp,
                const std::function<void(const CameraPicture&, int64_t stamp)>& picture);

private:
    bool read(CameraPicture& picture) const;

    const CameraPixelLayout layout;
    const CameraColour camera;
    CodecContextPointer context;
    FramePointer frame;
    PacketPointer packet;
    std::vector<uint8_t> padded; ///< the bytes, with the zeros behind them that the decoder reads
};

} // namespace vintra
