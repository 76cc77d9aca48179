#pragma once

#include "Vintra/platform/Geometry.h"
#include "Vintra/take/CaptureDisplay.h"

namespace vintra {

/// A display that the machine has, and how regions of it are counted.
struct KnownDisplay {
    CaptureDisplay display;
    CGSize points;
    double scale = 1; ///< pixels a point
};

} // namespace vintra
