#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>

namespace vintra {
namespace {

constexpr int kBuffersWanted = 4; // one held, one being filled, two on the way
constexpr int kFewestBuffers = 2;
constexpr int kMostBuffers = 16;
constexpr uint32_t kMostRegions = 16;

constexpr uint32_t fourCC(char a, char b, char c, char d) {
    return static_cast<uint32_t>(a) | static_cast<uint32_t>(b) << 8 | static_cast<uint32_t>(c) << 16 |
           static_cast<uint32_t>(d) << 24;
}

/// PipeWire's name of a pixel format, how it is read, and the kernel's name, which is that of the 32-bit word.
struct ReadableFormat {
    spa_video_format video;
    PortalPixels pixels;
    uint32_t drm;
};
constexpr std::array kReadable{
    ReadableFormat{SPA_VIDEO_FORMAT_BGRx, PortalPixels::bgrx, fourCC('X', 'R', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_BGRA, PortalPixels::bgrx, fourCC('A', 'R', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_RGBx, PortalPixels::rgbx, fourCC('X', 'B', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_RGBA, PortalPixels::rgbx, fourCC('A', 'B', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_xRGB, PortalPixels::xrgb, fourCC('B', 'X', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_ARGB, PortalPixels::xrgb, fourCC('B', 'A', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_xBGR, PortalPixels::xbgr, fourCC('R', 'X', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_ABGR, PortalPixels::xbgr, fourCC('R', 'A', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_BGR, PortalPixels::bgr, fourCC('R', 'G', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_RGB, PortalPixels::rgb, fourCC('B', 'G', '2', '4')},
    ReadableFormat{SPA_VIDEO_FORMAT_xRGB_210LE, PortalPixels::xrgb2101010, fourCC('X', 'R', '3', '0')},
    ReadableFormat{SPA_VIDEO_FORMAT_ARGB_210LE, PortalPixels::xrgb2101010, fourCC('A', 'R', '3', '0')},
    ReadableFormat{SPA_VIDEO_FORMAT_xBGR_210LE, PortalPixels::xbgr2101010, fourCC('X', 'B', '3', '0')},
    ReadableFormat{SPA_VIDEO_FORMAT_ABGR_210LE, PortalPixels::xbgr2101010, fourCC('A', 'B', '3', '0')},
};

void addModifiers(spa_pod_builder& builder, const std::vector<uint64_t>& modifiers) {
    // Of one modifier nothing is left to choose.
    const uint32_t undecided = modifiers.size() > 1 ? SPA_POD_PROP_FLAG_DONT_FIXATE : 0;
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_modifier, SPA_POD_PROP_FLAG_MANDATORY | undecided);
    if (modifiers.size() == 1) {
        spa_pod_builder_long(&builder, static_cast<int64_t>(modifiers.front()));
        return;
    }
    spa_pod_frame choice;
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_long(&builder, static_cast<int64_t>(modifiers.front())); // the best
    for (const uint64_t modifier : modifiers)
        spa_pod_builder_long(&builder, static_cast<int64_t>(modifier));
    spa_pod_builder_pop(&builder, &choice);
}

/// `modifiers` is empty for plain memory.
void addFormat(spa_pod_builder& builder, const std::vector<spa_video_format>& videos,
               const std::vector<uint64_t>& modifiers) {
    const spa_rectangle usual{1920, 1080};
    const spa_rectangle least{1, 1};
    const spa_rectangle most{32768, 32768};
    const spa_fraction rate{60, 1};
    const spa_fraction slowest{0, 1};
    const spa_fraction fastest{1000, 1};
    spa_pod_frame object;
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), 0);
    spa_pod_frame choice;
    spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_id(&builder, videos.front()); // the best
    for (const spa_video_format video : videos)
        spa_pod_builder_id(&builder, video);
    spa_pod_builder_pop(&builder, &choice);
    if (!modifiers.empty()) addModifiers(builder, modifiers);
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size,
                        SPA_POD_CHOICE_RANGE_Rectangle(&usual, &least, &most), SPA_FORMAT_VIDEO_framerate,
                        SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &fastest), 0);
    spa_pod_builder_pop(&builder, &object);
}

void addBuffers(spa_pod_builder& builder, const PortalVideoFormat& format) {
    if (format.dmaBuf) { // its size and rows are the driver's to choose
        constexpr int kMostPlanes = 4;
        spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(kBuffersWanted, kFewestBuffers, kMostBuffers), SPA_PARAM_BUFFERS_blocks,
            SPA_POD_CHOICE_RANGE_Int(1, 1, kMostPlanes), SPA_PARAM_BUFFERS_dataType,
            SPA_POD_CHOICE_FLAGS_Int(1 << SPA_DATA_DmaBuf));
        return;
    }
    const int stride = format.width * static_cast<int>(bytesPerPixel(format.pixels));
    const auto size = static_cast<int>(std::min<int64_t>(int64_t{stride} * format.height, INT32_MAX));
    spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(kBuffersWanted, kFewestBuffers, kMostBuffers), SPA_PARAM_BUFFERS_blocks,
        SPA_POD_Int(1), SPA_PARAM_BUFFERS_size, SPA_POD_CHOICE_RANGE_Int(size, 0, INT32_MAX),
        SPA_PARAM_BUFFERS_stride, SPA_POD_CHOICE_RANGE_Int(stride, 0, INT32_MAX), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr)));
}

/// Those that are offered with the same modifiers.
std::vector<spa_video_format> videosOf(std::span<const DmaBufOffer> offers,
                                       const std::vector<uint64_t>& modifiers) {
    std::vector<spa_video_format> videos;
    for (const ReadableFormat& one : kReadable) {
        const auto isOffered = [&](const DmaBufOffer& offer) {
            return offer.format == one.drm && offer.modifiers == modifiers;
        };
        if (std::ranges::any_of(offers, isOffered)) videos.push_back(one.video);
    }
    return videos;
}

} // namespace

PortalVideoParams PortalVideoParams::formats(std::span<const DmaBufOffer> offers) {
    size_t size = 1024; // bytes: of a format without its modifiers
    for (const DmaBufOffer& offer : offers)
        size += 1024 + offer.modifiers.size() * sizeof(uint64_t);
    PortalVideoParams params;
    params.memory.resize(size);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));

    std::vector<spa_video_format> all;
    for (const ReadableFormat& one : kReadable)
        all.push_back(one.video);
    params.offsets.push_back(builder.state.offset);
    addFormat(builder, all, {});
    std::vector<std::vector<uint64_t>> told;
    for (const DmaBufOffer& offer : offers) {
        if (offer.modifiers.empty() || std::ranges::find(told, offer.modifiers) != told.end()) continue;
        told.push_back(offer.modifiers);
        const auto videos = videosOf(offers, offer.modifiers);
        if (videos.empty()) continue;
        params.offsets.push_back(builder.state.offset);
        addFormat(builder, videos, offer.modifiers);
    }
    return params;
}

