#pragma once

#include "Vintra/capturearea/CaptureDisplay.h"
#include "Vintra/platform/Geometry.h"

namespace vintra {

/// A display that the machine has, and how regions of it are counted.
struct KnownDisplay {
    CaptureDisplay display;
    CGSize points;
    double scale = 1; ///< pixels a point
};

} // namespace vintra
