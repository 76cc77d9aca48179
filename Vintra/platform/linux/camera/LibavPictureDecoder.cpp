#include "Vintra/platform/linux/camera/LibavPictureDecoder.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace vintra {
namespace {

// Cameras send broken pictures when they start and when their cable is moved: no news for a terminal.
constexpr int kQuieterThanAnyLevel = 64;

CodecContextPointer openDecoder() {
    const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_H264);
    CodecContextPointer context(codec != nullptr ? avcodec_alloc_context3(codec) : nullptr);
    if (!context) return nullptr;
    context->log_level_offset = kQuieterThanAnyLevel;
    // A thread for each picture would hold pictures back.
    context->thread_count = 1;
    context->flags |= AV_CODEC_FLAG_LOW_DELAY;
    if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
    return context;
}

CameraColour colourOf(const AVFrame& frame, CameraColour colour) {
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        colour.matrix = CameraColour::Matrix::rec709;
        break;
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_FCC:
        colour.matrix = CameraColour::Matrix::rec601;
        break;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        colour.matrix = CameraColour::Matrix::rec2020;
        break;
    default:
        break;
    }
    if (frame.color_range == AVCOL_RANGE_JPEG) colour.isFullRange = true;
    if (frame.color_range == AVCOL_RANGE_MPEG) colour.isFullRange = false;
    return colour;
}

} // namespace

LibavPictureDecoder::LibavPictureDecoder(const CameraColour& camera)
    : camera(camera)
    , context(openDecoder())
    , frame(av_frame_alloc())
    , packet(av_packet_alloc()) {
    if (!frame || !packet) context.reset();
}

LibavPictureDecoder::~LibavPictureDecoder() = default;

bool LibavPictureDecoder::decode(std::span<const uint8_t> bytes, int64_t stamp, const Output& picture) {
    if (!context || bytes.empty()) return false;
    padded.assign(bytes.begin(), bytes.end());
    padded.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    packet->data = padded.data();
    packet->size = static_cast<int>(bytes.size());
    packet->pts = stamp;
    const bool isTaken = avcodec_send_packet(context.get(), packet.get()) >= 0;
    bool isSound = isTaken;
    while (isTaken && avcodec_receive_frame(context.get(), frame.get()) >= 0) {
        CameraPicture decoded;
        const bool isBroken = (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0 || frame->decode_error_flags != 0;
        if (!isBroken && read(decoded)) {
            picture(decoded, frame->pts);
        } else {
            isSound = false;
        }
        av_frame_unref(frame.get());
    }
    return isSound;
}

bool LibavPictureDecoder::read(CameraPicture& picture) const {
    switch (frame->format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
        picture.layout = CameraPixelLayout::i420;
        break;
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
        picture.layout = CameraPixelLayout::y42b;
        break;
    case AV_PIX_FMT_GRAY8:
        picture.layout = CameraPixelLayout::gray;
        break;
    default:
        return false;
    }
    picture.width = static_cast<size_t>(frame->width);
    picture.height = static_cast<size_t>(frame->height);
    picture.colour = colourOf(*frame, camera);
    for (int i = 0; i < 3; ++i) {
        if (frame->data[i] == nullptr) continue;
        if (frame->linesize[i] <= 0) return false;
        picture.planes[i] = {frame->data[i], static_cast<size_t>(frame->linesize[i])};
    }
    return true;
}

} // namespace vintra
