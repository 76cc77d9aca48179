#include "tools/published-camera/CameraPixels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace vintra {
namespace {

using Kind = CameraPixelKind;

constexpr std::array kNames = {
    std::pair{std::string_view("YUY2"), Kind::yuy2},  std::pair{std::string_view("UYVY"), Kind::uyvy},
    std::pair{std::string_view("YVYU"), Kind::yvyu},  std::pair{std::string_view("NV12"), Kind::nv12},
    std::pair{std::string_view("NV21"), Kind::nv21},  std::pair{std::string_view("I420"), Kind::i420},
    std::pair{std::string_view("YV12"), Kind::yv12},  std::pair{std::string_view("BGRx"), Kind::bgrx},
    std::pair{std::string_view("RGBx"), Kind::rgbx},  std::pair{std::string_view("xRGB"), Kind::xrgb},
    std::pair{std::string_view("RGB"), Kind::rgb},    std::pair{std::string_view("BGR"), Kind::bgr},
    std::pair{std::string_view("GRAY8"), Kind::gray}, std::pair{std::string_view("MJPG"), Kind::mjpg},
    std::pair{std::string_view("H264"), Kind::h264},
};

/// Where red, green and blue go in a pixel, and how large that is.
struct RedGreenBlue {
    std::array<size_t, 3> at;
    size_t size;
};

std::optional<RedGreenBlue> redGreenBlue(Kind kind) {
    switch (kind) {
    case Kind::bgrx:
        return RedGreenBlue{{2, 1, 0}, 4};
    case Kind::rgbx:
        return RedGreenBlue{{0, 1, 2}, 4};
    case Kind::xrgb:
        return RedGreenBlue{{1, 2, 3}, 4};
    case Kind::rgb:
        return RedGreenBlue{{0, 1, 2}, 3};
    case Kind::bgr:
        return RedGreenBlue{{2, 1, 0}, 3};
    default:
        return std::nullopt;
    }
}

} // namespace

std::optional<CameraPixelKind> cameraPixelKindNamed(std::string_view name) {
    const auto found = std::ranges::find(kNames, name, &decltype(kNames)::value_type::first);
    return found == kNames.end() ? std::nullopt : std::optional(found->second);
}

