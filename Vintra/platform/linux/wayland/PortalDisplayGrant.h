#pragma once

#include "Vintra/platform/linux/wayland/PortalRestoreTokens.h"
#include "Vintra/platform/linux/wayland/PortalScreenCast.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <cstdint>
#include <string>

namespace vintra {

/// Of the desktop, or of the program where it names none.
PortalRestoreTokens portalRestoreTokens(const WaylandDesktop& desktop);

/// Lets the desktop share the display with that number, with a question unless it remembers the answer. Throws
/// `SystemError`, also if the user shares another display. One thread.
PortalScreenCast::Stream grantOfDisplay(const WaylandDesktop& desktop, PortalScreenCast& session,
                                        uint32_t displayID, bool showsCursor);

/// Throws `SystemError` if what the desktop streams is another display by the stream's name. The user is asked again then.
void requireDisplayOfStream(const WaylandDesktop& desktop, uint32_t displayID, const std::string& streamName);

} // namespace vintra
