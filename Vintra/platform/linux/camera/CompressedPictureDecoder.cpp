#include "Vintra/platform/linux/camera/CompressedPictureDecoder.h"

#include "Vintra/platform/linux/camera/JpegPictureDecoder.h"
#include "Vintra/platform/linux/camera/LibavPictureDecoder.h"

namespace vintra {

std::unique_ptr<CompressedPictureDecoder> CompressedPictureDecoder::make(CameraPixelLayout layout,
                                                                         const CameraColour& camera) {
    if (layout == CameraPixelLayout::mjpeg) {
        auto decoder = std::make_unique<JpegPictureDecoder>();
        if (decoder->isUsable()) return decoder;
    }
    if (layout == CameraPixelLayout::h264) {
        auto decoder = std::make_unique<LibavPictureDecoder>(camera);
        if (decoder->isUsable()) return decoder;
    }
    return nullptr;
}

} // namespace vintra
