#pragma once

#include "Vintra/platform/FileManager.h"
#include "Vintra/platform/ProcessInfo.h"
#include "Vintra/platform/RateConversion.h"
#include "Vintra/platform/URL.h"

#include <cstdint>
#include <vector>

namespace vintra {

/// How the sound of a WAV file is laid out anew. Counts in frames.
struct WavRetiming {
    struct Run {
        int64_t at = 0; ///< where its first frame is in the file
        int64_t frames = 0;
        int64_t target = 0; ///< where it is to be
    };
    std::vector<Run> runs;
    double stretch = 1; ///< frames of a run afterwards, for each that it has now
    int64_t frames = 0; ///< of the whole file afterwards
};

/// Rewrites a 24-bit file: its runs are stretched and put where they belong, with silence between them, by way
/// of a new file beside it that takes its place in one step. False if that failed: the file then is as it was,
/// and nothing is left beside it. Any thread but the main one.
bool retimeWavFile(FileManager& files, ProcessInfo& process, RateConversion& conversion, const URL& at,
                   const WavRetiming& retiming);

} // namespace vintra
