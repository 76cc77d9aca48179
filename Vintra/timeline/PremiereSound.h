#pragma once

#include "Vintra/timeline/Take.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vintra::TimelineFile {

/// One audio track of a Premiere sequence, which plays one channel of a file.
struct PremiereSound {
    const Media* media;                     ///< of the take's screen, cameras or sounds
    int64_t channel;                        ///< in the file, from 1
    std::string name;                       ///< the clip's
    bool enabled;                           ///< false for a copy of another file's sound
    std::optional<int64_t> stereoHalf = {}; ///< 0 or 1 where the channel is a half of a stereo file
    std::optional<std::string> group = {};  ///< the file's path where the channel is linked to others
};

/// The sound files' channels, then those inside the picture files. They point into the take.
std::vector<PremiereSound> premiereSounds(const Take& take);

} // namespace vintra::TimelineFile
