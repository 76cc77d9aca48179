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

/// The frame, in points on the desktop, as a region of the screen that it overlaps most. Of screens that it
/// overlaps equally, or not at all, the first counts. Nothing without screens.
std::optional<CaptureRegion> regionOnScreens(const CGRect& frame, const std::vector<NSScreen>& screens);

} // namespace vintra
