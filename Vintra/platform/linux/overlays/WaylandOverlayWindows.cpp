#include "Vintra/platform/linux/overlays/WaylandOverlayWindows.h"

#include "Vintra/platform/SystemError.h"
#include "Vintra/platform/linux/overlays/WaylandOverlayWindow.h"
#include "Vintra/platform/linux/wayland/WaylandOutputs.h"

#include <utility>

namespace vintra {
namespace {

/// Six frames: a surface that was taken away is gone from the picture by then.
constexpr int64_t kWaylandNanoseconds = 100'000'000;

} // namespace

WaylandOverlayWindows::WaylandOverlayWindows(std::shared_ptr<WaylandOverlayConnection> connection,
                                             OverlayPainter& painter, WaylandDesktop desktop)
    : connection(std::move(connection))
    , painter(painter)
    , desktop(std::move(desktop)) {}

std::unique_ptr<OverlayWindow> WaylandOverlayWindows::makeWindow(const OverlayRecipe& recipe,
                                                                 OverlayInput& input) {
    if (connection->isDead() || (recipe.ignoresMouseEvents && !canLetClicksThrough())) return nullptr;
    const auto findOutput = [server = connection.get(), name = desktop.displayName](
                                const CGRect& frame) -> const WaylandOverlayConnection::Output* {
        try {
            for (const WaylandOutput& output : readWaylandOutputs(name)) {
                const CGRect place{
                    {static_cast<double>(output.frame.x), static_cast<double>(output.frame.y)},
                    {static_cast<double>(output.frame.width), static_cast<double>(output.frame.height)}};
                if (place == frame) return server->output(output.displayID);
            }
        } catch (const SystemError&) {
            return nullptr; // the compositor has gone
        }
        return nullptr;
    };
    return std::make_unique<WaylandOverlayWindow>(
        WaylandOverlayWindow::Surroundings{
            .connection = connection, .painter = painter, .desktop = desktop, .findOutput = findOutput},
        recipe, input, ++lastNumber);
}

int64_t WaylandOverlayWindows::nanosecondsUntilShown() const {
    return kWaylandNanoseconds;
}

} // namespace vintra
