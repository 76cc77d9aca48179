#include "Vintra/platform/linux/movie/LibavRateConversion.h"

#include "Vintra/platform/linux/movie/LibavError.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace vintra {
namespace {

constexpr const char* kProblem = "The sound couldn't be brought to the computer's clock";
/// Whole numbers in the ratio that is wanted, to a thousand-millionth: a third of a frame in two hours.
constexpr int kUnitRate = 1'000'000'000;
constexpr double kSoxrPrecision = 28; // bits

struct FreeRateContext {
    void operator()(SwrContext* context) const { swr_free(&context); }
};
using RateContext = std::unique_ptr<SwrContext, FreeRateContext>;

RateContext makeContext(uint32_t channels, double stretch) {
    AVChannelLayout layout{};
    av_channel_layout_default(&layout, static_cast<int>(channels));
    const int out = static_cast<int>(std::lround(kUnitRate * stretch));
    SwrContext* context = nullptr;
    throwIfLibavFailed(swr_alloc_set_opts2(&context, &layout, AV_SAMPLE_FMT_FLT, out, &layout,
                                           AV_SAMPLE_FMT_FLT, kUnitRate, 0, nullptr),
                       kProblem);
    RateContext made(context);
    av_opt_set_int(context, "resampler", SWR_ENGINE_SOXR, 0);
    av_opt_set_double(context, "precision", kSoxrPrecision, 0);
    throwIfLibavFailed(swr_init(context), kProblem);
    return made;
}

class LibavRateConverter final : public RateConverter {
public:
    LibavRateConverter(uint32_t channels, double stretch)
        : channels(channels)
        , stretch(stretch)
        , context(makeContext(channels, stretch)) {}

    void convert(std::span<const float> frames, std::vector<float>& out) override {
        push(frames.data(), static_cast<int64_t>(frames.size() / channels), out);
    }

    void finish(std::vector<float>& out) override { push(nullptr, 0, out); }

private:
    void push(const float* frames, int64_t count, std::vector<float>& out) {
        // What is held back is less than a second, and comes out with the last call.
        const auto room = static_cast<int64_t>(std::ceil(static_cast<double>(count) * stretch)) + 96'000;
        const size_t before = out.size();
        out.resize(before + static_cast<size_t>(room) * channels);
        auto* to = reinterpret_cast<uint8_t*>(out.data() + before);
        const auto* from = reinterpret_cast<const uint8_t*>(frames);
        const int made = swr_convert(context.get(), &to, static_cast<int>(room), frames ? &from : nullptr,
                                     static_cast<int>(count));
        out.resize(before + static_cast<size_t>(std::max(0, made)) * channels);
        throwIfLibavFailed(made, kProblem);
    }

    const uint32_t channels;
    const double stretch;
    const RateContext context;
};

} // namespace

std::unique_ptr<RateConverter> LibavRateConversion::makeConverter(uint32_t channels, double stretch) {
    return std::make_unique<LibavRateConverter>(channels, stretch);
}

} // namespace vintra
