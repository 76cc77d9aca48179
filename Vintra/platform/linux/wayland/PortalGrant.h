#pragma once

#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <string>
#include <string_view>
#include <vector>

namespace vintra {

/// Which display the user granted, judged by where the stream says it lies and how large it is: the name of
/// the display if it surely isn't the chosen one ("another display" if it is none that is known), else empty.
///
/// The portal for wlroots' compositors tells every display's position as 0, 0, so there only the size says
/// something.
std::string displayGrantedInstead(const PortalScreenCast::Stream& granted, const WaylandOutput& chosen,
                                  const std::vector<WaylandOutput>& outputs, bool isOfWlroots);

/// The display that KDE's compositor names in the name of a stream; empty for the streams of others.
std::string_view displayNameOfStream(std::string_view streamName);

/// Like `displayGrantedInstead`, by the name that the desktop gives the stream. KDE's portal tells no position before
/// version 6. Empty where no display is named.
std::string displayStreamedInstead(const std::string& streamName, const WaylandOutput& chosen,
                                   const std::vector<WaylandOutput>& outputs);

} // namespace vintra
