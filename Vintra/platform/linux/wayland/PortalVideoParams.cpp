#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace vintra {
namespace {

constexpr int kBuffersWanted = 4; // one held, one being filled, two on the way
constexpr int kFewestBuffers = 2;
constexpr int kMostBuffers = 16;
constexpr uint32_t kMostRegions = 16;

std::optional<PortalPixels> pixelsOf(spa_video_format format) {
    switch (format) {
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_BGRA:
        return PortalPixels::bgrx;
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
        return PortalPixels::rgbx;
    case SPA_VIDEO_FORMAT_xRGB:
    case SPA_VIDEO_FORMAT_ARGB:
        return PortalPixels::xrgb;
    case SPA_VIDEO_FORMAT_xBGR:
    case SPA_VIDEO_FORMAT_ABGR:
        return PortalPixels::xbgr;
    case SPA_VIDEO_FORMAT_BGR:
        return PortalPixels::bgr;
    case SPA_VIDEO_FORMAT_RGB:
        return PortalPixels::rgb;
    case SPA_VIDEO_FORMAT_xRGB_210LE:
    case SPA_VIDEO_FORMAT_ARGB_210LE:
        return PortalPixels::xrgb2101010;
    case SPA_VIDEO_FORMAT_xBGR_210LE:
    case SPA_VIDEO_FORMAT_ABGR_210LE:
        return PortalPixels::xbgr2101010;
    default:
        return std::nullopt;
    }
}

} // namespace

PortalVideoParams PortalVideoParams::formats() {
    PortalVideoParams params;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));
    const spa_rectangle usual{1920, 1080};
    const spa_rectangle least{1, 1};
    const spa_rectangle most{32768, 32768};
    const spa_fraction rate{60, 1};
    const spa_fraction slowest{0, 1};
    const spa_fraction fastest{1000, 1};
    params.offsets.push_back(builder.state.offset);
    spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat, SPA_FORMAT_mediaType,
        SPA_POD_Id(SPA_MEDIA_TYPE_video), SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw),
        SPA_FORMAT_VIDEO_format,
        SPA_POD_CHOICE_ENUM_Id(
            15, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA, SPA_VIDEO_FORMAT_RGBx,
            SPA_VIDEO_FORMAT_RGBA, SPA_VIDEO_FORMAT_xRGB, SPA_VIDEO_FORMAT_ARGB, SPA_VIDEO_FORMAT_xBGR,
            SPA_VIDEO_FORMAT_ABGR, SPA_VIDEO_FORMAT_BGR, SPA_VIDEO_FORMAT_RGB, SPA_VIDEO_FORMAT_xRGB_210LE,
            SPA_VIDEO_FORMAT_ARGB_210LE, SPA_VIDEO_FORMAT_xBGR_210LE, SPA_VIDEO_FORMAT_ABGR_210LE),
        SPA_FORMAT_VIDEO_size, SPA_POD_CHOICE_RANGE_Rectangle(&usual, &least, &most),
        SPA_FORMAT_VIDEO_framerate, SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &fastest));
    return params;
}

PortalVideoParams PortalVideoParams::buffers(const PortalVideoFormat& format) {
    PortalVideoParams params;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));
    const int stride = format.width * static_cast<int>(bytesPerPixel(format.pixels));
    params.offsets.push_back(builder.state.offset);
    spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(kBuffersWanted, kFewestBuffers, kMostBuffers), SPA_PARAM_BUFFERS_blocks,
        SPA_POD_Int(1), SPA_PARAM_BUFFERS_size,
        SPA_POD_CHOICE_RANGE_Int(stride * format.height, 0, INT32_MAX), SPA_PARAM_BUFFERS_stride,
        SPA_POD_CHOICE_RANGE_Int(stride, 0, INT32_MAX), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr)));
    const auto addMeta = [&](uint32_t type, uint32_t size) {
        params.offsets.push_back(builder.state.offset);
        spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
                                   SPA_POD_Id(type), SPA_PARAM_META_size,
                                   SPA_POD_Int(static_cast<int>(size)));
    };
    addMeta(SPA_META_Header, sizeof(spa_meta_header));
    addMeta(SPA_META_VideoCrop, sizeof(spa_meta_region));
    addMeta(SPA_META_VideoTransform, sizeof(spa_meta_videotransform));
    params.offsets.push_back(builder.state.offset);
    spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_VideoDamage), SPA_PARAM_META_size,
        SPA_POD_CHOICE_RANGE_Int(static_cast<int>(sizeof(spa_meta_region) * kMostRegions),
                                 static_cast<int>(sizeof(spa_meta_region)),
                                 static_cast<int>(sizeof(spa_meta_region) * kMostRegions)));
    return params;
}

std::vector<const spa_pod*> PortalVideoParams::pods() const {
    std::vector<const spa_pod*> pods;
    for (const uint32_t offset : offsets)
        pods.push_back(reinterpret_cast<const spa_pod*>(memory.data() + offset));
    return pods;
}

std::optional<PortalVideoFormat> readPortalVideoFormat(const spa_pod* param) {
    spa_video_info_raw raw{};
    uint32_t type = 0;
    uint32_t subtype = 0;
    if (spa_format_parse(param, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video ||
        subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(param, &raw) < 0) {
        return std::nullopt;
    }
    constexpr uint32_t kMost = 32768; // pixels a side, as asked for
    if (raw.size.width > kMost || raw.size.height > kMost) return std::nullopt;
    const auto pixels = pixelsOf(raw.format);
    if (!pixels) return std::nullopt;
    return PortalVideoFormat{static_cast<int>(raw.size.width), static_cast<int>(raw.size.height), *pixels};
}

} // namespace vintra