PortalVideoParams PortalVideoParams::buffers(const PortalVideoFormat& format) {
    PortalVideoParams params;
    params.memory.resize(2048);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));
    params.offsets.push_back(builder.state.offset);
    addBuffers(builder, format);
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

std::vector<uint32_t> readableDmaBufFormats() {
    std::vector<uint32_t> formats;
    for (const ReadableFormat& one : kReadable)
        formats.push_back(one.drm);
    return formats;
}

bool isModifierUndecided(const spa_pod* param) {
    const spa_pod_prop* const prop = spa_pod_find_prop(param, nullptr, SPA_FORMAT_VIDEO_modifier);
    return prop && SPA_POD_TYPE(&prop->value) == SPA_TYPE_Choice &&
           SPA_POD_CHOICE_TYPE(&prop->value) != SPA_CHOICE_None;
}

std::optional<PortalVideoFormat> readPortalVideoFormat(const spa_pod* param) {
    spa_video_info_raw raw{};
    uint32_t type = 0;
    uint32_t subtype = 0;
    if (isModifierUndecided(param) || spa_format_parse(param, &type, &subtype) < 0 ||
        type != SPA_MEDIA_TYPE_video || subtype != SPA_MEDIA_SUBTYPE_raw ||
        spa_format_video_raw_parse(param, &raw) < 0) {
        return std::nullopt;
    }
    constexpr uint32_t kMost = 32768; // pixels a side, as asked for
    if (raw.size.width > kMost || raw.size.height > kMost) return std::nullopt;
    const auto known = std::ranges::find(kReadable, raw.format, &ReadableFormat::video);
    if (known == kReadable.end()) return std::nullopt;
    // Of more bytes no buffer can be asked for.
    if (uint64_t{raw.size.width} * raw.size.height * bytesPerPixel(known->pixels) > INT32_MAX)
        return std::nullopt;
    PortalVideoFormat format{static_cast<int>(raw.size.width), static_cast<int>(raw.size.height),
                             known->pixels};
    if ((raw.flags & SPA_VIDEO_FLAG_MODIFIER) != 0) format.dmaBuf = DmaBufLayout{known->drm, raw.modifier};
    return format;
}

} // namespace vintra
