#pragma once

#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <string>
#include <vector>

namespace vintra {

/// Which display the user granted, judged by where the stream says it lies and how large it is: the name of
/// the display if it surely isn't the chosen one ("another display" if it is none that is known), else empty.
///
/// The portal for wlroots' compositors tells every display's position as 0, 0, so there only the size says
/// something.
std::string displayGrantedInstead(const PortalScreenCast::Stream& granted, const WaylandOutput& chosen,
                                  const std::vector<WaylandOutput>& outputs, bool isOfWlroots);

/// The same by the name that the desktop gives the stream. KDE's compositor names a display in it, while its portal tells
/// no position before version 6. Empty where no display is named.
std::string displayStreamedInstead(const std::string& streamName, const WaylandOutput& chosen,
                                   const std::vector<WaylandOutput>& outputs);

} // namespace vintra
