#pragma once

namespace vintra {

/// The category of what the log is told of sources that fail and of takes that went wrong.
inline constexpr const char* kHealthLog = "audio-health";

} // namespace vintra
