#include "Vintra/platform/linux/movie/VideoEncoder.h"

#include "Vintra/platform/linux/movie/H264Repeats.h"
#include "Vintra/platform/linux/movie/HevcRepeats.h"
#include "Vintra/platform/linux/movie/LibavError.h"
#include "Vintra/platform/linux/movie/NalUnits.h"
#include "Vintra/platform/linux/movie/QuickTimeDescriptions.h"

#include <cstring>
#include <string>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace vintra {
namespace {

/// How often a picture that stands is encoded where the encoder holds the newest one back: what it holds would be
/// lost with the program.
constexpr int32_t kPushesPerSecond = 4;
constexpr const char* kPictureNotEncoded = "The picture couldn't be encoded";

std::span<const uint8_t> extradata(const AVCodecContext& context) {
    return {context.extradata, static_cast<size_t>(context.extradata_size)};
}

void copyPlane(const CVPixelBuffer::Plane& from, size_t rowBytes, uint8_t* to, size_t toRow) {
    for (size_t y = 0; y < from.height; ++y)
        std::memcpy(to + y * toRow, from.baseAddress + y * from.bytesPerRow, rowBytes);
}

} // namespace

VideoEncoder::VideoEncoder(const AVVideoSettings& settings, int32_t timescale, int64_t slotDuration)
    : settings(settings)
    , timescale(timescale)
    , slotDuration(slotDuration)
    , scaler(static_cast<size_t>(settings.width), static_cast<size_t>(settings.height), settings.scalingMode)
    , frame(av_frame_alloc())
    , packet(av_packet_alloc())
    , lastDuration(slotDuration) {
    open();
}

VideoEncoder::~VideoEncoder() = default;

void VideoEncoder::open() {
    const AVCodec* codec = avcodec_find_encoder_by_name(isHevc() ? "libx265" : "libx264");
    if (codec == nullptr || !frame || !packet)
        throw SystemError("libav", AVERROR_ENCODER_NOT_FOUND,
                          std::string("This machine has no encoder for ") + (isHevc() ? "HEVC" : "H.264") +
                              ". Install the libav codecs with " + (isHevc() ? "libx265." : "libx264."));
    context.reset(avcodec_alloc_context3(codec));
    context->width = settings.width;
    context->height = settings.height;
    context->pix_fmt = isHevc() ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_NV12;
    context->time_base = {1, timescale};
    av_reduce(&context->framerate.num, &context->framerate.den, timescale, slotDuration, 1 << 30);
    context->color_primaries = AVCOL_PRI_BT709;
    context->color_trc = AVCOL_TRC_BT709;
    context->colorspace = AVCOL_SPC_BT709;
    context->color_range = AVCOL_RANGE_MPEG;
    context->chroma_sample_location = AVCHROMA_LOC_CENTER;
    context->sample_aspect_ratio = {1, 1};
    context->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    context->max_b_frames = 0;
    context->gop_size = static_cast<int>((timescale + slotDuration - 1) / slotDuration);
    // No picture gets more bits than a constant quality needs, and any second no more than the bit rate.
    context->bit_rate = 0;
    context->rc_max_rate = settings.averageBitRate;
    context->rc_buffer_size = static_cast<int>(settings.averageBitRate);
    context->rc_initial_buffer_occupancy = context->rc_buffer_size * 3 / 10;
    isHevc() ? setUpHevc() : setUpH264();
    throwIfLibavFailed(avcodec_open2(context.get(), codec, nullptr), "The video encoder couldn't be started");
    if (isHevc())
        repeats = HevcRepeats::make(extradata(*context));
    else
        repeats = H264Repeats::make(extradata(*context));
}

