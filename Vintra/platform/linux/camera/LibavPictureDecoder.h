#pragma once

#include "Vintra/platform/linux/camera/CompressedPictureDecoder.h"
#include "Vintra/platform/linux/movie/LibavPointers.h"

#include <vector>

namespace vintra {

/// A camera's H.264, decoded by libavcodec.
class LibavPictureDecoder final : public CompressedPictureDecoder {
public:
    explicit LibavPictureDecoder(const CameraColour& camera);
    ~LibavPictureDecoder() override;

    /// False if this machine has no such decoder.
    bool isUsable() const { return context != nullptr; }
    bool decode(std::span<const uint8_t> bytes, int64_t stamp, const Output& picture) override;

private:
    bool read(CameraPicture& picture) const;

    const CameraColour camera;
    CodecContextPointer context;
    FramePointer frame;
    PacketPointer packet;
    std::vector<uint8_t> padded; ///< the bytes, with the zeros behind them that the decoder reads
};

} // namespace vintra
