#include "Vintra/platform/linux/camera/CameraStreamParams.h"

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

namespace vintra {
namespace {

// Pictures that arrive while one is converted, on a machine that stalls.
constexpr int kCameraBuffersWanted = 8;
constexpr int kFewestCameraBuffers = 2;
constexpr int kMostCameraBuffers = 16;

void begin(spa_pod_builder& builder, spa_pod_frame& frame, uint32_t subtype) {
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(subtype), 0);
}

void addWish(spa_pod_builder& builder, const CameraWish& wish) {
    spa_pod_frame frame;
    begin(builder, frame, wish.names.mediaSubtype);
    if (wish.names.mediaSubtype == SPA_MEDIA_SUBTYPE_raw)
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(wish.names.videoFormat), 0);
    const spa_rectangle size{static_cast<uint32_t>(wish.size.width), static_cast<uint32_t>(wish.size.height)};
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
    if (wish.rate.isKnown()) {
        const spa_fraction rate{wish.rate.frames, wish.rate.seconds};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_framerate, SPA_POD_Fraction(&rate), 0);
    }
    spa_pod_builder_pop(&builder, &frame);
}

/// Any size and rate of a subtype; of raw pictures, of any layout that can be taken.
void addAny(spa_pod_builder& builder, uint32_t subtype, const CameraWish& wish) {
    spa_pod_frame frame;
    begin(builder, frame, subtype);
    if (subtype == SPA_MEDIA_SUBTYPE_raw) {
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
        spa_pod_frame choice;
        spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
        bool isFirst = true;
        for (const CameraPixelLayoutNames& names : cameraPixelLayouts()) {
            if (names.mediaSubtype != SPA_MEDIA_SUBTYPE_raw) continue;
            if (isFirst) spa_pod_builder_id(&builder, names.videoFormat); // the default
            isFirst = false;
            spa_pod_builder_id(&builder, names.videoFormat);
        }
        spa_pod_builder_pop(&builder, &choice);
    }
    const spa_rectangle usual{static_cast<uint32_t>(wish.size.width),
                              static_cast<uint32_t>(wish.size.height)};
    const spa_rectangle least{1, 1};
    const spa_rectangle most{32768, 32768};
    const spa_fraction rate =
        wish.rate.isKnown() ? spa_fraction{wish.rate.frames, wish.rate.seconds} : spa_fraction{30, 1};
    const spa_fraction slowest{0, 1};
    const spa_fraction fastest{1000, 1};
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size,
                        SPA_POD_CHOICE_RANGE_Rectangle(&usual, &least, &most), SPA_FORMAT_VIDEO_framerate,
                        SPA_POD_CHOICE_RANGE_Fraction(&rate, &slowest, &fastest), 0);
    spa_pod_builder_pop(&builder, &frame);
}

} // namespace

CameraStreamParams CameraStreamParams::formats(const CameraWish& wish) {
    CameraStreamParams params;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));
    params.offsets.push_back(builder.state.offset);
    addWish(builder, wish);
    for (const uint32_t subtype :
         {SPA_MEDIA_SUBTYPE_raw, SPA_MEDIA_SUBTYPE_mjpg, SPA_MEDIA_SUBTYPE_jpeg, SPA_MEDIA_SUBTYPE_h264}) {
        params.offsets.push_back(builder.state.offset);
        addAny(builder, subtype, wish);
    }
    return params;
}

CameraStreamParams CameraStreamParams::buffers() {
    CameraStreamParams params;
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, params.memory.data(), static_cast<uint32_t>(params.memory.size()));
    params.offsets.push_back(builder.state.offset);
    // How large they are is the camera's to say.
    spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(kCameraBuffersWanted, kFewestCameraBuffers, kMostCameraBuffers),
        SPA_PARAM_BUFFERS_blocks, SPA_POD_CHOICE_RANGE_Int(1, 1, 3), SPA_PARAM_BUFFERS_dataType,
        SPA_POD_CHOICE_FLAGS_Int((1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_DmaBuf)));
    params.offsets.push_back(builder.state.offset);
    spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
                               SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
                               SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))));
    return params;
}

std::vector<const spa_pod*> CameraStreamParams::pods() const {
    std::vector<const spa_pod*> pods;
    for (const uint32_t offset : offsets)
        pods.push_back(reinterpret_cast<const spa_pod*>(memory.data() + offset));
    return pods;
}

} // namespace vintra
