#pragma once

#include "Vintra/platform/OverlayWindows.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/overlays/X11OverlayConnection.h"

#include <cstdint>
#include <memory>

namespace vintra {

/// The overlays of an X desktop. Main thread.
class X11OverlayWindows final : public OverlayWindows {
public:
    /// The painter outlives this and every window.
    X11OverlayWindows(std::shared_ptr<X11OverlayConnection> connection, OverlayPainter& painter);

    std::unique_ptr<OverlayWindow> makeWindow(const OverlayRecipe& recipe, OverlayInput& input) override;
    bool canLetClicksThrough() const override { return true; }
    const TextMeasure& textMeasure() const override { return painter; }
    bool areCaptured() const override { return true; }
    int64_t nanosecondsUntilShown() const override;

private:
    const std::shared_ptr<X11OverlayConnection> connection;
    OverlayPainter& painter;
};

} // namespace vintra
