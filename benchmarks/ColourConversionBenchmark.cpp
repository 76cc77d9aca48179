// One 1080p picture from BGRA to 4:2:0 with the Rec. 709 matrix: each variant of the program's own
// conversion, beside libswscale for the same job. The time of the program's fastest variant over
// libswscale's is printed at the end.

#include "Vintra/platform/linux/movie/ColourConverter.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

namespace vintra {
namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

std::shared_ptr<CVPixelBuffer> randomPicture() {
    auto picture = CVPixelBuffer::make(kCVPixelFormatType_32BGRA, kWidth, kHeight);
    std::mt19937 random(1);
    const auto& plane = picture->plane(0);
    for (size_t i = 0; i < plane.bytesPerRow * kHeight; ++i)
        plane.baseAddress[i] = static_cast<uint8_t>(random() >> 24);
    return picture;
}

struct Planes {
    std::vector<uint8_t> luma = std::vector<uint8_t>(kWidth * kHeight);
    std::vector<uint8_t> chroma = std::vector<uint8_t>(kWidth * kHeight / 2);
};

void vintra(benchmark::State& state, ColourConverter::Variant variant) {
    if (!ColourConverter::isSupported(variant)) {
        state.SkipWithError("not a variant of this processor");
        return;
    }
    const auto picture = randomPicture();
    Planes planes;
    const ColourConverter converter(variant);
    for (auto _ : state) {
        converter.convert(*picture, {planes.luma.data(), kWidth, planes.chroma.data(), kWidth});
        benchmark::ClobberMemory();
    }
}

void libswscale(benchmark::State& state, AVPixelFormat format, int flags) {
    const auto picture = randomPicture();
    std::vector<uint8_t> cb(kWidth * kHeight / 4), cr(kWidth * kHeight / 4);
    Planes planes;
    SwsContext* context = sws_getContext(kWidth, kHeight, AV_PIX_FMT_BGRA, kWidth, kHeight, format, flags,
                                         nullptr, nullptr, nullptr);
    const int* matrix = sws_getCoefficients(SWS_CS_ITU709);
    sws_setColorspaceDetails(context, matrix, 1, matrix, 0, 0, 1 << 16, 1 << 16);
    const uint8_t* from[4] = {picture->plane(0).baseAddress};
    const int fromRow[4] = {static_cast<int>(picture->plane(0).bytesPerRow)};
    const bool planar = format == AV_PIX_FMT_YUV420P;
    uint8_t* to[4] = {planes.luma.data(), planar ? cb.data() : planes.chroma.data(),
                      planar ? cr.data() : nullptr};
    const int toRow[4] = {kWidth, planar ? kWidth / 2 : kWidth, planar ? kWidth / 2 : 0};
    for (auto _ : state) {
        sws_scale(context, from, fromRow, 0, kHeight, to, toRow);
        benchmark::ClobberMemory();
    }
    sws_freeContext(context);
}

BENCHMARK_CAPTURE(vintra, portable, ColourConverter::Variant::portable)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(vintra, sse2, ColourConverter::Variant::sse2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(vintra, avx2, ColourConverter::Variant::avx2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libswscale, yuv420p_bicubic, AV_PIX_FMT_YUV420P, SWS_BICUBIC)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(libswscale, nv12_bilinear, AV_PIX_FMT_NV12, SWS_FAST_BILINEAR)
    ->Unit(benchmark::kMillisecond);

/// Notes the fastest of each kind, for the ratio.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred) continue;
            double& best = run.benchmark_name().starts_with("vintra") ? own : other;
            best = std::min(best, run.GetAdjustedCPUTime());
        }
    }
    double own = 1e9;
    double other = 1e9;
};

} // namespace
} // namespace vintra

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    vintra::Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("vintra / libswscale, processor time a 1080p picture: %.3f\n", reporter.own / reporter.other);
}
