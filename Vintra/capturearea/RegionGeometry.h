#pragma once

#include "Vintra/capturearea/AspectPreset.h"
#include "Vintra/capturearea/CaptureRegion.h"
#include "Vintra/platform/Geometry.h"
#include "Vintra/platform/Screens.h"

#include <optional>
#include <vector>

namespace vintra {

/// The selection in the preset's shape: of the same area around the same centre, then shrunk and moved so far
/// that it lies within bounds of that size whose origin is zero. Unchanged for `freeform`, and without an
/// area.
CGRect reshaped(const CGRect& selection, AspectPreset to, CGSize within);

/// A corner of a rectangle whose coordinates grow upwards.
enum class Corner { bottomLeft, bottomRight, topLeft, topRight };
inline constexpr Corner kCorners[] = {Corner::bottomLeft, Corner::bottomRight, Corner::topLeft,
                                      Corner::topRight};

CGPoint cornerPoint(const CGRect& of, Corner corner);
Corner opposite(Corner corner);

/// The rectangle that a drag spans, with `from` as its fixed corner, which lies inside the bounds. Without a
/// ratio (width by height) it reaches to the pointer. With one, the larger side of the drag, measured by the
/// ratio, drives the size. It ends at the edge of the bounds, the ratio kept.
CGRect constrained(CGPoint from, CGPoint to, std::optional<double> ratio, const CGRect& bounds);

/// The rectangle moved so far that it lies inside the bounds; at their near edges if it is too large.
CGRect movedInside(const CGRect& rect, const CGRect& bounds);

/// The preset's width by its height; nothing for `freeform`.
std::optional<double> aspectRatio(AspectPreset preset);

/// Turns a rectangle from coordinates that grow downwards into ones that grow upwards, or back, in a space of
/// that height.
CGRect flipped(const CGRect& rect, double height);
CGPoint flipped(CGPoint point, double height);

/// The frame, in points on the desktop, as a region of the screen that it overlaps most. Of screens that it
/// overlaps equally, or not at all, the first counts. Nothing without screens.
std::optional<CaptureRegion> regionOnScreens(const CGRect& frame, const std::vector<NSScreen>& screens);

} // namespace vintra
