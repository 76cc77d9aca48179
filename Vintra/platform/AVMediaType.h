#pragma once

namespace vintra {

/// What a track, a device or a writer's input carries.
enum class AVMediaType { video, audio };

} // namespace vintra
