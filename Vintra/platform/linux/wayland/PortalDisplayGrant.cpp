#include "Vintra/platform/linux/wayland/PortalDisplayGrant.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/wayland/PortalGrant.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <algorithm>

namespace vintra {

namespace {

WaylandOutput chosenOutput(const std::vector<WaylandOutput>& outputs, uint32_t displayID) {
    const auto chosen = std::ranges::find(outputs, displayID, &WaylandOutput::displayID);
    if (chosen != outputs.end()) return *chosen;
    throw SystemError("wayland", 5, "The display to record isn't there: it was unplugged or switched off.");
}

void refuse(const std::string& other, const WaylandOutput& chosen) {
    throw SystemError("portal", 8,
                      "The desktop was told to share " + other + ", but " + chosen.name +
                          " is to be recorded. Choose the same one "
                          "in Vintra and in the desktop's question.");
}

} // namespace

PortalRestoreTokens portalRestoreTokens(const WaylandDesktop& desktop) {
    const std::string& file = desktop.restoreTokensFile;
    return PortalRestoreTokens(file.empty() ? PortalRestoreTokens::standardFile() : URL::fileURL(file));
}

PortalScreenCast::Stream grantOfDisplay(const WaylandDesktop& desktop, PortalScreenCast& session,
                                        uint32_t displayID, bool showsCursor) {
    const auto outputs = readWaylandOutputs(desktop.displayName);
    const WaylandOutput chosen = chosenOutput(outputs, displayID);
    PortalRestoreTokens tokens = portalRestoreTokens(desktop);
    auto granted = session.start({.source = PortalScreenCast::Source::monitor,
                                  .showsCursor = showsCursor,
                                  .restoreToken = tokens.take(chosen.name),
                                  .isRemembered = true});
    const std::string other = displayGrantedInstead(granted, chosen, outputs, session.isOfWlroots());
    if (!other.empty()) refuse(other, chosen);
    tokens.keep(chosen.name, granted.restoreToken);
    return granted;
}

void requireDisplayOfStream(const WaylandDesktop& desktop, uint32_t displayID,
                            const std::string& streamName) {
    if (displayNameOfStream(streamName).empty()) return;
    const auto outputs = readWaylandOutputs(desktop.displayName);
    const WaylandOutput chosen = chosenOutput(outputs, displayID);
    const std::string other = displayStreamedInstead(streamName, chosen, outputs);
    if (other.empty()) return;
    portalRestoreTokens(desktop).take(chosen.name); // it is the other one's
    refuse(other, chosen);
}

} // namespace vintra
