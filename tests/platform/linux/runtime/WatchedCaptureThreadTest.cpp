// What a capture thread does for the watchdogs with each buffer and each picture.

#include "Vintra/audio/ActivityStamp.h"
#include "Vintra/platform/CMSampleBuffer.h"
#include "Vintra/video/PictureWatch.h"
#include "tests/platform/linux/pipewire/AllocationWatch.h"

#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace vintra {
namespace {

TEST(WatchedCaptureThreadTest, allocatesNothingForTheWatchdogs) {
    if (!allocationWatch::counts()) GTEST_SKIP() << "a sanitizer's allocator isn't counted";
    constexpr int kPictures = 100;
    std::vector<CMSampleBuffer> pictures;
    for (int n = 0; n < kPictures; ++n) {
        auto image = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, 64, 48);
        std::memset(image->plane(0).baseAddress, n, image->plane(0).bytesPerRow * image->plane(0).height);
        pictures.push_back(
            CMSampleBuffer::makeVideo(std::move(image), {.duration = kCMTimeInvalid,
                                                         .presentationTimeStamp = CMTimeMake(n, 30),
                                                         .decodeTimeStamp = kCMTimeInvalid}));
    }
    PictureWatch picture;
    picture.begin(kCMTimeZero);
    ActivityStamp activity;
    const int64_t before = allocationWatch::calls();
    std::thread capture([&] {
        allocationWatch::watchThisThread();
        allocationWatch::setOn(true);
        for (const CMSampleBuffer& sample : pictures) {
            picture.record(sample);
            activity.stamp(1);
        }
        allocationWatch::setOn(false);
    });
    capture.join();
    EXPECT_EQ(allocationWatch::calls(), before);
    EXPECT_EQ(picture.stall(CMTimeMake(kPictures, 30)), std::nullopt) << "it has seen them";
}

} // namespace
} // namespace vintra
