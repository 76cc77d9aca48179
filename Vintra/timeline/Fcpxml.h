#pragma once

#include "Vintra/timeline/Take.h"

#include <string>

namespace vintra::TimelineFile {

/// A Final Cut document (FCPXML 1.10): the main picture in the primary storyline, every other camera on a
/// lane above it, every sound file on a lane below it, the markers on the main clip. The take's order is not
/// empty.
std::string fcpxml(const Take& take);

/// `value`/`scale` seconds, reduced: "3s", "617617/12000s", "0s".
std::string time(int64_t value, int64_t scale);

} // namespace vintra::TimelineFile
