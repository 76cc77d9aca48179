#include "Vintra/platform/linux/overlays/X11OverlayWindows.h"

#include "Vintra/platform/linux/overlays/X11OverlayWindow.h"

#include <utility>

namespace vintra {
namespace {

/// Six frames of a compositor, which says nothing of when it has shown a change.
constexpr int64_t kCompositorNanoseconds = 100'000'000;

} // namespace

X11OverlayWindows::X11OverlayWindows(std::shared_ptr<X11OverlayConnection> connection,
                                     OverlayPainter& painter)
    : connection(std::move(connection))
    , painter(painter) {}

std::unique_ptr<OverlayWindow> X11OverlayWindows::makeWindow(const OverlayRecipe& recipe,
                                                             OverlayInput& input) {
    if (connection->isDead()) return nullptr;
    return std::make_unique<X11OverlayWindow>(connection, painter, recipe, input);
}

int64_t X11OverlayWindows::nanosecondsUntilShown() const {
    return connection->isComposited() ? kCompositorNanoseconds : 0;
}

} // namespace vintra
