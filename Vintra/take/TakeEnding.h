#pragma once

#include "Vintra/platform/CMTime.h"
#include "Vintra/platform/URL.h"
#include "Vintra/take/SavedFile.h"
#include "Vintra/take/TakeWarnings.h"
#include "Vintra/take/WavRetiming.h"
#include "Vintra/timeline/TakeFiles.h"
#include "Vintra/video/FrameAccount.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra {

/// The silence that a stop puts before a sound file, so that the file begins at the common start, and behind
/// it, so that the file ends with the take.
struct Padding {
    URL url;
    double gap = 0;                        ///< seconds; up to 0.01 the file is left as it is
    int64_t frames = 0;                    ///< of the whole file afterwards; 0 leaves its end as it is
    std::optional<WavRetiming> retiming{}; ///< which does both at once, where the device's clock was off
};

/// What a stop learns of its take, step by step, and what remains of a take afterwards. A value.
struct TakeEnding {
    CMTime stopTime;
    double seconds = 0;                ///< by the wall clock
    std::vector<std::string> failures; ///< a text for each file that couldn't be finished
    std::vector<Padding> paddings;
    TakeObservations seen;
    std::optional<std::string> captureNote{};   ///< why the end of what was captured is missing
    std::optional<FrameAccount> screenFrames{}; ///< of a take with a screen
    std::vector<SavedFile> files{};             ///< those whose writers have finished them
    std::optional<TakeFiles> take;              ///< the tracks, as told to the timeline
    std::optional<URL> timelineURL;             ///< of the timeline file that was written
    std::vector<std::string> warnings{};        ///< in the order in which the user reads them
    std::optional<std::string> cause{};         ///< why the take ended by itself, a sentence

    /// Tells the sound files how long they are to be.
    void expectLengths();
    /// Puts in the place of each file's URL the one at which it was found.
    void followFiles();
};

} // namespace vintra