struct CameraPixels::Encoder {
    Encoder(Kind kind, size_t width, size_t height, double rate)
        : packet(av_packet_alloc())
        , frame(av_frame_alloc()) {
        const bool isJPEG = kind == Kind::mjpg;
        const AVCodec* const codec = avcodec_find_encoder_by_name(isJPEG ? "mjpeg" : "libx264");
        context = avcodec_alloc_context3(codec);
        context->width = static_cast<int>(width);
        context->height = static_cast<int>(height);
        context->pix_fmt = isJPEG ? AV_PIX_FMT_YUVJ422P : AV_PIX_FMT_YUV420P;
        context->color_range = isJPEG ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        context->time_base = {1, static_cast<int>(rate + 0.5)};
        context->thread_count = 1;
        context->log_level_offset = 64; // its figures are no news
        context->gop_size = static_cast<int>(rate + 0.5);
        if (isJPEG) {
            context->flags |= AV_CODEC_FLAG_QSCALE;
            context->global_quality = 2 * FF_QP2LAMBDA;
        } else {
            av_opt_set(context->priv_data, "preset", "ultrafast", 0);
            av_opt_set(context->priv_data, "tune", "zerolatency", 0);
            av_opt_set(context->priv_data, "x264-params", "crf=12", 0);
        }
        isOpen = avcodec_open2(context, codec, nullptr) >= 0;
        frame->format = context->pix_fmt;
        frame->width = context->width;
        frame->height = context->height;
        av_frame_get_buffer(frame, 0);
    }
    ~Encoder() {
        av_packet_free(&packet);
        av_frame_free(&frame);
        avcodec_free_context(&context);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    void encode(const CameraCanvas& canvas, std::vector<uint8_t>& into) {
        into.clear();
        if (!isOpen || av_frame_make_writable(frame) < 0) return;
        const size_t every = frame->format == AV_PIX_FMT_YUV420P ? 2 : 1;
        for (size_t plane = 0; plane < 3; ++plane) {
            const size_t rows = plane == 0 ? canvas.height() : canvas.height() / every;
            for (size_t y = 0; y < rows; ++y) {
                uint8_t* const to = frame->data[plane] + y * static_cast<size_t>(frame->linesize[plane]);
                const uint8_t* const from = canvas.row(plane, plane == 0 ? y : y * every);
                if (plane == 0) {
                    std::memcpy(to, from, canvas.width());
                } else {
                    for (size_t x = 0; x < canvas.width() / 2; ++x)
                        to[x] = from[2 * x];
                }
            }
        }
        frame->pts = count++;
        frame->quality = context->global_quality;
        if (avcodec_send_frame(context, frame) < 0 || avcodec_receive_packet(context, packet) < 0) return;
        into.assign(packet->data, packet->data + packet->size);
        av_packet_unref(packet);
    }

    AVCodecContext* context = nullptr;
    AVPacket* packet;
    AVFrame* frame;
    int64_t count = 0;
    bool isOpen = false;
};

CameraPixels::CameraPixels(CameraPixelKind kind, size_t width, size_t height, double rate)
    : kind(kind)
    , width(width)
    , height(height) {
    if (kind == Kind::mjpg || kind == Kind::h264)
        encoder = std::make_unique<Encoder>(kind, width, height, rate);
}

CameraPixels::~CameraPixels() = default;

size_t CameraPixels::stride() const {
    if (encoder) return 0;
    if (const auto red = redGreenBlue(kind)) return width * red->size;
    return kind == Kind::yuy2 || kind == Kind::uyvy || kind == Kind::yvyu ? 2 * width : width;
}

size_t CameraPixels::mostBytes() const {
    constexpr size_t kLeast = 65536; // of a compressed picture, however small
    if (encoder) return std::max(kLeast, 2 * width * height);
    const bool isPlanar =
        kind == Kind::nv12 || kind == Kind::nv21 || kind == Kind::i420 || kind == Kind::yv12;
    return isPlanar ? width * height * 3 / 2 : stride() * height;
}

const std::vector<uint8_t>& CameraPixels::pack(const CameraCanvas& canvas) {
    if (encoder) {
        encoder->encode(canvas, bytes);
        return bytes;
    }
    bytes.resize(mostBytes());
    if (redGreenBlue(kind)) {
        packRed(canvas);
    } else if (stride() == 2 * width) {
        packPixels(canvas);
    } else {
        packPlanes(canvas);
    }
    return bytes;
}

void CameraPixels::packRed(const CameraCanvas& canvas) {
    const RedGreenBlue order = *redGreenBlue(kind);
    for (size_t y = 0; y < height; ++y) {
        uint8_t* pixel = bytes.data() + y * stride();
        for (size_t x = 0; x < width; ++x, pixel += order.size) {
            for (size_t plane = 0; plane < 3; ++plane)
                pixel[order.at[plane]] = canvas.row(plane, y)[x];
        }
    }
}

void CameraPixels::packPixels(const CameraCanvas& canvas) {
    const size_t luma = kind == Kind::uyvy ? 1 : 0;
    const size_t cb = (1 - luma) + (kind == Kind::yvyu ? 2 : 0);
    const size_t cr = (1 - luma) + (kind == Kind::yvyu ? 0 : 2);
    for (size_t y = 0; y < height; ++y) {
        uint8_t* pair = bytes.data() + y * stride();
        const uint8_t* const lumas = canvas.row(0, y);
        const uint8_t* const blues = canvas.row(1, y);
        const uint8_t* const reds = canvas.row(2, y);
        for (size_t x = 0; x + 1 < width; x += 2, pair += 4) {
            pair[luma] = lumas[x];
            pair[luma + 2] = lumas[x + 1];
            pair[cb] = blues[x];
            pair[cr] = reds[x];
        }
    }
}

void CameraPixels::packPlanes(const CameraCanvas& canvas) {
    for (size_t y = 0; y < height; ++y)
        std::memcpy(bytes.data() + y * width, canvas.row(0, y), width);
    if (kind == Kind::gray) return;
    uint8_t* chroma = bytes.data() + width * height;
    const bool isInterleaved = kind == Kind::nv12 || kind == Kind::nv21;
    const bool isCrFirst = kind == Kind::nv21 || kind == Kind::yv12;
    for (size_t i = 0; i < 2; ++i) {
        const size_t plane = (i == 0) != isCrFirst ? 1 : 2;
        uint8_t* to = isInterleaved ? chroma + i : chroma + i * (width / 2) * (height / 2);
        for (size_t y = 0; y + 1 < height; y += 2) {
            const uint8_t* const from = canvas.row(plane, y);
            for (size_t x = 0; x + 1 < width; x += 2, to += isInterleaved ? 2 : 1)
                *to = from[x];
        }
    }
}

} // namespace vintra
