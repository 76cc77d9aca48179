#pragma once

namespace vintra {

/// How large a camera's floating preview is: 240, 360 or 520 points wide.
enum class WebcamPreviewSize { small, medium, large };

} // namespace vintra
