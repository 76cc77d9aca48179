#include "Vintra/platform/linux/wayland/PortalGrant.h"

#include <algorithm>
#include <string_view>

namespace vintra {
namespace {

bool mayBe(const PortalScreenCast::Stream& granted, const WaylandOutput& output, bool tellsPosition) {
    const auto& position = granted.position;
    if (tellsPosition && position &&
        (position->first != output.frame.x || position->second != output.frame.y)) {
        return false;
    }
    if (!granted.size) return true;
    const auto isSize = [size = *granted.size](int width, int height) {
        return size.first == width && size.second == height;
    };
    // Before it is turned, too: portals differ.
    return isSize(output.frame.width, output.frame.height) || isSize(output.pixelWidth, output.pixelHeight) ||
           isSize(output.pixelHeight, output.pixelWidth);
}

} // namespace

std::string displayGrantedInstead(const PortalScreenCast::Stream& granted, const WaylandOutput& chosen,
                                  const std::vector<WaylandOutput>& outputs, bool isOfWlroots) {
    const bool tellsPosition = !isOfWlroots;
    if (mayBe(granted, chosen, tellsPosition)) return {};
    const auto other = std::find_if(outputs.begin(), outputs.end(), [&](const WaylandOutput& output) {
        return mayBe(granted, output, tellsPosition);
    });
    if (other != outputs.end()) return "the display " + other->name;
    // The only display can't be mistaken for another.
    return outputs.size() > 1 ? "another display" : std::string();
}

std::string_view displayNameOfStream(std::string_view streamName) {
    constexpr std::string_view kOfKWin = "kwin-screencast-";
    return streamName.starts_with(kOfKWin) ? streamName.substr(kOfKWin.size()) : std::string_view();
}

std::string displayStreamedInstead(const std::string& streamName, const WaylandOutput& chosen,
                                   const std::vector<WaylandOutput>& outputs) {
    const std::string_view streamed = displayNameOfStream(streamName);
    if (streamed.empty() || streamed == chosen.name) return {};
    const auto other = std::ranges::find(outputs, streamed, &WaylandOutput::name);
    return other == outputs.end() ? std::string() : "the display " + other->name;
}

} // namespace vintra
