#include "Vintra/audio/LevelMeter.h"

#include <algorithm>

namespace vintra {
namespace {

MeterColor barColor(float level) {
    if (level < 0.9f) return MeterColor::green;
    return level < 1.0f ? MeterColor::yellow : MeterColor::red;
}

} // namespace

void MeterPeak::levelChanged(float level, Date now) {
    if (level < peakLevel) return;
    peakLevel = level;
    peakTimestamp = now;
}

float MeterPeak::decayedPeak(Date at) const {
    const double elapsed = at.secondsSince1970 - peakTimestamp.secondsSince1970;
    if (elapsed <= holdDuration) return peakLevel;
    const double decayed = std::min((elapsed - holdDuration) / decayDuration, 1.0);
    return static_cast<float>(peakLevel * (1 - decayed));
}

std::vector<MeterRectangle> meterBackground(double width) {
    struct Band {
        double part;
        MeterColor color;
        double opacity;
    };
    constexpr Band bands[] = {
        {0.85, MeterColor::green, 0.18}, {0.12, MeterColor::yellow, 0.2}, {0.03, MeterColor::red, 0.22}};
    std::vector<MeterRectangle> rectangles;
    double x = 0;
    for (const Band& band : bands) {
        rectangles.push_back({{{x, 0}, {band.part * width, kMeterHeight}}, band.color, band.opacity});
        x += band.part * width;
    }
    return rectangles;
}

MeterRectangle meterBar(double width, float level) {
    return {{{0, 0}, {width * level, kMeterHeight}}, barColor(level), 1};
}

std::optional<MeterRectangle> meterTick(double width, float decayedPeak) {
    constexpr double tickWidth = 2;
    if (!(decayedPeak > 0.02f)) return std::nullopt;
    return MeterRectangle{
        {{width * decayedPeak - 1, 0}, {tickWidth, kMeterHeight}}, MeterColor::sectionText, 0.85};
}

} // namespace vintra
