#pragma once

#include "Vintra/platform/simulated/SimulatedAssetProbing.h"
#include "Vintra/platform/simulated/SimulatedAssetWriters.h"

namespace vintra {

/// What a file of the simulated disk says of itself: a WAV by its bytes, a movie by what its simulated writer
/// took. All loads fail for other files. One real thread.
SimulatedAsset probeSimulatedFile(const SimulatedFileManager& files, const SimulatedAssetWriters& writers,
                                  const URL& url);

} // namespace vintra
