#pragma once

namespace vintra {

/// The menus of the control bar, of which at most one is open.
enum class BarMenuKind { aspect, frameRate };

} // namespace vintra
