#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/OverlayBar.h"
#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/Drawing.h"
#include "Vintra/platform/KeyCode.h"

#include <functional>
#include <optional>
#include <variant>

namespace vintra {

/// The selection of a region as it is drawn, moved and reshaped: the state behind a `RegionSelectOverlay`,
/// which owns it. Points, the origin at the display's bottom left. Main thread.
class RegionSelectView {
public:
    struct Drag {
        struct Creating {
            CGPoint anchor;
        };
        struct Moving {
            CGSize grabOffset;
        };
        struct Resizing {
            Corner corner = Corner::bottomLeft;
            CGPoint opposite;
        };
        struct None {};
        std::variant<None, Creating, Moving, Resizing> kind;
    };

    struct Setup {
        CGSize size;
        double scale = 1; ///< pixels a point
        AspectPreset aspect = AspectPreset::freeform;
        std::optional<CGRect> initial;
        BarState barState;
    };
    struct Callbacks {
        std::function<void(CGRect)> onCommit;
        std::function<void()> onCancel;
        std::function<void(AspectPreset)> onAspectChange;
    };

    /// The measure outlives this. The bar's aspects and its "Done" are this view's own to handle.
    RegionSelectView(const Setup& setup, Callbacks callbacks, BarCallbacks barCallbacks,
                     const TextMeasure& measure);
    RegionSelectView(const RegionSelectView&) = delete;
    RegionSelectView& operator=(const RegionSelectView&) = delete;

    void mouseDown(CGPoint at);
    void mouseDragged(CGPoint to);
    void mouseUp() { drag = {}; }
    void mouseMoved(CGPoint to) { bar.point(to, bounds, measure); }
    bool keyDown(KeyCode key);
    /// Another aspect gives the selection its shape, and is told.
    void setAspect(AspectPreset newAspect);
    void setBarState(const BarState& state);
    /// Ends the selection, if it is large enough.
    void commit();
    void cancel();
    void draw(Drawing& drawing) const;

    AspectPreset aspect() const { return chosenAspect; }
    const CGRect& selection() const { return selected; }

private:
    bool hasSelection() const { return selected.size.width > 1; }
    std::optional<Corner> cornerAt(CGPoint point) const;

    const CGRect bounds;
    const double scale;
    const Callbacks callbacks;
    const TextMeasure& measure;
    AspectPreset chosenAspect;
    CGRect selected;
    OverlayBar bar;
    Drag drag;
};

} // namespace vintra
