#pragma once

#include <array>
#include <cstdint>

namespace vintra::TimelineFile {

/// A frame rate that editors know: `num`/`den` frames per second.
struct Rate {
    int64_t num = 30;
    int64_t den = 1;
    const char* suffix = "30"; ///< as names of formats write it; a literal

    double framesPerSecond() const { return static_cast<double>(num) / static_cast<double>(den); }
    /// The rate with the smallest difference; the earlier one of two as close.
    static Rate nearest(double fps);

    bool operator==(const Rate& other) const { return num == other.num && den == other.den; }
};

inline constexpr std::array<Rate, 8> kRates = {{
    {24000, 1001, "2398"},
    {24, 1, "24"},
    {25, 1, "25"},
    {30000, 1001, "2997"},
    {30, 1, "30"},
    {50, 1, "50"},
    {60000, 1001, "5994"},
    {60, 1, "60"},
}};

} // namespace vintra::TimelineFile
