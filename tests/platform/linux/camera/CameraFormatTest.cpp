#include "Vintra/platform/linux/camera/CameraFormat.h"

#include <gtest/gtest.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <array>
#include <cstring>
#include <functional>

namespace vintra {
namespace {

using Parameter = std::vector<uint64_t>;

Parameter parameter(uint32_t subtype, const std::function<void(spa_pod_builder&)>& rest) {
    std::array<uint64_t, 256> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), sizeof memory);
    spa_pod_frame frame;
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                        SPA_FORMAT_mediaSubtype, SPA_POD_Id(subtype), 0);
    rest(builder);
    spa_pod_builder_pop(&builder, &frame);
    return Parameter(memory.begin(), memory.begin() + (builder.state.offset + 7) / 8);
}

void addSize(spa_pod_builder& builder, uint32_t width, uint32_t height) {
    const spa_rectangle size{width, height};
    spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
}

TEST(CameraFormatTest, aListOfRatesIsAListOfRangesOfOneWithExactDurations) {
    const Parameter one = parameter(SPA_MEDIA_SUBTYPE_raw, [](spa_pod_builder& builder) {
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(SPA_VIDEO_FORMAT_YUY2), 0);
        addSize(builder, 1280, 720);
        const spa_fraction usual{30, 1};
        const spa_fraction film{30000, 1001};
        const spa_fraction slow{15, 2};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_framerate,
                            SPA_POD_CHOICE_ENUM_Fraction(4, &usual, &usual, &film, &slow), 0);
    });
    const auto formats = readCameraFormats({one, one});
    ASSERT_EQ(formats.size(), 1u) << "what is said twice is listed once";
    EXPECT_EQ(formats[0].names.layout, CameraPixelLayout::yuyv);
    EXPECT_EQ(formats[0].shown.formatDescription.mediaSubType, fourCharCode("yuvs"));
    EXPECT_EQ(formats[0].shown.formatDescription.dimensions, (CMVideoDimensions{1280, 720}));
    const auto& ranges = formats[0].shown.videoSupportedFrameRateRanges;
    ASSERT_EQ(ranges.size(), 3u);
    EXPECT_EQ(ranges[0].minFrameDuration, CMTimeMake(1, 30));
    EXPECT_EQ(ranges[1].minFrameDuration, CMTimeMake(1001, 30000));
    EXPECT_EQ(ranges[1].maxFrameDuration, CMTimeMake(1001, 30000));
    EXPECT_EQ(ranges[2].minFrameDuration, CMTimeMake(2, 15));
    EXPECT_EQ(ranges[2].maxFrameRate, 7.5);
}

TEST(CameraFormatTest, aRangeOfRatesIsOneRangeAndSeveralLayoutsAreSeveralFormats) {
    const auto formats = readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_raw, [](spa_pod_builder& builder) {
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format,
                            SPA_POD_CHOICE_ENUM_Id(4, SPA_VIDEO_FORMAT_NV12, SPA_VIDEO_FORMAT_NV12,
                                                   SPA_VIDEO_FORMAT_v210, SPA_VIDEO_FORMAT_UYVY),
                            0);
        addSize(builder, 640, 360);
        const spa_fraction usual{30, 1};
        const spa_fraction least{0, 1};
        const spa_fraction most{60, 1};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_framerate,
                            SPA_POD_CHOICE_RANGE_Fraction(&usual, &least, &most), 0);
    })});
    ASSERT_EQ(formats.size(), 2u) << "what can't be taken isn't listed";
    EXPECT_EQ(formats[0].shown.formatDescription.mediaSubType, fourCharCode("420v"));
    EXPECT_EQ(formats[1].shown.formatDescription.mediaSubType, fourCharCode("2vuy"));
    const AVFrameRateRange range{.minFrameRate = 1,
                                 .maxFrameRate = 60,
                                 .minFrameDuration = CMTimeMake(1, 60),
                                 .maxFrameDuration = CMTimeMake(1, 1)};
    EXPECT_EQ(formats[0].shown.videoSupportedFrameRateRanges, std::vector<AVFrameRateRange>{range});
}

