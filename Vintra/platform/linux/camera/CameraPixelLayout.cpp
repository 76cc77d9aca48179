#include "Vintra/platform/linux/camera/CameraPixelLayout.h"

#include "Vintra/platform/CMFormatDescription.h"

#include <spa/param/video/format-utils.h>

#include <algorithm>
#include <array>

namespace vintra {
namespace {

using Layout = CameraPixelLayout;
using Names = CameraPixelLayoutNames;

constexpr uint32_t kRaw = SPA_MEDIA_SUBTYPE_raw;

constexpr std::array kLayouts = {
    Names{Layout::nv12, kRaw, SPA_VIDEO_FORMAT_NV12, fourCharCode("420v")},
    Names{Layout::nv21, kRaw, SPA_VIDEO_FORMAT_NV21, fourCharCode("nv21")},
    Names{Layout::i420, kRaw, SPA_VIDEO_FORMAT_I420, fourCharCode("y420")},
    Names{Layout::yv12, kRaw, SPA_VIDEO_FORMAT_YV12, fourCharCode("yv12")},
    Names{Layout::y42b, kRaw, SPA_VIDEO_FORMAT_Y42B, fourCharCode("y42b")},
    Names{Layout::yuyv, kRaw, SPA_VIDEO_FORMAT_YUY2, fourCharCode("yuvs")},
    Names{Layout::uyvy, kRaw, SPA_VIDEO_FORMAT_UYVY, fourCharCode("2vuy")},
    Names{Layout::yvyu, kRaw, SPA_VIDEO_FORMAT_YVYU, fourCharCode("yvyu")},
    Names{Layout::vyuy, kRaw, SPA_VIDEO_FORMAT_VYUY, fourCharCode("vyuy")},
    Names{Layout::gray, kRaw, SPA_VIDEO_FORMAT_GRAY8, fourCharCode("L008")},
    Names{Layout::bgra, kRaw, SPA_VIDEO_FORMAT_BGRA, fourCharCode("BGRA")},
    Names{Layout::bgra, kRaw, SPA_VIDEO_FORMAT_BGRx, fourCharCode("BGRA")},
    Names{Layout::rgba, kRaw, SPA_VIDEO_FORMAT_RGBA, fourCharCode("RGBA")},
    Names{Layout::rgba, kRaw, SPA_VIDEO_FORMAT_RGBx, fourCharCode("RGBA")},
    Names{Layout::argb, kRaw, SPA_VIDEO_FORMAT_ARGB, fourCharCode("ARGB")},
    Names{Layout::argb, kRaw, SPA_VIDEO_FORMAT_xRGB, fourCharCode("ARGB")},
    Names{Layout::abgr, kRaw, SPA_VIDEO_FORMAT_ABGR, fourCharCode("ABGR")},
    Names{Layout::abgr, kRaw, SPA_VIDEO_FORMAT_xBGR, fourCharCode("ABGR")},
    Names{Layout::rgb, kRaw, SPA_VIDEO_FORMAT_RGB, fourCharCode("24RG")},
    Names{Layout::bgr, kRaw, SPA_VIDEO_FORMAT_BGR, fourCharCode("24BG")},
    Names{Layout::mjpeg, SPA_MEDIA_SUBTYPE_mjpg, 0, fourCharCode("dmb1")},
    Names{Layout::mjpeg, SPA_MEDIA_SUBTYPE_jpeg, 0, fourCharCode("jpeg")},
    Names{Layout::h264, SPA_MEDIA_SUBTYPE_h264, 0, fourCharCode("avc1")},
};

} // namespace

std::span<const CameraPixelLayoutNames> cameraPixelLayouts() {
    return kLayouts;
}

std::optional<CameraPixelLayoutNames> cameraPixelLayout(uint32_t mediaSubtype, uint32_t videoFormat) {
    const uint32_t format = mediaSubtype == kRaw ? videoFormat : 0;
    const auto found = std::ranges::find_if(kLayouts, [&](const Names& names) {
        return names.mediaSubtype == mediaSubtype && names.videoFormat == format;
    });
    return found == kLayouts.end() ? std::nullopt : std::optional(*found);
}

} // namespace vintra
