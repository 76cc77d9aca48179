#pragma once

#include "Vintra/timeline/Take.h"

#include <string>

namespace vintra::TimelineFile {

/// An OpenTimelineIO document for DaVinci Resolve: a video track for each picture, an audio track for each
/// sound file, and a disabled audio track for each sound inside a picture file.
std::string otio(const Take& take);

} // namespace vintra::TimelineFile
