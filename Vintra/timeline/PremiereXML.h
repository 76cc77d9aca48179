#pragma once

#include "Vintra/timeline/Take.h"

#include <string>

namespace vintra::TimelineFile {

/// A document that Premiere imports as one sequence (XMEML 4): a video track for each picture, an audio track
/// for each channel of sound, stereo files as linked pairs.
std::string premiereXML(const Take& take);

} // namespace vintra::TimelineFile
