#pragma once

#include "Vintra/platform/CMFormatDescription.h"

namespace vintra {

/// The size at which a screen of `width` × `height` pixels is captured: unchanged up to 4096 × 2304 pixels in
/// all, or if `native` lifts that cap; otherwise reduced to it in the same shape, both sides even.
CMVideoDimensions cappedCaptureSize(int width, int height, bool native);

} // namespace vintra
