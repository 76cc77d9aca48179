#pragma once

#include "Vintra/capturearea/OverlayBar.h"
#include "Vintra/capturearea/RegionGeometry.h"
#include "Vintra/platform/Drawing.h"

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vintra {

/// What the region guide shows and lets the user change: the state behind a `RegionGuideOverlay`, which owns
/// it. Points, the origin at the screen's bottom left. Main thread.
class GuideView {
public:
    struct Grab {
        struct None {};
        struct CornerOf {
            CGPoint opposite;
        };
        struct Creating {
            CGPoint anchor;
        };
        struct Move {};
        std::variant<None, CornerOf, Creating, Move> kind;
    };

    struct Content {
        std::string label;            ///< of the frame; may be empty
        bool recording = false;       ///< a take runs
        bool composing = false;       ///< the capture is being set up: the surround is dimmed
        bool editable = false;        ///< the hole may be moved and drawn anew
        std::optional<CGRect> hole;   ///< what is captured; nothing shows the bar alone
        std::optional<double> ratio;  ///< of the hole
        bool keepsOutOfHole = false;  ///< nothing may be drawn where the picture is taken
        std::string computer = "Mac"; ///< as the hint calls it
        BarState barState;
    };

    /// The measure outlives this.
    GuideView(CGSize size, const TextMeasure& measure)
        : bounds{{0, 0}, size}
        , measure(measure) {}
    GuideView(const GuideView&) = delete;
    GuideView& operator=(const GuideView&) = delete;

    void setContent(const Content& newContent);
    void mouseDown(CGPoint at);
    void mouseDragged(CGPoint to);
    void mouseMoved(CGPoint to) { bar.point(to, bounds, measure); }
    /// An area too small to be meant gives way to the one before.
    void mouseUp();
    /// Whether the point is so close to a part that takes mouse events.
    bool isNearEdge(CGPoint point, double slop) const;
    /// The parts that take mouse events, grown by the slop on every side.
    std::vector<CGRect> interactiveParts(double slop) const;
    bool isDragging() const { return !std::holds_alternative<Grab::None>(grab.kind); }
    void draw(Drawing& drawing) const;

    std::function<void(CGRect)> onChange; ///< the hole, after the user has changed it
    OverlayBar bar;

private:
    CGRect sized(CGPoint from, CGPoint to) const { return constrained(from, to, content.ratio, bounds); }
    void change(const CGRect& newHole);
    bool showsHole() const { return hole.size.width > 0 && hole.size.height > 0; }
    void drawHole(Drawing& drawing) const;
    bool mayDraw(const CGRect& rect) const;

    const CGRect bounds;
    const TextMeasure& measure;
    Content content;
    CGRect hole;
    Grab grab;
    CGSize dragOrigin;
    CGRect holeBeforeGrab;
};

} // namespace vintra
