#include "tools/vintra-take/RegionChoice.h"

#include "Vintra/capturearea/CaptureRegion.h"
#include "tools/vintra-take/Numbers.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vintra {
namespace {

/// Points, to the hundredth below, so that what is told also fits.
std::string pointsText(double points) {
    return plainNumber(std::floor(points * 100) / 100);
}

std::string sizeInPoints(CGSize size) {
    return pointsText(size.width) + "×" + pointsText(size.height);
}

std::string nameOf(const KnownDisplay& known) {
    return "display " + std::to_string(known.display.id) + " (" + known.display.name + ")";
}

} // namespace

std::optional<CGRect> parseRegion(const std::string& text) {
    std::array<double, 4> numbers{};
    size_t begin = 0;
    for (size_t i = 0; i < numbers.size(); ++i) {
        const bool isLast = i + 1 == numbers.size();
        const size_t comma = text.find(',', begin);
        if ((comma == std::string::npos) != isLast) return std::nullopt;
        const auto number = wholeTextAsNumber(text.substr(begin, isLast ? comma : comma - begin));
        if (!number) return std::nullopt;
        numbers[i] = *number;
        begin = comma + 1;
    }
    const CGRect region{{numbers[0], numbers[1]}, {numbers[2], numbers[3]}};
    if (region.minX() < 0 || region.minY() < 0 || !(region.size.width > 0 && region.size.height > 0)) {
        return std::nullopt;
    }
    return region;
}

std::optional<std::string> regionProblem(const CGRect& region, AspectPreset aspect, const KnownDisplay& on) {
    const CGSize room{on.points.width - region.minX(), on.points.height - region.minY()};
    const std::string place = pointsText(region.minX()) + "," + pointsText(region.minY());
    if (!(room.width > 0 && room.height > 0)) {
        return "The region lies outside of " + nameOf(on) + ", which has " + sizeInPoints(on.points) +
               " points: nothing begins at " + place + ". --list shows the displays.";
    }
    if (region.size.width > room.width || region.size.height > room.height) {
        return "The region reaches beyond " + nameOf(on) + ", which has " + sizeInPoints(on.points) +
               " points: from " + place + " there is room for " + sizeInPoints(room) + ".";
    }
    const auto pixels = CaptureRegion{on.display.id, region}.pixelSize(on.scale, aspect);
    const CGSize covered{pixels.width / on.scale, pixels.height / on.scale};
    // The smallest picture of a shape may be larger than the region.
    if (covered.width > room.width || covered.height > room.height) {
        return "The smallest picture of this shape takes " + sizeInPoints(covered) + " points, and from " +
               place + " there is room for " + sizeInPoints(room) +
               ". Begin further up or further to the left.";
    }
    return std::nullopt;
}

} // namespace vintra
