#pragma once

namespace vintra {

/// How large a camera is captured: at its best, or at 1080 lines at the most.
enum class CameraResolution { uhd, hd };

} // namespace vintra
