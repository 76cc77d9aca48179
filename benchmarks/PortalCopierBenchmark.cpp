// What it costs to take a frame of a Wayland desktop over: the copy of a whole picture of 1920 × 1080, by pixel format,
// by the side on which the picture stands, and out of a DMA-BUF's mapping (here a file in memory; a real card's memory is
// slower to read). The ratio is that to a plain memcpy of as many bytes, the first line.

#include "Vintra/platform/linux/wayland/DmaBufMapping.h"
#include "Vintra/platform/linux/wayland/PortalFrameCopier.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace vintra {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr size_t kBytes = size_t{kWidth} * kHeight * 4;

void copyOfMemory(benchmark::State& state) {
    const std::vector<uint8_t> from(kBytes, 7);
    std::vector<uint8_t> to(kBytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), kBytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}
BENCHMARK(copyOfMemory);

PortalFrame frameOf(const uint8_t* bytes, PortalPixels pixels, PictureTransform transform) {
    PortalFrame frame;
    frame.bytes = bytes;
    frame.pixels = pixels;
    frame.bytesPerRow = static_cast<ptrdiff_t>(kWidth * bytesPerPixel(pixels));
    frame.transform = transform;
    frame.whole = frame.content = transform.uprightSize(kWidth, kHeight);
    return frame;
}

void copyFrames(benchmark::State& state, PortalFrame frame) {
    PortalFrameCopier copier(
        {.sourceRect = {}, .displayWidth = 0, .queueDepth = 1, .onFree = std::make_shared<WakeUp>()});
    frame.damage = std::vector<PixelRect>{frame.whole};
    uint64_t sequence = 0;
    for (auto _ : state) {
        frame.sequence = ++sequence;
        copier.look(frame);
        const auto picture = copier.copy(frame);
        benchmark::DoNotOptimize(picture->plane(0).baseAddress);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kBytes));
}

void copyOfAFrame(benchmark::State& state, PortalPixels pixels, PictureTransform transform) {
    const std::vector<uint8_t> bytes(kBytes, 7);
    copyFrames(state, frameOf(bytes.data(), pixels, transform));
}
BENCHMARK_CAPTURE(copyOfAFrame, bgrx, PortalPixels::bgrx, PictureTransform{});
BENCHMARK_CAPTURE(copyOfAFrame, rgbx, PortalPixels::rgbx, PictureTransform{});
BENCHMARK_CAPTURE(copyOfAFrame, rgb, PortalPixels::rgb, PictureTransform{});
BENCHMARK_CAPTURE(copyOfAFrame, tenBits, PortalPixels::xrgb2101010, PictureTransform{});
BENCHMARK_CAPTURE(copyOfAFrame, turnedOnce, PortalPixels::bgrx, PictureTransform{1, false});
BENCHMARK_CAPTURE(copyOfAFrame, turnedTwice, PortalPixels::bgrx, PictureTransform{2, false});
BENCHMARK_CAPTURE(copyOfAFrame, mirrored, PortalPixels::rgbx, PictureTransform{0, true});

void copyOfAMapping(benchmark::State& state) {
    const int descriptor = ::memfd_create("benchmark", MFD_CLOEXEC);
    if (::ftruncate(descriptor, kBytes) != 0) return state.SkipWithError("no memory");
    const auto made = DmaBufMapping::map(descriptor, kBytes);
    if (!made.mapping) return state.SkipWithError(made.problem.c_str());
    PortalFrame frame = frameOf(made.mapping->bytes(), PortalPixels::bgrx, {});
    frame.access = made.mapping.get();
    copyFrames(state, frame);
    ::close(descriptor);
}
BENCHMARK(copyOfAMapping);

} // namespace
} // namespace vintra

BENCHMARK_MAIN();
