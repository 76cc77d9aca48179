#include "Vintra/platform/linux/camera/CameraFormat.h"

#include <spa/param/video/format-utils.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

namespace vintra {
namespace {

constexpr uint32_t kMostSide = 32768;       // pixels
constexpr uint32_t kMostRateTerm = 1 << 30; // of a fraction; a larger one is broken
constexpr CameraRate kUsualRate{.frames = 30, .seconds = 1};

/// The values of a property: one, a list, or the two ends of a range.
template <typename Value>
struct Choice {
    std::vector<Value> values;
    std::optional<Value> step; ///< of a range
    bool isRange = false;
};

/// A choice begins with its default, which is also among what follows.
template <typename Value>
Choice<Value> choiceOf(const spa_pod* parameter, uint32_t key, uint32_t type) {
    Choice<Value> choice;
    const spa_pod_prop* const property = spa_pod_find_prop(parameter, nullptr, key);
    if (property == nullptr) return choice;
    uint32_t count = 0;
    uint32_t kind = 0;
    const spa_pod* const pod = spa_pod_get_values(&property->value, &count, &kind);
    if (pod == nullptr || pod->type != type || pod->size < sizeof(Value)) return choice;
    std::vector<Value> all(count);
    std::memcpy(all.data(), SPA_POD_BODY_CONST(pod), count * sizeof(Value));
    const bool isRange = kind == SPA_CHOICE_Range || kind == SPA_CHOICE_Step;
    if (kind == SPA_CHOICE_None) {
        all.resize(std::min<size_t>(count, 1));
    } else if (count > 1) {
        all.erase(all.begin());
    }
    if (isRange && all.size() >= 2) {
        choice.isRange = true;
        if (kind == SPA_CHOICE_Step && all.size() > 2) choice.step = all[2];
        all.resize(2);
    }
    choice.values = std::move(all);
    return choice;
}

bool isUsable(const spa_rectangle& size) {
    return size.width > 0 && size.height > 0 && size.width <= kMostSide && size.height <= kMostSide;
}

bool isUsable(const spa_fraction& rate) {
    return rate.num > 0 && rate.denom > 0 && rate.num < kMostRateTerm && rate.denom < kMostRateTerm;
}

std::vector<CMVideoDimensions> sizesOf(const spa_pod* parameter) {
    const auto choice = choiceOf<spa_rectangle>(parameter, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    std::vector<CMVideoDimensions> sizes;
    const auto add = [&sizes](const spa_rectangle& size) {
        const CMVideoDimensions one{static_cast<int32_t>(size.width), static_cast<int32_t>(size.height)};
        if (isUsable(size) && std::ranges::find(sizes, one) == sizes.end()) sizes.push_back(one);
    };
    if (!choice.isRange) {
        std::ranges::for_each(choice.values, add);
        return sizes;
    }
    const spa_rectangle least = choice.values[0];
    const spa_rectangle most = choice.values[1];
    const spa_rectangle step = choice.step.value_or(spa_rectangle{1, 1});
    const auto fits = [](uint32_t side, uint32_t from, uint32_t to, uint32_t by) {
        return side >= from && side <= to && (by == 0 || (side - from) % by == 0);
    };
    add(most);
    for (const spa_rectangle& size :
         {spa_rectangle{3840, 2160}, spa_rectangle{2560, 1440}, spa_rectangle{1920, 1080},
          spa_rectangle{1280, 720}, spa_rectangle{640, 480}, spa_rectangle{640, 360}}) {
        if (fits(size.width, least.width, most.width, step.width) &&
            fits(size.height, least.height, most.height, step.height)) {
            add(size);
        }
    }
    return sizes;
}

AVFrameRateRange rangeOf(CameraRate slowest, CameraRate fastest) {
    return {.minFrameRate = slowest.value(),
            .maxFrameRate = fastest.value(),
            .minFrameDuration = fastest.duration(),
            .maxFrameDuration = slowest.duration()};
}

/// A camera that says nothing of its rate is taken to run at the usual one.
std::vector<AVFrameRateRange> ratesOf(const spa_pod* parameter) {
    const auto choice = choiceOf<spa_fraction>(parameter, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    std::vector<CameraRate> rates;
    for (const spa_fraction& rate : choice.values) {
        const CameraRate one{.frames = rate.num, .seconds = rate.denom};
        if (isUsable(rate) && std::ranges::find(rates, one) == rates.end()) rates.push_back(one);
    }
    if (choice.isRange && isUsable(choice.values[1])) {
        const spa_fraction most = choice.values[1];
        // From nothing on means one in as long as you like: one a second is as slow as a picture gets.
        const CameraRate fastest{.frames = most.num, .seconds = most.denom};
        CameraRate slowest{.frames = 1, .seconds = 1};
        if (isUsable(choice.values[0])) {
            slowest = {.frames = choice.values[0].num, .seconds = choice.values[0].denom};
        } else if (slowest.value() > fastest.value()) {
            slowest = fastest;
        }
        if (slowest.value() <= fastest.value()) return {rangeOf(slowest, fastest)};
    }
    if (rates.empty()) rates.push_back(kUsualRate);
    std::vector<AVFrameRateRange> ranges;
    for (const CameraRate& rate : rates)
        ranges.push_back(rangeOf(rate, rate));
    return ranges;
}

std::vector<CameraPixelLayoutNames> layoutsOf(const spa_pod* parameter) {
    uint32_t type = 0;
    uint32_t subtype = 0;
    std::vector<CameraPixelLayoutNames> layouts;
    if (spa_format_parse(parameter, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video) return layouts;
    std::vector<uint32_t> formats{0};
    if (subtype == SPA_MEDIA_SUBTYPE_raw)
        formats = choiceOf<uint32_t>(parameter, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id).values;
    for (const uint32_t format : formats) {
        if (const auto names = cameraPixelLayout(subtype, format)) layouts.push_back(*names);
    }
    return layouts;
}

CameraColour::Matrix matrixOf(uint32_t said, CameraColour::Matrix otherwise) {
    switch (said) {
    case SPA_VIDEO_COLOR_MATRIX_BT601:
    case SPA_VIDEO_COLOR_MATRIX_FCC:
        return CameraColour::Matrix::rec601;
    case SPA_VIDEO_COLOR_MATRIX_BT709:
        return CameraColour::Matrix::rec709;
    case SPA_VIDEO_COLOR_MATRIX_BT2020:
        return CameraColour::Matrix::rec2020;
    default:
        return otherwise;
    }
}

uint32_t idOf(const spa_pod* parameter, uint32_t key) {
    const auto choice = choiceOf<uint32_t>(parameter, key, SPA_TYPE_Id);
    return choice.values.empty() ? 0 : choice.values.front();
}

} // namespace

CMTime CameraRate::duration() const {
    const uint32_t common = std::gcd(frames, seconds);
    if (!isKnown() || frames / common > static_cast<uint32_t>(std::numeric_limits<int32_t>::max()))
        return kCMTimeInvalid;
    return CMTimeMake(seconds / common, static_cast<int32_t>(frames / common));
}

CameraRate CameraRate::ofDuration(CMTime duration) {
    if (!duration.isNumeric() || duration.value < 1) return {};
    const int64_t common = std::gcd(duration.value, int64_t{duration.timescale});
    if (duration.value / common >= kMostRateTerm) return {};
    return {.frames = static_cast<uint32_t>(duration.timescale / common),
            .seconds = static_cast<uint32_t>(duration.value / common)};
}

std::vector<CameraFormat> readCameraFormats(const std::vector<std::vector<uint64_t>>& parameters) {
    std::vector<CameraFormat> formats;
    for (const auto& bytes : parameters) {
        const auto* const parameter = reinterpret_cast<const spa_pod*>(bytes.data());
        const auto sizes = sizesOf(parameter);
        const auto rates = ratesOf(parameter);
        for (const CameraPixelLayoutNames& names : layoutsOf(parameter)) {
            for (const CMVideoDimensions& size : sizes) {
                const AVCaptureDeviceFormat shown{
                    .formatDescription = {.mediaSubType = names.mediaSubType, .dimensions = size},
                    .videoSupportedFrameRateRanges = rates};
                if (std::ranges::find(formats, shown, &CameraFormat::shown) == formats.end())
                    formats.push_back({.names = names, .shown = shown});
            }
        }
    }
    return formats;
}

std::optional<AgreedCameraFormat> readAgreedCameraFormat(const spa_pod* parameter) {
    const auto layouts = layoutsOf(parameter);
    const auto size = choiceOf<spa_rectangle>(parameter, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle).values;
    if (layouts.empty() || size.empty() || !isUsable(size.front())) return std::nullopt;
    AgreedCameraFormat agreed{
        .names = layouts.front(),
        .size = {static_cast<int32_t>(size.front().width), static_cast<int32_t>(size.front().height)},
        .rate = {},
        .colour = {}};
    const auto rate = choiceOf<spa_fraction>(parameter, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction).values;
    if (!rate.empty() && isUsable(rate.front()))
        agreed.rate = {.frames = rate.front().num, .seconds = rate.front().denom};
    const CameraColour unsaid = agreed.names.layout == CameraPixelLayout::mjpeg
                                    ? CameraColour::jpeg()
                                    : CameraColour::unsaid(agreed.size.height);
    agreed.colour.matrix = matrixOf(idOf(parameter, SPA_FORMAT_VIDEO_colorMatrix), unsaid.matrix);
    const uint32_t range = idOf(parameter, SPA_FORMAT_VIDEO_colorRange);
    agreed.colour.isFullRange =
        range == SPA_VIDEO_COLOR_RANGE_UNKNOWN ? unsaid.isFullRange : range == SPA_VIDEO_COLOR_RANGE_0_255;
    return agreed;
}

} // namespace vintra
