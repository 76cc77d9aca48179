// What watching a camera for a frozen picture costs: the fingerprint of a picture, whose memory no core has in its cache
// as after a camera has written it, and of one that has just been read.

#include "Vintra/video/PictureWatch.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>
#include <vector>

namespace vintra {
namespace {

std::shared_ptr<CVPixelBuffer> greyPicture(size_t width, size_t height) {
    auto picture = CVPixelBuffer::make(kCVPixelFormatType_420YpCbCr8BiPlanarVideoRange, width, height);
    for (size_t i = 0; i < picture->planeCount(); ++i) {
        const CVPixelBuffer::Plane plane = picture->plane(i);
        std::memset(plane.baseAddress, 100, plane.bytesPerRow * plane.height);
    }
    return picture;
}

void fingerprintOfAWarmPicture(benchmark::State& state) {
    const auto picture =
        greyPicture(static_cast<size_t>(state.range(0)), static_cast<size_t>(state.range(1)));
    for (auto _ : state)
        benchmark::DoNotOptimize(PictureWatch::fingerprint(*picture));
}

void fingerprintOfAColdPicture(benchmark::State& state) {
    constexpr size_t kPictures = 64; // more than any cache holds
    std::vector<std::shared_ptr<CVPixelBuffer>> pictures;
    for (size_t i = 0; i < kPictures; ++i)
        pictures.push_back(
            greyPicture(static_cast<size_t>(state.range(0)), static_cast<size_t>(state.range(1))));
    size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(PictureWatch::fingerprint(*pictures[next++ % kPictures]));
}

BENCHMARK(fingerprintOfAWarmPicture)->Args({1920, 1080})->Args({3840, 2160});
BENCHMARK(fingerprintOfAColdPicture)->Args({1920, 1080})->Args({3840, 2160});

} // namespace
} // namespace vintra

BENCHMARK_MAIN();
