#include "Vintra/app/TrackRow.h"

#include <cmath>
#include <cstdint>

namespace vintra {

std::string MicTrackRow::gainTitle() const {
    const double rounded = std::round(gainDB * 10) / 10;
    const std::string sign = rounded > 0 ? "+" : rounded < 0 ? "−" : "";
    const auto tenths = static_cast<int64_t>(std::round(std::abs(rounded) * 10));
    const std::string fraction = tenths % 10 == 0 ? "" : "." + std::to_string(tenths % 10);
    return sign + std::to_string(tenths / 10) + fraction + " dB";
}

} // namespace vintra