void VideoEncoder::setUpH264() {
    // Up to 720p at 60 pictures a second, grain takes less than half of one core.
    constexpr int64_t kMostPixelsASecondOfOneThread = 1280 * 720 * 60;
    const int64_t pixels = int64_t{settings.width} * settings.height;
    context->thread_count = pixels * timescale / slotDuration <= kMostPixelsASecondOfOneThread ? 1 : 2;
    // The threads share a picture: taking one each, they would hold another one back.
    context->thread_type = FF_THREAD_SLICE;
    const bool isFast = settings.encoderSpeed == AVVideoEncoderSpeed::fast;
    av_opt_set(context->priv_data, "preset", isFast ? "ultrafast" : "superfast", 0);
    av_opt_set_double(context->priv_data, "crf", 18, 0);
    av_opt_set_int(context->priv_data, "forced-idr", 1, 0);
    av_opt_set_int(context->priv_data, "rc-lookahead", 0, 0);
    av_opt_set(context->priv_data, "weightp", "none", 0);
    av_opt_set(context->priv_data, "x264-params", "sync-lookahead=0:scenecut=0:subme=0:partitions=none", 0);
}

void VideoEncoder::setUpHevc() {
    av_opt_set(context->priv_data, "preset", "ultrafast", 0);
    av_opt_set_double(context->priv_data, "crf", 22, 0);
    av_opt_set_int(context->priv_data, "forced-idr", 1, 0);
    av_opt_set(context->priv_data, "x265-params",
               "log-level=error:bframes=0:rc-lookahead=0:scenecut=0:repeat-headers=0:info=0:pools=2:"
               "frame-threads=1:open-gop=0:vbv-init=0.3:temporal-mvp=0",
               0);
}

void VideoEncoder::warmUp() {
    // A picture, the one it refers to, and one more: from then on the encoder goes round in the same memory.
    constexpr int kPictures = 3;
    constexpr int kGrey = 0x80;
    makeFrame();
    for (const AVBufferRef* buffer : frame->buf) {
        if (buffer != nullptr) std::memset(buffer->data, kGrey, buffer->size);
    }
    for (int number = kPictures; number > 0; --number) {
        frame->pts = -number * slotDuration;
        frame->pict_type = number == kPictures ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
        ++warmUpPictures;
        throwIfLibavFailed(avcodec_send_frame(context.get(), frame.get()), kPictureNotEncoded);
        receive();
    }
}

std::vector<uint8_t> VideoEncoder::sampleDescription() const {
    const auto parameterSets = extradata(*context);
    const auto second = repeats ? repeats->additionalParameterSet() : std::vector<uint8_t>();
    if (isHevc())
        return hevcSampleDescription(settings.width, settings.height,
                                     hevcDecoderConfiguration(parameterSets, second));
    return h264SampleDescription(settings.width, settings.height,
                                 h264DecoderConfiguration(parameterSets, second));
}

bool VideoEncoder::mayRepeat(bool isSameImage) {
    // Encoded all the same: a picture that came while bits were short is sharper when it comes again.
    constexpr int firstSharpening = 4;
    constexpr int secondSharpening = 12;
    repeatsInARow = isSameImage ? repeatsInARow + 1 : 0;
    return repeats && isSameImage && repeatsInARow != firstSharpening && repeatsInARow != secondSharpening;
}

void VideoEncoder::encode(const std::shared_ptr<CVPixelBuffer>& image, int64_t time, int64_t duration) {
    const bool isSameImage = image == lastImage;
    const bool key = !lastKeyTime || time - *lastKeyTime >= timescale;
    lastDuration = duration;
    // The encoder gives a picture out when the next one comes, and repetitions wait behind it.
    const bool holdsBack = !due.empty() && time - lastEncodedTime >= timescale / kPushesPerSecond;
    if (mayRepeat(isSameImage) && !key && !holdsBack) {
        due.push_back({.time = time, .isRepeat = true});
        giveRepeats();
        return;
    }
    if (!isSameImage) prepare(image);
    if (key) lastKeyTime = time;
    lastEncodedTime = time;
    frame->pts = time;
    frame->pict_type = key ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    due.push_back({.time = time, .isRepeat = false});
    throwIfLibavFailed(avcodec_send_frame(context.get(), frame.get()), kPictureNotEncoded);
    receive();
}

void VideoEncoder::repeat(int64_t time) {
    const auto image = lastImage; // which `encode` may let go of
    encode(image, time, slotDuration);
}

void VideoEncoder::giveRepeats() {
    while (!due.empty() && due.front().isRepeat) {
        output(
            {.bytes = repeats->repeat(), .time = due.front().time, .duration = lastDuration, .isKey = false});
        due.pop_front();
    }
}

