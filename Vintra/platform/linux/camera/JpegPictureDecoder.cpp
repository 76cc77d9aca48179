#include "Vintra/platform/linux/camera/JpegPictureDecoder.h"

#include <optional>
#include <string_view>
#include <turbojpeg.h>

namespace vintra {
namespace {

constexpr int kLargestSide = 16'384; // pixels, as of a movie

/// The layout that comes out as it is; nothing for what is decoded to pixels.
std::optional<CameraPixelLayout> layoutOf(int subsampling) {
    switch (subsampling) {
    case TJSAMP_420:
        return CameraPixelLayout::i420;
    case TJSAMP_422:
        return CameraPixelLayout::y42b;
    case TJSAMP_GRAY:
        return CameraPixelLayout::gray;
    default:
        return std::nullopt;
    }
}

} // namespace

JpegPictureDecoder::JpegPictureDecoder() {
    restart();
}

JpegPictureDecoder::~JpegPictureDecoder() {
    if (handle != nullptr) tjDestroy(handle);
}

void JpegPictureDecoder::restart() {
    if (handle != nullptr) tjDestroy(handle);
    handle = tjInitDecompress();
}

bool JpegPictureDecoder::decode(std::span<const uint8_t> bytes, int64_t stamp, const Output& picture) {
    if (handle == nullptr || bytes.empty()) return false;
    Header header;
    if (!isSound(tjDecompressHeader3(handle, bytes.data(), bytes.size(), &header.width, &header.height,
                                     &header.subsampling, &header.colourSpace))) {
        restart(); // libjpeg-turbo 2.1 goes on in the middle of a header that was cut off
        return false;
    }
    if (header.width < 1 || header.height < 1 || header.width > kLargestSide || header.height > kLargestSide)
        return false;
    CameraPicture decoded;
    decoded.width = static_cast<size_t>(header.width);
    decoded.height = static_cast<size_t>(header.height);
    decoded.colour = CameraColour::jpeg();
    const bool hasLuma = header.colourSpace == TJCS_YCbCr || header.colourSpace == TJCS_GRAY;
    const bool isWhole = hasLuma && layoutOf(header.subsampling) ? decodePlanes(bytes, header, decoded)
                                                                 : decodePixels(bytes, header, decoded);
    if (isWhole) picture(decoded, stamp);
    return isWhole;
}

bool JpegPictureDecoder::decodePlanes(std::span<const uint8_t> bytes, const Header& header,
                                      CameraPicture& picture) {
    picture.layout = layoutOf(header.subsampling).value_or(CameraPixelLayout::i420);
    const int count = header.subsampling == TJSAMP_GRAY ? 1 : 3;
    size_t starts[3] = {};
    size_t size = 0;
    for (int i = 0; i < count; ++i) {
        starts[i] = size;
        picture.planes[i].row = static_cast<size_t>(tjPlaneWidth(i, header.width, header.subsampling));
        size += tjPlaneSizeYUV(i, header.width, 0, header.height, header.subsampling);
    }
    memory.resize(size);
    unsigned char* planes[3] = {};
    for (int i = 0; i < count; ++i) {
        planes[i] = memory.data() + starts[i];
        picture.planes[i].bytes = planes[i];
    }
    return isSound(tjDecompressToYUVPlanes(handle, bytes.data(), bytes.size(), planes, header.width, nullptr,
                                           header.height, 0));
}

bool JpegPictureDecoder::decodePixels(std::span<const uint8_t> bytes, const Header& header,
                                      CameraPicture& picture) {
    constexpr size_t kBytesPerPixel = 4;
    picture.layout = CameraPixelLayout::bgra;
    memory.resize(picture.width * picture.height * kBytesPerPixel);
    picture.planes[0] = {memory.data(), picture.width * kBytesPerPixel};
    return isSound(tjDecompress2(handle, bytes.data(), bytes.size(), memory.data(), header.width, 0,
                                 header.height, TJPF_BGRX, 0));
}

bool JpegPictureDecoder::isSound(int result) const {
    if (result == 0) return true;
    return tjGetErrorCode(handle) == TJERR_WARNING &&
           std::string_view(tjGetErrorStr2(handle)).find("extraneous bytes") != std::string_view::npos;
}

} // namespace vintra
