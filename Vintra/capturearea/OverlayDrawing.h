#pragma once

#include "Vintra/platform/Drawing.h"

#include <string>

namespace vintra {

/// What the overlays draw alike, so that they look alike. `bounds` is the overlay's; all rectangles are in its
/// coordinates, the origin at the bottom left. Main thread.
namespace OverlayDrawing {

/// Above the strip of the control bar: where a hint's bottom edge stands, over the overlay's.
inline constexpr double kAboveBar = 94;
/// The side of a corner's handle.
inline constexpr double kHandleSize = 10;

/// Dims everything but the hole.
void drawDim(const CGRect& hole, const CGRect& bounds, Drawing& drawing);
/// A white line around the hole, outside of it.
void drawFrame(const CGRect& hole, Drawing& drawing);
/// A white square on each corner.
void drawHandles(const CGRect& hole, Drawing& drawing);
/// Where a tag with that text stands: centred above the hole, below its top edge if there is no room above,
/// and always inside the bounds from left to right.
CGRect tagRect(const std::string& text, const CGRect& hole, const CGRect& bounds, const TextMeasure& measure);
void drawTag(const std::string& text, const CGRect& rect, Drawing& drawing);
/// A dark card with one line, around the point.
void drawHint(const std::string& text, CGPoint centre, Drawing& drawing);
/// The same in the middle between left and right, just above the bar.
void drawHintAboveBar(const std::string& text, const CGRect& bounds, Drawing& drawing);
/// A dark card with a title and a line, just above the bar.
void drawCard(const std::string& title, const std::string& line, const CGRect& bounds, Drawing& drawing);

} // namespace OverlayDrawing
} // namespace vintra