void VideoEncoder::finish() {
    throwIfLibavFailed(avcodec_send_frame(context.get(), nullptr), kPictureNotEncoded);
    receive();
}

void VideoEncoder::receive() {
    for (;;) {
        const int result = avcodec_receive_packet(context.get(), packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
        throwIfLibavFailed(result, kPictureNotEncoded);
        if (warmUpPictures > 0) {
            --warmUpPictures;
            av_packet_unref(packet.get());
            continue;
        }
        std::vector<uint8_t> bytes =
            lengthPrefixedNalUnits({packet->data, static_cast<size_t>(packet->size)});
        if (repeats) bytes = repeats->renumbered(bytes);
        output({.bytes = std::move(bytes),
                .time = packet->pts,
                .duration = lastDuration,
                .isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0});
        if (!due.empty()) due.pop_front();
        giveRepeats();
        av_packet_unref(packet.get());
    }
}

void VideoEncoder::prepare(const std::shared_ptr<CVPixelBuffer>& image) {
    const bool sameSize = image->width() == static_cast<size_t>(settings.width) &&
                          image->height() == static_cast<size_t>(settings.height);
    const std::shared_ptr<CVPixelBuffer> picture = sameSize ? image : scaler.scale(*image);
    if (picture->isPlanar() && !isHevc())
        useDirectly(picture);
    else
        fill(picture);
    lastImage = image;
}

void VideoEncoder::useDirectly(const std::shared_ptr<CVPixelBuffer>& picture) {
    av_frame_unref(frame.get());
    frame->format = context->pix_fmt;
    frame->width = context->width;
    frame->height = context->height;
    for (size_t i = 0; i < 2; ++i) {
        frame->data[i] = picture->plane(i).baseAddress;
        frame->linesize[i] = static_cast<int>(picture->plane(i).bytesPerRow);
    }
    auto* held = new std::shared_ptr<CVPixelBuffer>(picture);
    frame->buf[0] = av_buffer_create(
        picture->plane(0).baseAddress, picture->plane(0).bytesPerRow * picture->plane(0).height,
        [](void* opaque, uint8_t*) { delete static_cast<std::shared_ptr<CVPixelBuffer>*>(opaque); }, held,
        AV_BUFFER_FLAG_READONLY);
    if (frame->buf[0] == nullptr) {
        delete held;
        throwIfLibavFailed(AVERROR(ENOMEM), kPictureNotEncoded);
    }
}

void VideoEncoder::makeFrame() {
    if (frame->buf[0] != nullptr && av_frame_is_writable(frame.get()) > 0) return;
    av_frame_unref(frame.get());
    frame->format = context->pix_fmt;
    frame->width = context->width;
    frame->height = context->height;
    throwIfLibavFailed(av_frame_get_buffer(frame.get(), 0), kPictureNotEncoded);
}

void VideoEncoder::fill(const std::shared_ptr<CVPixelBuffer>& picture) {
    makeFrame();
    const auto width = static_cast<size_t>(settings.width);
    const size_t height = static_cast<size_t>(settings.height);
    BiPlanarPicture target{frame->data[0], static_cast<size_t>(frame->linesize[0]), frame->data[1],
                           static_cast<size_t>(frame->linesize[1])};
    if (isHevc()) {
        interleavedChroma.resize(width * height / 2);
        target.chroma = interleavedChroma.data();
        target.chromaRow = width;
    }
    if (picture->isPlanar()) {
        copyPlane(picture->plane(0), width, target.luma, target.lumaRow);
        copyPlane(picture->plane(1), width, target.chroma, target.chromaRow);
    } else {
        converter.convert(*picture, target);
    }
    if (!isHevc()) return;
    for (size_t y = 0; y < height / 2; ++y) {
        const uint8_t* from = target.chroma + y * target.chromaRow;
        uint8_t* cb = frame->data[1] + y * static_cast<size_t>(frame->linesize[1]);
        uint8_t* cr = frame->data[2] + y * static_cast<size_t>(frame->linesize[2]);
        for (size_t x = 0; x < width / 2; ++x) {
            cb[x] = from[2 * x];
            cr[x] = from[2 * x + 1];
        }
    }
}

} // namespace vintra
