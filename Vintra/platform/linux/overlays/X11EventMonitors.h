#pragma once

#include "Vintra/platform/EventMonitors.h"
#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"
#include "Vintra/platform/linux/overlays/X11PointerWatch.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The pointer of an X desktop. Nothing listens to it while nobody observes. Main thread.
class X11EventMonitors final : public EventMonitors {
public:
    /// The event loop outlives this. An empty name stands for the DISPLAY of the environment.
    X11EventMonitors(EventLoop& eventLoop, std::shared_ptr<X11OverlayConnection> connection,
                     std::string displayName = {});

    CGPoint mouseLocation() const override;
    Observation observeMouseMoves(std::function<void()> block) override;
    /// Whether the server has XInput 2.
    bool canObserveClicks() const override;
    bool isTrusted() const override { return true; }
    Observation observeClicks(std::function<void(CGPoint)> block) override;

private:
    struct Listeners;
    struct Observed;
    Observation add(const std::shared_ptr<Listeners>& listeners, X11PointerWatch::Kind kind,
                    std::function<void(CGPoint)> block);

    EventLoop& eventLoop;
    const std::shared_ptr<X11OverlayConnection> connection;
    const std::string displayName;
    const std::shared_ptr<Listeners> moves;
    const std::shared_ptr<Listeners> clicks;
};

} // namespace vintra
