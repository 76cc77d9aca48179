#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/URL.h"

namespace vintra {

/// Counts into a WAV all the samples that lie in the file: one whose writer was killed may hold more than its header
/// says. Nothing else changes; a file that is no WAV stays as it is. It may be called again at any time. Throws
/// `SystemError`. Any thread.
void repairWavSizes(FileManager& files, const URL& at);

} // namespace vintra
