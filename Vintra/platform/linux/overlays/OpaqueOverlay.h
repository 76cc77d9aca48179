#pragma once

#include "Vintra/platform/DrawList.h"
#include "Vintra/platform/linux/overlays/OverlayPainter.h"
#include "Vintra/platform/linux/screen/PixelRegion.h"

#include <vector>

namespace vintra {

/// How an overlay looks on a screen where nothing mixes windows: what is drawn is opaque, the rest isn't there.
/// Pure functions.
namespace OpaqueOverlay {

/// Without what would hide the screen: in the place of a dimmed surround there is a narrow dark border.
DrawList withoutSurround(const DrawList& list);
/// The pixels that can be seen, in rectangles from the top, and in each row from the left. All pixels of
/// the canvas become opaque or, where hardly anything is drawn, transparent.
std::vector<PixelRect> makeOpaque(const OverlayCanvas& canvas, const PixelRect& within);

} // namespace OpaqueOverlay
} // namespace vintra
