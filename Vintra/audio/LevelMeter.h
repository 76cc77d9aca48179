#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/WallClock.h"

#include <optional>
#include <vector>

namespace vintra {

/// The peak tick of a meter. It stands at the highest level so far and fades away with time. A later level
/// brings it back only by reaching that height. Owned by the meter's view. Main thread.
struct MeterPeak {
    double holdDuration = 1.0;  ///< seconds at full height
    double decayDuration = 0.6; ///< seconds from there to nothing

    float peakLevel = 0;
    Date peakTimestamp;

    /// To be called when the meter's level changes.
    void levelChanged(float level, Date now);
    float decayedPeak(Date at) const;
};

enum class MeterColor { green, yellow, red, sectionText };

struct MeterRectangle {
    CGRect frame; ///< points; the meter's top left is at 0, 0
    MeterColor color = MeterColor::green;
    double opacity = 1;
    bool operator==(const MeterRectangle&) const = default;
};

/// Points.
inline constexpr double kMeterWidth = 120;
inline constexpr double kMeterHeight = 8;

/// The three bands behind the bar, left to right.
std::vector<MeterRectangle> meterBackground(double width);
/// The bar of a level 0 to 1.
MeterRectangle meterBar(double width, float level);
/// The tick of a decayed peak; nothing at 0.02 or less.
std::optional<MeterRectangle> meterTick(double width, float decayedPeak);

} // namespace vintra
