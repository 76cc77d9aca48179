#include "Vintra/video/ScreenDropSummary.h"

#include "Vintra/platform/FixedText.h"

#include <algorithm>
#include <cstdint>
#include <map>

namespace vintra {
namespace {

constexpr double kBucketSeconds = 10;
constexpr double kFirstSeconds = 3.0;

std::string histogramText(const std::vector<double>& times) {
    std::map<int64_t, int64_t> counts;
    // A take of the longest host time is far below the bound; it keeps the conversion defined.
    for (const double time : times) {
        counts[static_cast<int64_t>(std::clamp(time / kBucketSeconds, 0.0, 1e15))] += 1;
    }
    std::string text;
    for (const auto& [key, count] : counts) {
        if (!text.empty()) text += ", ";
        text +=
            std::to_string(key * 10) + "–" + std::to_string(key * 10 + 10) + "s: " + std::to_string(count);
    }
    return text;
}

std::string lossText(const std::vector<double>& times) {
    if (times.empty()) return "last take dropped no screen frames";
    const auto [first, last] = std::ranges::minmax_element(times);
    const auto early = std::ranges::count_if(times, [](double time) { return time < kFirstSeconds; });
    return "last take dropped " + std::to_string(times.size()) + " screen frames · first at " +
           fixedText(*first, 2) + "s, last at " + fixedText(*last, 2) + "s · " + std::to_string(early) +
           " in the first 3s · " + histogramText(times);
}

} // namespace

std::string screenDropSummary(const std::vector<double>& times, const std::string& beatSummary) {
    const std::string losses = lossText(times);
    return beatSummary.empty() ? losses : losses + " · " + beatSummary;
}

} // namespace vintra
