#pragma once

#include "tests/platform/linux/wayland/FakePortal.h"
#include "tests/support/PrivateBus.h"

#include "Vintra/platform/linux/wayland/PortalScreenCast.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

namespace vintra {

/// A desktop's portal that shares windows, on a bus of its own. Sway's own shares none, so the window that it grants is
/// what sway shows on its display: a real stream out of the session's PipeWire. The user's answer to sway's portal must
/// have been chosen before.
class WindowSharingPortal {
public:
    explicit WindowSharingPortal(FakePortal::Script script = {}) {
        display = std::make_unique<PortalScreenCast>(sessionBus);
        granted = display->start({.isRemembered = false});
        script.sourceTypes = 3;
        script.node = granted.node;
        const char* folder = std::getenv("PIPEWIRE_RUNTIME_DIR");
        if (!folder) folder = std::getenv("XDG_RUNTIME_DIR");
        script.pipeWireSocket = std::string(folder ? folder : "") + "/pipewire-0";
        portal = std::make_unique<FakePortal>(privateBus.address(), std::move(script));
    }

    const std::string& busAddress() const { return privateBus.address(); }
    const FakePortal& calls() const { return *portal; }

private:
    PrivateBus privateBus;
    PortalBus sessionBus{"", {std::make_shared<WakeUp>(), [] { return false; }}};
    std::unique_ptr<PortalScreenCast> display;
    PortalScreenCast::Stream granted;
    std::unique_ptr<FakePortal> portal;
};

} // namespace vintra
