#include "Vintra/video/ScreenBeatSummary.h"

namespace vintra {

std::string screenBeatSummary(int32_t rate, const ScreenBeat::Totals& totals) {
    const std::string leftOut = std::to_string(totals.leftOut) + " left out";
    if (rate > 30) return "on a " + std::to_string(rate) + " fps grid, no copies: " + leftOut;
    return "on a " + std::to_string(rate) + " fps beat: " + std::to_string(totals.repeated) + " repeated, " +
           leftOut + ", " + std::to_string(totals.skipped) + " skipped while the writer was behind";
}

} // namespace vintra
