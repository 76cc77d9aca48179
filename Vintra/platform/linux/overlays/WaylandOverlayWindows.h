#pragma once

#include "Vintra/platform/EventMonitors.h"
#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/OwnWindows.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayConnection.h"
#include "Vintra/platform/linux/wayland/WaylandDesktop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vintra {

/// The overlays of a Wayland desktop. Without layers for programs there are only those that take clicks. Main thread.
class WaylandOverlayWindows final : public OverlayWindows {
public:
    /// The painter outlives this and every window.
    WaylandOverlayWindows(std::shared_ptr<WaylandOverlayConnection> connection, OverlayPainter& painter,
                          WaylandDesktop desktop);

    std::unique_ptr<OverlayWindow> makeWindow(const OverlayRecipe& recipe, OverlayInput& input) override;
    bool canLetClicksThrough() const override { return connection->layerShell() != nullptr; }
    const TextMeasure& textMeasure() const override { return painter; }
    bool areCaptured() const override { return true; }
    int64_t nanosecondsUntilShown() const override;

private:
    const std::shared_ptr<WaylandOverlayConnection> connection;
    OverlayPainter& painter;
    const WaylandDesktop desktop;
    uint32_t lastNumber = 0;
};

/// The pointer as a Wayland desktop tells it: over this program's overlays alone, and no clicks in others. Main
/// thread.
class WaylandEventMonitors final : public EventMonitors {
public:
    explicit WaylandEventMonitors(std::shared_ptr<WaylandOverlayConnection> connection)
        : connection(std::move(connection)) {}

    CGPoint mouseLocation() const override { return connection->mouseLocation(); }
    Observation observeMouseMoves(std::function<void()> block) override {
        return connection->observeMoves(std::move(block));
    }
    bool canObserveClicks() const override { return false; }
    bool isTrusted() const override { return false; }
    Observation observeClicks(std::function<void(CGPoint)>) override { return nullptr; }

private:
    const std::shared_ptr<WaylandOverlayConnection> connection;
};

/// A Wayland desktop tells no program where its windows are, so that an overlay could take no click without taking
/// theirs as well: the program counts as never in front. Main thread.
class WaylandOwnWindows final : public OwnWindows {
public:
    bool isActive() const override { return false; }
    std::vector<Window> windows() const override { return {}; }
    Observation observeChanges(std::function<void()>) override { return nullptr; }
};

} // namespace vintra
