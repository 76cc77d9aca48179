#include "tools/vintra-take/StatusLine.h"

#include <algorithm>
#include <cmath>

namespace vintra {
namespace {

constexpr int kMeterCells = 10;

std::string meter(double position) {
    const int lit = std::isfinite(position)
                        ? static_cast<int>(std::lround(std::clamp(position, 0.0, 1.0) * kMeterCells))
                        : 0;
    return "[" + std::string(static_cast<size_t>(lit), '#') +
           std::string(static_cast<size_t>(kMeterCells - lit), '.') + "]";
}

/// The first so many characters of a UTF-8 text, each taken as one column.
std::string cut(const std::string& text, size_t columns) {
    size_t seen = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool begins = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
        if (begins && ++seen > columns) return text.substr(0, i);
    }
    return text;
}

} // namespace

std::string statusLine(const StatusLineFacts& facts, size_t columns) {
    std::string text = "Recording " + facts.elapsed;
    for (const auto& level : facts.levels)
        text += "  " + level.name + " " + meter(level.position);
    if (facts.hasScreen) {
        text += "  " + std::to_string(facts.lostFrames) +
                (facts.lostFrames == 1 ? " frame lost" : " frames lost");
    }
    return cut(text, columns);
}

} // namespace vintra
