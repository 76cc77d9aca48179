#include "Vintra/platform/linux/wayland/PortalDisplayGrant.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/wayland/PortalGrant.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <algorithm>

namespace vintra {

PortalRestoreTokens portalRestoreTokens(const WaylandDesktop& desktop) {
    const std::string& file = desktop.restoreTokensFile;
    return PortalRestoreTokens(file.empty() ? PortalRestoreTokens::standardFile() : URL::fileURL(file));
}

PortalScreenCast::Stream grantOfDisplay(const WaylandDesktop& desktop, PortalScreenCast& session,
                                        uint32_t displayID, bool showsCursor) {
    const auto outputs = readWaylandOutputs(desktop.displayName);
    const auto chosen = std::ranges::find(outputs, displayID, &WaylandOutput::displayID);
    if (chosen == outputs.end()) {
        throw SystemError("wayland", 5,
                          "The display to record isn't there: it was unplugged or switched off.");
    }
    PortalRestoreTokens tokens = portalRestoreTokens(desktop);
    auto granted = session.start({.source = PortalScreenCast::Source::monitor,
                                  .showsCursor = showsCursor,
                                  .restoreToken = tokens.take(chosen->name),
                                  .isRemembered = true});
    const std::string other = displayGrantedInstead(granted, *chosen, outputs, session.isOfWlroots());
    if (!other.empty()) {
        throw SystemError("portal", 8,
                          "The desktop was told to share " + other + ", but " + chosen->name +
                              " is to be recorded. Choose the same one "
                              "in Vintra and in the desktop's question.");
    }
    tokens.keep(chosen->name, granted.restoreToken);
    return granted;
}

} // namespace vintra
