#include "Vintra/platform/linux/wayland/PortalVideoParams.h"

#include <gtest/gtest.h>

#include <array>
#include <spa/param/video/format-utils.h>

namespace vintra {
namespace {

std::optional<PortalVideoFormat> formatOfSize(uint32_t width, uint32_t height) {
    alignas(8) std::array<uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<uint32_t>(memory.size()));
    spa_video_info_raw raw{};
    raw.format = SPA_VIDEO_FORMAT_BGRx;
    raw.size = {width, height};
    return readPortalVideoFormat(spa_format_video_raw_build(&builder, SPA_PARAM_Format, &raw));
}

TEST(PortalVideoParams, aPictureOfMoreBytesThanABufferMayHaveIsRefused) {
    EXPECT_EQ(formatOfSize(32768, 16383), (PortalVideoFormat{32768, 16383, PortalPixels::bgrx}));
    EXPECT_EQ(formatOfSize(32768, 16384), std::nullopt) << "2 GiB";
    EXPECT_EQ(formatOfSize(32768, 32768), std::nullopt);
    EXPECT_EQ(formatOfSize(32769, 1), std::nullopt);
}

} // namespace
} // namespace vintra