TEST(CameraFormatTest, anOpenSizeIsTheLargestAndTheUsualOnes) {
    const auto formats = readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_raw, [](spa_pod_builder& builder) {
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(SPA_VIDEO_FORMAT_I420), 0);
        const spa_rectangle least{32, 32};
        const spa_rectangle most{2592, 1944};
        const spa_rectangle step{2, 2};
        spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_size,
                            SPA_POD_CHOICE_STEP_Rectangle(&most, &least, &most, &step), 0);
    })});
    std::vector<CMVideoDimensions> sizes;
    for (const CameraFormat& format : formats) {
        sizes.push_back(format.shown.formatDescription.dimensions);
        EXPECT_EQ(format.shown.videoSupportedFrameRateRanges[0].maxFrameRate, 30) << "where none is said";
    }
    EXPECT_EQ(sizes, (std::vector<CMVideoDimensions>{
                         {2592, 1944}, {2560, 1440}, {1920, 1080}, {1280, 720}, {640, 480}, {640, 360}}));
}

TEST(CameraFormatTest, brokenParametersAreLeftOut) {
    const auto nothing = [](spa_pod_builder&) {};
    EXPECT_TRUE(readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_mjpg, nothing)}).empty()) << "no size";
    EXPECT_TRUE(readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_mjpg, [](spa_pod_builder& builder) {
                    addSize(builder, 0, 4);
                })}).empty());
    EXPECT_TRUE(readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_raw,
                                             [](spa_pod_builder& builder) { addSize(builder, 64, 64); })})
                    .empty())
        << "no layout";
    EXPECT_TRUE(readCameraFormats({parameter(SPA_MEDIA_SUBTYPE_bayer, [](spa_pod_builder& builder) {
                    addSize(builder, 64, 64);
                })}).empty());
}

TEST(CameraFormatTest, coloursAreAsSaidElseAsIsUsual) {
    const auto agreed = [](uint32_t subtype, uint32_t height, uint32_t matrix, uint32_t range) {
        const Parameter said = parameter(subtype, [&](spa_pod_builder& builder) {
            if (subtype == SPA_MEDIA_SUBTYPE_raw)
                spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(SPA_VIDEO_FORMAT_NV12), 0);
            addSize(builder, 64, height);
            if (matrix != 0)
                spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_colorMatrix, SPA_POD_Id(matrix), 0);
            if (range != 0) spa_pod_builder_add(&builder, SPA_FORMAT_VIDEO_colorRange, SPA_POD_Id(range), 0);
        });
        return readAgreedCameraFormat(reinterpret_cast<const spa_pod*>(said.data())).value().colour;
    };
    using Matrix = CameraColour::Matrix;
    EXPECT_EQ(agreed(SPA_MEDIA_SUBTYPE_raw, 480, 0, 0), (CameraColour{Matrix::rec601, false}));
    EXPECT_EQ(agreed(SPA_MEDIA_SUBTYPE_raw, 720, 0, 0), (CameraColour{Matrix::rec709, false}));
    EXPECT_EQ(agreed(SPA_MEDIA_SUBTYPE_raw, 480, SPA_VIDEO_COLOR_MATRIX_BT709, SPA_VIDEO_COLOR_RANGE_0_255),
              (CameraColour{Matrix::rec709, true}));
    EXPECT_EQ(agreed(SPA_MEDIA_SUBTYPE_raw, 720, SPA_VIDEO_COLOR_MATRIX_BT601, SPA_VIDEO_COLOR_RANGE_16_235),
              (CameraColour{Matrix::rec601, false}));
    EXPECT_EQ(agreed(SPA_MEDIA_SUBTYPE_mjpg, 1080, 0, 0), (CameraColour{Matrix::rec601, true}));
}

} // namespace
} // namespace vintra
