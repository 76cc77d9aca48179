#include "Vintra/timeline/Rate.h"

#include <cmath>

namespace vintra::TimelineFile {

Rate Rate::nearest(double fps) {
    const auto difference = [fps](const Rate& rate) { return std::fabs(rate.framesPerSecond() - fps); };
    Rate best = kRates.front();
    for (const Rate& rate : kRates)
        if (difference(rate) < difference(best)) best = rate;
    return best;
}

} // namespace vintra::TimelineFile
